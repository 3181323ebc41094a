// Rows the other way round.
#pragma once

#include "kernels/bits.h"

#include <cstddef>
#include <cstdint>

namespace quib
{

// Pixels have any size of 1 byte or more and need no alignment.
struct MirrorKernels {
    // Writes the pixels of src to dst, the last one first. The rows must not
    // overlap.
    void (*reverse)(uint8_t* dst, const uint8_t* src, size_t pixels, size_t pixelBytes);
    // Puts each row's pixels into the other one, the last one first. The rows must
    // not overlap, but may be one, which is then reversed in place.
    void (*exchange)(uint8_t* a, uint8_t* b, size_t pixels, size_t pixelBytes);
    // Exchanges two rows that do not overlap, as they are.
    void (*swap)(uint8_t* a, uint8_t* b, size_t bytes);
    // Writes `width` bits of each of the rows, the last one first; the bits around
    // them keep their values, and no byte that holds none of them is touched. The
    // rows must not overlap.
    void (*reverseBits)(BitRows<uint8_t> dst, BitRows<const uint8_t> src, size_t width,
                        size_t height);
};

} // namespace quib
