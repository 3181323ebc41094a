#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{

// --- Extremes ------------------------------------------------------------------------

template<class T>
void largerRow(void* dst, const void* a, const void* b, size_t count)
{
    T* out = static_cast<T*>(dst);
    const T* first = static_cast<const T*>(a);
    const T* second = static_cast<const T*>(b);
    QUIB_INDEPENDENT
    for (size_t i = 0; i < count; ++i)
        out[i] = first[i] > second[i] ? first[i] : second[i];
}

template<class T>
void smallerRow(void* dst, const void* a, const void* b, size_t count)
{
    T* out = static_cast<T*>(dst);
    const T* first = static_cast<const T*>(a);
    const T* second = static_cast<const T*>(b);
    QUIB_INDEPENDENT
    for (size_t i = 0; i < count; ++i)
        out[i] = first[i] < second[i] ? first[i] : second[i];
}

// --- Medians by sorting networks -----------------------------------------------------

// A vector, or a single element at the end of a row.
template<class V>
constexpr bool isVector = sizeof(V) >= 16;

template<class V>
QUIB_INLINE V least(V a, V b)
{
    if constexpr (isVector<V>)
        return smaller(a, b);
    else
        return a < b ? a : b;
}

template<class V>
QUIB_INLINE V greatest(V a, V b)
{
    if constexpr (isVector<V>)
        return larger(a, b);
    else
        return a > b ? a : b;
}

// Puts the smaller of the two first.
template<class V>
QUIB_INLINE void order(V& a, V& b)
{
    const V low = least(a, b);
    b = greatest(a, b);
    a = low;
}

// The median of an odd number of elements: one that is the least and one that is the
// greatest of more than half of them leave, and another takes part.
template<size_t count, class V>
QUIB_INLINE V medianOf(V (&v)[count])
{
    constexpr size_t start = count / 2 + 2;
#pragma GCC unroll 16
    for (size_t size = start; size >= 3; --size) {
        // Those that take part: the last one in its place, the others from where
        // the least of those before has left.
        V* const from = v + (start - size);
        const size_t half = size / 2;
#pragma GCC unroll 16
        for (size_t i = 0; i < half; ++i)
            order(from[i], from[size - 1 - i]);
#pragma GCC unroll 16
        for (size_t i = 1; i < size - half; ++i)
            order(from[0], from[i]);
#pragma GCC unroll 16
        for (size_t i = half; i < size - 1; ++i)
            order(from[i], from[size - 1]);
        if (size > 3)
            from[size - 1] = v[start + start - size];
    }
    return v[start - 2];
}

template<class V>
QUIB_INLINE void sort3(V (&v)[3])
{
    order(v[0], v[1]);
    order(v[1], v[2]);
    order(v[0], v[1]);
}

template<class V>
QUIB_INLINE void sort5(V (&v)[5])
{
    order(v[0], v[1]);
    order(v[3], v[4]);
    order(v[2], v[4]);
    order(v[2], v[3]);
    order(v[1], v[4]);
    order(v[0], v[3]);
    order(v[0], v[2]);
    order(v[1], v[3]);
    order(v[1], v[2]);
}

template<size_t size, class V>
QUIB_INLINE void sortColumn(V (&v)[size])
{
    if constexpr (size == 3)
        sort3(v);
    else
        sort5(v);
}

// Of windows whose columns are sorted, row by row.
template<class V>
QUIB_INLINE V medianOfColumns(V (&low)[3], V (&middle)[3], V (&high)[3])
{
    V v[3] = {greatest(greatest(low[0], low[1]), low[2]), medianOf(middle),
              least(least(high[0], high[1]), high[2])};
    return medianOf(v);
}

// The greater two of five.
template<class V>
QUIB_INLINE void greaterTwo(const V (&v)[5], V* out)
{
    V a = v[0], b = v[1], c = v[2], d = v[3];
    order(a, b);
    order(c, d);
    out[0] = greatest(b, d);
    out[1] = greatest(greatest(least(b, d), greatest(a, c)), v[4]);
}

template<class V>
QUIB_INLINE void lesserTwo(const V (&v)[5], V* out)
{
    V a = v[0], b = v[1], c = v[2], d = v[3];
    order(a, b);
    order(c, d);
    out[0] = least(a, c);
    out[1] = least(least(greatest(a, c), least(b, d)), v[4]);
}

// The greater three of five: the least of four leaves, then that of the others.
template<class V>
QUIB_INLINE void greaterThree(const V (&v)[5], V* out)
{
    V a = v[0], b = v[1], c = v[2], d = v[3];
    order(a, b);
    order(c, d);
    V rest = greatest(a, c);
    order(b, d);
    order(rest, b);
    out[0] = greatest(rest, v[4]);
    out[1] = b;
    out[2] = d;
}

template<class V>
QUIB_INLINE void lesserThree(const V (&v)[5], V* out)
{
    V a = v[0], b = v[1], c = v[2], d = v[3];
    order(a, b);
    order(c, d);
    V rest = least(b, d);
    order(a, c);
    order(c, rest);
    out[0] = least(rest, v[4]);
    out[1] = a;
    out[2] = c;
}

template<class V>
QUIB_INLINE void middleThree(const V (&v)[5], V* out)
{
    V a = v[0], b = v[1], c = v[2], d = v[3];
    order(a, b);
    order(c, d);
    order(a, c); // a: the least of four
    order(b, d); // d: the greatest
    out[0] = c;
    out[1] = b;
    out[2] = least(d, greatest(a, v[4]));
}

// In a window whose columns are sorted, those elements of a sorted row that are less
// (greater) than 13 others cannot be the median: 13 of 25 remain.
template<class V>
QUIB_INLINE V medianOfColumns(V (&rows)[5][5])
{
    V v[13];
    greaterTwo(rows[0], v);
    greaterThree(rows[1], v + 2);
    middleThree(rows[2], v + 5);
    lesserThree(rows[3], v + 8);
    lesserTwo(rows[4], v + 11);
    return medianOf(v);
}

template<class V, size_t size, class T>
QUIB_INLINE void sortColumnsAt(T* const (&sorted)[size], const void* const* rows, size_t i)
{
    V v[size];
    for (size_t r = 0; r < size; ++r)
        v[r] = load<V>(static_cast<const T*>(rows[r]) + i);
    sortColumn(v);
    for (size_t r = 0; r < size; ++r)
        store(sorted[r] + i, v[r]);
}

template<class V, size_t size, class T>
QUIB_INLINE V medianAt(T* const (&sorted)[size], size_t i, size_t stride)
{
    V v[size][size];
    for (size_t r = 0; r < size; ++r)
        for (size_t k = 0; k < size; ++k)
            v[r][k] = load<V>(sorted[r] + i + k * stride);
    if constexpr (size == 3)
        return medianOfColumns(v[0], v[1], v[2]);
    else
        return medianOfColumns(v);
}

template<class T, size_t size>
void medianRow(void* dst, const void* const* rows, size_t count, size_t stride, void* scratch)
{
    using V = Vector<T>;
    constexpr size_t lanes = lanesOf<V>;
    T* out = static_cast<T*>(dst);
    const size_t columns = count + (size - 1) * stride;
    T* sorted[size];
    for (size_t r = 0; r < size; ++r)
        sorted[r] = static_cast<T*>(scratch) + r * columns;

    size_t i = 0;
    for (; i + lanes <= columns; i += lanes)
        sortColumnsAt<V>(sorted, rows, i);
    for (; i < columns; ++i)
        sortColumnsAt<T>(sorted, rows, i);
    for (i = 0; i + lanes <= count; i += lanes)
        store(out + i, medianAt<V>(sorted, i, stride));
    if (i < count && count >= lanes)
        store(out + count - lanes, medianAt<V>(sorted, count - lanes, stride));
    else
        for (; i < count; ++i)
            out[i] = medianAt<T>(sorted, i, stride);
}

// --- Ranks by histograms ---------------------------------------------------------------

constexpr size_t binCount = 16;

// How many values are in each bin or in a higher one, the highest bin first. Such sums
// add up like counts, and the bin of a rank is found in them without a search.
struct Bins {
    static constexpr size_t vectors = binCount * 2 / wide;
    U16<> v[vectors];
};

QUIB_INLINE Bins loadBins(const uint16_t* sums)
{
    Bins bins;
    for (size_t i = 0; i < Bins::vectors; ++i)
        bins.v[i] = load<U16<>>(sums + i * lanesOf<U16<>>);
    return bins;
}

QUIB_INLINE void storeBins(uint16_t* sums, const Bins& bins)
{
    for (size_t i = 0; i < Bins::vectors; ++i)
        store(sums + i * lanesOf<U16<>>, bins.v[i]);
}

QUIB_INLINE Bins operator+(Bins a, const Bins& b)
{
    for (size_t i = 0; i < Bins::vectors; ++i)
        a.v[i] += b.v[i];
    return a;
}

QUIB_INLINE Bins operator-(Bins a, const Bins& b)
{
    for (size_t i = 0; i < Bins::vectors; ++i)
        a.v[i] -= b.v[i];
    return a;
}

struct alignas(64) BinSteps {
    uint16_t sums[2 * binCount];
    constexpr BinSteps() : sums{}
    {
        for (size_t i = binCount; i < 2 * binCount; ++i)
            sums[i] = 1;
    }
};
constexpr BinSteps binSteps;

// One value, in this bin.
QUIB_INLINE Bins oneIn(size_t bin)
{
    return loadBins(binSteps.sums + 1 + bin);
}

// How many bins are above the one that has the element of index `rank`.
QUIB_INLINE size_t binsAbove(const Bins& bins, uint16_t rank)
{
    size_t above = 0;
    for (size_t i = 0; i < Bins::vectors; ++i)
        above += lanesUpTo(bins.v[i], rank);
    return above;
}

template<bool rowLeaves>
QUIB_INLINE void moveColumnsOf(uint16_t* coarse, const uint8_t* leaving, const uint8_t* entering,
                               size_t count, uint8_t flip)
{
    const size_t pitch = count * binCount;
    uint16_t* fine = coarse + pitch;
    for (size_t i = 0; i < count; ++i, coarse += binCount, fine += binCount) {
        const size_t value = entering[i] ^ flip;
        Bins halves = loadBins(coarse) + oneIn(value / binCount);
        if constexpr (rowLeaves) {
            const size_t old = leaving[i] ^ flip;
            halves = halves - oneIn(old / binCount);
            uint16_t* const bins = fine + old / binCount * pitch;
            storeBins(bins, loadBins(bins) - oneIn(old % binCount));
        }
        storeBins(coarse, halves);
        uint16_t* const bins = fine + value / binCount * pitch;
        storeBins(bins, loadBins(bins) + oneIn(value % binCount));
    }
}

void moveColumns(uint16_t* columns, const uint8_t* leaving, const uint8_t* entering, size_t count,
                 uint8_t flip)
{
    if (leaving)
        moveColumnsOf<true>(columns, leaving, entering, count, flip);
    else
        moveColumnsOf<false>(columns, leaving, entering, count, flip);
}

// The columns of one channel.
struct RankColumns {
    const uint16_t* coarse;
    size_t step;  // from a column to the next one
    size_t pitch; // to the same column's 16 values of the next high half
    size_t nCols;
    // For each high half, sums over the columns from some one on to the first,
    // second ... that is known; windows are differences of two. A sum may wrap round.
    uint16_t* sums;
    size_t sumsPitch;
    size_t known[binCount];
};

// Makes the sums of a high half known that the windows at columns x to end - nCols need.
QUIB_INLINE void extendSums(RankColumns* columns, size_t half, size_t x, size_t end)
{
    size_t from = columns->known[half];
    uint16_t* const sums = columns->sums + half * columns->sumsPitch;
    Bins sum{};
    if (from < x)
        storeBins(sums + (from = x) * binCount, sum);
    else
        sum = loadBins(sums + from * binCount);
    const uint16_t* fine = columns->coarse + (1 + half) * columns->pitch + from * columns->step;
    for (; from < end; ++from, fine += columns->step) {
        sum = sum + loadBins(fine);
        storeBins(sums + (from + 1) * binCount, sum);
    }
    columns->known[half] = end;
}

constexpr size_t rankedTogether = 64;

// In which high halves the windows' elements are, and their ranks among those that
// have the same one.
struct CoarseRanks {
    uint8_t halves[rankedTogether];
    uint16_t ranks[rankedTogether];
    uint32_t used; // bit by bit
};

// `window` holds the columns of the window at x but its last one.
QUIB_INLINE Bins findHalves(CoarseRanks* found, const RankColumns& columns, Bins window, size_t x,
                            size_t count, uint16_t rank)
{
    const uint16_t* leaving = columns.coarse + x * columns.step;
    const uint16_t* entering = leaving + (columns.nCols - 1) * columns.step;
    uint16_t before[1 + binCount];
    before[0] = 0;
    found->used = 0;
    for (size_t i = 0; i < count; ++i, leaving += columns.step, entering += columns.step) {
        window = window + loadBins(entering);
        storeBins(before + 1, window);
        const size_t above = binsAbove(window, rank);
        const size_t half = binCount - 1 - above;
        found->halves[i] = static_cast<uint8_t>(half);
        found->ranks[i] = static_cast<uint16_t>(rank - before[above]);
        found->used |= 1u << half;
        window = window - loadBins(leaving);
    }
    return window;
}

QUIB_INLINE uint8_t findValue(const RankColumns& columns, size_t half, size_t x, uint16_t rank)
{
    const uint16_t* sums = columns.sums + half * columns.sumsPitch + x * binCount;
    const Bins window = loadBins(sums + columns.nCols * binCount) - loadBins(sums);
    return static_cast<uint8_t>(half * binCount + binCount - 1 - binsAbove(window, rank));
}

QUIB_INLINE void rankChannel(uint8_t* dst, size_t stride, RankColumns columns, size_t width,
                             uint16_t rank, uint8_t flip)
{
    for (size_t half = 0; half < binCount; ++half) {
        columns.known[half] = 0;
        storeBins(columns.sums + half * columns.sumsPitch, {});
    }
    Bins window{};
    for (size_t j = 0; j + 1 < columns.nCols; ++j)
        window = window + loadBins(columns.coarse + j * columns.step);
    CoarseRanks found;
    for (size_t x = 0; x < width; x += rankedTogether) {
        const size_t count = width - x < rankedTogether ? width - x : rankedTogether;
        window = findHalves(&found, columns, window, x, count, rank);
        for (uint32_t used = found.used; used != 0; used &= used - 1)
            extendSums(&columns, static_cast<size_t>(__builtin_ctz(used)), x,
                       x + count + columns.nCols - 1);
        for (size_t i = 0; i < count; ++i)
            dst[(x + i) * stride] =
                findValue(columns, found.halves[i], x + i, found.ranks[i]) ^ flip;
    }
}

void rankRow(uint8_t* dst, const uint16_t* columns, size_t width, size_t stride, size_t nCols,
             uint32_t rank, uint8_t flip, uint16_t* scratch)
{
    const size_t pixels = width + nCols - 1;
    for (size_t c = 0; c < stride; ++c)
        rankChannel(dst + c, stride,
                    {.coarse = columns + c * binCount,
                     .step = stride * binCount,
                     .pitch = pixels * stride * binCount,
                     .nCols = nCols,
                     .sums = scratch,
                     .sumsPitch = (pixels + 1) * binCount,
                     .known = {}},
                    width, static_cast<uint16_t>(rank), flip);
}

// --- Vector medians ----------------------------------------------------------------------

constexpr size_t windowsTogether = rankScratch / 8;

template<class Sum, class T>
QUIB_INLINE Sum distanceOf(T a, T b)
{
    if constexpr (isSame<T, float>)
        return __builtin_fabsf(a - b);
    else
        return static_cast<Sum>(a > b ? a - b : b - a);
}

// Adds the distances of two pixels of each window to the totals of both.
template<class Sum, class T>
QUIB_INLINE void addDistances(Sum* totalsA, Sum* totalsB, const T* const* a, const T* const* b,
                              size_t x, size_t count)
{
    const T* const a0 = a[0] + x;
    const T* const a1 = a[1] + x;
    const T* const a2 = a[2] + x;
    const T* const b0 = b[0] + x;
    const T* const b1 = b[1] + x;
    const T* const b2 = b[2] + x;
    QUIB_INDEPENDENT
    for (size_t i = 0; i < count; ++i) {
        const Sum first = distanceOf<Sum>(a0[i], b0[i]);
        const Sum both = static_cast<Sum>(first + distanceOf<Sum>(a1[i], b1[i]));
        const Sum distance = static_cast<Sum>(both + distanceOf<Sum>(a2[i], b2[i]));
        totalsA[i] = static_cast<Sum>(totalsA[i] + distance);
        totalsB[i] = static_cast<Sum>(totalsB[i] + distance);
    }
}

template<class Sum, class T>
void vectorMedianRow(T* dst, const T* const* planes, size_t n, size_t width, size_t channels,
                     Sum* totals)
{
    for (size_t x = 0; x < width; x += windowsTogether) {
        const size_t count = width - x < windowsTogether ? width - x : windowsTogether;
        for (size_t i = 0; i < n * windowsTogether; ++i)
            totals[i] = 0;
        for (size_t a = 0; a < n; ++a)
            for (size_t b = a + 1; b < n; ++b)
                addDistances(totals + a * windowsTogether, totals + b * windowsTogether,
                             planes + 3 * a, planes + 3 * b, x, count);
        uint32_t best[windowsTogether] = {};
        for (size_t j = 1; j < n; ++j) {
            const Sum* others = totals + j * windowsTogether;
            for (size_t i = 0; i < count; ++i) {
                const bool better = others[i] < totals[i];
                best[i] = better ? static_cast<uint32_t>(j) : best[i];
                totals[i] = better ? others[i] : totals[i];
            }
        }
        for (size_t i = 0; i < count; ++i)
            for (size_t c = 0; c < 3; ++c)
                dst[(x + i) * channels + c] = planes[3 * static_cast<size_t>(best[i]) + c][x + i];
    }
}

// Totals of bytes have 16 bits where they can.
template<class T, class Sum>
void vectorMedian(void* dst, const void* const* planes, size_t n, size_t width, size_t channels,
                  void* scratch)
{
    T* out = static_cast<T*>(dst);
    const T* const* in = reinterpret_cast<const T* const*>(planes);
    if constexpr (sizeof(T) == 1)
        if (n <= 65535 / (3 * 255))
            return vectorMedianRow(out, in, n, width, channels, static_cast<uint16_t*>(scratch));
    vectorMedianRow(out, in, n, width, channels, static_cast<Sum*>(scratch));
}

// --- Vector medians of 3 x 3 pixels -------------------------------------------------------

// Pixel i of the window is in row i / 3 and column i % 3.
constexpr size_t nine = 9;

// Windows that are looked at together: a row of distances fills whole vectors.
constexpr size_t ninesTogether = 126;
constexpr size_t ninesDistances = ninesTogether + 2;

// The distances of the pixels of a row from those of the same or a later one that are as
// far on: they serve all windows that have both.
struct DistanceRow {
    size_t row;
    size_t rowsOn;
    int32_t columnsOn;
    // In the first window, the columns that pixels with such a neighbour have.
    constexpr size_t firstColumn() const
    {
        return columnsOn < 0 ? static_cast<size_t>(-columnsOn) : 0;
    }
    constexpr size_t columns() const
    {
        return 3 - static_cast<size_t>(columnsOn < 0 ? -columnsOn : columnsOn);
    }
};

constexpr size_t distanceRows = 3 * 2 + 2 * 5 + 5;

struct DistanceRows {
    DistanceRow rows[distanceRows];
    uint8_t ofPair[nine][nine]; // the first pixel, the later one
    constexpr DistanceRows() : rows{}, ofPair{}
    {
        size_t count = 0;
        for (size_t row = 0; row < 3; ++row)
            for (size_t rowsOn = 0; row + rowsOn < 3; ++rowsOn)
                for (int32_t on = rowsOn == 0 ? 1 : -2; on <= 2; ++on)
                    add(count++, {row, rowsOn, on});
    }
    constexpr void add(size_t index, DistanceRow distances)
    {
        rows[index] = distances;
        for (size_t k = 0; k < distances.columns(); ++k) {
            const size_t column = distances.firstColumn() + k;
            const size_t other = column + static_cast<size_t>(distances.columnsOn);
            ofPair[distances.row * 3 + column][(distances.row + distances.rowsOn) * 3 + other] =
                static_cast<uint8_t>(index);
        }
    }
};
constexpr DistanceRows distancesOfNine;

template<class V>
QUIB_INLINE void storeWidened(uint16_t* out, V low, V high)
{
    if constexpr (sizeof(V) == 16) {
        store(out, low);
        store(out + lanesOf<V>, high);
    } else {
        store(out, join(lowHalf(low), lowHalf(high)));
        store(out + lanesOf<V>, join(highHalf(low), highHalf(high)));
    }
}

// The distances of vectors of pixels at a and b, channel by channel.
template<class T>
QUIB_INLINE void storeDistances(uint16_t* out, const T* const* a, const T* const* b, size_t i,
                                size_t j)
{
    using V = Vector<T, wide>;
    U16<> low{};
    U16<> high{};
    for (size_t c = 0; c < 3; ++c) {
        const V x = load<V>(a[c] + i);
        const V y = load<V>(b[c] + j);
        const U8<> distance = as<U8<>>(larger(x, y)) - as<U8<>>(smaller(x, y));
        low += widenLow(distance);
        high += widenHigh(distance);
    }
    storeWidened(out, low, high);
}

// `planes` are those of the window's first column, row by row.
template<class T>
QUIB_INLINE void makeDistances(uint16_t (*distances)[ninesDistances], const T* const* planes,
                               size_t x)
{
    for (size_t index = 0; index < distanceRows; ++index) {
        const DistanceRow& made = distancesOfNine.rows[index];
        const T* const* a = planes + nine * made.row;
        const T* const* b = planes + nine * (made.row + made.rowsOn);
        const size_t from = x + made.firstColumn();
        const size_t last = ninesTogether + made.columns() - 1 - wide;
        for (size_t i = 0;; i = i + wide < last ? i + wide : last) {
            const size_t at = from + i;
            storeDistances(distances[index] + i, a, b, at,
                           at + static_cast<size_t>(made.columnsOn));
            if (i == last)
                break;
        }
    }
}

// Which pixels of the windows have the least total.
QUIB_INLINE I16<> leastOfNine(const uint16_t (*distances)[ninesDistances], size_t x)
{
    I16<> totals[nine] = {};
#pragma GCC unroll 16
    for (size_t a = 0; a < nine; ++a)
#pragma GCC unroll 16
        for (size_t b = a + 1; b < nine; ++b) {
            const size_t index = distancesOfNine.ofPair[a][b];
            const size_t shift = a % 3 - distancesOfNine.rows[index].firstColumn();
            const I16<> distance = load<I16<>>(distances[index] + x + shift);
            totals[a] += distance;
            totals[b] += distance;
        }
    I16<> least = totals[0];
    I16<> best{};
#pragma GCC unroll 16
    for (size_t i = 1; i < nine; ++i) {
        const I16<> better = totals[i] < least;
        best = select(better, spread<I16<>>(static_cast<int16_t>(i)), best);
        least = smaller(totals[i], least);
    }
    return best;
}

template<class T>
QUIB_INLINE U8<> pixelsOfNine(const T* const* planes, U8<> best, size_t x)
{
    U8<> pixels = load<U8<>>(planes[0] + x);
#pragma GCC unroll 16
    for (size_t i = 1; i < nine; ++i)
        pixels = select(best == static_cast<uint8_t>(i), load<U8<>>(planes[3 * i] + x), pixels);
    return pixels;
}

// Pixels of four bytes, the last one of which stays.
QUIB_INLINE void storeFours(uint8_t* dst, U8<16> first, U8<16> second, U8<16> third)
{
    const auto put = [](uint8_t* to, U16<16> low, U16<16> high) {
        constexpr uint32_t fourth = 0xFF000000u;
        store(to, withBits(as<U32<16>>(interleaveLow(low, high)), load<U32<16>>(to), fourth));
        store(to + 16,
              withBits(as<U32<16>>(interleaveHigh(low, high)), load<U32<16>>(to + 16), fourth));
    };
    const U8<16> zero{};
    put(dst, as<U16<16>>(interleaveLow(first, second)), as<U16<16>>(interleaveLow(third, zero)));
    put(dst + 32, as<U16<16>>(interleaveHigh(first, second)),
        as<U16<16>>(interleaveHigh(third, zero)));
}

template<class V>
QUIB_INLINE void storeTriples(uint8_t* dst, const V (&pixels)[3], size_t channels)
{
    if (channels != 4) {
        for (size_t i = 0; i < lanesOf<V>; ++i, dst += channels)
            for (size_t c = 0; c < 3; ++c)
                dst[c] = pixels[c][i];
        return;
    }
    if constexpr (sizeof(V) == 16) {
        storeFours(dst, pixels[0], pixels[1], pixels[2]);
    } else {
        storeFours(dst, lowHalf(pixels[0]), lowHalf(pixels[1]), lowHalf(pixels[2]));
        storeFours(dst + 64, highHalf(pixels[0]), highHalf(pixels[1]), highHalf(pixels[2]));
    }
}

template<class T>
QUIB_INLINE void medianOfNines(uint8_t* dst, const T* const* planes, size_t x, size_t channels)
{
    uint16_t distances[distanceRows][ninesDistances];
    makeDistances(distances, planes, x);
    constexpr size_t last = ninesTogether - wide;
    for (size_t i = 0;; i = i + wide < last ? i + wide : last) {
        const I16<> low = leastOfNine(distances, i);
        const I16<> high = leastOfNine(distances, i + lanesOf<I16<>>);
        const U8<> best = inOrderOfPack(packToU8(low, high));
        const U8<> pixels[3] = {pixelsOfNine(planes, best, x + i),
                                pixelsOfNine(planes + 1, best, x + i),
                                pixelsOfNine(planes + 2, best, x + i)};
        storeTriples(dst + (x + i) * channels, pixels, channels);
        if (i == last)
            break;
    }
}

template<class T>
void vectorMedianOfNine(void* dst, const void* const* planes, size_t n, size_t width,
                        size_t channels, void* scratch)
{
    if (width < ninesTogether)
        return vectorMedian<T, uint32_t>(dst, planes, n, width, channels, scratch);
    const T* const* in = reinterpret_cast<const T* const*>(planes);
    const size_t last = width - ninesTogether;
    for (size_t x = 0;; x = x + ninesTogether < last ? x + ninesTogether : last) {
        medianOfNines(static_cast<uint8_t*>(dst), in, x, channels);
        if (x == last)
            break;
    }
}

} // namespace

constinit const RankKernels rankKernels{
    .larger = {largerRow<uint8_t>, largerRow<int8_t>, largerRow<uint16_t>, largerRow<int16_t>,
               largerRow<int32_t>},
    .smaller = {smallerRow<uint8_t>, smallerRow<int8_t>, smallerRow<uint16_t>, smallerRow<int16_t>,
                smallerRow<int32_t>},
    .median3 = {medianRow<uint8_t, 3>, medianRow<int8_t, 3>, medianRow<uint16_t, 3>,
                medianRow<int16_t, 3>, medianRow<int32_t, 3>},
    .median5 = {medianRow<uint8_t, 5>, medianRow<int8_t, 5>, medianRow<uint16_t, 5>,
                medianRow<int16_t, 5>, medianRow<int32_t, 5>},
    .moveColumns = moveColumns,
    .rankRow = rankRow,
    .vectorMedian = {vectorMedian<uint8_t, uint32_t>, vectorMedian<int8_t, uint32_t>,
                     vectorMedian<uint16_t, uint64_t>, vectorMedian<int16_t, uint64_t>, nullptr,
                     vectorMedian<float, float>},
    .vectorMedian3 = {vectorMedianOfNine<uint8_t>, vectorMedianOfNine<int8_t>,
                      vectorMedian<uint16_t, uint64_t>, vectorMedian<int16_t, uint64_t>, nullptr,
                      vectorMedian<float, float>},
};

} // namespace quib::QUIB_LEVEL
