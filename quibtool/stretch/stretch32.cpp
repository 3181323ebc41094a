// The stretchers of four-byte pixels.
#include "kernels/kernels.h"
#include "quibtool/stretch/nearest.h"
#include "quibtool/stretch/rows.h"

#include <algorithm>
#include <cstring>
#include <iterator>

using namespace quib;

namespace
{

// --- Weighted --------------------------------------------------------------------

// The outputs of a row that lie between two pixels. Those before and after
// repeat one pixel each.
struct Columns {
    uint32_t begin;
    uint32_t end;
    size_t exactStep; // of inner outputs that all have weight 255, else 0
};

Columns findColumns(const StretchAxis& x, uint32_t width)
{
    Columns columns{0, width, 0};
    while (columns.begin < width && x.idx1[columns.begin] == x.idx0[0])
        ++columns.begin;
    while (columns.end > columns.begin && x.idx0[columns.end - 1] == x.idx1[columns.end - 1])
        --columns.end;
    const auto isFull = [](uint32_t weight) { return weight == 0xFFFFFFFFu; };
    if (columns.begin == 0 && std::all_of(x.weight, x.weight + columns.end, isFull))
        columns.exactStep = evenStep(x.idx0, columns.end);
    return columns;
}

uint32_t loadPixel(const uint8_t* src)
{
    uint32_t pixel = 0;
    std::memcpy(&pixel, src, 4);
    return pixel;
}

// Rows filtered along x, kept for the next destination rows. Rows that one
// destination row needs have different places.
struct FilteredRows {
    const StretchTarget& to;
    const StretchSource& from;
    const StretchTables& tables;
    Columns columns;
    const uint8_t* held[4] = {};

    const uint8_t* row(uint32_t index)
    {
        const uint8_t* src = sourceRow(from, index);
        const uint32_t place = std::min(index, from.height - 1) & (tables.lineCount - 1);
        uint8_t* line = tables.lines + place * size_t{to.width} * 4;
        if (held[place] != src) {
            filter(line, src);
            held[place] = src;
        }
        return line;
    }

    void forget() { std::fill(std::begin(held), std::end(held), nullptr); }

    void filter(uint8_t* line, const uint8_t* src) const
    {
        const StretchAxis& x = tables.x;
        const uint8_t* first = src + size_t{x.idx0[0]} * 4;
        const uint8_t* last = src + size_t{x.idx0[to.width - 1]} * 4;
        kernels().block.fill32(line, loadPixel(first), columns.begin);
        kernels().stretch.lerpColumns32(line + size_t{columns.begin} * 4, src,
                                        x.idx0 + columns.begin, x.weight + columns.begin,
                                        columns.end - columns.begin);
        kernels().block.fill32(line + size_t{columns.end} * 4, loadPixel(last),
                               to.width - columns.end);
    }
};

// A row whose weights are all 255, along both axes.
void stretchExactRow(uint8_t* dst, uint32_t width, const StretchSource& from,
                     const Columns& columns, const uint8_t* upper, const uint8_t* lower)
{
    const StretchKernels& stretch = kernels().stretch;
    stretch.lerpSteps32(dst, upper, lower, columns.exactStep, std::min(columns.end, width));
    if (width <= columns.end)
        return;
    const size_t last = (size_t{from.width} - 1) * 4; // where alone two positions are one
    uint8_t pixel[4];
    stretch.lerpRows(pixel, upper + last, lower + last, 255, 4);
    kernels().block.fill32(dst + size_t{columns.end} * 4, loadPixel(pixel), width - columns.end);
}

void stretchWeighted(const StretchTarget& to, const StretchSource& from,
                     const StretchTables& tables)
{
    const StretchAxis& y = tables.y;
    FilteredRows filtered{to, from, tables, findColumns(tables.x, to.width)};
    const bool changesSource = overlap(to, from, 4);
    uint8_t* dst = to.data;
    for (uint32_t i = 0; i < to.height; ++i, dst += to.step) {
        if (changesSource)
            filtered.forget();
        const uint8_t weight = static_cast<uint8_t>(y.weight[i]);
        const uint32_t width = writableWidth(to, i, 4);
        if (filtered.columns.exactStep && weight == 255 && !changesSource) {
            stretchExactRow(dst, width, from, filtered.columns, sourceRow(from, y.idx0[i]),
                            sourceRow(from, y.idx1[i]));
            continue;
        }
        const uint8_t* upper = filtered.row(y.idx0[i]);
        const uint8_t* lower = filtered.row(y.idx1[i]);
        kernels().stretch.lerpRows(dst, upper, lower, weight, size_t{width} * 4);
    }
}

// --- Modes -----------------------------------------------------------------------

// The pair modes leave the last row of an odd height without an entry: let it
// repeat the row above.
void completePairs(const StretchAxis& y, uint32_t height)
{
    const uint32_t last = height - 1;
    y.idx0[last] = last ? y.idx0[last - 1] : 0;
    if (!y.weight)
        return;
    y.idx1[last] = last ? y.idx1[last - 1] : 0;
    y.weight[last] = last ? y.weight[last - 1] : 0xFFFFFFFFu;
}

uint32_t linesOfMode(int32_t mode)
{
    if (mode == STRETCH_NEAREST || mode == STRETCH_PAIRS_NEAREST)
        return 0;
    return mode == STRETCH_PAIRS_LINEAR ? 4 : 2;
}

int32_t horizontalMode(int32_t mode)
{
    if (mode == STRETCH_PAIRS_NEAREST)
        return STRETCH_NEAREST;
    return mode == STRETCH_PAIRS_LINEAR ? STRETCH_LINEAR : mode;
}

} // namespace

void quib::ownStretch32(const StretchTarget& to, const StretchSource& from,
                        const StretchTables& tables)
{
    holdInside(tables.x.idx0, to.width, from.width);
    if (!tables.lineCount) {
        const StretchKernels& stretch = kernels().stretch;
        return stretchNearest(to, from, tables, {4, stretch.gather32, stretch.gatherSteps32});
    }
    holdInside(tables.x.idx1, to.width, from.width);
    stretchWeighted(to, from, tables);
}

StretchTarget quib::ownCutToBlock(const StretchTarget& to)
{
    StretchTarget cut = to;
    cut.width = writableWidth(to, 0, 4);
    if (cut.width == 0)
        cut.height = 0;
    else if (to.step > 0)
        cut.height = static_cast<uint32_t>(std::min<uint64_t>(
            to.height, (to.bytes - 4) / static_cast<size_t>(to.step) + uint64_t{1}));
    return cut;
}

bool StretchStrided32(const StretchTarget& to, const StretchSource& from, int32_t mode)
{
    StretchTarget cut = ownCutToBlock(to);
    if (isPairMode(mode))
        cut.height = to.height;
    if (cut.width == 0 || cut.height == 0 || from.width == 0 || from.height == 0)
        return true;
    const StretchTables tables(cut.width, cut.height, linesOfMode(mode));
    if (!tables.exist())
        return false;
    const StretchAxis& x = tables.x;
    const StretchAxis& y = tables.y;
    buildStretchTable32(cut.width, to.width, from.width, x.weight, x.idx0, x.idx1,
                        horizontalMode(mode));
    buildStretchTable32(cut.height, to.height, from.height, y.weight, y.idx0, y.idx1, mode);
    if (isPairMode(mode) && to.height % 2 == 1)
        completePairs(y, to.height);
    ownStretch32(cut, from, tables);
    return true;
}

bool StretchStrided32(uint8_t* dst, uint32_t dstW, uint32_t dstH, ptrdiff_t dstStep,
                      const uint8_t* src, uint32_t srcW, uint32_t srcH, ptrdiff_t srcStep,
                      int32_t mode)
{
    return StretchStrided32({dst, dstW, dstH, dstStep}, {src, srcW, srcH, srcStep}, mode);
}

bool StretchPacked32(uint8_t* dst, uint32_t dstW, uint32_t dstH, const uint8_t* src, uint32_t srcW,
                     uint32_t srcH, int32_t mode)
{
    return StretchStrided32(dst, dstW, dstH, static_cast<ptrdiff_t>(dstW) * 4, src, srcW, srcH,
                            static_cast<ptrdiff_t>(srcW) * 4, mode);
}
