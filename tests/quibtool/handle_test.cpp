#include "quibtool/handle.h"

#include "_Src/ipl.h"
#include "tests/support/bad_handles.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/guarded_image.h"
#include "tests/support/images.h"
#include "tests/support/levels.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <new>
#include <set>

// --- Validity --------------------------------------------------------------------------

TEST(QuibIsValid, WritesTheRowOfTheCallSite)
{
    EXPECT_FALSE(QuibIsValid(nullptr, 1234));
    EXPECT_STREQ(quibLastError, "invalid dib in quibtool row 1234");
    EXPECT_FALSE(QuibIsValid(nullptr, -5));
    EXPECT_STREQ(quibLastError, "invalid dib in quibtool row -5");
    EXPECT_EQ(sizeof quibLastError, 264u);
}

TEST(QuibIsValid, LeavesTheTextForAGoodHandle)
{
    std::strcpy(quibLastError, "as before");
    const Image handle = makeHandle(2, 2, 8);
    EXPECT_TRUE(QuibIsValid(handle.get(), 1));
    // The fields are not its business.
    handle->width = -1;
    handle->depth = 77;
    EXPECT_TRUE(QuibIsValid(handle.get(), 1));
    EXPECT_STREQ(quibLastError, "as before");
}

TEST(QuibIsValid, ProbesTheWholeRecord)
{
    const Image handle = makeHandle(2, 2, 8);
    const GuardedPages pages(1);
    uint8_t* end = pages.pages() + pages.size();
    for (size_t inside = 8; inside <= sizeof(IplImage); inside += 8) {
        // The last bytes of the record lie on an unmapped page, but for the
        // last round.
        uint8_t* address = end - inside;
        std::memcpy(address, handle.get(), inside);
        EXPECT_EQ(QuibIsValid(reinterpret_cast<const IplImage*>(address), 1),
                  inside == sizeof(IplImage))
            << inside;
    }
    EXPECT_FALSE(QuibIsValid(reinterpret_cast<const IplImage*>(end), 1));
    EXPECT_FALSE(QuibIsValid(reinterpret_cast<const IplImage*>(pages.pages() - 64), 1));
}

TEST(QuibIsValid, ProbesTheFirstPixelByte)
{
    const Image handle = makeHandle(2, 2, 8);
    char* const data = handle->imageData;
    const GuardedPages pages(1);
    char* const end = reinterpret_cast<char*>(pages.pages() + pages.size());
    handle->imageData = end - 1;
    EXPECT_TRUE(QuibIsValid(handle.get(), 1));
    handle->imageData = end;
    EXPECT_FALSE(QuibIsValid(handle.get(), 1));
    handle->imageData = nullptr;
    EXPECT_FALSE(QuibIsValid(handle.get(), 1));
    handle->imageData = data;
}

// Free memory that sanitizers keep for a while can still be read.
#if !defined(__SANITIZE_ADDRESS__)
TEST(QuibIsValid, AsksAgainForPixelsThatAreFreed)
{
    const Image handle = makeHandle(4096, 4096, 32); // so large that the system gets them back
    IplImage copy = *handle;
    EXPECT_TRUE(QuibIsValid(handle.get(), 1));
    EXPECT_TRUE(QuibIsValid(&copy, 1));
    iplDeallocateImage(handle.get());
    EXPECT_FALSE(QuibIsValid(handle.get(), 1));
    EXPECT_FALSE(QuibIsValid(&copy, 1));
}
#endif

TEST(QuibIsValid, GoesByTheAddressesWhateverTheRecordSaysOfItsBlock)
{
    const Image handle = makeHandle(8, 8, 32);
    const Image other = makeHandle(64, 64, 8);
    const GuardedPages pages(1);
    char* const end = reinterpret_cast<char*>(pages.pages() + pages.size());
    const IplImage whole = *handle;
    for (char* origin : {whole.imageDataOrigin, other->imageDataOrigin, static_cast<char*>(nullptr),
                         end, end - 1}) {
        handle->imageDataOrigin = origin;
        for (char* data : {whole.imageData, whole.imageData + 8 * 8 * 4 - 1, end - 1,
                           other->imageData + 77, other->imageDataOrigin}) {
            handle->imageData = data;
            EXPECT_TRUE(QuibIsValid(handle.get(), 1));
        }
        for (char* data :
             {end, static_cast<char*>(nullptr), reinterpret_cast<char*>(pages.pages() - 1)}) {
            handle->imageData = data;
            EXPECT_FALSE(QuibIsValid(handle.get(), 1));
        }
    }
    *handle = whole;
}

TEST(QuibIsValid, TakesARecordInTheMiddleOfABlock)
{
    const Image handle = makeHandle(2, 2, 8);
    const Image around = makeHandle(64, 64, 32);
    IplImage* inside = reinterpret_cast<IplImage*>(around->imageData + 256);
    std::memcpy(inside, handle.get(), sizeof(IplImage));
    EXPECT_TRUE(QuibIsValid(inside, 1));
    inside->imageData = nullptr;
    EXPECT_FALSE(QuibIsValid(inside, 1));
}

TEST(QuibIsValid, TellsTheSameLineOfTwoFilesApart)
{
    const auto rowOf = [](const char* file, int32_t line) {
        EXPECT_FALSE(QuibIsValid(nullptr, QuibCallSite{file, line}));
        return takeErrorRow();
    };
    const int row = rowOf("quibtool/blit.cpp", 97);
    EXPECT_EQ(row % 1000, 97);
    EXPECT_EQ(rowOf("/elsewhere/quibtool/blit.cpp", 97), row);
    EXPECT_EQ(rowOf("quibtool\\blit.cpp", 98), row + 1);
    std::set<int> rows;
    const char* const files[] = {"alpha.cpp",        "arithmetic.cpp",
                                 "blit.cpp",         "composition.cpp",
                                 "composition4.cpp", "composition_s.cpp",
                                 "copy.cpp",         "dib.cpp",
                                 "draw.cpp",         "enginecomposition.cpp",
                                 "handle.cpp",       "logic.cpp",
                                 "panzoom.cpp",      "resize.cpp"};
    for (const char* file : files)
        rows.insert(rowOf(file, 1));
    EXPECT_EQ(rows.size(), std::size(files));
}

TEST(QuibIsValid, StandsAtTheHeadOfEveryCallWithARowOfItsOwn)
{
    Image header = makeHandle(2, 2, 8);
    iplDeallocateImage(header.get());
    std::set<int> rows;
    for (IplImage* handle : {static_cast<IplImage*>(nullptr), header.get()}) {
        IplImage* variable = handle;
        QuibInfo info{1, 2, 3, 4};
        void* data = &info;
        QuibRect rect{-1, -1, 9, 9};
        int32_t black = 77;
        quibLastError[0] = 0;
        const auto refused = [&](QuibStatus status) {
            EXPECT_EQ(status, QUIB_BAD_ARGUMENT);
            const int row = takeErrorRow();
            EXPECT_GE(row, 0);
            rows.insert(row);
        };
        refused(QuibFree(&variable));
        EXPECT_EQ(variable, handle);
        refused(QuibGetInfo(handle, &info));
        EXPECT_EQ(info.width, 1);
        refused(QuibLockData(handle, &data));
        refused(QuibLockData(handle, nullptr));
        EXPECT_EQ(data, &info);
        refused(QuibUnlockData(handle));
        refused(QuibFillColor(handle, 1, &rect));
        EXPECT_TRUE(sameRect(rect, -1, -1, 9, 9));
        refused(QuibIsBlack(handle, 1, &black));
        EXPECT_EQ(black, 77);
    }
    EXPECT_EQ(rows.size(), 6u);
}

// --- QuibCreate ------------------------------------------------------------------------

TEST(QuibCreate, ReportsWidthBeforeHeightBeforeDepth)
{
    IplImage* const before = reinterpret_cast<IplImage*>(&quibLastError);
    IplImage* handle = before;
    EXPECT_EQ(QuibCreate(0, 5, 8, &handle, 0), QUIB_BAD_WIDTH);
    EXPECT_EQ(QuibCreate(INT32_MIN, 0, 7, &handle, 0), QUIB_BAD_WIDTH);
    EXPECT_EQ(QuibCreate(5, 0, 7, &handle, 0), QUIB_BAD_HEIGHT);
    EXPECT_EQ(QuibCreate(5, -1, 8, &handle, 0), QUIB_BAD_HEIGHT);
    for (const int32_t depth : {-8, 0, 2, 4, 7, 16, 25, 31, 33, 64})
        EXPECT_EQ(QuibCreate(5, 5, depth, &handle, 0), QUIB_BAD_DEPTH);
    EXPECT_EQ(QuibCreate0(0, 5, 8, &handle), QUIB_BAD_WIDTH);
    EXPECT_EQ(QuibCreate0(5, 0, 7, &handle), QUIB_BAD_HEIGHT);
    EXPECT_EQ(QuibCreate0(5, 5, 7, &handle), QUIB_BAD_DEPTH);
    EXPECT_EQ(QuibCreateHeader(0, 0, 7, nullptr), QUIB_BAD_WIDTH);
    EXPECT_EQ(QuibCreateHeader(1, 0, 7, nullptr), QUIB_BAD_HEIGHT);
    EXPECT_EQ(QuibCreateHeader(1, 1, 7, nullptr), QUIB_BAD_DEPTH);
    EXPECT_EQ(QuibCreateHeader(1, 1, 8, nullptr), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(handle, before);
}

TEST(QuibCreate, HasTheStatusesOfItsTable)
{
    EXPECT_EQ(static_cast<uint32_t>(QUIB_FAILED), 0x80000000u);
    EXPECT_EQ(static_cast<uint32_t>(QUIB_BAD_WIDTH), 0x80000001u);
    EXPECT_EQ(static_cast<uint32_t>(QUIB_BAD_HEIGHT), 0x80000002u);
    EXPECT_EQ(static_cast<uint32_t>(QUIB_BAD_DEPTH), 0x80000003u);
    EXPECT_EQ(static_cast<uint32_t>(QUIB_BAD_ARGUMENT), 0x80000005u);
    EXPECT_EQ(static_cast<uint32_t>(QUIB_NO_HEADER), 0x80000006u);
    EXPECT_EQ(static_cast<uint32_t>(QUIB_DIB_BAD_WIDTH), 0x80000100u);
    EXPECT_EQ(static_cast<uint32_t>(QUIB_DIB_BAD_HEIGHT), 0x80000101u);
    EXPECT_EQ(static_cast<uint32_t>(QUIB_DIB_BAD_DEPTH), 0x80000102u);
    EXPECT_EQ(static_cast<uint32_t>(QUIB_DIB_MISMATCH), 0x80000103u);
    EXPECT_EQ(sizeof(QuibStatus), 4u);
    EXPECT_LT(QUIB_FAILED, 0);
}

TEST(QuibCreateHeader, MakesTheFourKinds)
{
    struct Kind {
        int32_t bitDepth;
        int32_t nChannels;
        uint32_t depth;
        const char* colorModel;
        const char* channelSeq;
        int32_t widthStep; // at width 33
    };
    constexpr Kind kinds[] = {
        {1, 1, 1, "GRAY", "GRAY", 8},
        {8, 1, 8, "GRAY", "GRAY", 36},
        {24, 3, 8, "RGB", "BGR", 100},
        {32, 4, 8, "RGBA", "BGRA", 132},
    };
    for (const Kind& kind : kinds) {
        IplImage* handle = nullptr;
        ASSERT_EQ(QuibCreateHeader(33, 2, kind.bitDepth, &handle), QUIB_OK);
        const Image owner(handle);
        EXPECT_EQ(handle->nChannels, kind.nChannels);
        EXPECT_EQ(handle->alphaChannel, 0);
        EXPECT_EQ(handle->depth, kind.depth);
        EXPECT_EQ(std::memcmp(handle->colorModel, kind.colorModel, 4), 0);
        EXPECT_EQ(std::memcmp(handle->channelSeq, kind.channelSeq, 4), 0);
        EXPECT_EQ(handle->dataOrder, 0);
        EXPECT_EQ(handle->origin, 0);
        EXPECT_EQ(handle->align, 4);
        EXPECT_EQ(handle->width, 33);
        EXPECT_EQ(handle->height, 2);
        EXPECT_EQ(handle->roi, nullptr);
        EXPECT_EQ(handle->maskROI, nullptr);
        EXPECT_EQ(handle->imageId, nullptr);
        EXPECT_EQ(handle->tileInfo, nullptr);
        EXPECT_EQ(handle->imageData, nullptr);
        EXPECT_EQ(handle->widthStep, kind.widthStep);
        EXPECT_EQ(handle->imageSize, 2 * kind.widthStep);
    }
}

TEST(QuibCreate, StoresTheColourWordInEveryPixel)
{
    for (int32_t width = 1; width < 40; ++width) {
        IplImage* handle = nullptr;
        ASSERT_EQ(QuibCreate(width, 2, 32, &handle, 0xFF000000u), QUIB_OK);
        const Image owner(handle);
        for (int32_t y = 0; y < 2; ++y)
            for (int32_t x = 0; x < width; ++x)
                for (int32_t c = 0; c < 4; ++c)
                    EXPECT_EQ(element(handle, x, y, c), c == 3 ? 255 : 0);
    }
}

TEST(QuibCreate, ClampsTheColourOfOneChannel)
{
    const auto stored = [](int32_t bitDepth, uint32_t color) {
        IplImage* handle = nullptr;
        EXPECT_EQ(QuibCreate(9, 2, bitDepth, &handle, color), QUIB_OK);
        const Image owner(handle);
        for (int32_t x = 0; x < 9; ++x)
            EXPECT_EQ(element(handle, x, 1, 0), element(handle, 0, 0, 0));
        return element(handle, 0, 0, 0);
    };
    EXPECT_EQ(stored(8, 77), 77);
    EXPECT_EQ(stored(8, 300), 255);
    EXPECT_EQ(stored(8, 0xFFFFFFFFu), 0);
    EXPECT_EQ(stored(8, 0xFF000000u), 0);
    EXPECT_EQ(stored(1, 0), 0);
    EXPECT_EQ(stored(1, 2), 1);
    EXPECT_EQ(stored(1, 0xFF000000u), 0);
}

TEST(QuibCreate, LeavesThePixelsOf24BitHandlesUndefined)
{
    IplImage* handle = nullptr;
    EXPECT_EQ(QuibCreate(2, 2, 24, &handle, 0x00FFFFFF), QUIB_OK);
    const Image owner(handle);
    ASSERT_NE(handle, nullptr);
    // Nothing is written: what is there stays.
    std::memset(handle->imageData, 0x3C, static_cast<size_t>(handle->imageSize));
    EXPECT_EQ(QuibFillColor(handle, 0x00FFFFFF, nullptr), QUIB_OK);
    EXPECT_EQ(bytesOf(handle), std::vector<uint8_t>(16, 0x3C));
}

TEST(QuibCreate, FaultsAtTheStoreForANullOutput)
{
    EXPECT_DEATH(QuibCreate(2, 2, 8, nullptr, 0), "");
    EXPECT_DEATH(QuibCreate0(2, 2, 8, nullptr), "");
    EXPECT_EQ(QuibCreate0(2, 2, 9, nullptr), QUIB_BAD_DEPTH);
}

TEST(QuibCreate, EndsTheProcessWhenThePixelsDoNotFit)
{
    IplImage* handle = nullptr;
    EXPECT_REPORT(QuibCreate(65536, 16385, 32, &handle, 0), -4, "iplAllocateImage",
                  "for allocate image data", "iplalloc");
    EXPECT_REPORT(QuibCreate0(65536, 8192, 32, &handle), -4, "iplAllocateImage",
                  "for allocate image data", "iplalloc");
    EXPECT_REPORT(QuibCreate0(INT32_MAX, INT32_MAX, 1, &handle), -4, "iplAllocateImage",
                  "for allocate image data", "iplalloc");
}

TEST(QuibCreate, MakesAHandleThatTheChecksRefuseWhenItsSizeWrapsToNothing)
{
    const CleanStatus clean;
    IplImage* handle = nullptr;
    ASSERT_EQ(QuibCreate(65536, 16384, 32, &handle, 0x01020304), QUIB_OK);
    const Image owner(handle);
    EXPECT_EQ(handle->imageSize, 0);
    QuibInfo info{1, 2, 3, 4};
    EXPECT_EQ(QuibGetInfo(handle, &info), badSize);
    EXPECT_EQ(info.widthStep, 4);
    QuibRect rect{0, 0, 65536, 16384};
    EXPECT_EQ(QuibFillColor(handle, 5, &rect), QUIB_OK);
    // One channel goes through the engine, which refuses it.
    IplImage* gray = nullptr;
    EXPECT_REPORT(QuibCreate(65536, 65536, 8, &gray, 0), -10, "iplSet", "Incorrect Image",
                  "iplsce");
    ASSERT_EQ(QuibCreate0(65536, 65536, 8, &gray), QUIB_OK);
    const Image grayOwner(gray);
    EXPECT_EQ(iplCheckImage(gray), -10);
}

TEST(QuibCreate, TellsThatMemoryForTheRecordRanOut)
{
    const RecordedReports reports;
    IplImage* const before = reinterpret_cast<IplImage*>(&quibLastError);
    IplImage* handle = before;
    const auto without = [](int32_t allocation, auto create) {
        const FailingAllocation failing(allocation);
        return create();
    };
    EXPECT_EQ(without(0, [&] { return QuibCreateHeader(2, 2, 8, &handle); }), QUIB_NO_HEADER);
    EXPECT_EQ(without(0, [&] { return QuibCreate(2, 2, 8, &handle, 0); }), QUIB_NO_HEADER);
    EXPECT_EQ(without(0, [&] { return QuibCreate0(2, 2, 32, &handle); }), QUIB_NO_HEADER);
    EXPECT_EQ(handle, before);
    EXPECT_TRUE(reports.all().empty());
    // For pixels it is the engine's to report.
    EXPECT_EQ(without(1, [&] { return QuibCreate0(2, 2, 32, &handle); }), QUIB_OK);
    const Image owner(handle);
    EXPECT_EQ(reports.all(), (std::vector<Report>{
                                 {-4, "iplAllocateImage", "for allocate image data", "iplalloc"}}));
}

// --- QuibFree --------------------------------------------------------------------------

TEST(QuibFree, FreesAndZeroesTheVariable)
{
    IplImage* handle = nullptr;
    ASSERT_EQ(QuibCreate(5, 5, 8, &handle, 0), QUIB_OK);
    Random random(1);
    setRoi(handle, 0, 1, 1, 2, 2);
    giveRandomMask(handle, 5, 5, random);
    EXPECT_EQ(QuibFree(&handle), QUIB_OK);
    EXPECT_EQ(handle, nullptr);
    EXPECT_BAD_HANDLE(QuibFree(&handle));
}

TEST(QuibFree, RefusesAZeroVariable)
{
    IplImage* handle = nullptr;
    EXPECT_BAD_HANDLE(QuibFree(&handle));
    EXPECT_EQ(handle, nullptr);
}

TEST(QuibFree, FaultsOnTheReadOfANullAddress)
{
    EXPECT_DEATH(QuibFree(nullptr), "");
}

TEST(QuibFree, KeepsAHandleWhoseRecordIsBadWithoutText)
{
    const CleanStatus clean;
    const Image owner = makeHandle(3, 3, 8);
    owner->align = 7;
    IplImage* handle = owner.get();
    quibLastError[0] = 0;
    EXPECT_EQ(QuibFree(&handle), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(handle, owner.get());
    EXPECT_NE(handle->imageData, nullptr);
    EXPECT_EQ(quibLastError[0], 0);
    // The check's own status stays behind.
    EXPECT_EQ(iplGetStatus(), -21);
}

// --- QuibGetInfo, QuibLockData, QuibUnlockData ---------------------------------------------

TEST(QuibGetInfo, FillsTheFourWordsInOrder)
{
    const auto infoOf = [](int32_t width, int32_t height, int32_t bitDepth) {
        const Image handle = makeHandle(width, height, bitDepth);
        QuibInfo info{};
        EXPECT_EQ(QuibGetInfo(handle.get(), &info), QUIB_OK);
        int32_t words[4];
        std::memcpy(words, &info, sizeof words);
        return std::vector<int32_t>(words, words + 4);
    };
    EXPECT_EQ(infoOf(33, 2, 1), (std::vector<int32_t>{33, 2, 1, 8}));
    EXPECT_EQ(infoOf(7, 3, 8), (std::vector<int32_t>{7, 3, 8, 8}));
    EXPECT_EQ(infoOf(7, 4, 24), (std::vector<int32_t>{7, 4, 24, 24}));
    EXPECT_EQ(infoOf(7, 5, 32), (std::vector<int32_t>{7, 5, 32, 28}));
}

TEST(QuibGetInfo, MultipliesDepthByChannelsLiterally)
{
    const auto bitDepthOf = [](uint32_t depth, int32_t nChannels) {
        const Image image = makeImage(3, 3, nChannels, depth);
        QuibInfo info{};
        EXPECT_EQ(QuibGetInfo(image.get(), &info), QUIB_OK);
        return static_cast<uint32_t>(info.bitDepth);
    };
    EXPECT_EQ(bitDepthOf(IPL_DEPTH_16U, 4), 64u);
    EXPECT_EQ(bitDepthOf(IPL_DEPTH_32F, 1), 32u);
    EXPECT_EQ(bitDepthOf(IPL_DEPTH_8S, 1), 0x80000008u);
    EXPECT_EQ(bitDepthOf(IPL_DEPTH_8S, 4), 32u);
}

TEST(QuibGetInfo, PassesTheChecksStatusOn)
{
    const CleanStatus clean;
    const Image handle = wrappedHandle();
    QuibInfo info{1, 2, 3, 4};
    EXPECT_EQ(QuibGetInfo(handle.get(), &info), badSize);
    EXPECT_EQ(info.width, 1);
    EXPECT_EQ(iplGetStatus(), -10);
    EXPECT_DEATH(
        {
            const Image good = makeHandle(2, 2, 8);
            QuibGetInfo(good.get(), nullptr);
        },
        "");
}

TEST(QuibLockData, StoresTheFirstPixelsAddress)
{
    const Image handle = makeHandle(3, 3, 24);
    for (int i = 0; i < 3; ++i) {
        void* data = nullptr;
        EXPECT_EQ(QuibLockData(handle.get(), &data), QUIB_OK);
        EXPECT_EQ(data, handle->imageData);
    }
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(QuibUnlockData(handle.get()), QUIB_OK);
}

TEST(QuibLockData, RefusesANullOutputBeforeTheCheckWithoutText)
{
    const CleanStatus clean;
    const Image handle = wrappedHandle();
    quibLastError[0] = 0;
    EXPECT_EQ(QuibLockData(handle.get(), nullptr), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(iplGetStatus(), 0);
    EXPECT_EQ(quibLastError[0], 0);
    void* data = &quibLastError;
    EXPECT_EQ(QuibLockData(handle.get(), &data), badSize);
    EXPECT_EQ(data, &quibLastError);
    EXPECT_EQ(QuibUnlockData(handle.get()), badSize);
}

// --- QuibFillColor ---------------------------------------------------------------------

TEST(QuibFillColor, RefusesARectangleOutsideAndStoresItClipped)
{
    for (const int32_t bitDepth : {1, 8, 24, 32}) {
        Random random(2);
        const Image handle = makeRandomHandle(6, 5, bitDepth, random);
        const std::vector<uint8_t> before = bytesOf(handle.get());
        quibLastError[0] = 0;
        QuibRect left{-9, 1, -2, 3};
        EXPECT_EQ(QuibFillColor(handle.get(), 1, &left), QUIB_BAD_ARGUMENT);
        EXPECT_TRUE(sameRect(left, 0, 1, -2, 3));
        QuibRect below{-1, 5, 99, 9};
        EXPECT_EQ(QuibFillColor(handle.get(), 1, &below), QUIB_BAD_ARGUMENT);
        EXPECT_TRUE(sameRect(below, 0, 5, 6, 5));
        QuibRect flat{2, 2, 2, 4};
        EXPECT_EQ(QuibFillColor(handle.get(), 1, &flat), QUIB_BAD_ARGUMENT);
        QuibRect extreme{INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN};
        EXPECT_EQ(QuibFillColor(handle.get(), 1, &extreme), QUIB_BAD_ARGUMENT);
        EXPECT_EQ(bytesOf(handle.get()), before);
        EXPECT_EQ(quibLastError[0], 0);
    }
}

TEST(QuibFillColor, ClipsARectangleThatExceedsTheImage)
{
    for (const int32_t bitDepth : {8, 32}) {
        const Image handle = makeHandle(6, 5, bitDepth);
        QuibRect rect{INT32_MIN, -1, INT32_MAX, 6};
        EXPECT_EQ(QuibFillColor(handle.get(), 0x04040404, &rect), QUIB_OK);
        EXPECT_TRUE(sameRect(rect, 0, 0, 6, 5));
        for (int32_t y = 0; y < 5; ++y)
            for (int32_t x = 0; x < 6; ++x)
                EXPECT_EQ(element(handle.get(), x, y, 0), bitDepth == 8 ? 255 : 4);
    }
}

TEST(QuibFillColor, FillsRandomRectangles)
{
    forEachLevel([] {
        Random random(3);
        for (int round = 0; round < 500; ++round) {
            const int32_t bitDepth = handleDepths[random.between(0, 3)];
            const int32_t width = random.between(1, 40);
            const int32_t height = random.between(1, 9);
            const Image handle = makeRandomHandle(width, height, bitDepth, random);
            QuibRect rect{random.between(-2, width - 1), random.between(-2, height - 1), 0, 0};
            rect.right = std::max(rect.left, 0) + random.between(1, 20);
            rect.bottom = std::max(rect.top, 0) + random.between(1, 9);
            const uint32_t color = random.coin() ? random.next() : random.next() % 300;
            const Image expected(iplCloneImage(handle.get()));
            for (int32_t y = std::max(rect.top, 0); y < std::min(rect.bottom, height); ++y) {
                for (int32_t x = std::max(rect.left, 0); x < std::min(rect.right, width); ++x) {
                    if (bitDepth == 32)
                        std::memcpy(rowOf(expected.get(), y) + x * 4, &color, 4);
                    const int32_t value = static_cast<int32_t>(color);
                    if (bitDepth < 24)
                        putElement(expected.get(), x, y, 0,
                                   std::min(std::max(value, 0), bitDepth == 8 ? 255 : 1));
                }
            }
            ASSERT_EQ(QuibFillColor(handle.get(), color, &rect), QUIB_OK);
            ASSERT_EQ(bytesOf(handle.get()), bytesOf(expected.get()));
            ASSERT_EQ(handle->roi, nullptr);
        }
    });
}

TEST(QuibFillColor, LeavesThePaddingOfOneChannel)
{
    for (const int32_t bitDepth : {1, 8}) {
        const Image handle = makeHandle(5, 3, bitDepth);
        EXPECT_EQ(QuibFillColor(handle.get(), 255, nullptr), QUIB_OK);
        EXPECT_EQ(rowOf(handle.get(), 1)[0], bitDepth == 1 ? 0xF8 : 255);
        const int32_t used = bitDepth == 1 ? 1 : 5;
        for (int32_t i = used; i < handle->widthStep; ++i)
            EXPECT_EQ(rowOf(handle.get(), 1)[i], 0);
    }
}

TEST(QuibFillColor, FillsThePaddingOfFourChannelsAndIgnoresRegionAndMask)
{
    Random random(4);
    const Image image = makeImage(5, 3, 4, IPL_DEPTH_8U, 0, 32);
    ASSERT_EQ(image->widthStep, 32);
    setRoi(image.get(), 2, 1, 1, 1, 1);
    giveRandomMask(image.get(), 5, 3, random);
    EXPECT_EQ(QuibFillColor(image.get(), 0x04030201, nullptr), QUIB_OK);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 8; ++x)
            EXPECT_EQ(wordAt(image.get(), x, y), 0x04030201u);
    QuibRect rect{1, 1, 3, 2};
    EXPECT_EQ(QuibFillColor(image.get(), 9, &rect), QUIB_OK);
    EXPECT_EQ(wordAt(image.get(), 1, 1), 9u);
    EXPECT_EQ(wordAt(image.get(), 2, 1), 9u);
    EXPECT_EQ(wordAt(image.get(), 3, 1), 0x04030201u);
    EXPECT_NE(image->roi, nullptr);
    EXPECT_NE(image->maskROI, nullptr);
}

TEST(QuibFillColor, WalksByPixelsWhenThePitchIsNoMultipleOfFour)
{
    std::vector<uint8_t> pixels(3 * 10, 0x77);
    IplImage* handle = nullptr;
    ASSERT_EQ(QuibCreateHeader(2, 3, 32, &handle), QUIB_OK);
    const Image owner(handle);
    handle->imageData = reinterpret_cast<char*>(pixels.data());
    handle->widthStep = 10;
    handle->imageSize = 30;
    EXPECT_EQ(QuibFillColor(handle, 0x04030201, nullptr), QUIB_OK);
    for (size_t y = 0; y < 3; ++y)
        for (size_t i = 0; i < 10; ++i)
            EXPECT_EQ(pixels[y * 10 + i], i < 8 ? i % 4 + 1 : 0x77);
}

TEST(QuibFillColor, KeepsToARegionAndMaskOfOneChannel)
{
    Random random(5);
    const Image handle = makeHandle(12, 6, 8);
    setRoi(handle.get(), 0, 3, 2, 5, 3);
    const IplImage* mask = giveRandomMask(handle.get(), 12, 6, random);
    EXPECT_EQ(QuibFillColor(handle.get(), 9, nullptr), QUIB_OK);
    for (int32_t y = 0; y < 6; ++y) {
        for (int32_t x = 0; x < 12; ++x) {
            const bool inside = x >= 3 && x < 8 && y >= 2 && y < 5;
            EXPECT_EQ(element(handle.get(), x, y, 0),
                      inside && element(mask, x - 3, y - 2, 0) != 0 ? 9 : 0);
        }
    }
    EXPECT_NE(handle->roi, nullptr);
}

TEST(QuibFillColor, LosesARegionHeldBeforeWhenGivenARectangle)
{
    const Image handle = makeHandle(12, 6, 8);
    IplROI* const held = iplCreateROI(0, 0, 0, 1, 1);
    handle->roi = held;
    QuibRect rect{2, 2, 4, 4};
    EXPECT_EQ(QuibFillColor(handle.get(), 9, &rect), QUIB_OK);
    EXPECT_EQ(handle->roi, nullptr);
    EXPECT_EQ(element(handle.get(), 3, 3, 0), 9);
    EXPECT_EQ(element(handle.get(), 0, 0, 0), 0);
    // Not freed: it is still the program's.
    EXPECT_EQ(held->width, 1);
    iplAlignedFree(held);
}

TEST(QuibFillColor, FillsARectangleOfOneChannelWithoutAnyMemory)
{
    for (const int32_t bitDepth : {1, 8}) {
        const Image handle = makeHandle(12, 6, bitDepth);
        QuibRect rect{2, 2, 4, 4};
        {
            const FailingAllocation failing;
            EXPECT_EQ(QuibFillColor(handle.get(), 1, &rect), QUIB_OK);
        }
        for (int32_t y = 0; y < 6; ++y)
            for (int32_t x = 0; x < 12; ++x)
                EXPECT_EQ(element(handle.get(), x, y, 0), x / 2 == 1 && y / 2 == 1);
    }
}

TEST(QuibFillColor, GoesByTheRowsOfARecordThatLeavesItsSizeOut)
{
    const GuardedHandle handle(5, 3, 32);
    handle->imageSize = 0;
    EXPECT_EQ(QuibFillColor(handle.get(), 0x01020304, nullptr), QUIB_OK);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 5; ++x)
            EXPECT_EQ(wordAt(handle.get(), x, y), 0x01020304u);
}

TEST(QuibFillColor, FailsForOtherNumbersOfChannels)
{
    for (const int32_t nChannels : {2, 5}) {
        const Image image = makeImage(4, 4, nChannels, IPL_DEPTH_8U);
        QuibRect rect{-1, -1, 9, 9};
        EXPECT_EQ(QuibFillColor(image.get(), 1, &rect), QUIB_FAILED);
        EXPECT_TRUE(sameRect(rect, 0, 0, 4, 4));
        EXPECT_EQ(bytesOf(image.get()), std::vector<uint8_t>(bytesOf(image.get()).size(), 0));
    }
}

TEST(QuibFillColor, StaysInsideTheBlock)
{
    forEachLevel([] {
        for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
            for (int32_t width = 1; width < 70; ++width) {
                for (const int32_t bitDepth : {1, 8, 32}) {
                    const GuardedHandle handle(width, 3, bitDepth, guard);
                    EXPECT_EQ(QuibFillColor(handle.get(), 0x01020304, nullptr), QUIB_OK);
                    QuibRect rect{0, 0, width, 3};
                    EXPECT_EQ(QuibFillColor(handle.get(), 0x01020304, &rect), QUIB_OK);
                }
            }
        }
    });
}

// --- QuibIsBlack -----------------------------------------------------------------------

namespace
{

int32_t blackness(const IplImage* handle, uint32_t threshold)
{
    int32_t result = -1;
    EXPECT_EQ(QuibIsBlack(handle, threshold, &result), QUIB_OK);
    return result;
}

// As told, byte by byte.
int32_t plainBlackness(const IplImage* handle, uint32_t threshold)
{
    const uint32_t bitDepth = handle->depth * static_cast<uint32_t>(handle->nChannels);
    for (int32_t y = 0; y < handle->height; ++y)
        for (int32_t i = 0; i < handle->widthStep; ++i)
            if (!(bitDepth == 32 && i % 4 == 3) && rowOf(handle, y)[i] > threshold)
                return 0;
    return 1;
}

} // namespace

TEST(QuibIsBlack, IsTrueOfAnyImageAtThreshold255)
{
    Random random(6);
    for (const int32_t bitDepth : {1, 8, 24, 32}) {
        const Image handle = makeRandomHandle(31, 7, bitDepth, random);
        EXPECT_EQ(blackness(handle.get(), 255), 1);
        EXPECT_EQ(blackness(handle.get(), 0xFFFFFFFFu), 1);
        EXPECT_EQ(blackness(handle.get(), 0), 0);
    }
}

TEST(QuibIsBlack, CountsThePaddingByte)
{
    const Image handle = makeHandle(1, 2, 24);
    EXPECT_EQ(blackness(handle.get(), 0), 1);
    rowOf(handle.get(), 1)[3] = 1;
    EXPECT_EQ(blackness(handle.get(), 0), 0);
    EXPECT_EQ(blackness(handle.get(), 1), 1);
}

TEST(QuibIsBlack, LeavesTheAlphaOf32BitsOut)
{
    const Image handle = makeHandle(9, 2, 32);
    QuibFillColor(handle.get(), 0xFF000000u, nullptr);
    EXPECT_EQ(blackness(handle.get(), 0), 1);
    rowOf(handle.get(), 1)[8 * 4 + 2] = 1;
    EXPECT_EQ(blackness(handle.get(), 0), 0);
}

TEST(QuibIsBlack, ComparesPackedBytesOfBits)
{
    const Image handle = makeHandle(9, 1, 1);
    putElement(handle.get(), 7, 0, 0, 1);
    EXPECT_EQ(blackness(handle.get(), 0), 0);
    EXPECT_EQ(blackness(handle.get(), 1), 1);
    putElement(handle.get(), 0, 0, 0, 1);
    EXPECT_EQ(blackness(handle.get(), 128), 0);
    EXPECT_EQ(blackness(handle.get(), 129), 1);
}

TEST(QuibIsBlack, StoresOneBeforeTheCheckRefuses)
{
    const CleanStatus clean;
    const Image handle = wrappedHandle();
    int32_t result = -1;
    EXPECT_EQ(QuibIsBlack(handle.get(), 0, &result), badSize);
    EXPECT_EQ(result, 1);
    result = -1;
    EXPECT_EQ(QuibIsBlack(nullptr, 0, &result), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(result, -1);
}

TEST(QuibIsBlack, CountsEveryByteOfFourWideChannels)
{
    // 64 bits a pixel: no byte of them is alpha.
    const Image handle = makeImage(3, 2, 4, IPL_DEPTH_16U);
    for (int32_t i = 0; i < 8; ++i) {
        uint8_t* const byte = rowOf(handle.get(), 1) + 8 + i;
        *byte = 9;
        int32_t black = 1;
        EXPECT_EQ(QuibIsBlack(handle.get(), 8, &black), QUIB_OK);
        EXPECT_EQ(black, 0) << "byte " << i;
        *byte = 0;
    }
}

TEST(QuibIsBlack, FaultsAtTheStoreForANullResult)
{
    const Image handle = makeHandle(2, 2, 8);
    EXPECT_DEATH(QuibIsBlack(handle.get(), 0, nullptr), "");
    EXPECT_EQ(QuibIsBlack(nullptr, 0, nullptr), QUIB_BAD_ARGUMENT);
}

TEST(QuibIsBlack, FindsOneBrightByteAnywhere)
{
    forEachLevel([] {
        Random random(7);
        for (int round = 0; round < 600; ++round) {
            const int32_t bitDepth = handleDepths[random.between(0, 3)];
            const Image handle = makeHandle(random.between(1, 200), random.between(1, 4), bitDepth);
            for (int32_t i = 0; i < handle->imageSize; ++i)
                handle->imageData[i] = static_cast<char>(random.between(0, 100));
            const int32_t where = random.between(0, handle->imageSize - 1);
            const int32_t bright = random.between(100, 255);
            handle->imageData[where] = static_cast<char>(bright);
            for (const uint32_t threshold :
                 {100u, static_cast<uint32_t>(bright) - 1, static_cast<uint32_t>(bright), 50u})
                ASSERT_EQ(blackness(handle.get(), threshold),
                          plainBlackness(handle.get(), threshold))
                    << bitDepth << ", byte " << where;
        }
    });
}

TEST(QuibIsBlack, TakesEachRowsBytesFromItsStartWhenThePitchIsOdd)
{
    // 32 bits a pixel in rows of 6 bytes: the skipped bytes start over.
    std::vector<uint8_t> pixels(12, 0);
    IplImage* handle = nullptr;
    ASSERT_EQ(QuibCreateHeader(1, 2, 32, &handle), QUIB_OK);
    const Image owner(handle);
    handle->imageData = reinterpret_cast<char*>(pixels.data());
    handle->widthStep = 6;
    handle->imageSize = 12;
    pixels[3] = pixels[9] = 200;
    EXPECT_EQ(blackness(handle, 0), 1);
    pixels[7] = 200;
    EXPECT_EQ(blackness(handle, 0), 0);
}
