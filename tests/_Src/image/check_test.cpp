#include "_Src/image/check.h"

#include "tests/support/images.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

namespace
{

void noTilesToCheck(const IplImage*, int32_t, int32_t, int32_t) {}

class IplCheckImage : public testing::Test
{
protected:
    // The status of the image with the change, from a clean status word, and
    // that the word holds it.
    template<class Change>
    int32_t with(Change change)
    {
        iplSetStatus(0);
        change(*image);
        const int32_t status = iplCheckImage(image.get());
        EXPECT_EQ(iplGetStatus(), status);
        EXPECT_TRUE(reports.all().empty());
        return status;
    }

    IplTileInfo tiles{noTilesToCheck, nullptr, nullptr, 8, 16};
    IplROI roi{0, 0, 0, 1, 1};
    Image image = makeImage(6, 5, 3, IPL_DEPTH_8U);
    char* const data = image->imageData;
    Image mask = makeImage(6, 5, 1, IPL_DEPTH_1U);
    RecordedReports reports;

    void TearDown() override
    {
        image->imageData = data;
        image->tileInfo = nullptr;
        image->roi = nullptr;
        image->maskROI = nullptr;
        mask->tileInfo = nullptr;
        mask->roi = nullptr;
        mask->maskROI = nullptr;
    }
};

} // namespace

TEST_F(IplCheckImage, PassesAGoodImageAndLeavesTheStatusWord)
{
    iplSetStatus(-29);
    EXPECT_EQ(iplCheckImage(image.get()), 0);
    EXPECT_EQ(iplGetStatus(), -29);
}

TEST_F(IplCheckImage, RefusesNull)
{
    EXPECT_EQ(iplCheckImage(nullptr), -9);
    EXPECT_EQ(iplGetStatus(), -9);
    EXPECT_TRUE(reports.all().empty());
}

TEST_F(IplCheckImage, WantsEitherPixelsOrTiles)
{
    EXPECT_EQ(with([](IplImage& i) { i.imageData = nullptr; }), -12);
    EXPECT_EQ(with([&](IplImage& i) { i.tileInfo = &tiles; }), 0);
    EXPECT_EQ(with([&](IplImage& i) { i.imageData = data; }), -12);
}

TEST_F(IplCheckImage, RefusesSizesBelowOneOfAnImageWithPixels)
{
    EXPECT_EQ(with([](IplImage& i) { i.widthStep = 0; }), -13);
    EXPECT_EQ(with([](IplImage& i) { i.imageSize = 0; }), -10);
    EXPECT_EQ(with([](IplImage& i) { i.imageSize = -4; }), -10);
    EXPECT_EQ(with([](IplImage& i) {
                  i.imageSize = 1;
                  i.widthStep = -8;
              }),
              -13);
}

TEST_F(IplCheckImage, DoesNotLookAtTheSizesOfATiledImage)
{
    EXPECT_EQ(with([&](IplImage& i) {
                  i.imageData = nullptr;
                  i.tileInfo = &tiles;
                  i.imageSize = 0;
                  i.widthStep = 0;
              }),
              0);
}

TEST_F(IplCheckImage, RunsTheHeaderFieldCheckInItsOrder)
{
    image->height = 0;
    image->nChannels = 0;
    image->depth = 5;
    image->alphaChannel = 9;
    image->dataOrder = 9;
    image->origin = 9;
    image->align = 9;
    image->maskROI = mask.get();
    mask->depth = IPL_DEPTH_8U;
    EXPECT_EQ(with([](IplImage&) {}), -10);
    EXPECT_EQ(with([](IplImage& i) { i.height = 5; }), -15);
    EXPECT_EQ(with([](IplImage& i) { i.nChannels = 3; }), -17);
    EXPECT_EQ(with([](IplImage& i) { i.depth = IPL_DEPTH_1U; }), -16);
    EXPECT_EQ(with([](IplImage& i) { i.depth = IPL_DEPTH_16S; }), -18);
    EXPECT_EQ(with([](IplImage& i) { i.alphaChannel = 0; }), -19);
    EXPECT_EQ(with([](IplImage& i) { i.dataOrder = 1; }), -20);
    EXPECT_EQ(with([](IplImage& i) { i.origin = 1; }), -21);
    EXPECT_EQ(with([](IplImage& i) { i.align = 32; }), -117);
    EXPECT_EQ(with([&](IplImage&) { mask->depth = IPL_DEPTH_1U; }), 0);
}

TEST_F(IplCheckImage, GivesTheMasksOwnStatusLessAHundred)
{
    image->maskROI = mask.get();
    const auto maskWith = [&](auto change) { return with([&](IplImage&) { change(*mask); }); };
    EXPECT_EQ(maskWith([](IplImage& m) { m.width = 0; }), -110);
    EXPECT_EQ(maskWith([](IplImage& m) { m.width = 6; }), 0);
    EXPECT_EQ(maskWith([](IplImage& m) { m.widthStep = 0; }), -113);
    EXPECT_EQ(maskWith([](IplImage& m) { m.widthStep = 4; }), 0);
    EXPECT_EQ(maskWith([](IplImage& m) { m.nChannels = 0; }), -115);
    // The mask's own -16: no text has that number.
    EXPECT_EQ(maskWith([](IplImage& m) { m.nChannels = 2; }), -116);
    EXPECT_EQ(maskWith([](IplImage& m) { m.nChannels = 1; }), 0);
    EXPECT_EQ(maskWith([](IplImage& m) { m.origin = 3; }), -120);
    EXPECT_EQ(maskWith([](IplImage& m) { m.origin = 1; }), 0);
    roi = {2, 0, 0, 1, 1};
    EXPECT_EQ(maskWith([&](IplImage& m) { m.roi = &roi; }), -124);
    roi = {1, 0, 0, 0, 1};
    EXPECT_EQ(maskWith([](IplImage&) {}), -125);
    roi = {1, -1, 0, 1, 1};
    EXPECT_EQ(maskWith([](IplImage&) {}), -111);
}

TEST_F(IplCheckImage, RefusesATiledMaskAndANestedMasksFailure)
{
    image->maskROI = mask.get();
    EXPECT_EQ(with([&](IplImage&) { mask->tileInfo = &tiles; }), -26);
    mask->tileInfo = nullptr;
    const Image inner = makeImage(3, 3, 1, IPL_DEPTH_1U);
    mask->maskROI = inner.get();
    EXPECT_EQ(with([&](IplImage&) { inner->align = 0; }), -221);
    EXPECT_EQ(with([&](IplImage&) { inner->depth = 8; }), -217);
    inner->depth = 1;
    EXPECT_EQ(with([&](IplImage&) { inner->tileInfo = &tiles; }), -126);
    inner->tileInfo = nullptr;
}

TEST_F(IplCheckImage, ChecksTheTilesBeforeTheRegion)
{
    image->imageData = nullptr;
    image->tileInfo = &tiles;
    image->roi = &roi;
    roi.coi = -1;
    tiles = {nullptr, nullptr, nullptr, 0, 0};
    EXPECT_EQ(with([](IplImage&) {}), -22);
    tiles.callBack = noTilesToCheck;
    const auto tileSize = [&](int32_t width, int32_t height) {
        tiles.width = width;
        tiles.height = height;
        return with([](IplImage&) {});
    };
    EXPECT_EQ(tileSize(0, 8), -23);
    EXPECT_EQ(tileSize(8, 0), -23);
    EXPECT_EQ(tileSize(-8, 8), -23);
    EXPECT_EQ(tileSize(12, 8), -23);
    EXPECT_EQ(tileSize(8, 12), -23);
    EXPECT_EQ(tileSize(8, 24), -24);
}

TEST_F(IplCheckImage, ChecksTheRegionsChannelThenSizeThenOffset)
{
    image->roi = &roi;
    const auto region = [&](IplROI values) {
        roi = values;
        return with([](IplImage&) {});
    };
    EXPECT_EQ(region({-1, -1, -1, 0, 0}), -24);
    EXPECT_EQ(region({4, -1, -1, 0, 0}), -24);
    EXPECT_EQ(region({3, -1, -1, 0, 1}), -25);
    EXPECT_EQ(region({0, -1, -1, 1, 0}), -25);
    EXPECT_EQ(region({0, -1, 0, 1, 1}), -11);
    EXPECT_EQ(region({0, 0, -1, 1, 1}), -11);
    EXPECT_EQ(region({3, 0, 0, 1, 1}), 0);
}

TEST_F(IplCheckImage, LetsARegionRunPastTheImage)
{
    image->roi = &roi;
    roi = {0, 1000, 1000, INT32_MAX, INT32_MAX};
    EXPECT_EQ(iplCheckImage(image.get()), 0);
}

TEST(OwnClampToDepth, KeepsValuesOfOtherDepthsAsGiven)
{
    EXPECT_EQ(ownClampToDepth(IPL_DEPTH_8S, 128), 127);
    EXPECT_EQ(ownClampToDepth(IPL_DEPTH_8S, -129), -128);
    EXPECT_EQ(ownClampToDepth(IPL_DEPTH_16S, 40000), 32767);
    EXPECT_EQ(ownClampToDepth(IPL_DEPTH_32S, INT32_MIN), INT32_MIN);
    EXPECT_EQ(ownClampToDepth(7, 1000), 1000);
}
