#include "quibtool/quibtool.h"

#include "tests/support/images.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

TEST(QuibConvKernel, GoesThereAndBack)
{
    const int32_t taps[] = {1, -2, 70000, 4, 5, 6};
    OwnConvKernel* kernel = nullptr;
    ASSERT_EQ(QuibCreateConvKernel(&kernel, 3, 2, 2, 0, taps, 7), QUIB_OK);
    int32_t got[5] = {};
    int32_t values[6] = {};
    int32_t* out = values;
    EXPECT_EQ(QuibGetConvKernel(kernel, &got[0], &got[1], &got[2], &got[3], &out, &got[4]),
              QUIB_OK);
    EXPECT_EQ(std::vector<int32_t>(got, got + 5), (std::vector<int32_t>{3, 2, 2, 0, 7}));
    EXPECT_EQ(std::vector<int32_t>(values, values + 6), std::vector<int32_t>(taps, taps + 6));
    EXPECT_EQ(QuibDeleteConvKernel(kernel), QUIB_OK);
}

TEST(QuibConvKernel, OfBytesGoesThereAndBack)
{
    const int8_t taps[] = {-128, 127};
    OwnConvKernel* kernel = nullptr;
    ASSERT_EQ(QuibCreateConvKernelChar(&kernel, 1, 2, 0, 1, taps, 0), QUIB_OK);
    int32_t got[5] = {};
    int8_t values[2] = {};
    int8_t* out = values;
    EXPECT_EQ(QuibGetConvKernelChar(kernel, &got[0], &got[1], &got[2], &got[3], &out, &got[4]),
              QUIB_OK);
    EXPECT_EQ(std::vector<int32_t>(got, got + 5), (std::vector<int32_t>{1, 2, 0, 1, 0}));
    EXPECT_EQ(values[0], -128);
    EXPECT_EQ(values[1], 127);
    EXPECT_EQ(QuibDeleteConvKernel(kernel), QUIB_OK);
}

TEST(QuibConvKernel, RefusesNulls)
{
    const int32_t tap = 1;
    const int8_t byteTap = 1;
    OwnConvKernel* kernel = nullptr;
    EXPECT_EQ(QuibCreateConvKernel(nullptr, 1, 1, 0, 0, &tap, 0), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibCreateConvKernel(&kernel, 1, 1, 0, 0, nullptr, 0), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibCreateConvKernelChar(nullptr, 1, 1, 0, 0, &byteTap, 0), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibCreateConvKernelChar(&kernel, 1, 1, 0, 0, nullptr, 0), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibDeleteConvKernel(nullptr), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(kernel, nullptr);
}

TEST(QuibConvKernel, EndsTheProcessForAnEngineRefusal)
{
    const int32_t tap = 1;
    OwnConvKernel* kernel = nullptr;
    EXPECT_REPORT(QuibCreateConvKernel(&kernel, 0, 1, 0, 0, &tap, 0), -5, "iplCreateConvKernel",
                  "(nRows<=0 || nCols<=0)", "iplcnv2d");
    EXPECT_REPORT(QuibGetConvKernel(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
                  -5, "iplGetConvKernel", "kernel==0", "iplcnv2d");
}

TEST(QuibConvKernel, GivesAFailureWhenReportsComeBack)
{
    const ReportsReturn returning;
    const int32_t tap = 1;
    OwnConvKernel* kernel = reinterpret_cast<OwnConvKernel*>(&kernel);
    EXPECT_EQ(QuibCreateConvKernel(&kernel, 0, 1, 0, 0, &tap, 0), QUIB_FAILED);
    EXPECT_EQ(kernel, nullptr);
    iplSetStatus(0);
    EXPECT_EQ(QuibGetConvKernel(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              QUIB_OK);
}
