// Calls of the two alpha composites, and their plain form.
#pragma once

#include "_Src/pixel/composite.h"
#include "tests/support/plain_composite.h"
#include "tests/support/regions.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

namespace composite_calls
{

// The file that both report under.
constexpr const char* reportFile = "iplalpha";

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

inline void run(const Call& call)
{
    if (call.isConstant)
        iplAlphaCompositeC(call.a, call.b, call.dst, call.type, call.aA, call.aB, call.premulAlpha,
                           call.divideMode);
    else
        iplAlphaComposite(call.a, call.b, call.dst, call.type, call.alphaA, call.alphaB,
                          call.alphaDst, call.premulAlpha, call.divideMode);
}

inline uint32_t largestOf(const Call& call)
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

inline PlainAlphaFrom constantOr(const IplImage* image, int32_t constant, const Call& call)
{
    const bool isImage = constant < 0 || static_cast<uint32_t>(constant) > largestOf(call);
    return isImage ? PlainAlphaFrom{image, 0}
                   : PlainAlphaFrom{nullptr, static_cast<uint32_t>(constant)};
}

inline PlainAlphaFrom plainAlphaA(const Call& call)
{
    if (call.isConstant)
        return constantOr(call.a, call.aA, call);
    return {call.alphaA ? call.alphaA : call.a, 0};
}

// Whether B has an alpha, and where.
inline bool plainAlphaB(const Call& call, PlainAlphaFrom* from)
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

inline IplImage* plainAlphaDst(const Call& call)
{
    if (call.isConstant)
        return nullptr;
    if (call.alphaDst)
        return call.alphaDst;
    return call.dst->alphaChannel != 0 ? call.dst : nullptr;
}

inline bool masksLet(const Call& call, int32_t x, int32_t y)
{
    return maskLets(call.dst->maskROI, x, y) && maskLets(call.a->maskROI, x, y) &&
           maskLets(call.b->maskROI, x, y);
}

inline int32_t coi(const IplImage* image)
{
    return image->roi ? image->roi->coi : 0;
}

inline void plainColourRow(const Call& call, int32_t width, int32_t y, int32_t channel)
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

inline void plainAlphaRow(const Call& call, int32_t width, int32_t y)
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

inline void plainRun(const Call& call)
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

inline std::string describeCall(const Call& call)
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
inline void expectPlain(const Call& call)
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

inline int32_t alignOf(Random& random)
{
    return 4 << random.between(0, 3);
}

inline void fillSharp(IplImage* image, Random& random)
{
    randomise(image, random);
    for (int32_t i = 0; i < 40; ++i) {
        const double largest = image->depth == IPL_DEPTH_8U ? 255 : 65535;
        const double values[] = {0, 1, largest - 1, largest};
        putElement(image, random.between(0, image->width - 1), random.between(0, image->height - 1),
                   random.between(0, image->nChannels - 1), values[random.between(0, 3)]);
    }
}

inline Image randomImage(int32_t nChannels, uint32_t depth, int32_t alphaChannel, Random& random)
{
    Image image =
        makeImage(random.between(1, 40), random.between(1, 10), nChannels, depth,
                  random.between(0, 1), alignOf(random), alphaChannel, random.between(0, 1));
    fillSharp(image.get(), random);
    return image;
}

// An image of `colours` channels besides alpha, or with a channel of interest.
inline Image randomOperand(int32_t colours, bool hasCoi, uint32_t depth, bool hasAlpha,
                           Random& random)
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

inline IplImage* randomAlphaImage(Scene* scene, uint32_t depth, bool mustHaveAlpha, Random& random)
{
    const int32_t nChannels = random.between(1, 4);
    const bool hasAlpha = mustHaveAlpha || random.coin();
    Image image = randomImage(nChannels, depth, hasAlpha ? nChannels : 0, random);
    if (random.between(0, 2) == 0)
        giveRandomRoi(image.get(), 0, random);
    return scene->own(std::move(image));
}

inline Scene randomScene(bool isConstant, Random& random)
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
inline void shareImages(Call* call, Random& random)
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
inline Scene pixelScene(int32_t width, int32_t height, Random& random)
{
    Scene scene;
    for (IplImage** image : {&scene.call.a, &scene.call.b, &scene.call.dst}) {
        *image = scene.own(makeImage(width, height, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 4));
        fillSharp(*image, random);
    }
    return scene;
}

// A scene of 1 x 1 pixels of four bytes.
inline Scene onePixel(const std::vector<int>& a, const std::vector<int>& b)
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

inline std::vector<int> pixelOf(const IplImage* image)
{
    std::vector<int> elements;
    for (int32_t c = 0; c < image->nChannels; ++c)
        elements.push_back(static_cast<int>(element(image, 0, 0, c)));
    return elements;
}

// The destination's first pixel after the call.
inline std::vector<int> composited(const Call& call)
{
    run(call);
    return pixelOf(call.dst);
}

using Elements = std::vector<int>;

} // namespace composite_calls
