#include "quibtool/quibtool.h"

#include "tests/support/bad_handles.h"
#include "tests/support/conv_kernels.h"
#include "tests/support/images.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

TEST(QuibConvKernel, GoesThereAndBack)
{
    const int32_t taps[] = {1, -2, 70000, 4, 5, 6};
    OwnConvKernel* kernel = nullptr;
    ASSERT_EQ(QuibCreateConvKernel(&kernel, 3, 2, 2, 0, taps, 7), QUIB_OK);
    int32_t got[5] = {};
    int32_t values[6] = {};
    int32_t* out = values;
    EXPECT_EQ(QuibGetConvKernel(kernel, &got[0], &got[1], &got[2], &got[3], &out, &got[4]),
              QUIB_OK);
    EXPECT_EQ(std::vector<int32_t>(got, got + 5), (std::vector<int32_t>{3, 2, 2, 0, 7}));
    EXPECT_EQ(std::vector<int32_t>(values, values + 6), std::vector<int32_t>(taps, taps + 6));
    EXPECT_EQ(QuibDeleteConvKernel(kernel), QUIB_OK);
}

TEST(QuibConvKernel, OfBytesGoesThereAndBack)
{
    const int8_t taps[] = {-128, 127};
    OwnConvKernel* kernel = nullptr;
    ASSERT_EQ(QuibCreateConvKernelChar(&kernel, 1, 2, 0, 1, taps, 0), QUIB_OK);
    int32_t got[5] = {};
    int8_t values[2] = {};
    int8_t* out = values;
    EXPECT_EQ(QuibGetConvKernelChar(kernel, &got[0], &got[1], &got[2], &got[3], &out, &got[4]),
              QUIB_OK);
    EXPECT_EQ(std::vector<int32_t>(got, got + 5), (std::vector<int32_t>{1, 2, 0, 1, 0}));
    EXPECT_EQ(values[0], -128);
    EXPECT_EQ(values[1], 127);
    EXPECT_EQ(QuibDeleteConvKernel(kernel), QUIB_OK);
}

TEST(QuibConvKernel, RefusesNulls)
{
    const int32_t tap = 1;
    const int8_t byteTap = 1;
    OwnConvKernel* kernel = nullptr;
    EXPECT_EQ(QuibCreateConvKernel(nullptr, 1, 1, 0, 0, &tap, 0), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibCreateConvKernel(&kernel, 1, 1, 0, 0, nullptr, 0), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibCreateConvKernelChar(nullptr, 1, 1, 0, 0, &byteTap, 0), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibCreateConvKernelChar(&kernel, 1, 1, 0, 0, nullptr, 0), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibDeleteConvKernel(nullptr), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(kernel, nullptr);
}

TEST(QuibConvKernel, EndsTheProcessForAnEngineRefusal)
{
    const int32_t tap = 1;
    OwnConvKernel* kernel = nullptr;
    EXPECT_REPORT(QuibCreateConvKernel(&kernel, 0, 1, 0, 0, &tap, 0), -5, "iplCreateConvKernel",
                  "(nRows<=0 || nCols<=0)", "iplcnv2d");
    EXPECT_REPORT(QuibGetConvKernel(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
                  -5, "iplGetConvKernel", "kernel==0", "iplcnv2d");
}

TEST(QuibConvKernel, GivesAFailureWhenReportsComeBack)
{
    const ReportsReturn returning;
    const int32_t tap = 1;
    OwnConvKernel* kernel = reinterpret_cast<OwnConvKernel*>(&kernel);
    EXPECT_EQ(QuibCreateConvKernel(&kernel, 0, 1, 0, 0, &tap, 0), QUIB_FAILED);
    EXPECT_EQ(kernel, nullptr);
    iplSetStatus(0);
    EXPECT_EQ(QuibGetConvKernel(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              QUIB_OK);
}

namespace
{

// The result of one kernel, or null.
Image convolved(const IplImage* src, const ConvKernel& kernel)
{
    OwnConvKernel* const handle = kernel.get();
    IplImage* out = nullptr;
    EXPECT_EQ(QuibConvolve2D(src, &out, &handle, 1, 0), QUIB_OK);
    return Image(out);
}

ConvKernel identity()
{
    return makeConvKernel(1, 1, 0, 0, {1}, 0);
}

} // namespace

TEST(QuibConvolve2D, MakesAHandleOfTheSourcesKind)
{
    Random random(1);
    for (const int32_t bitDepth : {1, 8, 24, 32}) {
        const Image src = makeRandomHandle(13, 7, bitDepth, random);
        const Image out = convolved(src.get(), identity());
        QuibInfo info{};
        EXPECT_EQ(QuibGetInfo(out.get(), &info), QUIB_OK);
        EXPECT_EQ(info.bitDepth, bitDepth);
        for (int32_t y = 0; y < 7; ++y)
            for (int32_t x = 0; x < 13; ++x)
                for (int32_t c = 0; c < src->nChannels; ++c)
                    ASSERT_EQ(element(out.get(), x, y, c), element(src.get(), x, y, c));
    }
}

TEST(QuibConvolve2D, FiltersTheFourthByteToo)
{
    const uint8_t bytes[4] = {10, 20, 30, 40};
    const Image src = makePixel(bytes);
    const Image out = convolved(src.get(), makeConvKernel(1, 1, 0, 0, {5}, 1));
    for (int32_t c = 0; c < 4; ++c)
        EXPECT_EQ(element(out.get(), 0, 0, c), bytes[c] * 5 / 2);
}

TEST(QuibConvolve2D, ADeclaredAlphaChannelIsOneThatTheResultLacks)
{
    const uint8_t bytes[4] = {10, 20, 30, 40};
    const Image src = makePixel(bytes);
    src->alphaChannel = 4;
    const ConvKernel kernel = identity();
    OwnConvKernel* const handle = kernel.get();
    IplImage* out = nullptr;
    EXPECT_REPORT(QuibConvolve2D(src.get(), &out, &handle, 1, 0), -5, "iplConvolve2D",
                  "Uncompatible images", "iplcnv2d");
}

TEST(QuibConvolve2D, ARegionLandsAtTheTopLeft)
{
    for (const int32_t bitDepth : {1, 8, 24, 32}) {
        const Image src = makeHandle(5, 4, bitDepth);
        std::memset(src->imageData, 0xFF, static_cast<size_t>(src->imageSize));
        setRoi(src.get(), 0, 3, 2, 2, 2);
        const Image out = convolved(src.get(), identity());
        EXPECT_EQ(out->roi, nullptr);
        const double full = bitDepth == 1 ? 1 : 255;
        for (int32_t y = 0; y < 4; ++y)
            for (int32_t x = 0; x < 5; ++x)
                for (int32_t c = 0; c < src->nChannels; ++c)
                    ASSERT_EQ(element(out.get(), x, y, c), (x < 2 && y < 2) || c == 3 ? full : 0);
    }
}

TEST(QuibConvolve2D, CombinesSeveralKernels)
{
    const Image src = makeHandle(3, 1, 8);
    putElement(src.get(), 1, 0, 0, 10);
    const ConvKernel three = makeConvKernel(1, 1, 0, 0, {3}, 0);
    const ConvKernel four = makeConvKernel(1, 1, 0, 0, {-4}, 0);
    OwnConvKernel* const kernels[] = {three.get(), four.get()};
    IplImage* out = nullptr;
    ASSERT_EQ(QuibConvolve2D(src.get(), &out, kernels, 2, 2), QUIB_OK);
    const Image owner(out);
    EXPECT_EQ(element(out, 0, 0, 0), 0);
    EXPECT_EQ(element(out, 1, 0, 0), 50);
}

TEST(QuibConvolve2D, RefusesBadArguments)
{
    const Image src = makeHandle(3, 3, 8);
    const ConvKernel kernel = identity();
    OwnConvKernel* const handle = kernel.get();
    IplImage* out = nullptr;
    EXPECT_BAD_HANDLE(QuibConvolve2D(nullptr, &out, &handle, 1, 0));
    EXPECT_EQ(QuibConvolve2D(src.get(), nullptr, &handle, 1, 0), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibConvolve2D(src.get(), &out, nullptr, 1, 0), QUIB_BAD_ARGUMENT);
    const Image deep = makeImage(3, 3, 1, IPL_DEPTH_16U);
    EXPECT_EQ(QuibConvolve2D(deep.get(), &out, &handle, 1, 0), QUIB_FAILED);
    EXPECT_EQ(out, nullptr);
}

TEST(QuibConvolve2D, EndsTheProcessForAnEngineRefusal)
{
    const Image src = makeHandle(3, 3, 24);
    const ConvKernel kernel = identity();
    OwnConvKernel* const handle = kernel.get();
    IplImage* out = nullptr;
    EXPECT_REPORT(QuibConvolve2D(src.get(), &out, &handle, 11, 0), -5, "iplConvolve2D",
                  "(nKernels<=0 || nKernels>10)", "iplcnv2d");
    setRoi(src.get(), 2, 0, 0, 3, 3);
    EXPECT_REPORT(QuibConvolve2D(src.get(), &out, &handle, 1, 0), -5, "iplConvolve2D",
                  "One of the COI is not defined", "iplcnv2d");
}

TEST(QuibConvolveSep2D, TakesARowAndThenAColumn)
{
    const ConvKernel x = makeConvKernel(3, 1, 1, 0, {1, 2, 1}, 0);
    const ConvKernel y = makeConvKernel(1, 3, 0, 1, {1, 2, 1}, 2);
    for (const int32_t bitDepth : {8, 24, 32}) {
        const Image src = makeHandle(5, 5, bitDepth);
        for (int32_t c = 0; c < src->nChannels; ++c)
            putElement(src.get(), 2, 2, c, 8 + c);
        IplImage* out = nullptr;
        ASSERT_EQ(QuibConvolveSep2D(src.get(), &out, x.get(), y.get()), QUIB_OK);
        const Image owner(out);
        for (int32_t c = 0; c < src->nChannels; ++c) {
            EXPECT_EQ(element(out, 2, 2, c), 8 + c);
            EXPECT_EQ(element(out, 1, 2, c), (8 + c) / 2);
            EXPECT_EQ(element(out, 3, 1, c), (8 + c) / 4);
            EXPECT_EQ(element(out, 4, 2, c), 0);
        }
    }
}

TEST(QuibConvolveSep2D, RefusesBadArguments)
{
    const Image src = makeHandle(3, 3, 8);
    const ConvKernel kernel = makeConvKernel(2, 1, 0, 0, {1, 1}, 0);
    IplImage* out = nullptr;
    EXPECT_BAD_HANDLE(QuibConvolveSep2D(nullptr, &out, kernel.get(), kernel.get()));
    EXPECT_EQ(QuibConvolveSep2D(src.get(), nullptr, kernel.get(), kernel.get()), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibConvolveSep2D(src.get(), &out, nullptr, kernel.get()), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibConvolveSep2D(src.get(), &out, kernel.get(), nullptr), QUIB_BAD_ARGUMENT);
    const Image deep = makeImage(3, 3, 1, IPL_DEPTH_16U);
    EXPECT_EQ(QuibConvolveSep2D(deep.get(), &out, kernel.get(), kernel.get()), QUIB_FAILED);
    EXPECT_EQ(out, nullptr);
}

TEST(QuibConvolveSep2D, EndsTheProcessForAnEngineRefusal)
{
    const Image src = makeHandle(3, 3, 24);
    const ConvKernel row = makeConvKernel(2, 1, 0, 0, {1, 1}, 0);
    IplImage* out = nullptr;
    EXPECT_REPORT(QuibConvolveSep2D(src.get(), &out, row.get(), row.get()), -5, "iplConvolveSep2D",
                  "Invalid kernal size", "owncsep2");
    src->origin = IPL_ORIGIN_BL;
    EXPECT_REPORT(QuibConvolveSep2D(src.get(), &out, row.get(), row.get()), -5, "iplConvolveSep2D",
                  "SRC and DST orign are different", "owncsep2");
}
