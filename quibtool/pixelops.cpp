#include "quibtool/pixelops.h"

#include "_Src/ipl.h"

using namespace quib;

namespace
{

// The test of a call's second handle: past all lines of its file.
QuibCallSite secondSite(const QuibCallSite& site)
{
    return {site.file, site.line + 500};
}

bool takesPartWhole(const IplImage* image)
{
    return !image->roi && !image->maskROI && !image->tileInfo && image->alphaChannel == 0;
}

// Whether every operation writes every pixel of the clone, so that there is no
// need to copy any first. True for what the surface's own handles allow. Depths that
// an operation refuses are left out, but for bits, which the scale products refuse.
bool writesEveryPixel(const IplImage* src, const IplImage* srcB)
{
    if (src->depth != IPL_DEPTH_8U && src->depth != IPL_DEPTH_1U)
        return false;
    if (!takesPartWhole(src) || iplGetStatus() < 0)
        return false;
    return !srcB ||
           (iplCheckImage(srcB) == IPL_StsOk && takesPartWhole(srcB) && srcB->depth == src->depth &&
            srcB->dataOrder == src->dataOrder && srcB->nChannels == src->nChannels &&
            srcB->width >= src->width && srcB->height >= src->height);
}

} // namespace

void quib::ownCloneForOperation(const IplImage* src, const IplImage* srcB, IplImage** out)
{
    if (iplCheckImage(src) != IPL_StsOk)
        return;
    *out = writesEveryPixel(src, srcB) ? ownCloneForResult(src) : iplCloneImage(src);
}

QuibStatus quib::ownRunOnClone(void (*operation)(const IplImage* src, IplImage* dst),
                               const IplImage* src, IplImage** out, const QuibCallSite& site)
{
    if (!QuibIsValid(src, site) || !out)
        return QUIB_BAD_ARGUMENT;
    ownCloneForOperation(src, nullptr, out);
    operation(src, *out);
    return QUIB_OK;
}

QuibStatus quib::ownRunPairOnClone(void (*operation)(const IplImage* srcA, const IplImage* srcB,
                                                     IplImage* dst),
                                   const IplImage* srcA, const IplImage* srcB, IplImage** out,
                                   const QuibCallSite& site)
{
    if (!QuibIsValid(srcA, site) || !QuibIsValid(srcB, secondSite(site)))
        return QUIB_BAD_ARGUMENT;
    if (!out)
        return QUIB_BAD_ARGUMENT;
    ownCloneForOperation(srcA, srcB, out);
    operation(srcA, srcB, *out);
    return QUIB_OK;
}
