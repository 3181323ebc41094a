// Pixels as they lie in a packed bitmap, to and from working pixels.
#pragma once

#include "_Src/dib/block.h"
#include "_Src/dib/palette.h"

// Runs of a row are converted one after the other. Each starts at a whole byte,
// because this is a multiple of 8 pixels.
constexpr int32_t ownRunLength = 256;

struct OwnMask {
    uint32_t bits;
    int32_t shift; // trailing zeros
    int32_t width; // of the ones above them
};

// A mask of 0 gets shift and width 0, which make its channel 0.
OwnMask ownMaskSize(uint32_t bits);

// What a bitmap's pixels mean, for one call.
struct OwnDibFormat {
    OwnMask masks[4];      // blue, green, red, alpha: of 16-bit and 32-bit pixels
    OwnPixel colours[256]; // of 1-bit, 4-bit and 8-bit pixels that are read
    OwnPalette palette;    // the colours to choose from for those that are written
};

void ownReadMasks(const OwnDib& dib, OwnDibFormat* format);
void ownReadColours(const OwnDib& dib, OwnDibFormat* format);

// Each converts the `count` pixels, ownRunLength at most, of a run whose first
// byte is `bytes`.
using OwnDibFetch = void (*)(const OwnDibFormat& format, const uint8_t* bytes, OwnPixel* run,
                             int32_t count);
// Bits of the run's last byte that belong to no pixel of it stay.
using OwnDibStore = void (*)(const OwnDibFormat& format, uint8_t* bytes, const OwnPixel* run,
                             int32_t count);

// Null for a bit count that cannot be converted.
OwnDibFetch ownChooseDibFetch(const BITMAPINFOHEADER& header);
OwnDibStore ownChooseDibStore(const BITMAPINFOHEADER& header);
