// The surface's own resampler: raw pixels in, raw pixels out. It knows nothing
// of records; callers give addresses, sizes and row steps, and hold them right.
//
// A stretch is an index table for each axis and an interpolator that walks
// them. Output 0 lies exactly on input 0: there is no half-pixel centring.
#pragma once

#include "kernels/stretch.h"
#include "quibtool/quibtool.h"

#include <cstddef>

// Modes are those of quibtool.h, any other value being linear. The pair modes
// are for four-byte pixels; to others they are linear. They want an even
// destination height, and an even source height if the destination is higher.

// Fill the tables of one axis of dstN positions out of srcN: first and second
// input position, and the share of the first one, 0 to 255. The nearest modes
// fill idx0 alone. The second form repeats each weight in all four bytes, and
// is the one that knows the pair modes, which leave the last entry of an odd
// dstN as it was.
void BuildStretchTable8(uint32_t dstN, uint32_t srcN, uint8_t* weight, uint32_t* idx0,
                        uint32_t* idx1, int32_t mode);
void BuildStretchTable32(uint32_t dstN, uint32_t srcN, uint32_t* weight, uint32_t* idx0,
                         uint32_t* idx1, int32_t mode);

// Stretch a whole source to a whole destination, which must not overlap. Steps
// are bytes from one row to the next. With no memory for the tables, nothing is
// written.
//
// One byte a pixel. Only the nearest mode is a picture worth looking at: the
// others interpolate along x in 8-bit arithmetic that wraps.
void StretchPlane8(uint8_t* dst, uint32_t dstW, uint32_t dstH, ptrdiff_t dstStep,
                   const uint8_t* src, uint32_t srcW, uint32_t srcH, ptrdiff_t srcStep,
                   int32_t mode);
// Four bytes a pixel, rows without gaps.
void StretchPacked32(uint8_t* dst, uint32_t dstW, uint32_t dstH, const uint8_t* src, uint32_t srcW,
                     uint32_t srcH, int32_t mode);
void StretchStrided32(uint8_t* dst, uint32_t dstW, uint32_t dstH, ptrdiff_t dstStep,
                      const uint8_t* src, uint32_t srcW, uint32_t srcH, ptrdiff_t srcStep,
                      int32_t mode);

// dst[i] = srcRow[idx0[i]]; the indices never decrease.
void GatherRow8(uint8_t* dst, const uint8_t* srcRow, const uint32_t* idx0, size_t n);
// The low byte of (a - b) * weight + b, with a = srcRow[idx0[i]] and
// b = srcRow[idx1[i]]: not scaled down by 256.
void LerpRowByTable8(uint8_t* dst, const uint8_t* srcRow, const uint32_t* idx0,
                     const uint32_t* idx1, const uint8_t* weight, size_t n);
// dst[i] = (b + (((a - b) * *weightPointer) >> 8)) & 255, with a from rowA and
// b from rowB.
void LerpRows8(uint8_t* dst, const uint8_t* rowA, const uint8_t* rowB, const uint8_t* weightPointer,
               size_t n);

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
void StretchStrided32(const StretchTarget& to, const StretchSource& from, int32_t mode);

// --- For stretchers with tables of their own -----------------------------------

// Without the columns and rows of which the block holds nothing.
StretchTarget ownCutToBlock(const StretchTarget& to);

// The share of the first of two neighbours, `t` away from it: 0 to 255, linear,
// or along the curve of STRETCH_SMOOTH.
uint8_t ownStretchWeight(double t, int32_t mode);

struct StretchAxis {
    uint32_t* idx0; // never decreasing
    // Along x idx0 + 1, or idx0 at the source's two ends; along y up to
    // idx0 + lines - 1.
    uint32_t* idx1;
    uint32_t* weight; // in all four bytes
};

// The scratch of one call.
struct StretchTables {
    // `lines` is how many rows, filtered along x, a weighted stretch keeps: 2,
    // or 4 for row pairs; 0 makes a nearest stretch, with idx0 alone.
    StretchTables(uint32_t dstW, uint32_t dstH, uint32_t lines);
    ~StretchTables();
    StretchTables(const StretchTables&) = delete;
    StretchTables& operator=(const StretchTables&) = delete;

    // False if there was no memory.
    bool exist() const { return block != nullptr; }

    uint32_t lineCount;
    uint8_t* block;
    uint8_t* lines;
    quib::GatherBlock* gathers; // of a nearest stretch, dstW / 8
    StretchAxis x;
    StretchAxis y;
};

// The interpolator of four-byte pixels. Positions past the source's last are held inside.
void ownStretch32(const StretchTarget& to, const StretchSource& from, const StretchTables& tables);
