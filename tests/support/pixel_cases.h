// Random images that a per-pixel operation accepts together, the plain form of
// what it does to them, and the comparison of both.
#pragma once

#include "tests/support/regions.h"
#include "tests/support/tiles.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

// The low bits of a value, as an element of an integer depth.
inline double wrapped(uint32_t depth, int64_t value)
{
    const int64_t mask = (int64_t{1} << (depth & IPL_DEPTH_MASK)) - 1;
    const int64_t kept = value & mask;
    return static_cast<double>(kept > highOf(depth) ? kept - mask - 1 : kept);
}

// What an operation makes of an element of A and one of B; without a B, of 0.
using PlainFormula = std::function<double(uint32_t depth, double a, double b)>;

// How many channels take part, and the first of them.
inline int32_t coiOf(const IplImage* image)
{
    return image->roi ? image->roi->coi : 0;
}
inline int32_t countOf(const IplImage* image)
{
    return coiOf(image) > 0 ? 1 : image->nChannels - (image->alphaChannel != 0 ? 1 : 0);
}

// The sources, of which the second may be null, and the destination, with the
// number of channels that take part and the first channel of each image.
struct PlainJob {
    const IplImage* a;
    const IplImage* b;
    IplImage* dst;
    int32_t channels;
    int32_t firstA;
    int32_t firstB;
    int32_t firstDst;
};

inline PlainJob plainJob(const IplImage* a, const IplImage* b, IplImage* dst)
{
    const auto first = [](const IplImage* image) {
        return image && coiOf(image) > 0 ? coiOf(image) - 1 : 0;
    };
    return {a, b, dst, countOf(dst), first(a), first(b), first(dst)};
}

inline void plainOperation(const PlainJob& job, const PlainFormula& formula)
{
    const Area areaA = areaOf(job.a);
    const Area areaB = job.b ? areaOf(job.b) : areaA;
    const Area areaDst = areaOf(job.dst);
    Area size = areaDst;
    const IplImage* const masks[] = {job.a->maskROI, job.b ? job.b->maskROI : nullptr,
                                     job.dst->maskROI};
    for (const IplImage* image : {job.a, job.b, masks[0], masks[1], masks[2]})
        shrinkTo(&size, image);
    for (int32_t y = 0; y < size.height; ++y) {
        for (int32_t x = 0; x < size.width; ++x) {
            bool lets = true;
            for (const IplImage* mask : masks)
                lets = lets && maskLets(mask, x, y);
            for (int32_t c = 0; lets && c < job.channels; ++c) {
                const double a = element(job.a, areaA.x + x, areaA.y + y, job.firstA + c);
                const double b =
                    job.b ? element(job.b, areaB.x + x, areaB.y + y, job.firstB + c) : 0;
                putElement(job.dst, areaDst.x + x, areaDst.y + y, job.firstDst + c,
                           formula(job.dst->depth, a, b));
            }
        }
    }
}

// --- Random arrangements ------------------------------------------------------------------

// A few elements at the limits among the random ones.
inline void fillTelling(IplImage* image, Random& random)
{
    randomise(image, random);
    if (isFloat(image) || image->depth == IPL_DEPTH_1U)
        return;
    for (int32_t i = 0; i < 12; ++i) {
        const int64_t values[] = {lowOf(image->depth), highOf(image->depth), 0, 1};
        putElement(image, random.between(0, image->width - 1), random.between(0, image->height - 1),
                   random.between(0, image->nChannels - 1),
                   static_cast<double>(values[random.between(0, 3)]));
    }
}

struct Shape {
    int32_t nChannels;
    int32_t alphaChannel; // 0 or nChannels
    int32_t coi;          // 0: all
};

inline Image imageOfShape(uint32_t depth, int32_t dataOrder, const Shape& shape, Random& random)
{
    Image image =
        makeImage(random.between(1, 30), random.between(1, 12), shape.nChannels, depth, dataOrder,
                  4 << random.between(0, 3), shape.alphaChannel, random.between(0, 1));
    fillTelling(image.get(), random);
    if (shape.coi > 0 || random.between(0, 2) == 0)
        giveRandomRoi(image.get(), shape.coi, random);
    if (random.between(0, 2) == 0)
        giveMaskAtOddOffset(image.get(), random);
    return image;
}

struct Arrangement {
    Image a;
    Image b; // null for operations of one image
    Image dst;

    std::string text() const
    {
        return describe(a.get()) + (b ? " and " + describe(b.get()) : "") + " -> " +
               describe(dst.get());
    }
};

// Images of one depth, order and number of channels that take part.
inline Arrangement randomArrangement(uint32_t depth, int sources, Random& random)
{
    const bool bits = depth == IPL_DEPTH_1U;
    const int32_t count = bits ? 1 : random.between(1, 4);
    const int32_t order = random.between(0, 1);
    const auto image = [&] {
        Shape shape{count, 0, 0};
        if (!bits && count == 1 && random.coin()) {
            shape.nChannels = random.between(1, 20);
            shape.coi = random.between(1, shape.nChannels);
            shape.alphaChannel = random.coin() ? shape.nChannels : 0;
        } else if (!bits && random.between(0, 3) == 0) {
            shape = {count + 1, count + 1, 0};
        }
        return imageOfShape(depth, bits ? random.between(0, 1) : order, shape, random);
    };
    Arrangement images{image(), nullptr, nullptr};
    if (sources == 2)
        images.b = image();
    images.dst = image();
    return images;
}

// --- The comparison -----------------------------------------------------------------------

// What the operation under test does; `b` is null for operations of one image.
using Operation = std::function<void(const IplImage* a, const IplImage* b, IplImage* dst)>;

inline void expectPlainResult(const Arrangement& images, const Operation& operation,
                              const PlainFormula& formula)
{
    const Twin expected(images.dst.get());
    plainOperation(plainJob(images.a.get(), images.b.get(), expected.get()), formula);
    operation(images.a.get(), images.b.get(), images.dst.get());
    ASSERT_EQ(bytesOf(images.dst.get()), bytesOf(expected.get())) << images.text();
}

// The same with the destination as the first source.
inline void expectPlainResultInPlace(const Arrangement& images, const Operation& operation,
                                     const PlainFormula& formula)
{
    IplImage* dst = images.dst.get();
    const Twin source(dst);
    const Twin expected(dst);
    plainOperation(plainJob(source.get(), images.b.get(), expected.get()), formula);
    operation(dst, images.b.get(), dst);
    ASSERT_EQ(bytesOf(dst), bytesOf(expected.get())) << images.text();
}

// Runs the operation once on the images with some of them, at least one, in
// tiles, and once on the images themselves.
inline void expectSameInTiles(const Arrangement& images, const Operation& operation, Random& random)
{
    const auto tiles = [&](const IplImage* image) -> std::unique_ptr<TiledTwin> {
        if (!image || random.coin())
            return nullptr;
        return std::make_unique<TiledTwin>(image, 8 * random.between(1, 3),
                                           8 * random.between(1, 2));
    };
    const auto a = tiles(images.a.get());
    const auto b = tiles(images.b.get());
    auto dst = tiles(images.dst.get());
    if (!a && !b && !dst)
        dst = std::make_unique<TiledTwin>(images.dst.get(), 8, 8);
    const Twin result(images.dst.get());
    operation(a ? a->get() : images.a.get(), b ? b->get() : images.b.get(),
              dst ? dst->get() : result.get());
    if (dst)
        dst->collect(result.get());
    operation(images.a.get(), images.b.get(), images.dst.get());
    ASSERT_EQ(bytesOf(result.get()), bytesOf(images.dst.get())) << images.text();
}
