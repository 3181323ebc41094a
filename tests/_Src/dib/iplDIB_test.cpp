#include "_Src/ipl.h"

#include "_Src/dib/format.h"
#include "_Src/dib/palette.h"
#include "tests/support/dibs.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/images.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <string>

namespace
{

constexpr const char* fileName = "iplDIB";
using Colour = std::array<int32_t, 4>; // B, G, R, A

void setSequence(IplImage* image, const char* text)
{
    char padded[4] = {};
    std::memcpy(padded, text, std::min<size_t>(std::strlen(text), 4));
    std::memcpy(image->channelSeq, padded, 4);
}

// The image that a bitmap of its size becomes.
Image converted(const Bytes& dib, int32_t nChannels, uint32_t depth = IPL_DEPTH_8U)
{
    const BITMAPINFOHEADER header = headerOf(dib);
    Image image =
        makeImage(header.biWidth, static_cast<int32_t>(dibRows(header)), nChannels, depth);
    const GuardedBytes block(dib);
    iplConvertFromDIB(block.dib(), image.get());
    return image;
}

Colour pixelOf(const IplImage* image, int32_t x, int32_t y)
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

PlainMask measured(uint32_t bits)
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

std::string sequenceOf(const IplImage* image)
{
    return std::string(image->channelSeq, 4).c_str();
}

// What the image's elements become for a working pixel.
void plainStore(IplImage* image, int32_t x, int32_t y, Colour colour)
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

Colour plainFetch(const IplImage* image, int32_t x, int32_t y)
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

int32_t plainNearest(const PlainDib& dib, uint32_t entries, const Colour& colour)
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
void plainPut(Bytes& out, const PlainDib& dib, int32_t x, int32_t y, const Colour& colour)
{
    const size_t start = dib.row(y);
    const size_t column = static_cast<size_t>(x);
    const auto put = [&out](size_t offset, uint32_t value) {
        if (offset < out.size())
            out[offset] = static_cast<uint8_t>(value);
    };
    const auto get = [&out](size_t offset) { return offset < out.size() ? out[offset] : 0u; };
    const size_t tableBytes = dib.bytes.size() > 40 ? dib.bytes.size() - 40 : 0;
    const uint32_t told = static_cast<uint32_t>((dibStart(dib.header) - 40) / 4);
    const uint32_t entries = std::min(told, static_cast<uint32_t>(tableBytes / 4));
    const int32_t bits = dib.header.biBitCount;
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

int32_t pick(Random& random, std::initializer_list<int32_t> values)
{
    return *(values.begin() + random.between(0, static_cast<int32_t>(values.size()) - 1));
}

BITMAPINFOHEADER randomHeader(Random& random)
{
    const int32_t bits = pick(random, {1, 4, 8, 16, 24, 32});
    const int32_t width = random.between(1, random.coin() ? 40 : 600);
    const int32_t height = random.between(1, 6) * (random.coin() ? 1 : -1);
    const int32_t used = bits == 4 ? random.between(0, 16) : random.between(0, bits == 8 ? 256 : 5);
    return dibHeader(width, height, bits, random.coin() ? 3 : 0, random.coin() ? 0 : used);
}

// Sometimes contiguous, as real ones are, sometimes anything.
uint32_t randomMask(Random& random)
{
    if (random.between(0, 3) == 0)
        return random.coin() ? 0 : random.next();
    const int32_t shift = random.between(0, 31);
    const int32_t width = random.between(1, 32 - shift);
    return (width == 32 ? UINT32_MAX : (1u << width) - 1) << shift;
}

Bytes randomBitmap(Random& random)
{
    const BITMAPINFOHEADER header = randomHeader(random);
    Bytes dib = randomDib(header, random);
    if (header.biCompression == 3 && header.biBitCount >= 16)
        for (size_t i = 0; i < 3 && 44 + 4 * i <= dib.size(); ++i)
            put32(dib, 40 + 4 * i, randomMask(random));
    return dib;
}

Image randomImage(int32_t width, int32_t height, Random& random, bool asSource)
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

} // namespace

// --- From a bitmap ---------------------------------------------------------------------

TEST(IplConvertFromDIB, DoesNotFillTheLowBitsOf16BitPixels)
{
    Bytes dib = emptyDib(dibHeader(1, 1, 16));
    put32(dib, 40, 0x7FFF);
    EXPECT_EQ(pixelOf(converted(dib, 3).get(), 0, 0), (Colour{248, 248, 248, 0}));
}

TEST(IplConvertFromDIB, LeavesAlphaZeroFor24Bits)
{
    const Bytes dib(randomDib(dibHeader(3, 2, 24), *std::make_unique<Random>(1)));
    const Image image = converted(dib, 4);
    for (int32_t y = 0; y < 2; ++y)
        for (int32_t x = 0; x < 3; ++x)
            EXPECT_EQ(element(image.get(), x, y, 3), 0);
}

TEST(IplConvertFromDIB, CarriesTheReservedByteOfAnEntryToAlpha)
{
    Bytes dib = emptyDib(dibHeader(2, 1, 8, 0, 1));
    put32(dib, 40, 0x07030201);
    EXPECT_EQ(pixelOf(converted(dib, 4).get(), 1, 0), (Colour{1, 2, 3, 7}));
}

TEST(IplConvertFromDIB, MakesWhiteA254Gray)
{
    const Bytes dib = dibWith(dibHeader(1, 1, 24), {255, 255, 255, 0});
    EXPECT_EQ(pixelOf(converted(dib, 1).get(), 0, 0)[0], 254);
    EXPECT_EQ(pixelOf(converted(dib, 1, IPL_DEPTH_16U).get(), 0, 0)[0], 254 * 256);
    EXPECT_EQ(pixelOf(converted(dib, 1, IPL_DEPTH_1U).get(), 0, 0)[0], 1);
}

TEST(IplConvertFromDIB, SplitsOneBitImagesAt128)
{
    // A gray of v becomes v * 255 / 256.
    for (const int32_t value : {127, 128, 129}) {
        const uint8_t byte = static_cast<uint8_t>(value);
        const Bytes dib = dibWith(dibHeader(1, 1, 24), {byte, byte, byte, 0});
        EXPECT_EQ(pixelOf(converted(dib, 1, IPL_DEPTH_1U).get(), 0, 0)[0], value == 129 ? 1 : 0);
    }
}

TEST(IplConvertFromDIB, StoresTheGrayInTheThirdChannelOfAGrayColourImage)
{
    const Bytes dib = dibWith(dibHeader(1, 1, 24), {10, 20, 30, 0});
    Image image = makeImage(1, 1, 3, IPL_DEPTH_8U);
    setSequence(image.get(), "GRAY");
    iplConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(dib.data()), image.get());
    const int32_t gray = (20 * 183 + 30 * 54 + 10 * 18) / 256;
    EXPECT_EQ(pixelOf(image.get(), 0, 0), (Colour{10, 20, gray, 0}));
}

TEST(IplConvertFromDIB, GivesAllBitsToAlphaWhereMasksReachTheTop)
{
    Bytes dib = emptyDib(dibHeader(1, 1, 32, 3));
    put32(dib, 40, 0xFF000000); // red
    put32(dib, 44, 0x00FF0000);
    put32(dib, 48, 0x0000FF00);
    put32(dib, 52, 0x11223344);
    EXPECT_EQ(pixelOf(converted(dib, 4).get(), 0, 0), (Colour{0x33, 0x22, 0x11, 0x11}));
}

TEST(IplConvertFromDIB, PutsAlphaAboveTheHighestMask)
{
    Bytes dib = emptyDib(dibHeader(1, 1, 32, 3));
    put32(dib, 40, 0x000000FF);
    put32(dib, 44, 0x00000F00); // the highest: alpha is the 20 bits above it
    put32(dib, 48, 0x00000001);
    put32(dib, 52, 0x5A3C2F81);
    EXPECT_EQ(pixelOf(converted(dib, 4).get(), 0, 0), (Colour{0x80, 0xF0, 0x81, 0x5A}));
}

TEST(IplConvertFromDIB, MakesAChannelWithoutAMaskZero)
{
    for (const int32_t bits : {16, 32}) {
        Bytes dib = emptyDib(dibHeader(1, 1, bits, 3));
        put32(dib, 44, 0x0000F800);
        put32(dib, 52, 0xFFFFFFFF);
        const Colour pixel = pixelOf(converted(dib, 4).get(), 0, 0);
        EXPECT_EQ(pixel[0], 0);
        EXPECT_EQ(pixel[1], 0xF8);
        EXPECT_EQ(pixel[2], 0);
    }
}

TEST(IplConvertFromDIB, TakesTheLowHalfOf16BitMasks)
{
    Bytes dib = emptyDib(dibHeader(1, 1, 16, 3));
    put32(dib, 40, 0x1234F800);
    put32(dib, 44, 0xFFFF07E0);
    put32(dib, 48, 0x0001001F);
    put32(dib, 52, 0xFFFF);
    EXPECT_EQ(pixelOf(converted(dib, 3).get(), 0, 0), (Colour{0xF8, 0xFC, 0xF8, 0}));
}

TEST(IplConvertFromDIB, ReadsOtherDataForIndicesPastTheTableAndZeroPastTheBlock)
{
    Bytes dib = emptyDib(dibHeader(4, 1, 8, 0, 1));
    put32(dib, 40, 0x00030201);
    dib[44] = 0;
    dib[45] = 1; // the second entry is the row itself
    dib[46] = 2; // the third is past the end
    dib[47] = 255;
    const Image image = converted(dib, 4);
    EXPECT_EQ(pixelOf(image.get(), 0, 0), (Colour{1, 2, 3, 0}));
    EXPECT_EQ(pixelOf(image.get(), 1, 0), (Colour{0, 1, 2, 255}));
    EXPECT_EQ(pixelOf(image.get(), 2, 0), Colour{});
    EXPECT_EQ(pixelOf(image.get(), 3, 0), Colour{});
}

TEST(IplConvertFromDIB, AllocatesPixelsForABareHeader)
{
    const Image image(iplCreateImageHeader(4, 0, 8, "RGBA", "BGRA", 0, 0, 4, 2, 1, nullptr, nullptr,
                                           nullptr, nullptr));
    const Bytes dib = dibWith(dibHeader(2, 1, 24), {1, 2, 3, 4, 5, 6, 0, 0});
    iplConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(dib.data()), image.get());
    ASSERT_NE(image->imageData, nullptr);
    EXPECT_EQ(bytesOf(image.get()), (Bytes{1, 2, 3, 0, 4, 5, 6, 0}));
}

TEST(IplConvertFromDIB, LeavesTheImageAfterAnEarlierFailure)
{
    const CleanStatus clean;
    const Bytes dib = dibWith(dibHeader(1, 1, 24), {255, 255, 255, 0});
    const Image image = makeImage(1, 1, 3, IPL_DEPTH_8U);
    iplSetStatus(-12);
    iplConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(dib.data()), image.get());
    EXPECT_EQ(bytesOf(image.get()), Bytes(4));
    EXPECT_EQ(iplGetStatus(), -12);
    iplSetStatus(0);
    iplConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(dib.data()), image.get());
    EXPECT_EQ(bytesOf(image.get()), (Bytes{255, 255, 255, 0}));
}

TEST(IplConvertFromDIB, WritesNothingForSizesOfZeroOrBelow)
{
    const struct {
        int32_t width;
        int32_t height;
    } sizes[] = {{0, 2}, {2, 0}, {-3, 2}, {INT32_MIN, 2}, {0, 0}, {-1, -1}};
    for (const auto& size : sizes) {
        const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
        const Bytes before = bytesOf(image.get());
        const GuardedBytes dib(dibWith(dibHeader(size.width, size.height, 24), {}));
        iplConvertFromDIB(dib.dib(), image.get());
        EXPECT_EQ(bytesOf(image.get()), before);
    }
}

TEST(IplConvertFromDIB, DecompressesBothForms)
{
    // Two rows, the lower one first: 1 1 0, then 0 1 2.
    const Bytes table{0, 0, 0, 0, 10, 10, 10, 0, 20, 20, 20, 0};
    Bytes rle8 = dibWith(dibHeader(3, 2, 8, 1, 3), table);
    rle8.insert(rle8.end(), {2, 1, 1, 0, 0, 0, 0, 3, 0, 1, 2, 0, 0, 1, 0, 0});
    Bytes rle4 = dibWith(dibHeader(3, 2, 4, 2, 3), table);
    rle4.insert(rle4.end(), {2, 0x11, 1, 0, 0, 0, 0, 3, 0x01, 0x20, 0, 1});
    for (const Bytes& dib : {rle8, rle4}) {
        const Image image = converted(dib, 3);
        EXPECT_EQ(bytesOf(image.get()), (Bytes{0,  0,  0,  10, 10, 10, 20, 20, 20, 0, 0, 0,
                                               10, 10, 10, 10, 10, 10, 0,  0,  0,  0, 0, 0}));
    }
}

TEST(IplConvertFromDIB, EqualsThePlainFormForAllFormats)
{
    Random random(7);
    for (int32_t round = 0; round < 3000; ++round) {
        const Bytes dib = randomBitmap(random);
        const PlainDib plain(dib);
        const int32_t height = static_cast<int32_t>(dibRows(plain.header));
        // The image may be larger: what the bitmap does not cover stays.
        const Image image = randomImage(plain.header.biWidth + random.between(0, 9),
                                        height + random.between(0, 2), random, false);
        const Image expected(iplCloneImage(image.get()));
        const GuardedPixels guarded(image.get());
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < plain.header.biWidth; ++x)
                plainStore(expected.get(), x, y, plain.pixel(x, y));
        const GuardedBytes block(dib);
        iplConvertFromDIB(block.dib(), image.get());
        ASSERT_EQ(bytesOf(image.get()), bytesOf(expected.get()))
            << plain.header.biBitCount << " bits, " << image->nChannels << " channels of "
            << image->depth << ", " << sequenceOf(image.get());
    }
}

TEST(IplConvertFromDIB, ReadsZerosPastAShortBlock)
{
    Random random(8);
    for (int32_t round = 0; round < 2000; ++round) {
        Bytes dib = randomBitmap(random);
        dib.resize(static_cast<size_t>(random.between(40, static_cast<int32_t>(dib.size()))));
        const PlainDib plain(dib);
        const int32_t height = static_cast<int32_t>(dibRows(plain.header));
        const Image image = randomImage(plain.header.biWidth, height, random, false);
        const Image expected(iplCloneImage(image.get()));
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < plain.header.biWidth; ++x)
                plainStore(expected.get(), x, y, plain.pixel(x, y));
        const GuardedBytes block(dib);
        ownConvertFromDIB(block.data(), block.size(), image.get());
        ASSERT_EQ(bytesOf(image.get()), bytesOf(expected.get()));
    }
}

TEST(IplConvertFromDIB, IgnoresWidthStepRegionAndMask)
{
    Random random(9);
    const Bytes dib = randomDib(dibHeader(5, 3, 24), random);
    const Image plain = converted(dib, 3);
    const Image image = makeImage(5, 3, 3, IPL_DEPTH_8U);
    setRoi(image.get(), 1, 2, 2, 1, 1);
    giveRandomMask(image.get(), 5, 3, random);
    image->widthStep = 4;
    iplConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(dib.data()), image.get());
    EXPECT_EQ(bytesOf(image.get()), bytesOf(plain.get()));
}

// --- Refusals of iplConvertFromDIB -----------------------------------------------------

namespace
{

void expectFromRefused(const BITMAPINFOHEADER& header, IplImage* image, int32_t status,
                       const std::string& text)
{
    SCOPED_TRACE(text);
    const Bytes dib = dibWith(header, Bytes(2048));
    const BITMAPINFOHEADER* address = reinterpret_cast<const BITMAPINFOHEADER*>(dib.data());
    EXPECT_REPORT(iplConvertFromDIB(address, image), status, "iplConvertFromDIB", text, fileName);
    const ReportsReturn returning;
    iplConvertFromDIB(address, image);
    EXPECT_EQ(iplGetStatus(), status);
}

template<class Change>
void expectImageRefused(Change change, const std::string& text)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    change(image.get());
    expectFromRefused(dibHeader(4, 4, 24), image.get(), -5, text);
}

struct BadHeader {
    BITMAPINFOHEADER header;
    const char* text;
};

// The tests that both directions make of a header, in their order.
std::vector<BadHeader> badHeaders()
{
    BITMAPINFOHEADER longHeader = dibHeader(4, 4, 24);
    longHeader.biSize = 108;
    BITMAPINFOHEADER planes = dibHeader(4, 4, 24);
    planes.biPlanes = 3;
    return {
        {longHeader, "(dib->biSize != sizeof(BITMAPINFOHEADER))"},
        {planes, "(dib->biPlanes != 1)"},
        {dibHeader(4, 4, 24, 4),
         "(dib->biCompression != 0) && (dib->biCompression != 1) && (dib->biCompression != 2) && "
         "(dib->biCompression != 3)"},
        {dibHeader(4, 4, 4, 1), "(dib->biBitCount != 8) && (dib->biCompression == 1)"},
        {dibHeader(4, 4, 8, 2), "(dib->biBitCount != 4) && (dib->biCompression == 2)"},
        {dibHeader(4, -4, 8, 1), "(dib->biHeight < 0) && ( (dib->biCompression == 1) || "
                                 "(dib->biCompression == 2) )"},
        {dibHeader(4, -4, 4, 2), "(dib->biHeight < 0) && ( (dib->biCompression == 1) || "
                                 "(dib->biCompression == 2) )"},
        {dibHeader(4, 4, 24, 0, 0x8001), "(dib->biClrUsed > 0x8000)"},
        {dibHeader(4, 4, 24, 0, 0xFFFFFFFF), "(dib->biClrUsed > 0x8000)"},
        {dibHeader(4, 4, 8, 0, 257), "( dib->biBitCount==8 && dib->biClrUsed>256 )"},
        {dibHeader(4, 4, 4, 0, 17), "( dib->biBitCount==4 && dib->biClrUsed>16 )"},
    };
}

} // namespace

TEST(IplConvertFromDIB, RefusesNullArguments)
{
    const Bytes dib = emptyDib(dibHeader(4, 4, 24));
    const BITMAPINFOHEADER* address = reinterpret_cast<const BITMAPINFOHEADER*>(dib.data());
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    EXPECT_REPORT(iplConvertFromDIB(nullptr, image.get()), -5, "iplConvertFromDIB", "dib==0",
                  fileName);
    EXPECT_REPORT(iplConvertFromDIB(address, nullptr), -5, "iplConvertFromDIB", "image==0",
                  fileName);
    const ReportsReturn returning;
    static int32_t reports;
    reports = 0;
    iplErrorState.handler = [](int32_t status, const char*, const char*, const char*, int32_t) {
        ++reports;
        return status;
    };
    iplConvertFromDIB(nullptr, nullptr);
    EXPECT_EQ(reports, 2) << "the image is tested also after the bitmap was reported";
}

TEST(IplConvertFromDIB, RefusesImages)
{
    expectImageRefused([](IplImage* image) { image->alphaChannel = -1; },
                       "( image->alphaChannel < 0 )");
    expectImageRefused([](IplImage* image) { image->alphaChannel = 4; },
                       "( image->nChannels < image->alphaChannel )");
    expectImageRefused([](IplImage* image) { image->dataOrder = 2; },
                       "( (image->dataOrder != 0) && (image->dataOrder != 1) )");
    expectImageRefused([](IplImage* image) { image->origin = 2; },
                       "( (image->origin != 0) && (image->origin != 1) )");
    expectImageRefused([](IplImage* image) { image->align = 12; },
                       "( (image->align != 4) && (image->align != 8) && (image->align != 16) && "
                       "(image->align != 32) )");
    expectImageRefused([](IplImage* image) { image->height = 0; }, "(image->height <= 0)");
    expectImageRefused([](IplImage* image) { image->width = -1; }, "(image->width <= 0)");
    expectImageRefused([](IplImage* image) { image->imageSize = 0; }, "(image->imageSize <= 0)");
    expectImageRefused([](IplImage* image) { image->widthStep = 0; }, "(image->widthStep <= 0)");
    // The first of several failures is told.
    expectImageRefused([](IplImage* image) { image->height = image->width = image->align = 0; },
                       "( (image->align != 4) && (image->align != 8) && (image->align != 16) && "
                       "(image->align != 32) )");
}

TEST(IplConvertFromDIB, RefusesHeaders)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    for (const BadHeader& bad : badHeaders())
        expectFromRefused(bad.header, image.get(), -5, bad.text);
}

TEST(IplConvertFromDIB, RefusesASmallerImage)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    const char* text = "Image size is too small";
    expectFromRefused(dibHeader(5, 4, 24), image.get(), -10, text);
    expectFromRefused(dibHeader(4, 5, 24), image.get(), -10, text);
    expectFromRefused(dibHeader(4, -5, 24), image.get(), -10, text);
    expectFromRefused(dibHeader(4, INT32_MIN, 24), image.get(), -10, text);
    expectFromRefused(dibHeader(INT32_MAX, INT32_MAX, 32), image.get(), -10, text);
}

TEST(IplConvertFromDIB, RefusesChannelSequences)
{
    for (const char* sequence : {"G   ", "BGRX", "YUV", ""}) {
        const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
        setSequence(image.get(), sequence);
        expectFromRefused(dibHeader(4, 4, 24), image.get(), -14, "image->channelSeq unsupport");
    }
}

TEST(IplConvertFromDIB, RefusesOtherCombinationsWithoutAText)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    for (const int32_t bits : {0, 2, 15, 48, 65535})
        expectFromRefused(dibHeader(4, 4, bits), image.get(), -3, "");
    const Image twoChannels(iplCreateImageHeader(2, 0, 8, "RGB", "BGR", 0, 0, 4, 4, 4, nullptr,
                                                 nullptr, nullptr, nullptr));
    expectFromRefused(dibHeader(4, 4, 24), twoChannels.get(), -3, "");
    for (const uint32_t depth : {IPL_DEPTH_8S, IPL_DEPTH_32S, IPL_DEPTH_32F})
        expectFromRefused(dibHeader(4, 4, 24), makeImage(4, 4, 3, depth).get(), -3, "");
    // The bit count is looked at before the sequence, that before the store.
    setSequence(twoChannels.get(), "none");
    expectFromRefused(dibHeader(4, 4, 2), twoChannels.get(), -3, "");
    expectFromRefused(dibHeader(4, 4, 24), twoChannels.get(), -14, "image->channelSeq unsupport");
}

TEST(IplConvertFromDIB, ReportsPixelsThatCannotBeHad)
{
    IplImage* record = iplCreateImageHeader(4, 0, 8, "RGBA", "BGRA", 0, 0, 4, 65536, 16000, nullptr,
                                            nullptr, nullptr, nullptr);
    const Image image(record);
    image->imageSize = 1; // the tests see nothing wrong
    const Bytes dib = dibWith(dibHeader(1, 1, 24), Bytes(4));
    const BITMAPINFOHEADER* address = reinterpret_cast<const BITMAPINFOHEADER*>(dib.data());
    EXPECT_REPORT(iplConvertFromDIB(address, image.get()), -4, "iplAllocateImage",
                  "for allocate image data", "iplalloc");
    const ReportsReturn returning;
    static std::string last;
    iplErrorState.handler = [](int32_t status, const char*, const char* text, const char*,
                               int32_t) {
        last = text;
        return status;
    };
    iplConvertFromDIB(address, image.get());
    EXPECT_EQ(last, "Not enough memory to allocate data for destination image");
}

TEST(IplConvertFromDIB, WritesNothingToPixelsOfASizeThatWrapsToNothing)
{
    const CleanStatus clean;
    const Image image(iplCreateImageHeader(4, 0, 8, "RGBA", "BGRA", 0, 0, 4, 65536, 16384, nullptr,
                                           nullptr, nullptr, nullptr));
    image->imageSize = 1; // the tests see nothing wrong
    const Bytes dib = dibWith(dibHeader(1, 1, 24), Bytes(4));
    iplConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(dib.data()), image.get());
    EXPECT_EQ(image->imageSize, 0);
    EXPECT_EQ(iplGetStatus(), 0);
}

TEST(IplConvertFromDIB, ReportsAStreamThatCannotBeDecoded)
{
    const Image image = makeImage(4, 4, 1, IPL_DEPTH_8U);
    const Bytes dib = dibWith(dibHeader(4, 4, 8, 1, 1), Bytes(16));
    const BITMAPINFOHEADER* address = reinterpret_cast<const BITMAPINFOHEADER*>(dib.data());
    EXPECT_REPORT(iplConvertFromDIB(address, image.get()), -5, "ownDecompressRLE",
                  "Incorrect format of BI_RLE8 DIB (mismatch biWidth)", "ownrle");
    // No rows at all is no block.
    const Bytes empty = dibWith(dibHeader(4, 0, 8, 1, 1), Bytes(16));
    EXPECT_REPORT(
        iplConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(empty.data()), image.get()), -4,
        "ownDecompressRLE", "Not enough memory to decompress BI_RLE8 DIB at DIB", "ownrle");
    const ReportsReturn returning;
    iplConvertFromDIB(address, image.get());
    EXPECT_EQ(iplGetStatus(), -3) << "the report that follows the decoder's";
}

// --- To a bitmap -----------------------------------------------------------------------

TEST(IplConvertToDIB, GivesTheIndicesOfBlackAndWhite)
{
    const Image image = makeImage(10, 2, 1, IPL_DEPTH_1U);
    rowOf(image.get(), 0)[0] = 0xA5;
    rowOf(image.get(), 1)[1] = 0x40;
    Bytes dib = emptyDib(dibHeader(10, 2, 8, 0, 2));
    put32(dib, 44, 0x00FFFFFF);
    const GuardedBytes block(dib);
    EXPECT_EQ(iplConvertToDIB(image.get(), block.dib(), 1, 0), 0);
    EXPECT_EQ(Bytes(block.data() + 48, block.data() + 72),
              (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0, 1, 0, 0, 1, 0, 1, 0, 0, 0, 0}));
}

TEST(IplConvertToDIB, EqualsThePlainFormForAllFormats)
{
    Random random(11);
    for (int32_t round = 0; round < 2000; ++round) {
        const Bytes dib = randomBitmap(random);
        const PlainDib plain(dib);
        const int32_t height = static_cast<int32_t>(dibRows(plain.header));
        const Image image = randomImage(plain.header.biWidth, height, random, true);
        const GuardedPixels guarded(image.get());
        Bytes expected = dib;
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < plain.header.biWidth; ++x)
                plainPut(expected, plain, x, y, plainFetch(image.get(), x, y));
        const GuardedBytes block(dib);
        ASSERT_EQ(iplConvertToDIB(image.get(), block.dib(), 1, 0),
                  static_cast<int32_t>(plain.header.biCompression));
        ASSERT_EQ(block.bytes(), expected) << plain.header.biBitCount << " bits";
    }
}

TEST(IplConvertToDIB, WritesNothingPastAShortBlock)
{
    Random random(12);
    for (int32_t round = 0; round < 1000; ++round) {
        Bytes dib = randomBitmap(random);
        dib.resize(static_cast<size_t>(random.between(40, static_cast<int32_t>(dib.size()))));
        const PlainDib plain(dib);
        const int32_t height = static_cast<int32_t>(dibRows(plain.header));
        const Image image = randomImage(plain.header.biWidth, height, random, true);
        Bytes expected = dib;
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < plain.header.biWidth; ++x)
                plainPut(expected, plain, x, y, plainFetch(image.get(), x, y));
        const GuardedBytes block(dib);
        ownConvertToDIB(image.get(), block.data(), block.size(), 1, 0);
        ASSERT_EQ(block.bytes(), expected);
    }
}

TEST(IplConvertToDIB, CompressesWhereAsked)
{
    const Image image = makeImage(64, 4, 1, IPL_DEPTH_8U);
    for (const int32_t bits : {4, 8}) {
        Bytes dib = emptyDib(dibHeader(64, 4, bits, bits == 8 ? 1 : 2, 2));
        put32(dib, 40, 0x00FFFFFF);
        const GuardedBytes block(dib);
        EXPECT_EQ(iplConvertToDIB(image.get(), block.dib(), 1, 0), 1);
        const Bytes result = block.bytes();
        EXPECT_EQ(block.header().biSizeImage, 4u * 4 + 2);
        EXPECT_EQ(Bytes(result.begin() + 48, result.begin() + 52),
                  (Bytes{64, static_cast<uint8_t>(bits == 8 ? 1 : 0x11), 0, 0}));
        const Image back = makeImage(64, 4, 1, IPL_DEPTH_8U);
        randomise(back.get(), *std::make_unique<Random>(1));
        ownConvertFromDIB(block.data(), block.size(), back.get());
        EXPECT_EQ(bytesOf(back.get()), bytesOf(image.get()));
    }
}

// --- Refusals of iplConvertToDIB -------------------------------------------------------

namespace
{

void expectToRefused(IplImage* image, const BITMAPINFOHEADER& header, int32_t dither,
                     int32_t paletteConversion, int32_t status, const std::string& text)
{
    SCOPED_TRACE(text);
    Bytes dib = dibWith(header, Bytes(4096));
    BITMAPINFOHEADER* address = reinterpret_cast<BITMAPINFOHEADER*>(dib.data());
    EXPECT_REPORT(iplConvertToDIB(image, address, dither, paletteConversion), status,
                  "iplConvertToDIB", text, fileName);
    const ReportsReturn returning;
    EXPECT_EQ(iplConvertToDIB(image, address, dither, paletteConversion), status);
}

} // namespace

TEST(IplConvertToDIB, RefusesImages)
{
    const BITMAPINFOHEADER header = dibHeader(4, 4, 24);
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    expectToRefused(nullptr, header, 1, 0, -9, "Incorrect Image");
    image->align = 5;
    expectToRefused(image.get(), header, 1, 0, -21, "Incorrect Image");
    image->align = 4;
    EXPECT_REPORT(iplConvertToDIB(image.get(), nullptr, 1, 0), -5, "iplConvertToDIB", "dib==0",
                  fileName);
    const auto refuse = [&header](int32_t nChannels, uint32_t depth, int32_t alpha,
                                  const char* text) {
        const Image bad = makeImage(4, 4, nChannels, depth, 0, 4, alpha);
        expectToRefused(bad.get(), header, 1, 0, -5, text);
    };
    refuse(5, IPL_DEPTH_8U, 0, "(image->nChannels <= 0 || image->nChannels > 4)");
    for (const uint32_t depth : {IPL_DEPTH_8S, IPL_DEPTH_16S, IPL_DEPTH_32S, IPL_DEPTH_32F})
        refuse(3, depth, 0,
               "( (image->depth != 1) && (image->depth != 8) && (image->depth != 16) )");
    refuse(3, IPL_DEPTH_8U, 3, "(image->alphaChannel != 0 && image->alphaChannel != 4)");
    // A handle of 32 bits: four channels without an alpha channel.
    refuse(4, IPL_DEPTH_8U, 0, "(image->nChannels != 3 && image->nChannels != 1)");
    refuse(2, IPL_DEPTH_8U, 0, "(image->nChannels != 3 && image->nChannels != 1)");
}

TEST(IplConvertToDIB, RefusesOtherSizes)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    const char* text = "(image->width != dib->biWidth || image->height != abs_biHeight)";
    for (const BITMAPINFOHEADER& header :
         {dibHeader(3, 4, 24), dibHeader(4, 5, 24), dibHeader(4, -5, 24),
          dibHeader(4, INT32_MIN, 24), dibHeader(-4, 4, 24), dibHeader(4, 0, 24)})
        expectToRefused(image.get(), header, 1, 0, -5, text);
}

TEST(IplConvertToDIB, RefusesHeaders)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    for (const BadHeader& bad : badHeaders())
        expectToRefused(image.get(), bad.header, 1, 0, -5, bad.text);
}

TEST(IplConvertToDIB, RefusesOtherArguments)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    const BITMAPINFOHEADER header = dibHeader(4, 4, 8);
    for (const int32_t dither : {0, 3, 32, -1})
        expectToRefused(
            image.get(), header, dither, 0, -5,
            "(dither != 1 && dither != 2 && dither != 4 && dither != 8 && dither != 16)");
    for (const int32_t conversion : {-1, 3})
        expectToRefused(image.get(), header, 1, conversion, -5,
                        "(paletteConversion != 0 && paletteConversion != 1 && "
                        "paletteConversion != 2)");
    expectToRefused(image.get(), dibHeader(4, 4, 12), 1, 2, -3, "Error of creating medcut palette");
    expectToRefused(image.get(), dibHeader(4, 4, 12), 1, 0, -5, "dib->biBitCount is bad");
    expectToRefused(image.get(), dibHeader(4, 4, 48), 1, 0, -5, "dib->biBitCount is bad");
    setSequence(image.get(), "none");
    expectToRefused(image.get(), header, 1, 0, -14, "image->channelSeq unsupport");
    expectToRefused(image.get(), header, 1, 2, -3, "Error of creating medcut palette");
    setSequence(image.get(), "GRAY");
    expectToRefused(image.get(), header, 1, 2, -3, "Error of creating medcut palette");
}

// Nothing reduces the levels of an image yet, so that no dither can be had.
TEST(IplConvertToDIB, RefusesToDither)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    for (const int32_t dither : {2, 4, 8, 16})
        for (const int32_t bits : {1, 4, 8, 16, 24, 32})
            expectToRefused(image.get(), dibHeader(4, 4, bits), dither, 0, -3,
                            "Dithering can't be produced");
    expectToRefused(image.get(), dibHeader(4, 4, 2), 2, 0, -5,
                    "Parameter biBitCount of DIB-image have illegal value");
}

// --- Masks -----------------------------------------------------------------------------

TEST(OwnMaskSize, MeasuresTheLowestRunOfOnes)
{
    const struct {
        uint32_t bits;
        int32_t shift;
        int32_t width;
    } masks[] = {{0, 0, 0},           {1, 0, 1},           {0x7C00, 10, 5},
                 {0xFF0000, 16, 8},   {0xFF000000, 24, 8}, {0xFFFFFFFF, 0, 32},
                 {0x80000000, 31, 1}, {0xFFFFFFFE, 1, 31}, {0xF0F0, 4, 4}};
    for (const auto& mask : masks) {
        const OwnMask measuredMask = ownMaskSize(mask.bits);
        EXPECT_EQ(measuredMask.shift, mask.shift) << std::hex << mask.bits;
        EXPECT_EQ(measuredMask.width, mask.width) << std::hex << mask.bits;
    }
}

// --- Palettes --------------------------------------------------------------------------

TEST(OwnPaletteSize, GoesByBitCountAndMasks)
{
    for (const int32_t bits : {1, 4, 8}) {
        EXPECT_EQ(ownPaletteSize(dibHeader(1, 1, bits)), 1u << bits);
        EXPECT_EQ(ownPaletteSize(dibHeader(1, 1, bits, 3, 5)), 5u);
    }
    for (const int32_t bits : {16, 32}) {
        EXPECT_EQ(ownPaletteSize(dibHeader(1, 1, bits)), 0u);
        EXPECT_EQ(ownPaletteSize(dibHeader(1, 1, bits, 0, 7)), 7u);
        EXPECT_EQ(ownPaletteSize(dibHeader(1, 1, bits, 3)), 3u);
        EXPECT_EQ(ownPaletteSize(dibHeader(1, 1, bits, 3, 3)), 6u);
    }
    EXPECT_EQ(ownPaletteSize(dibHeader(1, 1, 24)), 0u);
    EXPECT_EQ(ownPaletteSize(dibHeader(1, 1, 24, 3, 7)), 7u);
}

namespace
{

int32_t nearestIn(const std::vector<uint32_t>& table, uint32_t colour)
{
    Bytes bytes;
    for (const uint32_t entry : table)
        append32(bytes, entry);
    const GuardedBytes guarded(bytes);
    const OwnPixel pixel{{static_cast<uint8_t>(colour), static_cast<uint8_t>(colour >> 8),
                          static_cast<uint8_t>(colour >> 16), 0}};
    return ownNearestColor({guarded.data(), static_cast<int32_t>(table.size())}, pixel);
}

} // namespace

TEST(OwnNearestColor, TakesTheLowestOfEquals)
{
    EXPECT_EQ(nearestIn({0x000000, 0x000004, 0x000000}, 0x000002), 0);
    EXPECT_EQ(nearestIn({0x000004, 0x000000, 0x000002, 0x000002}, 0x000002), 2);
    EXPECT_EQ(nearestIn({0x0A0000, 0x000A00, 0x00000A}, 0), 0);
    EXPECT_EQ(nearestIn({0xFF0000}, 0x00FF00), 0);
}

TEST(OwnNearestColor, IgnoresTheReservedByte)
{
    EXPECT_EQ(nearestIn({0x00000003, 0xFF000002}, 0x000002), 1);
}

TEST(OwnNearestColor, TakesAGrayAtItsOwnPlaceInAFullTable)
{
    std::vector<uint32_t> table(256, 0x202020);
    EXPECT_EQ(nearestIn(table, 0x202020), 0x20);
    EXPECT_EQ(nearestIn(table, 0x212121), 0);
    table[0x20] = 0x202021;
    EXPECT_EQ(nearestIn(table, 0x202020), 0);
    table.resize(255, 0);
    table[0x20] = 0x202020;
    EXPECT_EQ(nearestIn(table, 0x202020), 0);
}

TEST(OwnNearestColor, EqualsThePlainFormForRandomTables)
{
    Random random(13);
    for (int32_t round = 0; round < 3000; ++round) {
        const int32_t size = random.coin() ? 256 : random.between(1, 256);
        std::vector<uint32_t> table;
        Bytes dib(40);
        for (int32_t i = 0; i < size; ++i) {
            // Few levels, so that ties are frequent.
            table.push_back(random.next() & 0x00C0C0C0);
            append32(dib, table.back());
        }
        const PlainDib plain(dib);
        const uint32_t colour = random.coin()
                                    ? random.next() & 0xF0F0F0
                                    : static_cast<uint32_t>(random.between(0, 255)) * 0x010101u;
        const Colour pixel{static_cast<int32_t>(colour & 255),
                           static_cast<int32_t>((colour >> 8) & 255),
                           static_cast<int32_t>(colour >> 16), 0};
        ASSERT_EQ(nearestIn(table, colour),
                  plainNearest(plain, static_cast<uint32_t>(size), pixel));
    }
}

namespace
{

// The table that a conversion leaves, with the spare bytes preset to 0xEE.
Bytes standardTable(int32_t bits, uint32_t clrUsed, int32_t nChannels)
{
    Bytes dib = emptyDib(dibHeader(4, 4, bits, 0, clrUsed));
    std::fill(dib.begin() + 40, dib.end(), uint8_t{0xEE});
    const GuardedBytes block(dib);
    const Image image = makeImage(4, 4, nChannels, IPL_DEPTH_8U);
    EXPECT_EQ(iplConvertToDIB(image.get(), block.dib(), 1, 1), 0);
    EXPECT_EQ(block.header().biClrUsed, clrUsed);
    const Bytes result = block.bytes();
    return Bytes(result.begin() + 40, result.begin() + static_cast<ptrdiff_t>(dibStart(
                                                           dibHeader(4, 4, bits, 0, clrUsed))));
}

} // namespace

TEST(OwnStandardPalette, HasBlackAndWhiteForTwoEntries)
{
    for (const int32_t nChannels : {1, 3}) {
        EXPECT_EQ(standardTable(1, 0, nChannels), (Bytes{0, 0, 0, 0, 255, 255, 255, 0}));
        EXPECT_EQ(standardTable(8, 2, nChannels), (Bytes{0, 0, 0, 0, 255, 255, 255, 0}));
    }
}

TEST(OwnStandardPalette, HasSixteenGraysOrColours)
{
    const Bytes grays = standardTable(4, 0, 1);
    const Bytes colours = standardTable(8, 16, 3);
    const uint32_t words[16] = {0x000000, 0x800000, 0x008000, 0x808000, 0x000080, 0x800080,
                                0x008080, 0x808080, 0xC0C0C0, 0xFF0000, 0x00FF00, 0xFFFF00,
                                0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF};
    for (uint32_t i = 0; i < 16; ++i) {
        EXPECT_EQ(get32(grays, 4 * i), i * 17 * 0x010101u);
        EXPECT_EQ(get32(colours, 4 * i), words[i]);
    }
}

TEST(OwnStandardPalette, Has256GraysOrColours)
{
    const Bytes grays = standardTable(8, 0, 1);
    const Bytes colours = standardTable(8, 256, 3);
    const uint32_t red[8] = {0, 0x20, 0x40, 0x60, 0x80, 0xA0, 0xC0, 0xFF};
    const uint32_t blue[4] = {0, 0x40, 0x80, 0xFF};
    for (uint32_t i = 0; i < 256; ++i) {
        EXPECT_EQ(get32(grays, 4 * i), i * 0x010101u);
        EXPECT_EQ(get32(colours, 4 * i),
                  red[i / 32] * 0x10000u + red[i / 4 % 8] * 0x100u + blue[i % 4]);
    }
}

TEST(OwnStandardPalette, LeavesATableOfAnotherSize)
{
    EXPECT_EQ(standardTable(8, 17, 3), Bytes(17 * 4, 0xEE));
    EXPECT_EQ(standardTable(4, 15, 1), Bytes(15 * 4, 0xEE));
    const Bytes bytes = emptyDib(dibHeader(1, 1, 8, 0, 17));
    EXPECT_EQ(ownStandardPalette(ownOpenDib(bytes.data(), bytes.size()), true), 0);
}

// --- Median cut ------------------------------------------------------------------------

namespace
{

// Median cut over a list of pixels, in the order of its description: boxes with
// limits in index units, counts summed plane by plane.
class PlainMedianCut
{
public:
    PlainMedianCut(const IplImage* image, size_t limit) : gray(image->nChannels == 1)
    {
        for (int32_t y = 0; y < image->height; ++y)
            for (int32_t x = 0; x < image->width; ++x)
                count(plainFetch(image, x, y));
        total = static_cast<int64_t>(image->width) * image->height;
        if (bins.size() <= limit)
            for (const auto& [bin, pixels] : bins)
                table.push_back(colourOf(bin));
        else
            cut(limit);
    }
    std::vector<Colour> table; // B, G, R

private:
    struct Box {
        int32_t splits;
        std::array<int32_t, 3> low;
        std::array<int32_t, 3> high;
        int64_t count;
    };

    void count(const Colour& pixel)
    {
        const int32_t bin =
            gray ? pixel[0] : pixel[2] / 4 + 64 * (pixel[1] / 4) + 4096 * (pixel[0] / 4);
        ++bins[bin];
    }
    std::array<int32_t, 3> placeOf(int32_t bin) const
    {
        if (gray)
            return {bin, 0, 0};
        return {bin % 64, bin / 64 % 64, bin / 4096};
    }
    Colour colourOf(int32_t bin) const
    {
        if (gray)
            return {bin, bin, bin, 0};
        return {bin / 4096 * 4, bin / 64 % 64 * 4, bin % 64 * 4, 0};
    }
    bool holds(const Box& box, int32_t bin) const
    {
        const auto place = placeOf(bin);
        for (size_t a = 0; a < 3; ++a)
            if (place[a] < box.low[a] || place[a] > box.high[a])
                return false;
        return true;
    }
    void shrink(Box& box) const
    {
        Box tight = box;
        tight.low = {999, 999, 999};
        tight.high = {-1, -1, -1};
        for (const auto& [bin, pixels] : bins) {
            if (!holds(box, bin))
                continue;
            const auto place = placeOf(bin);
            for (size_t a = 0; a < 3; ++a) {
                tight.low[a] = std::min(tight.low[a], place[a]);
                tight.high[a] = std::max(tight.high[a], place[a]);
            }
        }
        box = tight;
    }
    int64_t planeCount(const Box& box, size_t axis, int32_t position) const
    {
        int64_t sum = 0;
        for (const auto& [bin, pixels] : bins)
            if (holds(box, bin) && placeOf(bin)[axis] == position)
                sum += pixels;
        return sum;
    }
    void split(Box& box, Box& above) const
    {
        size_t axis = 0;
        for (size_t a = 1; a < 3; ++a)
            if (box.high[a] - box.low[a] > box.high[axis] - box.low[axis])
                axis = a;
        const int64_t half = box.count / 2;
        int64_t sum = 0;
        int64_t before = 0;
        int32_t position = box.low[axis] - 1;
        while (sum <= half) {
            before = sum;
            sum += planeCount(box, axis, ++position);
        }
        if (half - before < sum - half) {
            sum = before;
            --position;
        }
        above = box;
        above.low[axis] = position + 1;
        above.count = box.count - sum;
        box.high[axis] = position;
        box.count = sum;
        shrink(box);
        shrink(above);
    }
    void cut(size_t limit)
    {
        std::vector<Box> boxes{{0, {0, 0, 0}, {255, 255, 255}, total}};
        shrink(boxes[0]);
        for (size_t before = 0; before < boxes.size() && boxes.size() < limit;) {
            before = boxes.size();
            for (size_t i = 0; i < before && boxes.size() < limit; ++i) {
                if (boxes[i].splits == 255)
                    continue;
                Box above;
                split(boxes[i], above);
                if (boxes[i].low == boxes[i].high) {
                    boxes[i].splits = 255;
                    above.splits = 255;
                } else {
                    above.splits = ++boxes[i].splits;
                    if (above.low == above.high)
                        above.splits = 255;
                }
                boxes.push_back(above);
            }
        }
        for (const Box& box : boxes)
            table.push_back(mean(box));
    }
    Colour mean(const Box& box) const
    {
        int64_t sums[3] = {};
        for (const auto& [bin, pixels] : bins)
            if (holds(box, bin))
                for (size_t c = 0; c < 3; ++c)
                    sums[c] += static_cast<int64_t>(colourOf(bin)[c]) * pixels;
        Colour colour{};
        for (size_t c = 0; c < 3; ++c)
            colour[c] = static_cast<int32_t>(sums[c] / box.count);
        return colour;
    }

    bool gray;
    int64_t total = 0;
    std::map<int32_t, int64_t> bins;
};

struct MedianCut {
    Bytes block;
    BITMAPINFOHEADER header;
};

// A conversion that makes its own table, in a block with room for the largest.
MedianCut medianCut(const IplImage* image, int32_t bits, uint32_t clrUsed = 0)
{
    const BITMAPINFOHEADER header = dibHeader(image->width, image->height, bits, 0, clrUsed);
    const Bytes dib = dibWith(header, Bytes(1024 + dibPitch(header) * dibRows(header), 0xEE));
    const GuardedBytes block(dib);
    EXPECT_EQ(iplConvertToDIB(image, block.dib(), 1, 2), 0);
    return {block.bytes(), block.header()};
}

std::vector<uint32_t> tableOf(const MedianCut& result)
{
    std::vector<uint32_t> table;
    for (size_t i = 0; i < result.header.biClrUsed; ++i)
        table.push_back(get32(result.block, 40 + 4 * i));
    return table;
}

Image grayRow(const Bytes& values)
{
    Image image = makeImage(static_cast<int32_t>(values.size()), 1, 1, IPL_DEPTH_8U);
    std::memcpy(image->imageData, values.data(), values.size());
    return image;
}

} // namespace

TEST(OwnMedianCutPalette, HasBlackAndWhiteForABitImage)
{
    const Image image = makeImage(9, 2, 1, IPL_DEPTH_1U);
    rowOf(image.get(), 1)[0] = 0x80;
    const MedianCut result = medianCut(image.get(), 8);
    EXPECT_EQ(tableOf(result), (std::vector<uint32_t>{0x000000, 0xFFFFFF}));
    // The rows follow the new table, not the 256 entries of before.
    EXPECT_EQ(result.block[48], 1);
    EXPECT_EQ(result.block[49], 0);
}

TEST(OwnMedianCutPalette, ListsTheGraysThatFit)
{
    const Image image = grayRow({200, 7, 7, 255, 0, 9, 200, 3});
    const MedianCut result = medianCut(image.get(), 4, 2);
    EXPECT_EQ(tableOf(result),
              (std::vector<uint32_t>{0, 0x030303, 0x070707, 0x090909, 0xC8C8C8, 0xFFFFFF}));
    EXPECT_EQ(Bytes(result.block.begin() + 64, result.block.begin() + 68),
              (Bytes{0x42, 0x25, 0x03, 0x41}));
}

TEST(OwnMedianCutPalette, ListsTheHighBytesOf16BitGrays)
{
    const Image image = makeImage(3, 1, 1, IPL_DEPTH_16U);
    putElement(image.get(), 0, 0, 0, 0x12FF);
    putElement(image.get(), 1, 0, 0, 0x1200);
    putElement(image.get(), 2, 0, 0, 0xFE01);
    EXPECT_EQ(tableOf(medianCut(image.get(), 8)), (std::vector<uint32_t>{0x121212, 0xFEFEFE}));
}

TEST(OwnMedianCutPalette, CutsGraysWhereTheCountComesNearestToHalf)
{
    // Of eight, half is four: the sum passes it at 30 with five, after three.
    // Neither is nearer, so the plane of 30 stays below.
    const Image image = grayRow({10, 10, 20, 30, 30, 50, 60, 61});
    EXPECT_EQ(tableOf(medianCut(image.get(), 1)),
              (std::vector<uint32_t>{0x141414, 0x393939})); // 100 / 5, 171 / 3
    // The sum before is strictly nearer: 3 rather than 7 of 8.
    const Image stepBack = grayRow({10, 10, 20, 30, 30, 30, 30, 61});
    EXPECT_EQ(tableOf(medianCut(stepBack.get(), 1)),
              (std::vector<uint32_t>{0x0D0D0D, 0x242424})); // 40 / 3, 181 / 5
}

TEST(OwnMedianCutPalette, ListsTheColoursThatFitByTheirHighSixBits)
{
    const Image image = makeImage(4, 1, 3, IPL_DEPTH_8U);
    const uint8_t pixels[12] = {255, 0, 0, 3, 7, 9, 0, 255, 0, 0, 4, 8};
    std::memcpy(image->imageData, pixels, 12);
    // By blue, then green, then red; the low two bits are gone.
    EXPECT_EQ(tableOf(medianCut(image.get(), 8)),
              (std::vector<uint32_t>{0x080400, 0x00FC00, 0x0000FC}));
}

TEST(OwnMedianCutPalette, TakesTheNewBoxAsDoneWhenTheOldIsOneBin)
{
    // Half of the pixels are of one colour, the rest of seven others on one
    // axis: the first split takes that colour alone, and then nothing more.
    Image image = makeImage(14, 1, 3, IPL_DEPTH_8U);
    for (int32_t x = 0; x < 14; ++x)
        putElement(image.get(), x, 0, 2, x < 7 ? 0 : 100 + 20 * (x - 7));
    EXPECT_EQ(tableOf(medianCut(image.get(), 2 + 2)).size(), 8u) << "eight colours fit sixteen";
    const Bytes dib = dibWith(dibHeader(14, 1, 2), Bytes(64));
    OwnDib open = ownOpenDib(dib.data(), dib.size());
    EXPECT_EQ(ownMedianCutPalette(&open, image.get()), 2);
    EXPECT_EQ(open.header.biClrUsed, 2u);
    EXPECT_EQ(get32(dib, 32), 2u);
    EXPECT_EQ(get32(dib, 40), 0u);
    EXPECT_EQ(get32(dib, 44), (100u + 120 + 140 + 160 + 180 + 200 + 220) / 7 << 16);
}

TEST(OwnMedianCutPalette, EqualsThePlainFormForRandomImages)
{
    Random random(17);
    for (int32_t round = 0; round < 150; ++round) {
        const int32_t nChannels = pick(random, {1, 3, 4});
        Image image = makeImage(random.between(1, 40), random.between(1, 12), nChannels,
                                random.coin() ? IPL_DEPTH_8U : IPL_DEPTH_16U, random.between(0, 1),
                                4, nChannels == 4 ? 4 : 0, random.between(0, 1));
        randomise(image.get(), random);
        if (nChannels > 1 && random.coin())
            setSequence(image.get(), nChannels == 4 ? "RGBA" : "RGB");
        // Clusters make boxes of few bins.
        const int32_t step = pick(random, {1, 1, 16, 64, 128});
        for (int32_t y = 0; y < image->height; ++y)
            for (int32_t x = 0; x < image->width; ++x)
                for (int32_t c = 0; c < nChannels; ++c) {
                    const int32_t value =
                        static_cast<int32_t>(element(image.get(), x, y, c)) / step * step;
                    putElement(image.get(), x, y, c, value);
                }
        const int32_t bits = pick(random, {1, 4, 8});
        const PlainMedianCut plain(image.get(), size_t{1} << bits);
        const std::vector<uint32_t> table = tableOf(medianCut(image.get(), bits));
        ASSERT_EQ(table.size(), plain.table.size());
        for (size_t i = 0; i < table.size(); ++i)
            ASSERT_EQ(table[i], static_cast<uint32_t>(plain.table[i][0] | plain.table[i][1] << 8 |
                                                      plain.table[i][2] << 16));
    }
}

TEST(OwnMedianCutPalette, MovesTheRowsBehindTheNewTable)
{
    Random random(19);
    const Image image = makeImage(30, 3, 3, IPL_DEPTH_8U);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 30; ++x)
            putElement(image.get(), x, y, 1, random.between(0, 5) * 40);
    const MedianCut result = medianCut(image.get(), 8, 2);
    const size_t size = result.header.biClrUsed;
    ASSERT_LE(size, 6u);
    const PlainDib plain(result.block);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 30; ++x)
            EXPECT_EQ(plain.pixel(x, y)[1], static_cast<int32_t>(element(image.get(), x, y, 1)));
}

TEST(OwnMedianCutPalette, RefusesBitCountsAbove8)
{
    const Image image = makeImage(2, 2, 3, IPL_DEPTH_8U);
    const Bytes bytes = emptyDib(dibHeader(2, 2, 16));
    OwnDib dib = ownOpenDib(bytes.data(), bytes.size());
    EXPECT_EQ(ownMedianCutPalette(&dib, image.get()), 0);
}

TEST(OwnMedianCutPalette, FailsWhenMemoryForItsCountsRunsOut)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    const Bytes dib = dibWith(dibHeader(4, 4, 8), Bytes(2048, 0xEE));
    const GuardedBytes block(dib);
    const RecordedReports reports;
    {
        const FailingAllocation failing;
        EXPECT_EQ(iplConvertToDIB(image.get(), block.dib(), 1, 2), -3);
    }
    EXPECT_EQ(reports.all(), (std::vector<Report>{{-3, "iplConvertToDIB",
                                                   "Error of creating medcut palette", "iplDIB"}}));
    EXPECT_EQ(block.bytes(), dib);
}

TEST(OwnMedianCutPalette, WritesNothingPastAShortBlock)
{
    Random random(23);
    const Image image = makeImage(20, 20, 3, IPL_DEPTH_8U);
    randomise(image.get(), random);
    for (const size_t size : {size_t{40}, size_t{43}, size_t{500}, size_t{1064}}) {
        const GuardedBytes block(dibWith(dibHeader(20, 20, 8), Bytes(size - 40)));
        ownConvertToDIB(image.get(), block.data(), block.size(), 1, 2);
        EXPECT_GT(block.header().biClrUsed, 200u);
    }
}
