namespace
{

#if defined(__AVX2__)

// Eight sums of two taps, in 32 bits.
__m256i zoomPairSums(const uint8_t* window, const uint8_t* pick, const int16_t* weights)
{
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(window));
    const __m128i order = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pick));
    const __m256i taps = _mm256_cvtepu8_epi16(_mm_shuffle_epi8(bytes, order));
    return _mm256_madd_epi16(taps, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(weights)));
}

void zoomStoreLanes(int16_t* line, __m256i sums)
{
    const __m256i shifted = _mm256_srai_epi32(sums, 8);
    const __m128i lanes =
        _mm_packs_epi32(_mm256_castsi256_si128(shifted), _mm256_extracti128_si256(shifted, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(line), lanes);
}

void linearLine(int16_t* line, const uint8_t* row, const ZoomPairGroup* groups, size_t groupCount)
{
    for (const ZoomPairGroup* group = groups; group != groups + groupCount; ++group)
        zoomStoreLanes(line + group->output,
                       zoomPairSums(row + group->source, group->pick, group->weights));
}

void cubicLine(int16_t* line, const uint8_t* row, const ZoomQuadGroup* groups, size_t groupCount)
{
    for (const ZoomQuadGroup* group = groups; group != groups + groupCount; ++group) {
        const uint8_t* window = row + group->source;
        const __m256i first = zoomPairSums(window, group->pick[0], group->weights[0]);
        const __m256i second = zoomPairSums(window, group->pick[1], group->weights[1]);
        zoomStoreLanes(line + group->output, _mm256_add_epi32(first, second));
    }
}

#else

template<class Sum>
void zoomStoreLanes(int16_t* line, Sum sum)
{
    for (int32_t i = 0; i < zoomLanes; ++i)
        line[i] = static_cast<int16_t>(sum(i) >> 8);
}

int32_t zoomPairSum(const uint8_t* window, const uint8_t* pick, const int16_t* weights, int32_t i)
{
    const ptrdiff_t first = ptrdiff_t{2} * i;
    return window[pick[first]] * weights[first] + window[pick[first + 1]] * weights[first + 1];
}

void linearLine(int16_t* line, const uint8_t* row, const ZoomPairGroup* groups, size_t groupCount)
{
    for (const ZoomPairGroup* group = groups; group != groups + groupCount; ++group) {
        const uint8_t* window = row + group->source;
        zoomStoreLanes(line + group->output, [=](int32_t i) {
            return zoomPairSum(window, group->pick, group->weights, i);
        });
    }
}

void cubicLine(int16_t* line, const uint8_t* row, const ZoomQuadGroup* groups, size_t groupCount)
{
    for (const ZoomQuadGroup* group = groups; group != groups + groupCount; ++group) {
        const uint8_t* window = row + group->source;
        zoomStoreLanes(line + group->output, [=](int32_t i) {
            return zoomPairSum(window, group->pick[0], group->weights[0], i) +
                   zoomPairSum(window, group->pick[1], group->weights[1], i);
        });
    }
}

#endif

uint8_t linearElement(int32_t top, int32_t bottom, int32_t fraction)
{
    return static_cast<uint8_t>((top * (16384 - fraction) + bottom * fraction) >> 20);
}

uint8_t cubicElement(const int16_t* const lines[4], const int16_t weights[4], size_t i)
{
    int32_t sum = 0x80000;
    for (int32_t j = 0; j < 4; ++j)
        sum += lines[j][i] * weights[j];
    const int32_t value = sum >> 20;
    return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

#if defined(__AVX2__)

constexpr size_t zoomVector = 32;
using ZoomVector = __m256i;

__m256i zoomLoad(const int16_t* line)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(line));
}
__m256i zoomWeights(int32_t first, int32_t second)
{
    return _mm256_set1_epi32((first & 0xFFFF) | second << 16);
}
__m256i zoomLow(__m256i a, __m256i b, __m256i weights)
{
    return _mm256_madd_epi16(_mm256_unpacklo_epi16(a, b), weights);
}
__m256i zoomHigh(__m256i a, __m256i b, __m256i weights)
{
    return _mm256_madd_epi16(_mm256_unpackhi_epi16(a, b), weights);
}
__m256i zoomAdd(__m256i a, __m256i b)
{
    return _mm256_add_epi32(a, b);
}
__m256i zoomRounding()
{
    return _mm256_set1_epi32(0x80000);
}
__m256i zoomPackSums(__m256i low, __m256i high)
{
    return _mm256_packs_epi32(_mm256_srai_epi32(low, 20), _mm256_srai_epi32(high, 20));
}
void zoomStore(uint8_t* dst, __m256i first, __m256i second)
{
    const __m256i bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), 0xD8);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), bytes);
}

#elif defined(__SSE2__)

constexpr size_t zoomVector = 16;
using ZoomVector = __m128i;

__m128i zoomLoad(const int16_t* line)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(line));
}
__m128i zoomWeights(int32_t first, int32_t second)
{
    return _mm_set1_epi32((first & 0xFFFF) | second << 16);
}
__m128i zoomLow(__m128i a, __m128i b, __m128i weights)
{
    return _mm_madd_epi16(_mm_unpacklo_epi16(a, b), weights);
}
__m128i zoomHigh(__m128i a, __m128i b, __m128i weights)
{
    return _mm_madd_epi16(_mm_unpackhi_epi16(a, b), weights);
}
__m128i zoomAdd(__m128i a, __m128i b)
{
    return _mm_add_epi32(a, b);
}
__m128i zoomRounding()
{
    return _mm_set1_epi32(0x80000);
}
__m128i zoomPackSums(__m128i low, __m128i high)
{
    return _mm_packs_epi32(_mm_srai_epi32(low, 20), _mm_srai_epi32(high, 20));
}
void zoomStore(uint8_t* dst, __m128i first, __m128i second)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm_packus_epi16(first, second));
}

#endif

#if defined(__SSE2__)

ZoomVector linearVector(const int16_t* top, const int16_t* bottom, ZoomVector weights)
{
    const ZoomVector a = zoomLoad(top);
    const ZoomVector b = zoomLoad(bottom);
    return zoomPackSums(zoomLow(a, b, weights), zoomHigh(a, b, weights));
}

ZoomVector cubicVector(const int16_t* const lines[4], size_t i, ZoomVector weights01,
                       ZoomVector weights23, ZoomVector rounding)
{
    const ZoomVector a = zoomLoad(lines[0] + i);
    const ZoomVector b = zoomLoad(lines[1] + i);
    const ZoomVector c = zoomLoad(lines[2] + i);
    const ZoomVector d = zoomLoad(lines[3] + i);
    const ZoomVector low = zoomAdd(zoomLow(a, b, weights01), zoomLow(c, d, weights23));
    const ZoomVector high = zoomAdd(zoomHigh(a, b, weights01), zoomHigh(c, d, weights23));
    return zoomPackSums(zoomAdd(low, rounding), zoomAdd(high, rounding));
}

size_t linearVectors(uint8_t* dst, const int16_t* top, const int16_t* bottom, int32_t fraction,
                     size_t count)
{
    const ZoomVector weights = zoomWeights(16384 - fraction, fraction);
    constexpr size_t half = zoomVector / 2;
    size_t i = 0;
    for (; i + zoomVector <= count; i += zoomVector)
        zoomStore(dst + i, linearVector(top + i, bottom + i, weights),
                  linearVector(top + i + half, bottom + i + half, weights));
    return i;
}

size_t cubicVectors(uint8_t* dst, const int16_t* const lines[4], const int16_t weights[4],
                    size_t count)
{
    const ZoomVector weights01 = zoomWeights(weights[0], weights[1]);
    const ZoomVector weights23 = zoomWeights(weights[2], weights[3]);
    const ZoomVector rounding = zoomRounding();
    size_t i = 0;
    for (; i + zoomVector <= count; i += zoomVector)
        zoomStore(dst + i, cubicVector(lines, i, weights01, weights23, rounding),
                  cubicVector(lines, i + zoomVector / 2, weights01, weights23, rounding));
    return i;
}

#else

size_t linearVectors(uint8_t*, const int16_t*, const int16_t*, int32_t, size_t)
{
    return 0;
}

size_t cubicVectors(uint8_t*, const int16_t* const*, const int16_t*, size_t)
{
    return 0;
}

#endif

void linearRow(uint8_t* dst, const int16_t* top, const int16_t* bottom, int32_t fraction,
               size_t count)
{
    for (size_t i = linearVectors(dst, top, bottom, fraction, count); i < count; ++i)
        dst[i] = linearElement(top[i], bottom[i], fraction);
}

void cubicRow(uint8_t* dst, const int16_t* const lines[4], const int16_t weights[4], size_t count)
{
    for (size_t i = cubicVectors(dst, lines, weights, count); i < count; ++i)
        dst[i] = cubicElement(lines, weights, i);
}

constexpr ZoomKernels zoomKernels{linearLine, cubicLine, linearRow, cubicRow};

} // namespace
