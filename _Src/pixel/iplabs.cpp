#include "_Src/pixel/frame.h"

#include <algorithm>

namespace
{

constexpr IplCaller caller{"iplAbs", "iplabs"};

constexpr IplJobTexts texts{
    "Out of memory",
    IPL_StsBadArg,
    {"(srcImage->tileInfo->tileData == 0)", nullptr, "(dstImage->tileInfo->tileData == 0)"},
    {"(srcImage->tileInfo->tileData != 0)", nullptr, "(dstImage->tileInfo->tileData != 0)"},
};

// A one-channel image has no channel of interest here.
int32_t coiOf(const IplImage* image)
{
    return image->nChannels != 1 ? ownCoi(image) : 0;
}

bool hasAlpha(const IplImage* image)
{
    return image->alphaChannel != 0;
}

bool imagesAgree(const IplImage* src, const IplImage* dst)
{
    if (!ownImageIsGood(caller, src) || !ownImageIsGood(caller, dst))
        return false;
    const bool sameChannels = coiOf(src) || ownColourChannels(src) == ownColourChannels(dst) ||
                              src->nChannels == dst->nChannels;
    return ownRequire(caller, src->depth == dst->depth, "(srcImage->depth != dstImage->depth)") &&
           ownRequire(caller, src->dataOrder == dst->dataOrder,
                      "(srcImage->dataOrder != dstImage->dataOrder)") &&
           ownRequire(caller, (coiOf(src) != 0) == (coiOf(dst) != 0), "(nChSrcCoi != nChDstCoi)") &&
           ownRequire(caller, sameChannels, "(srcImage->nChannels != dstImage->nChannels)");
}

// Alpha is a channel like the others unless both images have it.
int32_t channelCountOf(const IplImage* src, const IplImage* dst)
{
    if (coiOf(src))
        return 1;
    if (hasAlpha(src) && hasAlpha(dst))
        return src->nChannels - 1;
    return std::min(src->nChannels, dst->nChannels);
}

} // namespace

void iplAbs(const IplImage* srcImage, IplImage* dstImage)
{
    ownRequire(caller, srcImage != nullptr, "srcImage==0");
    ownRequire(caller, dstImage != nullptr, "dstImage==0");
    if (iplGetStatus() < 0)
        return;
    const uint32_t depth = dstImage->depth;
    if (depth == IPL_DEPTH_1U || depth == IPL_DEPTH_8U || depth == IPL_DEPTH_16U) {
        iplCopy(srcImage, dstImage);
        if (iplGetStatus() < 0)
            ownReport(caller, IPL_StsBackTrace, "iplCopy is failed");
        return;
    }
    if (!imagesAgree(srcImage, dstImage))
        return;
    const int32_t srcCoi = coiOf(srcImage);
    const int32_t dstCoi = coiOf(dstImage);
    ownRunPixelJob(caller,
                   {{srcImage, nullptr, dstImage},
                    {srcCoi ? srcCoi - 1 : 0, 0, dstCoi ? dstCoi - 1 : 0},
                    channelCountOf(srcImage, dstImage),
                    hasAlpha(srcImage) || hasAlpha(dstImage),
                    {&quib::kernels().pixel.absolute, nullptr, 0}},
                   texts);
}
