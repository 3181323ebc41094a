// The rows of a stretch: where they lie, how far their blocks reach, and what
// makes one of one-byte pixels.
#pragma once

#include "quibtool/stretch/stretch.h"

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

namespace quib
{

// A row of the source, or its last one.
const uint8_t* sourceRow(const StretchSource& from, uint32_t row);

// How many pixels of a row, or of its first `count` columns, lie inside the
// block. Each row asks for it: divisions are for those that are cut.
uint32_t writableWidth(const StretchTarget& to, uint32_t y, size_t pixelBytes);
uint32_t readableWidth(const StretchSource& from, uint32_t row, const uint32_t* columns,
                       uint32_t count, size_t pixelBytes);

// Whether the two share memory: they may be one image.
bool overlap(const StretchTarget& to, const StretchSource& from, size_t pixelBytes);

} // namespace quib
