// Looking the weights up takes twice as long as computing them: the table does not
// fit in the first cache, and gathers are slow.
namespace
{
namespace compose
{

constexpr size_t groupVectors = 4;
constexpr size_t groupBytes = groupVectors * wide;

constexpr uint32_t alphaMask = 0xFF000000u;

U32<> load(const uint8_t* pixels)
{
    return quib::QUIB_LEVEL::load<U32<>>(pixels);
}

// A float below 2^22 plus this has the float's nearest integer in its low bits.
constexpr float toInteger = 12582912.0f; // 1.5 * 2^23

// The colour weights and alphas of a vector of pixels, plus toInteger.
struct Mix {
    F32<> weight;
    F32<> alpha;
};

// With o and u the alphas over and under, the result's alpha is
// cover = o + u - o * u / 255, and the weight 255 * o / cover. Both forms round
// to the table's values for all 65536 pairs: the constants lie one step above
// 255 and 255 squared so that exact halves round up. Where both alphas are 0
// the weight is not a number, whose low bits are 0.
Mix mixOf(U32<> s, U32<> d)
{
    const F32<> over = toFloats(as<I32<>>(s >> 24));
#if defined(QUIB_WIDE_VECTORS)
    const F32<> under = toFloats(as<I32<>>(d >> 24));
    const F32<> lack = fusedRest(over, spread<F32<>>(1.0f / 255), spread<F32<>>(1.0f));
    const F32<> cover = fusedSum(under, lack, over);
    const F32<> scale = 255.00001526f / cover;
    return {fusedSum(over, scale, spread<F32<>>(toInteger)), cover + toInteger};
#else
    const U16<> bothLack = as<U16<>>(s >> 24 ^ 255) * as<U16<>>(~d >> 24);
    const F32<> cover = toFloats(as<I32<>>(65025 - as<U32<>>(bothLack))); // times 255
    return {over * 65025.00390625f / cover + toInteger, cover * (1.0f / 255) + toInteger};
#endif
}

// The products of differences and weights need their low 16 bits only: the
// upper byte of these is added to the colour, and what it carries is dropped.
// The fourth byte is blended like a colour.
U8<> blendBytes(U32<> s, U32<> d, U16<> weight)
{
    const U16<> source = as<U16<>>(s);
    const U16<> under = as<U16<>>(d);
    const U16<> even = ((source & 0xFF) - (under & 0xFF)) * weight >> 8;
    const U16<> odd = ((source >> 8) - (under >> 8)) * weight;
    return as<U8<>>(d) + mix<0, 1>(as<U8<>>(even), as<U8<>>(odd));
}

// The low half of each word, in both of its halves.
U16<> spreadLowHalves(U32<> words)
{
    return inGroups<0, 0>(as<U16<>>(words));
}

U32<> withAlpha(U32<> colours, U32<> alpha)
{
    return as<U32<>>(mix<0, 0, 0, 1>(as<U8<>>(colours), as<U8<>>(alpha)));
}

U32<> blendPixels(U32<> s, U32<> d, const Mix& mixed)
{
    const U16<> weight = spreadLowHalves(as<U32<>>(mixed.weight));
    return withAlpha(as<U32<>>(blendBytes(s, d, weight)), as<U32<>>(mixed.alpha) << 24);
}

U32<> blendByAlpha(U32<> s, U32<> d)
{
    return as<U32<>>(blendBytes(s, d, spreadLowHalves(s >> 24)));
}

// The same for opaque pixels of s, whose weight is 255: one less than s where s
// is the larger.
U32<> coverPixels(U32<> s, U32<> d)
{
    const U8<> larger = as<U8<>>(as<U8<>>(s) > as<U8<>>(d));
    return as<U32<>>(as<U8<>>(s) + larger) | alphaMask;
}

inline void alphaBlendGroup(uint8_t* target, const uint8_t* under, const uint8_t* over)
{
    for (size_t i = 0; i < groupBytes; i += wide)
        store(target + i, blendByAlpha(load(over + i), load(under + i)) | alphaMask);
}

inline void pairBlendGroup(uint8_t* target, const uint8_t* under, const uint8_t* over)
{
    U32<> s[groupVectors];
    for (size_t i = 0; i < groupVectors; ++i)
        s[i] = load(over + i * wide);
    if (isZero((s[0] | s[1] | s[2] | s[3]) & alphaMask)) {
        if (target != under)
            for (size_t i = 0; i < groupBytes; i += wide)
                store(target + i, load(under + i));
        return;
    }
    if (isZero(~(s[0] & s[1] & s[2] & s[3]) & alphaMask)) {
        for (size_t i = 0; i < groupVectors; ++i)
            store(target + i * wide, coverPixels(s[i], load(under + i * wide)));
        return;
    }
    U32<> opaque = load(under);
    for (size_t i = 1; i < groupVectors; ++i)
        opaque &= load(under + i * wide);
    // Over opaque pixels the weight is over's alpha, for each of its values.
    if (isZero(~opaque & alphaMask)) {
        alphaBlendGroup(target, under, over);
        return;
    }
    // In two passes, so that the divisions do not hold up what follows them.
    Mix mixes[groupVectors];
    for (size_t i = 0; i < groupVectors; ++i)
        mixes[i] = mixOf(s[i], load(under + i * wide));
    for (size_t i = 0; i < groupVectors; ++i)
        store(target + i * wide, blendPixels(s[i], load(under + i * wide), mixes[i]));
}

inline void colourBlendGroup(uint8_t* target, const uint8_t* under, const uint8_t* over)
{
    for (size_t i = 0; i < groupBytes; i += wide) {
        const U32<> blended = blendByAlpha(load(over + i), load(under + i));
        store(target + i, withAlpha(blended, load(target + i)));
    }
}

// The processor looks ahead only to the end of a page, and not far enough for
// three rows at once.
void prefetchGroup(const uint8_t* target, const uint8_t* under, const uint8_t* over)
{
    constexpr size_t ahead = 2048;
    for (size_t line = ahead; line < ahead + groupBytes; line += 64) {
        __builtin_prefetch(over + line);
        __builtin_prefetch(under + line);
        __builtin_prefetch(target + line, 1);
    }
}

// Calls group() along a row, for the last few pixels with copies of them.
template<void (*group)(uint8_t* target, const uint8_t* under, const uint8_t* over)>
void forEachGroup(uint8_t* target, const uint8_t* under, const uint8_t* over, size_t count)
{
    size_t bytes = count * 4;
    for (; bytes >= groupBytes; bytes -= groupBytes) {
        prefetchGroup(target, under, over);
        group(target, under, over);
        target += groupBytes;
        under += groupBytes;
        over += groupBytes;
    }
    if (bytes == 0)
        return;
    uint8_t targetRest[groupBytes] = {};
    uint8_t underRest[groupBytes] = {};
    uint8_t overRest[groupBytes] = {};
    __builtin_memcpy(targetRest, target, bytes);
    __builtin_memcpy(underRest, under, bytes);
    __builtin_memcpy(overRest, over, bytes);
    group(targetRest, underRest, overRest);
    __builtin_memcpy(target, targetRest, bytes);
}

} // namespace compose

constexpr ComposeKernels composeKernels{
    .pairBlend = compose::forEachGroup<compose::pairBlendGroup>,
    .alphaBlend = compose::forEachGroup<compose::alphaBlendGroup>,
    .colourBlend = compose::forEachGroup<compose::colourBlendGroup>,
};

} // namespace
