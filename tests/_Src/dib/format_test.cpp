#include "_Src/dib/format.h"

#include "tests/_Src/dib/plain_dib.h"

#include <gtest/gtest.h>

using namespace plain_dib;

TEST(OwnMaskSize, MeasuresTheLowestRunOfOnes)
{
    const struct {
        uint32_t bits;
        int32_t shift;
        int32_t width;
    } masks[] = {{0, 0, 0},           {1, 0, 1},           {0x7C00, 10, 5},
                 {0xFF0000, 16, 8},   {0xFF000000, 24, 8}, {0xFFFFFFFF, 0, 32},
                 {0x80000000, 31, 1}, {0xFFFFFFFE, 1, 31}, {0xF0F0, 4, 4}};
    for (const auto& mask : masks) {
        const OwnMask measuredMask = ownMaskSize(mask.bits);
        EXPECT_EQ(measuredMask.shift, mask.shift) << std::hex << mask.bits;
        EXPECT_EQ(measuredMask.width, mask.width) << std::hex << mask.bits;
    }
}
