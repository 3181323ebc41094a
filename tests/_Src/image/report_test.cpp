#include "_Src/image/report.h"

#include "tests/support/images.h"
#include "tests/support/recorded_reports.h"

#include <gtest/gtest.h>

TEST(OwnImageIsGood, ReportsTheStatusThatTheCheckLeft)
{
    const RecordedReports reports;
    const Image image = makeImage(2, 2, 1, IPL_DEPTH_8U);
    EXPECT_TRUE(ownImageIsGood({"f", "file"}, image.get()));
    image->align = 2;
    EXPECT_FALSE(ownImageIsGood({"f", "file"}, image.get()));
    EXPECT_FALSE(ownImageIsGood({"f", "file"}, nullptr));
    EXPECT_EQ(reports.all(), (std::vector<Report>{{-21, "f", "Incorrect Image", "file"},
                                                  {-9, "f", "Incorrect Image", "file"}}));
}

TEST(OwnBackTrace, ReportsANegativeStatusAlone)
{
    const RecordedReports reports;
    EXPECT_FALSE(ownBackTrace({"f", "file"}));
    iplSetStatus(3);
    EXPECT_FALSE(ownBackTrace({"f", "file"}));
    iplSetStatus(-10);
    EXPECT_TRUE(ownBackTrace({"f", "file"}));
    EXPECT_EQ(reports.all(), (std::vector<Report>{{-1, "f", "", "file"}}));
    EXPECT_EQ(iplGetStatus(), -10);
}
