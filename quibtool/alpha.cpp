#include "kernels/kernels.h"
#include "quibtool/handle.h"

#include <algorithm>

namespace
{

constexpr int32_t fileRow = 3000;

uint8_t* pixelsOf(const IplImage* handle)
{
    return reinterpret_cast<uint8_t*>(handle->imageData);
}

// Calls work(row, width) for each row of the whole image; for none of a record
// whose sizes describe no block.
template<class Work>
void forEachRow(const IplImage* handle, Work work)
{
    if (ownBlockBytes(handle) == 0 || handle->width < 1)
        return;
    uint8_t* row = pixelsOf(handle);
    for (int32_t y = 0; y < handle->height; ++y, row += handle->widthStep)
        work(row, static_cast<size_t>(handle->width));
}

void setWholeAlpha(IplImage* handle, uint8_t alpha)
{
    const quib::AlphaKernels& kernels = quib::kernels().alpha;
    forEachRow(handle, [&](uint8_t* row, size_t width) { kernels.constant(row, alpha, width); });
}

// The rectangle is already clipped. Its left edge counts bytes, and its top
// edge takes rows away without moving the first one.
void setRectAlpha(IplImage* handle, const QuibRect& rect, uint8_t alpha)
{
    if (ownBlockBytes(handle) == 0)
        return;
    const size_t width = static_cast<size_t>(rect.right - rect.left);
    uint8_t* row = pixelsOf(handle) + rect.left;
    for (int32_t y = rect.top; y < rect.bottom; ++y, row += handle->widthStep)
        quib::kernels().alpha.constant(row, alpha, width);
}

void alphaFromPlane(IplImage* handle, const IplImage* plane, uint32_t scale)
{
    const quib::AlphaKernels& kernels = quib::kernels().alpha;
    // A plane smaller than the image is the caller's mistake, but no read
    // leaves its block.
    size_t bytesLeft = ownBlockBytes(plane);
    const uint8_t* planeRow = pixelsOf(plane);
    forEachRow(handle, [&](uint8_t* row, size_t width) {
        if (bytesLeft == 0)
            return;
        kernels.fromPlane(row, planeRow, scale, std::min(width, bytesLeft));
        planeRow += plane->widthStep;
        bytesLeft -= static_cast<size_t>(plane->widthStep);
    });
}

void scaleOwnAlpha(IplImage* handle, uint32_t scale)
{
    const quib::AlphaKernels& kernels = quib::kernels().alpha;
    forEachRow(handle, [&](uint8_t* row, size_t width) { kernels.scale(row, scale, width); });
}

} // namespace

QuibStatus QuibSetAlphaS(IplImage* handle, QuibRect* rect, uint32_t alpha)
{
    if (!QuibIsValid(handle, fileRow + __LINE__))
        return QUIB_BAD_ARGUMENT;
    if (handle->nChannels < 4)
        return QUIB_BAD_ARGUMENT;
    if (rect && !ownClipRect(rect, handle->width, handle->height))
        return QUIB_BAD_ARGUMENT;
    if (rect)
        setRectAlpha(handle, *rect, static_cast<uint8_t>(alpha));
    else
        setWholeAlpha(handle, static_cast<uint8_t>(alpha));
    return QUIB_OK;
}

QuibStatus QuibSetAlpha(IplImage* handle, const IplImage* plane, uint32_t percent)
{
    if (!QuibIsValid(handle, fileRow + __LINE__))
        return QUIB_BAD_ARGUMENT;
    if (handle->nChannels < 4)
        return QUIB_BAD_ARGUMENT;
    if (plane && plane->nChannels != 1)
        return QUIB_BAD_ARGUMENT;
    // The product wraps, and its low byte counts; 100 alone is exact.
    const uint32_t scale = percent == 100 ? 256 : ((percent << 8) / 100) & 0xFF;
    if (percent == 0)
        setWholeAlpha(handle, 0);
    else if (plane)
        alphaFromPlane(handle, plane, scale);
    else if (percent != 100)
        scaleOwnAlpha(handle, scale);
    return QUIB_OK;
}
