#include "quibtool/warp/fallback.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_image.h"
#include "tests/support/levels.h"
#include "tests/support/pace.h"
#include "tests/support/quadwarp.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ctime>

namespace
{

void warp(const IplImage* dst, const Quad& quad, const IplImage* src)
{
    const PlainPicture to = pictureOf(dst);
    const PlainPicture from = pictureOf(src);
    QuibWarpQuadFallback(to.pixels, to.width, to.height, to.step, quad.corners, from.pixels,
                         from.width, from.height, from.step,
                         wholeQuad(from.width, from.height).corners);
}

void expectPlainWalk(int32_t width, int32_t height, const Quad& quad, Random& random)
{
    const Image src = makeRandomHandle(random.between(1, 40), random.between(1, 40), 32, random);
    const GuardedHandle dst(width, height, 32);
    const Image expected = makeHandle(width, height, 32);
    std::memset(expected->imageData, 0xA5, static_cast<size_t>(expected->imageSize));
    plainFallback(pictureOf(expected.get()), quad, pictureOf(src.get()),
                  wholeQuad(src->width, src->height));
    warp(dst.get(), quad, src.get());
    ASSERT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
}

double anyPart(Random& random)
{
    return random.between(-1000000, 1000000) / 1000000.0;
}

// Corners on a line, or next to it.
Quad flatQuad(double size, double slope, double offset, double thickness, Random& random)
{
    Quad quad;
    for (auto& corner : quad.corners) {
        corner[0] = anyPart(random) * size;
        corner[1] = corner[0] * slope + offset + anyPart(random) * thickness;
    }
    return quad;
}

// All corners far away, on any side.
Quad distantQuad(double size, Random& random)
{
    Quad quad;
    for (auto& corner : quad.corners)
        for (double& coordinate : corner)
            coordinate = anyPart(random) * size;
    return quad;
}

// How far inside a convex quadrangle, clockwise on a screen, a point is.
double depthIn(const Quad& quad, double x, double y)
{
    double depth = HUGE_VAL;
    for (int32_t i = 0; i < 4; ++i) {
        const double* from = quad.corners[i];
        const double* to = quad.corners[(i + 1) % 4];
        const double dx = to[0] - from[0];
        const double dy = to[1] - from[1];
        depth = std::min(depth, (dx * (y - from[1]) - dy * (x - from[0])) / std::hypot(dx, dy));
    }
    return depth;
}

// The time of an ordinary picture's warp many times over: single steps would take
// hours at least.
void expectEndsSoon(const IplImage* dst, const Quad& quad, const IplImage* src)
{
    const clock_t start = std::clock();
    warp(dst, quad, src);
    const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    EXPECT_LT(seconds, 30.0) << quad.corners[0][0] << " " << quad.corners[1][0];
}

// With a source of one pixel the quadrangle is filled, and nothing besides, but for a
// pixel or two at its edges.
void expectFilled(const Quad& quad, int32_t width)
{
    uint32_t pixel = 0x12345678;
    const GuardedHandle dst(width, 40, 32);
    const PlainPicture to = pictureOf(dst.get());
    QuibWarpQuadFallback(to.pixels, to.width, to.height, to.step, quad.corners,
                         reinterpret_cast<const uint8_t*>(&pixel), 1, 1, 4,
                         Quad{{{0, 0}, {0, 0}, {0, 0}, {0, 0}}}.corners);
    for (int32_t y = 0; y < to.height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            uint32_t word;
            std::memcpy(&word, to.pixels + static_cast<ptrdiff_t>(y) * to.step + x * 4, 4);
            const double depth = depthIn(quad, x, y);
            if (std::fabs(depth) > 2) {
                ASSERT_EQ(word, depth > 0 ? pixel : 0xA5A5A5A5u) << x << " " << y;
            }
        }
    }
}

} // namespace

// --- As single steps would draw ----------------------------------------------------------

TEST(LongWalk, GivesThePlainResultForDistantCorners)
{
    forEachLevel([] {
        Random random(1);
        for (int round = 0; round < 16 && !testing::Test::HasFatalFailure();
             round += stepOfCases(4))
            expectPlainWalk(random.between(1, 40), random.between(1, 40),
                            distantQuad(400 << round % 3, random), random);
    });
}

TEST(LongWalk, GivesThePlainResultForOneDistantCorner)
{
    Random random(2);
    for (int round = 0; round < 16 && !testing::Test::HasFatalFailure(); round += stepOfCases(5)) {
        Quad quad = randomQuad(30, 20, 10, random);
        quad.corners[round % 4][round / 4 % 2] += random.between(2000, 4000) * (round < 8 ? 1 : -1);
        expectPlainWalk(30, 20, quad, random);
    }
}

TEST(LongWalk, GivesThePlainResultForFlatQuadrangles)
{
    Random random(3);
    for (int round = 0; round < 24 && !testing::Test::HasFatalFailure(); round += stepOfCases(5)) {
        const double slope = round % 3 == 0 ? 0 : round % 3 == 1 ? 1 : 2 * anyPart(random);
        const double thickness = round % 4 == 0 ? 0 : round % 4 == 1 ? 1e-9 : 0.3;
        // On the boundary between two rows, or somewhere.
        const double offset = round % 2 == 0 ? 6.5 : 20 * anyPart(random);
        expectPlainWalk(30, 20, flatQuad(2000, slope, offset, thickness, random), random);
    }
}

TEST(LongWalk, GivesThePlainResultForScanlinesOfMillions)
{
    // Long enough for roundings to take the last pixels to other places.
    Random random(4);
    for (int round = 0; round < 4 && !testing::Test::HasFatalFailure(); round += stepOfCases(3)) {
        const double length = 4e6 + 1e6 * anyPart(random);
        const double y = 10 + 5 * anyPart(random);
        const double rise = length * anyPart(random);
        expectPlainWalk(30, 20,
                        {{{-length, y - rise},
                          {length, y + rise},
                          {length, y + rise + 2.1},
                          {-length, y - rise + 1.7}}},
                        random);
    }
}

TEST(LongWalk, GivesThePlainResultForCornersThatTouchTheImage)
{
    Random random(5);
    const Quad quads[] = {
        {{{30, 20}, {3000, 20}, {3000, 2000}, {30, 2000}}},
        {{{-0.5, -0.5}, {-3000, -0.5}, {-3000, -2000}, {-0.5, -2000}}},
        {{{-1.5, -1.5}, {-3000, -1.5}, {-3000, -2000}, {-1.5, -2000}}},
        {{{29.5, -900}, {3000, -900}, {3000, 1100}, {29.5, 1100}}},
        {{{0, 0}, {0, 0}, {3000, 2000}, {0, 2000}}},
        {{{-1000, 19.5}, {2000, 19.5}, {2000, 1000}, {-1000, 1000}}},
    };
    for (const Quad& quad : quads)
        expectPlainWalk(30, 20, quad, random);
}

TEST(LongWalk, ReadsWhatItWroteIntoTheSameImage)
{
    Random random(6);
    for (int round = 0; round < 12 && !testing::Test::HasFatalFailure(); ++round) {
        const Image image =
            makeRandomHandle(random.between(1, 40), random.between(1, 40), 32, random);
        const Image expected = makeHandle(image->width, image->height, 32);
        std::memcpy(expected->imageData, image->imageData, static_cast<size_t>(image->imageSize));
        const Quad quad =
            round % 2 ? flatQuad(2000, 0.7, 3, 0.3, random) : distantQuad(1200, random);
        plainFallback(pictureOf(expected.get()), quad, pictureOf(expected.get()),
                      wholeQuad(image->width, image->height));
        warp(image.get(), quad, image.get());
        ASSERT_EQ(bytesOf(image.get()), bytesOf(expected.get()));
    }
}

TEST(LongWalk, GivesThePlainResultForCoordinatesThatAreNoNumbers)
{
    Random random(7);
    for (const double value : {double{NAN}, double{INFINITY}, -double{INFINITY}, 1e300, -1e300}) {
        for (int i = 0; i < 64 && !testing::Test::HasFatalFailure(); ++i) {
            // One coordinate, or two.
            Quad quad = randomQuad(30, 20, 300, random);
            quad.corners[i % 8 / 2][i % 2] = value;
            quad.corners[i / 16][i / 8 % 2] = i % 3 == 0 ? value : quad.corners[i / 16][i / 8 % 2];
            expectPlainWalk(30, 20, quad, random);
        }
    }
}

// --- Past what single steps could draw ------------------------------------------------------

TEST(LongWalk, EndsSoonForHostileCorners)
{
    Random random(8);
    const Image src = makeRandomHandle(40, 30, 32, random);
    const Image narrow = makeRandomHandle(1, 1, 32, random);
    const GuardedHandle dst(30, 20, 32);
    const Quad quads[] = {
        {{{-5e8, -5e8}, {5e8, -4e8}, {10, 10}, {-4e8, 5e8}}},
        {{{0, 0}, {1e9, 0}, {10, 10}, {0, 1e9}}},
        {{{5e8, 5e8}, {1e9, 5e8}, {1e9, 1e9}, {5e8, 1e9}}},
        {{{-1e9, 3}, {1e9, 3.5}, {1e9, 17}, {-1e9, 13}}},
        {{{3, -1e9}, {4, -1e9}, {17, 5e7}, {13, 5e7}}},
        // Flat ones, whose scanlines are on one line.
        {{{-1.5e6, 3}, {1.5e6, 3.2}, {1.5e6, 3.7}, {-1.5e6, 4}}},
        {{{-1.5e6, 3}, {1.5e6, 3.2}, {-1.5e6, 3.7}, {1.5e6, 4}}},
        {{{-1.5e6, -1.5e6}, {1.5e6, 1.5e6}, {-1.4e6, -1.4e6}, {1.3e6, 1.3e6}}},
        {{{-1e5, -1e5}, {1e5, 1e5}, {8e4, 8e4}, {-8e4, -8e4}}},
        {{{-5e8, 9.5}, {5e8, 9.5}, {1, 9.5}, {-1, 9.5}}},
        // Fans about a point in the image and far away.
        {{{-1.5e6, -1.5e6}, {1.5e6, 1.5e6}, {1.5e6, -1.5e6}, {-1.5e6, 1.5e6}}},
        {{{-5e8, -5e8}, {5e8, 5e8}, {5e8, -5e8}, {-5e8, 5e8}}},
        {{{-5e8, -2e7}, {5e8, 2e7}, {5e8, -2e7}, {-5e8, 2e7}}},
        {{{15, 10}, {-5e8, 1e8}, {5e8, 1.1e8}, {15, 10}}},
        // Steps that sums hardly feel, or do not at all.
        {{{1e12, -5e8}, {1e12 + 9, -5e8}, {1e12 + 9, 5e8}, {1e12, 5e8}}},
        {{{-1e18, -5e8}, {1e18, -5e8}, {1e18, 5e8}, {-1e18, 5e8}}},
        {{{0, 0}, {1e12, 0}, {1e12, 5e8}, {0, 5e8}}},
        // As long as an integer can tell.
        {{{-1.0737e9, -5e8}, {1.0737e9, -5e8}, {1.0737e9, 5e8}, {-1.0737e9, 5e8}}},
        {{{-1.0e9, -5e8}, {1.1474836475e9, -5e8}, {1.1474836475e9, 5e8}, {-1.0e9, 5e8}}},
        // No numbers, where the other edge is long.
        {{{0, 0}, {NAN, 10}, {NAN, 1e8}, {0, 5e8}}},
        {{{0, -5e8}, {100, 10}, {NAN, 1e8}, {0, 5e8}}},
        {{{0, 0}, {100, 10}, {1, NAN}, {0, 5e8}}},
        {{{0, 0}, {INFINITY, 10}, {INFINITY, 10}, {0, 5e8}}},
    };
    for (const Quad& quad : quads) {
        expectEndsSoon(dst.get(), quad, src.get());
        expectEndsSoon(dst.get(), quad, narrow.get());
        expectEndsSoon(dst.get(), quad, dst.get());
    }
}

TEST(LongWalk, FillsEnormousQuadranglesAndNothingBesides)
{
    // 2^42 steps, where roundings do not reach a pixel's width.
    const Quad quads[] = {
        {{{10, 11}, {2e6, -1e6}, {2e6, 1e6}, {-1e6, 2e6}}},
        {{{-2e6, -2e6 + 20}, {2e6, 2e6 - 10}, {1.9e6, 2e6}, {-2e6, 2e6}}},
        {{{-2e6, 25}, {2e6, 15}, {2e6, 2e6}, {-2e6, 1e6}}},
        {{{-2e6, -2e6}, {2e6, -2e6}, {2e6, 2e6}, {-2e6, 2e6}}},
    };
    // Rows whose pixels have a bit each in one word, and in many.
    for (const Quad& quad : quads) {
        expectFilled(quad, 60);
        expectFilled(quad, 300);
    }
}

TEST(LongWalk, DrawsNothingWithoutMemoryForItsBits)
{
    Random random(9);
    const Image src = makeRandomHandle(9, 7, 32, random);
    const Image dst = makeHandle(9, 7, 32);
    const std::vector<uint8_t> before = bytesOf(dst.get());
    {
        const FailingAllocation failing(2);
        warp(dst.get(), wholeQuad(1e5, 1e5), src.get());
        EXPECT_EQ(failing.asked(), 3);
    }
    EXPECT_EQ(bytesOf(dst.get()), before);
    warp(dst.get(), wholeQuad(1e5, 1e5), src.get());
    EXPECT_NE(bytesOf(dst.get()), before);
}
