#include "_Src/pixel/composite.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/levels.h"
#include "tests/support/plain_composite.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/regions.h"
#include "tests/support/report.h"
#include "tests/support/tiles.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace
{

constexpr const char* fileName = "iplalpha";

// --- One call, and its plain form ------------------------------------------------------

// The arguments of either function; which one it is says isConstant.
struct Call {
    IplImage* a = nullptr;
    IplImage* b = nullptr;
    IplImage* dst = nullptr;
    bool isConstant = false;
    int32_t aA = 0;
    int32_t aB = 0;
    IplImage* alphaA = nullptr;
    IplImage* alphaB = nullptr;
    IplImage* alphaDst = nullptr;
    int32_t type = 0;
    int32_t premulAlpha = 0;
    int32_t divideMode = 0;
};

void run(const Call& call)
{
    if (call.isConstant)
        iplAlphaCompositeC(call.a, call.b, call.dst, call.type, call.aA, call.aB, call.premulAlpha,
                           call.divideMode);
    else
        iplAlphaComposite(call.a, call.b, call.dst, call.type, call.alphaA, call.alphaB,
                          call.alphaDst, call.premulAlpha, call.divideMode);
}

uint32_t largestOf(const Call& call)
{
    return call.dst->depth == IPL_DEPTH_8U ? 255 : 65535;
}

// Where an operand's alpha is read: an image's alpha channel, or a constant.
struct PlainAlphaFrom {
    const IplImage* image;
    uint32_t constant;

    uint32_t at(int32_t x, int32_t y) const
    {
        if (!image)
            return constant;
        const Area area = areaOf(image);
        const int32_t channel = image->alphaChannel > 0 ? image->alphaChannel - 1 : 0;
        return static_cast<uint32_t>(element(image, area.x + x, area.y + y, channel));
    }
};

PlainAlphaFrom constantOr(const IplImage* image, int32_t constant, const Call& call)
{
    const bool isImage = constant < 0 || static_cast<uint32_t>(constant) > largestOf(call);
    return isImage ? PlainAlphaFrom{image, 0}
                   : PlainAlphaFrom{nullptr, static_cast<uint32_t>(constant)};
}

PlainAlphaFrom plainAlphaA(const Call& call)
{
    if (call.isConstant)
        return constantOr(call.a, call.aA, call);
    return {call.alphaA ? call.alphaA : call.a, 0};
}

// Whether B has an alpha, and where.
bool plainAlphaB(const Call& call, PlainAlphaFrom* from)
{
    if (call.isConstant) {
        *from = constantOr(call.b, call.aB, call);
        return true;
    }
    if (call.alphaB) {
        *from = {call.alphaB, 0};
        return true;
    }
    *from = {call.b, 0};
    return !call.alphaA && call.b->alphaChannel != 0;
}

IplImage* plainAlphaDst(const Call& call)
{
    if (call.isConstant)
        return nullptr;
    if (call.alphaDst)
        return call.alphaDst;
    return call.dst->alphaChannel != 0 ? call.dst : nullptr;
}

bool masksLet(const Call& call, int32_t x, int32_t y)
{
    return maskLets(call.dst->maskROI, x, y) && maskLets(call.a->maskROI, x, y) &&
           maskLets(call.b->maskROI, x, y);
}

int32_t coi(const IplImage* image)
{
    return image->roi ? image->roi->coi : 0;
}

void plainColourRow(const Call& call, int32_t width, int32_t y, int32_t channel)
{
    const uint32_t M = largestOf(call);
    const PlainComposite form{call.type, call.premulAlpha, call.divideMode, M};
    const Area areaA = areaOf(call.a);
    const Area areaB = areaOf(call.b);
    const Area areaDst = areaOf(call.dst);
    const auto channelOf = [channel](const IplImage* image) {
        return coi(image) > 0 ? coi(image) - 1 : channel;
    };
    PlainAlphaFrom fromB{};
    const bool hasAlphaB = plainAlphaB(call, &fromB);
    for (int32_t x = 0; x < width; ++x) {
        if (!masksLet(call, x, y))
            continue;
        const uint32_t aA = plainAlphaA(call).at(x, y);
        const uint32_t aB = hasAlphaB ? fromB.at(x, y) : M - aA;
        const double a = element(call.a, areaA.x + x, areaA.y + y, channelOf(call.a));
        const double b = element(call.b, areaB.x + x, areaB.y + y, channelOf(call.b));
        putElement(call.dst, areaDst.x + x, areaDst.y + y, channelOf(call.dst),
                   plainElement(form, static_cast<uint32_t>(a), static_cast<uint32_t>(b), aA, aB));
    }
}

void plainAlphaRow(const Call& call, int32_t width, int32_t y)
{
    IplImage* to = plainAlphaDst(call);
    if (!to)
        return;
    const uint32_t M = largestOf(call);
    const Area area = areaOf(to);
    PlainAlphaFrom fromB{};
    const bool hasAlphaB = plainAlphaB(call, &fromB);
    for (int32_t x = 0; x < width; ++x) {
        if (!masksLet(call, x, y))
            continue;
        const uint32_t aA = plainAlphaA(call).at(x, y);
        const uint32_t aB = hasAlphaB ? fromB.at(x, y) : M - aA;
        putElement(to, area.x + x, area.y + y, to->alphaChannel - 1,
                   plainAlpha(call.type, aA, aB, M));
    }
}

void plainRun(const Call& call)
{
    Area size = areaOf(call.dst);
    for (const IplImage* image : {call.a, call.b, call.alphaA, call.alphaB, call.alphaDst,
                                  call.dst->maskROI, call.a->maskROI, call.b->maskROI})
        shrinkTo(&size, image);
    for (int32_t y = 0; y < size.height; ++y) {
        for (int32_t c = 0; c < call.dst->nChannels; ++c) {
            const bool takesPart = coi(call.dst) > 0 ? c == 0 : c + 1 != call.dst->alphaChannel;
            if (takesPart)
                plainColourRow(call, size.width, y, c);
        }
        plainAlphaRow(call, size.width, y);
    }
}

std::string describeCall(const Call& call)
{
    std::string text = "type " + std::to_string(call.type) + ", premulAlpha " +
                       std::to_string(call.premulAlpha) + ", divideMode " +
                       std::to_string(call.divideMode) + ", A " + describe(call.a) + ", B " +
                       describe(call.b) + ", dst " + describe(call.dst);
    if (call.isConstant)
        return text + ", aA " + std::to_string(call.aA) + ", aB " + std::to_string(call.aB);
    for (const IplImage* image : {call.alphaA, call.alphaB, call.alphaDst})
        text += image ? ", alpha " + describe(image) : ", no alpha image";
    return text;
}

// Compares all bytes of the destinations, padding included.
void expectPlain(const Call& call)
{
    IplImage* const written[] = {call.dst, call.alphaDst ? call.alphaDst : call.dst};
    std::vector<std::vector<uint8_t>> before;
    std::vector<std::vector<uint8_t>> expected;
    for (IplImage* image : written)
        before.push_back(bytesOf(image));
    plainRun(call);
    for (size_t i = 0; i < 2; ++i)
        expected.push_back(bytesOf(written[i]));
    for (size_t i = 0; i < 2; ++i)
        std::memcpy(written[i]->imageData, before[i].data(), before[i].size());
    run(call);
    for (size_t i = 0; i < 2; ++i)
        ASSERT_EQ(bytesOf(written[i]), expected[i]) << describeCall(call);
}

// --- Random calls ------------------------------------------------------------------------

// Owns the images of a call.
struct Scene {
    Call call;
    std::vector<Image> images;

    IplImage* own(Image image)
    {
        images.push_back(std::move(image));
        return images.back().get();
    }
};

int32_t alignOf(Random& random)
{
    return 4 << random.between(0, 3);
}

void fillSharp(IplImage* image, Random& random)
{
    randomise(image, random);
    for (int32_t i = 0; i < 40; ++i) {
        const double largest = image->depth == IPL_DEPTH_8U ? 255 : 65535;
        const double values[] = {0, 1, largest - 1, largest};
        putElement(image, random.between(0, image->width - 1), random.between(0, image->height - 1),
                   random.between(0, image->nChannels - 1), values[random.between(0, 3)]);
    }
}

Image randomImage(int32_t nChannels, uint32_t depth, int32_t alphaChannel, Random& random)
{
    Image image =
        makeImage(random.between(1, 40), random.between(1, 10), nChannels, depth,
                  random.between(0, 1), alignOf(random), alphaChannel, random.between(0, 1));
    fillSharp(image.get(), random);
    return image;
}

// An image of `colours` channels besides alpha, or with a channel of interest.
Image randomOperand(int32_t colours, bool hasCoi, uint32_t depth, bool hasAlpha, Random& random)
{
    if (hasCoi)
        colours = random.between(1, 5);
    const int32_t nChannels = colours + (hasAlpha ? 1 : 0);
    Image image = randomImage(nChannels, depth, hasAlpha ? nChannels : 0, random);
    if (hasCoi || random.between(0, 2) == 0)
        giveRandomRoi(image.get(), hasCoi ? random.between(1, colours) : 0, random);
    if (random.between(0, 3) == 0)
        giveMaskAtOddOffset(image.get(), random);
    return image;
}

IplImage* randomAlphaImage(Scene* scene, uint32_t depth, bool mustHaveAlpha, Random& random)
{
    const int32_t nChannels = random.between(1, 4);
    const bool hasAlpha = mustHaveAlpha || random.coin();
    Image image = randomImage(nChannels, depth, hasAlpha ? nChannels : 0, random);
    if (random.between(0, 2) == 0)
        giveRandomRoi(image.get(), 0, random);
    return scene->own(std::move(image));
}

Scene randomScene(bool isConstant, Random& random)
{
    Scene scene;
    Call& call = scene.call;
    const uint32_t depth = random.coin() ? IPL_DEPTH_8U : IPL_DEPTH_16U;
    const int32_t largest = depth == IPL_DEPTH_8U ? 255 : 65535;
    const int32_t colours = random.between(1, 4);
    const bool hasCoi = random.between(0, 3) == 0;
    call.isConstant = isConstant;
    call.type = random.between(0, 5);
    call.premulAlpha = random.between(0, 1);
    call.divideMode = random.between(0, 1);
    call.aA = random.coin() ? random.between(0, largest) : -random.between(1, 9);
    call.aB = random.coin() ? random.between(0, largest) : largest + random.between(1, 9);
    const bool needsAlphaA = isConstant ? call.aA < 0 : random.coin();
    call.a = scene.own(randomOperand(colours, hasCoi, depth, needsAlphaA || random.coin(), random));
    call.b = scene.own(randomOperand(colours, hasCoi, depth, random.coin(), random));
    call.dst = scene.own(randomOperand(colours, hasCoi, depth, random.coin(), random));
    if (isConstant)
        return scene;
    if (!needsAlphaA)
        call.alphaA = randomAlphaImage(&scene, depth, false, random);
    if (random.coin())
        call.alphaB = randomAlphaImage(&scene, depth, false, random);
    if (random.between(0, 2) == 0)
        call.alphaDst = randomAlphaImage(&scene, depth, true, random);
    return scene;
}

// Makes some of the call's images the same.
void shareImages(Call* call, Random& random)
{
    const int choice = random.between(0, call->isConstant ? 2 : 6);
    if (choice == 0)
        call->dst = call->a;
    else if (choice == 1)
        call->dst = call->b;
    else if (choice == 2)
        call->a = call->dst = call->b;
    else if (choice == 3)
        call->alphaA = call->dst;
    else if (choice == 4)
        call->alphaB = call->dst;
    else if (choice == 5 && call->alphaA && call->alphaA->alphaChannel)
        call->alphaDst = call->alphaA;
    else if (call->a->alphaChannel)
        call->alphaDst = call->a;
    const bool lacksAlpha = call->a->alphaChannel == 0;
    if (lacksAlpha && call->isConstant && call->aA < 0)
        call->aA = 7;
    if (lacksAlpha && !call->isConstant && !call->alphaA)
        call->alphaA = call->dst;
}

// 32-bit pixels in one size, the surface's case, with what the form asks for.
Scene pixelScene(int32_t width, int32_t height, Random& random)
{
    Scene scene;
    for (IplImage** image : {&scene.call.a, &scene.call.b, &scene.call.dst}) {
        *image = scene.own(makeImage(width, height, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 4));
        fillSharp(*image, random);
    }
    return scene;
}

// A scene of 1 x 1 pixels of four bytes.
Scene onePixel(const std::vector<int>& a, const std::vector<int>& b)
{
    Random random(1);
    Scene scene = pixelScene(1, 1, random);
    for (int32_t c = 0; c < 4; ++c) {
        putElement(scene.call.a, 0, 0, c, a[static_cast<size_t>(c)]);
        putElement(scene.call.b, 0, 0, c, b[static_cast<size_t>(c)]);
        putElement(scene.call.dst, 0, 0, c, 77);
    }
    return scene;
}

std::vector<int> pixelOf(const IplImage* image)
{
    std::vector<int> elements;
    for (int32_t c = 0; c < image->nChannels; ++c)
        elements.push_back(static_cast<int>(element(image, 0, 0, c)));
    return elements;
}

// The destination's first pixel after the call.
std::vector<int> composited(const Call& call)
{
    run(call);
    return pixelOf(call.dst);
}

using Elements = std::vector<int>;

} // namespace

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
                  fileName);
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
                      "ERROR in Tiling callBack", fileName);
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

// --- Refusals -----------------------------------------------------------------------------------

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
                          fileName);
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
                                      refusals[first].text, fileName};
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
                              "No working memory", fileName}));
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
