using System;
using System.Runtime.InteropServices;

namespace QuibTool
{
    // Tests of arguments, each of which names the argument and tells what was expected.
    internal static class Need
    {
        private const double MostBytes = 16.0 * int.MaxValue;

        // --- Numbers ---------------------------------------------------------------

        internal static void Range(long value, string name, long low, long high)
        {
            if (value < low || value > high)
                throw new ArgumentOutOfRangeException(name,
                    "must be " + low + " to " + high + ", not " + value);
        }

        internal static void Finite(double value, string name, double limit = 1e9)
        {
            if (!(Math.Abs(value) <= limit)) // false for what is no number too
                throw new ArgumentOutOfRangeException(name,
                    "must be a number within " + limit + ", not " + value);
        }

        internal static int Choice<T>(T value, string name, params T[] allowed) where T : struct
        {
            T[] members = allowed.Length > 0 ? allowed : (T[])Enum.GetValues(typeof(T));
            if (Array.IndexOf(members, value) < 0)
                throw new ArgumentOutOfRangeException(name,
                    "must be one of " + string.Join(", ", members) + ", not " + value);
            return Convert.ToInt32(value);
        }

        // A copy, so that nobody changes the numbers between the test and the call.
        internal static double[,] Matrix(double[,] value, string name, int rows, int columns,
            double limit = 1e9)
        {
            if (value == null)
                throw new ArgumentNullException(name, "must be " + rows + " x " + columns +
                    " numbers");
            if (value.GetLength(0) != rows || value.GetLength(1) != columns)
                throw new ArgumentException("must be " + rows + " x " + columns + " numbers, not " +
                    value.GetLength(0) + " x " + value.GetLength(1), name);
            double[,] copy = new double[rows, columns];
            int at = 0;
            foreach (double number in value) {
                if (!(Math.Abs(number) <= limit))
                    throw new ArgumentException("must be finite numbers within " + limit +
                        ", not " + number, name);
                copy[at / columns, at % columns] = number;
                ++at;
            }
            return copy;
        }

        // --- Memory ----------------------------------------------------------------

        // Sees whether so many bytes can be had, since the library ends the process where they
        // cannot. They are given back at once.
        internal static void Room(double bytes, string what)
        {
            double most = IntPtr.Size == 4 ? int.MaxValue : MostBytes;
            if (!(bytes <= most))
                throw new OutOfMemoryException(what + " would take " + bytes.ToString("0") +
                    " bytes");
            try {
                Marshal.FreeHGlobal(Marshal.AllocHGlobal(new IntPtr((long)bytes)));
            } catch (OutOfMemoryException) {
                throw new OutOfMemoryException("no " + bytes.ToString("0") + " bytes for " + what);
            }
        }

        internal static long RowBytes(long width, int depth)
        {
            return (width * depth + 31) / 32 * 4;
        }

        // The size of a picture that can be made.
        internal static void Size(int width, int height, int depth)
        {
            Range(width, "width", 1, int.MaxValue);
            Range(height, "height", 1, int.MaxValue);
            if (depth != 1 && depth != 8 && depth != 24 && depth != 32)
                throw new ArgumentOutOfRangeException("depth", "must be 1, 8, 24 or 32, not " +
                    depth);
            double bytes = (double)RowBytes(width, depth) * height;
            string what = "a picture of " + width + " x " + height + " pixels of " + depth +
                " bits";
            if (bytes > int.MaxValue - 64 || (long)width * depth > int.MaxValue - 32)
                throw new OutOfMemoryException(what + " would take " + bytes.ToString("0") +
                    " bytes; the library's have less than 2 GiB");
            Room(bytes + (1 << 16), what);
        }

        // --- Images ----------------------------------------------------------------

        internal static void Open(Image image, string name)
        {
            if (ReferenceEquals(image, null))
                throw new ArgumentNullException(name, "must be an image");
            if (image.Handle.IsClosed)
                throw new ObjectDisposedException(name, "the image has been disposed");
        }

        internal static void Depth(Image image, string name, params int[] depths)
        {
            Open(image, name);
            if (Array.IndexOf(depths, image.Depth) < 0)
                throw new ArgumentException("must have " + string.Join(" or ", depths) +
                    " bits per pixel, not " + image.Depth, name);
        }

        internal static void Other(Image image, string name, Image source)
        {
            if (ReferenceEquals(image, source))
                throw new ArgumentException("must be another image than the source", name);
        }

        // An image of another's size and depth.
        internal static void Like(Image image, string name, Image other)
        {
            Depth(image, name, other.Depth);
            if (image.Width != other.Width || image.Height != other.Height)
                throw new ArgumentException("must have " + other.Width + " x " + other.Height +
                    " pixels, not " + image.Width + " x " + image.Height, name);
        }

        // 2 columns and rows or more of the image's region.
        internal static void Area(Image image, string name)
        {
            Area(image.RegionWidth, image.RegionHeight, name);
        }

        internal static void Area(int width, int height, string name)
        {
            if (width < 2 || height < 2)
                throw new ArgumentException("must have 2 columns and 2 rows or more, not " + width +
                    " x " + height, name);
        }

        internal static void Unmasked(Image image, string name)
        {
            if (image.Mask != null)
                throw new ArgumentException("must have no mask here", name);
        }

        // --- Rectangles ------------------------------------------------------------

        private static string Said(QuibRect area)
        {
            return "(" + area.left + ", " + area.top + ", " + area.right + ", " + area.bottom + ")";
        }

        internal static void Inside(QuibRect area, string name, int width, int height)
        {
            if (area.left < 0 || area.top < 0 || area.left >= area.right ||
                area.top >= area.bottom || area.right > width || area.bottom > height)
                throw new ArgumentException("must lie inside the image of " + width + " x " +
                    height + " pixels, not be " + Said(area), name);
        }

        // What of a rectangle lies inside an image.
        internal static QuibRect Clipped(QuibRect area, string name, Image image)
        {
            QuibRect cut = new QuibRect(Math.Max(area.left, 0), Math.Max(area.top, 0),
                Math.Min(area.right, image.Width), Math.Min(area.bottom, image.Height));
            if (cut.left >= cut.right || cut.top >= cut.bottom)
                throw new ArgumentException("must meet the image of " + image.Width + " x " +
                    image.Height + " pixels, not be " + Said(area), name);
            return cut;
        }
    }
}
