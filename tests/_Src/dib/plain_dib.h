// Bitmaps and images of every format, and the plain form of their conversions.
#pragma once

#include "_Src/dib/format.h"
#include "_Src/dib/palette.h"
#include "tests/support/dibs.h"
#include "tests/support/images.h"

#include <algorithm>
#include <array>
#include <string>

namespace plain_dib
{

using Colour = std::array<int32_t, 4>; // B, G, R, A

inline void setSequence(IplImage* image, const char* text)
{
    char padded[4] = {};
    std::memcpy(padded, text, std::min<size_t>(std::strlen(text), 4));
    std::memcpy(image->channelSeq, padded, 4);
}

// The image that a bitmap of its size becomes.
inline Image converted(const Bytes& dib, int32_t nChannels, uint32_t depth = IPL_DEPTH_8U)
{
    const BITMAPINFOHEADER header = headerOf(dib);
    Image image =
        makeImage(header.biWidth, static_cast<int32_t>(dibRows(header)), nChannels, depth);
    const GuardedBytes block(dib);
    iplConvertFromDIB(block.dib(), image.get());
    return image;
}

inline Colour pixelOf(const IplImage* image, int32_t x, int32_t y)
{
    Colour colour{};
    for (int32_t c = 0; c < image->nChannels; ++c)
        colour[static_cast<size_t>(c)] = static_cast<int32_t>(element(image, x, y, c));
    return colour;
}

// --- The plain form of both conversions, a pixel at a time -----------------------------

struct PlainMask {
    uint32_t bits = 0;
    int32_t shift = 0;
    int32_t width = 0;
};

inline PlainMask measured(uint32_t bits)
{
    PlainMask mask;
    mask.bits = bits;
    if (bits == 0)
        return mask;
    while ((bits >> mask.shift) % 2 == 0)
        ++mask.shift;
    while (mask.shift + mask.width < 32 && (bits >> (mask.shift + mask.width)) % 2 == 1)
        ++mask.width;
    return mask;
}

// A block of bytes that reads 0 past its end.
struct PlainDib {
    const Bytes& bytes;
    BITMAPINFOHEADER header;
    PlainMask masks[4];

    explicit PlainDib(const Bytes& dib) : bytes(dib), header{}
    {
        std::memcpy(&header, dib.data(), std::min<size_t>(40, dib.size()));
        readMasks();
    }
    uint8_t at(size_t offset) const { return offset < bytes.size() ? bytes[offset] : 0; }
    uint32_t word(size_t offset, size_t size) const
    {
        uint32_t value = 0;
        for (size_t i = 0; i < size; ++i)
            value |= static_cast<uint32_t>(at(offset + i)) << (8 * i);
        return value;
    }
    void readMasks()
    {
        const bool is16 = header.biBitCount == 16;
        uint32_t red = is16 ? 0x7C00 : 0xFF0000;
        uint32_t green = is16 ? 0x03E0 : 0x00FF00;
        uint32_t blue = is16 ? 0x001F : 0x0000FF;
        uint32_t alpha = is16 ? 0 : 0xFF000000;
        if (header.biCompression == 3) {
            red = word(40, is16 ? 2 : 4);
            green = word(44, is16 ? 2 : 4);
            blue = word(48, is16 ? 2 : 4);
            if (!is16)
                alpha = alphaFor(measured(red), measured(green), measured(blue));
        }
        masks[0] = measured(blue);
        masks[1] = measured(green);
        masks[2] = measured(red);
        masks[3] = measured(alpha);
    }
    static uint32_t alphaFor(PlainMask red, PlainMask green, PlainMask blue)
    {
        PlainMask highest = blue;
        if (green.shift > highest.shift)
            highest = green;
        if (red.shift > highest.shift)
            highest = red;
        return 0xFFFFFFFFu << ((highest.shift + highest.width) % 32);
    }
    // The first byte of row y, counted from the top of the picture.
    size_t row(int32_t y) const
    {
        const int32_t rows = static_cast<int32_t>(dibRows(header));
        const int32_t inMemory = header.biHeight > 0 ? rows - 1 - y : y;
        return dibStart(header) + static_cast<size_t>(inMemory) * dibPitch(header);
    }
    Colour entry(uint32_t index) const
    {
        return {at(40 + 4 * index), at(41 + 4 * index), at(42 + 4 * index), at(43 + 4 * index)};
    }
    int32_t unpacked(uint32_t value, int32_t channel) const
    {
        const PlainMask& mask = masks[channel];
        const uint32_t bits = (value & mask.bits) >> mask.shift;
        return static_cast<int32_t>(
            (mask.width >= 8 ? bits >> (mask.width - 8) : bits << (8 - mask.width)) & 255);
    }
    Colour pixel(int32_t x, int32_t y) const
    {
        const size_t start = row(y);
        const size_t column = static_cast<size_t>(x);
        switch (header.biBitCount) {
        case 1:
            return entry((at(start + column / 8) >> (7 - column % 8)) & 1u);
        case 4:
            return entry(x % 2 ? at(start + column / 2) & 15u : at(start + column / 2) / 16u);
        case 8:
            return entry(at(start + column));
        case 24:
            return {at(start + 3 * column), at(start + 3 * column + 1), at(start + 3 * column + 2),
                    0};
        case 16: {
            const uint32_t value = word(start + 2 * column, 2);
            return {unpacked(value, 0), unpacked(value, 1), unpacked(value, 2), 0};
        }
        default: {
            const uint32_t value = word(start + 4 * column, 4);
            return {unpacked(value, 0), unpacked(value, 1), unpacked(value, 2), unpacked(value, 3)};
        }
        }
    }
};

inline std::string sequenceOf(const IplImage* image)
{
    return std::string(image->channelSeq, 4).c_str();
}

// What the image's elements become for a working pixel.
inline void plainStore(IplImage* image, int32_t x, int32_t y, Colour colour)
{
    const std::string sequence = sequenceOf(image);
    if (sequence == "G" || sequence == "GRAY")
        colour[2] = (colour[1] * 183 + colour[2] * 54 + colour[0] * 18) / 256;
    if (sequence == "RGB" || sequence == "RGBA")
        std::swap(colour[0], colour[2]);
    const int32_t scale = image->depth == IPL_DEPTH_16U ? 256 : 1;
    const int32_t row = image->origin == IPL_ORIGIN_BL ? image->height - 1 - y : y;
    if (image->depth == IPL_DEPTH_1U)
        return putElement(image, x, row, 0, colour[2] < 128 ? 0 : 1);
    if (image->nChannels == 1)
        return putElement(image, x, row, 0, colour[2] * scale);
    for (int32_t c = 0; c < image->nChannels; ++c)
        putElement(image, x, row, c, colour[static_cast<size_t>(c)] * scale);
}

inline Colour plainFetch(const IplImage* image, int32_t x, int32_t y)
{
    const std::string sequence = sequenceOf(image);
    const int32_t row = image->origin == IPL_ORIGIN_BL ? image->height - 1 - y : y;
    Colour colour{};
    for (int32_t c = 0; c < image->nChannels; ++c) {
        int32_t value = static_cast<int32_t>(element(image, x, row, c));
        if (image->depth == IPL_DEPTH_1U)
            value *= 255;
        if (image->depth == IPL_DEPTH_16U)
            value /= 256;
        colour[static_cast<size_t>(c)] = value;
    }
    if (image->nChannels == 1)
        colour[1] = colour[2] = colour[0];
    if (sequence == "G" || sequence == "GRAY")
        return {colour[2], colour[2], colour[2], 0};
    if (sequence == "RGB" || sequence == "RGBA")
        std::swap(colour[0], colour[2]);
    return colour;
}

inline int32_t plainNearest(const PlainDib& dib, uint32_t entries, const Colour& colour)
{
    const bool gray = colour[0] == colour[1] && colour[1] == colour[2];
    const Colour own = dib.entry(static_cast<uint32_t>(colour[2]));
    if (entries == 256 && gray && own[0] == colour[2] && own[1] == colour[2] && own[2] == colour[2])
        return colour[2];
    int32_t best = 0;
    int64_t bestSum = INT64_MAX;
    for (uint32_t i = 0; i < entries; ++i) {
        const Colour entry = dib.entry(i);
        int64_t sum = 0;
        for (size_t c = 0; c < 3; ++c)
            sum += int64_t{entry[c] - colour[c]} * (entry[c] - colour[c]);
        if (sum < bestSum) {
            bestSum = sum;
            best = static_cast<int32_t>(i);
        }
    }
    return best;
}

// Writes a working pixel into a copy of the block, where that has room.
inline void plainPut(Bytes& out, const PlainDib& dib, int32_t x, int32_t y, const Colour& colour)
{
    const size_t start = dib.row(y);
    const size_t column = static_cast<size_t>(x);
    const auto put = [&out](size_t offset, uint32_t value) {
        if (offset < out.size())
            out[offset] = static_cast<uint8_t>(value);
    };
    const auto get = [&out](size_t offset) { return offset < out.size() ? out[offset] : 0u; };
    const size_t tableBytes = dib.bytes.size() > 40 ? dib.bytes.size() - 40 : 0;
    const int32_t bits = dib.header.biBitCount;
    uint32_t told = static_cast<uint32_t>((dibStart(dib.header) - 40) / 4);
    if (bits <= 8)
        told = std::min(told, 1u << bits); // as many as a pixel can tell
    const uint32_t entries = std::min(told, static_cast<uint32_t>(tableBytes / 4));
    uint32_t word = 0;
    if (bits == 16 || bits == 32)
        for (int32_t c = 0; c < (bits == 16 ? 3 : 4); ++c) {
            const PlainMask& mask = dib.masks[c];
            const uint32_t value = static_cast<uint32_t>(colour[static_cast<size_t>(c)]);
            const uint32_t scaled =
                mask.width >= 8 ? value << (mask.width - 8) : value >> (8 - mask.width);
            word |= (scaled << mask.shift) & mask.bits;
        }
    switch (bits) {
    case 1: {
        const uint32_t bit = 0x80u >> (column % 8);
        const size_t at = start + column / 8;
        put(at, plainNearest(dib, entries, colour) ? get(at) | bit : get(at) & ~bit);
        break;
    }
    case 4: {
        const uint32_t index = static_cast<uint32_t>(plainNearest(dib, entries, colour));
        const size_t at = start + column / 2;
        put(at, x % 2 ? (get(at) & 0xF0u) + index : (get(at) & 0x0Fu) + index * 16);
        break;
    }
    case 8:
        put(start + column, static_cast<uint32_t>(plainNearest(dib, entries, colour)));
        break;
    default:
        for (size_t i = 0; i < static_cast<size_t>(bits / 8); ++i)
            put(start + column * static_cast<size_t>(bits / 8) + i,
                bits == 24 ? static_cast<uint32_t>(colour[i]) : word >> (8 * i));
    }
}

// --- Random bitmaps and images ---------------------------------------------------------

inline int32_t pick(Random& random, std::initializer_list<int32_t> values)
{
    return *(values.begin() + random.between(0, static_cast<int32_t>(values.size()) - 1));
}

inline BITMAPINFOHEADER randomHeader(Random& random)
{
    const int32_t bits = pick(random, {1, 4, 8, 16, 24, 32});
    const int32_t width = random.between(1, random.coin() ? 40 : 600);
    const int32_t height = random.between(1, 6) * (random.coin() ? 1 : -1);
    const int32_t used = bits == 4 ? random.between(0, 16) : random.between(0, bits == 8 ? 256 : 5);
    return dibHeader(width, height, bits, random.coin() ? 3 : 0, random.coin() ? 0 : used);
}

// Sometimes contiguous, as real ones are, sometimes anything.
inline uint32_t randomMask(Random& random)
{
    if (random.between(0, 3) == 0)
        return random.coin() ? 0 : random.next();
    const int32_t shift = random.between(0, 31);
    const int32_t width = random.between(1, 32 - shift);
    return (width == 32 ? UINT32_MAX : (1u << width) - 1) << shift;
}

inline Bytes randomBitmap(Random& random)
{
    const BITMAPINFOHEADER header = randomHeader(random);
    Bytes dib = randomDib(header, random);
    if (header.biCompression == 3 && header.biBitCount >= 16)
        for (size_t i = 0; i < 3 && 44 + 4 * i <= dib.size(); ++i)
            put32(dib, 40 + 4 * i, randomMask(random));
    return dib;
}

inline Image randomImage(int32_t width, int32_t height, Random& random, bool asSource)
{
    const int32_t nChannels = pick(random, {1, 1, 3, 4});
    const uint32_t depth = nChannels == 1 && random.coin()
                               ? IPL_DEPTH_1U
                               : static_cast<uint32_t>(pick(random, {8, 8, 16}));
    const int32_t alpha = nChannels == 4 && asSource ? 4 : 0;
    Image image = makeImage(width, height, nChannels, depth, random.between(0, 1),
                            pick(random, {4, 8, 16, 32}), alpha, random.between(0, 1));
    randomise(image.get(), random);
    setSequence(image.get(), pick(random, {0, 1}) ? nChannels == 4 ? "BGRA" : "BGR"
                             : random.coin()      ? nChannels == 4 ? "RGBA" : "RGB"
                             : random.coin()      ? "GRAY"
                                                  : "G");
    return image;
}

// Moves the pixels to a block that ends at an inaccessible page.
class GuardedPixels
{
public:
    explicit GuardedPixels(IplImage* image) : buffer(static_cast<size_t>(image->imageSize))
    {
        std::memcpy(buffer.data(), image->imageData, buffer.size());
        iplDeallocateImage(image);
        image->imageData = buffer.as<char>();
    }

private:
    GuardedBuffer buffer;
};

} // namespace plain_dib
