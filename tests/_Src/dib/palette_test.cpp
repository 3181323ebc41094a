#include "_Src/dib/palette.h"

#include "tests/_Src/dib/plain_dib.h"

#include <gtest/gtest.h>

using namespace plain_dib;

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
