#include "_Src/ipl.h"
#include "quibtool/filterops.h"
#include "quibtool/pixelops.h"

#include <algorithm>
#include <cstring>

using namespace quib;

QuibStatus quib::createForFilter(const IplImage* src, IplImage** out)
{
    const uint32_t bitDepth = src->depth * static_cast<uint32_t>(src->nChannels);
    IplImage* handle = nullptr;
    if (QuibCreate(src->width, src->height, static_cast<int32_t>(bitDepth), &handle, 0xff000000u))
        return QUIB_FAILED;
    // The fill leaves out handles of this depth. There are no pixels behind a report
    // that came back.
    if (bitDepth == 24 && handle->imageData)
        std::memset(handle->imageData, 0, static_cast<size_t>(handle->imageSize));
    *out = handle;
    return QUIB_OK;
}

namespace
{

struct WindowArguments {
    int32_t nCols;
    int32_t nRows;
    int32_t anchorX;
    int32_t anchorY;
};

using WindowFilter = void (*)(const IplImage* srcImage, IplImage* dstImage, int32_t nCols,
                              int32_t nRows, int32_t anchorX, int32_t anchorY);

QuibStatus filterWindows(WindowFilter filter, const IplImage* src, IplImage** outHandle,
                         const WindowArguments& window,
                         const QuibCallSite& site = {__builtin_FILE(), __builtin_LINE()})
{
    if (!QuibIsValid(src, site) || !outHandle)
        return QUIB_BAD_ARGUMENT;
    if (const QuibStatus status = createForFilter(src, outHandle))
        return status;
    filter(src, *outHandle, window.nCols, window.nRows, window.anchorX, window.anchorY);
    return QUIB_OK;
}

} // namespace

QuibStatus QuibBlur(const IplImage* src, IplImage** outHandle, int32_t nCols, int32_t nRows,
                    int32_t anchorX, int32_t anchorY)
{
    if (!QuibIsValid(src) || !outHandle)
        return QUIB_BAD_ARGUMENT;
    ownCloneForOperation(src, nullptr, outHandle);
    iplBlur(src, *outHandle, nCols, nRows, anchorX, anchorY);
    return QUIB_OK;
}

QuibStatus QuibDecimateBlur(const IplImage* src, IplImage* dst, int32_t interpolate,
                            int32_t xMaskSize, int32_t yMaskSize)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    if (!QuibIsValid(dst))
        return QUIB_BAD_ARGUMENT;
    QuibInfo info{};
    QuibGetInfo(src, &info);
    const int32_t rows = std::min(yMaskSize, info.height / 2);
    const int32_t columns = std::min(xMaskSize, info.width / 2);
    if (rows < 1 || columns < 1)
        return QuibCopy(src, &dst);
    iplDecimateBlur(src, dst, info.width, info.width, info.height, info.height, interpolate,
                    columns, rows);
    return QUIB_OK;
}

QuibStatus QuibFixedFilter(const IplImage* src, IplImage** outHandle, int32_t filter)
{
    if (!QuibIsValid(src) || !outHandle)
        return QUIB_BAD_ARGUMENT;
    if (const QuibStatus status = createForFilter(src, outHandle))
        return status;
    return iplFixedFilter(src, *outHandle, filter) == IPL_StsOk ? QUIB_OK : QUIB_FAILED;
}

QuibStatus QuibMaxFilter(const IplImage* src, IplImage** outHandle, int32_t nCols, int32_t nRows,
                         int32_t anchorX, int32_t anchorY)
{
    return filterWindows(iplMaxFilter, src, outHandle, {nCols, nRows, anchorX, anchorY});
}

QuibStatus QuibMinFilter(const IplImage* src, IplImage** outHandle, int32_t nCols, int32_t nRows,
                         int32_t anchorX, int32_t anchorY)
{
    return filterWindows(iplMinFilter, src, outHandle, {nCols, nRows, anchorX, anchorY});
}

QuibStatus QuibMedianFilter(const IplImage* src, IplImage** outHandle, int32_t nCols, int32_t nRows,
                            int32_t anchorX, int32_t anchorY)
{
    return filterWindows(iplMedianFilter, src, outHandle, {nCols, nRows, anchorX, anchorY});
}

QuibStatus QuibColorMedianFilter(const IplImage* src, IplImage** outHandle, int32_t nCols,
                                 int32_t nRows, int32_t anchorX, int32_t anchorY)
{
    return filterWindows(iplColorMedianFilter, src, outHandle, {nCols, nRows, anchorX, anchorY});
}
