// Rows of pixels from and to bitmaps of 24 and 32 bits.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// How far on, in bytes, the rows begin that will be converted next, or anything:
// rows in opposite orders come from memory too slowly unless they are announced.
struct RowsAhead {
    ptrdiff_t dst;
    ptrdiff_t src;
};

// Rows that need no alignment and do not overlap. Nothing outside the `count`
// pixels of either is read or written.
struct ConvertKernels {
    // Bytes B, G, R into B, G, R, 255.
    void (*opaqueFrom24)(uint8_t* dst, const uint8_t* src, size_t count, RowsAhead ahead);
    // Bytes B, G, R, x into B, G, R, 255.
    void (*opaqueFrom32)(uint8_t* dst, const uint8_t* src, size_t count, RowsAhead ahead);
    // Bytes B, G, R, x into B, G, R.
    void (*to24)(uint8_t* dst, const uint8_t* src, size_t count);
    // Gray bytes into B, G, R.
    void (*grayTo24)(uint8_t* dst, const uint8_t* src, size_t count);
    // Gray bytes into B, G, R, x, where x keeps what it was.
    void (*grayUnderAlpha)(uint8_t* dst, const uint8_t* src, size_t count);
    // Rows of single channels, a byte each, into pixels of four bytes in that order.
    void (*from4Planes)(uint8_t* dst, const uint8_t* first, const uint8_t* second,
                        const uint8_t* third, const uint8_t* fourth, size_t count);
};

} // namespace quib
