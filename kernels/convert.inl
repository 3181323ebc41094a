namespace
{

constexpr uint32_t opaque = 0xFF000000u;

uint32_t convertLoad(const uint8_t* bytes)
{
    uint32_t word;
    __builtin_memcpy(&word, bytes, 4);
    return word;
}

void convertStore(uint8_t* bytes, uint32_t word)
{
    __builtin_memcpy(bytes, &word, 4);
}

void prefetchNext(const uint8_t* dst, const uint8_t* src, RowsAhead ahead)
{
    __builtin_prefetch(dst + ahead.dst, 1);
    __builtin_prefetch(src + ahead.src);
}

// Four pixels are three words on the 24-bit side.

void opaqueFrom24Words(uint8_t* __restrict dst, const uint8_t* __restrict src, size_t count)
{
    for (; count >= 4; count -= 4, src += 12, dst += 16) {
        const uint32_t a = convertLoad(src);
        const uint32_t b = convertLoad(src + 4);
        const uint32_t c = convertLoad(src + 8);
        convertStore(dst, a | opaque);
        convertStore(dst + 4, a >> 24 | b << 8 | opaque);
        convertStore(dst + 8, b >> 16 | c << 16 | opaque);
        convertStore(dst + 12, c >> 8 | opaque);
    }
    for (; count > 0; --count, src += 3, dst += 4) {
        dst[0] = src[0];
        dst[1] = src[1];
        dst[2] = src[2];
        dst[3] = 0xFF;
    }
}

void to24Words(uint8_t* __restrict dst, const uint8_t* __restrict src, size_t count)
{
    for (; count >= 4; count -= 4, src += 16, dst += 12) {
        const uint32_t a = convertLoad(src) & ~opaque;
        const uint32_t b = convertLoad(src + 4) & ~opaque;
        const uint32_t c = convertLoad(src + 8) & ~opaque;
        const uint32_t d = convertLoad(src + 12);
        convertStore(dst, a | b << 24);
        convertStore(dst + 4, b >> 8 | c << 16);
        convertStore(dst + 8, c >> 16 | d << 8);
    }
    for (; count > 0; --count, src += 4, dst += 3) {
        dst[0] = src[0];
        dst[1] = src[1];
        dst[2] = src[2];
    }
}

#if defined(__AVX2__)

// The compiler finds no byte shuffles in the plain forms.

void opaqueFrom24(uint8_t* __restrict dst, const uint8_t* __restrict src, size_t count,
                  RowsAhead ahead)
{
    // Eight pixels from the low 12 bytes of each half; the upper half's load
    // reads four bytes more than it uses.
    constexpr size_t pixelsRead = 10;
    const __m256i spread = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
    const __m256i alpha = _mm256_set1_epi32(static_cast<int>(opaque));
    for (; count >= pixelsRead; count -= 8, src += 24, dst += 32) {
        prefetchNext(dst, src, ahead);
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 12));
        const __m256i packed = _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
        const __m256i pixels = _mm256_or_si256(_mm256_shuffle_epi8(packed, spread), alpha);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), pixels);
    }
    opaqueFrom24Words(dst, src, count);
}

void to24(uint8_t* __restrict dst, const uint8_t* __restrict src, size_t count)
{
    // Eight pixels to 24 bytes; the store writes eight bytes more, which the
    // next one replaces.
    constexpr size_t pixelsWritten = 11;
    const __m256i pack = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
    const __m256i join = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    for (; count >= pixelsWritten; count -= 8, src += 32, dst += 24) {
        const __m256i pixels = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src));
        const __m256i halves = _mm256_shuffle_epi8(pixels, pack);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst),
                            _mm256_permutevar8x32_epi32(halves, join));
    }
    to24Words(dst, src, count);
}

#else

void opaqueFrom24(uint8_t* dst, const uint8_t* src, size_t count, RowsAhead)
{
    opaqueFrom24Words(dst, src, count);
}

void to24(uint8_t* dst, const uint8_t* src, size_t count)
{
    to24Words(dst, src, count);
}

#endif

void opaqueFrom32(uint8_t* __restrict dst, const uint8_t* __restrict src, size_t count,
                  RowsAhead ahead)
{
    constexpr size_t pixelsOfLine = 16;
    for (; count >= pixelsOfLine; count -= pixelsOfLine, src += 64, dst += 64) {
        prefetchNext(dst, src, ahead);
        for (size_t i = 0; i < pixelsOfLine; ++i)
            convertStore(dst + i * 4, convertLoad(src + i * 4) | opaque);
    }
    for (size_t i = 0; i < count; ++i)
        convertStore(dst + i * 4, convertLoad(src + i * 4) | opaque);
}

constexpr ConvertKernels convertKernels{opaqueFrom24, opaqueFrom32, to24};

} // namespace
