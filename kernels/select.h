// Choosing elements of pixels: masks, single channels, channels that are left
// out.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// A choice has a byte for each byte, or each element, that it decides on: 0xFF
// takes it, 0 leaves it.
struct SelectKernels {
    // Makes a choice for `pixels` pixels of `pixelBytes` bytes: the pattern, of
    // pixelBytes bytes, where the pixel's bit is 1, and 0 elsewhere. Bits count
    // from the most significant one of a byte, from bit `start` on.
    void (*spread)(uint8_t* choice, const uint8_t* bits, int32_t start, size_t pixels,
                   const uint8_t* pattern, size_t pixelBytes);
    // Copies the chosen bytes of src to dst.
    void (*blend)(uint8_t* dst, const uint8_t* src, const uint8_t* choice, size_t bytes);

    // By element size, 1, 2 and 4 bytes: collect every `stride`th element of src
    // in dst, and put the chosen elements of src at every `stride`th place of
    // dst, all of them if `choice` is null.
    void (*gather[3])(void* dst, const void* src, size_t stride, size_t count);
    void (*scatter[3])(void* dst, const void* src, size_t stride, const uint8_t* choice,
                       size_t count);
};

} // namespace quib
