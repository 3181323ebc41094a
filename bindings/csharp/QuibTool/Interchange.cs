// Packed bitmaps in memory, BMP and PSD files. Headers and files are looked through before the
// library is called, whose engine ends the process on bitmaps that it refuses. A file that
// another process changes between the look and the call is looked at in vain.
using System;
using System.IO;
using System.Text;

namespace QuibTool
{
    public sealed unsafe partial class Image
    {
        // --- Packed bitmaps --------------------------------------------------------

        /// <summary>A new image of a packed bitmap: header, colour table, rows from the lowest on.
        /// Depth 0 keeps the bitmap's, 8 gives 8 bits, any other 32, where every pixel is opaque.
        /// What the bytes are too few for is 0. [Dib2Quib]</summary>
        public static Image FromDib(ReadOnlySpan<byte> dib, int depth = 0)
        {
            BitmapHeader header = BitmapHeader.Read(dib, "dib");
            int made = depth == 8 ? 8 : depth == 0 ? header.bits : 32;
            Need.Size(header.width, header.height, made);
            if (made == 8 || header.bits < 24 || (depth == 0 && header.bits == 24))
                header.NeedEngine("dib", dib);
            Need.Room(2.0 * dib.Length + (1 << 18), "the bitmap");
            Image result = null;
            Platform.WithBlock(dib.ToArray(), block => {
                IplImage* image = null;
                result = Made("Dib2Quib", Native.Dib2Quib((void*)block, &image, depth), image);
            });
            return result;
        }

        /// <summary>A new 32-bit image of a bitmap's header and its rows apart, of which there must
        /// be enough. They are looked for where they are right for 32 bits only. [Dib2Quib0]
        /// </summary>
        public static Image FromDibParts(ReadOnlySpan<byte> header, ReadOnlySpan<byte> bits)
        {
            BitmapHeader head = BitmapHeader.Read(header, "header");
            Need.Size(head.width, head.height, 32);
            long step = (head.bits * (long)head.width + 31) / 32 * head.bits / 8;
            long needed = step * head.height;
            if (head.bits >= 24)
                needed = Math.Max(needed, needed - step + (long)head.width * head.bits / 8);
            if (bits.Length < needed)
                throw new ArgumentException("must be at least " + needed + " bytes, not " +
                    bits.Length, "bits");
            Need.Room(3.0 * bits.Length + (1 << 18), "the bitmap");
            byte[] rows = Joined(header.Slice(0, BitmapHeader.Bytes), bits.Slice(0, (int)needed));
            if (head.bits < 24)
                head.NeedEngine("header", rows);
            IplImage* made = null;
            fixed (byte* at = rows)
                return Made("Dib2Quib0",
                    Native.Dib2Quib0(at, at + BitmapHeader.Bytes, &made), made);
        }

        // With some room behind them.
        private static byte[] Joined(ReadOnlySpan<byte> head, ReadOnlySpan<byte> tail)
        {
            byte[] both = new byte[head.Length + tail.Length + 64];
            head.CopyTo(both);
            tail.CopyTo(both.AsSpan(head.Length));
            return both;
        }

        /// <summary>A packed bitmap of a 32-bit image, of 24 bits and without the alpha, or of a
        /// 1-bit one, of 8 bits with black and white. [Quib2Dib]</summary>
        public byte[] ToDib()
        {
            Need.Depth(this, "this", 1, 32);
            int bits = depth == 32 ? 24 : 8;
            Need.Size(width, height, bits);
            long size = Need.RowBytes(width, bits) * height + (bits == 8 ? 48 : BitmapHeader.Bytes);
            Need.Room(3.0 * size + (1 << 18), "the bitmap");
            byte[] dib = BitmapHeader.Write(width, height, bits, (int)size);
            ToDib(dib);
            return dib;
        }

        /// <summary>Stores the pixels of a 32-bit image in an uncompressed packed bitmap of its
        /// size and 24 bits, or those of a 1-bit one in one of 8 bits, in the nearest colours of
        /// its table. The bytes must have a header, and room for the table and all rows; what lies
        /// behind them is left alone. [Quib2Dib]</summary>
        public void ToDib(Span<byte> dib)
        {
            byte[] bytes;
            using (Hold hold = Hold.On(this)) {
                Need.Depth(this, "this", 1, 32);
                BitmapHeader header = BitmapHeader.Read(dib, "dib");
                NeedRoomFor(header, dib.Length);
                hold.Room(2.0 * dib.Length);
                bytes = dib.ToArray();
                Platform.WithBlock(bytes, block => QuibException.Check("Quib2Dib",
                    Native.Quib2Dib(Record, (void*)block)));
            }
            bytes.AsSpan().CopyTo(dib);
        }

        private void NeedRoomFor(BitmapHeader header, int length)
        {
            int bits = depth == 32 ? 24 : 8;
            if (header.width != width || header.height != height || header.bits != bits)
                throw new ArgumentException("must be a bitmap of " + width + " x " + height +
                    " pixels of " + bits + " bits, not " + header.width + " x " + header.height +
                    " of " + header.bits, "dib");
            header.NeedEngine("dib");
            if (!header.IsPlain || (bits == 24 && header.used != 0))
                throw new ArgumentException("must be uncompressed, and without a table at 24 bits",
                    "dib");
            double needed = BitmapHeader.Bytes + 4.0 * header.Colors + header.RowsBytes;
            if (length < needed)
                throw new ArgumentException("must be at least " + needed + " bytes, not " + length,
                    "dib");
        }

        // --- Files -----------------------------------------------------------------

        // A file's name as the library's runtime takes it.
        private static byte[] FileName(string path)
        {
            if (path == null)
                throw new ArgumentNullException("path", "must be a file's name");
            if (path.IndexOf('\0') >= 0)
                throw new ArgumentException("must not hold a null character", "path");
            Encoding encoding = Encoding.GetEncoding(
                Platform.OnWindows ? Encoding.Default.CodePage : Encoding.UTF8.CodePage,
                EncoderFallback.ExceptionFallback, DecoderFallback.ExceptionFallback);
            try {
                return encoding.GetBytes(path + "\0");
            } catch (EncoderFallbackException) {
                throw new ArgumentException("must have characters that the system's encoding has",
                    "path");
            }
        }

        private static byte[] StartOf(string path, long most)
        {
            using (FileStream file = File.OpenRead(path)) {
                byte[] found = new byte[Math.Min(most, file.Length)];
                int have = 0, more;
                while (have < found.Length &&
                    (more = file.Read(found, have, found.Length - have)) > 0)
                    have += more;
                Array.Resize(ref found, have);
                return found;
            }
        }

        /// <summary>Reads a BMP file: 32 bits for 24 (with alpha 0) and 32, gray of its own depth
        /// for 1 and 8. What a short file lacks is 0. InvalidDataException for a file that is no
        /// bitmap that the library reads. [QuibLoadBMP]</summary>
        public static Image LoadBmp(string path)
        {
            byte[] name = FileName(path);
            try {
                NeedBmp(path);
            } catch (ArgumentException error) {
                throw new InvalidDataException(path + ": " + error.Message, error);
            }
            IplImage* made = null;
            fixed (byte* at = name)
                return Made("QuibLoadBMP", Native.QuibLoadBMP(at, &made), made);
        }

        private static void NeedBmp(string path)
        {
            const int FileHeader = 14;
            byte[] start = StartOf(path, FileHeader + BitmapHeader.Bytes);
            if (start.Length < FileHeader + BitmapHeader.Bytes || start[0] != 'B' ||
                start[1] != 'M')
                throw new ArgumentException("the file must have the headers of a BMP file", "path");
            BitmapHeader header = BitmapHeader.Read(start.AsSpan(FileHeader), "path");
            header.used = (uint)header.Colors; // the file reader's own count
            header.NeedEngine("path");
            Need.Size(header.width, header.height, header.bits > 8 ? 32 : header.bits);
            double size = (header.imageBytes > 0 ? header.imageBytes : header.RowsBytes) +
                4.0 * header.used + BitmapHeader.Bytes;
            if (size > int.MaxValue)
                throw new OutOfMemoryException(path + " claims a bitmap of " + size + " bytes");
            Need.Room(3 * size + 5.0 * header.width * header.height + (1 << 18),
                "the file's bitmap");
            if (!header.IsPlain)
                header.NeedEngine("path",
                    StartOf(path, FileHeader + (long)size).AsSpan(FileHeader));
        }

        /// <summary>Reads a PSD file with two layers that have pixels: the lower one's picture, of
        /// 32 bits with its mask or transparency as alpha, and the upper one's mask or
        /// transparency, of 8 bits. QuibException for a file that is damaged or of another kind.
        /// [QuibLoadFramePsd2Bmp]</summary>
        public static void LoadPsd(string path, out Image picture, out Image mask)
        {
            byte[] name = FileName(path), start = StartOf(path, 26);
            if (start.Length == 26 && Encoding.ASCII.GetString(start, 0, 4) == "8BPS")
                NeedPsdSize(path, BigEndian(start, 18), BigEndian(start, 14));
            IplImage* first = null, second = null;
            int status;
            fixed (byte* at = name)
                status = Native.QuibLoadFramePsd2Bmp(at, &first, &second);
            picture = first == null ? null : new Image(first);
            mask = second == null ? null : new Image(second);
            if (status == 0 && picture != null && mask != null)
                return;
            if (picture != null)
                picture.Dispose();
            if (mask != null)
                mask.Dispose();
            throw new QuibException("QuibLoadFramePsd2Bmp",
                status != 0 ? status : QuibException.Failed);
        }

        private static double BigEndian(byte[] bytes, int at)
        {
            return bytes[at] * 16777216.0 +
                (bytes[at + 1] << 16 | bytes[at + 2] << 8 | bytes[at + 3]);
        }

        private static void NeedPsdSize(string path, double columns, double rows)
        {
            if (columns * rows * 4 > int.MaxValue)
                throw new OutOfMemoryException(path + " claims " + columns + " x " + rows +
                    " pixels");
            Need.Room(24 * columns * rows + (1 << 20), "the file's pixels");
        }
    }
}
