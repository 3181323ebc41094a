#include "_Src/ipl.h"
#include "kernels/kernels.h"
#include "quibtool/handle.h"
#include "quibtool/stretch/stretch.h"

using namespace quib;

namespace
{

// Two handles that have passed their validity test, and what is known of them.
struct ResizePair {
    IplImage* src;
    IplImage* dst;
    QuibInfo srcInfo;
    QuibInfo dstInfo;
};

bool sameLayout(const QuibInfo& a, const QuibInfo& b)
{
    return a.width == b.width && a.height == b.height && a.bitDepth == b.bitDepth &&
           a.widthStep == b.widthStep;
}

// Calls work(dst, src), false if it fails, with the pixels, unless an image has
// none.
template<class Work>
QuibStatus withPixels(const ResizePair& pair, Work work)
{
    uint8_t* dst = nullptr;
    uint8_t* src = nullptr;
    ownLockData(pair.dst, &dst);
    ownLockData(pair.src, &src);
    if (!dst || !src)
        return QUIB_BAD_ARGUMENT;
    return work(dst, src) ? QUIB_OK : QUIB_FAILED;
}

QuibStatus copyBlock(const ResizePair& pair)
{
    return withPixels(pair, [&](uint8_t* dst, const uint8_t* src) {
        if (dst != src)
            quib::kernels().block.copy(dst, src, ownBlockBytes(pair.src));
        return true;
    });
}

// Rows count as packed, whatever the records' steps are.
QuibStatus stretch32(const ResizePair& pair, int32_t mode)
{
    const QuibInfo& to = pair.dstInfo;
    const QuibInfo& from = pair.srcInfo;
    return withPixels(pair, [&](uint8_t* dst, const uint8_t* src) {
        return StretchPacked32(dst, to.width, to.height, src, from.width, from.height, mode);
    });
}

// Always nearest: no other mode of this stretcher gives a usable picture.
QuibStatus stretch8(const ResizePair& pair)
{
    const QuibInfo& to = pair.dstInfo;
    const QuibInfo& from = pair.srcInfo;
    return withPixels(pair, [&](uint8_t* dst, const uint8_t* src) {
        return StretchPlane8(dst, to.width, to.height, to.widthStep, src, from.width, from.height,
                             from.widthStep, STRETCH_NEAREST);
    });
}

QuibStatus resizeByEngine(const ResizePair& pair, int32_t mode)
{
    const QuibInfo& to = pair.dstInfo;
    const QuibInfo& from = pair.srcInfo;
    const auto operation = to.width >= from.width && to.height >= from.height ? iplZoom
                           : to.width < from.width && to.height < from.height ? iplDecimate
                                                                              : iplResize;
    operation(pair.src, pair.dst, to.width, from.width, to.height, from.height, mode);
    return QUIB_OK;
}

// The size of the region, or else of the image.
QuibPoint extentOf(const IplImage* image)
{
    return image->roi ? QuibPoint{image->roi->width, image->roi->height}
                      : QuibPoint{image->width, image->height};
}

} // namespace

QuibStatus QuibResize(IplImage* src, IplImage* dst, int32_t mode)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    if (!QuibIsValid(dst))
        return QUIB_BAD_ARGUMENT;
    // A record that fails its check counts as one of size and depth 0; the route
    // that it gets by that refuses it.
    ResizePair pair{src, dst, {}, {}};
    ownGetInfo(src, &pair.srcInfo);
    ownGetInfo(dst, &pair.dstInfo);
    if (sameLayout(pair.srcInfo, pair.dstInfo))
        return copyBlock(pair);
    const bool sameDepth = pair.srcInfo.bitDepth == pair.dstInfo.bitDepth;
    if (sameDepth && pair.srcInfo.bitDepth == 32 && mode != IPL_INTER_SUPER)
        return stretch32(pair, mode);
    if (sameDepth && pair.srcInfo.bitDepth == 8 && mode != IPL_INTER_SUPER)
        return stretch8(pair);
    return resizeByEngine(pair, mode);
}

QuibStatus QuibResizeFit(IplImage* src, IplImage* dst, int32_t mode)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    if (!QuibIsValid(dst))
        return QUIB_BAD_ARGUMENT;
    if (const int32_t status = iplCheckImage(src))
        return status;
    if (const int32_t status = iplCheckImage(dst))
        return status;
    const QuibPoint from = extentOf(src);
    const QuibPoint to = extentOf(dst);
    iplResize(src, dst, to.x, from.x, to.y, from.y, mode);
    return QUIB_OK;
}
