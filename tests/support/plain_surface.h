// What drawing surfaces and images do to each other, pixel by pixel, for tests.
#pragma once

#include "_Src/ipl.h"

#include <algorithm>
#include <cstdint>
#include <vector>

struct SurfaceFormat {
    const char* name;
    uint32_t bits;
    uint32_t red;
    uint32_t green;
    uint32_t blue;
};

constexpr SurfaceFormat format8{"8", 8, 0, 0, 0};
constexpr SurfaceFormat format555{"5-5-5", 16, 0x7C00, 0x03E0, 0x001F};
constexpr SurfaceFormat format565{"5-6-5", 16, 0xF800, 0x07E0, 0x001F};
constexpr SurfaceFormat format24{"24", 24, 0xFF0000, 0x00FF00, 0x0000FF};
constexpr SurfaceFormat format32{"32", 32, 0xFF0000, 0x00FF00, 0x0000FF};
constexpr SurfaceFormat commonFormats[] = {format8, format555, format565, format24, format32};

// A block in which what lies outside is not there.
class PlainBlock
{
public:
    PlainBlock(std::vector<uint8_t> content, int64_t rowStep)
        : bytes(std::move(content)), step(rowStep)
    {
    }
    bool has(int64_t y, int64_t first, int64_t count) const
    {
        const int64_t at = y * step + first;
        return at >= 0 && at + count <= static_cast<int64_t>(bytes.size());
    }
    uint8_t& at(int64_t y, int64_t place) { return bytes[static_cast<size_t>(y * step + place)]; }
    void putWord(int64_t y, int64_t place, uint32_t word)
    {
        at(y, place) = static_cast<uint8_t>(word);
        at(y, place + 1) = static_cast<uint8_t>(word >> 8);
    }

    std::vector<uint8_t> bytes;
    int64_t step;
};

// A surface and an image of the same size.
struct PlainPair {
    PlainBlock surface;
    PlainBlock image;
    int64_t width;
    int64_t height;
    int64_t channels;
    SurfaceFormat format;
};

inline uint32_t plainUnderMask(uint32_t value, uint32_t mask)
{
    int low = 0;
    int high = 0;
    for (int bit = 31; bit >= 0; --bit)
        if (mask >> bit & 1)
            low = bit;
    for (int bit = 0; bit < 32; ++bit)
        if (mask >> bit & 1)
            high = bit;
    const int right = low - high + 7;
    const uint64_t kept = right < 0 ? uint64_t{value} << -right : value >> right;
    return static_cast<uint16_t>(kept << low);
}

inline uint32_t plainWord(const SurfaceFormat& format, uint32_t b, uint32_t g, uint32_t r)
{
    return plainUnderMask(b, format.blue) | plainUnderMask(g, format.green) |
           plainUnderMask(r, format.red);
}

// Calls pixel(y, x) where both have all of its bytes.
template<class Pixel>
void forEachPixel(PlainPair& pair, int64_t surfaceBytes, int64_t imageBytes, Pixel pixel)
{
    for (int64_t y = 0; y < pair.height; ++y)
        for (int64_t x = 0; x < pair.width; ++x)
            if (pair.surface.has(y, x * surfaceBytes, surfaceBytes) &&
                pair.image.has(y, x * imageBytes, imageBytes))
                pixel(y, x);
}

inline void plainMove(PlainPair& pair)
{
    const int64_t bytes = std::min(pair.surface.step, pair.image.step);
    for (int64_t y = 0; y < pair.height; ++y)
        for (int64_t i = 0; i < bytes; ++i)
            if (pair.surface.has(y, i, 1) && pair.image.has(y, i, 1))
                pair.surface.at(y, i) = pair.image.at(y, i);
}

// Draws three of the bytes of pixels, then 255 if there is room for it.
inline void plainColours(PlainPair& pair, int64_t surfaceBytes, int64_t imageBytes)
{
    forEachPixel(pair, surfaceBytes, imageBytes, [&](int64_t y, int64_t x) {
        for (int64_t c = 0; c < surfaceBytes; ++c)
            pair.surface.at(y, x * surfaceBytes + c) =
                c == 3 ? uint8_t{255} : pair.image.at(y, x * imageBytes + c);
    });
}

inline void plainDrawColour(PlainPair& pair)
{
    const int64_t bytes = pair.format.bits / 8;
    if (pair.channels == bytes)
        return plainMove(pair);
    if (bytes == 3)
        return plainColours(pair, 3, 4);
    if (bytes == 4)
        return plainColours(pair, 4, 3);
    if (pair.format.bits != 16)
        return;
    const int64_t pixel = pair.channels == 4 ? 4 : 3;
    forEachPixel(pair, 2, pixel, [&](int64_t y, int64_t x) {
        const uint8_t* from = &pair.image.at(y, x * pixel);
        pair.surface.putWord(y, x * 2, plainWord(pair.format, from[0], from[1], from[2]));
    });
}

inline void plainDrawGray(PlainPair& pair)
{
    if (pair.format.bits == 16) {
        for (int64_t y = 0; y < pair.height; ++y)
            for (int64_t x = 0; x < pair.height; ++x)
                if (pair.surface.has(y, x * 2, 2) && pair.image.has(y, x, 1)) {
                    const uint8_t gray = pair.image.at(y, x);
                    pair.surface.putWord(y, x * 2, plainWord(pair.format, gray, gray, gray));
                }
        return;
    }
    if (pair.format.bits != 24 && pair.format.bits != 32)
        return;
    const int64_t pixel = pair.format.bits / 8;
    forEachPixel(pair, pixel, 1, [&](int64_t y, int64_t x) {
        for (int64_t c = 0; c < 3; ++c)
            pair.surface.at(y, x * pixel + c) = pair.image.at(y, x);
    });
}

inline void plainDraw(PlainPair& pair)
{
    if (pair.channels == 1)
        plainDrawGray(pair);
    else
        plainDrawColour(pair);
}

// --- From surfaces -------------------------------------------------------------------------

inline void plainRead(PlainPair& pair)
{
    if (pair.channels == pair.format.bits / 8) {
        // Where rows lie alike, words run on over their ends.
        const bool asOne = pair.image.step == pair.surface.step;
        const int64_t step = std::min(pair.image.step, pair.surface.step);
        const int64_t words = asOne ? pair.height * step / 4 : step / 4;
        for (int64_t y = 0; y < (asOne ? 1 : pair.height); ++y)
            for (int64_t i = 0; i < words * 4; ++i)
                if (pair.surface.has(y, i / 4 * 4, 4) && pair.image.has(y, i / 4 * 4, 4))
                    pair.image.at(y, i) = i % 4 == 3 ? uint8_t{255} : pair.surface.at(y, i);
        return;
    }
    const int64_t from = pair.channels == 4 ? 3 : 4;
    const int64_t to = pair.channels == 4 ? 4 : 3;
    forEachPixel(pair, from, to, [&](int64_t y, int64_t x) {
        for (int64_t c = 0; c < to; ++c)
            pair.image.at(y, x * to + c) = c == 3 ? uint8_t{255} : pair.surface.at(y, x * from + c);
    });
}

// --- 16 bits -------------------------------------------------------------------------------

// Two formulas each, as the words are told.
inline uint32_t plainPacked(bool is565, uint32_t b0, uint32_t b1, uint32_t b2)
{
    return is565 ? (b2 >> 3) << 11 | (b1 >> 2) << 5 | b0 >> 3
                 : (b2 >> 3) << 10 | (b1 >> 3) << 5 | b0 >> 3;
}

inline uint32_t plainPackedReversed(bool is565, uint32_t b0, uint32_t b1, uint32_t b2)
{
    return is565 ? (b0 & 0xF8) << 8 | (b1 & 0xFC) << 3 | b2 >> 3
                 : (b0 & 0xF8) << 7 | (b1 & 0xF8) << 2 | b2 >> 3;
}

inline void plainTail(PlainPair& pair, int64_t y, int64_t count, int64_t pixel, bool is565)
{
    const int64_t from = pair.surface.step - count * pixel;
    const int64_t to = pair.image.step - count * 2;
    if (from < 0 || to < 0 || !pair.surface.has(y, from, count * pixel) ||
        !pair.image.has(y, to, count * 2))
        return;
    for (int64_t i = 0; i < count; ++i) {
        const uint8_t* bytes = &pair.surface.at(y, from + i * pixel);
        const auto packed = pixel == 3 ? plainPackedReversed : plainPacked;
        pair.image.putWord(y, to + i * 2, packed(is565, bytes[0], bytes[1], bytes[2]));
    }
}

inline void plainPairsAndTails(PlainPair& pair, int64_t pixel, bool is565)
{
    const bool odd = pair.width % 2 != 0;
    const int64_t pairs = pixel == 3 && !odd ? pair.width / 2 - 1 : pair.width / 2;
    const int64_t tail = odd ? 1 : pixel == 3 ? 2 : 0;
    for (int64_t y = 0; y < pair.height; ++y) {
        for (int64_t x = 0; x < pairs * 2; ++x)
            if (pair.surface.has(y, x * 2, 2) && pair.image.has(y, x * pixel, pixel)) {
                const uint8_t* bytes = &pair.image.at(y, x * pixel);
                pair.surface.putWord(y, x * 2, plainPacked(is565, bytes[0], bytes[1], bytes[2]));
            }
        if (tail)
            plainTail(pair, y, tail, pixel, is565);
    }
}

inline void plainTo16(PlainPair& pair, int32_t bitDepth, bool is565)
{
    if (bitDepth == 32)
        return plainPairsAndTails(pair, 4, is565);
    if (bitDepth == 24)
        return plainPairsAndTails(pair, 3, is565);
    if (bitDepth == 16)
        return forEachPixel(pair, 2, 2, [&](int64_t y, int64_t x) {
            for (int64_t c = 0; c < 2; ++c)
                pair.surface.at(y, x * 2 + c) = pair.image.at(y, x * 2 + c);
        });
    forEachPixel(pair, 1, 2, [&](int64_t y, int64_t x) {
        const uint32_t g = pair.surface.at(y, x);
        pair.image.putWord(y, x * 2,
                           is565 ? (g & 0xF8) << 8 | (g & 0xFC) << 3 | g >> 3
                                 : (g >> 3) << 10 | (g >> 3) << 5 | g >> 3);
    });
}
