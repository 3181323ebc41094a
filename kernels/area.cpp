#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{

// Divides sums of `count` bytes, rounding to nearest with halves up.
struct AreaDivisor {
    uint32_t count;
    float bias;    // count / 2, and 0.5 that keep the product off whole numbers
    float inverse; // 0 where single precision is too short
};

AreaDivisor areaDivisor(const AreaBlock& block)
{
    const uint32_t count = static_cast<uint32_t>(block.xSize) * static_cast<uint32_t>(block.ySize);
    // A quotient lies at least 0.5 / count from a whole number; the product is
    // off by 256 / 2^23 at most.
    const bool isExact = count <= 16384;
    const uint32_t half = count / 2;
    return {count, static_cast<float>(half) + 0.5f,
            isExact ? 1.0f / static_cast<float>(count) : 0.0f};
}

uint8_t areaMean(uint32_t sum, const AreaDivisor& divisor)
{
    if (divisor.inverse == 0.0f)
        return static_cast<uint8_t>((sum + divisor.count / 2) / divisor.count);
    const float shifted = static_cast<float>(static_cast<int32_t>(sum)) + divisor.bias;
    return static_cast<uint8_t>(static_cast<int32_t>(shifted * divisor.inverse));
}

template<class Sum>
void areaColumnSums(Sum* sums, const uint8_t* src, ptrdiff_t step, int32_t rows, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        sums[i] = src[i];
    for (int32_t y = 1; y < rows; ++y) {
        src += step;
        for (size_t i = 0; i < count; ++i)
            sums[i] = static_cast<Sum>(sums[i] + src[i]);
    }
}

template<class Sum>
void areaJoinColumns(uint8_t* dst, const Sum* sums, const AreaBlock& block,
                     const AreaDivisor& divisor, size_t width)
{
    const size_t channels = static_cast<size_t>(block.channels);
    for (size_t x = 0; x < width; ++x) {
        for (size_t c = 0; c < channels; ++c) {
            uint32_t sum = 0;
            for (int32_t i = 0; i < block.xSize; ++i)
                sum += sums[i * channels + c];
            dst[c] = areaMean(sum, divisor);
        }
        dst += channels;
        sums += block.xSize * channels;
    }
}

void areaPlainBlocks(uint8_t* dst, const uint8_t* src, ptrdiff_t step, const AreaBlock& block,
                     const AreaDivisor& divisor, size_t width, void* columnSums)
{
    const size_t count = width * block.xSize * block.channels;
    if (block.ySize <= 257) {
        uint16_t* sums = static_cast<uint16_t*>(columnSums);
        areaColumnSums(sums, src, step, block.ySize, count);
        areaJoinColumns(dst, sums, block, divisor, width);
    } else {
        uint32_t* sums = static_cast<uint32_t*>(columnSums);
        areaColumnSums(sums, src, step, block.ySize, count);
        areaJoinColumns(dst, sums, block, divisor, width);
    }
}

// Blocks of few columns are added up by vectors, where these look up bytes.

// A lane is 16 source bytes that hold whole blocks' columns, 4 of each (`quads`)
// or 2. A vector of 32 bytes takes two: the first one's blocks end at its end, the
// second one's start at its start, so that they adjoin whatever their length. In
// one of 16 bytes the blocks start at its start.
constexpr ptrdiff_t areaParts = wide / 16;

struct AreaLanes {
    uint8_t pick[32];    // the places of each sum's bytes in a lane whose blocks end at
                         // its end, and in one whose blocks start at its start
    uint8_t squeeze[16]; // drops the unused sums of finished lanes
    int32_t sums;        // in a lane
    int32_t advance;     // source bytes to the next lane
    uint16_t half;       // what is added to a sum before the division
    uint16_t inverse;    // 2^(16 + shift) / count, rounded up
    int32_t shift;
};

// What the compiler is to know about a row's lanes.
struct AreaShape {
    bool quads = false;
    bool picks = false; // a lane's bytes are not in the order of its sums
    // 4 columns of 3 channels: adding up columns before picking is less work.
    bool columnsFirst = false;
    int32_t rows = 0; // 0 for any number

    constexpr ptrdiff_t vectors() const { return quads ? 4 : 2; }      // at a time
    constexpr ptrdiff_t many() const { return vectors() * areaParts; } // lanes at a time
};

constexpr int32_t areaLargestLaneBlock = 128;

bool areaFitsLanes(const AreaBlock& block)
{
    // Within these limits sums fit in 15 bits, and quotients are exact: a sum is
    // less than 256 * count, and inverse too large by less than 1, which makes a
    // quotient too large by less than 1 / count.
    return block.xSize >= 2 && block.xSize <= 4 && block.ySize <= 64 &&
           block.xSize * block.ySize <= areaLargestLaneBlock &&
           (block.channels == 1 || block.channels == 3 || block.channels == 4);
}

AreaLanes areaLanes(const AreaBlock& block)
{
    const int32_t columns = block.xSize == 2 ? 2 : 4;
    const int32_t places = 16 / columns;
    AreaLanes lanes{};
    lanes.sums = block.channels == 3 ? places / 4 * 3 : places;
    lanes.advance = lanes.sums * block.xSize;
    for (int32_t i = 0; i < 16; ++i) {
        const int32_t sum = i / columns;
        const int32_t column = i % columns;
        const int32_t pixel = sum / block.channels * block.xSize + column;
        const int32_t place = pixel * block.channels + sum % block.channels;
        const bool used = sum < lanes.sums && column < block.xSize;
        lanes.pick[i] = static_cast<uint8_t>(used ? place + 16 - lanes.advance : 0x80);
        lanes.pick[16 + i] = static_cast<uint8_t>(used ? place : 0x80);
    }
    for (int32_t i = 0; i < 16; ++i) {
        const int32_t from = i / lanes.sums * places + i % lanes.sums;
        lanes.squeeze[i] = static_cast<uint8_t>(from < 16 ? from : 0x80);
    }
    const uint32_t count = static_cast<uint32_t>(block.xSize * block.ySize);
    while (2u << lanes.shift < count)
        ++lanes.shift;
    lanes.half = static_cast<uint16_t>(count / 2);
    lanes.inverse = static_cast<uint16_t>(((65536u << lanes.shift) + count - 1) / count);
    return lanes;
}

// Those places for a vector of lanes.
QUIB_INLINE U8<> areaPick(const AreaLanes& lanes)
{
    return load<U8<>>(lanes.pick + (areaParts == 2 ? 0 : 16));
}

template<AreaShape shape>
QUIB_INLINE U16<> areaPairs(const uint8_t* src, U8<> pick)
{
    const U8<> bytes = load<U8<>>(src);
    return pairSums(shape.picks ? lookUp(bytes, pick) : bytes);
}

// The lines of the cache that the next row of blocks begins with.
QUIB_INLINE void areaPrefetch(const uint8_t* address)
{
    __builtin_prefetch(address);
    __builtin_prefetch(address + 64);
}

// The sums of the picked bytes of all rows, two bytes to a word, of many lanes.
template<AreaShape shape>
QUIB_INLINE void areaPairSums(U16<>* sums, const uint8_t* src, ptrdiff_t step, int32_t rows,
                              const AreaLanes& lanes)
{
    const U8<> pick = areaPick(lanes);
    const ptrdiff_t advance = areaParts * lanes.advance;
    if (areaParts == 2)
        src -= 16 - lanes.advance;
    areaPrefetch(src + rows * step);
    for (ptrdiff_t i = 0; i < shape.vectors(); ++i)
        sums[i] = areaPairs<shape>(src + i * advance, pick);
    for (int32_t y = 1; y < rows; ++y) {
        src += step;
        areaPrefetch(src + rows * step);
        for (ptrdiff_t i = 0; i < shape.vectors(); ++i)
            sums[i] += areaPairs<shape>(src + i * advance, pick);
    }
}

template<class V>
QUIB_INLINE V areaQuotients(V sums, const AreaLanes& lanes)
{
    return highProducts(sums + lanes.half, spread<V>(lanes.inverse)) >>
           static_cast<uint16_t>(lanes.shift);
}

template<class V>
QUIB_INLINE V areaJoinPairs(V first, V second)
{
    using Words = WithLanes<int16_t, V>;
    return packToU16(pairSums(as<Words>(first)), pairSums(as<Words>(second)));
}

// The places of many lanes, in their order.
template<AreaShape shape>
QUIB_INLINE U8<> areaMeans(const uint8_t* src, ptrdiff_t step, int32_t rows, const AreaLanes& lanes)
{
    U16<> sums[4];
    areaPairSums<shape>(sums, src, step, rows, lanes);
    if constexpr (shape.quads) {
        const U16<> first = areaQuotients(areaJoinPairs(sums[0], sums[1]), lanes);
        const U16<> second = areaQuotients(areaJoinPairs(sums[2], sums[3]), lanes);
        return inOrderOfTwoPacks(packToU8(first, second));
    } else {
        return inOrderOfPack(
            packToU8(areaQuotients(sums[0], lanes), areaQuotients(sums[1], lanes)));
    }
}

// The sums of a vector's columns over all rows: those of each part's low half, and
// of its high half.
struct AreaColumns {
    U16<> low;
    U16<> high;
};

// Adds the pair of rows at src, or one row and nothing.
QUIB_INLINE void areaAddRows(AreaColumns* sums, const uint8_t* src, ptrdiff_t step, bool two)
{
    for (size_t i = 0; i < 3; ++i, src += wide) {
        const U8<> even = load<U8<>>(src);
        const U8<> odd = two ? load<U8<>>(src + step) : U8<>{};
        sums[i].low += pairSums(interleaveLow(even, odd));
        sums[i].high += pairSums(interleaveHigh(even, odd));
    }
}

// The quotients of 2 pixels from the sums of 24 adjoining columns, for each part:
// 3 words for the first and, after 2 unused ones, 3 for the second.
QUIB_INLINE U16<> areaPixelPair(U16<> columns0, U16<> columns8, U16<> columns16,
                                const AreaLanes& lanes)
{
    // Columns 0 to 5 and 6 to 11, then 12 to 17 and 18 to 23, two words from the start.
    U16<> first = columns0 + onward<6>(columns0, columns8);
    U16<> second = onward<2>(columns8, columns16) + columns16;
    first += onward<3>(first, U16<>{});
    second += onward<5>(U16<>{}, second);
    return areaQuotients(mix<0, 0, 0, 0, 1, 1, 1, 1>(first, second), lanes);
}

// The second half of a vector, then the first half of another one.
struct AreaCrossRule {
    static constexpr int of(size_t i, size_t lanes) { return static_cast<int>(i + lanes / 2); }
};

// The quotients of the even pairs of pixels and of the odd ones, in each part.
struct AreaPixelPairs {
    U16<> even;
    U16<> odd;
};

template<ptrdiff_t parts>
QUIB_INLINE AreaPixelPairs areaPixelPairs(const AreaColumns (&sums)[3], const AreaLanes& lanes)
{
    if constexpr (parts == 2) {
        const auto join = [](U16<> first, U16<> second) {
            return as<U16<>>(mix<0, 0, 1, 1>(as<U64<>>(first), as<U64<>>(second)));
        };
        const auto cross = [](U16<> first, U16<> second) {
            return rearrange<AreaCrossRule>(first, second);
        };
        // Columns 0 to 23 with 48 to 71, then 24 to 47 with 72 to 95.
        return {areaPixelPair(join(sums[0].low, sums[1].low), join(sums[0].high, sums[1].high),
                              cross(sums[0].low, sums[2].low), lanes),
                areaPixelPair(cross(sums[0].high, sums[2].high), join(sums[1].low, sums[2].low),
                              join(sums[1].high, sums[2].high), lanes)};
    } else {
        return {areaPixelPair(sums[0].low, sums[0].high, sums[1].low, lanes),
                areaPixelPair(sums[1].high, sums[2].low, sums[2].high, lanes)};
    }
}

// The means of pixels of 4 columns and 3 channels: 4 in each part, 12 bytes.
QUIB_INLINE U8<> areaColumnMeans(const uint8_t* src, ptrdiff_t step, int32_t rows,
                                 const AreaLanes& lanes)
{
    AreaColumns sums[3] = {};
    for (; rows > 1; rows -= 2, src += 2 * step)
        areaAddRows(sums, src, step, true);
    if (rows)
        areaAddRows(sums, src, step, false);
    const AreaPixelPairs pairs = areaPixelPairs<areaParts>(sums, lanes);
    constexpr uint8_t none = 0x80;
    constexpr U8<16> order{0, 1, 2, 5, 6, 7, 8, 9, 10, 13, 14, 15, none, none, none, none};
    return lookUp(packToU8(pairs.even, pairs.odd), spreadPart<U8<>>(order));
}

// As many bytes of each part as `count`, one part's behind the other's. Writes 16
// from where the last part's begin.
template<class V>
QUIB_INLINE void areaStoreParts(uint8_t* dst, V bytes, ptrdiff_t count)
{
    if constexpr (sizeof(V) == 32) {
        store(dst, lowHalf(bytes));
        store(dst + count, highHalf(bytes));
    } else {
        store(dst, bytes);
    }
}

template<AreaShape shape>
QUIB_INLINE void areaManyLanes(uint8_t* dst, const uint8_t* src, ptrdiff_t step, int32_t rows,
                               ptrdiff_t lane, const AreaLanes& lanes)
{
    if constexpr (shape.rows)
        rows = shape.rows;
    src += lane * lanes.advance;
    dst += lane * lanes.sums;
    U8<> means;
    if constexpr (shape.columnsFirst)
        means = areaColumnMeans(src, step, rows, lanes);
    else
        means = lookUp(areaMeans<shape>(src, step, rows, lanes),
                       spreadPart<U8<>>(load<U8<16>>(lanes.squeeze)));
    areaStoreParts(dst, means, shape.vectors() * lanes.sums);
}

// One lane, for the ends of a row.
template<AreaShape shape>
void areaOneLane(uint8_t* dst, const uint8_t* src, ptrdiff_t step, int32_t rows, ptrdiff_t lane,
                 ptrdiff_t srcCount, const AreaLanes& lanes)
{
    // It may lie at the start of 16 bytes or at their end.
    const ptrdiff_t at = lane * lanes.advance;
    const bool atStart = at + 16 <= srcCount;
    src += atStart ? at : at + lanes.advance - 16;
    const U8<16> pick = load<U8<16>>(lanes.pick + (atStart ? 16 : 0));
    U16<16> sums{};
    for (int32_t y = 0; y < rows; ++y, src += step)
        sums += pairSums(lookUp(load<U8<16>>(src), pick));
    if (shape.quads)
        sums = areaJoinPairs(sums, sums);
    const U16<16> words = areaQuotients(sums, lanes);
    uint8_t means[16];
    store(means, packToU8(words, words));
    dst += lane * lanes.sums;
    constexpr size_t places = shape.quads ? 4 : 8;
    if (lanes.sums == places)
        __builtin_memcpy(dst, means, places);
    else
        __builtin_memcpy(dst, means, places / 4 * 3);
}

// Which lanes of a row are made many at a time: from `first` on, the last time
// from `last` on, over some that are made already. Those before and after would
// reach outside the rows. None if last is less than first.
struct AreaReach {
    ptrdiff_t first;
    ptrdiff_t last;
    ptrdiff_t end; // the number of lanes
};

AreaReach areaReach(const AreaLanes& lanes, ptrdiff_t many, ptrdiff_t dstCount, ptrdiff_t srcCount)
{
    if (srcCount < 16)
        return {0, -1, 0};
    const ptrdiff_t first = areaParts == 2 ? 15 / lanes.advance : 0;
    const ptrdiff_t lastPart = many - many / areaParts;
    const ptrdiff_t bySource = (srcCount - 16) / lanes.advance - (many - 1);
    const ptrdiff_t byOutput = dstCount < 16 ? -1 : (dstCount - 16) / lanes.sums - lastPart;
    return {first, bySource < byOutput ? bySource : byOutput, dstCount / lanes.sums};
}

template<AreaShape shape>
void areaLaneRow(uint8_t* dst, const uint8_t* src, ptrdiff_t step, int32_t rows,
                 const AreaLanes& lanes, const AreaReach& reach, ptrdiff_t srcCount)
{
    ptrdiff_t lane = 0;
    if (reach.last >= reach.first) {
        for (; lane < reach.first; ++lane)
            areaOneLane<shape>(dst, src, step, rows, lane, srcCount, lanes);
        for (; lane < reach.last; lane += shape.many())
            areaManyLanes<shape>(dst, src, step, rows, lane, lanes);
        areaManyLanes<shape>(dst, src, step, rows, reach.last, lanes);
        lane = reach.last + shape.many();
    }
    for (; lane < reach.end; ++lane)
        areaOneLane<shape>(dst, src, step, rows, lane, srcCount, lanes);
}

template<AreaShape shape>
void areaLaneBlocks(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t step,
                    const AreaBlock& block, size_t width, size_t height, void* columnSums)
{
    const AreaLanes lanes = areaLanes(block);
    const AreaDivisor divisor = areaDivisor(block);
    const ptrdiff_t dstCount = static_cast<ptrdiff_t>(width) * block.channels;
    const ptrdiff_t srcCount = dstCount * block.xSize;
    const AreaReach reach = areaReach(lanes, shape.many(), dstCount, srcCount);
    const ptrdiff_t stored = reach.end * lanes.sums;
    const size_t left = static_cast<size_t>(dstCount - stored) / block.channels;
    for (size_t y = 0; y < height; ++y, dst += dstStep, src += step * block.ySize) {
        areaLaneRow<shape>(dst, src, step, block.ySize, lanes, reach, srcCount);
        if (left)
            areaPlainBlocks(dst + stored, src + stored * block.xSize, step, block, divisor, left,
                            columnSums);
    }
}

auto areaChooseLanes(const AreaBlock& block)
{
    constexpr AreaShape quads{.quads = true, .picks = true};
    constexpr AreaShape columns{.quads = true, .picks = true, .columnsFirst = true};
    constexpr AreaShape fourRows{.quads = true, .picks = true, .columnsFirst = true, .rows = 4};
    if (block.xSize == 2)
        return areaLaneBlocks<AreaShape{.picks = true}>;
    if (block.xSize == 4 && block.channels == 1)
        return areaLaneBlocks<AreaShape{.quads = true}>;
    if (block.xSize == 4 && block.channels == 3)
        return block.ySize == 4 ? areaLaneBlocks<fourRows> : areaLaneBlocks<columns>;
    return areaLaneBlocks<quads>;
}

void blockMeans(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t step,
                const AreaBlock& block, size_t width, size_t height, void* columnSums)
{
    if constexpr (looksUpBytes)
        if (areaFitsLanes(block))
            return areaChooseLanes(block)(dst, dstStep, src, step, block, width, height,
                                          columnSums);
    const AreaDivisor divisor = areaDivisor(block);
    for (size_t y = 0; y < height; ++y, dst += dstStep, src += step * block.ySize)
        areaPlainBlocks(dst, src, step, block, divisor, width, columnSums);
}

// By way of a signed integer, which vectors convert.
float toFloat(uint16_t sum)
{
    return static_cast<float>(static_cast<int32_t>(sum));
}

float toFloat(uint32_t sum)
{
    return static_cast<float>(sum);
}

template<class Sum>
void areaSpanColumns(float* sums, const uint8_t* src, ptrdiff_t step, const AreaSpan& rows,
                     size_t count, Sum* between)
{
    const uint8_t* last = src + (rows.count - 1) * step;
    areaColumnSums(between, src + step, step, rows.count - 2, count);
    for (size_t i = 0; i < count; ++i)
        sums[i] = rows.head * static_cast<float>(src[i]) + toFloat(between[i]) +
                  rows.tail * static_cast<float>(last[i]);
}

void spanColumns(float* sums, const uint8_t* src, ptrdiff_t step, const AreaSpan& rows,
                 size_t count, void* columnSums)
{
    if (rows.count == 1) {
        for (size_t i = 0; i < count; ++i)
            sums[i] = rows.head * static_cast<float>(src[i]);
    } else if (rows.count == 2) {
        for (size_t i = 0; i < count; ++i)
            sums[i] = rows.head * static_cast<float>(src[i]) +
                      rows.tail * static_cast<float>(src[step + static_cast<ptrdiff_t>(i)]);
    } else if (rows.count <= 2 + 257) {
        areaSpanColumns(sums, src, step, rows, count, static_cast<uint16_t*>(columnSums));
    } else {
        areaSpanColumns(sums, src, step, rows, count, static_cast<uint32_t*>(columnSums));
    }
}

uint8_t areaRounded(float value)
{
    const int32_t whole = static_cast<int32_t>(value + 0.5f);
    return static_cast<uint8_t>(whole > 255 ? 255 : whole);
}

uint8_t areaSpanMean(const float* at, const AreaSpan& span, int32_t channels, float scale)
{
    float sum = span.head * *at;
    for (int32_t i = 1; i < span.count - 1; ++i) {
        at += channels;
        sum += *at;
    }
    if (span.count > 1)
        sum += span.tail * at[channels];
    return areaRounded(sum * scale);
}

// A pixel of 3 or 4 elements at once; sums of 3 read one element past them.
U8<16> areaSpanPixel(const float* at, const AreaSpan& span, int32_t channels, float scale)
{
    F32<16> sum = load<F32<16>>(at) * span.head;
    for (int32_t i = 1; i < span.count - 1; ++i) {
        at += channels;
        sum += load<F32<16>>(at);
    }
    if (span.count > 1)
        sum += load<F32<16>>(at + channels) * span.tail;
    const I16<16> words = packToI16(truncated(sum * scale + 0.5f), I32<16>{});
    return packToU8(words, words);
}

template<int32_t channels>
void areaSpanPixels(uint8_t* dst, const float* sums, const AreaSpan* spans, size_t width,
                    float scale)
{
    for (size_t x = 0; x < width; ++x, dst += channels) {
        const float* at = sums + static_cast<ptrdiff_t>(spans[x].first) * channels;
        const auto pixel = as<U32<16>>(areaSpanPixel(at, spans[x], channels, scale))[0];
        __builtin_memcpy(dst, &pixel, channels);
    }
}

void spanMeans(uint8_t* dst, const float* sums, const AreaSpan* spans, size_t width,
               int32_t channels, float scale)
{
    if (channels == 3)
        return areaSpanPixels<3>(dst, sums, spans, width, scale);
    if (channels == 4)
        return areaSpanPixels<4>(dst, sums, spans, width, scale);
    for (size_t x = 0; x < width; ++x) {
        const float* at = sums + static_cast<ptrdiff_t>(spans[x].first) * channels;
        for (int32_t c = 0; c < channels; ++c)
            *dst++ = areaSpanMean(at + c, spans[x], channels, scale);
    }
}

} // namespace

constinit const AreaKernels areaKernels{
    .blockMeans = blockMeans,
    .spanColumns = spanColumns,
    .spanMeans = spanMeans,
};

} // namespace quib::QUIB_LEVEL
