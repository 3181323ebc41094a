// Choosing elements of pixels: masks, single channels, channels that are left
// out.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// Moves between elements that lie side by side and elements `stride` apart:
// gather collects every `stride`th element of src in dst, scatter puts the chosen
// elements of src at every `stride`th place of dst, all of them if `choice` is
// null.
struct StridedMoves {
    void (*gather)(void* dst, const void* src, size_t stride, size_t count);
    void (*scatter)(void* dst, const void* src, size_t stride, const uint8_t* choice, size_t count);
};

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

    StridedMoves bytes;
    StridedMoves words;       // elements of 2 bytes
    StridedMoves doubleWords; // of 4 bytes
};

} // namespace quib
