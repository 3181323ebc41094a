#include "_Src/ipl.h"

#include "tests/_Src/dib/plain_dib.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/pace.h"
#include "tests/support/plain_reduction.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

using namespace plain_dib;

namespace
{

constexpr const char* dibFile = "iplDIB";

} // namespace

// --- From a bitmap ---------------------------------------------------------------------

TEST(IplConvertFromDIB, DoesNotFillTheLowBitsOf16BitPixels)
{
    Bytes dib = emptyDib(dibHeader(1, 1, 16));
    put32(dib, 40, 0x7FFF);
    EXPECT_EQ(pixelOf(converted(dib, 3).get(), 0, 0), (Colour{248, 248, 248, 0}));
}

TEST(IplConvertFromDIB, LeavesAlphaZeroFor24Bits)
{
    const Bytes dib(randomDib(dibHeader(3, 2, 24), *std::make_unique<Random>(1)));
    const Image image = converted(dib, 4);
    for (int32_t y = 0; y < 2; ++y)
        for (int32_t x = 0; x < 3; ++x)
            EXPECT_EQ(element(image.get(), x, y, 3), 0);
}

TEST(IplConvertFromDIB, CarriesTheReservedByteOfAnEntryToAlpha)
{
    Bytes dib = emptyDib(dibHeader(2, 1, 8, 0, 1));
    put32(dib, 40, 0x07030201);
    EXPECT_EQ(pixelOf(converted(dib, 4).get(), 1, 0), (Colour{1, 2, 3, 7}));
}

TEST(IplConvertFromDIB, MakesWhiteA254Gray)
{
    const Bytes dib = dibWith(dibHeader(1, 1, 24), {255, 255, 255, 0});
    EXPECT_EQ(pixelOf(converted(dib, 1).get(), 0, 0)[0], 254);
    EXPECT_EQ(pixelOf(converted(dib, 1, IPL_DEPTH_16U).get(), 0, 0)[0], 254 * 256);
    EXPECT_EQ(pixelOf(converted(dib, 1, IPL_DEPTH_1U).get(), 0, 0)[0], 1);
}

TEST(IplConvertFromDIB, SplitsOneBitImagesAt128)
{
    // A gray of v becomes v * 255 / 256.
    for (const int32_t value : {127, 128, 129}) {
        const uint8_t byte = static_cast<uint8_t>(value);
        const Bytes dib = dibWith(dibHeader(1, 1, 24), {byte, byte, byte, 0});
        EXPECT_EQ(pixelOf(converted(dib, 1, IPL_DEPTH_1U).get(), 0, 0)[0], value == 129 ? 1 : 0);
    }
}

TEST(IplConvertFromDIB, StoresTheGrayInTheThirdChannelOfAGrayColourImage)
{
    const Bytes dib = dibWith(dibHeader(1, 1, 24), {10, 20, 30, 0});
    Image image = makeImage(1, 1, 3, IPL_DEPTH_8U);
    setSequence(image.get(), "GRAY");
    iplConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(dib.data()), image.get());
    const int32_t gray = (20 * 183 + 30 * 54 + 10 * 18) / 256;
    EXPECT_EQ(pixelOf(image.get(), 0, 0), (Colour{10, 20, gray, 0}));
}

TEST(IplConvertFromDIB, GivesAllBitsToAlphaWhereMasksReachTheTop)
{
    Bytes dib = emptyDib(dibHeader(1, 1, 32, 3));
    put32(dib, 40, 0xFF000000); // red
    put32(dib, 44, 0x00FF0000);
    put32(dib, 48, 0x0000FF00);
    put32(dib, 52, 0x11223344);
    EXPECT_EQ(pixelOf(converted(dib, 4).get(), 0, 0), (Colour{0x33, 0x22, 0x11, 0x11}));
}

TEST(IplConvertFromDIB, PutsAlphaAboveTheHighestMask)
{
    Bytes dib = emptyDib(dibHeader(1, 1, 32, 3));
    put32(dib, 40, 0x000000FF);
    put32(dib, 44, 0x00000F00); // the highest: alpha is the 20 bits above it
    put32(dib, 48, 0x00000001);
    put32(dib, 52, 0x5A3C2F81);
    EXPECT_EQ(pixelOf(converted(dib, 4).get(), 0, 0), (Colour{0x80, 0xF0, 0x81, 0x5A}));
}

TEST(IplConvertFromDIB, MakesAChannelWithoutAMaskZero)
{
    for (const int32_t bits : {16, 32}) {
        Bytes dib = emptyDib(dibHeader(1, 1, bits, 3));
        put32(dib, 44, 0x0000F800);
        put32(dib, 52, 0xFFFFFFFF);
        const Colour pixel = pixelOf(converted(dib, 4).get(), 0, 0);
        EXPECT_EQ(pixel[0], 0);
        EXPECT_EQ(pixel[1], 0xF8);
        EXPECT_EQ(pixel[2], 0);
    }
}

TEST(IplConvertFromDIB, TakesTheLowHalfOf16BitMasks)
{
    Bytes dib = emptyDib(dibHeader(1, 1, 16, 3));
    put32(dib, 40, 0x1234F800);
    put32(dib, 44, 0xFFFF07E0);
    put32(dib, 48, 0x0001001F);
    put32(dib, 52, 0xFFFF);
    EXPECT_EQ(pixelOf(converted(dib, 3).get(), 0, 0), (Colour{0xF8, 0xFC, 0xF8, 0}));
}

TEST(IplConvertFromDIB, ReadsOtherDataForIndicesPastTheTableAndZeroPastTheBlock)
{
    Bytes dib = emptyDib(dibHeader(4, 1, 8, 0, 1));
    put32(dib, 40, 0x00030201);
    dib[44] = 0;
    dib[45] = 1; // the second entry is the row itself
    dib[46] = 2; // the third is past the end
    dib[47] = 255;
    const Image image = converted(dib, 4);
    EXPECT_EQ(pixelOf(image.get(), 0, 0), (Colour{1, 2, 3, 0}));
    EXPECT_EQ(pixelOf(image.get(), 1, 0), (Colour{0, 1, 2, 255}));
    EXPECT_EQ(pixelOf(image.get(), 2, 0), Colour{});
    EXPECT_EQ(pixelOf(image.get(), 3, 0), Colour{});
}

TEST(IplConvertFromDIB, AllocatesPixelsForABareHeader)
{
    const Image image(iplCreateImageHeader(4, 0, 8, "RGBA", "BGRA", 0, 0, 4, 2, 1, nullptr, nullptr,
                                           nullptr, nullptr));
    const Bytes dib = dibWith(dibHeader(2, 1, 24), {1, 2, 3, 4, 5, 6, 0, 0});
    iplConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(dib.data()), image.get());
    ASSERT_NE(image->imageData, nullptr);
    EXPECT_EQ(bytesOf(image.get()), (Bytes{1, 2, 3, 0, 4, 5, 6, 0}));
}

TEST(IplConvertFromDIB, LeavesTheImageAfterAnEarlierFailure)
{
    const CleanStatus clean;
    const Bytes dib = dibWith(dibHeader(1, 1, 24), {255, 255, 255, 0});
    const Image image = makeImage(1, 1, 3, IPL_DEPTH_8U);
    iplSetStatus(-12);
    iplConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(dib.data()), image.get());
    EXPECT_EQ(bytesOf(image.get()), Bytes(4));
    EXPECT_EQ(iplGetStatus(), -12);
    iplSetStatus(0);
    iplConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(dib.data()), image.get());
    EXPECT_EQ(bytesOf(image.get()), (Bytes{255, 255, 255, 0}));
}

TEST(IplConvertFromDIB, WritesNothingForSizesOfZeroOrBelow)
{
    const struct {
        int32_t width;
        int32_t height;
    } sizes[] = {{0, 2}, {2, 0}, {-3, 2}, {INT32_MIN, 2}, {0, 0}, {-1, -1}};
    for (const auto& size : sizes) {
        const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
        const Bytes before = bytesOf(image.get());
        const GuardedBytes dib(dibWith(dibHeader(size.width, size.height, 24), {}));
        iplConvertFromDIB(dib.dib(), image.get());
        EXPECT_EQ(bytesOf(image.get()), before);
    }
}

TEST(IplConvertFromDIB, DecompressesBothForms)
{
    // Two rows, the lower one first: 1 1 0, then 0 1 2.
    const Bytes table{0, 0, 0, 0, 10, 10, 10, 0, 20, 20, 20, 0};
    Bytes rle8 = dibWith(dibHeader(3, 2, 8, 1, 3), table);
    rle8.insert(rle8.end(), {2, 1, 1, 0, 0, 0, 0, 3, 0, 1, 2, 0, 0, 1, 0, 0});
    Bytes rle4 = dibWith(dibHeader(3, 2, 4, 2, 3), table);
    rle4.insert(rle4.end(), {2, 0x11, 1, 0, 0, 0, 0, 3, 0x01, 0x20, 0, 1});
    for (const Bytes& dib : {rle8, rle4}) {
        const Image image = converted(dib, 3);
        EXPECT_EQ(bytesOf(image.get()), (Bytes{0,  0,  0,  10, 10, 10, 20, 20, 20, 0, 0, 0,
                                               10, 10, 10, 10, 10, 10, 0,  0,  0,  0, 0, 0}));
    }
}

TEST(IplConvertFromDIB, EqualsThePlainFormForAllFormats)
{
    Random random(7);
    for (int32_t round = 0; round < 3000; ++round) {
        const Bytes dib = randomBitmap(random);
        const PlainDib plain(dib);
        const int32_t height = static_cast<int32_t>(dibRows(plain.header));
        // The image may be larger: what the bitmap does not cover stays.
        const Image image = randomImage(plain.header.biWidth + random.between(0, 9),
                                        height + random.between(0, 2), random, false);
        const Image expected(iplCloneImage(image.get()));
        const GuardedPixels guarded(image.get());
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < plain.header.biWidth; ++x)
                plainStore(expected.get(), x, y, plain.pixel(x, y));
        const GuardedBytes block(dib);
        iplConvertFromDIB(block.dib(), image.get());
        ASSERT_EQ(bytesOf(image.get()), bytesOf(expected.get()))
            << plain.header.biBitCount << " bits, " << image->nChannels << " channels of "
            << image->depth << ", " << sequenceOf(image.get());
    }
}

namespace
{

// Cuts the bitmap anywhere behind its header; what it then lacks reads 0.
void cutAndCompare(Bytes dib, Random& random)
{
    dib.resize(static_cast<size_t>(random.between(40, static_cast<int32_t>(dib.size()))));
    const PlainDib plain(dib);
    const int32_t height = static_cast<int32_t>(dibRows(plain.header));
    const Image image = randomImage(plain.header.biWidth, height, random, false);
    const Image expected(iplCloneImage(image.get()));
    const GuardedPixels guarded(image.get());
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < plain.header.biWidth; ++x)
            plainStore(expected.get(), x, y, plain.pixel(x, y));
    const GuardedBytes block(dib);
    ownConvertFromDIB(block.data(), block.size(), image.get());
    ASSERT_EQ(bytesOf(image.get()), bytesOf(expected.get()));
}

} // namespace

TEST(IplConvertFromDIB, ReadsZerosPastAShortBlock)
{
    Random random(8);
    for (int32_t round = 0; round < 2000; ++round)
        ASSERT_NO_FATAL_FAILURE(cutAndCompare(randomBitmap(random), random));
    for (int32_t round = 0; round < 200; ++round) {
        BITMAPINFOHEADER header = randomHeader(random);
        header.biWidth = random.between(250, 1100);
        ASSERT_NO_FATAL_FAILURE(cutAndCompare(randomDib(header, random), random));
    }
}

TEST(IplConvertFromDIB, FindsTheRowsThatAStreamSkips)
{
    // 300 pixels of 1, twice 250 rows that a delta skips, 300 pixels of 2.
    const Bytes table{90, 90, 90, 0, 10, 10, 10, 0, 20, 20, 20, 0};
    Bytes dib = dibWith(dibHeader(300, 502, 8, 1, 3), table);
    dib.insert(dib.end(), {255, 1, 45, 1, 0, 0, 0, 2, 0, 250, 0, 2, 0, 250, 255, 2, 45, 2, 0, 1});
    for (const int32_t channels : {1, 3, 4}) {
        const Image image = converted(dib, channels);
        for (int32_t y = 0; y < 502; ++y) {
            const uint8_t colour = y == 501 ? 10 : y == 0 ? 20 : 90;
            // Gray loses one of 255 parts.
            const int32_t expected = channels == 1 ? colour * 255 >> 8 : colour;
            for (int32_t x = 0; x < 300; ++x)
                ASSERT_EQ(rowOf(image.get(), y)[x * channels], expected) << x << ", " << y;
        }
    }
}

TEST(IplConvertFromDIB, IgnoresWidthStepRegionAndMask)
{
    Random random(9);
    const Bytes dib = randomDib(dibHeader(5, 3, 24), random);
    const Image plain = converted(dib, 3);
    const Image image = makeImage(5, 3, 3, IPL_DEPTH_8U);
    setRoi(image.get(), 1, 2, 2, 1, 1);
    giveRandomMask(image.get(), 5, 3, random);
    image->widthStep = 4;
    iplConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(dib.data()), image.get());
    EXPECT_EQ(bytesOf(image.get()), bytesOf(plain.get()));
}

// --- Refusals of iplConvertFromDIB -----------------------------------------------------

namespace
{

void expectFromRefused(const BITMAPINFOHEADER& header, IplImage* image, int32_t status,
                       const std::string& text)
{
    SCOPED_TRACE(text);
    const Bytes dib = dibWith(header, Bytes(2048));
    const BITMAPINFOHEADER* address = reinterpret_cast<const BITMAPINFOHEADER*>(dib.data());
    EXPECT_REPORT(iplConvertFromDIB(address, image), status, "iplConvertFromDIB", text, dibFile);
    const ReportsReturn returning;
    iplConvertFromDIB(address, image);
    EXPECT_EQ(iplGetStatus(), status);
}

template<class Change>
void expectImageRefused(Change change, const std::string& text)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    change(image.get());
    expectFromRefused(dibHeader(4, 4, 24), image.get(), -5, text);
}

struct BadHeader {
    BITMAPINFOHEADER header;
    const char* text;
};

// The tests that both directions make of a header, in their order.
std::vector<BadHeader> badHeaders()
{
    BITMAPINFOHEADER longHeader = dibHeader(4, 4, 24);
    longHeader.biSize = 108;
    BITMAPINFOHEADER planes = dibHeader(4, 4, 24);
    planes.biPlanes = 3;
    return {
        {longHeader, "(dib->biSize != sizeof(BITMAPINFOHEADER))"},
        {planes, "(dib->biPlanes != 1)"},
        {dibHeader(4, 4, 24, 4),
         "(dib->biCompression != 0) && (dib->biCompression != 1) && (dib->biCompression != 2) && "
         "(dib->biCompression != 3)"},
        {dibHeader(4, 4, 4, 1), "(dib->biBitCount != 8) && (dib->biCompression == 1)"},
        {dibHeader(4, 4, 8, 2), "(dib->biBitCount != 4) && (dib->biCompression == 2)"},
        {dibHeader(4, -4, 8, 1), "(dib->biHeight < 0) && ( (dib->biCompression == 1) || "
                                 "(dib->biCompression == 2) )"},
        {dibHeader(4, -4, 4, 2), "(dib->biHeight < 0) && ( (dib->biCompression == 1) || "
                                 "(dib->biCompression == 2) )"},
        {dibHeader(4, 4, 24, 0, 0x8001), "(dib->biClrUsed > 0x8000)"},
        {dibHeader(4, 4, 24, 0, 0xFFFFFFFF), "(dib->biClrUsed > 0x8000)"},
        {dibHeader(4, 4, 8, 0, 257), "( dib->biBitCount==8 && dib->biClrUsed>256 )"},
        {dibHeader(4, 4, 4, 0, 17), "( dib->biBitCount==4 && dib->biClrUsed>16 )"},
    };
}

} // namespace

TEST(IplConvertFromDIB, RefusesNullArguments)
{
    const Bytes dib = emptyDib(dibHeader(4, 4, 24));
    const BITMAPINFOHEADER* address = reinterpret_cast<const BITMAPINFOHEADER*>(dib.data());
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    EXPECT_REPORT(iplConvertFromDIB(nullptr, image.get()), -5, "iplConvertFromDIB", "dib==0",
                  dibFile);
    EXPECT_REPORT(iplConvertFromDIB(address, nullptr), -5, "iplConvertFromDIB", "image==0",
                  dibFile);
    const ReportsReturn returning;
    static int32_t reports;
    reports = 0;
    iplErrorState.handler = [](int32_t status, const char*, const char*, const char*, int32_t) {
        ++reports;
        return status;
    };
    iplConvertFromDIB(nullptr, nullptr);
    EXPECT_EQ(reports, 2) << "the image is tested also after the bitmap was reported";
}

TEST(IplConvertFromDIB, RefusesImages)
{
    expectImageRefused([](IplImage* image) { image->alphaChannel = -1; },
                       "( image->alphaChannel < 0 )");
    expectImageRefused([](IplImage* image) { image->alphaChannel = 4; },
                       "( image->nChannels < image->alphaChannel )");
    expectImageRefused([](IplImage* image) { image->dataOrder = 2; },
                       "( (image->dataOrder != 0) && (image->dataOrder != 1) )");
    expectImageRefused([](IplImage* image) { image->origin = 2; },
                       "( (image->origin != 0) && (image->origin != 1) )");
    expectImageRefused([](IplImage* image) { image->align = 12; },
                       "( (image->align != 4) && (image->align != 8) && (image->align != 16) && "
                       "(image->align != 32) )");
    expectImageRefused([](IplImage* image) { image->height = 0; }, "(image->height <= 0)");
    expectImageRefused([](IplImage* image) { image->width = -1; }, "(image->width <= 0)");
    expectImageRefused([](IplImage* image) { image->imageSize = 0; }, "(image->imageSize <= 0)");
    expectImageRefused([](IplImage* image) { image->widthStep = 0; }, "(image->widthStep <= 0)");
    // The first of several failures is told.
    expectImageRefused([](IplImage* image) { image->height = image->width = image->align = 0; },
                       "( (image->align != 4) && (image->align != 8) && (image->align != 16) && "
                       "(image->align != 32) )");
}

TEST(IplConvertFromDIB, RefusesHeaders)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    for (const BadHeader& bad : badHeaders())
        expectFromRefused(bad.header, image.get(), -5, bad.text);
}

namespace
{

// A header that fails the n-th of its nine tests and, where one header can, all
// that stand behind it.
BITMAPINFOHEADER badFrom(int32_t n)
{
    constexpr int32_t compressions[] = {4, 4, 4, 1, 2, 1, 0, 0, 0};
    constexpr int32_t bits[] = {8, 8, 8, 4, 8, 8, 8, 8, 4};
    BITMAPINFOHEADER header =
        dibHeader(4, n <= 5 ? -4 : 4, bits[n], static_cast<uint32_t>(compressions[n]),
                  n <= 6   ? 0x8001
                  : n == 7 ? 257
                           : 17);
    if (n == 0)
        header.biSize = 108;
    if (n <= 1)
        header.biPlanes = 3;
    return header;
}

// What is reported of it.
std::string textFrom(int32_t n)
{
    // badHeaders() has two for the sixth test and for the seventh.
    constexpr size_t places[] = {0, 1, 2, 3, 4, 5, 7, 9, 10};
    return badHeaders()[places[n]].text;
}

} // namespace

TEST(IplConvertFromDIB, TestsTheImageThenTheHeaderThenTheSizes)
{
    // All that stands behind the n-th test is bad too.
    const char* const texts[] = {
        "( image->alphaChannel < 0 )",
        "( image->nChannels < image->alphaChannel )",
        "( (image->dataOrder != 0) && (image->dataOrder != 1) )",
        "( (image->origin != 0) && (image->origin != 1) )",
        "( (image->align != 4) && (image->align != 8) && (image->align != 16) && "
        "(image->align != 32) )",
        "(image->height <= 0)",
        "(image->width <= 0)",
        "(image->imageSize <= 0)",
        "(image->widthStep <= 0)",
    };
    for (size_t n = 0; n < std::size(texts); ++n) {
        const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
        setSequence(image.get(), "none");
        image->alphaChannel = n == 0 ? -1 : n == 1 ? 4 : 0;
        image->dataOrder = n <= 2 ? 2 : 0;
        image->origin = n <= 3 ? 2 : 0;
        image->align = n <= 4 ? 5 : 4;
        image->height = n <= 5 ? 0 : 4;
        image->width = n <= 6 ? 0 : 4;
        image->imageSize = n <= 7 ? 0 : image->imageSize;
        image->widthStep = 0;
        expectFromRefused(badFrom(0), image.get(), -5, texts[n]);
    }
    const Image small = makeImage(1, 1, 3, IPL_DEPTH_8U);
    setSequence(small.get(), "none");
    for (int32_t n = 0; n < 9; ++n)
        expectFromRefused(badFrom(n), small.get(), -5, textFrom(n));
    expectFromRefused(dibHeader(4, 4, 24), small.get(), -10, "Image size is too small");
    expectFromRefused(dibHeader(1, 1, 24), small.get(), -14, "image->channelSeq unsupport");
}

TEST(IplConvertFromDIB, LooksAtAnOldFailureBeforeTheImageAndTheHeader)
{
    const CleanStatus clean;
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    image->alphaChannel = -1;
    const Bytes dib = dibWith(badFrom(0), Bytes(64));
    iplSetStatus(-10);
    iplConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(dib.data()), image.get());
    EXPECT_EQ(iplGetStatus(), -10);
}

TEST(IplConvertFromDIB, RefusesASmallerImage)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    const char* text = "Image size is too small";
    expectFromRefused(dibHeader(5, 4, 24), image.get(), -10, text);
    expectFromRefused(dibHeader(4, 5, 24), image.get(), -10, text);
    expectFromRefused(dibHeader(4, -5, 24), image.get(), -10, text);
    expectFromRefused(dibHeader(4, INT32_MIN, 24), image.get(), -10, text);
    expectFromRefused(dibHeader(INT32_MAX, INT32_MAX, 32), image.get(), -10, text);
}

TEST(IplConvertFromDIB, RefusesChannelSequences)
{
    for (const char* sequence : {"G   ", "BGRX", "YUV", ""}) {
        const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
        setSequence(image.get(), sequence);
        expectFromRefused(dibHeader(4, 4, 24), image.get(), -14, "image->channelSeq unsupport");
    }
}

TEST(IplConvertFromDIB, RefusesOtherCombinationsWithoutAText)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    for (const int32_t bits : {0, 2, 15, 48, 65535})
        expectFromRefused(dibHeader(4, 4, bits), image.get(), -3, "");
    const Image twoChannels(iplCreateImageHeader(2, 0, 8, "RGB", "BGR", 0, 0, 4, 4, 4, nullptr,
                                                 nullptr, nullptr, nullptr));
    expectFromRefused(dibHeader(4, 4, 24), twoChannels.get(), -3, "");
    for (const uint32_t depth : {IPL_DEPTH_8S, IPL_DEPTH_32S, IPL_DEPTH_32F})
        expectFromRefused(dibHeader(4, 4, 24), makeImage(4, 4, 3, depth).get(), -3, "");
    // The bit count is looked at before the sequence, that before the store.
    setSequence(twoChannels.get(), "none");
    expectFromRefused(dibHeader(4, 4, 2), twoChannels.get(), -3, "");
    expectFromRefused(dibHeader(4, 4, 24), twoChannels.get(), -14, "image->channelSeq unsupport");
}

TEST(IplConvertFromDIB, ReportsPixelsThatCannotBeHad)
{
    IplImage* record = iplCreateImageHeader(4, 0, 8, "RGBA", "BGRA", 0, 0, 4, 65536, 16000, nullptr,
                                            nullptr, nullptr, nullptr);
    const Image image(record);
    image->imageSize = 1; // the tests see nothing wrong
    const Bytes dib = dibWith(dibHeader(1, 1, 24), Bytes(4));
    const BITMAPINFOHEADER* address = reinterpret_cast<const BITMAPINFOHEADER*>(dib.data());
    EXPECT_REPORT(iplConvertFromDIB(address, image.get()), -4, "iplAllocateImage",
                  "for allocate image data", "iplalloc");
    const ReportsReturn returning;
    static std::string last;
    iplErrorState.handler = [](int32_t status, const char*, const char* text, const char*,
                               int32_t) {
        last = text;
        return status;
    };
    iplConvertFromDIB(address, image.get());
    EXPECT_EQ(last, "Not enough memory to allocate data for destination image");
}

TEST(IplConvertFromDIB, WritesNothingToPixelsOfASizeThatWrapsToNothing)
{
    const CleanStatus clean;
    const Image image(iplCreateImageHeader(4, 0, 8, "RGBA", "BGRA", 0, 0, 4, 65536, 16384, nullptr,
                                           nullptr, nullptr, nullptr));
    image->imageSize = 1; // the tests see nothing wrong
    const Bytes dib = dibWith(dibHeader(1, 1, 24), Bytes(4));
    iplConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(dib.data()), image.get());
    EXPECT_EQ(image->imageSize, 0);
    EXPECT_EQ(iplGetStatus(), 0);
}

TEST(IplConvertFromDIB, ReportsAStreamThatCannotBeDecoded)
{
    const Image image = makeImage(4, 4, 1, IPL_DEPTH_8U);
    const Bytes dib = dibWith(dibHeader(4, 4, 8, 1, 1), Bytes(16));
    const BITMAPINFOHEADER* address = reinterpret_cast<const BITMAPINFOHEADER*>(dib.data());
    EXPECT_REPORT(iplConvertFromDIB(address, image.get()), -5, "ownDecompressRLE",
                  "Incorrect format of BI_RLE8 DIB (mismatch biWidth)", "ownrle");
    // No rows at all is no block.
    const Bytes empty = dibWith(dibHeader(4, 0, 8, 1, 1), Bytes(16));
    EXPECT_REPORT(
        iplConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(empty.data()), image.get()), -4,
        "ownDecompressRLE", "Not enough memory to decompress BI_RLE8 DIB at DIB", "ownrle");
    const ReportsReturn returning;
    iplConvertFromDIB(address, image.get());
    EXPECT_EQ(iplGetStatus(), -3) << "the report that follows the decoder's";
}

// --- To a bitmap -----------------------------------------------------------------------

TEST(IplConvertToDIB, GivesTheIndicesOfBlackAndWhite)
{
    const Image image = makeImage(10, 2, 1, IPL_DEPTH_1U);
    rowOf(image.get(), 0)[0] = 0xA5;
    rowOf(image.get(), 1)[1] = 0x40;
    Bytes dib = emptyDib(dibHeader(10, 2, 8, 0, 2));
    put32(dib, 44, 0x00FFFFFF);
    const GuardedBytes block(dib);
    EXPECT_EQ(iplConvertToDIB(image.get(), block.dib(), 1, 0), 0);
    EXPECT_EQ(Bytes(block.data() + 48, block.data() + 72),
              (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0, 1, 0, 0, 1, 0, 1, 0, 0, 0, 0}));
}

TEST(IplConvertToDIB, EqualsThePlainFormForAllFormats)
{
    Random random(11);
    for (int32_t round = 0; round < 2000; round += stepOfCases(4)) {
        const Bytes dib = randomBitmap(random);
        const PlainDib plain(dib);
        const int32_t height = static_cast<int32_t>(dibRows(plain.header));
        const Image image = randomImage(plain.header.biWidth, height, random, true);
        const GuardedPixels guarded(image.get());
        Bytes expected = dib;
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < plain.header.biWidth; ++x)
                plainPut(expected, plain, x, y, plainFetch(image.get(), x, y));
        const GuardedBytes block(dib);
        ASSERT_EQ(iplConvertToDIB(image.get(), block.dib(), 1, 0),
                  static_cast<int32_t>(plain.header.biCompression));
        ASSERT_EQ(block.bytes(), expected) << plain.header.biBitCount << " bits";
    }
}

TEST(IplConvertToDIB, WritesNothingPastAShortBlock)
{
    Random random(12);
    for (int32_t round = 0; round < 1000; ++round) {
        Bytes dib = randomBitmap(random);
        dib.resize(static_cast<size_t>(random.between(40, static_cast<int32_t>(dib.size()))));
        const PlainDib plain(dib);
        const int32_t height = static_cast<int32_t>(dibRows(plain.header));
        const Image image = randomImage(plain.header.biWidth, height, random, true);
        Bytes expected = dib;
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < plain.header.biWidth; ++x)
                plainPut(expected, plain, x, y, plainFetch(image.get(), x, y));
        const GuardedBytes block(dib);
        ownConvertToDIB(image.get(), block.data(), block.size(), 1, 0);
        ASSERT_EQ(block.bytes(), expected);
    }
}

TEST(IplConvertToDIB, CompressesWhereAsked)
{
    const Image image = makeImage(64, 4, 1, IPL_DEPTH_8U);
    for (const int32_t bits : {4, 8}) {
        Bytes dib = emptyDib(dibHeader(64, 4, bits, bits == 8 ? 1 : 2, 2));
        put32(dib, 40, 0x00FFFFFF);
        const GuardedBytes block(dib);
        EXPECT_EQ(iplConvertToDIB(image.get(), block.dib(), 1, 0), 1);
        const Bytes result = block.bytes();
        EXPECT_EQ(block.header().biSizeImage, 4u * 4 + 2);
        EXPECT_EQ(Bytes(result.begin() + 48, result.begin() + 52),
                  (Bytes{64, static_cast<uint8_t>(bits == 8 ? 1 : 0x11), 0, 0}));
        const Image back = makeImage(64, 4, 1, IPL_DEPTH_8U);
        randomise(back.get(), *std::make_unique<Random>(1));
        ownConvertFromDIB(block.data(), block.size(), back.get());
        EXPECT_EQ(bytesOf(back.get()), bytesOf(image.get()));
    }
}

// --- Refusals of iplConvertToDIB -------------------------------------------------------

namespace
{

void expectToRefused(IplImage* image, const BITMAPINFOHEADER& header, int32_t dither,
                     int32_t paletteConversion, int32_t status, const std::string& text)
{
    SCOPED_TRACE(text);
    Bytes dib = dibWith(header, Bytes(4096));
    BITMAPINFOHEADER* address = reinterpret_cast<BITMAPINFOHEADER*>(dib.data());
    EXPECT_REPORT(iplConvertToDIB(image, address, dither, paletteConversion), status,
                  "iplConvertToDIB", text, dibFile);
    const ReportsReturn returning;
    EXPECT_EQ(iplConvertToDIB(image, address, dither, paletteConversion), status);
}

} // namespace

TEST(IplConvertToDIB, RefusesImages)
{
    const BITMAPINFOHEADER header = dibHeader(4, 4, 24);
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    expectToRefused(nullptr, header, 1, 0, -9, "Incorrect Image");
    image->align = 5;
    expectToRefused(image.get(), header, 1, 0, -21, "Incorrect Image");
    image->align = 4;
    EXPECT_REPORT(iplConvertToDIB(image.get(), nullptr, 1, 0), -5, "iplConvertToDIB", "dib==0",
                  dibFile);
    const auto refuse = [&header](int32_t nChannels, uint32_t depth, int32_t alpha,
                                  const char* text) {
        const Image bad = makeImage(4, 4, nChannels, depth, 0, 4, alpha);
        expectToRefused(bad.get(), header, 1, 0, -5, text);
    };
    refuse(5, IPL_DEPTH_8U, 0, "(image->nChannels <= 0 || image->nChannels > 4)");
    for (const uint32_t depth : {IPL_DEPTH_8S, IPL_DEPTH_16S, IPL_DEPTH_32S, IPL_DEPTH_32F})
        refuse(3, depth, 0,
               "( (image->depth != 1) && (image->depth != 8) && (image->depth != 16) )");
    refuse(3, IPL_DEPTH_8U, 3, "(image->alphaChannel != 0 && image->alphaChannel != 4)");
    // A handle of 32 bits: four channels without an alpha channel.
    refuse(4, IPL_DEPTH_8U, 0, "(image->nChannels != 3 && image->nChannels != 1)");
    refuse(2, IPL_DEPTH_8U, 0, "(image->nChannels != 3 && image->nChannels != 1)");
}

TEST(IplConvertToDIB, RefusesOtherSizes)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    const char* text = "(image->width != dib->biWidth || image->height != abs_biHeight)";
    for (const BITMAPINFOHEADER& header :
         {dibHeader(3, 4, 24), dibHeader(4, 5, 24), dibHeader(4, -5, 24),
          dibHeader(4, INT32_MIN, 24), dibHeader(-4, 4, 24), dibHeader(4, 0, 24)})
        expectToRefused(image.get(), header, 1, 0, -5, text);
}

TEST(IplConvertToDIB, RefusesHeaders)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    for (const BadHeader& bad : badHeaders())
        expectToRefused(image.get(), bad.header, 1, 0, -5, bad.text);
}

TEST(IplConvertToDIB, RefusesOtherArguments)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    const BITMAPINFOHEADER header = dibHeader(4, 4, 8);
    for (const int32_t dither : {0, 3, 32, -1})
        expectToRefused(
            image.get(), header, dither, 0, -5,
            "(dither != 1 && dither != 2 && dither != 4 && dither != 8 && dither != 16)");
    for (const int32_t conversion : {-1, 3})
        expectToRefused(image.get(), header, 1, conversion, -5,
                        "(paletteConversion != 0 && paletteConversion != 1 && "
                        "paletteConversion != 2)");
    expectToRefused(image.get(), dibHeader(4, 4, 12), 1, 2, -3, "Error of creating medcut palette");
    expectToRefused(image.get(), dibHeader(4, 4, 12), 1, 0, -5, "dib->biBitCount is bad");
    expectToRefused(image.get(), dibHeader(4, 4, 48), 1, 0, -5, "dib->biBitCount is bad");
    setSequence(image.get(), "none");
    expectToRefused(image.get(), header, 1, 0, -14, "image->channelSeq unsupport");
    expectToRefused(image.get(), header, 1, 2, -3, "Error of creating medcut palette");
    setSequence(image.get(), "GRAY");
    expectToRefused(image.get(), header, 1, 2, -3, "Error of creating medcut palette");
}

TEST(IplConvertToDIB, TestsTheImageThenTheSizeTheHeaderAndTheArguments)
{
    // All that stands behind the n-th test is bad too: the sizes differ, and the
    // header and both arguments are refused.
    BITMAPINFOHEADER bad = badFrom(0);
    bad.biWidth = 5;
    const auto refuse = [&bad](int32_t nChannels, uint32_t depth, int32_t alpha, const char* text) {
        const Image image = makeImage(4, 4, nChannels, depth, 0, 4, alpha);
        setSequence(image.get(), "none");
        expectToRefused(image.get(), bad, 0, 3, -5, text);
    };
    refuse(5, IPL_DEPTH_8S, 5, "(image->nChannels <= 0 || image->nChannels > 4)");
    refuse(3, IPL_DEPTH_8S, 3,
           "( (image->depth != 1) && (image->depth != 8) && (image->depth != 16) )");
    refuse(3, IPL_DEPTH_8U, 3, "(image->alphaChannel != 0 && image->alphaChannel != 4)");
    refuse(2, IPL_DEPTH_8U, 0, "(image->nChannels != 3 && image->nChannels != 1)");
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    setSequence(image.get(), "none");
    expectToRefused(image.get(), bad, 0, 3, -5,
                    "(image->width != dib->biWidth || image->height != abs_biHeight)");
    for (int32_t n = 0; n < 9; ++n)
        expectToRefused(image.get(), badFrom(n), 0, 3, -5, textFrom(n));
    const BITMAPINFOHEADER header = dibHeader(4, 4, 12);
    expectToRefused(image.get(), header, 0, 3, -5,
                    "(dither != 1 && dither != 2 && dither != 4 && dither != 8 && dither != 16)");
    expectToRefused(image.get(), header, 2, 3, -5,
                    "(paletteConversion != 0 && paletteConversion != 1 && "
                    "paletteConversion != 2)");
    expectToRefused(image.get(), header, 2, 2, -3, "Error of creating medcut palette");
    expectToRefused(image.get(), header, 2, 1, -5,
                    "Parameter biBitCount of DIB-image have illegal value");
    expectToRefused(image.get(), header, 1, 0, -14, "image->channelSeq unsupport");
    EXPECT_REPORT(iplConvertToDIB(image.get(), nullptr, 0, 3), -5, "iplConvertToDIB", "dib==0",
                  dibFile);
}

TEST(IplConvertToDIB, LeavesAFullColourTableAsItWas)
{
    Random random(44);
    for (const int32_t bits : {1, 4, 8}) {
        const Image image = makeImage(5, 3, 1, IPL_DEPTH_8U);
        randomise(image.get(), random);
        const Bytes before = randomDib(dibHeader(5, 3, bits), random);
        const GuardedBytes block(before);
        EXPECT_EQ(iplConvertToDIB(image.get(), block.dib(), 1, 0), 0);
        const Bytes after = block.bytes();
        const size_t entries = size_t{1} << bits;
        EXPECT_EQ(Bytes(after.begin(), after.begin() + static_cast<ptrdiff_t>(40 + 4 * entries)),
                  Bytes(before.begin(), before.begin() + static_cast<ptrdiff_t>(40 + 4 * entries)));
        EXPECT_NE(after, before);
    }
}

TEST(IplConvertFromDIB, TakesNoMasksOutOfATableAtEightBitsAndBelow)
{
    // `biCompression` 3 means masks at 16 and 32 bits only.
    Random random(45);
    for (const int32_t bits : {1, 4, 8, 24}) {
        const Bytes plain = randomDib(dibHeader(9, 4, bits), random);
        Bytes dib = plain;
        put32(dib, 16, 3);
        const Image expected = makeImage(9, 4, 3, IPL_DEPTH_8U);
        const Image image = makeImage(9, 4, 3, IPL_DEPTH_8U);
        const GuardedBytes withoutMasks(plain);
        const GuardedBytes block(dib);
        iplConvertFromDIB(withoutMasks.dib(), expected.get());
        iplConvertFromDIB(block.dib(), image.get());
        EXPECT_EQ(bytesOf(image.get()), bytesOf(expected.get())) << bits;
        Bytes out = plain;
        put32(out, 16, 3);
        const GuardedBytes target(out);
        EXPECT_EQ(iplConvertToDIB(expected.get(), target.dib(), 1, 0), 3);
        const GuardedBytes plainTarget(plain);
        EXPECT_EQ(iplConvertToDIB(expected.get(), plainTarget.dib(), 1, 0), 0);
        Bytes written = plainTarget.bytes();
        put32(written, 16, 3);
        EXPECT_EQ(target.bytes(), written) << bits;
    }
}

TEST(IplConvertToDIB, TakesTheLengthOfATableOnlyAsFarAsItsPixelsTell)
{
    // A table of 32,768 colours, of which the sixth is the image's.
    const Image image = makeImage(9, 1, 3, IPL_DEPTH_8U);
    std::memset(image->imageData, 0x60, static_cast<size_t>(image->imageSize));
    Bytes dib = emptyDib(dibHeader(9, 1, 1, 0, 0x8000));
    put32(dib, 40, 0x00404040);
    put32(dib, 44, 0x00FFFFFF);
    put32(dib, 60, 0x00606060);
    const GuardedBytes block(dib);
    EXPECT_EQ(iplConvertToDIB(image.get(), block.dib(), 1, 0), 0);
    EXPECT_EQ(block.bytes(), dib) << "the first colour is nearer than the second";
}

TEST(IplConvertToDIB, MakesNoTableForBitsThatHasNoRoom)
{
    const Image image = makeImage(4, 4, 1, IPL_DEPTH_1U);
    const Bytes dib = dibWith(dibHeader(4, 4, 0), Bytes(4, 0xEE));
    const GuardedBytes block(dib);
    expectToRefused(image.get(), dibHeader(4, 4, 0), 1, 2, -3, "Error of creating medcut palette");
    const ReportsReturn returning;
    EXPECT_EQ(iplConvertToDIB(image.get(), block.dib(), 1, 2), -3);
    EXPECT_EQ(block.bytes(), dib);
}

TEST(IplConvertToDIB, ReadsNoMasksOf24BitPixels)
{
    const Image image = makeImage(1, 1, 3, IPL_DEPTH_8U);
    const GuardedBytes block(dibWith(dibHeader(1, 1, 24, 3), Bytes(4)));
    std::memset(image->imageData, 7, 3);
    EXPECT_EQ(iplConvertToDIB(image.get(), block.dib(), 1, 0), 3);
    EXPECT_EQ(Bytes(block.data() + 40, block.data() + 44), (Bytes{7, 7, 7, 0}));
}

// --- Dither --------------------------------------------------------------------------

namespace
{

constexpr int32_t dithers[] = {IPL_DITHER_FS, IPL_DITHER_JJH, IPL_DITHER_STUCKEY, IPL_DITHER_BAYER};

int32_t levelsAt(int32_t bits)
{
    return bits == 1 ? 2 : bits == 4 ? 16 : bits == 16 ? 32 : 256;
}

// The image that a bitmap of these bits is made of, with the alpha of the original.
Image plainDithered(const IplImage* image, int32_t ditherType, int32_t bits)
{
    const uint32_t depth = bits == 1 ? IPL_DEPTH_1U : IPL_DEPTH_8U;
    Image result = makeImage(image->width, image->height, image->nChannels, depth, image->dataOrder,
                             image->align, image->alphaChannel, image->origin);
    std::memcpy(result->channelSeq, image->channelSeq, 4);
    plainReduce(image, result.get(), ditherType, levelsAt(bits));
    for (int32_t i = 0; image->alphaChannel && i < image->width * image->height; ++i) {
        const int32_t x = i % image->width;
        const int32_t y = i / image->width;
        const double alpha = element(image, x, y, 3);
        putElement(result.get(), x, y, 3, image->depth == IPL_DEPTH_16U ? alpha / 256 : alpha);
    }
    return result;
}

} // namespace

TEST(IplConvertToDIB, DithersARowToBlackAndWhite)
{
    // As the errors of Floyd and Steinberg go: 100, 143.75 and 51.328125.
    const Image image = makeImage(3, 1, 1, IPL_DEPTH_8U);
    std::memset(image->imageData, 100, 3);
    Bytes dib = emptyDib(dibHeader(3, 1, 1));
    put32(dib, 44, 0x00FFFFFF);
    const GuardedBytes block(dib);
    EXPECT_EQ(iplConvertToDIB(image.get(), block.dib(), IPL_DITHER_FS, 0), 0);
    EXPECT_EQ(block.bytes()[48], 0x40);
}

TEST(IplConvertToDIB, DithersAllFormatsAsThePlainForm)
{
    Random random(14);
    for (int32_t round = 0; round < 800; ++round) {
        const Bytes dib = randomBitmap(random);
        const PlainDib plain(dib);
        const int32_t height = static_cast<int32_t>(dibRows(plain.header));
        const int32_t bits = plain.header.biBitCount;
        Image image = randomImage(plain.header.biWidth, height, random, true);
        if (image->depth == IPL_DEPTH_1U || (bits == 1 && image->nChannels > 1))
            continue;
        const int32_t dither = dithers[random.between(0, 3)];
        const Image source = plainDithered(image.get(), dither, bits);
        Bytes expected = dib;
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < plain.header.biWidth; ++x)
                plainPut(expected, plain, x, y, plainFetch(source.get(), x, y));
        // Whatever the image's region, mask and pitch.
        setRoi(image.get(), 1, 0, 0, 1, 1);
        giveRandomMask(image.get(), 5, 3, random);
        image->widthStep += 4;
        const GuardedPixels guarded(image.get());
        const GuardedBytes block(dib);
        ASSERT_EQ(iplConvertToDIB(image.get(), block.dib(), dither, 0),
                  static_cast<int32_t>(plain.header.biCompression));
        ASSERT_EQ(block.bytes(), expected) << bits << " bits, dither " << dither;
    }
}

TEST(IplConvertToDIB, MakesATableForTheImageBeforeItIsDithered)
{
    // Two grays that no 16 levels have.
    const Image image = makeImage(8, 8, 1, IPL_DEPTH_8U);
    std::memset(image->imageData, 100, 32);
    std::memset(image->imageData + 32, 200, 32);
    const GuardedBytes block(emptyDib(dibHeader(8, 8, 4)));
    EXPECT_EQ(iplConvertToDIB(image.get(), block.dib(), IPL_DITHER_BAYER, 2), 0);
    EXPECT_EQ(block.header().biClrUsed, 2u);
    const Bytes bytes = block.bytes();
    EXPECT_EQ(get32(bytes, 40), 0x646464u);
    EXPECT_EQ(get32(bytes, 44), 0xC8C8C8u);
    // The rows' top half is dark: they lie upside down.
    EXPECT_EQ(Bytes(bytes.begin() + 48, bytes.begin() + 64), Bytes(16, 0x11));
    EXPECT_EQ(Bytes(bytes.begin() + 64, bytes.begin() + 80), Bytes(16, 0x00));
    // A standard one has the levels themselves.
    const GuardedBytes standard(emptyDib(dibHeader(8, 8, 4)));
    EXPECT_EQ(iplConvertToDIB(image.get(), standard.dib(), IPL_DITHER_FS, 1), 0);
    const Image levels = plainDithered(image.get(), IPL_DITHER_FS, 4);
    for (int32_t x = 0; x < 8; ++x)
        EXPECT_EQ(standard.bytes()[static_cast<size_t>(104 + 28 + x / 2)] >> (x % 2 ? 0 : 4) & 15,
                  element(levels.get(), x, 0, 0) / 17);
}

TEST(IplConvertToDIB, CompressesWhatItHasDithered)
{
    const Image image = makeImage(64, 4, 1, IPL_DEPTH_8U);
    std::memset(image->imageData, 255, 256);
    Bytes dib = emptyDib(dibHeader(64, 4, 8, 1, 2));
    put32(dib, 44, 0x00FFFFFF);
    const GuardedBytes block(dib);
    EXPECT_EQ(iplConvertToDIB(image.get(), block.dib(), IPL_DITHER_STUCKEY, 0), 1);
    EXPECT_EQ(block.header().biSizeImage, 4u * 4 + 2);
}

TEST(IplConvertToDIB, RefusesToDitherForOtherBitCounts)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    for (const int32_t bits : {0, 2, 12, 48})
        expectToRefused(image.get(), dibHeader(4, 4, bits), 2, 0, -5,
                        "Parameter biBitCount of DIB-image have illegal value");
}

TEST(IplConvertToDIB, RefusesToDitherAfterAnEarlierFailure)
{
    const CleanStatus clean;
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    Bytes dib = emptyDib(dibHeader(4, 4, 24));
    BITMAPINFOHEADER* address = reinterpret_cast<BITMAPINFOHEADER*>(dib.data());
    for (const int32_t status : {-12, 5}) {
        iplSetStatus(status);
        EXPECT_REPORT(iplConvertToDIB(image.get(), address, IPL_DITHER_FS, 0), -3,
                      "iplConvertToDIB", "Dithering can't be produced", dibFile);
    }
    EXPECT_EQ(iplConvertToDIB(image.get(), address, IPL_DITHER_NONE, 0), 0);
}

TEST(IplConvertToDIB, RefusesToDitherColoursToBits)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    Bytes dib = emptyDib(dibHeader(4, 4, 1));
    BITMAPINFOHEADER* address = reinterpret_cast<BITMAPINFOHEADER*>(dib.data());
    const RecordedReports reports;
    iplConvertToDIB(image.get(), address, IPL_DITHER_FS, 0);
    EXPECT_EQ(reports.all(),
              (std::vector<Report>{{-16, "iplCreateImageHeader", "Incorrect data-ins", "iplalloc"},
                                   {-4, "iplConvertToDIB",
                                    "Not enough memory to allocate header for temporal image",
                                    dibFile}}));
}

TEST(IplConvertToDIB, RefusesToDitherBits)
{
    const Image image = makeImage(4, 4, 1, IPL_DEPTH_1U);
    Bytes dib = emptyDib(dibHeader(4, 4, 8));
    BITMAPINFOHEADER* address = reinterpret_cast<BITMAPINFOHEADER*>(dib.data());
    const RecordedReports reports;
    EXPECT_EQ(iplConvertToDIB(image.get(), address, IPL_DITHER_FS, 0), -3);
    EXPECT_EQ(reports.all(),
              (std::vector<Report>{
                  {-5, "iplReduceBits", "( (srcImage->depth == IPL_DEPTH_1U ))", "iplredb"},
                  {-3, "iplConvertToDIB", "Dithering can't be produced", dibFile}}));
}

TEST(IplConvertToDIB, FreesWhatItDitheredIntoWhenMemoryEnds)
{
    const Image image = makeImage(40, 9, 4, IPL_DEPTH_8U, 0, 4, 4);
    Bytes dib = emptyDib(dibHeader(40, 9, 32));
    BITMAPINFOHEADER* address = reinterpret_cast<BITMAPINFOHEADER*>(dib.data());
    int32_t passing = 0;
    for (bool failed = true; failed; ++passing) {
        const RecordedReports reports;
        const FailingAllocation failing(passing);
        const int32_t status = iplConvertToDIB(image.get(), address, IPL_DITHER_FS, 0);
        failed = failing.asked() > passing;
        ASSERT_EQ(status < 0, failed) << passing;
    }
    EXPECT_GT(passing, 5);
}
