#include "_Src/warp/smooth.h"

#include "tests/support/images.h"
#include "tests/support/quads.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

// 200 inside the quadrangle, 0 outside.
Image shape(const std::vector<std::vector<int32_t>>& rows)
{
    Image image = makeImage(static_cast<int32_t>(rows[0].size()), static_cast<int32_t>(rows.size()),
                            1, IPL_DEPTH_8U);
    for (int32_t y = 0; y < image->height; ++y)
        for (int32_t x = 0; x < image->width; ++x)
            putElement(image.get(), x, y, 0, rows[y][x]);
    return image;
}

std::vector<std::vector<int32_t>> smoothRowsOf(const Image& image)
{
    std::vector<std::vector<int32_t>> rows(static_cast<size_t>(image->height));
    for (int32_t y = 0; y < image->height; ++y)
        for (int32_t x = 0; x < image->width; ++x)
            rows[y].push_back(static_cast<int32_t>(element(image.get(), x, y, 0)));
    return rows;
}

// Its left edge goes down from x 1 to x 3.
constexpr Quad slanting{{{1, 0}, {5, 0}, {5, 4}, {3, 4}}};

} // namespace

TEST(OwnSmoothQuadEdges, MixesTheOuterPixelWithTheInnerOne)
{
    const Image image = shape({{0, 200, 200, 200, 200, 200},
                               {0, 0, 200, 200, 200, 200},
                               {0, 0, 200, 200, 200, 200},
                               {0, 0, 0, 200, 200, 200},
                               {0, 0, 0, 200, 200, 200}});
    ownSmoothQuadEdges(image.get(), slanting.at, 0, 0, 5, 4, 1);
    // At 1.5 and 2.5 the outer pixel gets half of both.
    EXPECT_EQ(smoothRowsOf(image), (std::vector<std::vector<int32_t>>{{0, 200, 200, 200, 200, 200},
                                                                      {0, 100, 200, 200, 200, 200},
                                                                      {0, 0, 200, 200, 200, 200},
                                                                      {0, 0, 100, 200, 200, 200},
                                                                      {0, 0, 0, 200, 200, 200}}));
}

TEST(OwnSmoothQuadEdges, FindsTheOuterPixelTheOtherWayRoundToo)
{
    const Image image = shape({{0, 200, 200, 200, 200, 200},
                               {0, 0, 200, 200, 200, 200},
                               {0, 0, 200, 200, 200, 200},
                               {0, 0, 0, 200, 200, 200},
                               {0, 0, 0, 200, 200, 200}});
    ownSmoothQuadEdges(image.get(), reversed(slanting).at, 0, 0, 5, 4, 0);
    EXPECT_EQ(element(image.get(), 1, 1, 0), 100);
    EXPECT_EQ(element(image.get(), 2, 3, 0), 100);
    EXPECT_EQ(element(image.get(), 2, 1, 0), 200);
}

TEST(OwnSmoothQuadEdges, WalksFlatEdgesAlongX)
{
    // The top edge goes from y 3 to y 1.
    const Quad quad{{{0, 3}, {8, 1}, {8, 5}, {0, 5}}};
    const Image image = makeImage(9, 6, 1, IPL_DEPTH_8U);
    for (int32_t x = 0; x < 9; ++x)
        for (int32_t y = (12 - x + 3) / 4; y < 6; ++y)
            putElement(image.get(), x, y, 0, 200);
    ownSmoothQuadEdges(image.get(), quad.at, 0, 0, 8, 5, 1);
    // At x 1 the edge is at 2.75: a quarter of the way up from the inner pixel.
    EXPECT_EQ(element(image.get(), 1, 2, 0), 50);
    EXPECT_EQ(element(image.get(), 2, 2, 0), 100);
    EXPECT_EQ(element(image.get(), 3, 2, 0), 150);
    EXPECT_EQ(element(image.get(), 4, 2, 0), 200);
    EXPECT_EQ(element(image.get(), 4, 1, 0), 0);
}

TEST(OwnSmoothQuadEdges, LeavesStraightEdgesHard)
{
    const Image image = makeImage(6, 6, 1, IPL_DEPTH_8U);
    putElement(image.get(), 3, 3, 0, 200);
    const std::vector<uint8_t> before = bytesOf(image.get());
    ownSmoothQuadEdges(image.get(), boxQuad(1.5, 1.5, 4.5, 4.5).at, 0, 0, 5, 5, 1);
    EXPECT_EQ(bytesOf(image.get()), before);
}

TEST(OwnSmoothQuadEdges, LeavesBits)
{
    const Image image = makeImage(6, 6, 1, IPL_DEPTH_1U);
    putElement(image.get(), 2, 1, 0, 1);
    const std::vector<uint8_t> before = bytesOf(image.get());
    ownSmoothQuadEdges(image.get(), slanting.at, 0, 0, 5, 4, 1);
    EXPECT_EQ(bytesOf(image.get()), before);
}

TEST(OwnSmoothQuadEdges, LeavesWhatIsClippedToALine)
{
    Random random(1);
    const Image image = makeImage(6, 6, 1, IPL_DEPTH_8U);
    randomise(image.get(), random);
    const std::vector<uint8_t> before = bytesOf(image.get());
    ownSmoothQuadEdges(image.get(), Quad{{{-3, -3}, {-1, -3}, {0, 2}, {-3, 4}}}.at, 0, 0, 5, 5, 1);
    ownSmoothQuadEdges(image.get(), boxQuad(7, 7, 9, 9).at, 0, 0, 5, 5, 1);
    EXPECT_EQ(bytesOf(image.get()), before);
}

TEST(OwnSmoothQuadEdges, MixesTheProcessedChannelsAlone)
{
    const Image image = makeImage(6, 5, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 4);
    for (int32_t c = 0; c < 4; ++c)
        for (int32_t x = 2; x < 6; ++x)
            putElement(image.get(), x, 1, c, 200);
    ownSmoothQuadEdges(image.get(), slanting.at, 0, 0, 5, 4, 1);
    EXPECT_EQ(element(image.get(), 1, 1, 0), 100);
    EXPECT_EQ(element(image.get(), 1, 1, 2), 100);
    EXPECT_EQ(element(image.get(), 1, 1, 3), 0);
    setRoi(image.get(), 4, 0, 0, 6, 5);
    ownSmoothQuadEdges(image.get(), slanting.at, 0, 0, 5, 4, 1);
    EXPECT_EQ(element(image.get(), 1, 1, 0), 100);
    EXPECT_EQ(element(image.get(), 1, 1, 3), 100);
}

TEST(OwnSmoothQuadEdges, KeepsThePixelUnderAnEdgeThatRoundingMovesOutside)
{
    const Image src = makeImage(40, 30, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(40, 30, 1, IPL_DEPTH_8U);
    iplSet(src.get(), 200);
    iplSet(dst.get(), 100);
    iplRotate(src.get(), dst.get(), 10.0, 0.0, 0.0, IPL_INTER_LINEAR | IPL_SMOOTH_EDGE);
    for (int32_t y = 0; y < dst->height; ++y)
        for (int32_t x = 0; x < dst->width; ++x)
            EXPECT_GE(element(dst.get(), x, y, 0), 100) << x << ' ' << y;
}

TEST(OwnSmoothQuadEdges, StaysInTheRectangleForRandomQuadrangles)
{
    Random random(2);
    const Image image = makeImage(20, 16, 3, IPL_DEPTH_16U, IPL_DATA_ORDER_PLANE);
    for (int round = 0; round < 5000; ++round) {
        randomise(image.get(), random);
        const Image before(iplCloneImage(image.get()));
        const Quad quad = randomQuad(random, -20, 40, random.coin() ? 1.0 / 3 : 1e-3);
        ownSmoothQuadEdges(image.get(), quad.at, 5, 4, 14, 11, random.between(0, 1));
        for (int32_t i = 0; i < 320; ++i) {
            const int32_t x = i % 20;
            const int32_t y = i / 20;
            if (x < 5 || x > 14 || y < 4 || y > 11) {
                ASSERT_EQ(element(image.get(), x, y, 1), element(before.get(), x, y, 1))
                    << describe(quad);
            }
        }
    }
}
