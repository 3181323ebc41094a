#include "_Src/ipl.h"

#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>

namespace
{

const std::map<int32_t, std::string> texts = {
    {0, "No Error"},
    {-1, "Backtrace"},
    {-3, "Internal error (bad state)"},
    {-4, "Insufficient memory"},
    {-5, "Bad argument"},
    {-6, "Unsupported function"},
    {-7, "Iteration convergence failed"},
    {-8, "Autotrace call"},
    {-9, "Null pointer to an image header"},
    {-10, "Incorrect image size"},
    {-11, "Incorrect offset of ROI of the image"},
    {-12, "Image must be tiled or must have nonzero data pointer"},
    {-13, "Incorrect widthStep of the image"},
    {-14, "Incorrect Color model or channel sequence of the image"},
    {-15, "Incorrect number of channels in the image"},
    {-16, "Number of channels for 1U depth image must be one"},
    {-17, "Incorrect depth value in the image header"},
    {-18, "Incorrect alpha channel number in the image header"},
    {-19, "Incorrect data order value in the image header"},
    {-20, "Incorrect data origin value in the image header"},
    {-21, "Incorrect data alignment value in the image header"},
    {-22, "Null pointer to callback function"},
    {-23, "Incorrect size of the tile"},
    {-24, "Incorrect COI of the image"},
    {-25, "Incorrect size of ROI in the image header"},
    {-26, "Mask image is taled"},
    {-27, "Null pointer"},
    {-28, "Incorrect vector length"},
    {-29, "Incorrect filter structure content"},
    {-30, "Incorrect transform kernel content"},
    {-31, "Incorrect filter ofset value"},
    {-110, "Mask. Incorrect image size"},
    {-111, "Mask. Incorrect offset of ROI of the image"},
    {-112, "Mask. Image must be tiled or must have nonzero data pointer"},
    {-113, "Mask. Incorrect widthStep of the image"},
    {-114, "Mask. Incorrect Color model or channel sequence of the image"},
    {-115, "Mask. Incorrect number of channels in the image"},
    {-117, "Mask. Incorrect depth value in the image header"},
    {-118, "Mask. Incorrect alpha channel number in the image header"},
    {-119, "Mask. Incorrect data order value in the image header"},
    {-120, "Mask. Incorrect data origin value in the image header"},
    {-121, "Mask. Incorrect data alignment value in the image header"},
    {-124, "Mask. Incorrect COI of the image"},
    {-125, "Mask. Incorrect size of ROI in the image header"},
};

const IplErrorState stateAtStart = iplErrorState;

std::string textOf(int32_t status)
{
    const auto found = texts.find(status);
    return found == texts.end() ? "Unknown error or status code" : found->second;
}

} // namespace

TEST(IplStatusText, GivesTheTextOfEveryStatus)
{
    for (int32_t status = -400; status <= 400; ++status)
        EXPECT_EQ(iplStatusText(status), textOf(status)) << status;
    EXPECT_EQ(iplStatusText(INT32_MIN), textOf(1));
    EXPECT_EQ(iplStatusText(INT32_MAX), textOf(1));
}

TEST(IplStatusText, StoresEachMaskTextOnce)
{
    EXPECT_EQ(iplStatusText(-25), iplStatusText(-125) + 6);
    EXPECT_EQ(iplStatusText(-10), iplStatusText(-110) + 6);
}

TEST(IplErrorState, StartsCleanWithTheDefaultHandler)
{
    EXPECT_EQ(stateAtStart.status, 0);
    EXPECT_EQ(stateAtStart.mode, 0);
    EXPECT_EQ(stateAtStart.handler, iplDefaultErrorHandler);
}

TEST(IplError, ClearsTheStatusForZeroWithoutCallingTheHandler)
{
    const RecordedReports reports;
    iplSetStatus(-10);
    EXPECT_EQ(iplError(0, "f", "m", "file", 1), 0);
    EXPECT_EQ(iplGetStatus(), 0);
    EXPECT_TRUE(reports.all().empty());
}

TEST(IplError, RecordsTheStatusAndCallsTheHandler)
{
    const RecordedReports reports;
    EXPECT_EQ(iplError(-5, "iplName", "( text )", "iplfile", 3), -5);
    EXPECT_EQ(iplGetStatus(), -5);
    EXPECT_EQ(reports.all(), (std::vector<Report>{{-5, "iplName", "( text )", "iplfile"}}));
}

TEST(IplError, KeepsTheFirstStatusThroughBackTraces)
{
    const RecordedReports reports;
    iplSetStatus(-10);
    EXPECT_EQ(iplError(-1, "f", "", "file", 1), -1);
    EXPECT_EQ(iplGetStatus(), -10);
    EXPECT_EQ(iplError(-8, "f", "", "file", 1), -8);
    EXPECT_EQ(iplGetStatus(), -10);
    EXPECT_EQ(reports.all().size(), 2u);
}

TEST(IplError, EndsTheProcessForAnyStatusButZero)
{
    EXPECT_REPORT(iplError(-5, "f", "m", "file", 1), -5, "f", "m", "file");
    EXPECT_REPORT(iplError(-1, "f", "", "file", 1), -1, "f", "", "file");
    EXPECT_REPORT(iplError(-8, "f", "", "file", 1), -8, "f", "", "file");
    EXPECT_REPORT(iplError(7, "f", "m", "file", 1), 7, "f", "m", "file");
}

TEST(IplError, RunsTheExitFunctions)
{
    EXPECT_EXIT(
        {
            std::atexit([] { std::fprintf(stderr, "the exit function ran"); });
            iplError(-5, "f", "m", "file", 1);
        },
        testing::ExitedWithCode(1), "the exit function ran");
}

TEST(IplError, SaysNothingItself)
{
    EXPECT_EXIT(iplError(-5, "f", "m", "file", 1), testing::ExitedWithCode(1), "^$");
}

TEST(IplDefaultErrorHandler, GivesTheStatusBackInAnotherMode)
{
    const ReportsReturn reportsReturn;
    EXPECT_EQ(iplGetErrorMode(), 1);
    EXPECT_EQ(iplDefaultErrorHandler(-77, "f", "m", "file", 1), -77);
    EXPECT_EQ(iplGetStatus(), 0);
}

TEST(IplDefaultErrorHandler, EndsTheProcessInModeZero)
{
    EXPECT_EXIT(iplDefaultErrorHandler(0, "f", "m", "file", 1), testing::ExitedWithCode(1), "");
}
