#include "quibtool/stretch/tables.h"

#include "tests/quibtool/stretch/plain_stretch.h"

#include <gtest/gtest.h>

using namespace plain_stretch;

namespace
{

struct Tables {
    explicit Tables(uint32_t n) : idx0(n, 77), idx1(n, 77), weight(n, 77), weight8(n, 77) {}

    std::vector<uint32_t> idx0;
    std::vector<uint32_t> idx1;
    std::vector<uint32_t> weight;
    std::vector<uint8_t> weight8;
};

using Indices = std::vector<uint32_t>;

Tables build32(uint32_t dstN, uint32_t srcN, int32_t mode)
{
    Tables tables(dstN);
    BuildStretchTable32(dstN, srcN, tables.weight.data(), tables.idx0.data(), tables.idx1.data(),
                        mode);
    return tables;
}

Tables build8(uint32_t dstN, uint32_t srcN, int32_t mode)
{
    Tables tables(dstN);
    BuildStretchTable8(dstN, srcN, tables.weight8.data(), tables.idx0.data(), tables.idx1.data(),
                       mode);
    return tables;
}

} // namespace

TEST(BuildStretchTable, DoublingTakesHalfSteps)
{
    const Tables tables = build8(4, 2, STRETCH_LINEAR);
    EXPECT_EQ(tables.idx0, (Indices{0, 0, 1, 1}));
    EXPECT_EQ(tables.idx1, (Indices{1, 1, 1, 1}));
    EXPECT_EQ(tables.weight8, (std::vector<uint8_t>{255, 127, 255, 127}));
}

TEST(BuildStretchTable, WordWeightsHoldTheByteFourTimes)
{
    const Tables tables = build32(4, 2, STRETCH_LINEAR);
    EXPECT_EQ(tables.weight, (Indices{0xFFFFFFFFu, 0x7F7F7F7Fu, 0xFFFFFFFFu, 0x7F7F7F7Fu}));
}

TEST(BuildStretchTable, SmoothFollowsTheSmoothstepCurve)
{
    const Tables linear = build8(4, 1, STRETCH_LINEAR);
    const Tables smooth = build8(4, 1, STRETCH_SMOOTH);
    // t is 0, 0.25, 0.5, 0.75; the curve gives 0, 0.15625, 0.5, 0.84375.
    EXPECT_EQ(linear.weight8, (std::vector<uint8_t>{255, 191, 127, 64}));
    EXPECT_EQ(smooth.weight8, (std::vector<uint8_t>{255, 215, 127, 40}));
}

TEST(BuildStretchTable, NearestFillsFirstPositionsAlone)
{
    Indices idx0(5);
    BuildStretchTable8(5, 3, nullptr, idx0.data(), nullptr, STRETCH_NEAREST);
    EXPECT_EQ(idx0, (Indices{0, 0, 1, 1, 2}));
    BuildStretchTable32(5, 10, nullptr, idx0.data(), nullptr, STRETCH_NEAREST);
    EXPECT_EQ(idx0, (Indices{0, 2, 4, 6, 8}));
}

TEST(BuildStretchTable, PositionsAddUpAndAreNotMultiplied)
{
    // Ten additions of 0.1 stay below 1.
    const Tables tables = build8(100, 10, STRETCH_LINEAR);
    EXPECT_EQ(tables.idx0[10], 0u);
    EXPECT_EQ(tables.weight8[10], 0);
    EXPECT_EQ(tables.idx0[11], 1u);
}

TEST(BuildStretchTable, OneInputIsEveryPosition)
{
    for (const int32_t mode : {STRETCH_LINEAR, STRETCH_SMOOTH}) {
        const Tables tables = build32(7, 1, mode);
        EXPECT_EQ(tables.idx0, Indices(7, 0));
        EXPECT_EQ(tables.idx1, Indices(7, 0));
    }
}

TEST(BuildStretchTable, EqualSizesWeighTheFirstPositionWith255)
{
    const Tables tables = build8(4, 4, STRETCH_LINEAR);
    EXPECT_EQ(tables.idx0, (Indices{0, 1, 2, 3}));
    EXPECT_EQ(tables.idx1, (Indices{1, 2, 3, 3}));
    EXPECT_EQ(tables.weight8, std::vector<uint8_t>(4, 255));
}

TEST(BuildStretchTable, NearestPairsAdvanceByPairs)
{
    const Tables same = build32(6, 6, STRETCH_PAIRS_NEAREST);
    EXPECT_EQ(same.idx0, (Indices{0, 1, 2, 3, 4, 5}));
    const Tables half = build32(4, 8, STRETCH_PAIRS_NEAREST);
    EXPECT_EQ(half.idx0, (Indices{0, 1, 4, 5}));
}

TEST(BuildStretchTable, NearestPairsOfAnOddSourceAskForARowPastIt)
{
    const Tables tables = build32(6, 3, STRETCH_PAIRS_NEAREST);
    EXPECT_EQ(tables.idx0, (Indices{0, 1, 0, 1, 2, 3}));
}

TEST(BuildStretchTable, LinearPairsTakeTheNextRowOfTheSameParity)
{
    const Tables tables = build32(8, 4, STRETCH_PAIRS_LINEAR);
    EXPECT_EQ(tables.idx0, (Indices{0, 1, 0, 1, 2, 3, 2, 3}));
    EXPECT_EQ(tables.idx1, (Indices{2, 3, 2, 3, 2, 3, 2, 3}));
    EXPECT_EQ(tables.weight[0], 0xFFFFFFFFu);
    EXPECT_EQ(tables.weight[1], 0xFFFFFFFFu);
    EXPECT_EQ(tables.weight[2], 0x7F7F7F7Fu);
    EXPECT_EQ(tables.weight[3], 0x7F7F7F7Fu);
}

TEST(BuildStretchTable, LinearPairsOfOneRowWrapInTheComparison)
{
    const Tables tables = build32(2, 1, STRETCH_PAIRS_LINEAR);
    EXPECT_EQ(tables.idx0, (Indices{0, 1}));
    EXPECT_EQ(tables.idx1, (Indices{2, 3}));
}

TEST(BuildStretchTable, PairModesLeaveTheLastEntryOfAnOddSizeUnset)
{
    const Tables nearest = build32(5, 10, STRETCH_PAIRS_NEAREST);
    EXPECT_EQ(nearest.idx0, (Indices{0, 1, 4, 5, 77}));
    const Tables linear = build32(5, 10, STRETCH_PAIRS_LINEAR);
    EXPECT_EQ(linear.idx0[4], 77u);
    EXPECT_EQ(linear.idx1[4], 77u);
    EXPECT_EQ(linear.weight[4], 77u);
}

TEST(BuildStretchTable, ByteTablesTakePairModesForLinear)
{
    const Tables linear = build8(9, 4, STRETCH_LINEAR);
    for (const int32_t mode : {STRETCH_PAIRS_NEAREST, STRETCH_PAIRS_LINEAR, 5, 3, -1}) {
        const Tables tables = build8(9, 4, mode);
        EXPECT_EQ(tables.idx0, linear.idx0);
        EXPECT_EQ(tables.idx1, linear.idx1);
        EXPECT_EQ(tables.weight8, linear.weight8);
    }
}

TEST(BuildStretchTable, FollowsThePlainFormForAllSizes)
{
    Random random(3);
    for (int32_t round = 0; round < 400; ++round) {
        const uint32_t dstN = randomSide(random);
        const uint32_t srcN = randomSide(random);
        SCOPED_TRACE(testing::Message() << srcN << " to " << dstN);
        for (const int32_t mode : {1, 2, 5}) {
            const Axis expected = plainAxis(dstN, srcN, mode);
            const Tables bytes = build8(dstN, srcN, mode);
            const Tables words = build32(dstN, srcN, mode);
            ASSERT_EQ(bytes.idx0, expected.idx0);
            ASSERT_EQ(bytes.idx1, expected.idx1);
            ASSERT_EQ(bytes.weight8, expected.weight);
            ASSERT_EQ(words.idx0, expected.idx0);
            ASSERT_EQ(words.idx1, expected.idx1);
            for (uint32_t i = 0; i < dstN; ++i)
                ASSERT_EQ(words.weight[i], expected.weight[i] * 0x01010101u);
        }
    }
}
