// Arithmetic and logic, pixel by pixel. Each method gives a clone of its image in which the
// results are written: as many pixels as the smallest of the images' regions and masks holds,
// paired from each one's corner, in all channels. Results are clamped to 0 to 255, or 0 and 1.
namespace QuibTool
{
    public sealed unsafe partial class Image
    {
        private delegate int ValueMaker(IplImage* source, IplImage** made, int value);

        private delegate int ShiftMaker(IplImage* source, IplImage** made, uint bits);

        private delegate int PairMaker(IplImage* a, IplImage* b, IplImage** made);

        private Image Make(ValueMaker function, int value)
        {
            using (Hold hold = Hold.On(this)) {
                hold.Room();
                IplImage* made = null;
                return Made(function.Method.Name, function(Record, &made, value), made);
            }
        }

        private Image Make(ShiftMaker function, int bits)
        {
            using (Hold hold = Hold.On(this)) {
                Need.Range(bits, "bits", 0, int.MaxValue);
                hold.Room();
                IplImage* made = null;
                return Made(function.Method.Name, function(Record, &made, (uint)bits), made);
            }
        }

        private Image Make(PairMaker function, Image other)
        {
            using (Hold hold = Hold.On(this, other, "other")) {
                Need.Depth(other, "other", depth);
                hold.Room();
                IplImage* made = null;
                return Made(function.Method.Name, function(Record, other.Record, &made), made);
            }
        }

        /// <summary>this + value; 1 bit: Or. [QuibAddS]</summary>
        public Image Add(int value)
        {
            return Make(Native.QuibAddS, value);
        }

        /// <summary>this * value; 1 bit: And. [QuibMultiplyS]</summary>
        public Image Multiply(int value)
        {
            return Make(Native.QuibMultiplyS, value);
        }

        /// <summary>this * value / 255, rounded down, value clamped to 0 to 255; not of 1 bit.
        /// [QuibMultiplySScale]</summary>
        public Image MultiplyScaled(int value)
        {
            Need.Depth(this, "this", 8, 24, 32);
            return Make(Native.QuibMultiplySScale, value);
        }

        /// <summary>this * this; 1 bit: a copy. [QuibSquare]</summary>
        public Image Square()
        {
            return Make(Native.QuibSquare);
        }

        /// <summary>The absolute value, which is a copy. [QuibAbs]</summary>
        public Image Abs()
        {
            return Make(Native.QuibAbs);
        }

        /// <summary>this + other, of one depth; 1 bit: Or. [QuibAdd]</summary>
        public Image Add(Image other)
        {
            return Make(Native.QuibAdd, other);
        }

        /// <summary>this - other, of one depth; 1 bit: this and not other. [QuibSubtract]
        /// </summary>
        public Image Subtract(Image other)
        {
            return Make(Native.QuibSubtract, other);
        }

        /// <summary>this * other, of one depth; 1 bit: And. [QuibMultiply]</summary>
        public Image Multiply(Image other)
        {
            return Make(Native.QuibMultiply, other);
        }

        /// <summary>this * other / 255, rounded down, of one depth; not of 1 bit.
        /// [QuibMultiplyScale]</summary>
        public Image MultiplyScaled(Image other)
        {
            Need.Depth(this, "this", 8, 24, 32);
            return Make(Native.QuibMultiplyScale, other);
        }

        /// <summary>Elements shifted left; what leaves them is lost. [QuibLShiftS]</summary>
        public Image ShiftLeft(int bits)
        {
            return Make(Native.QuibLShiftS, bits);
        }

        /// <summary>Elements shifted right. [QuibRShiftS]</summary>
        public Image ShiftRight(int bits)
        {
            return Make(Native.QuibRShiftS, bits);
        }

        /// <summary>Each bit turned round. [QuibNot]</summary>
        public Image Invert()
        {
            return Make(Native.QuibNot);
        }

        /// <summary>this and the low bits of a value. [QuibAndS]</summary>
        public Image And(int value)
        {
            return Make(Native.QuibAndS, value);
        }

        /// <summary>this or the low bits of a value. [QuibOrS]</summary>
        public Image Or(int value)
        {
            return Make(Native.QuibOrS, value);
        }

        /// <summary>this exclusive or the low bits of a value. [QuibXorS]</summary>
        public Image Xor(int value)
        {
            return Make(Native.QuibXorS, value);
        }

        /// <summary>this and other, of one depth. [QuibAnd]</summary>
        public Image And(Image other)
        {
            return Make(Native.QuibAnd, other);
        }

        /// <summary>this or other, of one depth. [QuibOr]</summary>
        public Image Or(Image other)
        {
            return Make(Native.QuibOr, other);
        }

        /// <summary>this exclusive or other, of one depth. [QuibXor]</summary>
        public Image Xor(Image other)
        {
            return Make(Native.QuibXor, other);
        }
    }
}
