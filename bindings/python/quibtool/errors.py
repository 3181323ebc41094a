"""Statuses as exceptions."""

# The surface's statuses, by their unsigned values.
_NAMED = {
    0x80000000: ("QUIB_FAILED", "failed, for no more exact reason"),
    0x80000001: ("QUIB_BAD_WIDTH", "width below 1"),
    0x80000002: ("QUIB_BAD_HEIGHT", "height below 1"),
    0x80000003: ("QUIB_BAD_DEPTH", "bit depth not 1, 8, 24 or 32"),
    0x80000005: ("QUIB_BAD_ARGUMENT", "bad argument or bad handle"),
    0x80000006: ("QUIB_NO_HEADER", "no memory for a record"),
    0x80000100: ("QUIB_DIB_BAD_WIDTH", "biWidth below 1"),
    0x80000101: ("QUIB_DIB_BAD_HEIGHT", "biHeight below 1"),
    0x80000102: ("QUIB_DIB_BAD_DEPTH", "biBitCount not 1, 8, 24 or 32"),
    0x80000103: ("QUIB_DIB_MISMATCH", "the bitmap does not fit the handle"),
    0x80000200: ("QUIB_SURFACE_BAD_WIDTH", "the surface is not as wide as the handle"),
    0x80000201: ("QUIB_SURFACE_BAD_HEIGHT", "the surface is not as high as the handle"),
    0x80004005: ("QUIB_SURFACE_BAD_DEPTH", "bits per pixel of the surface not served"),
}

# What the check of a record says, in the library's own words.
_CHECKS = {
    -9: "Null pointer to an image header",
    -10: "Incorrect image size",
    -11: "Incorrect offset of ROI of the image",
    -12: "Image must be tiled or must have nonzero data pointer",
    -13: "Incorrect widthStep of the image",
    -14: "Incorrect Color model or channel sequence of the image",
    -15: "Incorrect number of channels in the image",
    -16: "Number of channels for 1U depth image must be one",
    -17: "Incorrect depth value in the image header",
    -18: "Incorrect alpha channel number in the image header",
    -19: "Incorrect data order value in the image header",
    -20: "Incorrect data origin value in the image header",
    -21: "Incorrect data alignment value in the image header",
    -22: "Null pointer to callback function",
    -23: "Incorrect size of the tile",
    -24: "Incorrect COI of the image",
    -25: "Incorrect size of ROI in the image header",
    -26: "Mask image is taled",
}
_MASK_CHECKS = (-10, -11, -12, -13, -14, -15, -17, -18, -19, -20, -21, -24, -25)


def describe(status: int) -> tuple[str, str]:
    """The name and the meaning of a status."""
    unsigned = status & 0xFFFFFFFF
    if unsigned in _NAMED:
        return _NAMED[unsigned]
    signed = unsigned - (1 << 32) if unsigned >> 31 else unsigned
    if signed in _CHECKS:
        return str(signed), _CHECKS[signed]
    if signed + 100 in _MASK_CHECKS:
        return str(signed), f"Mask. {_CHECKS[signed + 100]}"
    return f"0x{unsigned:08X}", "Unknown error or status code"


class QuibError(Exception):
    """A function of the library returned a status that is no success.

    function: its C name. status: the status, as an unsigned number of 32 bits. name and
    meaning: the header's constant and what it stands for, or the number and the words of
    a failed check of a record. The library also writes the place of a refused handle into
    a text of its own, which it exports no way to read.
    """

    def __init__(self, function: str, status: int, more: str = "") -> None:
        self.function = function
        self.status = status & 0xFFFFFFFF
        self.name, self.meaning = describe(status)
        super().__init__(f"{function}: {self.name} (0x{self.status:08X}): {self.meaning}"
                         + (f"; {more}" if more else ""))


def check(function: str, status: int) -> None:
    """Raises QuibError unless the status is success."""
    if status != 0:
        raise QuibError(function, status)
