#include "_Src/window/owncsep2.h"

#include "_Src/image/report.h"
#include "_Src/walk/region.h"
#include "_Src/window/convkernel.h"

namespace
{

constexpr IplCaller caller{"iplConvolveSep2D", "owncsep2"};
constexpr int32_t mostChannels = 32;

bool areAlike(const IplImage* src, const IplImage* dst)
{
    return ownRequire(caller, src->depth == dst->depth, "SRC and DST depth are different") &&
           ownRequire(caller, src->dataOrder == dst->dataOrder,
                      "SRC and DST order are different") &&
           ownRequire(caller, src->origin == dst->origin, "SRC and DST orign are different");
}

bool haveAlikeChannels(const IplImage* src, const IplImage* dst)
{
    return ownRequire(caller,
                      src->dataOrder == IPL_DATA_ORDER_PLANE || src->nChannels <= mostChannels,
                      "SRC: too many channels per plane (limit 32)") &&
           ownRequire(caller, src->nChannels == dst->nChannels,
                      "SRC and DST number of channels are different") &&
           ownRequire(caller, src->alphaChannel == dst->alphaChannel,
                      "SRC and DST Alpha channels are different") &&
           ownRequire(caller, ownProcessedChannels(src) == ownProcessedChannels(dst),
                      "SRC and DST number of processing channels are different");
}

// Of `length` taps one way, and one the other.
bool isGoodKernel(const OwnConvKernel* kernel, int32_t length, int32_t breadth)
{
    return ownRequire(caller, kernel->values != nullptr, "NULL kernel values") &&
           ownRequire(caller, length >= 2 && breadth == 1, "Invalid kernal size") &&
           ownRequire(caller, !ownBadKernel(kernel), "Invalid kernrl anchor");
}

} // namespace

bool ownSeparableAgree(const IplImage* src, const IplImage* dst, const OwnConvKernel* xKernel,
                       const OwnConvKernel* yKernel)
{
    return areAlike(src, dst) && haveAlikeChannels(src, dst) &&
           (!xKernel || isGoodKernel(xKernel, xKernel->nCols, xKernel->nRows)) &&
           (!yKernel || isGoodKernel(yKernel, yKernel->nRows, yKernel->nCols));
}
