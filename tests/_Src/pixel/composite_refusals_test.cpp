#include "_Src/ipl.h"

#include "tests/_Src/pixel/composite_calls.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

using namespace composite_calls;

namespace
{

// Good arguments of both functions, for a refusal to break.
struct Breakable : Scene {
    explicit Breakable(bool isConstant)
    {
        call.isConstant = isConstant;
        call.aA = -1;
        call.aB = -1;
        for (IplImage** image : {&call.a, &call.b, &call.dst})
            *image = own(makeImage(4, 4, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 4));
        for (IplImage** image : {&call.alphaA, &call.alphaB, &call.alphaDst})
            *image = own(makeImage(4, 4, 1, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 1));
        records = call;
    }

    Call records; // stays when an argument becomes null
};

struct Refusal {
    int32_t status;
    const char* text;
    std::function<void(Breakable&)> breakIt;
};

using IplImageOfCall = IplImage* Call::*;

Refusal isNull(IplImageOfCall image, const char* text)
{
    return {-5, text, [=](Breakable& scene) { scene.call.*image = nullptr; }};
}

Refusal isBad(IplImageOfCall image)
{
    return {IPL_BadAlign, "Incorrect Image", [=](Breakable& scene) {
                scene.call.*image = scene.records.*image;
                (scene.call.*image)->align = 5;
            }};
}

Refusal hasCoi(IplImageOfCall image, const char* text)
{
    return {-5, text, [=](Breakable& scene) {
                scene.call.*image = scene.records.*image;
                setRoi(scene.call.*image, 4, 0, 0, 4, 4);
            }};
}

Refusal hasDepth(IplImageOfCall image, uint32_t depth, const char* text)
{
    return {-5, text, [=](Breakable& scene) {
                scene.call.*image = scene.records.*image;
                (scene.call.*image)->depth = depth;
            }};
}

// Gives regions to the images: -1 none, else the channel of interest.
Refusal hasCois(int32_t a, int32_t b, int32_t dst, const char* text)
{
    return {-5, text, [=](Breakable& scene) {
                const std::pair<IplImage*, int32_t> cois[] = {
                    {scene.records.a, a}, {scene.records.b, b}, {scene.records.dst, dst}};
                scene.call.a = scene.records.a;
                scene.call.b = scene.records.b;
                scene.call.dst = scene.records.dst;
                for (const auto& [image, coi] : cois) {
                    setRoi(image, std::max(coi, 0), 0, 0, 4, 4);
                    if (coi < 0) {
                        iplAlignedFree(image->roi);
                        image->roi = nullptr;
                    }
                }
            }};
}

// The same colours, without alpha.
Refusal lacksAlpha(IplImageOfCall image, const char* text)
{
    return {-5, text, [=](Breakable& scene) {
                scene.call.*image = scene.own(makeImage(4, 4, 3, IPL_DEPTH_8U));
                scene.call.alphaA = nullptr;
            }};
}

Refusal hasMoreColours(IplImageOfCall image, const char* text)
{
    return {-5, text, [=](Breakable& scene) {
                scene.call.*image = scene.own(makeImage(4, 4, 4, IPL_DEPTH_8U));
            }};
}

Refusal hasChoice(int32_t Call::*choice, int32_t value, const char* text)
{
    return {-5, text, [=](Breakable& scene) { scene.call.*choice = value; }};
}

const char* const badType = "compositeType != 0 && compositeType != 1 && compositeType != 2 && "
                            "compositeType != 3 && compositeType != 4 && compositeType != 5";

std::vector<Refusal> firstRefusals()
{
    return {
        isNull(&Call::dst, "dstImage==0"),
        isBad(&Call::dst),
        isNull(&Call::a, "srcImageA==0"),
        isBad(&Call::a),
        isNull(&Call::b, "srcImageB==0"),
        isBad(&Call::b),
        hasCoi(&Call::dst, "dstImage->alphaChannel > 0 && "
                           "dstImage->roi->coi == dstImage->alphaChannel"),
        hasCoi(&Call::a, "srcImageA->alphaChannel > 0 && "
                         "srcImageA->roi->coi == srcImageA->alphaChannel"),
        hasCoi(&Call::b, "srcImageB->alphaChannel > 0 && "
                         "srcImageB->roi->coi == srcImageB->alphaChannel"),
        hasDepth(&Call::dst, IPL_DEPTH_8S, "dstImage->depth != 8 && dstImage->depth != 16"),
        hasDepth(&Call::a, IPL_DEPTH_16U, "srcImageA->depth != dstImage->depth"),
        hasDepth(&Call::b, IPL_DEPTH_16U, "srcImageB->depth != dstImage->depth"),
        hasCois(-1, 1, 1, "dstImage->roi->coi > 0 && srcImageA->roi == 0"),
        hasCois(0, 1, 1, "dstImage->roi->coi > 0 && srcImageA->roi->coi == 0"),
        hasCois(1, 0, -1, "srcImageA->roi->coi > 0 && dstImage->roi == 0"),
        hasCois(1, 0, 0, "srcImageA->roi->coi > 0 && dstImage->roi->coi == 0"),
        hasCois(1, -1, 1, "dstImage->roi->coi > 0 && srcImageB->roi == 0"),
        hasCois(1, 0, 1, "dstImage->roi->coi > 0 && srcImageB->roi->coi == 0"),
        hasCois(0, 1, -1, "srcImageB->roi->coi > 0 && dstImage->roi == 0"),
        hasCois(0, 1, 0, "srcImageB->roi->coi > 0 && dstImage->roi->coi == 0"),
        hasMoreColours(&Call::a, "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != "
                                 "(dstImage->nChannels - (dstImage->alphaChannel != 0))"),
        hasMoreColours(&Call::b, "(srcImageB->nChannels - (srcImageB->alphaChannel != 0)) != "
                                 "(dstImage->nChannels - (dstImage->alphaChannel != 0))"),
    };
}

std::vector<Refusal> lastRefusals()
{
    return {
        hasChoice(&Call::type, 6, badType),
        hasChoice(&Call::premulAlpha, 2, "premulAlpha != 0 && premulAlpha != 1"),
        hasChoice(&Call::divideMode, -1, "divideMode != 0 && divideMode != 1"),
        // Merging masks reads the status, which an earlier failure left.
        {-1, "Bad masks for images",
         [](Breakable& scene) {
             Random random(1);
             giveRandomMask(scene.records.a, 4, 4, random);
             giveRandomMask(scene.records.b, 4, 4, random);
             iplSetStatus(IPL_BadAlphaChannel);
         }},
    };
}

std::vector<Refusal> refusalsOf(bool isConstant)
{
    std::vector<Refusal> refusals = firstRefusals();
    if (isConstant) {
        refusals.push_back(lacksAlpha(&Call::a, "srcImageA->alphaChannel < 1"));
        refusals.push_back(lacksAlpha(&Call::b, "srcImageB->alphaChannel < 1"));
    } else {
        refusals.push_back(isBad(&Call::alphaA));
        refusals.push_back(
            hasDepth(&Call::alphaA, IPL_DEPTH_16U, "alphaImageA->depth != dstImage->depth"));
        refusals.push_back(lacksAlpha(&Call::a, "srcImageA->alphaChannel < 1"));
        refusals.push_back(isBad(&Call::alphaB));
        refusals.push_back(
            hasDepth(&Call::alphaB, IPL_DEPTH_16U, "alphaImageB->depth != dstImage->depth"));
        refusals.push_back(isBad(&Call::alphaDst));
        refusals.push_back(
            hasDepth(&Call::alphaDst, IPL_DEPTH_16U, "alphaImageDst->depth != dstImage->depth"));
        refusals.push_back({-5, "alphaImageDst->alphaChannel < 1",
                            [](Breakable& scene) { scene.records.alphaDst->alphaChannel = 0; }});
    }
    for (const Refusal& refusal : lastRefusals())
        refusals.push_back(refusal);
    return refusals;
}

const char* nameOf(bool isConstant)
{
    return isConstant ? "iplAlphaCompositeC" : "iplAlphaComposite";
}

} // namespace

TEST(AlphaComposite, ReportsEveryRefusalWithItsText)
{
    const CleanStatus clean;
    for (const bool isConstant : {false, true}) {
        {
            const RecordedReports reports;
            run(Breakable(isConstant).call);
            ASSERT_TRUE(reports.all().empty());
        }
        for (const Refusal& refusal : refusalsOf(isConstant)) {
            Breakable scene(isConstant);
            iplSetStatus(0);
            refusal.breakIt(scene);
            EXPECT_REPORT(run(scene.call), refusal.status, nameOf(isConstant), refusal.text,
                          reportFile);
        }
    }
}

TEST(AlphaComposite, ReportsTheFirstOfTwoRefusalsAndWritesNothing)
{
    for (const bool isConstant : {false, true}) {
        const std::vector<Refusal> refusals = refusalsOf(isConstant);
        for (size_t second = 1; second < refusals.size(); ++second) {
            for (size_t first = 0; first < second; ++first) {
                Breakable scene(isConstant);
                const RecordedReports reports;
                refusals[second].breakIt(scene);
                refusals[first].breakIt(scene);
                Random random(61);
                for (const Image& image : scene.images)
                    random.fill(image->imageData, static_cast<size_t>(image->imageSize));
                const std::vector<uint8_t> dst = bytesOf(scene.records.dst);
                const std::vector<uint8_t> alphas = bytesOf(scene.records.alphaDst);
                run(scene.call);
                const Report expected{refusals[first].status, nameOf(isConstant),
                                      refusals[first].text, reportFile};
                ASSERT_EQ(reports.all().size(), 1u) << first << ", " << second;
                ASSERT_EQ(reports.all()[0], expected)
                    << reports.all()[0].message << ", not " << expected.message << "; " << second;
                ASSERT_EQ(bytesOf(scene.records.dst), dst);
                ASSERT_EQ(bytesOf(scene.records.alphaDst), alphas);
            }
        }
    }
}

TEST(AlphaComposite, RefusesNothingWhereNoAlphaOfBIsToBeHad)
{
    const RecordedReports reports;
    Breakable scene(false);
    scene.call.alphaB = nullptr;
    scene.call.alphaDst = nullptr;
    scene.call.b = scene.own(makeImage(4, 4, 3, IPL_DEPTH_8U));
    scene.call.dst = scene.own(makeImage(4, 4, 3, IPL_DEPTH_8U));
    run(scene.call);
    scene.call.alphaA = nullptr;
    run(scene.call);
    EXPECT_TRUE(reports.all().empty());
}

TEST(AlphaComposite, ReportsThatThereIsNoMemoryForAMergedMask)
{
    Random random(61);
    for (const bool isConstant : {false, true}) {
        Scene scene = pixelScene(9, 4, random);
        Call& call = scene.call;
        call.isConstant = isConstant;
        giveRandomMask(call.a, 9, 4, random);
        giveRandomMask(call.b, 9, 4, random);
        const std::vector<uint8_t> before = bytesOf(call.dst);
        for (const int32_t allocation : {0, 1}) {
            const RecordedReports reports;
            {
                const FailingAllocation failing(allocation);
                run(call);
            }
            ASSERT_EQ(reports.all().size(), static_cast<size_t>(allocation) + 1);
            EXPECT_EQ(reports.all().back(),
                      (Report{-4, isConstant ? "iplAlphaCompositeC" : "iplAlphaComposite",
                              "No working memory", reportFile}));
            EXPECT_EQ(bytesOf(call.dst), before);
        }
    }
}

TEST(AlphaComposite, OneMaskIsUsedWhateverTheStatus)
{
    const RecordedReports reports;
    Breakable scene(false);
    Random random(62);
    giveRandomMask(scene.call.a, 4, 4, random);
    iplSetStatus(IPL_BadAlphaChannel);
    run(scene.call);
    EXPECT_TRUE(reports.all().empty());
}
