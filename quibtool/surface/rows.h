// Rows of pixels from one block to another, neither of which is left.
#pragma once

#include "kernels/kernels.h"
#include "quibtool/blockwalk.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace quib
{

struct PixelRows {
    BlockWalk rows;
    size_t pixelBytes;
};

// The walk down all of an image's rows.
inline BlockWalk ownImageRows(const IplImage* image)
{
    return ownWalkFrom(image, static_cast<size_t>(image->widthStep), 0, 0, 1);
}

// How many of `width` pixels lie in both blocks.
inline size_t ownPixelsInBoth(const PixelRows& a, const PixelRows& b, size_t width)
{
    return std::min({width, a.rows.bytesLeft / a.pixelBytes, b.rows.bytesLeft / b.pixelBytes});
}

// Calls convert(dst, src, count) row by row, the first one first: rows that are
// wider than their step overwrite each other in this order.
template<class Convert>
void ownConvertRows(PixelRows to, PixelRows from, size_t width, size_t height, Convert convert)
{
    for (size_t y = 0; y < height; ++y) {
        const size_t count = ownPixelsInBoth(to, from, width);
        if (count == 0)
            return;
        convert(to.rows.row, from.rows.row, count);
        ownSkipRows(&to.rows, 1);
        ownSkipRows(&from.rows, 1);
    }
}

// Pixels of three bytes to opaque ones of four.
inline void ownExpandRows(const BlockWalk& to, const BlockWalk& from, size_t width, size_t height)
{
    const RowsAhead ahead{static_cast<ptrdiff_t>(to.step), static_cast<ptrdiff_t>(from.step)};
    const auto expand = [&](uint8_t* dst, const uint8_t* src, size_t count) {
        kernels().convert.opaqueFrom24(dst, src, count, ahead);
    };
    ownConvertRows({to, 4}, {from, 3}, width, height, expand);
}

} // namespace quib
