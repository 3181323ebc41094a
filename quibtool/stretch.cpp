#include "quibtool/stretch.h"

#include "kernels/kernels.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace
{

// --- Tables ------------------------------------------------------------------

bool isPairMode(int32_t mode)
{
    return mode == STRETCH_PAIRS_NEAREST || mode == STRETCH_PAIRS_LINEAR;
}

// Calls visit(i, whole, fraction) for each position. They come by repeated
// addition, whose rounding adds up.
template<class Visit>
void forEachPosition(uint32_t count, uint32_t dstN, uint32_t srcN, Visit visit)
{
    if (dstN > 0 && srcN % dstN == 0) {
        // Whole steps add up without rounding, and need not be added up.
        for (uint32_t i = 0; i < count; ++i)
            visit(i, i * (srcN / dstN), 0.0);
        return;
    }
    const double step = static_cast<double>(srcN) / static_cast<double>(dstN);
    double position = 0.0;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t whole = static_cast<uint32_t>(position);
        visit(i, whole, position - whole);
        position += step;
    }
}

uint8_t linearWeight(double t)
{
    return static_cast<uint8_t>(~static_cast<int32_t>(t * 255.0 + 0.5));
}

uint8_t smoothWeight(double t)
{
    return linearWeight((3.0 - 2.0 * t) * t * t);
}

void storeWeight(uint8_t* entry, uint8_t weight)
{
    *entry = weight;
}

void storeWeight(uint32_t* entry, uint8_t weight)
{
    *entry = weight * 0x01010101u;
}

// The builders fill the first `count` of dstN entries.
void buildNearest(uint32_t count, uint32_t dstN, uint32_t srcN, uint32_t* idx0)
{
    forEachPosition(count, dstN, srcN,
                    [=](uint32_t i, uint32_t whole, double) { idx0[i] = whole; });
}

template<class Weight, class Curve>
void buildWeighted(uint32_t count, uint32_t dstN, uint32_t srcN, Weight* weight, uint32_t* idx0,
                   uint32_t* idx1, Curve curve)
{
    forEachPosition(count, dstN, srcN, [=](uint32_t i, uint32_t whole, double t) {
        idx0[i] = whole;
        idx1[i] = whole < srcN - 1 ? whole + 1 : whole;
        storeWeight(weight + i, curve(t));
    });
}

template<class Weight>
void buildTable(uint32_t count, uint32_t dstN, uint32_t srcN, Weight* weight, uint32_t* idx0,
                uint32_t* idx1, int32_t mode)
{
    if (mode == STRETCH_NEAREST)
        buildNearest(count, dstN, srcN, idx0);
    else if (mode == STRETCH_SMOOTH)
        buildWeighted(count, dstN, srcN, weight, idx0, idx1, smoothWeight);
    else
        buildWeighted(count, dstN, srcN, weight, idx0, idx1, linearWeight);
}

void buildNearestPairs(uint32_t dstN, uint32_t srcN, uint32_t* idx0)
{
    forEachPosition(dstN / 2, dstN, srcN, [=](uint32_t k, uint32_t whole, double) {
        uint32_t* pair = idx0 + size_t{2} * k;
        pair[0] = 2 * whole;
        pair[1] = 2 * whole + 1;
    });
}

void buildLinearPairs(uint32_t dstN, uint32_t srcN, uint32_t* weight, uint32_t* idx0,
                      uint32_t* idx1)
{
    forEachPosition(dstN / 2, dstN, srcN, [=](uint32_t k, uint32_t whole, double t) {
        for (uint32_t i = 0; i < 2; ++i) {
            const size_t entry = size_t{2} * k + i;
            const uint32_t row = 2 * whole + i;
            idx0[entry] = row;
            idx1[entry] = row < srcN - 2 ? row + 2 : row;
            storeWeight(weight + entry, linearWeight(t));
        }
    });
}

// The pair modes fill all entries.
void buildTable32(uint32_t count, uint32_t dstN, uint32_t srcN, uint32_t* weight, uint32_t* idx0,
                  uint32_t* idx1, int32_t mode)
{
    if (mode == STRETCH_PAIRS_NEAREST)
        buildNearestPairs(dstN, srcN, idx0);
    else if (mode == STRETCH_PAIRS_LINEAR)
        buildLinearPairs(dstN, srcN, weight, idx0, idx1);
    else
        buildTable(count, dstN, srcN, weight, idx0, idx1, mode);
}

// Rounding that added up over very many positions can reach past the last one.
void holdInside(uint32_t* index, uint32_t count, uint32_t srcN)
{
    for (uint32_t i = count; i > 0 && index[i - 1] >= srcN; --i)
        index[i - 1] = srcN - 1;
}

// The step of a table whose entry i is i times that, else 0.
size_t evenStep(const uint32_t* index, size_t count)
{
    const size_t step = count > 1 ? index[1] : 1;
    for (size_t i = 0; i < count; ++i)
        if (index[i] != i * step)
            return 0;
    return step;
}

// --- Scratch -----------------------------------------------------------------

// Null, too, for a size that this target's addresses cannot express.
uint8_t* allocateScratch(uint64_t bytes)
{
    return bytes <= SIZE_MAX ? static_cast<uint8_t*>(std::malloc(static_cast<size_t>(bytes)))
                             : nullptr;
}

uint32_t* takeWords(uint8_t** next, size_t count)
{
    uint32_t* words = reinterpret_cast<uint32_t*>(*next);
    *next += count * sizeof(uint32_t);
    return words;
}

// --- Blocks that end before the rows do ------------------------------------------

// How many bytes of a block lie behind the start of a row.
uint64_t bytesFromRow(ptrdiff_t step, size_t bytes, uint32_t row)
{
    if (step < 0)
        return UINT64_MAX;
    const uint64_t offset = static_cast<uint64_t>(step) * row;
    return offset < bytes ? bytes - offset : 0;
}

// How many pixels of a row, or of its first `count` columns, lie inside the
// block. Each row asks for it: divisions are for those that are cut.
uint32_t writableWidth(const StretchTarget& to, uint32_t y, size_t pixelBytes)
{
    const uint64_t bytes = bytesFromRow(to.step, to.bytes, y);
    return bytes >= uint64_t{to.width} * pixelBytes ? to.width
                                                    : static_cast<uint32_t>(bytes / pixelBytes);
}

uint32_t readableWidth(const StretchSource& from, uint32_t row, const uint32_t* columns,
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

// --- One image that is both sides ------------------------------------------------

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

bool overlap(const StretchTarget& to, const StretchSource& from, size_t pixelBytes)
{
    const Extent target = extentOf(to.data, to.width, to.height, to.step, pixelBytes);
    const Extent source = extentOf(from.data, from.width, from.height, from.step, pixelBytes);
    return target.begin < source.end && source.begin < target.end;
}

// --- Nearest -------------------------------------------------------------------

const uint8_t* sourceRow(const StretchSource& from, uint32_t row)
{
    return from.data + static_cast<ptrdiff_t>(std::min(row, from.height - 1)) * from.step;
}

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

// The row functions of one pixel size.
struct Gather {
    size_t pixelBytes;
    decltype(quib::StretchKernels::gather8) byIndex;
    decltype(quib::StretchKernels::gatherSteps8) bySteps;
};

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
            blocks = quib::kernels().stretch.planBlocks32(tables.gathers, tables.x.idx0, dstW);
    }

    // The first `count` pixels of a row; `next` is the next one's source.
    void makeRow(uint8_t* dst, const uint8_t* src, const uint8_t* next, uint32_t count) const
    {
        if (step)
            return gather.bySteps(dst, src, next, step, count);
        const size_t inBlocks = count == width ? blocks : 0;
        quib::kernels().stretch.gatherBlocks32(dst, src, tables.gathers, inBlocks);
        const size_t done = inBlocks * 8;
        gather.byIndex(dst + done * gather.pixelBytes, src, tables.x.idx0 + done, count - done);
    }
};

void stretchNearest(const StretchTarget& to, const StretchSource& from, const StretchTables& tables,
                    const Gather& gather)
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

// --- Weighted, four-byte pixels --------------------------------------------------

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
        quib::kernels().block.fill32(line, loadPixel(first), columns.begin);
        quib::kernels().stretch.lerpColumns32(line + size_t{columns.begin} * 4, src,
                                              x.idx0 + columns.begin, x.weight + columns.begin,
                                              columns.end - columns.begin);
        quib::kernels().block.fill32(line + size_t{columns.end} * 4, loadPixel(last),
                                     to.width - columns.end);
    }
};

// A row whose weights are all 255, along both axes.
void stretchExactRow(uint8_t* dst, uint32_t width, const StretchSource& from,
                     const Columns& columns, const uint8_t* upper, const uint8_t* lower)
{
    const quib::StretchKernels& kernels = quib::kernels().stretch;
    kernels.lerpSteps32(dst, upper, lower, columns.exactStep, std::min(columns.end, width));
    if (width <= columns.end)
        return;
    const size_t last = (size_t{from.width} - 1) * 4; // where alone two positions are one
    uint8_t pixel[4];
    kernels.lerpRows(pixel, upper + last, lower + last, 255, 4);
    quib::kernels().block.fill32(dst + size_t{columns.end} * 4, loadPixel(pixel),
                                 width - columns.end);
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
        quib::kernels().stretch.lerpRows(dst, upper, lower, weight, size_t{width} * 4);
    }
}

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

// --- Weighted, one-byte pixels ----------------------------------------------------

// The weighted 8-bit stretch keeps two lines in a block whose layout shows: when
// the second line becomes the first, four times its length moves down, and takes
// the horizontal weights and part of the horizontal table with it. The weights
// end up in the second line, the table's beginning in the weights, and where the
// second line should be the same as before, it is not built anew.
struct WeightedPlane8 {
    WeightedPlane8(uint32_t width, uint32_t height) : dstW(width)
    {
        const uint64_t bytes = uint64_t{width} * (11 + 4) + uint64_t{height} * 9 + 8;
        block = allocateScratch(bytes);
        if (!block)
            return;
        // The first table follows three lines of bytes without a gap, so the
        // room that aligns it lies before them.
        uint8_t* next = block + (4 - 3 * size_t{width} % 4) % 4;
        lineA = next;
        lineB = lineA + width;
        weightX = lineB + width;
        next = weightX + width;
        idx0X = takeWords(&next, width);
        idx1X = takeWords(&next, width);
        idx0Y = takeWords(&next, height);
        idx1Y = takeWords(&next, height);
        safeIdx0X = takeWords(&next, width);
        weightY = next;
    }
    ~WeightedPlane8() { std::free(block); }
    WeightedPlane8(const WeightedPlane8&) = delete;
    WeightedPlane8& operator=(const WeightedPlane8&) = delete;

    void build(uint32_t dstH, uint32_t srcWidth, uint32_t srcHeight, int32_t mode)
    {
        srcW = srcWidth;
        BuildStretchTable8(dstW, srcWidth, weightX, idx0X, idx1X, mode);
        BuildStretchTable8(dstH, srcHeight, weightY, idx0Y, idx1Y, mode);
        holdInside(idx1X, dstW, srcWidth);
        holdTableInside();
    }

    // Moved bytes make positions anywhere.
    void holdTableInside()
    {
        std::transform(idx0X, idx0X + dstW, safeIdx0X,
                       [this](uint32_t index) { return std::min(index, srcW - 1); });
    }

    void moveLineB()
    {
        std::memmove(lineA, lineB, size_t{dstW} * 4);
        holdTableInside();
    }

    void buildLine(uint8_t* line, const uint8_t* row) const
    {
        LerpRowByTable8(line, row, safeIdx0X, idx1X, weightX, dstW);
    }

    uint8_t* block = nullptr;
    uint8_t* lineA = nullptr;
    uint8_t* lineB = nullptr;
    uint8_t* weightX = nullptr;
    uint8_t* weightY = nullptr;
    uint32_t* idx0X = nullptr;
    uint32_t* idx1X = nullptr;
    uint32_t* idx0Y = nullptr;
    uint32_t* idx1Y = nullptr;
    uint32_t* safeIdx0X = nullptr; // what is read through in the place of idx0X
    uint32_t dstW = 0;
    uint32_t srcW = 0;
};

void stretchWeighted8(const StretchTarget& to, const StretchSource& from, int32_t mode)
{
    WeightedPlane8 plane(to.width, to.height);
    if (!plane.block)
        return;
    plane.build(to.height, from.width, from.height, mode);
    uint32_t inA = 0xFFFFFFFFu;
    uint32_t inB = 0xFFFFFFFFu;
    uint8_t* dst = to.data;
    for (uint32_t y = 0; y < to.height; ++y, dst += to.step) {
        const uint32_t r0 = plane.idx0Y[y];
        const uint32_t r1 = plane.idx1Y[y];
        if (r0 != inA) {
            if (r0 == inB) {
                plane.moveLineB();
            } else {
                plane.buildLine(plane.lineA, sourceRow(from, r0));
                inB = 0xFFFFFFFFu;
            }
            inA = r0;
        }
        if (r1 != inB) {
            plane.buildLine(plane.lineB, sourceRow(from, r1));
            inB = r1;
        }
        LerpRows8(dst, plane.lineA, plane.lineB, plane.weightY + y, to.width);
    }
}

} // namespace

void BuildStretchTable8(uint32_t dstN, uint32_t srcN, uint8_t* weight, uint32_t* idx0,
                        uint32_t* idx1, int32_t mode)
{
    buildTable(dstN, dstN, srcN, weight, idx0, idx1, mode);
}

void BuildStretchTable32(uint32_t dstN, uint32_t srcN, uint32_t* weight, uint32_t* idx0,
                         uint32_t* idx1, int32_t mode)
{
    buildTable32(dstN, dstN, srcN, weight, idx0, idx1, mode);
}

void GatherRow8(uint8_t* dst, const uint8_t* srcRow, const uint32_t* idx0, size_t n)
{
    quib::kernels().stretch.gather8(dst, srcRow, idx0, n);
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
    quib::kernels().stretch.lerpRows(dst, rowA, rowB, *weightPointer, n);
}

StretchTables::StretchTables(uint32_t dstW, uint32_t dstH, uint32_t keptLines)
    : lineCount(keptLines), block(nullptr), lines(nullptr), gathers(nullptr), x{}, y{}
{
    const uint64_t tables = keptLines ? 3 : 1;
    const uint64_t gatherBytes = keptLines ? 0 : dstW / 8 * uint64_t{sizeof(quib::GatherBlock)};
    block = allocateScratch(((keptLines + tables) * dstW + tables * dstH) * 4 + gatherBytes);
    if (!block)
        return;
    lines = block;
    uint8_t* next = block + size_t{keptLines} * dstW * 4;
    x.idx0 = takeWords(&next, dstW);
    y.idx0 = takeWords(&next, dstH);
    if (!keptLines) {
        gathers = reinterpret_cast<quib::GatherBlock*>(next);
        return;
    }
    x.idx1 = takeWords(&next, dstW);
    y.idx1 = takeWords(&next, dstH);
    x.weight = takeWords(&next, dstW);
    y.weight = takeWords(&next, dstH);
}

StretchTables::~StretchTables()
{
    std::free(block);
}

void ownStretch32(const StretchTarget& to, const StretchSource& from, const StretchTables& tables)
{
    holdInside(tables.x.idx0, to.width, from.width);
    if (!tables.lineCount) {
        const quib::StretchKernels& kernels = quib::kernels().stretch;
        return stretchNearest(to, from, tables, {4, kernels.gather32, kernels.gatherSteps32});
    }
    holdInside(tables.x.idx1, to.width, from.width);
    stretchWeighted(to, from, tables);
}

StretchTarget ownCutToBlock(const StretchTarget& to)
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

uint8_t ownStretchWeight(double t, int32_t mode)
{
    return mode == STRETCH_SMOOTH ? smoothWeight(t) : linearWeight(t);
}

void StretchStrided32(const StretchTarget& to, const StretchSource& from, int32_t mode)
{
    StretchTarget cut = ownCutToBlock(to);
    if (isPairMode(mode))
        cut.height = to.height;
    if (cut.width == 0 || cut.height == 0 || from.width == 0 || from.height == 0)
        return;
    const StretchTables tables(cut.width, cut.height, linesOfMode(mode));
    if (!tables.exist())
        return;
    const StretchAxis& x = tables.x;
    const StretchAxis& y = tables.y;
    buildTable32(cut.width, to.width, from.width, x.weight, x.idx0, x.idx1, horizontalMode(mode));
    buildTable32(cut.height, to.height, from.height, y.weight, y.idx0, y.idx1, mode);
    if (isPairMode(mode) && to.height % 2 == 1)
        completePairs(y, to.height);
    ownStretch32(cut, from, tables);
}

void StretchStrided32(uint8_t* dst, uint32_t dstW, uint32_t dstH, ptrdiff_t dstStep,
                      const uint8_t* src, uint32_t srcW, uint32_t srcH, ptrdiff_t srcStep,
                      int32_t mode)
{
    StretchStrided32({dst, dstW, dstH, dstStep}, {src, srcW, srcH, srcStep}, mode);
}

void StretchPacked32(uint8_t* dst, uint32_t dstW, uint32_t dstH, const uint8_t* src, uint32_t srcW,
                     uint32_t srcH, int32_t mode)
{
    StretchStrided32(dst, dstW, dstH, static_cast<ptrdiff_t>(dstW) * 4, src, srcW, srcH,
                     static_cast<ptrdiff_t>(srcW) * 4, mode);
}

void StretchPlane8(uint8_t* dst, uint32_t dstW, uint32_t dstH, ptrdiff_t dstStep,
                   const uint8_t* src, uint32_t srcW, uint32_t srcH, ptrdiff_t srcStep,
                   int32_t mode)
{
    if (dstW == 0 || dstH == 0 || srcW == 0 || srcH == 0)
        return;
    const StretchTarget to{dst, dstW, dstH, dstStep};
    const StretchSource from{src, srcW, srcH, srcStep};
    if (mode != STRETCH_NEAREST)
        return stretchWeighted8(to, from, mode);
    const StretchTables tables(dstW, dstH, 0);
    if (!tables.exist())
        return;
    BuildStretchTable8(dstW, srcW, nullptr, tables.x.idx0, nullptr, mode);
    BuildStretchTable8(dstH, srcH, nullptr, tables.y.idx0, nullptr, mode);
    holdInside(tables.x.idx0, dstW, srcW);
    stretchNearest(to, from, tables, {1, GatherRow8, quib::kernels().stretch.gatherSteps8});
}
