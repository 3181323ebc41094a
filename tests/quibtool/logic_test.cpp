#include "quibtool/quibtool.h"

#include "tests/support/images.h"

#include <gtest/gtest.h>

namespace
{

// What a wrapper makes of one 8-bit pixel.
template<class Wrapper, class... Arguments>
double result(Wrapper wrapper, int pixel, Arguments... arguments)
{
    const Image src = makeHandle(1, 1, 8);
    putElement(src.get(), 0, 0, 0, pixel);
    IplImage* out = nullptr;
    EXPECT_EQ(wrapper(src.get(), &out, arguments...), QUIB_OK);
    const Image owner(out);
    return element(out, 0, 0, 0);
}

template<class Wrapper>
double pairResult(Wrapper wrapper, int pixelA, int pixelB)
{
    const Image a = makeHandle(1, 1, 8);
    const Image b = makeHandle(1, 1, 8);
    putElement(a.get(), 0, 0, 0, pixelA);
    putElement(b.get(), 0, 0, 0, pixelB);
    IplImage* out = nullptr;
    EXPECT_EQ(wrapper(a.get(), b.get(), &out), QUIB_OK);
    const Image owner(out);
    return element(out, 0, 0, 0);
}

} // namespace

TEST(QuibLShiftS, LosesWhatLeavesThePixel)
{
    EXPECT_EQ(result(QuibLShiftS, 0x81, 1u), 2);
    EXPECT_EQ(result(QuibLShiftS, 0x81, 0u), 0x81);
    EXPECT_EQ(result(QuibLShiftS, 0x81, 8u), 0);
    EXPECT_EQ(result(QuibLShiftS, 0x81, static_cast<uint32_t>(-1)), 0);
}

TEST(QuibRShiftS, FillsWithZeros)
{
    EXPECT_EQ(result(QuibRShiftS, 0x81, 1u), 0x40);
    EXPECT_EQ(result(QuibRShiftS, 0x81, 0u), 0x81);
    EXPECT_EQ(result(QuibRShiftS, 0xFF, 100u), 0);
}

TEST(QuibNot, InvertsPixelsAndBits)
{
    EXPECT_EQ(result(QuibNot, 0x5A), 0xA5);
    const Image src = makeHandle(3, 1, 1);
    rowOf(src.get(), 0)[0] = 0x5F;
    IplImage* out = nullptr;
    EXPECT_EQ(QuibNot(src.get(), &out), QUIB_OK);
    const Image owner(out);
    // The bits past the third are padding.
    EXPECT_EQ(rowOf(out, 0)[0], 0xBF);
}

TEST(QuibAndS, TakesTheLowByteOfTheValue)
{
    EXPECT_EQ(result(QuibAndS, 0xAB, 0x1FF), 0xAB);
    EXPECT_EQ(result(QuibAndS, 0xAB, 0x0F), 0x0B);
    EXPECT_EQ(result(QuibOrS, 0xA0, 0x10F), 0xAF);
    EXPECT_EQ(result(QuibOrS, 0, -1), 255);
    EXPECT_EQ(result(QuibXorS, 0xA5, 0x1FF), 0x5A);
    EXPECT_EQ(result(QuibXorS, 0xA5, 0x100), 0xA5);
}

TEST(QuibXorS, CopiesBitsWithTwo)
{
    const Image src = makeHandle(8, 1, 1);
    rowOf(src.get(), 0)[0] = 0x5A;
    IplImage* out = nullptr;
    EXPECT_EQ(QuibXorS(src.get(), &out, 2), QUIB_OK);
    const Image owner(out);
    EXPECT_EQ(rowOf(out, 0)[0], 0x5A);
}

TEST(QuibAnd, CombinesTheBitsOfTwoHandles)
{
    EXPECT_EQ(pairResult(QuibAnd, 0xF0, 0x3C), 0x30);
    EXPECT_EQ(pairResult(QuibOr, 0xF0, 0x3C), 0xFC);
    EXPECT_EQ(pairResult(QuibXor, 0xF0, 0x3C), 0xCC);
}
