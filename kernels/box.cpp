#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

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

using BoxSums = U32<longest>;
constexpr size_t boxLanes = lanesOf<BoxSums>;

// Lanes of 32 bits of the columns' sums.
QUIB_INLINE BoxSums boxColumns(const uint32_t* columns)
{
    return load<BoxSums>(columns);
}
QUIB_INLINE BoxSums boxColumns(const uint16_t* columns)
{
    if constexpr (longest == 16)
        return as<BoxSums>(widenLow(loadHalf<U16<16>>(columns)));
    else
        return __builtin_convertvector(load<U16<longest / 2>>(columns), BoxSums);
}

// Of sums that differ by less than half their range.
QUIB_INLINE BoxSums boxChange(const uint32_t* entering, const uint32_t* leaving)
{
    return load<BoxSums>(entering) - load<BoxSums>(leaving);
}
QUIB_INLINE BoxSums boxChange(const uint16_t* entering, const uint16_t* leaving)
{
    if constexpr (longest == 16) {
        const I16<16> change = loadHalf<I16<16>>(entering) - loadHalf<I16<16>>(leaving);
        return as<BoxSums>(as<I32<longest>>(interleaveLow(change, change)) >> 16);
    } else {
        using Half = I16<longest / 2>;
        const Half change = load<Half>(entering) - load<Half>(leaving);
        return as<BoxSums>(__builtin_convertvector(change, I32<longest>));
    }
}

// 0 in the first lanes, then the vector's.
template<size_t count>
struct BoxLaterRule {
    static constexpr int of(size_t i, size_t lanes)
    {
        return static_cast<int>(i < count ? lanes + i : i - count);
    }
};

// The channels of the last pixel in all pixels.
template<size_t stride>
struct BoxLastRule {
    static constexpr int of(size_t i, size_t lanes)
    {
        return static_cast<int>(lanes / stride * stride - stride + i % stride);
    }
};

// Each pixel's changes, and those of all before it.
template<size_t stride, size_t distance = stride>
QUIB_INLINE BoxSums boxChangesSoFar(BoxSums changes)
{
    if constexpr (distance >= boxLanes / stride * stride)
        return changes;
    else
        return boxChangesSoFar<stride, distance * 2>(
            changes + rearrange<BoxLaterRule<distance>>(changes, BoxSums{}));
}

// Calls take(i, sums) with a vector of the windows' sums from the i-th on, of which the
// whole pixels count; each is the one before it and what has changed since. The numbers
// start from `raised`.
template<size_t stride, class Column, class Take>
QUIB_INLINE void boxSlidePixels(const Column* columns, size_t nCols, size_t count, uint32_t raised,
                                Take take)
{
    constexpr size_t step = boxLanes / stride * stride;
    const Column* const entering = columns + nCols * stride;
    BoxSums sums = spread<BoxSums>(raised);
    for (size_t k = 0; k < nCols; ++k)
        sums += boxColumns(columns + k * stride);
    take(size_t{0}, sums);
    for (size_t i = step; i < count; i += step) {
        const BoxSums before = rearrange<BoxLastRule<stride>>(sums, sums);
        const BoxSums changes = boxChange(entering + i - stride, columns + i - stride);
        sums = boxChangesSoFar<stride>(changes) + before;
        take(i, sums);
    }
}

template<class Column, class Sum>
QUIB_INLINE void boxSlideAny(Sum* sums, const Column* columns, size_t nCols, size_t stride,
                             size_t count, Sum raised)
{
    for (size_t c = 0; c < stride; ++c) {
        sums[c] = raised;
        for (size_t k = 0; k < nCols; ++k)
            sums[c] += columns[k * stride + c];
    }
    const Column* const entering = columns + nCols * stride;
    for (size_t i = 0; i + stride < count; ++i)
        sums[i + stride] = sums[i] + entering[i] - columns[i];
}

// --- Means -----------------------------------------------------------------------------

// The bytes of lanes that hold bytes.
QUIB_INLINE void boxStoreBytes(uint8_t* out, I32<longest> lanes)
{
    if constexpr (longest == 64) {
        store(out, __builtin_convertvector(lanes, U8<longest / 4>));
    } else {
        const auto words = packToI16(lanes, lanes);
        const auto bytes = as<BoxSums>(packToU8(words, words));
        for (size_t part = 0; part < longest / 16; ++part)
            storeWord(out + part * 4, bytes[part * 4]);
    }
}

// Quotients in floats, as the sums come.
template<size_t stride, class Column>
QUIB_INLINE void boxMeansOfBytes(uint8_t* out, const Column* columns, const BoxWindow& window,
                                 size_t count)
{
    const F32<longest> quotient = spread<F32<longest>>(window.quotient);
    const I32<longest> flip = spread<I32<longest>>(static_cast<int32_t>(window.flip));
    const uint32_t half = static_cast<uint32_t>(window.elements / 2);
    boxSlidePixels<stride>(columns, window.nCols, count, half, [&](size_t i, BoxSums sums) {
        const I32<longest> means = truncated(toFloats(as<I32<longest>>(sums)) * quotient) ^ flip;
        if (i + boxLanes <= count)
            return boxStoreBytes(out + i, means);
        uint8_t last[boxLanes];
        boxStoreBytes(last, means);
        for (size_t k = 0; i + k < count; ++k)
            out[i + k] = last[k];
    });
}

template<class Column>
QUIB_INLINE void boxRaisedSums(uint32_t* sums, const Column* columns, const BoxWindow& window,
                               size_t count)
{
    const uint32_t half = static_cast<uint32_t>(window.elements / 2);
    const auto keep = [&](size_t i, BoxSums found) { store(sums + i, found); };
    if (window.stride == 1)
        boxSlidePixels<1>(columns, window.nCols, count, half, keep);
    else if (window.stride == 3)
        boxSlidePixels<3>(columns, window.nCols, count, half, keep);
    else if (window.stride == 4)
        boxSlidePixels<4>(columns, window.nCols, count, half, keep);
    else
        boxSlideAny(sums, columns, window.nCols, window.stride, count, half);
}

template<class Element, class Column>
void boxMeans(void* dst, const void* columnsIn, void* sumsOut, const BoxWindow& window,
              size_t count)
{
    const Column* const columns = static_cast<const Column*>(columnsIn);
    Element* const out = static_cast<Element*>(dst);
    if constexpr (isSame<Element, uint8_t>) {
        const bool inFloats = window.quotient > 0;
        if (inFloats && window.stride == 1)
            return boxMeansOfBytes<1>(out, columns, window, count);
        if (inFloats && window.stride == 3)
            return boxMeansOfBytes<3>(out, columns, window, count);
        if (inFloats && window.stride == 4)
            return boxMeansOfBytes<4>(out, columns, window, count);
    }
    uint32_t* const sums = static_cast<uint32_t*>(sumsOut);
    boxRaisedSums(sums, columns, window, count);
    const Element turned = static_cast<Element>(window.flip);
    const uint64_t factor = window.factor;
    const uint32_t shift = window.shift;
    for (size_t i = 0; i < count; ++i)
        out[i] = static_cast<Element>((sums[i] * factor >> shift) ^ turned);
}

template<class Element>
void boxManyMeans(void* dst, const void* columns, void* sumsOut, const BoxWindow& window,
                  size_t count)
{
    Element* const out = static_cast<Element*>(dst);
    uint64_t* const sums = static_cast<uint64_t*>(sumsOut);
    boxSlideAny(sums, static_cast<const uint64_t*>(columns), window.nCols, window.stride, count,
                window.elements / 2);
    for (size_t i = 0; i < count; ++i)
        out[i] = static_cast<Element>(sums[i] / window.elements ^ window.flip);
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

} // namespace

constinit const BoxKernels boxKernels{
    .move = {boxMove<uint8_t, uint16_t>, boxMove<uint8_t, uint32_t>, boxMove<uint16_t, uint32_t>,
             boxMove<uint8_t, uint64_t>, boxMove<uint16_t, uint64_t>, boxMove<uint32_t, uint64_t>,
             boxMoveFloats},
    .means = {boxMeans<uint8_t, uint16_t>, boxMeans<uint8_t, uint32_t>,
              boxMeans<uint16_t, uint32_t>, boxManyMeans<uint8_t>, boxManyMeans<uint16_t>,
              boxManyMeans<uint32_t>, boxFloatMeans},
};

} // namespace quib::QUIB_LEVEL
