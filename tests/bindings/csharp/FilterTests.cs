using System;
using System.Collections.Generic;
using System.Linq;
using QuibTool;

internal static partial class Tests
{
    // The elements of a channel under a window, row by row, 0 outside the image.
    private static int[] Window(int[,,] a, int y, int x, int c, int columns, int rows, int anchorX,
        int anchorY)
    {
        var found = new List<int>();
        for (int j = 0; j < rows; ++j)
            for (int i = 0; i < columns; ++i) {
                int v = y + j - anchorY, u = x + i - anchorX;
                found.Add(v < 0 || u < 0 || v >= a.GetLength(0) || u >= a.GetLength(1) ? 0 : a[v, u, c]);
            }
        return found.ToArray();
    }

    private static void TestWindows()
    {
        foreach (int depth in Bytes)
            foreach (int[] w in new[] { new[] { 3, 3, 1, 1 }, new[] { 5, 2, 2, 1 }, new[] { 4, 5, 0, 4 } })
                using (Image image = RandomImage(9, 6, depth)) {
                    int[,,] a = Read(image);
                    int area = w[0] * w[1];
                    bool middle = w[2] == w[0] / 2 && w[3] == w[1] / 2;
                    int? anchorX = middle ? (int?)null : w[2], anchorY = middle ? (int?)null : w[3];
                    Func<int, int, int, int[]> seen =
                        (y, x, c) => Window(a, y, x, c, w[0], w[1], w[2], w[3]);
                    EachAndGone(image.Max(w[0], w[1], anchorX, anchorY), (y, x, c) => seen(y, x, c).Max());
                    EachAndGone(image.Min(w[0], w[1], anchorX, anchorY), (y, x, c) => seen(y, x, c).Min());
                    EachAndGone(image.Median(w[0], w[1], anchorX, anchorY),
                        (y, x, c) => seen(y, x, c).OrderBy(v => v).ElementAt(area / 2));
                    EachAndGone(image.Blur(w[0], w[1], anchorX, anchorY),
                        (y, x, c) => (2 * seen(y, x, c).Sum() + area) / (2 * area));
                }
        using (Image bits = RandomImage(19, 6, 1)) {
            int[,,] a = Read(bits);
            EachAndGone(bits.Max(3, 3), (y, x, c) => Window(a, y, x, c, 3, 3, 1, 1).Max());
        }
    }

    private static void TestTheColorMedianIsAPixelOfTheWindow()
    {
        using (Image image = RandomImage(8, 8, 24))
        using (Image result = image.ColorMedian(3, 3)) {
            int[,,] a = Read(image), found = Read(result);
            for (int y = 1; y < 7; ++y)
                for (int x = 1; x < 7; ++x) {
                    int[][] near = Enumerable.Range(0, 3)
                        .Select(c => Window(a, y, x, c, 3, 3, 1, 1)).ToArray();
                    int best = Enumerable.Range(0, 9).OrderBy(i => Enumerable.Range(0, 9).Sum(j =>
                        near.Sum(channel => Math.Abs(channel[i] - channel[j])))).First();
                    for (int c = 0; c < 3; ++c)
                        Equal(near[c][best], found[y, x, c], "row " + y + ", column " + x);
                }
        }
    }

    private static void TestDecimateBlur()
    {
        foreach (int depth in Bytes)
            using (Image image = RandomImage(12, 10, depth))
            using (Image target = new Image(12, 10, depth)) {
                int[,,] a = Read(image);
                using (Image result = image.DecimateBlur(3, 3)) {
                    int[,,] all = Read(result);
                    Each(result, (y, x, c) => y < 1 || x < 1 || y > 8 || x > 10 ? all[y, x, c]
                        : (2 * Window(a, y, x, c, 3, 3, 1, 1).Sum() + 9) / 18, 1);
                    image.DecimateBlur(target, 3, 3);
                    Same(result, target);
                }
            }
        using (Image thin = RandomImage(1, 9, 8))
            Same(thin, thin.DecimateBlur(3, 3)); // no window is left
    }

    private static double Weighed(int[] seen, params int[] taps)
    {
        return seen.Zip(taps, (v, t) => (double)v * t).Sum();
    }

    // The eleven filters, by the elements under 3 x 3 and 5 x 5 pixels.
    private static double Fixed(FixedWindow kind, int[] three, int[] five)
    {
        int[] row = { 1, 4, 6, 4, 1 };
        int[] binomial = row.SelectMany(v => row.Select(w => v * w)).ToArray();
        int[] around = Enumerable.Range(0, 25).Select(i => i == 12 ? 24 : -1).ToArray();
        switch (kind) {
        case FixedWindow.PrewittHorizontal: return Math.Abs(Weighed(three, -1, 0, 1, -1, 0, 1, -1, 0, 1));
        case FixedWindow.PrewittVertical: return Math.Abs(Weighed(three, -1, -1, -1, 0, 0, 0, 1, 1, 1));
        case FixedWindow.SobelHorizontal: return Math.Abs(Weighed(three, -1, 0, 1, -2, 0, 2, -1, 0, 1));
        case FixedWindow.SobelVertical: return Math.Abs(Weighed(three, -1, -2, -1, 0, 0, 0, 1, 2, 1));
        case FixedWindow.Laplacian3x3: return Math.Abs(Weighed(three, -1, -1, -1, -1, 8, -1, -1, -1, -1));
        case FixedWindow.Laplacian5x5: return Math.Abs(Weighed(five, around));
        case FixedWindow.Gaussian3x3: return Math.Floor((Weighed(three, 1, 2, 1, 2, 4, 2, 1, 2, 1) + 8) / 16);
        case FixedWindow.Gaussian5x5: return Math.Floor((Weighed(five, binomial) + 128) / 256);
        case FixedWindow.Highpass3x3: return three[4] - three.Average() + 128;
        case FixedWindow.Highpass5x5: return five[12] - five.Average() + 128;
        default: return Weighed(three, -1, -1, -1, -1, 9, -1, -1, -1, -1);
        }
    }

    private static void TestFixedFilters()
    {
        foreach (int depth in Bytes)
            using (Image image = RandomImage(9, 7, depth)) {
                int[,,] a = Read(image);
                foreach (FixedWindow kind in Enum.GetValues(typeof(FixedWindow)))
                    EachAndGone(image.FixedFilter(kind), (y, x, c) => Clamp(Fixed(kind,
                        Window(a, y, x, c, 3, 3, 1, 1), Window(a, y, x, c, 5, 5, 2, 2))),
                        kind == FixedWindow.Highpass3x3 || kind == FixedWindow.Highpass5x5 ? 1 : 0);
            }
    }

    // --- Kernels -------------------------------------------------------------------

    // The tap in column i and row j goes with the pixel at (x + anchorX - i, y + anchorY - j).
    private static int Sum(int[,,] a, int y, int x, int c, int[,] taps, int anchorX, int anchorY)
    {
        int sum = 0;
        for (int j = 0; j < taps.GetLength(0); ++j)
            for (int i = 0; i < taps.GetLength(1); ++i) {
                int v = y + anchorY - j, u = x + anchorX - i;
                if (v >= 0 && u >= 0 && v < a.GetLength(0) && u < a.GetLength(1))
                    sum += taps[j, i] * a[v, u, c];
            }
        return sum;
    }

    private static void TestConvolutions()
    {
        int[,] taps = { { 1, -2, 3, 0 }, { 4, 5, -6, 1 }, { 7, 0, 2, -1 } };
        foreach (int depth in Bytes)
            using (Image image = RandomImage(9, 6, depth))
            using (Kernel kernel = new Kernel(taps, 3, 0, 2))
            using (Kernel right = new Kernel(new sbyte[,] { { -1, 0, 1 } }))
            using (Kernel down = new Kernel(new sbyte[,] { { -1 }, { 0 }, { 1 } }, 0, 1))
            using (Kernel flat = new Kernel(new[,] { { 1, 2, 1 } }, 2)) {
                int[,,] a = Read(image);
                EachAndGone(image.Convolve(kernel),
                    (y, x, c) => Clamp(Sum(a, y, x, c, taps, 3, 0) >> 2));
                EachAndGone(image.Convolve(new[,] { { 1, 2 }, { 3, 4 } }, 3),
                    (y, x, c) => Clamp(Sum(a, y, x, c, new[,] { { 1, 2 }, { 3, 4 } }, 1, 1) >> 3));
                Func<int, int, int, int> h = (y, x, c) => Sum(a, y, x, c, new[,] { { -1, 0, 1 } }, 1, 0);
                Func<int, int, int, int> v = (y, x, c) =>
                    Sum(a, y, x, c, new[,] { { -1 }, { 0 }, { 1 } }, 0, 1);
                Kernel[] both = { right, down };
                Action<Combine, Func<int, int, double>, int> check = (way, formula, tolerance) =>
                    EachAndGone(image.Convolve(both, way),
                        (y, x, c) => Clamp(formula(h(y, x, c), v(y, x, c))), tolerance);
                check(Combine.Sum, (p, q) => p + q, 0);
                check(Combine.Squares, (p, q) => p * p + q * q, 0);
                check(Combine.Root, (p, q) => Math.Sqrt(p * p + q * q), 1);
                check(Combine.Largest, (p, q) => Math.Max(p, q), 0);
                check(Combine.Smallest, (p, q) => Math.Min(p, q), 0);
                CheckSeparable(image, a, flat);
            }
    }

    private static void CheckSeparable(Image image, int[,,] a, Kernel flat)
    {
        using (Kernel tall = new Kernel(new sbyte[,] { { 1 }, { 2 }, { 1 } }, 2)) {
            int[,,] across = new int[a.GetLength(0), a.GetLength(1), a.GetLength(2)];
            for (int y = 0; y < a.GetLength(0); ++y)
                for (int x = 0; x < a.GetLength(1); ++x)
                    for (int c = 0; c < a.GetLength(2); ++c)
                        across[y, x, c] = Sum(a, y, x, c, new[,] { { 1, 2, 1 } }, 1, 0) >> 2;
            EachAndGone(image.ConvolveSeparable(flat, tall),
                (y, x, c) => Sum(across, y, x, c, new[,] { { 1 }, { 2 }, { 1 } }, 0, 1) >> 2);
        }
    }

    private static void TestKernelsTellWhatTheyWereMadeOf()
    {
        int[,] taps = { { 1, -2, 0x1FF }, { int.MaxValue, 5, int.MinValue } };
        Kernel kernel = new Kernel(taps, 2, 0, 5);
        Equal("3 2 2 0 5", kernel.Columns + " " + kernel.Rows + " " + kernel.AnchorX + " " +
            kernel.AnchorY + " " + kernel.Shift);
        Equal(true, kernel.Taps.Cast<int>().SequenceEqual(taps.Cast<int>()));
        Equal("1 -2 -1 -1 5 0", string.Join(" ", kernel.SmallTaps.Cast<sbyte>()));
        Equal(false, kernel.Handle.IsInvalid);
        kernel.Dispose();
        Equal(true, kernel.Handle.IsClosed);
        Throws<ObjectDisposedException>("this", () => kernel.Taps.ToString());
        using (Kernel small = new Kernel(new sbyte[,] { { -128, 127 }, { 3, 4 } }, 0, 1, 7))
            Equal("-128 127 3 4, 0 1 7", string.Join(" ", small.Taps.Cast<int>()) + ", " +
                small.AnchorX + " " + small.AnchorY + " " + small.Shift);
        using (Kernel middle = new Kernel(new sbyte[4, 3], 2))
            Equal("1 2 2", middle.AnchorX + " " + middle.AnchorY + " " + middle.Shift);
    }
}
