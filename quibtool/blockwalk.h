// Walks down a handle's pixels whose rows may run on past the image's own.
#pragma once

#include "quibtool/quibtool.h"

#include <cstddef>
#include <cstdint>

// A row of a walk. What lies `step` bytes further on is the next one; the walk
// ends where the pixel block does, wherever its step would lead.
struct BlockWalk {
    uint8_t* row;
    size_t bytesLeft; // from `row` to the block's end
    size_t step;
};

namespace quib
{

// Starts at a pixel, in rows that are `step` bytes apart. A record whose block
// does not reach that far gives a walk with no bytes left.
BlockWalk ownWalkFrom(const IplImage* handle, size_t step, int32_t column, int32_t row,
                      int32_t bytesPerPixel);

void ownSkipRows(BlockWalk* walk, uint64_t rows);

} // namespace quib
