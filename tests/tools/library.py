"""The library by direct calls, to judge the command-line tool by."""

import ctypes
from ctypes import POINTER, byref, c_double, c_int8, c_int32, c_uint32, c_void_p

from pictures import Picture, row_bytes


class IplImage(ctypes.Structure):
    _fields_ = [("nSize", c_int32), ("ID", c_int32), ("nChannels", c_int32),
                ("alphaChannel", c_int32), ("depth", c_uint32), ("colorModel", c_int8 * 4),
                ("channelSeq", c_int8 * 4), ("dataOrder", c_int32), ("origin", c_int32),
                ("align", c_int32), ("width", c_int32), ("height", c_int32), ("roi", c_void_p),
                ("maskROI", c_void_p), ("imageId", c_void_p), ("tileInfo", c_void_p),
                ("imageSize", c_int32), ("imageData", c_void_p), ("widthStep", c_int32),
                ("BorderMode", c_int32 * 4), ("BorderConst", c_int32 * 4),
                ("imageDataOrigin", c_void_p)]


Handle = POINTER(IplImage)
Rect = c_int32 * 4
REPLICATE = 1


class Library:
    """Its functions, each of which must return 0."""

    def __init__(self, path):
        self.library = ctypes.CDLL(path)

    def __getattr__(self, name):
        function = getattr(self.library, name)
        function.restype = c_int32

        def call(*arguments):
            status = function(*(c_double(each) if isinstance(each, float) else each
                                for each in arguments))
            assert status == 0, f"{name} returned {status & 0xFFFFFFFF:08x}"
        return call

    def create(self, width, height, depth, word=0):
        handle = Handle()
        self.QuibCreate(width, height, depth, byref(handle), c_uint32(word))
        if depth == 24:
            ctypes.memset(handle.contents.imageData, 0, handle.contents.imageSize)
        return handle

    def handle(self, picture, border=REPLICATE):
        handle = self.create(picture.width, picture.height, picture.depth)
        record = handle.contents
        for y, row in enumerate(picture.rows):
            ctypes.memmove(record.imageData + y * record.widthStep, row, len(row))
        for side in range(4):
            record.BorderMode[side] = border
        return handle

    def made(self, name, *arguments, at=1):
        """The handle that a function stores in its argument number `at`."""
        out = Handle()
        getattr(self, name)(*arguments[:at], byref(out), *arguments[at:])
        return out

    @staticmethod
    def picture(handle):
        record = handle.contents
        depth = (record.depth & 0xFF) * record.nChannels
        used = row_bytes(record.width, depth)
        rows = [ctypes.string_at(record.imageData + y * record.widthStep, used)
                for y in range(record.height)]
        if depth == 1 and record.width % 8:
            mask = 0xFF << (8 - record.width % 8) & 0xFF
            rows = [row[:-1] + bytes([row[-1] & mask]) for row in rows]
        return Picture(record.width, record.height, depth, rows)

    def kernel(self, columns, rows, anchor_x, anchor_y, taps, shift):
        kernel = c_void_p()
        self.QuibCreateConvKernel(byref(kernel), columns, rows, anchor_x, anchor_y,
                                  (c_int32 * len(taps))(*taps), shift)
        return kernel
