#include "quibtool/warp/fallback.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_image.h"
#include "tests/support/levels.h"
#include "tests/support/quadwarp.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

void fallback(const PlainPicture& dst, const Quad& dstQuad, const PlainPicture& src,
              const Quad& srcQuad)
{
    QuibWarpQuadFallback(dst.pixels, dst.width, dst.height, dst.step, dstQuad.corners, src.pixels,
                         src.width, src.height, src.step, srcQuad.corners);
}

void expectPlainFallback(int32_t width, int32_t height, const Quad& quad, Random& random)
{
    const Image src = makeRandomHandle(random.between(1, 40), random.between(1, 40), 32, random);
    const GuardedHandle dst(width, height, 32);
    const Image expected = makeHandle(width, height, 32);
    std::memset(expected->imageData, 0xA5, static_cast<size_t>(expected->imageSize));
    const Quad whole = wholeQuad(src->width, src->height);
    plainFallback(pictureOf(expected.get()), quad, pictureOf(src.get()), whole);
    fallback(pictureOf(dst.get()), quad, pictureOf(src.get()), whole);
    ASSERT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
}

} // namespace

// --- QuibIsConvexQuad ------------------------------------------------------------------

TEST(QuibIsConvexQuad, TakesBothDirectionsAndRefusesConcaveOnes)
{
    EXPECT_TRUE(QuibIsConvexQuad(Quad{{{0, 0}, {4, 0}, {4, 4}, {0, 4}}}.corners));
    EXPECT_TRUE(QuibIsConvexQuad(Quad{{{0, 0}, {0, 4}, {4, 4}, {4, 0}}}.corners));
    EXPECT_FALSE(QuibIsConvexQuad(Quad{{{0, 0}, {4, 0}, {1, 1}, {0, 4}}}.corners)); // a dart
    EXPECT_FALSE(QuibIsConvexQuad(Quad{{{0, 0}, {4, 4}, {4, 0}, {0, 4}}}.corners)); // a bow tie
}

TEST(QuibIsConvexQuad, AsksMoreOfTheLastCorner)
{
    // The first product is the height of the third corner over the first edge.
    EXPECT_TRUE(QuibIsConvexQuad(Quad{{{0, 0}, {1, 0}, {2, 0.0011}, {1, 1}}}.corners));
    EXPECT_FALSE(QuibIsConvexQuad(Quad{{{0, 0}, {1, 0}, {2, 0.0009}, {1, 1}}}.corners));
    // The last one is that of the fourth corner.
    EXPECT_TRUE(QuibIsConvexQuad(Quad{{{0, 0}, {1, 0}, {1, 1}, {-9, 0.11}}}.corners));
    EXPECT_FALSE(QuibIsConvexQuad(Quad{{{0, 0}, {1, 0}, {1, 1}, {-9, 0.09}}}.corners));
    // 0.05 there and 1 before would do for the engine.
    EXPECT_FALSE(QuibIsConvexQuad(Quad{{{0, 0}, {1, 0}, {1, 1}, {0, 0.05}}}.corners));
}

TEST(QuibIsConvexQuad, RefusesWhatIsNoNumber)
{
    for (int i = 0; i < 8; ++i) {
        Quad quad{{{0, 0}, {4, 0}, {4, 4}, {0, 4}}};
        quad.corners[i / 2][i % 2] = NAN;
        EXPECT_FALSE(QuibIsConvexQuad(quad.corners));
    }
}

// --- QuibWarpQuadScan --------------------------------------------------------------------

TEST(QuibWarpQuadScan, DrawsFromTheLeftPointToTheOneBeforeTheRight)
{
    uint32_t src[5] = {1, 2, 3, 4, 5};
    uint32_t dst[6] = {};
    uint8_t* srcRow = reinterpret_cast<uint8_t*>(src);
    uint8_t* dstRow = reinterpret_cast<uint8_t*>(dst);
    QuibWarpQuadScan(&dstRow, 6, 1, 1, 0, 5, 0, &srcRow, 5, 1, 0, 0, 4, 0);
    const uint32_t expected[6] = {0, 1, 2, 3, 4, 0};
    EXPECT_EQ(std::memcmp(dst, expected, sizeof dst), 0);
}

TEST(QuibWarpQuadScan, LeavesNoMarkBelowAPixelAndAHalf)
{
    uint32_t pixel = 7;
    uint8_t* srcRow = reinterpret_cast<uint8_t*>(&pixel);
    uint32_t dst[3] = {};
    uint8_t* dstRow = reinterpret_cast<uint8_t*>(dst);
    QuibWarpQuadScan(&dstRow, 3, 1, 0, 0, 1.49, 0, &srcRow, 1, 1, 0, 0, 0, 0);
    EXPECT_EQ(dst[0], 0u);
    QuibWarpQuadScan(&dstRow, 3, 1, 0, 0, 1.5, 0, &srcRow, 1, 1, 0, 0, 0, 0);
    EXPECT_EQ(dst[0], 7u);
    EXPECT_EQ(dst[1], 7u);
    EXPECT_EQ(dst[2], 0u);
}

// --- QuibWarpQuadFallback ------------------------------------------------------------------

TEST(QuibWarpQuadFallback, CopiesOntoTheSameRectangle)
{
    Random random(1);
    const Image src = makeRandomHandle(9, 7, 32, random);
    const Image dst = makeHandle(9, 7, 32);
    fallback(pictureOf(dst.get()), wholeQuad(9, 7), pictureOf(src.get()), wholeQuad(9, 7));
    EXPECT_EQ(bytesOf(dst.get()), bytesOf(src.get()));
}

TEST(QuibWarpQuadFallback, DrawsNothingWithoutHeight)
{
    Random random(2);
    const Image src = makeRandomHandle(9, 7, 32, random);
    const Image dst = makeHandle(9, 7, 32);
    const std::vector<uint8_t> before = bytesOf(dst.get());
    for (const double height : {0.0, 0.7, double{NAN}, double{INFINITY}, 1e300, 2e9})
        fallback(pictureOf(dst.get()), wholeQuad(9, height), pictureOf(src.get()), wholeQuad(9, 7));
    EXPECT_EQ(bytesOf(dst.get()), before);
}

TEST(QuibWarpQuadFallback, GivesThePlainResultForRandomQuadrangles)
{
    forEachLevel([] {
        Random random(3);
        for (int round = 0; round < 300 && !testing::Test::HasFatalFailure(); ++round) {
            const int32_t width = random.between(1, 40);
            const int32_t height = random.between(1, 40);
            expectPlainFallback(width, height,
                                randomQuad(width, height, random.between(0, 60), random), random);
        }
    });
}

TEST(QuibWarpQuadFallback, StaysInsideTheRowsOfNarrowerPixels)
{
    Random random(6);
    for (const int32_t bitDepth : {1, 8, 24}) {
        for (int round = 0; round < 40; ++round) {
            const GuardedHandle src(random.between(1, 60), random.between(1, 20), bitDepth);
            const GuardedHandle dst(random.between(1, 60), random.between(1, 20), bitDepth);
            const Image expected = makeHandle(dst->width, dst->height, bitDepth);
            std::memset(expected->imageData, 0xA5, static_cast<size_t>(expected->imageSize));
            randomise(src.get(), random);
            src.makeReadOnly();
            // As many words as a row has room for.
            PlainPicture from = pictureOf(src.get());
            PlainPicture to = pictureOf(expected.get());
            from.width = std::min(from.width, from.step / 4);
            to.width = std::min(to.width, to.step / 4);
            const Quad whole = wholeQuad(src->width, src->height);
            const Quad quad = randomQuad(dst->width, dst->height, 10, random);
            plainFallback(to, quad, from, whole);
            fallback(pictureOf(dst.get()), quad, pictureOf(src.get()), whole);
            ASSERT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
        }
    }
}

TEST(QuibWarpQuadFallback, DrawsNothingWithoutMemoryForItsTables)
{
    Random random(7);
    const Image src = makeRandomHandle(9, 7, 32, random);
    const Image dst = makeHandle(9, 7, 32);
    const std::vector<uint8_t> before = bytesOf(dst.get());
    for (const int32_t passing : {0, 1}) {
        const FailingAllocation failing(passing);
        fallback(pictureOf(dst.get()), wholeQuad(9, 7), pictureOf(src.get()), wholeQuad(9, 7));
        EXPECT_EQ(failing.asked(), 2); // both are asked for before either is looked at
    }
    EXPECT_EQ(bytesOf(dst.get()), before);
}
