#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{

bool bitAt(const uint8_t* bits, size_t index)
{
    return (bits[index >> 3] >> (7 - (index & 7))) & 1;
}

template<size_t fixedBytes>
void spreadPixels(uint8_t* choice, const uint8_t* bits, size_t start, size_t pixels,
                  const uint8_t* pattern, size_t pixelBytes)
{
    const size_t bytes = fixedBytes ? fixedBytes : pixelBytes;
    for (size_t i = 0; i < pixels; ++i, choice += bytes) {
        const uint8_t chosen = bitAt(bits, start + i) ? 0xFF : 0;
        for (size_t k = 0; k < bytes; ++k)
            choice[k] = chosen & pattern[k];
    }
}

// Pixels of one byte, which are always chosen whole.
void spreadBytes(uint8_t* choice, const uint8_t* bits, size_t start, size_t pixels)
{
    size_t i = 0;
    for (; i < pixels && (start + i) % 8 != 0; ++i)
        choice[i] = bitAt(bits, start + i) ? 0xFF : 0;
    for (; i + 8 <= pixels; i += 8) {
        // Each byte keeps the bit of its place, then becomes 0 or 0xFF.
        const uint64_t own = bits[(start + i) >> 3] * 0x0101010101010101u & 0x0102040810204080u;
        const uint64_t ones = (own + 0x7F7F7F7F7F7F7F7Fu) >> 7 & 0x0101010101010101u;
        const uint64_t bytes = ones * 0xFF;
        __builtin_memcpy(choice + i, &bytes, 8);
    }
    for (; i < pixels; ++i)
        choice[i] = bitAt(bits, start + i) ? 0xFF : 0;
}

void spread(uint8_t* choice, const uint8_t* bits, int32_t start, size_t pixels,
            const uint8_t* pattern, size_t pixelBytes)
{
    const size_t first = static_cast<size_t>(start);
    if (pixelBytes == 1)
        return spreadBytes(choice, bits, first, pixels);
    if (pixelBytes == 2)
        return spreadPixels<2>(choice, bits, first, pixels, pattern, 2);
    if (pixelBytes == 3)
        return spreadPixels<3>(choice, bits, first, pixels, pattern, 3);
    if (pixelBytes == 4)
        return spreadPixels<4>(choice, bits, first, pixels, pattern, 4);
    spreadPixels<0>(choice, bits, first, pixels, pattern, pixelBytes);
}

void blend(uint8_t* dst, const uint8_t* src, const uint8_t* choice, size_t bytes)
{
    QUIB_INDEPENDENT
    for (size_t i = 0; i < bytes; ++i)
        dst[i] = static_cast<uint8_t>((dst[i] & ~choice[i]) | (src[i] & choice[i]));
}

// Every fourth byte, as far as whole vectors lie in the row; gives how many are done.
size_t gatherFourths(uint8_t* out, const uint8_t* in, size_t count)
{
    using Words = I32<>;
    constexpr size_t lanes = lanesOf<Words>;
    size_t i = 0;
    for (; i + 4 * lanes < count; i += 4 * lanes) {
        Words v[4];
        for (size_t k = 0; k < 4; ++k)
            v[k] = load<Words>(in + 4 * (i + k * lanes)) & 0xFF;
        store(out + i, inOrderOfTwoPacks(packToU8(packToI16(v[0], v[1]), packToI16(v[2], v[3]))));
    }
    return i;
}

template<class T>
void gather(void* dst, const void* src, size_t stride, size_t count)
{
    T* out = static_cast<T*>(dst);
    const T* in = static_cast<const T*>(src);
    size_t i = 0;
    if constexpr (sizeof(T) == 1)
        i = stride == 4 ? gatherFourths(out, in, count) : 0;
    for (; i < count; ++i)
        out[i] = in[i * stride];
}

template<class T>
void scatter(void* dst, const void* src, size_t stride, const uint8_t* choice, size_t count)
{
    T* out = static_cast<T*>(dst);
    const T* in = static_cast<const T*>(src);
    for (size_t i = 0; i < count; ++i)
        if (!choice || choice[i])
            out[i * stride] = in[i];
}

} // namespace

constinit const SelectKernels selectKernels{
    .spread = spread,
    .blend = blend,
    .bytes = {.gather = gather<uint8_t>, .scatter = scatter<uint8_t>},
    .words = {.gather = gather<uint16_t>, .scatter = scatter<uint16_t>},
    .doubleWords = {.gather = gather<uint32_t>, .scatter = scatter<uint32_t>},
};

} // namespace quib::QUIB_LEVEL
