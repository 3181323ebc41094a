// Tests.exe PICTURES SCRATCH RESULTS: tests the assembly and writes an XML file of the results.
using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Reflection;
using System.Security;
using System.Threading;
using QuibTool;

internal static class Tests
{
    private static string pictures, scratch;
    private static readonly Random numbers = new Random(7);

    private static int Main(string[] arguments)
    {
        pictures = arguments[0];
        scratch = arguments[1];
        int failures = 0;
        var lines = new List<string>();
        foreach (MethodInfo test in typeof(Tests).GetMethods(BindingFlags.NonPublic |
            BindingFlags.Static).Where(method => method.Name.StartsWith("Test"))) {
            string problem = "";
            try {
                test.Invoke(null, null);
            } catch (TargetInvocationException error) {
                problem = error.InnerException.ToString();
                ++failures;
                Console.WriteLine(test.Name + ": " + problem);
            }
            lines.Add("<testcase classname=\"Tests\" name=\"" + test.Name + "\">" +
                (problem == "" ? "" : "<failure>" + SecurityElement.Escape(problem) +
                "</failure>") + "</testcase>");
        }
        File.WriteAllText(arguments[2], "<testsuites><testsuite>" + string.Join("\n", lines) +
            "</testsuite></testsuites>\n");
        return failures == 0 ? 0 : 1;
    }

    // --- What tests say ------------------------------------------------------------

    private static void Equal<T>(T expected, T found, string what = "")
    {
        if (!EqualityComparer<T>.Default.Equals(expected, found))
            throw new Exception(what + ": expected " + expected + ", found " + found);
    }

    private static void Throws<T>(Action action, string word = "") where T : Exception
    {
        try {
            action();
        } catch (T error) {
            if (error.Message.IndexOf(word, StringComparison.Ordinal) < 0)
                throw new Exception("'" + word + "' is not in: " + error.Message);
            return;
        }
        throw new Exception("nothing was thrown in the place of " + typeof(T).Name + " " + word);
    }

    private static Image RandomImage(int width, int height, int depth)
    {
        Image image = new Image(width, height, depth);
        for (int y = 0; y < height; ++y) {
            byte[] row = new byte[(width * depth + 7) / 8];
            numbers.NextBytes(row);
            image.SetRow(y, row);
        }
        return image;
    }

    // Each byte of a result against a formula of the bytes at the same place.
    private static void EachByte(Image result, Func<int, int, int> formula)
    {
        for (int y = 0; y < result.Height; ++y) {
            byte[] row = result.GetRow(y);
            for (int i = 0; i < row.Length; ++i)
                Equal(Math.Max(0, Math.Min(255, formula(y, i))), row[i], "row " + y + ", byte " + i);
        }
    }

    private static void Same(Image expected, Image found)
    {
        for (int y = 0; y < expected.Height; ++y)
            Equal(true, expected.GetRow(y).SequenceEqual(found.GetRow(y)), "row " + y);
    }

    // --- Images --------------------------------------------------------------------

    private static void TestImagesTellWhatTheyAre()
    {
        using (Image image = new Image(5, 3, 24, 0x030201)) {
            QuibInfo info = image.Info();
            Equal("5 3 24 16", info.width + " " + info.height + " " + info.bitDepth + " " +
                info.widthStep);
            EachByte(image, (y, i) => i % 3 + 1);
            Equal(true, image.GetRow(2).SequenceEqual(new byte[] { 1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3 }));
        }
        using (Image black = new Image(7, 2, 32, 0xFF000000))
            Equal(true, black.IsBlack());
    }

    private static unsafe void TestTheRecordIsTheLibrarys()
    {
        using (Image image = new Image(9, 4, 8, 7)) {
            IplImage* record = (IplImage*)image.Handle.DangerousGetHandle();
            Equal(sizeof(IplImage), record->nSize);
            Equal("9 4 12 48 8", record->width + " " + record->height + " " + record->widthStep +
                " " + record->imageSize + " " + record->depth);
            Equal(7, (int)record->imageData[5]);
        }
    }

    private static void TestSpansAreTheImagesOwnMemory()
    {
        using (Image image = new Image(4, 4, 8)) {
            image.WithPixels(pixels => { Equal(16, pixels.Length); pixels[5] = 200; });
            Equal(200, (int)image.GetRow(1)[1]);
            Throws<IndexOutOfRangeException>(() => image.WithPixels(pixels => pixels[16] = 1));
            image.WithPixels(pixels => { image.Dispose(); pixels.Fill(1); }); // freed after it
            Throws<ObjectDisposedException>(() => image.GetRow(0));
        }
    }

    private static void TestAllOfTheUncheckedFunctionsAreThere()
    {
        var names = typeof(Native).GetMethods(BindingFlags.Public | BindingFlags.Static |
            BindingFlags.DeclaredOnly).Select(method => method.Name).ToList();
        Equal(79, names.Count);
        int linked = 0;
        foreach (MethodInfo method in typeof(Native).GetMethods(BindingFlags.Public |
            BindingFlags.NonPublic | BindingFlags.Static | BindingFlags.DeclaredOnly))
            if ((method.Attributes & MethodAttributes.PinvokeImpl) != 0 &&
                !method.Name.EndsWith("32") && !method.Name.EndsWith("64")) { // Windows' own
                System.Runtime.InteropServices.Marshal.Prelink(method);
                ++linked;
            }
        Equal(79, linked);
    }

    // --- Operations ----------------------------------------------------------------

    private static void TestPixelOperations()
    {
        foreach (int depth in new[] { 8, 24, 32 })
            using (Image a = RandomImage(9, 5, depth))
            using (Image b = RandomImage(9, 5, depth)) {
                EachByte(a.Add(100), (y, i) => a.GetRow(y)[i] + 100);
                EachByte(a.Multiply(3), (y, i) => a.GetRow(y)[i] * 3);
                EachByte(a.Invert(), (y, i) => 255 - a.GetRow(y)[i]);
                EachByte(a.Add(b), (y, i) => a.GetRow(y)[i] + b.GetRow(y)[i]);
                EachByte(a.Subtract(b), (y, i) => a.GetRow(y)[i] - b.GetRow(y)[i]);
                Same(a, a.Clone());
                a.CopyTo(b);
                Same(a, b);
            }
    }

    private static void TestSizesAndFlips()
    {
        using (Image image = RandomImage(6, 4, 32)) {
            EachByte(image.Resize(12, 8, ResizeMode.Nearest),
                (y, i) => image.GetRow(y / 2)[i / 8 * 4 + i % 4]);
            EachByte(image.ResizeFit(12, 8, ResizeMode.Nearest),
                (y, i) => image.GetRow(y / 2)[i / 8 * 4 + i % 4]);
            EachByte(image.Flip(FlipAxis.Rows), (y, i) => image.GetRow(3 - y)[i]);
            EachByte(image.Flip(FlipAxis.Columns), (y, i) => image.GetRow(y)[(5 - i / 4) * 4 + i % 4]);
            EachByte(image.WarpAffine(new double[,] { { 1, 0, 2 }, { 0, 1, 1 } },
                Interpolation.Nearest), (y, i) => y < 1 || i < 8 ? 0 : image.GetRow(y - 1)[i - 8]);
            EachByte(image.WarpQuad(new double[,] { { 2, 1 }, { 7, 1 }, { 7, 4 }, { 2, 4 } },
                Interpolation.Nearest), (y, i) => y < 1 || i < 8 ? 0 : image.GetRow(y - 1)[i - 8]);
            Image target = new Image(3, 3);
            image.Blt(new QuibRect(2, 1, 4, 3), target, new QuibRect(1, 1, 3, 3));
            EachByte(target, (y, i) => y < 1 || i < 4 ? 0 : image.GetRow(y)[i + 4]);
        }
        using (Image square = RandomImage(5, 5, 32))
            EachByte(square.Rotate(180, 2, 2), (y, i) => square.GetRow(4 - y)[(4 - i / 4) * 4 + i % 4]);
    }

    private static void TestLayers()
    {
        using (Image over = RandomImage(7, 4, 32))
        using (Image under = RandomImage(7, 4, 32)) {
            Func<int, int, int> mix = (y, i) => i % 4 == 3 ? 255 : under.GetRow(y)[i] +
                ((over.GetRow(y)[i] - under.GetRow(y)[i]) * over.GetRow(y)[i / 4 * 4 + 3] >> 8);
            EachByte(over.SimplyOver(under), mix);
            over.SetAlpha(255);
            Same(over, over.CompositeWith(under, Composite.Over));
            Same(over, over.CompositeWith(under, Composite.Over, false, true));
            Equal(7, over.Over(under).Width);
            Image plane = RandomImage(8, 4, 8);
            over.SetAlpha(plane);
            EachByte(over, (y, i) => i % 4 == 3 ? plane.GetRow(y)[i / 4] : over.GetRow(y)[i]);
            over.SetAlpha(0);
            Image before = under.Clone();
            over.DrawOn(under, 1, 1);
            Same(before, under);
        }
    }

    private static void TestTones()
    {
        using (Image image = RandomImage(6, 3, 32)) {
            EachByte(image.BrightnessAndContrast(20, 0),
                (y, i) => image.GetRow(y)[i] + (i % 4 == 3 ? 0 : 20));
            EachByte(image.ToGray(), (y, i) => {
                byte[] row = image.GetRow(y);
                return (18 * row[4 * i] + 183 * row[4 * i + 1] + 54 * row[4 * i + 2]) >> 8;
            });
        }
        using (Image red = new Image(2, 2, 32, 0xFFFF0000))
            EachByte(red.HueAndSaturation(120, 0), (y, i) => i % 4 == 1 || i % 4 == 3 ? 255 : 0);
    }

    private static int[] Window(Image image, int y, int x, int size)
    {
        var found = new List<int>();
        for (int dy = -(size / 2); dy <= size / 2; ++dy)
            for (int dx = -(size / 2); dx <= size / 2; ++dx)
                found.Add(y + dy < 0 || y + dy >= image.Height || x + dx < 0 ||
                    x + dx >= image.Width ? 0 : image.GetRow(y + dy)[x + dx]);
        return found.ToArray();
    }

    private static void TestWindows()
    {
        using (Image image = RandomImage(9, 6, 8)) {
            EachByte(image.Max(3, 3), (y, x) => Window(image, y, x, 3).Max());
            EachByte(image.Min(3, 3), (y, x) => Window(image, y, x, 3).Min());
            EachByte(image.Median(3, 3), (y, x) => Window(image, y, x, 3).OrderBy(v => v).ElementAt(4));
            EachByte(image.Blur(3, 3), (y, x) => (int)((Window(image, y, x, 3).Sum() + 4.5) / 9));
            int[] taps = { 1, 2, 1, 2, 4, 2, 1, 2, 1 };
            Func<int, int, int> sum = (y, x) => Window(image, y, x, 3).Zip(taps, (v, t) => v * t).Sum();
            EachByte(image.FixedFilter(6), (y, x) => (sum(y, x) + 8) >> 4);
            EachByte(image.Convolve(new[,] { { 1, 2, 1 }, { 2, 4, 2 }, { 1, 2, 1 } }, 4),
                (y, x) => sum(y, x) >> 4);
        }
    }

    // --- Bad input -----------------------------------------------------------------

    private static void TestRefusalsNameTheArgument()
    {
        Image image = new Image(8, 6), gray = new Image(8, 6, 8), gone = new Image(2, 2);
        gone.Dispose();
        Throws<ArgumentException>(() => new Image(0, 5), "width");
        Throws<ArgumentException>(() => new Image(5, -1), "height");
        Throws<ArgumentException>(() => new Image(5, 5, 16), "depth");
        Throws<ArgumentException>(() => new Image(5, 5, 8, 256), "fill");
        Throws<OutOfMemoryException>(() => new Image(int.MaxValue, int.MaxValue));
        Throws<ObjectDisposedException>(() => gone.Clone());
        Throws<ObjectDisposedException>(() => image.Over(gone));
        Throws<ArgumentNullException>(() => image.Over(null), "under");
        Throws<ArgumentException>(() => image.Over(gray), "under");
        Throws<ArgumentException>(() => image.Add(gray), "other");
        Throws<ArgumentException>(() => image.CopyTo(new Image(7, 6)), "target");
        Throws<ArgumentException>(() => image.Resize(0, 5), "width");
        Throws<ArgumentException>(() => image.Resize(9, 9, ResizeMode.Area), "mode");
        Throws<ArgumentException>(() => image.Resize(9, 9, (ResizeMode)7), "mode");
        Throws<ArgumentException>(() => image.Flip((FlipAxis)2), "axis");
        Throws<ArgumentException>(() => image.Rotate(double.NaN, 0, 0), "angle");
        Throws<ArgumentException>(() => image.Rotate(5, 0, 0, (Interpolation)3), "interpolation");
        Throws<InvalidOperationException>(() => new Image(1, 5).Rotate(5, 0, 0), "2 columns");
        Throws<ArgumentException>(() => gray.WarpAffine(new double[2, 3]), "this");
        Throws<ArgumentException>(() => image.WarpAffine(new double[2, 3]), "determinant");
        Throws<ArgumentException>(() => image.WarpAffine(null), "coefficients");
        Throws<ArgumentException>(() => image.WarpQuad(new double[,] { { 0, 0 }, { 7, 0 }, { 2, 2 }, { 0, 5 } }), "quad");
        Throws<ArgumentException>(() => image.Blt(new QuibRect(0, 0, 9, 6), image, new QuibRect(0, 0, 8, 6)), "from");
        Throws<ArgumentException>(() => image.Blt(new QuibRect(0, 0, 4, 6), image, new QuibRect(0, 0, 8, 6)), "target");
        Throws<ArgumentException>(() => image.CompositeWith(image, (Composite)6), "kind");
        Throws<ArgumentException>(() => image.SetAlpha(new Image(7, 6, 8)), "plane");
        Throws<ArgumentException>(() => image.SetAlpha(gray, 101), "percent");
        Throws<ArgumentException>(() => gray.ToGray(), "this");
        Throws<ArgumentException>(() => image.Blur(0, 3), "columns");
        Throws<ArgumentException>(() => image.FixedFilter(11), "filter");
        Throws<ArgumentException>(() => image.Convolve(new int[0, 0]), "taps");
        Throws<ArgumentException>(() => image.Convolve(new int[1, 1], -1), "shift");
        Throws<ArgumentException>(() => image.GetRow(6), "row");
        Throws<ArgumentException>(() => image.SetRow(0, new byte[3]), "values");
        Throws<QuibException>(() => { throw new QuibException("QuibFlip", -0x7FFFFFFB); },
            "QuibFlip: 0x80000005: QUIB_BAD_ARGUMENT");
    }

    private static void TestFilesGoodAndBad()
    {
        string good = Path.Combine(pictures, "cat.bmp"), path = Path.Combine(scratch, "broken.bmp");
        using (Image cat = Image.LoadBmp(good))
            Equal(32, cat.Depth);
        Throws<FileNotFoundException>(() => Image.LoadBmp(Path.Combine(scratch, "nosuch.bmp")));
        Throws<ArgumentException>(() => Image.LoadBmp(null), "path");
        byte[] whole = File.ReadAllBytes(good).Take(3000).ToArray();
        int read = 0, refused = 0;
        for (int i = 0; i < 1500; ++i) {
            byte[] damaged = (byte[])whole.Clone();
            for (int change = numbers.Next(4); change > 0; --change)
                damaged[numbers.Next(60)] = (byte)new[] { 0, 1, 2, 8, 24, 32, 127, 128, 255 }[numbers.Next(9)];
            File.WriteAllBytes(path, damaged.Take(numbers.Next(2) == 0 ? 3000 : numbers.Next(3000)).ToArray());
            try {
                Image.LoadBmp(path).Dispose();
                ++read;
            } catch (Exception error) when (error is InvalidDataException ||
                error is OutOfMemoryException || error is QuibException) {
                ++refused;
            }
        }
        Equal(true, read > 100 && refused > 100, read + " read, " + refused + " refused");
    }

    private static void TestHostileNumbers()
    {
        int[] values = { int.MinValue, -1, 0, 1, 2, 3, 5, 16, 40, 255, 256, 1 << 20, int.MaxValue };
        Func<int> any = () => values[numbers.Next(values.Length)];
        Image[] images = { new Image(8, 6), new Image(8, 6, 24), new Image(9, 5, 8), new Image(1, 7, 1) };
        int made = 0, refused = 0;
        for (int i = 0; i < 4000; ++i) {
            Image a = images[numbers.Next(4)], b = images[numbers.Next(4)];
            Func<Image>[] calls = {
                () => new Image(any(), any(), any(), (uint)any()),
                () => a.Resize(any() & 0xFFF, any() & 0xFFF, (ResizeMode)(any() & 7)),
                () => a.ResizeFit(any() & 0xFFF, any() & 0xFFF, (ResizeMode)(any() & 3)),
                () => a.Rotate(any() * 0.7, any(), any(), (Interpolation)(any() & 3), any() > 1),
                () => a.Flip((FlipAxis)any()), () => a.Add(any()), () => a.Multiply(any()),
                () => a.Add(b), () => a.Over(b), () => a.CompositeWith(b, (Composite)any()),
                () => a.Blur(any(), any()), () => a.Median(any() & 31, any() & 31),
                () => a.Max(any(), any()), () => a.FixedFilter(any()), () => a.ToGray(),
                () => a.BrightnessAndContrast(any(), any()), () => a.HueAndSaturation(any(), any()),
                () => a.WarpAffine(new double[,] { { any(), any(), any() }, { any(), any(), any() } }),
                () => a.WarpQuad(new double[,] { { any(), any() }, { any(), any() }, { 5, any() }, { 0, 5 } }),
                () => { a.Blt(new QuibRect(any(), any(), any(), any()), b, new QuibRect(0, 0, 5, 5)); return null; },
                () => { a.DrawOn(b, any(), any()); return null; },
                () => a.Convolve(new[,] { { any(), any() } }, any()),
            };
            try {
                Image result = calls[numbers.Next(calls.Length)]();
                if (result != null)
                    result.Dispose();
                ++made;
            } catch (Exception error) when (error is ArgumentException || error is QuibException ||
                error is OutOfMemoryException || error is InvalidOperationException) {
                ++refused;
            }
        }
        Equal(true, made > 500 && refused > 500, made + " made, " + refused + " refused");
    }

    // --- Life ----------------------------------------------------------------------

    private static void TestForgottenImagesAreCollected()
    {
        for (int i = 0; i < 3000; ++i)
            new Image(300, 300);
        GC.Collect();
        GC.WaitForPendingFinalizers();
    }

    private static void TestThreads()
    {
        Image image = RandomImage(60, 40, 32), other = RandomImage(60, 40, 32);
        Image expected = image.CompositeWith(other, Composite.Over);
        Exception problem = null;
        Thread[] threads = Enumerable.Range(0, 4).Select(number => new Thread(() => {
            try {
                for (int i = 0; i < 40; ++i) {
                    Same(expected, image.CompositeWith(other, Composite.Over));
                    other.Add(image).Dispose();
                }
            } catch (Exception error) {
                problem = error;
            }
        })).ToArray();
        foreach (Thread thread in threads)
            thread.Start();
        foreach (Thread thread in threads)
            thread.Join();
        if (problem != null)
            throw problem;
    }
}
