namespace
{

// --- Columns ---------------------------------------------------------------------------

template<class Element, class Column>
void boxMove(void* columns, const void* leaving, const void* entering, size_t count, uint32_t flip)
{
    const Element turned = static_cast<Element>(flip);
    Column* const sums = static_cast<Column*>(columns);
    const Element* const in = static_cast<const Element*>(entering);
    const Element* const out = static_cast<const Element*>(leaving);
    QUIB_INDEPENDENT
    for (size_t i = 0; !out && i < count; ++i)
        sums[i] = static_cast<Column>(sums[i] + static_cast<Element>(in[i] ^ turned));
    QUIB_INDEPENDENT
    for (size_t i = 0; out && i < count; ++i)
        sums[i] = static_cast<Column>(sums[i] + static_cast<Element>(in[i] ^ turned) -
                                      static_cast<Element>(out[i] ^ turned));
}

void boxMoveFloats(void* columns, const void*, const void* entering, size_t count, uint32_t)
{
    double* const sums = static_cast<double*>(columns);
    const float* const in = static_cast<const float*>(entering);
    for (size_t i = 0; i < count; ++i)
        sums[i] += in[i];
}

// --- Sums of windows -------------------------------------------------------------------
//
// Each is the one before it, more what enters, less what leaves.

template<class Column>
QUIB_INLINE U32<16> boxColumns(const Column* columns)
{
    if constexpr (isSame<Column, uint16_t>)
        return widenLow(loadHalf<U16<16>>(columns));
    else
        return load<U32<16>>(columns);
}

// Pixels of three or four channels, a vector each. A fourth sum of three is the next
// pixel's first, and overwritten by it.
template<size_t stride, class Column>
QUIB_INLINE void boxSlidePixels(uint32_t* sums, const Column* columns, size_t nCols, size_t count)
{
    U32<16> sum{};
    for (size_t k = 0; k < nCols; ++k)
        sum += boxColumns(columns + k * stride);
    store(sums, sum);
    const Column* const entering = columns + nCols * stride;
    for (size_t i = 0; i + stride < count; i += stride) {
        sum += boxColumns(entering + i) - boxColumns(columns + i);
        store(sums + i + stride, sum);
    }
}

// One channel, four pixels at a time, by the sums of their changes.
template<class Column>
QUIB_INLINE void boxSlideGray(uint32_t* sums, const Column* columns, size_t nCols, size_t count)
{
    uint32_t first = 0;
    for (size_t k = 0; k < nCols; ++k)
        first += columns[k];
    sums[0] = first;
    const Column* const entering = columns + nCols;
    U32<16> before = spread<U32<16>>(first);
    for (size_t i = 0; i + 1 < count; i += 4) {
        U32<16> sum = boxColumns(entering + i) - boxColumns(columns + i);
        sum += onward<3>(U32<16>{}, sum);
        sum += onward<2>(U32<16>{}, sum) + before;
        store(sums + i + 1, sum);
        before = inGroups<3, 3, 3, 3>(sum);
    }
}

template<class Column, class Sum>
QUIB_INLINE void boxSlideAny(Sum* sums, const Column* columns, size_t nCols, size_t stride,
                             size_t count)
{
    for (size_t c = 0; c < stride; ++c) {
        sums[c] = 0;
        for (size_t k = 0; k < nCols; ++k)
            sums[c] += columns[k * stride + c];
    }
    const Column* const entering = columns + nCols * stride;
    for (size_t i = 0; i + stride < count; ++i)
        sums[i + stride] = sums[i] + entering[i] - columns[i];
}

template<class Column>
QUIB_INLINE void boxSlide(uint32_t* sums, const Column* columns, const BoxWindow& window,
                          size_t count)
{
    if (window.stride == 1)
        boxSlideGray(sums, columns, window.nCols, count);
    else if (window.stride == 3)
        boxSlidePixels<3>(sums, columns, window.nCols, count);
    else if (window.stride == 4)
        boxSlidePixels<4>(sums, columns, window.nCols, count);
    else
        boxSlideAny(sums, columns, window.nCols, window.stride, count);
}

// --- Means -----------------------------------------------------------------------------

template<class Element, class Column>
void boxMeans(void* dst, const void* columns, void* sumsOut, const BoxWindow& window, size_t count)
{
    Element* const out = static_cast<Element*>(dst);
    uint32_t* const sums = static_cast<uint32_t*>(sumsOut);
    boxSlide(sums, static_cast<const Column*>(columns), window, count);
    const uint32_t half = static_cast<uint32_t>(window.elements / 2);
    const Element turned = static_cast<Element>(window.flip);
    const uint64_t factor = window.factor;
    const uint32_t shift = window.shift;
    if (window.quotient > 0) {
        for (size_t i = 0; i < count; ++i) {
            const float sum = static_cast<float>(static_cast<int32_t>(sums[i] + half));
            out[i] = static_cast<Element>(static_cast<int32_t>(sum * window.quotient) ^ turned);
        }
        return;
    }
    for (size_t i = 0; i < count; ++i)
        out[i] = static_cast<Element>(((sums[i] + half) * factor >> shift) ^ turned);
}

template<class Element>
void boxManyMeans(void* dst, const void* columns, void* sumsOut, const BoxWindow& window,
                  size_t count)
{
    Element* const out = static_cast<Element*>(dst);
    uint64_t* const sums = static_cast<uint64_t*>(sumsOut);
    boxSlideAny(sums, static_cast<const uint64_t*>(columns), window.nCols, window.stride, count);
    const uint64_t half = window.elements / 2;
    for (size_t i = 0; i < count; ++i)
        out[i] = static_cast<Element>((sums[i] + half) / window.elements ^ window.flip);
}

// Sums that run on would keep what has left them: an infinity, or a rest of rounding.
void boxFloatMeans(void* dst, const void* columnsIn, void* sumsOut, const BoxWindow& window,
                   size_t count)
{
    float* const out = static_cast<float*>(dst);
    double* const sums = static_cast<double*>(sumsOut);
    const double* const columns = static_cast<const double*>(columnsIn);
    constexpr size_t block = 64;
    for (size_t from = 0; from < count; from += block) {
        const size_t end = from + block < count ? from + block : count;
        for (size_t i = from; i < end; ++i)
            sums[i] = columns[i];
        for (size_t k = 1; k < window.nCols; ++k)
            for (size_t i = from; i < end; ++i)
                sums[i] += columns[i + k * window.stride];
        for (size_t i = from; i < end; ++i)
            out[i] = static_cast<float>(sums[i] * window.part);
    }
}

constexpr BoxKernels boxKernels{
    .move = {boxMove<uint8_t, uint16_t>, boxMove<uint8_t, uint32_t>, boxMove<uint16_t, uint32_t>,
             boxMove<uint8_t, uint64_t>, boxMove<uint16_t, uint64_t>, boxMove<uint32_t, uint64_t>,
             boxMoveFloats},
    .means = {boxMeans<uint8_t, uint16_t>, boxMeans<uint8_t, uint32_t>,
              boxMeans<uint16_t, uint32_t>, boxManyMeans<uint8_t>, boxManyMeans<uint16_t>,
              boxManyMeans<uint32_t>, boxFloatMeans},
};

} // namespace
