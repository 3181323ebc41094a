#include "_Src/warp/quad.h"

#include "tests/support/images.h"
#include "tests/support/quads.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

namespace
{

struct RoiCase {
    IplROI roi;
    bool clip;
};

bool corners(const RoiCase& test, IplCorners* rectangle)
{
    const Image image = makeImage(10, 6, 1, IPL_DEPTH_8U);
    IplROI roi = test.roi;
    image->roi = &roi;
    const bool some = ownRoiCorners(image.get(), rectangle, test.clip);
    image->roi = nullptr;
    return some;
}

void expectCorners(const RoiCase& test, int32_t x1, int32_t y1, int32_t x2, int32_t y2)
{
    IplCorners rectangle{};
    EXPECT_TRUE(corners(test, &rectangle));
    EXPECT_EQ(rectangle.x1, x1);
    EXPECT_EQ(rectangle.y1, y1);
    EXPECT_EQ(rectangle.x2, x2);
    EXPECT_EQ(rectangle.y2, y2);
}

void expectNone(const RoiCase& test)
{
    IplCorners rectangle{};
    EXPECT_FALSE(corners(test, &rectangle));
}

// Where a corner lands under coefficients, by the text's own words.
void expectMaps(const double coeffs[3][3], double x, double y, double toX, double toY)
{
    const double w = coeffs[2][0] * x + coeffs[2][1] * y + coeffs[2][2];
    EXPECT_NEAR((coeffs[0][0] * x + coeffs[0][1] * y + coeffs[0][2]) / w, toX, 1e-7);
    EXPECT_NEAR((coeffs[1][0] * x + coeffs[1][1] * y + coeffs[1][2]) / w, toY, 1e-7);
}

Quad randomConvexQuad(Random& random)
{
    for (;;) {
        const Quad quad = randomQuad(random, -50, 150, 0.25);
        if (ownClassifyQuad(quad.at) >= 0)
            return quad;
    }
}

} // namespace

// --- Regions ---------------------------------------------------------------------------

TEST(OwnRoiCorners, AreThoseOfTheImageWithoutARegion)
{
    const Image image = makeImage(10, 6, 1, IPL_DEPTH_8U);
    IplCorners rectangle{};
    EXPECT_TRUE(ownRoiCorners(image.get(), &rectangle, true));
    EXPECT_EQ(rectangle.x1, 0);
    EXPECT_EQ(rectangle.y1, 0);
    EXPECT_EQ(rectangle.x2, 9);
    EXPECT_EQ(rectangle.y2, 5);
}

TEST(OwnRoiCorners, AreInclusive)
{
    expectCorners({{0, 2, 1, 3, 4}, true}, 2, 1, 4, 4);
    expectCorners({{0, 2, 1, 1, 1}, true}, 2, 1, 2, 1);
}

TEST(OwnRoiCorners, AreClippedToTheImage)
{
    expectCorners({{0, 7, 4, 30, 30}, true}, 7, 4, 9, 5);
    expectCorners({{0, -3, -2, 5, 5}, true}, 0, 0, 1, 2);
    expectCorners({{0, 1, 1, INT_MAX, INT_MAX}, true}, 1, 1, 9, 5);
}

TEST(OwnRoiCorners, StandAsTheyAreWithoutClipping)
{
    expectCorners({{0, 7, 4, 30, 30}, false}, 7, 4, 36, 33);
    expectCorners({{0, -3, -2, 5, 5}, false}, -3, -2, 1, 2);
    expectCorners({{0, 70, 40, INT_MAX, INT_MAX}, false}, 70, 40, INT_MAX, INT_MAX);
}

TEST(OwnRoiCorners, FailForARegionWithNothingOfTheImage)
{
    expectNone({{0, 10, 0, 3, 3}, true});
    expectNone({{0, 0, 6, 3, 3}, true});
    expectNone({{0, -3, 0, 3, 3}, true});
    expectNone({{0, 0, -4, 3, 4}, true});
    for (const bool clip : {false, true}) {
        expectNone({{0, 0, 0, 0, 3}, clip});
        expectNone({{0, 0, 0, 3, -1}, clip});
    }
}

TEST(OwnRoiSize, IsWhatRemainsOfTheRegion)
{
    const Image image = makeImage(10, 6, 1, IPL_DEPTH_8U);
    int32_t height = 0;
    int32_t width = 0;
    EXPECT_TRUE(ownRoiSize(image.get(), &height, &width, true));
    EXPECT_EQ(width, 10);
    EXPECT_EQ(height, 6);
    setRoi(image.get(), 0, 7, 4, 30, 30);
    EXPECT_TRUE(ownRoiSize(image.get(), &height, &width, true));
    EXPECT_EQ(width, 3);
    EXPECT_EQ(height, 2);
    EXPECT_TRUE(ownRoiSize(image.get(), &height, &width, false));
    EXPECT_EQ(width, 30);
    EXPECT_EQ(height, 30);
    setRoi(image.get(), 0, 10, 4, 1, 1);
    EXPECT_FALSE(ownRoiSize(image.get(), &height, &width, true));
}

// --- Corners and bounds ------------------------------------------------------------------

TEST(OwnQuadCorners, GoRoundTheRectangle)
{
    const double shift[2][3]{{1, 0, 100}, {0, 1, 200}};
    Quad quad{};
    ownQuadCorners({1, 2, 8, 9}, shift, IPL_WARP_AFFINE, quad.at);
    EXPECT_EQ(quad, boxQuad(101, 202, 108, 209));
    const double same[3][3]{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    ownQuadCorners({1, 2, 8, 9}, same, IPL_WARP_PERSPECTIVE, quad.at);
    EXPECT_EQ(quad, boxQuad(1, 2, 8, 9));
}

TEST(OwnQuadCorners, AddTheConstantToTheYTermFirst)
{
    // (c1 y + c2) cancels exactly, whatever c0 x is.
    const double affine[2][3]{{0.1, 0.3, -0.3}, {0.1, 0.7, -0.7}};
    Quad quad{};
    ownQuadCorners({3, 1, 7, 1}, affine, IPL_WARP_AFFINE, quad.at);
    EXPECT_EQ(quad.at[0][0], 0.1 * 3);
    EXPECT_EQ(quad.at[1][1], 0.1 * 7);
    const double perspective[3][3]{{0.1, 0.3, -0.3}, {0.1, 0.7, -0.7}, {0, 0, 1}};
    ownQuadCorners({3, 1, 7, 1}, perspective, IPL_WARP_PERSPECTIVE, quad.at);
    EXPECT_EQ(quad.at[0][0], 0.1 * 3);
    EXPECT_EQ(quad.at[1][1], 0.1 * 7);
}

TEST(OwnQuadCorners, DivideByTheDenominator)
{
    const double coeffs[3][3]{{2, 0, 4}, {0, 3, 6}, {0, 0.5, 1}};
    Quad quad{};
    ownQuadCorners({0, 0, 4, 2}, coeffs, IPL_WARP_PERSPECTIVE, quad.at);
    EXPECT_EQ(quad, (Quad{{{4, 6}, {12, 6}, {6, 6}, {2, 6}}}));
}

TEST(OwnQuadCorners, GoToInfinityAtAZeroDenominator)
{
    const double coeffs[3][3]{{1, 0, 0}, {0, 1, 1}, {1, 0, -4}};
    Quad quad{};
    ownQuadCorners({0, 0, 4, 2}, coeffs, IPL_WARP_PERSPECTIVE, quad.at);
    EXPECT_TRUE(std::isinf(quad.at[1][0]));
    EXPECT_TRUE(std::isinf(quad.at[2][1]));
    EXPECT_EQ(quad.at[0][1], -0.25);
}

TEST(OwnBoundOfQuad, IsTheLeastAndTheGreatest)
{
    const double quad[4][2]{{3, -2}, {-7, 5}, {0, 9}, {11, 0}};
    double bound[2][2]{};
    ownBoundOfQuad(quad, bound);
    EXPECT_EQ(bound[0][0], -7);
    EXPECT_EQ(bound[0][1], -2);
    EXPECT_EQ(bound[1][0], 11);
    EXPECT_EQ(bound[1][1], 9);
}

// --- Classification ------------------------------------------------------------------------

TEST(OwnClassifyQuad, TellsTheWayRound)
{
    const Quad quad = boxQuad(0, 0, 10, 5);
    EXPECT_EQ(ownClassifyQuad(quad.at), 1);
    EXPECT_EQ(ownClassifyQuad(reversed(quad).at), 0);
}

TEST(OwnClassifyQuad, RefusesAnExactlyStraightCornerOnly)
{
    Quad quad{{{0, 0}, {5, 0}, {10, 0}, {5, 8}}};
    EXPECT_EQ(ownClassifyQuad(quad.at), -5);
    quad.at[1][1] = -1e-9;
    EXPECT_EQ(ownClassifyQuad(quad.at), 1);
    quad.at[1][1] = 1e-9;
    EXPECT_EQ(ownClassifyQuad(quad.at), -4);
}

TEST(OwnClassifyQuad, RefusesPointsLinesAndTriangles)
{
    EXPECT_EQ(ownClassifyQuad(boxQuad(3, 3, 3, 3).at), -5);
    EXPECT_EQ(ownClassifyQuad(boxQuad(3, 3, 9, 3).at), -5);
    EXPECT_EQ(ownClassifyQuad(Quad{{{0, 0}, {5, 0}, {5, 0}, {0, 5}}}.at), -5);
}

TEST(OwnClassifyQuad, FindsConcaveAndCrossedOnes)
{
    EXPECT_EQ(ownClassifyQuad(Quad{{{0, 0}, {10, 0}, {2, 2}, {0, 10}}}.at), -4);
    EXPECT_EQ(ownClassifyQuad(Quad{{{0, 0}, {10, 10}, {10, 0}, {0, 10}}}.at), -4);
}

TEST(OwnClassifyQuad, TakesValuesThatAreNoNumbersForConcave)
{
    EXPECT_EQ(ownClassifyQuad(boxQuad(0, 0, notANumber, 5).at), -4);
    EXPECT_EQ(ownClassifyQuad(boxQuad(0, 0, infinity, 5).at), -4);
    EXPECT_EQ(ownClassifyQuad(boxQuad(-infinity, -infinity, infinity, infinity).at), -4);
}

// --- Coefficients ----------------------------------------------------------------------------

TEST(OwnAffineFromQuad, TakesTheRectangleToTheQuadrangleAndBack)
{
    const double quad[4][2]{{10, 20}, {14, 22}, {8, 30}, {999, 999}};
    double there[2][3];
    int32_t orientation = -1;
    ownAffineFromQuad(1, 2, 5, 6, quad, there, &orientation, 1);
    EXPECT_EQ(orientation, 1);
    const double expected[2][3]{{1, -1.5, 12}, {0.5, 2, 15.5}};
    for (int32_t i = 0; i < 6; ++i)
        EXPECT_EQ(there[i / 3][i % 3], expected[i / 3][i % 3]) << i;
    double back[2][3];
    ownAffineFromQuad(1, 2, 5, 6, quad, back, &orientation, 0);
    EXPECT_EQ(orientation, 1);
    for (int32_t corner = 0; corner < 3; ++corner) {
        const double x = quad[corner][0];
        const double y = quad[corner][1];
        EXPECT_NEAR(back[0][0] * x + back[0][1] * y + back[0][2], corner == 0 ? 1 : 5, 1e-12);
        EXPECT_NEAR(back[1][0] * x + back[1][1] * y + back[1][2], corner == 2 ? 6 : 2, 1e-12);
    }
}

TEST(OwnAffineFromQuad, TellsAMirroredQuadrangle)
{
    double coeffs[2][3];
    int32_t orientation = -1;
    ownAffineFromQuad(0, 0, 4, 4, boxQuad(4, 0, 0, 4).at, coeffs, &orientation, 0);
    EXPECT_EQ(orientation, 0);
    EXPECT_EQ(coeffs[0][0], -1);
    EXPECT_EQ(coeffs[0][2], 4);
}

TEST(OwnAffineFromQuad, IsExactForTheIdentity)
{
    double coeffs[2][3];
    int32_t orientation = -1;
    ownAffineFromQuad(0, 0, 18, 6, boxQuad(0, 0, 18, 6).at, coeffs, &orientation, 0);
    const double expected[2][3]{{1, 0, 0}, {0, 1, 0}};
    for (int32_t i = 0; i < 6; ++i)
        EXPECT_EQ(coeffs[i / 3][i % 3], expected[i / 3][i % 3]) << i;
}

TEST(OwnPerspectiveFromQuad, TakesEveryCornerThereAndBack)
{
    Random random(5);
    for (int round = 0; round < 500; ++round) {
        const Quad quad = randomConvexQuad(random);
        SCOPED_TRACE(describe(quad));
        double there[3][3];
        double back[3][3];
        int32_t orientation = -1;
        ownPerspectiveFromQuad(2, 3, 42, 23, quad.at, there, &orientation, 1);
        EXPECT_EQ(orientation, ownClassifyQuad(quad.at));
        ownPerspectiveFromQuad(2, 3, 42, 23, quad.at, back, &orientation, 0);
        EXPECT_EQ(orientation, ownClassifyQuad(quad.at));
        const Quad from = boxQuad(2, 3, 42, 23);
        for (int32_t i = 0; i < 4; ++i) {
            expectMaps(there, from.at[i][0], from.at[i][1], quad.at[i][0], quad.at[i][1]);
            expectMaps(back, quad.at[i][0], quad.at[i][1], from.at[i][0], from.at[i][1]);
        }
    }
}

TEST(OwnPerspectiveFromQuad, GivesAnAffineMapForAParallelogram)
{
    const double quad[4][2]{{10, 20}, {14, 22}, {8, 30}, {4, 28}};
    double coeffs[3][3];
    int32_t orientation = -1;
    ownPerspectiveFromQuad(1, 2, 5, 6, quad, coeffs, &orientation, 1);
    const double expected[3][3]{{1, -1.5, 12}, {0.5, 2, 15.5}, {0, 0, 1}};
    for (int32_t i = 0; i < 9; ++i)
        EXPECT_EQ(coeffs[i / 3][i % 3], expected[i / 3][i % 3]) << i;
}

TEST(OwnPerspectiveFromQuad, GivesTheAdjugateForTheWayBack)
{
    // Scaled by 4 and shifted by 8: the inverse up to its determinant of 16.
    double coeffs[3][3];
    int32_t orientation = -1;
    ownPerspectiveFromQuad(0, 0, 2, 2, boxQuad(8, 8, 16, 16).at, coeffs, &orientation, 0);
    const double expected[3][3]{{4, 0, -32}, {0, 4, -32}, {0, 0, 16}};
    for (int32_t i = 0; i < 9; ++i)
        EXPECT_EQ(coeffs[i / 3][i % 3], expected[i / 3][i % 3]) << i;
}

TEST(Coefficients, OfRectanglesWithoutASizeAreNoNumbersButDoNoHarm)
{
    double affine[2][3];
    double perspective[3][3];
    int32_t orientation = -1;
    ownAffineFromQuad(3, 3, 3, 3, boxQuad(1, 1, 1, 1).at, affine, &orientation, 1);
    EXPECT_EQ(orientation, 0);
    ownPerspectiveFromQuad(3, 3, 3, 3, boxQuad(notANumber, 1, infinity, 1).at, perspective,
                           &orientation, 0);
    EXPECT_EQ(orientation, 0);
    EXPECT_TRUE(std::isnan(affine[0][0]));
    ownAffineFromQuad(INT_MIN, INT_MIN, INT_MAX, INT_MAX, boxQuad(0, 0, 1, 1).at, affine,
                      &orientation, 0);
    EXPECT_EQ(affine[0][0], 4294967295.0);
}
