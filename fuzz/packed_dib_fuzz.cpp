// A packed bitmap of any content in memory: Dib2Quib, Dib2Quib0, Quib2Dib and
// both engine conversions. The first bytes choose the operation and the image.
#include "fuzz/fuzz.h"

#include "platform/platform.h"
#include "quibtool/quibtool.h"

#include <algorithm>

namespace
{

// What fits into no block reads 0.
BITMAPINFOHEADER headerOf(const FuzzInput& input)
{
    BITMAPINFOHEADER header{};
    if (input.size() > 0)
        std::memcpy(&header, input.rest(), std::min(input.size(), sizeof header));
    return header;
}

class GlobalBlock
{
public:
    explicit GlobalBlock(const FuzzInput& input) : handle(GlobalAlloc(GMEM_MOVEABLE, input.size()))
    {
        if (void* start = GlobalLock(handle)) {
            std::memcpy(start, input.rest(), input.size());
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

void importBlock(FuzzInput& input)
{
    constexpr int32_t depths[] = {0, 8, 32};
    const int32_t depth = depths[input.choose(3)];
    const GlobalBlock block(input);
    IplImage* handle = nullptr;
    Dib2Quib(block.get(), &handle, depth);
    iplDeallocate(handle, IPL_IMAGE_ALL);
}

// The pixels' extent is the caller's duty: the header's claim has to be true.
void importApart(FuzzInput& input)
{
    const BITMAPINFOHEADER header = headerOf(input);
    if (input.size() < sizeof header || header.biWidth < 1 || header.biHeight < 1)
        return;
    const uint64_t bits = header.biBitCount;
    const uint64_t width = static_cast<uint64_t>(header.biWidth);
    const uint64_t height = static_cast<uint64_t>(header.biHeight);
    const uint64_t step = (bits * width + 31) / 32 * bits / 8;
    if (step * height + width * bits / 8 > input.size() - sizeof header)
        return;
    const FuzzBlock pixels(input.rest() + sizeof header, input.size() - sizeof header);
    IplImage* handle = nullptr;
    Dib2Quib0(input.rest(), pixels.data(), &handle);
    iplDeallocate(handle, IPL_IMAGE_ALL);
}

void exportHandle(FuzzInput& input)
{
    constexpr int32_t depths[] = {1, 8, 24, 32};
    const int32_t depth = depths[input.choose(4)];
    const BITMAPINFOHEADER header = headerOf(input);
    IplImage* handle = nullptr;
    QuibCreate(header.biWidth, header.biHeight, depth, &handle, 0x11335577);
    const GlobalBlock block(input);
    Quib2Dib(handle, block.get());
    iplDeallocate(handle, IPL_IMAGE_ALL);
}

// An image of the bitmap's size or somewhat larger, of a chosen layout; null
// if there cannot be one.
IplImage* makeImage(FuzzInput& input, bool asSource)
{
    constexpr int32_t channelCounts[] = {1, 3, 4, 2};
    constexpr uint32_t imageDepths[] = {IPL_DEPTH_8U, IPL_DEPTH_16U, IPL_DEPTH_1U, IPL_DEPTH_8S};
    constexpr const char* sequences[] = {"BGRA", "GRAY", "RGBA", "BGR", "RGB", "G\0\0"};
    const int32_t nChannels = channelCounts[input.choose(4)];
    const uint32_t depth = imageDepths[input.choose(nChannels == 1 ? 4 : 2)];
    const char* sequence = sequences[input.choose(6)];
    const uint32_t layout = input.choose(16);
    const int32_t larger = asSource ? 0 : static_cast<int32_t>(input.choose(3));
    const BITMAPINFOHEADER header = headerOf(input);
    if (header.biHeight == INT32_MIN || header.biWidth > INT32_MAX - larger)
        return nullptr;
    const int32_t height = std::abs(header.biHeight);
    IplImage* image =
        iplCreateImageHeader(nChannels, asSource && nChannels == 4 ? 4 : 0, depth, "RGBA", sequence,
                             layout & 1, (layout >> 1) & 1, 4 << (layout >> 2),
                             header.biWidth + larger, height, nullptr, nullptr, nullptr, nullptr);
    iplAllocateImage(image, 1, 0x5A);
    return image;
}

void importToImage(FuzzInput& input)
{
    IplImage* image = makeImage(input, false);
    const FuzzBlock block(input.rest(), input.size());
    iplSetStatus(0);
    ownConvertFromDIB(block.data(), input.size(), image);
    iplDeallocate(image, IPL_IMAGE_ALL);
}

void exportImage(FuzzInput& input)
{
    const int32_t dither = 1 + static_cast<int32_t>(input.choose(2));
    const int32_t paletteConversion = static_cast<int32_t>(input.choose(3));
    IplImage* image = makeImage(input, true);
    const FuzzBlock block(input.rest(), input.size());
    iplSetStatus(0);
    ownConvertToDIB(image, block.data(), input.size(), dither, paletteConversion);
    iplDeallocate(image, IPL_IMAGE_ALL);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr void (*operations[])(FuzzInput&) = {importBlock, importApart, exportHandle,
                                                  importToImage, exportImage};
    FuzzInput input(data, size);
    const auto operation = operations[input.choose(5)];
    // At most six more bytes are choices: no header behind any of them is huge.
    for (size_t skipped = 0; skipped <= std::min<size_t>(6, input.size()); ++skipped) {
        const BITMAPINFOHEADER header =
            headerOf(FuzzInput(input.rest() + skipped, input.size() - skipped));
        if (isLegalButHuge(header.biWidth, header.biHeight))
            return 0;
    }
    startFuzzInput();
    operation(input);
    return 0;
}
