// The vectors that the kernels are written in.
//
// How a kernel is written. A body is a loop over a row in the words of this
// file: it loads vectors, computes with operators and the functions below, and
// stores. It names no processor: where a processor has an instruction for a
// function, its form stands here, under the plain one that holds everywhere.
// A body that is to be as wide as its level uses vectors of `wide` bytes, or of
// `longest` where that is measured to pay; the ends of rows are made by scalars,
// or by copies of a last vector. Nothing calls an inline function of a library
// header: the linker could keep a copy that is made for a level which the
// processor lacks.
//
// How it is judged. All levels give the same bytes: a test compares each level
// with a plain form that is written for the test. Floating point has no fused
// operations and no approximations, unless every value that can occur is known to
// come out the same. A benchmark shows what the vectors gain, on rows that lie in
// the caches and on rows that do not; what gains nothing is left to the compiler.
//
// How a level is added. A value of KernelLevel; its flags in
// cmake/QuibCompile.cmake; the features that those flags permit, asked for in
// choose.cpp; its name in kernels/CMakeLists.txt and tests/kernels/levels_test.cpp.
// For another family of processors, forms beside those for SSE2 and NEON here, for
// the functions that its compiler makes badly; a test compares each of them with
// plain arithmetic.
//
// Operators compute lane by lane, modulo the lane's size; a comparison gives a
// mask, whose lanes are all ones or 0. "Part" means 16 bytes: some functions
// work within each part, as the processors do, and their inverses do too.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <immintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace quib::QUIB_LEVEL
{

namespace
{

#define QUIB_INLINE [[gnu::always_inline]] inline

#if defined(QUIB_PLAIN_VECTORS)
// The plain forms, whatever the processor, for a test.
#elif defined(__AVX2__)
#define QUIB_HAS_AVX2 1
#define QUIB_HAS_SSE2 1
#elif defined(__SSE2__)
#define QUIB_HAS_SSE2 1
#elif defined(__aarch64__)
#define QUIB_HAS_NEON 1
#endif

// --- Types ---------------------------------------------------------------------------

#if defined(QUIB_HAS_AVX2)
#define QUIB_WIDE_VECTORS 1
constexpr size_t wide = 32;
#else
constexpr size_t wide = 16;
#endif

// For kernels that compute much for each element.
#if defined(QUIB_HAS_AVX2) && defined(__AVX512BW__)
constexpr size_t longest = 64;
#else
constexpr size_t longest = wide;
#endif

template<class T, size_t bytes>
struct VectorType {
    typedef T Type __attribute__((vector_size(bytes)));
};

template<class T, size_t bytes = wide>
using Vector = typename VectorType<T, bytes>::Type;

template<size_t bytes = wide>
using U8 = Vector<uint8_t, bytes>;
template<size_t bytes = wide>
using I8 = Vector<int8_t, bytes>;
template<size_t bytes = wide>
using U16 = Vector<uint16_t, bytes>;
template<size_t bytes = wide>
using I16 = Vector<int16_t, bytes>;
template<size_t bytes = wide>
using U32 = Vector<uint32_t, bytes>;
template<size_t bytes = wide>
using I32 = Vector<int32_t, bytes>;
template<size_t bytes = wide>
using U64 = Vector<uint64_t, bytes>;
template<size_t bytes = wide>
using F32 = Vector<float, bytes>;
template<size_t bytes = wide>
using F64 = Vector<double, bytes>;

template<class T>
struct NoReference {
    using Type = T;
};
template<class T>
struct NoReference<T&> {
    using Type = T;
};
template<class T>
struct NoReference<T&&> {
    using Type = T;
};

template<class V>
using LaneOf = typename NoReference<decltype(V{}[0])>::Type;

template<class V>
constexpr size_t lanesOf = sizeof(V) / sizeof(LaneOf<V>);

template<class A, class B>
constexpr bool isSame = false;
template<class A>
constexpr bool isSame<A, A> = true;

template<class V, class T>
constexpr bool hasLanes = isSame<LaneOf<V>, T>;

// A vector of the same size with other lanes.
template<class T, class V>
using WithLanes = Vector<T, sizeof(V)>;

// The same bits as another type.
template<class To, class V>
QUIB_INLINE To as(V v)
{
    return (To)v;
}

// QUIB_FORM(V, operation, arguments...) returns what the instruction of V's size
// makes of the arguments; QUIB_REGISTER is a vector as its intrinsics take it.
#if defined(QUIB_HAS_AVX2)
#if defined(__AVX512BW__)
#define QUIB_FORM(V, operation, ...)                                                               \
    if constexpr (sizeof(V) == 64)                                                                 \
        return (V)_mm512_##operation(__VA_ARGS__);                                                 \
    else if constexpr (sizeof(V) == 32)                                                            \
        return (V)_mm256_##operation(__VA_ARGS__);                                                 \
    else                                                                                           \
        return (V)_mm_##operation(__VA_ARGS__)
#else
#define QUIB_FORM(V, operation, ...)                                                               \
    if constexpr (sizeof(V) == 32)                                                                 \
        return (V)_mm256_##operation(__VA_ARGS__);                                                 \
    else                                                                                           \
        return (V)_mm_##operation(__VA_ARGS__)
#endif
#elif defined(QUIB_HAS_SSE2)
#define QUIB_FORM(V, operation, ...) return (V)_mm_##operation(__VA_ARGS__)
#elif defined(QUIB_HAS_NEON)
// What NEON's operation makes of the arguments, for lanes like V's of 8 or 16 bits.
#define QUIB_FORM_OF_LANES(V, operation, ...)                                                      \
    if constexpr (hasLanes<V, uint8_t>)                                                            \
        return (V)operation##_u8(__VA_ARGS__);                                                     \
    else if constexpr (hasLanes<V, int8_t>)                                                        \
        return (V)operation##_s8(__VA_ARGS__);                                                     \
    else if constexpr (hasLanes<V, uint16_t>)                                                      \
        return (V)operation##_u16(__VA_ARGS__);                                                    \
    else                                                                                           \
        return (V)operation##_s16(__VA_ARGS__)
#endif
#define QUIB_REGISTER(v) ((Vector<long long, sizeof(v)>)(v))

// --- Memory --------------------------------------------------------------------------

QUIB_INLINE uint32_t loadWord(const void* address)
{
    uint32_t word;
    __builtin_memcpy(&word, address, 4);
    return word;
}

QUIB_INLINE void storeWord(void* address, uint32_t word)
{
    __builtin_memcpy(address, &word, 4);
}

// The `count` (1 to 8) bits from bit `start` on, first in a byte; what follows
// them is undefined. Touches no byte that holds none of them.
QUIB_INLINE uint32_t loadBits(const uint8_t* bytes, size_t start, size_t count)
{
    const uint8_t* byte = bytes + (start >> 3);
    const size_t offset = start & 7;
    uint32_t pair = static_cast<uint32_t>(byte[0]) << 8;
    if (offset + count > 8)
        pair |= byte[1];
    return pair << offset >> 8 & 0xFF;
}

// No address needs alignment.
template<class V>
QUIB_INLINE V load(const void* address)
{
    V v;
    __builtin_memcpy(&v, address, sizeof v);
    return v;
}

template<class V>
QUIB_INLINE void store(void* address, V v)
{
    __builtin_memcpy(address, &v, sizeof v);
}

// The first 8 bytes of a vector of 16; a load sets the others to 0.
template<class V>
QUIB_INLINE V loadHalf(const void* address)
{
    static_assert(sizeof(V) == 16);
#if defined(QUIB_HAS_SSE2)
    return (V)_mm_loadl_epi64(static_cast<const __m128i*>(address));
#else
    U64<16> v{};
    __builtin_memcpy(&v, address, 8);
    return (V)v;
#endif
}

template<class V>
QUIB_INLINE void storeHalf(void* address, V v)
{
    static_assert(sizeof(V) == 16);
    const uint64_t half = as<U64<16>>(v)[0];
    __builtin_memcpy(address, &half, 8);
}

// 8 bytes from each of two addresses.
template<class V>
QUIB_INLINE V loadHalves(const void* low, const void* high)
{
    static_assert(sizeof(V) == 16);
#if defined(QUIB_HAS_SSE2)
    const __m128d first = _mm_castsi128_pd(_mm_loadl_epi64(static_cast<const __m128i*>(low)));
    return (V)_mm_loadh_pd(first, static_cast<const double*>(high));
#else
    U64<16> v;
    __builtin_memcpy(&v, low, 8);
    __builtin_memcpy(reinterpret_cast<uint8_t*>(&v) + 8, high, 8);
    return (V)v;
#endif
}

// To an aligned address, past the caches; endStreaming() must follow.
template<class V>
QUIB_INLINE void stream(void* address, V v)
{
#if defined(QUIB_HAS_AVX2) && defined(__AVX512BW__)
    if constexpr (sizeof(V) == 64)
        return _mm512_stream_si512(static_cast<__m512i*>(address), (__m512i)v);
#endif
#if defined(QUIB_HAS_AVX2)
    if constexpr (sizeof(V) == 32)
        return _mm256_stream_si256(static_cast<__m256i*>(address), (__m256i)v);
#endif
#if defined(QUIB_HAS_SSE2)
    if constexpr (sizeof(V) == 16)
        return _mm_stream_si128(static_cast<__m128i*>(address), (__m128i)v);
#endif
    store(address, v);
}

QUIB_INLINE void endStreaming()
{
#if defined(QUIB_HAS_SSE2)
    _mm_sfence();
#endif
}

// Results that would push each other out of the caches go past them, so that
// their lines need not be read first. This takes a quarter off a sum of two
// large pictures, and the next operation loses less than that by reading them.
template<size_t alignment>
QUIB_INLINE bool isStreamed(const void* out, const void* x, const void* y, size_t bytes)
{
    return bytes >= size_t{4} << 20 && out != x && out != y &&
           reinterpret_cast<uintptr_t>(out) % alignment == 0;
}

// Long fills of words by the processor's own loop: it takes longer to begin, but does
// not read the lines that it overwrites. False where there is none that pays.
QUIB_INLINE bool fillByString([[maybe_unused]] void* dst, [[maybe_unused]] uint32_t value,
                              [[maybe_unused]] size_t count)
{
#if defined(__x86_64__) || defined(__i386__)
    if (count >= size_t{1} << 18) {
        asm volatile("rep stosl" : "+D"(dst), "+c"(count) : "a"(value) : "memory");
        return true;
    }
#endif
    return false;
}

// --- Arrangement ---------------------------------------------------------------------

template<size_t... i>
struct Places {
};
template<size_t count, size_t... i>
struct PlacesUpTo : PlacesUpTo<count - 1, count - 1, i...> {
};
template<size_t... i>
struct PlacesUpTo<0, i...> {
    using Type = Places<i...>;
};

template<class Rule, class V, size_t... i>
QUIB_INLINE V rearrange(V a, V b, Places<i...>)
{
    return __builtin_shufflevector(a, b, Rule::of(i, lanesOf<V>)...);
}

// Lane i is lane Rule::of(i, lanes) of a and b, whose lanes count on from a's.
template<class Rule, class V>
QUIB_INLINE V rearrange(V a, V b)
{
    return rearrange<Rule>(a, b, typename PlacesUpTo<lanesOf<V>>::Type{});
}

// All lanes the same.
template<class V>
QUIB_INLINE V spread(LaneOf<V> x)
{
    return x - V{};
}

// 16 bytes in each part.
template<class V>
QUIB_INLINE V spreadPart(WithLanes<LaneOf<V>, U8<16>> part)
{
    if constexpr (sizeof(V) == 16)
        return part;
#if defined(QUIB_HAS_AVX2)
    else if constexpr (sizeof(V) == 32)
        return (V)_mm256_broadcastsi128_si256((__m128i)part);
#endif
#if defined(QUIB_HAS_AVX2) && defined(__AVX512BW__)
    else if constexpr (sizeof(V) == 64)
        return (V)_mm512_maskz_broadcast_i32x4(0xFFFF, (__m128i)part);
#endif
    else {
        V v;
        for (size_t i = 0; i < lanesOf<V>; ++i)
            v[i] = part[i % (16 / sizeof(LaneOf<V>))];
        return v;
    }
}

// a0 b0 a1 b1 ... from the low or the high half of each part.
template<class V>
struct InterleaveRule {
    static constexpr size_t part = 16 / sizeof(LaneOf<V>);
    struct Low {
        static constexpr int of(size_t i, size_t lanes)
        {
            return static_cast<int>(i / part * part + i % part / 2 + i % 2 * lanes);
        }
    };
    struct High {
        static constexpr int of(size_t i, size_t lanes)
        {
            return Low::of(i, lanes) + static_cast<int>(part / 2);
        }
    };
};

template<class V>
QUIB_INLINE V interleaveLow(V a, V b)
{
    return rearrange<typename InterleaveRule<V>::Low>(a, b);
}

template<class V>
QUIB_INLINE V interleaveHigh(V a, V b)
{
    return rearrange<typename InterleaveRule<V>::High>(a, b);
}

// In each part, the lanes of even (odd) places of a, then those of b.
template<class V, size_t first>
struct EverySecondRule {
    static constexpr size_t part = 16 / sizeof(LaneOf<V>);
    static constexpr int of(size_t i, size_t lanes)
    {
        const size_t inPart = i % part * 2 + first;
        return static_cast<int>(i / part * part + inPart % part + inPart / part * lanes);
    }
};

template<class V>
QUIB_INLINE V evenLanes(V a, V b)
{
    return rearrange<EverySecondRule<V, 0>>(a, b);
}

template<class V>
QUIB_INLINE V oddLanes(V a, V b)
{
    return rearrange<EverySecondRule<V, 1>>(a, b);
}

// Each group of sizeof...(place) lanes becomes these of its own lanes:
// inGroups<3, 3, 3, 3>(v) repeats the fourth of each four.
template<size_t... place>
struct GroupRule {
    static constexpr int of(size_t i, size_t)
    {
        constexpr size_t places[] = {place...};
        constexpr size_t size = sizeof...(place);
        return static_cast<int>(i / size * size + places[i % size]);
    }
};

template<size_t... place, class V>
QUIB_INLINE V inGroups(V v)
{
    return rearrange<GroupRule<place...>>(v, v);
}

// In each group of sizeof...(second) lanes, those of a, or of b where it says 1.
template<size_t... second>
struct MixRule {
    static constexpr int of(size_t i, size_t lanes)
    {
        constexpr size_t isSecond[] = {second...};
        return static_cast<int>(i + isSecond[i % sizeof...(second)] * lanes);
    }
};

// As bytes: all ones where the rule takes b.
template<class V, size_t... second>
struct MixMask {
    uint8_t bytes[sizeof(V)];
    constexpr MixMask() : bytes{}
    {
        constexpr size_t isSecond[] = {second...};
        for (size_t i = 0; i < sizeof(V); ++i)
            bytes[i] = isSecond[i / sizeof(LaneOf<V>) % sizeof...(second)] ? 0xFF : 0;
    }
};

template<size_t... second, class V>
QUIB_INLINE V mix(V a, V b)
{
#if defined(QUIB_HAS_AVX2)
    return rearrange<MixRule<second...>>(a, b);
#else
    // A compiler that has no shuffles of bytes would move them one by one.
    using Lanes = WithLanes<uint64_t, V>;
    constexpr MixMask<V, second...> mask;
    const Lanes chosen = load<Lanes>(mask.bytes);
    return as<V>((as<Lanes>(b) & chosen) | (as<Lanes>(a) & ~chosen));
#endif
}

// In each part, the lanes of a from `count` on, then the first `count` of b.
template<class V, size_t count>
struct OnwardRule {
    static constexpr size_t part = 16 / sizeof(LaneOf<V>);
    static constexpr int of(size_t i, size_t lanes)
    {
        const size_t inPart = i % part + count;
        return static_cast<int>(i / part * part + inPart % part + inPart / part * lanes);
    }
};

template<size_t count, class V>
QUIB_INLINE V onward(V a, V b)
{
    return rearrange<OnwardRule<V, count>>(a, b);
}

// Packing works by parts: what stands together in the result comes from one part
// after the other.
template<class V>
struct DealtRule {
    static constexpr size_t parts = sizeof(V) / 16;
    static constexpr int of(size_t i, size_t lanes)
    {
        return static_cast<int>(i % parts * (lanes / parts) + i / parts);
    }
};

// Puts right the order of one pack of two vectors, and of two packs of four.
template<class V>
QUIB_INLINE V inOrderOfPack(V v)
{
    using Units = WithLanes<uint64_t, V>;
    const Units units = as<Units>(v);
    return as<V>(rearrange<DealtRule<Units>>(units, units));
}

template<class V>
QUIB_INLINE V inOrderOfTwoPacks(V v)
{
    using Units = WithLanes<uint32_t, V>;
    const Units units = as<Units>(v);
    return as<V>(rearrange<DealtRule<Units>>(units, units));
}

// The halves of a vector of 32 bytes, and such a vector of two halves.
template<class V>
using HalfOf = Vector<LaneOf<V>, sizeof(V) / 2>;

template<class V>
QUIB_INLINE HalfOf<V> lowHalf(V v)
{
#if defined(QUIB_HAS_AVX2)
    if constexpr (sizeof(V) == 32)
        return (HalfOf<V>)_mm256_castsi256_si128((__m256i)v);
#endif
    HalfOf<V> half;
    __builtin_memcpy(&half, &v, sizeof half);
    return half;
}

template<class V>
QUIB_INLINE HalfOf<V> highHalf(V v)
{
#if defined(QUIB_HAS_AVX2)
    if constexpr (sizeof(V) == 32)
        return (HalfOf<V>)_mm256_extracti128_si256((__m256i)v, 1);
#endif
    HalfOf<V> half;
    __builtin_memcpy(&half, reinterpret_cast<const uint8_t*>(&v) + sizeof half, sizeof half);
    return half;
}

template<class H>
QUIB_INLINE Vector<LaneOf<H>, sizeof(H) * 2> join(H low, H high)
{
    using V = Vector<LaneOf<H>, sizeof(H) * 2>;
#if defined(QUIB_HAS_AVX2)
    if constexpr (sizeof(H) == 16)
        return (V)_mm256_inserti128_si256(_mm256_castsi128_si256((__m128i)low), (__m128i)high, 1);
#endif
    V v;
    __builtin_memcpy(&v, &low, sizeof low);
    __builtin_memcpy(reinterpret_cast<uint8_t*>(&v) + sizeof low, &high, sizeof high);
    return v;
}

// Lanes of 4 or 8 bytes, each from its own number of bytes past `base`. For the
// larger ones loads of their own are faster than what processors have for it, up
// to vectors of 64 bytes.
template<class V>
QUIB_INLINE V gather(const uint8_t* base, const int32_t* offsets)
{
    static_assert(sizeof(LaneOf<V>) == 4 || sizeof(LaneOf<V>) == 8);
#if defined(QUIB_HAS_AVX2)
    if constexpr (sizeof(V) == 32 && sizeof(LaneOf<V>) == 4)
        return (V)_mm256_i32gather_epi32(reinterpret_cast<const int*>(base),
                                         (__m256i)load<I32<32>>(offsets), 1);
#endif
#if defined(QUIB_HAS_AVX2) && defined(__AVX512BW__)
    if constexpr (sizeof(V) == 64 && sizeof(LaneOf<V>) == 8) {
        // Hidden from the compiler, which would otherwise have the processor wait
        // for what the register held before.
        __m512i none = _mm512_setzero_si512();
        __mmask8 all = 0xFF;
        asm("" : "+v"(none), "+Yk"(all));
        return (V)_mm512_mask_i32gather_epi64(none, all, (__m256i)load<I32<32>>(offsets), base, 1);
    }
#endif
    if constexpr (sizeof(V) == 32)
        return join(gather<HalfOf<V>>(base, offsets),
                    gather<HalfOf<V>>(base, offsets + lanesOf<V> / 2));
    else if constexpr (sizeof(V) == 16 && sizeof(LaneOf<V>) == 8)
        return loadHalves<V>(base + offsets[0], base + offsets[1]);
    else if constexpr (sizeof(V) == 16)
        return as<V>(U32<16>{loadWord(base + offsets[0]), loadWord(base + offsets[1]),
                             loadWord(base + offsets[2]), loadWord(base + offsets[3])});
}

// In each part, the bytes at the given places (0 to 15) of it; 0 where a place's
// top bit is set. One instruction only where `looksUpBytes` says so.
#if defined(__SSSE3__) && defined(QUIB_HAS_SSE2) || defined(QUIB_HAS_NEON)
constexpr bool looksUpBytes = true;
#else
constexpr bool looksUpBytes = false;
#endif

template<class V>
QUIB_INLINE V lookUp(V bytes, V places)
{
    static_assert(hasLanes<V, uint8_t>);
#if defined(__SSSE3__) && defined(QUIB_HAS_SSE2)
    QUIB_FORM(V, shuffle_epi8, QUIB_REGISTER(bytes), QUIB_REGISTER(places));
#elif defined(QUIB_HAS_NEON)
    return (V)vqtbl1q_u8(bytes, places & 0x8F); // gives 0 for places past the last
#else
    V found{};
    for (size_t i = 0; i < sizeof(V); ++i)
        found[i] = places[i] & 0x80 ? uint8_t{0} : bytes[i / 16 * 16 + places[i] % 16];
    return found;
#endif
}

// In each part, the lanes of 32 bits at the given places (0 to 3) of it.
template<class V, class P>
QUIB_INLINE V lookUpInParts(V lanes, P places)
{
    static_assert(sizeof(LaneOf<V>) == 4 && sizeof(LaneOf<P>) == 4);
#if defined(QUIB_HAS_AVX2)
    if constexpr (sizeof(V) == 32)
        return (V)_mm256_permutevar_ps((__m256)lanes, (__m256i)places);
    else if constexpr (sizeof(V) == 16)
        return (V)_mm_permutevar_ps((__m128)lanes, (__m128i)places);
#endif
#if defined(QUIB_HAS_NEON)
    const U32<> bytePlaces = (as<U32<>>(places) & 3) * 0x04040404 + 0x03020100;
    return (V)vqtbl1q_u8(as<U8<>>(lanes), as<U8<>>(bytePlaces));
#endif
    V found{};
    for (size_t i = 0; i < lanesOf<V>; ++i)
        found[i] = lanes[i / 4 * 4 + places[i] % 4];
    return found;
}

// --- Choice --------------------------------------------------------------------------

// a where the mask's lane is all ones, b where it is 0.
template<class Mask, class V>
QUIB_INLINE V select(Mask mask, V a, V b)
{
    using Lanes = WithLanes<uint64_t, V>;
#if defined(QUIB_HAS_AVX2)
    if constexpr (sizeof(V) == 32)
        return (V)_mm256_blendv_epi8((__m256i)b, (__m256i)a, (__m256i)mask);
#endif
    const Lanes chosen = as<Lanes>(mask);
    return as<V>((as<Lanes>(a) & chosen) | (as<Lanes>(b) & ~chosen));
}

// The bits of a, and those of b that the mask has.
template<class V>
QUIB_INLINE V withBits(V a, V b, LaneOf<V> mask)
{
#if defined(QUIB_HAS_AVX2) && defined(__AVX512VL__)
    if constexpr (sizeof(V) == 64)
        return (V)_mm512_ternarylogic_epi64((__m512i)b, (__m512i)spread<V>(mask), (__m512i)a, 0xEA);
    else if constexpr (sizeof(V) == 32)
        return (V)_mm256_ternarylogic_epi64((__m256i)b, (__m256i)spread<V>(mask), (__m256i)a, 0xEA);
#endif
    return a | (b & mask);
}

// Of lanes, or of numbers; the second where one is not a number.
template<class V>
QUIB_INLINE V smaller(V a, V b)
{
#if defined(QUIB_HAS_SSE2) && !defined(__SSE4_1__)
    if constexpr (sizeof(V) == 16)
        if constexpr (hasLanes<V, uint16_t>)
            return a - (V)_mm_subs_epu16((__m128i)a, (__m128i)b);
#endif
    return a < b ? a : b;
}

template<class V>
QUIB_INLINE V larger(V a, V b)
{
    return a > b ? a : b;
}

// Whether all bits are 0.
template<class V>
QUIB_INLINE bool isZero(V v)
{
#if defined(QUIB_HAS_AVX2) && defined(__AVX512BW__)
    if constexpr (sizeof(V) == 64)
        return _mm512_test_epi64_mask((__m512i)v, (__m512i)v) == 0;
#endif
#if defined(QUIB_HAS_AVX2)
    if constexpr (sizeof(V) == 32)
        return _mm256_testz_si256((__m256i)v, (__m256i)v);
    else if constexpr (sizeof(V) == 16)
        return _mm_testz_si128((__m128i)v, (__m128i)v);
#endif
    uint64_t all = 0;
    for (size_t i = 0; i < sizeof(V) / 8; ++i)
        all |= as<WithLanes<uint64_t, V>>(v)[i];
    return all == 0;
}

// The bytes' top bits, the first byte's the lowest, for up to 32 bytes.
template<class V>
QUIB_INLINE uint32_t topBits(V v)
{
#if defined(QUIB_HAS_AVX2)
    if constexpr (sizeof(V) == 32)
        return static_cast<uint32_t>(_mm256_movemask_epi8((__m256i)v));
#endif
#if defined(QUIB_HAS_SSE2)
    if constexpr (sizeof(V) == 16)
        return static_cast<uint32_t>(_mm_movemask_epi8((__m128i)v));
#endif
#if defined(QUIB_HAS_NEON)
    if constexpr (sizeof(V) == 16) {
        constexpr I8<16> places{0, 1, 2, 3, 4, 5, 6, 7, 0, 1, 2, 3, 4, 5, 6, 7};
        U8<16> sums = vshlq_u8(as<U8<16>>(v) >> 7, places);
        for (size_t joined = 2; joined <= 8; joined *= 2)
            sums = vpaddq_u8(sums, sums);
        return as<U16<16>>(sums)[0];
    }
#endif
    uint32_t bits = 0;
    for (size_t i = 0; i < sizeof(V); ++i)
        bits |= static_cast<uint32_t>(as<WithLanes<uint8_t, V>>(v)[i] >> 7) << i;
    return bits;
}

// How many lanes are at most `limit`, when none is less than the one before it.
template<class V>
QUIB_INLINE size_t lanesUpTo(V ascending, uint16_t limit)
{
    static_assert(hasLanes<V, uint16_t> && sizeof(V) <= 32);
    const V limits = spread<V>(limit);
#if defined(QUIB_HAS_AVX2) && defined(__AVX512VL__) && defined(__AVX512BW__)
    if constexpr (sizeof(V) == 32)
        return static_cast<size_t>(
            __builtin_popcount(_mm256_cmple_epu16_mask((__m256i)ascending, (__m256i)limits)));
#endif
#if defined(QUIB_HAS_NEON)
    return vaddvq_u16(as<U16<>>(ascending <= limits) >> 15);
#endif
    const uint64_t passed = topBits(as<WithLanes<uint8_t, V>>(ascending <= limits));
    return static_cast<size_t>(__builtin_ctzll(~passed)) / 2;
}

// --- Widening and packing ------------------------------------------------------------

template<class Lane>
struct WidenedLanes;
template<>
struct WidenedLanes<uint8_t> {
    using Type = uint16_t;
};
template<>
struct WidenedLanes<int16_t> {
    using Type = int32_t;
};
template<>
struct WidenedLanes<uint16_t> {
    using Type = uint32_t;
};

// As many bytes in lanes of twice the size.
template<class V>
using Widened = WithLanes<typename WidenedLanes<LaneOf<V>>::Type, V>;

// Unsigned lanes in twice the size, from the low or high half of each part.
template<class V>
QUIB_INLINE Widened<V> widenLow(V v)
{
    static_assert(hasLanes<V, uint8_t> || hasLanes<V, uint16_t>);
#if defined(QUIB_HAS_NEON)
    // Known to the compiler as such, which multiplies and adds in the same step.
    if constexpr (hasLanes<V, uint8_t>)
        return (Widened<V>)vmovl_u8(vget_low_u8(v));
    else
        return (Widened<V>)vmovl_u16(vget_low_u16(v));
#else
    return as<Widened<V>>(interleaveLow(v, V{}));
#endif
}

template<class V>
QUIB_INLINE Widened<V> widenHigh(V v)
{
    static_assert(hasLanes<V, uint8_t> || hasLanes<V, uint16_t>);
#if defined(QUIB_HAS_NEON)
    if constexpr (hasLanes<V, uint8_t>)
        return (Widened<V>)vmovl_high_u8(v);
    else
        return (Widened<V>)vmovl_high_u16(v);
#else
    return as<Widened<V>>(interleaveHigh(v, V{}));
#endif
}

// The first bytes of a vector of 16, as many as To has lanes, in their order.
template<class To>
QUIB_INLINE To widenFirst(U8<16> bytes)
{
    using Lane = LaneOf<To>;
    static_assert(sizeof(Lane) == 2 || sizeof(Lane) == 4);
#if defined(QUIB_HAS_AVX2)
    if constexpr (sizeof(To) == 32 && sizeof(Lane) == 2)
        return (To)_mm256_cvtepu8_epi16((__m128i)bytes);
    else if constexpr (sizeof(To) == 32)
        return (To)_mm256_cvtepu8_epi32((__m128i)bytes);
    else if constexpr (sizeof(Lane) == 2)
        return (To)_mm_cvtepu8_epi16((__m128i)bytes);
    else
        return (To)_mm_cvtepu8_epi32((__m128i)bytes);
#else
    if constexpr (sizeof(To) == 16 && sizeof(Lane) == 2)
        return as<To>(widenLow(bytes));
    else if constexpr (sizeof(To) == 16)
        return as<To>(widenLow(widenLow(bytes)));
    else {
        To words{};
        for (size_t i = 0; i < lanesOf<To>; ++i)
            words[i] = static_cast<Lane>(bytes[i]);
        return words;
    }
#endif
}

// As many integers as To has lanes, of 32 bits.
template<class To, class Element>
QUIB_INLINE To loadWidened(const Element* elements)
{
    static_assert(sizeof(LaneOf<To>) == 4);
#if defined(QUIB_HAS_NEON)
    constexpr bool isSigned = static_cast<Element>(-1) < 0;
    if constexpr (sizeof(Element) == 4)
        return load<To>(elements);
    else if constexpr (sizeof(Element) == 1 && isSigned)
        return (To)vmovl_s16(vget_low_s16(vmovl_s8(vcreate_s8(loadWord(elements)))));
    else if constexpr (sizeof(Element) == 1)
        return (To)vmovl_u16(vget_low_u16(vmovl_u8(vcreate_u8(loadWord(elements)))));
    else if constexpr (isSigned)
        return (To)vmovl_s16(vld1_s16(elements));
    else
        return (To)vmovl_u16(vld1_u16(elements));
#else
    using Narrow = Vector<Element, lanesOf<To> * sizeof(Element)>;
    return __builtin_convertvector(load<Narrow>(elements), To);
#endif
}

// Words cut to bytes, in their order.
template<class V>
QUIB_INLINE Vector<uint8_t, sizeof(V) / 2> cutToU8(V words)
{
    static_assert(hasLanes<V, uint16_t>);
    return __builtin_convertvector(words, Vector<uint8_t, sizeof(V) / 2>);
}

template<class To, class From>
QUIB_INLINE To packPlainly(From low, From high)
{
    constexpr size_t part = 16 / sizeof(LaneOf<From>);
    using Lane = LaneOf<To>;
    constexpr bool isSigned = static_cast<Lane>(-1) < 0;
    constexpr int32_t range = (1 << (8 * sizeof(Lane) - isSigned)) - 1;
    constexpr int32_t least = isSigned ? -range - 1 : 0;
    To packed{};
    for (size_t i = 0; i < lanesOf<To>; ++i) {
        const size_t from = i / (2 * part) * part + i % part;
        const int32_t lane = i / part % 2 ? high[from] : low[from];
        packed[i] = static_cast<Lane>(lane < least ? least : lane > range ? range : lane);
    }
    return packed;
}

// Signed lanes saturated to half their size; in each part, those of `low`, then
// those of `high`. Order is that of the inverse of widenLow() and widenHigh().
template<class V>
QUIB_INLINE WithLanes<uint8_t, V> packToU8(V low, V high)
{
    using To = WithLanes<uint8_t, V>;
    static_assert(sizeof(LaneOf<V>) == 2);
#if defined(QUIB_HAS_SSE2)
    QUIB_FORM(To, packus_epi16, QUIB_REGISTER(low), QUIB_REGISTER(high));
#elif defined(QUIB_HAS_NEON)
    return (To)vqmovun_high_s16(vqmovun_s16((int16x8_t)low), (int16x8_t)high);
#else
    return packPlainly<To>(as<WithLanes<int16_t, V>>(low), as<WithLanes<int16_t, V>>(high));
#endif
}

template<class V>
QUIB_INLINE WithLanes<int8_t, V> packToI8(V low, V high)
{
    using To = WithLanes<int8_t, V>;
    static_assert(sizeof(LaneOf<V>) == 2);
#if defined(QUIB_HAS_SSE2)
    QUIB_FORM(To, packs_epi16, QUIB_REGISTER(low), QUIB_REGISTER(high));
#elif defined(QUIB_HAS_NEON)
    return (To)vqmovn_high_s16(vqmovn_s16((int16x8_t)low), (int16x8_t)high);
#else
    return packPlainly<To>(as<WithLanes<int16_t, V>>(low), as<WithLanes<int16_t, V>>(high));
#endif
}

template<class V>
QUIB_INLINE WithLanes<int16_t, V> packToI16(V low, V high)
{
    using To = WithLanes<int16_t, V>;
    static_assert(sizeof(LaneOf<V>) == 4);
#if defined(QUIB_HAS_SSE2)
    QUIB_FORM(To, packs_epi32, QUIB_REGISTER(low), QUIB_REGISTER(high));
#elif defined(QUIB_HAS_NEON)
    return (To)vqmovn_high_s32(vqmovn_s32((int32x4_t)low), (int32x4_t)high);
#else
    return packPlainly<To>(as<WithLanes<int32_t, V>>(low), as<WithLanes<int32_t, V>>(high));
#endif
}

template<class V>
QUIB_INLINE WithLanes<uint16_t, V> packToU16(V low, V high)
{
    using To = WithLanes<uint16_t, V>;
    static_assert(sizeof(LaneOf<V>) == 4);
#if defined(QUIB_HAS_AVX2)
    QUIB_FORM(To, packus_epi32, QUIB_REGISTER(low), QUIB_REGISTER(high));
#elif defined(QUIB_HAS_SSE2)
    using Ints = WithLanes<int32_t, V>;
    // Below zero is zero, lest the difference leave the range.
    const auto lowered = [](Ints v) { return (v & (v > -1)) - 0x8000; };
    return as<To>(packToI16(lowered((Ints)low), lowered((Ints)high))) ^ uint16_t { 0x8000 };
#elif defined(QUIB_HAS_NEON)
    return (To)vqmovun_high_s32(vqmovun_s32((int32x4_t)low), (int32x4_t)high);
#else
    return packPlainly<To>(as<WithLanes<int32_t, V>>(low), as<WithLanes<int32_t, V>>(high));
#endif
}

// --- Saturated sums ------------------------------------------------------------------

// As near to `exact` as T comes.
template<class T>
QUIB_INLINE T saturated(int32_t exact)
{
    constexpr bool isSigned = static_cast<T>(-1) < 0;
    constexpr int32_t range = (1 << (8 * sizeof(T) - isSigned)) - 1;
    constexpr int32_t least = isSigned ? -range - 1 : 0;
    return static_cast<T>(exact < least ? least : exact > range ? range : exact);
}

// Lanes of 8 and 16 bits.
template<class V>
QUIB_INLINE V addSaturated(V a, V b)
{
    static_assert(sizeof(LaneOf<V>) <= 2);
#if defined(QUIB_HAS_SSE2)
    if constexpr (hasLanes<V, uint8_t>) {
        QUIB_FORM(V, adds_epu8, QUIB_REGISTER(a), QUIB_REGISTER(b));
    }
    if constexpr (hasLanes<V, int8_t>) {
        QUIB_FORM(V, adds_epi8, QUIB_REGISTER(a), QUIB_REGISTER(b));
    }
    if constexpr (hasLanes<V, uint16_t>) {
        QUIB_FORM(V, adds_epu16, QUIB_REGISTER(a), QUIB_REGISTER(b));
    }
    if constexpr (hasLanes<V, int16_t>) {
        QUIB_FORM(V, adds_epi16, QUIB_REGISTER(a), QUIB_REGISTER(b));
    }
#elif defined(QUIB_HAS_NEON)
    QUIB_FORM_OF_LANES(V, vqaddq, a, b);
#else
    V sum{};
    for (size_t i = 0; i < lanesOf<V>; ++i)
        sum[i] = saturated<LaneOf<V>>(a[i] + b[i]);
    return sum;
#endif
}

template<class V>
QUIB_INLINE V subtractSaturated(V a, V b)
{
    static_assert(sizeof(LaneOf<V>) <= 2);
#if defined(QUIB_HAS_SSE2)
    if constexpr (hasLanes<V, uint8_t>) {
        QUIB_FORM(V, subs_epu8, QUIB_REGISTER(a), QUIB_REGISTER(b));
    }
    if constexpr (hasLanes<V, int8_t>) {
        QUIB_FORM(V, subs_epi8, QUIB_REGISTER(a), QUIB_REGISTER(b));
    }
    if constexpr (hasLanes<V, uint16_t>) {
        QUIB_FORM(V, subs_epu16, QUIB_REGISTER(a), QUIB_REGISTER(b));
    }
    if constexpr (hasLanes<V, int16_t>) {
        QUIB_FORM(V, subs_epi16, QUIB_REGISTER(a), QUIB_REGISTER(b));
    }
#elif defined(QUIB_HAS_NEON)
    QUIB_FORM_OF_LANES(V, vqsubq, a, b);
#else
    V difference{};
    for (size_t i = 0; i < lanesOf<V>; ++i)
        difference[i] = saturated<LaneOf<V>>(a[i] - b[i]);
    return difference;
#endif
}

// --- Products ------------------------------------------------------------------------

// The high halves of products of 16 bits.
template<class V>
QUIB_INLINE V highProducts(V a, V b)
{
    static_assert(hasLanes<V, uint16_t> || hasLanes<V, int16_t>);
#if defined(QUIB_HAS_SSE2)
    if constexpr (hasLanes<V, uint16_t>)
        QUIB_FORM(V, mulhi_epu16, QUIB_REGISTER(a), QUIB_REGISTER(b));
    else
        QUIB_FORM(V, mulhi_epi16, QUIB_REGISTER(a), QUIB_REGISTER(b));
#elif defined(QUIB_HAS_NEON)
    if constexpr (hasLanes<V, uint16_t>) {
        const U32<> low = vmull_u16(vget_low_u16(a), vget_low_u16(b));
        return oddLanes(as<V>(low), (V)vmull_high_u16(a, b));
    } else {
        const I32<> low = vmull_s16(vget_low_s16(a), vget_low_s16(b));
        return oddLanes(as<V>(low), (V)vmull_high_s16(a, b));
    }
#else
    using Lane = LaneOf<V>;
    V high{};
    for (size_t i = 0; i < lanesOf<V>; ++i) {
        const int64_t product = static_cast<int64_t>(a[i]) * b[i];
        high[i] = static_cast<Lane>(product >> 16);
    }
    return high;
#endif
}

// a0 * b0 + a1 * b1 and so on, in twice the size.
template<class V>
QUIB_INLINE WithLanes<int32_t, V> pairProducts(V a, V b)
{
    static_assert(hasLanes<V, int16_t>);
    using To = WithLanes<int32_t, V>;
#if defined(QUIB_HAS_SSE2)
    QUIB_FORM(To, madd_epi16, QUIB_REGISTER(a), QUIB_REGISTER(b));
#elif defined(QUIB_HAS_NEON)
    return (To)vpaddq_s32(vmull_s16(vget_low_s16(a), vget_low_s16(b)), vmull_high_s16(a, b));
#else
    To sums{};
    for (size_t i = 0; i < lanesOf<To>; ++i)
        sums[i] = static_cast<int32_t>(static_cast<uint32_t>(a[2 * i] * b[2 * i]) +
                                       static_cast<uint32_t>(a[2 * i + 1] * b[2 * i + 1]));
    return sums;
#endif
}

// The same of unsigned by signed bytes, saturated. One instruction only where
// `multipliesBytePairs` says so.
#if defined(__SSSE3__) && defined(QUIB_HAS_SSE2)
constexpr bool multipliesBytePairs = true;
#else
constexpr bool multipliesBytePairs = false;
#endif

template<class U, class S>
QUIB_INLINE WithLanes<int16_t, U> pairProductsOfBytes(U a, S b)
{
    static_assert(hasLanes<U, uint8_t> && hasLanes<S, int8_t>);
    using To = WithLanes<int16_t, U>;
#if defined(__SSSE3__) && defined(QUIB_HAS_SSE2)
    QUIB_FORM(To, maddubs_epi16, QUIB_REGISTER(a), QUIB_REGISTER(b));
#elif defined(QUIB_HAS_NEON)
    const auto unsignedPairs = as<WithLanes<uint16_t, U>>(a);
    const auto signedPairs = as<To>(b);
    return addSaturated(as<To>(unsignedPairs & 0xFF) * (signedPairs << 8 >> 8),
                        as<To>(unsignedPairs >> 8) * (signedPairs >> 8));
#else
    To sums{};
    for (size_t i = 0; i < lanesOf<To>; ++i)
        sums[i] = saturated<int16_t>(a[2 * i] * b[2 * i] + a[2 * i + 1] * b[2 * i + 1]);
    return sums;
#endif
}

// a0 + a1 and so on, in twice the size, of unsigned bytes and signed words.
template<class V>
QUIB_INLINE Widened<V> pairSums(V v)
{
    static_assert(hasLanes<V, uint8_t> || hasLanes<V, int16_t>);
    using To = Widened<V>;
#if defined(QUIB_HAS_NEON)
    if constexpr (hasLanes<V, uint8_t>)
        return (To)vpaddlq_u8(v);
    else
        return (To)vpaddlq_s16(v);
#else
    if constexpr (hasLanes<V, int16_t>)
        return pairProducts(v, spread<V>(1));
    else if constexpr (multipliesBytePairs)
        return as<To>(pairProductsOfBytes(v, spread<WithLanes<int8_t, V>>(1)));
    else
        return (as<To>(v) & 0xFF) + (as<To>(v) >> 8);
#endif
}

// a * b / 255, rounded down, of lanes of 16 bits that hold bytes. For every
// product t of two bytes, (t >> 8) + t + 1 >> 8 is (t + 1) * 257 >> 16.
template<class V>
QUIB_INLINE V productsOver255(V a, V b)
{
#if defined(QUIB_HAS_SSE2)
    return highProducts(a * b + 1, spread<V>(257));
#else
    const V more = a * b + 1;
    return (more + (more >> 8)) >> 8;
#endif
}

// --- Floats --------------------------------------------------------------------------
//
// From 2^23 on a float has no fraction bits. Results past the range of an integer
// are undefined.

template<class V>
QUIB_INLINE WithLanes<float, V> toFloats(V ints)
{
    static_assert(hasLanes<V, int32_t>);
    return __builtin_convertvector(ints, WithLanes<float, V>);
}

// Towards zero.
template<class V>
QUIB_INLINE WithLanes<int32_t, V> truncated(V floats)
{
    static_assert(hasLanes<V, float>);
    return __builtin_convertvector(floats, WithLanes<int32_t, V>);
}

// To nearest, halves to even.
template<class V>
QUIB_INLINE WithLanes<int32_t, V> rounded(V floats)
{
    static_assert(hasLanes<V, float>);
    using To = WithLanes<int32_t, V>;
#if defined(QUIB_HAS_SSE2)
    QUIB_FORM(To, cvtps_epi32, floats);
#elif defined(QUIB_HAS_NEON)
    return (To)vcvtnq_s32_f32(floats);
#else
    To ints{};
    for (size_t i = 0; i < lanesOf<V>; ++i)
        ints[i] = static_cast<int32_t>(__builtin_rintf(floats[i]));
    return ints;
#endif
}

// a * b + c and c - a * b, rounded once where the processor can: only for kernels
// that know their results to be the same either way.
template<class V>
QUIB_INLINE V fusedSum(V a, V b, V c)
{
    static_assert(hasLanes<V, float>);
#if defined(__FMA__) && defined(QUIB_HAS_AVX2)
    QUIB_FORM(V, fmadd_ps, a, b, c);
#else
    return a * b + c;
#endif
}

template<class V>
QUIB_INLINE V fusedRest(V a, V b, V c)
{
    static_assert(hasLanes<V, float>);
#if defined(__FMA__) && defined(QUIB_HAS_AVX2)
    QUIB_FORM(V, fnmadd_ps, a, b, c);
#else
    return c - a * b;
#endif
}

// The largest whole number that is not above, of numbers in an integer's range.
template<class V>
QUIB_INLINE WithLanes<int32_t, V> roundedDown(V floats)
{
    const auto whole = truncated(floats);
    return whole + (toFloats(whole) > floats);
}

template<class V>
QUIB_INLINE V squareRoots(V floats)
{
    static_assert(hasLanes<V, float>);
#if defined(QUIB_HAS_SSE2)
    QUIB_FORM(V, sqrt_ps, floats);
#elif defined(QUIB_HAS_NEON)
    return (V)vsqrtq_f32(floats);
#else
    V roots{};
    for (size_t i = 0; i < lanesOf<V>; ++i)
        roots[i] = __builtin_sqrtf(floats[i]);
    return roots;
#endif
}

} // namespace

} // namespace quib::QUIB_LEVEL
