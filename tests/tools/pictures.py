"""Pictures in memory and in BMP and PNG files, for the tests of the command-line tool."""

import dataclasses
import random
import struct
import zlib


@dataclasses.dataclass
class Picture:
    """Rows top first, `depth` bits per pixel: bytes (B, G, R (, A)), or packed bits."""
    width: int
    height: int
    depth: int
    rows: list[bytes]

    def coloured(self):
        """The same in 32 bits, as the tool brings pictures to them."""
        if self.depth == 32:
            return self
        if self.depth == 24:
            rows = [b"".join(row[3 * x:3 * x + 3] + b"\xff" for x in range(self.width))
                    for row in self.rows]
        else:
            rows = [b"".join(bytes([gray] * 3 + [255]) for gray in row)
                    for row in self.grayed().rows]
        return Picture(self.width, self.height, 32, rows)

    def grayed(self):
        """1 bit as 8."""
        if self.depth != 1:
            return self
        rows = [bytes(255 * (row[x // 8] >> (7 - x % 8) & 1) for x in range(self.width))
                for row in self.rows]
        return Picture(self.width, self.height, 8, rows)


def row_bytes(width, depth):
    return (width * depth + 7) // 8


def noise(width, height, depth, seed, opaque=False):
    """Seeded pixels; the unused bits of a row of bits are 0."""
    source = random.Random(seed)
    rows = []
    for _ in range(height):
        row = bytearray(source.randbytes(row_bytes(width, depth)))
        if depth == 1 and width % 8:
            row[-1] &= 0xFF << (8 - width % 8) & 0xFF
        if depth == 32 and opaque:
            row[3::4] = b"\xff" * width
        rows.append(bytes(row))
    return Picture(width, height, depth, rows)


def bmp_bytes(picture):
    step = (picture.width * picture.depth + 31) // 32 * 4
    colours = 1 << picture.depth if picture.depth <= 8 else 0
    table = b"".join(bytes([i * 255 // (colours - 1)] * 3 + [0]) for i in range(colours))
    pixels = b"".join(row.ljust(step, b"\0") for row in reversed(picture.rows))
    start = 54 + len(table)
    return (b"BM" + struct.pack("<IHHI", start + len(pixels), 0, 0, start) +
            struct.pack("<IiiHHIIiiII", 40, picture.width, picture.height, 1, picture.depth, 0,
                        len(pixels), 2835, 2835, 0, 0) + table + pixels)


def write_bmp(picture, path):
    path.write_bytes(bmp_bytes(picture))


def read_bmp(path):
    """What the tool writes: grays of 1 and 8 bits, or colours of 24 and 32."""
    data = path.read_bytes()
    start, = struct.unpack_from("<I", data, 10)
    width, height = struct.unpack_from("<ii", data, 18)
    depth, = struct.unpack_from("<H", data, 28)
    step = (width * depth + 31) // 32 * 4
    assert len(data) == start + step * height, "the size of the file"
    used = row_bytes(width, depth)
    rows = [data[at:at + used] for at in range(start, len(data), step)]
    return Picture(width, height, depth, rows[::-1])


def png_bytes(width, height, bits, colour_type, rows):
    def chunk(kind, data):
        return (struct.pack(">I", len(data)) + kind + data +
                struct.pack(">I", zlib.crc32(kind + data)))
    pixels = zlib.compress(b"".join(b"\0" + row for row in rows))
    return (b"\x89PNG\r\n\x1a\n" +
            chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, bits, colour_type, 0, 0, 0)) +
            chunk(b"IDAT", pixels) + chunk(b"IEND", b""))


def paeth(a, b, c):
    distances = [(abs(b - c), a), (abs(a - c), b), (abs(a + b - 2 * c), c)]
    return min(distances, key=lambda each: each[0])[1]


def unfiltered(kind, line, above, step):
    row = bytearray(line)
    for i in range(len(row)):
        a = row[i - step] if i >= step else 0
        b = above[i]
        c = above[i - step] if i >= step else 0
        row[i] = (row[i] + (0, a, b, (a + b) // 2, paeth(a, b, c))[kind]) & 255
    return bytes(row)


def read_png(path):
    """(bits, colour type, rows) of a PNG file that is not interlaced."""
    data = path.read_bytes()
    at, pixels, head = 8, b"", None
    while at < len(data):
        length, kind = struct.unpack_from(">I4s", data, at)
        body = data[at + 8:at + 8 + length]
        head = struct.unpack(">IIBBBBB", body) if kind == b"IHDR" else head
        pixels += body if kind == b"IDAT" else b""
        at += length + 12
    width, _, bits, colour_type = head[:4]
    samples = {0: 1, 2: 3, 6: 4}[colour_type]
    used = (width * bits * samples + 7) // 8
    rows, above, lines = [], bytes(used), zlib.decompress(pixels)
    for start in range(0, len(lines), used + 1):
        above = unfiltered(lines[start], lines[start + 1:start + 1 + used], above,
                           max(samples * bits // 8, 1))
        rows.append(above)
    return bits, colour_type, rows
