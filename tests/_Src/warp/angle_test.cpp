#include "_Src/warp/angle.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

TEST(OwnReduceDegrees, BringsAnglesToOneTurn)
{
    EXPECT_EQ(ownReduceDegrees(0.0), 0.0);
    EXPECT_EQ(ownReduceDegrees(360.0), 0.0);
    EXPECT_EQ(ownReduceDegrees(450.0), 90.0);
    EXPECT_EQ(ownReduceDegrees(-90.0), 270.0);
    EXPECT_EQ(ownReduceDegrees(180.0), 180.0);
    EXPECT_EQ(ownReduceDegrees(-180.0), 180.0);
    EXPECT_EQ(ownReduceDegrees(540.0), 180.0);
    EXPECT_EQ(ownReduceDegrees(33.25), 33.25);
    EXPECT_EQ(ownReduceDegrees(-0.5), 359.5);
    EXPECT_EQ(ownReduceDegrees(360.0 * 1e9 + 270.0), 270.0);
}

TEST(OwnReduceDegrees, TakesAnglesThatAreNoNumbers)
{
    EXPECT_TRUE(std::isnan(ownReduceDegrees(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_TRUE(std::isnan(ownReduceDegrees(std::numeric_limits<double>::infinity())));
    EXPECT_TRUE(std::isfinite(ownReduceDegrees(1e300)));
}

TEST(OwnTurn, IsTheNearestDouble)
{
    // Rounded from 120 digits.
    const struct {
        double radians;
        double sine;
        double cosine;
    } cases[]{
        {0.0, 0.0, 1.0},
        {1 * radiansPerDegree, 0x1.1df0b2b89dd1ep-6, 0x1.ffec097f5af8ap-1},
        {17 * radiansPerDegree, 0x1.2b637cf83d5c8p-2, 0x1.e9a0c6e7bdb1fp-1},
        {30 * radiansPerDegree, 0x1.fffffffffffffp-2, 0x1.bb67ae8584cabp-1},
        {33.3 * radiansPerDegree, 0x1.191984d01e95bp-1, 0x1.abeef145aa617p-1},
        {45 * radiansPerDegree, 0x1.6a09e667f3bccp-1, 0x1.6a09e667f3bcdp-1},
        {60 * radiansPerDegree, 0x1.bb67ae8584caap-1, 0x1.0000000000001p-1},
        {91 * radiansPerDegree, 0x1.ffec097f5af8ap-1, -0x1.1df0b2b89dd14p-6},
        {123.456 * radiansPerDegree, 0x1.ab2a9b25a9ab8p-1, -0x1.1a43870d371fap-1},
        {200 * radiansPerDegree, -0x1.5e3a8748a0bf4p-2, -0x1.e11f642522d1cp-1},
        {271.5 * radiansPerDegree, -0x1.ffd315bbf4275p-1, 0x1.ace214390ca86p-6},
        {359.9 * radiansPerDegree, -0x1.c98701025ed94p-10, 0x1.ffffcce4c8e64p-1},
    };
    for (const auto& expected : cases) {
        const IplTurn turn = ownTurn(expected.radians);
        EXPECT_EQ(turn.sine, expected.sine) << expected.radians;
        EXPECT_EQ(turn.cosine, expected.cosine) << expected.radians;
        EXPECT_EQ(ownTurn(-expected.radians).sine, -expected.sine) << expected.radians;
        EXPECT_EQ(ownTurn(-expected.radians).cosine, expected.cosine) << expected.radians;
    }
}

TEST(OwnTurn, IsTheNearestDoubleForAnglesOfAllSizes)
{
    // Without the platform's library, and so a test of each target by the same numbers.
    const struct {
        double radians;
        double sine;
        double cosine;
    } table[]{
#include "tests/_Src/warp/angle_table.inl"
    };
    for (const auto& expected : table) {
        const IplTurn turn = ownTurn(expected.radians);
        EXPECT_EQ(turn.sine, expected.sine) << expected.radians;
        EXPECT_EQ(turn.cosine, expected.cosine) << expected.radians;
    }
}

TEST(OwnTurn, AgreesWithThePlatformToTheLastBitOrSo)
{
    for (double radians = -40.0; radians < 40.0; radians += 0.0137) {
        EXPECT_NEAR(ownTurn(radians).sine, std::sin(radians), 2.3e-16);
        EXPECT_NEAR(ownTurn(radians).cosine, std::cos(radians), 2.3e-16);
    }
    EXPECT_NEAR(ownTurn(123456789.0).sine, std::sin(123456789.0), 2.3e-16);
}

TEST(OwnTurn, TakesAnglesThatAreNoNumbers)
{
    EXPECT_TRUE(std::isnan(ownTurn(std::numeric_limits<double>::quiet_NaN()).sine));
    EXPECT_TRUE(std::isnan(ownTurn(std::numeric_limits<double>::infinity()).cosine));
    EXPECT_TRUE(std::isnan(ownTurn(-std::numeric_limits<double>::infinity()).sine));
    EXPECT_TRUE(std::signbit(ownTurn(-0.0).sine));
}
