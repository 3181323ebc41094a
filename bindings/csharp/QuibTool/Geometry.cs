// Flips, turns and warps.
using System;

namespace QuibTool
{
    /// <summary>How a warp finds a pixel between those of its source.</summary>
    public enum Interpolation
    {
        /// <summary>The nearest pixel.</summary>
        Nearest = 0,
        /// <summary>Between two pixels an axis.</summary>
        Linear = 1,
        /// <summary>Between four pixels an axis.</summary>
        Cubic = 2,
    }

    /// <summary>What a flip reverses.</summary>
    public enum FlipAxis
    {
        /// <summary>Top and bottom change places.</summary>
        Rows = 0,
        /// <summary>Left and right change places.</summary>
        Columns = 1,
        /// <summary>Both.</summary>
        Both = -1,
    }

    /// <summary>What Rotate3D turns about.</summary>
    public enum RotationAxis
    {
        /// <summary>The horizontal axis.</summary>
        Horizontal = 1,
        /// <summary>The vertical axis.</summary>
        Vertical = 2,
        /// <summary>The axis across the picture's plane.</summary>
        Plane = 3,
    }

    public sealed unsafe partial class Image
    {
        private const int SmoothEdge = 16;

        private static int Mode(Interpolation interpolation, bool smoothEdge)
        {
            return Need.Choice(interpolation, "interpolation") | (smoothEdge ? SmoothEdge : 0);
        }

        private double WarpRoom
        {
            get { return 64.0 * ((double)width + height) + 4.0 * SizeBytes; }
        }

        private void RoomForWarp(Image target)
        {
            Need.Room(WarpRoom + target.WarpRoom + (1 << 20), "a warp");
        }

        // --- Flips and turns -------------------------------------------------------

        /// <summary>A new image with rows, columns or both reversed. [QuibFlip]</summary>
        public Image Flip(FlipAxis axis)
        {
            Image made = Region == null && mask == null
                ? Uninitialized(Width, Height, Depth) : Clone();
            return Filled(made, target => Flip(target, axis));
        }

        /// <summary>The same into an image of the same size and depth, which may be this one
        /// unless it has a mask. [QuibFlip]</summary>
        public void Flip(Image target, FlipAxis axis)
        {
            using (Hold.On(this, target, "target")) {
                int number = Need.Choice(axis, "axis");
                Need.Like(target, "target", this);
                if (mask != null)
                    Need.Other(target, "target", this);
                Need.Room(16.0 * rowBytes + (1 << 16), "a row");
                QuibException.Check("QuibFlip", Native.QuibFlip(Record, target.Record, number));
            }
        }

        /// <summary>A new image of the same size, turned counter-clockwise by degrees about a
        /// pixel. [QuibRotate]</summary>
        public Image Rotate(double angle, int xCenter, int yCenter,
            Interpolation interpolation = Interpolation.Linear, bool smoothEdge = false)
        {
            return Filled(new Image(Width, Height, Depth), made =>
                Rotate(made, angle, xCenter, yCenter, interpolation, smoothEdge));
        }

        /// <summary>The same into an image of the same depth; what is not covered stays.
        /// [QuibRotate]</summary>
        public void Rotate(Image target, double angle, int xCenter, int yCenter,
            Interpolation interpolation = Interpolation.Linear, bool smoothEdge = false)
        {
            using (Hold.On(this, target, "target")) {
                Need.Finite(angle, "angle");
                Need.Range(xCenter, "xCenter", -(1 << 24), 1 << 24);
                Need.Range(yCenter, "yCenter", -(1 << 24), 1 << 24);
                int mode = Mode(interpolation, smoothEdge);
                Need.Depth(target, "target", depth);
                Need.Other(target, "target", this);
                Need.Area(this, "this");
                RoomForWarp(target);
                QuibException.Check("QuibRotate", Native.QuibRotate(Record, target.Record, angle,
                    xCenter, yCenter, mode));
            }
        }

        /// <summary>A new image of one of 32 bits, turned by degrees about an axis, without
        /// perspective. An angle whose whole part is a multiple of 90, 0 included, gains one
        /// degree. [QUIBRotate3D]</summary>
        public Image Rotate3D(double angle, RotationAxis axis)
        {
            using (Hold hold = Hold.On(this)) {
                Need.Depth(this, "this", 32);
                Need.Finite(angle, "angle");
                int number = Need.Choice(axis, "axis");
                Need.Area(this, "this");
                RoomForBound(hold, Quadrangle.Mapped(Turn(angle, axis), RegionCorners), "angle");
                IplImage* made = null;
                return Made("QUIBRotate3D", Native.QUIBRotate3D(angle, Record, &made, number),
                    made);
            }
        }

        private static double[,] Turn(double angle, RotationAxis axis)
        {
            double used = ((long)angle % 90 == 0 ? angle + 1.0 : angle) * 0.01745329252;
            double cosine = Math.Cos(used), sine = Math.Sin(used);
            if (axis != RotationAxis.Plane && Math.Abs(cosine) < 1.1e-7)
                throw new ArgumentOutOfRangeException("angle",
                    "must not turn the image out of sight, as " + angle + " does");
            switch (axis) {
            case RotationAxis.Horizontal: return new[,] { { 1, 0, 0 }, { 0, cosine, 0 } };
            case RotationAxis.Vertical: return new[,] { { cosine, 0, 0 }, { 0, 1, 0 } };
            default: return new[,] { { cosine, -sine, 0 }, { sine, cosine, 0 } };
            }
        }

        // --- Warps into a new image ------------------------------------------------

        // The corners of the region, the last column and row included.
        private double[,] RegionCorners
        {
            get
            {
                QuibRect area = region ?? new QuibRect(0, 0, width, height);
                return Quadrangle.Corners(area.left, area.top, area.right - 1, area.bottom - 1);
            }
        }

        private static void RoomForBound(Hold hold, double[,] corners, string name)
        {
            int columns, rows;
            Quadrangle.Bound(corners, name, out columns, out rows);
            hold.Room(8.0 * columns * rows + (1 << 20));
        }

        /// <summary>A new image as large as what one of 32 bits becomes where pixel (x, y) goes to
        /// (c0 x + c1 y + c2, c3 x + c4 y + c5), the coefficients two rows of three. What comes to
        /// lie at negative coordinates is lost. [QUIBWarpAffine]</summary>
        public Image WarpAffine(double[,] coefficients,
            Interpolation interpolation = Interpolation.Linear, bool smoothEdge = false)
        {
            using (Hold hold = Hold.On(this)) {
                Need.Depth(this, "this", 32);
                double[,] c = Need.Matrix(coefficients, "coefficients", 2, 3, 1e7);
                int mode = Mode(interpolation, smoothEdge);
                Need.Area(this, "this");
                if (!(Math.Abs(c[0, 0] * c[1, 1] - c[1, 0] * c[0, 1]) > 1e-7))
                    throw new ArgumentException("must not flatten the image: their determinant is 0",
                        "coefficients");
                RoomForBound(hold, Quadrangle.Mapped(c, RegionCorners), "coefficients");
                IplImage* made = null;
                fixed (double* at = c)
                    return Made("QUIBWarpAffine", Native.QUIBWarpAffine(Record, &made, at, mode),
                        made);
            }
        }

        /// <summary>The same over c6 x + c7 y + c8, of three rows. With inverse the coefficients
        /// take pixels of the result to places of this image; the size is that of the other
        /// direction all the same. [QUIBWarpPerspective]</summary>
        public Image WarpPerspective(double[,] coefficients, bool inverse = false,
            Interpolation interpolation = Interpolation.Linear, bool smoothEdge = false)
        {
            using (Hold hold = Hold.On(this)) {
                Need.Depth(this, "this", 32);
                double[,] c = Need.Matrix(coefficients, "coefficients", 3, 3, 1e7);
                int mode = Mode(interpolation, smoothEdge);
                Need.Area(this, "this");
                double[,] quad = Quadrangle.Mapped(c, RegionCorners);
                RoomForBound(hold, quad, "coefficients");
                if (inverse)
                    quad = Quadrangle.OfResult(c, quad, "coefficients");
                Quadrangle.NeedConvex(quad, "coefficients", 1e9);
                IplImage* made = null;
                fixed (double* at = c)
                    return Made("QUIBWarpPerspective", Native.QUIBWarpPerspective(Record, &made, at,
                        inverse ? 1 : 0, mode), made);
            }
        }

        // --- Quadrangles -----------------------------------------------------------

        private delegate int QuadWarp(IplImage* source, IplImage** target, double* quad,
            int interpolate, bool warpFlag);

        /// <summary>A new image of the same size with the region of this one, of 32 bits, drawn
        /// onto a quadrangle, four rows of x and y: the places of the corners (left, top), (right,
        /// top), (right, bottom) and (left, bottom); with inverse, the quadrangle drawn onto all
        /// of the new image. A concave one is drawn by scanlines, nearest, and so are all on
        /// processors that the engine's warp is not used on. [QUIBWarpPerspectiveQ]</summary>
        public Image WarpQuad(double[,] quad, Interpolation interpolation = Interpolation.Linear,
            bool smoothEdge = false, bool inverse = false)
        {
            Need.Depth(this, "this", 32);
            return Filled(new Image(Width, Height, 32), made =>
                WarpQuad(made, quad, interpolation, smoothEdge, inverse));
        }

        /// <summary>The same into another image of 32 bits; with inverse, onto its region.
        /// [QUIBWarpPerspectiveQ]</summary>
        public void WarpQuad(Image target, double[,] quad,
            Interpolation interpolation = Interpolation.Linear, bool smoothEdge = false,
            bool inverse = false)
        {
            using (Hold.On(this, target, "target")) {
                Need.Depth(this, "this", 32);
                double[,] corners = Need.Matrix(quad, "quad", 4, 2, 1e6);
                WarpOnto(Native.QUIBWarpPerspectiveQ, target, corners,
                    Mode(interpolation, smoothEdge), inverse);
            }
        }

        /// <summary>As WarpQuad by the engine alone, without concave quadrangles, of 32 bits: a
        /// new image of the size of the quadrangle's box. [QUIBWarpPerspectiveQ_]</summary>
        public Image WarpQuadByEngine(double[,] quad,
            Interpolation interpolation = Interpolation.Linear, bool smoothEdge = false,
            bool inverse = false)
        {
            Need.Depth(this, "this", 32);
            double[,] corners = Need.Matrix(quad, "quad", 4, 2, 1e6);
            Quadrangle.NeedEngineConvex(corners, "quad");
            int columns, rows;
            Quadrangle.Box(corners, out columns, out rows);
            return Filled(new Image(columns, rows, 32), made =>
                WarpQuadByEngine(made, corners, interpolation, smoothEdge, inverse));
        }

        /// <summary>The same into an image of the same depth. [QUIBWarpPerspectiveQ_]</summary>
        public void WarpQuadByEngine(Image target, double[,] quad,
            Interpolation interpolation = Interpolation.Linear, bool smoothEdge = false,
            bool inverse = false)
        {
            using (Hold.On(this, target, "target")) {
                double[,] corners = Need.Matrix(quad, "quad", 4, 2, 1e6);
                Quadrangle.NeedEngineConvex(corners, "quad");
                WarpOnto(Native.QUIBWarpPerspectiveQ_, target, corners,
                    Mode(interpolation, smoothEdge), inverse);
            }
        }

        private void WarpOnto(QuadWarp function, Image target, double[,] corners, int mode,
            bool inverse)
        {
            Need.Depth(target, "target", depth);
            Need.Other(target, "target", this);
            Need.Area(this, "this");
            if (inverse)
                Need.Area(target, "target");
            RoomForWarp(target);
            IplImage* there = target.Record;
            fixed (double* at = corners)
                QuibException.Check(function.Method.Name,
                    function(Record, &there, at, mode, inverse));
        }

        // --- Coefficients ----------------------------------------------------------

        /// <summary>Where three rows of coefficients take the corners of the region: four rows of x
        /// and y. A corner on the transform's horizon gives infinities, or no numbers.
        /// [QUIBGetPerspectiveQuad]</summary>
        public double[,] PerspectiveQuad(double[,] coefficients)
        {
            using (Hold.On(this)) {
                double[,] c = Need.Matrix(coefficients, "coefficients", 3, 3, 1e300);
                double[,] quad = new double[4, 2];
                fixed (double* from = c)
                    fixed (double* to = quad)
                        QuibException.Check("QUIBGetPerspectiveQuad",
                            Native.QUIBGetPerspectiveQuad(Record, from, to));
                return quad;
            }
        }

        /// <summary>The three rows of coefficients that take the corners of the region to those of
        /// a convex quadrangle. [QUIBPerspectiveTransform]</summary>
        public double[,] PerspectiveTransform(double[,] quad)
        {
            using (Hold.On(this)) {
                double[,] corners = Need.Matrix(quad, "quad", 4, 2, 1e100);
                Quadrangle.NeedConvex(corners, "quad", 1e100);
                Need.Area(this, "this");
                double[,] coefficients = new double[3, 3];
                fixed (double* from = corners)
                    fixed (double* to = coefficients)
                        QuibException.Check("QUIBPerspectiveTransform",
                            Native.QUIBPerspectiveTransform(Record, to, from));
                return coefficients;
            }
        }
    }
}
