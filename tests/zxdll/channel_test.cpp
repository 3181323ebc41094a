#include "zxdll/channel.h"

#include <gtest/gtest.h>

namespace
{

constexpr zx::ChannelFormat bytes8{1, 2};
constexpr zx::Area area{0, 0, 2, 2};

} // namespace

TEST(ChannelIsPlausible, WantsACodingAndRoomForTheRows)
{
    const uint8_t data[] = {0, 0, 1, 2, 3, 4};
    EXPECT_TRUE(zx::channelIsPlausible({data, 6}, area, bytes8));
    for (size_t bytes = 0; bytes < sizeof data; ++bytes)
        EXPECT_FALSE(zx::channelIsPlausible({data, bytes}, area, bytes8)) << bytes;
}

TEST(NextRow, EndsWithTheArea)
{
    const uint8_t data[] = {0, 0, 1, 2, 3, 4, 5, 6};
    zx::ChannelRows rows;
    ASSERT_TRUE(zx::openChannel(&rows, {data, sizeof data}, area, bytes8));
    EXPECT_EQ(zx::nextRow(&rows), data + 2);
    EXPECT_EQ(zx::nextRow(&rows), data + 4);
    EXPECT_EQ(zx::nextRow(&rows), nullptr);
    EXPECT_EQ(zx::nextRow(&rows), nullptr);
    zx::closeChannel(&rows);
}

TEST(NextRow, EndsWithTheData)
{
    const uint8_t data[] = {0, 0, 1, 2, 3};
    zx::ChannelRows rows;
    ASSERT_TRUE(zx::openChannel(&rows, {data, sizeof data}, area, bytes8));
    EXPECT_EQ(zx::nextRow(&rows), data + 2);
    EXPECT_EQ(zx::nextRow(&rows), nullptr);
    zx::closeChannel(&rows);
}
