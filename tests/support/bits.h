// Rows of 1-bit pixels as the tests see them: bit by bit, the highest first.
#pragma once

#include <cstddef>
#include <cstdint>

inline bool bitAt(const uint8_t* bytes, size_t index)
{
    return (bytes[index / 8] >> (7 - index % 8)) & 1;
}

inline void putBit(uint8_t* bytes, size_t index, bool value)
{
    const int bit = 0x80 >> (index % 8);
    bytes[index / 8] =
        static_cast<uint8_t>(value ? bytes[index / 8] | bit : bytes[index / 8] & ~bit);
}

// How many bytes hold these bits.
inline size_t bytesFor(size_t start, size_t width)
{
    return width == 0 ? 0 : (start + width + 7) / 8;
}
