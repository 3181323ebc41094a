using System;

namespace QuibTool
{
    // The header of a packed bitmap, of 40 bytes, and what the engine refuses in it.
    internal struct BitmapHeader
    {
        internal const int Bytes = 40;
        private const uint Rgb = 0, Runs = 1, Masks = 3;

        internal uint size, compression, imageBytes, used;
        internal int width, height;
        internal ushort planes, bits;

        internal static BitmapHeader Read(ReadOnlySpan<byte> from, string name)
        {
            if (from.Length < Bytes)
                throw Bad(name, "must have a header of 40 bytes, not " + from.Length + " bytes");
            byte[] b = from.Slice(0, Bytes).ToArray();
            BitmapHeader header = new BitmapHeader {
                size = BitConverter.ToUInt32(b, 0), width = BitConverter.ToInt32(b, 4),
                height = BitConverter.ToInt32(b, 8), planes = BitConverter.ToUInt16(b, 12),
                bits = BitConverter.ToUInt16(b, 14), compression = BitConverter.ToUInt32(b, 16),
                imageBytes = BitConverter.ToUInt32(b, 20), used = BitConverter.ToUInt32(b, 32),
            };
            if (header.width < 1 || header.height < 1)
                throw Bad(name, "must have 1 column and row or more, its lowest row first, not " +
                    header.width + " x " + header.height);
            if (header.bits != 1 && header.bits != 8 && header.bits != 24 && header.bits != 32)
                throw Bad(name, "must have 1, 8, 24 or 32 bits per pixel, not " + header.bits);
            return header;
        }

        private static ArgumentException Bad(string name, string expected)
        {
            return new ArgumentException("the bitmap " + expected, name);
        }

        // The bytes of an uncompressed bitmap's header, with a table of black and white for 8 bits.
        internal static byte[] Write(int width, int height, int bits, int room)
        {
            byte[] made = new byte[room];
            int[] words = { Bytes, width, height, 1 | bits << 16, 0,
                (int)(Need.RowBytes(width, bits) * height), 0, 0, bits == 8 ? 2 : 0, 0, 0,
                0xFFFFFF };
            Buffer.BlockCopy(words, 0, made, 0, bits == 8 ? 48 : Bytes);
            return made;
        }

        internal bool IsPlain { get { return compression == Rgb; } }

        internal int Colors
        {
            get
            {
                return used > 0 ? (int)used : compression == Masks ? 3 : bits < 16 ? 1 << bits : 0;
            }
        }

        internal double RowsBytes { get { return (double)Need.RowBytes(width, bits) * height; } }

        internal void NeedEngine(string name)
        {
            if (size != Bytes || planes != 1)
                throw Bad(name, "must have biSize 40 and 1 plane, not " + size + " and " + planes);
            if (compression != Rgb && compression != Masks && !(compression == Runs && bits == 8))
                throw Bad(name, "of " + bits + " bits must not have compression " + compression);
            if (used > (bits == 8 ? 256u : 0x8000u))
                throw Bad(name, "must not have " + used + " colours");
        }

        // The same, and of run-length streams that they fill every row.
        internal void NeedEngine(string name, ReadOnlySpan<byte> bitmap)
        {
            NeedEngine(name);
            if (compression != Runs)
                return;
            Need.Room(RowsBytes, "the bitmap's rows");
            NeedRuns(name, bitmap);
        }

        private static int At(ReadOnlySpan<byte> data, long place)
        {
            return place < data.Length ? data[(int)place] : 0;
        }

        // Follows the commands; what the data are too few for is 0.
        private void NeedRuns(string name, ReadOnlySpan<byte> data)
        {
            long at = Bytes + (used > 0 ? 4L * used : 1024), x = 0, y = 0;
            for (;;) {
                if (x > width || y > height)
                    throw Bad(name, "must have runs that keep to its rows");
                int amount = At(data, at), value = At(data, at + 1);
                at += 2;
                if (amount > 0) {
                    x += amount;
                } else if (value == 0) {
                    if (x != width)
                        throw Bad(name, "must have runs of " + width + " pixels, not " + x);
                    x = 0;
                    ++y;
                } else if (value == 1) {
                    if (y != height && y != height - 1)
                        throw Bad(name, "must have runs of " + height + " rows, not " + y);
                    return;
                } else if (value == 2) {
                    x += At(data, at);
                    y += At(data, at + 1);
                    at += 2;
                } else {
                    x += value;
                    at += value + (value & 1);
                }
            }
        }
    }
}
