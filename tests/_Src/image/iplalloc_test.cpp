#include "_Src/ipl.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/images.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

void noTiles(const IplImage*, int32_t, int32_t, int32_t) {}

// The arguments of iplCreateImageHeader, good ones unless changed.
struct Header {
    int32_t nChannels = 3;
    int32_t alphaChannel = 0;
    uint32_t depth = IPL_DEPTH_8U;
    const char* colorModel = "RGB";
    const char* channelSeq = "BGR";
    int32_t dataOrder = IPL_DATA_ORDER_PIXEL;
    int32_t origin = IPL_ORIGIN_TL;
    int32_t align = 4;
    int32_t width = 7;
    int32_t height = 5;
    IplROI* roi = nullptr;
    IplImage* maskROI = nullptr;
    void* imageId = nullptr;
    IplTileInfo* tileInfo = nullptr;

    IplImage* make() const
    {
        return iplCreateImageHeader(nChannels, alphaChannel, depth, colorModel, channelSeq,
                                    dataOrder, origin, align, width, height, roi, maskROI, imageId,
                                    tileInfo);
    }
};

Header oneBit(int32_t width, int32_t height)
{
    Header header;
    header.nChannels = 1;
    header.depth = IPL_DEPTH_1U;
    header.colorModel = "GRAY";
    header.channelSeq = "GRAY";
    header.width = width;
    header.height = height;
    return header;
}

int32_t pitchOf(int32_t width, int32_t nChannels, uint32_t depth, int32_t align, int32_t dataOrder)
{
    Header header;
    header.width = width;
    header.nChannels = nChannels;
    header.depth = depth;
    header.align = align;
    header.dataOrder = dataOrder;
    const Image image(header.make());
    return image->widthStep;
}

uint32_t wordAt(const IplImage* image, int32_t index)
{
    uint32_t word = 0;
    std::memcpy(&word, image->imageData + index * 4, 4);
    return word;
}

// The word that fills the whole block of an image of this depth.
uint32_t fillWordOf(uint32_t depth, int32_t fillValue)
{
    Header header = oneBit(33, 3);
    header.depth = depth;
    const Image image(header.make());
    iplAllocateImage(image.get(), 1, fillValue);
    const uint32_t word = wordAt(image.get(), 0);
    for (int32_t i = 0; i < image->imageSize / 4; ++i)
        EXPECT_EQ(wordAt(image.get(), i), word);
    return word;
}

} // namespace

// --- Aligned blocks -----------------------------------------------------------------

TEST(IplAlignedMalloc, GivesNothingForCountsBelowOne)
{
    for (const int32_t count : {0, -1, INT32_MIN}) {
        EXPECT_EQ(iplAlignedMalloc(count), nullptr);
        EXPECT_EQ(iplAlignedMalloc16(count), nullptr);
        EXPECT_EQ(iplAlignedMalloc32(count), nullptr);
    }
}

TEST(IplAlignedMalloc, KeepsTheTrueStartInTheWordBelowTheBlock)
{
    for (int32_t count = 1; count < 200; ++count) {
        void* blocks[] = {iplAlignedMalloc(count), iplAlignedMalloc16(count),
                          iplAlignedMalloc32(count)};
        size_t unit = 1;
        for (void* block : blocks) {
            ASSERT_NE(block, nullptr);
            const uintptr_t address = reinterpret_cast<uintptr_t>(block);
            const uintptr_t start = reinterpret_cast<uintptr_t>(static_cast<void**>(block)[-1]);
            EXPECT_EQ(address % 32, 0u);
            EXPECT_GE(address - start, sizeof(void*));
            EXPECT_LE(address - start, 31 + sizeof(void*));
            std::memset(block, 0xCC, static_cast<size_t>(count) * unit);
            unit *= 2;
            iplAlignedFree(block);
        }
    }
}

TEST(IplAlignedMalloc, NeverGivesABlockSmallerThanAsked)
{
    // Four times this count is 4 GiB and a little.
    constexpr int32_t count = 0x40000010;
    uint32_t* block = static_cast<uint32_t*>(iplAlignedMalloc32(count));
    if (block)
        block[count - 1] = 1;
    else
        SUCCEED() << "no memory for it";
    iplAlignedFree(block);
}

TEST(IplAlignedMalloc, GivesNothingWhenMemoryRunsOut)
{
    for (void* (*allocate)(int32_t) : {iplAlignedMalloc, iplAlignedMalloc16, iplAlignedMalloc32}) {
        const FailingAllocation failing;
        EXPECT_EQ(allocate(8), nullptr);
        EXPECT_EQ(failing.asked(), 1);
        EXPECT_EQ(allocate(0), nullptr);
        EXPECT_EQ(allocate(-1), nullptr);
        EXPECT_EQ(failing.asked(), 1) << "counts below one do not reach the heap";
    }
}

TEST(IplAlignedFree, IgnoresNull)
{
    iplAlignedFree(nullptr);
}

// --- Headers -------------------------------------------------------------------------

TEST(IplCreateImageHeader, FillsTheRecordInItsToldOrder)
{
    int32_t id = 0;
    Header header;
    header.nChannels = 4;
    header.alphaChannel = 4;
    header.depth = IPL_DEPTH_16S;
    header.colorModel = "RGBA";
    header.channelSeq = "BGRA";
    header.dataOrder = IPL_DATA_ORDER_PLANE;
    header.origin = IPL_ORIGIN_BL;
    header.align = 16;
    header.roi = iplCreateROI(2, 1, 1, 3, 3);
    header.maskROI = makeImage(7, 5, 1, IPL_DEPTH_1U).release();
    header.imageId = &id;
    header.tileInfo = iplCreateTileInfo(noTiles, nullptr, 8, 8);
    const Image image(header.make());
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(image.get()) % 32, 0u);
    EXPECT_EQ(image->nSize, static_cast<int32_t>(sizeof(IplImage)));
    EXPECT_EQ(image->ID, 0);
    EXPECT_EQ(image->nChannels, 4);
    EXPECT_EQ(image->alphaChannel, 4);
    EXPECT_EQ(image->depth, IPL_DEPTH_16S);
    EXPECT_EQ(std::memcmp(image->colorModel, "RGBA", 4), 0);
    EXPECT_EQ(std::memcmp(image->channelSeq, "BGRA", 4), 0);
    EXPECT_EQ(image->dataOrder, IPL_DATA_ORDER_PLANE);
    EXPECT_EQ(image->origin, IPL_ORIGIN_BL);
    EXPECT_EQ(image->align, 16);
    EXPECT_EQ(image->width, 7);
    EXPECT_EQ(image->height, 5);
    EXPECT_EQ(image->roi, header.roi);
    EXPECT_EQ(image->maskROI, header.maskROI);
    EXPECT_EQ(image->imageId, &id);
    EXPECT_EQ(image->tileInfo, header.tileInfo);
    EXPECT_EQ(image->imageSize, 16 * 5 * 4);
    EXPECT_EQ(image->imageData, nullptr);
    EXPECT_EQ(image->widthStep, 16);
    for (int32_t side = 0; side < 4; ++side) {
        EXPECT_EQ(image->BorderMode[side], 0);
        EXPECT_EQ(image->BorderConst[side], 0);
    }
    EXPECT_EQ(image->imageDataOrigin, nullptr);
}

TEST(IplCreateImageHeader, MakesARecordOfThePlatformsSize)
{
    EXPECT_EQ(sizeof(IplImage), sizeof(void*) == 4 ? 112u : 144u);
    EXPECT_EQ(offsetof(IplImage, nChannels), 8u);
    EXPECT_EQ(offsetof(IplImage, width), 40u);
    EXPECT_EQ(offsetof(IplImage, roi), 48u);
    EXPECT_EQ(sizeof(IplROI), 20u);
}

TEST(IplCreateImageHeader, CopiesFourBytesOfTheTexts)
{
    const Image image(Header().make());
    EXPECT_EQ(std::memcmp(image->colorModel, "RGB", 4), 0);
    EXPECT_EQ(std::memcmp(image->channelSeq, "BGR", 4), 0);
}

TEST(IplCreateImageHeader, RoundsTheRowPitchUpToTheAlignment)
{
    EXPECT_EQ(pitchOf(1, 1, IPL_DEPTH_1U, 4, 0), 4);
    EXPECT_EQ(pitchOf(32, 1, IPL_DEPTH_1U, 4, 0), 4);
    EXPECT_EQ(pitchOf(33, 1, IPL_DEPTH_1U, 4, 0), 8);
    EXPECT_EQ(pitchOf(1, 3, IPL_DEPTH_8U, 4, 0), 4);
    EXPECT_EQ(pitchOf(5, 3, IPL_DEPTH_8U, 4, 0), 16);
    EXPECT_EQ(pitchOf(5, 3, IPL_DEPTH_8U, 4, 1), 8);
    EXPECT_EQ(pitchOf(5, 3, IPL_DEPTH_8U, 32, 0), 32);
    EXPECT_EQ(pitchOf(3, 3, IPL_DEPTH_16S, 8, 0), 24);
    EXPECT_EQ(pitchOf(3, 3, IPL_DEPTH_32F, 16, 0), 48);
    EXPECT_EQ(pitchOf(3, 3, IPL_DEPTH_32S, 16, 1), 16);
}

TEST(IplCreateImageHeader, CountsEveryPlaneInTheImageSize)
{
    Header header;
    header.dataOrder = IPL_DATA_ORDER_PLANE;
    header.width = 4;
    header.height = 2;
    const Image image(header.make());
    EXPECT_EQ(image->widthStep, 4);
    EXPECT_EQ(image->imageSize, 24);
}

TEST(IplCreateImageHeader, LetsThe32BitSizesWrap)
{
    Header header;
    header.nChannels = 4;
    header.width = 65536;
    header.height = 16384;
    const Image zero(header.make());
    EXPECT_EQ(zero->widthStep, 262144);
    EXPECT_EQ(zero->imageSize, 0);
    header.height = 8192;
    const Image negative(header.make());
    EXPECT_EQ(negative->imageSize, INT32_MIN);
    header.width = 1 << 27;
    const Image noPitch(header.make());
    EXPECT_EQ(noPitch->widthStep, 0);
}

TEST(IplCreateImageHeader, GivesNullWithoutAReportWhenMemoryRunsOut)
{
    const RecordedReports reports;
    const FailingAllocation failing;
    EXPECT_EQ(Header().make(), nullptr);
    EXPECT_EQ(failing.asked(), 1);
    EXPECT_TRUE(reports.all().empty());
    EXPECT_EQ(iplGetStatus(), 0);
}

TEST(IplCreateImageHeader, RefusesEachBadFieldWithItsStatus)
{
    const auto refused = [](int32_t status, void (*change)(Header&)) {
        Header header;
        change(header);
        EXPECT_REPORT(header.make(), status, "iplCreateImageHeader", "Incorrect data-ins",
                      "iplalloc");
    };
    refused(-10, [](Header& h) { h.height = 0; });
    refused(-10, [](Header& h) { h.width = -1; });
    refused(-15, [](Header& h) { h.nChannels = 0; });
    refused(-16, [](Header& h) { h.depth = IPL_DEPTH_1U; });
    refused(-14, [](Header& h) { h.colorModel = nullptr; });
    refused(-14, [](Header& h) { h.channelSeq = nullptr; });
    refused(-17, [](Header& h) { h.depth = 12; });
    refused(-17, [](Header& h) { h.depth = IPL_DEPTH_SIGN | 1; });
    refused(-18, [](Header& h) { h.alphaChannel = 2; });
    refused(-19, [](Header& h) { h.dataOrder = 2; });
    refused(-20, [](Header& h) { h.origin = -1; });
    refused(-21, [](Header& h) { h.align = 64; });
    refused(-21, [](Header& h) { h.align = 1; });
}

TEST(IplCreateImageHeader, TestsTheFieldsInTheirOrder)
{
    Header header;
    header.nChannels = 3;
    header.alphaChannel = 9;
    header.depth = IPL_DEPTH_1U;
    header.colorModel = nullptr;
    header.dataOrder = 9;
    header.origin = 9;
    header.align = 9;
    header.width = 0;
    const Image mask = makeImage(3, 3, 1, IPL_DEPTH_8U);
    header.maskROI = mask.get();
    RecordedReports reports;
    const auto status = [&] {
        EXPECT_EQ(header.make(), nullptr);
        return reports.all().back().status;
    };
    EXPECT_EQ(status(), -10);
    header.width = 7;
    header.nChannels = 0;
    EXPECT_EQ(status(), -15);
    header.nChannels = 3;
    EXPECT_EQ(status(), -16);
    header.depth = 7;
    EXPECT_EQ(status(), -14);
    header.colorModel = "RGB";
    EXPECT_EQ(status(), -17);
    header.depth = IPL_DEPTH_8U;
    EXPECT_EQ(status(), -18);
    header.alphaChannel = 3;
    EXPECT_EQ(status(), -19);
    header.dataOrder = 0;
    EXPECT_EQ(status(), -20);
    header.origin = 0;
    EXPECT_EQ(status(), -21);
    header.align = 8;
    EXPECT_EQ(status(), -117);
    for (const Report& report : reports.all())
        EXPECT_EQ(report.message, "Incorrect data-ins");
}

TEST(IplCreateImageHeader, ChecksTheWholeMask)
{
    RecordedReports reports;
    Header header;
    const auto statusWith = [&](IplImage* mask) {
        header.maskROI = mask;
        EXPECT_EQ(header.make(), nullptr);
        return iplGetStatus();
    };
    const Image noPixels(oneBit(7, 5).make());
    EXPECT_EQ(statusWith(noPixels.get()), -112);

    const Image bad = makeImage(7, 5, 1, IPL_DEPTH_1U);
    bad->width = 0;
    EXPECT_EQ(statusWith(bad.get()), -110);
    bad->width = 7;

    IplTileInfo tiles{noTiles, nullptr, nullptr, 8, 8};
    bad->tileInfo = &tiles;
    EXPECT_EQ(statusWith(bad.get()), -26);
    bad->tileInfo = nullptr;

    // A mask of the mask: the statuses add up.
    const Image inner = makeImage(7, 5, 1, IPL_DEPTH_8U);
    bad->maskROI = inner.get();
    EXPECT_EQ(statusWith(bad.get()), -217);
    const Image innerBit = makeImage(7, 5, 1, IPL_DEPTH_1U);
    innerBit->align = 5;
    bad->maskROI = innerBit.get();
    EXPECT_EQ(statusWith(bad.get()), -221);
    bad->maskROI = nullptr;
    header.maskROI = nullptr;
}

// --- Pixels --------------------------------------------------------------------------

TEST(IplAllocateImage, RefusesEachBadImageWithItsText)
{
    const Image full = makeImage(3, 3, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplAllocateImage(nullptr, 0, 0), -5, "iplAllocateImage",
                  "( image == ((void *)0) )", "iplalloc");
    EXPECT_REPORT(iplAllocateImage(full.get(), 0, 0), -5, "iplAllocateImage",
                  "( image->imageData != ((void *)0) )", "iplalloc");
    const Image header(Header().make());
    IplTileInfo tiles{noTiles, nullptr, nullptr, 8, 8};
    header->tileInfo = &tiles;
    EXPECT_REPORT(iplAllocateImage(header.get(), 0, 0), -5, "iplAllocateImage",
                  "( image->tileInfo != ((void *)0) )", "iplalloc");
    header->tileInfo = nullptr;
    header->depth = IPL_DEPTH_32F;
    EXPECT_REPORT(iplAllocateImage(header.get(), 0, 0), -5, "iplAllocateImage",
                  "( image->depth == 32 )", "iplalloc");
    header->depth = 9;
    EXPECT_REPORT(iplAllocateImage(header.get(), 0, 0), -17, "iplAllocateImage",
                  "Incorrect data-ins", "iplalloc");
    header->depth = IPL_DEPTH_8U;
}

TEST(IplAllocateImageFP, RefusesEachBadImageWithItsText)
{
    const Image full = makeImage(3, 3, 1, IPL_DEPTH_32F);
    EXPECT_REPORT(iplAllocateImageFP(nullptr, 0, 0), -5, "iplAllocateImageFP",
                  "( image == ((void *)0) )", "iplalloc");
    EXPECT_REPORT(iplAllocateImageFP(full.get(), 0, 0), -5, "iplAllocateImageFP",
                  "( image->imageData != ((void *)0) )", "iplalloc");
    const Image header(Header().make());
    IplTileInfo tiles{noTiles, nullptr, nullptr, 8, 8};
    header->tileInfo = &tiles;
    EXPECT_REPORT(iplAllocateImageFP(header.get(), 0, 0), -5, "iplAllocateImageFP",
                  "( image->tileInfo != ((void *)0) )", "iplalloc");
    header->tileInfo = nullptr;
    EXPECT_REPORT(iplAllocateImageFP(header.get(), 0, 0), -5, "iplAllocateImageFP",
                  "( image->depth != 32 )", "iplalloc");
    header->depth = IPL_DEPTH_32F;
    header->align = 3;
    EXPECT_REPORT(iplAllocateImageFP(header.get(), 0, 0), -21, "iplAllocateImageFP",
                  "Incorrect data-ins", "iplalloc");
    header->align = 4;
}

TEST(IplAllocateImage, LeavesARefusedRecordUnchanged)
{
    const Image header(Header().make());
    header->align = 3;
    header->widthStep = 77;
    header->imageSize = 78;
    char before[sizeof(IplImage)];
    std::memcpy(before, header.get(), sizeof before);
    const RecordedReports reports;
    iplAllocateImage(header.get(), 1, 1);
    EXPECT_EQ(reports.all().size(), 1u);
    EXPECT_EQ(std::memcmp(before, header.get(), sizeof before), 0);
}

TEST(IplAllocateImage, ComputesTheSizesAnew)
{
    const Image image(Header().make());
    image->widthStep = -5;
    image->imageSize = 0;
    iplAllocateImage(image.get(), 1, 0);
    EXPECT_EQ(image->widthStep, 24);
    EXPECT_EQ(image->imageSize, 120);
    ASSERT_NE(image->imageData, nullptr);
}

TEST(IplAllocateImage, AlignsThePixelsInsideTheirBlock)
{
    for (const uint32_t depth : allDepths) {
        for (const int32_t align : {4, 8, 16, 32}) {
            for (int32_t width = 1; width < 20; ++width) {
                const Image image = makeImage(width, 3, 1, depth, 0, align);
                const uintptr_t data = reinterpret_cast<uintptr_t>(image->imageData);
                const uintptr_t start = reinterpret_cast<uintptr_t>(image->imageDataOrigin);
                EXPECT_EQ(data % static_cast<uintptr_t>(align), 0u);
                EXPECT_GE(data, start);
                EXPECT_LT(data - start, static_cast<uintptr_t>(align));
                EXPECT_EQ(image->widthStep % align, 0);
                std::memset(image->imageData, 0x5A, static_cast<size_t>(image->imageSize));
            }
        }
    }
}

TEST(IplAllocateImage, EndsRowsThatDoNotFillTheirStepInZeros)
{
    struct Shape {
        int32_t width;
        int32_t channels;
        uint32_t depth;
        int32_t order;
        int32_t align;
        int32_t used; // whole bytes of pixels in a row
    };
    const Shape shapes[] = {{13, 1, IPL_DEPTH_8U, 0, 4, 13},  {5, 3, IPL_DEPTH_8U, 0, 8, 15},
                            {5, 3, IPL_DEPTH_8U, 1, 4, 5},    {19, 1, IPL_DEPTH_1U, 0, 4, 2},
                            {7, 1, IPL_DEPTH_16S, 0, 16, 14}, {3, 1, IPL_DEPTH_32F, 0, 32, 12}};
    for (const Shape& shape : shapes) {
        // The heap gives blocks anew that held other bytes.
        for (int round = 0; round < 3; ++round) {
            const Image image =
                makeImage(shape.width, 6, shape.channels, shape.depth, shape.order, shape.align);
            iplDeallocateImage(image.get());
            if (shape.depth == IPL_DEPTH_32F)
                iplAllocateImageFP(image.get(), 0, 0.0f);
            else
                iplAllocateImage(image.get(), 0, 0);
            const int32_t rows = image->imageSize / image->widthStep;
            ASSERT_LT(shape.used, image->widthStep);
            for (int32_t row = 0; row < rows; ++row)
                for (int32_t i = shape.used; i < image->widthStep; ++i)
                    ASSERT_EQ(rowOf(image.get(), row)[i], 0) << row << ", " << i;
            std::memset(image->imageData, 0xA5, static_cast<size_t>(image->imageSize));
        }
    }
}

TEST(IplAllocateImage, ExpandsTheFillValueByTheElementsWidth)
{
    EXPECT_EQ(fillWordOf(IPL_DEPTH_1U, 2), 0u);
    EXPECT_EQ(fillWordOf(IPL_DEPTH_1U, 3), 0xFFFFFFFFu);
    EXPECT_EQ(fillWordOf(IPL_DEPTH_8U, 0x1234), 0x34343434u);
    EXPECT_EQ(fillWordOf(IPL_DEPTH_8S, -2), 0xFEFEFEFEu);
    EXPECT_EQ(fillWordOf(IPL_DEPTH_16U, 65537), 0x00010001u);
    EXPECT_EQ(fillWordOf(IPL_DEPTH_16S, -2), 0xFFFEFFFEu);
    EXPECT_EQ(fillWordOf(IPL_DEPTH_32S, -2), 0xFFFFFFFEu);
}

TEST(IplAllocateImage, StoresAFloatByItsBitPattern)
{
    Header header;
    header.depth = IPL_DEPTH_32F;
    const Image image(header.make());
    iplAllocateImageFP(image.get(), 1, -1.5f);
    for (int32_t i = 0; i < image->imageSize / 4; ++i)
        EXPECT_EQ(wordAt(image.get(), i), 0xBFC00000u);
}

TEST(IplAllocateImage, FailsWhenTheWrappedSizeCannotHoldTheRows)
{
    Header header;
    header.nChannels = 4;
    header.width = 65536;
    header.height = 16385; // wraps to one row
    const Image small(header.make());
    EXPECT_EQ(small->imageSize, 262144);
    EXPECT_REPORT(iplAllocateImage(small.get(), 0, 0), -4, "iplAllocateImage",
                  "for allocate image data", "iplalloc");
    header.height = 8192; // wraps to a negative size
    const Image negative(header.make());
    EXPECT_REPORT(iplAllocateImage(negative.get(), 0, 0), -4, "iplAllocateImage",
                  "for allocate image data", "iplalloc");
    header.width = (1 << 27) + 1; // the row's bits wrap to one pixel's
    header.height = 1;
    const Image narrow(header.make());
    EXPECT_EQ(narrow->widthStep, 4);
    EXPECT_REPORT(iplAllocateImage(narrow.get(), 0, 0), -4, "iplAllocateImage",
                  "for allocate image data", "iplalloc");
    header.depth = IPL_DEPTH_32F;
    header.nChannels = 1;
    header.height = 3;
    const Image floats(header.make());
    EXPECT_REPORT(iplAllocateImageFP(floats.get(), 0, 0), -4, "iplAllocateImageFP",
                  "for allocate image data", "iplalloc");
}

TEST(IplAllocateImage, WritesOnlyTheNullOriginWhenMemoryRunsOut)
{
    Header header;
    header.nChannels = 4;
    header.width = 65536;
    header.height = 16385;
    const Image image(header.make());
    image->widthStep = 1;
    image->imageSize = 2;
    const RecordedReports reports;
    iplAllocateImage(image.get(), 1, 0);
    EXPECT_EQ(reports.all().size(), 1u);
    EXPECT_EQ(image->imageDataOrigin, nullptr);
    EXPECT_EQ(image->imageData, nullptr);
    EXPECT_EQ(image->widthStep, 1);
    EXPECT_EQ(image->imageSize, 2);
}

TEST(IplAllocateImage, MakesARecordThatTheCheckRefusesWhenTheSizeWrapsToNothing)
{
    const CleanStatus clean;
    Header header;
    header.nChannels = 4;
    header.width = 65536;
    header.height = 16384;
    const Image image(header.make());
    iplAllocateImage(image.get(), 1, -1);
    EXPECT_NE(image->imageData, nullptr);
    EXPECT_EQ(image->imageSize, 0);
    EXPECT_EQ(iplCheckImage(image.get()), -10);
}

TEST(IplAllocateImage, ReportsAHeapThatIsExhausted)
{
    const Image image(Header().make());
    const RecordedReports reports;
    {
        const FailingAllocation failing;
        iplAllocateImage(image.get(), 1, 0);
    }
    EXPECT_EQ(reports.all(), (std::vector<Report>{
                                 {-4, "iplAllocateImage", "for allocate image data", "iplalloc"}}));
    EXPECT_EQ(image->imageDataOrigin, nullptr);
    EXPECT_EQ(image->imageData, nullptr);
    // Nothing is in the way of another try.
    iplSetStatus(0);
    iplAllocateImage(image.get(), 1, 0);
    EXPECT_NE(image->imageData, nullptr);
}

// --- Freeing -------------------------------------------------------------------------

TEST(IplDeallocate, IgnoresNull)
{
    iplDeallocate(nullptr, IPL_IMAGE_ALL);
    iplDeallocateHeader(nullptr);
}

TEST(IplDeallocate, FreesThePartsOfItsBitsAlone)
{
    Header header;
    header.roi = iplCreateROI(0, 0, 0, 1, 1);
    header.maskROI = makeImage(7, 5, 1, IPL_DEPTH_1U).release();
    const Image image(header.make());
    iplAllocateImage(image.get(), 0, 0);
    image->tileInfo = iplCreateTileInfo(noTiles, nullptr, 8, 8);
    iplDeallocate(image.get(), IPL_IMAGE_ROI);
    EXPECT_EQ(image->roi, nullptr);
    EXPECT_NE(image->maskROI, nullptr);
    iplDeallocate(image.get(), IPL_IMAGE_MASK);
    EXPECT_EQ(image->maskROI, nullptr);
    EXPECT_NE(image->tileInfo, nullptr);
    iplDeallocate(image.get(), IPL_IMAGE_TILE);
    EXPECT_EQ(image->tileInfo, nullptr);
    EXPECT_NE(image->imageData, nullptr);
    iplDeallocate(image.get(), IPL_IMAGE_DATA);
    EXPECT_EQ(image->imageData, nullptr);
    EXPECT_EQ(image->imageDataOrigin, nullptr);
    iplDeallocate(image.get(), 0);
}

TEST(IplDeallocate, LeavesTheMaskOfAMask)
{
    const Image inner = makeImage(3, 3, 1, IPL_DEPTH_1U);
    Image mask = makeImage(3, 3, 1, IPL_DEPTH_1U);
    mask->maskROI = inner.get();
    Header header;
    header.maskROI = mask.release();
    iplDeallocate(header.make(), IPL_IMAGE_ALL);
    // Still there, and freed once more by its owner: the sanitizer would tell.
    EXPECT_EQ(inner->width, 3);
}

TEST(IplDeallocate, LeavesBorrowedPixels)
{
    char pixels[120];
    const Image image(Header().make());
    image->imageData = pixels;
    iplDeallocate(image.get(), IPL_IMAGE_DATA);
    EXPECT_EQ(image->imageData, pixels);
    iplDeallocateImage(image.get());
    EXPECT_EQ(image->imageData, nullptr);
    EXPECT_EQ(image->imageDataOrigin, nullptr);
}

// --- Companions ----------------------------------------------------------------------

TEST(IplCreateROI, FillsItWithoutLookingAtTheValues)
{
    IplROI* roi = iplCreateROI(-1, -2, -3, -4, -5);
    ASSERT_NE(roi, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(roi) % 32, 0u);
    EXPECT_EQ(roi->coi, -1);
    EXPECT_EQ(roi->xOffset, -2);
    EXPECT_EQ(roi->yOffset, -3);
    EXPECT_EQ(roi->width, -4);
    EXPECT_EQ(roi->height, -5);
    iplSetROI(roi, 1, 2, 3, 4, 5);
    EXPECT_EQ(roi->coi, 1);
    EXPECT_EQ(roi->height, 5);
    iplSetROI(nullptr, 1, 2, 3, 4, 5);
    iplAlignedFree(roi);
}

TEST(IplCreateTileInfo, StartsWithoutATile)
{
    int32_t id = 0;
    IplTileInfo* tiles = iplCreateTileInfo(noTiles, &id, 8, 16);
    ASSERT_NE(tiles, nullptr);
    EXPECT_EQ(tiles->callBack, noTiles);
    EXPECT_EQ(tiles->id, &id);
    EXPECT_EQ(tiles->tileData, nullptr);
    EXPECT_EQ(tiles->width, 8);
    EXPECT_EQ(tiles->height, 16);
    char byte = 0;
    tiles->tileData = &byte;
    iplSetTileInfo(tiles, nullptr, nullptr, 24, 32);
    EXPECT_EQ(tiles->callBack, nullptr);
    EXPECT_EQ(tiles->tileData, nullptr);
    EXPECT_EQ(tiles->width, 24);
    iplSetTileInfo(nullptr, noTiles, nullptr, 8, 8);
    iplAlignedFree(tiles);
}

TEST(IplCreateROI, GivesNullWhenMemoryRunsOut)
{
    {
        const FailingAllocation failing;
        EXPECT_EQ(iplCreateROI(0, 0, 0, 1, 1), nullptr);
    }
    const FailingAllocation failing;
    EXPECT_EQ(iplCreateTileInfo(noTiles, nullptr, 8, 8), nullptr);
}

TEST(IplSetBorderMode, ClampsTheConstantToTheDepth)
{
    struct Range {
        uint32_t depth;
        int32_t low;
        int32_t high;
    };
    constexpr Range ranges[] = {
        {IPL_DEPTH_1U, 0, 1},
        {IPL_DEPTH_8U, 0, 255},
        {IPL_DEPTH_8S, -128, 127},
        {IPL_DEPTH_16U, 0, 65535},
        {IPL_DEPTH_16S, -32768, 32767},
        {IPL_DEPTH_32S, INT32_MIN, INT32_MAX},
        {IPL_DEPTH_32F, INT32_MIN, INT32_MAX},
    };
    for (const Range& range : ranges) {
        const Image image = makeImage(1, 1, 1, range.depth);
        for (const int32_t constant :
             {INT32_MIN, -40000, -200, -5, 0, 1, 2, 100, 300, 70000, INT32_MAX}) {
            iplSetBorderMode(image.get(), 3, 15, constant);
            const int32_t expected = constant < range.low    ? range.low
                                     : constant > range.high ? range.high
                                                             : constant;
            for (int32_t side = 0; side < 4; ++side) {
                EXPECT_EQ(image->BorderMode[side], 3);
                EXPECT_EQ(image->BorderConst[side], expected);
            }
        }
    }
}

TEST(IplSetBorderMode, SetsTheSidesOfItsMaskAlone)
{
    for (int32_t mask = 0; mask < 32; ++mask) {
        const Image image = makeImage(1, 1, 1, IPL_DEPTH_8U);
        iplSetBorderMode(image.get(), 2, mask, 300);
        for (int32_t side = 0; side < 4; ++side) {
            EXPECT_EQ(image->BorderMode[side], (mask >> side & 1) ? 2 : 0);
            EXPECT_EQ(image->BorderConst[side], (mask >> side & 1) ? 255 : 0);
        }
    }
    const Image image = makeImage(1, 1, 1, IPL_DEPTH_8U);
    iplSetBorderMode(image.get(), 2, 1, -5);
    EXPECT_EQ(image->BorderConst[0], 0);
}
