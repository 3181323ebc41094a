#include "quibtool/handle.h"
#include "quibtool/platform.h"

using namespace quib;

namespace
{

// At 1 and 8 bits a header without biClrUsed claims the whole table: what the values
// of a handle mean.
struct DrawInfo {
    BITMAPINFOHEADER header;
    RGBQUAD colours[256];
};

void fillGrays(DrawInfo* info, int32_t count)
{
    for (int32_t i = 0; i < count; ++i) {
        const BYTE gray = static_cast<BYTE>(i * 255 / (count - 1));
        info->colours[i] = {gray, gray, gray, 0};
    }
}

} // namespace

QuibStatus QuibDrawToHDC(const IplImage* handle, void* hdc, int32_t x, int32_t y)
{
    if (!QuibIsValid(handle))
        return QUIB_BAD_ARGUMENT;
    // A bad record has nothing to draw, which is no failure.
    QuibInfo info{};
    if (ownGetInfo(handle, &info) != QUIB_OK)
        return QUIB_OK;
    DrawInfo draw{};
    draw.header.biSize = sizeof draw.header;
    draw.header.biWidth = info.width;
    draw.header.biHeight = -info.height; // top row first
    draw.header.biPlanes = 1;
    draw.header.biBitCount = static_cast<WORD>(info.bitDepth);
    fillGrays(&draw, info.bitDepth == 1 ? 2 : 256);
    const UINT rows = static_cast<UINT>(info.height);
    SetDIBitsToDevice(static_cast<HDC>(hdc), x, y, static_cast<DWORD>(info.width), rows, 0, 0, 0,
                      rows, handle->imageData, reinterpret_cast<const BITMAPINFO*>(&draw),
                      DIB_RGB_COLORS);
    return QUIB_OK;
}
