// Calls of every method with random arguments, many of them bad. Whatever comes is a result or
// an exception of the kinds that are told.
using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Runtime.InteropServices;
using QuibTool;

internal static partial class Tests
{
    private static List<Image> made;

    private static bool Rarely()
    {
        return numbers.Next(16) == 0;
    }

    private static int Any(int low = -3, int high = 40)
    {
        return Rarely() ? new[] { int.MinValue, int.MaxValue, -1, 0, 1 << 20, 1 << 30 }[numbers.Next(6)]
            : numbers.Next(low, high + 1);
    }

    private static double Real(double size = 40)
    {
        if (Rarely())
            return new[] { double.NaN, double.PositiveInfinity, -1e300, 1e8, 1e-300, 0 }[numbers.Next(6)];
        switch (numbers.Next(3)) {
        case 0: return (numbers.NextDouble() * 2 - 1) * size;
        case 1: return numbers.Next(-4, 5) * size / 8;
        default: return numbers.NextDouble() * 2 - 1;
        }
    }

    private static bool Coin()
    {
        return numbers.Next(2) == 0;
    }

    // Mostly one of the last, so that two that are asked for fit one another.
    private static Image Some(int depth = 0)
    {
        if (numbers.Next(200) == 0)
            return Disposed(new Image(3, 3));
        Image[] fitting = made.Where(i => depth == 0 || i.Depth == depth).ToArray();
        if (fitting.Length > 0 && numbers.Next(5) > 0)
            return fitting[fitting.Length - 1 - numbers.Next(Math.Min(6, fitting.Length))];
        int[] size = new[] { new[] { 16, 12 }, new[] { 16, 12 }, new[] { 7, 5 }, new[] { 33, 4 },
            new[] { 1, 9 }, new[] { 9, 1 }, new[] { 40, 40 } }[numbers.Next(7)];
        Image image = RandomImage(size[0], size[1], depth == 0 ? Depths[numbers.Next(4)] : depth);
        if (numbers.Next(5) == 0) {
            int x = numbers.Next(image.Width), y = numbers.Next(image.Height);
            image.Region = new QuibRect(x, y, numbers.Next(x, image.Width) + 1,
                numbers.Next(y, image.Height) + 1);
        }
        if (numbers.Next(7) == 0)
            image.Mask = RandomImage(numbers.Next(1, 41), numbers.Next(1, 31), 1);
        return Noted(image);
    }

    private static Image Noted(Image image)
    {
        if (made.Count > 12)
            made.RemoveAt(0);
        made.Add(image);
        return image;
    }

    private static Image Mate(Image image)
    {
        if (numbers.Next(100) == 0)
            return null;
        return Coin() ? Noted(image.Copy()) : Coin() ? image : Some(Coin() ? image.Depth : 0);
    }

    private static QuibRect Rect()
    {
        return Coin() ? new QuibRect(Any(-5, 20), Any(-5, 20), Any(-5, 20), Any(-5, 20))
            : new QuibRect(0, 0, numbers.Next(1, 10), numbers.Next(1, 8));
    }

    private static QuibRect? Maybe()
    {
        return Coin() ? (QuibRect?)null : Rect();
    }

    private static double[,] Numbers(int rows, int columns)
    {
        double[,] found = new double[rows + (Rarely() ? 1 : 0), columns];
        double[,] corners = { { 0, 0 }, { 15, 0 }, { 15, 11 }, { 0, 11 } };
        bool wild = numbers.Next(3) == 0;
        for (int i = 0; i < found.GetLength(0); ++i)
            for (int j = 0; j < columns; ++j)
                found[i, j] = wild ? Real() : columns == 2 ? corners[i % 4, j] + numbers.NextDouble() * 6 - 3
                    : i == 2 ? (j == 2 ? 1 : numbers.NextDouble() / 50 - .01)
                    : numbers.NextDouble() * 4 - 2 + (i == j ? 1 : 0);
        return found;
    }

    private static Kernel SomeKernel(int columns = 0, int rows = 0)
    {
        int[,] taps = new int[rows > 0 ? rows : numbers.Next(1, 7),
            columns > 0 ? columns : numbers.Next(1, 7)];
        int top = new[] { 3, 120, int.MaxValue }[numbers.Next(3)];
        for (int j = 0; j < taps.GetLength(0); ++j)
            for (int i = 0; i < taps.GetLength(1); ++i)
                taps[j, i] = numbers.Next(-top, top);
        Kernel kernel = new Kernel(taps, new[] { 0, 1, 8, 31, int.MaxValue }[numbers.Next(5)]);
        return Rarely() ? Disposed(kernel) : kernel;
    }

    private static Surface SomeSurface(Image image)
    {
        int bits = new[] { 15, 16, 24, 32 }[numbers.Next(4)];
        return numbers.Next(10) > 0 ? new Surface(image.Width, image.Height, bits) : new Surface(5, 5, bits);
    }

    private static byte[] Dib(int runs)
    {
        int bits = new[] { 1, 8, 24, 32, 8, 16 }[numbers.Next(6)];
        int[] words = { 40, 9, 7, 1 | bits << 16, runs, 0, 0, 0, 0, 0 };
        if (numbers.Next(5) < 2)
            words[numbers.Next(10)] = new[] { 0, 1, 2, 3, 41, 255, 257, 0x8000, 0x8001, 1 << 30,
                int.MaxValue, -1 }[numbers.Next(12)];
        byte[] rows = new byte[new[] { 0, 1300, 3000 }[numbers.Next(3)]];
        numbers.NextBytes(rows);
        if (runs == 1 && numbers.Next(3) > 0)
            rows = Runs(Joined(Enumerable.Range(0, 7).SelectMany(i =>
                new byte[] { 5, 1, 0, 4, 1, 2, 3, 4, 0, 0 }).ToArray(), new byte[] { 0, 1 }));
        return Joined(words.SelectMany(BitConverter.GetBytes).ToArray(), rows);
    }

    private static string FileOf(string good)
    {
        return new[] { Path.Combine(root, good), Path.Combine(root, good), "nosuch", scratch, "nul\0l",
            Path.Combine(root, "README.md"), null }[numbers.Next(7)];
    }

    // Every kind of call, by its name.
    private static Dictionary<string, Action> Calls(Image a, Image b)
    {
        Dictionary<string, Action> calls = PixelCalls(a, b);
        foreach (var more in new[] { LayerCalls(a, b), GeometryCalls(a, b), FilterCalls(a, b),
            InterchangeCalls(a) })
            foreach (var call in more)
                calls.Add(call.Key, call.Value);
        return calls;
    }

    private static Dictionary<string, Action> PixelCalls(Image a, Image b)
    {
        return new Dictionary<string, Action> {
            { "Image", () => Noted(new Image(Any(), Any(), Depths[numbers.Next(4)], (uint)Any())) },
            { "Uninitialized", () => Image.Uninitialized(Any(), Any(), Any(0, 32) & ~7).Dispose() },
            { "Fill", () => a.Fill((uint)Any(0, 300)) },
            { "Fill area", () => a.Fill((uint)Any(0, 9), Rect()) },
            { "Info", () => a.Info() }, { "HasSizeOf", () => a.HasSizeOf(b) },
            { "GetRow", () => a.GetRow(Any()) }, { "IsBlack", () => a.IsBlack((uint)Any()) },
            { "SetRow", () => a.SetRow(Any(), new byte[Coin() ? (a.Width * a.Depth + 7) / 8 : 5]) },
            { "Region", () => a.Region = Maybe() },
            { "Mask", () => a.Mask = Coin() ? null : Some(1) },
            { "Clone", () => Noted(a.Clone()) }, { "Copy", () => Noted(a.Copy()) },
            { "CopyTo", () => a.CopyTo(b) },
            { "Add", () => a.Add(Any()).Dispose() },
            { "Multiply", () => a.Multiply(Any()).Dispose() },
            { "MultiplyScaled", () => a.MultiplyScaled(Any()).Dispose() },
            { "Square", () => a.Square().Dispose() }, { "Abs", () => a.Abs().Dispose() },
            { "Add two", () => a.Add(b).Dispose() }, { "Subtract", () => a.Subtract(b).Dispose() },
            { "Multiply two", () => a.Multiply(b).Dispose() },
            { "MultiplyScaled two", () => a.MultiplyScaled(b).Dispose() },
            { "ShiftLeft", () => a.ShiftLeft(Any()).Dispose() },
            { "ShiftRight", () => a.ShiftRight(Any()).Dispose() },
            { "Invert", () => a.Invert().Dispose() }, { "And", () => a.And(Any()).Dispose() },
            { "Or", () => a.Or(Any()).Dispose() }, { "Xor", () => a.Xor(Any()).Dispose() },
            { "And two", () => a.And(b).Dispose() }, { "Or two", () => a.Or(b).Dispose() },
            { "Xor two", () => a.Xor(b).Dispose() }, { "ToGray", () => a.ToGray().Dispose() },
            { "Brightness", () =>
                Some(32).BrightnessAndContrast(Any(), Any(), (ToneChannel)Any(0, 3)).Dispose() },
            { "Brightness into", () =>
                a.BrightnessAndContrast(b, Any(), Any(), (ToneChannel)Any(0, 4)) },
            { "Hue", () => Some(32).HueAndSaturation(Any(-400, 400), Any()).Dispose() },
            { "Hue into", () => a.HueAndSaturation(b, Any(), Any()) },
            { "BitonalToGray", () => Some(1).BitonalToGray((byte)Any(), (byte)Any()).Dispose() },
            { "Interlace", () => a.Interlace((Field)Any(0, 1)) },
            { "UnInterlace", () => a.UnInterlace(b).Dispose() },
            { "UnInterlace into", () => a.UnInterlace(b, Mate(a)) },
        };
    }

    private static Dictionary<string, Action> LayerCalls(Image a, Image b)
    {
        return new Dictionary<string, Action> {
            { "Over", () => Some(32).Over(Some(32)).Dispose() },
            { "Over into", () => a.Over(b, Mate(a)) },
            { "SimplyOver", () => Some(32).SimplyOver(Some(32)).Dispose() },
            { "SimplyOver into", () => a.SimplyOver(b, Mate(a)) },
            { "DrawOn", () => Some(32).DrawOn(Some(32), Any(-40), Any(-40), Maybe()) },
            { "CompositeWith", () =>
                Some(32).CompositeWith(Some(32), (Composite)Any(0, 5), Coin(), Coin(),
                Maybe(), Maybe(), Maybe()).Dispose() },
            { "CompositeWithAlphas", () =>
                Some(32).CompositeWithAlphas(Some(32), (Composite)Any(0, 5),
                (byte)Any(), (byte)Any(), Maybe(), Maybe(), Maybe()).Dispose() },
            { "SetAlpha", () => Some(32).SetAlpha((byte)Any()) },
            { "SetAlpha area", () => Some(32).SetAlpha((byte)Any(), Rect()) },
            { "SetAlpha plane", () => Some(32).SetAlpha(Some(8), Any(0, 100)) },
            { "ScaleAlpha", () => Some(32).ScaleAlpha(Any(0, 100)) },
            { "DrawTo", () => a.DrawTo(SomeSurface(a)) },
            { "DrawTo7", () => a.DrawTo7(SomeSurface(a)) },
            { "DrawTo16", () => a.DrawTo16(SomeSurface(a)) },
            { "ReadFrom", () => a.ReadFrom(SomeSurface(a)) },
            { "Surface.Interlace", () => SomeSurface(a).Interlace((Field)Any(0, 1)) },
            { "At", () => a.DrawTo(Surface.At(Coin() ? SomeSurface(a).Interface : (IntPtr)Any())) },
        };
    }

    private static Dictionary<string, Action> GeometryCalls(Image a, Image b)
    {
        Func<ResizeMode> mode = () =>
            (ResizeMode)new[] { 0, 1, 2, 3, 0x7000, 0x7001, Any() }[numbers.Next(7)];
        Func<Interpolation> way = () => (Interpolation)Any(0, 2);
        Func<double> angle = () => new[] { 90, 180, 45, 89.99999999, Real(720) }[numbers.Next(5)];
        return new Dictionary<string, Action> {
            { "Resize", () => a.Resize(Any(), Any(), mode()).Dispose() },
            { "Resize into", () => a.Resize(b, mode()) },
            { "ResizeFit", () => a.ResizeFit(Any(), Any(), mode()).Dispose() },
            { "ResizeFit into", () => a.ResizeFit(b, mode()) },
            { "Blt", () => a.Blt(Rect(), b, Rect(), Coin()) },
            { "PanZoom", () => a.PanZoom(Real(), Real(4), Real(), Real(4), b, mode()) },
            { "PanZoom area", () =>
                a.PanZoom(Real(4), Real(2), Real(4), Real(2), b, numbers.Next(3),
                numbers.NextDouble(), Coin() ? 5 : Real(), Coin() ? 4.5 : Real(), mode()) },
            { "Flip", () => a.Flip((FlipAxis)Any(-1, 1)).Dispose() },
            { "Flip into", () => a.Flip(b, (FlipAxis)Any(-1, 1)) },
            { "Rotate", () => a.Rotate(angle(), Any(), Any(), way(), Coin()).Dispose() },
            { "Rotate into", () => a.Rotate(b, angle(), Any(), Any(), way(), Coin()) },
            { "Rotate3D", () => Some(32).Rotate3D(angle(), (RotationAxis)Any(1, 3)).Dispose() },
            { "WarpAffine", () => Some(32).WarpAffine(Numbers(2, 3), way(), Coin()).Dispose() },
            { "WarpPerspective", () =>
                Some(32).WarpPerspective(Numbers(3, 3), Coin(), way(), Coin()).Dispose() },
            { "WarpQuad", () => a.WarpQuad(Numbers(4, 2), way(), Coin(), Coin()).Dispose() },
            { "WarpQuad into", () => a.WarpQuad(b, Numbers(4, 2), way(), Coin(), Coin()) },
            { "WarpQuadByEngine", () =>
                a.WarpQuadByEngine(Numbers(4, 2), way(), Coin(), Coin()).Dispose() },
            { "WarpQuadByEngine into", () =>
                a.WarpQuadByEngine(b, Numbers(4, 2), way(), Coin(), Coin()) },
            { "PerspectiveQuad", () => a.PerspectiveQuad(Numbers(3, 3)) },
            { "PerspectiveTransform", () => a.PerspectiveTransform(Numbers(4, 2)) },
        };
    }

    private static Dictionary<string, Action> FilterCalls(Image a, Image b)
    {
        Func<int?> anchor = () => Coin() ? (int?)null : Any(0, 4);
        Func<int> side = () => Coin() ? 3 : Any(1, 50);
        return new Dictionary<string, Action> {
            { "Max", () => a.Max(side(), side(), anchor(), anchor()).Dispose() },
            { "Min", () => a.Min(side(), side(), anchor(), anchor()).Dispose() },
            { "Median", () => a.Median(side(), side(), anchor(), anchor()).Dispose() },
            { "Blur", () => a.Blur(side(), side(), anchor(), anchor()).Dispose() },
            { "ColorMedian", () =>
                Some(24).ColorMedian(Any(1, 4), Any(1, 4), anchor(), anchor()).Dispose() },
            { "DecimateBlur", () => a.DecimateBlur(side(), side()).Dispose() },
            { "DecimateBlur into", () => a.DecimateBlur(b, side(), side()) },
            { "FixedFilter", () => a.FixedFilter((FixedWindow)Any(0, 10)).Dispose() },
            { "Convolve taps", () => a.Convolve(new[,] { { Any(), Any() } }, Any()).Dispose() },
            { "Convolve one", () => a.Convolve(SomeKernel()).Dispose() },
            { "Convolve", () =>
                a.Convolve(Enumerable.Range(0, new[] { 1, 2, 10, 11 }[numbers.Next(4)])
                .Select(i => SomeKernel()).ToArray(), (Combine)Any(0, 4)).Dispose() },
            { "ConvolveSeparable", () => a.ConvolveSeparable(SomeKernel(0, numbers.Next(1, 3)),
                SomeKernel(numbers.Next(1, 3))).Dispose() },
            { "Kernel", () => new Kernel(new int[2, 3], Any(0, 2), Any(0, 1), Any()).Dispose() },
            { "Kernel small", () =>
                new Kernel(new sbyte[2, 3], Any(0, 2), Any(0, 1), Any()).Dispose() },
            { "Taps", () => SomeKernel().Taps.ToString() },
            { "SmallTaps", () => SomeKernel().SmallTaps.ToString() },
        };
    }

    private static Dictionary<string, Action> InterchangeCalls(Image a)
    {
        Image first, second;
        return new Dictionary<string, Action> {
            { "FromDib", () => Image.FromDib(Dib(new[] { 0, 0, 1, 2, 3 }[numbers.Next(5)]),
                new[] { 0, 8, 32, Any() }[numbers.Next(4)]).Dispose() },
            { "FromDibParts", () => {
                byte[] dib = Dib(new[] { 0, 0, 1, 3 }[numbers.Next(4)]);
                Image.FromDibParts(dib.AsSpan(0, 40), dib.AsSpan(40)).Dispose();
            } },
            { "ToDib", () => a.ToDib() },
            { "ToDib into", () => {
                byte[] dib = Coin() ? Dib(0) : Joined(Header(a.Width, a.Height, a.Depth == 1 ? 8 : 24),
                    new byte[numbers.Next(8000)]);
                a.ToDib(dib);
            } },
            { "LoadBmp", () => Image.LoadBmp(FileOf("examples/images/cat.bmp")).Dispose() },
            { "LoadPsd", () =>
                Image.LoadPsd(FileOf("tests/zxdll/files/agpsd_runs.psd"), out first, out second) },
            { "Device", () => a.DrawTo(new Device(9, 9, Coin() ? 24 : 32), Any(), Any()) },
            { "Context", () => a.DrawTo((IntPtr)Any(), Any(), Any()) },
        };
    }

    private static void TestHostileCalls()
    {
        made = new List<Image>();
        var well = new Dictionary<string, int>();
        string running = Path.Combine(scratch, "running");
        string[] names = Calls(null, null).Keys.ToArray();
        for (int i = 0; i < 12000; ++i) {
            Image a = Some();
            string name = names[numbers.Next(names.Length)];
            if (i % 50 == 0)
                File.WriteAllText(running, "TestHostileCalls, call " + i + " or one of the 50 after it");
            try {
                Calls(a, Mate(a))[name]();
                int before;
                well.TryGetValue(name, out before);
                well[name] = before + 1;
            } catch (Exception error) when (error is ArgumentException || error is QuibException ||
                error is OutOfMemoryException || error is IOException || error is InvalidDataException ||
                error is UnauthorizedAccessException || error is ObjectDisposedException) {
            }
        }
        Equal("", string.Join(", ", names.Where(name => !well.ContainsKey(name))));
    }

    // --- Memory --------------------------------------------------------------------

    [StructLayout(LayoutKind.Sequential)]
    private struct Limit
    {
        public UIntPtr now, most;
    }

    [DllImport("libc")]
    private static extern int setrlimit(int resource, ref Limit limit);

    // Prints how many calls were refused for want of memory, and how many were not.
    private static int WhereMemoryRunsOut()
    {
        const int AddressSpace = 9;
        Image image = new Image(6000, 6000, 32, 5), colors = new Image(6000, 6000, 24);
        Kernel kernel = new Kernel(new int[9, 9]);
        ulong allowed = (ulong)(Statm(0) + (300L << 20));
        Limit limit = new Limit { now = new UIntPtr(allowed), most = new UIntPtr(allowed) };
        if (setrlimit(AddressSpace, ref limit) != 0)
            return 2;
        int refused = 0, others = 0;
        foreach (Func<Image> call in new Func<Image>[] {
            () => image.Blur(9, 9), () => image.Median(9, 9), () => image.Add(image),
            () => image.Convolve(kernel), () => image.Rotate(33, 9, 9), () => image.Clone(),
            () => colors.ColorMedian(3, 3), () => image.Resize(10000, 10000),
            () => image.WarpQuad(new double[,] { { 0, 0 }, { 5999, 9 }, { 5000, 5400 }, { 0, 5999 } }),
            () => image.CompositeWith(image, Composite.Over), () => image.DecimateBlur(9, 9),
            () => new Image(12000, 12000), () => Image.FromDib(image.ToDib()),
            () => image.Rotate3D(45, RotationAxis.Plane), () => image.UnInterlace(image) })
            try {
                call().Dispose();
                ++others;
            } catch (OutOfMemoryException) {
                ++refused;
            }
        using (Image small = image.Resize(100, 100))
            Console.WriteLine(refused + " refused, " + others + " not, " + small.Width);
        return 0;
    }
}
