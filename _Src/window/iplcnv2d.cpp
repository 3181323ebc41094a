// Convolution with one kernel or several: iplConvolve2D.
#include "_Src/image/check.h"
#include "_Src/image/report.h"
#include "_Src/window/convrows.h"
#include "_Src/window/frame.h"

namespace
{

constexpr IplCaller caller{"iplConvolve2D", "iplcnv2d"};

struct Kernels {
    const OwnConvKernel* const* kernels;
    int32_t count;
    int32_t method;
};

bool hasGoodOffsets(const IplImage* image)
{
    const IplROI* roi = image->roi;
    if (!roi || (roi->xOffset >= 0 && roi->yOffset >= 0 && roi->xOffset < image->width &&
                 roi->yOffset < image->height))
        return true;
    ownReport(caller, IPL_BadOffset, "Bad ROI offsets");
    return false;
}

bool areGoodKernels(const Kernels& given)
{
    if (!ownRequire(caller, given.kernels != nullptr, "kernel==0") ||
        !ownRequire(caller, given.count > 0 && given.count <= ownMostKernels,
                    "(nKernels<=0 || nKernels>10)") ||
        !ownRequire(caller,
                    given.count == 1 ||
                        (given.method >= IPL_CONV_SUM && given.method <= IPL_CONV_SMALLEST),
                    "Inadmissible method"))
        return false;
    for (int32_t i = 0; i < given.count; ++i)
        if (!ownRequire(caller, given.kernels[i] != nullptr, "kernel[i]==0") ||
            !ownRequire(caller, !ownBadKernel(given.kernels[i]) && given.kernels[i]->values,
                        "Bad kernel structure"))
            return false;
    return true;
}

bool areGoodImages(const IplImage* src, const IplImage* dst)
{
    return ownRequire(caller, src->depth == dst->depth && src->dataOrder == dst->dataOrder,
                      "Uncompatible images") &&
           ownRequire(caller, src->depth != IPL_DEPTH_32F,
                      "32F images can be processed only with FP kernel");
}

// Whether the rectangle that the images and their masks have in common has pixels.
bool haveCommonPixels(const IplImage* src, const IplImage* dst)
{
    int32_t width = 0;
    int32_t height = 0;
    return ownCommonRegion(src, dst, src->maskROI, &height, &width, true) &&
           ownCommonRegion(src, dst, dst->maskROI, &height, &width, true);
}

bool haveCommonChannels(const IplImage* src, const IplImage* dst)
{
    const bool chosen = ownCoi(src) > 0;
    if (!ownRequire(caller, chosen == (ownCoi(dst) > 0), "One of the COI is not defined"))
        return false;
    if (chosen)
        return true;
    const int32_t channels = ownColourChannels(src);
    return ownRequire(caller, channels > 0 && ownColourChannels(dst) > 0,
                      "No channel to operate") &&
           ownRequire(caller, channels == ownColourChannels(dst), "Uncompatible images");
}

IplWindowEnd convolve(const IplImage* src, IplImage* dst, const Kernels& given)
{
    const int64_t most = static_cast<int64_t>(std::min(src->width, dst->width)) * src->nChannels;
    const IplConvRows rows(given.kernels, given.count, given.method, src->depth, most);
    if (!rows.isReady())
        return IplWindowEnd::noMemory;
    return ownFilterWindows({src, dst, rows.reach()}, [&](const IplWindowRow& row) {
        rows.make(row.result, row.rows, row.channels,
                  static_cast<int64_t>(row.width) * row.channels);
        return true;
    });
}

} // namespace

void iplConvolve2D(const IplImage* srcImage, IplImage* dstImage, OwnConvKernel* const* kernel,
                   int32_t nKernels, int32_t combineMethod)
{
    const Kernels given{kernel, nKernels, combineMethod};
    if (!ownImageIsGood(caller, srcImage) || !ownImageIsGood(caller, dstImage) ||
        !hasGoodOffsets(srcImage) || !hasGoodOffsets(dstImage) || !areGoodKernels(given) ||
        !areGoodImages(srcImage, dstImage))
        return;
    if (!haveCommonPixels(srcImage, dstImage) || !haveCommonChannels(srcImage, dstImage))
        return;
    IplImage source = *srcImage;
    for (int32_t& constant : source.BorderConst)
        constant = ownClampToDepth(source.depth, constant);
    const IplWindowEnd end = convolve(&source, dstImage, given);
    if (end == IplWindowEnd::noMemory)
        ownReport(caller, IPL_StsNoMem, "Allocation failure");
    else if (end == IplWindowEnd::noTile)
        ownReport(caller, IPL_StsBadArg, "Internal error");
}
