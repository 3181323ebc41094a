#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{

constexpr uint32_t opaque = 0xFF000000u;

void prefetchNext(const uint8_t* dst, const uint8_t* src, RowsAhead ahead)
{
    __builtin_prefetch(dst + ahead.dst, 1);
    __builtin_prefetch(src + ahead.src);
}

// Four pixels are three words on the 24-bit side.

void opaqueFrom24Words(uint8_t* __restrict dst, const uint8_t* __restrict src, size_t count)
{
    for (; count >= 4; count -= 4, src += 12, dst += 16) {
        const uint32_t a = loadWord(src);
        const uint32_t b = loadWord(src + 4);
        const uint32_t c = loadWord(src + 8);
        storeWord(dst, a | opaque);
        storeWord(dst + 4, a >> 24 | b << 8 | opaque);
        storeWord(dst + 8, b >> 16 | c << 16 | opaque);
        storeWord(dst + 12, c >> 8 | opaque);
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
        const uint32_t a = loadWord(src) & ~opaque;
        const uint32_t b = loadWord(src + 4) & ~opaque;
        const uint32_t c = loadWord(src + 8) & ~opaque;
        const uint32_t d = loadWord(src + 12);
        storeWord(dst, a | b << 24);
        storeWord(dst + 4, b >> 8 | c << 16);
        storeWord(dst + 8, c >> 16 | d << 8);
    }
    for (; count > 0; --count, src += 4, dst += 3) {
        dst[0] = src[0];
        dst[1] = src[1];
        dst[2] = src[2];
    }
}

#if defined(QUIB_WIDE_VECTORS)

// The compiler finds no byte shuffles in the plain forms.

void opaqueFrom24(uint8_t* __restrict dst, const uint8_t* __restrict src, size_t count,
                  RowsAhead ahead)
{
    // Eight pixels from the low 12 bytes of each half; the upper half's load
    // reads four bytes more than it uses.
    constexpr size_t pixelsRead = 10;
    const U8<> places =
        spreadPart<U8<>>(U8<16>{0, 1, 2, 0x80, 3, 4, 5, 0x80, 6, 7, 8, 0x80, 9, 10, 11, 0x80});
    for (; count >= pixelsRead; count -= 8, src += 24, dst += 32) {
        prefetchNext(dst, src, ahead);
        const U8<> packed = join(load<U8<16>>(src), load<U8<16>>(src + 12));
        store(dst, as<U32<>>(lookUp(packed, places)) | opaque);
    }
    opaqueFrom24Words(dst, src, count);
}

// The first three words of each half, then the last ones.
struct JoinRule {
    static constexpr int of(size_t i, size_t)
    {
        constexpr int places[] = {0, 1, 2, 4, 5, 6, 3, 7};
        return places[i];
    }
};

void to24(uint8_t* __restrict dst, const uint8_t* __restrict src, size_t count)
{
    // Eight pixels to 24 bytes; the store writes eight bytes more, which the
    // next one replaces.
    constexpr size_t pixelsWritten = 11;
    const U8<> places =
        spreadPart<U8<>>(U8<16>{0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80});
    for (; count >= pixelsWritten; count -= 8, src += 32, dst += 24) {
        const U32<> halves = as<U32<>>(lookUp(load<U8<>>(src), places));
        store(dst, rearrange<JoinRule>(halves, halves));
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
            storeWord(dst + i * 4, loadWord(src + i * 4) | opaque);
    }
    for (size_t i = 0; i < count; ++i)
        storeWord(dst + i * 4, loadWord(src + i * 4) | opaque);
}

void grayTo24(uint8_t* __restrict dst, const uint8_t* __restrict src, size_t count)
{
    for (; count > 0; --count, ++src, dst += 3) {
        dst[0] = *src;
        dst[1] = *src;
        dst[2] = *src;
    }
}

void grayUnderAlpha(uint8_t* __restrict dst, const uint8_t* __restrict src, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        storeWord(dst + i * 4, src[i] * 0x010101u | (loadWord(dst + i * 4) & opaque));
}

void from4Planes(uint8_t* __restrict dst, const uint8_t* first, const uint8_t* second,
                 const uint8_t* third, const uint8_t* fourth, size_t count)
{
    size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const U8<16> a = load<U8<16>>(first + i);
        const U8<16> b = load<U8<16>>(second + i);
        const U8<16> c = load<U8<16>>(third + i);
        const U8<16> d = load<U8<16>>(fourth + i);
        const U16<16> low[2] = {as<U16<16>>(interleaveLow(a, b)), as<U16<16>>(interleaveLow(c, d))};
        const U16<16> high[2] = {as<U16<16>>(interleaveHigh(a, b)),
                                 as<U16<16>>(interleaveHigh(c, d))};
        uint8_t* to = dst + i * 4;
        store(to, interleaveLow(low[0], low[1]));
        store(to + 16, interleaveHigh(low[0], low[1]));
        store(to + 32, interleaveLow(high[0], high[1]));
        store(to + 48, interleaveHigh(high[0], high[1]));
    }
    for (; i < count; ++i) {
        const uint8_t pixel[4] = {first[i], second[i], third[i], fourth[i]};
        storeWord(dst + i * 4, loadWord(pixel));
    }
}

} // namespace

constinit const ConvertKernels convertKernels{
    .opaqueFrom24 = opaqueFrom24,
    .opaqueFrom32 = opaqueFrom32,
    .to24 = to24,
    .grayTo24 = grayTo24,
    .grayUnderAlpha = grayUnderAlpha,
    .from4Planes = from4Planes,
};

} // namespace quib::QUIB_LEVEL
