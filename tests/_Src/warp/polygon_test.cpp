#include "_Src/warp/polygon.h"

#include "tests/support/quads.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

namespace
{

using Vertex = std::array<double, 2>;
using Vertices = std::vector<Vertex>;

Vertices clipped(const Vertices& polygon, int32_t x1, int32_t y1, int32_t x2, int32_t y2)
{
    double vertices[maxPolygonVertices][2];
    double scratch[maxPolygonVertices][2];
    int32_t count = static_cast<int32_t>(polygon.size());
    for (int32_t i = 0; i < count; ++i)
        std::copy_n(polygon[i].data(), 2, vertices[i]);
    ownClipPolygon(vertices, scratch, &count, x1, y1, x2, y2);
    Vertices result;
    for (int32_t i = 0; i < count; ++i)
        result.push_back({vertices[i][0], vertices[i][1]});
    return result;
}

Vertices polygonOf(const Quad& quad)
{
    Vertices polygon;
    for (const auto& corner : quad.at)
        polygon.push_back({corner[0], corner[1]});
    return polygon;
}

// Whether a clockwise or counter-clockwise convex polygon has the point, with
// some room on either side of its edges.
int32_t side(const Vertices& polygon, double x, double y)
{
    double least = infinity;
    double most = -infinity;
    for (size_t i = 0; i < polygon.size(); ++i) {
        const Vertex& a = polygon[i];
        const Vertex& b = polygon[(i + 1) % polygon.size()];
        const double turn = (b[0] - a[0]) * (y - a[1]) - (b[1] - a[1]) * (x - a[0]);
        least = std::min(least, turn);
        most = std::max(most, turn);
    }
    if (least > 1e-6 || most < -1e-6)
        return 1;
    return least < -1e-6 && most > 1e-6 ? -1 : 0;
}

} // namespace

TEST(OwnClipPolygon, CopiesWhatLiesInside)
{
    const Vertices inside{{1, 1}, {9, 2}, {9, 2}, {3, 8}};
    EXPECT_EQ(clipped(inside, 1, 1, 9, 8), inside);
}

TEST(OwnClipPolygon, DropsWhatLiesOutside)
{
    const Vertices square{{0, 0}, {4, 0}, {4, 4}, {0, 4}};
    EXPECT_TRUE(clipped(square, 5, 0, 9, 9).empty());
    EXPECT_TRUE(clipped(square, -9, 0, -1, 9).empty());
    EXPECT_TRUE(clipped(square, 0, 5, 9, 9).empty());
    EXPECT_TRUE(clipped(square, 0, -9, 9, -1).empty());
    // Around a corner.
    const Vertices slanted{{10, 0}, {12, 0}, {0, 12}, {0, 10}};
    EXPECT_TRUE(clipped(slanted, 0, 0, 4, 4).empty());
    EXPECT_TRUE(clipped({}, 0, 0, 4, 4).empty());
}

TEST(OwnClipPolygon, KeepsTheOrderOfTheVertices)
{
    const Vertices square{{-5, -5}, {5, -5}, {5, 5}, {-5, 5}};
    EXPECT_EQ(clipped(square, 0, 0, 9, 9), (Vertices{{0, 0}, {5, 0}, {5, 5}, {0, 5}}));
}

TEST(OwnClipPolygon, CutsAllCornersOfADiamond)
{
    const Vertices diamond{{5, -2}, {12, 5}, {5, 12}, {-2, 5}};
    const Vertices result = clipped(diamond, 0, 0, 10, 10);
    ASSERT_EQ(result.size(), 8u);
    for (const Vertex& vertex : result)
        EXPECT_TRUE(std::count(result.begin(), result.end(), Vertex{vertex[1], vertex[0]}) == 1)
            << vertex[0] << ", " << vertex[1];
    EXPECT_EQ(std::count(result.begin(), result.end(), Vertex{3, 0}), 1);
    EXPECT_EQ(std::count(result.begin(), result.end(), Vertex{10, 7}), 1);
}

TEST(OwnClipPolygon, DropsRepeatedNeighboursButNotTheLastThatRepeatsTheFirst)
{
    const Vertices result = clipped({{-4, 0}, {4, 0}, {4, 0}, {4, 4}, {-4, 4}}, 0, 0, 9, 9);
    EXPECT_EQ(std::count(result.begin(), result.end(), Vertex{4, 0}), 1);
    // Touches a side with a corner: crossings and vertices coincide.
    const Vertices touching = clipped({{-3, -3}, {0, 2}, {-3, 5}}, 0, 0, 9, 9);
    ASSERT_EQ(touching.size(), 1u);
    EXPECT_EQ(touching[0], (Vertex{0, 2}));
}

TEST(OwnClipPolygon, TakesWhatIsFarAwayOrNotANumber)
{
    const Vertices remote =
        clipped({{-1e300, -1e300}, {1e300, -1e300}, {1e300, 1e300}}, 0, 0, 9, 9);
    for (const Vertex& vertex : remote) {
        EXPECT_GE(vertex[0], 0);
        EXPECT_LE(vertex[0], 9);
    }
    constexpr double most = std::numeric_limits<double>::max();
    clipped({{-most, -most}, {most, -most}, {most, most}, {-most, most}}, 0, 0, 9, 9);
    for (const double value : {notANumber, infinity, -infinity})
        EXPECT_TRUE(clipped({{value, 0}, {4, 0}, {4, 4}, {0, 4}}, 0, 0, 9, 9).empty());
}

TEST(OwnClipPolygon, NeverHasMoreThanEightVertices)
{
    Random random(3);
    for (int round = 0; round < 20000; ++round) {
        Vertices star;
        for (int i = 0; i < 8; ++i)
            star.push_back(
                {randomCoordinate(random, -20, 20, 0.5), randomCoordinate(random, -20, 20, 0.5)});
        for (const Vertex& vertex : clipped(star, -5, -5, 5, 5)) {
            EXPECT_LE(std::fabs(vertex[0]), 5 + 1e-12);
            EXPECT_LE(std::fabs(vertex[1]), 5 + 1e-12);
        }
    }
}

TEST(OwnClipPolygon, KeepsJustThePointsInBoth)
{
    Random random(4);
    for (int round = 0; round < 3000; ++round) {
        // A parallelogram: always convex.
        const Quad some = randomQuad(random, -30, 30, 0.25);
        Vertices polygon = polygonOf(some);
        polygon[3] = {polygon[0][0] + polygon[2][0] - polygon[1][0],
                      polygon[0][1] + polygon[2][1] - polygon[1][1]};
        const Vertices result = clipped(polygon, -9, -7, 10, 6);
        for (int i = 0; i < 20; ++i) {
            const double x = randomCoordinate(random, -20, 20, 0.0625);
            const double y = randomCoordinate(random, -20, 20, 0.0625);
            const int32_t wanted = side(polygon, x, y);
            const bool outside = x < -9 || x > 10 || y < -7 || y > 6;
            const int32_t got = result.size() < 3 ? -1 : side(result, x, y);
            SCOPED_TRACE(describe(some) + " at " + std::to_string(x) + ", " + std::to_string(y));
            if (outside || wanted == -1) {
                EXPECT_NE(got, 1);
            } else if (wanted == 1 && x > -9 && x < 10 && y > -7 && y < 6) {
                EXPECT_NE(got, -1);
            }
        }
    }
}
