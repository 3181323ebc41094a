#include "tests/everycall/scene.h"

#include "fuzz/leaks.h"
#include "tests/support/random.h"

#include <cstring>

namespace
{

// Fowler, Noll and Vo's FNV-1a, 64 bits.
class Digest
{
public:
    void add(const void* data, size_t bytes)
    {
        for (size_t i = 0; i < bytes; ++i)
            value = (value ^ static_cast<const uint8_t*>(data)[i]) * 0x100000001B3u;
    }
    void add(int64_t number) { add(&number, sizeof number); }

    uint64_t value = 0xCBF29CE484222325u;
};

IplImage* makeRandom(int32_t width, int32_t height, int32_t bitDepth, Random& random)
{
    IplImage* handle = nullptr;
    QuibCreate0(width, height, bitDepth, &handle);
    random.fill(handle->imageData, static_cast<size_t>(handle->imageSize));
    return handle;
}

// Some calls lose it.
void addRegion(IplImage* handle, Random& random)
{
    const LeaksAllowed allowed;
    handle->roi = iplCreateROI(0, random.between(0, 3), random.between(0, 3), handle->width - 4,
                               handle->height - 5);
}

void addMask(IplImage* handle, Random& random)
{
    handle->maskROI = makeRandom(handle->width, handle->height, 1, random);
}

HGLOBAL makeDib(int32_t bitCount, Random& random)
{
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = Scene::width;
    header.biHeight = Scene::height;
    header.biPlanes = 1;
    header.biBitCount = static_cast<WORD>(bitCount);
    const size_t palette = bitCount == 8 ? 1024 : 0;
    const size_t row = (static_cast<size_t>(Scene::width * bitCount) / 8 + 3) / 4 * 4;
    const size_t bytes = sizeof header + palette + row * Scene::height;
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, bytes);
    uint8_t* at = static_cast<uint8_t*>(GlobalLock(block));
    std::memcpy(at, &header, sizeof header);
    random.fill(at + sizeof header, bytes - sizeof header);
    GlobalUnlock(block);
    return block;
}

void addPixels(Digest* digest, const IplImage* image)
{
    const size_t bits = (image->depth & 0xFF) * static_cast<size_t>(image->nChannels) *
                        static_cast<size_t>(image->width);
    const int32_t bytes = static_cast<int32_t>(bits / 8);
    for (int32_t y = 0; y < image->height; ++y) {
        const char* row = image->imageData + static_cast<ptrdiff_t>(y) * image->widthStep;
        digest->add(row, static_cast<size_t>(bytes));
        if (bits % 8 != 0)
            digest->add(static_cast<uint8_t>(row[bytes]) >> (8 - bits % 8));
    }
}

void addImage(Digest* digest, const IplImage* image)
{
    if (!image) {
        digest->add(-1);
        return;
    }
    for (const int32_t field : {image->width, image->height, image->nChannels, image->alphaChannel,
                                image->widthStep, image->imageSize})
        digest->add(field);
    if (image->roi)
        digest->add(image->roi, sizeof *image->roi);
    if (image->imageData)
        addPixels(digest, image);
}

template<class Kind>
void addSurface(Digest* digest, const Kind& surface)
{
    const auto bytes = surface.contents();
    digest->add(bytes.data(), bytes.size());
    digest->add(surface.locks - surface.unlocks);
}

void addBlock(Digest* digest, HGLOBAL block)
{
    digest->add(GlobalLock(block), GlobalSize(block));
    GlobalUnlock(block);
}

} // namespace

Scene::Scene(const SceneKind& kind)
{
    Random random(static_cast<uint64_t>(kind.bitDepth) * 4 + kind.hasRegions * 2 + kind.hasMasks);
    a = makeRandom(width, height, kind.bitDepth, random);
    b = makeRandom(width, height, kind.bitDepth, random);
    smaller = makeRandom(11, 8, kind.bitDepth, random);
    pixels = makeRandom(width, height, 32, random);
    others = makeRandom(width, height, 32, random);
    plane = makeRandom(width, height, 8, random);
    bits = makeRandom(width, height, 1, random);
    for (IplImage* handle : {a, b, smaller}) {
        if (kind.hasRegions)
            addRegion(handle, random);
        if (kind.hasMasks)
            addMask(handle, random);
    }
    const int32_t taps[9] = {1, -2, 3, 4, 5, -6, 7, 8, -9};
    across = iplCreateConvKernel(3, 1, 1, 0, taps + 3, 1);
    down = iplCreateConvKernel(1, 3, 0, 1, taps + 3, 1);
    square = iplCreateConvKernel(3, 3, 1, 1, taps, 3);
    surface.setFormat(32, 0xFF0000, 0xFF00, 0xFF);
    newer.setFormat(32, 0xFF0000, 0xFF00, 0xFF);
    surface16.setFormat(16, 0xF800, 0x07E0, 0x001F);
    dib24 = makeDib(24, random);
    dib8 = makeDib(8, random);
    BITMAPINFO info{};
    info.bmiHeader = {sizeof info.bmiHeader, width, -height, 1, 32, 0, 0, 0, 0, 0, 0};
    context = CreateCompatibleDC(nullptr);
    drawn = CreateDIBSection(context, &info, DIB_RGB_COLORS, &drawnBits, nullptr, 0);
    before = SelectObject(context, drawn);
}

Scene::~Scene()
{
    SelectObject(context, before);
    DeleteObject(drawn);
    DeleteDC(context);
    GlobalFree(dib24);
    GlobalFree(dib8);
    for (OwnConvKernel* kernel : {across, down, square, madeKernels[0], madeKernels[1]})
        if (kernel)
            iplDeleteConvKernel(kernel);
    for (IplImage* image : handles())
        iplDeallocate(image, IPL_IMAGE_ALL);
    for (IplImage* image : made)
        iplDeallocate(image, IPL_IMAGE_ALL);
}

bool Scene::hasFailed() const
{
    for (size_t i = 0; i < noteCount; ++i)
        if (notes[i] < 0)
            return true;
    return false;
}

uint64_t Scene::digest() const
{
    Digest digest;
    digest.add(notes, sizeof notes);
    for (const IplImage* image : handles())
        addImage(&digest, image);
    for (const IplImage* image : made)
        addImage(&digest, image);
    addSurface(&digest, surface);
    addSurface(&digest, surface16);
    addSurface(&digest, newer);
    addBlock(&digest, dib24);
    addBlock(&digest, dib8);
    GdiFlush();
    digest.add(drawnBits, size_t{4} * width * height);
    return digest.value;
}

bool Scene::isUsable() const
{
    for (const IplImage* handle : handles()) {
        QuibInfo info{};
        if (QuibGetInfo(handle, &info) != QUIB_OK || !handle->imageData)
            return false;
    }
    return true;
}
