#include "quibtool/platform.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>

namespace
{

// A header with room for the longest colour table.
struct DibInfo {
    BITMAPINFOHEADER header;
    RGBQUAD colours[256];

    const BITMAPINFO* get() const { return reinterpret_cast<const BITMAPINFO*>(this); }
};

DibInfo dibInfo(int width, int height, int bitCount)
{
    DibInfo info = {};
    info.header.biSize = sizeof(BITMAPINFOHEADER);
    info.header.biWidth = width;
    info.header.biHeight = height;
    info.header.biPlanes = 1;
    info.header.biBitCount = static_cast<WORD>(bitCount);
    return info;
}

int pitchOf(int width, int bitCount)
{
    return (width * bitCount + 31) / 32 * 4;
}

// A memory device context with a bitmap of its own, filled with 0xEE bytes.
class Canvas
{
public:
    Canvas(int width, int height, int bitCount)
        : rows(abs(height)), bytesPerPixel(bitCount / 8), pitch(pitchOf(width, bitCount)),
          topDown(height < 0), hdc(CreateCompatibleDC(nullptr))
    {
        const DibInfo info = dibInfo(width, height, bitCount);
        void* bits = nullptr;
        bitmap = CreateDIBSection(hdc, info.get(), DIB_RGB_COLORS, &bits, nullptr, 0);
        pixels = static_cast<uint8_t*>(bits);
        previous = SelectObject(hdc, bitmap);
        clear();
    }
    ~Canvas()
    {
        SelectObject(hdc, previous);
        DeleteObject(bitmap);
        DeleteDC(hdc);
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    void clear() { memset(pixels, 0xEE, static_cast<size_t>(pitch * rows)); }
    // The three colour bytes at column x of row y, counted from the top.
    const uint8_t* at(int x, int y) const
    {
        GdiFlush();
        return pixels + (topDown ? y : rows - 1 - y) * pitch + x * bytesPerPixel;
    }
    uint32_t colourAt(int x, int y) const
    {
        const uint8_t* pixel = at(x, y);
        return static_cast<uint32_t>(pixel[0] | pixel[1] << 8 | pixel[2] << 16);
    }

    int rows;
    int bytesPerPixel;
    int pitch;
    bool topDown;
    HDC hdc;
    HBITMAP bitmap = nullptr;
    HGDIOBJ previous = nullptr;
    uint8_t* pixels = nullptr;
};

constexpr uint32_t untouched = 0xEEEEEE;

} // namespace

// --- Contexts and bitmaps -------------------------------------------------------

TEST(CreateDIBSection, GivesRowsOfPaddedLength)
{
    for (const int bitCount : {24, 32}) {
        const DibInfo info = dibInfo(5, 3, bitCount);
        void* bits = nullptr;
        const HBITMAP bitmap =
            CreateDIBSection(nullptr, info.get(), DIB_RGB_COLORS, &bits, nullptr, 0);
        ASSERT_NE(bitmap, nullptr);
        ASSERT_NE(bits, nullptr);
        const std::vector<uint8_t> zeros(static_cast<size_t>(pitchOf(5, bitCount) * 3));
        EXPECT_EQ(memcmp(bits, zeros.data(), zeros.size()), 0);
        memset(bits, 0x55, zeros.size());
        EXPECT_TRUE(DeleteObject(bitmap));
        EXPECT_FALSE(DeleteObject(bitmap));
    }
}

TEST(CreateDIBSection, RefusesSizesThatCannotBe)
{
    for (const auto& [width, height] : {std::pair{0, 3}, {3, 0}, {-3, 3}, {1 << 20, 1 << 20}}) {
        const DibInfo info = dibInfo(width, height, 32);
        void* bits = &bits;
        EXPECT_EQ(CreateDIBSection(nullptr, info.get(), DIB_RGB_COLORS, &bits, nullptr, 0),
                  nullptr);
        EXPECT_EQ(bits, nullptr);
    }
}

TEST(CreateDIBSection, RefusesAShortHeader)
{
    DibInfo info = dibInfo(5, 3, 32);
    info.header.biSize = 39;
    EXPECT_EQ(CreateDIBSection(nullptr, info.get(), DIB_RGB_COLORS, nullptr, nullptr, 0), nullptr);
}

TEST(DeleteObject, LeavesTheStockBitmap)
{
    const HDC context = CreateCompatibleDC(nullptr);
    const DibInfo info = dibInfo(5, 3, 32);
    const HBITMAP bitmap =
        CreateDIBSection(context, info.get(), DIB_RGB_COLORS, nullptr, nullptr, 0);
    const HGDIOBJ stock = SelectObject(context, bitmap);
    EXPECT_TRUE(DeleteObject(stock));
    EXPECT_EQ(SelectObject(context, stock), bitmap);
    EXPECT_TRUE(DeleteObject(bitmap));
    EXPECT_TRUE(DeleteDC(context));
}

#if !defined(_WIN32)
TEST(CreateDIBSection, RefusesNoHeader)
{
    void* bits = &bits;
    EXPECT_EQ(CreateDIBSection(nullptr, nullptr, DIB_RGB_COLORS, &bits, nullptr, 0), nullptr);
    EXPECT_EQ(bits, nullptr);
}

TEST(CreateCompatibleDC, GivesNullWithoutMemory)
{
    std::vector<HDC> contexts;
    contexts.reserve(10000);
    const int64_t held = liveBlocks();
    {
        const FailingAllocation failing;
        EXPECT_EQ(CreateCompatibleDC(nullptr), nullptr);
    }
    EXPECT_EQ(liveBlocks(), held);
    // One of them wants a larger table, which cannot be had.
    bool failed = false;
    while (!failed && contexts.size() < contexts.capacity()) {
        const int64_t before = liveBlocks();
        const FailingAllocation failing(1);
        const HDC context = CreateCompatibleDC(nullptr);
        failed = context == nullptr;
        if (failed)
            EXPECT_EQ(liveBlocks(), before);
        else
            contexts.push_back(context);
    }
    EXPECT_TRUE(failed);
    for (const HDC context : contexts)
        EXPECT_TRUE(DeleteDC(context));
}

TEST(CreateDIBSection, GivesNullWithoutMemory)
{
    const DibInfo info = dibInfo(5, 3, 32);
    const int64_t held = liveBlocks();
    for (const int32_t passing : {0, 1}) {
        void* bits = &bits;
        const FailingAllocation failing(passing);
        EXPECT_EQ(CreateDIBSection(nullptr, info.get(), DIB_RGB_COLORS, &bits, nullptr, 0),
                  nullptr);
        EXPECT_EQ(bits, nullptr);
        EXPECT_EQ(liveBlocks(), held);
    }
}
#endif

TEST(SelectObject, GivesTheBitmapSelectedBefore)
{
    const HDC hdc = CreateCompatibleDC(nullptr);
    ASSERT_NE(hdc, nullptr);
    const DibInfo info = dibInfo(4, 4, 32);
    void* bits = nullptr;
    const HBITMAP first = CreateDIBSection(hdc, info.get(), DIB_RGB_COLORS, &bits, nullptr, 0);
    const HBITMAP second = CreateDIBSection(hdc, info.get(), DIB_RGB_COLORS, &bits, nullptr, 0);
    const HGDIOBJ stock = SelectObject(hdc, first);
    EXPECT_NE(stock, nullptr);
    EXPECT_EQ(SelectObject(hdc, first), first);
    EXPECT_EQ(SelectObject(hdc, second), first);
    EXPECT_EQ(SelectObject(hdc, stock), second);
    EXPECT_TRUE(DeleteObject(first));
    EXPECT_EQ(SelectObject(hdc, first), nullptr);
    EXPECT_EQ(SelectObject(hdc, second), stock);
    EXPECT_TRUE(DeleteDC(hdc));
    EXPECT_TRUE(DeleteObject(second));
}

TEST(SelectObject, RefusesABitmapThatAnotherContextHolds)
{
    const Canvas canvas(4, 4, 32);
    const HDC other = CreateCompatibleDC(nullptr);
    EXPECT_EQ(SelectObject(other, canvas.bitmap), nullptr);
    EXPECT_TRUE(DeleteDC(other));
}

TEST(SelectObject, RefusesBadHandles)
{
    const Canvas canvas(4, 4, 32);
    EXPECT_EQ(SelectObject(nullptr, canvas.bitmap), nullptr);
    EXPECT_EQ(SelectObject(canvas.hdc, nullptr), nullptr);
    EXPECT_EQ(SelectObject(canvas.hdc, reinterpret_cast<HGDIOBJ>(uintptr_t{0x12345})), nullptr);
}

TEST(DeleteDC, RefusesBadHandles)
{
    EXPECT_FALSE(DeleteDC(nullptr));
    EXPECT_FALSE(DeleteDC(reinterpret_cast<HDC>(uintptr_t{0x12345})));
    const HDC hdc = CreateCompatibleDC(nullptr);
    EXPECT_TRUE(DeleteDC(hdc));
    EXPECT_FALSE(DeleteDC(hdc));
}

TEST(DeleteObject, RefusesBadHandles)
{
    EXPECT_FALSE(DeleteObject(nullptr));
    EXPECT_FALSE(DeleteObject(reinterpret_cast<HGDIOBJ>(uintptr_t{0x12345})));
}

// --- Drawing --------------------------------------------------------------------

TEST(SetDIBitsToDevice, DrawsATopDownBitmapWithItsFirstRowOnTop)
{
    const DibInfo info = dibInfo(2, -2, 32);
    const uint32_t bits[] = {0x00010203, 0x00040506, 0x00070809, 0x000A0B0C};
    const Canvas canvas(4, 4, 32);
    EXPECT_EQ(
        SetDIBitsToDevice(canvas.hdc, 1, 2, 2, 2, 0, 0, 0, 2, bits, info.get(), DIB_RGB_COLORS), 2);
    EXPECT_EQ(canvas.colourAt(1, 2), 0x010203u);
    EXPECT_EQ(canvas.colourAt(2, 2), 0x040506u);
    EXPECT_EQ(canvas.colourAt(1, 3), 0x070809u);
    EXPECT_EQ(canvas.colourAt(2, 3), 0x0A0B0Cu);
    EXPECT_EQ(canvas.colourAt(0, 2), untouched);
    EXPECT_EQ(canvas.colourAt(3, 2), untouched);
    EXPECT_EQ(canvas.colourAt(1, 1), untouched);
}

TEST(SetDIBitsToDevice, DrawsABottomUpBitmapWithItsLastRowOnTop)
{
    const DibInfo info = dibInfo(2, 2, 32);
    const uint32_t bits[] = {0x00010203, 0x00040506, 0x00070809, 0x000A0B0C};
    const Canvas canvas(2, 2, 32);
    EXPECT_EQ(
        SetDIBitsToDevice(canvas.hdc, 0, 0, 2, 2, 0, 0, 0, 2, bits, info.get(), DIB_RGB_COLORS), 2);
    EXPECT_EQ(canvas.colourAt(0, 0), 0x070809u);
    EXPECT_EQ(canvas.colourAt(1, 1), 0x040506u);
}

TEST(SetDIBitsToDevice, KeepsTheFourthByteBetween32BitPixels)
{
    const DibInfo info = dibInfo(2, -1, 32);
    const uint32_t bits[] = {0x7F010203, 0xFF040506};
    const Canvas canvas(2, 1, 32);
    SetDIBitsToDevice(canvas.hdc, 0, 0, 2, 1, 0, 0, 0, 1, bits, info.get(), DIB_RGB_COLORS);
    EXPECT_EQ(canvas.at(0, 0)[3], 0x7F);
    EXPECT_EQ(canvas.at(1, 0)[3], 0xFF);
}

TEST(SetDIBitsToDevice, ClearsTheFourthByteBelow32Bits)
{
    const uint8_t bits[4] = {1, 0, 0, 0};
    for (const int bitCount : {1, 8, 24}) {
        const DibInfo info = dibInfo(1, -1, bitCount);
        const Canvas canvas(1, 1, 32);
        SetDIBitsToDevice(canvas.hdc, 0, 0, 1, 1, 0, 0, 0, 1, bits, info.get(), DIB_RGB_COLORS);
        EXPECT_EQ(canvas.at(0, 0)[3], 0);
    }
}

TEST(SetDIBitsToDevice, TakesColoursFromTheTable)
{
    DibInfo info = dibInfo(3, -1, 8);
    info.colours[0] = {1, 2, 3, 0};
    info.colours[7] = {4, 5, 6, 0};
    info.colours[255] = {7, 8, 9, 0};
    const uint8_t bytes[4] = {7, 255, 0, 0};
    const Canvas canvas(3, 1, 24);
    SetDIBitsToDevice(canvas.hdc, 0, 0, 3, 1, 0, 0, 0, 1, bytes, info.get(), DIB_RGB_COLORS);
    EXPECT_EQ(canvas.colourAt(0, 0), 0x060504u);
    EXPECT_EQ(canvas.colourAt(1, 0), 0x090807u);
    EXPECT_EQ(canvas.colourAt(2, 0), 0x030201u);

    info = dibInfo(3, -1, 1);
    info.colours[0] = {1, 2, 3, 0};
    info.colours[1] = {4, 5, 6, 0};
    const uint8_t bits[4] = {0x40, 0, 0, 0}; // the highest bit is the leftmost pixel
    SetDIBitsToDevice(canvas.hdc, 0, 0, 3, 1, 0, 0, 0, 1, bits, info.get(), DIB_RGB_COLORS);
    EXPECT_EQ(canvas.colourAt(0, 0), 0x030201u);
    EXPECT_EQ(canvas.colourAt(1, 0), 0x060504u);
    EXPECT_EQ(canvas.colourAt(2, 0), 0x030201u);
}

TEST(SetDIBitsToDevice, TakesNoMoreColoursThanTold)
{
    DibInfo info = dibInfo(4, -1, 8);
    info.header.biClrUsed = 2;
    for (RGBQUAD& colour : info.colours)
        colour = {10, 20, 30, 0};
    const uint8_t bytes[4] = {0, 1, 2, 255};
    const Canvas canvas(4, 1, 24);
    SetDIBitsToDevice(canvas.hdc, 0, 0, 4, 1, 0, 0, 0, 1, bytes, info.get(), DIB_RGB_COLORS);
    EXPECT_EQ(canvas.colourAt(0, 0), 0x1E140Au);
    EXPECT_EQ(canvas.colourAt(1, 0), 0x1E140Au);
    EXPECT_EQ(canvas.colourAt(2, 0), 0u);
    EXPECT_EQ(canvas.colourAt(3, 0), 0u);
}

TEST(SetDIBitsToDevice, GivesZeroForABadContext)
{
    const DibInfo info = dibInfo(2, -2, 32);
    const uint32_t bits[4] = {};
    for (const uintptr_t value : {uintptr_t{0}, uintptr_t{0x12345}, ~uintptr_t{0}}) {
        EXPECT_EQ(SetDIBitsToDevice(reinterpret_cast<HDC>(value), 0, 0, 2, 2, 0, 0, 0, 2, bits,
                                    info.get(), DIB_RGB_COLORS),
                  0);
    }
    const HDC gone = CreateCompatibleDC(nullptr);
    DeleteDC(gone);
    EXPECT_EQ(SetDIBitsToDevice(gone, 0, 0, 2, 2, 0, 0, 0, 2, bits, info.get(), DIB_RGB_COLORS), 0);
}

TEST(SetDIBitsToDevice, GivesZeroWhereNoRowIsHeld)
{
    const DibInfo info = dibInfo(2, 2, 32);
    const uint32_t bits[4] = {};
    const Canvas canvas(2, 2, 32);
    EXPECT_EQ(
        SetDIBitsToDevice(canvas.hdc, 0, 0, 2, 2, 0, 0, 0, 0, bits, info.get(), DIB_RGB_COLORS), 0);
    EXPECT_EQ(
        SetDIBitsToDevice(canvas.hdc, 0, 0, 2, 2, 0, 0, 2, 2, bits, info.get(), DIB_RGB_COLORS), 0);
    EXPECT_EQ(canvas.colourAt(0, 0), untouched);
}

TEST(SetDIBitsToDevice, TakesAContextWithNoBitmapOfItsOwn)
{
    const DibInfo info = dibInfo(2, -2, 32);
    const uint32_t bits[4] = {};
    const HDC hdc = CreateCompatibleDC(nullptr);
    EXPECT_EQ(SetDIBitsToDevice(hdc, 0, 0, 2, 2, 0, 0, 0, 2, bits, info.get(), DIB_RGB_COLORS), 2);
    EXPECT_TRUE(DeleteDC(hdc));
}

namespace
{

struct Draw {
    int xDest, yDest, width, height, xSrc, ySrc, startScan, scanLines;
};

// The colour that pixel (x, y) of a bitmap shows, y counted from its lowest
// row, when `bits` holds `rowCount` rows from `firstRow` up.
uint32_t sourceColour(const DibInfo& info, const uint8_t* bits, int x, int y, int firstRow,
                      int rowCount)
{
    const int bitCount = info.header.biBitCount;
    const int row = info.header.biHeight < 0 ? firstRow + rowCount - 1 - y : y - firstRow;
    const uint8_t* line = bits + row * pitchOf(info.header.biWidth, bitCount);
    const uint8_t* bytes = line + x * (bitCount / 8);
    if (bitCount <= 8) {
        const int index = bitCount == 8 ? line[x] : line[x / 8] >> (7 - x % 8) & 1;
        bytes = &info.colours[index].rgbBlue;
    }
    return static_cast<uint32_t>(bytes[0] | bytes[1] << 8 | bytes[2] << 16);
}

// Checks each pixel of the canvas after a draw.
void expectDrawn(const Canvas& canvas, int width, const DibInfo& info, const uint8_t* bits,
                 const Draw& draw)
{
    for (int y = 0; y < canvas.rows; ++y) {
        for (int x = 0; x < width; ++x) {
            const int sourceX = x - draw.xDest + draw.xSrc;
            const int sourceY = draw.ySrc + draw.height - 1 - (y - draw.yDest);
            const bool drawn = x >= draw.xDest && x < draw.xDest + draw.width && y >= draw.yDest &&
                               y < draw.yDest + draw.height && sourceX >= 0 &&
                               sourceX < info.header.biWidth && sourceY >= draw.startScan &&
                               sourceY < draw.startScan + draw.scanLines;
            const uint32_t expected =
                drawn ? sourceColour(info, bits, sourceX, sourceY, draw.startScan, draw.scanLines)
                      : untouched;
            ASSERT_EQ(canvas.colourAt(x, y), expected) << "at " << x << ", " << y;
        }
    }
}

void drawAtRandom(Random& random, int bitCount, int canvasBitCount, bool wholeBitmap)
{
    const int width = random.between(1, 40);
    const int height = random.between(1, 12);
    DibInfo info = dibInfo(width, random.coin() ? height : -height, bitCount);
    random.fill(info.colours, sizeof(info.colours));
    Draw draw = {random.between(-45, 45), random.between(-15, 15), width, height, 0, 0, 0, height};
    if (!wholeBitmap) {
        draw.width = random.between(1, 45);
        draw.height = random.between(1, 15);
        draw.xSrc = random.between(-5, width + 2);
        draw.ySrc = random.between(-5, height + 2);
        draw.startScan = random.between(0, height - 1);
        draw.scanLines = random.between(1, height - draw.startScan);
    }
    const GuardedBuffer bits(static_cast<size_t>(pitchOf(width, bitCount) * draw.scanLines),
                             random.coin() ? Guard::afterEnd : Guard::beforeStart);
    random.fill(bits.data(), bits.size());
    const int canvasWidth = random.between(1, 40);
    const int canvasHeight = random.between(1, 12);
    const Canvas canvas(canvasWidth, random.coin() ? canvasHeight : -canvasHeight, canvasBitCount);
    SCOPED_TRACE(testing::Message()
                 << bitCount << " bits to " << canvasBitCount << ", " << width << " x "
                 << info.header.biHeight << " to " << canvasWidth << " x " << canvasHeight
                 << ": dest " << draw.xDest << ", " << draw.yDest << ", size " << draw.width
                 << " x " << draw.height << ", src " << draw.xSrc << ", " << draw.ySrc << ", scans "
                 << draw.startScan << " + " << draw.scanLines);
    const int rows = SetDIBitsToDevice(
        canvas.hdc, draw.xDest, draw.yDest, static_cast<DWORD>(draw.width),
        static_cast<DWORD>(draw.height), draw.xSrc, draw.ySrc, static_cast<UINT>(draw.startScan),
        static_cast<UINT>(draw.scanLines), bits.data(), info.get(), DIB_RGB_COLORS);
    if (wholeBitmap) {
        EXPECT_EQ(rows, height);
    }
    expectDrawn(canvas, canvasWidth, info, bits.data(), draw);
}

void drawEachDepthAtRandom(uint64_t seed, bool wholeBitmap)
{
    Random random(seed);
    for (const int canvasBitCount : {24, 32}) {
        for (const int bitCount : {1, 8, 24, 32}) {
            for (int i = 0; i < 200 && !testing::Test::HasFailure(); ++i)
                drawAtRandom(random, bitCount, canvasBitCount, wholeBitmap);
        }
    }
}

} // namespace

TEST(SetDIBitsToDevice, DrawsWholeBitmapsClippedOnEverySide)
{
    drawEachDepthAtRandom(1, true);
}

TEST(SetDIBitsToDevice, DrawsPartsFromBandsOfRows)
{
    drawEachDepthAtRandom(2, false);
}

TEST(SetDIBitsToDevice, TakesPositionsFarOutside)
{
    const DibInfo info = dibInfo(2, -2, 32);
    const uint32_t bits[4] = {};
    const Canvas canvas(2, 2, 32);
    for (const int distance : {1000000, -1000000}) {
        SetDIBitsToDevice(canvas.hdc, distance, 0, 2, 2, 0, 0, 0, 2, bits, info.get(),
                          DIB_RGB_COLORS);
        SetDIBitsToDevice(canvas.hdc, 0, distance, 2, 2, 0, 0, 0, 2, bits, info.get(),
                          DIB_RGB_COLORS);
    }
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(canvas.colourAt(i % 2, i / 2), untouched);
}
