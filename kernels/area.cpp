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

#if defined(__AVX2__)

// A lane is 16 source bytes that hold whole blocks' columns, 4 of each (`quads`)
// or 2. A 32-byte load gives two: the first one's blocks end at its end, the
// second one's start at its start, so that they adjoin whatever their length.
struct AreaLanes {
    uint8_t pick[32];    // the places of each sum's bytes in a pair of lanes
    uint8_t squeeze[32]; // drops the unused sums of finished lanes
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

    constexpr ptrdiff_t many() const { return quads ? 8 : 4; } // lanes at a time
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
        lanes.squeeze[i] = lanes.squeeze[16 + i] = static_cast<uint8_t>(from < 16 ? from : 0x80);
    }
    const uint32_t count = static_cast<uint32_t>(block.xSize * block.ySize);
    while (2u << lanes.shift < count)
        ++lanes.shift;
    lanes.half = static_cast<uint16_t>(count / 2);
    lanes.inverse = static_cast<uint16_t>(((65536u << lanes.shift) + count - 1) / count);
    return lanes;
}

template<AreaShape shape>
[[gnu::always_inline]] inline __m256i areaPairs(const uint8_t* src, __m256i pick)
{
    const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src));
    return _mm256_maddubs_epi16(shape.picks ? _mm256_shuffle_epi8(bytes, pick) : bytes,
                                _mm256_set1_epi8(1));
}

// The lines of the cache that the next row of blocks begins with.
[[gnu::always_inline]] inline void areaPrefetch(const uint8_t* address)
{
    __builtin_prefetch(address);
    __builtin_prefetch(address + 64);
}

// The sums of the picked bytes of all rows, two bytes to a word, of many lanes.
template<AreaShape shape>
[[gnu::always_inline]] inline void areaPairSums(__m256i* sums, const uint8_t* src, ptrdiff_t step,
                                                int32_t rows, const AreaLanes& lanes)
{
    constexpr ptrdiff_t pairs = shape.many() / 2;
    const __m256i pick = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(lanes.pick));
    const ptrdiff_t pairAdvance = ptrdiff_t{2} * lanes.advance;
    src -= 16 - lanes.advance;
    areaPrefetch(src + rows * step);
    for (ptrdiff_t i = 0; i < pairs; ++i)
        sums[i] = areaPairs<shape>(src + i * pairAdvance, pick);
    for (int32_t y = 1; y < rows; ++y) {
        src += step;
        areaPrefetch(src + rows * step);
        for (ptrdiff_t i = 0; i < pairs; ++i)
            sums[i] = _mm256_add_epi16(sums[i], areaPairs<shape>(src + i * pairAdvance, pick));
    }
}

[[gnu::always_inline]] inline __m256i areaQuotients(__m256i sums, const AreaLanes& lanes)
{
    const __m256i half = _mm256_set1_epi16(static_cast<int16_t>(lanes.half));
    const __m256i inverse = _mm256_set1_epi16(static_cast<int16_t>(lanes.inverse));
    return _mm256_srl_epi16(_mm256_mulhi_epu16(_mm256_add_epi16(sums, half), inverse),
                            _mm_cvtsi32_si128(lanes.shift));
}

[[gnu::always_inline]] inline __m256i areaJoinPairs(__m256i first, __m256i second)
{
    const __m256i ones = _mm256_set1_epi16(1);
    return _mm256_packus_epi32(_mm256_madd_epi16(first, ones), _mm256_madd_epi16(second, ones));
}

// The places of many lanes, in their order.
template<AreaShape shape>
[[gnu::always_inline]] inline __m256i areaMeans(const uint8_t* src, ptrdiff_t step, int32_t rows,
                                                const AreaLanes& lanes)
{
    __m256i sums[4];
    areaPairSums<shape>(sums, src, step, rows, lanes);
    if constexpr (shape.quads) {
        const __m256i first = areaQuotients(areaJoinPairs(sums[0], sums[1]), lanes);
        const __m256i second = areaQuotients(areaJoinPairs(sums[2], sums[3]), lanes);
        const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
        return _mm256_permutevar8x32_epi32(_mm256_packus_epi16(first, second), order);
    } else {
        const __m256i means =
            _mm256_packus_epi16(areaQuotients(sums[0], lanes), areaQuotients(sums[1], lanes));
        return _mm256_permute4x64_epi64(means, 0xD8);
    }
}

// The sums of 32 columns over all rows. The words of a low half are of columns 0
// to 7 and 16 to 23, those of a high half of the others.
struct AreaColumns {
    __m256i low;
    __m256i high;
};

[[gnu::always_inline]] inline AreaColumns areaRowPair(__m256i even, __m256i odd)
{
    const __m256i ones = _mm256_set1_epi8(1);
    return {_mm256_maddubs_epi16(_mm256_unpacklo_epi8(even, odd), ones),
            _mm256_maddubs_epi16(_mm256_unpackhi_epi8(even, odd), ones)};
}

// Adds the pair of rows at src, or one row and nothing.
[[gnu::always_inline]] inline void areaAddRows(AreaColumns* sums, const uint8_t* src,
                                               ptrdiff_t step, bool two)
{
    for (ptrdiff_t i = 0; i < 3; ++i, src += 32) {
        const __m256i even = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src));
        const __m256i odd = two ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + step))
                                : _mm256_setzero_si256();
        const AreaColumns pair = areaRowPair(even, odd);
        sums[i].low = _mm256_add_epi16(sums[i].low, pair.low);
        sums[i].high = _mm256_add_epi16(sums[i].high, pair.high);
    }
}

// The quotients of 2 pixels from the sums of 24 adjoining columns, for each half:
// 3 words for the first and, after 2 unused ones, 3 for the second.
[[gnu::always_inline]] inline __m256i areaPixelPair(__m256i columns0, __m256i columns8,
                                                    __m256i columns16, const AreaLanes& lanes)
{
    // Columns 0 to 5 and 6 to 11, then 12 to 17 and 18 to 23, two words from the start.
    __m256i first = _mm256_add_epi16(columns0, _mm256_alignr_epi8(columns8, columns0, 12));
    __m256i second = _mm256_add_epi16(_mm256_alignr_epi8(columns16, columns8, 4), columns16);
    first = _mm256_add_epi16(first, _mm256_srli_si256(first, 6));
    second = _mm256_add_epi16(second, _mm256_slli_si256(second, 6));
    return areaQuotients(_mm256_blend_epi16(first, second, 0xF0), lanes);
}

// The means of 8 pixels of 4 columns and 3 channels: 4 in each half, 12 bytes.
[[gnu::always_inline]] inline __m256i areaColumnMeans(const uint8_t* src, ptrdiff_t step,
                                                      int32_t rows, const AreaLanes& lanes)
{
    AreaColumns sums[3] = {};
    for (; rows > 1; rows -= 2, src += 2 * step)
        areaAddRows(sums, src, step, true);
    if (rows)
        areaAddRows(sums, src, step, false);
    const auto join = [](__m256i first, __m256i second) {
        return _mm256_blend_epi32(first, second, 0xF0);
    };
    const auto cross = [](__m256i first, __m256i second) {
        return _mm256_permute2x128_si256(first, second, 0x21);
    };
    // Columns 0 to 23 with 48 to 71, then 24 to 47 with 72 to 95.
    const __m256i even =
        areaPixelPair(join(sums[0].low, sums[1].low), join(sums[0].high, sums[1].high),
                      cross(sums[0].low, sums[2].low), lanes);
    const __m256i odd =
        areaPixelPair(cross(sums[0].high, sums[2].high), join(sums[1].low, sums[2].low),
                      join(sums[1].high, sums[2].high), lanes);
    const __m256i order = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 1, 2, 5, 6, 7, 8, 9, 10, 13, 14, 15, -1, -1, -1, -1));
    return _mm256_shuffle_epi8(_mm256_packus_epi16(even, odd), order);
}

template<AreaShape shape>
[[gnu::always_inline]] inline void areaManyLanes(uint8_t* dst, const uint8_t* src, ptrdiff_t step,
                                                 int32_t rows, ptrdiff_t lane,
                                                 const AreaLanes& lanes)
{
    if constexpr (shape.rows)
        rows = shape.rows;
    src += lane * lanes.advance;
    dst += lane * lanes.sums;
    __m256i means;
    if constexpr (shape.columnsFirst) {
        means = areaColumnMeans(src, step, rows, lanes);
    } else {
        const __m256i squeeze = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(lanes.squeeze));
        means = _mm256_shuffle_epi8(areaMeans<shape>(src, step, rows, lanes), squeeze);
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm256_castsi256_si128(means));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + shape.many() / 2 * lanes.sums),
                     _mm256_extracti128_si256(means, 1));
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
    const __m128i pick =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(lanes.pick + (atStart ? 16 : 0)));
    __m128i sums = _mm_setzero_si128();
    for (int32_t y = 0; y < rows; ++y, src += step) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
        const __m128i picked = _mm_shuffle_epi8(bytes, pick);
        sums = _mm_add_epi16(sums, _mm_maddubs_epi16(picked, _mm_set1_epi8(1)));
    }
    __m256i words = _mm256_castsi128_si256(sums);
    if (shape.quads)
        words = areaJoinPairs(words, words);
    words = areaQuotients(words, lanes);
    uint8_t means[16];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(means),
                     _mm256_castsi256_si128(_mm256_packus_epi16(words, words)));
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
    const ptrdiff_t bySource = (srcCount - 16) / lanes.advance - (many - 1);
    const ptrdiff_t byOutput = dstCount < 16 ? -1 : (dstCount - 16) / lanes.sums - many / 2;
    return {15 / lanes.advance, bySource < byOutput ? bySource : byOutput, dstCount / lanes.sums};
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

#endif

void blockMeans(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t step,
                const AreaBlock& block, size_t width, size_t height, void* columnSums)
{
#if defined(__AVX2__)
    if (areaFitsLanes(block))
        return areaChooseLanes(block)(dst, dstStep, src, step, block, width, height, columnSums);
#endif
    const AreaDivisor divisor = areaDivisor(block);
    for (size_t y = 0; y < height; ++y, dst += dstStep, src += step * block.ySize)
        areaPlainBlocks(dst, src, step, block, divisor, width, columnSums);
}

template<class Sum>
void areaSpanColumns(float* sums, const uint8_t* src, ptrdiff_t step, const AreaSpan& rows,
                     size_t count, Sum* between)
{
    const uint8_t* last = src + (rows.count - 1) * step;
    areaColumnSums(between, src + step, step, rows.count - 2, count);
    for (size_t i = 0; i < count; ++i)
        sums[i] = rows.head * static_cast<float>(src[i]) +
                  static_cast<float>(static_cast<int32_t>(between[i])) +
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

#if defined(__SSE2__)

// A pixel of 3 or 4 elements at once; sums of 3 read one element past them.
__m128i areaSpanPixel(const float* at, const AreaSpan& span, int32_t channels, float scale)
{
    __m128 sum = _mm_mul_ps(_mm_set1_ps(span.head), _mm_loadu_ps(at));
    for (int32_t i = 1; i < span.count - 1; ++i) {
        at += channels;
        sum = _mm_add_ps(sum, _mm_loadu_ps(at));
    }
    if (span.count > 1)
        sum = _mm_add_ps(sum, _mm_mul_ps(_mm_set1_ps(span.tail), _mm_loadu_ps(at + channels)));
    const __m128 shifted = _mm_add_ps(_mm_mul_ps(sum, _mm_set1_ps(scale)), _mm_set1_ps(0.5f));
    const __m128i words = _mm_packs_epi32(_mm_cvttps_epi32(shifted), _mm_setzero_si128());
    return _mm_packus_epi16(words, words);
}

template<int32_t channels>
void areaSpanPixels(uint8_t* dst, const float* sums, const AreaSpan* spans, size_t width,
                    float scale)
{
    for (size_t x = 0; x < width; ++x, dst += channels) {
        const float* at = sums + static_cast<ptrdiff_t>(spans[x].first) * channels;
        const int32_t pixel = _mm_cvtsi128_si32(areaSpanPixel(at, spans[x], channels, scale));
        __builtin_memcpy(dst, &pixel, channels);
    }
}

#endif

void spanMeans(uint8_t* dst, const float* sums, const AreaSpan* spans, size_t width,
               int32_t channels, float scale)
{
#if defined(__SSE2__)
    if (channels == 3)
        return areaSpanPixels<3>(dst, sums, spans, width, scale);
    if (channels == 4)
        return areaSpanPixels<4>(dst, sums, spans, width, scale);
#endif
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
