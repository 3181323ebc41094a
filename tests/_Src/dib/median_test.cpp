#include "_Src/dib/palette.h"

#include "_Src/ipl.h"
#include "tests/_Src/dib/plain_dib.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <map>

using namespace plain_dib;

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
