// Filters of windows: order statistics, and those whose windows are fixed.
#include "_Src/image/report.h"
#include "_Src/walk/region.h"
#include "_Src/window/fixed.h"
#include "_Src/window/ranks.h"

namespace
{

constexpr const char* fileName = "iplnlf";

// --- Checks ------------------------------------------------------------------------

bool haveGoodWindow(const IplCaller& caller, const IplImage* srcImage, const IplImage* dstImage,
                    const IplWindow& window)
{
    return ownImageIsGood(caller, srcImage) && ownImageIsGood(caller, dstImage) &&
           ownRequire(caller, window.anchorX < window.nCols && window.anchorX >= 0,
                      "(anchorX>=nCols)||(anchorX<0)") &&
           ownRequire(caller, window.anchorY < window.nRows && window.anchorY >= 0,
                      "(anchorY>=nRows)||(anchorY<0)") &&
           ownRequire(caller, srcImage != dstImage, "(srcImage==dstImage)") &&
           ownRequire(caller, srcImage->depth == dstImage->depth,
                      "srcImage->depth!=dstImage->depth");
}

bool haveSameChannels(const IplCaller& caller, const IplImage* srcImage, const IplImage* dstImage)
{
    return ownRequire(caller, srcImage->depth != IPL_DEPTH_32F, "srcImage->depth==32") &&
           ownRequire(caller, srcImage->nChannels == dstImage->nChannels,
                      "srcImage->nChannels!=dstImage->nChannels") &&
           ownRequire(caller, srcImage->alphaChannel == dstImage->alphaChannel,
                      "srcImage->alphaChannel!=dstImage->alphaChannel") &&
           ownRequire(
               caller, srcImage->alphaChannel == 0 || srcImage->alphaChannel == srcImage->nChannels,
               "(srcImage->alphaChannel!=0)&&(srcImage->alphaChannel!=srcImage->nChannels)") &&
           ownRequire(caller,
                      srcImage->depth == IPL_DEPTH_1U || srcImage->dataOrder == dstImage->dataOrder,
                      "srcImage->dataOrder!=dstImage->dataOrder");
}

// Tests the channels of interest, all tests one after the other. False if there is
// nothing to do, or a failure is on record, be it an earlier call's.
bool haveChannelsOfInterest(const IplCaller& caller, int32_t status, const IplImage* srcImage,
                            const IplImage* dstImage)
{
    const auto require = [&](bool passed, const char* text) {
        if (!passed)
            ownReport(caller, status, text);
    };
    require(ownCoi(srcImage) <= srcImage->nChannels,
            "Interst Channel of input Image more number of channels.");
    require(ownCoi(dstImage) <= dstImage->nChannels,
            "Interst Channel of output Image more number of channels.");
    require(ownProcessedChannels(srcImage) == ownProcessedChannels(dstImage),
            "Number of interset channel input and output Image is not equal.");
    return iplGetStatus() >= 0 && ownProcessedChannels(srcImage) > 0;
}

bool haveColours(const IplCaller& caller, const IplImage* srcImage, const IplImage* dstImage)
{
    const int32_t channels = srcImage->nChannels;
    const int32_t alpha = srcImage->alphaChannel;
    return ownRequire(caller, srcImage->depth != IPL_DEPTH_1U, "srcImage->depth==1") &&
           ownRequire(caller, srcImage->depth != IPL_DEPTH_32S,
                      "srcImage->depth==(0x80000000|32)") &&
           ownRequire(caller, channels == dstImage->nChannels,
                      "srcImage->nChannels!=dstImage->nChannels") &&
           ownRequire(caller, channels >= 3, "srcImage->nChannels<3") &&
           ownRequire(caller, channels <= 4, "srcImage->nChannels>4") &&
           ownRequire(caller, channels != 3 || alpha == 0,
                      "(srcImage->nChannels==3)&&(srcImage->alphaChannel!=0)") &&
           ownRequire(caller, channels != 4 || alpha != 0,
                      "(srcImage->nChannels==4)&&(srcImage->alphaChannel==0)") &&
           ownRequire(caller, ownCoi(srcImage) == 0, "srcImage->roi->coi!=0") &&
           ownRequire(caller, ownCoi(dstImage) == 0, "dstImage->roi->coi!=0");
}

bool areAlike(const IplCaller& caller, const IplImage* srcImage, const IplImage* dstImage)
{
    return ownImageIsGood(caller, srcImage) && ownImageIsGood(caller, dstImage) &&
           ownRequire(caller, srcImage != dstImage, "(srcImage==dstImage)") &&
           ownRequire(caller, srcImage->depth == dstImage->depth,
                      "srcImage->depth!=dstImage->depth") &&
           ownRequire(caller, srcImage->nChannels == dstImage->nChannels,
                      "srcImage->nChannels!=dstImage->nChannels") &&
           ownRequire(caller, srcImage->alphaChannel == dstImage->alphaChannel,
                      "srcImage->alphaChannel!=dstImage->alphaChannel") &&
           ownRequire(caller, srcImage->dataOrder == dstImage->dataOrder,
                      "srcImage->dataOrder!=dstImage->dataOrder");
}

// --- Work --------------------------------------------------------------------------

using WindowFilter = IplWindowEnd (*)(const IplImage* src, IplImage* dst, const IplWindow& window);

void filterChannels(const char* functionName, WindowFilter filter, const IplImage* srcImage,
                    IplImage* dstImage, const IplWindow& window)
{
    const IplCaller caller{functionName, fileName};
    if (haveGoodWindow(caller, srcImage, dstImage, window) &&
        haveSameChannels(caller, srcImage, dstImage) &&
        haveChannelsOfInterest(caller, IPL_StsBadArg, srcImage, dstImage))
        filter(srcImage, dstImage, window);
}

} // namespace

void iplMaxFilter(const IplImage* srcImage, IplImage* dstImage, int32_t nCols, int32_t nRows,
                  int32_t anchorX, int32_t anchorY)
{
    filterChannels("iplMaxFilter", ownFilterLargest, srcImage, dstImage,
                   {nCols, nRows, anchorX, anchorY});
}

void iplMinFilter(const IplImage* srcImage, IplImage* dstImage, int32_t nCols, int32_t nRows,
                  int32_t anchorX, int32_t anchorY)
{
    filterChannels("iplMinFilter", ownFilterSmallest, srcImage, dstImage,
                   {nCols, nRows, anchorX, anchorY});
}

void iplMedianFilter(const IplImage* srcImage, IplImage* dstImage, int32_t nCols, int32_t nRows,
                     int32_t anchorX, int32_t anchorY)
{
    filterChannels("iplMedianFilter", ownFilterMedians, srcImage, dstImage,
                   {nCols, nRows, anchorX, anchorY});
}

void iplColorMedianFilter(const IplImage* srcImage, IplImage* dstImage, int32_t nCols,
                          int32_t nRows, int32_t anchorX, int32_t anchorY)
{
    const IplCaller caller{"iplColorMedianFilter", fileName};
    const IplWindow window{nCols, nRows, anchorX, anchorY};
    if (haveGoodWindow(caller, srcImage, dstImage, window) &&
        haveColours(caller, srcImage, dstImage))
        ownFilterVectorMedians(srcImage, dstImage, window);
}

int32_t iplFixedFilter(const IplImage* srcImage, IplImage* dstImage, int32_t filter)
{
    constexpr int32_t sharpen = 10;
    const IplCaller caller{"iplFixedFilter", fileName};
    if (!areAlike(caller, srcImage, dstImage) ||
        !haveChannelsOfInterest(caller, IPL_BadCOI, srcImage, dstImage) ||
        !ownRequire(caller, filter >= 0 && filter < ownFixedFilters, "Unknow filter."))
        return iplGetStatus();
    if (filter == sharpen && srcImage->depth == IPL_DEPTH_1U)
        iplCopy(srcImage, dstImage);
    else
        ownFilterFixed(srcImage, dstImage, filter);
    return iplGetStatus();
}
