#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{

// Calls block(i) for blocks of `length` results, the last of which may overlap the one
// before, or single(i) for each result of a row that is shorter.
template<size_t length, class Block, class Single>
QUIB_INLINE void inConvolveBlocks(size_t count, Block block, Single single)
{
    if (count < length) {
        for (size_t i = 0; i < count; ++i)
            single(i);
        return;
    }
    for (size_t i = 0; i + length <= count; i += length)
        block(i);
    if (count % length != 0)
        block(count - length);
}

template<class Element>
QUIB_INLINE const Element* convolveElements(const ConvolveTerms& terms, size_t tap)
{
    return static_cast<const Element*>(terms.elements[tap]);
}

template<class Element>
QUIB_INLINE int32_t convolveSum(const ConvolveTerms& terms, size_t i)
{
    int32_t sum = 0;
    for (size_t tap = 0; tap < terms.count; ++tap)
        sum += terms.taps[tap] * convolveElements<Element>(terms, tap)[i];
    return sum;
}

// --- Sums in 16 bits -------------------------------------------------------------------

// The elements of each part's low half, and of its high half.
struct ConvolveHalves {
    I16<> low{};
    I16<> high{};
};

QUIB_INLINE void storeConvolveHalves(int16_t* out, const ConvolveHalves& sums, int32_t shift)
{
    const I16<> low = sums.low >> static_cast<int16_t>(shift);
    const I16<> high = sums.high >> static_cast<int16_t>(shift);
#if defined(QUIB_WIDE_VECTORS)
    store(out, join(lowHalf(low), lowHalf(high)));
    store(out + wide / 2, join(highHalf(low), highHalf(high)));
#else
    store(out, low);
    store(out + wide / 2, high);
#endif
}

QUIB_INLINE ConvolveHalves convolveBytePairs(const ConvolveTerms& terms, size_t i)
{
    ConvolveHalves sums;
    for (size_t tap = 0; tap < terms.count; tap += 2) {
        const U8<> first = load<U8<>>(convolveElements<uint8_t>(terms, tap) + i);
        const U8<> second = load<U8<>>(convolveElements<uint8_t>(terms, tap + 1) + i);
        const I8<> taps = as<I8<>>(spread<U32<>>(terms.bytePairs[tap / 2]));
        sums.low += pairProductsOfBytes(interleaveLow(first, second), taps);
        sums.high += pairProductsOfBytes(interleaveHigh(first, second), taps);
    }
    return sums;
}

template<class Element>
QUIB_INLINE ConvolveHalves convolveHalves(const ConvolveTerms& terms, size_t i)
{
    constexpr bool isSigned = static_cast<Element>(-1) < 0;
    ConvolveHalves sums;
    for (size_t tap = 0; tap < terms.count; ++tap) {
        const U8<> bytes = load<U8<>>(convolveElements<uint8_t>(terms, tap) + i);
        const I16<> factor = spread<I16<>>(static_cast<int16_t>(terms.taps[tap]));
        if constexpr (isSigned) {
            sums.low += (as<I16<>>(interleaveLow(bytes, bytes)) >> 8) * factor;
            sums.high += (as<I16<>>(interleaveHigh(bytes, bytes)) >> 8) * factor;
        } else {
            sums.low += as<I16<>>(widenLow(bytes)) * factor;
            sums.high += as<I16<>>(widenHigh(bytes)) * factor;
        }
    }
    return sums;
}

template<class Element>
void convolveSums16(int16_t* out, const ConvolveTerms& terms, int32_t shift, size_t count)
{
    const int32_t most = shift < 15 ? shift : 15;
    const auto single = [&](size_t i) {
        out[i] = static_cast<int16_t>(convolveSum<Element>(terms, i) >> most);
    };
    if constexpr (isSame<Element, uint8_t> && multipliesBytePairs) {
        if (terms.bytePairs)
            return inConvolveBlocks<wide>(
                count,
                [&](size_t i) { storeConvolveHalves(out + i, convolveBytePairs(terms, i), most); },
                single);
    }
    inConvolveBlocks<wide>(
        count,
        [&](size_t i) { storeConvolveHalves(out + i, convolveHalves<Element>(terms, i), most); },
        single);
}

// --- Sums in 32 bits and in floats -----------------------------------------------------

constexpr size_t convolveLanes = wide / 4;
constexpr size_t convolveVectors = 4; // sums at a time

template<class Element>
QUIB_INLINE void convolveBlock32(int32_t* out, const ConvolveTerms& terms, int32_t shift, size_t i)
{
    I32<> sums[convolveVectors]{};
    for (size_t tap = 0; tap < terms.count; ++tap) {
        const Element* elements = convolveElements<Element>(terms, tap) + i;
        const I32<> factor = spread<I32<>>(terms.taps[tap]);
        for (size_t v = 0; v < convolveVectors; ++v)
            sums[v] += loadWidened<I32<>>(elements + v * convolveLanes) * factor;
    }
    for (size_t v = 0; v < convolveVectors; ++v)
        store(out + i + v * convolveLanes, sums[v] >> shift);
}

// Sixteen sums, by pairs of taps.
QUIB_INLINE void convolveWordPairs(int32_t* out, const ConvolveTerms& terms, int32_t shift,
                                   size_t i)
{
    constexpr size_t vectors = 16 / convolveLanes;
    I32<> sums[vectors]{};
    for (size_t tap = 0; tap < terms.count; tap += 2) {
        const U8<16> first = load<U8<16>>(convolveElements<uint8_t>(terms, tap) + i);
        const U8<16> second = load<U8<16>>(convolveElements<uint8_t>(terms, tap + 1) + i);
        const I16<> taps = as<I16<>>(spread<U32<>>(terms.wordPairs[tap / 2]));
        const U8<16> low = interleaveLow(first, second);
        const U8<16> high = interleaveHigh(first, second);
        if constexpr (vectors == 2) {
            sums[0] += pairProducts(widenFirst<I16<>>(low), taps);
            sums[1] += pairProducts(widenFirst<I16<>>(high), taps);
        } else {
            sums[0] += pairProducts(as<I16<>>(widenLow(low)), taps);
            sums[1] += pairProducts(as<I16<>>(widenHigh(low)), taps);
            sums[2] += pairProducts(as<I16<>>(widenLow(high)), taps);
            sums[3] += pairProducts(as<I16<>>(widenHigh(high)), taps);
        }
    }
    for (size_t v = 0; v < vectors; ++v)
        store(out + i + v * convolveLanes, sums[v] >> shift);
}

// Whether no sum of bytes leaves 16 bits, nor one of two products 15: that is so for
// means.
QUIB_INLINE bool areConvolveWeights(const ConvolveTerms& terms)
{
    int32_t total = 0;
    for (size_t tap = 0; tap < terms.count; ++tap) {
        total += terms.taps[tap];
        if (terms.taps[tap] < 0 || terms.taps[tap] > 64 || total > 257)
            return false;
    }
    return true;
}

QUIB_INLINE void storeConvolveWords(int32_t* out, U16<> words)
{
#if defined(QUIB_WIDE_VECTORS)
    store(out, __builtin_convertvector(lowHalf(words), I32<>));
    store(out + convolveLanes, __builtin_convertvector(highHalf(words), I32<>));
#else
    store(out, as<I32<>>(widenLow(words)));
    store(out + convolveLanes, as<I32<>>(widenHigh(words)));
#endif
}

QUIB_INLINE void convolveWeightedBytes(int32_t* out, const ConvolveTerms& terms, int32_t shift,
                                       size_t i)
{
    U16<> low{};
    U16<> high{};
    for (size_t tap = 0; tap < terms.count; tap += multipliesBytePairs ? 2 : 1) {
        const U8<> first = load<U8<>>(convolveElements<uint8_t>(terms, tap) + i);
        if constexpr (multipliesBytePairs) {
            const U8<> second = load<U8<>>(convolveElements<uint8_t>(terms, tap + 1) + i);
            const I8<> taps = as<I8<>>(spread<U32<>>(terms.bytePairs[tap / 2]));
            low += as<U16<>>(pairProductsOfBytes(interleaveLow(first, second), taps));
            high += as<U16<>>(pairProductsOfBytes(interleaveHigh(first, second), taps));
        } else {
            const U16<> factor = spread<U16<>>(static_cast<uint16_t>(terms.taps[tap]));
            low += widenLow(first) * factor;
            high += widenHigh(first) * factor;
        }
    }
    low >>= static_cast<uint16_t>(shift);
    high >>= static_cast<uint16_t>(shift);
#if defined(QUIB_WIDE_VECTORS)
    storeConvolveWords(out + i, join(lowHalf(low), lowHalf(high)));
    storeConvolveWords(out + i + wide / 2, join(highHalf(low), highHalf(high)));
#else
    storeConvolveWords(out + i, low);
    storeConvolveWords(out + i + wide / 2, high);
#endif
}

template<class Element>
void convolveSums32(int32_t* out, const ConvolveTerms& terms, int32_t shift, size_t count)
{
    const auto single = [&](size_t i) { out[i] = convolveSum<Element>(terms, i) >> shift; };
    if constexpr (isSame<Element, uint8_t>)
        if (terms.bytePairs && shift < 16 && count >= wide && areConvolveWeights(terms))
            return inConvolveBlocks<wide>(
                count, [&](size_t i) { convolveWeightedBytes(out, terms, shift, i); }, single);
    if constexpr (isSame<Element, uint8_t>)
        if (terms.wordPairs)
            return inConvolveBlocks<16>(
                count, [&](size_t i) { convolveWordPairs(out, terms, shift, i); }, single);
    inConvolveBlocks<convolveVectors * convolveLanes>(
        count, [&](size_t i) { convolveBlock32<Element>(out, terms, shift, i); }, single);
}

template<class Element>
QUIB_INLINE void convolveBlockFloat(float* out, const ConvolveTerms& terms, float factor, size_t i)
{
    F32<> sums[convolveVectors]{};
    for (size_t tap = 0; tap < terms.count; ++tap) {
        const Element* elements = convolveElements<Element>(terms, tap) + i;
        const F32<> weight = spread<F32<>>(terms.floats[tap]);
        for (size_t v = 0; v < convolveVectors; ++v)
            sums[v] += toFloats(loadWidened<I32<>>(elements + v * convolveLanes)) * weight;
    }
    for (size_t v = 0; v < convolveVectors; ++v)
        store(out + i + v * convolveLanes, sums[v] * factor);
}

template<class Element>
void convolveSumsFloat(float* out, const ConvolveTerms& terms, float factor, size_t count)
{
    inConvolveBlocks<convolveVectors * convolveLanes>(
        count, [&](size_t i) { convolveBlockFloat<Element>(out, terms, factor, i); },
        [&](size_t i) {
            float sum = 0;
            for (size_t tap = 0; tap < terms.count; ++tap)
                sum += static_cast<float>(convolveElements<Element>(terms, tap)[i]) *
                       terms.floats[tap];
            out[i] = sum * factor;
        });
}

// --- Several kernels -------------------------------------------------------------------

template<class Number>
void convolveFloatsOf(float* out, const Number* in, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        out[i] = static_cast<float>(in[i]);
}

template<ConvolveStep step, class Number>
QUIB_INLINE Number convolveStepped(Number row, Number in)
{
    if constexpr (step == convolveAdd)
        return row + in;
    if constexpr (step == convolveAddSquares)
        return row + in * in;
    if constexpr (step == convolveKeepLarger)
        return in > row ? in : row;
    return in < row ? in : row;
}

template<ConvolveStep step>
void convolveStep16(int32_t* row, const int16_t* in, size_t count)
{
    constexpr int32_t most = 4095; // all depths' results are below its square's root
    for (size_t i = 0; i < count; ++i) {
        int32_t value = in[i];
        if constexpr (step == convolveAddSquares)
            value = value < -most ? most : value > most ? most : value;
        row[i] = convolveStepped<step>(row[i], value);
    }
}

template<ConvolveStep step>
void convolveStepFloat(float* row, const float* in, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        row[i] = convolveStepped<step>(row[i], in[i]);
}

void convolveRoots(int32_t* row, size_t count)
{
    constexpr size_t lanes = convolveLanes;
    size_t i = 0;
    for (; i + lanes <= count; i += lanes)
        store(row + i, rounded(squareRoots(toFloats(load<I32<>>(row + i)))));
    for (; i < count; ++i)
        row[i] = rounded(squareRoots(spread<F32<16>>(static_cast<float>(row[i]))))[0];
}

void convolveRootsFloat(float* row, size_t count)
{
    // From 2^52 on a double has no fraction bits, and the sum leaves it none before.
    constexpr double whole = 4503599627370496.0;
    for (size_t i = 0; i < count; ++i) {
        const double root = __builtin_sqrt(static_cast<double>(row[i]));
        row[i] = static_cast<float>(root < whole ? (root + whole) - whole : root);
    }
}

// --- Results ---------------------------------------------------------------------------

template<class Element>
QUIB_INLINE Element convolveNearest(int32_t value)
{
    if constexpr (sizeof(Element) == 4)
        return value;
    else
        return saturated<Element>(value);
}

// The nearest integer, if it has one.
QUIB_INLINE I32<> convolveWhole(F32<> values)
{
    const F32<> above = spread<F32<>>(2147483648.0f);
    const F32<> most = spread<F32<>>(2147483520.0f); // the float below
    const I32<> nearest = rounded(smaller(larger(values, -above), most));
    return select(values >= above, spread<I32<>>(INT32_MAX), nearest);
}
QUIB_INLINE I32<> convolveWhole(I32<> values)
{
    return values;
}

QUIB_INLINE int32_t convolveWhole(float value)
{
    return convolveWhole(spread<F32<>>(value))[0];
}
QUIB_INLINE int32_t convolveWhole(int32_t value)
{
    return value;
}

template<class Element>
QUIB_INLINE void storeConvolved(Element* out, const I32<>* values)
{
    if constexpr (sizeof(Element) == 4) {
        for (size_t v = 0; v < 4; ++v)
            store(out + v * convolveLanes, values[v]);
    } else if constexpr (sizeof(Element) == 2) {
        for (size_t v = 0; v < 4; v += 2) {
            if constexpr (isSame<Element, uint16_t>)
                store(out + v * convolveLanes, inOrderOfPack(packToU16(values[v], values[v + 1])));
            else
                store(out + v * convolveLanes, inOrderOfPack(packToI16(values[v], values[v + 1])));
        }
    } else {
        const I16<> low = packToI16(values[0], values[1]);
        const I16<> high = packToI16(values[2], values[3]);
        if constexpr (isSame<Element, uint8_t>)
            store(out, inOrderOfTwoPacks(packToU8(low, high)));
        else
            store(out, inOrderOfTwoPacks(packToI8(low, high)));
    }
}

template<class Element, class Number>
void convolveFinish(void* outBytes, const Number* in, size_t count)
{
    Element* out = static_cast<Element*>(outBytes);
    inConvolveBlocks<4 * convolveLanes>(
        count,
        [&](size_t i) {
            I32<> values[4];
            for (size_t v = 0; v < 4; ++v)
                values[v] = convolveWhole(load<Vector<Number>>(in + i + v * convolveLanes));
            storeConvolved(out + i, values);
        },
        [&](size_t i) { out[i] = convolveNearest<Element>(convolveWhole(in[i])); });
}

template<class Element>
void convolveFinish16(void* outBytes, const int16_t* in, size_t count)
{
    Element* out = static_cast<Element*>(outBytes);
    inConvolveBlocks<wide>(
        count,
        [&](size_t i) {
            const I16<> low = load<I16<>>(in + i);
            const I16<> high = load<I16<>>(in + i + wide / 2);
            if constexpr (isSame<Element, uint8_t>)
                store(out + i, inOrderOfPack(packToU8(low, high)));
            else
                store(out + i, inOrderOfPack(packToI8(low, high)));
        },
        [&](size_t i) { out[i] = saturated<Element>(in[i]); });
}

} // namespace

constinit const ConvolveKernels convolveKernels{
    .sums16 = {convolveSums16<uint8_t>, convolveSums16<int8_t>},
    .sums32 = {convolveSums32<uint8_t>, convolveSums32<int8_t>, convolveSums32<uint16_t>,
               convolveSums32<int16_t>},
    .sumsFloat = {convolveSumsFloat<uint8_t>, convolveSumsFloat<int8_t>,
                  convolveSumsFloat<uint16_t>, convolveSumsFloat<int16_t>,
                  convolveSumsFloat<int32_t>},
    .floatsOf16 = convolveFloatsOf<int16_t>,
    .floatsOf32 = convolveFloatsOf<int32_t>,
    .step16 = {convolveStep16<convolveAdd>, convolveStep16<convolveAddSquares>,
               convolveStep16<convolveKeepLarger>, convolveStep16<convolveKeepSmaller>},
    .stepFloat = {convolveStepFloat<convolveAdd>, convolveStepFloat<convolveAddSquares>,
                  convolveStepFloat<convolveKeepLarger>, convolveStepFloat<convolveKeepSmaller>},
    .roots = convolveRoots,
    .rootsFloat = convolveRootsFloat,
    .finish16 = {convolveFinish16<uint8_t>, convolveFinish16<int8_t>},
    .finish32 = {convolveFinish<uint8_t, int32_t>, convolveFinish<int8_t, int32_t>,
                 convolveFinish<uint16_t, int32_t>, convolveFinish<int16_t, int32_t>},
    .finishFloat = {convolveFinish<uint8_t, float>, convolveFinish<int8_t, float>,
                    convolveFinish<uint16_t, float>, convolveFinish<int16_t, float>,
                    convolveFinish<int32_t, float>},
};

} // namespace quib::QUIB_LEVEL
