#include "quibtool/warp/progress.h"

#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <limits>

namespace
{

void expectSums(double start, double step, uint32_t most)
{
    double sum = start;
    uint32_t done = 0;
    for (uint32_t count = 1; count <= most; count += count / 3 + 1) {
        for (; done < count; ++done)
            sum += step;
        const double jumped = ownAdvanced(start, step, count);
        ASSERT_EQ(std::bit_cast<uint64_t>(jumped), std::bit_cast<uint64_t>(sum))
            << start << " and " << count << " times " << step;
    }
}

double randomDouble(Random& random, int32_t low, int32_t high)
{
    const double mantissa = 1.0 + random.next() / 4294967296.0 + random.next() * 0x1p-64;
    return (random.coin() ? 1 : -1) * std::ldexp(mantissa, random.between(low, high));
}

} // namespace

TEST(OwnAdvanced, GivesTheRepeatedSums)
{
    Random random(1);
    for (int round = 0; round < 2000; ++round)
        expectSums(randomDouble(random, -12, 12), randomDouble(random, -12, 3), 15000);
}

TEST(OwnAdvanced, RoundsAsEachSumIsRounded)
{
    // Steps of half of what sums can differ by, and near it.
    Random random(2);
    for (int round = 0; round < 1000; ++round) {
        const double start = randomDouble(random, -3, 3);
        const double unit = std::nextafter(std::fabs(start), INFINITY) - std::fabs(start);
        for (const double part :
             {0.25, 0.5, 0.75, 1.0, 1.5, 2.5, 3.5, 0.5 + 0x1p-40, 0.5 - 0x1p-40})
            expectSums(start, (random.coin() ? 1 : -1) * part * unit, 3000);
    }
}

TEST(OwnAdvanced, CrossesZeroAndPowersOfTwo)
{
    for (const double step : {0.1, -0.1, 1.0, 0.75, 1e-3, 0x1p-20})
        for (const double start : {-100.0, -64.0, -1.0, -0.3, 0.0, -0.0, 0.3, 1.0, 63.9, 64.0})
            expectSums(start, step, 200000);
}

TEST(OwnAdvanced, HoldsForTheSmallestNumbers)
{
    constexpr double least = std::numeric_limits<double>::denorm_min();
    for (const double step : {least, -3 * least, DBL_MIN, -DBL_MIN / 7})
        for (const double start : {0.0, least, -1000 * least, DBL_MIN, -3 * DBL_MIN})
            expectSums(start, step, 30000);
}

TEST(OwnAdvanced, TakesLongWaysInOneGo)
{
    EXPECT_EQ(ownAdvanced(0.0, 1.0, UINT32_MAX), 4294967295.0);
    EXPECT_EQ(ownAdvanced(-2147483648.0, 0.5, UINT32_MAX), -0.5);
    EXPECT_EQ(ownAdvanced(3.0, 0.0, UINT32_MAX), 3.0);
    EXPECT_EQ(ownAdvanced(1e300, 1.0, UINT32_MAX), 1e300);
}

TEST(OwnAdvanced, TakesWhatIsNoNumber)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(ownAdvanced(infinity, 1.0, 9), infinity);
    EXPECT_EQ(ownAdvanced(1.0, -infinity, 9), -infinity);
    EXPECT_EQ(ownAdvanced(DBL_MAX, DBL_MAX, 9), infinity);
    EXPECT_TRUE(std::isnan(ownAdvanced(infinity, -infinity, 9)));
    EXPECT_TRUE(std::isnan(ownAdvanced(1.0, NAN, 9)));
}
