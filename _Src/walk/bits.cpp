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
