#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{

void constantAlpha(uint8_t* pixels, uint8_t alpha, size_t count)
{
    const uint32_t high = static_cast<uint32_t>(alpha) << 24;
    for (size_t i = 0; i < count; ++i)
        storeWord(pixels + i * 4, (loadWord(pixels + i * 4) & 0x00FFFFFFu) | high);
}

#if defined(QUIB_WIDE_VECTORS)

U32<> withAlphas(const uint8_t* pixels, const uint8_t* alphas)
{
    const U32<> high = widenFirst<U32<>>(loadHalf<U8<16>>(alphas)) << 24;
    return (load<U32<>>(pixels) & 0x00FFFFFF) | high;
}

// A line of the cache at a time; returns how many pixels are done.
size_t wholeAlphaLines(uint8_t* pixels, const uint8_t* plane, size_t count)
{
    constexpr size_t ahead = 256; // pixels: nothing else looks past the end of a page
    size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        __builtin_prefetch(pixels + (i + ahead) * 4, 1);
        __builtin_prefetch(plane + i + ahead);
        const U32<> first = withAlphas(pixels + i * 4, plane + i);
        const U32<> second = withAlphas(pixels + i * 4 + 32, plane + i + 8);
        store(pixels + i * 4, first);
        store(pixels + i * 4 + 32, second);
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
        storeWord(pixels + i * 4,
                  (loadWord(pixels + i * 4) & 0x00FFFFFFu) | static_cast<uint32_t>(plane[i]) << 24);
}

void alphaFromPlane(uint8_t* pixels, const uint8_t* plane, uint32_t scale, size_t count)
{
    if (scale == 256) {
        wholeAlphaFromPlane(pixels, plane, count);
        return;
    }
    for (size_t i = 0; i < count; ++i) {
        const uint32_t high = (plane[i] * scale << 16) & 0xFF000000u;
        storeWord(pixels + i * 4, (loadWord(pixels + i * 4) & 0x00FFFFFFu) | high);
    }
}

void scaleAlpha(uint8_t* pixels, uint32_t scale, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        const uint32_t word = loadWord(pixels + i * 4);
        const uint32_t high = ((word >> 24) * scale << 16) & 0xFF000000u;
        storeWord(pixels + i * 4, (word & 0x00FFFFFFu) | high);
    }
}

} // namespace

constinit const AlphaKernels alphaKernels{
    .constant = constantAlpha,
    .fromPlane = alphaFromPlane,
    .scale = scaleAlpha,
};

} // namespace quib::QUIB_LEVEL
