#include "quibtool/stretch/tables.h"

#include "quibtool/quibtool.h"

#include <cstdlib>

using namespace quib;

namespace
{

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

} // namespace

bool quib::isPairMode(int32_t mode)
{
    return mode == STRETCH_PAIRS_NEAREST || mode == STRETCH_PAIRS_LINEAR;
}

uint8_t quib::ownStretchWeight(double t, int32_t mode)
{
    return mode == STRETCH_SMOOTH ? smoothWeight(t) : linearWeight(t);
}

void quib::buildStretchTable32(uint32_t count, uint32_t dstN, uint32_t srcN, uint32_t* weight,
                               uint32_t* idx0, uint32_t* idx1, int32_t mode)
{
    if (mode == STRETCH_PAIRS_NEAREST)
        buildNearestPairs(dstN, srcN, idx0);
    else if (mode == STRETCH_PAIRS_LINEAR)
        buildLinearPairs(dstN, srcN, weight, idx0, idx1);
    else
        buildTable(count, dstN, srcN, weight, idx0, idx1, mode);
}

void BuildStretchTable8(uint32_t dstN, uint32_t srcN, uint8_t* weight, uint32_t* idx0,
                        uint32_t* idx1, int32_t mode)
{
    buildTable(dstN, dstN, srcN, weight, idx0, idx1, mode);
}

void BuildStretchTable32(uint32_t dstN, uint32_t srcN, uint32_t* weight, uint32_t* idx0,
                         uint32_t* idx1, int32_t mode)
{
    buildStretchTable32(dstN, dstN, srcN, weight, idx0, idx1, mode);
}

void quib::holdInside(uint32_t* index, uint32_t count, uint32_t srcN)
{
    for (uint32_t i = count; i > 0 && index[i - 1] >= srcN; --i)
        index[i - 1] = srcN - 1;
}

size_t quib::evenStep(const uint32_t* index, size_t count)
{
    const size_t step = count > 1 ? index[1] : 1;
    for (size_t i = 0; i < count; ++i)
        if (index[i] != i * step)
            return 0;
    return step;
}

// --- Scratch -----------------------------------------------------------------

uint8_t* quib::allocateStretchScratch(uint64_t bytes)
{
    return bytes <= SIZE_MAX ? static_cast<uint8_t*>(std::malloc(static_cast<size_t>(bytes)))
                             : nullptr;
}

uint32_t* quib::takeWords(uint8_t** next, size_t count)
{
    uint32_t* words = reinterpret_cast<uint32_t*>(*next);
    *next += count * sizeof(uint32_t);
    return words;
}

quib::StretchTables::StretchTables(uint32_t dstW, uint32_t dstH, uint32_t keptLines)
    : lineCount(keptLines), block(nullptr), lines(nullptr), gathers(nullptr), x{}, y{}
{
    const uint64_t tables = keptLines ? 3 : 1;
    const uint64_t gatherBytes = keptLines ? 0 : dstW / 8 * uint64_t{sizeof(GatherBlock)};
    block = allocateStretchScratch(((keptLines + tables) * dstW + tables * dstH) * 4 + gatherBytes);
    if (!block)
        return;
    lines = block;
    uint8_t* next = block + size_t{keptLines} * dstW * 4;
    x.idx0 = takeWords(&next, dstW);
    y.idx0 = takeWords(&next, dstH);
    if (!keptLines) {
        gathers = reinterpret_cast<GatherBlock*>(next);
        return;
    }
    x.idx1 = takeWords(&next, dstW);
    y.idx1 = takeWords(&next, dstH);
    x.weight = takeWords(&next, dstW);
    y.weight = takeWords(&next, dstH);
}

quib::StretchTables::~StretchTables()
{
    std::free(block);
}
