// The stretcher of one-byte pixels, whose weighted modes wrap.
#include "kernels/kernels.h"
#include "quibtool/stretch/nearest.h"
#include "quibtool/stretch/rows.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

using namespace quib;

namespace
{

// The weighted 8-bit stretch keeps two lines in a block whose layout shows: when
// the second line becomes the first, four times its length moves down, and takes
// the horizontal weights and part of the horizontal table with it. The weights
// end up in the second line, the table's beginning in the weights, and where the
// second line should be the same as before, it is not built anew.
struct WeightedPlane8 {
    WeightedPlane8(uint32_t width, uint32_t height) : dstW(width)
    {
        const uint64_t bytes = uint64_t{width} * (11 + 4) + uint64_t{height} * 9 + 8;
        block = allocateStretchScratch(bytes);
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

bool stretchWeighted8(const StretchTarget& to, const StretchSource& from, int32_t mode)
{
    WeightedPlane8 plane(to.width, to.height);
    if (!plane.block)
        return false;
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
    return true;
}

} // namespace

bool StretchPlane8(uint8_t* dst, uint32_t dstW, uint32_t dstH, ptrdiff_t dstStep,
                   const uint8_t* src, uint32_t srcW, uint32_t srcH, ptrdiff_t srcStep,
                   int32_t mode)
{
    if (dstW == 0 || dstH == 0 || srcW == 0 || srcH == 0)
        return true;
    const StretchTarget to{dst, dstW, dstH, dstStep};
    const StretchSource from{src, srcW, srcH, srcStep};
    if (mode != STRETCH_NEAREST)
        return stretchWeighted8(to, from, mode);
    const StretchTables tables(dstW, dstH, 0);
    if (!tables.exist())
        return false;
    BuildStretchTable8(dstW, srcW, nullptr, tables.x.idx0, nullptr, mode);
    BuildStretchTable8(dstH, srcH, nullptr, tables.y.idx0, nullptr, mode);
    holdInside(tables.x.idx0, dstW, srcW);
    stretchNearest(to, from, tables, {1, GatherRow8, kernels().stretch.gatherSteps8});
    return true;
}
