#include "_Src/window/box.h"

#include "_Src/image/scratch.h"
#include "kernels/kernels.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace
{

// The largest windows whose sums of bytes and of words, and half their number of
// elements, have 31 bits.
constexpr uint64_t mostInBytes = uint64_t{1} << 23;
constexpr uint64_t mostInWords = uint64_t{1} << 15;
// The most rows of bytes whose sums differ by less than 2^15.
constexpr int32_t mostRowsInWords = 128;
// Up to here a float tells the quotients of bytes' sums apart.
constexpr uint64_t mostInFloats = uint64_t{1} << 14;

quib::BoxKind kindOf(uint32_t depth, int32_t nRows, uint64_t elements)
{
    const int32_t bits = ownElementBytes(depth) * 8;
    if (depth == IPL_DEPTH_32F)
        return quib::boxFloats;
    if (bits == 32)
        return quib::boxInts;
    if (bits == 16)
        return elements <= mostInWords ? quib::boxWords : quib::boxManyWords;
    if (elements > mostInBytes)
        return quib::boxManyBytes;
    return nRows <= mostRowsInWords ? quib::boxBytes : quib::boxTallBytes;
}

int64_t columnBytes(quib::BoxKind kind)
{
    if (kind == quib::boxBytes)
        return 2;
    return kind == quib::boxTallBytes || kind == quib::boxWords ? 4 : 8;
}

struct BoxRows {
    BoxRows(const IplWindowJob& job, const IplWindow& itsWindow)
        : window(itsWindow), plan(ownPlanBox(job.src->depth, window.nCols, window.nRows)),
          elementBytes(ownElementBytes(job.src->depth)), columns(scratchBytes(job)),
          sums(scratchBytes(job))
    {
    }
    static int64_t scratchBytes(const IplWindowJob& job)
    {
        return (ownMostElements(job) + static_cast<int64_t>(quib::boxSlack)) * 8;
    }
    // In a row of neighbours, the first element of the first pixel's window.
    const uint8_t* start(const IplWindowRow& row, int32_t r) const
    {
        return row.rows[r] - static_cast<ptrdiff_t>(window.anchorX) * row.channels * elementBytes;
    }
    bool operator()(const IplWindowRow& row) const;
    void clear(size_t count) const;

    const IplWindow window;
    const IplBoxPlan plan;
    const int64_t elementBytes;
    const IplScratch<uint8_t> columns;
    const IplScratch<uint8_t> sums;
};

// No sum of floats is 0 but that of zeros: -0 is what adds nothing to either.
void BoxRows::clear(size_t count) const
{
    if (plan.kind == quib::boxFloats)
        std::fill_n(reinterpret_cast<double*>(columns.data), count, -0.0);
    else
        std::fill_n(columns.data, count * static_cast<size_t>(columnBytes(plan.kind)), uint8_t{0});
}

bool BoxRows::operator()(const IplWindowRow& row) const
{
    if (!columns.data || !sums.data)
        return false;
    const size_t channels = static_cast<size_t>(row.channels);
    const size_t results = static_cast<size_t>(row.width) * channels;
    const size_t all = results + (static_cast<size_t>(window.nCols) - 1) * channels;
    const quib::BoxKernels& kernels = quib::kernels().box;
    const bool anew = row.y == 0 || plan.kind == quib::boxFloats;
    if (anew)
        clear(all);
    for (int32_t r = anew ? 1 : window.nRows; r <= window.nRows; ++r)
        kernels.move[plan.kind](columns.data, anew ? nullptr : start(row, 0), start(row, r), all,
                                plan.window.flip);
    quib::BoxWindow box = plan.window;
    box.stride = channels;
    kernels.means[plan.kind](row.result, columns.data, sums.data, box, results);
    return true;
}

} // namespace

IplBoxPlan ownPlanBox(uint32_t depth, int32_t nCols, int32_t nRows)
{
    const uint64_t elements = static_cast<uint64_t>(nCols) * static_cast<uint64_t>(nRows);
    IplBoxPlan plan{kindOf(depth, nRows, elements), {}};
    quib::BoxWindow& box = plan.window;
    box.nCols = static_cast<size_t>(nCols);
    box.elements = elements;
    // Signed elements are counted from the least one on.
    if (depth & IPL_DEPTH_SIGN)
        box.flip = uint32_t{1} << ((depth & IPL_DEPTH_MASK) - 1);
    box.part = 1.0 / static_cast<double>(elements);
    if (plan.kind > quib::boxWords)
        return plan;
    // Rounded up, the factor is off by less than one part in 2^31, which is less than
    // a quotient can be below a whole number. [Granlund and Montgomery, Division by
    // Invariant Integers using Multiplication, 1994]
    box.shift = 31 + static_cast<uint32_t>(std::bit_width(elements - 1));
    box.factor = static_cast<uint32_t>(((uint64_t{1} << box.shift) + elements - 1) / elements);
    if (plan.kind != quib::boxWords && elements <= mostInFloats) {
        box.quotient = static_cast<float>(box.part);
        if (static_cast<double>(box.quotient) < box.part)
            box.quotient = std::nextafter(box.quotient, 2.0f);
    }
    return plan;
}

IplWindowEnd ownFilterMeans(const IplImage* src, IplImage* dst, const IplWindow& window)
{
    IplWindowJob job{src, dst, ownReach(window)};
    ++job.reach.top; // the row that leaves
    return ownFilterWindows(job, BoxRows(job, window));
}
