using System;
using System.Runtime.InteropServices;
using QuibTool;

internal static partial class Tests
{
    // A pixel of a surface as a number of so many bytes.
    private static uint[,] Read(Surface surface)
    {
        uint[,] found = new uint[surface.Height, surface.Width];
        int bytes = (surface.Bits + 7) / 8, step = surface.RowBytes;
        surface.WithPixels(pixels => {
            for (int y = 0; y < found.GetLength(0); ++y)
                for (int x = 0; x < found.GetLength(1); ++x)
                    for (int i = bytes - 1; i >= 0; --i)
                        found[y, x] = found[y, x] << 8 | pixels[y * step + x * bytes + i];
        });
        return found;
    }

    private static void Each(Surface surface, Func<int, int, uint> formula)
    {
        uint[,] found = Read(surface);
        for (int y = 0; y < found.GetLength(0); ++y)
            for (int x = 0; x < found.GetLength(1); ++x)
                Equal(formula(y, x), found[y, x], surface.Bits + " bits, row " + y + ", column " + x);
    }

    private static uint Packed(int[,,] a, int y, int x, int bits)
    {
        uint b = (uint)a[y, x, 0], g = (uint)a[y, x, 1], r = (uint)a[y, x, 2];
        switch (bits) {
        case 15: return r >> 3 << 10 | g >> 3 << 5 | b >> 3;
        case 16: return r >> 3 << 11 | g >> 2 << 5 | b >> 3;
        case 24: return r << 16 | g << 8 | b;
        default: return (uint)a[y, x, 3] << 24 | r << 16 | g << 8 | b;
        }
    }

    private static void TestSurfacesAreDrawn()
    {
        foreach (int bits in new[] { 15, 16, 24, 32 })
            using (Image image = RandomImage(6, 5, 32))
            using (Surface surface = new Surface(6, 5, bits)) {
                int[,,] a = Read(image);
                Func<int, int, uint> drawn = (y, x) => Packed(a, y, x, bits);
                Equal("6 5 " + bits, surface.Width + " " + surface.Height + " " + surface.Bits);
                Action clear = () => surface.WithPixels(pixels => pixels.Fill(0x5A));
                image.DrawTo(surface);
                Each(surface, drawn);
                clear();
                image.DrawTo7(surface);
                Each(surface, drawn);
                clear();
                if (bits > 16)
                    Bad("surface", () => image.DrawTo16(surface));
                else
                    image.DrawTo16(surface);
                Each(surface, (y, x) => bits > 16 ? (bits == 24 ? 0x5A5A5Au : 0x5A5A5A5Au) : drawn(y, x));
            }
    }

    private static void TestSurfacesAreRead()
    {
        using (Image image = RandomImage(6, 5, 32))
        using (Image back = new Image(6, 5, 32), colors = new Image(6, 5, 24)) {
            int[,,] a = Read(image);
            foreach (int bits in new[] { 24, 32 })
                using (Surface surface = new Surface(6, 5, bits)) {
                    image.DrawTo(surface);
                    back.Fill(0);
                    back.ReadFrom(surface);
                    Each(back, (y, x, c) => c == 3 ? 255 : a[y, x, c]);
                    if (bits == 32) {
                        colors.ReadFrom(surface);
                        Each(colors, (y, x, c) => a[y, x, c]);
                    }
                }
        }
    }

    private static void TestFieldsOfSurfaces()
    {
        using (Image image = RandomImage(4, 5, 32))
        using (Surface surface = new Surface(4, 5, 32)) {
            int[,,] a = Read(image);
            image.DrawTo(surface);
            surface.Interlace(Field.Odd);
            Each(surface, (y, x) => Packed(a, Math.Min(y | 1, 4), x, 32));
            image.DrawTo(surface);
            surface.Interlace(Field.Even);
            Each(surface, (y, x) => Packed(a, y - y % 2, x, 32));
        }
    }

    // By the addresses of its interfaces a surface is like the caller's.
    private static void TestSurfacesOfTheCallers()
    {
        using (Image image = RandomImage(6, 5, 32))
        using (Surface surface = new Surface(6, 5, 16)) {
            int[,,] a = Read(image);
            Surface older = Surface.At(surface.Interface), newer = Surface.At7(surface.Interface7);
            Equal("6 5 16 12", older.Width + " " + older.Height + " " + older.Bits + " " + older.RowBytes);
            Equal("6 5 16", newer.Width + " " + newer.Height + " " + newer.Bits);
            foreach (Action draw in new Action[] { () => image.DrawTo(older),
                () => image.DrawTo16(older), () => image.DrawTo7(newer) }) {
                surface.WithPixels(pixels => pixels.Clear());
                draw();
                Each(surface, (y, x) => Packed(a, y, x, 16));
            }
            older.Interlace(Field.Even);
            Each(surface, (y, x) => Packed(a, y - y % 2, x, 16));
            Bad("surface", () => image.DrawTo(newer));
            Bad("surface", () => image.DrawTo7(older));
            Bad("surface", () => newer.Interlace(Field.Even));
            Bad("surface", () => new Image(5, 6).DrawTo(older));
            Throws<InvalidOperationException>("in memory", () => older.WithPixels(pixels => { }));
            older.Dispose();
            Throws<ObjectDisposedException>("surface", () => image.DrawTo(older));
            image.DrawTo(surface); // which is left alone
        }
    }

    [UnmanagedFunctionPointer(CallingConvention.Winapi)]
    private delegate int Method(IntPtr self, IntPtr argument);

    // A surface of the caller's that has been lost.
    private static void TestSurfacesThatDoNotTellTheirDescription()
    {
        Method lost = (self, argument) => -1;
        IntPtr block = Marshal.AllocHGlobal(50 * IntPtr.Size);
        Marshal.WriteIntPtr(block, block + IntPtr.Size);
        for (int i = 1; i < 50; ++i)
            Marshal.WriteIntPtr(block, i * IntPtr.Size, Marshal.GetFunctionPointerForDelegate(lost));
        Surface surface = Surface.At(block);
        Throws<InvalidOperationException>("FFFFFFFF", () => new Image(6, 5).DrawTo(surface));
        Throws<InvalidOperationException>("FFFFFFFF", () => surface.Width.ToString());
        GC.KeepAlive(lost);
        Marshal.FreeHGlobal(block);
    }

    private static void TestAddressesOfNoInterface()
    {
        IntPtr block = Marshal.AllocHGlobal(1024);
        for (int i = 0; i < 1024; ++i)
            Marshal.WriteByte(block, i, 0);
        Bad("surface", () => Surface.At(IntPtr.Zero));
        Bad("surface", () => Surface.At7(IntPtr.Zero));
        foreach (IntPtr address in new[] { (IntPtr)16, (IntPtr)(-8), block, block + 1 })
            Bad("surface", () => Surface.At(address));
        Marshal.WriteIntPtr(block, (IntPtr)64); // a table that cannot be read
        Bad("surface", () => Surface.At(block));
        Marshal.WriteIntPtr(block, block + 8); // one without methods
        Bad("surface", () => Surface.At(block));
        Bad("surface", () => Surface.At7(block));
        Marshal.FreeHGlobal(block);
    }
}
