#include "_Src/walk/bits.h"

#include "kernels/kernels.h"

#include <cstring>

void ownSetBits(uint8_t* row, int32_t start, int32_t count, bool value)
{
    if (count <= 0)
        return;
    const quib::BitKernels& bits = quib::kernels().bits;
    (value ? bits.orS : bits.andS)({row, 0, start}, {row, 0, start}, {}, static_cast<size_t>(count),
                                   1, value);
}

void ownCopyBits(uint8_t* dst, int32_t dstStart, const uint8_t* src, int32_t srcStart,
                 int32_t count)
{
    if (count > 0)
        quib::kernels().bits.copy({dst, 0, dstStart}, {src, 0, srcStart}, {},
                                  static_cast<size_t>(count), 1, 0);
}

namespace
{

uint8_t packTail(const uint8_t* bytes, int32_t count)
{
    uint32_t packed = 0;
    for (int32_t k = 0; k < count; ++k)
        packed |= static_cast<uint32_t>(bytes[k] << (7 - k));
    return static_cast<uint8_t>(packed);
}

// The product's top byte: each byte comes to its own bit, and no two bits meet.
uint8_t packEight(const uint8_t* bytes)
{
    uint64_t eight;
    std::memcpy(&eight, bytes, sizeof eight);
    return static_cast<uint8_t>(eight * 0x8040201008040201u >> 56);
}

} // namespace

void ownPackBits(uint8_t* bits, const uint8_t* bytes, int32_t count)
{
    int32_t i = 0;
    for (; i + 8 <= count; i += 8)
        bits[i >> 3] = packEight(bytes + i);
    if (i < count)
        bits[i >> 3] = packTail(bytes + i, count - i);
}
