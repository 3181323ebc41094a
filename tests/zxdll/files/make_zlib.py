#!/usr/bin/env python3
"""Makes zlib_streams.bin beside it with Python's zlib: streams of all kinds of
blocks, each as two lengths of 4 bytes, high byte first, the stream and what it
stands for."""
import pathlib
import struct
import zlib


def numbers(seed, count, mask):
    for _ in range(count):
        seed = (seed * 1103515245 + 12345) & 0x7FFFFFFF
        yield (seed >> 16) & mask


TEXT = b"the quick brown fox jumps over the lazy dog, and the dog over the fox; "
PLAINS = [
    b"",
    b"a",
    bytes(700),
    TEXT * 12,
    bytes(range(256)) * 4,
    bytes(numbers(1, 600, 255)),
    bytes(numbers(2, 900, 3)),
    # Symbols of very different frequency: codes of up to 15 bits.
    b"".join(bytes([i]) * min(2 ** (i // 2), 400) for i in range(24)),
]

with open(pathlib.Path(__file__).with_name("zlib_streams.bin"), "wb") as out:
    for plain in PLAINS:
        for level, strategy in [(0, 0), (1, 0), (9, 0), (9, zlib.Z_FIXED), (9, zlib.Z_HUFFMAN_ONLY),
                                (9, zlib.Z_RLE)]:
            deflate = zlib.compressobj(level, zlib.DEFLATED, 15, 8, strategy)
            half = len(plain) // 2
            stream = deflate.compress(plain[:half]) + deflate.flush(zlib.Z_FULL_FLUSH)
            stream += deflate.compress(plain[half:]) + deflate.flush()
            out.write(struct.pack(">II", len(stream), len(plain)) + stream + plain)
