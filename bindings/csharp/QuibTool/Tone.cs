// Tone, gray, and the fields of video frames.
namespace QuibTool
{
    /// <summary>Which colours BrightnessAndContrast changes.</summary>
    public enum ToneChannel
    {
        /// <summary>All three.</summary>
        All = 0,
        /// <summary>Red alone.</summary>
        Red = 1,
        /// <summary>Green alone.</summary>
        Green = 2,
        /// <summary>Blue alone.</summary>
        Blue = 3,
    }

    /// <summary>The rows of a frame that stay.</summary>
    public enum Field
    {
        /// <summary>Rows 1, 3 and so on.</summary>
        Odd = 0,
        /// <summary>Rows 0, 2 and so on.</summary>
        Even = 1,
    }

    public sealed unsafe partial class Image
    {
        // --- Tone ------------------------------------------------------------------

        /// <summary>A new 32-bit image with its brightness shifted and its contrast stretched,
        /// each clamped to -128 to 127. [QuibBrightnessAndContrast]</summary>
        public Image BrightnessAndContrast(int brightness, int contrast,
            ToneChannel channel = ToneChannel.All)
        {
            Need.Depth(this, "this", 32);
            return Filled(Copy(),
                made => BrightnessAndContrast(made, brightness, contrast, channel));
        }

        /// <summary>The same into an image of the same size, which keeps its alpha and may be this
        /// one. With 0 and 0 it stays as it is. [QuibBrightnessAndContrast]</summary>
        public void BrightnessAndContrast(Image target, int brightness, int contrast,
            ToneChannel channel = ToneChannel.All)
        {
            using (Hold.On(this, target, "target")) {
                NeedTone(target);
                int colors = Need.Choice(channel, "channel");
                IplImage* there = target.Record;
                QuibException.Check("QuibBrightnessAndContrast",
                    Native.QuibBrightnessAndContrast(Record, &there, brightness, contrast, colors));
            }
        }

        /// <summary>A new 32-bit image with its hue turned by degrees (-360 and up) and its
        /// saturation changed by a percentage (-100 gray, 400 full). [QuibHueAndSaturation]
        /// </summary>
        public Image HueAndSaturation(int hue, int saturation)
        {
            Need.Depth(this, "this", 32);
            return Filled(Copy(), made => HueAndSaturation(made, hue, saturation));
        }

        /// <summary>The same into an image of the same size, which may be this one.
        /// [QuibHueAndSaturation]</summary>
        public void HueAndSaturation(Image target, int hue, int saturation)
        {
            using (Hold.On(this, target, "target")) {
                NeedTone(target);
                IplImage* there = target.Record;
                QuibException.Check("QuibHueAndSaturation",
                    Native.QuibHueAndSaturation(Record, &there, hue, saturation));
            }
        }

        private void NeedTone(Image target)
        {
            Need.Depth(this, "this", 32);
            Need.Like(target, "target", this);
        }

        // --- Gray ------------------------------------------------------------------

        /// <summary>A new 8-bit image, (18 B + 183 G + 54 R) / 256 of one of 24 or 32 bits.
        /// [QuibColorToGray]</summary>
        public Image ToGray()
        {
            Need.Depth(this, "this", 24, 32);
            return Make(Native.QuibColorToGray);
        }

        /// <summary>A new 8-bit image with zero and one, 0 to 255, in the place of a 1-bit image's
        /// bits. [QuibBitonalToGray]</summary>
        public Image BitonalToGray(byte zero = 0, byte one = 255)
        {
            using (Hold hold = Hold.On(this)) {
                Need.Depth(this, "this", 1);
                hold.Room(8.0 * SizeBytes);
                IplImage* made = null;
                return Made("QuibBitonalToGray",
                    Native.QuibBitonalToGray(Record, &made, zero, one), made);
            }
        }

        // --- Fields of video frames ------------------------------------------------

        /// <summary>Overwrites each even row by the odd one below it, or each odd row by the even
        /// one above it. [QuibInterlace]</summary>
        public void Interlace(Field keep)
        {
            using (Hold.On(this)) {
                uint mode = (uint)Need.Choice(keep, "keep");
                QuibException.Check("QuibInterlace", Native.QuibInterlace(Record, mode));
            }
        }

        /// <summary>A new image of this one's even rows and the odd rows of another of the same
        /// size and depth. [QuibUnInterlace]</summary>
        public Image UnInterlace(Image odd)
        {
            using (Hold hold = Hold.On(this, odd, "odd")) {
                Need.Like(odd, "odd", this);
                hold.Room();
                IplImage* made = null;
                return Made("QuibUnInterlace",
                    Native.QuibUnInterlace(Record, odd.Record, &made), made);
            }
        }

        /// <summary>The same into an image of the same size and depth, which may be either of
        /// them. [QuibUnInterlace]</summary>
        public void UnInterlace(Image odd, Image target)
        {
            using (Hold.On(this, odd, "odd", target, "target")) {
                Need.Like(odd, "odd", this);
                Need.Like(target, "target", this);
                IplImage* there = target.Record;
                QuibException.Check("QuibUnInterlace",
                    Native.QuibUnInterlace(Record, odd.Record, &there));
            }
        }
    }
}
