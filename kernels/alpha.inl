namespace
{

uint32_t alphaLoad(const uint8_t* pixel)
{
    uint32_t word;
    __builtin_memcpy(&word, pixel, 4);
    return word;
}

void alphaStore(uint8_t* pixel, uint32_t word)
{
    __builtin_memcpy(pixel, &word, 4);
}

void constantAlpha(uint8_t* pixels, uint8_t alpha, size_t count)
{
    const uint32_t high = static_cast<uint32_t>(alpha) << 24;
    for (size_t i = 0; i < count; ++i)
        alphaStore(pixels + i * 4, (alphaLoad(pixels + i * 4) & 0x00FFFFFFu) | high);
}

#if defined(__AVX2__)

__m256i withAlphas(const uint8_t* pixels, const uint8_t* alphas)
{
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(alphas));
    const __m256i high = _mm256_slli_epi32(_mm256_cvtepu8_epi32(bytes), 24);
    const __m256i words = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pixels));
    return _mm256_or_si256(_mm256_and_si256(words, _mm256_set1_epi32(0x00FFFFFF)), high);
}

// A line of the cache at a time; returns how many pixels are done.
size_t wholeAlphaLines(uint8_t* pixels, const uint8_t* plane, size_t count)
{
    constexpr size_t ahead = 256; // pixels: nothing else looks past the end of a page
    size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        __builtin_prefetch(pixels + (i + ahead) * 4, 1);
        __builtin_prefetch(plane + i + ahead);
        const __m256i first = withAlphas(pixels + i * 4, plane + i);
        const __m256i second = withAlphas(pixels + i * 4 + 32, plane + i + 8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pixels + i * 4), first);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pixels + i * 4 + 32), second);
    }
    return i;
}

#else

size_t wholeAlphaLines(uint8_t*, const uint8_t*, size_t)
{
    return 0;
}

#endif

void wholeAlphaFromPlane(uint8_t* pixels, const uint8_t* plane, size_t count)
{
    for (size_t i = wholeAlphaLines(pixels, plane, count); i < count; ++i)
        alphaStore(pixels + i * 4, (alphaLoad(pixels + i * 4) & 0x00FFFFFFu) |
                                       static_cast<uint32_t>(plane[i]) << 24);
}

void alphaFromPlane(uint8_t* pixels, const uint8_t* plane, uint32_t scale, size_t count)
{
    if (scale == 256) {
        wholeAlphaFromPlane(pixels, plane, count);
        return;
    }
    for (size_t i = 0; i < count; ++i) {
        const uint32_t high = (plane[i] * scale << 16) & 0xFF000000u;
        alphaStore(pixels + i * 4, (alphaLoad(pixels + i * 4) & 0x00FFFFFFu) | high);
    }
}

void scaleAlpha(uint8_t* pixels, uint32_t scale, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        const uint32_t word = alphaLoad(pixels + i * 4);
        const uint32_t high = ((word >> 24) * scale << 16) & 0xFF000000u;
        alphaStore(pixels + i * 4, (word & 0x00FFFFFFu) | high);
    }
}

constexpr AlphaKernels alphaKernels{constantAlpha, alphaFromPlane, scaleAlpha};

} // namespace
