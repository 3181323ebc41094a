// Sizes and transfers.
using System;

namespace QuibTool
{
    /// <summary>How a pixel is found where sizes differ. 8-bit images are resized to nearest,
    /// but for Area.</summary>
    public enum ResizeMode
    {
        /// <summary>The nearest pixel.</summary>
        Nearest = 0,
        /// <summary>Between two pixels an axis.</summary>
        Linear = 1,
        /// <summary>Two pixels an axis under a smoothstep at 32 bits; else Cubic.</summary>
        Smooth = 2,
        /// <summary>Between four pixels an axis; of 32 bits in ResizeFit alone.</summary>
        Cubic = 2,
        /// <summary>The average of an area, which only reduces.</summary>
        Area = 3,
        /// <summary>Nearest, with the rows of two interlaced fields kept apart; 32 bits and even
        /// heights.</summary>
        PairsNearest = 0x7000,
        /// <summary>The same, linear.</summary>
        PairsLinear = 0x7001,
    }

    public sealed unsafe partial class Image
    {
        // --- Size ------------------------------------------------------------------

        private static readonly ResizeMode[] EngineModes =
            { ResizeMode.Nearest, ResizeMode.Linear, ResizeMode.Smooth, ResizeMode.Area };

        /// <summary>A new image of another size. Regions count at 1 and 24 bits and in mode Area
        /// alone. [QuibResize]</summary>
        public Image Resize(int width, int height, ResizeMode mode = ResizeMode.Linear)
        {
            Need.Open(this, "this");
            return Filled(Blank(width, height), made => Resize(made, mode));
        }

        /// <summary>Fits this image into another of its depth. [QuibResize]</summary>
        public void Resize(Image target, ResizeMode mode = ResizeMode.Linear)
        {
            using (Hold.On(this, target, "target")) {
                Need.Depth(target, "target", depth);
                Need.Other(target, "target", this);
                int number = Need.Choice(mode, "mode",
                    depth == 32 || depth == 8 ? new ResizeMode[0] : EngineModes);
                NeedShrink(mode, width, height, target.width, target.height);
                if (mode >= ResizeMode.PairsNearest && ((height | target.height) & 1) != 0)
                    throw new ArgumentException("pairs of rows need even heights, not " + height +
                        " and " + target.height, "mode");
                NeedScalable(target);
                QuibException.Check("QuibResize", Native.QuibResize(Record, target.Record, number));
            }
        }

        /// <summary>A new image of another size with this one's region, by the engine at every
        /// depth. [QuibResizeFit]</summary>
        public Image ResizeFit(int width, int height, ResizeMode mode = ResizeMode.Linear)
        {
            Need.Open(this, "this");
            return Filled(Blank(width, height), made => ResizeFit(made, mode));
        }

        /// <summary>Fits this image's region into the region of another image of its depth.
        /// [QuibResizeFit]</summary>
        public void ResizeFit(Image target, ResizeMode mode = ResizeMode.Linear)
        {
            using (Hold.On(this, target, "target")) {
                Need.Depth(target, "target", depth);
                Need.Other(target, "target", this);
                int number = Need.Choice(mode, "mode", EngineModes);
                NeedShrink(mode, RegionWidth, RegionHeight, target.RegionWidth,
                    target.RegionHeight);
                NeedScalable(target);
                QuibException.Check("QuibResizeFit",
                    Native.QuibResizeFit(Record, target.Record, number));
            }
        }

        private static void NeedShrink(ResizeMode mode, long fromWidth, long fromHeight,
            long toWidth, long toHeight)
        {
            if (mode == ResizeMode.Area && (toWidth > fromWidth || toHeight > fromHeight))
                throw new ArgumentException("Area only reduces, which " + fromWidth + " x " +
                    fromHeight + " to " + toWidth + " x " + toHeight + " does not", "mode");
        }

        // The engine cannot scale every mask.
        private void NeedScalable(Image target)
        {
            Need.Unmasked(this, "this");
            Need.Unmasked(target, "target");
            RoomForTables(target);
        }

        private void RoomForTables(Image target)
        {
            Need.Room(64.0 * ((double)width + height + target.width + target.height) +
                16.0 * target.rowBytes + (1 << 18), "the tables of a resize");
        }

        // --- Transfer --------------------------------------------------------------

        /// <summary>Moves a rectangle to one of another image of the same depth, both inside their
        /// images. Sizes that differ are scaled to nearest pixels, or without stretch as much
        /// moves as both have. The other image may be this one if the sizes agree. Pixels of 1 bit
        /// move only where sizes differ. [QuibBlt]</summary>
        public void Blt(QuibRect from, Image target, QuibRect to, bool stretch = true)
        {
            using (Hold.On(this, target, "target")) {
                Need.Depth(target, "target", depth);
                Need.Inside(from, "from", width, height);
                Need.Inside(to, "to", target.width, target.height);
                bool same = from.right - from.left == to.right - to.left &&
                    from.bottom - from.top == to.bottom - to.top;
                if (!same)
                    Need.Other(target, "target", this);
                if (!same && stretch && depth != 32)
                    NeedScalable(target);
                RoomForTables(target);
                QuibException.Check("QuibBlt", Native.QuibBlt(Record, from.left, from.top,
                    from.right, from.bottom, target.Record, to.left, to.top, to.right, to.bottom,
                    stretch ? 1 : 0));
            }
        }

        /// <summary>Draws a moving view of this image into all of another of its depth.
        /// [QuibBlt_PANZOOM]</summary>
        public void PanZoom(double x, double stepX, double y, double stepY, Image target,
            ResizeMode mode = ResizeMode.Linear)
        {
            Need.Open(target, "target");
            PanZoom(x, stepX, y, stepY, target, 0, 0, target.Width, target.Height, mode);
        }

        /// <summary>Draws a moving view of this image into a rectangle of another of its depth,
        /// fractions allowed: column x lies under left, and each column of the other is stepX
        /// further; rows likewise. The modes are Nearest, Linear and Smooth, and for other depths
        /// than 32 bits Area too. QuibException for a view of one pixel or less and one that
        /// misses this image. [QuibBlt_PANZOOM]</summary>
        public void PanZoom(double x, double stepX, double y, double stepY, Image target,
            double left, double top, double right, double bottom,
            ResizeMode mode = ResizeMode.Linear)
        {
            using (Hold.On(this, target, "target")) {
                Need.Depth(target, "target", depth);
                Need.Other(target, "target", this);
                int number = Need.Choice(mode, "mode", depth == 32
                    ? new[] { ResizeMode.Nearest, ResizeMode.Linear, ResizeMode.Smooth }
                    : EngineModes);
                NeedView(x, stepX, y, stepY);
                NeedEdges(left, right, "left", "right", target.width);
                NeedEdges(top, bottom, "top", "bottom", target.height);
                if (depth != 32) {
                    NeedShrink(mode, ViewSize(x, stepX, left, right, width),
                        ViewSize(y, stepY, top, bottom, height),
                        (long)right - (long)left, (long)bottom - (long)top);
                    NeedScalable(target);
                }
                RoomForTables(target);
                QuibException.Check("QuibBlt_PANZOOM", Native.QuibBlt_PANZOOM(Record, x, stepX, y,
                    stepY, target.Record, left, right, top, bottom, number));
            }
        }

        private static void NeedView(double x, double stepX, double y, double stepY)
        {
            Need.Finite(x, "x", 1e8);
            Need.Finite(stepX, "stepX", 1e8);
            Need.Finite(y, "y", 1e8);
            Need.Finite(stepY, "stepY", 1e8);
        }

        private static void NeedEdges(double low, double high, string lowName, string highName,
            int size)
        {
            if (!(low >= 0 && low <= size))
                throw new ArgumentOutOfRangeException(lowName, "must be 0 to " + size + ", not " +
                    low);
            if (!(high >= 0 && high <= size))
                throw new ArgumentOutOfRangeException(highName, "must be 0 to " + size + ", not " +
                    high);
        }

        // Whole pixels under a view, as the library cuts them.
        private static long ViewSize(double start, double step, double low, double high, int limit)
        {
            long first = (long)(start - (low - (long)low) * step);
            long last = (long)(start + step * (high - low));
            return Math.Min(last, limit) - Math.Max(first, 0);
        }
    }
}
