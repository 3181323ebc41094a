#include "quibtool/quibtool.h"

#include "quibtool/handle.h"
#include "quibtool/platform.h"
#include "tests/support/bad_handles.h"
#include "tests/support/images.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

namespace
{

// A 32-bit picture, top row first, that a device context draws into.
class Canvas
{
public:
    Canvas(int32_t width, int32_t height) : columns(width), rows(height)
    {
        BITMAPINFO info{};
        info.bmiHeader.biSize = sizeof info.bmiHeader;
        info.bmiHeader.biWidth = width;
        info.bmiHeader.biHeight = -height;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        hdc = CreateCompatibleDC(nullptr);
        bitmap = CreateDIBSection(hdc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
        before = SelectObject(hdc, bitmap);
    }
    ~Canvas()
    {
        SelectObject(hdc, before);
        DeleteObject(bitmap);
        DeleteDC(hdc);
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    void* context() const { return hdc; }
    int32_t width() const { return columns; }
    int32_t height() const { return rows; }
    // The colour without its fourth byte.
    uint32_t at(int32_t x, int32_t y) const
    {
        GdiFlush();
        uint32_t word;
        std::memcpy(&word, static_cast<const uint8_t*>(bits) + 4 * (y * columns + x), 4);
        return word & 0x00FFFFFF;
    }

private:
    int32_t columns;
    int32_t rows;
    HDC hdc;
    HBITMAP bitmap;
    HGDIOBJ before;
    void* bits = nullptr;
};

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
