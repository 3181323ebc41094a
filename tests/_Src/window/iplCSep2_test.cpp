#include "tests/support/failing_allocation.h"
#include "tests/support/levels.h"
#include "tests/support/plain_convolve.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <optional>

namespace
{

using Pass = std::optional<PlainKernel>;

struct Passes {
    Pass x;
    Pass y;
};

PlainKernel row(const std::vector<int32_t>& taps, int32_t anchor, int32_t nShiftR = 0)
{
    return {static_cast<int32_t>(taps.size()), 1, anchor, 0, taps, nShiftR};
}

PlainKernel column(const std::vector<int32_t>& taps, int32_t anchor, int32_t nShiftR = 0)
{
    return {1, static_cast<int32_t>(taps.size()), 0, anchor, taps, nShiftR};
}

std::string describePasses(const Passes& passes)
{
    return (passes.x ? describe(*passes.x) : "") + (passes.y ? describe(*passes.y) : "");
}

void convolvePasses(const IplImage* src, IplImage* dst, const Passes& passes)
{
    const ConvKernel x = passes.x ? passes.x->make() : nullptr;
    const ConvKernel y = passes.y ? passes.y->make() : nullptr;
    iplConvolveSep2D(src, dst, x.get(), y.get());
}

// One pass and then the other, each with a result of its own at every place.
void plainPasses(const IplImage* src, IplImage* dst, const Passes& passes)
{
    const uint32_t depth = dst->depth;
    forEachPlainPixel(plainJob(src, nullptr, dst), [&](int32_t x, int32_t y, int32_t c, int32_t toX,
                                                       int32_t toY, int32_t toC) {
        const auto across = [&](int64_t dx, int64_t dy) {
            const auto source = [&](int64_t moreX, int64_t) {
                return elementAround(src, x + dx + moreX, y + dy, c);
            };
            return passes.x ? plainConvolved({*passes.x}, 0, depth, source) : source(0, 0);
        };
        putElement(dst, toX, toY, toC,
                   passes.y ? plainConvolved({*passes.y}, 0, depth, across) : across(0, 0));
    });
}

Passes randomPasses(Random& random)
{
    const int32_t which = random.between(0, 5);
    Passes passes;
    if (which != 0)
        passes.x = randomKernelOf(random.between(2, 9), 1, random);
    if (which != 1)
        passes.y = randomKernelOf(1, random.between(2, 9), random);
    return passes;
}

// Images that agree in all that separable convolutions ask for.
Arrangement randomAlike(uint32_t depth, Random& random)
{
    for (;;) {
        Arrangement images = randomFilterImages(depth, random);
        images.dst->origin = images.a->origin;
        const IplImage* a = images.a.get();
        const IplImage* dst = images.dst.get();
        if (a->nChannels == dst->nChannels && a->alphaChannel == dst->alphaChannel &&
            a->dataOrder == dst->dataOrder)
            return images;
    }
}

void expectPlainPasses(const Arrangement& images, const Passes& passes)
{
    const Twin expected(images.dst.get());
    plainPasses(images.a.get(), expected.get(), passes);
    forEachLevel([&] {
        const Twin result(images.dst.get());
        convolvePasses(images.a.get(), result.get(), passes);
        ASSERT_EQ(bytesOf(result.get()), bytesOf(expected.get()))
            << images.text() << describePasses(passes);
    });
}

using Reports = std::vector<Report>;

Reports reportsOfPasses(const IplImage* src, IplImage* dst, const OwnConvKernel* x,
                        const OwnConvKernel* y)
{
    const RecordedReports reports;
    iplConvolveSep2D(src, dst, x, y);
    return reports.all();
}

Reports onlyOfPasses(const std::string& text, const char* fileName = "owncsep2",
                     int32_t status = -5)
{
    return {{status, "iplConvolveSep2D", text, fileName}};
}

Reports reportsOfPasses(const Image& src, const Image& dst)
{
    const ConvKernel x = row({1, 1}, 0).make();
    return reportsOfPasses(src.get(), dst.get(), x.get(), nullptr);
}

} // namespace

// --- Worked values -------------------------------------------------------------------

TEST(iplConvolveSep2D, IsTheOuterProduct)
{
    const Image src = makeImage(5, 5, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(5, 5, 1, IPL_DEPTH_8U);
    putElement(src.get(), 2, 2, 0, 1);
    convolvePasses(src.get(), dst.get(), {row({1, 2, 3}, 0), column({4, 5}, 1)});
    for (int32_t y = 0; y < 5; ++y)
        for (int32_t x = 0; x < 5; ++x) {
            const int32_t i = x - 2;
            const int32_t j = y - 1;
            const bool inside = i >= 0 && i < 3 && j >= 0 && j < 2;
            EXPECT_EQ(element(dst.get(), x, y, 0), inside ? (i + 1) * (j + 4) : 0);
        }
}

TEST(iplConvolveSep2D, EachPassIsAFullResult)
{
    // 200 * 2 is 255 before the column halves it; 3 >> 1 is 1 before it is doubled.
    const auto result = [](uint32_t depth, double value, const Passes& passes) {
        const Image src = makeImage(1, 1, 1, depth);
        const Image dst = makeImage(1, 1, 1, depth);
        putElement(src.get(), 0, 0, 0, value);
        convolvePasses(src.get(), dst.get(), passes);
        return element(dst.get(), 0, 0, 0);
    };
    EXPECT_EQ(result(IPL_DEPTH_8U, 200, {row({0, 2}, 1), column({0, 1}, 1, 1)}), 127);
    EXPECT_EQ(result(IPL_DEPTH_8U, 3, {row({0, 1}, 1, 1), column({0, 2}, 1)}), 2);
    EXPECT_EQ(result(IPL_DEPTH_8U, 3, {row({0, -1}, 1), column({0, -1}, 1)}), 0);
    EXPECT_EQ(result(IPL_DEPTH_8S, 3, {row({0, -1}, 1), column({0, -1}, 1)}), 3);
    EXPECT_EQ(result(IPL_DEPTH_1U, 1, {row({0, 9}, 1), column({0, 1}, 1, 1)}), 0);
}

TEST(iplConvolveSep2D, RowsAroundTheImageAreFilteredToo)
{
    const Image src = makeImage(1, 1, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(1, 1, 1, IPL_DEPTH_8U);
    putElement(src.get(), 0, 0, 0, 1);
    for (int32_t side = 0; side < 4; ++side)
        src->BorderConst[side] = 10 * (side + 1);
    // The row above is 10s, which become 20s; the one below 20s, which become 40s.
    convolvePasses(src.get(), dst.get(), {row({1, 1}, 0), column({1, 1, 1}, 1)});
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 20 + 31 + 40);
}

TEST(iplConvolveSep2D, ANullKernelsPassIsLeftOut)
{
    const Image src = makeImage(2, 2, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(2, 2, 1, IPL_DEPTH_8U);
    for (int32_t i = 0; i < 4; ++i)
        putElement(src.get(), i % 2, i / 2, 0, 1 << i);
    convolvePasses(src.get(), dst.get(), {row({1, 1}, 0), {}});
    EXPECT_EQ(element(dst.get(), 1, 1, 0), 12);
    EXPECT_EQ(element(dst.get(), 0, 1, 0), 4);
    convolvePasses(src.get(), dst.get(), {{}, column({1, 1}, 0)});
    EXPECT_EQ(element(dst.get(), 1, 1, 0), 10);
    EXPECT_EQ(element(dst.get(), 1, 0, 0), 2);
}

TEST(iplConvolveSep2D, ClearsAnEarlierFailure)
{
    const CleanStatus clean;
    iplSetStatus(-5);
    const Image src = makeImage(2, 2, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(2, 2, 1, IPL_DEPTH_8U);
    putElement(src.get(), 0, 0, 0, 9);
    convolvePasses(src.get(), dst.get(), {row({0, 1}, 1), {}});
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 9);
    EXPECT_EQ(iplGetStatus(), 0);
}

// --- The plain form --------------------------------------------------------------------

TEST(iplConvolveSep2D, IsThePlainSumAtEveryLevel)
{
    Random random(20);
    for (const uint32_t depth : integerDepths)
        for (int i = 0; i < 150; ++i)
            expectPlainPasses(randomAlike(depth, random), randomPasses(random));
}

TEST(iplConvolveSep2D, TilesGiveTheSame)
{
    Random random(21);
    for (const uint32_t depth : integerDepths) {
        for (int i = 0; i < 40; ++i) {
            const Passes passes = randomPasses(random);
            expectSameFilterInTiles(
                randomAlike(depth, random), {},
                [&](const IplImage* src, IplImage* dst, const PlainWindow&) {
                    convolvePasses(src, dst, passes);
                },
                random);
        }
    }
}

TEST(iplConvolveSep2D, SharedPixelsAreReadUnchanged)
{
    Random random(22);
    for (const uint32_t depth : integerDepths) {
        for (int i = 0; i < 30; ++i) {
            const Arrangement images = randomAlike(depth, random);
            IplImage* image = images.a.get();
            IplImage sharer = *image;
            const Passes passes = randomPasses(random);
            const Twin expected(image);
            plainPasses(image, expected.get(), passes);
            convolvePasses(image, &sharer, passes);
            ASSERT_EQ(bytesOf(image), bytesOf(expected.get()))
                << images.text() << describePasses(passes);
        }
    }
}

// --- Refusals --------------------------------------------------------------------------

TEST(iplConvolveSep2D, EndsTheProcessForARefusal)
{
    const Image image = makeImage(3, 3, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplConvolveSep2D(image.get(), image.get(), nullptr, nullptr), -5,
                  "iplConvolveSep2D", "Unsupported in-place mode", "iplCSep2");
}

TEST(iplConvolveSep2D, RefusesCallsInOrder)
{
    const Image image = makeImage(3, 3, 1, IPL_DEPTH_8U);
    const Image other = makeImage(3, 3, 1, IPL_DEPTH_16U);
    EXPECT_EQ(reportsOfPasses(nullptr, nullptr, nullptr, nullptr),
              onlyOfPasses("Incorrect Image", "iplCSep2", -9));
    EXPECT_EQ(reportsOfPasses(image.get(), nullptr, nullptr, nullptr),
              onlyOfPasses("Incorrect Image", "iplCSep2", -9));
    EXPECT_EQ(reportsOfPasses(image.get(), image.get(), nullptr, nullptr),
              onlyOfPasses("Unsupported in-place mode", "iplCSep2"));
    EXPECT_EQ(reportsOfPasses(image.get(), other.get(), nullptr, nullptr),
              onlyOfPasses("Kernel pointers are NULL", "iplCSep2"));
    EXPECT_EQ(reportsOfPasses(image, other), onlyOfPasses("SRC and DST depth are different"));
    const Image floats = makeImage(3, 3, 1, IPL_DEPTH_32F);
    const Image moreFloats = makeImage(3, 3, 1, IPL_DEPTH_32F);
    EXPECT_EQ(
        reportsOfPasses(floats, moreFloats),
        onlyOfPasses("iplConvolveSep2D does not support IPL_DEPTH_32F.\nCall iplConvolveSep2DFP "
                     "instead",
                     "iplCSep2"));
}

TEST(iplConvolveSep2D, RefusesImagesThatDiffer)
{
    const auto make = [](int32_t channels, int32_t order, int32_t origin, int32_t alpha) {
        return makeImage(3, 3, channels, IPL_DEPTH_8U, order, 4, alpha, origin);
    };
    EXPECT_EQ(reportsOfPasses(make(3, 0, 0, 0), make(4, 1, 1, 4)),
              onlyOfPasses("SRC and DST order are different"));
    EXPECT_EQ(reportsOfPasses(make(33, 0, 0, 0), make(4, 0, 1, 4)),
              onlyOfPasses("SRC and DST orign are different"));
    EXPECT_EQ(reportsOfPasses(make(33, 0, 0, 0), make(4, 0, 0, 4)),
              onlyOfPasses("SRC: too many channels per plane (limit 32)"));
    EXPECT_EQ(reportsOfPasses(make(32, 0, 0, 0), make(4, 0, 0, 4)),
              onlyOfPasses("SRC and DST number of channels are different"));
    EXPECT_EQ(reportsOfPasses(make(33, 1, 0, 0), make(4, 1, 0, 4)),
              onlyOfPasses("SRC and DST number of channels are different"));
    const Image chosen = make(4, 0, 0, 0);
    setRoi(chosen.get(), 2, 0, 0, 3, 3);
    EXPECT_EQ(reportsOfPasses(chosen, make(4, 0, 0, 4)),
              onlyOfPasses("SRC and DST Alpha channels are different"));
    EXPECT_EQ(reportsOfPasses(chosen, make(4, 0, 0, 0)),
              onlyOfPasses("SRC and DST number of processing channels are different"));
    EXPECT_EQ(reportsOfPasses(make(33, 1, 0, 0), make(33, 1, 0, 0)), Reports{});
}

TEST(iplConvolveSep2D, RefusesKernelsInOrder)
{
    const Image floats = makeImage(3, 3, 1, IPL_DEPTH_32F); // refused after the kernels
    const Image others = makeImage(3, 3, 1, IPL_DEPTH_32F);
    int32_t taps[4] = {1, 1, 1, 1};
    const auto reports = [&](const OwnConvKernel& x, const OwnConvKernel& y) {
        return reportsOfPasses(floats.get(), others.get(), &x, &y);
    };
    const OwnConvKernel goodX{2, 1, 1, 0, taps, 0};
    const OwnConvKernel goodY{1, 2, 0, 1, taps, 0};
    const auto size = onlyOfPasses("Invalid kernal size");
    const auto anchor = onlyOfPasses("Invalid kernrl anchor");
    for (const OwnConvKernel& bad :
         {OwnConvKernel{1, 1, 9, 9, taps, 0}, OwnConvKernel{2, 2, 9, 9, taps, 0},
          OwnConvKernel{0, 1, 9, 9, taps, 0}, OwnConvKernel{1, 0, 9, 9, taps, 0}}) {
        EXPECT_EQ(reports(bad, {1, 1, 0, 0, nullptr, 0}), size);
        EXPECT_EQ(reports(goodX, bad), size);
    }
    EXPECT_EQ(reports({1, 1, 9, 9, nullptr, 0}, goodY), onlyOfPasses("NULL kernel values"));
    EXPECT_EQ(reports(goodX, {1, 1, 9, 9, nullptr, 0}), onlyOfPasses("NULL kernel values"));
    for (const int32_t at : {-1, 2}) {
        EXPECT_EQ(reports({2, 1, at, 0, taps, 0}, {1, 1, 0, 0, nullptr, 0}), anchor);
        EXPECT_EQ(reports(goodX, {1, 2, 0, at, taps, 0}), anchor);
    }
    EXPECT_EQ(reports({2, 1, 0, 1, taps, 0}, goodY), anchor);
    EXPECT_EQ(reports(goodX, {1, 2, 1, 0, taps, 0}), anchor);
    EXPECT_EQ(reports(goodX, goodY).at(0).fileName, "iplCSep2");
}

TEST(iplConvolveSep2D, TellsOfMemoryAndTiles)
{
    const Image src = makeImage(20, 20, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(20, 20, 1, IPL_DEPTH_8U);
    const ConvKernel x = row({1, 2, 1}, 1).make();
    const ConvKernel y = column({1, 2, 1}, 1).make();
    const Reports expected = onlyOfPasses("Not enough memory", "iplCSep2", -1);
    int32_t asked = 1;
    for (int32_t passing = 0; passing < asked; ++passing) {
        const RecordedReports recorded;
        {
            const FailingAllocation failure(passing);
            iplConvolveSep2D(src.get(), dst.get(), x.get(), y.get());
            asked = failure.asked();
        }
        EXPECT_EQ(recorded.all(), passing < asked ? expected : Reports{}) << passing;
        EXPECT_EQ(iplGetStatus(), passing < asked ? -4 : 0);
    }
    EXPECT_GT(asked, 10);
    TiledImage tiles(src.get(), 8, 8);
    tiles.failFrom = 4;
    EXPECT_EQ(reportsOfPasses(tiles.get(), dst.get(), x.get(), y.get()), expected);
}
