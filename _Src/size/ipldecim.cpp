#include "_Src/size/owndecim.h"

namespace
{

constexpr const char* fileName = "ipldecim";

bool isDecimateDepth(uint32_t depth)
{
    return depth == IPL_DEPTH_1U || depth == IPL_DEPTH_8U || depth == IPL_DEPTH_16U ||
           depth == IPL_DEPTH_32F;
}

bool isDecimateMode(int32_t mode)
{
    return mode == IPL_INTER_NN || mode == IPL_INTER_LINEAR || mode == IPL_INTER_CUBIC ||
           mode == IPL_INTER_SUPER;
}

// Every failing test but the image check is reported before the call gives up.
bool mayDecimate(const IplCaller& caller, const IplImage* src, const IplImage* dst,
                 const IplFactors& factors, int32_t interpolate)
{
    if (!ownImageIsGood(caller, src) || !ownImageIsGood(caller, dst))
        return false;
    const bool srcHasCoi = ownCoi(src) > 0;
    const bool dstHasCoi = ownCoi(dst) > 0;
    const int32_t srcChannels = ownProcessedChannels(src);
    const int32_t dstChannels = ownProcessedChannels(dst);
    const auto require = [&](bool passed, int32_t status, const char* text) {
        if (!passed)
            ownReport(caller, status, text);
    };
    require(src != dst, IPL_StsBadArg, "srcImage == dstImage");
    require(src->depth == dst->depth, IPL_BadDepth, "srcImage->depth != dstImage->depth");
    require(isDecimateDepth(src->depth), IPL_BadDepth, "depth != 1U, 8U, 16U or 32F");
    require(src->origin == dst->origin, IPL_BadOrigin, "srcImage->origin != dstImage->origin");
    require(src->dataOrder == dst->dataOrder, IPL_BadOrder,
            "srcImage->dataOrder != dstImage->dataOrder");
    require(!srcHasCoi || dstChannels == 1, IPL_BadCOI,
            "srcImage->roi->coi > 0 && dstImage->roi->coi == 0");
    require(!dstHasCoi || srcChannels == 1, IPL_BadCOI,
            "dstImage->roi->coi > 0 && srcImage->roi->coi == 0");
    require(srcHasCoi || dstHasCoi || srcChannels == dstChannels, IPL_BadNumChannels,
            "srcImage->nChannels != dstImage->nChannels");
    require(isDecimateMode(interpolate), IPL_StsBadArg,
            "interpolate != IPL_INTER_NN, IPL_INTER_LINEAR, IPL_INTER_CUBIC or IPL_INTER_SUPER");
    require(factors.xDst > 0, IPL_StsBadArg, "xDst <= 0");
    require(factors.xSrc > 0, IPL_StsBadArg, "xSrc <= 0");
    require(factors.yDst > 0, IPL_StsBadArg, "yDst <= 0");
    require(factors.ySrc > 0, IPL_StsBadArg, "ySrc <= 0");
    require(factors.xDst <= factors.xSrc, IPL_StsBadArg, "xDst > xSrc");
    require(factors.yDst <= factors.ySrc, IPL_StsBadArg, "yDst > ySrc");
    return iplGetStatus() >= 0;
}

// The destination pixels that lie wholly in the source's region.
int64_t wholePixels(int32_t dstFactor, int32_t srcFactor, int32_t srcSize)
{
    return static_cast<int64_t>(dstFactor) * srcSize / srcFactor;
}

// At most `size` of them; a region that holds less than one still makes one.
int32_t decimateExtent(int32_t dstFactor, int32_t srcFactor, int32_t srcSize, int32_t size)
{
    const int64_t pixels = wholePixels(dstFactor, srcFactor, srcSize);
    return static_cast<int32_t>(std::min<int64_t>(std::max<int64_t>(pixels, 1), size));
}

// Whole-number reductions are done by nearest, unless an average is asked for.
int32_t chooseMode(const IplImage* src, const IplFactors& factors, int32_t srcWidth,
                   int32_t srcHeight, int32_t interpolate)
{
    if (src->width < 4 || src->height < 4)
        return IPL_INTER_NN;
    if (wholePixels(factors.xDst, factors.xSrc, srcWidth) < 1 ||
        wholePixels(factors.yDst, factors.ySrc, srcHeight) < 1)
        return IPL_INTER_NN;
    if (interpolate == IPL_INTER_SUPER)
        return IPL_INTER_SUPER;
    const bool exactX = factors.xSrc % factors.xDst == 0;
    const bool exactY = factors.ySrc % factors.yDst == 0;
    if (src->depth == IPL_DEPTH_1U || (exactX && exactY))
        return IPL_INTER_NN;
    return interpolate;
}

} // namespace

void ownDecimate(const IplCaller& caller, const IplImage* src, const IplImage* dst,
                 const IplFactors& factors, int32_t interpolate)
{
    int32_t srcHeight = 0;
    int32_t srcWidth = 0;
    IplScaling scaling;
    if (!ownRegionSize(src, &srcHeight, &srcWidth, true) ||
        !ownRegionSize(dst, &scaling.height, &scaling.width, true))
        return;
    scaling.width = decimateExtent(factors.xDst, factors.xSrc, srcWidth, scaling.width);
    scaling.height = decimateExtent(factors.yDst, factors.ySrc, srcHeight, scaling.height);
    if (scaling.width < 1 || scaling.height < 1 || ownProcessedChannels(src) < 1)
        return;
    if (!ownScaleMask(caller, &scaling, src, dst, factors) ||
        !ownFetchTiles(caller, &scaling, src, dst))
        return;
    const int32_t mode = chooseMode(src, factors, srcWidth, srcHeight, interpolate);
    if (mode == IPL_INTER_SUPER) {
        if (!ownDecimateAreas(scaling, factors)) {
            ownReport(caller, IPL_StsNoMem,
                      "Can't create temporary buffer for interpolate = IPL_INTER_SUPER");
            return;
        }
    } else if (!ownDecimateSamples(scaling, factors, mode)) {
        ownReport(caller, IPL_StsNoMem, "");
        return;
    }
    ownStoreTiles(caller, &scaling, dst);
}

void iplDecimate(IplImage* src, IplImage* dst, int32_t xDst, int32_t xSrc, int32_t yDst,
                 int32_t ySrc, int32_t interpolate)
{
    const IplFactors factors{xDst, xSrc, yDst, ySrc};
    if (mayDecimate({"Decimate", fileName}, src, dst, factors, interpolate))
        ownDecimate({"iplDecimate", fileName}, src, dst, factors, interpolate);
}
