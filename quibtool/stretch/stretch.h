// The surface's own resampler: raw pixels in, raw pixels out. It knows nothing
// of records; callers give addresses, sizes and row steps, and hold them right.
//
// A stretch is an index table for each axis and an interpolator that walks
// them. Output 0 lies exactly on input 0: there is no half-pixel centring.
//
// Modes are those of quibtool.h, any other value being linear. The pair modes
// are for four-byte pixels; to others they are linear. They want an even
// destination height, and an even source height if the destination is higher.
#pragma once

#include "quibtool/quibtool.h"

#include <cstddef>

// Stretch a whole source to a whole destination, which must not overlap. Steps
// are bytes from one row to the next. False, with nothing written, if there is
// no memory for the tables.
//
// One byte a pixel. Only the nearest mode is a picture worth looking at: the
// others interpolate along x in 8-bit arithmetic that wraps.
bool StretchPlane8(uint8_t* dst, uint32_t dstW, uint32_t dstH, ptrdiff_t dstStep,
                   const uint8_t* src, uint32_t srcW, uint32_t srcH, ptrdiff_t srcStep,
                   int32_t mode);
// Four bytes a pixel, rows without gaps.
bool StretchPacked32(uint8_t* dst, uint32_t dstW, uint32_t dstH, const uint8_t* src, uint32_t srcW,
                     uint32_t srcH, int32_t mode);
bool StretchStrided32(uint8_t* dst, uint32_t dstW, uint32_t dstH, ptrdiff_t dstStep,
                      const uint8_t* src, uint32_t srcW, uint32_t srcH, ptrdiff_t srcStep,
                      int32_t mode);

// --- In blocks that may end before the rows do ------------------------------------

struct StretchTarget {
    uint8_t* data;
    uint32_t width;
    uint32_t height;
    ptrdiff_t step;
    size_t bytes = SIZE_MAX; // from `data` to the block's end, for a step above 0
};

struct StretchSource {
    const uint8_t* data;
    uint32_t width;
    uint32_t height;
    ptrdiff_t step;
    size_t bytes = SIZE_MAX;
};

// Rows may be wider than their step: they run on into the next ones, and are
// written in their order. Left out are pixels past the end of the destination's
// block and, in the nearest modes, those that come from past the end of the
// source's; other modes want a source that has all its rows.
bool StretchStrided32(const StretchTarget& to, const StretchSource& from, int32_t mode);

// --- For stretchers with tables of their own (tables.h) ----------------------------

namespace quib
{

struct StretchTables;

// Without the columns and rows of which the block holds nothing.
StretchTarget ownCutToBlock(const StretchTarget& to);

// The interpolator of four-byte pixels. Positions past the source's last are
// held inside: the tables' indices are changed to that.
void ownStretch32(const StretchTarget& to, const StretchSource& from, const StretchTables& tables);

} // namespace quib
