using System;
using System.IO;
using System.Linq;
using QuibTool;

internal static partial class Tests
{
    private static readonly double[,] Quad = { { 0, 0 }, { 7, 0 }, { 7, 5 }, { 0, 5 } };
    private static readonly double[,] Concave = { { 0, 0 }, { 7, 0 }, { 2, 2 }, { 0, 5 } };
    private static readonly double[,] Identity = { { 1, 0, 0 }, { 0, 1, 0 }, { 0, 0, 1 } };

    private static Image Plain(int depth = 32, int width = 8, int height = 6)
    {
        return new Image(width, height, depth);
    }

    // With a region of one column.
    private static Image Narrow(int depth = 32)
    {
        return new Image(20, 20, depth) { Region = new QuibRect(3, 3, 4, 8) };
    }

    private static Image Masked(int depth = 32)
    {
        return new Image(8, 6, depth) { Mask = new Image(8, 6, 1, 1) };
    }

    private static T Disposed<T>(T one) where T : IDisposable
    {
        one.Dispose();
        return one;
    }

    // An exception that names the argument.
    private static void Bad(string name, Action action)
    {
        try {
            action();
        } catch (ArgumentException error) {
            Equal(name, error.ParamName, error.Message);
            return;
        }
        throw new Exception("nothing was thrown that names " + name);
    }

    private static void TestRefusalsOfImages()
    {
        Image image = Plain(), gray = Plain(8);
        Bad("width", () => new Image(0, 5));
        Bad("height", () => new Image(5, -1));
        Bad("depth", () => new Image(5, 5, 16));
        Bad("fill", () => new Image(5, 5, 8, 256));
        Bad("fill", () => new Image(5, 5, 1, 2));
        Bad("width", () => Image.Uninitialized(int.MinValue, 5));
        Throws<OutOfMemoryException>("2 GiB", () => new Image(int.MaxValue, int.MaxValue));
        Throws<OutOfMemoryException>("2 GiB", () => new Image(int.MaxValue, 1));
        Throws<OutOfMemoryException>("2 GiB", () => Image.Uninitialized(40000, 40000));
        Bad("color", () => gray.Fill(256));
        Bad("color", () => Plain(1).Fill(2, new QuibRect(0, 0, 1, 1)));
        Bad("area", () => image.Fill(0, new QuibRect(5, 5, 5, 9)));
        Bad("row", () => image.GetRow(6));
        Bad("row", () => image.SetRow(-1, new byte[32]));
        Bad("values", () => image.SetRow(0, new byte[3]));
        Bad("values", () => image.SetRow(0, null));
        Bad("action", () => image.WithPixels(null));
        Bad("target", () => image.CopyTo(Plain(32, 7)));
        Bad("target", () => image.CopyTo(gray));
        Bad("other", () => image.HasSizeOf(null));
        Bad("Region", () => image.Region = new QuibRect(0, 0, 9, 6));
        Bad("Region", () => image.Region = new QuibRect(-1, 0, 2, 2));
        Bad("Region", () => image.Region = new QuibRect(2, 2, 2, 4));
        Bad("Mask", () => image.Mask = gray);
        Bad("Mask", () => image.Mask = image);
        Image bits = Plain(1), other = Plain(1);
        bits.Mask = other;
        Bad("Mask", () => image.Mask = bits);
        image.Mask = other;
        other.Mask = Plain(1); // a mask with a mask
        Bad("Mask", () => image.Invert());
    }

    private static void TestRefusalsOfWhatIsDisposed()
    {
        Image image = Plain(), gone = Disposed(Plain());
        Throws<ObjectDisposedException>("this", () => gone.Clone());
        Throws<ObjectDisposedException>("this", () => gone.Width.ToString());
        Throws<ObjectDisposedException>("this", () => gone.Resize(3, 3));
        Throws<ObjectDisposedException>("this", () => gone.ToDib());
        Throws<ObjectDisposedException>("this", () => gone.Region = null);
        Throws<ObjectDisposedException>("this", () => gone.Mask = null);
        Throws<ObjectDisposedException>("this", () => gone.CopyTo(image));
        Throws<ObjectDisposedException>("this", () => gone.UnInterlace(image, image));
        Throws<ObjectDisposedException>("odd", () => image.UnInterlace(gone, image));
        Throws<ObjectDisposedException>("target", () => image.UnInterlace(image, gone));
        Throws<ObjectDisposedException>("under", () => image.Over(gone));
        Throws<ObjectDisposedException>("target", () => image.Flip(gone, FlipAxis.Rows));
        Throws<ObjectDisposedException>("plane", () => image.SetAlpha(gone));
        Throws<ObjectDisposedException>("Mask", () => {
            image.Mask = Plain(1);
            image.Mask.Dispose();
            image.Invert();
        });
        image.Mask = null;
        gone.Dispose(); // twice is nothing
        Throws<ObjectDisposedException>("kernel", () => image.Convolve(Disposed(new Kernel(new int[1, 1]))));
        Throws<ObjectDisposedException>("this", () =>
            Disposed(new Kernel(new int[1, 1])).SmallTaps.ToString());
        Throws<ObjectDisposedException>("device", () => image.DrawTo(Disposed(new Device(3, 3)), 0, 0));
        Throws<ObjectDisposedException>("this", () => Disposed(new Device(3, 3)).Context.ToString());
        Throws<ObjectDisposedException>("this", () => Disposed(new Device(3, 3)).WithPixels(p => { }));
        Throws<ObjectDisposedException>("surface", () => image.DrawTo(Disposed(new Surface(8, 6))));
        Throws<ObjectDisposedException>("surface", () => image.ReadFrom(Disposed(new Surface(8, 6))));
        Throws<ObjectDisposedException>("this", () => Disposed(new Surface(8, 6)).Interlace(Field.Even));
        Throws<ObjectDisposedException>("this", () => Disposed(new Surface(8, 6)).Bits.ToString());
        Throws<ObjectDisposedException>("this", () => Disposed(new Surface(8, 6)).Interface7.ToString());
        image.Handle.Dispose(); // behind the image's back
        Throws<ObjectDisposedException>("this", () => image.Clone());
    }

    private static void TestRefusalsOfPixelOperations()
    {
        Image image = Plain(), gray = Plain(8), bits = Plain(1);
        foreach (Func<Image, Image, Image> call in new Func<Image, Image, Image>[] {
            (a, b) => a.Add(b), (a, b) => a.Subtract(b), (a, b) => a.Multiply(b), (a, b) => a.And(b),
            (a, b) => a.Or(b), (a, b) => a.Xor(b), (a, b) => a.MultiplyScaled(b) }) {
            Bad("other", () => call(image, gray));
            Bad("other", () => call(image, null));
        }
        Bad("this", () => bits.MultiplyScaled(5));
        Bad("this", () => bits.MultiplyScaled(bits));
        Bad("bits", () => image.ShiftLeft(-1));
        Bad("bits", () => image.ShiftRight(int.MinValue));
        Bad("this", () => gray.BrightnessAndContrast(1, 1));
        Bad("channel", () => image.BrightnessAndContrast(1, 1, (ToneChannel)4));
        Bad("target", () => image.BrightnessAndContrast(Plain(32, 9), 1, 1));
        Bad("this", () => gray.HueAndSaturation(1, 1));
        Bad("target", () => image.HueAndSaturation(gray, 1, 1));
        Bad("this", () => gray.HueAndSaturation(Plain(8), 1, 1));
        Bad("this", () => gray.ToGray());
        Bad("this", () => gray.BitonalToGray());
        Bad("keep", () => image.Interlace((Field)2));
        Bad("odd", () => image.UnInterlace(gray));
        Bad("odd", () => image.UnInterlace(gray, image));
        Bad("target", () => image.UnInterlace(image, Plain(32, 8, 7)));
    }

    private static void TestRefusalsOfComposition()
    {
        Image image = Plain(), gray = Plain(8);
        QuibRect outside = new QuibRect(9, 9, 10, 10);
        Bad("under", () => image.Over(null));
        Bad("under", () => image.Over(gray));
        Bad("this", () => gray.Over(image));
        Bad("under", () => image.SimplyOver(gray));
        Bad("this", () => gray.Over(image, Plain()));
        Bad("under", () => image.SimplyOver(gray, Plain(8)));
        Bad("target", () => image.Over(image, Plain(32, 9)));
        Bad("target", () => image.SimplyOver(image, gray));
        Bad("this", () => gray.DrawOn(image, 0, 0));
        Bad("under", () => image.DrawOn(gray, 0, 0));
        Bad("x", () => image.DrawOn(image, int.MinValue, 0));
        Bad("y", () => image.DrawOn(image, 0, int.MaxValue));
        Bad("area", () => image.DrawOn(image, 0, 0, outside));
        Bad("kind", () => image.CompositeWith(image, (Composite)6));
        Bad("other", () => image.CompositeWith(gray, Composite.In));
        Bad("area", () => image.CompositeWith(image, Composite.In, false, false, outside));
        Bad("otherArea", () => image.CompositeWithAlphas(image, Composite.In, 1, 1, null, outside));
        Bad("resultArea", () => image.CompositeWithAlphas(image, Composite.In, 1, 1, null, null, outside));
        Bad("this", () => gray.CompositeWithAlphas(image, Composite.In, 1, 1));
        Bad("other", () => image.CompositeWithAlphas(gray, Composite.In, 1, 1));
        Bad("kind", () => image.CompositeWithAlphas(image, (Composite)(-1), 1, 1));
        Bad("this", () => gray.SetAlpha(5));
        Bad("this", () => gray.SetAlpha(5, new QuibRect(0, 0, 1, 1)));
        Bad("area", () => image.SetAlpha(5, outside));
        Bad("this", () => gray.SetAlpha(gray));
        Bad("plane", () => image.SetAlpha(Plain(8, 7)));
        Bad("plane", () => image.SetAlpha(image));
        Bad("percent", () => image.SetAlpha(gray, 101));
        Bad("percent", () => image.ScaleAlpha(-1));
        Bad("this", () => gray.ScaleAlpha(1));
    }

    private static void TestRefusalsOfSizes()
    {
        Image image = Plain(), gray = Plain(8), colors = Plain(24);
        QuibRect whole = new QuibRect(0, 0, 8, 6), half = new QuibRect(0, 0, 4, 6);
        Bad("width", () => image.Resize(0, 5));
        Throws<OutOfMemoryException>("2 GiB", () => image.Resize(60000, 60000));
        Bad("target", () => image.Resize(gray));
        Bad("target", () => image.Resize(image));
        Bad("mode", () => image.Resize(4, 4, (ResizeMode)7));
        Bad("mode", () => image.Resize(9, 4, ResizeMode.Area));
        Bad("mode", () => colors.Resize(4, 4, ResizeMode.PairsLinear));
        Bad("mode", () => image.Resize(4, 5, ResizeMode.PairsLinear));
        Bad("target", () => image.ResizeFit(gray));
        Bad("target", () => image.ResizeFit(image));
        Bad("mode", () => image.ResizeFit(4, 4, ResizeMode.PairsNearest));
        Bad("mode", () => Narrow().ResizeFit(2, 2, ResizeMode.Area));
        Bad("this", () => Masked(24).Resize(9, 9));
        Bad("target", () => Plain().ResizeFit(Masked()));
        Bad("from", () => image.Blt(new QuibRect(0, 0, 9, 6), image, whole));
        Bad("to", () => image.Blt(whole, image, new QuibRect(-1, 0, 7, 6)));
        Bad("target", () => image.Blt(half, image, whole));
        Bad("target", () => image.Blt(whole, colors, whole));
        Bad("this", () => Masked(24).Blt(half, Plain(24), whole));
        Image target = Plain();
        Bad("target", () => image.PanZoom(0, 1, 0, 1, gray));
        Bad("target", () => image.PanZoom(0, 1, 0, 1, image));
        Bad("mode", () => image.PanZoom(0, 1, 0, 1, target, ResizeMode.Area));
        Bad("mode", () => gray.PanZoom(0, .5, 0, .5, Plain(8), ResizeMode.Area));
        Bad("x", () => image.PanZoom(double.NaN, 1, 0, 1, target));
        Bad("stepY", () => image.PanZoom(0, 1, 0, 1e9, target));
        Bad("stepX", () => image.PanZoom(0, double.NaN, 0, 1, target));
        Bad("y", () => image.PanZoom(0, 1, double.PositiveInfinity, 1, target));
        Bad("right", () => image.PanZoom(0, 1, 0, 1, target, 0, 0, 9, 6));
        Bad("top", () => image.PanZoom(0, 1, 0, 1, target, 0, double.NaN, 8, 6));
        Bad("this", () => Masked(8).PanZoom(0, 1, 0, 1, Plain(8)));
        Throws<QuibException>("QUIB_BAD_ARGUMENT", () => image.PanZoom(100, 1, 0, 1, target));
    }

    private static void TestRefusalsOfTurns()
    {
        Image image = Plain(), gray = Plain(8);
        Bad("axis", () => image.Flip((FlipAxis)2));
        Bad("target", () => image.Flip(Plain(32, 6, 8), FlipAxis.Rows));
        Image masked = Masked();
        Bad("target", () => masked.Flip(masked, FlipAxis.Rows));
        Bad("angle", () => image.Rotate(double.NaN, 0, 0));
        Bad("xCenter", () => image.Rotate(5, int.MaxValue, 0));
        Bad("yCenter", () => image.Rotate(5, 0, int.MinValue));
        Bad("interpolation", () => image.Rotate(5, 0, 0, (Interpolation)3));
        Bad("this", () => Narrow().Rotate(5, 0, 0));
        Bad("this", () => Plain(8, 1).Rotate(5, 0, 0));
        Bad("target", () => image.Rotate(gray, 5, 0, 0));
        Bad("target", () => image.Rotate(image, 5, 0, 0));
        Bad("axis", () => image.Rotate3D(5, (RotationAxis)4));
        Bad("angle", () => image.Rotate3D(double.NegativeInfinity, RotationAxis.Plane));
        Bad("angle", () => image.Rotate3D(89.9999999999, RotationAxis.Horizontal));
        Bad("this", () => gray.Rotate3D(5, RotationAxis.Horizontal));
        Bad("this", () => Narrow().Rotate3D(5, RotationAxis.Vertical));
    }

    private static void TestRefusalsOfWarps()
    {
        Image image = Plain(), gray = Plain(8);
        Bad("coefficients", () => image.WarpAffine(null));
        Bad("coefficients", () => image.WarpAffine(new double[2, 2]));
        Throws<ArgumentException>("determinant", () =>
            image.WarpAffine(new double[,] { { 1, 2, 0 }, { 2, 4, 0 } }));
        Bad("coefficients", () => image.WarpAffine(new double[,] { { double.NaN, 2, 0 }, { 2, 1, 0 } }));
        Throws<OutOfMemoryException>("GiB", () =>
            image.WarpAffine(new double[,] { { 9e4, 0, 0 }, { 0, 9e4, 0 } }));
        Bad("this", () => gray.WarpAffine(new double[,] { { 1, 0, 0 }, { 0, 1, 0 } }));
        Bad("coefficients", () => image.WarpPerspective(new double[3, 3]));
        Throws<ArgumentException>("convex", () => image.WarpPerspective(
            new double[,] { { 1, 0, 0 }, { 0, 1, 0 }, { -1, 0, 2.5 } }));
        Bad("coefficients", () => image.WarpPerspective(
            new double[,] { { 1, 0, 1e7 }, { 0, 1, 0 }, { 0, 0, 1e-3 } }));
        Bad("coefficients", () => image.WarpPerspective(
            new double[,] { { .1, 0, 0 }, { 0, .1, 0 }, { 0, 0, 1 } }, true));
        Bad("this", () => gray.WarpPerspective(Identity));
        Bad("this", () => Narrow().WarpPerspective(Identity));
        Bad("this", () => Narrow().WarpAffine(new double[,] { { 1, 0, 0 }, { 0, 1, 0 } }));
        Bad("quad", () => image.WarpQuad(null));
        Bad("quad", () => image.WarpQuad(new double[3, 2]));
        Bad("this", () => Plain(24).WarpQuad(Quad));
        Bad("this", () => Plain(24).WarpQuad(Plain(24), Quad));
        Bad("quad", () => image.WarpQuad(new double[,] { { 0, 0 }, { 1e7, 0 }, { 7, 5 }, { 0, 5 } }));
        Bad("this", () => Narrow().WarpQuad(Quad));
        Bad("target", () => image.WarpQuad(Narrow(), Quad, Interpolation.Linear, false, true));
        Bad("target", () => image.WarpQuad(gray, Quad));
        Bad("target", () => image.WarpQuad(image, Quad));
        Bad("quad", () => image.WarpQuadByEngine(Concave));
        Bad("quad", () => image.WarpQuadByEngine(Plain(), Concave));
        Bad("this", () => gray.WarpQuadByEngine(Quad));
        Bad("target", () => image.WarpQuadByEngine(gray, Quad));
        Bad("coefficients", () => image.PerspectiveQuad(new double[2, 3]));
        Bad("quad", () => image.PerspectiveTransform(Concave));
        Bad("this", () => Narrow().PerspectiveTransform(Quad));
    }

    private static void TestRefusalsOfFilters()
    {
        Image image = Plain();
        Kernel one = new Kernel(new int[1, 1]), row = new Kernel(new int[1, 2]),
            column = new Kernel(new int[2, 1]);
        Bad("columns", () => image.Blur(0, 3));
        Bad("rows", () => image.Median(3, int.MaxValue));
        Bad("anchorX", () => image.Max(3, 3, 3, 0));
        Bad("anchorY", () => image.Min(3, 3, 0, -1));
        Bad("this", () => image.ColorMedian(3, 3));
        Throws<OutOfMemoryException>("window", () => Plain(24, 40000, 3).ColorMedian(9, 1 << 16));
        Bad("columns", () => image.DecimateBlur(0, 3));
        Bad("rows", () => image.DecimateBlur(3, 0));
        Bad("target", () => image.DecimateBlur(Plain(32, 9), 3, 3));
        Bad("target", () => image.DecimateBlur(image, 3, 3));
        Bad("kind", () => image.FixedFilter((FixedWindow)11));
        Bad("taps", () => image.Convolve((int[,])null));
        Bad("taps", () => image.Convolve(new int[0, 0]));
        Bad("shift", () => image.Convolve(new int[1, 1], -1));
        Bad("kernel", () => image.Convolve((Kernel)null));
        Bad("kernels", () => image.Convolve((Kernel[])null));
        Bad("kernels", () => image.Convolve(new Kernel[0]));
        Bad("kernels", () => image.Convolve(Enumerable.Repeat(one, 11).ToArray()));
        Bad("kernels", () => image.Convolve(new[] { one, null }));
        Bad("combine", () => image.Convolve(new[] { one }, (Combine)5));
        Bad("row", () => image.ConvolveSeparable(null, one));
        Bad("column", () => image.ConvolveSeparable(row, null));
        Bad("row", () => image.ConvolveSeparable(one, column));
        Bad("row", () => image.ConvolveSeparable(column, column));
        Bad("column", () => image.ConvolveSeparable(row, row));
        Bad("taps", () => new Kernel((int[,])null));
        Bad("taps", () => new Kernel((sbyte[,])null));
        Bad("taps", () => new Kernel(new sbyte[5000, 5000]));
        Bad("anchorX", () => new Kernel(new int[1, 2], 2, 0));
        Bad("anchorY", () => new Kernel(new sbyte[1, 2], 1, -1));
        Bad("shift", () => new Kernel(new int[1, 1], -1));
    }

    private static void TestRefusalsOfInterchange()
    {
        Image image = Plain(), bits = Plain(1), ignored;
        Bad("dib", () => Image.FromDib(new byte[39]));
        Bad("dib", () => Image.FromDib(null));
        Bad("header", () => Image.FromDibParts(new byte[5], new byte[500]));
        Bad("bits", () => Image.FromDibParts(Header(9, 9, 32), new byte[323]));
        Bad("header", () => Image.FromDibParts(Header(9, 9, 8, 9), new byte[500]));
        Throws<OutOfMemoryException>("GiB", () =>
            Image.FromDibParts(Header(40000, 40000, 1), new byte[7 << 20]));
        Bad("this", () => Plain(24).ToDib());
        Bad("this", () => Plain(8).ToDib(new byte[5000]));
        Bad("dib", () => image.ToDib(new byte[39]));
        Bad("dib", () => image.ToDib(null));
        Bad("dib", () => image.ToDib(Joined(Header(8, 6, 24), new byte[6 * 24 - 1])));
        Bad("dib", () => image.ToDib(Joined(Header(8, 5, 24), new byte[500])));
        Bad("dib", () => image.ToDib(Joined(Header(8, 6, 32), new byte[500])));
        Bad("dib", () => image.ToDib(Joined(Header(8, 6, 24, 3), new byte[500])));
        Bad("dib", () => image.ToDib(Joined(Header(8, 6, 24, 0, 1), new byte[500])));
        Bad("dib", () => bits.ToDib(Joined(Header(8, 6, 8), new byte[1024 + 47])));
        Bad("dib", () => bits.ToDib(Joined(Header(8, 6, 8, 1), new byte[5000])));
        Bad("dib", () => bits.ToDib(Joined(Header(8, 6, 8, 0, 257), new byte[5000])));
        Bad("device", () => image.DrawTo((Device)null, 0, 0));
        Bad("context", () => image.DrawTo(IntPtr.Zero, 0, 0));
        Bad("bits", () => new Device(5, 5, 8));
        Bad("width", () => new Device(0, 5));
        Bad("action", () => new Device(5, 5).WithPixels(null));
        Bad("path", () => Image.LoadBmp(null));
        Bad("path", () => Image.LoadBmp("a\0b"));
        Bad("path", () => Image.LoadBmp("lone \uD800.bmp"));
        Bad("path", () => Image.LoadPsd(null, out ignored, out ignored));
        Throws<FileNotFoundException>("nosuch", () => Image.LoadBmp(Path.Combine(scratch, "nosuch.bmp")));
        Throws<FileNotFoundException>("nosuch", () =>
            Image.LoadPsd(Path.Combine(scratch, "nosuch"), out ignored, out ignored));
        Throws<UnauthorizedAccessException>("", () => Image.LoadBmp(scratch));
        Throws<QuibException>("QUIB_BAD_ARGUMENT", () =>
            Image.LoadPsd(Path.Combine(root, "README.md"), out ignored, out ignored));
        string huge = Path.Combine(scratch, "huge.psd");
        File.WriteAllBytes(huge, Joined(System.Text.Encoding.ASCII.GetBytes("8BPS"), new byte[10],
            new byte[] { 0, 1, 0, 0, 0, 1, 0, 0, 0, 8, 0, 3 }));
        Throws<OutOfMemoryException>("65536", () => Image.LoadPsd(huge, out ignored, out ignored));
    }

    private static void TestRefusalsOfSurfaces()
    {
        Image image = Plain();
        Bad("bits", () => new Surface(5, 5, 8));
        Bad("height", () => new Surface(5, 0));
        Throws<OutOfMemoryException>("GiB", () => new Surface(60000, 60000));
        Bad("action", () => new Surface(5, 5).WithPixels(null));
        Bad("surface", () => image.DrawTo((Surface)null));
        Bad("surface", () => image.DrawTo7(null));
        Bad("surface", () => image.DrawTo16(null));
        Bad("surface", () => image.ReadFrom(null));
        Bad("surface", () => image.DrawTo(new Surface(9, 9)));
        Bad("surface", () => image.DrawTo7(new Surface(8, 5)));
        Bad("this", () => Plain(1).DrawTo7(new Surface(8, 6, 16)));
        Bad("this", () => Plain(8).DrawTo7(new Surface(8, 6)));
        Bad("this", () => Plain(1).DrawTo16(new Surface(8, 6, 16)));
        Bad("surface", () => image.DrawTo16(new Surface(8, 6, 24)));
        Bad("surface", () => image.DrawTo16(new Surface(6, 8, 16)));
        Bad("this", () => Plain(8).ReadFrom(new Surface(8, 6)));
        Bad("surface", () => image.ReadFrom(new Surface(8, 6, 15)));
        Bad("surface", () => image.ReadFrom(new Surface(8, 7)));
        Bad("keep", () => new Surface(8, 6).Interlace((Field)(-1)));
    }

    private static void TestStatusesHaveTheirWords()
    {
        QuibException error = new QuibException("QuibFlip", -0x7FFFFFFB);
        Equal("QuibFlip 80000005", error.Function + " " + error.Status.ToString("X8"));
        Equal("QuibFlip: 0x80000005: QUIB_BAD_ARGUMENT: bad argument or bad handle", error.Message);
        Equal("the check of a record failed with -10", QuibException.Meaning(-10));
    }
}
