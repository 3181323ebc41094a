/* Brings a packed bitmap in, takes it out again and draws it, in plain C. */
#include <quibtool/platform.h>
#include <quibtool/quibtool.h>

#include <stdio.h>
#include <string.h>

enum { WIDTH = 4, HEIGHT = 3, ROW = 12 };

/* An empty bitmap of 24 bits in global memory. */
static HGLOBAL new_dib(void)
{
    HGLOBAL block = GlobalAlloc(GHND, sizeof(BITMAPINFOHEADER) + HEIGHT * ROW);
    BITMAPINFOHEADER* header = (BITMAPINFOHEADER*)GlobalLock(block);
    if (header == NULL)
        return NULL;
    header->biSize = sizeof(*header);
    header->biWidth = WIDTH;
    header->biHeight = HEIGHT;
    header->biPlanes = 1;
    header->biBitCount = 24;
    GlobalUnlock(block);
    return block;
}

/* Whether the handle, drawn to a device context, shows the rows of the bitmap. */
static int draws(const IplImage* handle, const BYTE* rows)
{
    HDC context = CreateCompatibleDC(NULL);
    BITMAPINFO info;
    HBITMAP bitmap;
    HGDIOBJ before;
    void* bits = NULL;
    int good = 1, x, y, channel;
    memset(&info, 0, sizeof(info));
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = WIDTH;
    info.bmiHeader.biHeight = HEIGHT;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    bitmap = CreateDIBSection(context, &info, DIB_RGB_COLORS, &bits, NULL, 0);
    before = SelectObject(context, bitmap);
    if (bitmap == NULL || QuibDrawToHDC(handle, context, 0, 0) != QUIB_OK)
        return 0;
    GdiFlush();
    for (y = 0; y < HEIGHT; ++y)
        for (x = 0; x < WIDTH; ++x)
            for (channel = 0; channel < 3; ++channel)
                good = good && ((const BYTE*)bits)[(y * WIDTH + x) * 4 + channel] ==
                                   rows[y * ROW + x * 3 + channel];
    SelectObject(context, before);
    return good && DeleteObject(bitmap) && DeleteDC(context);
}

int main(void)
{
    HGLOBAL in = new_dib(), out = new_dib();
    IplImage* handle = NULL;
    BYTE rows[HEIGHT * ROW];
    int i;
    for (i = 0; i < HEIGHT * ROW; ++i)
        rows[i] = (BYTE)(i * 7 + 1);
    if (in == NULL || out == NULL)
        return 1;
    memcpy((BYTE*)GlobalLock(in) + sizeof(BITMAPINFOHEADER), rows, sizeof(rows));
    GlobalUnlock(in);
    if (Dib2Quib(in, &handle, 32) != QUIB_OK || Quib2Dib(handle, out) != QUIB_OK)
        return 2;
    if (memcmp((BYTE*)GlobalLock(out) + sizeof(BITMAPINFOHEADER), rows, sizeof(rows)) != 0)
        return 3;
    GlobalUnlock(out);
    if (!draws(handle, rows))
        return 4;
    if (QuibFree(&handle) != QUIB_OK || GlobalFree(in) != NULL || GlobalFree(out) != NULL)
        return 5;
    puts("good");
    return 0;
}
