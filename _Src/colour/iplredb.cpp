// Fewer levels, with or without dither: iplReduceBits.
#include "_Src/colour/dither.h"
#include "_Src/image/check.h"
#include "_Src/image/report.h"

namespace
{

constexpr IplCaller caller{"iplReduceBits", "iplredb"};

bool isDither(int32_t ditherType)
{
    return ditherType == IPL_DITHER_NONE || ditherType == IPL_DITHER_FS ||
           ditherType == IPL_DITHER_JJH || ditherType == IPL_DITHER_STUCKEY ||
           ditherType == IPL_DITHER_BAYER;
}

bool haveGoodArguments(const IplImage* srcImage, const IplImage* dstImage, int32_t noise,
                       int32_t ditherType)
{
    return ownImageIsGood(caller, srcImage) && ownImageIsGood(caller, dstImage) &&
           ownRequire(caller, srcImage->depth != IPL_DEPTH_1U,
                      "( (srcImage->depth == IPL_DEPTH_1U ))") &&
           ownRequire(caller, ownDepthBits(srcImage->depth) >= ownDepthBits(dstImage->depth),
                      "((srcImage->depth& IPL_DEPTH_MASK) < (dstImage->depth& IPL_DEPTH_MASK))") &&
           ownRequire(caller, srcImage->dataOrder == dstImage->dataOrder,
                      "(srcImage->dataOrder!=dstImage->dataOrder)") &&
           ownRequire(caller, noise >= 0 && noise <= 100, "(( noise < 0 ) || ( noise > 100 ))") &&
           ownRequire(caller, srcImage->alphaChannel == dstImage->alphaChannel,
                      "(srcImage->alphaChannel!=dstImage->alphaChannel)") &&
           ownRequire(caller, srcImage->nChannels >= dstImage->nChannels,
                      "(srcImage->nChannels < dstImage->nChannels)") &&
           ownRequire(
               caller, isDither(ditherType),
               "ditherType != IPL_DITHER_NONE && ditherType != IPL_DITHER_FS && ditherType != "
               "IPL_DITHER_JJH && ditherType != IPL_DITHER_STUCKEY && ditherType != "
               "IPL_DITHER_BAYER");
}

bool hasLevels(uint32_t depth)
{
    return depth == IPL_DEPTH_32S || (depth & IPL_DEPTH_SIGN) == 0;
}

bool haveGoodDepths(const IplImage* srcImage, const IplImage* dstImage)
{
    return ownRequire(caller, hasLevels(srcImage->depth),
                      "!( ( srcImage->depth == IPL_DEPTH_32S ) || ((srcImage->depth & "
                      "IPL_DEPTH_SIGN)==0))") &&
           ownRequire(caller, hasLevels(dstImage->depth),
                      "!( ( dstImage->depth == IPL_DEPTH_32S ) || ((dstImage->depth & "
                      "IPL_DEPTH_SIGN)==0))");
}

bool canHaveLevels(const IplImage* dstImage, int64_t most)
{
    const int32_t bits = dstImage->depth == IPL_DEPTH_32S ? 31 : ownDepthBits(dstImage->depth);
    return most >= 1 && most <= int64_t{1} << bits;
}

} // namespace

void iplReduceBits(const IplImage* srcImage, IplImage* dstImage, int32_t noise, int32_t ditherType,
                   int32_t levels)
{
    if (!haveGoodArguments(srcImage, dstImage, noise, ditherType))
        return;
    // An earlier failure stops the reduction too.
    if (iplGetStatus() < 0 || !haveGoodDepths(srcImage, dstImage))
        return;
    const bool hasDither = ditherType != IPL_DITHER_NONE;
    const int64_t most = int64_t{levels} - 1;
    if (!ownRequire(caller, srcImage != dstImage, "This function isn`t in-plase function") ||
        !ownRequire(caller, !hasDither || canHaveLevels(dstImage, most),
                    "You incorrectly have set an amount of levels") ||
        !ownRequire(caller, srcImage->nChannels == 1 || dstImage->nChannels != 1,
                    " Depth 1u is for Gray, only"))
        return;
    switch (ownReduceLevels({srcImage, dstImage, ditherType, noise, hasDither ? most : 1})) {
    case IplWindowEnd::noMemory:
        return ownReport(caller, IPL_StsNoMem, "Allocation failure");
    case IplWindowEnd::noTile:
        return ownReport(caller, IPL_StsBadArg, "(tileInfo->tileData == NULL)");
    case IplWindowEnd::complete:
        return;
    }
}
