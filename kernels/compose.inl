// Written with the compiler's vector types: it finds no good vectors for the
// weights by itself. Looking the weights up takes twice as long as this: the
// table does not fit in the first cache, and gathers are slow.
namespace
{
namespace compose
{

#if defined(__AVX2__)
constexpr size_t vectorBytes = 32;
#else
constexpr size_t vectorBytes = 16;
#endif
constexpr size_t groupVectors = 4;
constexpr size_t groupBytes = groupVectors * vectorBytes;

using Bytes = uint8_t __attribute__((vector_size(vectorBytes)));
using Halves = uint16_t __attribute__((vector_size(vectorBytes)));
using Words = uint32_t __attribute__((vector_size(vectorBytes)));
using Ints = int32_t __attribute__((vector_size(vectorBytes)));
using Floats = float __attribute__((vector_size(vectorBytes)));

constexpr uint32_t alphaMask = 0xFF000000u;

inline Words load(const uint8_t* pixels)
{
    Words words;
    __builtin_memcpy(&words, pixels, vectorBytes);
    return words;
}

inline void store(uint8_t* pixels, Words words)
{
    __builtin_memcpy(pixels, &words, vectorBytes);
}

inline bool isZero(Words words)
{
#if defined(__AVX2__)
    return _mm256_testz_si256((__m256i)words, (__m256i)words);
#else
    uint64_t parts[vectorBytes / 8];
    __builtin_memcpy(parts, &words, vectorBytes);
    return (parts[0] | parts[1]) == 0;
#endif
}

// The low half of each word, in both of its halves.
inline Halves spreadLowHalves(Words words)
{
    const Halves halves = (Halves)words;
#if defined(__AVX2__)
    return __builtin_shufflevector(halves, halves, 0, 0, 2, 2, 4, 4, 6, 6, 8, 8, 10, 10, 12, 12, 14,
                                   14);
#else
    return __builtin_shufflevector(halves, halves, 0, 0, 2, 2, 4, 4, 6, 6);
#endif
}

// A float below 2^22 plus this has the float's nearest integer in its low bits.
constexpr float toInteger = 12582912.0f; // 1.5 * 2^23

// The colour weights and alphas of a vector of pixels, plus toInteger.
struct Mix {
    Floats weight;
    Floats alpha;
};

// With o and u the alphas over and under, the result's alpha is
// cover = o + u - o * u / 255, and the weight 255 * o / cover. Both forms round
// to the table's values for all 65536 pairs: the constants lie one step above
// 255 and 255 squared so that exact halves round up. Where both alphas are 0
// the weight is not a number, whose low bits are 0.
inline Mix mixOf(Words s, Words d)
{
#if defined(__FMA__) && defined(__AVX2__)
    const __m256 over = _mm256_cvtepi32_ps((__m256i)(s >> 24));
    const __m256 under = _mm256_cvtepi32_ps((__m256i)(d >> 24));
    const __m256 lack = _mm256_fnmadd_ps(over, _mm256_set1_ps(1.0f / 255), _mm256_set1_ps(1.0f));
    const __m256 cover = _mm256_fmadd_ps(under, lack, over);
    const __m256 scale = _mm256_set1_ps(255.00001526f) / cover;
    const __m256 weight = _mm256_fmadd_ps(over, scale, _mm256_set1_ps(toInteger));
    return {(Floats)weight, (Floats)cover + toInteger};
#else
    const Words over = s >> 24;
    const Words bothLack = (Words)((Halves)(over ^ 255) * (Halves)(~d >> 24));
    const Floats cover = __builtin_convertvector((Ints)(65025 - bothLack), Floats); // times 255
    const Floats weight = __builtin_convertvector((Ints)over, Floats) * 65025.00390625f / cover;
    return {weight + toInteger, cover * (1.0f / 255) + toInteger};
#endif
}

// The products of differences and weights need their low 16 bits only: the
// upper byte of these is added to the colour, and what it carries is dropped.
// The fourth byte is blended like a colour.
inline Bytes blendBytes(Words s, Words d, Halves weight)
{
    const Halves even = (((Halves)s & 0xFF) - ((Halves)d & 0xFF)) * weight >> 8;
    const Halves odd = (((Halves)s >> 8) - ((Halves)d >> 8)) * weight;
    const Bytes isOdd = (Bytes)(Halves{} + 0xFF00);
    return (Bytes)d + (isOdd ? (Bytes)odd : (Bytes)even);
}

inline Words withAlpha(Words colours, Words alpha)
{
    const Bytes isAlpha = (Bytes)(Words{} + alphaMask);
    return (Words)(isAlpha ? (Bytes)alpha : (Bytes)colours);
}

inline Words blendPixels(Words s, Words d, const Mix& mix)
{
    const Halves weight = spreadLowHalves((Words)mix.weight);
    return withAlpha((Words)blendBytes(s, d, weight), (Words)mix.alpha << 24);
}

inline Words blendByAlpha(Words s, Words d)
{
    return (Words)blendBytes(s, d, spreadLowHalves(s >> 24));
}

// The same for opaque pixels of s, whose weight is 255: one less than s where s
// is the larger.
inline Words coverPixels(Words s, Words d)
{
    return (Words)((Bytes)s + (Bytes)((Bytes)s > (Bytes)d)) | alphaMask;
}

inline void alphaBlendGroup(uint8_t* target, const uint8_t* under, const uint8_t* over)
{
    for (size_t i = 0; i < groupBytes; i += vectorBytes)
        store(target + i, blendByAlpha(load(over + i), load(under + i)) | alphaMask);
}

inline void pairBlendGroup(uint8_t* target, const uint8_t* under, const uint8_t* over)
{
    Words s[groupVectors];
    for (size_t i = 0; i < groupVectors; ++i)
        s[i] = load(over + i * vectorBytes);
    if (isZero((s[0] | s[1] | s[2] | s[3]) & alphaMask)) {
        if (target != under)
            for (size_t i = 0; i < groupBytes; i += vectorBytes)
                store(target + i, load(under + i));
        return;
    }
    if (isZero(~(s[0] & s[1] & s[2] & s[3]) & alphaMask)) {
        for (size_t i = 0; i < groupVectors; ++i)
            store(target + i * vectorBytes, coverPixels(s[i], load(under + i * vectorBytes)));
        return;
    }
    Words opaque = load(under);
    for (size_t i = 1; i < groupVectors; ++i)
        opaque &= load(under + i * vectorBytes);
    // Over opaque pixels the weight is over's alpha, for each of its values.
    if (isZero(~opaque & alphaMask)) {
        alphaBlendGroup(target, under, over);
        return;
    }
    // In two passes, so that the divisions do not hold up what follows them.
    Mix mixes[groupVectors];
    for (size_t i = 0; i < groupVectors; ++i)
        mixes[i] = mixOf(s[i], load(under + i * vectorBytes));
    for (size_t i = 0; i < groupVectors; ++i)
        store(target + i * vectorBytes, blendPixels(s[i], load(under + i * vectorBytes), mixes[i]));
}

inline void colourBlendGroup(uint8_t* target, const uint8_t* under, const uint8_t* over)
{
    for (size_t i = 0; i < groupBytes; i += vectorBytes) {
        const Words blended = blendByAlpha(load(over + i), load(under + i));
        store(target + i, withAlpha(blended, load(target + i)));
    }
}

// Calls group() along a row, for the last few pixels with copies of them.
template<void (*group)(uint8_t* target, const uint8_t* under, const uint8_t* over)>
void forEachGroup(uint8_t* target, const uint8_t* under, const uint8_t* over, size_t count)
{
    size_t bytes = count * 4;
    for (; bytes >= groupBytes; bytes -= groupBytes) {
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
    compose::forEachGroup<compose::pairBlendGroup>,
    compose::forEachGroup<compose::alphaBlendGroup>,
    compose::forEachGroup<compose::colourBlendGroup>,
};

} // namespace
