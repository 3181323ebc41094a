#include "quibtool/handle.h"

#include "_Src/image/liveblocks.h"
#include "_Src/ipl.h"
#include "kernels/kernels.h"
#include "quibtool/platform.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

using namespace quib;

namespace
{

struct HandleKind {
    int32_t bitDepth;
    int32_t nChannels;
    uint32_t depth;
    const char* colorModel;
    const char* channelSeq;
};

// The texts are copied four bytes long.
constexpr HandleKind handleKinds[] = {
    {1, 1, IPL_DEPTH_1U, "GRAY", "GRAY"},
    {8, 1, IPL_DEPTH_8U, "GRAY", "GRAY"},
    {24, 3, IPL_DEPTH_8U, "RGB", "BGR"},
    {32, 4, IPL_DEPTH_8U, "RGBA", "BGRA"},
};

const HandleKind* findKind(int32_t bitDepth)
{
    const HandleKind* end = std::end(handleKinds);
    const HandleKind* kind = std::find_if(
        handleKinds, end, [bitDepth](const HandleKind& k) { return k.bitDepth == bitDepth; });
    return kind == end ? nullptr : kind;
}

// --- Validity ------------------------------------------------------------------

// Where the system has no probe but a call into its kernel, that would take
// longer than a small image's pixels. Windows' own is a guarded read.
#if defined(_WIN32)
constexpr bool probeIsCheap = true;
#else
constexpr bool probeIsCheap = false;
#endif

// Whether `bytes` bytes at `first`, said to lie in a block that starts at
// `block`, can be read.
bool canRead(const void* block, const void* first, size_t bytes)
{
    if (!probeIsCheap && ownIsInLiveBlock(block, first, bytes))
        return true;
    return !IsBadReadPtr(first, bytes);
}

bool isReadable(const IplImage* handle)
{
    return quib::ownIsMapped(handle) && handle->imageData;
}

// Each file's name, without its folders, makes a thousand of its own for its
// lines.
int32_t rowOf(const QuibCallSite& site)
{
    constexpr uint32_t thousands = 2000003; // a prime; all rows fit 31 bits
    uint32_t hash = 0;
    for (const char* at = site.file; *at; ++at) {
        const bool ends = *at == '/' || *at == '\\';
        hash = ends ? 0 : (hash * 257 + static_cast<uint8_t>(*at)) % thousands;
    }
    return static_cast<int32_t>(hash) * 1000 + site.line;
}

bool refuseHandle(int32_t row)
{
    std::snprintf(quibLastError, sizeof quibLastError, "invalid dib in quibtool row %d",
                  static_cast<int>(row));
    return false;
}

// --- Fills ---------------------------------------------------------------------

// Fills a one-channel image through the engine; a region held before is lost.
QuibStatus fillOneChannel(IplImage* handle, uint32_t fillColor, const QuibRect* rect)
{
    const int32_t value = static_cast<int32_t>(fillColor);
    if (!rect) {
        iplSet(handle, value);
        return QUIB_OK;
    }
    // On the stack: the region cannot fail, and the whole image is never filled
    // in its place.
    IplROI region{0, rect->left, rect->top, rect->right - rect->left, rect->bottom - rect->top};
    handle->roi = &region;
    iplSet(handle, value);
    handle->roi = nullptr;
    return QUIB_OK;
}

QuibStatus fillFourChannels(IplImage* handle, uint32_t fillColor, const QuibRect* rect)
{
    const size_t step = static_cast<size_t>(handle->widthStep);
    const size_t blockBytes = ownBlockBytes(handle);
    uint8_t* data = reinterpret_cast<uint8_t*>(handle->imageData);
    if (blockBytes == 0)
        return QUIB_OK;
    const quib::BlockKernels& block = quib::kernels().block;
    if (!rect && step % 4 == 0) {
        block.fill32(data, fillColor, blockBytes / 4);
        return QUIB_OK;
    }
    const QuibRect whole{0, 0, handle->width, handle->height};
    const QuibRect& area = rect ? *rect : whole;
    const size_t width = static_cast<size_t>(area.right - area.left);
    for (int32_t y = area.top; y < area.bottom; ++y)
        block.fill32(data + y * step + static_cast<size_t>(area.left) * 4, fillColor, width);
    return QUIB_OK;
}

} // namespace

char quibLastError[264];

bool QuibIsValid(const IplImage* handle, int32_t row)
{
    return isReadable(handle) || refuseHandle(row);
}

bool QuibIsValid(const IplImage* handle, const QuibCallSite& site)
{
    return isReadable(handle) || refuseHandle(rowOf(site));
}

bool quib::ownIsMapped(const IplImage* image)
{
    return image && canRead(image, image, sizeof(IplImage)) &&
           (!image->imageData || canRead(image->imageDataOrigin, image->imageData, 1));
}

QuibStatus quib::ownGetInfo(const IplImage* handle, QuibInfo* info)
{
    if (const int32_t status = iplCheckImage(handle))
        return status;
    // A signed depth's top bit takes part in the product, which wraps.
    const uint32_t bitDepth = handle->depth * static_cast<uint32_t>(handle->nChannels);
    *info = {handle->width, handle->height, static_cast<int32_t>(bitDepth), handle->widthStep};
    return QUIB_OK;
}

QuibStatus quib::ownLockData(const IplImage* handle, uint8_t** dataOut)
{
    if (const int32_t status = iplCheckImage(handle))
        return status;
    *dataOut = reinterpret_cast<uint8_t*>(handle->imageData);
    return QUIB_OK;
}

bool quib::ownClipRect(QuibRect* rect, int32_t width, int32_t height)
{
    rect->left = std::max(rect->left, 0);
    rect->top = std::max(rect->top, 0);
    rect->right = std::min(rect->right, width);
    rect->bottom = std::min(rect->bottom, height);
    return rect->left < rect->right && rect->top < rect->bottom;
}

bool quib::ownIsHandleDepth(int32_t bitDepth)
{
    return findKind(bitDepth) != nullptr;
}

size_t quib::ownBlockBytes(const IplImage* handle)
{
    if (handle->widthStep < 1 || handle->height < 1)
        return 0;
    const uint64_t bytes =
        static_cast<uint64_t>(handle->widthStep) * static_cast<uint64_t>(handle->height);
    // A record made by hand may leave its size out; otherwise a size of nothing
    // is one that wrapped.
    const bool wrapped = handle->imageSize < 1 && bytes > INT32_MAX;
    return wrapped ? 0 : static_cast<size_t>(bytes);
}

IplImage* quib::ownCreateRecord(int32_t width, int32_t height, int32_t bitDepth)
{
    const HandleKind* kind = findKind(bitDepth);
    if (!kind)
        return nullptr;
    return iplCreateImageHeader(kind->nChannels, 0, kind->depth, kind->colorModel, kind->channelSeq,
                                IPL_DATA_ORDER_PIXEL, IPL_ORIGIN_TL, 4, width, height, nullptr,
                                nullptr, nullptr, nullptr);
}

QuibStatus QuibCreateHeader(int32_t width, int32_t height, int32_t bitDepth, IplImage** out)
{
    if (width < 1)
        return QUIB_BAD_WIDTH;
    if (height < 1)
        return QUIB_BAD_HEIGHT;
    if (!ownIsHandleDepth(bitDepth))
        return QUIB_BAD_DEPTH;
    if (!out)
        return QUIB_BAD_ARGUMENT;
    IplImage* handle = ownCreateRecord(width, height, bitDepth);
    if (!handle)
        return QUIB_NO_HEADER;
    *out = handle;
    return QUIB_OK;
}

QuibStatus QuibCreate0(int32_t width, int32_t height, int32_t bitDepth, IplImage** out)
{
    IplImage* handle = nullptr;
    if (const QuibStatus status = QuibCreateHeader(width, height, bitDepth, &handle))
        return status;
    iplAllocateImage(handle, 0, 0);
    *out = handle;
    return QUIB_OK;
}

QuibStatus QuibCreate(int32_t width, int32_t height, int32_t bitDepth, IplImage** out,
                      uint32_t fillColor)
{
    IplImage* handle = nullptr;
    if (const QuibStatus status = QuibCreate0(width, height, bitDepth, &handle))
        return status;
    QuibFillColor(handle, fillColor, nullptr);
    *out = handle;
    return QUIB_OK;
}

QuibStatus QuibFree(IplImage** handleAddress)
{
    IplImage* handle = *handleAddress;
    if (!QuibIsValid(handle))
        return QUIB_BAD_ARGUMENT;
    if (iplCheckImage(handle) != IPL_StsOk)
        return QUIB_BAD_ARGUMENT;
    iplDeallocate(handle, IPL_IMAGE_ALL);
    *handleAddress = nullptr;
    return QUIB_OK;
}

QuibStatus QuibGetInfo(const IplImage* handle, QuibInfo* info)
{
    if (!QuibIsValid(handle))
        return QUIB_BAD_ARGUMENT;
    return ownGetInfo(handle, info);
}

QuibStatus QuibLockData(const IplImage* handle, void** dataOut)
{
    if (!QuibIsValid(handle))
        return QUIB_BAD_ARGUMENT;
    if (!dataOut)
        return QUIB_BAD_ARGUMENT;
    uint8_t* data = nullptr;
    const QuibStatus status = ownLockData(handle, &data);
    if (status == QUIB_OK)
        *dataOut = data;
    return status;
}

QuibStatus QuibUnlockData(const IplImage* handle)
{
    if (!QuibIsValid(handle))
        return QUIB_BAD_ARGUMENT;
    if (const int32_t status = iplCheckImage(handle))
        return status;
    return handle->imageData ? QUIB_OK : QUIB_BAD_ARGUMENT;
}

QuibStatus QuibFillColor(IplImage* handle, uint32_t fillColor, QuibRect* rect)
{
    if (!QuibIsValid(handle))
        return QUIB_BAD_ARGUMENT;
    if (rect && !ownClipRect(rect, handle->width, handle->height))
        return QUIB_BAD_ARGUMENT;
    switch (handle->nChannels) {
    case 1:
        return fillOneChannel(handle, fillColor, rect);
    case 3:
        // Colour images without alpha are never filled.
        return QUIB_OK;
    case 4:
        return fillFourChannels(handle, fillColor, rect);
    default:
        return QUIB_FAILED;
    }
}

QuibStatus QuibIsBlack(const IplImage* handle, uint32_t threshold, int32_t* result)
{
    if (!QuibIsValid(handle))
        return QUIB_BAD_ARGUMENT;
    *result = 1;
    QuibInfo info{};
    if (const QuibStatus status = ownGetInfo(handle, &info))
        return status;
    const quib::BlockKernels& block = quib::kernels().block;
    const size_t step = static_cast<size_t>(info.widthStep);
    const uint8_t* row = reinterpret_cast<const uint8_t*>(handle->imageData);
    for (int32_t y = 0; y < info.height && *result; ++y, row += step)
        *result = block.largest(row, step, info.bitDepth == 32) <= threshold;
    return QUIB_OK;
}
