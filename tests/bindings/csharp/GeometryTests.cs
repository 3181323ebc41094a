using System;
using QuibTool;

internal static partial class Tests
{
    // --- Sizes ---------------------------------------------------------------------

    private static void TestSizesChange()
    {
        foreach (int depth in Bytes)
            using (Image image = RandomImage(12, 8, depth))
            using (Image target = new Image(6, 4, depth)) {
                int[,,] a = Read(image);
                Func<int, int, int, int> doubled = (y, x, c) => a[y / 2, x / 2, c];
                EachAndGone(image.Resize(24, 16, ResizeMode.Nearest), doubled);
                EachAndGone(image.ResizeFit(24, 16, ResizeMode.Nearest), doubled);
                Func<int, int, int, int> mean = (y, x, c) => (a[2 * y, 2 * x, c] +
                    a[2 * y, 2 * x + 1, c] + a[2 * y + 1, 2 * x, c] + a[2 * y + 1, 2 * x + 1, c]) / 4;
                image.Resize(target, ResizeMode.Area);
                Each(target, mean, 1);
                image.ResizeFit(target, ResizeMode.Area);
                Each(target, mean, 1);
                image.Region = new QuibRect(2, 1, 5, 4);
                EachAndGone(image.ResizeFit(6, 6, ResizeMode.Nearest),
                    (y, x, c) => a[1 + y / 2, 2 + x / 2, c]);
            }
        foreach (ResizeMode mode in new[] { ResizeMode.Linear, ResizeMode.Smooth, ResizeMode.Cubic })
            foreach (int depth in Bytes)
                using (Image plain = new Image(5, 4, depth, 9)) {
                    EachAndGone(plain.Resize(9, 3, mode), (y, x, c) => depth == 8 || c == 0 ? 9 : 0);
                    EachAndGone(plain.ResizeFit(9, 3, mode), (y, x, c) => depth == 8 || c == 0 ? 9 : 0);
                }
        using (Image rows = RandomImage(4, 4, 32)) {
            int[,,] a = Read(rows);
            EachAndGone(rows.Resize(4, 8, ResizeMode.PairsNearest),
                (y, x, c) => a[y / 4 * 2 + y % 2, x, c]);
            Equal(8, rows.Resize(4, 8, ResizeMode.PairsLinear).Height);
        }
        using (Image bits = RandomImage(12, 8, 1)) {
            int[,,] a = Read(bits);
            EachAndGone(bits.Resize(24, 16, ResizeMode.Nearest), (y, x, c) => a[y / 2, x / 2, c]);
        }
    }

    private static void TestBlocksMove()
    {
        foreach (int depth in Bytes)
            using (Image from = RandomImage(9, 7, depth))
            using (Image to = RandomImage(9, 7, depth))
            using (Image large = new Image(18, 14, depth)) {
                int[,,] a = Read(from), b = Read(to);
                from.Blt(new QuibRect(3, 1, 7, 4), to, new QuibRect(4, 2, 8, 5));
                Func<int, int, int, int> moved = (y, x, c) =>
                    y >= 2 && y < 5 && x >= 4 && x < 8 ? a[y - 1, x - 1, c] : b[y, x, c];
                Each(to, moved);
                to.Blt(new QuibRect(4, 2, 8, 5), to, new QuibRect(0, 4, 4, 7)); // within one image
                Each(to, (y, x, c) => y >= 4 && x < 4 ? moved(y - 2, x + 4, c) : moved(y, x, c));
                from.Blt(new QuibRect(0, 0, 9, 7), large, new QuibRect(0, 0, 18, 14));
                Each(large, (y, x, c) => a[y / 2, x / 2, c]);
                large.WithPixels(pixels => pixels.Clear());
                from.Blt(new QuibRect(0, 0, 9, 7), large, new QuibRect(0, 0, 18, 14), false);
                Each(large, (y, x, c) => y < 7 && x < 9 ? a[y, x, c] : 0);
            }
    }

    private static void TestMovingViews()
    {
        foreach (int depth in Bytes)
            using (Image image = RandomImage(9, 7, depth))
            using (Image view = new Image(9, 7, depth)) {
                int[,,] a = Read(image);
                image.PanZoom(0, 1, 0, 1, view, ResizeMode.Nearest);
                Each(view, (y, x, c) => a[y, x, c]);
                view.WithPixels(pixels => pixels.Clear());
                image.PanZoom(2, 1, 1, 1, view, 3, 2, 7, 6, ResizeMode.Nearest);
                Each(view, (y, x, c) => y >= 2 && y < 6 && x >= 3 && x < 7 ? a[y - 1, x - 1, c] : 0);
                image.PanZoom(1, 0.5, 2, 0.5, view, 0, 0, 8, 6, ResizeMode.Nearest);
                Each(view, (y, x, c) => y < 6 && x < 8 ? a[2 + y / 2, 1 + x / 2, c] : Read(view)[y, x, c]);
            }
        using (Image image = RandomImage(8, 8, 24))
        using (Image small = new Image(4, 4, 24)) {
            int[,,] a = Read(image);
            image.PanZoom(0, 2, 0, 2, small, ResizeMode.Area);
            Each(small, (y, x, c) => (a[2 * y, 2 * x, c] + a[2 * y, 2 * x + 1, c] +
                a[2 * y + 1, 2 * x, c] + a[2 * y + 1, 2 * x + 1, c]) / 4, 1);
        }
    }

    // --- Flips and turns -----------------------------------------------------------

    private static void TestFlips()
    {
        foreach (int depth in Depths)
            using (Image image = RandomImage(13, 6, depth)) {
                int[,,] a = Read(image);
                EachAndGone(image.Flip(FlipAxis.Rows), (y, x, c) => a[5 - y, x, c]);
                EachAndGone(image.Flip(FlipAxis.Columns), (y, x, c) => a[y, 12 - x, c]);
                image.Region = new QuibRect(2, 1, 6, 5);
                EachAndGone(image.Flip(FlipAxis.Rows), (y, x, c) =>
                    x >= 2 && x < 6 && y >= 1 && y < 5 ? a[5 - y, x, c] : a[y, x, c]);
                image.Region = null;
                image.Flip(image, FlipAxis.Both);
                Each(image, (y, x, c) => a[5 - y, 12 - x, c]);
            }
    }

    private static void TestTurns()
    {
        foreach (int depth in Depths)
            using (Image image = RandomImage(9, 9, depth))
            using (Image target = new Image(12, 9, depth)) {
                int[,,] a = Read(image);
                EachAndGone(image.Rotate(90, 4, 4), (y, x, c) => a[x, 8 - y, c]);
                EachAndGone(image.Rotate(180, 4, 4), (y, x, c) => a[8 - y, 8 - x, c]);
                EachAndGone(image.Rotate(270, 4, 4, Interpolation.Cubic, true), (y, x, c) => a[8 - x, y, c]);
                target.WithPixels(pixels => pixels.Fill(255));
                image.Rotate(target, 180, 4, 4);
                Each(target, (y, x, c) => x < 9 ? a[8 - y, 8 - x, c] : depth == 1 ? 1 : 255);
            }
    }

    private static void TestTurnsInSpace()
    {
        double angle = 33.5 * 0.01745329252, cosine = Math.Cos(angle), sine = Math.Sin(angle);
        using (Image image = RandomImage(17, 11, 32)) {
            Same(image.WarpAffine(new[,] { { 1, 0, 0 }, { 0, cosine, 0 } }),
                image.Rotate3D(33.5, RotationAxis.Horizontal));
            Same(image.WarpAffine(new[,] { { cosine, 0, 0 }, { 0, 1, 0 } }),
                image.Rotate3D(33.5, RotationAxis.Vertical));
        }
        using (Image plain = new Image(20, 20, 32, Image.Color(5, 6, 7)))
        using (Image turned = plain.Rotate3D(60, RotationAxis.Vertical)) {
            Equal("10 20", turned.Width + " " + turned.Height); // 19 cos 60, cut, and one more
            Equal("7 6 5 255", string.Join(" ", turned.GetRow(10).AsSpan(20, 4).ToArray()));
            double wide = 19 * (cosine + sine);
            using (Image flat = plain.Rotate3D(33.5, RotationAxis.Plane))
                Equal((int)wide + 1, flat.Width);
        }
    }

    // --- Warps ---------------------------------------------------------------------

    private static readonly double[,] Shift = { { 1, 0, 2 }, { 0, 1, 3 }, { 0, 0, 1 } };

    private static void TestWarpsIntoNewImages()
    {
        using (Image image = RandomImage(9, 9, 32)) {
            int[,,] a = Read(image);
            Func<int, int, int, int> moved = (y, x, c) => y < 3 || x < 2 ? 0 : a[y - 3, x - 2, c];
            EachAndGone(image.WarpAffine(new double[,] { { 1, 0, 2 }, { 0, 1, 3 } },
                Interpolation.Nearest), moved);
            EachAndGone(image.WarpAffine(new double[,] { { 2, 0, 0 }, { 0, 2, 0 } },
                Interpolation.Nearest, true), (y, x, c) => a[(y + 1) / 2, (x + 1) / 2, c], 255);
            EachAndGone(image.WarpPerspective(Shift, false, Interpolation.Nearest), moved);
            EachAndGone(image.WarpPerspective(Shift, true, Interpolation.Nearest),
                (y, x, c) => y > 5 || x > 6 ? 0 : a[y + 3, x + 2, c]);
        }
    }

    private static void TestWarpsOntoQuadrangles()
    {
        using (Image image = RandomImage(9, 9, 32)) {
            int[,,] a = Read(image);
            double[,] quad = image.PerspectiveQuad(Shift), found = image.PerspectiveTransform(quad);
            double[,] expected = { { 2, 3 }, { 10, 3 }, { 10, 11 }, { 2, 11 } };
            for (int i = 0; i < 8; ++i)
                Equal(expected[i / 2, i % 2], quad[i / 2, i % 2]);
            for (int i = 0; i < 9; ++i)
                Equal(true, Math.Abs(found[i / 3, i % 3] / found[2, 2] - Shift[i / 3, i % 3]) < 1e-9);
            Func<int, int, int, int> moved = (y, x, c) => y < 3 || x < 2 ? 0 : a[y - 3, x - 2, c];
            Func<int, int, int, int> back = (y, x, c) => y > 5 || x > 6 ? 0 : a[y + 3, x + 2, c];
            EachAndGone(image.WarpQuad(quad, Interpolation.Nearest), moved);
            EachAndGone(image.WarpQuad(quad, Interpolation.Nearest, false, true), back);
            foreach (bool inverse in new[] { false, true })
                using (Image one = new Image(9, 9), two = new Image(9, 9)) {
                    image.WarpQuad(one, quad, Interpolation.Nearest, false, inverse);
                    image.WarpQuadByEngine(two, quad, Interpolation.Nearest, false, inverse);
                    Each(one, inverse ? back : moved);
                    Same(one, two);
                }
            double[,] whole = { { 0, 0 }, { 8, 0 }, { 8, 8 }, { 0, 8 } };
            EachAndGone(image.WarpQuadByEngine(whole, Interpolation.Nearest), (y, x, c) => a[y, x, c]);
        }
        using (Image gray = RandomImage(9, 9, 8), turned = new Image(9, 9, 8)) {
            int[,,] a = Read(gray);
            double[,] mirrored = { { 8, 0 }, { 0, 0 }, { 0, 8 }, { 8, 8 } };
            gray.WarpQuadByEngine(turned, mirrored, Interpolation.Nearest);
            Each(turned, (y, x, c) => a[y, 8 - x, c]);
        }
        using (Image plain = new Image(9, 9, 32, 7)) { // a concave one, by scanlines
            double[,] dart = { { 0, 0 }, { 8, 0 }, { 2, 2 }, { 0, 8 } };
            using (Image drawn = plain.WarpQuad(dart)) {
                Equal(7, (int)drawn.GetRow(1)[4]);
                Equal(0, (int)drawn.GetRow(7)[4 * 7]);
            }
        }
    }
}
