// Packed bitmaps in memory: a header, a colour table or masks, and rows of
// pixels, in one block. Whatever a header claims, what the block does not hold
// reads 0, and writes there are dropped.
#pragma once

#include "quibtool/platform.h"

#include <cstddef>
#include <cstdint>

// Bytes in memory and where they end.
struct OwnExtent {
    uint8_t* start;
    size_t bytes;
};

// How many of the `count` bytes from `offset` on lie inside.
size_t ownHeldBytes(const OwnExtent& extent, uint64_t offset, size_t count);
void ownReadExtent(const OwnExtent& extent, uint64_t offset, void* bytes, size_t count);
void ownWriteExtent(const OwnExtent& extent, uint64_t offset, const void* bytes, size_t count);

// The size of a block that only its caller knows.
constexpr size_t ownUnknownSize = SIZE_MAX;

struct OwnDib {
    BITMAPINFOHEADER header; // a copy
    OwnExtent block;
};

// Conversions into an image only read the block.
OwnDib ownOpenDib(const void* block, size_t bytes);
// Writes the header's copy back into the block.
void ownStoreHeader(const OwnDib& dib);

// The entries of the colour table, the masks of 16-bit and 32-bit pixels
// included.
uint32_t ownPaletteSize(const BITMAPINFOHEADER& header);
// Where the rows begin, in bytes from the header's start.
uint64_t ownPixelStart(const BITMAPINFOHEADER& header);
// The bytes of an uncompressed row, padded to 4; for a positive biWidth.
int64_t ownDibRowPitch(const BITMAPINFOHEADER& header);
// biHeight without its sign.
int64_t ownDibHeight(const BITMAPINFOHEADER& header);
bool ownIsCompressed(const BITMAPINFOHEADER& header);

// The bytes that a well-formed block with this header has; ownUnknownSize for
// a compressed one, whose stream tells its end itself.
size_t ownImpliedSize(const BITMAPINFOHEADER& header);
