// A packed bitmap of any content in memory: Dib2Quib, Dib2Quib0, Quib2Dib and
// both engine conversions. The first eight bytes choose the operation and the
// image.
#include "fuzz/fuzz.h"

#include "quibtool/platform.h"
#include "quibtool/quibtool.h"

#include <algorithm>

namespace
{

constexpr size_t choiceBytes = 8;

struct Dib {
    const uint8_t* bytes;
    size_t size;
    BITMAPINFOHEADER header; // what the bytes are too few for is 0
};

class GlobalBlock
{
public:
    explicit GlobalBlock(const Dib& dib) : handle(GlobalAlloc(GMEM_MOVEABLE, dib.size))
    {
        if (void* start = GlobalLock(handle)) {
            std::memcpy(start, dib.bytes, dib.size);
            GlobalUnlock(handle);
        }
    }
    ~GlobalBlock() { GlobalFree(handle); }
    GlobalBlock(const GlobalBlock&) = delete;
    GlobalBlock& operator=(const GlobalBlock&) = delete;

    HGLOBAL get() const { return handle; }

private:
    HGLOBAL handle;
};

void importBlock(FuzzChoices& choices, const Dib& dib)
{
    constexpr int32_t depths[] = {0, 8, 32};
    const GlobalBlock block(dib);
    IplImage* handle = nullptr;
    Dib2Quib(block.get(), &handle, depths[choices.choose(3)]);
    iplDeallocate(handle, IPL_IMAGE_ALL);
}

// The pixels' extent is the caller's duty: the header's claim has to be true.
void importApart(FuzzChoices&, const Dib& dib)
{
    if (dib.size < sizeof dib.header || dib.header.biWidth < 1 || dib.header.biHeight < 1)
        return;
    const uint64_t bits = dib.header.biBitCount;
    const uint64_t width = static_cast<uint64_t>(dib.header.biWidth);
    const uint64_t height = static_cast<uint64_t>(dib.header.biHeight);
    const uint64_t step = (bits * width + 31) / 32 * bits / 8;
    const size_t pixelBytes = dib.size - sizeof dib.header;
    const uint64_t needed = bits < 24 ? step * height : step * (height - 1) + width * bits / 8;
    if (needed > pixelBytes)
        return;
    const FuzzBlock pixels(dib.bytes + sizeof dib.header, pixelBytes);
    IplImage* handle = nullptr;
    Dib2Quib0(dib.bytes, pixels.data(), &handle);
    iplDeallocate(handle, IPL_IMAGE_ALL);
}

void exportHandle(FuzzChoices& choices, const Dib& dib)
{
    constexpr int32_t depths[] = {1, 8, 24, 32};
    IplImage* handle = nullptr;
    QuibCreate(dib.header.biWidth, dib.header.biHeight, depths[choices.choose(4)], &handle,
               0x11335577);
    const GlobalBlock block(dib);
    Quib2Dib(handle, block.get());
    iplDeallocate(handle, IPL_IMAGE_ALL);
}

// An image of the bitmap's size or somewhat larger, of a chosen layout; null
// if there cannot be one.
IplImage* makeImage(FuzzChoices& choices, const Dib& dib, bool asSource)
{
    constexpr int32_t channelCounts[] = {1, 3, 4, 2};
    constexpr uint32_t imageDepths[] = {IPL_DEPTH_8U, IPL_DEPTH_16U, IPL_DEPTH_1U, IPL_DEPTH_8S};
    constexpr const char* sequences[] = {"BGRA", "GRAY", "RGBA", "BGR", "RGB", "G\0\0"};
    const int32_t nChannels = channelCounts[choices.choose(4)];
    const uint32_t depth = imageDepths[choices.choose(nChannels == 1 ? 4 : 2)];
    const char* sequence = sequences[choices.choose(6)];
    const uint32_t layout = choices.choose(16);
    const int32_t larger = asSource ? 0 : static_cast<int32_t>(choices.choose(3));
    if (dib.header.biHeight == INT32_MIN || dib.header.biWidth > INT32_MAX - larger)
        return nullptr;
    IplImage* image = iplCreateImageHeader(
        nChannels, asSource && nChannels == 4 ? 4 : 0, depth, "RGBA", sequence, layout & 1,
        (layout >> 1) & 1, 4 << (layout >> 2), dib.header.biWidth + larger,
        std::abs(dib.header.biHeight), nullptr, nullptr, nullptr, nullptr);
    iplAllocateImage(image, 1, 0x5A);
    // What is exported are the bitmap's bytes, over and over.
    const bool takes = asSource && image && image->imageData && dib.size > 0;
    for (int32_t i = 0; takes && i < image->imageSize; ++i)
        image->imageData[i] = static_cast<char>(dib.bytes[static_cast<size_t>(i) % dib.size]);
    return image;
}

void importToImage(FuzzChoices& choices, const Dib& dib)
{
    IplImage* image = makeImage(choices, dib, false);
    const FuzzBlock block(dib.bytes, dib.size);
    iplSetStatus(0);
    ownConvertFromDIB(block.data(), dib.size, image);
    iplDeallocate(image, IPL_IMAGE_ALL);
}

void exportImage(FuzzChoices& choices, const Dib& dib)
{
    constexpr int32_t dithers[] = {IPL_DITHER_FS, IPL_DITHER_JJH, IPL_DITHER_STUCKEY,
                                   IPL_DITHER_BAYER};
    const uint32_t place = choices.choose(16);
    const int32_t dither = place < 4 ? dithers[place] : IPL_DITHER_NONE;
    const int32_t paletteConversion = static_cast<int32_t>(choices.choose(3));
    IplImage* image = makeImage(choices, dib, true);
    const FuzzBlock block(dib.bytes, dib.size);
    iplSetStatus(0);
    ownConvertToDIB(image, block.data(), dib.size, dither, paletteConversion);
    iplDeallocate(image, IPL_IMAGE_ALL);
}

} // namespace

void runFuzzInput(const uint8_t* data, size_t size)
{
    constexpr void (*operations[])(FuzzChoices&, const Dib&) = {
        importBlock, importApart, exportHandle, importToImage, exportImage};
    if (size < choiceBytes)
        return;
    FuzzChoices choices(data);
    Dib dib{data + choiceBytes, size - choiceBytes, {}};
    std::memcpy(&dib.header, dib.bytes, std::min(dib.size, sizeof dib.header));
    if (isLegalButHuge(dib.header.biWidth, dib.header.biHeight))
        return;
    operations[choices.choose(5)](choices, dib);
}
