// Compiled once per level, like the kernels, and under the same rule: nothing
// here may call inline functions of a library header.
#include "tests/kernels/vector_operations.h"

#include "kernels/vector.h"

namespace quib::QUIB_LEVEL
{

namespace
{

// An expression of vectors a and b, loaded as A<n> and B<n>.
#define OPERATION(name, A, B, expression)                                                          \
    VectorOperation                                                                                \
    {                                                                                              \
        name, n, [](uint8_t* out, const uint8_t* first, const uint8_t* second) {                   \
            [[maybe_unused]] const A<n> a = load<A<n>>(first);                                     \
            [[maybe_unused]] const B<n> b = load<B<n>>(second);                                    \
            store(out, expression);                                                                \
        }                                                                                          \
    }

template<size_t n>
constexpr VectorOperation anyWidth[] = {
    OPERATION("spread U8", U8, U8, spread<U8<n>>(a[0])),
    OPERATION("spread I16", I16, U8, spread<I16<n>>(a[0])),
    OPERATION("spread U64", U64, U8, spread<U64<n>>(a[0])),
    OPERATION("spread F32", F32, U8, spread<F32<n>>(a[0])),
    OPERATION("spreadPart", U8, U8, spreadPart<U8<n>>(load<U8<16>>(first))),
    OPERATION("interleaveLow U8", U8, U8, interleaveLow(a, b)),
    OPERATION("interleaveHigh U8", U8, U8, interleaveHigh(a, b)),
    OPERATION("interleaveLow U16", U16, U16, interleaveLow(a, b)),
    OPERATION("interleaveHigh U16", U16, U16, interleaveHigh(a, b)),
    OPERATION("interleaveLow U32", U32, U32, interleaveLow(a, b)),
    OPERATION("interleaveHigh U64", U64, U64, interleaveHigh(a, b)),
    OPERATION("evenLanes U32", U32, U32, evenLanes(a, b)),
    OPERATION("oddLanes U32", U32, U32, oddLanes(a, b)),
    OPERATION("evenLanes U16", U16, U16, evenLanes(a, b)),
    OPERATION("inGroups 3 3 3 3 U16", U16, U8, (inGroups<3, 3, 3, 3>(a))),
    OPERATION("inGroups 1 0 U32", U32, U8, (inGroups<1, 0>(a))),
    OPERATION("mix 0 0 1 1 U32", U32, U32, (mix<0, 0, 1, 1>(a, b))),
    OPERATION("mix 0 1 U8", U8, U8, (mix<0, 1>(a, b))),
    OPERATION("onward 12 U8", U8, U8, onward<12>(a, b)),
    OPERATION("onward 2 U16", U16, U16, onward<2>(a, b)),
    OPERATION("lookUp", U8, U8, lookUp(a, b)),
    OPERATION("lookUpInParts", U32, U32, lookUpInParts(a, b & 3)),
    OPERATION("select U8", U8, U8, select(a < b, a, b + 1)),
    OPERATION("select F32", F32, F32, select(a < b, a, b)),
    OPERATION("withBits U32", U32, U32, withBits(a, b, 0x0A0FF0F0u)),
    OPERATION("smaller U8", U8, U8, smaller(a, b)),
    OPERATION("smaller U16", U16, U16, smaller(a, b)),
    OPERATION("smaller I16", I16, I16, smaller(a, b)),
    OPERATION("smaller I32", I32, I32, smaller(a, b)),
    OPERATION("smaller F32", F32, F32, smaller(a, b)),
    OPERATION("larger U8", U8, U8, larger(a, b)),
    OPERATION("larger U16", U16, U16, larger(a, b)),
    OPERATION("larger I32", I32, I32, larger(a, b)),
    OPERATION("larger F32", F32, F32, larger(a, b)),
    OPERATION("isZero", U8, U8,
              spread<U8<n>>(static_cast<uint8_t>(isZero(a & b) + 2 * isZero(a - a)))),
    OPERATION("widenLow U8", U8, U8, widenLow(a)),
    OPERATION("widenHigh U8", U8, U8, widenHigh(a)),
    OPERATION("widenLow U16", U16, U8, widenLow(a)),
    OPERATION("widenHigh U16", U16, U8, widenHigh(a)),
    OPERATION("widenFirst I16", U8, U8,
              widenFirst<I16<n>>(load<U8<16>>(first))),
    OPERATION("widenFirst I32", U8, U8, widenFirst<I32<n>>(load<U8<16>>(first))),
    OPERATION("loadWidened U8", U8, U8, loadWidened<I32<n>>(first)),
    OPERATION("loadWidened I8", U8, U8,
              loadWidened<I32<n>>(reinterpret_cast<const int8_t*>(first))),
    OPERATION("loadWidened U16", U8, U8,
              loadWidened<I32<n>>(reinterpret_cast<const uint16_t*>(first))),
    OPERATION("loadWidened I16", U8, U8,
              loadWidened<I32<n>>(reinterpret_cast<const int16_t*>(first))),
    OPERATION("loadWidened I32", U8, U8,
              loadWidened<I32<n>>(reinterpret_cast<const int32_t*>(first))),
    OPERATION("packToU8", I16, I16, packToU8(a, b)),
    OPERATION("cutToU8", U16, U16, join(cutToU8(a), cutToU8(b))),
    OPERATION("packToI8", I16, I16, packToI8(a, b)),
    OPERATION("packToI16", I32, I32, packToI16(a, b)),
    OPERATION("packToU16", I32, I32, packToU16(a, b)),
    OPERATION("packToU16 of words", I32, I32, packToU16(a >> 15, b >> 15)),
    OPERATION("inOrderOfPack", U16, U16, inOrderOfPack(packToU8(a >> 8, b >> 8))),
    OPERATION("inOrderOfTwoPacks", U32, U32,
              inOrderOfTwoPacks(packToU8(packToI16(a >> 24, b >> 24),
                                         packToI16(a >> 16 & 255, b >> 16 & 255)))),
    OPERATION("addSaturated U8", U8, U8, addSaturated(a, b)),
    OPERATION("addSaturated I8", I8, I8, addSaturated(a, b)),
    OPERATION("addSaturated U16", U16, U16, addSaturated(a, b)),
    OPERATION("addSaturated I16", I16, I16, addSaturated(a, b)),
    OPERATION("subtractSaturated U8", U8, U8, subtractSaturated(a, b)),
    OPERATION("subtractSaturated I8", I8, I8, subtractSaturated(a, b)),
    OPERATION("subtractSaturated U16", U16, U16, subtractSaturated(a, b)),
    OPERATION("subtractSaturated I16", I16, I16, subtractSaturated(a, b)),
    OPERATION("highProducts U16", U16, U16, highProducts(a, b)),
    OPERATION("highProducts I16", I16, I16, highProducts(a, b)),
    OPERATION("pairProducts", I16, I16, pairProducts(a, b)),
    OPERATION("pairProductsOfBytes", U8, I8, pairProductsOfBytes(a, b)),
    OPERATION("pairSums U8", U8, U8, pairSums(a)),
    OPERATION("pairSums I16", I16, U8, pairSums(a)),
    OPERATION("productsOver255", U16, U16, productsOver255(a & 255, b & 255)),
    OPERATION("toFloats", I32, U8, toFloats(a)),
    OPERATION("truncated", F32, U8, truncated(a)),
    OPERATION("rounded", F32, U8, rounded(a)),
    OPERATION("roundedDown", F32, U8, roundedDown(a)),
    OPERATION("squareRoots", F32, U8, squareRoots(a * a)),
    OPERATION("topBits", U8, U8, spread<U32<n>>(topBits(a))),
    VectorOperation{"lanesUpTo", n,
                    [](uint8_t* out, const uint8_t* a, const uint8_t* b) {
                        U16<n> ascending = load<U16<n>>(a);
                        for (size_t i = 1; i < n / 2; ++i)
                            if (ascending[i] < ascending[i - 1])
                                ascending[i] = ascending[i - 1];
                        const size_t lanes = lanesUpTo(ascending, load<U16<n>>(b)[0]);
                        store(out, spread<U32<n>>(static_cast<uint32_t>(lanes)));
                    }},
    VectorOperation{"gather U32", n,
                    [](uint8_t* out, const uint8_t* a, const uint8_t* b) {
                        int32_t offsets[n / 4];
                        store(offsets, load<I32<n>>(b) & static_cast<int32_t>(n / 2 - 1));
                        store(out, gather<U32<n>>(a, offsets));
                    }},
    VectorOperation{"gather U64", n,
                    [](uint8_t* out, const uint8_t* a, const uint8_t* b) {
                        int32_t offsets[n / 4];
                        store(offsets, load<I32<n>>(b) & static_cast<int32_t>(n / 2 - 1));
                        store(out, gather<U64<n>>(a, offsets));
                    }},
    VectorOperation{"stream", n,
                    [](uint8_t* out, const uint8_t* a, const uint8_t*) {
                        stream(out, load<U8<n>>(a));
                        endStreaming();
                    }},
};

#if defined(QUIB_HAS_AVX2) && defined(__AVX512BW__)
template<size_t n>
constexpr VectorOperation ofLongest[] = {
    OPERATION("spread U8", U8, U8, spread<U8<n>>(a[0])),
    OPERATION("spreadPart", U8, U8, spreadPart<U8<n>>(load<U8<16>>(first))),
    OPERATION("inGroups 1 0 U32", U32, U8, (inGroups<1, 0>(a))),
    OPERATION("withBits U32", U32, U32, withBits(a, b, 0x0A0FF0F0u)),
    OPERATION("isZero", U8, U8,
              spread<U8<n>>(static_cast<uint8_t>(isZero(a& b) + 2 * isZero(a - a)))),
    OPERATION("lookUp", U8, U8, lookUp(a, b)),
    OPERATION("cutToU8", U16, U16, join(cutToU8(a), cutToU8(b))),
    OPERATION("highProducts I16", I16, I16, highProducts(a, b)),
    OPERATION("toFloats", I32, U8, toFloats(a)),
    VectorOperation{"gather U64", n,
                    [](uint8_t* out, const uint8_t* a, const uint8_t* b) {
                        int32_t offsets[n / 4];
                        store(offsets, load<I32<n>>(b) & static_cast<int32_t>(n / 2 - 1));
                        store(out, gather<U64<n>>(a, offsets));
                    }},
    VectorOperation{"stream", n,
                    [](uint8_t* out, const uint8_t* a, const uint8_t*) {
                        stream(out, load<U8<n>>(a));
                        endStreaming();
                    }},
};
#endif

constexpr size_t n = 16;
constexpr VectorOperation only16[] = {
    OPERATION("loadHalf", U8, U8, loadHalf<U8<n>>(second)),
    OPERATION("loadHalves", U8, U8, loadHalves<U8<n>>(second, first)),
    VectorOperation{"storeHalf", n,
                    [](uint8_t* out, const uint8_t* a, const uint8_t* b) {
                        store(out, load<U8<n>>(b));
                        storeHalf(out, load<U8<n>>(a));
                    }},
    VectorOperation{"words", n,
                    [](uint8_t* out, const uint8_t* a, const uint8_t*) {
                        for (size_t i = 0; i < n; i += 4)
                            storeWord(out + i, loadWord(a + n - 4 - i));
                    }},
#if defined(QUIB_WIDE_VECTORS)
    OPERATION("join", U32, U32, lowHalf(join(b, a)) - highHalf(join(b, a))),
#endif
};

struct List {
    VectorOperation of[200];
    size_t count;

    template<size_t more>
    constexpr void add(const VectorOperation (&operations)[more])
    {
        for (const VectorOperation& operation : operations)
            of[count++] = operation;
    }
};

constexpr List list = [] {
    List all{};
    all.add(only16);
    all.add(anyWidth<16>);
#if defined(QUIB_WIDE_VECTORS)
    all.add(anyWidth<32>);
#endif
#if defined(QUIB_HAS_AVX2) && defined(__AVX512BW__)
    all.add(ofLongest<64>);
#endif
    return all;
}();

} // namespace

VectorOperations vectorOperations()
{
    return {list.of, list.count};
}

} // namespace quib::QUIB_LEVEL
