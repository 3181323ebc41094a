// Blurring by means: iplBlur.
#include "_Src/image/report.h"
#include "_Src/window/box.h"

namespace
{

constexpr IplCaller caller{"iplBlur", "iplblur"};

bool hasGoodAlpha(const IplImage* image)
{
    if (image->alphaChannel == 0 || image->alphaChannel == image->nChannels)
        return true;
    ownReport(caller, IPL_BadAlphaChannel, "bad alpha channel's number");
    return false;
}

bool haveGoodChannels(const IplImage* src, const IplImage* dst)
{
    if (!hasGoodAlpha(src) || !hasGoodAlpha(dst))
        return false;
    if (ownProcessedChannels(src) == ownProcessedChannels(dst))
        return true;
    ownReport(caller, IPL_BadNumChannels, "bad channel's number");
    return false;
}

// Whether the images can be worked on. Nobody hears of it if not, and no later call.
bool areUsable(const IplImage* src, const IplImage* dst)
{
    const int32_t status = iplGetStatus();
    const bool good = iplCheckImage(src) == IPL_StsOk && iplCheckImage(dst) == IPL_StsOk;
    iplSetStatus(status);
    return good && src->depth == dst->depth && ownProcessedChannels(src) > 0;
}

} // namespace

void iplBlur(const IplImage* srcImage, IplImage* dstImage, int32_t nCols, int32_t nRows,
             int32_t anchorX, int32_t anchorY)
{
    if (!ownRequire(caller, nRows >= 0 && nCols >= 0, "(nRows<0||nCols<0)") ||
        !ownRequire(caller, anchorX >= 0 && anchorY >= 0, "(anchorX<0||anchorY<0)") ||
        !ownRequire(caller, anchorX < nCols && anchorY < nRows, "(anchorX>=nCols||anchorY>=nRows)"))
        return;
    if (!srcImage || !dstImage || !haveGoodChannels(srcImage, dstImage) ||
        !areUsable(srcImage, dstImage))
        return;
    const IplWindow window{nCols, nRows, anchorX, anchorY};
    if (ownFilterMeans(srcImage, dstImage, window) != IplWindowEnd::complete)
        ownReport(caller, IPL_StsNoMem, "Allocation failure");
}
