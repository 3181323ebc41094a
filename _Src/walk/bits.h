// Runs of packed bits, the most significant bit of a byte first.
#pragma once

#include <cstdint>

inline bool ownBit(const uint8_t* row, int32_t index)
{
    return (row[index >> 3] >> (7 - (index & 7))) & 1;
}

inline void ownPutBit(uint8_t* row, int32_t index, bool value)
{
    const uint8_t bit = static_cast<uint8_t>(0x80 >> (index & 7));
    row[index >> 3] = static_cast<uint8_t>(value ? row[index >> 3] | bit : row[index >> 3] & ~bit);
}

// Sets `count` bits from bit `start` of the row on; the others keep their values.
void ownSetBits(uint8_t* row, int32_t start, int32_t count, bool value);

// Copies `count` bits; the bits around them keep their values. The rows must not
// overlap unless they are the same bits.
void ownCopyBits(uint8_t* dst, int32_t dstStart, const uint8_t* src, int32_t srcStart,
                 int32_t count);

// Packs bytes, 0 or 1, to as many bits from the first byte's first on; the last
// byte's other bits become 0.
void ownPackBits(uint8_t* bits, const uint8_t* bytes, int32_t count);
