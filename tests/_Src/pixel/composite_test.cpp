#include "_Src/pixel/composite.h"

#include "tests/_Src/pixel/composite_calls.h"
#include "tests/support/levels.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"
#include "tests/support/tiles.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <vector>

using namespace composite_calls;

// --- Worked numbers ------------------------------------------------------------------------

TEST(AlphaComposite, ProductsAreExactForTheFullValueAndRoundDown)
{
    // In with premulAlpha 1 is the product of A and B's alpha.
    for (int x = 0; x < 256; ++x) {
        Scene scene = onePixel({x, 255, x, 255}, {0, 0, 0, 255});
        scene.call.type = plainIn;
        scene.call.premulAlpha = 1;
        EXPECT_EQ(composited(scene.call), (Elements{x, 255, x, 255}));
    }
    Scene scene = onePixel({254, 128, 1, 255}, {0, 0, 0, 254});
    scene.call.type = plainIn;
    scene.call.premulAlpha = 1;
    EXPECT_EQ(composited(scene.call), (Elements{253, 127, 0, 254}));
}

TEST(AlphaComposite, OverWithFullAlphaGivesA)
{
    Scene scene = onePixel({10, 128, 255, 255}, {200, 201, 202, 90});
    EXPECT_EQ(composited(scene.call), (Elements{10, 128, 255, 255}));
}

TEST(AlphaComposite, PlusOfPremultipliedElementsSaturates)
{
    Scene scene = onePixel({200, 100, 0, 200}, {200, 100, 0, 200});
    scene.call.type = plainPlus;
    scene.call.premulAlpha = 1;
    EXPECT_EQ(composited(scene.call), (Elements{255, 200, 0, 255}));
}

TEST(AlphaComposite, AConstantAboveTheLargestReadsTheAlphaChannel)
{
    Scene scene = onePixel({100, 100, 100, 60}, {0, 0, 0, 0});
    scene.call.isConstant = true;
    scene.call.aA = 300;
    scene.call.aB = 0;
    // 100 * 60 / 255, rounded down.
    EXPECT_EQ(composited(scene.call), (Elements{23, 23, 23, 77}));
}

TEST(AlphaComposite, AConstantAboveTheLargestReadsTheFirstChannelOfAnImageWithoutAlpha)
{
    Scene scene;
    Call& call = scene.call;
    call.a = scene.own(makeImage(1, 1, 3, IPL_DEPTH_8U));
    call.b = scene.own(makeImage(1, 1, 3, IPL_DEPTH_8U));
    call.dst = scene.own(makeImage(1, 1, 3, IPL_DEPTH_8U));
    putElement(call.a, 0, 0, 0, 51);
    putElement(call.a, 0, 0, 1, 100);
    call.isConstant = true;
    call.aA = 256;
    call.aB = 0;
    EXPECT_EQ(composited(call), (Elements{10, 20, 0}));
}

TEST(AlphaComposite, AConstantIsComparedWithTheLargestOfItsDepth)
{
    Scene scene;
    Call& call = scene.call;
    for (IplImage** image : {&call.a, &call.b, &call.dst})
        *image = scene.own(makeImage(1, 1, 1, IPL_DEPTH_16U));
    putElement(call.a, 0, 0, 0, 65535);
    call.isConstant = true;
    call.aA = 300;
    run(call);
    EXPECT_EQ(element(call.dst, 0, 0, 0), 300);
}

TEST(AlphaComposite, ConstantsLeaveTheDestinationsAlphaAndImagesWriteIt)
{
    Scene scene = onePixel({50, 60, 70, 255}, {1, 2, 3, 9});
    scene.call.isConstant = true;
    scene.call.aA = 255;
    EXPECT_EQ(composited(scene.call), (Elements{50, 60, 70, 77}));
    scene.call.isConstant = false;
    EXPECT_EQ(composited(scene.call), (Elements{50, 60, 70, 255}));
}

TEST(AlphaComposite, AnAlphaImageForAAloneLeavesBWithoutItsOwn)
{
    Scene scene = onePixel({255, 0, 0, 1}, {0, 255, 0, 3});
    scene.call.alphaA = scene.own(makeImage(1, 1, 1, IPL_DEPTH_8U));
    putElement(scene.call.alphaA, 0, 0, 0, 100);
    // aB is 155: r is 100 + mul(155, 155), and B's part mul(155, mul(255, 155)).
    EXPECT_EQ(composited(scene.call), (Elements{100, 94, 0, 194}));
}

TEST(AlphaComposite, BWithoutAnyAlphaTakesTheRestOfA)
{
    Scene scene;
    Call& call = scene.call;
    call.a = scene.own(makeImage(1, 1, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 4));
    call.b = scene.own(makeImage(1, 1, 3, IPL_DEPTH_8U));
    call.dst = scene.own(makeImage(1, 1, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 4));
    putElement(call.a, 0, 0, 3, 30);
    putElement(call.b, 0, 0, 1, 255);
    call.type = plainPlus;
    // r is 30 + 225.
    EXPECT_EQ(composited(call), (Elements{0, 225, 0, 255}));
}

TEST(AlphaComposite, DivisionTurnsAPremultipliedSumBackIntoAStraightColour)
{
    Scene scene = onePixel({200, 100, 0, 128}, {0, 0, 0, 0});
    scene.call.divideMode = 1;
    EXPECT_EQ(composited(scene.call), (Elements{200, 100, 0, 128}));
}

TEST(AlphaComposite, DivisionIsCappedAtTheLargest)
{
    Scene scene = onePixel({200, 11, 0, 20}, {0, 0, 0, 0});
    scene.call.divideMode = 1;
    scene.call.premulAlpha = 1;
    EXPECT_EQ(composited(scene.call), (Elements{255, 140, 0, 20}));
}

TEST(AlphaComposite, DivisionByNoAlphaLeavesTheResultUndivided)
{
    Scene scene = onePixel({200, 100, 7, 0}, {100, 20, 0, 0});
    scene.call.divideMode = 1;
    scene.call.premulAlpha = 1;
    scene.call.type = plainPlus;
    EXPECT_EQ(composited(scene.call), (Elements{255, 120, 7, 0}));
}

TEST(AlphaComposite, TheAlphaStoredInDivisionIsTheIntegerOne)
{
    // mul(57, 57) is 12; in floats it would round to 13.
    Scene scene = onePixel({0, 0, 0, 57}, {0, 0, 0, 57});
    scene.call.type = plainIn;
    scene.call.divideMode = 1;
    EXPECT_EQ(composited(scene.call)[3], 12);
}

TEST(AlphaComposite, AtopStoresTheAlphaOfBUnrounded)
{
    for (int alpha = 0; alpha < 256; ++alpha) {
        Scene scene = onePixel({0, 0, 0, alpha}, {0, 0, 0, 255 - alpha});
        scene.call.type = plainAtop;
        EXPECT_EQ(composited(scene.call)[3], 255 - alpha);
    }
}

TEST(AlphaComposite, AChannelOfInterestIsWrittenAloneBesideTheAlpha)
{
    Scene scene = onePixel({10, 20, 30, 255}, {1, 2, 3, 4});
    setRoi(scene.call.a, 3, 0, 0, 1, 1);
    setRoi(scene.call.b, 1, 0, 0, 1, 1);
    setRoi(scene.call.dst, 2, 0, 0, 1, 1);
    EXPECT_EQ(composited(scene.call), (Elements{77, 30, 77, 255}));
}

TEST(AlphaComposite, AnAlphaDestinationTakesTheAlphaInsteadOfTheDestination)
{
    Scene scene = onePixel({10, 20, 30, 255}, {1, 2, 3, 4});
    scene.call.alphaDst = scene.own(makeImage(1, 1, 3, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 3));
    EXPECT_EQ(composited(scene.call), (Elements{10, 20, 30, 77}));
    EXPECT_EQ(pixelOf(scene.call.alphaDst), (Elements{0, 0, 255}));
}

TEST(AlphaComposite, AnAlphaReadFromTheDestinationsFirstChannelIsTheOneJustWritten)
{
    // The channels are done one after the other.
    Scene scene;
    Call& call = scene.call;
    call.a = scene.own(makeImage(1, 1, 2, IPL_DEPTH_8U));
    call.b = scene.own(makeImage(1, 1, 2, IPL_DEPTH_8U));
    call.dst = scene.own(makeImage(1, 1, 2, IPL_DEPTH_8U));
    putElement(call.a, 0, 0, 0, 51);
    putElement(call.a, 0, 0, 1, 100);
    putElement(call.dst, 0, 0, 0, 255);
    call.alphaA = call.dst;
    call.type = plainPlus;
    EXPECT_EQ(composited(call), (Elements{51, 20}));
}

// --- Regions and masks -----------------------------------------------------------------------

TEST(AlphaComposite, RegionsPastAnEdgeLeaveEverything)
{
    Random random(31);
    for (int which = 0; which < 3; ++which) {
        Scene scene = pixelScene(5, 4, random);
        IplImage* const images[] = {scene.call.a, scene.call.b, scene.call.dst};
        setRoi(images[which], 0, which == 1 ? 5 : 0, which == 1 ? 0 : 4, 3, 3);
        const std::vector<uint8_t> before = bytesOf(scene.call.dst);
        run(scene.call);
        EXPECT_EQ(bytesOf(scene.call.dst), before);
    }
}

TEST(AlphaComposite, LaterRefusalsAreReachedWithNothingToDo)
{
    Random random(32);
    Scene scene = pixelScene(5, 4, random);
    setRoi(scene.call.dst, 0, 5, 4, 3, 3);
    scene.call.divideMode = 2;
    EXPECT_REPORT(run(scene.call), -5, "iplAlphaComposite", "divideMode != 0 && divideMode != 1",
                  reportFile);
}

TEST(AlphaComposite, MasksWithoutACommonPixelLeaveEverythingWithoutReport)
{
    Random random(33);
    Scene scene = pixelScene(5, 4, random);
    giveRandomMask(scene.call.a, 5, 4, random);
    giveRandomMask(scene.call.dst, 5, 4, random);
    setRoi(scene.call.a->maskROI, 0, 5, 0, 3, 3);
    const std::vector<uint8_t> before = bytesOf(scene.call.dst);
    run(scene.call);
    EXPECT_EQ(bytesOf(scene.call.dst), before);
}

TEST(AlphaComposite, MasksOfAlphaImagesAreIgnored)
{
    Random random(34);
    Scene scene = onePixel({10, 20, 30, 0}, {1, 2, 3, 0});
    scene.call.alphaA = scene.own(makeImage(1, 1, 1, IPL_DEPTH_8U));
    putElement(scene.call.alphaA, 0, 0, 0, 255);
    giveRandomMask(scene.call.alphaA, 1, 1, random);
    putElement(scene.call.alphaA->maskROI, 0, 0, 0, 0);
    EXPECT_EQ(composited(scene.call), (Elements{10, 20, 30, 255}));
}

// --- Comparison with the plain form ------------------------------------------------------------

TEST(AlphaComposite, IsPlainForRandomImages)
{
    forEachLevel([] {
        for (const bool isConstant : {false, true}) {
            Random random(41);
            for (int round = 0; round < 3000; ++round)
                ASSERT_NO_FATAL_FAILURE(expectPlain(randomScene(isConstant, random).call));
        }
    });
}

TEST(AlphaComposite, IsPlainForImagesThatAreTheSame)
{
    Random random(42);
    for (int round = 0; round < 4000; ++round) {
        Scene scene = randomScene(random.coin(), random);
        shareImages(&scene.call, random);
        ASSERT_NO_FATAL_FAILURE(expectPlain(scene.call));
    }
}

TEST(AlphaComposite, IsPlainForPixelsOfFourBytes)
{
    forEachLevel([] {
        Random random(43);
        for (int round = 0; round < 1500; ++round) {
            Scene scene = pixelScene(random.between(1, 600), random.between(1, 3), random);
            Call& call = scene.call;
            call.type = round % 6;
            call.premulAlpha = random.between(0, 1);
            call.divideMode = random.between(0, 1);
            call.isConstant = random.coin();
            call.aA = random.between(0, 255);
            call.aB = random.between(0, 255);
            for (IplImage* image : {call.a, call.b, call.dst}) {
                if (random.between(0, 2) == 0)
                    giveRandomRoi(image, 0, random);
                if (random.between(0, 4) == 0)
                    giveMaskAtOddOffset(image, random);
            }
            if (random.between(0, 3) == 0)
                call.dst = random.coin() ? call.a : call.b;
            ASSERT_NO_FATAL_FAILURE(expectPlain(call));
        }
    });
}

TEST(AlphaComposite, IsPlainForColoursBesideAlphaPlanes)
{
    forEachLevel([] {
        Random random(44);
        for (int round = 0; round < 600; ++round) {
            Scene scene;
            Call& call = scene.call;
            const int32_t nChannels = random.between(1, 5);
            const int32_t width = random.between(1, 1200);
            const uint32_t depth = random.coin() ? IPL_DEPTH_8U : IPL_DEPTH_16U;
            for (IplImage** image : {&call.a, &call.b, &call.dst})
                *image = scene.own(makeImage(width, 2, nChannels, depth));
            for (IplImage** image : {&call.alphaA, &call.alphaB, &call.alphaDst})
                *image = scene.own(makeImage(width, 2, 1, depth, IPL_DATA_ORDER_PIXEL, 4, 1));
            for (const Image& image : scene.images)
                fillSharp(image.get(), random);
            call.type = random.between(0, 5);
            call.premulAlpha = random.between(0, 1);
            call.divideMode = random.between(0, 1);
            ASSERT_NO_FATAL_FAILURE(expectPlain(call));
        }
    });
}

// --- Tiles ------------------------------------------------------------------------------------

namespace
{

// Some of a call's images in tiles, at least one.
class TiledCall
{
public:
    TiledCall(const Call& whole, Random& random) : call(whole)
    {
        for (IplImage** image :
             {&call.dst, &call.a, &call.b, &call.alphaA, &call.alphaB, &call.alphaDst}) {
            if (!*image)
                continue;
            if (tiled.count(*image) == 0)
                tiled[*image] = tiled.empty() || random.coin() ? tile(*image, random) : nullptr;
            if (TiledImage* tiles = tiled[*image].get())
                *image = tiles->get();
        }
    }

    // The bytes that the tiles of an image make up.
    std::vector<uint8_t> bytes(const IplImage* whole) const
    {
        const auto found = tiled.find(whole);
        if (found == tiled.end() || !found->second)
            return bytesOf(whole);
        const Twin twin(whole);
        found->second->collect(twin.get());
        return bytesOf(twin.get());
    }

    Call call;
    std::map<const IplImage*, std::unique_ptr<TiledTwin>> tiled;

private:
    static std::unique_ptr<TiledTwin> tile(const IplImage* image, Random& random)
    {
        return std::make_unique<TiledTwin>(image, 8 * random.between(1, 3),
                                           8 * random.between(1, 2));
    }
};

} // namespace

TEST(AlphaComposite, TiledImagesGiveTheSameResult)
{
    Random random(51);
    for (int round = 0; round < 1500; ++round) {
        Scene scene = randomScene(random.coin(), random);
        if (random.between(0, 3) == 0)
            shareImages(&scene.call, random);
        const TiledCall tiled(scene.call, random);
        // Untiled images are written too: the whole call needs them as they were.
        const std::vector<uint8_t> dstBefore = bytesOf(scene.call.dst);
        IplImage* const alphaDst = scene.call.alphaDst ? scene.call.alphaDst : scene.call.dst;
        const std::vector<uint8_t> alphaBefore = bytesOf(alphaDst);
        run(tiled.call);
        const std::vector<uint8_t> dst = tiled.bytes(scene.call.dst);
        const std::vector<uint8_t> alphas = tiled.bytes(alphaDst);
        std::memcpy(scene.call.dst->imageData, dstBefore.data(), dstBefore.size());
        std::memcpy(alphaDst->imageData, alphaBefore.data(), alphaBefore.size());
        run(scene.call);
        ASSERT_EQ(dst, bytesOf(scene.call.dst)) << describeCall(scene.call);
        ASSERT_EQ(alphas, bytesOf(alphaDst)) << describeCall(scene.call);
    }
}

TEST(AlphaComposite, TilesAreReadFromSourcesAndWrittenInDestinations)
{
    Random random(52);
    const Scene scene = pixelScene(16, 8, random);
    TiledImage a(scene.call.a, 8, 8);
    TiledImage dst(scene.call.dst, 8, 8);
    Call call = scene.call;
    call.a = a.get();
    call.dst = dst.get();
    run(call);
    EXPECT_EQ(a.log, fetches(toRead, {{0, 0}, {1, 0}}));
    EXPECT_EQ(dst.log, fetches(toWrite, {{0, 0}, {1, 0}}));
}

TEST(AlphaComposite, ATiledImageInPlaceIsFetchedOnce)
{
    Random random(53);
    const Scene scene = pixelScene(8, 8, random);
    TiledImage a(scene.call.a, 8, 8);
    Call call = scene.call;
    call.a = a.get();
    call.dst = a.get();
    run(call);
    EXPECT_EQ(a.log, fetches(toWrite, {{0, 0}}));
}

TEST(AlphaComposite, ATileThatDoesNotComeIsReported)
{
    Random random(54);
    for (const bool isConstant : {false, true}) {
        const Scene scene = pixelScene(16, 8, random);
        TiledImage b(scene.call.b, 8, 8);
        b.failFrom = 2;
        Call call = scene.call;
        call.isConstant = isConstant;
        call.b = b.get();
        EXPECT_REPORT(run(call), -2, isConstant ? "iplAlphaCompositeC" : "iplAlphaComposite",
                      "ERROR in Tiling callBack", reportFile);
        const std::vector<uint8_t> before = bytesOf(scene.call.dst);
        const RecordedReports reports;
        b.log.clear();
        run(call);
        ASSERT_EQ(reports.all().size(), 1u);
        // The walk ends where it stands, with the first tile's pixels written.
        EXPECT_NE(bytesOf(scene.call.dst), before);
        EXPECT_EQ(bytesOf(scene.call.dst)[8 * 4], before[8 * 4]);
    }
}
