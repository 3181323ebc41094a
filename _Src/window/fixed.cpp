#include "_Src/window/fixed.h"

#include "_Src/image/scratch.h"
#include "kernels/kernels.h"

namespace
{

constexpr int32_t mostTaps = 5;

// The tap at (i, j) is across[i] * down[j]; `middle` is added to the one in the middle.
struct FixedFilter {
    int32_t size;
    int32_t down[mostTaps];
    int32_t across[mostTaps];
    int32_t middle;
    quib::FixedForm form;
};

constexpr FixedFilter filters[ownFixedFilters] = {
    // Gradients. [Prewitt, Object Enhancement and Extraction, 1970; Sobel and Feldman, 1968]
    {3, {1, 1, 1}, {-1, 0, 1}, 0, quib::fixedAbsolute},
    {3, {-1, 0, 1}, {1, 1, 1}, 0, quib::fixedAbsolute},
    {3, {1, 2, 1}, {-1, 0, 1}, 0, quib::fixedAbsolute},
    {3, {-1, 0, 1}, {1, 2, 1}, 0, quib::fixedAbsolute},
    // Laplacians.
    {3, {1, 1, 1}, {-1, -1, -1}, 9, quib::fixedAbsolute},
    {5, {1, 1, 1, 1, 1}, {-1, -1, -1, -1, -1}, 25, quib::fixedAbsolute},
    // Gaussians.
    {3, {1, 2, 1}, {1, 2, 1}, 0, quib::fixedOver16},
    {5, {1, 4, 6, 4, 1}, {1, 4, 6, 4, 1}, 0, quib::fixedOver256},
    // High-pass.
    {3, {1, 1, 1}, {1, 1, 1}, 0, quib::fixedLessOver9},
    {5, {1, 1, 1, 1, 1}, {1, 1, 1, 1, 1}, 0, quib::fixedLessOver25},
    // Sharpening.
    {3, {1, 1, 1}, {-1, -1, -1}, 10, quib::fixedSaturated},
};

quib::FixedElement elementOf(uint32_t depth)
{
    switch (depth) {
    case IPL_DEPTH_8S:
        return quib::fixedS8;
    case IPL_DEPTH_16U:
        return quib::fixedU16;
    case IPL_DEPTH_16S:
        return quib::fixedS16;
    case IPL_DEPTH_32S:
        return quib::fixedS32;
    case IPL_DEPTH_32F:
        return quib::fixedF32;
    default:
        return quib::fixedU8;
    }
}

// The taps that are not 0, and where their elements start.
struct Terms {
    void add(const void* start, int32_t tap)
    {
        if (tap == 0)
            return;
        elements[count] = start;
        taps[count++] = tap;
    }
    operator quib::FixedTerms() const { return {elements, taps, count}; }

    const void* elements[mostTaps * mostTaps];
    int32_t taps[mostTaps * mostTaps];
    size_t count = 0;
};

// Rows of one filter.
struct FixedRows {
    FixedRows(const IplWindowJob& job, const FixedFilter& given)
        : filter(given), type(elementOf(job.src->depth)), bits(job.src->depth == IPL_DEPTH_1U),
          elementBytes(ownElementBytes(job.src->depth)), columns(sumBytes(job)), sums(sumBytes(job))
    {
    }
    static int64_t sumBytes(const IplWindowJob& job)
    {
        return ownMostElements(job) * static_cast<int64_t>(quib::fixedSumBytes);
    }
    // The window's element in column i and row j, for the row's first pixel.
    const uint8_t* start(const IplWindowRow& row, int32_t i, int32_t j) const
    {
        const ptrdiff_t column = i - filter.size / 2;
        return row.rows[j] + column * row.channels * elementBytes;
    }
    void addFloats(const IplWindowRow& row, size_t count) const;
    void addIntegers(const IplWindowRow& row, size_t count) const;
    int32_t number() const;
    bool operator()(const IplWindowRow& row) const;

    const FixedFilter& filter;
    const quib::FixedElement type;
    const bool bits;
    const int64_t elementBytes;
    const IplScratch<uint8_t> columns;
    const IplScratch<uint8_t> sums;
};

// Tap by tap, row by row.
void FixedRows::addFloats(const IplWindowRow& row, size_t count) const
{
    Terms terms;
    const int32_t half = filter.size / 2;
    for (int32_t j = 0; j < filter.size; ++j)
        for (int32_t i = 0; i < filter.size; ++i) {
            const int32_t more = i == half && j == half ? filter.middle : 0;
            terms.add(start(row, i, j), filter.across[i] * filter.down[j] + more);
        }
    quib::kernels().fixed.down[type](sums.data, terms, count);
}

void FixedRows::addIntegers(const IplWindowRow& row, size_t count) const
{
    const quib::FixedKernels& kernels = quib::kernels().fixed;
    // Sums are twice as wide as elements.
    const ptrdiff_t pixelBytes = static_cast<ptrdiff_t>(2 * elementBytes * row.channels);
    Terms down;
    Terms across;
    for (int32_t k = 0; k < filter.size; ++k) {
        down.add(start(row, 0, k), filter.down[k]);
        across.add(columns.data + k * pixelBytes, filter.across[k]);
    }
    const size_t more = static_cast<size_t>(filter.size - 1) * static_cast<size_t>(row.channels);
    kernels.down[type](columns.data, down, count + more);
    kernels.across[type](sums.data, across, count);
}

// The number that the filter's form adds or multiplies by.
int32_t FixedRows::number() const
{
    if (filter.form != quib::fixedLessOver9 && filter.form != quib::fixedLessOver25)
        return filter.middle;
    if (bits)
        return 0;
    // The middle of an unsigned range, so that both signs of a difference have room.
    return type == quib::fixedU8 ? 128 : type == quib::fixedU16 ? 32768 : 0;
}

bool FixedRows::operator()(const IplWindowRow& row) const
{
    if (!columns.data || !sums.data)
        return false;
    const size_t count = static_cast<size_t>(row.width) * static_cast<size_t>(row.channels);
    if (type == quib::fixedF32)
        addFloats(row, count);
    else
        addIntegers(row, count);
    const int32_t half = filter.size / 2;
    quib::kernels().fixed.finish[filter.form][type](row.result, sums.data, start(row, half, half),
                                                    number(), count);
    uint8_t* const result = static_cast<uint8_t*>(row.result);
    for (size_t i = 0; bits && i < count; ++i)
        result[i] = result[i] != 0;
    return true;
}

} // namespace

IplWindowEnd ownFilterFixed(const IplImage* src, IplImage* dst, int32_t filter)
{
    const int32_t half = filters[filter].size / 2;
    const IplWindowJob job{src, dst, {half, half, half, half}};
    return ownFilterWindows(job, FixedRows(job, filters[filter]));
}
