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

void moveColumns(uint16_t* columns, const uint8_t* leaving, const uint8_t* entering, size_t count,
                 uint8_t flip)
{
    for (size_t i = 0; i < count; ++i, columns += rankBins) {
        if (leaving) {
            const size_t old = leaving[i] ^ flip;
            --columns[old >> 4];
            --columns[16 + old];
        }
        const size_t value = entering[i] ^ flip;
        ++columns[value >> 4];
        ++columns[16 + value];
    }
}

// 16 counts.
struct Bins {
    static constexpr size_t vectors = 32 / wide;
    U16<> v[vectors];
};

QUIB_INLINE void addBins(Bins* bins, const uint16_t* counts)
{
    for (size_t i = 0; i < Bins::vectors; ++i)
        bins->v[i] += load<U16<>>(counts + i * lanesOf<U16<>>);
}

QUIB_INLINE void subtractBins(Bins* bins, const uint16_t* counts)
{
    for (size_t i = 0; i < Bins::vectors; ++i)
        bins->v[i] -= load<U16<>>(counts + i * lanesOf<U16<>>);
}

template<size_t count>
QUIB_INLINE U16<16> lowEight(const U16<> (&v)[count])
{
    if constexpr (count == 1)
        return lowHalf(v[0]);
    else
        return v[0];
}

template<size_t count>
QUIB_INLINE U16<16> highEight(const U16<> (&v)[count])
{
    if constexpr (count == 1)
        return highHalf(v[0]);
    else
        return v[1];
}

QUIB_INLINE U16<16> runningSums(U16<16> v)
{
    const U16<16> zero{};
    v += onward<7>(zero, v);
    v += onward<6>(zero, v);
    v += onward<4>(zero, v);
    return v;
}

// The bin that the element of index `*rank` is in, from which on `*rank` then counts.
QUIB_INLINE size_t findBin(const Bins& bins, uint32_t* rank)
{
    // sums[1 + i] counts bins 0 to i; sums[0] none.
    uint16_t sums[1 + 16];
    sums[0] = 0;
    const U16<16> low = runningSums(lowEight(bins.v));
    const U16<16> high = runningSums(highEight(bins.v)) + spread<U16<16>>(low[7]);
    store(sums + 1, low);
    store(sums + 9, high);
    const I16<16> limit = spread<I16<16>>(static_cast<int16_t>(*rank));
    const uint32_t passed = topBits(as<U8<16>>(as<I16<16>>(low) <= limit)) |
                            topBits(as<U8<16>>(as<I16<16>>(high) <= limit)) << 16;
    const size_t bin = static_cast<size_t>(__builtin_ctzll(~static_cast<uint64_t>(passed))) / 2;
    *rank -= sums[bin];
    return bin;
}

constexpr size_t neverBrought = ~static_cast<size_t>(0);

// The histogram of 16 values in the window at x, from that in the window at `from`.
QUIB_INLINE Bins bringTo(size_t x, size_t nCols, const uint16_t* values, size_t step, Bins bins,
                         size_t from)
{
    if (from == neverBrought || (x - from) * 2 > nCols) {
        bins = {};
        for (size_t j = x; j < x + nCols; ++j)
            addBins(&bins, values + j * step);
        return bins;
    }
    for (size_t j = from; j < x; ++j) {
        addBins(&bins, values + (j + nCols) * step);
        subtractBins(&bins, values + j * step);
    }
    return bins;
}

// One channel's windows. A histogram of 16 values is brought to the window when it is
// needed.
QUIB_INLINE void rankChannel(uint8_t* dst, const uint16_t* columns, size_t width, size_t stride,
                             size_t nCols, uint32_t rank, uint8_t flip)
{
    const size_t step = stride * rankBins;
    Bins coarse{};
    Bins fine[16];
    size_t broughtTo[16];
    for (size_t k = 0; k < 16; ++k)
        broughtTo[k] = neverBrought;
    for (size_t j = 0; j + 1 < nCols; ++j)
        addBins(&coarse, columns + j * step);
    for (size_t x = 0; x < width; ++x) {
        addBins(&coarse, columns + (x + nCols - 1) * step);
        uint32_t inBin = rank;
        const size_t k = findBin(coarse, &inBin);
        fine[k] = bringTo(x, nCols, columns + 16 + 16 * k, step, fine[k], broughtTo[k]);
        broughtTo[k] = x;
        dst[x * stride] = static_cast<uint8_t>((k * 16 + findBin(fine[k], &inBin)) ^ flip);
        subtractBins(&coarse, columns + x * step);
    }
}

void rankRow(uint8_t* dst, const uint16_t* columns, size_t width, size_t stride, size_t nCols,
             uint32_t rank, uint8_t flip)
{
    for (size_t c = 0; c < stride; ++c)
        rankChannel(dst + c, columns + c * rankBins, width, stride, nCols, rank, flip);
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

constexpr RankKernels rankKernels{
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
};

} // namespace
