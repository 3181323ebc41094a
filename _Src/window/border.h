// The rows of an image, and what its border modes make of the places around it.
#pragma once

#include "_Src/image/scratch.h"
#include "_Src/walk/region.h"

// The pixel of an axis of `size` pixels that a mode other than constant takes for
// the one at `coordinate`.
int32_t ownFoldCoordinate(int32_t mode, int64_t coordinate, int32_t size);

// The width of an element in bytes, when a bit takes a byte.
inline int32_t ownElementBytes(uint32_t depth)
{
    return depth == IPL_DEPTH_1U ? 1 : static_cast<int32_t>(depth & IPL_DEPTH_MASK) / 8;
}

// Makes rows of an image and its surroundings, of `channels` elements a pixel, from
// channel `first` on, side by side whatever the image's data order; a bit becomes a
// byte, 0 or 1. The rows of a tiled image are read tile row by tile row.
class IplBorderSource
{
public:
    // Rows from column `left` on, `width` pixels long. Both may lie anywhere.
    IplBorderSource(const IplImage* image, int32_t first, int32_t channels, int64_t left,
                    int64_t width);

    // False if there was no memory.
    bool isReady() const;

    // Makes row y of the image, or above or below it. False if a tile did not come.
    bool makeRow(int64_t y, uint8_t* out);

    // The same row where it lies in the image, from column `left` on; null if it
    // does not lie there as makeRow() would make it.
    const uint8_t* rowInPlace(int64_t y) const;

    // Of the rows that are made.
    int64_t bytesPerPixel() const { return pixelBytes; }
    int64_t rowBytes() const { return width * pixelBytes; }

private:
    struct Strand;

    bool fetchTile(int32_t x, int32_t count, int32_t tileRow);
    bool fetchTileRow(int32_t tileRow);
    const uint8_t* fetchRow(int32_t plane, int32_t y);
    void fillStrand(int32_t constant, uint8_t* out) const;
    bool makeStrand(int32_t plane, int64_t y, uint8_t* out);
    template<class Element>
    void makePixels(const Strand& strand, uint8_t* out) const;

    const IplImage* const image;
    const bool planes;
    const int32_t first;
    const int32_t channels;
    const int64_t left;
    const int64_t width;
    const int32_t elementBytes;
    const int64_t pixelBytes;

    // The columns of the image that can be needed, from a tile's edge on.
    int32_t firstColumn;
    int32_t columns;
    IplScratch<uint8_t> bits; // a row of bits as bytes
    // One row of tiles, plane after plane, and which it is.
    int32_t stripStep;
    int32_t stripRow = -1;
    IplScratch<uint8_t> strip;
};
