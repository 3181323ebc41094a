// Convolution, and filters with a window. A filter gives a new image of its source's size and
// depth. A region is filtered into the top left corner of the result, which is black elsewhere;
// Blur gives a clone with the region blurred in its place. Pixels outside the image are 0.
using System;

namespace QuibTool
{
    /// <summary>What becomes of the results of several kernels.</summary>
    public enum Combine
    {
        /// <summary>Their sum.</summary>
        Sum = 0,
        /// <summary>The sum of their squares.</summary>
        Squares = 1,
        /// <summary>The square root of that sum.</summary>
        Root = 2,
        /// <summary>The largest.</summary>
        Largest = 3,
        /// <summary>The smallest.</summary>
        Smallest = 4,
    }

    /// <summary>The filters of FixedFilter.</summary>
    public enum FixedWindow
    {
        /// <summary>Prewitt's gradient, the difference of right and left.</summary>
        PrewittHorizontal = 0,
        /// <summary>Prewitt's gradient, the difference of top and bottom.</summary>
        PrewittVertical = 1,
        /// <summary>Sobel's gradient, the difference of right and left.</summary>
        SobelHorizontal = 2,
        /// <summary>Sobel's gradient, the difference of top and bottom.</summary>
        SobelVertical = 3,
        /// <summary>The Laplacian of 3 x 3 pixels.</summary>
        Laplacian3x3 = 4,
        /// <summary>The Laplacian of 5 x 5 pixels.</summary>
        Laplacian5x5 = 5,
        /// <summary>The Gaussian of 3 x 3 pixels.</summary>
        Gaussian3x3 = 6,
        /// <summary>The Gaussian of 5 x 5 pixels.</summary>
        Gaussian5x5 = 7,
        /// <summary>The pixel less the mean of 3 x 3 pixels, plus 128.</summary>
        Highpass3x3 = 8,
        /// <summary>The pixel less the mean of 5 x 5 pixels, plus 128.</summary>
        Highpass5x5 = 9,
        /// <summary>9 times the pixel less those around it.</summary>
        Sharpen = 10,
    }

    public sealed unsafe partial class Image
    {
        // Bytes that a window needs besides the images: this one with a border, in wide numbers.
        private double WindowRoom(long columns, long rows)
        {
            double row = Need.RowBytes(width + columns, 8 * channels);
            double whole = row * (height + rows);
            if (whole > int.MaxValue)
                throw new OutOfMemoryException("a window of " + columns + " x " + rows +
                    " around " + width + " x " + height + " pixels takes " +
                    whole.ToString("0") + " bytes");
            return 8 * row * (Math.Min(height, rows) + rows) + 2 * whole;
        }

        // --- Convolution -----------------------------------------------------------

        /// <summary>The image convolved by taps in rows and columns, the pixel in their middle,
        /// their sum shifted right. [QuibConvolve2D]</summary>
        public Image Convolve(int[,] taps, int shift = 0)
        {
            using (Kernel kernel = new Kernel(taps, shift))
                return Convolve(kernel);
        }

        /// <summary>The image convolved by a kernel. [QuibConvolve2D]</summary>
        public Image Convolve(Kernel kernel)
        {
            Kernel.NeedOpen(kernel, "kernel");
            return Convolve(new[] { kernel });
        }

        /// <summary>The image convolved by 1 to 10 kernels. [QuibConvolve2D]</summary>
        public Image Convolve(Kernel[] kernels, Combine combine = Combine.Sum)
        {
            if (kernels == null || kernels.Length < 1 || kernels.Length > 10)
                throw new ArgumentException("must be 1 to 10 kernels", "kernels");
            Kernel[] given = (Kernel[])kernels.Clone();
            using (Hold hold = Hold.On(this)) {
                int method = Need.Choice(combine, "combine"), columns = 1, rows = 1;
                void** addresses = stackalloc void*[given.Length];
                for (int i = 0; i < given.Length; ++i) {
                    Kernel.NeedOpen(given[i], "kernels");
                    addresses[i] = hold.Use(given[i].Handle);
                    columns = Math.Max(columns, given[i].Columns);
                    rows = Math.Max(rows, given[i].Rows);
                }
                hold.Room(WindowRoom(2L * columns, 2L * rows));
                IplImage* made = null;
                return Made("QuibConvolve2D", Native.QuibConvolve2D(Record, &made, addresses,
                    given.Length, method), made);
            }
        }

        /// <summary>The image convolved by a row of two taps or more, and then by a column of as
        /// many. [QuibConvolveSep2D]</summary>
        public Image ConvolveSeparable(Kernel row, Kernel column)
        {
            Kernel.NeedOpen(row, "row");
            Kernel.NeedOpen(column, "column");
            if (row.Rows != 1 || row.Columns < 2)
                throw new ArgumentException("must have 1 row of 2 taps or more, not " + row.Rows +
                    " of " + row.Columns, "row");
            if (column.Columns != 1 || column.Rows < 2)
                throw new ArgumentException("must have 2 rows or more of 1 tap, not " +
                    column.Rows + " of " + column.Columns, "column");
            using (Hold hold = Hold.On(this)) {
                hold.Room(WindowRoom(row.Columns, column.Rows));
                IplImage* made = null;
                return Made("QuibConvolveSep2D", Native.QuibConvolveSep2D(Record, &made,
                    hold.Use(row.Handle), hold.Use(column.Handle)), made);
            }
        }

        // --- Windows ---------------------------------------------------------------

        private delegate int WindowMaker(IplImage* source, IplImage** made, int columns, int rows,
            int anchorX, int anchorY);

        private Image Filter(WindowMaker function, int columns, int rows, int? anchorX,
            int? anchorY)
        {
            using (Hold hold = Hold.On(this)) {
                Need.Range(columns, "columns", 1, 1 << 16);
                Need.Range(rows, "rows", 1, 1 << 16);
                int x = anchorX ?? columns / 2, y = anchorY ?? rows / 2;
                Need.Range(x, "anchorX", 0, columns - 1);
                Need.Range(y, "anchorY", 0, rows - 1);
                hold.Room(WindowRoom(columns, rows));
                IplImage* made = null;
                return Made(function.Method.Name, function(Record, &made, columns, rows, x, y),
                    made);
            }
        }

        /// <summary>The largest element of a window, in which the pixel stands at the anchor, its
        /// middle for null. 1 bit: whether any is set. [QuibMaxFilter]</summary>
        public Image Max(int columns, int rows, int? anchorX = null, int? anchorY = null)
        {
            return Filter(Native.QuibMaxFilter, columns, rows, anchorX, anchorY);
        }

        /// <summary>The smallest element of a window. [QuibMinFilter]</summary>
        public Image Min(int columns, int rows, int? anchorX = null, int? anchorY = null)
        {
            return Filter(Native.QuibMinFilter, columns, rows, anchorX, anchorY);
        }

        /// <summary>The median of a window, or the upper one of two; at 1 bit the lower one.
        /// [QuibMedianFilter]</summary>
        public Image Median(int columns, int rows, int? anchorX = null, int? anchorY = null)
        {
            return Filter(Native.QuibMedianFilter, columns, rows, anchorX, anchorY);
        }

        /// <summary>The pixel of a window whose colours differ least from those of all its pixels;
        /// of 24 bits only. [QuibColorMedianFilter]</summary>
        public Image ColorMedian(int columns, int rows, int? anchorX = null, int? anchorY = null)
        {
            Need.Depth(this, "this", 24);
            return Filter(Native.QuibColorMedianFilter, columns, rows, anchorX, anchorY);
        }

        /// <summary>The mean of a window, halves up. [QuibBlur]</summary>
        public Image Blur(int columns, int rows, int? anchorX = null, int? anchorY = null)
        {
            return Filter(Native.QuibBlur, columns, rows, anchorX, anchorY);
        }

        /// <summary>A new image blurred by a window that is lowered to half of the image. Where
        /// that leaves no window, the pixels are copied. [QuibDecimateBlur]</summary>
        public Image DecimateBlur(int columns, int rows)
        {
            return Filled(new Image(Width, Height, Depth),
                made => DecimateBlur(made, columns, rows));
        }

        /// <summary>The same into an image of the same size and depth. [QuibDecimateBlur]
        /// </summary>
        public void DecimateBlur(Image target, int columns, int rows)
        {
            using (Hold hold = Hold.On(this, target, "target")) {
                Need.Range(columns, "columns", 1, int.MaxValue);
                Need.Range(rows, "rows", 1, int.MaxValue);
                Need.Like(target, "target", this);
                Need.Other(target, "target", this);
                hold.Room(WindowRoom(Math.Min(columns, width), Math.Min(rows, height)));
                QuibException.Check("QuibDecimateBlur", // whose interpolation makes no difference
                    Native.QuibDecimateBlur(Record, target.Record, 0, columns, rows));
            }
        }

        /// <summary>One of eleven filters with a window of their own. [QuibFixedFilter]</summary>
        public Image FixedFilter(FixedWindow kind)
        {
            using (Hold hold = Hold.On(this)) {
                int number = Need.Choice(kind, "kind");
                hold.Room(WindowRoom(5, 5));
                IplImage* made = null;
                return Made("QuibFixedFilter", Native.QuibFixedFilter(Record, &made, number), made);
            }
        }
    }
}
