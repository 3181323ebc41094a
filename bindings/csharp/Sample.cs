// Sample.exe PICTURE.bmp FOLDER: makes a small and a soft picture of a BMP file, lays the one
// on the other and writes the result as FOLDER/sample.ppm.
using System;
using System.IO;
using QuibTool;

internal static class Sample
{
    private static int Main(string[] arguments)
    {
        if (arguments.Length != 2) {
            Console.Error.WriteLine("usage: Sample.exe PICTURE.bmp FOLDER");
            return 2;
        }
        try {
            Draw(arguments[0], Path.Combine(arguments[1], "sample.ppm"));
            return 0;
        } catch (Exception error) when (error is IOException || error is ArgumentException ||
                                        error is QuibException || error is OutOfMemoryException) {
            Console.Error.WriteLine(error.Message);
            return 1;
        }
    }

    private static void Draw(string picture, string result)
    {
        using (Image loaded = Image.LoadBmp(picture))
        using (Image soft = loaded.Blur(9, 9))
        using (Image small = loaded.Resize(loaded.Width / 2, loaded.Height / 2, ResizeMode.Area)) {
            soft.SetAlpha(255); // a BMP file of 24 bits comes with alpha 0
            small.SetAlpha(200);
            small.DrawOn(soft, loaded.Width / 4, loaded.Height / 4);
            WritePpm(soft, result);
            Console.WriteLine(result + ": " + soft.Width + " x " + soft.Height);
        }
    }

    private static void WritePpm(Image image, string path)
    {
        using (FileStream file = File.Create(path)) {
            byte[] head = System.Text.Encoding.ASCII.GetBytes(
                "P6\n" + image.Width + " " + image.Height + "\n255\n");
            file.Write(head, 0, head.Length);
            int step = image.RowBytes, width = image.Width, height = image.Height;
            byte[] rows = new byte[width * height * 3];
            image.WithPixels(pixels => {
                for (int y = 0; y < height; ++y)
                    for (int x = 0; x < width; ++x)
                        for (int c = 0; c < 3; ++c)
                            rows[(y * width + x) * 3 + c] = pixels[y * step + x * 4 + 2 - c];
            });
            file.Write(rows, 0, rows.Length);
        }
    }
}
