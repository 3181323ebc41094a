#include "zxdll/zxdll.h"

#include "zxdll/frame.h"

#include <algorithm>

namespace
{

// Frames have the canvas's size however small their layers are, so that a file
// of few bytes could ask for any amount of memory. Two frames of 13 megapixels
// are always had; beyond that, frames are made only as far as the pixels that
// the file holds account for them.
constexpr uint64_t freeBytes = uint64_t{128} << 20;
constexpr uint64_t bytesPerHeldByte = 16;

bool countFrames(const zx::Document& document, ZxWord* count)
{
    zx::LayerWalk walk = layersOf(document);
    zx::Layer layer;
    uint64_t bitmaps = 0;
    uint64_t held = 0;
    *count = 0;
    for (uint32_t i = 0; i < document.layerCount; ++i) {
        if (!nextLayer(document, &walk, &layer))
            return false;
        if (!makesFrame(document, layer))
            continue;
        if (!layerIsPlausible(document, layer))
            return false;
        const zx::FrameBytes bytes = frameBytes(document, layer);
        bitmaps += bytes.bitmaps;
        held += bytes.held;
        ++*count;
    }
    return bitmaps <= std::max(freeBytes, held * bytesPerHeldByte);
}

bool makeFrames(const zx::Document& document, ZxFrame* frames)
{
    zx::LayerWalk walk = layersOf(document);
    zx::Layer layer;
    for (uint32_t i = 0; i < document.layerCount; ++i) {
        nextLayer(document, &walk, &layer);
        if (makesFrame(document, layer) && !makeFrame(document, layer, frames++))
            return false;
    }
    return true;
}

HGLOBAL makeImage(const zx::Document& document)
{
    ZxWord count = 0;
    if (!countFrames(document, &count))
        return nullptr;
    const size_t frames = std::max<size_t>(count, 2);
    const HGLOBAL block = GlobalAlloc(GHND, offsetof(ZxImage, frames) + frames * sizeof(ZxFrame));
    ZxImage* image = static_cast<ZxImage*>(GlobalLock(block));
    if (!image)
        return nullptr;
    image->frameCount = count;
    const bool good = makeFrames(document, image->frames);
    GlobalUnlock(block);
    if (good)
        return block;
    ZxImageDelete(block);
    return nullptr;
}

} // namespace

HGLOBAL ZxLoadPsdFileAsImage(const char* fileName)
{
    zx::Document document;
    if (!fileName || !openDocument(&document, fileName))
        return nullptr;
    const HGLOBAL image = makeImage(document);
    closeDocument(&document);
    return image;
}

void ZxImageDelete(HGLOBAL block)
{
    ZxImage* image = static_cast<ZxImage*>(GlobalLock(block));
    if (!image)
        return;
    const ZxFrame* frame = image->frames;
    for (ZxWord i = 0; i < image->frameCount; ++i)
        zx::freeFrame(*frame++);
    GlobalUnlock(block);
    GlobalFree(block);
}
