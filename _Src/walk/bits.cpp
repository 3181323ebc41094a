#include "_Src/walk/bits.h"

#include "kernels/kernels.h"

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

void ownPackBits(uint8_t* bits, const uint8_t* bytes, int32_t count)
{
    for (int32_t i = 0; i < count; i += 8) {
        uint32_t packed = 0;
        for (int32_t k = 0; k < 8; ++k)
            packed = packed << 1 | (i + k < count ? bytes[i + k] : 0);
        bits[i >> 3] = static_cast<uint8_t>(packed);
    }
}
