#include "quibtool/quibtool.h"

#include "tests/support/bad_handles.h"
#include "tests/support/report.h"
#include "tests/support/window.h"

#include <cmath>

namespace
{

using FilterWrapper = QuibStatus (*)(const IplImage*, IplImage**, int32_t, int32_t, int32_t,
                                     int32_t);

constexpr FilterWrapper filterWrappers[] = {QuibMaxFilter, QuibMinFilter, QuibMedianFilter,
                                            QuibColorMedianFilter};
constexpr FilterWrapper rankWrappers[] = {QuibMaxFilter, QuibMinFilter, QuibMedianFilter};

Image filtered(FilterWrapper wrapper, const IplImage* src, int32_t nCols, int32_t nRows,
               int32_t anchorX, int32_t anchorY)
{
    IplImage* out = nullptr;
    EXPECT_EQ(wrapper(src, &out, nCols, nRows, anchorX, anchorY), QUIB_OK);
    return Image(out);
}

PlainFilter rankOf(FilterWrapper wrapper)
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
    for (const FilterWrapper wrapper : rankWrappers) {
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
    for (const FilterWrapper wrapper : filterWrappers) {
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
    for (const FilterWrapper wrapper : filterWrappers) {
        IplImage* out = nullptr;
        EXPECT_EQ(wrapper(src.get(), &out, 3, 3, 1, 1), QUIB_FAILED);
        EXPECT_EQ(out, nullptr);
    }
}

TEST(QuibRankFilters, AnOldFailureLeavesTheFill)
{
    const CleanStatus status;
    Random random(4);
    for (const FilterWrapper wrapper : rankWrappers) {
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

// --- Blur ------------------------------------------------------------------------------

namespace
{

Image blurred(const IplImage* src, const PlainWindow& window)
{
    IplImage* out = nullptr;
    EXPECT_EQ(QuibBlur(src, &out, window.nCols, window.nRows, window.anchorX, window.anchorY),
              QUIB_OK);
    return Image(out);
}

} // namespace

TEST(QuibBlur, BlursHandlesOfAllKinds)
{
    Random random(8);
    for (const int32_t bitDepth : {1, 8, 24, 32}) {
        for (int i = 0; i < 30; ++i) {
            const Image src = makeRandomHandleUpTo(60, 30, bitDepth, random);
            const PlainWindow window = randomPlainWindow(20, random);
            const Image out = blurred(src.get(), window);
            ASSERT_NE(out, nullptr);
            const Twin expected(src.get());
            plainFilter(plainJob(src.get(), nullptr, expected.get()), window,
                        plainMean(IPL_DEPTH_8U));
            EXPECT_EQ(bytesOf(out.get()), bytesOf(expected.get())) << bitDepth;
        }
    }
}

TEST(QuibBlur, KeepsWhatARegionOrAMaskLeavesOut)
{
    Random random(9);
    for (const int32_t bitDepth : {1, 8, 24, 32}) {
        for (const bool masked : {false, true}) {
            const Image src = makeRandomHandle(20, 10, bitDepth, random);
            setRoi(src.get(), 0, 5, 3, 9, 4);
            if (masked)
                giveRandomMask(src.get(), 20, 10, random);
            const Image out = blurred(src.get(), {3, 3, 1, 1});
            ASSERT_NE(out->roi, nullptr);
            EXPECT_EQ(out->roi->xOffset, 5);
            EXPECT_EQ(out->maskROI, nullptr);
            const Twin expected(src.get());
            plainFilter(plainJob(src.get(), nullptr, expected.get()), {3, 3, 1, 1},
                        plainMean(IPL_DEPTH_8U));
            EXPECT_EQ(bytesOf(out.get()), bytesOf(expected.get())) << bitDepth;
        }
    }
}

TEST(QuibBlur, KeepsAlphaAndChannelsOfNoInterest)
{
    Random random(10);
    const Image src = makeRandomHandle(20, 10, 32, random);
    src->alphaChannel = 4;
    const Image out = blurred(src.get(), {3, 3, 1, 1});
    setRoi(src.get(), 2, 0, 0, 20, 10);
    const Image second = blurred(src.get(), {3, 3, 1, 1});
    for (int32_t x = 0; x < 20; ++x) {
        EXPECT_EQ(element(out.get(), x, 4, 3), element(src.get(), x, 4, 3));
        for (int32_t c = 0; c < 4; ++c)
            EXPECT_EQ(element(second.get(), x, 4, c), element((c == 1 ? out : src).get(), x, 4, c));
    }
}

TEST(QuibBlur, RefusesBadArguments)
{
    const Image src = makeHandle(3, 3, 24);
    IplImage* out = nullptr;
    EXPECT_BAD_HANDLE(QuibBlur(nullptr, &out, 3, 3, 1, 1));
    EXPECT_EQ(out, nullptr);
    quibLastError[0] = 0;
    EXPECT_EQ(QuibBlur(src.get(), nullptr, 3, 3, 1, 1), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(quibLastError[0], 0);
    EXPECT_REPORT(QuibBlur(src.get(), &out, 3, 3, 3, 1), -5, "iplBlur",
                  "(anchorX>=nCols||anchorY>=nRows)", "iplblur");
}

TEST(QuibBlur, ARecordThatCannotBeClonedDoesNoHarm)
{
    const CleanStatus status;
    const Image bad = wrappedHandle();
    IplImage* out = nullptr;
    EXPECT_EQ(QuibBlur(bad.get(), &out, 3, 3, 1, 1), QUIB_OK);
    EXPECT_EQ(out, nullptr);
}

TEST(QuibBlur, DeeperRecordsAreBlurredToo)
{
    Random random(11);
    for (const uint32_t depth : {IPL_DEPTH_16U, IPL_DEPTH_8S, IPL_DEPTH_32S}) {
        const Image src = makeImage(13, 9, 3, depth);
        randomise(src.get(), random);
        const Image out = blurred(src.get(), {3, 5, 1, 2});
        const Twin expected(src.get());
        plainFilter(plainJob(src.get(), nullptr, expected.get()), {3, 5, 1, 2},
                    plainMean(IPL_DEPTH_8U));
        EXPECT_EQ(bytesOf(out.get()), bytesOf(expected.get()));
    }
}

// --- Decimation with a blur --------------------------------------------------------------

TEST(QuibDecimateBlur, IsABlur)
{
    Random random(12);
    for (const int32_t bitDepth : {1, 8, 24, 32}) {
        const Image src = makeRandomHandle(31, 12, bitDepth, random);
        const Image dst = makeRandomHandle(31, 12, bitDepth, random);
        const Twin expected(dst.get());
        plainFilter(plainJob(src.get(), nullptr, expected.get()), {4, 3, 2, 1},
                    plainMean(IPL_DEPTH_8U));
        EXPECT_EQ(QuibDecimateBlur(src.get(), dst.get(), IPL_INTER_CUBIC, 4, 3), QUIB_OK);
        EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get())) << bitDepth;
    }
}

TEST(QuibDecimateBlur, LowersTheSizesToHalfOfTheImage)
{
    Random random(13);
    const Image src = makeRandomHandle(10, 9, 8, random);
    const Image dst = makeHandle(10, 9, 8);
    const Twin expected(dst.get());
    plainFilter(plainJob(src.get(), nullptr, expected.get()), {5, 4, 2, 2},
                plainMean(IPL_DEPTH_8U));
    EXPECT_EQ(QuibDecimateBlur(src.get(), dst.get(), 0, 1000, 1000), QUIB_OK);
    EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
}

TEST(QuibDecimateBlur, CopiesWhereASizeIsBelowOne)
{
    Random random(14);
    const Image src = makeRandomHandle(10, 9, 24, random);
    for (const auto& [x, y] : {std::pair(0, 3), std::pair(3, 0), std::pair(-7, 3)}) {
        const Image dst = makeHandle(10, 9, 24);
        // No mode is wrong for a copy.
        EXPECT_EQ(QuibDecimateBlur(src.get(), dst.get(), 77, x, y), QUIB_OK);
        EXPECT_EQ(bytesOf(dst.get()), bytesOf(src.get()));
    }
    const Image thin = makeRandomHandle(1, 9, 24, random);
    const Image dst = makeHandle(1, 9, 24);
    EXPECT_EQ(QuibDecimateBlur(thin.get(), dst.get(), 0, 3, 3), QUIB_OK);
    EXPECT_EQ(bytesOf(dst.get()), bytesOf(thin.get()));
}

TEST(QuibDecimateBlur, RefusesBadArguments)
{
    const Image src = makeHandle(8, 8, 24);
    const Image dst = makeHandle(8, 8, 24);
    EXPECT_BAD_HANDLE(QuibDecimateBlur(nullptr, dst.get(), 0, 3, 3));
    EXPECT_BAD_HANDLE(QuibDecimateBlur(src.get(), nullptr, 0, 3, 3));
    EXPECT_REPORT(QuibDecimateBlur(src.get(), dst.get(), 3, 3, 3), -5, "iplDecimateBlur",
                  "interpolate != IPL_INTER_NN && interpolate != IPL_INTER_LINEAR && interpolate "
                  "!= IPL_INTER_CUBIC",
                  "ipldext");
    EXPECT_REPORT(QuibDecimateBlur(src.get(), src.get(), 0, 3, 3), -5, "iplDecimateBlur",
                  "This function isn`t in-plase function", "ipldext");
}

TEST(QuibDecimateBlur, ABadRecordIsCopiedNorBlurred)
{
    const CleanStatus status;
    const Image bad = wrappedHandle();
    const Image dst = makeHandle(8, 8, 24);
    EXPECT_EQ(QuibDecimateBlur(bad.get(), dst.get(), 0, 0, 0), badSize);
}
