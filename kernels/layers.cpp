#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

// Looking the weights up takes twice as long as computing them: the table does not
// fit in the first cache, and gathers are slow.
namespace
{
namespace layers
{

// So much is computed for each pixel that the longest vectors pay.
using Pixels = U32<longest>;
using Words = U16<longest>;
using Bytes = U8<longest>;
using Ints = I32<longest>;
using Floats = F32<longest>;

constexpr size_t groupBytes = 4 * wide;

constexpr uint32_t alphaMask = 0xFF000000u;

Pixels load(const uint8_t* pixels)
{
    return quib::QUIB_LEVEL::load<Pixels>(pixels);
}

template<bool streamed>
void put(uint8_t* target, Pixels pixels)
{
    if constexpr (streamed)
        stream(target, pixels);
    else
        store(target, pixels);
}

// A float below 2^22 plus this has the float's nearest integer in its low bits.
constexpr float toInteger = 12582912.0f; // 1.5 * 2^23

// What a vector of pixels mixes by, plus toInteger: the colours' weights, and
// what is added to the alphas under.
struct Mix {
    Floats weight;
    Floats more;
};

// With o and u the alphas over and under, the result's alpha is
// cover = o + u - o * u / 255, and the weight 255 * o / cover. Both forms round
// to the table's values for all 65536 pairs: the constants lie one step above
// 255 and 255 squared so that exact halves round up. Where both alphas are 0
// the weight is not a number, whose low bits are 0.
Mix mixOf(Pixels s, Pixels d)
{
    const Floats over = toFloats(as<Ints>(s >> 24));
#if defined(QUIB_WIDE_VECTORS)
    const Floats under = toFloats(as<Ints>(d >> 24));
    const Floats lack = fusedRest(under, spread<Floats>(1.0f / 255), spread<Floats>(1.0f));
    const Floats cover = fusedSum(over, lack, under);
    const Floats scale = 255.00001526f / cover;
    return {fusedSum(over, scale, spread<Floats>(toInteger)),
            fusedSum(over, lack, spread<Floats>(toInteger))};
#else
    const Words bothLack = as<Words>(s >> 24 ^ 255) * as<Words>(~d >> 24);
    const Floats cover = toFloats(as<Ints>(65025 - as<Pixels>(bothLack))); // times 255
    const Floats alpha = cover * (1.0f / 255) + toInteger;
    return {over * 65025.00390625f / cover + toInteger, as<Floats>(as<Pixels>(alpha) - (d >> 24))};
#endif
}

// The low half of each word, in both of its halves.
Words spreadLowHalves(Pixels words)
{
    return inGroups<0, 0>(as<Words>(words));
}

// The products of differences and weights need their low 16 bits only: the
// upper byte of these is added to the colour, and what it carries is dropped.
// Of bytes 0 and 2, and of bytes 1 and 3:
Pixels evenProducts(Words s, Words d, Words weight)
{
    return as<Pixels>(((s & 0xFF) - (d & 0xFF)) * weight >> 8);
}

Pixels oddProducts(Words s, Words d, Words weight)
{
    return as<Pixels>(((s >> 8) - (d >> 8)) * weight);
}

Pixels blendPixels(Pixels s, Pixels d, const Mix& mixed)
{
    const Words weight = spreadLowHalves(as<Pixels>(mixed.weight));
    const Pixels even = evenProducts(as<Words>(s), as<Words>(d), weight);
    const Pixels odd = oddProducts(as<Words>(s), as<Words>(d), weight);
    const Pixels more = withBits(even, odd, 0xFF00u) | as<Pixels>(mixed.more) << 24;
    return as<Pixels>(as<Bytes>(d) + as<Bytes>(more));
}

Pixels withAlpha(Pixels colours, Pixels alpha)
{
    return (colours & ~alphaMask) | (alpha & alphaMask);
}

// The fourth byte is blended like a colour.
Bytes blendBytes(Pixels s, Pixels d, Words weight)
{
    const Pixels even = evenProducts(as<Words>(s), as<Words>(d), weight);
    const Pixels odd = oddProducts(as<Words>(s), as<Words>(d), weight);
    return as<Bytes>(d) + as<Bytes>(withBits(even, odd, 0xFF00FF00u));
}

Pixels blendByAlpha(Pixels s, Pixels d)
{
    return as<Pixels>(blendBytes(s, d, spreadLowHalves(s >> 24)));
}

// The same for opaque pixels of s, whose weight is 255: one less than s where s
// is the larger.
Pixels coverPixels(Pixels s, Pixels d)
{
    const Bytes larger = as<Bytes>(as<Bytes>(s) > as<Bytes>(d));
    return as<Pixels>(as<Bytes>(s) + larger) | alphaMask;
}

// A blend's group() makes groupBytes of a row.
struct AlphaBlend {
    template<bool streamed>
    static void group(uint8_t* target, const uint8_t* under, const uint8_t* over)
    {
        for (size_t i = 0; i < groupBytes; i += longest)
            put<streamed>(target + i, blendByAlpha(load(over + i), load(under + i)) | alphaMask);
    }
};

struct ColourBlend {
    template<bool streamed>
    static void group(uint8_t* target, const uint8_t* under, const uint8_t* over)
    {
        for (size_t i = 0; i < groupBytes; i += longest) {
            const Pixels blended = blendByAlpha(load(over + i), load(under + i));
            put<streamed>(target + i, withAlpha(blended, load(target + i)));
        }
    }
};

bool areOpaque(const uint8_t* pixels)
{
    Pixels all = load(pixels);
    for (size_t i = longest; i < groupBytes; i += longest)
        all &= load(pixels + i);
    return isZero(~all & alphaMask);
}

bool areTransparent(const uint8_t* pixels)
{
    Pixels any = load(pixels);
    for (size_t i = longest; i < groupBytes; i += longest)
        any |= load(pixels + i);
    return isZero(any & alphaMask);
}

// Groups of which all pixels are transparent, or opaque over or under, take
// fewer steps; false for others. The first pixel tells of most that they are none;
// in place, transparent ones are not even read.
template<bool streamed>
bool pairBlendEvenGroup(uint8_t* target, const uint8_t* under, const uint8_t* over)
{
    if (over[3] == 0 && areTransparent(over)) {
        if (target != under)
            for (size_t i = 0; i < groupBytes; i += longest)
                put<streamed>(target + i, load(under + i));
        return true;
    }
    if (over[3] == 255 && areOpaque(over)) {
        for (size_t i = 0; i < groupBytes; i += longest)
            put<streamed>(target + i, coverPixels(load(over + i), load(under + i)));
        return true;
    }
    // Over opaque pixels the weight is over's alpha, for each of its values.
    if (under[3] == 255 && areOpaque(under)) {
        AlphaBlend::group<streamed>(target, under, over);
        return true;
    }
    return false;
}

struct PairBlend {
    template<bool streamed>
    static void group(uint8_t* target, const uint8_t* under, const uint8_t* over)
    {
        if (pairBlendEvenGroup<streamed>(target, under, over))
            return;
        for (size_t i = 0; i < groupBytes; i += longest) {
            const Pixels s = load(over + i);
            const Pixels d = load(under + i);
            put<streamed>(target + i, blendPixels(s, d, mixOf(s, d)));
        }
    }
};

// The processor looks ahead only to the end of a page, and not far enough for
// three rows at once.
template<bool streamed>
void prefetchGroup(const uint8_t* target, const uint8_t* under, const uint8_t* over)
{
    constexpr size_t ahead = 2048;
    for (size_t line = ahead; line < ahead + groupBytes; line += 64) {
        __builtin_prefetch(over + line);
        __builtin_prefetch(under + line);
        if (!streamed)
            __builtin_prefetch(target + line, 1);
    }
}

// Less than a group, by copies of the pixels.
template<class Blend>
void blendFew(uint8_t* target, const uint8_t* under, const uint8_t* over, size_t bytes)
{
    if (bytes == 0)
        return;
    uint8_t targetRest[groupBytes] = {};
    uint8_t underRest[groupBytes] = {};
    uint8_t overRest[groupBytes] = {};
    __builtin_memcpy(targetRest, target, bytes);
    __builtin_memcpy(underRest, under, bytes);
    __builtin_memcpy(overRest, over, bytes);
    Blend::template group<false>(targetRest, underRest, overRest);
    __builtin_memcpy(target, targetRest, bytes);
}

template<class Blend, bool streamed>
void blendGroups(uint8_t* target, const uint8_t* under, const uint8_t* over, size_t bytes)
{
    size_t i = 0;
    for (; i + groupBytes <= bytes; i += groupBytes) {
        prefetchGroup<streamed>(target + i, under + i, over + i);
        Blend::template group<streamed>(target + i, under + i, over + i);
    }
    if (streamed)
        endStreaming();
    blendFew<Blend>(target + i, under + i, over + i, bytes - i);
}

// What lies before the first whole vector of the target, in long rows.
size_t bytesToAlignment(const uint8_t* target, size_t bytes)
{
    const size_t lead = (0 - reinterpret_cast<uintptr_t>(target)) % longest;
    return bytes >= 4096 && lead % 4 == 0 ? lead : 0;
}

template<class Blend>
void blendRow(uint8_t* target, const uint8_t* under, const uint8_t* over, size_t count)
{
    const size_t lead = bytesToAlignment(target, count * 4);
    blendFew<Blend>(target, under, over, lead);
    target += lead;
    under += lead;
    over += lead;
    const size_t bytes = count * 4 - lead;
    if (isStreamed<longest>(target, under, over, bytes))
        blendGroups<Blend, true>(target, under, over, bytes);
    else
        blendGroups<Blend, false>(target, under, over, bytes);
}

// Reads the target, whose lines are then in the caches.
void colourBlendRow(uint8_t* target, const uint8_t* under, const uint8_t* over, size_t count)
{
    blendGroups<ColourBlend, false>(target, under, over, count * 4);
}

} // namespace layers

} // namespace

constinit const LayerKernels layerKernels{
    .pairBlend = layers::blendRow<layers::PairBlend>,
    .alphaBlend = layers::blendRow<layers::AlphaBlend>,
    .colourBlend = layers::colourBlendRow,
};

} // namespace quib::QUIB_LEVEL
