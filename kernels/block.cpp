#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{

void fill32(void* dst, uint32_t value, size_t count)
{
    uint8_t* out = static_cast<uint8_t*>(dst);
    const uint32_t low = value & 0xFF;
    if (value == low * 0x01010101u) {
        __builtin_memset(out, static_cast<int>(low), count * 4);
        return;
    }
    if (fillByString(out, value, count))
        return;
    for (size_t i = 0; i < count; ++i)
        __builtin_memcpy(out + i * 4, &value, 4);
}

void fill16(void* dst, uint16_t value, size_t count)
{
    uint8_t* out = static_cast<uint8_t*>(dst);
    for (size_t i = 0; i < count; ++i)
        __builtin_memcpy(out + i * 2, &value, 2);
}

void copy(void* dst, const void* src, size_t bytes)
{
    __builtin_memcpy(dst, src, bytes);
}

void moveRows(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t srcStep, size_t bytes,
              size_t rows)
{
    for (size_t y = 0; y < rows; ++y, dst += dstStep, src += srcStep) {
        // The end of a row often lies in another page, which the processor would
        // not look into by itself.
        __builtin_prefetch(src + bytes - 1);
        __builtin_prefetch(dst + bytes - 1, 1);
        __builtin_memmove(dst, src, bytes);
    }
}

uint8_t largest(const uint8_t* bytes, size_t count, bool skipFourth)
{
    constexpr size_t run = 256;
    uint8_t keep[run];
    for (size_t i = 0; i < run; ++i)
        keep[i] = skipFourth && i % 4 == 3 ? 0 : 0xFF;
    uint8_t most = 0;
    for (; count >= run; bytes += run, count -= run) {
        for (size_t i = 0; i < run; ++i) {
            const uint8_t value = static_cast<uint8_t>(bytes[i] & keep[i]);
            most = value > most ? value : most;
        }
    }
    for (size_t i = 0; i < count; ++i) {
        const uint8_t value = static_cast<uint8_t>(bytes[i] & keep[i]);
        most = value > most ? value : most;
    }
    return most;
}

} // namespace

constinit const BlockKernels blockKernels{
    .fill32 = fill32,
    .fill16 = fill16,
    .copy = copy,
    .moveRows = moveRows,
    .largest = largest,
};

} // namespace quib::QUIB_LEVEL
