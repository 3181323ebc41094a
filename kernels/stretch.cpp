#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{

// --- Plain forms: remainders, and what the compiler makes vectors of by itself ---

uint32_t stretchLoad(const uint8_t* src, size_t i)
{
    return loadWord(src + i * 4);
}

void stretchStore(uint8_t* dst, size_t i, uint32_t pixel)
{
    storeWord(dst + i * 4, pixel);
}

// lerp on four bytes, two in each multiplication: a * w + b * (256 - w) is at
// most 255 * 256, so no sum reaches its neighbour.
uint32_t lerpPixel(uint32_t a, uint32_t b, uint32_t w)
{
    constexpr uint32_t even = 0x00FF00FFu;
    const uint32_t low = (a & even) * w + (b & even) * (256 - w);
    const uint32_t high = (a >> 8 & even) * w + (b >> 8 & even) * (256 - w);
    return (low >> 8 & even) | (high & ~even);
}

uint32_t lerpColumn(const uint8_t* src, size_t i, uint32_t w)
{
    return lerpPixel(stretchLoad(src, i), stretchLoad(src, i + 1), w);
}

void gatherPlain8(uint8_t* dst, const uint8_t* src, const uint32_t* index, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        dst[i] = src[index[i]];
}

void gatherPlain32(uint8_t* dst, const uint8_t* src, const uint32_t* index, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        stretchStore(dst, i, stretchLoad(src, index[i]));
}

void gatherStepsPlain8(uint8_t* dst, const uint8_t* src, const uint8_t*, size_t step, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        dst[i] = src[i * step];
}

void gatherStepsPlain32(uint8_t* dst, const uint8_t* src, const uint8_t*, size_t step, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        stretchStore(dst, i, stretchLoad(src, i * step));
}

void lerpColumnsPlain32(uint8_t* dst, const uint8_t* src, const uint32_t* index,
                        const uint32_t* weight, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        stretchStore(dst, i, lerpColumn(src, index[i], weight[i] & 0xFF));
}

void lerpRowsPlain(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, uint8_t weight,
                   size_t count)
{
    // In 16 bits, which vector units do twice as many of.
    const uint16_t w = weight;
    const uint16_t rest = static_cast<uint16_t>(256 - w);
    for (size_t i = 0; i < count; ++i) {
        const uint16_t sum = static_cast<uint16_t>(upper[i] * w + lower[i] * rest);
        dst[i] = static_cast<uint8_t>(sum >> 8);
    }
}

void lerpStepsPlain32(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, size_t step,
                      size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        const uint32_t above = lerpColumn(upper, i * step, 255);
        const uint32_t below = lerpColumn(lower, i * step, 255);
        stretchStore(dst, i, lerpPixel(above, below, 255));
    }
}

// --- Vector forms of all widths -------------------------------------------------

// Nearest, one byte: a block of outputs whose sources lie close together takes
// them out of one or two loads by a shuffle; others are moved one by one. `end`
// is where the last source of the row ends, past which no load may reach.

// The places of sixteen sources in a window that begins at the first, as bytes.
U8<16> bytePlacesFrom(const uint32_t* index)
{
    const U32<> first = spread<U32<>>(index[0]);
    const auto words = [index, first](size_t i) {
        const U32<> low = load<U32<>>(index + i);
        const U32<> high = load<U32<>>(index + i + wide / 4);
        return inOrderOfPack(packToU16(low - first, high - first));
    };
#if defined(QUIB_WIDE_VECTORS)
    return packToU8(lowHalf(words(0)), highHalf(words(0)));
#else
    return packToU8(words(0), words(8));
#endif
}

U8<16> bytesAtWide(const uint8_t* window, U8<16> places)
{
    // A place with its top bit set gives 0: there the other load has the byte.
    const U8<16> inFirst = addSaturated(places, spread<U8<16>>(0x70));
    return lookUp(load<U8<16>>(window), inFirst) | lookUp(load<U8<16>>(window + 16), places - 16);
}

void gatherByLookUp8(uint8_t* dst, const uint8_t* src, const uint32_t* index, size_t count)
{
    const size_t end = count ? index[count - 1] + size_t{1} : 0;
    size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const size_t first = index[i];
        const size_t span = index[i + 15] - first;
        const uint8_t* window = src + first;
        if (span < 16 && first + 16 <= end)
            store(dst + i, lookUp(load<U8<16>>(window), bytePlacesFrom(index + i)));
        else if (span < 32 && first + 32 <= end)
            store(dst + i, bytesAtWide(window, bytePlacesFrom(index + i)));
        else
            gatherPlain8(dst + i, src, index + i, 16);
    }
    gatherPlain8(dst + i, src, index + i, count - i);
}

// lerp(a, b, 255): a, less 1 where it exceeds b.
U8<> lerpNearFirst(U8<> a, U8<> b)
{
    return a - smaller(subtractSaturated(a, b), spread<U8<>>(1));
}

// Of pairs a, b: lerp(a, b, 255).
U8<> lerpNearFirstPairs(U32<> low, U32<> high)
{
    return lerpNearFirst(as<U8<>>(evenLanes(low, high)), as<U8<>>(oddLanes(low, high)));
}

#if defined(QUIB_WIDE_VECTORS)

// --- Vectors of eight pixels ----------------------------------------------------

// Nearest, four bytes.

size_t planBlocks32(GatherBlock* blocks, const uint32_t* index, size_t count)
{
    // No window may reach past the last source of the row, or lie before the first.
    const uint32_t end = count ? index[count - 1] + 1 : 0;
    if (count < 8 || end - index[0] < 4)
        return 0;
    for (size_t i = 0; i < count / 8 * 8; i += 2) {
        if (index[i + 1] - index[i] > 3)
            return i / 8;
        GatherBlock& block = blocks[i / 8];
        const uint32_t window = index[i] < end - 4 ? index[i] : end - 4;
        block.window[i % 8 / 2] = window;
        block.place[i % 8] = static_cast<uint8_t>(index[i] - window);
        block.place[i % 8 + 1] = static_cast<uint8_t>(index[i + 1] - window);
    }
    return count / 8;
}

// Two windows, one in each half.
U32<> windowsAt(const uint8_t* src, uint32_t low, uint32_t high)
{
    return join(load<U32<16>>(src + low * size_t{4}), load<U32<16>>(src + high * size_t{4}));
}

void gatherBlocks32(uint8_t* dst, const uint8_t* src, const GatherBlock* blocks, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        const uint32_t* window = blocks[i].window;
        const U32<> places = widenFirst<U32<>>(loadHalf<U8<16>>(blocks[i].place));
        const U32<> first = lookUpInParts(windowsAt(src, window[0], window[2]), places);
        const U32<> second = lookUpInParts(windowsAt(src, window[1], window[3]), places);
        store(dst + i * 32, mix<0, 0, 1, 1>(first, second));
    }
}

// Steps of 2 and 4 take eight outputs out of two or four loads, in an order
// that restoreOrder() puts right.

// Every second pair of pixels of two loads.
U32<> pairsApart(const uint8_t* from)
{
    return as<U32<>>(interleaveLow(load<U64<>>(from), load<U64<>>(from + 32)));
}

template<size_t step, class V>
V restoreOrder(V pixels)
{
    if constexpr (step == 2)
        return inOrderOfPack(pixels);
    else if constexpr (step == 4)
        return inOrderOfTwoPacks(pixels);
    else
        return pixels;
}

// How many outputs can be made in whole blocks, each by loads of block * step
// elements out of a row of `elements`.
size_t inWholeBlocks(size_t elements, size_t step, size_t block)
{
    return elements / (block * step) * block;
}

template<size_t bytes>
void prefetchBlock(const uint8_t* address)
{
    for (size_t line = 0; line < bytes; line += 64)
        __builtin_prefetch(address + line);
}

template<size_t step>
size_t gatherStepBlocks32(uint8_t* dst, const uint8_t* src, const uint8_t* next, size_t count)
{
    const size_t whole = count ? inWholeBlocks((count - 1) * step + 1, step, 8) : 0;
    for (size_t i = 0; i < whole; i += 8) {
        const uint8_t* from = src + i * step * 4;
        prefetchBlock<step * 32>(next + i * step * 4);
        const U32<> pixels = step == 2 ? evenLanes(load<U32<>>(from), load<U32<>>(from + 32))
                                       : evenLanes(pairsApart(from), pairsApart(from + 64));
        store(dst + i * 4, restoreOrder<step>(pixels));
    }
    return whole;
}

void gatherSteps32(uint8_t* dst, const uint8_t* src, const uint8_t* next, size_t step, size_t count)
{
    const size_t done = step == 2   ? gatherStepBlocks32<2>(dst, src, next, count)
                        : step == 4 ? gatherStepBlocks32<4>(dst, src, next, count)
                                    : 0;
    gatherStepsPlain32(dst + done * 4, src + done * step * 4, next, step, count - done);
}

// Words of as many bytes as a step has.
template<size_t step>
struct StepWord;
template<>
struct StepWord<2> {
    using Type = uint16_t;
};
template<>
struct StepWord<4> {
    using Type = uint32_t;
};
template<size_t step>
using StepWords = Vector<typename StepWord<step>::Type>;

template<size_t step>
StepWords<step> lowestBytes(StepWords<step> words)
{
    return words & 0xFF;
}

template<size_t step>
StepWords<step> highestBytes(StepWords<step> words)
{
    return words >> (8 * (step - 1));
}

// 32 outputs; `choose` takes one byte of each word.
template<size_t step, class Choose>
U8<> everyNthByte(const uint8_t* from, Choose choose)
{
    const auto at = [from, choose](size_t i) {
        return choose(load<StepWords<step>>(from + i * 32));
    };
    if constexpr (step == 2)
        return restoreOrder<step>(packToU8(at(0), at(1)));
    else
        return restoreOrder<step>(packToU8(packToU16(at(0), at(1)), packToU16(at(2), at(3))));
}

template<size_t step>
size_t gatherStepBlocks8(uint8_t* dst, const uint8_t* src, const uint8_t* next, size_t count)
{
    const size_t whole = count ? inWholeBlocks((count - 1) * step + 1, step, 32) : 0;
    for (size_t i = 0; i < whole; i += 32) {
        prefetchBlock<step * 32>(next + i * step);
        store(dst + i, everyNthByte<step>(src + i * step, lowestBytes<step>));
    }
    if (whole == count || count <= 32)
        return whole;
    // The last outputs, some once more, by loads that end at the last source.
    const size_t last = count - 32;
    const uint8_t* from = src + last * step - (step - 1);
    store(dst + last, everyNthByte<step>(from, highestBytes<step>));
    return count;
}

void gatherSteps8(uint8_t* dst, const uint8_t* src, const uint8_t* next, size_t step, size_t count)
{
    const size_t done = step == 2   ? gatherStepBlocks8<2>(dst, src, next, count)
                        : step == 4 ? gatherStepBlocks8<4>(dst, src, next, count)
                                    : 0;
    gatherStepsPlain8(dst + done, src + done * step, next, step, count - done);
}

// Weighted: the sum of products a * w + b * (256 - w) comes from one
// multiply-add on bytes, whose one factor is unsigned (the weights) and whose
// other is signed: the pixels less 128, which is a flip of the top bit. The sum
// is then less 128 * 256, and its high byte again the result less 128.

I8<> flipTopBits(U8<> bytes)
{
    return as<I8<>>(bytes ^ 0x80);
}

U8<> flipBack(I8<> bytes)
{
    return as<U8<>>(bytes) ^ 0x80;
}

// Words of a result from bytes a, b in turn and weights w, 255 - w in turn. A
// weight of 256 would not fit: the last b is added by itself.
I16<> lerpWords(I8<> pairs, U8<> weights)
{
    return (pairProductsOfBytes(weights, pairs) + (as<I16<>>(pairs) >> 8)) >> 8;
}

// Pixels i, i + 1 at four places of a row.
U8<> loadPairs(const uint8_t* src, size_t i0, size_t i1, size_t i2, size_t i3)
{
    const auto at = [src](size_t low, size_t high) {
        return loadHalves<U8<16>>(src + low * 4, src + high * 4);
    };
    return join(at(i0, i1), at(i2, i3));
}

// From a0 b0 a1 b1 to the bytes of a0 and b0 in turn, then of a1 and b1.
I8<> interleavePairs(I8<> pairs)
{
    return inGroups<0, 4, 1, 5, 2, 6, 3, 7>(pairs);
}

void lerpColumns32(uint8_t* dst, const uint8_t* src, const uint32_t* index, const uint32_t* weight,
                   size_t count)
{
    size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        // The places are chosen so that the unpacked weights meet their pixels
        // and the packed result is in order.
        const uint32_t* at = index + i;
        const I8<> outer = flipTopBits(loadPairs(src, at[0], at[1], at[4], at[5]));
        const I8<> inner = flipTopBits(loadPairs(src, at[2], at[3], at[6], at[7]));
        const U8<> w = load<U8<>>(weight + i);
        const I8<> pixels = packToI8(lerpWords(interleavePairs(outer), interleaveLow(w, ~w)),
                                     lerpWords(interleavePairs(inner), interleaveHigh(w, ~w)));
        store(dst + i * 4, flipBack(pixels));
    }
    lerpColumnsPlain32(dst + i * 4, src, index + i, weight + i, count - i);
}

// For weights of 1 to 254.
size_t lerpRowVectors(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, uint8_t weight,
                      size_t count)
{
    const U8<> weights =
        as<U8<>>(spread<U16<>>(static_cast<uint16_t>(weight | (256 - weight) << 8)));
    const auto words = [weights](I8<> pairs) { return pairProductsOfBytes(weights, pairs) >> 8; };
    size_t i = 0;
    for (; i + wide <= count; i += wide) {
        const I8<> a = flipTopBits(load<U8<>>(upper + i));
        const I8<> b = flipTopBits(load<U8<>>(lower + i));
        store(dst + i, flipBack(packToI8(words(interleaveLow(a, b)), words(interleaveHigh(a, b)))));
    }
    return i;
}

void lerpRows(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, uint8_t weight,
              size_t count)
{
    if (weight == 0) {
        __builtin_memcpy(dst, lower, count);
        return;
    }
    size_t i = 0;
    if (weight == 255)
        for (; i + wide <= count; i += wide)
            store(dst + i, lerpNearFirst(load<U8<>>(upper + i), load<U8<>>(lower + i)));
    else
        i = lerpRowVectors(dst, upper, lower, weight, count);
    lerpRowsPlain(dst + i, upper + i, lower + i, weight, count - i);
}

// Along x, eight outputs in the order of restoreOrder().
template<size_t step>
U8<> lerpNearFirstSteps(const uint8_t* from)
{
    if constexpr (step == 1)
        return lerpNearFirst(load<U8<>>(from), load<U8<>>(from + 4));
    else if constexpr (step == 2)
        return lerpNearFirstPairs(load<U32<>>(from), load<U32<>>(from + 32));
    else
        return lerpNearFirstPairs(pairsApart(from), pairsApart(from + 64));
}

template<size_t step>
size_t lerpStepBlocks(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, size_t count)
{
    // Loads of step 1 reach one pixel past their block.
    const size_t pixels = step == 1 ? count : count ? (count - 1) * step + 2 : 0;
    const size_t whole = inWholeBlocks(pixels, step, 8);
    for (size_t i = 0; i < whole; i += 8) {
        const size_t at = i * step * 4;
        const U8<> both = lerpNearFirst(lerpNearFirstSteps<step>(upper + at),
                                        lerpNearFirstSteps<step>(lower + at));
        store(dst + i * 4, restoreOrder<step>(both));
    }
    return whole;
}

U8<> lerpNearFirstAnyStep(const uint8_t* from, size_t step)
{
    const U8<> low = loadPairs(from, 0, step, 2 * step, 3 * step);
    const U8<> high = loadPairs(from, 4 * step, 5 * step, 6 * step, 7 * step);
    return lerpNearFirstPairs(as<U32<>>(low), as<U32<>>(high));
}

size_t lerpAnyStepBlocks(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, size_t step,
                         size_t count)
{
    size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const size_t at = i * step * 4;
        const U8<> both = lerpNearFirst(lerpNearFirstAnyStep(upper + at, step),
                                        lerpNearFirstAnyStep(lower + at, step));
        store(dst + i * 4, restoreOrder<2>(both));
    }
    return i;
}

void lerpSteps32(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, size_t step,
                 size_t count)
{
    const size_t done = step == 1   ? lerpStepBlocks<1>(dst, upper, lower, count)
                        : step == 2 ? lerpStepBlocks<2>(dst, upper, lower, count)
                        : step == 4 ? lerpStepBlocks<4>(dst, upper, lower, count)
                                    : lerpAnyStepBlocks(dst, upper, lower, step, count);
    const size_t at = done * step * 4;
    lerpStepsPlain32(dst + done * 4, upper + at, lower + at, step, count - done);
}

constexpr StretchKernels runs{
    .gather8 = gatherByLookUp8,
    .gather32 = gatherPlain32,
    .planBlocks32 = planBlocks32,
    .gatherBlocks32 = gatherBlocks32,
    .gatherSteps8 = gatherSteps8,
    .gatherSteps32 = gatherSteps32,
    .lerpColumns32 = lerpColumns32,
    .lerpRows = lerpRows,
    .lerpSteps32 = lerpSteps32,
};

#else

// --- Vectors of four pixels -----------------------------------------------------

// Blocks are for longer ones.
size_t planNoBlocks(GatherBlock*, const uint32_t*, size_t)
{
    return 0;
}

void gatherNoBlocks(uint8_t*, const uint8_t*, const GatherBlock*, size_t) {}

// Pixels i, i + 1 at two places of a row.
U32<> loadPairs(const uint8_t* src, size_t i0, size_t i1)
{
    return loadHalves<U32<>>(src + i0 * 4, src + i1 * 4);
}

// A sum of products is at most 255 * 256.
U16<> lerpWords(U16<> a, U16<> b, U16<> weights)
{
    return ((a - b) * weights + (b << 8)) >> 8;
}

U8<> lerpBytes(U8<> a, U8<> b, U8<> weights)
{
    return packToU8(lerpWords(widenLow(a), widenLow(b), widenLow(weights)),
                    lerpWords(widenHigh(a), widenHigh(b), widenHigh(weights)));
}

void lerpColumns32(uint8_t* dst, const uint8_t* src, const uint32_t* index, const uint32_t* weight,
                   size_t count)
{
    size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const U32<> low = loadPairs(src, index[i], index[i + 1]);
        const U32<> high = loadPairs(src, index[i + 2], index[i + 3]);
        store(dst + i * 4, lerpBytes(as<U8<>>(evenLanes(low, high)), as<U8<>>(oddLanes(low, high)),
                                     load<U8<>>(weight + i)));
    }
    lerpColumnsPlain32(dst + i * 4, src, index + i, weight + i, count - i);
}

void lerpSteps32(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, size_t step,
                 size_t count)
{
    const auto alongX = [step](const uint8_t* from) {
        return lerpNearFirstPairs(loadPairs(from, 0, step), loadPairs(from, 2 * step, 3 * step));
    };
    size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const size_t at = i * step * 4;
        store(dst + i * 4, lerpNearFirst(alongX(upper + at), alongX(lower + at)));
    }
    const size_t at = i * step * 4;
    lerpStepsPlain32(dst + i * 4, upper + at, lower + at, step, count - i);
}

constexpr StretchKernels runs{
    .gather8 = looksUpBytes ? gatherByLookUp8 : gatherPlain8,
    .gather32 = gatherPlain32,
    .planBlocks32 = planNoBlocks,
    .gatherBlocks32 = gatherNoBlocks,
    .gatherSteps8 = gatherStepsPlain8,
    .gatherSteps32 = gatherStepsPlain32,
    .lerpColumns32 = lerpColumns32,
    .lerpRows = lerpRowsPlain,
    .lerpSteps32 = lerpSteps32,
};

#endif

} // namespace

constinit const StretchKernels stretchKernels = runs;

} // namespace quib::QUIB_LEVEL
