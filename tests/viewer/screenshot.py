#!/usr/bin/env python3
"""screenshot.py FRAME.bmp SCREEN.xwd SCREEN.png

Writes the dump of an X screen as a PNG file, and tells whether a window on it
shows the frame, pixel for pixel: exit status 0 if it does.
"""

import pathlib
import struct
import sys
import zlib


def read_frame(path):
    """The rows of a 24-bit bottom-up BMP file as bytes B, G, R, top row first."""
    data = path.read_bytes()
    start, _, width, height, _, bits = struct.unpack_from("<IIiiHH", data, 10)
    if data[:2] != b"BM" or bits != 24:
        raise ValueError(f"{path} is no 24-bit BMP file")
    step = (width * 3 + 3) // 4 * 4
    rows = [data[start + y * step :][: width * 3] for y in reversed(range(height))]
    if len(rows[0]) != width * 3:
        raise ValueError(f"{path} is cut short")
    return rows


def read_screen(path):
    """The rows of an X window dump as bytes B, G, R."""
    data = path.read_bytes()
    fields = struct.unpack_from(">25I", data)
    header, width, height, order, depth, step = (fields[i] for i in (0, 4, 5, 7, 11, 12))
    if depth != 32 or fields[14:17] != (0xFF0000, 0xFF00, 0xFF):
        raise ValueError(f"{path} has {depth} bits a pixel")
    start = header + 12 * fields[19]
    rows = []
    for y in range(height):
        row = data[start + y * step :][: width * 4]
        pixels = bytearray(width * 3)
        for channel in range(3):
            pixels[channel::3] = row[(channel if order == 0 else 3 - channel) :: 4]
        rows.append(bytes(pixels))
    return rows


def write_png(path, rows):
    def chunk(kind, body):
        return (
            struct.pack(">I", len(body))
            + kind
            + body
            + struct.pack(">I", zlib.crc32(kind + body))
        )

    lines = bytearray()
    for row in rows:
        line = bytearray(row)
        line[0::3], line[2::3] = row[2::3], row[0::3]
        lines += b"\0" + line
    header = struct.pack(">IIBBBBB", len(rows[0]) // 3, len(rows), 8, 2, 0, 0, 0)
    path.write_bytes(
        b"\x89PNG\r\n\x1a\n"
        + chunk(b"IHDR", header)
        + chunk(b"IDAT", zlib.compress(bytes(lines), 6))
        + chunk(b"IEND", b"")
    )


def places(frame, screen):
    """Where on the screen the frame's first row stands."""
    for y in range(len(screen) - len(frame) + 1):
        at = screen[y].find(frame[0])
        if at >= 0 and at % 3 == 0:
            yield at, y


def differing(frame, screen, at, y):
    """How many pixels of the frame are not on the screen at that place."""
    count = 0
    for row, shown in zip(frame, screen[y:]):
        if shown[at : at + len(row)] != row:
            count += sum(
                row[i : i + 3] != shown[at + i : at + i + 3] for i in range(0, len(row), 3)
            )
    return count


def main():
    frame_path, dump_path, png_path = map(pathlib.Path, sys.argv[1:])
    frame, screen = read_frame(frame_path), read_screen(dump_path)
    write_png(png_path, screen)
    colours = len({row[i : i + 3] for row in frame for i in range(0, len(row), 3)})
    if colours < 1000:
        sys.exit(f"the frame has only {colours} colours: it is no photograph")
    best = min(
        ((differing(frame, screen, at, y), at // 3, y) for at, y in places(frame, screen)),
        default=None,
    )
    if best is None:
        sys.exit("no window on the screen begins as the frame does")
    count, x, y = best
    size = f"{len(frame[0]) // 3} x {len(frame)}"
    if count:
        sys.exit(f"at {x}, {y} {count} of {size} pixels differ")
    print(f"all of {size} pixels at {x}, {y} are those of the frame")


if __name__ == "__main__":
    main()
