#include "tests/support/bad_handles.h"
#include "tests/support/images.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

namespace
{

constexpr int32_t axes[] = {0, 1, -1};

// Whether dst holds the pixels of src, reversed by the axis.
void expectFlipped(const IplImage* dst, const IplImage* src, int32_t axis)
{
    for (int32_t y = 0; y < dst->height; ++y)
        for (int32_t x = 0; x < dst->width; ++x)
            for (int32_t c = 0; c < dst->nChannels; ++c)
                ASSERT_EQ(element(dst, x, y, c), element(src, axis == 0 ? x : src->width - 1 - x,
                                                         axis == 1 ? y : src->height - 1 - y, c))
                    << x << ", " << y << " by " << axis;
}

} // namespace

TEST(QuibFlip, RefusesBadHandles)
{
    const Image good = makeHandle(4, 4, 32);
    const Image empty = makeHandle(4, 4, 32);
    iplDeallocateImage(empty.get());
    EXPECT_BAD_HANDLE(QuibFlip(nullptr, good.get(), 0));
    EXPECT_BAD_HANDLE(QuibFlip(good.get(), nullptr, 0));
    EXPECT_BAD_HANDLE(QuibFlip(empty.get(), good.get(), 0));
    EXPECT_BAD_HANDLE(QuibFlip(good.get(), empty.get(), 0));
}

TEST(QuibFlip, ReturnsTheStatusOfARecordsCheck)
{
    const CleanStatus clean;
    const Image good = makeHandle(4, 4, 32);
    const Image bad = makeHandle(4, 4, 32);
    bad->nChannels = 0;
    EXPECT_EQ(QuibFlip(bad.get(), good.get(), 0), -15);
    bad->align = 3;
    bad->nChannels = 4;
    EXPECT_EQ(QuibFlip(good.get(), bad.get(), 0), -21);
    const Image wrapped = wrappedHandle();
    EXPECT_EQ(QuibFlip(wrapped.get(), bad.get(), 0), badSize); // the source's comes first
}

TEST(QuibFlip, RefusesDifferentSizesAndDepthsQuietly)
{
    quibLastError[0] = 0;
    const Image src = makeHandle(4, 4, 32);
    for (const Image& dst : {makeHandle(5, 4, 32), makeHandle(4, 3, 32), makeHandle(4, 4, 24)})
        EXPECT_EQ(QuibFlip(src.get(), dst.get(), 2), QUIB_BAD_ARGUMENT);
    EXPECT_STREQ(quibLastError, "");
}

TEST(QuibFlip, TakesOtherRowPitches)
{
    Random random(1);
    const Image src = makeRandomPadded(5, 4, random);
    const Image dst = makeHandle(5, 4, 32);
    ASSERT_NE(src->widthStep, dst->widthStep);
    EXPECT_EQ(QuibFlip(src.get(), dst.get(), -1), QUIB_OK);
    expectFlipped(dst.get(), src.get(), -1);
}

TEST(QuibFlip, FlipsEveryKindOfHandle)
{
    Random random(2);
    for (const int32_t bitDepth : handleDepths) {
        for (const int32_t axis : axes) {
            const Image src = makeRandomHandle(37, 5, bitDepth, random);
            const Image dst = makeRandomHandle(37, 5, bitDepth, random);
            EXPECT_EQ(QuibFlip(src.get(), dst.get(), axis), QUIB_OK);
            expectFlipped(dst.get(), src.get(), axis);
        }
    }
}

TEST(QuibFlip, FlipsInPlace)
{
    Random random(3);
    for (const int32_t bitDepth : handleDepths) {
        for (const int32_t axis : axes) {
            const Image image = makeRandomHandle(37, 5, bitDepth, random);
            IplImage* copy = nullptr;
            ASSERT_EQ(QuibClone(image.get(), &copy), QUIB_OK);
            const Image src(copy);
            EXPECT_EQ(QuibFlip(image.get(), image.get(), axis), QUIB_OK);
            expectFlipped(image.get(), src.get(), axis);
        }
    }
}

TEST(QuibFlip, LeavesThePaddingOfRows)
{
    Random random(4);
    const Image src = makeRandomHandle(5, 3, 24, random);
    const Image dst = makeRandomHandle(5, 3, 24, random);
    const std::vector<uint8_t> before = bytesOf(dst.get());
    EXPECT_EQ(QuibFlip(src.get(), dst.get(), 1), QUIB_OK);
    for (int32_t y = 0; y < 3; ++y)
        EXPECT_EQ(rowOf(dst.get(), y)[15], before[static_cast<size_t>(y * 16 + 15)]);
}

TEST(QuibFlip, EndsTheProcessForAnotherAxis)
{
    const Image image = makeHandle(4, 4, 32);
    EXPECT_REPORT(QuibFlip(image.get(), image.get(), 2), -5, "iplMirror",
                  "((flipAxis>1)||(flipAxis<-1))", "iplmirr");
    const ReportsReturn back;
    EXPECT_EQ(QuibFlip(image.get(), image.get(), 2), QUIB_OK);
}

// --- QuibRotate --------------------------------------------------------------------------

TEST(QuibRotate, RefusesBadHandles)
{
    const Image good = makeHandle(4, 4, 32);
    const Image empty = makeHandle(4, 4, 32);
    iplDeallocateImage(empty.get());
    EXPECT_BAD_HANDLE(QuibRotate(nullptr, good.get(), 90, 0, 0, 0));
    EXPECT_BAD_HANDLE(QuibRotate(good.get(), nullptr, 90, 0, 0, 0));
    EXPECT_BAD_HANDLE(QuibRotate(empty.get(), good.get(), 90, 0, 0, 0));
    EXPECT_BAD_HANDLE(QuibRotate(good.get(), empty.get(), 90, 0, 0, 0));
}

TEST(QuibRotate, ReturnsTheStatusOfARecordsCheck)
{
    const CleanStatus clean;
    const Image good = makeHandle(4, 4, 32);
    const Image bad = makeHandle(4, 4, 32);
    bad->align = 3;
    EXPECT_EQ(QuibRotate(good.get(), bad.get(), 90, 0, 0, 0), -21);
    const Image wrapped = wrappedHandle();
    EXPECT_EQ(QuibRotate(wrapped.get(), bad.get(), 90, 0, 0, 0), badSize);
}

TEST(QuibRotate, MovesPixelsByRightAnglesAboutTheCentre)
{
    // A pixel (x, y) from the centre goes to (y, -x), counter-clockwise as it is
    // seen, whatever the interpolation is.
    Random random(5);
    for (const int32_t bitDepth : handleDepths) {
        for (const int32_t turns : {1, 2, 3, 5, -1, -2}) {
            const Image src = makeRandomHandle(21, 13, bitDepth, random);
            const Image dst = makeRandomHandle(19, 17, bitDepth, random);
            const Image expected = makeHandle(19, 17, bitDepth);
            std::memcpy(expected->imageData, dst->imageData, static_cast<size_t>(dst->imageSize));
            const int32_t xCenter = 8;
            const int32_t yCenter = 6;
            for (int32_t y = 0; y < 13; ++y) {
                for (int32_t x = 0; x < 21; ++x) {
                    int32_t dx = x - xCenter;
                    int32_t dy = y - yCenter;
                    for (int32_t turn = (turns + 4) % 4; turn > 0; --turn) {
                        const int32_t before = dx;
                        dx = dy;
                        dy = -before;
                    }
                    const int32_t toX = xCenter + dx;
                    const int32_t toY = yCenter + dy;
                    for (int32_t c = 0; c < src->nChannels; ++c)
                        if (toX >= 0 && toX < 19 && toY >= 0 && toY < 17)
                            putElement(expected.get(), toX, toY, c, element(src.get(), x, y, c));
                }
            }
            EXPECT_EQ(QuibRotate(src.get(), dst.get(), 90.0 * turns, xCenter, yCenter, 99),
                      QUIB_OK);
            EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get())) << bitDepth << ", " << turns;
        }
    }
}

TEST(QuibRotate, TurnsByTheEngineAboutTheCentre)
{
    Random random(6);
    const Image src = makeRandomHandle(40, 30, 32, random);
    for (const double angle : {0.0, 17.0, -33.3, 91.0, 400.0}) {
        for (const int32_t interpolate : {0, 1, 2, 17}) {
            const Image expected = makeHandle(40, 30, 32);
            double xShift = 0;
            double yShift = 0;
            iplGetRotateShift(20, 15, angle, &xShift, &yShift);
            iplRotate(src.get(), expected.get(), angle, xShift, yShift, interpolate);
            const Image dst = makeHandle(40, 30, 32);
            EXPECT_EQ(QuibRotate(src.get(), dst.get(), angle, 20, 15, interpolate), QUIB_OK);
            EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get())) << angle;
        }
    }
}

TEST(QuibRotate, TurnsByNoneThroughTheGeneralWarp)
{
    Random random(7);
    const Image src = makeRandomHandle(9, 7, 32, random);
    const Image dst = makeHandle(9, 7, 32);
    EXPECT_EQ(QuibRotate(src.get(), dst.get(), 0, 3, 3, 1), QUIB_OK);
    EXPECT_EQ(bytesOf(dst.get()), bytesOf(src.get()));
    EXPECT_REPORT(QuibRotate(src.get(), dst.get(), 0, 3, 3, 3), -5, "iplWarpAffine",
                  "interpolate != IPL_INTER_NN && interpolate != IPL_INTER_LINEAR && "
                  "interpolate != IPL_INTER_CUBIC",
                  "iplwarp");
}

TEST(QuibRotate, EndsTheProcessInPlace)
{
    const Image image = makeHandle(4, 4, 32);
    EXPECT_REPORT(QuibRotate(image.get(), image.get(), 90, 1, 1, 0), -5, "iplRotate",
                  "This function is not in-place function", "iplwarp");
}
