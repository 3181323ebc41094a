// Rows of colours packed into 16 bits a pixel.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// Where each colour goes: a byte v becomes (v >> right) << left, cut to 16 bits, and
// the three are or-ed. `right` is at most 8, `left` at most 15.
struct Packing16 {
    struct Shift {
        uint8_t right;
        uint8_t left;
    };
    Shift blue;
    Shift green;
    Shift red;
};

// Rows that need no alignment and do not overlap. Nothing outside the `count` pixels
// of either is read or written.
struct Pack16Kernels {
    // From bytes B, G, R, x.
    void (*from32)(uint8_t* dst, const uint8_t* src, size_t count, const Packing16& packing);
    // From bytes B, G, R.
    void (*from24)(uint8_t* dst, const uint8_t* src, size_t count, const Packing16& packing);
    // From bytes that are B, G and R.
    void (*fromGray)(uint8_t* dst, const uint8_t* src, size_t count, const Packing16& packing);
};

} // namespace quib
