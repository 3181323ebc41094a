// Logic on runs of packed bits, the most significant bit of a byte first.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// Rows of bits, `step` bytes from one to the next. Each starts `start` bits, at
// least 0, past its first byte's first bit.
template<class Byte>
struct BitRows {
    Byte* bytes;
    ptrdiff_t step;
    int32_t start;
};

// Computes each of the first `width` bits in `height` rows of dst from the bits
// of a, and from those of b or the value's lowest bit; the bits around them keep
// their values. No byte that holds none of a row's bits is touched. What an
// operation has no use for is ignored. Operands may be the same bits as dst;
// else they must not overlap it.
using BitRun = void (*)(BitRows<uint8_t> dst, BitRows<const uint8_t> a, BitRows<const uint8_t> b,
                        size_t width, size_t height, int32_t value);

struct BitKernels {
    BitRun copy;
    BitRun andS;
    BitRun orS;
    BitRun xorS;
    BitRun logicAnd;
    BitRun logicOr;
    BitRun logicXor;
    BitRun andNot; // a and not b
    BitRun select; // a where b is 1, else dst as it is
};

} // namespace quib
