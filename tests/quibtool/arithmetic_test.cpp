#include "quibtool/quibtool.h"

#include "tests/support/images.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

namespace
{

// A handle of four 8-bit pixels.
Image four(std::vector<int> values)
{
    Image handle = makeHandle(4, 1, 8);
    for (int32_t x = 0; x < 4; ++x)
        putElement(handle.get(), x, 0, 0, values[static_cast<size_t>(x)]);
    return handle;
}

std::vector<int> pixelsOf(IplImage* out)
{
    const Image owner(out);
    std::vector<int> values;
    for (int32_t x = 0; x < 4; ++x)
        values.push_back(static_cast<int>(element(out, x, 0, 0)));
    return values;
}

using Values = std::vector<int>;

Image plus90(const Image& src)
{
    IplImage* out = nullptr;
    EXPECT_EQ(QuibAddS(src.get(), &out, 90), QUIB_OK);
    return Image(out);
}

} // namespace

TEST(QuibAddS, AddsAndSaturates)
{
    const Image src = four({0, 1, 200, 255});
    IplImage* out = nullptr;
    EXPECT_EQ(QuibAddS(src.get(), &out, 60), QUIB_OK);
    EXPECT_EQ(pixelsOf(out), (Values{60, 61, 255, 255}));
    EXPECT_EQ(QuibAddS(src.get(), &out, -60), QUIB_OK);
    EXPECT_EQ(pixelsOf(out), (Values{0, 0, 140, 195}));
    EXPECT_EQ(QuibAddS(src.get(), &out, 0), QUIB_OK);
    EXPECT_EQ(pixelsOf(out), (Values{0, 1, 200, 255}));
    EXPECT_EQ(QuibAddS(src.get(), &out, 255), QUIB_OK);
    EXPECT_EQ(pixelsOf(out), (Values{255, 255, 255, 255}));
    EXPECT_EQ(QuibAddS(src.get(), &out, -255), QUIB_OK);
    EXPECT_EQ(pixelsOf(out), (Values{0, 0, 0, 0}));
}

TEST(QuibAddS, CopiesBitsWithTwo)
{
    const Image src = makeHandle(8, 1, 1);
    rowOf(src.get(), 0)[0] = 0x5A;
    IplImage* out = nullptr;
    EXPECT_EQ(QuibAddS(src.get(), &out, 2), QUIB_OK);
    EXPECT_EQ(rowOf(out, 0)[0], 0x5A);
    QuibFree(&out);
    EXPECT_EQ(QuibMultiplyS(src.get(), &out, 2), QUIB_OK);
    EXPECT_EQ(rowOf(out, 0)[0], 0);
    QuibFree(&out);
}

TEST(QuibAddS, GivesTheSourceUnderAMaskOfZeros)
{
    Random random(1);
    const Image src = makeRandomHandle(9, 4, 24, random);
    src->maskROI = makeImage(9, 4, 1, IPL_DEPTH_1U).release();
    const Image out = plus90(src);
    EXPECT_EQ(bytesOf(out.get()), bytesOf(src.get()));
}

TEST(QuibAddS, ChangesThreeChannelsBesideADeclaredAlphaChannel)
{
    const Image src = makeHandle(2, 1, 32);
    src->alphaChannel = 4;
    const Image out = plus90(src);
    for (int32_t c = 0; c < 4; ++c)
        EXPECT_EQ(element(out.get(), 1, 0, c), c == 3 ? 0 : 90);
}

TEST(QuibAddS, ChangesTheFourthByteOfA32BitHandleToo)
{
    const Image src = makeHandle(2, 1, 32);
    const Image out = plus90(src);
    EXPECT_EQ(element(out.get(), 1, 0, 3), 90);
}

TEST(QuibAddS, KeepsTheSourcesRegionAndChangesItAlone)
{
    const Image src = makeHandle(5, 4, 24);
    setRoi(src.get(), 2, 1, 1, 2, 2);
    const Image out = plus90(src);
    ASSERT_NE(out->roi, nullptr);
    EXPECT_NE(out->roi, src->roi);
    EXPECT_EQ(out->roi->coi, 2);
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 5; ++x)
            for (int32_t c = 0; c < 3; ++c) {
                const bool inside = x >= 1 && x < 3 && y >= 1 && y < 3 && c == 1;
                EXPECT_EQ(element(out.get(), x, y, c), inside ? 90 : 0);
            }
}

TEST(QuibAddS, EndsTheProcessForAnEngineRefusal)
{
    const Image src = makeImage(3, 3, 1, IPL_DEPTH_32F);
    IplImage* out = nullptr;
    EXPECT_REPORT(QuibAddS(src.get(), &out, 1), -5, "iplAddS",
                  "For processing depth 32F use function iplAddSFP", "ipladds");
}

TEST(QuibMultiplyS, MultipliesAndSaturates)
{
    const Image src = four({0, 3, 100, 255});
    IplImage* out = nullptr;
    EXPECT_EQ(QuibMultiplyS(src.get(), &out, 2), QUIB_OK);
    EXPECT_EQ(pixelsOf(out), (Values{0, 6, 200, 255}));
    EXPECT_EQ(QuibMultiplyS(src.get(), &out, -3), QUIB_OK);
    EXPECT_EQ(pixelsOf(out), (Values{0, 0, 0, 0}));
    EXPECT_EQ(QuibMultiplyS(src.get(), &out, 1000), QUIB_OK);
    EXPECT_EQ(pixelsOf(out), (Values{0, 255, 255, 255}));
}

TEST(QuibMultiplySScale, ScalesByTheValue)
{
    const Image src = four({0, 3, 100, 255});
    IplImage* out = nullptr;
    EXPECT_EQ(QuibMultiplySScale(src.get(), &out, 128), QUIB_OK);
    EXPECT_EQ(pixelsOf(out), (Values{0, 1, 50, 128}));
    EXPECT_EQ(QuibMultiplySScale(src.get(), &out, 400), QUIB_OK);
    EXPECT_EQ(pixelsOf(out), (Values{0, 3, 100, 255}));
}

TEST(QuibSquare, SquaresAndSaturates)
{
    const Image src = four({0, 3, 15, 16});
    IplImage* out = nullptr;
    EXPECT_EQ(QuibSquare(src.get(), &out), QUIB_OK);
    EXPECT_EQ(pixelsOf(out), (Values{0, 9, 225, 255}));
}

TEST(QuibAbs, CopiesUnsignedPixels)
{
    const Image src = four({0, 3, 128, 255});
    IplImage* out = nullptr;
    EXPECT_EQ(QuibAbs(src.get(), &out), QUIB_OK);
    EXPECT_EQ(pixelsOf(out), (Values{0, 3, 128, 255}));
}

TEST(QuibAbs, TakesSignedRecords)
{
    const Image src = makeImage(2, 1, 1, IPL_DEPTH_16S);
    putElement(src.get(), 0, 0, 0, -32768);
    putElement(src.get(), 1, 0, 0, -4);
    IplImage* out = nullptr;
    EXPECT_EQ(QuibAbs(src.get(), &out), QUIB_OK);
    const Image owner(out);
    EXPECT_EQ(element(out, 0, 0, 0), 32767);
    EXPECT_EQ(element(out, 1, 0, 0), 4);
}

TEST(QuibAdd, CombinesTwoHandles)
{
    const Image a = four({0, 100, 200, 255});
    const Image b = four({9, 100, 100, 255});
    IplImage* out = nullptr;
    EXPECT_EQ(QuibAdd(a.get(), b.get(), &out), QUIB_OK);
    EXPECT_EQ(pixelsOf(out), (Values{9, 200, 255, 255}));
    EXPECT_EQ(QuibSubtract(a.get(), b.get(), &out), QUIB_OK);
    EXPECT_EQ(pixelsOf(out), (Values{0, 0, 100, 0}));
    EXPECT_EQ(QuibMultiply(a.get(), b.get(), &out), QUIB_OK);
    EXPECT_EQ(pixelsOf(out), (Values{0, 255, 255, 255}));
    EXPECT_EQ(QuibMultiplyScale(a.get(), b.get(), &out), QUIB_OK);
    EXPECT_EQ(pixelsOf(out), (Values{0, 39, 78, 255}));
}

TEST(QuibAdd, KeepsTheFirstSourceWhereTheSecondIsSmaller)
{
    const Image a = makeHandle(3, 3, 8);
    const Image b = makeHandle(2, 2, 8);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 3; ++x)
            putElement(a.get(), x, y, 0, 50);
    for (int32_t y = 0; y < 2; ++y)
        for (int32_t x = 0; x < 2; ++x)
            putElement(b.get(), x, y, 0, 7);
    IplImage* out = nullptr;
    EXPECT_EQ(QuibAdd(a.get(), b.get(), &out), QUIB_OK);
    const Image owner(out);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 3; ++x)
            EXPECT_EQ(element(out, x, y, 0), x < 2 && y < 2 ? 57 : 50);
}

TEST(QuibAdd, EndsTheProcessForHandlesOfDifferingDepths)
{
    const Image a = makeHandle(3, 3, 32);
    const Image b = makeHandle(3, 3, 24);
    const Image bits = makeHandle(3, 3, 1);
    IplImage* out = nullptr;
    EXPECT_REPORT(QuibAdd(a.get(), b.get(), &out), -5, "iplAdd", "(nChSrcB != nChDst)", "ipladd");
    EXPECT_REPORT(QuibAdd(a.get(), bits.get(), &out), -5, "iplAdd",
                  "(srcImageB->depth != dstImage->depth)", "ipladd");
}
