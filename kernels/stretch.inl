namespace
{

// --- Plain forms: every level's remainders, and the whole of the lowest level ----

uint32_t stretchLoad(const uint8_t* src, size_t i)
{
    uint32_t pixel;
    __builtin_memcpy(&pixel, src + i * 4, 4);
    return pixel;
}

void stretchStore(uint8_t* dst, size_t i, uint32_t pixel)
{
    __builtin_memcpy(dst + i * 4, &pixel, 4);
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

#if defined(__AVX2__)

// --- Vector forms ---------------------------------------------------------------

__m256i stretchVector(const void* address)
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(address));
}

void stretchStoreVector(void* address, __m256i value)
{
    _mm256_storeu_si256(static_cast<__m256i*>(address), value);
}

__m128i stretchHalf(const void* address)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(address));
}

void stretchStoreHalf(void* address, __m128i value)
{
    _mm_storeu_si128(static_cast<__m128i*>(address), value);
}

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
__m256 windowsAt(const uint8_t* src, uint32_t low, uint32_t high)
{
    const auto at = [src](uint32_t window) {
        return reinterpret_cast<const float*>(src + window * size_t{4});
    };
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(at(low))),
                                _mm_loadu_ps(at(high)), 1);
}

void gatherBlocks32(uint8_t* dst, const uint8_t* src, const GatherBlock* blocks, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        const uint32_t* window = blocks[i].window;
        const __m256i places = _mm256_cvtepu8_epi32(
            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(blocks[i].place)));
        const __m256 first = _mm256_permutevar_ps(windowsAt(src, window[0], window[2]), places);
        const __m256 second = _mm256_permutevar_ps(windowsAt(src, window[1], window[3]), places);
        stretchStoreVector(dst + i * 32, _mm256_castps_si256(_mm256_blend_ps(first, second, 0xCC)));
    }
}

// Nearest, one byte: a block of outputs whose sources lie close together takes
// them out of one or two loads by a shuffle; others are moved one by one. `end`
// is where the last source of the row ends, past which no load may reach.

// The places of eight sources in a window that begins at `first`.
__m256i placesFrom(const uint32_t* index, const uint32_t* first)
{
    const __m256 origin = _mm256_broadcast_ss(reinterpret_cast<const float*>(first));
    return _mm256_sub_epi32(stretchVector(index), _mm256_castps_si256(origin));
}

// The same of sixteen sources, as bytes.
__m128i bytePlacesFrom(const uint32_t* index)
{
    const __m256i words =
        _mm256_packus_epi32(placesFrom(index, index), placesFrom(index + 8, index));
    const __m256i inOrder = _mm256_permute4x64_epi64(words, 0xD8);
    return _mm_packus_epi16(_mm256_castsi256_si128(inOrder), _mm256_extracti128_si256(inOrder, 1));
}

__m128i bytesAtWide(const uint8_t* window, __m128i places)
{
    // A place with its top bit set gives 0: there the other load has the byte.
    const __m128i inFirst = _mm_adds_epu8(places, _mm_set1_epi8(0x70));
    const __m128i inSecond = _mm_sub_epi8(places, _mm_set1_epi8(16));
    return _mm_or_si128(_mm_shuffle_epi8(stretchHalf(window), inFirst),
                        _mm_shuffle_epi8(stretchHalf(window + 16), inSecond));
}

void gather8(uint8_t* dst, const uint8_t* src, const uint32_t* index, size_t count)
{
    const size_t end = count ? index[count - 1] + size_t{1} : 0;
    size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const size_t first = index[i];
        const size_t span = index[i + 15] - first;
        const uint8_t* window = src + first;
        if (span < 16 && first + 16 <= end)
            stretchStoreHalf(dst + i,
                             _mm_shuffle_epi8(stretchHalf(window), bytePlacesFrom(index + i)));
        else if (span < 32 && first + 32 <= end)
            stretchStoreHalf(dst + i, bytesAtWide(window, bytePlacesFrom(index + i)));
        else
            gatherPlain8(dst + i, src, index + i, 16);
    }
    gatherPlain8(dst + i, src, index + i, count - i);
}

// Steps of 2 and 4 take eight outputs out of two or four loads, in an order
// that restoreOrder() puts right.

__m256i evenPixels(__m256i low, __m256i high)
{
    return _mm256_castps_si256(
        _mm256_shuffle_ps(_mm256_castsi256_ps(low), _mm256_castsi256_ps(high), 0x88));
}

__m256i oddPixels(__m256i low, __m256i high)
{
    return _mm256_castps_si256(
        _mm256_shuffle_ps(_mm256_castsi256_ps(low), _mm256_castsi256_ps(high), 0xDD));
}

// Every second pair of pixels of two loads.
__m256i pairsApart(const uint8_t* from)
{
    return _mm256_unpacklo_epi64(stretchVector(from), stretchVector(from + 32));
}

// 0 4 1 5 2 6 3 7
__m256i halvesInTurn(__m256i pixels)
{
    return _mm256_permutevar8x32_epi32(pixels, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

template<size_t step>
__m256i restoreOrder(__m256i pixels)
{
    if constexpr (step == 2)
        return _mm256_permute4x64_epi64(pixels, 0xD8);
    else if constexpr (step == 4)
        return halvesInTurn(pixels);
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
        const __m256i pixels = step == 2 ? evenPixels(stretchVector(from), stretchVector(from + 32))
                                         : evenPixels(pairsApart(from), pairsApart(from + 64));
        stretchStoreVector(dst + i * 4, restoreOrder<step>(pixels));
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

// The lowest byte of each word of 16 or 32 bits.
template<size_t step>
__m256i lowestBytes(__m256i words)
{
    const __m256i lowest = step == 2 ? _mm256_set1_epi16(0xFF) : _mm256_set1_epi32(0xFF);
    return _mm256_and_si256(words, lowest);
}

template<size_t step>
__m256i highestBytes(__m256i words)
{
    return step == 2 ? _mm256_srli_epi16(words, 8) : _mm256_srli_epi32(words, 24);
}

// 32 outputs; `choose` takes one byte of each word.
template<size_t step, class Choose>
__m256i everyNthByte(const uint8_t* from, Choose choose)
{
    const auto load = [from, choose](size_t i) { return choose(stretchVector(from + i * 32)); };
    __m256i low = load(0);
    __m256i high = load(1);
    if constexpr (step == 4) {
        low = _mm256_packus_epi32(low, high);
        high = _mm256_packus_epi32(load(2), load(3));
    }
    return restoreOrder<step>(_mm256_packus_epi16(low, high));
}

template<size_t step>
size_t gatherStepBlocks8(uint8_t* dst, const uint8_t* src, const uint8_t* next, size_t count)
{
    const size_t whole = count ? inWholeBlocks((count - 1) * step + 1, step, 32) : 0;
    for (size_t i = 0; i < whole; i += 32) {
        prefetchBlock<step * 32>(next + i * step);
        stretchStoreVector(dst + i, everyNthByte<step>(src + i * step, lowestBytes<step>));
    }
    if (whole == count || count <= 32)
        return whole;
    // The last outputs, some once more, by loads that end at the last source.
    const size_t last = count - 32;
    const uint8_t* from = src + last * step - (step - 1);
    stretchStoreVector(dst + last, everyNthByte<step>(from, highestBytes<step>));
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

__m256i flipTopBits(__m256i bytes)
{
    return _mm256_xor_si256(bytes, _mm256_set1_epi8(static_cast<char>(0x80)));
}

// Words of a result from bytes a, b in turn and weights w, 255 - w in turn. A
// weight of 256 would not fit: the last b is added by itself.
__m256i lerpWords(__m256i pairs, __m256i weights)
{
    const __m256i products = _mm256_maddubs_epi16(weights, pairs);
    return _mm256_srai_epi16(_mm256_add_epi16(products, _mm256_srai_epi16(pairs, 8)), 8);
}

// Pixels i, i + 1 at four places of a row.
__m256i loadPairs(const uint8_t* src, size_t i0, size_t i1, size_t i2, size_t i3)
{
    const auto load = [src](size_t low, size_t high) {
        const __m128i pair = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(src + low * 4));
        return _mm_loadh_pd(_mm_castsi128_pd(pair),
                            reinterpret_cast<const double*>(src + high * 4));
    };
    return _mm256_castpd_si256(_mm256_set_m128d(load(i2, i3), load(i0, i1)));
}

// From a0 b0 a1 b1 to the bytes of a0 and b0 in turn, then of a1 and b1.
__m256i interleavePairs(__m256i pairs)
{
    const __m128i order = _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15);
    return _mm256_shuffle_epi8(pairs, _mm256_broadcastsi128_si256(order));
}

void lerpColumns32(uint8_t* dst, const uint8_t* src, const uint32_t* index, const uint32_t* weight,
                   size_t count)
{
    size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        // The places are chosen so that the unpacked weights meet their pixels
        // and the packed result is in order.
        const uint32_t* at = index + i;
        const __m256i outer = flipTopBits(loadPairs(src, at[0], at[1], at[4], at[5]));
        const __m256i inner = flipTopBits(loadPairs(src, at[2], at[3], at[6], at[7]));
        const __m256i w = stretchVector(weight + i);
        const __m256i rest = _mm256_xor_si256(w, _mm256_set1_epi8(-1));
        const __m256i pixels =
            _mm256_packs_epi16(lerpWords(interleavePairs(outer), _mm256_unpacklo_epi8(w, rest)),
                               lerpWords(interleavePairs(inner), _mm256_unpackhi_epi8(w, rest)));
        stretchStoreVector(dst + i * 4, flipTopBits(pixels));
    }
    lerpColumnsPlain32(dst + i * 4, src, index + i, weight + i, count - i);
}

// lerp(a, b, 255): a, less 1 where it exceeds b.
__m256i lerpNearFirst(__m256i a, __m256i b)
{
    const __m256i excess = _mm256_subs_epu8(a, b);
    return _mm256_sub_epi8(a, _mm256_min_epu8(excess, _mm256_set1_epi8(1)));
}

void lerpRows(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, uint8_t weight,
              size_t count)
{
    if (weight == 0) {
        __builtin_memcpy(dst, lower, count);
        return;
    }
    size_t i = 0;
    if (weight == 255) {
        for (; i + 32 <= count; i += 32)
            stretchStoreVector(dst + i,
                               lerpNearFirst(stretchVector(upper + i), stretchVector(lower + i)));
    } else {
        const __m256i weights = _mm256_set1_epi16(static_cast<short>(weight | (256 - weight) << 8));
        const auto words = [weights](__m256i pairs) {
            return _mm256_srai_epi16(_mm256_maddubs_epi16(weights, pairs), 8);
        };
        for (; i + 32 <= count; i += 32) {
            const __m256i a = flipTopBits(stretchVector(upper + i));
            const __m256i b = flipTopBits(stretchVector(lower + i));
            const __m256i bytes = _mm256_packs_epi16(words(_mm256_unpacklo_epi8(a, b)),
                                                     words(_mm256_unpackhi_epi8(a, b)));
            stretchStoreVector(dst + i, flipTopBits(bytes));
        }
    }
    lerpRowsPlain(dst + i, upper + i, lower + i, weight, count - i);
}

// Of pairs a, b: lerp(a, b, 255).
__m256i lerpNearFirstPairs(__m256i low, __m256i high)
{
    return lerpNearFirst(evenPixels(low, high), oddPixels(low, high));
}

// Along x, eight outputs in the order of restoreOrder().
template<size_t step>
__m256i lerpNearFirstSteps(const uint8_t* from)
{
    if constexpr (step == 1)
        return lerpNearFirst(stretchVector(from), stretchVector(from + 4));
    else if constexpr (step == 2)
        return lerpNearFirstPairs(stretchVector(from), stretchVector(from + 32));
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
        const __m256i both = lerpNearFirst(lerpNearFirstSteps<step>(upper + at),
                                           lerpNearFirstSteps<step>(lower + at));
        stretchStoreVector(dst + i * 4, restoreOrder<step>(both));
    }
    return whole;
}

__m256i lerpNearFirstAnyStep(const uint8_t* from, size_t step)
{
    return lerpNearFirstPairs(loadPairs(from, 0, step, 2 * step, 3 * step),
                              loadPairs(from, 4 * step, 5 * step, 6 * step, 7 * step));
}

size_t lerpAnyStepBlocks(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, size_t step,
                         size_t count)
{
    size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const size_t at = i * step * 4;
        const __m256i both = lerpNearFirst(lerpNearFirstAnyStep(upper + at, step),
                                           lerpNearFirstAnyStep(lower + at, step));
        stretchStoreVector(dst + i * 4, restoreOrder<2>(both));
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

constexpr StretchKernels stretchKernels{
    gather8,       gatherPlain32, planBlocks32, gatherBlocks32, gatherSteps8,
    gatherSteps32, lerpColumns32, lerpRows,     lerpSteps32,
};

#else

// Blocks are for vectors.
size_t planNoBlocks(GatherBlock*, const uint32_t*, size_t)
{
    return 0;
}

void gatherNoBlocks(uint8_t*, const uint8_t*, const GatherBlock*, size_t) {}

constexpr StretchKernels stretchKernels{
    gatherPlain8,       gatherPlain32,      planNoBlocks,  gatherNoBlocks,   gatherStepsPlain8,
    gatherStepsPlain32, lerpColumnsPlain32, lerpRowsPlain, lerpStepsPlain32,
};

#endif

} // namespace
