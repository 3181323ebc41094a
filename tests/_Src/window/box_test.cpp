#include "_Src/window/box.h"

#include "kernels/kernels.h"
#include "tests/support/images.h"
#include "tests/support/levels.h"

namespace
{

// What the plan's numbers make of a sum, as exact arithmetic.
uint64_t quotientOf(const quib::BoxWindow& window, uint64_t sum)
{
    const uint64_t raised = sum + window.elements / 2;
    return raised * window.factor >> window.shift;
}

// A quotient rises by one where the raised sum reaches its multiple of the number of
// elements; as quotients only rise, these and their neighbours below tell all.
void expectExact(uint32_t depth, int32_t nCols, int32_t nRows, uint64_t most)
{
    const IplBoxPlan plan = ownPlanBox(depth, nCols, nRows);
    const uint64_t n = static_cast<uint64_t>(nCols) * static_cast<uint64_t>(nRows);
    ASSERT_LE(plan.kind, quib::boxWords) << n;
    for (uint64_t k = 1; k <= most; ++k) {
        const uint64_t first = k * n - n / 2;
        ASSERT_EQ(quotientOf(plan.window, first), k) << n;
        ASSERT_EQ(quotientOf(plan.window, first - 1), k - 1) << n;
        if (plan.window.quotient == 0)
            continue;
        const float raised = static_cast<float>(k * n);
        ASSERT_EQ(static_cast<uint64_t>(raised * plan.window.quotient), k) << n;
        const float below = static_cast<float>(k * n - 1);
        ASSERT_EQ(static_cast<uint64_t>(below * plan.window.quotient), k - 1) << n;
    }
    // The largest sum that elements have.
    ASSERT_EQ(quotientOf(plan.window, most * n), most) << n;
    ASSERT_LE(most * n + n / 2, uint64_t{INT32_MAX}) << n;
}

} // namespace

TEST(BoxPlan, QuotientsOfBytesAreExactForEverySum)
{
    for (int32_t n = 1; n <= 1 << 15; ++n)
        ASSERT_NO_FATAL_FAILURE(expectExact(IPL_DEPTH_8U, n, 1, 255));
    for (int32_t n = 1 << 15; n <= 1 << 23; n += 997)
        ASSERT_NO_FATAL_FAILURE(expectExact(IPL_DEPTH_8U, 1, n, 255));
    ASSERT_NO_FATAL_FAILURE(expectExact(IPL_DEPTH_8U, 1 << 11, 1 << 12, 255));
}

TEST(BoxPlan, QuotientsOfWordsAreExactForEverySum)
{
    for (int32_t n = 1; n <= 1 << 15; n += n < 100 ? 1 : 331)
        ASSERT_NO_FATAL_FAILURE(expectExact(IPL_DEPTH_16U, n, 1, 65535));
    for (int32_t n = (1 << 15) - 3; n <= 1 << 15; ++n)
        ASSERT_NO_FATAL_FAILURE(expectExact(IPL_DEPTH_16S, 1, n, 65535));
}

TEST(BoxPlan, SumsHaveRoom)
{
    EXPECT_EQ(ownPlanBox(IPL_DEPTH_8U, 5, 128).kind, quib::boxBytes);
    EXPECT_EQ(ownPlanBox(IPL_DEPTH_8U, 5, 129).kind, quib::boxTallBytes);
    EXPECT_EQ(ownPlanBox(IPL_DEPTH_1U, 1 << 12, 1 << 11).kind, quib::boxTallBytes);
    EXPECT_EQ(ownPlanBox(IPL_DEPTH_8S, (1 << 23) + 1, 1).kind, quib::boxManyBytes);
    EXPECT_EQ(ownPlanBox(IPL_DEPTH_16S, 1 << 15, 1).kind, quib::boxWords);
    EXPECT_EQ(ownPlanBox(IPL_DEPTH_16U, (1 << 15) + 1, 1).kind, quib::boxManyWords);
    EXPECT_EQ(ownPlanBox(IPL_DEPTH_32S, 1, 1).kind, quib::boxInts);
    EXPECT_EQ(ownPlanBox(IPL_DEPTH_32F, 1, 1).kind, quib::boxFloats);
    EXPECT_LE(255 * 128, INT16_MAX);
}
