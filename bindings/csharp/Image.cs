using System;
using System.Runtime.InteropServices;

namespace QuibTool
{
    /// <summary>A handle of the library, freed when nobody uses it any more.</summary>
    public sealed unsafe class ImageHandle : SafeHandle
    {
        internal ImageHandle(IplImage* image) : base(IntPtr.Zero, true)
        {
            SetHandle((IntPtr)image);
        }

        public override bool IsInvalid { get { return handle == IntPtr.Zero; } }

        protected override bool ReleaseHandle()
        {
            IplImage* image = (IplImage*)handle;
            return Native.QuibFree(&image) == 0;
        }
    }

    /// <summary>An image of 1, 8, 24 or 32 bits per pixel, with bytes in the order B, G, R, A.
    /// The library ends the process (exit 1) on what its engine refuses and where memory runs
    /// out for pixels; the methods test their arguments first and throw ArgumentException and
    /// OutOfMemoryException in its place. Calls on one image wait for one another.</summary>
    public sealed unsafe partial class Image : IDisposable
    {
        private readonly ImageHandle handle;
        private readonly object gate = new object();

        private Image(IplImage* image)
        {
            handle = new ImageHandle(image);
        }

        /// <summary>Makes an image filled with a value (1 and 8 bits) or a word
        /// B | G &lt;&lt; 8 | R &lt;&lt; 16 | A &lt;&lt; 24.</summary>
        public Image(int width, int height, int depth = 32, uint fill = 0)
        {
            Reserve(width, height, depth);
            if ((depth == 1 && fill > 1) || (depth == 8 && fill > 255))
                throw new ArgumentOutOfRangeException("fill", "must fit the depth");
            IplImage* made = null;
            QuibException.Check("QuibCreate", Native.QuibCreate(width, height, depth, &made, fill));
            handle = new ImageHandle(made);
            if (depth == 24) // which the library leaves as they are
                Fill(fill);
        }

        /// <summary>The handle, for the functions of Native.</summary>
        public ImageHandle Handle { get { return handle; } }

        /// <summary>Gives the handle back. Using the image throws ObjectDisposedException.</summary>
        public void Dispose()
        {
            lock (gate)
                handle.Dispose();
        }

        private IplImage* Record
        {
            get
            {
                if (handle.IsClosed || handle.IsInvalid)
                    throw new ObjectDisposedException("Image");
                return (IplImage*)handle.DangerousGetHandle();
            }
        }

        /// <summary>Pixels of a row.</summary>
        public int Width { get { lock (gate) return Record->width; } }

        /// <summary>Rows.</summary>
        public int Height { get { lock (gate) return Record->height; } }

        /// <summary>Channels of a pixel.</summary>
        public int Channels { get { lock (gate) return Record->nChannels; } }

        /// <summary>Bits per pixel.</summary>
        public int Depth
        {
            get { lock (gate) return (int)(Record->depth & 0x7FFFFFFF) * Record->nChannels; }
        }

        /// <summary>Bytes from one row to the next.</summary>
        public int RowBytes { get { lock (gate) return Record->widthStep; } }

        /// <summary>Size and form, as the library tells them.</summary>
        public QuibInfo Info()
        {
            QuibInfo info;
            lock (gate)
                QuibException.Check("QuibGetInfo", Native.QuibGetInfo(Record, &info));
            return info;
        }

        /// <summary>Works on all rows, padding included, as they lie in memory. The span is good
        /// for the length of the call, in which the image cannot be disposed.</summary>
        public void WithPixels(PixelAction action)
        {
            if (action == null)
                throw new ArgumentNullException("action");
            lock (gate) {
                bool held = false;
                try {
                    IplImage* record = Record;
                    handle.DangerousAddRef(ref held);
                    action(new Span<byte>(record->imageData, record->imageSize));
                } finally {
                    if (held)
                        handle.DangerousRelease();
                }
            }
        }

        public delegate void PixelAction(Span<byte> pixels);

        /// <summary>A copy of the pixels of a row, without its padding.</summary>
        public byte[] GetRow(int row)
        {
            CheckRow(row);
            byte[] found = new byte[(Width * Depth + 7) / 8];
            int step = RowBytes;
            WithPixels(pixels => pixels.Slice(row * step, found.Length).CopyTo(found));
            return found;
        }

        /// <summary>Stores the pixels of a row, as many bytes as GetRow gives.</summary>
        public void SetRow(int row, byte[] values)
        {
            CheckRow(row);
            if (values == null || values.Length != (Width * Depth + 7) / 8)
                throw new ArgumentException("must have the bytes of a row", "values");
            int step = RowBytes;
            WithPixels(pixels => values.AsSpan().CopyTo(pixels.Slice(row * step, values.Length)));
        }

        private void CheckRow(int row)
        {
            if (row < 0 || row >= Height)
                throw new ArgumentOutOfRangeException("row", "must be 0 to " + (Height - 1));
        }

        /// <summary>Fills the image.</summary>
        public void Fill(uint color)
        {
            if (Depth == 24) {
                byte[] row = new byte[Width * 3];
                for (int i = 0; i < row.Length; ++i)
                    row[i] = (byte)(color >> 8 * (i % 3));
                for (int y = 0; y < Height; ++y)
                    SetRow(y, row);
                return;
            }
            lock (gate)
                QuibException.Check("QuibFillColor", Native.QuibFillColor(Record, color, null));
        }

        /// <summary>Whether no byte of the rows but alpha exceeds the threshold.</summary>
        public bool IsBlack(uint threshold = 0)
        {
            int result;
            lock (gate)
                QuibException.Check("QuibIsBlack", Native.QuibIsBlack(Record, threshold, &result));
            return result != 0;
        }

        // --- Calls -----------------------------------------------------------------

        private static long RowBytesOf(long width, int depth)
        {
            return (width * depth + 31) / 32 * 4;
        }

        /// <summary>Refuses sizes that cannot be, and sees whether the memory can be had.</summary>
        private static void Reserve(int width, int height, int depth)
        {
            if (width < 1)
                throw new ArgumentOutOfRangeException("width", "must be 1 or more");
            if (height < 1)
                throw new ArgumentOutOfRangeException("height", "must be 1 or more");
            if (depth != 1 && depth != 8 && depth != 24 && depth != 32)
                throw new ArgumentOutOfRangeException("depth", "must be 1, 8, 24 or 32");
            double bytes = (double)RowBytesOf(width, depth) * height;
            if (bytes > int.MaxValue - 64 || (long)width * depth > int.MaxValue - 32)
                throw new OutOfMemoryException("a picture has less than 2 GiB");
            Room((long)bytes + (1 << 16));
        }

        private static void Room(long bytes)
        {
            Marshal.FreeHGlobal(Marshal.AllocHGlobal(new IntPtr(bytes)));
        }

        /// <summary>An open image of one of these depths.</summary>
        private static IplImage* Need(Image image, string name, params int[] depths)
        {
            if (image == null)
                throw new ArgumentNullException(name);
            if (depths.Length > 0 && Array.IndexOf(depths, image.Depth) < 0)
                throw new ArgumentException("must have " + string.Join(" or ", depths) +
                    " bits per pixel, not " + image.Depth, name);
            return image.Record;
        }

        private static void NeedSize(Image image, string name, Image other)
        {
            if (image.Width != other.Width || image.Height != other.Height)
                throw new ArgumentException("must have " + other.Width + " x " + other.Height +
                    " pixels", name);
        }

        private static void NeedRange(int value, string name, int low, int high)
        {
            if (value < low || value > high)
                throw new ArgumentOutOfRangeException(name, "must be " + low + " to " + high);
        }

        private static void NeedFinite(double value, string name)
        {
            if (!(Math.Abs(value) <= 1e9))
                throw new ArgumentOutOfRangeException(name, "must be a number within 1e9");
        }

        private delegate int Call();

        private static int count;
        private readonly int number = System.Threading.Interlocked.Increment(ref count);

        /// <summary>Calls with both images locked, the older one first, so that nobody waits
        /// in a circle.</summary>
        private static void Locked(Image a, Image b, string function, Call call)
        {
            lock ((a.number < b.number ? a : b).gate)
                lock ((a.number < b.number ? b : a).gate)
                    QuibException.Check(function, call());
        }

        private delegate int Maker(IplImage** result);

        private static Image Make(Image a, Image b, string function, Maker maker, long room = 0)
        {
            Room(3L * Math.Max(a.RowBytes * (long)a.Height, b.RowBytes * (long)b.Height) + room +
                (1 << 18));
            IntPtr made = IntPtr.Zero;
            Locked(a, b, function, () => {
                IplImage* result = null;
                int status = maker(&result);
                made = (IntPtr)result;
                return status;
            });
            if (made == IntPtr.Zero)
                throw new QuibException(function, unchecked((int)0x80000000));
            return new Image((IplImage*)made);
        }
    }
}
