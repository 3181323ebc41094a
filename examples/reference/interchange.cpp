// Bitmaps in memory, files and device contexts. The snippets are plain C as well.
#include "examples/reference/gallery.h"

#include "examples/reference/program.h"
#include "examples/support/layeredfile.h"
#include "quibtool/platform.h"

#include <cstdio>
#include <cstring>

namespace
{

// Room for a packed bitmap, in a block that can move.
HGLOBAL packedBitmap(int width, int height, int bitCount)
{
    const size_t rowBytes =
        (static_cast<size_t>(width) * static_cast<size_t>(bitCount) / 8 + 3) / 4 * 4;
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = static_cast<WORD>(bitCount);
    HGLOBAL block = GlobalAlloc(GHND, sizeof header + rowBytes * static_cast<size_t>(height));
    std::memcpy(GlobalLock(block), &header, sizeof header);
    GlobalUnlock(block);
    return block;
}

Layer layerOf(const char* name, const IplImage* colours, const IplImage* transparency)
{
    Layer layer{name, colours->width, colours->height, {}};
    for (int y = 0; y < colours->height; ++y)
        for (int x = 0; x < colours->width; ++x) {
            const unsigned char* colour = rowOf(colours, y) + 4 * x;
            layer.pixels.insert(layer.pixels.end(),
                                {colour[2], colour[1], colour[0], rowOf(transparency, y)[x]});
        }
    return layer;
}

} // namespace

EXAMPLE(Dib2Quib)
{
    HGLOBAL dib = packedBitmap(240, 160, 24);
    TRY(Quib2Dib(photograph("cat", 240, 160, 32), dib));
    /* shown */
    IplImage* image = NULL;
    TRY(Dib2Quib(dib, &image, 32)); /* dib: 24 bits, in movable global memory */
    /* end */
    after(keep(image), "32: a 32-bit handle, opaque");
    IplImage* out = nullptr;
    MADE(out, "8: an 8-bit handle", Dib2Quib(dib, &out, 8));
    MADE(out, "0: the bitmap's own depth", Dib2Quib(dib, &out, 0));
    GlobalFree(dib);
    return QUIB_OK;
}

EXAMPLE(Dib2Quib0)
{
    IplImage* upsideDown = photograph("cat", 240, 160, 32);
    TRY(QuibFlip(upsideDown, upsideDown, 0));
    const void* bits = rowOf(upsideDown, 0);
    before(upsideDown, "bits: 32-bit rows, the lowest first");
    /* shown */
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof header;
    header.biWidth = 240;
    header.biHeight = 160;
    header.biPlanes = 1;
    header.biBitCount = 32;
    IplImage* image = NULL;
    TRY(Dib2Quib0(&header, bits, &image));
    /* end */
    after(keep(image), "image");
    return QUIB_OK;
}

EXAMPLE(Quib2Dib)
{
    IplImage* photo = inEllipse(photograph("cat", 240, 160, 32));
    before(photo, "photo, of 32 bits");
    HGLOBAL dib = packedBitmap(240, 160, 24);
    /* shown */
    TRY(Quib2Dib(photo, dib)); /* dib: room for 240 x 160 pixels of 24 bits, and its header */
    /* end */
    IplImage* back = nullptr;
    TRY(Dib2Quib(dib, &back, 0));
    after(keep(back), "The bitmap, read back: no alpha");
    GlobalFree(dib);
    return QUIB_OK;
}

EXAMPLE(QuibLoadBMP)
{
    const char* fileName = photographFile("cat");
    /* shown */
    IplImage* photo = NULL;
    TRY(QuibLoadBMP(fileName, &photo));
    if (photo == NULL)
        return QUIB_FAILED;               /* the file ends inside its headers */
    TRY(QuibSetAlphaS(photo, NULL, 255)); /* a 24-bit file has no alpha: 0 throughout */
    /* end */
    keep(photo);
    IplImage* small = empty(240, 160, 32);
    TRY(QuibResize(photo, small, IPL_INTER_SUPER));
    after(small, "Made opaque");
    IplImage* under = photograph("cup", 240, 160, 32);
    IplImage* out = nullptr;
    TRY(QuibSetAlphaS(small, NULL, 0));
    MADE(out, "As it is loaded, laid over another: nothing is seen",
         QuibComposition3(small, under, &out));
    return QUIB_OK;
}

EXAMPLE(QuibLoadFramePsd2Bmp)
{
    IplImage* hole = ellipse(240, 160);
    IplImage* frame = nullptr;
    TRY(QuibNot(hole, &frame));
    keep(frame);
    const char* fileName = scratchFile();
    IplImage* soft = empty(240, 160, 8);
    QuibRect inner = {20, 14, 220, 146};
    TRY(QuibFillColor(soft, 255, &inner));
    if (!writeLayeredFile(fileName, {layerOf("photograph", photograph("cat", 240, 160, 32), soft),
                                     layerOf("frame", photograph("cup", 240, 160, 32), frame)}))
        return QUIB_FAILED;
    /* shown */
    /* A file of two layers: a photograph, and a frame above it. */
    IplImage* picture = NULL;
    IplImage* mask = NULL;
    TRY(QuibLoadFramePsd2Bmp(fileName, &picture, &mask));
    /* end */
    std::remove(fileName);
    after(keep(picture), "picture: the lower layer, with its transparency");
    after(keep(mask), "mask: the upper layer's, of 8 bits");
    return QUIB_OK;
}

EXAMPLE(QuibDrawToHDC)
{
    IplImage* photo = photograph("cat", 150, 100, 32);
    before(photo, "photo");
    BITMAPINFO target{};
    target.bmiHeader.biSize = sizeof target.bmiHeader;
    target.bmiHeader.biWidth = 240;
    target.bmiHeader.biHeight = -160;
    target.bmiHeader.biPlanes = 1;
    target.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    HDC hdc = CreateCompatibleDC(nullptr);
    HBITMAP bitmap = CreateDIBSection(hdc, &target, DIB_RGB_COLORS, &bits, nullptr, 0);
    HGDIOBJ selected = SelectObject(hdc, bitmap);
    /* shown */
    TRY(QuibDrawToHDC(photo, hdc, 20, 30));   /* its corner 20 right of, 30 below the device's */
    TRY(QuibDrawToHDC(photo, hdc, 170, -40)); /* what lies outside is left out */
    /* end */
    IplImage* seen = empty(240, 160, 32);
    GdiFlush();
    std::memcpy(rowOf(seen, 0), bits, 240 * 160 * 4);
    coloursAfter(seen, "The device's bitmap, 240 x 160");
    SelectObject(hdc, selected);
    DeleteObject(bitmap);
    DeleteDC(hdc);
    return QUIB_OK;
}
