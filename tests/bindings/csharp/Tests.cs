// Tests.exe ROOT SCRATCH RESULTS: tests the assembly and writes an XML file of the results.
// SCRATCH/running holds the test that is under way, so that one that ends the process is known.
// Tests.exe memory: what happens where memory runs out.
using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.IO;
using System.Linq;
using System.Reflection;
using System.Security;
using QuibTool;

internal static partial class Tests
{
    private static readonly int[] Depths = { 1, 8, 24, 32 }, Bytes = { 8, 24, 32 };
    private static string root, scratch;
    private static Random numbers = new Random(7);

    private static int Main(string[] arguments)
    {
        if (arguments[0] == "memory")
            return WhereMemoryRunsOut();
        root = arguments[0];
        scratch = arguments[1];
        int failures = 0;
        var lines = new List<string>();
        foreach (MethodInfo test in typeof(Tests).GetMethods(BindingFlags.NonPublic |
            BindingFlags.Static).Where(method => method.Name.StartsWith("Test"))) {
            File.WriteAllText(Path.Combine(scratch, "running"), test.Name);
            numbers = new Random(7);
            string problem = "";
            Stopwatch time = Stopwatch.StartNew();
            try {
                test.Invoke(null, null);
            } catch (TargetInvocationException error) {
                problem = error.InnerException.ToString();
                ++failures;
                Console.WriteLine(test.Name + ": " + problem);
            }
            lines.Add("<testcase classname=\"Tests\" name=\"" + test.Name + "\" time=\"" +
                time.Elapsed.TotalSeconds.ToString("0.000") + "\">" + (problem == "" ? ""
                : "<failure>" + SecurityElement.Escape(problem) + "</failure>") + "</testcase>");
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

    private static void Throws<T>(string word, Action action) where T : Exception
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

    // --- Images as plain numbers ---------------------------------------------------

    // Elements by row, column and channel; of 1 bit 0 and 1.
    private static int[,,] Read(Image image)
    {
        int depth = image.Depth;
        int[,,] found = new int[image.Height, image.Width, image.Channels];
        for (int y = 0; y < image.Height; ++y) {
            byte[] row = image.GetRow(y);
            for (int x = 0; x < image.Width; ++x)
                for (int c = 0; c < image.Channels; ++c)
                    found[y, x, c] = depth == 1 ? row[x / 8] >> (7 - x % 8) & 1
                        : row[x * image.Channels + c];
        }
        return found;
    }

    private static int Clamp(double value, int most = 255)
    {
        return (int)Math.Max(0, Math.Min(most, value));
    }

    // Each element of a result against a formula of its row, column and channel.
    private static void Each(Image result, Func<int, int, int, int> formula, int tolerance = 0)
    {
        int[,,] found = Read(result);
        for (int y = 0; y < result.Height; ++y)
            for (int x = 0; x < result.Width; ++x)
                for (int c = 0; c < result.Channels; ++c) {
                    int expected = formula(y, x, c);
                    if (Math.Abs(expected - found[y, x, c]) > tolerance)
                        throw new Exception("row " + y + ", column " + x + ", channel " + c +
                            ": expected " + expected + ", found " + found[y, x, c]);
                }
        result.Info(); // that is not collected before
    }

    private static void EachAndGone(Image result, Func<int, int, int, int> formula,
        int tolerance = 0)
    {
        using (result)
            Each(result, formula, tolerance);
    }

    private static void Same(Image expected, Image found)
    {
        Equal(expected.Width + " x " + expected.Height + " x " + expected.Depth,
            found.Width + " x " + found.Height + " x " + found.Depth);
        int[,,] pixels = Read(expected);
        Each(found, (y, x, c) => pixels[y, x, c]);
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

    // An image of a formula's elements.
    private static Image Drawn(int width, int height, int depth, Func<int, int, int, int> formula)
    {
        Image image = new Image(width, height, depth);
        int channels = image.Channels;
        for (int y = 0; y < height; ++y) {
            byte[] row = new byte[(width * depth + 7) / 8];
            for (int x = 0; x < width; ++x)
                for (int c = 0; c < channels; ++c)
                    if (depth == 1)
                        row[x / 8] |= (byte)(formula(y, x, c) << (7 - x % 8));
                    else
                        row[x * channels + c] = (byte)formula(y, x, c);
            image.SetRow(y, row);
        }
        return image;
    }
}
