#include "_Src/window/convkernel.h"

#include "fuzz/leaks.h"
#include "tests/support/conv_kernels.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/random.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

namespace
{

const std::vector<int32_t> oneToSix{1, 2, 3, 4, 5, 6};

struct Got {
    int32_t nCols = -9;
    int32_t nRows = -9;
    int32_t anchorX = -9;
    int32_t anchorY = -9;
    int32_t nShiftR = -9;
    std::vector<int32_t> values = std::vector<int32_t>(64, -9);
};

Got get(const OwnConvKernel* kernel)
{
    Got got;
    int32_t* values = got.values.data();
    iplGetConvKernel(kernel, &got.nCols, &got.nRows, &got.anchorX, &got.anchorY, &values,
                     &got.nShiftR);
    return got;
}

// Which outputs of a get are null, by their places from nCols on.
void getWithout(const OwnConvKernel* kernel, unsigned nulls, Got* got)
{
    int32_t* values = got->values.data();
    const auto unless = [nulls](int place, auto* out) {
        return nulls >> place & 1 ? nullptr : out;
    };
    iplGetConvKernel(kernel, unless(0, &got->nCols), unless(1, &got->nRows),
                     unless(2, &got->anchorX), unless(3, &got->anchorY), unless(4, &values),
                     unless(5, &got->nShiftR));
}

using Texts = std::vector<std::string>;

Texts textsWithout(const OwnConvKernel* kernel, unsigned nulls)
{
    const RecordedReports reports;
    Got got;
    getWithout(kernel, nulls, &got);
    EXPECT_EQ(got.nShiftR, -9); // nothing was written
    Texts texts;
    for (const Report& report : reports.all()) {
        EXPECT_EQ(report.status, -5);
        EXPECT_EQ(report.functionName, "iplGetConvKernel");
        EXPECT_EQ(report.fileName, "iplcnv2d");
        texts.push_back(report.message);
    }
    return texts;
}

} // namespace

TEST(iplCreateConvKernel, StoresTapsAndAnchorMirrored)
{
    const ConvKernel kernel = makeConvKernel(3, 2, 0, 1, oneToSix, 40);
    EXPECT_EQ(kernel->nCols, 3);
    EXPECT_EQ(kernel->nRows, 2);
    EXPECT_EQ(kernel->anchorX, 2);
    EXPECT_EQ(kernel->anchorY, 0);
    EXPECT_EQ(kernel->nShiftR, 40);
    EXPECT_EQ(std::vector<int32_t>(kernel->values, kernel->values + 6),
              (std::vector<int32_t>{6, 5, 4, 3, 2, 1}));
}

TEST(iplCreateConvKernel, OneTapHasItsAnchorAtNought)
{
    const ConvKernel kernel = makeConvKernel(1, 1, 0, 0, {7}, 0);
    EXPECT_EQ(kernel->anchorX, 0);
    EXPECT_EQ(kernel->anchorY, 0);
    EXPECT_FALSE(ownBadKernel(kernel.get()));
}

TEST(iplCreateConvKernelChar, KeepsSigns)
{
    const int8_t values[] = {-128, -1, 127};
    const ConvKernel kernel(iplCreateConvKernelChar(3, 1, 1, 0, values, -4));
    EXPECT_EQ(std::vector<int32_t>(kernel->values, kernel->values + 3),
              (std::vector<int32_t>{127, -1, -128}));
    EXPECT_EQ(kernel->nShiftR, -4);
}

TEST(iplCreateConvKernel, RefusesInOrder)
{
    const int32_t taps[] = {1, 2, 3, 4};
    struct Case {
        int32_t nCols, nRows, anchorX, anchorY;
        const int32_t* values;
        const char* text;
    };
    const char* const size = "(nRows<=0 || nCols<=0)";
    const char* const anchor = "(anchorX<0 ||anchorY<0 ||nRows<=anchorY || nCols<=anchorX)";
    for (const Case& c :
         {Case{0, 0, -1, -1, nullptr, "(values == 0)"}, Case{0, 2, -1, 0, taps, size},
          Case{2, 0, 0, 5, taps, size}, Case{-1, 2, 0, 0, taps, size},
          Case{2, 2, -1, 0, taps, anchor}, Case{2, 2, 0, -1, taps, anchor},
          Case{2, 2, 2, 0, taps, anchor}, Case{2, 2, 0, 2, taps, anchor}}) {
        const RecordedReports reports;
        EXPECT_EQ(iplCreateConvKernel(c.nCols, c.nRows, c.anchorX, c.anchorY, c.values, 0),
                  nullptr);
        EXPECT_EQ(reports.all(),
                  (std::vector<Report>{{-5, "iplCreateConvKernel", c.text, "iplcnv2d"}}));
    }
    const RecordedReports reports;
    EXPECT_EQ(iplCreateConvKernelChar(1, 1, 0, 0, nullptr, 0), nullptr);
    EXPECT_EQ(reports.all(),
              (std::vector<Report>{{-5, "iplCreateConvKernelChar", "(values == 0)", "iplcnv2d"}}));
}

TEST(iplCreateConvKernel, WithoutMemoryThereIsNone)
{
    const int32_t tap = 1;
    const std::vector<Report> expected{
        {-4, "iplCreateConvKernel", "Allocation failure", "iplcnv2d"}};
    // A record whose taps cannot be had is lost.
    const LeaksAllowed leaks;
    {
        const RecordedReports reports;
        {
            FailingAllocation failure;
            EXPECT_EQ(iplCreateConvKernel(1, 1, 0, 0, &tap, 0), nullptr);
        }
        EXPECT_EQ(reports.all(), expected);
    }
    // Sizes whose product leaves 32 bits, or even wraps to a small one.
    for (const int32_t size : {32768, 65536, INT32_MAX}) {
        const RecordedReports reports;
        EXPECT_EQ(iplCreateConvKernel(size, size, 0, 0, &tap, 0), nullptr);
        EXPECT_EQ(reports.all(), expected);
    }
}

TEST(iplCreateConvKernel, EndsTheProcessForARefusal)
{
    EXPECT_REPORT(iplCreateConvKernel(1, 1, 0, 0, nullptr, 0), -5, "iplCreateConvKernel",
                  "(values == 0)", "iplcnv2d");
}

TEST(iplGetConvKernel, GivesBackWhatWasGiven)
{
    Random random(1);
    for (int i = 0; i < 200; ++i) {
        const int32_t nCols = random.between(1, 8);
        const int32_t nRows = random.between(1, 8);
        const int32_t anchorX = random.between(0, nCols - 1);
        const int32_t anchorY = random.between(0, nRows - 1);
        std::vector<int32_t> values(static_cast<size_t>(nCols * nRows));
        for (int32_t& value : values)
            value = static_cast<int32_t>(random.next());
        const int32_t shift = random.between(-3, 40);
        const ConvKernel kernel = makeConvKernel(nCols, nRows, anchorX, anchorY, values, shift);
        Got got = get(kernel.get());
        EXPECT_EQ(got.nCols, nCols);
        EXPECT_EQ(got.nRows, nRows);
        EXPECT_EQ(got.anchorX, anchorX);
        EXPECT_EQ(got.anchorY, anchorY);
        EXPECT_EQ(got.nShiftR, shift);
        EXPECT_TRUE(values.size() == 64 || got.values[values.size()] == -9);
        got.values.resize(values.size());
        EXPECT_EQ(got.values, values);
    }
}

TEST(iplGetConvKernelChar, GivesLowBytes)
{
    const ConvKernel kernel = makeConvKernel(4, 1, 1, 0, {-1, 300, 128, -32768}, 3);
    int8_t bytes[5] = {9, 9, 9, 9, 9};
    int8_t* values = bytes;
    Got got;
    iplGetConvKernelChar(kernel.get(), &got.nCols, &got.nRows, &got.anchorX, &got.anchorY, &values,
                         &got.nShiftR);
    EXPECT_EQ(std::vector<int>(bytes, bytes + 5), (std::vector<int>{-1, 44, -128, 0, 9}));
    EXPECT_EQ(got.anchorX, 1);
    EXPECT_EQ(got.nShiftR, 3);
}

TEST(iplGetConvKernel, RefusesInOrder)
{
    const ConvKernel kernel = makeConvKernel(2, 2, 0, 1, {1, 2, 3, 4}, 0);
    EXPECT_EQ(textsWithout(nullptr, 63), (Texts{"kernel==0"}));
    OwnConvKernel bad = *kernel;
    bad.anchorX = 2;
    EXPECT_EQ(textsWithout(&bad, 63), (Texts{"ownBadKernel((OwnConvKernel*)kernel)"}));
    EXPECT_EQ(textsWithout(kernel.get(), 63), (Texts{"nRows==0", "nCols==0"}));
    EXPECT_EQ(textsWithout(kernel.get(), 61), (Texts{"nCols==0"}));
    EXPECT_EQ(textsWithout(kernel.get(), 62), (Texts{"nRows==0"}));
    EXPECT_EQ(textsWithout(kernel.get(), 60), (Texts{"anchorX==0", "anchorY==0"}));
    EXPECT_EQ(textsWithout(kernel.get(), 56), (Texts{"anchorY==0"}));
    EXPECT_EQ(textsWithout(kernel.get(), 48), (Texts{"values==0"}));
    EXPECT_EQ(textsWithout(kernel.get(), 32), (Texts{"nShiftR==0"}));
}

TEST(iplGetConvKernel, GivesNothingAfterAnEarlierFailure)
{
    const ConvKernel kernel = makeConvKernel(1, 1, 0, 0, {1}, 0);
    const CleanStatus clean;
    iplSetStatus(-5);
    EXPECT_EQ(get(kernel.get()).nCols, -9);
}

TEST(iplGetConvKernel, ARecordWithoutTapsGivesTheRest)
{
    OwnConvKernel record{2, 3, 0, 2, nullptr, 5};
    const Got got = get(&record);
    EXPECT_EQ(got.nCols, 2);
    EXPECT_EQ(got.nRows, 3);
    EXPECT_EQ(got.anchorX, 1);
    EXPECT_EQ(got.anchorY, 0);
    EXPECT_EQ(got.nShiftR, 5);
    EXPECT_EQ(got.values[0], -9);
}

TEST(iplDeleteConvKernel, RefusesWhatHoldsNoTaps)
{
    EXPECT_REPORT(iplDeleteConvKernel(nullptr), -5, "iplDeleteConvKernel", "kernel==0", "iplcnv2d");
    OwnConvKernel record{1, 1, 0, 0, nullptr, 0};
    EXPECT_REPORT(iplDeleteConvKernel(&record), -5, "iplDeleteConvKernel", "kernel->values==0",
                  "iplcnv2d");
}

TEST(OwnBadKernel, SeesSizesAndAnchors)
{
    EXPECT_FALSE(
        ownBadKernel(std::initializer_list<OwnConvKernel>{{2, 3, 1, 2, nullptr, 0}}.begin()));
    for (const OwnConvKernel& kernel :
         {OwnConvKernel{0, 3, 0, 0, nullptr, 0}, OwnConvKernel{2, 0, 0, 0, nullptr, 0},
          OwnConvKernel{2, 3, -1, 0, nullptr, 0}, OwnConvKernel{2, 3, 0, -1, nullptr, 0},
          OwnConvKernel{2, 3, 2, 0, nullptr, 0}, OwnConvKernel{2, 3, 0, 3, nullptr, 0}})
        EXPECT_TRUE(ownBadKernel(&kernel));
}
