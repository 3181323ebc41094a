#include "quibtool/platform/gdi.h"

#include "platform/handles.h"

#include <cstdlib>
#include <cstring>
#include <mutex>

using namespace quib;

static_assert(sizeof(BITMAPINFOHEADER) == 40);
static_assert(sizeof(BITMAPFILEHEADER) == 14);

namespace
{

struct Bitmap {
    int32_t width;
    int32_t height;
    int32_t bytesPerPixel; // 3 or 4; 0 in the stock bitmap, which keeps no pixels
    int64_t pitch;
    bool topDown;
    bool selected;
    BYTE* pixels;
};

struct DeviceContext {
    Bitmap* bitmap;
};

// A header taken from the caller, and where its colour table starts.
struct DibHeader {
    BITMAPINFOHEADER fields;
    int64_t height; // without the sign
    int64_t pitch;
    const BYTE* colours;
};

// The part of a bitmap to draw, rows counted from its lowest.
struct DibBand {
    const BYTE* bits;
    int64_t firstRow;
    int64_t rowCount;
};

struct Span {
    int64_t begin;
    int64_t end;
};

} // namespace

static std::mutex gdiMutex;
static HandleTable contexts;
static HandleTable bitmaps;
// What every new context holds; selected in any number of them at once.
static Bitmap stockBitmap = {1, 1, 0, 0, false, false, nullptr};

// --- Contexts and bitmaps -----------------------------------------------------

HDC CreateCompatibleDC(HDC)
{
    auto* context = static_cast<DeviceContext*>(calloc(1, sizeof(DeviceContext)));
    if (!context)
        return nullptr;
    context->bitmap = &stockBitmap;
    const std::lock_guard guard(gdiMutex);
    if (!addHandle(contexts, context, context)) {
        free(context);
        return nullptr;
    }
    return context;
}

BOOL DeleteDC(HDC hdc)
{
    const std::lock_guard guard(gdiMutex);
    auto* context = static_cast<DeviceContext*>(removeHandle(contexts, hdc));
    if (!context)
        return FALSE;
    context->bitmap->selected = false;
    free(context);
    return TRUE;
}

// False for a header that is not an uncompressed bitmap's.
static bool readHeader(const BITMAPINFO* info, UINT usage, DibHeader& header)
{
    if (!info || usage != DIB_RGB_COLORS)
        return false;
    memcpy(&header.fields, info, sizeof(header.fields));
    const BITMAPINFOHEADER& fields = header.fields;
    if (fields.biSize < sizeof(BITMAPINFOHEADER) || fields.biWidth <= 0 || fields.biHeight == 0 ||
        fields.biCompression != BI_RGB)
        return false;
    header.height = fields.biHeight < 0 ? -int64_t{fields.biHeight} : fields.biHeight;
    header.pitch = (int64_t{fields.biWidth} * fields.biBitCount + 31) / 32 * 4;
    header.colours = reinterpret_cast<const BYTE*>(info) + fields.biSize;
    return true;
}

HBITMAP CreateDIBSection(HDC, const BITMAPINFO* info, UINT usage, void** bits, HANDLE, DWORD)
{
    if (bits)
        *bits = nullptr;
    DibHeader header;
    if (!readHeader(info, usage, header))
        return nullptr;
    const BITMAPINFOHEADER& fields = header.fields;
    if ((fields.biBitCount != 24 && fields.biBitCount != 32) ||
        header.height > INT32_MAX / header.pitch)
        return nullptr;

    auto* bitmap = static_cast<Bitmap*>(calloc(1, sizeof(Bitmap)));
    auto* pixels = static_cast<BYTE*>(
        calloc(static_cast<size_t>(header.height), static_cast<size_t>(header.pitch)));
    const std::lock_guard guard(gdiMutex);
    if (!bitmap || !pixels || !addHandle(bitmaps, bitmap, bitmap)) {
        free(pixels);
        free(bitmap);
        return nullptr;
    }
    *bitmap = {fields.biWidth,
               static_cast<int32_t>(header.height),
               fields.biBitCount / 8,
               header.pitch,
               fields.biHeight < 0,
               false,
               pixels};
    if (bits)
        *bits = pixels;
    return bitmap;
}

HGDIOBJ SelectObject(HDC hdc, HGDIOBJ object)
{
    const std::lock_guard guard(gdiMutex);
    auto* context = static_cast<DeviceContext*>(findHandle(contexts, hdc));
    const bool isStock = object == &stockBitmap;
    auto* bitmap = isStock ? &stockBitmap : static_cast<Bitmap*>(findHandle(bitmaps, object));
    if (!context || !bitmap)
        return nullptr;
    Bitmap* previous = context->bitmap;
    if (bitmap == previous)
        return previous;
    if (bitmap->selected)
        return nullptr;
    previous->selected = false;
    bitmap->selected = !isStock;
    context->bitmap = bitmap;
    return previous;
}

BOOL DeleteObject(HGDIOBJ object)
{
    const std::lock_guard guard(gdiMutex);
    if (object == &stockBitmap)
        return TRUE;
    auto* bitmap = static_cast<Bitmap*>(findHandle(bitmaps, object));
    if (!bitmap || bitmap->selected)
        return FALSE;
    removeHandle(bitmaps, object);
    free(bitmap->pixels);
    free(bitmap);
    return TRUE;
}

BOOL GdiFlush()
{
    return TRUE;
}

// --- Drawing ------------------------------------------------------------------

static Span intersect(Span a, Span b)
{
    return {a.begin > b.begin ? a.begin : b.begin, a.end < b.end ? a.end : b.end};
}

// The colours of a 1-bit or 8-bit bitmap; black where its table has none.
static void readColours(const DibHeader& header, RGBQUAD (&colours)[256])
{
    const DWORD possible = 1u << header.fields.biBitCount;
    const DWORD told = header.fields.biClrUsed;
    const DWORD count = told == 0 || told > possible ? possible : told;
    memset(colours, 0, sizeof(colours));
    memcpy(colours, header.colours, count * sizeof(RGBQUAD));
}

static RGBQUAD pixelAt(const BYTE* row, int64_t column, int bitCount, const RGBQUAD* colours)
{
    switch (bitCount) {
    case 1:
        return colours[row[column / 8] >> (7 - column % 8) & 1];
    case 8:
        return colours[row[column]];
    case 24:
        row += column * 3;
        return {row[0], row[1], row[2], 0};
    default:
        row += column * 4;
        return {row[0], row[1], row[2], row[3]};
    }
}

static void drawRow(const BYTE* source, Span columns, int bitCount, const RGBQUAD* colours,
                    BYTE* target, int32_t bytesPerPixel)
{
    if (bitCount == bytesPerPixel * 8) {
        memcpy(target, source + columns.begin * bytesPerPixel,
               static_cast<size_t>((columns.end - columns.begin) * bytesPerPixel));
        return;
    }
    for (int64_t column = columns.begin; column < columns.end; column++) {
        const RGBQUAD pixel = pixelAt(source, column, bitCount, colours);
        memcpy(target, &pixel, static_cast<size_t>(bytesPerPixel));
        target += bytesPerPixel;
    }
}

// Draws a bitmap's band so that its pixel (x, y), y counted from the lowest
// row, comes to (x + xShift, yShift - y) of the target. `columns` and `rows`
// say what to draw; they are clipped to band and target.
static void drawBand(const Bitmap& target, const DibHeader& header, const DibBand& band,
                     Span columns, Span rows, int64_t xShift, int64_t yShift)
{
    columns = intersect(columns, {0, header.fields.biWidth});
    columns = intersect(columns, {-xShift, target.width - xShift});
    rows = intersect(rows, {band.firstRow, band.firstRow + band.rowCount});
    rows = intersect(rows, {yShift - target.height + 1, yShift + 1});
    if (columns.begin >= columns.end)
        return;

    RGBQUAD colours[256];
    const int bitCount = header.fields.biBitCount;
    if (bitCount <= 8)
        readColours(header, colours);
    for (int64_t row = rows.begin; row < rows.end; row++) {
        const int64_t rowInBand = row - band.firstRow;
        const bool topDown = header.fields.biHeight < 0;
        const BYTE* source =
            band.bits + (topDown ? band.rowCount - 1 - rowInBand : rowInBand) * header.pitch;
        const int64_t y = yShift - row;
        BYTE* targetRow =
            target.pixels + (target.topDown ? y : target.height - 1 - y) * target.pitch;
        drawRow(source, columns, bitCount, colours,
                targetRow + (columns.begin + xShift) * target.bytesPerPixel, target.bytesPerPixel);
    }
}

int SetDIBitsToDevice(HDC hdc, int xDest, int yDest, DWORD width, DWORD height, int xSrc, int ySrc,
                      UINT startScan, UINT scanLines, const void* bits, const BITMAPINFO* info,
                      UINT usage)
{
    const std::lock_guard guard(gdiMutex);
    const auto* context = static_cast<const DeviceContext*>(findHandle(contexts, hdc));
    DibHeader header;
    if (!context || !bits || !readHeader(info, usage, header))
        return 0;
    const int bitCount = header.fields.biBitCount;
    if ((bitCount != 1 && bitCount != 8 && bitCount != 24 && bitCount != 32) ||
        startScan >= header.height)
        return 0;
    const int64_t rowsLeft = header.height - startScan;
    const DibBand band = {static_cast<const BYTE*>(bits), startScan,
                          scanLines < rowsLeft ? scanLines : rowsLeft};
    if (context->bitmap->pixels) {
        const int64_t lastRow = int64_t{ySrc} + height - 1;
        drawBand(*context->bitmap, header, band, {xSrc, int64_t{xSrc} + width}, {ySrc, lastRow + 1},
                 int64_t{xDest} - xSrc, yDest + lastRow);
    }
    return static_cast<int>(band.rowCount);
}
