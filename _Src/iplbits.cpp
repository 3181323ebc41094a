#include "_Src/iplbits.h"

#include <algorithm>
#include <cstring>

namespace
{

void putMasked(uint8_t* byte, uint8_t value, uint8_t mask)
{
    *byte = static_cast<uint8_t>((*byte & ~mask) | (value & mask));
}

// Ones in `count` bits from bit `start` of a byte on.
uint8_t bitMask(int32_t start, int32_t count)
{
    return static_cast<uint8_t>((0xFF >> start) & (0xFF00 >> (start + count)));
}

// The `count` (1 to 8) bits from bit `start` on, left-aligned in a byte. Touches
// no byte that holds none of them.
uint8_t loadBits(const uint8_t* row, int32_t start, int32_t count)
{
    const uint8_t* byte = row + (start >> 3);
    const int32_t offset = start & 7;
    uint32_t pair = static_cast<uint32_t>(byte[0]) << 8;
    if (offset + count > 8)
        pair |= byte[1];
    return static_cast<uint8_t>(pair << offset >> 8);
}

} // namespace

void ownSetBits(uint8_t* row, int32_t start, int32_t count, bool value)
{
    const uint8_t fill = value ? 0xFF : 0;
    row += start >> 3;
    start &= 7;
    if (start != 0 && count > 0) {
        const int32_t head = std::min(8 - start, count);
        putMasked(row++, fill, bitMask(start, head));
        count -= head;
    }
    if (count <= 0)
        return;
    std::memset(row, fill, static_cast<size_t>(count >> 3));
    if (count & 7)
        putMasked(row + (count >> 3), fill, bitMask(0, count & 7));
}

void ownCopyBits(uint8_t* dst, int32_t dstStart, const uint8_t* src, int32_t srcStart,
                 int32_t count)
{
    dst += dstStart >> 3;
    dstStart &= 7;
    if (dstStart != 0 && count > 0) {
        const int32_t head = std::min(8 - dstStart, count);
        const uint8_t bits = loadBits(src, srcStart, head);
        putMasked(dst++, static_cast<uint8_t>(bits >> dstStart), bitMask(dstStart, head));
        srcStart += head;
        count -= head;
    }
    if (count <= 0)
        return;
    const int32_t whole = count >> 3;
    if ((srcStart & 7) == 0) {
        std::memmove(dst, src + (srcStart >> 3), static_cast<size_t>(whole));
    } else {
        for (int32_t i = 0; i < whole; ++i)
            dst[i] = loadBits(src, srcStart + i * 8, 8);
    }
    if (count & 7)
        putMasked(dst + whole, loadBits(src, srcStart + whole * 8, count & 7),
                  bitMask(0, count & 7));
}
