// Reduction after a blur: iplDecimateBlur.
#include "_Src/image/report.h"
#include "_Src/size/owndecim.h"
#include "_Src/window/box.h"

namespace
{

constexpr IplCaller caller{"iplDecimateBlur", "ipldext"};

struct MaskSizes {
    int32_t x;
    int32_t y;
};

// --- Checks ------------------------------------------------------------------------

bool areAlike(const IplImage* src, const IplImage* dst)
{
    return ownImageIsGood(caller, src) && ownImageIsGood(caller, dst) &&
           ownRequire(caller, src->depth == dst->depth, "(srcImage->depth!=dstImage->depth)") &&
           ownRequire(caller, src->dataOrder == dst->dataOrder,
                      "(srcImage->dataOrder!=dstImage->dataOrder)") &&
           ownRequire(caller, src->alphaChannel == dst->alphaChannel,
                      "(srcImage->alphaChannel!=dstImage->alphaChannel)") &&
           ownRequire(caller, !(src->depth & IPL_DEPTH_SIGN), "(srcImage->depth & IPL_DEPTH_SIGN)");
}

bool areGoodNumbers(const IplFactors& factors, const MaskSizes& sizes)
{
    return ownRequire(caller, factors.xDst <= factors.xSrc && factors.yDst <= factors.ySrc,
                      "(xDst>xSrc||yDst>ySrc)") &&
           ownRequire(caller, factors.xDst > 0 && factors.yDst > 0, "((xDst <= 0)||(yDst<=0))") &&
           ownRequire(caller, factors.xSrc > 0 && factors.ySrc > 0, "((xSrc <= 0)||(ySrc<=0))") &&
           ownRequire(caller, sizes.x >= 0 && sizes.y >= 0, "(xMaskSize<0||yMaskSize<0)");
}

bool haveGoodChannels(const IplImage* src, const IplImage* dst)
{
    const bool from = ownCoi(src) > 0;
    const bool to = ownCoi(dst) > 0;
    return ownRequire(caller, !from || to || !dst->roi,
                      "srcImage->roi->coi > 0 && dstImage->roi->coi == 0") &&
           ownRequire(caller, !from || dst->roi,
                      "srcImage->roi->coi > 0 && dstImage->roi == NULL") &&
           ownRequire(caller, !to || from || !src->roi,
                      "dstImage->roi->coi > 0 && srcImage->roi->coi == 0") &&
           ownRequire(caller, !to || src->roi, "dstImage->roi->coi > 0 && srcImage->roi == NULL");
}

bool haveGoodOffsets(const IplImage* src, const IplImage* dst)
{
    return ownRequire(caller, ownRegionX(src) < src->width,
                      "srcImage->roi->xOffset >= srcImage->width") &&
           ownRequire(caller, ownRegionY(src) < src->height,
                      "srcImage->roi->yOffset >= srcImage->height") &&
           ownRequire(caller, ownRegionX(dst) < dst->width,
                      "dstImage->roi->xOffset >= dstImage->width") &&
           ownRequire(caller, ownRegionY(dst) < dst->height,
                      "dstImage->roi->yOffset >= dstImage->height");
}

// --- Work --------------------------------------------------------------------------

// Whether there was memory, and all tiles came.
bool blurWhole(const IplImage* src, const IplImage* blurred, const IplWindow& window)
{
    IplROI all{ownCoi(src), 0, 0, src->width, src->height};
    IplImage from = *src;
    IplImage to = *blurred;
    from.roi = to.roi = &all;
    from.maskROI = nullptr;
    return ownFilterMeans(&from, &to, window) == IplWindowEnd::complete;
}

// Reduces as many channels as both images have.
void reduce(const IplImage* src, const IplImage* dst, const IplFactors& factors,
            int32_t interpolate)
{
    const int32_t channels = std::min(ownProcessedChannels(src), ownProcessedChannels(dst));
    if (ownProcessedChannels(src) == ownProcessedChannels(dst)) {
        ownDecimate(caller, src, dst, factors, interpolate);
        return;
    }
    IplROI fromRoi = src->roi ? *src->roi : ownWhole(src);
    IplROI toRoi = dst->roi ? *dst->roi : ownWhole(dst);
    const IplImage from = ownWithRegion(src, &fromRoi);
    const IplImage to = ownWithRegion(dst, &toRoi);
    for (int32_t coi = 1; coi <= channels; ++coi) {
        fromRoi.coi = toRoi.coi = coi;
        ownDecimate(caller, &from, &to, factors, interpolate);
    }
}

// Blurs all of the source, for samples may lie beside its region.
bool blurAndReduce(const IplImage* src, const IplImage* dst, const IplFactors& factors,
                   int32_t interpolate, const IplWindow& window)
{
    IplImage* blurred = ownCloneForResult(src);
    if (!blurred)
        return false;
    const bool done = blurWhole(src, blurred, window);
    if (done) {
        blurred->maskROI = src->maskROI;
        reduce(blurred, dst, factors, interpolate);
        blurred->maskROI = nullptr;
    }
    iplDeallocate(blurred, IPL_IMAGE_ALL);
    return done;
}

} // namespace

void iplDecimateBlur(const IplImage* srcImage, IplImage* dstImage, int32_t xDst, int32_t xSrc,
                     int32_t yDst, int32_t ySrc, int32_t interpolate, int32_t xMaskSize,
                     int32_t yMaskSize)
{
    const IplFactors factors{xDst, xSrc, yDst, ySrc};
    const MaskSizes sizes{xMaskSize, yMaskSize};
    const bool hasMode = interpolate == IPL_INTER_NN || interpolate == IPL_INTER_LINEAR ||
                         interpolate == IPL_INTER_CUBIC;
    if (!ownRequire(caller, hasMode,
                    "interpolate != IPL_INTER_NN && interpolate != IPL_INTER_LINEAR && "
                    "interpolate != IPL_INTER_CUBIC") ||
        !areAlike(srcImage, dstImage) || !areGoodNumbers(factors, sizes) ||
        !ownRequire(caller, srcImage != dstImage, "This function isn`t in-plase function") ||
        !haveGoodChannels(srcImage, dstImage) || !haveGoodOffsets(srcImage, dstImage))
        return;
    const IplWindow window{std::max(sizes.x, 1), std::max(sizes.y, 1), sizes.x / 2, sizes.y / 2};
    const bool done = xDst == xSrc && yDst == ySrc
                          ? ownFilterMeans(srcImage, dstImage, window) == IplWindowEnd::complete
                          : blurAndReduce(srcImage, dstImage, factors, interpolate, window);
    if (!done)
        ownReport(caller, IPL_StsNoMem, "Allocation failure");
}
