#include "quibtool/stretch/rows.h"

#include "tests/quibtool/stretch/plain_stretch.h"
#include "tests/support/levels.h"

#include <gtest/gtest.h>

using namespace plain_stretch;

TEST(LerpRowByTable8, WrapsInsteadOfScaling)
{
    const uint8_t row[2] = {10, 7};
    const uint32_t idx0[4] = {0, 0, 1, 1};
    const uint32_t idx1[4] = {1, 1, 1, 0};
    const uint8_t weight[4] = {255, 3, 200, 2};
    uint8_t out[4] = {};
    LerpRowByTable8(out, row, idx0, idx1, weight, 4);
    EXPECT_EQ(out[0], (3 * 255 + 7) & 255);
    EXPECT_EQ(out[1], 16);
    EXPECT_EQ(out[2], 7);
    EXPECT_EQ(out[3], 4);
}

TEST(LerpRows8, RoundsTowardMinusInfinity)
{
    const uint8_t a[3] = {255, 0, 10};
    const uint8_t b[3] = {0, 255, 11};
    const uint8_t weight = 255;
    uint8_t out[3] = {};
    LerpRows8(out, a, b, &weight, 3);
    EXPECT_EQ(out[0], 254);
    EXPECT_EQ(out[1], 0);
    EXPECT_EQ(out[2], 10);
}

TEST(GatherRow8, PicksTheIndexedBytes)
{
    const uint8_t row[4] = {5, 6, 7, 8};
    const uint32_t idx0[6] = {0, 0, 1, 2, 2, 3};
    uint8_t out[6] = {};
    GatherRow8(out, row, idx0, 6);
    EXPECT_EQ(std::vector<uint8_t>(out, out + 6), (std::vector<uint8_t>{5, 5, 6, 7, 7, 8}));
}
