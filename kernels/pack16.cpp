#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{
namespace pack16
{

QUIB_INLINE void storeShort(uint8_t* dst, uint32_t word)
{
    const uint16_t low = static_cast<uint16_t>(word);
    __builtin_memcpy(dst, &low, 2);
}

QUIB_INLINE uint32_t shifted(uint32_t byte, Packing16::Shift shift)
{
    return byte >> shift.right << shift.left;
}

QUIB_INLINE uint32_t packed(const uint8_t* pixel, const Packing16& packing)
{
    return shifted(pixel[0], packing.blue) | shifted(pixel[1], packing.green) |
           shifted(pixel[2], packing.red);
}

// How one colour of a pixel in 32 bits gets to its place: shifted to the right or to
// the left, and freed from its neighbours.
struct Route {
    int32_t right;
    int32_t left;
    uint32_t mask;
};

QUIB_INLINE Route routeOf(Packing16::Shift shift, int32_t firstBit)
{
    const int32_t right = firstBit + shift.right - shift.left;
    return {right > 0 ? right : 0, right < 0 ? -right : 0,
            0xFFu >> shift.right << shift.left & 0xFFFFu};
}

struct Routes {
    Route blue;
    Route green;
    Route red;
};

template<bool toTheLeft>
QUIB_INLINE U32<> shifted(U32<> pixels, const Route& route)
{
    const U32<> down = pixels >> route.right;
    return toTheLeft ? down << route.left : down;
}

template<bool toTheLeft>
QUIB_INLINE U32<> packed(U32<> pixels, const Routes& routes)
{
    const U32<> blue = shifted<toTheLeft>(pixels, routes.blue) & routes.blue.mask;
    const U32<> cool = withBits(blue, shifted<toTheLeft>(pixels, routes.green), routes.green.mask);
    return withBits(cool, shifted<toTheLeft>(pixels, routes.red), routes.red.mask);
}

// --- Sources ---------------------------------------------------------------------------

// A vector of pixels in 32 bits, whose fourth bytes may be anything; `more` tells how
// many pixels it reads beyond them.

struct From32 {
    static constexpr size_t pixelBytes = 4;
    static constexpr size_t more = 0;
    QUIB_INLINE static U32<> pixels(const uint8_t* src) { return load<U32<>>(src); }
};

struct From24 {
    static constexpr size_t pixelBytes = 3;
    static constexpr size_t more = 2; // the last load of 16 bytes uses 12
    QUIB_INLINE static U32<> pixels(const uint8_t* src)
    {
        constexpr U8<16> places{0, 1, 2, 0x80, 3, 4, 5, 0x80, 6, 7, 8, 0x80, 9, 10, 11, 0x80};
#if defined(QUIB_WIDE_VECTORS)
        const U8<> bytes = join(load<U8<16>>(src), load<U8<16>>(src + 12));
        return as<U32<>>(lookUp(bytes, spreadPart<U8<>>(places)));
#else
        if constexpr (looksUpBytes)
            return as<U32<>>(lookUp(load<U8<>>(src), places));
        return U32<>{loadWord(src), loadWord(src + 3), loadWord(src + 6), loadWord(src + 9)};
#endif
    }
};

template<class Source, bool toTheLeft>
QUIB_INLINE size_t packVectors(uint8_t* __restrict dst, const uint8_t* __restrict src, size_t count,
                               const Routes& routes)
{
    constexpr size_t lanes = lanesOf<U32<>>;
    size_t done = 0;
    for (; done + 2 * lanes + Source::more <= count; done += 2 * lanes) {
        const uint8_t* from = src + done * Source::pixelBytes;
        const U32<> low = packed<toTheLeft>(Source::pixels(from), routes);
        const U32<> high =
            packed<toTheLeft>(Source::pixels(from + lanes * Source::pixelBytes), routes);
        store(dst + done * 2, inOrderOfPack(packToU16(low, high)));
    }
    return done;
}

template<class Source>
void packRow(uint8_t* __restrict dst, const uint8_t* __restrict src, size_t count,
             const Packing16& packing)
{
    const Routes routes{routeOf(packing.blue, 0), routeOf(packing.green, 8),
                        routeOf(packing.red, 16)};
    const bool toTheLeft = routes.blue.left || routes.green.left || routes.red.left;
    const size_t done = toTheLeft ? packVectors<Source, true>(dst, src, count, routes)
                                  : packVectors<Source, false>(dst, src, count, routes);
    for (size_t i = done; i < count; ++i)
        storeShort(dst + i * 2, packed(src + i * Source::pixelBytes, packing));
}

void fromGray(uint8_t* __restrict dst, const uint8_t* __restrict src, size_t count,
              const Packing16& packing)
{
    const Packing16 places = packing;
    for (size_t i = 0; i < count; ++i) {
        const uint32_t gray = src[i];
        storeShort(dst + i * 2, shifted(gray, places.blue) | shifted(gray, places.green) |
                                    shifted(gray, places.red));
    }
}

} // namespace pack16

} // namespace

constinit const Pack16Kernels pack16Kernels{
    .from32 = pack16::packRow<pack16::From32>,
    .from24 = pack16::packRow<pack16::From24>,
    .fromGray = pack16::fromGray,
};

} // namespace quib::QUIB_LEVEL
