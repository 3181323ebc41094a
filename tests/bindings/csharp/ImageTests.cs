using System;
using System.IO;
using System.Linq;
using System.Threading;
using QuibTool;

internal static partial class Tests
{
    private static void TestImagesTellWhatTheyAre()
    {
        using (Image image = new Image(5, 3, 24, 0x030201)) {
            QuibInfo info = image.Info();
            Equal("5 3 24 16", info.width + " " + info.height + " " + info.bitDepth + " " +
                info.widthStep);
            Equal("5 3 24 16 3", image.Width + " " + image.Height + " " + image.Depth + " " +
                image.RowBytes + " " + image.Channels);
            Each(image, (y, x, c) => c + 1);
        }
        using (Image black = new Image(7, 2, 32, 0xFF000000))
            Equal(true, black.IsBlack());
        using (Image word = new Image(2, 2, 32, Image.Color(1, 2, 3, 4)))
            Each(word, (y, x, c) => new[] { 3, 2, 1, 4 }[c]);
        Equal(0xFF0C0B0Au, Image.Color(12, 11, 10));
        using (Image bits = new Image(33, 2, 1, 1))
            Each(bits, (y, x, c) => 1);
        foreach (int depth in Depths)
            using (Image blank = Image.Uninitialized(9, 4, depth))
                Equal("9 4 " + depth, blank.Width + " " + blank.Height + " " + blank.Depth);
    }

    private static unsafe void TestTheRecordIsTheLibrarys()
    {
        using (Image image = new Image(9, 4, 8, 7)) {
            IplImage* record = (IplImage*)image.Handle.DangerousGetHandle();
            Equal(sizeof(IplImage), record->nSize);
            Equal("9 4 12 48 8", record->width + " " + record->height + " " + record->widthStep +
                " " + record->imageSize + " " + record->depth);
            Equal(7, (int)record->imageData[5]);
            Equal(false, image.Handle.IsInvalid);
        }
    }

    private static void TestSpansAreTheImagesOwnMemory()
    {
        using (Image image = new Image(4, 4, 8)) {
            image.WithPixels(pixels => { Equal(16, pixels.Length); pixels[5] = 200; });
            Equal(200, (int)image.GetRow(1)[1]);
            Throws<IndexOutOfRangeException>("", () => image.WithPixels(pixels => pixels[16] = 1));
            image.WithPixels(pixels => { image.Dispose(); pixels.Fill(1); }); // freed after it
            Throws<ObjectDisposedException>("this", () => image.GetRow(0));
            Equal(true, image.Handle.IsClosed);
        }
    }

    private static void TestFills()
    {
        foreach (int depth in Depths) {
            int high = depth == 1 ? 1 : 200;
            uint word = depth < 24 ? (uint)high : Image.Color(200, 200, 200, 200);
            using (Image image = new Image(13, 6, depth)) {
                image.Fill(word, new QuibRect(9, -4, 99, 2));
                Each(image, (y, x, c) => y < 2 && x >= 9 ? high : 0);
                Equal(depth == 1, image.IsBlack(199));
                Equal(false, image.IsBlack());
                Equal(true, image.IsBlack(255));
                image.Fill(word);
                Each(image, (y, x, c) => high);
            }
        }
        using (Image image = new Image(9, 5, 8)) {
            image.Region = new QuibRect(2, 1, 4, 3);
            image.Fill(9);
            Each(image, (y, x, c) => y >= 1 && y < 3 && x >= 2 && x < 4 ? 9 : 0);
        }
    }

    private static void TestCopiesAreTheSameAndApart()
    {
        foreach (int depth in Depths)
            using (Image image = RandomImage(13, 5, depth))
            using (Image target = new Image(13, 5, depth)) {
                int[,,] before = Read(image);
                image.CopyTo(target);
                Image[] copies = { image.Clone(), image.Copy(), target };
                image.WithPixels(pixels => pixels.Clear());
                foreach (Image copy in copies)
                    Each(copy, (y, x, c) => before[y, x, c]);
                Equal(true, image.HasSizeOf(target));
                Equal(false, image.HasSizeOf(new Image(5, 13, depth)));
            }
    }

    private static unsafe void TestRegionsAndMasksLimitOperations()
    {
        foreach (int depth in Bytes)
            using (Image image = RandomImage(16, 8, depth))
            using (Image mask = Drawn(5, 4, 1, (y, x, c) => x % 3 == 1 ? 0 : 1)) {
                int[,,] before = Read(image);
                image.Region = new QuibRect(3, 2, 8, 6);
                image.Mask = mask;
                using (Image result = image.Invert()) {
                    Each(result, (y, x, c) => y >= 2 && y < 6 && x >= 3 && x < 8 && (x - 3) % 3 != 1
                        ? 255 - before[y, x, c] : before[y, x, c]);
                    Equal(null, image.Copy().Region);
                    Equal(8, image.Clone().Region.Value.right);
                    Equal(3, result.Region.Value.left);
                    Equal(6, result.Region.Value.bottom);
                    Equal(null, result.Mask);
                    result.Region = null;
                    EachAndGone(result.Invert(), (y, x, c) => 255 - Read(result)[y, x, c]);
                }
                IplImage* record = (IplImage*)image.Handle.DangerousGetHandle();
                Equal(true, record->roi == null && record->maskROI == null);
                image.WithPixels(pixels => { // a call inside another
                    image.Invert().Dispose();
                    Equal(true, record->roi->width == 5 && record->maskROI != null);
                });
                Equal(true, ReferenceEquals(mask, image.Mask));
                mask.Dispose();
                Throws<ObjectDisposedException>("Mask", () => image.Invert());
                image.Mask = null;
                image.Invert().Dispose();
            }
    }

    // --- Life ----------------------------------------------------------------------

    private static void TestForgottenObjectsAreCollected()
    {
        long most = 0, asked = 0;
        for (int i = 0; i < 700; ++i) {
            asked += 2L * new Image(900, 900).Clone().RowBytes * 900;
            new Kernel(new int[5, 5]);
            new Device(3, 3);
            new Surface(3, 3);
            if (i % 20 == 0)
                most = Math.Max(most, Statm(1));
        }
        GC.Collect();
        GC.WaitForPendingFinalizers();
        Equal(true, asked > 4L << 30 && most < 2L << 30, asked + " asked, " + most + " had");
    }

    // Bytes of the process: 0 for its addresses, 1 for its memory.
    private static long Statm(int column)
    {
        return long.Parse(File.ReadAllText("/proc/self/statm").Split(' ')[column]) *
            Environment.SystemPageSize;
    }

    private static void InThreads(int amount, Action<int> action)
    {
        Exception problem = null;
        Thread[] threads = Enumerable.Range(0, amount).Select(number => new Thread(() => {
            try {
                action(number);
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

    private static void TestThreads()
    {
        Image image = RandomImage(60, 40, 32), other = RandomImage(60, 40, 32);
        Image expected = image.CompositeWith(other, Composite.Over);
        int[,,] pixels = Read(expected);
        InThreads(4, number => {
            for (int i = 0; i < 40; ++i) {
                EachAndGone(image.CompositeWith(other, Composite.Over),
                    (y, x, c) => pixels[y, x, c]);
                other.Add(image).Dispose();
            }
        });
    }

    // What one thread sets or frees while another calls is an exception at most.
    private static void TestThreadsThatChangeWhatOthersUse()
    {
        Image image = RandomImage(20, 12, 24), target = new Image(20, 12, 24);
        Image mask = new Image(20, 12, 1, 1);
        Kernel kernel = new Kernel(new[,] { { 1, 2 } });
        int done = 0;
        InThreads(4, number => {
            for (int i = 0; i < 400; ++i)
                try {
                    if (number == 0)
                        image.Region = i % 2 == 0 ? (QuibRect?)null : new QuibRect(3, 3, 4, 12);
                    else if (number == 1)
                        image.Mask = i % 2 == 0 ? null : mask;
                    else if (i % 2 == 0)
                        image.Rotate(target, 33, 3, 3);
                    else
                        image.Convolve(kernel).Dispose();
                    if (i == 390 && number == 3)
                        kernel.Dispose();
                    if (i == 395 && number == 2)
                        image.Dispose();
                    Interlocked.Increment(ref done);
                } catch (ArgumentException) {
                } catch (ObjectDisposedException) {
                }
        });
        Equal(true, done > 500, done + " done");
    }
}
