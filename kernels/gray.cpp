#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{
namespace gray
{

// --- Colours ----------------------------------------------------------------------------

template<class Element>
QUIB_INLINE uint32_t weighed(Element blue, Element green, Element red)
{
    return 18u * blue + 183u * green + 54u * red;
}

template<int32_t shift>
QUIB_INLINE int32_t weighedSigned(int32_t blue, int32_t green, int32_t red)
{
    return 37 * (blue >> shift) + 366 * (green >> shift) + 109 * (red >> shift);
}

// Each gives an element of the target, or whether a bit is 1.

struct From8To8 {
    static uint8_t of(uint8_t b, uint8_t g, uint8_t r)
    {
        return static_cast<uint8_t>(weighed(b, g, r) >> 8);
    }
};
struct From8To16 {
    static uint16_t of(uint8_t b, uint8_t g, uint8_t r)
    {
        return static_cast<uint16_t>(weighed(b, g, r));
    }
};
struct From8To1 {
    static bool of(uint8_t b, uint8_t g, uint8_t r) { return weighed(b, g, r) >> 8 > 127; }
};
struct From16To8 {
    static uint8_t of(uint16_t b, uint16_t g, uint16_t r)
    {
        return static_cast<uint8_t>(weighed(b, g, r) >> 16);
    }
};
struct From16To16 {
    static uint16_t of(uint16_t b, uint16_t g, uint16_t r)
    {
        return static_cast<uint16_t>(weighed(b, g, r) >> 8);
    }
};
struct From16To1 {
    static bool of(uint16_t b, uint16_t g, uint16_t r) { return weighed(b, g, r) >> 8 > 32767; }
};
struct From32To8 {
    static uint8_t of(int32_t b, int32_t g, int32_t r)
    {
        return static_cast<uint8_t>(weighedSigned<11>(b, g, r) >> 21);
    }
};
struct From32To16 {
    static uint16_t of(int32_t b, int32_t g, int32_t r)
    {
        return static_cast<uint16_t>(weighedSigned<11>(b, g, r) >> 13);
    }
};
struct From32To1 {
    static bool of(int32_t b, int32_t g, int32_t r)
    {
        return weighedSigned<10>(b, g, r) > 0x1FFFFFFF;
    }
};

template<class Formula, class To, class From>
void elements(To* __restrict dst, const ColourRow<From>& src, size_t count)
{
    const ColourRow<From> row = src;
    for (size_t i = 0; i < count; ++i) {
        const size_t at = i * row.stride;
        dst[i] = Formula::of(row.blue[at], row.green[at], row.red[at]);
    }
}

template<class Formula, class From>
void bits(uint8_t* dst, const ColourRow<From>& src, size_t count)
{
    for (size_t i = 0; i < count; i += 8) {
        const size_t inByte = count - i < 8 ? count - i : 8;
        uint32_t byte = dst[i / 8];
        for (size_t k = 0; k < inByte; ++k) {
            const size_t at = (i + k) * src.stride;
            const uint32_t bit = 0x80u >> k;
            const bool set = Formula::of(src.blue[at], src.green[at], src.red[at]);
            byte = set ? byte | bit : byte & ~bit;
        }
        dst[i / 8] = static_cast<uint8_t>(byte);
    }
}

// The grays of a vector of four-byte pixels, in lanes of 32 bits. The weights are
// those of bytes 0 and 2.
QUIB_INLINE I32<> graysOf(const uint8_t* pixels, I16<> outer)
{
    const U16<> words = load<U16<>>(pixels);
    const I16<> inner = as<I16<>>(spread<U32<>>(183));
    const I32<> sums =
        pairProducts(as<I16<>>(words & 0xFF), outer) + pairProducts(as<I16<>>(words >> 8), inner);
    return sums >> 8;
}

// Four-byte pixels whose outer colours have these weights; gives how many are done.
size_t graysOfPixels(uint8_t* dst, const uint8_t* pixels, uint32_t first, uint32_t third,
                     size_t count)
{
    const I16<> outer = as<I16<>>(spread<U32<>>(first | third << 16));
    size_t i = 0;
    for (; i + wide <= count; i += wide) {
        const uint8_t* from = pixels + i * 4;
        const I16<> low = packToI16(graysOf(from, outer), graysOf(from + wide, outer));
        const I16<> high =
            packToI16(graysOf(from + 2 * wide, outer), graysOf(from + 3 * wide, outer));
        store(dst + i, inOrderOfTwoPacks(packToU8(low, high)));
    }
    return i;
}

void from8To8(uint8_t* dst, const ColourRow<uint8_t>& src, size_t count)
{
    size_t done = 0;
    if (src.stride == 4 && src.red == src.blue + 2 && src.green == src.blue + 1)
        done = graysOfPixels(dst, src.blue, 18, 54, count);
    else if (src.stride == 4 && src.blue == src.red + 2 && src.green == src.red + 1)
        done = graysOfPixels(dst, src.red, 54, 18, count);
    const size_t at = done * src.stride;
    elements<From8To8>(dst + done,
                       ColourRow<uint8_t>{src.blue + at, src.green + at, src.red + at, src.stride},
                       count - done);
}

// --- Bits --------------------------------------------------------------------------------

template<class Element>
void expand(Element* dst, size_t stride, const uint8_t* bits, size_t count, Element zero,
            Element one)
{
    for (size_t i = 0; i < count; ++i)
        dst[i * stride] = bits[i / 8] >> (7 - i % 8) & 1 ? one : zero;
}

using Grays = U8<longest>;

// Of each byte of a vector, as many bytes as bits are read at once: where its bit
// stands among them, and which one of the byte it is.
struct OwnBit {
    uint8_t places[longest];
    uint8_t bits[longest];
    constexpr OwnBit() : places{}, bits{}
    {
        for (size_t i = 0; i < longest; ++i) {
            places[i] = static_cast<uint8_t>(i / 8);
            bits[i] = static_cast<uint8_t>(0x80 >> i % 8);
        }
    }
};

constexpr OwnBit ownBit;

QUIB_INLINE Grays expandVector(const uint8_t* bits, Grays zero, Grays one)
{
#if defined(QUIB_WIDE_VECTORS)
    const Grays all = longest == 64 ? as<Grays>(spread<U64<longest>>(load<uint64_t>(bits)))
                                    : as<Grays>(spread<U32<longest>>(loadWord(bits)));
    const Grays bytes = lookUp(all, load<Grays>(ownBit.places));
#else
    constexpr uint64_t everywhere = 0x0101010101010101u;
    const Grays bytes = as<Grays>(U64<16>{bits[0] * everywhere, bits[1] * everywhere});
#endif
    return (bytes & load<Grays>(ownBit.bits)) == 0 ? zero : one;
}

void expand8(uint8_t* dst, size_t stride, const uint8_t* bits, size_t count, uint8_t zero,
             uint8_t one)
{
    size_t done = 0;
    const auto put = [&](size_t at) {
        store(dst + at, expandVector(bits + at / 8, spread<Grays>(zero), spread<Grays>(one)));
    };
    if (stride == 1 && count >= longest) {
        // The next ones go where none lies in two lines of the caches, over a part of
        // the first.
        const size_t head = -reinterpret_cast<uintptr_t>(dst) % longest;
        put(0);
        done = head > 0 && head % 8 == 0 ? head : longest;
        for (; done + longest <= count; done += longest)
            put(done);
        // The last whole bytes' pixels, and some that are there already.
        put((count - longest) / 8 * 8);
        done = count / 8 * 8;
    }
    expand(dst + done * stride, stride, bits + done / 8, count - done, zero, one);
}

} // namespace gray

} // namespace

constinit const GrayKernels grayKernels{
    .from8To8 = gray::from8To8,
    .from8To16 = gray::elements<gray::From8To16>,
    .from8To1 = gray::bits<gray::From8To1>,
    .from16To8 = gray::elements<gray::From16To8>,
    .from16To16 = gray::elements<gray::From16To16>,
    .from16To1 = gray::bits<gray::From16To1>,
    .from32To8 = gray::elements<gray::From32To8>,
    .from32To16 = gray::elements<gray::From32To16>,
    .from32To1 = gray::bits<gray::From32To1>,
    .expand8 = gray::expand8,
    .expand16 = gray::expand<uint16_t>,
    .expand32 = gray::expand<uint32_t>,
};

} // namespace quib::QUIB_LEVEL
