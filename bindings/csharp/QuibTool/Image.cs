using System;
using System.Runtime.InteropServices;
using System.Threading;

namespace QuibTool
{
    /// <summary>A handle of the library, freed when nobody uses it any more.</summary>
    public sealed unsafe class ImageHandle : SafeHandle
    {
        // The region that the library gave a clone, which goes with its record.
        private readonly IntPtr region;
        private readonly int bytes;

        internal ImageHandle(IplImage* image) : base(IntPtr.Zero, true)
        {
            SetHandle((IntPtr)image);
            region = (IntPtr)image->roi;
            image->roi = null;
            bytes = image->imageSize;
            Pressure.Add(bytes);
        }

        /// <summary>Whether there is no handle in it.</summary>
        public override bool IsInvalid { get { return handle == IntPtr.Zero; } }

        /// <summary>Frees the handle. [QuibFree]</summary>
        protected override bool ReleaseHandle()
        {
            IplImage* image = (IplImage*)handle;
            image->roi = (IplROI*)region;
            image->maskROI = null;
            Pressure.Remove(bytes);
            return Native.QuibFree(&image) == 0;
        }
    }

    /// <summary>Works on bytes that are good for the length of the call.</summary>
    public delegate void PixelAction(Span<byte> pixels);

    /// <summary>An image of 1, 8, 24 or 32 bits per pixel, with bytes in the order B, G, R, A.
    /// The library ends the process (exit 1) on what its engine refuses and where memory runs
    /// out for pixels; the methods test their arguments first and throw ArgumentException and
    /// OutOfMemoryException in its place. Calls on one image wait for one another. The names in
    /// brackets are those of the C functions.</summary>
    public sealed unsafe partial class Image : IDisposable
    {
        private static long count;
        internal readonly object Gate = new object();
        internal readonly long Number = Interlocked.Increment(ref count);
        private readonly ImageHandle handle;
        private readonly int width, height, channels, depth, rowBytes;
        internal readonly int SizeBytes;
        private QuibRect? region;
        private Image mask;

        private Image(IplImage* image)
        {
            if (image->roi != null) {
                IplROI at = *image->roi;
                region = new QuibRect(at.xOffset, at.yOffset, at.xOffset + at.width,
                    at.yOffset + at.height);
            }
            width = image->width;
            height = image->height;
            channels = image->nChannels;
            depth = (int)(image->depth & 0x7FFFFFFF) * channels;
            rowBytes = image->widthStep;
            SizeBytes = image->imageSize;
            handle = new ImageHandle(image);
        }

        /// <summary>Makes an image filled with a value (1 and 8 bits) or a word (see Color).
        /// [QuibCreate]</summary>
        public Image(int width, int height, int depth = 32, uint fill = 0)
            : this(Create(width, height, depth, fill))
        {
            if (depth == 24) // which the library leaves as they are
                Fill(fill);
        }

        private static IplImage* Create(int width, int height, int depth, uint fill)
        {
            Need.Size(width, height, depth);
            NeedFill(fill, "fill", depth);
            IplImage* made = null;
            QuibException.Check("QuibCreate", Native.QuibCreate(width, height, depth, &made, fill));
            return made;
        }

        /// <summary>Makes an image of pixels that nobody has set. [QuibCreate0]</summary>
        public static Image Uninitialized(int width, int height, int depth = 32)
        {
            Need.Size(width, height, depth);
            IplImage* made = null;
            return Made("QuibCreate0", Native.QuibCreate0(width, height, depth, &made), made);
        }

        /// <summary>The word of a 32-bit pixel, B | G &lt;&lt; 8 | R &lt;&lt; 16 | A &lt;&lt; 24.
        /// </summary>
        public static uint Color(byte red, byte green, byte blue, byte alpha = 255)
        {
            return (uint)(blue | green << 8 | red << 16) | (uint)alpha << 24;
        }

        /// <summary>The handle, for the functions of Native.</summary>
        public ImageHandle Handle { get { return handle; } }

        /// <summary>Gives the handle back. Using the image throws ObjectDisposedException.
        /// [QuibFree]</summary>
        public void Dispose()
        {
            lock (Gate)
                handle.Dispose();
        }

        // Good while the image is held.
        internal IplImage* Record { get { return (IplImage*)handle.DangerousGetHandle(); } }

        // --- What it is ------------------------------------------------------------

        private Image Open
        {
            get
            {
                Need.Open(this, "this");
                return this;
            }
        }

        /// <summary>Pixels of a row.</summary>
        public int Width { get { return Open.width; } }

        /// <summary>Rows.</summary>
        public int Height { get { return Open.height; } }

        /// <summary>Channels of a pixel.</summary>
        public int Channels { get { return Open.channels; } }

        /// <summary>Bits per pixel.</summary>
        public int Depth { get { return Open.depth; } }

        /// <summary>Bytes from one row to the next.</summary>
        public int RowBytes { get { return Open.rowBytes; } }

        /// <summary>Size and form, as the library tells them. [QuibGetInfo]</summary>
        public QuibInfo Info()
        {
            QuibInfo info;
            using (Hold.On(this))
                QuibException.Check("QuibGetInfo", Native.QuibGetInfo(Record, &info));
            return info;
        }

        /// <summary>Whether another image has the same width and height.
        /// [QuibColorConversion]</summary>
        public bool HasSizeOf(Image other)
        {
            using (Hold.On(this, other, "other"))
                return Native.QuibColorConversion(Record, other.Record) == 0;
        }

        /// <summary>The part of the image that operations read and write, all of it if null. It
        /// stays until it is set anew, and must lie inside the image.</summary>
        public QuibRect? Region
        {
            get
            {
                lock (Gate)
                    return region;
            }
            set
            {
                Need.Open(this, "this");
                if (value != null)
                    Need.Inside(value.Value, "Region", width, height);
                lock (Gate)
                    region = value;
            }
        }

        internal int RegionWidth
        {
            get { return region == null ? width : region.Value.right - region.Value.left; }
        }

        internal int RegionHeight
        {
            get { return region == null ? height : region.Value.bottom - region.Value.top; }
        }

        /// <summary>A 1-bit image, or null. Operations of the engine leave out the pixels where it
        /// has a 0; its corner lies on that of the region. It must have no mask of its own, and is
        /// not to be disposed as long as it serves as a mask.</summary>
        public Image Mask
        {
            get { return mask; }
            set
            {
                Need.Open(this, "this");
                if (value != null) {
                    Need.Depth(value, "Mask", 1);
                    if (ReferenceEquals(value, this) || value.mask != null)
                        throw new ArgumentException(
                            "must be another image, without a mask of its own", "Mask");
                }
                lock (Gate)
                    mask = value;
            }
        }

        internal Image MaskOrNull { get { return mask; } }

        // --- Pixels ----------------------------------------------------------------

        /// <summary>Works on all rows, padding included, as they lie in memory. The span is good
        /// for the length of the call, in which the image cannot be freed. [QuibLockData,
        /// QuibUnlockData]</summary>
        public void WithPixels(PixelAction action)
        {
            if (action == null)
                throw new ArgumentNullException("action");
            using (Hold.On(this)) {
                void* first;
                QuibException.Check("QuibLockData", Native.QuibLockData(Record, &first));
                try {
                    action(new Span<byte>(first, SizeBytes));
                } finally {
                    Native.QuibUnlockData(Record);
                }
            }
        }

        /// <summary>A copy of the pixels of a row, without its padding.</summary>
        public byte[] GetRow(int row)
        {
            Need.Range(row, "row", 0, Height - 1);
            byte[] found = new byte[PixelBytes];
            WithPixels(pixels => pixels.Slice(row * rowBytes, found.Length).CopyTo(found));
            return found;
        }

        /// <summary>Stores the pixels of a row, as many bytes as GetRow gives.</summary>
        public void SetRow(int row, ReadOnlySpan<byte> values)
        {
            Need.Range(row, "row", 0, Height - 1);
            if (values.Length != PixelBytes)
                throw new ArgumentException("must be " + PixelBytes + " bytes, not " +
                    values.Length, "values");
            byte[] copy = values.ToArray();
            WithPixels(pixels => copy.AsSpan().CopyTo(pixels.Slice(row * rowBytes, copy.Length)));
        }

        private int PixelBytes { get { return (width * depth + 7) / 8; } }

        private static void NeedFill(uint fill, string name, int depth)
        {
            Need.Range(fill, name, 0, depth == 1 ? 1 : depth == 8 ? 255 : uint.MaxValue);
        }

        /// <summary>Fills the image with a value or a word (see Color); of one channel, the region
        /// alone. [QuibFillColor]</summary>
        public void Fill(uint color)
        {
            using (Hold.On(this)) {
                NeedFill(color, "color", depth);
                if (depth == 24)
                    FillColors(color, new QuibRect(0, 0, width, height));
                else
                    QuibException.Check("QuibFillColor", Native.QuibFillColor(Record, color, null));
            }
        }

        /// <summary>Fills what of an area lies inside the image, of which there must be some.
        /// [QuibFillColor]</summary>
        public void Fill(uint color, QuibRect area)
        {
            using (Hold.On(this)) {
                NeedFill(color, "color", depth);
                QuibRect cut = Need.Clipped(area, "area", this);
                if (depth == 24)
                    FillColors(color, cut);
                else
                    QuibException.Check("QuibFillColor", Native.QuibFillColor(Record, color, &cut));
            }
        }

        private void FillColors(uint color, QuibRect area)
        {
            for (int y = area.top; y < area.bottom; ++y) {
                byte* row = Record->imageData + (long)y * rowBytes;
                for (int i = 3 * area.left; i < 3 * area.right; ++i)
                    row[i] = (byte)(color >> 8 * (i % 3));
            }
        }

        /// <summary>Whether no byte of the rows but alpha exceeds the threshold. [QuibIsBlack]
        /// </summary>
        public bool IsBlack(uint threshold = 0)
        {
            int result;
            using (Hold.On(this))
                QuibException.Check("QuibIsBlack", Native.QuibIsBlack(Record, threshold, &result));
            return result != 0;
        }

        /// <summary>A new image with the same pixels and region. [QuibClone]</summary>
        public Image Clone()
        {
            return Make(Native.QuibClone);
        }

        /// <summary>A new image with the same pixels. [QuibCopy]</summary>
        public Image Copy()
        {
            return Make(Native.QuibCopy);
        }

        /// <summary>Copies all pixels into an image of the same size and depth. [QuibCopy]
        /// </summary>
        public void CopyTo(Image target)
        {
            using (Hold.On(this, target, "target")) {
                Need.Like(target, "target", this);
                IplImage* there = target.Record;
                QuibException.Check("QuibCopy", Native.QuibCopy(Record, &there));
            }
        }

        // --- Results ---------------------------------------------------------------

        private static Image Made(string function, int status, IplImage* made)
        {
            Image result = made == null ? null : new Image(made);
            if (status != 0 && result != null)
                result.Dispose();
            QuibException.Check(function, status);
            if (result == null)
                throw new QuibException(function, QuibException.Failed);
            return result;
        }

        private delegate int Maker(IplImage* source, IplImage** made);

        // The new image that a function makes of this one.
        private Image Make(Maker function)
        {
            using (Hold hold = Hold.On(this)) {
                hold.Room();
                IplImage* made = null;
                return Made(function.Method.Name, function(Record, &made), made);
            }
        }

        // A new image for an operation to write, in which its region or mask may leave some out.
        private Image Blank(int newWidth, int newHeight)
        {
            return Region == null && mask == null ? Uninitialized(newWidth, newHeight, Depth)
                : new Image(newWidth, newHeight, Depth);
        }

        // Fills a new image, which goes if that throws.
        private static Image Filled(Image made, Action<Image> fill)
        {
            try {
                fill(made);
                return made;
            } catch {
                made.Dispose();
                throw;
            }
        }
    }
}
