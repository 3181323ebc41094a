#include "tests/support/bad_handles.h"
#include "tests/support/guarded_image.h"
#include "tests/support/images.h"
#include "tests/support/levels.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

namespace
{

using Bytes = std::vector<uint8_t>;

Image made(IplImage* handle, int32_t width, int32_t height)
{
    EXPECT_NE(handle, nullptr);
    EXPECT_EQ(handle->width, width);
    EXPECT_EQ(handle->height, height);
    EXPECT_EQ(handle->nChannels, 1);
    EXPECT_EQ(handle->depth, IPL_DEPTH_8U);
    EXPECT_EQ(handle->origin, IPL_ORIGIN_TL);
    return Image(handle);
}

Image grayOf(IplImage* src)
{
    IplImage* dst = nullptr;
    EXPECT_EQ(QuibColorToGray(src, &dst), QUIB_OK);
    return made(dst, src->width, src->height);
}

Image expandedOf(IplImage* src, int32_t zeroScale, int32_t oneScale)
{
    IplImage* dst = nullptr;
    EXPECT_EQ(QuibBitonalToGray(src, &dst, zeroScale, oneScale), QUIB_OK);
    return made(dst, src->width, src->height);
}

} // namespace

// --- QuibColorConversion -----------------------------------------------------------------

TEST(QuibColorConversion, RefusesBadHandlesAndOtherSizes)
{
    const Image good = makeHandle(4, 4, 32);
    EXPECT_BAD_HANDLE(QuibColorConversion(nullptr, good.get()));
    EXPECT_BAD_HANDLE(QuibColorConversion(good.get(), nullptr));
    const Image wider = makeHandle(5, 4, 32);
    const Image higher = makeHandle(4, 5, 32);
    EXPECT_EQ(QuibColorConversion(good.get(), wider.get()), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibColorConversion(good.get(), higher.get()), QUIB_BAD_ARGUMENT);
    EXPECT_STREQ(quibLastError, "");
}

TEST(QuibColorConversion, PassesHandlesOfOneSizeAndChangesNothing)
{
    Random random(1);
    const Image a = makeRandomHandle(4, 4, 32, random);
    const Image b = makeRandomHandle(4, 4, 8, random);
    a->align = 5; // records are not checked
    const Bytes before = bytesOf(a.get());
    const Bytes other = bytesOf(b.get());
    EXPECT_EQ(QuibColorConversion(a.get(), b.get()), QUIB_OK);
    EXPECT_EQ(bytesOf(a.get()), before);
    EXPECT_EQ(bytesOf(b.get()), other);
}

// --- QuibColorToGray ---------------------------------------------------------------------

TEST(QuibColorToGray, RefusesBadHandlesAndNulls)
{
    const Image good = makeHandle(4, 4, 32);
    IplImage* dst = nullptr;
    EXPECT_BAD_HANDLE(QuibColorToGray(nullptr, &dst));
    EXPECT_EQ(QuibColorToGray(good.get(), nullptr), QUIB_BAD_ARGUMENT);
    EXPECT_STREQ(quibLastError, "");
    EXPECT_EQ(dst, nullptr);
}

TEST(QuibColorToGray, MakesGrayOf24And32Bits)
{
    forEachLevel([] {
        Random random(2);
        for (const int32_t bitDepth : {24, 32}) {
            for (int32_t width = 1; width < 90; width += 4) {
                const Image src = makeRandomHandle(width, 3, bitDepth, random);
                const Image gray = grayOf(src.get());
                for (int32_t y = 0; y < 3; ++y) {
                    for (int32_t x = 0; x < width; ++x) {
                        const uint8_t* pixel = rowOf(src.get(), y) + x * bitDepth / 8;
                        ASSERT_EQ(rowOf(gray.get(), y)[x],
                                  (18 * pixel[0] + 183 * pixel[1] + 54 * pixel[2]) >> 8);
                    }
                }
            }
        }
    });
}

TEST(QuibColorToGray, MakesWhiteOneLess)
{
    const Image src = makePixel({255, 255, 255, 0});
    EXPECT_EQ(rowOf(grayOf(src.get()).get(), 0)[0], 254);
}

TEST(QuibColorToGray, OverwritesWhatTheVariableHeld)
{
    const Image src = makePixel({1, 2, 3, 4});
    const Image old = makeHandle(1, 1, 8);
    IplImage* dst = old.get();
    EXPECT_EQ(QuibColorToGray(src.get(), &dst), QUIB_OK);
    EXPECT_NE(dst, old.get());
    const Image owner(dst);
}

TEST(QuibColorToGray, EndsTheProcessForOtherForms)
{
    IplImage* dst = nullptr;
    const Image gray = makeHandle(2, 2, 8);
    EXPECT_REPORT(QuibColorToGray(gray.get(), &dst), -5, "iplColorToGray",
                  "colorModel must be RGB instead of GRAY ", "owncolor");
    const Image bottomFirst = makeHandle(2, 2, 32);
    bottomFirst->origin = IPL_ORIGIN_BL;
    EXPECT_REPORT(QuibColorToGray(bottomFirst.get(), &dst), -5, "iplColorToGray",
                  "src->origin != dst->origin", "owncolor");
    const Image wrapped = wrappedHandle();
    EXPECT_REPORT(QuibColorToGray(wrapped.get(), &dst), -10, "iplColorToGray", "Incorrect Image",
                  "iplcolor");
}

TEST(QuibColorToGray, LeavesZerosWhereAReportComesBack)
{
    const Image gray = makeHandle(3, 2, 8);
    const ReportsReturn back;
    IplImage* dst = nullptr;
    EXPECT_EQ(QuibColorToGray(gray.get(), &dst), QUIB_OK);
    const Image owner = made(dst, 3, 2);
    for (int32_t y = 0; y < 2; ++y)
        EXPECT_EQ(std::memcmp(rowOf(dst, y), "\0\0\0", 3), 0);
}

TEST(QuibColorToGray, ReadsNothingOutsideTheBlock)
{
    forEachLevel([] {
        for (const int32_t bitDepth : {24, 32}) {
            for (int32_t width = 1; width < 70; ++width) {
                const GuardedHandle src(width, 2, bitDepth);
                src.makeReadOnly();
                grayOf(src.get());
            }
        }
    });
}

// --- QuibBitonalToGray -------------------------------------------------------------------

TEST(QuibBitonalToGray, RefusesBadHandlesAndNulls)
{
    const Image good = makeHandle(4, 4, 1);
    IplImage* dst = nullptr;
    EXPECT_BAD_HANDLE(QuibBitonalToGray(nullptr, &dst, 0, 255));
    EXPECT_EQ(QuibBitonalToGray(good.get(), nullptr, 0, 255), QUIB_BAD_ARGUMENT);
    EXPECT_STREQ(quibLastError, "");
    EXPECT_EQ(dst, nullptr);
}

TEST(QuibBitonalToGray, MakesBlackAndWhite)
{
    const Image src = makeHandle(10, 1, 1);
    rowOf(src.get(), 0)[0] = 0xA5;
    rowOf(src.get(), 0)[1] = 0x40;
    const Image gray = expandedOf(src.get(), 0, 255);
    const Bytes expected{255, 0, 255, 0, 0, 255, 0, 255, 0, 255};
    EXPECT_EQ(Bytes(rowOf(gray.get(), 0), rowOf(gray.get(), 0) + 10), expected);
}

TEST(QuibBitonalToGray, ExpandsEveryWidth)
{
    forEachLevel([] {
        Random random(3);
        for (int32_t width = 1; width < 140; ++width) {
            const GuardedHandle src(width, 3, 1);
            randomise(src.get(), random);
            src.makeReadOnly();
            const Image gray = expandedOf(src.get(), 7, 201);
            for (int32_t y = 0; y < 3; ++y)
                for (int32_t x = 0; x < width; ++x)
                    ASSERT_EQ(rowOf(gray.get(), y)[x], element(src.get(), x, y, 0) != 0 ? 201 : 7);
        }
    });
}

TEST(QuibBitonalToGray, TurnsTheRowsOfABottomFirstRecord)
{
    const Image src = makeHandle(1, 3, 1);
    rowOf(src.get(), 2)[0] = 0x80;
    src->origin = IPL_ORIGIN_BL;
    const Image gray = expandedOf(src.get(), 1, 2);
    EXPECT_EQ(rowOf(gray.get(), 0)[0], 2);
    EXPECT_EQ(rowOf(gray.get(), 1)[0], 1);
    EXPECT_EQ(rowOf(gray.get(), 2)[0], 1);
}

TEST(QuibBitonalToGray, EndsTheProcessForAScaleTooLargeAndAnotherSource)
{
    const Image bits = makeHandle(2, 2, 1);
    IplImage* dst = nullptr;
    EXPECT_REPORT(QuibBitonalToGray(bits.get(), &dst, 0, 256), -5, "iplBitonalToGray",
                  "((dstImage->depth == 8) && (OneScale > 255))", "..\\_Src\\iplbitnl");
    const Image gray = makeHandle(2, 2, 8);
    EXPECT_REPORT(QuibBitonalToGray(gray.get(), &dst, 0, 255), -5, "iplBitonalToGray",
                  "(srcImage->depth != 1)", "..\\_Src\\iplbitnl");
    const ReportsReturn back;
    EXPECT_EQ(QuibBitonalToGray(bits.get(), &dst, 0, 256), QUIB_OK);
    const Image owner = made(dst, 2, 2);
    EXPECT_EQ(rowOf(dst, 1)[1], 0);
}
