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
    // The same with each of `rows` rows, of which the next ones are a step further on.
    void (*reverseRows)(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t srcStep,
                        size_t pixels, size_t pixelBytes, size_t rows);
    // Copies rows of `bytes` bytes, which must not overlap any of the others' places.
    void (*copyRows)(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t srcStep,
                     size_t bytes, size_t rows);
    // Makes columns of rows: pixel i of row j of src becomes pixel j of row i of dst,
    // of `rows` rows of `columns` pixels of four bytes.
    void (*transpose)(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t srcStep,
                      size_t columns, size_t rows);
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
