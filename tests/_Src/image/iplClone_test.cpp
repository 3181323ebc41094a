#include "_Src/ipl.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/images.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"
#include "tests/support/tiles.h"

#include <gtest/gtest.h>

TEST(IplCloneImage, RefusesABadImage)
{
    EXPECT_REPORT(iplCloneImage(nullptr), -9, "iplCloneImage", "Incorrect Image", "iplClone");
    const Image image = makeImage(3, 3, 1, IPL_DEPTH_8U);
    image->imageSize = 0;
    EXPECT_REPORT(iplCloneImage(image.get()), -10, "iplCloneImage", "Incorrect Image", "iplClone");
}

TEST(IplCloneImage, CopiesHeaderRegionAndAllBytes)
{
    Random random(1);
    for (const uint32_t depth : allDepths) {
        for (const int32_t order : {0, 1}) {
            const int32_t nChannels = depth == IPL_DEPTH_1U ? 1 : 4;
            const Image image = makeImage(random.between(1, 20), random.between(1, 9), nChannels,
                                          depth, order, 16, nChannels == 4 ? 4 : 0, 1);
            random.fill(image->imageData, static_cast<size_t>(image->imageSize));
            setRoi(image.get(), 1, 2, 3, 400, 500);
            iplSetBorderMode(image.get(), 2, 5, 1);
            image->ID = 17;
            image->imageId = &random;
            const Image clone(iplCloneImage(image.get()));
            ASSERT_NE(clone, nullptr);
            EXPECT_EQ(bytesOf(clone.get()), bytesOf(image.get()));
            EXPECT_NE(clone->imageData, image->imageData);
            EXPECT_NE(clone->imageDataOrigin, image->imageDataOrigin);
            EXPECT_NE(clone->roi, image->roi);
            EXPECT_EQ(std::memcmp(clone->roi, image->roi, sizeof(IplROI)), 0);
            EXPECT_EQ(clone->ID, 0);
            EXPECT_EQ(clone->imageId, nullptr);
            // All else is the source's.
            IplImage expected = *image;
            expected.roi = clone->roi;
            expected.ID = 0;
            expected.imageId = nullptr;
            expected.imageData = clone->imageData;
            expected.imageDataOrigin = clone->imageDataOrigin;
            EXPECT_EQ(std::memcmp(&expected, clone.get(), sizeof expected), 0);
        }
    }
}

TEST(IplCloneImage, DropsTheMask)
{
    Random random(2);
    const Image image = makeImage(5, 5, 1, IPL_DEPTH_8U);
    giveRandomMask(image.get(), 5, 5, random);
    const Image clone(iplCloneImage(image.get()));
    EXPECT_EQ(clone->maskROI, nullptr);
    EXPECT_NE(image->maskROI, nullptr);
}

TEST(IplCloneImage, GivesATiledImagesClonePixelsOfItsOwn)
{
    const Image plain = makeImage(20, 10, 3, IPL_DEPTH_8U);
    TiledImage tiled(plain.get(), 8, 8);
    const Image clone(iplCloneImage(tiled.get()));
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->tileInfo, nullptr);
    EXPECT_NE(clone->imageData, nullptr);
    EXPECT_EQ(clone->widthStep, 60);
    EXPECT_EQ(clone->imageSize, 600);
    EXPECT_TRUE(tiled.log.empty());
    EXPECT_NE(tiled->tileInfo, nullptr);
}

TEST(IplCloneImage, ReportsPixelsThatCouldNotBeAllocated)
{
    // A record that is good by its fields, but whose rows no 32-bit size holds.
    const Image image = makeImage(5, 5, 4, IPL_DEPTH_8U);
    image->width = 65536;
    image->height = 16385;
    EXPECT_REPORT(iplCloneImage(image.get()), -4, "iplAllocateImage", "for allocate image data",
                  "iplalloc");
    const RecordedReports reports;
    EXPECT_EQ(iplCloneImage(image.get()), nullptr);
    EXPECT_EQ(reports.all(),
              (std::vector<Report>{{-4, "iplAllocateImage", "for allocate image data", "iplalloc"},
                                   {-4, "iplCloneImage",
                                    "Not enough memory to allocate imageData for clone image",
                                    "iplClone"}}));
}

TEST(IplCloneImage, ReportsWhatMemoryWasMissingFor)
{
    const Image image = makeImage(5, 5, 3, IPL_DEPTH_8U);
    setRoi(image.get(), 1, 2, 3, 4, 5);
    const auto reportsWithout = [&](int32_t allocation) {
        const RecordedReports reports;
        const FailingAllocation failing(allocation);
        EXPECT_EQ(iplCloneImage(image.get()), nullptr);
        return reports.all();
    };
    const auto missing = [](const char* what) {
        return Report{-4, "iplCloneImage",
                      std::string("Not enough memory to allocate ") + what + " for clone image",
                      "iplClone"};
    };
    EXPECT_EQ(reportsWithout(0), (std::vector<Report>{missing("header")}));
    EXPECT_EQ(reportsWithout(1), (std::vector<Report>{missing("roi")}));
    EXPECT_EQ(reportsWithout(2),
              (std::vector<Report>{
                  {-4, "iplAllocateImage", "for allocate image data", "iplalloc"},
                  missing("imageData"),
              }));
    EXPECT_EQ(image->roi->height, 5);
}

TEST(IplCloneImage, StaysInsideItsOwnBlockWhenARecordClaimsMore)
{
    Random random(3);
    const Image image = makeImage(64, 8, 1, IPL_DEPTH_8U);
    randomise(image.get(), random);
    image->width = 3;
    const Image clone(iplCloneImage(image.get()));
    EXPECT_EQ(clone->imageSize, 32);
    EXPECT_EQ(std::memcmp(clone->imageData, image->imageData, 32), 0);
}

TEST(IplCloneImage, LooksAtNoOldStatus)
{
    const CleanStatus clean;
    const Image image = makeImage(2, 2, 1, IPL_DEPTH_8U);
    EXPECT_EQ(iplCheckImage(nullptr), -9);
    const Image clone(iplCloneImage(image.get()));
    EXPECT_NE(clone, nullptr);
    EXPECT_EQ(iplGetStatus(), -9);
}

TEST(OwnCloneForResult, CopiesTheHeaderAndThePaddingOfTheRows)
{
    Random random(5);
    for (const int32_t order : {IPL_DATA_ORDER_PIXEL, IPL_DATA_ORDER_PLANE}) {
        const Image image = makeImage(5, 3, 3, IPL_DEPTH_16S, order, 8);
        randomise(image.get(), random);
        setRoi(image.get(), 1, 2, 1, 2, 1);
        const Image clone(ownCloneForResult(image.get()));
        ASSERT_NE(clone, nullptr);
        EXPECT_NE(clone->imageData, image->imageData);
        EXPECT_EQ(clone->imageSize, image->imageSize);
        EXPECT_EQ(clone->roi->xOffset, 2);
        const int32_t pixelBytes = order == IPL_DATA_ORDER_PLANE ? 10 : 30;
        for (int32_t at = 0; at < image->imageSize; ++at) {
            if (at % image->widthStep >= pixelBytes) {
                EXPECT_EQ(clone->imageData[at], image->imageData[at]) << at;
            }
        }
    }
}

TEST(OwnCloneForResult, CopiesTheBytesThatBitsShareWithPadding)
{
    const Image image = makeImage(11, 2, 1, IPL_DEPTH_1U);
    std::memset(image->imageData, 0x5A, image->imageSize);
    const Image clone(ownCloneForResult(image.get()));
    for (const int32_t at : {1, 2, 3, 5, 6, 7})
        EXPECT_EQ(clone->imageData[at], 0x5A) << at;
}

TEST(OwnCloneForResult, CopiesAllOfARecordWithSizesOfItsOwn)
{
    Random random(6);
    const Image image = makeImage(64, 8, 1, IPL_DEPTH_8U);
    randomise(image.get(), random);
    image->width = 3;
    const Image clone(ownCloneForResult(image.get()));
    EXPECT_EQ(clone->imageSize, 32);
    EXPECT_EQ(std::memcmp(clone->imageData, image->imageData, 32), 0);
}

TEST(OwnCloneForResult, ReportsAsTheCloneDoes)
{
    const Image image = makeImage(5, 5, 4, IPL_DEPTH_8U);
    image->nChannels = 0;
    EXPECT_REPORT(ownCloneForResult(image.get()), -15, "iplCloneImage", "Incorrect Image",
                  "iplClone");
}

TEST(OwnCloneForResult, GivesNullForABadImageAsTheCloneDoes)
{
    const Image image = makeImage(5, 5, 4, IPL_DEPTH_8U);
    image->nChannels = 0;
    const RecordedReports reports;
    EXPECT_EQ(iplCloneImage(image.get()), nullptr);
    EXPECT_EQ(ownCloneForResult(image.get()), nullptr);
    const std::vector<Report> told(2, {-15, "iplCloneImage", "Incorrect Image", "iplClone"});
    EXPECT_EQ(reports.all(), told);
}
