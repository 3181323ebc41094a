#include "quibtool/stretch/rows.h"

#include "kernels/kernels.h"

#include <algorithm>

using namespace quib;

namespace
{

// How many bytes of a block lie behind the start of a row.
uint64_t bytesFromRow(ptrdiff_t step, size_t bytes, uint32_t row)
{
    if (step < 0)
        return UINT64_MAX;
    const uint64_t offset = static_cast<uint64_t>(step) * row;
    return offset < bytes ? bytes - offset : 0;
}

// The addresses from the first to the last row, whichever lies lower.
struct Extent {
    int64_t begin;
    int64_t end;
};

Extent extentOf(const uint8_t* data, uint32_t width, uint32_t height, ptrdiff_t step,
                size_t pixelBytes)
{
    const int64_t first = static_cast<int64_t>(reinterpret_cast<uintptr_t>(data));
    const int64_t last = first + int64_t{step} * (height - 1);
    return {std::min(first, last),
            std::max(first, last) + static_cast<int64_t>(width * uint64_t{pixelBytes})};
}

} // namespace

const uint8_t* quib::sourceRow(const StretchSource& from, uint32_t row)
{
    return from.data + static_cast<ptrdiff_t>(std::min(row, from.height - 1)) * from.step;
}

uint32_t quib::writableWidth(const StretchTarget& to, uint32_t y, size_t pixelBytes)
{
    const uint64_t bytes = bytesFromRow(to.step, to.bytes, y);
    return bytes >= uint64_t{to.width} * pixelBytes ? to.width
                                                    : static_cast<uint32_t>(bytes / pixelBytes);
}

uint32_t quib::readableWidth(const StretchSource& from, uint32_t row, const uint32_t* columns,
                             uint32_t count, size_t pixelBytes)
{
    const uint64_t bytes = bytesFromRow(from.step, from.bytes, std::min(row, from.height - 1));
    if (count == 0 || bytes >= (columns[count - 1] + uint64_t{1}) * pixelBytes)
        return count;
    const uint64_t pixels = bytes / pixelBytes;
    const uint32_t* end = std::partition_point(
        columns, columns + count, [pixels](uint32_t column) { return column < pixels; });
    return static_cast<uint32_t>(end - columns);
}

bool quib::overlap(const StretchTarget& to, const StretchSource& from, size_t pixelBytes)
{
    const Extent target = extentOf(to.data, to.width, to.height, to.step, pixelBytes);
    const Extent source = extentOf(from.data, from.width, from.height, from.step, pixelBytes);
    return target.begin < source.end && source.begin < target.end;
}

void GatherRow8(uint8_t* dst, const uint8_t* srcRow, const uint32_t* idx0, size_t n)
{
    kernels().stretch.gather8(dst, srcRow, idx0, n);
}

void LerpRowByTable8(uint8_t* dst, const uint8_t* srcRow, const uint32_t* idx0,
                     const uint32_t* idx1, const uint8_t* weight, size_t n)
{
    for (size_t i = 0; i < n; ++i) {
        const int32_t a = srcRow[idx0[i]];
        const int32_t b = srcRow[idx1[i]];
        dst[i] = static_cast<uint8_t>((a - b) * weight[i] + b);
    }
}

void LerpRows8(uint8_t* dst, const uint8_t* rowA, const uint8_t* rowB, const uint8_t* weightPointer,
               size_t n)
{
    kernels().stretch.lerpRows(dst, rowA, rowB, *weightPointer, n);
}
