#include "kernels/kernels.h"
#include "quibtool/handle.h"

#include <algorithm>

using namespace quib;

namespace
{

uint8_t* pixelsOf(const IplImage* handle)
{
    return reinterpret_cast<uint8_t*>(handle->imageData);
}

struct Rows {
    uint8_t* first;
    size_t width;
    size_t height;
    size_t step;
};

// The rows of the whole image; none of a record whose sizes describe no block.
Rows rowsOf(const IplImage* handle)
{
    if (ownBlockBytes(handle) == 0 || handle->width < 1)
        return {};
    return {pixelsOf(handle), static_cast<size_t>(handle->width),
            static_cast<size_t>(handle->height), static_cast<size_t>(handle->widthStep)};
}

// Calls work(row, width) for each row.
template<class Work>
void forEachRow(const Rows& rows, Work work)
{
    for (size_t y = 0; y < rows.height; ++y)
        work(rows.first + y * rows.step, rows.width);
}

void setWholeAlpha(IplImage* handle, uint8_t alpha)
{
    const quib::AlphaKernels& kernels = quib::kernels().alpha;
    forEachRow(rowsOf(handle),
               [&](uint8_t* row, size_t width) { kernels.constant(row, alpha, width); });
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
    Rows rows = rowsOf(handle);
    const size_t planeStep = static_cast<size_t>(std::max(plane->widthStep, 0));
    if (rows.step == rows.width * 4 && planeStep == rows.width) {
        rows.width *= rows.height; // without gaps on either side they are one
        rows.height = std::min(rows.height, size_t{1});
    }
    // A plane smaller than the image is the caller's mistake, but no read
    // leaves its block.
    size_t bytesLeft = ownBlockBytes(plane);
    const uint8_t* planeRow = pixelsOf(plane);
    if (!planeRow)
        return;
    forEachRow(rows, [&](uint8_t* row, size_t width) {
        kernels.fromPlane(row, planeRow, scale, std::min(width, bytesLeft));
        const size_t advance = std::min(planeStep, bytesLeft);
        planeRow += advance;
        bytesLeft -= advance;
    });
}

void scaleOwnAlpha(IplImage* handle, uint32_t scale)
{
    const quib::AlphaKernels& kernels = quib::kernels().alpha;
    forEachRow(rowsOf(handle),
               [&](uint8_t* row, size_t width) { kernels.scale(row, scale, width); });
}

} // namespace

QuibStatus QuibSetAlphaS(IplImage* handle, QuibRect* rect, uint32_t alpha)
{
    if (!QuibIsValid(handle))
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
    if (!QuibIsValid(handle))
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
