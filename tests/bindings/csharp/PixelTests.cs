using System;
using System.Collections.Generic;
using System.Linq;
using QuibTool;

internal static partial class Tests
{
    // --- Arithmetic and logic ------------------------------------------------------

    private static void TestOperationsOnOne()
    {
        var table = new List<Tuple<Func<Image, Image>, Func<int, int>>> {
            Tuple.Create<Func<Image, Image>, Func<int, int>>(i => i.Add(100), v => v + 100),
            Tuple.Create<Func<Image, Image>, Func<int, int>>(i => i.Add(-100), v => v - 100),
            Tuple.Create<Func<Image, Image>, Func<int, int>>(i => i.Multiply(3), v => v * 3),
            Tuple.Create<Func<Image, Image>, Func<int, int>>(i => i.MultiplyScaled(77), v => v * 77 / 255),
            Tuple.Create<Func<Image, Image>, Func<int, int>>(i => i.Square(), v => v * v),
            Tuple.Create<Func<Image, Image>, Func<int, int>>(i => i.Abs(), v => v),
            Tuple.Create<Func<Image, Image>, Func<int, int>>(i => i.ShiftLeft(3), v => v << 3 & 255),
            Tuple.Create<Func<Image, Image>, Func<int, int>>(i => i.ShiftRight(3), v => v >> 3),
            Tuple.Create<Func<Image, Image>, Func<int, int>>(i => i.Invert(), v => 255 - v),
            Tuple.Create<Func<Image, Image>, Func<int, int>>(i => i.And(0x3C), v => v & 0x3C),
            Tuple.Create<Func<Image, Image>, Func<int, int>>(i => i.Or(0x3C), v => v | 0x3C),
            Tuple.Create<Func<Image, Image>, Func<int, int>>(i => i.Xor(0x3C), v => v ^ 0x3C),
        };
        foreach (int depth in Bytes)
            using (Image image = RandomImage(9, 5, depth)) {
                int[,,] a = Read(image);
                foreach (var line in table)
                    EachAndGone(line.Item1(image), (y, x, c) => Clamp(line.Item2(a[y, x, c])));
            }
        using (Image bits = RandomImage(19, 5, 1)) {
            int[,,] a = Read(bits);
            EachAndGone(bits.Add(1), (y, x, c) => 1);
            EachAndGone(bits.Multiply(0), (y, x, c) => 0);
            EachAndGone(bits.Square(), (y, x, c) => a[y, x, c]);
            EachAndGone(bits.Invert(), (y, x, c) => 1 - a[y, x, c]);
            EachAndGone(bits.Xor(1), (y, x, c) => 1 - a[y, x, c]);
        }
    }

    private static void TestOperationsOnTwo()
    {
        foreach (int depth in Bytes)
            using (Image first = RandomImage(9, 5, depth))
            using (Image second = RandomImage(9, 5, depth)) {
                int[,,] a = Read(first), b = Read(second);
                Action<Image, Func<int, int, int>> check = (result, formula) => EachAndGone(result,
                    (y, x, c) => Clamp(formula(a[y, x, c], b[y, x, c])));
                check(first.Add(second), (v, w) => v + w);
                check(first.Subtract(second), (v, w) => v - w);
                check(first.Multiply(second), (v, w) => v * w);
                check(first.MultiplyScaled(second), (v, w) => v * w / 255);
                check(first.And(second), (v, w) => v & w);
                check(first.Or(second), (v, w) => v | w);
                check(first.Xor(second), (v, w) => v ^ w);
            }
        using (Image first = RandomImage(19, 5, 1))
        using (Image second = RandomImage(19, 5, 1)) {
            int[,,] a = Read(first), b = Read(second);
            EachAndGone(first.Add(second), (y, x, c) => a[y, x, c] | b[y, x, c]);
            EachAndGone(first.Subtract(second), (y, x, c) => a[y, x, c] & ~b[y, x, c]);
            EachAndGone(first.Multiply(second), (y, x, c) => a[y, x, c] & b[y, x, c]);
        }
    }

    // --- Tone and gray -------------------------------------------------------------

    private static int Toned(int value, int brightness, int contrast)
    {
        int v = value + brightness, d = 255 - 2 * contrast, r = d / 2 == 0 ? 1 : d / 2;
        return v < contrast ? 0 : v > 255 - contrast ? 255 : ((v - contrast) * 255 + r) / d;
    }

    private static void TestTones()
    {
        using (Image image = RandomImage(11, 7, 32)) {
            int[,,] a = Read(image);
            foreach (int[] tone in new[] { new[] { 20, 0 }, new[] { -10, 40 }, new[] { 5, -30 } })
                EachAndGone(image.BrightnessAndContrast(tone[0], tone[1]), (y, x, c) =>
                    c == 3 ? a[y, x, c] : Toned(a[y, x, c], tone[0], tone[1]));
            foreach (ToneChannel channel in new[] { ToneChannel.Red, ToneChannel.Green, ToneChannel.Blue })
                EachAndGone(image.BrightnessAndContrast(-20, 10, channel), (y, x, c) =>
                    c == 3 - (int)channel ? Toned(a[y, x, c], -20, 10) : a[y, x, c]);
            using (Image gray = image.HueAndSaturation(0, -100))
                Each(gray, (y, x, c) => c == 3 ? a[y, x, 3]
                    : Math.Max(a[y, x, 0], Math.Max(a[y, x, 1], a[y, x, 2])));
            using (Image target = image.Copy())
            using (Image expected = image.HueAndSaturation(40, 30)) {
                image.HueAndSaturation(target, 40, 30);
                Same(expected, target);
            }
            image.BrightnessAndContrast(image, 20, 0);
            Each(image, (y, x, c) => c == 3 ? a[y, x, c] : Clamp(a[y, x, c] + 20));
        }
        using (Image red = new Image(2, 2, 32, Image.Color(255, 0, 0)))
            EachAndGone(red.HueAndSaturation(120, 0), (y, x, c) => c == 1 || c == 3 ? 255 : 0);
    }

    private static void TestGrays()
    {
        foreach (int depth in new[] { 24, 32 })
            using (Image image = RandomImage(11, 7, depth)) {
                int[,,] a = Read(image);
                EachAndGone(image.ToGray(), (y, x, c) =>
                    (18 * a[y, x, 0] + 183 * a[y, x, 1] + 54 * a[y, x, 2]) >> 8);
            }
        using (Image bits = RandomImage(19, 7, 1)) {
            int[,,] a = Read(bits);
            EachAndGone(bits.BitonalToGray(10, 20), (y, x, c) => a[y, x, c] == 0 ? 10 : 20);
            EachAndGone(bits.BitonalToGray(), (y, x, c) => a[y, x, c] * 255);
        }
    }

    private static void TestFields()
    {
        foreach (int depth in Depths)
            using (Image even = RandomImage(13, 7, depth))
            using (Image odd = RandomImage(13, 7, depth))
            using (Image target = new Image(13, 7, depth)) {
                int[,,] e = Read(even), o = Read(odd);
                Func<int, int, int, int> woven = (y, x, c) => (y % 2 == 0 ? e : o)[y, x, c];
                EachAndGone(even.UnInterlace(odd), woven);
                even.UnInterlace(odd, target);
                Each(target, woven);
                even.Interlace(Field.Even);
                Each(even, (y, x, c) => e[y - y % 2, x, c]);
                odd.Interlace(Field.Odd); // the last row has no partner
                Each(odd, (y, x, c) => o[Math.Min(y | 1, 6), x, c]);
            }
    }

    // --- Composition ---------------------------------------------------------------

    private static void TestOneOverTheOther()
    {
        using (Image over = RandomImage(8, 5, 32))
        using (Image under = RandomImage(8, 5, 32)) {
            under.SetAlpha(255);
            int[,,] a = Read(over), b = Read(under);
            Func<int, int, int, int> simple = (y, x, c) => c == 3 ? 255
                : b[y, x, c] + ((a[y, x, c] - b[y, x, c]) * a[y, x, 3] >> 8);
            Func<int, int, int, int> exact = (y, x, c) => c == 3 ? 255
                : (int)Math.Round(b[y, x, c] + (a[y, x, c] - b[y, x, c]) * a[y, x, 3] / 255.0);
            EachAndGone(over.SimplyOver(under), simple);
            using (Image target = new Image(8, 5)) {
                over.SimplyOver(under, target);
                Each(target, simple);
                over.Over(under, target);
                Each(target, exact, 2);
                Same(target, over.Over(under));
                int[,,] whole = Read(target);
                CheckPlaces(over, under, b, whole);
            }
            using (Image place = under.Clone()) {
                over.Over(place, place);
                Each(place, exact, 2);
            }
            using (Image place = under.Clone()) {
                over.SimplyOver(place, place);
                Each(place, simple);
            }
        }
    }

    // DrawOn against Over of a picture that has been moved.
    private static void CheckPlaces(Image over, Image under, int[,,] b, int[,,] whole)
    {
        using (Image place = under.Clone()) {
            over.DrawOn(place, 0, 0);
            Each(place, (y, x, c) => whole[y, x, c]);
        }
        int[,,] a = Read(over);
        using (Image moved = Drawn(8, 5, 32, (y, x, c) => y < 1 || x < 2 ? 0 : a[y - 1, x - 2, c]))
        using (Image expected = moved.Over(under))
        using (Image place = under.Clone()) {
            int[,,] all = Read(expected);
            over.DrawOn(place, 2, 1);
            Each(place, (y, x, c) => all[y, x, c]);
            under.CopyTo(place);
            over.DrawOn(place, 2, 1, new QuibRect(-5, 2, 6, 4));
            Each(place, (y, x, c) => y >= 2 && y < 4 && x < 6 ? all[y, x, c] : b[y, x, c]);
        }
    }

    private static int Mul(int x, int y)
    {
        return x * y / 255;
    }

    // The table of the composites; a and b are weighted already.
    private static int Composed(Composite kind, int a, int b, int alphaA, int alphaB)
    {
        switch (kind) {
        case Composite.Over: return Math.Min(255, a + Mul(255 - alphaA, b));
        case Composite.In: return Mul(a, alphaB);
        case Composite.Out: return Mul(a, 255 - alphaB);
        case Composite.Atop: return Math.Min(255, Mul(a, alphaB) + Mul(255 - alphaA, b));
        case Composite.Xor: return Math.Min(255, Mul(255 - alphaB, a) + Mul(255 - alphaA, b));
        default: return Math.Min(255, a + b);
        }
    }

    private static void TestAlphaComposites()
    {
        using (Image first = RandomImage(9, 6, 32))
        using (Image second = RandomImage(9, 6, 32)) {
            int[,,] a = Read(first), b = Read(second);
            foreach (Composite kind in Enum.GetValues(typeof(Composite))) {
                Func<int, int, int> alpha = (y, x) => kind == Composite.Atop ? b[y, x, 3]
                    : Composed(kind, a[y, x, 3], b[y, x, 3], a[y, x, 3], b[y, x, 3]);
                EachAndGone(first.CompositeWith(second, kind, true), (y, x, c) => c == 3 ? alpha(y, x)
                    : Composed(kind, a[y, x, c], b[y, x, c], a[y, x, 3], b[y, x, 3]));
                EachAndGone(first.CompositeWith(second, kind), (y, x, c) => c == 3 ? alpha(y, x)
                    : Composed(kind, Mul(a[y, x, c], a[y, x, 3]), Mul(b[y, x, c], b[y, x, 3]),
                        a[y, x, 3], b[y, x, 3]));
                EachAndGone(first.CompositeWithAlphas(second, kind, 60, 200), (y, x, c) => c == 3
                    ? b[y, x, c]
                    : Composed(kind, Mul(a[y, x, c], 60), Mul(b[y, x, c], 200), 60, 200));
            }
            // Areas pair up from their corners.
            QuibRect from = new QuibRect(1, 2, 4, 9), other = new QuibRect(4, 1, 9, 4),
                result = new QuibRect(-3, 3, 5, 5);
            EachAndGone(first.CompositeWith(second, Composite.Plus, true, false, from, other, result),
                (y, x, c) => y >= 3 && y < 5 && x < 3
                    ? Math.Min(255, a[y - 1, x + 1, c] + b[y - 2, x + 4, c]) : b[y, x, c]);
            second.SetAlpha(200);
            EachAndGone(first.CompositeWith(second, Composite.Over, false, true), (y, x, c) => {
                int alphaA = a[y, x, 3], alpha = alphaA + Mul(255 - alphaA, 200);
                double color = a[y, x, c] * alphaA + b[y, x, c] * 200 * (255 - alphaA) / 255.0;
                return c == 3 ? alpha : Clamp(Math.Round(color / alpha));
            }, 3);
        }
    }

    private static void TestAlphaIsSet()
    {
        using (Image image = RandomImage(8, 5, 32))
        using (Image plane = RandomImage(9, 6, 8)) {
            int[,,] a = Read(image), p = Read(plane);
            image.SetAlpha(plane);
            Each(image, (y, x, c) => c == 3 ? p[y, x, 0] : a[y, x, c]);
            image.ScaleAlpha(50);
            Each(image, (y, x, c) => c == 3 ? p[y, x, 0] * 128 / 256 : a[y, x, c]);
            image.SetAlpha(plane, 40);
            Each(image, (y, x, c) => c == 3 ? p[y, x, 0] * 102 / 256 : a[y, x, c]);
            image.SetAlpha(77);
            Each(image, (y, x, c) => c == 3 ? 77 : a[y, x, c]);
            image.SetAlpha(78, new QuibRect(4, 2, 6, 5));
            Each(image, (y, x, c) => c < 3 ? a[y, x, c] : y < 3 && (x == 1 || x == 2) ? 78 : 77);
        }
    }
}
