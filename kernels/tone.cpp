#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{
namespace tone
{

constexpr uint32_t fourthByte = 0xFF000000u;

// Calls step() with copies of fewer than `bytes` bytes of a row.
template<size_t bytes, class Step>
QUIB_INLINE void stepAside(uint8_t* dst, const uint8_t* src, size_t count, Step step)
{
    uint8_t target[bytes] = {};
    uint8_t source[bytes] = {};
    __builtin_memcpy(target, dst, count);
    __builtin_memcpy(source, src, count);
    step(target, source);
    __builtin_memcpy(dst, target, count);
}

// Calls step() for each `bytes` bytes of a row, at its ends with copies: a long row
// is begun so that no group of the target lies in two lines of the caches.
template<size_t bytes, class Step>
QUIB_INLINE void forEachGroup(uint8_t* dst, const uint8_t* src, size_t count, Step step)
{
    constexpr size_t longRow = 1024;
    size_t left = count * 4;
    const size_t head = -reinterpret_cast<uintptr_t>(dst) % bytes;
    if (left >= longRow && head > 0 && head % 4 == 0) {
        stepAside<bytes>(dst, src, head, step);
        left -= head;
        dst += head;
        src += head;
    }
    for (; left >= bytes; left -= bytes, dst += bytes, src += bytes)
        step(dst, src);
    if (left > 0)
        stepAside<bytes>(dst, src, left, step);
}

// --- Curves --------------------------------------------------------------------------

using Bytes = U8<longest>;
using Words = U16<longest>;
using Pixels = U32<longest>;

struct Line {
    Bytes low;
    Bytes base;
    Words offset;
    Words factor;
    uint16_t shift;
};

QUIB_INLINE Line spreadLine(const ToneLine& line)
{
    return {spread<Bytes>(line.low), spread<Bytes>(line.base), spread<Words>(line.offset),
            spread<Words>(line.factor), line.shift};
}

QUIB_INLINE Words along(const Line& line, Words u)
{
    const Words products = highProducts(u * 255 + line.offset, line.factor);
    // With shifts of lanes' own the longest vectors are faster, the others have none.
    return longest == 64 ? products >> spread<Words>(line.shift) : products >> line.shift;
}

QUIB_INLINE Bytes valuesOf(const Line& line, Bytes bytes)
{
    const Bytes u = subtractSaturated(bytes, line.low);
    const Bytes quotients = packToU8(along(line, widenLow(u)), along(line, widenHigh(u)));
    return addSaturated(quotients, line.base);
}

template<bool keepsFourth>
void curveByTable(uint8_t* dst, const uint8_t* src, const ToneCurve& curve, uint32_t channels,
                  size_t count)
{
    for (; count > 0; --count, dst += 4, src += 4) {
        for (size_t k = 0; k < 3; ++k)
            dst[k] = channels >> 8 * k & 1 ? curve.values[src[k]] : src[k];
        if (!keepsFourth)
            dst[3] = 0;
    }
}

template<bool keepsFourth>
void curve(uint8_t* dst, const uint8_t* src, const ToneCurve& curve, uint32_t channels,
           size_t count)
{
    if (!curve.isLine)
        return curveByTable<keepsFourth>(dst, src, curve, channels, count);
    const Line line = spreadLine(curve.line);
    const Pixels curved = spread<Pixels>(channels);
    const auto values = [&](const uint8_t* from) {
        const Bytes bytes = load<Bytes>(from);
        return as<Pixels>(select(curved, valuesOf(line, bytes), bytes));
    };
    if (keepsFourth && dst == src)
        return forEachGroup<longest>(
            dst, src, count, [&](uint8_t* to, const uint8_t* from) { store(to, values(from)); });
    forEachGroup<longest>(dst, src, count, [&](uint8_t* to, const uint8_t* from) {
        if constexpr (keepsFourth)
            store(to, select(spread<Pixels>(fourthByte), load<Pixels>(to), values(from)));
        else
            store(to, values(from) & ~fourthByte);
    });
}

// --- Hue and saturation ----------------------------------------------------------------
//
// A hue is turned by computing the three channels anew from the largest value, the
// smallest, and the turned hue. Lanes of 16 bits hold a pixel each.

struct Colours {
    I16<> blue;
    I16<> green;
    I16<> red;
};

// Two vectors' pixels take turns.
QUIB_INLINE Colours coloursOf(U32<> first, U32<> second)
{
    return {as<I16<>>((first & 0xFF) | (second & 0xFF) << 16),
            as<I16<>>((first >> 8 & 0xFF) | (second << 8 & 0xFF0000)),
            as<I16<>>((first >> 16 & 0xFF) | (second & 0xFF0000))};
}

QUIB_INLINE void storeColours(uint8_t* dst, const Colours& colours, U32<> first, U32<> second)
{
    const U32<> low = as<U32<>>(colours.blue | colours.green << 8);
    const U32<> red = as<U32<>>(colours.red);
    store(dst, (low & 0xFFFF) | red << 16 | (first & fourthByte));
    store(dst + wide, low >> 16 | (red & 0xFFFF0000u) | (second & fourthByte));
}

// Rounded down, of lanes from 0 on below 2^15, divided by lanes above 0. Quotients
// of such integers by bytes that are none themselves lie 1/255 or more from one.
QUIB_INLINE I16<> quotients(I16<> a, I16<> b)
{
    const auto divide = [](I32<> x, I32<> y) { return truncated(toFloats(x) / toFloats(y)); };
    const I32<> even = divide(as<I32<>>(a) & 0xFFFF, as<I32<>>(b) & 0xFFFF);
    const I32<> odd = divide(as<I32<>>(a) >> 16, as<I32<>>(b) >> 16);
    return as<I16<>>(even | odd << 16);
}

// Of products up to 15300 and 25500: the reciprocals are rounded up, which adds
// less than the distance from one integer to the next fraction below it.
QUIB_INLINE I16<> over60(I16<> products)
{
    return as<I16<>>(highProducts(as<U16<>>(products), spread<U16<>>(34953)) >> 5);
}

QUIB_INLINE I16<> over100(I16<> products)
{
    return as<I16<>>(highProducts(as<U16<>>(products), spread<U16<>>(5243)) >> 3);
}

// What a hue says of a pixel: its degrees, possibly 60 too low for red's, and its
// extremes.
struct Hue {
    I16<> degrees;
    I16<> high;
    I16<> low;
};

QUIB_INLINE Hue hueOf(const Colours& c)
{
    const I16<> high = larger(larger(c.blue, c.green), c.red);
    const I16<> least = smaller(smaller(c.blue, c.green), c.red);
    const I16<> middle = c.blue + c.green + c.red - high - least;
    const I16<> part = (middle - least) * 60;
    const I16<> degrees = quotients(part, larger(high - least, spread<I16<>>(1)));
    // Between two largest ones the hue is red's, then blue's. It falls where the
    // middle channel is the one before the largest, in the order red, green, blue.
    const I16<> isRed = c.red == high;
    const I16<> isBlue = ~isRed & (c.blue == high);
    const I16<> falls =
        select(isRed, c.blue > c.green, select(isBlue, c.red < c.green, c.red >= c.blue));
    const I16<> start = ~isRed & (120 + (isBlue & 120));
    // Whole degrees put what falls by less than one into the sector after its own,
    // which takes the middle channel for the smallest.
    const I16<> low = select(falls & (degrees == 0), middle, least);
    return {start + ((degrees ^ falls) - falls), high, low};
}

// Degrees and a turn, together from -60 on below 720, into one circle.
QUIB_INLINE I16<> inCircle(I16<> degrees)
{
    const U16<> raised = smaller(as<U16<>>(degrees), as<U16<>>(degrees + 360));
    return as<I16<>>(smaller(raised, raised - 360));
}

// How far, in sixtieths, a channel lies below the largest value: by nothing within
// 60 degrees of its own hue, wholly from 120 on.
QUIB_INLINE I16<> depth(I16<> distance)
{
    const I16<> away = larger(distance, -distance) - 60;
    return smaller(larger(away, I16<>{}), spread<I16<>>(60));
}

struct Adjustment {
    I16<> turn;
    I16<> percent; // without its sign
    I16<> raises;  // a mask
};

QUIB_INLINE Adjustment spreadAdjustment(int32_t turn, int32_t saturation)
{
    const bool raises = saturation < 0;
    const int32_t percent = raises ? -saturation : saturation;
    return {spread<I16<>>(static_cast<int16_t>(turn)), spread<I16<>>(static_cast<int16_t>(percent)),
            spread<I16<>>(raises ? -1 : 0)};
}

QUIB_INLINE I16<> newLow(const Adjustment& adjustment, const Hue& hue)
{
    const I16<> change = over100(hue.high * adjustment.percent);
    const I16<> lowered = larger(hue.low - change, I16<>{});
    const I16<> raised = smaller(hue.low + change, hue.high);
    const I16<> isGray = hue.high == hue.low;
    return select(isGray, hue.high, select(adjustment.raises, raised, lowered));
}

QUIB_INLINE Colours adjusted(const Adjustment& adjustment, const Colours& colours)
{
    const Hue hue = hueOf(colours);
    const I16<> degrees = inCircle(hue.degrees + adjustment.turn);
    const I16<> range = hue.high - newLow(adjustment, hue);
    const I16<> fromRed = 180 - larger(degrees - 180, 180 - degrees);
    return {hue.high - over60(range * depth(degrees - 240)),
            hue.high - over60(range * depth(degrees - 120)),
            hue.high - over60(range * depth(fromRed))};
}

void hueAndSaturation(uint8_t* dst, const uint8_t* src, int32_t turn, int32_t saturation,
                      size_t count)
{
    const Adjustment adjustment = spreadAdjustment(turn, saturation);
    forEachGroup<2 * wide>(dst, src, count, [&](uint8_t* to, const uint8_t* from) {
        const U32<> first = load<U32<>>(from);
        const U32<> second = load<U32<>>(from + wide);
        storeColours(to, adjusted(adjustment, coloursOf(first, second)), first, second);
    });
}

// Where a sector's largest, middle and smallest channel stand in a pixel.
struct Sector {
    uint8_t high;
    uint8_t middle;
    uint8_t low;
};
constexpr Sector sectors[6] = {{2, 1, 0}, {1, 2, 0}, {1, 0, 2}, {0, 1, 2}, {0, 2, 1}, {2, 0, 1}};

void turnPixelBack(uint8_t* pixel, int32_t hue, int32_t turn, int32_t saturation)
{
    const int32_t sector = hue / 60;
    const int32_t turned = hue % 60 + turn;
    const int32_t offset = turned > -60 ? turned : hue % 60;
    const Sector& places = sectors[sector];
    const int32_t high = pixel[places.high];
    int32_t low = pixel[places.low] - high * saturation / 100;
    low = low < 0 ? 0 : low > high ? high : low;
    const int32_t depth = sector % 2 ? offset : 60 - offset;
    pixel[places.low] = static_cast<uint8_t>(low);
    pixel[places.middle] = static_cast<uint8_t>(high - (high - low) * depth / 60);
}

void hueAndSaturationBack(uint8_t* dst, const uint8_t* src, const int32_t* hues, int32_t turn,
                          int32_t saturation, size_t count)
{
    for (; count > 0; --count, dst += 4, src += 4) {
        const int32_t hue = hues[(src[2] - src[1]) * 511 + (src[2] - src[0])];
        storeWord(dst, loadWord(src));
        if (hue < 360)
            turnPixelBack(dst, hue, turn, saturation);
    }
}

} // namespace tone

} // namespace

constinit const ToneKernels toneKernels{
    .curve = tone::curve<true>,
    .curveIntoNew = tone::curve<false>,
    .hueAndSaturation = tone::hueAndSaturation,
    .hueAndSaturationBack = tone::hueAndSaturationBack,
};

} // namespace quib::QUIB_LEVEL
