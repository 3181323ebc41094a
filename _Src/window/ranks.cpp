#include "_Src/window/ranks.h"

#include "kernels/kernels.h"

#include <algorithm>
#include <cstring>

namespace
{

// The type of an integer depth's elements, when bits are bytes.
quib::RankType rankTypeOf(uint32_t depth)
{
    switch (depth) {
    case IPL_DEPTH_8S:
        return quib::RANK_S8;
    case IPL_DEPTH_16U:
        return quib::RANK_U16;
    case IPL_DEPTH_16S:
        return quib::RANK_S16;
    case IPL_DEPTH_32S:
        return quib::RANK_S32;
    default:
        return quib::RANK_U8;
    }
}

// What the filters are made for.
struct Shape {
    Shape(const IplWindowJob& job, const IplWindow& itsWindow)
        : window(itsWindow), elementBytes(ownElementBytes(job.src->depth)),
          mostElements(ownMostElements(job))
    {
    }

    // In a row of neighbours, the first element of the first pixel's window.
    const uint8_t* start(const IplWindowRow& row, int32_t r) const
    {
        return row.rows[r] - static_cast<ptrdiff_t>(window.anchorX) * row.channels * elementBytes;
    }
    // The elements of all windows of a row.
    size_t elements(const IplWindowRow& row) const
    {
        return (static_cast<size_t>(row.width) + static_cast<size_t>(window.nCols) - 1) *
               static_cast<size_t>(row.channels);
    }
    // The bytes of `rows` rows of all elements, or too many of them.
    int64_t bytes(int64_t rows) const
    {
        const int64_t row = mostElements * elementBytes;
        return rows <= INT32_MAX / row ? rows * row : int64_t{INT32_MAX} + 1;
    }

    IplWindow window;
    int64_t elementBytes;
    int64_t mostElements;
};

size_t results(const IplWindowRow& row)
{
    return static_cast<size_t>(row.width) * static_cast<size_t>(row.channels);
}

// --- Extremes ------------------------------------------------------------------------

using PairRun = void (*)(void* dst, const void* a, const void* b, size_t count);

struct Extremes {
    Extremes(const IplWindowJob& job, const IplWindow& window, PairRun pairRun)
        : run(pairRun), shape(job, window), suffixes(shape.bytes(window.nRows)),
          prefix(shape.bytes(1)), columns(shape.bytes(1))
    {
    }
    bool isReady() const { return suffixes.data && prefix.data && columns.data; }
    uint8_t* suffix(int32_t k) const { return suffixes.data + k * shape.bytes(1); }
    bool operator()(const IplWindowRow& row) const;
    const uint8_t* columnsOf(const IplWindowRow& row) const;

    const PairRun run;
    const Shape shape;
    // Of a block of nRows rows: the extremes of rows k to the last one, for each k, and
    // of the rows that have come after the block.
    IplScratch<uint8_t> suffixes;
    IplScratch<uint8_t> prefix;
    IplScratch<uint8_t> columns;
};

// The extremes of the columns of all windows.
const uint8_t* Extremes::columnsOf(const IplWindowRow& row) const
{
    const size_t count = shape.elements(row);
    const int32_t last = shape.window.nRows - 1;
    const int32_t k = row.y % shape.window.nRows;
    const uint8_t* newest = shape.start(row, last);
    if (k == 0) {
        std::memcpy(suffix(last), newest, count * static_cast<size_t>(shape.elementBytes));
        for (int32_t r = last - 1; r >= 0; --r)
            run(suffix(r), suffix(r + 1), shape.start(row, r), count);
        return suffix(0);
    }
    if (k == 1)
        std::memcpy(prefix.data, newest, count * static_cast<size_t>(shape.elementBytes));
    else
        run(prefix.data, prefix.data, newest, count);
    run(columns.data, suffix(k), prefix.data, count);
    return columns.data;
}

bool Extremes::operator()(const IplWindowRow& row) const
{
    if (!isReady())
        return false;
    const size_t channels = static_cast<size_t>(row.channels);
    const size_t nCols = static_cast<size_t>(shape.window.nCols);
    const size_t bytes = static_cast<size_t>(shape.elementBytes);
    const uint8_t* from = columnsOf(row);
    uint8_t* const joined = columns.data;
    size_t span = 1; // columns that each element stands for
    for (; span * 2 <= nCols; span *= 2) {
        const size_t count = shape.elements(row) - (span * 2 - 1) * channels;
        run(joined, from, from + span * channels * bytes, count);
        from = joined;
    }
    run(row.result, from, from + (nCols - span) * channels * bytes, results(row));
    return true;
}

IplWindowEnd filterExtremes(const IplImage* src, IplImage* dst, const IplWindow& window,
                            const PairRun (&runs)[quib::RANK_INTEGERS])
{
    const IplWindowJob job{src, dst, ownReach(window)};
    return ownFilterWindows(job, Extremes(job, window, runs[rankTypeOf(src->depth)]));
}

// --- Medians by sorting networks --------------------------------------------------------

using NetworkRun = void (*)(void* dst, const void* const* rows, size_t count, size_t stride,
                            void* scratch);

IplWindowEnd sortWindows(const IplWindowJob& job, const IplWindow& window, NetworkRun run)
{
    const Shape shape(job, window);
    const IplScratch<uint8_t> scratch(shape.bytes(window.nRows));
    return ownFilterWindows(job, [&](const IplWindowRow& row) {
        const void* rows[5] = {};
        for (int32_t r = 0; r < window.nRows; ++r)
            rows[r] = shape.start(row, r);
        if (scratch.data)
            run(row.result, rows, results(row), static_cast<size_t>(row.channels), scratch.data);
        return scratch.data != nullptr;
    });
}

// --- Medians of bits ------------------------------------------------------------------

// The windows of one channel, whose columns are counts of ones.
IplWindowEnd countBits(IplWindowJob job, const IplWindow& window)
{
    ++job.reach.top; // the row that leaves
    const Shape shape(job, window);
    const IplScratch<int32_t> counts(shape.mostElements);
    const int64_t half = int64_t{window.nCols} * window.nRows / 2;
    return ownFilterWindows(job, [&](const IplWindowRow& row) {
        if (!counts.data)
            return false;
        const size_t columns = shape.elements(row);
        if (row.y == 0)
            std::fill_n(counts.data, columns, 0);
        const int32_t first = row.y == 0 ? 1 : window.nRows;
        for (int32_t r = first; r <= window.nRows; ++r)
            for (size_t i = 0; i < columns; ++i)
                counts.data[i] += shape.start(row, r)[i];
        for (size_t i = 0; row.y > 0 && i < columns; ++i)
            counts.data[i] -= shape.start(row, 0)[i];
        int64_t ones = 0;
        for (int32_t i = 0; i < window.nCols - 1; ++i)
            ones += counts.data[i];
        uint8_t* result = static_cast<uint8_t*>(row.result);
        for (int32_t x = 0; x < row.width; ++x) {
            ones += counts.data[x + window.nCols - 1];
            result[x] = ones > half;
            ones -= counts.data[x];
        }
        return true;
    });
}

// --- Medians by histograms of columns ---------------------------------------------------

// So many columns' histograms stay in a second-level cache.
constexpr int32_t histogramColumns = 512;
constexpr int64_t mostInHistogram = 65535;
// Of wider windows with that many elements a single column has few.
constexpr int32_t widestOfColumns = 4096;

IplWindowEnd rankByColumns(IplWindowJob job, const IplWindow& window, uint8_t flip)
{
    ++job.reach.top; // the row that leaves
    job.stripColumns = std::max(histogramColumns / job.src->nChannels, window.nCols);
    const Shape shape(job, window);
    const IplScratch<uint16_t> columns(shape.mostElements * static_cast<int64_t>(quib::rankBins));
    const IplScratch<uint16_t> sums(
        static_cast<int64_t>(quib::rankSums(static_cast<size_t>(shape.mostElements))));
    // From the largest element on.
    const uint32_t rank = static_cast<uint32_t>((window.nCols * window.nRows - 1) / 2);
    const quib::RankKernels& kernels = quib::kernels().rank;
    return ownFilterWindows(job, [&](const IplWindowRow& row) {
        if (!columns.data || !sums.data)
            return false;
        const size_t count = shape.elements(row);
        if (row.y == 0)
            std::memset(columns.data, 0, count * quib::rankBins * sizeof(uint16_t));
        const int32_t first = row.y == 0 ? 1 : window.nRows;
        for (int32_t r = first; r <= window.nRows; ++r)
            kernels.moveColumns(columns.data, row.y == 0 ? nullptr : shape.start(row, 0),
                                shape.start(row, r), count, flip);
        kernels.rankRow(static_cast<uint8_t*>(row.result), columns.data,
                        static_cast<size_t>(row.width), static_cast<size_t>(row.channels),
                        static_cast<size_t>(window.nCols), rank, flip, sums.data);
        return true;
    });
}

// --- Medians by one histogram -------------------------------------------------------------

// The windows of a row, one after the other, in one histogram: a column of elements
// enters and one leaves. [Huang, Yang and Tang, A Fast Two-Dimensional Median Filtering
// Algorithm, IEEE Transactions on Acoustics, Speech and Signal Processing 27(1), 1979]
template<class Element>
struct SlidingHistogram {
    static constexpr int32_t halfBits = sizeof(Element) * 4;
    static constexpr int32_t coarseBins = 1 << halfBits;
    static constexpr uint32_t flip =
        static_cast<Element>(-1) < 0 ? 1u << (2 * halfBits - 1) : 0; // order of signs

    SlidingHistogram(const IplWindowJob& job, const IplWindow& window)
        : shape(job, window), bins(coarseBins * (coarseBins + int64_t{1}))
    {
        if (bins.data)
            std::memset(bins.data, 0,
                        static_cast<size_t>(coarseBins + 1) * coarseBins * sizeof(int64_t));
    }

    static uint32_t keyOf(Element element)
    {
        constexpr uint32_t mask = (1u << (2 * halfBits)) - 1;
        return (static_cast<uint32_t>(element) & mask) ^ flip;
    }

    void count(const IplWindowRow& row, ptrdiff_t element, int64_t change) const
    {
        for (int32_t r = 0; r < shape.window.nRows; ++r) {
            const uint32_t key =
                keyOf(reinterpret_cast<const Element*>(shape.start(row, r))[element]);
            bins.data[key >> halfBits] += change;
            bins.data[coarseBins + key] += change;
        }
    }

    Element find(int64_t rank) const
    {
        const int64_t* bin = bins.data;
        while (rank >= *bin)
            rank -= *bin++;
        const uint32_t first = static_cast<uint32_t>(bin - bins.data) << halfBits;
        bin = bins.data + coarseBins + first;
        while (rank >= *bin)
            rank -= *bin++;
        return static_cast<Element>(static_cast<uint32_t>(bin - bins.data - coarseBins) ^ flip);
    }

    void slide(const IplWindowRow& row, int32_t channel) const
    {
        const int32_t nCols = shape.window.nCols;
        const int64_t half = int64_t{nCols} * shape.window.nRows / 2;
        const auto at = [&](int64_t column) {
            return static_cast<ptrdiff_t>(column * row.channels + channel);
        };
        Element* result = static_cast<Element*>(row.result);
        for (int32_t i = 0; i < nCols - 1; ++i)
            count(row, at(i), 1);
        for (int32_t x = 0; x < row.width; ++x) {
            count(row, at(int64_t{x} + nCols - 1), 1);
            result[at(x)] = find(half);
            count(row, at(x), -1);
        }
        for (int32_t i = 0; i < nCols - 1; ++i)
            count(row, at(int64_t{row.width} + i), -1);
    }

    bool operator()(const IplWindowRow& row) const
    {
        for (int32_t c = 0; bins.data && c < row.channels; ++c)
            slide(row, c);
        return bins.data != nullptr;
    }

    const Shape shape;
    const IplScratch<int64_t> bins; // by the high halves of the keys, then by the keys
};

// --- Medians by selection ---------------------------------------------------------------

// Collects the elements of one window, and gives their end.
int32_t* collect(const Shape& shape, const IplWindowRow& row, size_t index, int32_t* values)
{
    for (int32_t r = 0; r < shape.window.nRows; ++r) {
        const int32_t* from = reinterpret_cast<const int32_t*>(shape.start(row, r)) + index;
        for (int32_t k = 0; k < shape.window.nCols; ++k, from += row.channels)
            *values++ = *from;
    }
    return values;
}

IplWindowEnd selectMedians(const IplWindowJob& job, const IplWindow& window)
{
    const Shape shape(job, window);
    const int64_t count = int64_t{window.nCols} * window.nRows;
    const IplScratch<int32_t> values(count);
    return ownFilterWindows(job, [&](const IplWindowRow& row) {
        int32_t* result = static_cast<int32_t*>(row.result);
        for (size_t i = 0; values.data && i < results(row); ++i) {
            int32_t* const end = collect(shape, row, i, values.data);
            std::nth_element(values.data, values.data + count / 2, end);
            result[i] = values.data[count / 2];
        }
        return values.data != nullptr;
    });
}

// --- Vector medians -------------------------------------------------------------------------

struct VectorMedians {
    VectorMedians(const IplWindowJob& job, const IplWindow& window)
        : shape(job, window),
          type(job.src->depth == IPL_DEPTH_32F ? quib::RANK_F32 : rankTypeOf(job.src->depth)),
          pixels(int64_t{window.nCols} * window.nRows), planeRows(shape.bytes(window.nRows)),
          planes(pixels <= INT32_MAX / 3 ? 3 * pixels : 0),
          scratch(pixels <= INT32_MAX / static_cast<int64_t>(quib::rankScratch)
                      ? pixels * static_cast<int64_t>(quib::rankScratch)
                      : 0)
    {
    }
    bool isReady() const { return planeRows.data && planes.data && scratch.data; }
    void split(const IplWindowRow& row, int32_t r) const;
    bool operator()(const IplWindowRow& row) const;
    // The planes of a row of neighbours, which are kept while it is one.
    uint8_t* plane(const IplWindowRow& row, int32_t r, size_t channel) const
    {
        const int64_t columns = row.width + int64_t{shape.window.nCols} - 1;
        const int64_t kept = (int64_t{row.y} + r) % shape.window.nRows;
        return planeRows.data + kept * shape.bytes(1) +
               static_cast<int64_t>(channel) * columns * shape.elementBytes;
    }

    const Shape shape;
    const quib::RankType type;
    const int64_t pixels;
    const IplScratch<uint8_t> planeRows;
    const IplScratch<const void*> planes;
    const IplScratch<uint8_t> scratch;
};

void VectorMedians::split(const IplWindowRow& row, int32_t r) const
{
    const size_t columns = shape.elements(row) / static_cast<size_t>(row.channels);
    const int64_t bytes = shape.elementBytes;
    const quib::SelectKernels& select = quib::kernels().select;
    const auto gather = bytes == 1   ? select.bytes.gather
                        : bytes == 2 ? select.words.gather
                                     : select.doubleWords.gather;
    for (size_t c = 0; c < 3; ++c)
        gather(plane(row, r, c), shape.start(row, r) + static_cast<int64_t>(c) * bytes,
               static_cast<size_t>(row.channels), columns);
}

bool VectorMedians::operator()(const IplWindowRow& row) const
{
    if (!isReady())
        return false;
    const int32_t nRows = shape.window.nRows;
    for (int32_t r = row.y == 0 ? 0 : nRows - 1; r < nRows; ++r)
        split(row, r);
    const void** next = planes.data;
    for (int32_t r = 0; r < nRows; ++r)
        for (int32_t k = 0; k < shape.window.nCols; ++k)
            for (size_t c = 0; c < 3; ++c)
                *next++ = plane(row, r, c) + k * shape.elementBytes;
    const quib::RankKernels& kernels = quib::kernels().rank;
    const bool isThree = nRows == 3 && shape.window.nCols == 3;
    const auto run = (isThree ? kernels.vectorMedian3 : kernels.vectorMedian)[type];
    run(row.result, planes.data, static_cast<size_t>(pixels), static_cast<size_t>(row.width),
        static_cast<size_t>(row.channels), scratch.data);
    return true;
}

} // namespace

IplWindowEnd ownFilterLargest(const IplImage* src, IplImage* dst, const IplWindow& window)
{
    return filterExtremes(src, dst, window, quib::kernels().rank.larger);
}

IplWindowEnd ownFilterSmallest(const IplImage* src, IplImage* dst, const IplWindow& window)
{
    return filterExtremes(src, dst, window, quib::kernels().rank.smaller);
}

IplWindowEnd ownFilterMedians(const IplImage* src, IplImage* dst, const IplWindow& window)
{
    const IplWindowJob job{src, dst, ownReach(window)};
    const quib::RankType type = rankTypeOf(src->depth);
    if (src->depth == IPL_DEPTH_1U)
        return countBits(job, window);
    if (window.nCols == 3 && window.nRows == 3)
        return sortWindows(job, window, quib::kernels().rank.median3[type]);
    if (window.nCols == 5 && window.nRows == 5)
        return sortWindows(job, window, quib::kernels().rank.median5[type]);
    if (type == quib::RANK_U16)
        return ownFilterWindows(job, SlidingHistogram<uint16_t>(job, window));
    if (type == quib::RANK_S16)
        return ownFilterWindows(job, SlidingHistogram<int16_t>(job, window));
    if (type == quib::RANK_S32)
        return selectMedians(job, window);
    if (window.nCols <= widestOfColumns && int64_t{window.nCols} * window.nRows <= mostInHistogram)
        return rankByColumns(job, window, type == quib::RANK_S8 ? 0x80 : 0);
    return type == quib::RANK_S8 ? ownFilterWindows(job, SlidingHistogram<int8_t>(job, window))
                                 : ownFilterWindows(job, SlidingHistogram<uint8_t>(job, window));
}

IplWindowEnd ownFilterVectorMedians(const IplImage* src, IplImage* dst, const IplWindow& window)
{
    IplWindowJob job{src, dst, ownReach(window)};
    job.vectors = true;
    return ownFilterWindows(job, VectorMedians(job, window));
}
