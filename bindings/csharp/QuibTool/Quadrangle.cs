using System;

namespace QuibTool
{
    // What must be known of four corners before a warp. Each is a row of x and y.
    internal static class Quadrangle
    {
        internal static double[,] Corners(double left, double top, double right, double bottom)
        {
            return new[,] { { left, top }, { right, top }, { right, bottom }, { left, bottom } };
        }

        // Where two or three rows of coefficients take corners.
        internal static double[,] Mapped(double[,] c, double[,] corners)
        {
            double[,] found = new double[4, 2];
            for (int i = 0; i < 4; ++i) {
                double x = corners[i, 0], y = corners[i, 1];
                double scale = c.GetLength(0) == 3 ? Along(c, 2, x, y) : 1.0;
                for (int axis = 0; axis < 2; ++axis)
                    found[i, axis] = scale == 0 ? double.PositiveInfinity
                        : Along(c, axis, x, y) / scale;
            }
            return found;
        }

        private static double Along(double[,] c, int row, double x, double y)
        {
            return (c[row, 1] * y + c[row, 2]) + c[row, 0] * x;
        }

        private static void Edges(double[,] quad, int axis, out double low, out double high)
        {
            low = high = quad[0, axis];
            for (int i = 1; i < 4; ++i) {
                low = Math.Min(low, quad[i, axis]);
                high = Math.Max(high, quad[i, axis]);
            }
        }

        // The size of the 32-bit image that holds the corners.
        internal static void Bound(double[,] quad, string name, out int columns, out int rows)
        {
            columns = Span(quad, 0, name);
            rows = Span(quad, 1, name);
            Need.Size(columns, rows, 32);
        }

        private static int Span(double[,] quad, int axis, string name)
        {
            double low, high;
            Edges(quad, axis, out low, out high);
            if (!(high - low <= 1e9)) // false for what is no number too
                throw new ArgumentException(
                    "must keep the corners at finite places, less than 1e9 pixels apart", name);
            return (int)(high - low) + 1;
        }

        // Where coefficients take the corners of the image that holds a quadrangle.
        internal static double[,] OfResult(double[,] c, double[,] quad, string name)
        {
            int columns, rows;
            Bound(quad, name, out columns, out rows);
            if (columns < 2 || rows < 2)
                throw new ArgumentException("must give 2 columns and 2 rows or more, not " +
                    columns + " x " + rows, name);
            return Mapped(c, Corners(0, 0, columns - 1, rows - 1));
        }

        // The size of an engine's warp into a new image.
        internal static void Box(double[,] quad, out int columns, out int rows)
        {
            double low, high;
            Edges(quad, 0, out low, out high);
            columns = (int)(high + 0.5) - (int)(low - 0.5);
            Edges(quad, 1, out low, out high);
            rows = (int)(high + 0.5) - (int)(low - 0.5);
        }

        private static double[] Turns(double[,] q)
        {
            double[] turns = new double[4];
            for (int i = 0; i < 4; ++i) {
                int j = (i + 1) % 4, k = (i + 2) % 4;
                turns[i] = (q[j, 0] - q[i, 0]) * (q[k, 1] - q[j, 1]) -
                    (q[j, 1] - q[i, 1]) * (q[k, 0] - q[j, 0]);
            }
            return turns;
        }

        internal static void NeedConvex(double[,] quad, string name, double limit)
        {
            foreach (double number in quad)
                if (!(Math.Abs(number) <= limit))
                    throw new ArgumentException("must keep the corners at finite places", name);
            int signs = 0;
            foreach (double turn in Turns(quad))
                signs += turn > 0 ? 1 : turn < 0 ? -1 : 0;
            if (Math.Abs(signs) != 4)
                throw new ArgumentException("must give a convex quadrangle", name);
        }

        // By the thresholds of the warps onto quadrangles.
        internal static bool IsConvex(double[,] quad)
        {
            double[] turns = Turns(quad), least = { 0.001, 0.001, 0.001, 0.1 };
            int signs = 0;
            for (int i = 0; i < 4; ++i) {
                if (!(Math.Abs(turns[i]) > least[i]))
                    return false;
                signs += Math.Sign(turns[i]);
            }
            return Math.Abs(signs) == 4;
        }

        internal static void NeedEngineConvex(double[,] quad, string name)
        {
            if (!IsConvex(quad))
                throw new ArgumentException("must be a convex quadrangle", name);
        }
    }
}
