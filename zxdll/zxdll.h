// The reader of PSD files: layers become frames, bitmaps in global memory.
#pragma once

#include "quibtool/platform.h"

#include <cstddef>
#include <cstdint>

// A count or a handle of global memory; handles are as wide as addresses.
using ZxWord = uintptr_t;

// One layer on the whole canvas; the words after the first two are 0. Both
// bitmaps are packed, bottom row first, and of the canvas's size.
struct ZxFrame {
    // Colours: 24 bits, or 32 for a layer with transparency, which is then the
    // fourth byte. 0 where the layer is not.
    ZxWord colour;
    // 8 bits: the layer's mask, else its transparency; 0 if it has neither. The
    // colour table is gray, one step lighter than the values, because the
    // engine's weights of gray take that step off again: all values but 255,
    // which becomes 254, arrive as they are.
    ZxWord mask;
    ZxWord unused[73];
};

// What a loaded image's block begins with. On 32-bit targets the count lies at
// byte 88 and the frames from byte 92 on, 300 bytes each.
struct ZxImage {
    ZxWord unused[22];
    ZxWord frameCount;
    ZxFrame frames[2]; // there is room for two at least, and for frameCount
};
static_assert(offsetof(ZxImage, frameCount) == 22 * sizeof(ZxWord));
static_assert(offsetof(ZxImage, frames) == 23 * sizeof(ZxWord));
static_assert(sizeof(ZxFrame) == 75 * sizeof(ZxWord));

// Loads the layers that have pixels, the lowest first, dividers of groups left
// out: versions 1 and 2; 8 bits a channel, 16 (of which the high byte counts) and
// 32 (floats, 0 to 1 onto 0 to 255); gray, indexed, RGB and CMYK; raw,
// run-length and deflated channels. Layer effects, opacity and visibility play
// no part, and nothing after the layers is read.
//
// Gives a movable block with a ZxImage, for ZxImageDelete; null for a file that
// cannot be read, is of another kind or damaged, or whose frames would take too
// much memory: 2 GiB for one bitmap, or for all of them more than 128 MiB and
// sixteen times the pixels that the file holds.
HGLOBAL ZxLoadPsdFileAsImage(const char* fileName);

// Frees the block and its bitmaps. Null and what is no live block are ignored.
void ZxImageDelete(HGLOBAL image);
