#include "_Src/warp/warp.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"
#include "tests/support/scaling.h"
#include "tests/support/warps.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

constexpr uint32_t warpDepths[]{IPL_DEPTH_1U, IPL_DEPTH_8U,  IPL_DEPTH_8U,
                                IPL_DEPTH_8U, IPL_DEPTH_16U, IPL_DEPTH_32F};

// What the destination is to become, by work on a copy of it.
template<class Work>
std::vector<uint8_t> expectedBytes(const IplImage* dst, Work work)
{
    const Twin copy(dst);
    work(copy.get());
    return bytesOf(copy.get());
}

bool regionIsWide(const IplImage* image)
{
    int32_t width = 0;
    int32_t height = 0;
    return ownRoiSize(image, &height, &width, true) && width > 1 && height > 1;
}

Quad randomConvex(Random& random, const IplImage* image)
{
    constexpr double steps[]{1.0, 0.5, 0.0625, 1.0 / 3};
    const double step = steps[random.between(0, 3)];
    const int32_t distant = random.between(0, 9) == 0 ? 400 : 12;
    for (;;) {
        Quad quad{};
        for (auto& corner : quad.at) {
            corner[0] = randomCoordinate(random, -distant, image->width + distant, step);
            corner[1] = randomCoordinate(random, -distant, image->height + distant, step);
        }
        if (ownClassifyQuad(quad.at) >= 0)
            return quad;
    }
}

std::string describeWarp(const ImagePair& pair, const Quad& quad, int32_t interpolate)
{
    return describe(pair.src.get()) + " to " + describe(pair.dst.get()) + describe(quad) +
           " mode " + std::to_string(interpolate);
}

template<class Check>
void forRandomWarps(uint64_t seed, Check check)
{
    forEachLevel([&] {
        Random random(seed);
        for (int round = 0; round < 3000; ++round) {
            const ImagePair pair = randomPair(warpDepths[random.between(0, 5)], 40, random);
            if (!regionIsWide(pair.src.get()) || !regionIsWide(pair.dst.get()))
                continue;
            check(pair, random);
            ASSERT_FALSE(::testing::Test::HasFailure());
        }
    });
}

constexpr double identity[2][3]{{1, 0, 0}, {0, 1, 0}};

Image bytesImage(int32_t width, int32_t height, std::initializer_list<int32_t> values)
{
    Image image = makeImage(width, height, 1, IPL_DEPTH_8U);
    int32_t i = 0;
    for (const int32_t value : values) {
        putElement(image.get(), i % width, i / width, 0, value);
        ++i;
    }
    return image;
}

} // namespace

// --- Plain forms ---------------------------------------------------------------------------

TEST(OwnWarpRectToQuad, IsItsPlainFormForPerspectives)
{
    forRandomWarps(1, [](const ImagePair& pair, Random& random) {
        const Quad quad = randomConvex(random, pair.dst.get());
        const int32_t interpolate = random.between(0, 2) + 16 * random.between(0, 1);
        SCOPED_TRACE(describeWarp(pair, quad, interpolate));
        const auto expected = expectedBytes(pair.dst.get(), [&](IplImage* copy) {
            const int32_t orientation =
                plainRectToQuad(pair.src.get(), copy, quad, false, interpolate);
            if (interpolate >= 16 && orientation >= 0)
                plainSmooth(copy, quad, orientation);
        });
        iplWarpPerspectiveQ(pair.src.get(), pair.dst.get(), quad.at, 0, interpolate);
        EXPECT_EQ(bytesOf(pair.dst.get()), expected);
    });
}

TEST(OwnWarpRectToQuad, IsItsPlainFormForAffineMaps)
{
    forRandomWarps(2, [](const ImagePair& pair, Random& random) {
        double coeffs[2][3];
        for (auto& row : coeffs)
            for (double& c : row)
                c = randomCoordinate(random, -2, 2, random.coin() ? 0.25 : 0.01);
        coeffs[0][2] = randomCoordinate(random, -20, 60, 0.125);
        coeffs[1][2] = randomCoordinate(random, -20, 60, 0.125);
        if (std::fabs(coeffs[0][0] * coeffs[1][1] - coeffs[1][0] * coeffs[0][1]) <= 1e-7)
            return;
        Quad quad{};
        iplGetAffineQuad(pair.src.get(), coeffs, quad.at);
        const int32_t interpolate = random.between(0, 2) + 16 * random.between(0, 1);
        SCOPED_TRACE(describeWarp(pair, quad, interpolate));
        const auto expected = expectedBytes(pair.dst.get(), [&](IplImage* copy) {
            const int32_t orientation =
                plainRectToQuad(pair.src.get(), copy, quad, true, interpolate);
            if (interpolate >= 16 && orientation >= 0)
                plainSmooth(copy, quad, orientation);
        });
        iplWarpAffine(pair.src.get(), pair.dst.get(), coeffs, interpolate);
        EXPECT_EQ(bytesOf(pair.dst.get()), expected);
    });
}

TEST(OwnWarpQuadToRect, IsItsPlainForm)
{
    forRandomWarps(3, [](const ImagePair& pair, Random& random) {
        const Quad quad = randomConvex(random, pair.src.get());
        const int32_t interpolate = random.between(0, 2) + 16 * random.between(0, 1);
        SCOPED_TRACE(describeWarp(pair, quad, interpolate));
        const auto expected = expectedBytes(pair.dst.get(), [&](IplImage* copy) {
            plainQuadToRect(pair.src.get(), copy, quad, interpolate);
        });
        iplWarpPerspectiveQ(pair.src.get(), pair.dst.get(), quad.at, 1, interpolate);
        EXPECT_EQ(bytesOf(pair.dst.get()), expected);
    });
}

// Wider than a strip, with the four-byte pixels and rows of the main case.
TEST(Warps, AreTheirPlainFormsForWideHandles)
{
    forEachLevel([] {
        Random random(4);
        for (int round = 0; round < 12; ++round) {
            const Image src =
                makeRandomHandle(random.between(4, 700), random.between(4, 40), 32, random);
            for (const Image& dst : {makeRandomHandle(random.between(300, 700), 30, 32, random)}) {
                const int32_t mode = round % 3;
                const Quad quad = randomConvex(random, dst.get());
                SCOPED_TRACE(describe(src.get()) + describe(quad) + std::to_string(mode));
                const Quad whole{{{-5.5, -3.25},
                                  {dst->width + 4.0, -2.0},
                                  {dst->width + 9.0, dst->height + 7.0},
                                  {-9.0, dst->height + 1.0}}};
                for (const Quad& target : {quad, whole}) {
                    const auto expected = expectedBytes(dst.get(), [&](IplImage* copy) {
                        plainRectToQuad(src.get(), copy, target, false, mode);
                    });
                    iplWarpPerspectiveQ(src.get(), dst.get(), target.at, 0, mode);
                    ASSERT_EQ(bytesOf(dst.get()), expected);
                }
                const double coeffs[2][3]{{0.9 * dst->width / src->width, 0.31, 3.25},
                                          {0.017, 0.8, -2.5}};
                Quad affine{};
                iplGetAffineQuad(src.get(), coeffs, affine.at);
                const auto expected = expectedBytes(dst.get(), [&](IplImage* copy) {
                    plainRectToQuad(src.get(), copy, affine, true, mode);
                });
                iplWarpAffine(src.get(), dst.get(), coeffs, mode);
                ASSERT_EQ(bytesOf(dst.get()), expected);
            }
        }
    });
}

// More rows and columns than are filled at a time, of rows that begin and end
// anywhere.
TEST(IplWarpAffine, FillsLargeImagesBlockByBlock)
{
    Random random(9);
    const Image src = makeRandomHandle(900, 300, 32, random);
    const Image dst = makeRandomHandle(1101, 131, 32, random);
    const double coeffs[2][3]{{0.86, 0.26, -40.25}, {-0.26, 0.86, 60.5}};
    Quad quad{};
    iplGetAffineQuad(src.get(), coeffs, quad.at);
    for (int32_t mode = 0; mode < 3; ++mode) {
        const auto expected = expectedBytes(
            dst.get(), [&](IplImage* copy) { plainRectToQuad(src.get(), copy, quad, true, mode); });
        ASSERT_NE(bytesOf(dst.get()), expected);
        forEachLevel([&] {
            const Twin copy(dst.get());
            iplWarpAffine(src.get(), copy.get(), coeffs, mode);
            EXPECT_EQ(bytesOf(copy.get()), expected);
        });
    }
}

// --- Exact numbers ----------------------------------------------------------------------------

TEST(IplWarpAffine, ReproducesTheSourceForTheIdentity)
{
    Random random(5);
    for (const uint32_t depth : warpDepths)
        for (int32_t mode = 0; mode < 3; ++mode) {
            const int32_t channels = depth == IPL_DEPTH_1U ? 1 : 3;
            const Image src = makeImage(19, 7, channels, depth);
            const Image dst = makeImage(19, 7, channels, depth);
            randomise(src.get(), random);
            iplWarpAffine(src.get(), dst.get(), identity, mode);
            for (int32_t y = 0; y < 7; ++y)
                for (int32_t x = 0; x < 19; ++x)
                    for (int32_t c = 0; c < channels; ++c)
                        ASSERT_EQ(element(dst.get(), x, y, c), element(src.get(), x, y, c))
                            << "depth " << depth << " mode " << mode;
        }
}

TEST(IplWarpAffine, RoundsBilinearSamples)
{
    // Half a pixel on: (1 + 2) / 2 = 1.5 becomes 2.
    const Image src = bytesImage(4, 2, {1, 2, 3, 4, 1, 2, 3, 4});
    const Image dst = makeImage(4, 2, 1, IPL_DEPTH_8U);
    const double half[2][3]{{1, 0, -0.5}, {0, 1, 0}};
    iplWarpAffine(src.get(), dst.get(), half, 1);
    EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{2, 3, 4, 0}));
}

TEST(IplWarpPerspectiveQ, NearlyCutsBilinearSamples)
{
    const Image src = bytesImage(4, 2, {1, 2, 3, 4, 1, 2, 3, 4});
    const Image dst = makeImage(4, 2, 1, IPL_DEPTH_8U);
    iplWarpPerspectiveQ(src.get(), dst.get(), boxQuad(-0.5, 0, 2.5, 1).at, 0, 1);
    EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{1, 2, 3, 0}));
}

TEST(IplWarpPerspectiveQ, TakesTheLastColumnWhole)
{
    const Image src = bytesImage(3, 2, {10, 20, 200, 10, 20, 200});
    const Image dst = makeImage(3, 2, 1, IPL_DEPTH_8U);
    for (int32_t warpFlag = 0; warpFlag < 2; ++warpFlag) {
        iplWarpPerspectiveQ(src.get(), dst.get(), boxQuad(0, 0, 2, 1).at, warpFlag, 1);
        EXPECT_EQ(rowValues(dst, 1), (std::vector<int32_t>{10, 20, 200}));
    }
}

TEST(IplWarpAffine, NeverReadsBeyondTheSource)
{
    forEachLevel([] {
        Random random(6);
        for (int round = 0; round < 200; ++round) {
            const Image src = makeImage(random.between(2, 40), random.between(2, 12),
                                        random.coin() ? 4 : 3, IPL_DEPTH_8U);
            const GuardedBuffer before(static_cast<size_t>(src->imageSize), Guard::beforeStart);
            const GuardedBuffer after(static_cast<size_t>(src->imageSize), Guard::afterEnd);
            const Image dst = makeImage(50, 20, src->nChannels, IPL_DEPTH_8U);
            const Quad quad = randomConvex(random, dst.get());
            const Quad part = randomConvex(random, src.get());
            char* const own = src->imageData;
            for (const GuardedBuffer* buffer : {&before, &after})
                for (int32_t mode = 0; mode < 3; ++mode) {
                    src->imageData = buffer->as<char>();
                    iplWarpPerspectiveQ(src.get(), dst.get(), quad.at, 0, mode);
                    iplWarpPerspectiveQ(src.get(), dst.get(), part.at, 1, mode);
                    const double coeffs[2][3]{{1.1, 0.2, -3}, {-0.3, 1.4, 2}};
                    iplWarpAffine(src.get(), dst.get(), coeffs, mode);
                }
            src->imageData = own;
        }
    });
}

TEST(Warps, LeaveWhatIsOutsideTheQuadrangle)
{
    const Image src = makeImage(5, 5, 1, IPL_DEPTH_8U);
    iplSet(src.get(), 9);
    const Image dst = makeImage(8, 8, 1, IPL_DEPTH_8U);
    iplSet(dst.get(), 77);
    iplWarpPerspectiveQ(src.get(), dst.get(), boxQuad(2, 3, 4, 5).at, 0, 0);
    for (int32_t y = 0; y < 8; ++y)
        for (int32_t x = 0; x < 8; ++x)
            EXPECT_EQ(element(dst.get(), x, y, 0), x >= 2 && x <= 4 && y >= 3 && y <= 5 ? 9 : 77);
}

TEST(OwnWarpQuadToRect, SkipsWhatIsOutsideTheSourcesRegion)
{
    const Image src = makeImage(8, 8, 1, IPL_DEPTH_8U);
    iplSet(src.get(), 9);
    setRoi(src.get(), 0, 2, 2, 3, 3);
    const Image dst = makeImage(8, 8, 1, IPL_DEPTH_8U);
    iplSet(dst.get(), 77);
    iplWarpPerspectiveQ(src.get(), dst.get(), boxQuad(0, 0, 7, 7).at, 1, 0);
    for (int32_t y = 0; y < 8; ++y)
        for (int32_t x = 0; x < 8; ++x)
            EXPECT_EQ(element(dst.get(), x, y, 0), x >= 2 && x <= 4 && y >= 2 && y <= 4 ? 9 : 77);
}

TEST(OwnWarpQuadToRect, WritesFromTheRegionsCornerOn)
{
    const Image src = bytesImage(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    const Image dst = makeImage(8, 6, 1, IPL_DEPTH_8U);
    setRoi(dst.get(), 0, 4, 2, 3, 3);
    iplWarpPerspectiveQ(src.get(), dst.get(), boxQuad(0, 0, 2, 2).at, 1, 0);
    EXPECT_EQ(rowValues(dst, 2), (std::vector<int32_t>{0, 0, 0, 0, 1, 2, 3, 0}));
    EXPECT_EQ(rowValues(dst, 4), (std::vector<int32_t>{0, 0, 0, 0, 7, 8, 9, 0}));
    EXPECT_EQ(rowValues(dst, 5), std::vector<int32_t>(8, 0));
}

TEST(OwnWarpRectToQuad, SpeaksInWholeImageCoordinates)
{
    // The region's corner lands on the quadrangle's; windows see the whole image.
    const Image src = bytesImage(4, 3, {1, 2, 3, 4, 11, 12, 13, 14, 21, 22, 23, 24});
    setRoi(src.get(), 0, 1, 1, 2, 2);
    const Image dst = makeImage(4, 3, 1, IPL_DEPTH_8U);
    iplWarpPerspectiveQ(src.get(), dst.get(), boxQuad(0, 0, 1, 1).at, 0, 0);
    EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{12, 13, 0, 0}));
    EXPECT_EQ(rowValues(dst, 1), (std::vector<int32_t>{22, 23, 0, 0}));
}

// --- Modes ---------------------------------------------------------------------------------------

TEST(Warps, TakeBilinearForCubicInSmallSources)
{
    Random random(7);
    const Image src = makeImage(3, 3, 3, IPL_DEPTH_8U);
    randomise(src.get(), random);
    const Image cubic = makeImage(9, 9, 3, IPL_DEPTH_8U);
    const Image linear = makeImage(9, 9, 3, IPL_DEPTH_8U);
    const Quad quad{{{0, 0}, {8, 1}, {7, 8}, {1, 6}}};
    iplWarpPerspectiveQ(src.get(), cubic.get(), quad.at, 0, 2);
    iplWarpPerspectiveQ(src.get(), linear.get(), quad.at, 0, 1);
    EXPECT_EQ(bytesOf(cubic.get()), bytesOf(linear.get()));
}

TEST(Warps, TakeNearestForSourcesOfOneColumn)
{
    const Image src = bytesImage(1, 10, {10, 20, 30, 40, 50, 60, 70, 80, 90, 100});
    const Image dst = makeImage(2, 10, 1, IPL_DEPTH_8U);
    // Half a row down: bilinear samples would lie between the pixels' values.
    iplWarpPerspectiveQ(src.get(), dst.get(), boxQuad(-1, 0.25, 1, 8.25).at, 1, 1);
    for (int32_t y = 0; y < 9; ++y)
        EXPECT_EQ(static_cast<int32_t>(element(dst.get(), 0, y, 0)) % 10, 0);
}

// --- Values out of range
// ----------------------------------------------------------------------------

TEST(Warps, TakeQuadranglesThatAreFarAwayOrNoNumbers)
{
    const RecordedReports reports;
    Random random(8);
    for (const uint32_t depth : warpDepths) {
        const Image src = makeImage(9, 9, 1, depth);
        const Image dst = makeImage(9, 9, 1, depth);
        for (const double distance :
             {1e3, 1e6, 1e9, 1e12, 1e18, 1e30, 1e100, 1e300, infinity, -infinity, notANumber})
            for (int32_t round = 0; round < 40; ++round) {
                Quad quad = randomConvex(random, dst.get());
                if (random.coin())
                    quad = boxQuad(-distance, -distance, distance, distance);
                quad.at[random.between(0, 3)][random.between(0, 1)] = distance;
                iplWarpPerspectiveQ(src.get(), dst.get(), quad.at, round & 1,
                                    random.between(0, 2) + 16);
                double coeffs[3][3]{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
                coeffs[random.between(0, 2)][random.between(0, 2)] =
                    random.coin() ? distance : 1 / distance;
                coeffs[random.between(0, 1)][random.between(0, 2)] = distance;
                iplWarpAffine(src.get(), dst.get(), coeffs, random.between(0, 2) + 16);
                iplWarpPerspective(src.get(), dst.get(), coeffs, round & 1, random.between(0, 2));
                iplRotate(src.get(), dst.get(), distance, distance, round, 1);
                iplRotate(src.get(), dst.get(), 90, distance, round, 1);
                iplSetStatus(0);
            }
    }
}
