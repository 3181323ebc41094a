using System;
using System.IO;
using System.Text;

namespace QuibTool
{
    /// <summary>How Resize finds a pixel. Smooth is cubic at 1 and 24 bits; Area averages, and
    /// only reduces.</summary>
    public enum ResizeMode { Nearest = 0, Linear = 1, Smooth = 2, Area = 3 }

    /// <summary>How a warp finds a pixel between those of its source.</summary>
    public enum Interpolation { Nearest = 0, Linear = 1, Cubic = 2 }

    /// <summary>What a flip reverses.</summary>
    public enum FlipAxis { Rows = 0, Columns = 1, Both = -1 }

    /// <summary>How two images are laid over one another (Porter and Duff, 1984).</summary>
    public enum Composite { Over, In, Out, Atop, Xor, Plus }

    public sealed unsafe partial class Image
    {
        // --- Files -----------------------------------------------------------------

        /// <summary>Reads a BMP file without runs: 32 bits for 24 (with alpha 0) and 32, gray
        /// for 1 and 8. What a short file lacks is 0.</summary>
        public static Image LoadBmp(string path)
        {
            byte[] name = FileName(path);
            NeedBitmap(path);
            IplImage* made = null;
            fixed (byte* at = name)
                QuibException.Check("QuibLoadBMP", Native.QuibLoadBMP(at, &made));
            if (made == null)
                throw new QuibException("QuibLoadBMP", unchecked((int)0x80000000));
            return new Image(made);
        }

        private static byte[] FileName(string path)
        {
            if (path == null)
                throw new ArgumentNullException("path");
            if (path.IndexOf('\0') >= 0)
                throw new ArgumentException("must not hold a null character", "path");
            bool windows = Environment.OSVersion.Platform == PlatformID.Win32NT;
            return (windows ? Encoding.Default : Encoding.UTF8).GetBytes(path + "\0");
        }

        private static void NeedBitmap(string path)
        {
            byte[] head = new byte[54];
            using (FileStream file = File.OpenRead(path))
                if (file.Read(head, 0, 54) < 54 || head[0] != 'B' || head[1] != 'M')
                    throw new InvalidDataException(path + " is no BMP file");
            Func<int, int> word = at => BitConverter.ToInt32(head, at);
            int width = word(18), height = word(22), bits = head[28] | head[29] << 8;
            bool good = word(14) == 40 && head[26] == 1 && head[27] == 0 &&
                (word(30) == 0 || word(30) == 3) && width > 0 && height > 0 &&
                (bits == 1 || bits == 8 || bits == 24 || bits == 32) &&
                (uint)word(46) <= (bits == 8 ? 256u : 0x8000u);
            if (!good)
                throw new InvalidDataException(path + " is a bitmap that cannot be read");
            Reserve(width, height, bits > 8 ? 32 : bits);
            double claimed = Math.Max((uint)word(34), RowBytesOf(width, bits) * (double)height);
            if (claimed > int.MaxValue - (1 << 20))
                throw new OutOfMemoryException(path + " claims 2 GiB");
            Room((long)(2 * claimed) + 5L * width * height);
        }

        // --- Copies and sizes ------------------------------------------------------

        /// <summary>A new image with the same pixels.</summary>
        public Image Clone()
        {
            return Make(this, this, "QuibClone", r => Native.QuibClone(Record, r));
        }

        /// <summary>Copies all pixels into an image of the same size and depth.</summary>
        public void CopyTo(Image target)
        {
            Need(target, "target", Depth);
            NeedSize(target, "target", this);
            Locked(this, target, "QuibCopy", () => {
                IplImage* there = target.Record;
                return Native.QuibCopy(Record, &there);
            });
        }

        /// <summary>A new image of another size.</summary>
        public Image Resize(int width, int height, ResizeMode mode = ResizeMode.Linear)
        {
            NeedRange((int)mode, "mode", 0, 3);
            Image made = new Image(width, height, Depth);
            return Filled(made, mode, "QuibResize",
                () => Native.QuibResize(Record, made.Record, (int)mode));
        }

        /// <summary>The same by the engine at every depth.</summary>
        public Image ResizeFit(int width, int height, ResizeMode mode = ResizeMode.Linear)
        {
            NeedRange((int)mode, "mode", 0, 3);
            Image made = new Image(width, height, Depth);
            return Filled(made, mode, "QuibResizeFit",
                () => Native.QuibResizeFit(Record, made.Record, (int)mode));
        }

        private Image Filled(Image made, ResizeMode mode, string function, Call call)
        {
            if (mode == ResizeMode.Area && (made.Width > Width || made.Height > Height)) {
                made.Dispose();
                throw new ArgumentException("Area only reduces", "mode");
            }
            Room(64L * (Width + Height + made.Width + made.Height) + 16L * made.RowBytes);
            Locked(this, made, function, call);
            return made;
        }

        /// <summary>Moves a rectangle to one of another image of the same depth, both inside
        /// their images. Sizes that differ are scaled to nearest pixels.</summary>
        public void Blt(QuibRect from, Image target, QuibRect to)
        {
            Need(target, "target", Depth);
            NeedInside(from, "from", this);
            NeedInside(to, "to", target);
            bool same = from.right - from.left == to.right - to.left &&
                from.bottom - from.top == to.bottom - to.top;
            if (!same && ReferenceEquals(target, this))
                throw new ArgumentException("must be another image", "target");
            Locked(this, target, "QuibBlt", () => Native.QuibBlt(Record, from.left, from.top,
                from.right, from.bottom, target.Record, to.left, to.top, to.right, to.bottom, 1));
        }

        private static void NeedInside(QuibRect area, string name, Image image)
        {
            if (area.left < 0 || area.top < 0 || area.left >= area.right ||
                area.top >= area.bottom || area.right > image.Width || area.bottom > image.Height)
                throw new ArgumentException("must lie inside the image", name);
        }

        // --- Geometry --------------------------------------------------------------

        /// <summary>A new image with rows, columns or both reversed.</summary>
        public Image Flip(FlipAxis axis)
        {
            NeedRange((int)axis, "axis", -1, 1);
            Image made = new Image(Width, Height, Depth);
            Locked(this, made, "QuibFlip",
                () => Native.QuibFlip(Record, made.Record, (int)axis));
            return made;
        }

        private static int Mode(Interpolation interpolation, bool smoothEdge)
        {
            NeedRange((int)interpolation, "interpolation", 0, 2);
            return (int)interpolation | (smoothEdge ? 16 : 0);
        }

        private void NeedArea()
        {
            if (Width < 2 || Height < 2)
                throw new InvalidOperationException("the image must have 2 columns and 2 rows");
            Room(8L * RowBytes * Height + (1 << 20));
        }

        /// <summary>A new image, turned counter-clockwise by degrees about a pixel.</summary>
        public Image Rotate(double angle, int xCenter, int yCenter,
            Interpolation interpolation = Interpolation.Linear, bool smoothEdge = false)
        {
            NeedFinite(angle, "angle");
            NeedRange(xCenter, "xCenter", -(1 << 24), 1 << 24);
            NeedRange(yCenter, "yCenter", -(1 << 24), 1 << 24);
            int mode = Mode(interpolation, smoothEdge);
            NeedArea();
            Image made = new Image(Width, Height, Depth);
            Locked(this, made, "QuibRotate", () => Native.QuibRotate(Record, made.Record, angle,
                xCenter, yCenter, mode));
            return made;
        }

        /// <summary>A new image as large as what a 32-bit one becomes under two rows of three
        /// coefficients.</summary>
        public Image WarpAffine(double[,] coefficients,
            Interpolation interpolation = Interpolation.Linear, bool smoothEdge = false)
        {
            Need(this, "this", 32);
            NeedMatrix(coefficients, "coefficients", 2, 3, 1e7);
            int mode = Mode(interpolation, smoothEdge);
            NeedArea();
            double[,] c = (double[,])coefficients.Clone();
            if (!(Math.Abs(c[0, 0] * c[1, 1] - c[1, 0] * c[0, 1]) > 1e-7))
                throw new ArgumentException("must have a determinant", "coefficients");
            double right = Width - 1, bottom = Height - 1;
            double wide = Math.Abs(c[0, 0]) * right + Math.Abs(c[0, 1]) * bottom;
            double high = Math.Abs(c[1, 0]) * right + Math.Abs(c[1, 1]) * bottom;
            if (wide > 1e9 || high > 1e9)
                throw new OutOfMemoryException("the result would be too large");
            Reserve((int)wide + 2, (int)high + 2, 32);
            return Make(this, this, "QUIBWarpAffine", r => {
                fixed (double* at = c)
                    return Native.QUIBWarpAffine(Record, r, at, mode);
            }, 8L * ((int)wide + 2) * ((int)high + 2));
        }

        private static void NeedMatrix(double[,] value, string name, int rows, int columns,
            double limit)
        {
            if (value == null || value.GetLength(0) != rows || value.GetLength(1) != columns)
                throw new ArgumentException("must be " + rows + " x " + columns + " numbers", name);
            foreach (double number in value)
                if (!(Math.Abs(number) <= limit))
                    throw new ArgumentException("must be numbers within " + limit, name);
        }

        /// <summary>A new image of the same size and depth with this one drawn onto a convex
        /// quadrangle, four rows of x and y.</summary>
        public Image WarpQuad(double[,] quad, Interpolation interpolation = Interpolation.Linear,
            bool smoothEdge = false)
        {
            NeedMatrix(quad, "quad", 4, 2, 1e6);
            int mode = Mode(interpolation, smoothEdge);
            double[,] corners = (double[,])quad.Clone();
            if (!IsConvex(corners))
                throw new ArgumentException("must be a convex quadrangle", "quad");
            NeedArea();
            Image made = new Image(Width, Height, Depth);
            Locked(this, made, "QUIBWarpPerspectiveQ", () => {
                IplImage* there = made.Record;
                fixed (double* at = corners)
                    return Native.QUIBWarpPerspectiveQ(Record, &there, at, mode, false);
            });
            return made;
        }

        private static bool IsConvex(double[,] q)
        {
            int sign = 0;
            for (int i = 0; i < 4; ++i) {
                int j = (i + 1) % 4, k = (i + 2) % 4;
                double turn = (q[j, 0] - q[i, 0]) * (q[k, 1] - q[j, 1]) -
                    (q[j, 1] - q[i, 1]) * (q[k, 0] - q[j, 0]);
                if (Math.Abs(turn) <= (i == 3 ? 0.1 : 0.001))
                    return false;
                sign += Math.Sign(turn);
            }
            return Math.Abs(sign) == 4;
        }

        // --- Composition and alpha -------------------------------------------------

        /// <summary>A new image with this one laid over another by the alphas of both, of 32
        /// bits and one size.</summary>
        public Image Over(Image under)
        {
            NeedPair(under, "under");
            return Make(this, under, "QuibComposition3",
                r => Native.QuibComposition3(Record, under.Record, r));
        }

        /// <summary>The same by this image's alpha alone.</summary>
        public Image SimplyOver(Image under)
        {
            NeedPair(under, "under");
            return Make(this, under, "QuibComposition_s",
                r => Native.QuibComposition_s(Record, under.Record, r));
        }

        /// <summary>The same in one of six ways.</summary>
        public Image CompositeWith(Image other, Composite kind, bool premultiplied = false,
            bool divide = false)
        {
            NeedPair(other, "other");
            NeedRange((int)kind, "kind", 0, 5);
            return Make(this, other, "QuibComposition1",
                r => Native.QuibComposition1(Record, other.Record, r, null, null, null, (int)kind,
                    premultiplied ? 1 : 0, divide ? 1 : 0));
        }

        private void NeedPair(Image other, string name)
        {
            Need(this, "this", 32);
            Need(other, name, 32);
            NeedSize(other, name, this);
        }

        /// <summary>Lays this image on another in place, its corner at column x and row y.
        /// </summary>
        public void DrawOn(Image under, int x, int y)
        {
            Need(this, "this", 32);
            Need(under, "under", 32);
            NeedRange(x, "x", -(1 << 30), 1 << 30);
            NeedRange(y, "y", -(1 << 30), 1 << 30);
            QuibPoint position = new QuibPoint { x = x, y = -y };
            Locked(this, under, "QuibComposition4", () => {
                QuibPoint place = position;
                return Native.QuibComposition4(Record, under.Record, &place, null);
            });
        }

        /// <summary>Stores one alpha in all pixels of a 32-bit image.</summary>
        public void SetAlpha(byte alpha)
        {
            Need(this, "this", 32);
            Locked(this, this, "QuibSetAlphaS", () => Native.QuibSetAlphaS(Record, null, alpha));
        }

        /// <summary>Stores an 8-bit image's pixels, times a percentage, as alpha.</summary>
        public void SetAlpha(Image plane, int percent = 100)
        {
            Need(this, "this", 32);
            Need(plane, "plane", 8);
            NeedRange(percent, "percent", 0, 100);
            if (plane.Width < Width || plane.Height < Height)
                throw new ArgumentException("must be at least as large", "plane");
            Locked(this, plane, "QuibSetAlpha",
                () => Native.QuibSetAlpha(Record, plane.Record, (uint)percent));
        }

        // --- Tone and gray ---------------------------------------------------------

        /// <summary>A new 32-bit image with other brightness and contrast, -128 to 127.</summary>
        public Image BrightnessAndContrast(int brightness, int contrast)
        {
            Need(this, "this", 32);
            Image made = Clone();
            Locked(this, made, "QuibBrightnessAndContrast", () => {
                IplImage* there = made.Record;
                return Native.QuibBrightnessAndContrast(Record, &there, brightness, contrast, 0);
            });
            return made;
        }

        /// <summary>A new 32-bit image with its hue turned by degrees and its saturation changed
        /// by a percentage.</summary>
        public Image HueAndSaturation(int hue, int saturation)
        {
            Need(this, "this", 32);
            Image made = Clone();
            Locked(this, made, "QuibHueAndSaturation", () => {
                IplImage* there = made.Record;
                return Native.QuibHueAndSaturation(Record, &there, hue, saturation);
            });
            return made;
        }

        /// <summary>A new 8-bit image of a 24-bit or 32-bit one.</summary>
        public Image ToGray()
        {
            Need(this, "this", 24, 32);
            return Make(this, this, "QuibColorToGray", r => Native.QuibColorToGray(Record, r));
        }

        // --- Pixel operations ------------------------------------------------------

        /// <summary>this + value.</summary>
        public Image Add(int value)
        {
            return Make(this, this, "QuibAddS", r => Native.QuibAddS(Record, r, value));
        }

        /// <summary>this * value.</summary>
        public Image Multiply(int value)
        {
            return Make(this, this, "QuibMultiplyS", r => Native.QuibMultiplyS(Record, r, value));
        }

        /// <summary>Each bit turned round.</summary>
        public Image Invert()
        {
            return Make(this, this, "QuibNot", r => Native.QuibNot(Record, r));
        }

        /// <summary>this + other, of one depth.</summary>
        public Image Add(Image other)
        {
            Need(other, "other", Depth);
            return Make(this, other, "QuibAdd", r => Native.QuibAdd(Record, other.Record, r));
        }

        /// <summary>this - other, of one depth.</summary>
        public Image Subtract(Image other)
        {
            Need(other, "other", Depth);
            return Make(this, other, "QuibSubtract",
                r => Native.QuibSubtract(Record, other.Record, r));
        }

        // --- Filters ---------------------------------------------------------------

        private long NeedWindow(int columns, int rows)
        {
            NeedRange(columns, "columns", 1, 1 << 16);
            NeedRange(rows, "rows", 1, 1 << 16);
            double whole = ((double)Width + columns) * Channels * (Height + rows);
            if (whole > int.MaxValue / 2)
                throw new OutOfMemoryException("the window is too large");
            return 10 * (long)whole;
        }

        /// <summary>The mean of a window.</summary>
        public Image Blur(int columns, int rows)
        {
            long room = NeedWindow(columns, rows);
            return Make(this, this, "QuibBlur",
                r => Native.QuibBlur(Record, r, columns, rows, columns / 2, rows / 2), room);
        }

        /// <summary>The median of a window.</summary>
        public Image Median(int columns, int rows)
        {
            long room = NeedWindow(columns, rows);
            return Make(this, this, "QuibMedianFilter",
                r => Native.QuibMedianFilter(Record, r, columns, rows, columns / 2, rows / 2),
                room);
        }

        /// <summary>The largest element of a window.</summary>
        public Image Max(int columns, int rows)
        {
            long room = NeedWindow(columns, rows);
            return Make(this, this, "QuibMaxFilter",
                r => Native.QuibMaxFilter(Record, r, columns, rows, columns / 2, rows / 2), room);
        }

        /// <summary>The smallest element of a window.</summary>
        public Image Min(int columns, int rows)
        {
            long room = NeedWindow(columns, rows);
            return Make(this, this, "QuibMinFilter",
                r => Native.QuibMinFilter(Record, r, columns, rows, columns / 2, rows / 2), room);
        }

        /// <summary>One of eleven filters with a window of their own, 0 to 10.</summary>
        public Image FixedFilter(int filter)
        {
            NeedRange(filter, "filter", 0, 10);
            return Make(this, this, "QuibFixedFilter",
                r => Native.QuibFixedFilter(Record, r, filter), NeedWindow(5, 5));
        }

        /// <summary>The image convolved by taps in rows and columns, the pixel in their middle,
        /// their sum shifted right.</summary>
        public Image Convolve(int[,] taps, int shift = 0)
        {
            if (taps == null || taps.Length == 0)
                throw new ArgumentException("must be rows and columns of taps", "taps");
            NeedRange(shift, "shift", 0, int.MaxValue);
            int rows = taps.GetLength(0), columns = taps.GetLength(1);
            long room = NeedWindow(columns, rows) + 64L * taps.Length;
            void* kernel = null;
            Room(room);
            fixed (int* at = taps)
                QuibException.Check("QuibCreateConvKernel", Native.QuibCreateConvKernel(&kernel,
                    columns, rows, columns / 2, rows / 2, at, shift));
            IntPtr held = (IntPtr)kernel;
            try {
                return Make(this, this, "QuibConvolve2D", r => {
                    void* one = (void*)held;
                    return Native.QuibConvolve2D(Record, r, &one, 1, 0);
                }, room);
            } finally {
                Native.QuibDeleteConvKernel((void*)held);
            }
        }
    }
}
