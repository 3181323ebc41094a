#include "_Src/dib/palette.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

OwnPalette ownPaletteOf(const OwnDib& dib)
{
    const size_t possible = size_t{1} << dib.header.biBitCount;
    const size_t told = std::min<size_t>(ownPaletteSize(dib.header), possible);
    const size_t held = ownHeldBytes(dib.block, sizeof dib.header, told * sizeof(RGBQUAD));
    return {dib.block.start + sizeof dib.header, static_cast<int32_t>(held / sizeof(RGBQUAD))};
}

// --- Nearest colour ----------------------------------------------------------------

namespace
{

bool isGray(const uint8_t* colour)
{
    return colour[0] == colour[1] && colour[1] == colour[2];
}

} // namespace

int32_t ownNearestColor(const OwnPalette& palette, const OwnPixel& pixel)
{
    if (palette.size == 256 && isGray(pixel.byte)) {
        const uint8_t* entry = palette.entries + size_t{4} * pixel.byte[2];
        if (isGray(entry) && entry[0] == pixel.byte[2])
            return pixel.byte[2];
    }
    int32_t best = 0;
    int32_t bestSum = INT_MAX;
    int32_t bestDifference[3] = {INT_MAX, INT_MAX, INT_MAX};
    for (int32_t i = 0; i < palette.size; ++i) {
        int32_t difference[3];
        for (int32_t c = 0; c < 3; ++c)
            difference[c] = std::abs(palette.entries[4 * i + c] - pixel.byte[c]);
        if (difference[0] >= bestDifference[0] && difference[1] >= bestDifference[1] &&
            difference[2] >= bestDifference[2])
            continue;
        const int32_t sum = difference[0] * difference[0] + difference[1] * difference[1] +
                            difference[2] * difference[2];
        if (sum == 0)
            return i;
        if (sum < bestSum) {
            bestSum = sum;
            best = i;
            std::copy_n(difference, 3, bestDifference);
        }
    }
    return best;
}

// --- Standard tables ---------------------------------------------------------------

namespace
{

constexpr uint32_t blackAndWhite[2] = {0x000000, 0xFFFFFF};
constexpr uint32_t sixteenColours[16] = {
    0x000000, 0x800000, 0x008000, 0x808000, 0x000080, 0x800080, 0x008080, 0x808080,
    0xC0C0C0, 0xFF0000, 0x00FF00, 0xFFFF00, 0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF,
};

uint32_t grayLevel(int32_t index, int32_t size)
{
    return static_cast<uint32_t>(index * 255 / (size - 1)) * 0x010101;
}

// Three bits each of red and green, two of blue; the top level is full.
uint32_t colour332(int32_t index)
{
    constexpr uint32_t threeBits[8] = {0, 0x20, 0x40, 0x60, 0x80, 0xA0, 0xC0, 0xFF};
    constexpr uint32_t twoBits[4] = {0, 0x40, 0x80, 0xFF};
    return threeBits[index >> 5] << 16 | threeBits[(index >> 2) & 7] << 8 | twoBits[index & 3];
}

uint32_t standardColour(int32_t index, int32_t size, bool gray)
{
    if (size == 2)
        return blackAndWhite[index];
    if (gray)
        return grayLevel(index, size);
    return size == 16 ? sixteenColours[index] : colour332(index);
}

} // namespace

int32_t ownStandardPalette(const OwnDib& dib, bool gray)
{
    const uint32_t told = ownPaletteSize(dib.header);
    if (told != 2 && told != 16 && told != 256)
        return 0;
    const int32_t size = static_cast<int32_t>(told);
    uint32_t table[256];
    for (int32_t i = 0; i < size; ++i)
        table[i] = standardColour(i, size, gray);
    ownWriteExtent(dib.block, sizeof dib.header, table, told * sizeof *table);
    return size;
}
