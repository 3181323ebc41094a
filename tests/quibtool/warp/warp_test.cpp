// The exported warps.
#include "_Src/warp/angle.h"
#include "quibtool/startup.h"

#include "tests/support/bad_handles.h"
#include "tests/support/guarded_image.h"
#include "tests/support/images.h"
#include "tests/support/quadwarp.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>

namespace
{

constexpr const char* channelsText = "Number of processed channels of srcImage != "
                                     "Number of processed channels of dstImage";

const Quad tilted{{{4.25, 2.5}, {30.5, 5}, {27, 22.75}, {1, 18}}};
const Quad dart{{{0, 0}, {30, 0}, {8, 8}, {0, 24}}};
const Quad thin{{{3, 3}, {3, 3}, {3, 20}, {3, 20}}};

// What a call stored, freed at the end.
struct Stored {
    ~Stored() { iplDeallocate(handle, IPL_IMAGE_ALL); }
    IplImage* get() const { return handle; }
    IplImage* operator->() const { return handle; }

    IplImage* handle = nullptr;
};

Image filledHandle(int32_t width, int32_t height, int32_t bitDepth)
{
    IplImage* handle = nullptr;
    EXPECT_EQ(QuibCreate(width, height, bitDepth, &handle, 0), QUIB_OK);
    return Image(handle);
}

void expectSize(const Stored& dst, int32_t width, int32_t height)
{
    ASSERT_NE(dst.handle, nullptr);
    EXPECT_EQ(dst->width, width);
    EXPECT_EQ(dst->height, height);
    EXPECT_EQ(dst->nChannels, 4);
    EXPECT_EQ(dst->depth, IPL_DEPTH_8U);
}

// The processor counts as one that the engine's warp runs on, and no fault has
// been seen; as they were at the end.
struct EngineWarps {
    EngineWarps() : flag(quibProcessorFlag), enabled(engineQuadWarpEnabled)
    {
        quibProcessorFlag = 1;
        engineQuadWarpEnabled = 1;
    }
    ~EngineWarps()
    {
        quibProcessorFlag = flag;
        engineQuadWarpEnabled = enabled;
    }

    int32_t flag;
    int32_t enabled;
};

} // namespace

// --- All of them ---------------------------------------------------------------------------

TEST(QuibWarps, RefuseBadHandles)
{
    const Image empty = makeHandle(4, 4, 32);
    iplDeallocateImage(empty.get());
    IplImage* dst = nullptr;
    double coeffs[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    double quad[4][2] = {};
    for (IplImage* src : {static_cast<IplImage*>(nullptr), empty.get()}) {
        EXPECT_BAD_HANDLE(QUIBRotate3D(10, src, &dst, 1));
        EXPECT_BAD_HANDLE(QUIBWarpAffine(src, &dst, coeffs, 0));
        EXPECT_BAD_HANDLE(QUIBWarpPerspective(src, &dst, coeffs, 0, 0));
        EXPECT_BAD_HANDLE(QUIBWarpPerspectiveQ(src, &dst, tilted.corners, 0, false));
        EXPECT_BAD_HANDLE(QUIBWarpPerspectiveQ_(src, &dst, tilted.corners, 0, false));
        EXPECT_BAD_HANDLE(QUIBGetPerspectiveQuad(src, coeffs, quad));
        EXPECT_BAD_HANDLE(QUIBPerspectiveTransform(src, coeffs, tilted.corners));
    }
    EXPECT_EQ(dst, nullptr);
}

TEST(QuibWarps, EndTheProcessForGrayHandles)
{
    const Image src = makeHandle(9, 9, 8);
    const double coeffs[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    IplImage* dst = nullptr;
    EXPECT_REPORT(QUIBRotate3D(10, src.get(), &dst, 1), -5, "iplWarpAffine", channelsText,
                  "iplwarp");
    EXPECT_REPORT(QUIBWarpAffine(src.get(), &dst, coeffs, 0), -5, "iplWarpAffine", channelsText,
                  "iplwarp");
    EXPECT_REPORT(QUIBWarpPerspective(src.get(), &dst, coeffs, 0, 0), -5, "iplWarpPerspectiveQ",
                  channelsText, "iplwarp");
    const Image bits = makeHandle(9, 9, 1);
    EXPECT_REPORT(QUIBWarpAffine(bits.get(), &dst, coeffs, 0), -5, "iplWarpAffine",
                  "srcImage->depth != dstImage->depth", "iplwarp");
}

TEST(QuibWarps, EndTheProcessWhereNoHandleCanBeMade)
{
    const Image src = makeHandle(9, 9, 32);
    IplImage* dst = nullptr;
    const double huge[2][3] = {{1e9, 0, 0}, {0, 1, 0}};
    EXPECT_REPORT(QUIBWarpAffine(src.get(), &dst, huge, 0), -9, "iplWarpAffine", "Incorrect Image",
                  "iplwarp");
    const double nothing[2][3] = {{NAN, 0, 0}, {0, 1, 0}};
    EXPECT_EXIT(QUIBWarpAffine(src.get(), &dst, nothing, 0), testing::ExitedWithCode(1), "");
}

// --- QUIBRotate3D ----------------------------------------------------------------------------

TEST(QuibRotate3D, TurnsByOneDegreeForNone)
{
    // 99 cos 1 is 98.98, and 99 sin 1 is 1.73.
    const Image src = filledHandle(100, 100, 32);
    const int32_t sizes[3][2] = {{100, 99}, {99, 100}, {101, 101}};
    for (int32_t axis = 1; axis <= 3; ++axis) {
        Stored dst;
        EXPECT_EQ(QUIBRotate3D(0.0, src.get(), &dst.handle, axis), QUIB_OK);
        expectSize(dst, sizes[axis - 1][0], sizes[axis - 1][1]);
    }
}

TEST(QuibRotate3D, MirrorsIntoAStripPastARightAngle)
{
    // cos 91 is -0.0175: 1.73 pixels.
    const Image src = filledHandle(100, 30, 32);
    for (int32_t y = 0; y < 30; ++y)
        for (int32_t x = 0; x < 100; ++x)
            putElement(src.get(), x, y, 0, x < 50 ? 10 : 200);
    Stored dst;
    EXPECT_EQ(QUIBRotate3D(90.0, src.get(), &dst.handle, 2), QUIB_OK);
    expectSize(dst, 2, 30);
    EXPECT_GT(element(dst.get(), 0, 15, 0), element(dst.get(), 1, 15, 0));
}

TEST(QuibRotate3D, AddsADegreeToWholePartsThatAreMultiplesOf90)
{
    Random random(1);
    const Image src = makeRandomHandle(40, 30, 32, random);
    const double turned[][2] = {{90.0, 91.0},   {90.7, 91.7},   {0.3, 1.3},     {-0.9, 0.1},
                                {-90.7, -89.7}, {89.99, 89.99}, {-180, -179.0}, {450, 451},
                                {33.25, 33.25}, {3e9, 3e9}};
    for (const auto& [angle, effective] : turned) {
        for (int32_t axis = 1; axis <= 3; ++axis) {
            const IplTurn turn = ownTurn(effective * 0.01745329252);
            double coeffs[2][3] = {{axis == 1 ? 1.0 : turn.cosine, axis == 3 ? -turn.sine : 0, 0},
                                   {axis == 3 ? turn.sine : 0, axis == 2 ? 1.0 : turn.cosine, 0}};
            double bound[2][2];
            iplGetAffineBound(src.get(), coeffs, bound);
            const Image expected =
                filledHandle(static_cast<int32_t>(bound[1][0] - bound[0][0]) + 1,
                             static_cast<int32_t>(bound[1][1] - bound[0][1]) + 1, 32);
            coeffs[0][2] = -bound[0][0];
            coeffs[1][2] = -bound[0][1];
            iplWarpAffine(src.get(), expected.get(), coeffs, IPL_INTER_LINEAR);
            Stored dst;
            EXPECT_EQ(QUIBRotate3D(angle, src.get(), &dst.handle, axis), QUIB_OK);
            ASSERT_NO_FATAL_FAILURE(expectSize(dst, expected->width, expected->height));
            EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get())) << angle << " about " << axis;
        }
    }
}

TEST(QuibRotate3D, HoldsTheWholePictureTurnedInItsPlane)
{
    // cos 45.5 + sin 45.5 is 1.41416: 140.002 of 99 pixels.
    IplImage* white = nullptr;
    ASSERT_EQ(QuibCreate(100, 100, 32, &white, 0xFFFFFFFFu), QUIB_OK);
    const Image src(white);
    Stored dst;
    EXPECT_EQ(QUIBRotate3D(45.5, src.get(), &dst.handle, 3), QUIB_OK);
    expectSize(dst, 141, 141);
    const int32_t middle = 70;
    int32_t covered = 0;
    for (int32_t y = 0; y < dst->height; ++y)
        for (int32_t x = 0; x < dst->width; ++x)
            covered += element(dst.get(), x, y, 0) == 255;
    EXPECT_NEAR(covered, 99 * 99, 400);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 0);
    EXPECT_EQ(element(dst.get(), middle, middle, 0), 255);
}

TEST(QuibRotate3D, CopiesForAnotherAxis)
{
    Random random(2);
    const Image src = makeRandomHandle(20, 10, 32, random);
    for (const int32_t axis : {0, 4, -1}) {
        Stored dst;
        EXPECT_EQ(QUIBRotate3D(33, src.get(), &dst.handle, axis), QUIB_OK);
        expectSize(dst, 20, 10);
        EXPECT_EQ(bytesOf(dst.get()), bytesOf(src.get()));
    }
}

// --- QUIBWarpAffine, QUIBWarpPerspective --------------------------------------------------------

TEST(QuibWarpAffine, LosesWhatATranslationMovesOut)
{
    Random random(3);
    const Image src = makeRandomHandle(30, 12, 32, random);
    const double coeffs[2][3] = {{1, 0, 10}, {0, 1, 0}};
    Stored dst;
    EXPECT_EQ(QUIBWarpAffine(src.get(), &dst.handle, coeffs, 0), QUIB_OK);
    expectSize(dst, 30, 12);
    for (int32_t y = 0; y < 12; ++y)
        for (int32_t x = 0; x < 30; ++x)
            ASSERT_EQ(element(dst.get(), x, y, 1), x < 10 ? 0 : element(src.get(), x - 10, y, 1));
}

TEST(QuibWarpAffine, TakesTheLowByteOfTheInterpolation)
{
    Random random(4);
    const Image src = makeRandomHandle(30, 12, 32, random);
    const double coeffs[2][3] = {{0.9, 0.2, 3}, {-0.1, 1.1, 4}};
    for (const int32_t interpolate : {0, 1, 2, 16, 17, 18}) {
        Stored dst;
        Stored same;
        EXPECT_EQ(QUIBWarpAffine(src.get(), &dst.handle, coeffs, interpolate), QUIB_OK);
        EXPECT_EQ(QUIBWarpAffine(src.get(), &same.handle, coeffs, interpolate - 256), QUIB_OK);
        double bound[2][2];
        iplGetAffineBound(src.get(), coeffs, bound);
        const Image expected =
            filledHandle(static_cast<int32_t>(bound[1][0] - bound[0][0]) + 1,
                         static_cast<int32_t>(bound[1][1] - bound[0][1]) + 1, 32);
        iplWarpAffine(src.get(), expected.get(), coeffs, interpolate);
        EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
        EXPECT_EQ(bytesOf(same.get()), bytesOf(expected.get()));
    }
}

TEST(QuibWarpAffine, StoresANewHandleAndLeavesTheOldOne)
{
    const Image src = makeHandle(8, 8, 32);
    const Image old = makeHandle(3, 3, 32);
    const std::vector<uint8_t> before = bytesOf(old.get());
    const double coeffs[2][3] = {{1, 0, 0}, {0, 1, 0}};
    Stored dst;
    dst.handle = old.get();
    EXPECT_EQ(QUIBWarpAffine(src.get(), &dst.handle, coeffs, 0), QUIB_OK);
    EXPECT_NE(dst.handle, old.get());
    EXPECT_EQ(bytesOf(old.get()), before);
}

TEST(QuibWarpPerspective, GivesTheEnginesResultInTheSourcesBound)
{
    Random random(5);
    const Image src = makeRandomHandle(30, 20, 32, random);
    const double coeffs[3][3] = {{0.8, 0.1, 2}, {0.05, 0.7, 3}, {0.003, 0.002, 1}};
    double bound[2][2];
    iplGetPerspectiveBound(src.get(), coeffs, bound);
    const int32_t width = static_cast<int32_t>(bound[1][0] - bound[0][0]) + 1;
    const int32_t height = static_cast<int32_t>(bound[1][1] - bound[0][1]) + 1;
    for (const int32_t warpFlag : {0, 1}) {
        for (const int32_t interpolate : {0, 1, 2 + 256}) {
            const Image expected = filledHandle(width, height, 32);
            iplWarpPerspective(src.get(), expected.get(), coeffs, warpFlag, interpolate & 0xFF);
            Stored dst;
            EXPECT_EQ(QUIBWarpPerspective(src.get(), &dst.handle, coeffs, warpFlag, interpolate),
                      QUIB_OK);
            ASSERT_NO_FATAL_FAILURE(expectSize(dst, width, height));
            EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
        }
    }
}

TEST(QuibWarpPerspective, HandsItsFlagToTheEngine)
{
    const Image src = makeHandle(8, 8, 32);
    const double coeffs[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    IplImage* dst = nullptr;
    EXPECT_REPORT(QUIBWarpPerspective(src.get(), &dst, coeffs, 2, 0), -5, "iplWarpPerspectiveQ",
                  "warpFlag != 0 && warpFlag != 1", "iplwarp");
}

// --- QUIBGetPerspectiveQuad, QUIBPerspectiveTransform
// ----------------------------------------------

TEST(QuibPerspectiveTransform, FindsTheCoefficientsOfAQuadrangle)
{
    const Image src = makeHandle(30, 20, 32);
    double coeffs[3][3];
    double quad[4][2];
    EXPECT_EQ(QUIBPerspectiveTransform(src.get(), coeffs, tilted.corners), QUIB_OK);
    EXPECT_EQ(QUIBGetPerspectiveQuad(src.get(), coeffs, quad), QUIB_OK);
    for (int i = 0; i < 8; ++i)
        EXPECT_NEAR(quad[i / 2][i % 2], tilted.corners[i / 2][i % 2], 1e-9);
}

TEST(QuibPerspectiveTransform, EndsTheProcessForAConcaveQuadrangle)
{
    const Image src = makeHandle(30, 20, 32);
    double coeffs[3][3];
    EXPECT_REPORT(QUIBPerspectiveTransform(src.get(), coeffs, dart.corners), -5,
                  "iplGetPerspectiveTransform", "Quadrangle is concave", "iplwarp");
    const ReportsReturn back;
    EXPECT_EQ(QUIBPerspectiveTransform(src.get(), coeffs, dart.corners), QUIB_OK);
}

TEST(QuibGetPerspectiveQuad, EndsTheProcessForABadRecord)
{
    const Image bad = wrappedHandle();
    const double coeffs[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    double quad[4][2];
    EXPECT_REPORT(QUIBGetPerspectiveQuad(bad.get(), coeffs, quad), -10, "iplGetPerspectiveQuad",
                  "Incorrect Image", "iplwarp");
}

// --- QUIBWarpPerspectiveQ_
// ----------------------------------------------------------------------------

TEST(QuibWarpPerspectiveQ_, MakesAHandleOfTheBoxsSize)
{
    Random random(6);
    const Image src = makeRandomHandle(30, 20, 32, random);
    // From 0.5 to 31, and from 2 to 23.25, cut to whole numbers.
    for (const int32_t interpolate : {0, 1, 2, 17}) {
        const Image expected = filledHandle(31, 21, 32);
        iplWarpPerspectiveQ(src.get(), expected.get(), tilted.corners, 0, interpolate);
        Stored dst;
        EXPECT_EQ(QUIBWarpPerspectiveQ_(src.get(), &dst.handle, tilted.corners, interpolate, false),
                  QUIB_OK);
        ASSERT_NO_FATAL_FAILURE(expectSize(dst, 31, 21));
        EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
    }
}

TEST(QuibWarpPerspectiveQ_, WritesAHandleThatIsThere)
{
    Random random(7);
    const Image src = makeRandomHandle(30, 20, 32, random);
    for (const bool warpFlag : {false, true}) {
        const Image expected = filledHandle(11, 50, 32);
        iplWarpPerspectiveQ(src.get(), expected.get(), tilted.corners, warpFlag, 1);
        const Image dst = filledHandle(11, 50, 32);
        IplImage* handle = dst.get();
        EXPECT_EQ(QUIBWarpPerspectiveQ_(src.get(), &handle, tilted.corners, 1, warpFlag), QUIB_OK);
        EXPECT_EQ(handle, dst.get());
        EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
    }
}

TEST(QuibWarpPerspectiveQ_, RefusesConcaveQuadranglesQuietly)
{
    const Image src = makeHandle(30, 20, 32);
    Stored dst;
    quibLastError[0] = 0;
    EXPECT_EQ(QUIBWarpPerspectiveQ_(src.get(), &dst.handle, dart.corners, 0, false),
              QUIB_BAD_ARGUMENT);
    EXPECT_STREQ(quibLastError, "");
    expectSize(dst, 30, 24); // from -0.5, which is cut to 0
}

TEST(QuibWarpPerspectiveQ_, LeavesThePixelsForAThinBox)
{
    Random random(8);
    const Image src = makeRandomHandle(30, 20, 32, random);
    const Image dst = makeRandomHandle(30, 20, 32, random);
    const std::vector<uint8_t> before = bytesOf(dst.get());
    IplImage* handle = dst.get();
    EXPECT_EQ(QUIBWarpPerspectiveQ_(src.get(), &handle, thin.corners, 9, true), QUIB_OK);
    EXPECT_EQ(bytesOf(dst.get()), before);
    Stored made;
    EXPECT_EQ(QUIBWarpPerspectiveQ_(src.get(), &made.handle, thin.corners, 9, true), QUIB_OK);
    expectSize(made, 1, 18); // 2.5 to 3.5, and 2.5 to 20.5
    // A box without width gives no handle.
    const Quad point{{{0.1, 0.1}, {0.2, 0.1}, {0.2, 0.2}, {0.1, 0.2}}};
    IplImage* none = nullptr;
    EXPECT_EQ(QUIBWarpPerspectiveQ_(src.get(), &none, point.corners, 0, false), QUIB_OK);
    EXPECT_EQ(none, nullptr);
}

// --- QUIBWarpPerspectiveQ
// -------------------------------------------------------------------------------

TEST(QuibWarpPerspectiveQ, WarpsConvexQuadranglesByTheEngine)
{
    const EngineWarps engine;
    Random random(9);
    for (const int32_t bitDepth : {1, 8, 24, 32}) {
        for (const bool warpFlag : {false, true}) {
            const Image src = makeRandomHandle(30, 20, bitDepth, random);
            const Image expected = makeHandle(30, 20, bitDepth);
            iplWarpPerspectiveQ(src.get(), expected.get(), tilted.corners, warpFlag, 1);
            const Image dst = makeHandle(30, 20, bitDepth);
            IplImage* handle = dst.get();
            EXPECT_EQ(QUIBWarpPerspectiveQ(src.get(), &handle, tilted.corners, 1, warpFlag),
                      QUIB_OK);
            EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get())) << bitDepth;
        }
    }
    EXPECT_EQ(engineQuadWarpEnabled, 1);
}

TEST(QuibWarpPerspectiveQ, MakesAHandleLikeTheSource)
{
    const EngineWarps engine;
    for (const int32_t bitDepth : {1, 8, 24, 32}) {
        const Image src = makeHandle(30, 20, bitDepth);
        for (const Quad& quad : {tilted, dart, thin}) {
            Stored dst;
            EXPECT_EQ(QUIBWarpPerspectiveQ(src.get(), &dst.handle, quad.corners, 0, false),
                      QUIB_OK);
            ASSERT_NE(dst.handle, nullptr);
            EXPECT_EQ(dst->width, 30);
            EXPECT_EQ(dst->height, 20);
            EXPECT_EQ(dst->nChannels * static_cast<int32_t>(dst->depth), bitDepth);
        }
    }
}

TEST(QuibWarpPerspectiveQ, DrawsByScanlinesWhereTheEngineIsNotTried)
{
    Random random(10);
    const Image src = makeRandomHandle(30, 20, 32, random);
    const auto expectScanlines = [&](const Quad& quad) {
        const Image expected = makeHandle(40, 25, 32);
        plainFallback(pictureOf(expected.get()), quad, pictureOf(src.get()), wholeQuad(30, 20));
        const Image dst = makeHandle(40, 25, 32);
        IplImage* handle = dst.get();
        // Neither argument counts, good or bad.
        EXPECT_EQ(QUIBWarpPerspectiveQ(src.get(), &handle, quad.corners, 77, true), QUIB_OK);
        EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
    };
    const EngineWarps engine;
    expectScanlines(dart);
    quibProcessorFlag = 0;
    expectScanlines(tilted);
    quibProcessorFlag = 1;
    engineQuadWarpEnabled = 0;
    expectScanlines(tilted);
    EXPECT_EQ(engineQuadWarpEnabled, 0);
}

// Where the engine would fault the scanlines take over, and they refuse it.
TEST(QuibWarpPerspectiveQ, RefusesAResultThatCannotBeRead)
{
    const EngineWarps engine;
    Random random(14);
    const Image src = makeRandomHandle(30, 20, 32, random);
    const GuardedPages pages(1);
    pages.setAccess(0, false);
    IplImage* handle = reinterpret_cast<IplImage*>(pages.pages());
    for (const Quad& quad : {tilted, dart}) {
        engineQuadWarpEnabled = 1;
        EXPECT_EQ(QUIBWarpPerspectiveQ(src.get(), &handle, quad.corners, 0, true),
                  QUIB_BAD_ARGUMENT);
    }
    EXPECT_EQ(engineQuadWarpEnabled, 1);
    const Image dst = makeHandle(40, 25, 32);
    char* const imageData = std::exchange(dst->imageData, reinterpret_cast<char*>(pages.pages()));
    char* const origin = std::exchange(dst->imageDataOrigin, nullptr);
    handle = dst.get();
    EXPECT_EQ(QUIBWarpPerspectiveQ(src.get(), &handle, tilted.corners, 0, true), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(engineQuadWarpEnabled, 0);
    dst->imageData = imageData;
    dst->imageDataOrigin = origin;
}

TEST(QuibWarpPerspectiveQ, LeavesThePixelsForAThinBox)
{
    Random random(11);
    const Image src = makeRandomHandle(30, 20, 32, random);
    const Image dst = makeRandomHandle(30, 20, 32, random);
    const std::vector<uint8_t> before = bytesOf(dst.get());
    IplImage* handle = dst.get();
    const Quad noNumber{{{NAN, NAN}, {NAN, NAN}, {NAN, NAN}, {NAN, NAN}}};
    const Quad distant{{{1e300, 0}, {2e300, 0}, {2e300, 5}, {1e300, 5}}};
    for (const Quad& quad : {thin, noNumber, distant})
        EXPECT_EQ(QUIBWarpPerspectiveQ(src.get(), &handle, quad.corners, 0, false), QUIB_OK);
    EXPECT_EQ(bytesOf(dst.get()), before);
}

TEST(QuibWarpPerspectiveQ, TakesQuadranglesWiderThanAnInteger)
{
    const EngineWarps engine;
    IplImage* white = nullptr;
    ASSERT_EQ(QuibCreate(30, 20, 32, &white, 0xFFFFFFFFu), QUIB_OK);
    const Image src(white);
    const Image dst = makeHandle(30, 20, 32);
    IplImage* handle = dst.get();
    const Quad wide{{{-1.5e9, -5}, {1.5e9, -5}, {1.5e9, 25}, {-1.5e9, 25}}};
    EXPECT_EQ(QUIBWarpPerspectiveQ(src.get(), &handle, wide.corners, 0, false), QUIB_OK);
    EXPECT_EQ(element(dst.get(), 15, 10, 0), 255);
}

TEST(QuibWarpPerspectiveQ, RefusesWhatHasNoPixels)
{
    const CleanStatus clean;
    const Image good = makeHandle(30, 20, 32);
    // A source that fails its check has no size for a new handle.
    const Image bad = wrappedHandle();
    IplImage* none = nullptr;
    EXPECT_EQ(QUIBWarpPerspectiveQ(bad.get(), &none, dart.corners, 0, false), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(none, nullptr);
    // Nor pixels, where there is one; nor has such a destination.
    IplImage* handle = good.get();
    EXPECT_EQ(QUIBWarpPerspectiveQ(bad.get(), &handle, dart.corners, 0, false), QUIB_BAD_ARGUMENT);
    handle = bad.get();
    EXPECT_EQ(QUIBWarpPerspectiveQ(good.get(), &handle, dart.corners, 0, false), QUIB_BAD_ARGUMENT);
    const Image empty = makeHandle(4, 4, 32);
    iplDeallocateImage(empty.get());
    handle = empty.get();
    EXPECT_BAD_HANDLE(QUIBWarpPerspectiveQ(good.get(), &handle, dart.corners, 0, false));
}

TEST(QuibWarpPerspectiveQ, EndsTheProcessForWhatTheEngineRefuses)
{
    const EngineWarps engine;
    const Image src = makeHandle(30, 20, 32);
    const Image dst = makeHandle(30, 20, 24);
    IplImage* handle = dst.get();
    EXPECT_REPORT(QUIBWarpPerspectiveQ(src.get(), &handle, tilted.corners, 0, false), -5,
                  "iplWarpPerspectiveQ", channelsText, "iplwarp");
    handle = src.get();
    EXPECT_REPORT(QUIBWarpPerspectiveQ(src.get(), &handle, tilted.corners, 0, false), -5,
                  "iplWarpPerspectiveQ", "This function is not in-place function", "iplwarp");
}

#if defined(_WIN32)

TEST(QuibWarpPerspectiveQ, TurnsAFaultIntoTheFallbackForGood)
{
    // With the flag the engine writes all of the destination, the scanlines only
    // what the quadrangle covers: above the page that is taken away.
    const EngineWarps engine;
    Random random(12);
    const int32_t width = 32;
    const int32_t rows = static_cast<int32_t>(2 * GuardedPages::pageSize / 4 / width);
    const Image src = makeRandomHandle(width, 24, 32, random);
    IplImage* record = nullptr;
    ASSERT_EQ(QuibCreateHeader(width, rows, 32, &record), QUIB_OK);
    const Image dst(record);
    const GuardedPages pages(2);
    dst->imageData = reinterpret_cast<char*>(pages.pages());
    std::memset(pages.pages(), 0, GuardedPages::pageSize);
    pages.setAccess(1, false);

    // The engine has written the page above when it comes to the other.
    const Image expected = makeHandle(width, rows, 32);
    iplWarpPerspectiveQ(src.get(), expected.get(), tilted.corners, 1, IPL_INTER_NN);
    plainFallback(pictureOf(expected.get()), tilted, pictureOf(src.get()), wholeQuad(width, 24));
    IplImage* handle = dst.get();
    for (const bool warpFlag : {true, false}) {
        EXPECT_EQ(QUIBWarpPerspectiveQ(src.get(), &handle, tilted.corners, 0, warpFlag), QUIB_OK);
        EXPECT_EQ(engineQuadWarpEnabled, 0);
        EXPECT_EQ(std::memcmp(pages.pages(), expected->imageData, GuardedPages::pageSize), 0);
    }
}

#endif
