using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using QuibTool;

internal static partial class Tests
{
    private static byte[] Header(int width, int height, int bits, int compression = 0, int used = 0,
        int size = 40, int planes = 1, int bytes = 0)
    {
        int[] words = { size, width, height, planes | bits << 16, compression, bytes, 0, 0, used, 0 };
        return words.SelectMany(BitConverter.GetBytes).ToArray();
    }

    // The rows of a bitmap, the lowest first, padded to 4 bytes.
    private static byte[] Rows(Image image)
    {
        var found = new List<byte>();
        for (int y = image.Height - 1; y >= 0; --y) {
            byte[] row = image.GetRow(y);
            found.AddRange(row.Concat(new byte[(4 - row.Length % 4) % 4]));
        }
        return found.ToArray();
    }

    private static byte[] Joined(params byte[][] parts)
    {
        return parts.SelectMany(part => part).ToArray();
    }

    private static void TestBitmapsComeIn()
    {
        using (Image image = RandomImage(7, 5, 32))
        using (Image colors = RandomImage(7, 5, 24))
        using (Image gray = RandomImage(7, 5, 8)) {
            int[,,] a = Read(image), b = Read(colors), g = Read(gray);
            byte[] full = Joined(Header(7, 5, 32), Rows(image));
            Func<int, int, int, int> opaque = (y, x, c) => c == 3 ? 255 : a[y, x, c];
            EachAndGone(Image.FromDib(full), opaque);
            EachAndGone(Image.FromDibParts(Header(7, 5, 32), Rows(image)), opaque);
            byte[] three = Joined(Header(7, 5, 24), Rows(colors));
            EachAndGone(Image.FromDib(three), (y, x, c) => b[y, x, c]);
            EachAndGone(Image.FromDib(three, 32), (y, x, c) => c == 3 ? 255 : b[y, x, c]);
            Equal(8, Image.FromDib(three, 8).Depth);
            byte[] table = Enumerable.Range(0, 256).SelectMany(i => new[] { (byte)(255 - i), (byte)i,
                (byte)7, (byte)0 }).ToArray();
            EachAndGone(Image.FromDib(Joined(Header(7, 5, 8), table, Rows(gray)), 32), (y, x, c) =>
                new[] { 255 - g[y, x, 0], g[y, x, 0], 7, 255 }[c]);
            EachAndGone(Image.FromDib(full.AsSpan(0, 40 + 2 * 28)), (y, x, c) => // cut off
                y >= 3 ? opaque(y, x, c) : c == 3 ? 255 : 0);
        }
    }

    private static void TestBitmapsGoOut()
    {
        using (Image image = RandomImage(7, 5, 32))
        using (Image bits = RandomImage(9, 4, 1)) {
            int[,,] a = Read(image), b = Read(bits);
            using (Image colors = Drawn(7, 5, 24, (y, x, c) => a[y, x, c])) {
                byte[] expected = Joined(Header(7, 5, 24, 0, 0, 40, 1, 24 * 5), Rows(colors));
                Equal(true, expected.SequenceEqual(image.ToDib()));
                byte[] wide = Enumerable.Repeat((byte)0xA5, 20 + expected.Length + 20).ToArray();
                Joined(Header(7, 5, 24, 0, 0, 40, 1, 24 * 5), new byte[24 * 5]).CopyTo(wide, 20);
                image.ToDib(wide.AsSpan(20));
                Equal(true, expected.SequenceEqual(wide.Skip(20).Take(expected.Length)));
                Equal(40, wide.Take(20).Concat(wide.Skip(20 + expected.Length)).Count(v => v == 0xA5));
            }
            byte[] dib = bits.ToDib();
            Equal(48 + 12 * 4, dib.Length);
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 9; ++x)
                    Equal(b[y, x, 0], (int)dib[48 + 12 * (3 - y) + x]);
            EachAndGone(Image.FromDib(dib, 32), (y, x, c) => c == 3 ? 255 : b[y, x, 0] * 255);
        }
    }

    private static void TestFilesAreRead()
    {
        string cat = Path.Combine(root, "examples/images/cat.bmp");
        byte[] data = File.ReadAllBytes(cat).Skip(14).ToArray();
        using (Image picture = Image.LoadBmp(cat))
        using (Image same = Image.FromDib(data, 32)) {
            int[,,] pixels = Read(same);
            Each(picture, (y, x, c) => c == 3 ? 0 : pixels[y, x, c]);
            string named = Path.Combine(scratch, "Katze \U0001F431.bmp");
            File.Copy(cat, named, true);
            Same(picture, Image.LoadBmp(named));
        }
        Image layer, mask;
        Image.LoadPsd(Path.Combine(root, "tests/zxdll/files/agpsd_runs.psd"), out layer, out mask);
        Equal("32 8", layer.Depth + " " + mask.Depth);
        Equal(true, layer.HasSizeOf(mask));
    }

    private static byte[] Bmp(byte[] header, byte[] rest)
    {
        return Joined(new byte[] { (byte)'B', (byte)'M' }, new byte[12], header, rest);
    }

    private static byte[] Runs(params byte[] commands)
    {
        return Joined(new byte[1024], commands);
    }

    private static readonly byte[] GoodRuns = Runs(6, 1, 0, 0, 6, 1, 0, 0, 0, 3, 1, 2, 3, 0, 3, 4, 0, 0,
        6, 1, 0, 0, 0, 1);

    private static void TestRunsAreRead()
    {
        string path = Path.Combine(scratch, "runs.bmp");
        byte[] header = Header(6, 4, 8, 1, 0, 40, 1, GoodRuns.Length);
        File.WriteAllBytes(path, Bmp(header, GoodRuns));
        using (Image image = Image.LoadBmp(path)) {
            Equal("6 4 8", image.Width + " " + image.Height + " " + image.Depth);
            Same(image, Image.FromDib(Joined(header, GoodRuns), 8));
        }
        File.WriteAllBytes(path, Bmp(Header(6, 4, 24), new byte[0])); // without any pixels
        Equal(true, Image.LoadBmp(path).IsBlack());
    }

    private static void TestBrokenBitmapsAreRefused()
    {
        string path = Path.Combine(scratch, "broken.bmp");
        byte[][] broken = {
            Header(6, -4, 8), Header(0, 4, 8), Header(-5, 4, 8), Header(6, 4, 4), Header(6, 4, 16),
            Header(6, 4, 8, 0, 0, 41), Header(6, 4, 8, 0, 0, 40, 2), Header(6, 4, 8, 2),
            Header(6, 4, 24, 1), Header(6, 4, 8, 9), Header(6, 4, 8, 0, 257),
            Header(6, 4, 24, 0, 0x8001), Header(int.MaxValue, int.MaxValue, 8),
            Header(1 << 16, 1 << 16, 8), Header(6, 4, 8, 0, -1), Header(6, 4, 8).Take(39).ToArray(),
            Joined(Header(6, 4, 8, 1), GoodRuns.Take(1030).ToArray()),
            Joined(Header(6, 4, 8, 1, 0, 40, 1, 20), GoodRuns.Take(GoodRuns.Length - 2).ToArray()),
            Joined(Header(6, 4, 8, 1, 0, 40, 1, 99), Runs(7, 1, 0, 0)),
            Joined(Header(6, 4, 8, 1, 0, 40, 1, 99), Runs(0, 2, 7, 0)),
            Joined(Header(6, 4, 8, 1, 0, 40, 1, 99), Runs(6, 1, 0, 0, 0, 1)),
            Joined(Header(6, 3, 8, 1, 0, 40, 1, 99), Runs(6, 1, 0, 0, 6, 1, 0, 0, 7, 1, 0, 1)),
            Joined(Header(6, 3, 8, 1, 0, 40, 1, 99), Runs(6, 1, 0, 0, 5, 1, 0, 0, 6, 1, 0, 1)),
        };
        foreach (byte[] bitmap in broken) {
            File.WriteAllBytes(path, Bmp(bitmap, new byte[0]));
            Refused("dib", () => Image.FromDib(bitmap, 8));
            Refused("broken.bmp", () => Image.LoadBmp(path));
        }
        Refused("claims", () => {
            File.WriteAllBytes(path, Bmp(Header(6, 4, 8, 0, 0, 40, 1, -1), new byte[0]));
            Image.LoadBmp(path);
        });
        foreach (byte[] start in new[] { new byte[0], Bmp(Header(6, 4, 8), new byte[0]).Take(53).ToArray(),
            Joined(new byte[14], Header(6, 4, 8)) })
            Refused("broken.bmp", () => {
                File.WriteAllBytes(path, start);
                Image.LoadBmp(path);
            });
    }

    private static void Refused(string word, Action action)
    {
        try {
            action();
        } catch (OutOfMemoryException) {
            return;
        } catch (Exception error) when (error is ArgumentException || error is InvalidDataException) {
            Equal(true, error.Message.Contains(word), error.Message);
            return;
        }
        throw new Exception("not refused: " + word);
    }

    private static void TestDamagedFiles()
    {
        string path = Path.Combine(scratch, "damaged");
        byte[][] whole = { File.ReadAllBytes(Path.Combine(root, "examples/images/cat.bmp")),
            File.ReadAllBytes(Path.Combine(root, "tests/zxdll/files/agpsd_runs.psd")),
            Bmp(Header(6, 4, 8, 1, 0, 40, 1, GoodRuns.Length), GoodRuns) };
        byte[] values = { 0, 1, 2, 8, 24, 32, 40, 127, 128, 255 };
        int[] read = new int[3], refused = new int[3];
        for (int i = 0; i < 1200; ++i) {
            byte[] damaged = whole[i % 3].Take(6000).ToArray();
            for (int change = numbers.Next(5); change > 0; --change)
                damaged[numbers.Next(2) == 0 ? numbers.Next(64) : numbers.Next(damaged.Length)] =
                    values[numbers.Next(values.Length)];
            File.WriteAllBytes(path, damaged.Take(numbers.Next(2) == 0 ? damaged.Length
                : numbers.Next(damaged.Length)).ToArray());
            try {
                Image first, second = null;
                if (i % 3 == 1)
                    Image.LoadPsd(path, out first, out second);
                else
                    first = Image.LoadBmp(path);
                first.Dispose();
                ++read[i % 3];
            } catch (Exception error) when (error is InvalidDataException ||
                error is OutOfMemoryException || error is QuibException) {
                ++refused[i % 3];
            }
        }
        for (int i = 0; i < 3; ++i)
            Equal(true, read[i] > 30 && refused[i] > 30, i + ": " + read[i] + ", " + refused[i]);
    }

    // --- Devices -------------------------------------------------------------------

    private static void TestImagesAreDrawnOnDevices()
    {
        foreach (int bits in new[] { 24, 32 })
            using (Image image = RandomImage(6, 4, 32))
            using (Device device = new Device(9, 8, bits)) {
                int[,,] a = Read(image);
                Equal("9 8 " + bits, device.Width + " " + device.Height + " " + device.Bits);
                image.DrawTo(device, 1, -1);
                image.DrawTo(device.Context, 3, 4);
                device.WithPixels(pixels => {
                    for (int y = 0; y < 8; ++y)
                        for (int x = 0; x < 9; ++x)
                            for (int c = 0; c < 3; ++c) {
                                int expected = y < 3 && x >= 1 && x < 7 ? a[y + 1, x - 1, c]
                                    : y >= 4 && x >= 3 ? a[y - 4, x - 3, c] : 0;
                                Equal(expected, (int)pixels[y * device.RowBytes + x * (bits / 8) + c]);
                            }
                });
                image.DrawTo((IntPtr)12345, 0, 0); // no device context: in vain
                IntPtr context = device.Context;
                device.Dispose();
                image.DrawTo(context, 0, 0); // no more
            }
    }
}
