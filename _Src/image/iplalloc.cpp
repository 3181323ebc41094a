#include "_Src/image/check.h"
#include "_Src/image/liveblocks.h"
#include "_Src/image/pitch.h"
#include "_Src/image/report.h"
#include "kernels/kernels.h"
#include "platform/largepages.h"

#include <cstdlib>
#include <cstring>

// --- Aligned blocks: the true start lies in the word below the block ---------

namespace
{

constexpr uintptr_t blockAlignment = 32;
constexpr uintptr_t blockOverhead = blockAlignment + sizeof(void*);

void* allocateAligned(int32_t count, uint32_t unit)
{
    if (count < 1)
        return nullptr;
    const uint64_t size = static_cast<uint64_t>(count) * unit + blockOverhead;
    if (size > SIZE_MAX)
        return nullptr;
    void* start = std::malloc(static_cast<size_t>(size));
    if (!start)
        return nullptr;
    const uintptr_t last = reinterpret_cast<uintptr_t>(start) + blockOverhead - 1;
    void** aligned = reinterpret_cast<void**>(last & ~(blockAlignment - 1));
    aligned[-1] = start;
    return aligned;
}

} // namespace

void* iplAlignedMalloc(int32_t size)
{
    return allocateAligned(size, 1);
}

void* iplAlignedMalloc16(int32_t count)
{
    return allocateAligned(count, 2);
}

void* iplAlignedMalloc32(int32_t count)
{
    return allocateAligned(count, 4);
}

void iplAlignedFree(void* block)
{
    if (!block)
        return;
    ownForgetBlock(block);
    std::free(static_cast<void**>(block)[-1]);
}

// --- Records -------------------------------------------------------------------

int32_t ownWidthStep(const IplImage* image, int32_t width)
{
    const uint32_t bits = static_cast<uint32_t>(ownDepthBits(image->depth)) *
                          static_cast<uint32_t>(ownElementsPerPixel(image));
    return ownRowPitch(width, static_cast<int32_t>(bits), image->align);
}

namespace
{

void computeSizes(IplImage* image)
{
    image->widthStep = ownWidthStep(image, image->width);
    image->imageSize = static_cast<int32_t>(static_cast<uint32_t>(image->height) *
                                            static_cast<uint32_t>(ownPlaneCount(image)) *
                                            static_cast<uint32_t>(image->widthStep));
}

// Whether the wrapped sizes of a record describe a block that holds its rows.
// A size that wrapped to 0 describes no block at all.
bool sizesHoldRows(const IplImage* image)
{
    if (image->imageSize == 0)
        return true;
    const uint64_t rowBits =
        static_cast<uint64_t>(image->width) * static_cast<uint64_t>(ownDepthBits(image->depth));
    const uint64_t elements = static_cast<uint64_t>(ownElementsPerPixel(image));
    const uint64_t rows =
        static_cast<uint64_t>(image->height) * static_cast<uint64_t>(ownPlaneCount(image));
    const uint64_t step = static_cast<uint64_t>(image->widthStep);
    return image->imageSize > 0 && image->widthStep > 0 && step * 8 / elements >= rowBits &&
           rows * step == static_cast<uint64_t>(image->imageSize);
}

void* allocatePixels(const IplImage* image)
{
    if (!sizesHoldRows(image))
        return nullptr;
    const size_t bytes =
        static_cast<size_t>(image->align) + static_cast<size_t>(image->imageSize) - 1;
    void* pixels = std::malloc(bytes);
    if (!pixels)
        return nullptr;
    quib::askForLargePages(pixels, bytes);
    ownRememberBlock(pixels, bytes);
    return pixels;
}

uint32_t expandFillValue(uint32_t depth, int32_t fillValue)
{
    const uint32_t value = static_cast<uint32_t>(fillValue);
    switch (ownDepthBits(depth)) {
    case 1:
        return (value & 1) ? 0xFFFFFFFFu : 0;
    case 8:
        return (value & 0xFF) * 0x01010101u;
    case 16:
        return (value & 0xFFFF) * 0x00010001u;
    default:
        return value;
    }
}

// Rows that do not fill their step end in zeros, so that whole rows can be compared
// whatever the heap held before. Pixels beside them in the same byte are cleared too.
void clearPadding(const IplImage* image)
{
    const uint64_t rowBits = static_cast<uint64_t>(image->width) *
                             static_cast<uint64_t>(ownDepthBits(image->depth)) *
                             static_cast<uint64_t>(ownElementsPerPixel(image));
    const size_t used = static_cast<size_t>(rowBits / 8);
    const size_t step = static_cast<size_t>(image->widthStep);
    const size_t bytes = static_cast<size_t>(image->imageSize);
    if (used == step)
        return;
    for (size_t row = 0; row < bytes; row += step)
        std::memset(image->imageData + row + used, 0, step - used);
}

// The body of both allocating functions: the checks from the header fields on.
void allocateImage(const IplCaller& caller, IplImage* image, int32_t doFill, uint32_t fillWord)
{
    if (const int32_t status = ownCheckHeaderFields(image)) {
        ownReport(caller, status, "Incorrect data-ins");
        return;
    }
    IplImage sized = *image;
    computeSizes(&sized);
    image->imageDataOrigin = static_cast<char*>(allocatePixels(&sized));
    if (!image->imageDataOrigin) {
        ownReport(caller, IPL_StsNoMem, "for allocate image data");
        return;
    }
    const uintptr_t align = static_cast<uintptr_t>(image->align);
    const uintptr_t start = reinterpret_cast<uintptr_t>(image->imageDataOrigin);
    image->imageData = reinterpret_cast<char*>((start + align - 1) & ~(align - 1));
    image->imageSize = sized.imageSize;
    image->widthStep = sized.widthStep;
    if (doFill)
        quib::kernels().block.fill32(image->imageData, fillWord,
                                     static_cast<size_t>(image->imageSize) / 4);
    else
        clearPadding(image);
}

bool mayAllocate(const IplCaller& caller, const IplImage* image)
{
    return ownRequire(caller, image != nullptr, "( image == ((void *)0) )") &&
           ownRequire(caller, !image->imageData, "( image->imageData != ((void *)0) )") &&
           ownRequire(caller, !image->tileInfo, "( image->tileInfo != ((void *)0) )");
}

} // namespace

IplImage* iplCreateImageHeader(int32_t nChannels, int32_t alphaChannel, uint32_t depth,
                               const char* colorModel, const char* channelSeq, int32_t dataOrder,
                               int32_t origin, int32_t align, int32_t width, int32_t height,
                               IplROI* roi, IplImage* maskROI, void* imageId, IplTileInfo* tileInfo)
{
    const int32_t status =
        ownCheckHeaderFields(nChannels, alphaChannel, depth, colorModel, channelSeq, dataOrder,
                             origin, align, width, height, maskROI);
    if (status != IPL_StsOk) {
        ownReport({"iplCreateImageHeader", "iplalloc"}, status, "Incorrect data-ins");
        return nullptr;
    }
    IplImage* image = static_cast<IplImage*>(iplAlignedMalloc(sizeof(IplImage)));
    if (!image)
        return nullptr;
    ownRememberBlock(image, sizeof(IplImage));
    *image = IplImage{};
    image->nSize = sizeof(IplImage);
    image->nChannels = nChannels;
    image->alphaChannel = alphaChannel;
    image->depth = depth;
    std::memcpy(image->colorModel, colorModel, sizeof image->colorModel);
    std::memcpy(image->channelSeq, channelSeq, sizeof image->channelSeq);
    image->dataOrder = dataOrder;
    image->origin = origin;
    image->align = align;
    image->width = width;
    image->height = height;
    image->roi = roi;
    image->maskROI = maskROI;
    image->imageId = imageId;
    image->tileInfo = tileInfo;
    computeSizes(image);
    iplSetBorderMode(image, 0, 15, 0);
    return image;
}

void iplAllocateImage(IplImage* image, int32_t doFill, int32_t fillValue)
{
    const IplCaller caller{"iplAllocateImage", "iplalloc"};
    if (mayAllocate(caller, image) &&
        ownRequire(caller, image->depth != IPL_DEPTH_32F, "( image->depth == 32 )"))
        allocateImage(caller, image, doFill, expandFillValue(image->depth, fillValue));
}

void iplAllocateImageFP(IplImage* image, int32_t doFill, float fillValue)
{
    const IplCaller caller{"iplAllocateImageFP", "iplalloc"};
    uint32_t fillWord = 0;
    std::memcpy(&fillWord, &fillValue, sizeof fillWord);
    if (mayAllocate(caller, image) &&
        ownRequire(caller, image->depth == IPL_DEPTH_32F, "( image->depth != 32 )"))
        allocateImage(caller, image, doFill, fillWord);
}

void iplDeallocate(IplImage* image, int32_t flags)
{
    if (!image)
        return;
    if (flags & IPL_IMAGE_ROI) {
        iplAlignedFree(image->roi);
        image->roi = nullptr;
    }
    if (flags & IPL_IMAGE_MASK) {
        // A mask's own mask is left alone.
        iplDeallocate(image->maskROI, IPL_IMAGE_ALL & ~IPL_IMAGE_MASK);
        image->maskROI = nullptr;
    }
    if (flags & IPL_IMAGE_TILE) {
        iplAlignedFree(image->tileInfo);
        image->tileInfo = nullptr;
    }
    // Borrowed pixels stay.
    if ((flags & IPL_IMAGE_DATA) && image->imageDataOrigin)
        iplDeallocateImage(image);
    if (flags & IPL_IMAGE_HEADER)
        iplAlignedFree(image);
}

void iplDeallocateHeader(IplImage* image)
{
    iplDeallocate(image, IPL_IMAGE_HEADER);
}

void iplDeallocateImage(IplImage* image)
{
    ownForgetBlock(image->imageDataOrigin);
    std::free(image->imageDataOrigin);
    image->imageDataOrigin = nullptr;
    image->imageData = nullptr;
}

// --- Companions ------------------------------------------------------------------

IplROI* iplCreateROI(int32_t coi, int32_t xOffset, int32_t yOffset, int32_t width, int32_t height)
{
    IplROI* roi = static_cast<IplROI*>(iplAlignedMalloc(sizeof(IplROI)));
    iplSetROI(roi, coi, xOffset, yOffset, width, height);
    return roi;
}

void iplSetROI(IplROI* roi, int32_t coi, int32_t xOffset, int32_t yOffset, int32_t width,
               int32_t height)
{
    if (roi)
        *roi = {coi, xOffset, yOffset, width, height};
}

IplTileInfo* iplCreateTileInfo(IplTileCallBack callBack, void* id, int32_t width, int32_t height)
{
    IplTileInfo* tileInfo = static_cast<IplTileInfo*>(iplAlignedMalloc(sizeof(IplTileInfo)));
    iplSetTileInfo(tileInfo, callBack, id, width, height);
    return tileInfo;
}

void iplSetTileInfo(IplTileInfo* tileInfo, IplTileCallBack callBack, void* id, int32_t width,
                    int32_t height)
{
    if (tileInfo)
        *tileInfo = {callBack, id, nullptr, width, height};
}

void iplSetBorderMode(IplImage* image, int32_t mode, int32_t borderMask, int32_t constant)
{
    const int32_t value = ownClampToDepth(image->depth, constant);
    for (int32_t side = 0; side < 4; ++side) {
        if (borderMask & (1 << side)) {
            image->BorderMode[side] = mode;
            image->BorderConst[side] = value;
        }
    }
}
