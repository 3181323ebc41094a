#include "quibtool/handle.h"

#include "tests/support/images.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

std::string lastError()
{
    return quibLastError;
}

} // namespace

TEST(QuibCreate, ReportsWidthBeforeHeightBeforeDepth)
{
    IplImage* handle = nullptr;
    EXPECT_EQ(QuibCreate(0, 5, 8, &handle, 0), QUIB_BAD_WIDTH);
    EXPECT_EQ(QuibCreate(5, 0, 7, &handle, 0), QUIB_BAD_HEIGHT);
    EXPECT_EQ(QuibCreate(5, 5, 7, &handle, 0), QUIB_BAD_DEPTH);
    EXPECT_EQ(handle, nullptr);
}

TEST(QuibCreate, StoresTheColourWordInEveryPixel)
{
    IplImage* handle = nullptr;
    ASSERT_EQ(QuibCreate(3, 2, 32, &handle, 0xFF000000u), QUIB_OK);
    const Image owner(handle);
    for (int32_t y = 0; y < 2; ++y)
        for (int32_t x = 0; x < 3; ++x)
            for (int32_t c = 0; c < 4; ++c)
                EXPECT_EQ(element(handle, x, y, c), c == 3 ? 255 : 0);
}

TEST(QuibFree, RefusesAZeroVariable)
{
    IplImage* handle = nullptr;
    quibLastError[0] = 0;
    EXPECT_EQ(QuibFree(&handle), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(lastError().rfind("invalid dib in quibtool row ", 0), 0u);
    EXPECT_EQ(handle, nullptr);
}
