// AND, OR and XOR of an image and a value, and of two images.
#include "tests/support/one_pixel.h"

namespace
{

struct ScalarMember {
    const char* name;
    const char* file;
    OneImageOperation<int32_t> run;
};

constexpr ScalarMember scalarMembers[] = {
    {"iplAndS", "iplands", iplAndS},
    {"iplOrS", "iplors", iplOrS},
    {"iplXorS", "iplxors", iplXorS},
};

struct PairMember {
    const char* name;
    const char* file;
    TwoImageOperation run;
};

constexpr PairMember pairMembers[] = {
    {"iplAnd", "ipland", iplAnd},
    {"iplOr", "iplor", iplOr},
    {"iplXor", "iplxor", iplXor},
};

} // namespace

// --- An image and a value ----------------------------------------------------------------

TEST(ScalarLogic, TakesTheValuesLowBitsOnly)
{
    EXPECT_EQ(resultOf(iplAndS, IPL_DEPTH_8U, 0xAB, 0x1FF), 0xAB);
    EXPECT_EQ(resultOf(iplAndS, IPL_DEPTH_8U, 0xAB, 0x10F), 0x0B);
    EXPECT_EQ(resultOf(iplAndS, IPL_DEPTH_8S, -1, 0x80), -128);
    EXPECT_EQ(resultOf(iplAndS, IPL_DEPTH_16U, 0xABCD, 0x7F0F0), 0xA0C0);
    EXPECT_EQ(resultOf(iplAndS, IPL_DEPTH_16S, -1, 0x18000), -32768);
    EXPECT_EQ(resultOf(iplAndS, IPL_DEPTH_32S, -1, 0x12345678), 0x12345678);
    EXPECT_EQ(resultOf(iplOrS, IPL_DEPTH_8U, 0xA0, 0x105), 0xA5);
    EXPECT_EQ(resultOf(iplOrS, IPL_DEPTH_8S, 1, 0x80), -127);
    EXPECT_EQ(resultOf(iplOrS, IPL_DEPTH_16U, 0xA0C0, 0x70B0D), 0xABCD);
    EXPECT_EQ(resultOf(iplOrS, IPL_DEPTH_16S, 1, 0x18000), -32767);
    EXPECT_EQ(resultOf(iplOrS, IPL_DEPTH_32S, 8, 0x12345670), 0x12345678);
    EXPECT_EQ(resultOf(iplXorS, IPL_DEPTH_8U, 0xF0, 0x1FF), 0x0F);
    EXPECT_EQ(resultOf(iplXorS, IPL_DEPTH_8S, 1, 0x80), -127);
    EXPECT_EQ(resultOf(iplXorS, IPL_DEPTH_16U, 0xF00F, 0x7FFFF), 0x0FF0);
    EXPECT_EQ(resultOf(iplXorS, IPL_DEPTH_16S, 0, 0x18000), -32768);
    EXPECT_EQ(resultOf(iplXorS, IPL_DEPTH_32S, 5, -1), -6);
}

TEST(ScalarLogic, TakesTheLowestBitAtDepthOne)
{
    for (const int32_t bit : {0, 1}) {
        EXPECT_EQ(resultOf(iplAndS, IPL_DEPTH_1U, bit, 2), 0);
        EXPECT_EQ(resultOf(iplAndS, IPL_DEPTH_1U, bit, 3), bit);
        EXPECT_EQ(resultOf(iplOrS, IPL_DEPTH_1U, bit, 2), bit);
        EXPECT_EQ(resultOf(iplOrS, IPL_DEPTH_1U, bit, 3), 1);
        EXPECT_EQ(resultOf(iplXorS, IPL_DEPTH_1U, bit, 2), bit);
        EXPECT_EQ(resultOf(iplXorS, IPL_DEPTH_1U, bit, 3), 1 - bit);
    }
}

TEST(IplOrS, SetsEveryBitWithMinusOne)
{
    EXPECT_EQ(resultOf(iplOrS, IPL_DEPTH_8U, 7, -1), 255);
    EXPECT_EQ(resultOf(iplOrS, IPL_DEPTH_16U, 7, -1), 65535);
    EXPECT_EQ(resultOf(iplOrS, IPL_DEPTH_32S, 7, -1), -1);
    EXPECT_EQ(resultOf(iplOrS, IPL_DEPTH_1U, 0, -1), 1);
}

TEST(IplNot, InvertsEveryBit)
{
    const Image src = makeImage(5, 1, 1, IPL_DEPTH_16U);
    const Image dst = makeImage(5, 1, 1, IPL_DEPTH_16U);
    putElement(src.get(), 4, 0, 0, 0x1234);
    iplNot(src.get(), dst.get());
    EXPECT_EQ(element(dst.get(), 4, 0, 0), 0xEDCB);
    const Image bits = makeImage(5, 1, 1, IPL_DEPTH_1U);
    iplNot(bits.get(), bits.get());
    EXPECT_EQ(rowOf(bits.get(), 0)[0], 0xF8);
}

TEST(IplNot, ReportsUnderTheNameOfXor)
{
    const Image floats = makeImage(3, 3, 1, IPL_DEPTH_32F);
    EXPECT_REPORT(iplNot(floats.get(), floats.get()), -5, "iplXorS",
                  "This function does not support depth 32F", "iplxors");
    EXPECT_REPORT(iplNot(nullptr, nullptr), -9, "iplXorS", "Incorrect Image", "iplxors");
}

TEST(ScalarLogic, RefusesFloatsAfterTheirOtherFaults)
{
    const Image three = makeImage(3, 3, 3, IPL_DEPTH_32F);
    const Image four = makeImage(3, 3, 4, IPL_DEPTH_32F);
    for (const ScalarMember& member : scalarMembers) {
        EXPECT_REPORT(member.run(three.get(), four.get(), 1), -5, member.name, "(nChSrc != nChDst)",
                      member.file);
        EXPECT_REPORT(member.run(three.get(), three.get(), 1), -5, member.name,
                      "This function does not support depth 32F", member.file);
    }
}

TEST(ScalarLogic, RefusesNullImagesByTheirCheck)
{
    for (const ScalarMember& member : scalarMembers)
        EXPECT_REPORT(member.run(nullptr, nullptr, 1), -9, member.name, "Incorrect Image",
                      member.file);
}

TEST(ScalarLogic, TakesDifferingOrdersOfBitsAlone)
{
    const auto image = [](uint32_t depth, int32_t dataOrder) {
        return makeImage(3, 3, 1, depth, dataOrder);
    };
    const Image bits = image(IPL_DEPTH_1U, IPL_DATA_ORDER_PLANE);
    const Image otherBits = image(IPL_DEPTH_1U, IPL_DATA_ORDER_PIXEL);
    const Image bytes = image(IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE);
    const Image otherBytes = image(IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL);
    for (const ScalarMember& member : scalarMembers) {
        member.run(bits.get(), otherBits.get(), 1);
        EXPECT_REPORT(member.run(bytes.get(), otherBytes.get(), 1), -5, member.name,
                      "(srcImage->dataOrder != dstImage->dataOrder)", member.file);
    }
}

// --- Two images --------------------------------------------------------------------------

TEST(PairLogic, WorksOnTheBitsOfEveryIntegerDepth)
{
    struct Row {
        uint32_t depth;
        double a;
        double b;
        double results[3]; // of each member
    };
    constexpr Row rows[] = {
        {IPL_DEPTH_1U, 0, 1, {0, 1, 1}},
        {IPL_DEPTH_1U, 1, 1, {1, 1, 0}},
        {IPL_DEPTH_8U, 240, 60, {48, 252, 204}},
        {IPL_DEPTH_8S, -128, 127, {0, -1, -1}},
        {IPL_DEPTH_16U, 61455, 4660, {4100, 62015, 57915}},
        {IPL_DEPTH_16S, -2, 21845, {21844, -1, -21845}},
        {IPL_DEPTH_32S, -65536, 305419896, {305397760, -43400, -305441160}},
    };
    for (const Row& row : rows)
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(resultOfPair(pairMembers[i].run, row.depth, row.a, row.b), row.results[i])
                << pairMembers[i].name << " at depth " << row.depth;
}

TEST(PairLogic, HasItsOwnBitOffsetInEachImage)
{
    // Pixels 0 to 5 of the region: A 110100, B 101010.
    const Image a = makeImage(16, 1, 1, IPL_DEPTH_1U);
    const Image b = makeImage(16, 1, 1, IPL_DEPTH_1U);
    rowOf(a.get(), 0)[0] = 0x34;
    rowOf(b.get(), 0)[0] = 0x01;
    rowOf(b.get(), 0)[1] = 0x50;
    setRoi(a.get(), 0, 2, 0, 6, 1);
    setRoi(b.get(), 0, 7, 0, 6, 1);
    constexpr int results[3][2] = {{0xFC, 0x1F}, {0xFF, 0xDF}, {0xFB, 0xDF}};
    for (int i = 0; i < 3; ++i) {
        const Image dst = makeImage(16, 1, 1, IPL_DEPTH_1U);
        rowOf(dst.get(), 0)[0] = 0xFF;
        rowOf(dst.get(), 0)[1] = 0xFF;
        setRoi(dst.get(), 0, 5, 0, 6, 1);
        pairMembers[i].run(a.get(), b.get(), dst.get());
        EXPECT_EQ(rowOf(dst.get(), 0)[0], results[i][0]) << pairMembers[i].name;
        EXPECT_EQ(rowOf(dst.get(), 0)[1], results[i][1]) << pairMembers[i].name;
    }
}

TEST(PairLogic, RefusesNullImagesByTheirCheck)
{
    for (const PairMember& member : pairMembers)
        EXPECT_REPORT(member.run(nullptr, nullptr, nullptr), -9, member.name, "Incorrect Image",
                      member.file);
}
