#include "quibtool/quibtool.h"

#include "quibtool/handle.h"
#include "quibtool/platform.h"
#include "tests/support/bad_handles.h"
#include "tests/support/canvas.h"
#include "tests/support/images.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

namespace
{

// The colour that a handle's pixel is shown in.
uint32_t shown(const IplImage* handle, int32_t x, int32_t y)
{
    if (handle->nChannels == 1) {
        const uint32_t value = static_cast<uint32_t>(element(handle, x, y, 0));
        return (handle->depth == IPL_DEPTH_1U ? value * 255 : value) * 0x010101;
    }
    uint32_t word = 0;
    for (int32_t c = 0; c < 3; ++c)
        word |= static_cast<uint32_t>(element(handle, x, y, c)) << (8 * c);
    return word;
}

// Draws at (x, y) and looks at every pixel of the canvas.
void checkDrawn(const IplImage* handle, int32_t x, int32_t y)
{
    const Canvas canvas(24, 17);
    EXPECT_EQ(QuibDrawToHDC(handle, canvas.context(), x, y), QUIB_OK);
    for (int32_t row = 0; row < canvas.height(); ++row) {
        for (int32_t column = 0; column < canvas.width(); ++column) {
            const bool inside =
                column >= x && column < x + handle->width && row >= y && row < y + handle->height;
            ASSERT_EQ(canvas.at(column, row), inside ? shown(handle, column - x, row - y) : 0u)
                << "at " << column << ", " << row << " of a handle at " << x << ", " << y;
        }
    }
}

} // namespace

#if !defined(_WIN32)
// The system's function of this program, through which the calls of the library
// go: the linker's names for the call and for what it stands for.
struct DrawCall {
    int32_t calls;
    HDC hdc;
    int32_t numbers[8]; // in the order of the arguments
    const void* bits;
    BITMAPINFOHEADER header;
    UINT usage;
};
static DrawCall drawn;

extern "C" {
int __real_SetDIBitsToDevice(HDC, int, int, DWORD, DWORD, int, int, UINT, UINT, const void*,
                             const BITMAPINFO*, UINT);

int __wrap_SetDIBitsToDevice(HDC hdc, int xDest, int yDest, DWORD width, DWORD height, int xSrc,
                             int ySrc, UINT startScan, UINT scanLines, const void* bits,
                             const BITMAPINFO* info, UINT usage)
{
    drawn = {drawn.calls + 1,
             hdc,
             {xDest, yDest, static_cast<int32_t>(width), static_cast<int32_t>(height), xSrc, ySrc,
              static_cast<int32_t>(startScan), static_cast<int32_t>(scanLines)},
             bits,
             info->bmiHeader,
             usage};
    return __real_SetDIBitsToDevice(hdc, xDest, yDest, width, height, xSrc, ySrc, startScan,
                                    scanLines, bits, info, usage);
}
}

TEST(QuibDrawToHDC, HandsOverAHeaderWithoutATableAndTheHandlesOwnPixels)
{
    const Canvas canvas(4, 4);
    const auto expectCall = [&](const IplImage* handle, WORD bitCount) {
        drawn = {};
        EXPECT_EQ(QuibDrawToHDC(handle, canvas.context(), -3, 7), QUIB_OK);
        EXPECT_EQ(drawn.calls, 1);
        EXPECT_EQ(drawn.hdc, canvas.context());
        const int32_t numbers[8] = {-3, 7, 11, 5, 0, 0, 0, 5};
        EXPECT_EQ(std::memcmp(drawn.numbers, numbers, sizeof numbers), 0);
        EXPECT_EQ(drawn.bits, handle->imageData);
        EXPECT_EQ(drawn.usage, UINT{DIB_RGB_COLORS});
        const BITMAPINFOHEADER& header = drawn.header;
        EXPECT_EQ(header.biSize, 40u);
        EXPECT_EQ(header.biWidth, 11);
        EXPECT_EQ(header.biHeight, -5);
        EXPECT_EQ(header.biPlanes, 1);
        EXPECT_EQ(header.biBitCount, bitCount);
        EXPECT_EQ(header.biCompression, 0u);
        EXPECT_EQ(header.biSizeImage, 0u);
        EXPECT_EQ(header.biXPelsPerMeter, 0);
        EXPECT_EQ(header.biYPelsPerMeter, 0);
        EXPECT_EQ(header.biClrUsed, 0u);
        EXPECT_EQ(header.biClrImportant, 0u);
    };
    for (const int32_t bits : {1, 8, 24, 32})
        expectCall(makeHandle(11, 5, bits).get(), static_cast<WORD>(bits));
    // Depth times channels, whatever the device makes of that.
    expectCall(makeImage(11, 5, 3, IPL_DEPTH_16U).get(), 48);
}
#endif

TEST(QuibDrawToHDC, RefusesABadHandle)
{
    EXPECT_BAD_HANDLE(QuibDrawToHDC(nullptr, nullptr, 0, 0));
}

TEST(QuibDrawToHDC, LooksAwayWhenTheDeviceFails)
{
    EXPECT_EQ(QuibDrawToHDC(makeHandle(4, 4, 32).get(), nullptr, 0, 0), QUIB_OK);
}

TEST(QuibDrawToHDC, DrawsNothingOfABadRecord)
{
    const CleanStatus clean;
    const Canvas canvas(4, 4);
    const Image handle = makeHandle(4, 4, 32);
    std::memset(handle->imageData, 0xFF, static_cast<size_t>(handle->imageSize));
    handle->align = 5;
    EXPECT_EQ(QuibDrawToHDC(handle.get(), canvas.context(), 0, 0), QUIB_OK);
    EXPECT_EQ(canvas.at(0, 0), 0u);
}

TEST(QuibDrawToHDC, DrawsEveryDepthUpright)
{
    Random random(1);
    for (const int32_t bits : {1, 8, 24, 32}) {
        for (const int32_t width : {1, 5, 9, 24, 33}) {
            const Image handle = makeRandomHandle(width, random.between(1, 20), bits, random);
            checkDrawn(handle.get(), 0, 0);
        }
    }
}

TEST(QuibDrawToHDC, ClipsAtEveryEdge)
{
    Random random(2);
    for (const int32_t bits : {1, 8, 24, 32}) {
        const Image handle = makeRandomHandle(11, 9, bits, random);
        for (const int32_t x : {-12, -4, 3, 20, 24})
            for (const int32_t y : {-10, -3, 2, 12, 17})
                checkDrawn(handle.get(), x, y);
    }
}
