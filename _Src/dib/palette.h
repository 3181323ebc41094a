// Colour tables of packed bitmaps: finding a colour, making a table.
#pragma once

#include "_Src/dib/block.h"
#include "_Src/ipl.h"

// The working pixel of the bitmap converters: B, G, R, A.
struct OwnPixel {
    uint8_t byte[4];
};

struct OwnPalette {
    const uint8_t* entries; // four bytes each
    int32_t size;
};

// The bitmap's own table, without the entries that its block does not hold or no
// pixel of 1, 4 or 8 bits can tell.
OwnPalette ownPaletteOf(const OwnDib& dib);

// The index of the nearest colour by the sum of squared differences, the lowest
// of equals. A gray that stands at its own value in a table of 256 is taken
// before any equal that stands lower.
int32_t ownNearestColor(const OwnPalette& palette, const OwnPixel& pixel);

// Writes the standard table of 2, 16 or 256 entries and gives its size; 0, with
// nothing written, for another size.
int32_t ownStandardPalette(const OwnDib& dib, bool gray);

// Writes a table of at most 2 to the power biBitCount entries that fits the
// image's colours, by median cut (Heckbert 1982), and gives its size, which
// becomes biClrUsed. 0 on failure: bit counts above 8, no room for the two colours of
// bits, a channelSeq that is no colour order, no memory.
int32_t ownMedianCutPalette(OwnDib* dib, const IplImage* image);
