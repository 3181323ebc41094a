#include "quibtool/quibtool.h"

#include "tests/support/bad_handles.h"
#include "tests/support/report.h"
#include "tests/support/window.h"

#include <cmath>

namespace
{

using Wrapper = QuibStatus (*)(const IplImage*, IplImage**, int32_t, int32_t, int32_t, int32_t);

constexpr Wrapper wrappers[] = {QuibMaxFilter, QuibMinFilter, QuibMedianFilter,
                                QuibColorMedianFilter};
constexpr Wrapper rankWrappers[] = {QuibMaxFilter, QuibMinFilter, QuibMedianFilter};

Image filtered(Wrapper wrapper, const IplImage* src, int32_t nCols, int32_t nRows, int32_t anchorX,
               int32_t anchorY)
{
    IplImage* out = nullptr;
    EXPECT_EQ(wrapper(src, &out, nCols, nRows, anchorX, anchorY), QUIB_OK);
    return Image(out);
}

PlainFilter rankOf(Wrapper wrapper)
{
    return [wrapper](const std::vector<double>& window) {
        std::vector<double> sorted = window;
        std::sort(sorted.begin(), sorted.end());
        return wrapper == QuibMaxFilter   ? sorted.back()
               : wrapper == QuibMinFilter ? sorted.front()
                                          : sorted[sorted.size() / 2];
    };
}

} // namespace

TEST(QuibRankFilters, FilterHandlesOfAllKinds)
{
    Random random(1);
    for (const Wrapper wrapper : rankWrappers) {
        for (const int32_t bitDepth : {1, 8, 24, 32}) {
            const Image src = makeRandomHandle(37, 11, bitDepth, random);
            const Image out = filtered(wrapper, src.get(), 3, 5, 1, 2);
            ASSERT_NE(out, nullptr);
            EXPECT_EQ(out->alphaChannel, 0);
            const Twin expected(out.get());
            plainFilter(plainJob(src.get(), nullptr, expected.get()), {3, 5, 1, 2},
                        rankOf(wrapper));
            EXPECT_EQ(bytesOf(out.get()), bytesOf(expected.get())) << bitDepth;
        }
    }
}

TEST(QuibRankFilters, OutsideARegionTheResultIsOpaqueBlack)
{
    Random random(2);
    for (const int32_t bitDepth : {1, 8, 24, 32}) {
        const Image src = makeRandomHandle(20, 10, bitDepth, random);
        setRoi(src.get(), 0, 5, 3, 4, 2);
        const Image out = filtered(QuibMaxFilter, src.get(), 1, 1, 0, 0);
        EXPECT_EQ(out->roi, nullptr);
        for (int32_t y = 0; y < 10; ++y)
            for (int32_t x = 0; x < 20; ++x)
                for (int32_t c = 0; c < out->nChannels; ++c) {
                    const double black = bitDepth == 32 && c == 3 ? 255 : 0;
                    EXPECT_EQ(element(out.get(), x, y, c),
                              x < 4 && y < 2 ? element(src.get(), 5 + x, 3 + y, c) : black);
                }
    }
}

TEST(QuibColorMedianFilter, TakesAWholePixel)
{
    const Image src = makeHandle(3, 1, 24);
    const uint8_t pixels[] = {0, 0, 9, 5, 5, 5, 9, 0, 0};
    std::copy(std::begin(pixels), std::end(pixels), rowOf(src.get(), 0));
    const Image out = filtered(QuibColorMedianFilter, src.get(), 3, 1, 1, 0);
    // Totals 32, 28 and 32; the medians of each channel would be 5, 0 and 5.
    for (int32_t c = 0; c < 3; ++c)
        EXPECT_EQ(element(out.get(), 1, 0, c), 5);
}

TEST(QuibColorMedianFilter, RefusesAHandleOfFourChannels)
{
    const Image src = makeHandle(3, 3, 32);
    IplImage* out = nullptr;
    EXPECT_REPORT(QuibColorMedianFilter(src.get(), &out, 3, 3, 1, 1), -5, "iplColorMedianFilter",
                  "(srcImage->nChannels==4)&&(srcImage->alphaChannel==0)", "iplnlf");
}

TEST(QuibColorMedianFilter, KeepsTheNewHandlesAlpha)
{
    Random random(3);
    const Image src = makeRandomHandle(9, 9, 32, random);
    src->alphaChannel = 4;
    for (const bool masked : {false, true}) {
        if (masked)
            giveRandomMask(src.get(), 9, 9, random);
        // The new handle declares no alpha channel; nothing tests that it does.
        const Image out = filtered(QuibColorMedianFilter, src.get(), 3, 3, 1, 1);
        for (int32_t x = 0; x < 9; ++x)
            EXPECT_EQ(element(out.get(), x, 4, 3), 255);
    }
}

TEST(QuibRankFilters, ADeclaredAlphaChannelEndsTheProcess)
{
    const Image src = makeHandle(3, 3, 32);
    src->alphaChannel = 4;
    IplImage* out = nullptr;
    EXPECT_REPORT(QuibMinFilter(src.get(), &out, 3, 3, 1, 1), -5, "iplMinFilter",
                  "srcImage->alphaChannel!=dstImage->alphaChannel", "iplnlf");
}

TEST(QuibRankFilters, RefuseBadArguments)
{
    const Image src = makeHandle(3, 3, 24);
    for (const Wrapper wrapper : wrappers) {
        IplImage* out = nullptr;
        EXPECT_BAD_HANDLE(wrapper(nullptr, &out, 3, 3, 1, 1));
        EXPECT_EQ(out, nullptr);
        quibLastError[0] = 0;
        EXPECT_EQ(wrapper(src.get(), nullptr, 3, 3, 1, 1), QUIB_BAD_ARGUMENT);
        EXPECT_EQ(quibLastError[0], 0);
    }
}

TEST(QuibRankFilters, FailForDepthsThatHandlesDoNotHave)
{
    const Image src = makeImage(3, 3, 3, IPL_DEPTH_16U);
    for (const Wrapper wrapper : wrappers) {
        IplImage* out = nullptr;
        EXPECT_EQ(wrapper(src.get(), &out, 3, 3, 1, 1), QUIB_FAILED);
        EXPECT_EQ(out, nullptr);
    }
}

TEST(QuibRankFilters, AnOldFailureLeavesTheFill)
{
    const CleanStatus status;
    Random random(4);
    for (const Wrapper wrapper : rankWrappers) {
        const Image src = makeRandomHandle(5, 5, 8, random);
        iplSetStatus(-10);
        const Image out = filtered(wrapper, src.get(), 1, 1, 0, 0);
        iplSetStatus(0);
        for (int32_t x = 0; x < 5; ++x)
            EXPECT_EQ(element(out.get(), x, 2, 0), 0);
    }
}

// --- Fixed filters ---------------------------------------------------------------------

namespace
{

Image fixedFiltered(const IplImage* src, int32_t filter)
{
    IplImage* out = nullptr;
    EXPECT_EQ(QuibFixedFilter(src, &out, filter), QUIB_OK);
    return Image(out);
}

} // namespace

TEST(QuibFixedFilter, FiltersHandlesOfAllKinds)
{
    Random random(5);
    for (const int32_t bitDepth : {1, 8, 24, 32}) {
        const Image src = makeRandomHandle(37, 11, bitDepth, random);
        const Image out = fixedFiltered(src.get(), 6);
        ASSERT_NE(out, nullptr);
        const Twin expected(out.get());
        plainFilter(plainJob(src.get(), nullptr, expected.get()), {3, 3, 1, 1},
                    [](const std::vector<double>& w) {
                        const double sum =
                            w[0] + w[2] + w[6] + w[8] + 2 * (w[1] + w[3] + w[5] + w[7]) + 4 * w[4];
                        return std::floor(sum / 16 + 0.5);
                    });
        EXPECT_EQ(bytesOf(out.get()), bytesOf(expected.get())) << bitDepth;
    }
}

TEST(QuibFixedFilter, FiltersARegionIntoTheCorner)
{
    Random random(6);
    const Image src = makeRandomHandle(20, 10, 32, random);
    setRoi(src.get(), 0, 5, 3, 4, 2);
    const Image out = fixedFiltered(src.get(), 10);
    EXPECT_EQ(out->roi, nullptr);
    for (int32_t c = 0; c < 4; ++c)
        EXPECT_EQ(element(out.get(), 4, 0, c), c == 3 ? 255 : 0);
}

TEST(QuibFixedFilter, GivesTheEnginesOutcome)
{
    const CleanStatus status;
    Random random(7);
    const Image src = makeRandomHandle(5, 5, 8, random);
    for (int32_t filter = 0; filter <= 10; ++filter)
        EXPECT_NE(fixedFiltered(src.get(), filter), nullptr);
    for (const int32_t filter : {6, 11}) {
        iplSetStatus(-10);
        IplImage* out = nullptr;
        EXPECT_EQ(QuibFixedFilter(src.get(), &out, filter), QUIB_FAILED);
        const Image left(out);
        ASSERT_NE(out, nullptr);
        EXPECT_EQ(element(out, 2, 2, 0), 0);
    }
}

TEST(QuibFixedFilter, AnUnknownFilterEndsTheProcess)
{
    const Image src = makeHandle(3, 3, 8);
    IplImage* out = nullptr;
    for (const int32_t filter : {11, -1})
        EXPECT_REPORT(QuibFixedFilter(src.get(), &out, filter), -5, "iplFixedFilter",
                      "Unknow filter.", "iplnlf");
}

TEST(QuibFixedFilter, RefusesBadArguments)
{
    const Image src = makeHandle(3, 3, 24);
    IplImage* out = nullptr;
    EXPECT_BAD_HANDLE(QuibFixedFilter(nullptr, &out, 0));
    EXPECT_EQ(out, nullptr);
    quibLastError[0] = 0;
    EXPECT_EQ(QuibFixedFilter(src.get(), nullptr, 0), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(quibLastError[0], 0);
    const Image words = makeImage(3, 3, 3, IPL_DEPTH_16U);
    EXPECT_EQ(QuibFixedFilter(words.get(), &out, 0), QUIB_FAILED);
    EXPECT_EQ(out, nullptr);
}
