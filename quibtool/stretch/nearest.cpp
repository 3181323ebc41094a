#include "quibtool/stretch/nearest.h"

#include "kernels/kernels.h"
#include "quibtool/stretch/rows.h"

#include <algorithm>
#include <cstring>

using namespace quib;

namespace
{

// A row above that came from the same source row, or null. Row pairs repeat two
// rows further down.
const uint8_t* sameRowAbove(const StretchTarget& to, size_t rowBytes, const uint32_t* rows,
                            uint32_t y)
{
    if (to.step < static_cast<ptrdiff_t>(rowBytes))
        return nullptr;
    for (uint32_t back = 1; back <= 2 && back <= y; ++back)
        if (rows[y - back] == rows[y])
            return to.data + static_cast<ptrdiff_t>(y - back) * to.step;
    return nullptr;
}

// How many pixels of row y both blocks hold.
uint32_t nearestWidth(const StretchTarget& to, const StretchSource& from,
                      const StretchTables& tables, size_t pixelBytes, uint32_t y)
{
    return readableWidth(from, tables.y.idx0[y], tables.x.idx0, writableWidth(to, y, pixelBytes),
                         pixelBytes);
}

// Pixel by pixel, each as those before it leave it.
void stretchNearestInOrder(const StretchTarget& to, const StretchSource& from,
                           const StretchTables& tables, const Gather& gather)
{
    uint8_t* dst = to.data;
    for (uint32_t y = 0; y < to.height; ++y, dst += to.step) {
        const uint32_t width = nearestWidth(to, from, tables, gather.pixelBytes, y);
        const uint8_t* src = sourceRow(from, tables.y.idx0[y]);
        for (uint32_t x = 0; x < width; ++x)
            gather.byIndex(dst + x * gather.pixelBytes, src, tables.x.idx0 + x, 1);
    }
}

// What all rows have in common.
struct NearestColumns {
    const StretchTables& tables;
    const Gather& gather;
    uint32_t width;
    size_t step;
    size_t blocks;

    NearestColumns(uint32_t dstW, const StretchTables& stretchTables, const Gather& rowFunctions)
        : tables(stretchTables), gather(rowFunctions), width(dstW),
          step(evenStep(tables.x.idx0, dstW)), blocks(0)
    {
        if (!step && gather.pixelBytes == 4)
            blocks = kernels().stretch.planBlocks32(tables.gathers, tables.x.idx0, dstW);
    }

    // The first `count` pixels of a row; `next` is the next one's source.
    void makeRow(uint8_t* dst, const uint8_t* src, const uint8_t* next, uint32_t count) const
    {
        if (step)
            return gather.bySteps(dst, src, next, step, count);
        const size_t inBlocks = count == width ? blocks : 0;
        kernels().stretch.gatherBlocks32(dst, src, tables.gathers, inBlocks);
        const size_t done = inBlocks * 8;
        gather.byIndex(dst + done * gather.pixelBytes, src, tables.x.idx0 + done, count - done);
    }
};

} // namespace

void quib::stretchNearest(const StretchTarget& to, const StretchSource& from,
                          const StretchTables& tables, const Gather& gather)
{
    if (overlap(to, from, gather.pixelBytes))
        return stretchNearestInOrder(to, from, tables, gather);
    const NearestColumns columns(to.width, tables, gather);
    const uint32_t* rows = tables.y.idx0;
    const size_t rowBytes = to.width * gather.pixelBytes;
    uint8_t* dst = to.data;
    for (uint32_t y = 0; y < to.height; ++y, dst += to.step) {
        const uint32_t width = nearestWidth(to, from, tables, gather.pixelBytes, y);
        if (const uint8_t* above = sameRowAbove(to, rowBytes, rows, y))
            std::memcpy(dst, above, width * gather.pixelBytes);
        else
            columns.makeRow(dst, sourceRow(from, rows[y]),
                            sourceRow(from, rows[std::min(y + 1, to.height - 1)]), width);
    }
}
