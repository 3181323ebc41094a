#include "_Src/image/check.h"

#include <algorithm>

bool ownIsDepth(uint32_t depth)
{
    switch (depth) {
    case IPL_DEPTH_1U:
    case IPL_DEPTH_8U:
    case IPL_DEPTH_8S:
    case IPL_DEPTH_16U:
    case IPL_DEPTH_16S:
    case IPL_DEPTH_32S:
    case IPL_DEPTH_32F:
        return true;
    default:
        return false;
    }
}

namespace
{

int32_t checkMask(const IplImage* mask)
{
    if (!mask)
        return IPL_StsOk;
    if (mask->depth != IPL_DEPTH_1U)
        return IPL_MaskBadDepth;
    if (mask->tileInfo)
        return IPL_MaskIsTiled;
    const int32_t status = iplCheckImage(mask);
    return status == IPL_StsOk ? IPL_StsOk : status - 100;
}

int32_t checkTiles(const IplTileInfo* tiles)
{
    if (!tiles)
        return IPL_StsOk;
    if (!tiles->callBack)
        return IPL_BadCallBack;
    if (tiles->width < 1 || tiles->height < 1 || tiles->width % 8 != 0 || tiles->height % 8 != 0)
        return IPL_BadTileSize;
    return IPL_StsOk;
}

int32_t checkRoi(const IplROI* roi, int32_t nChannels)
{
    if (!roi)
        return IPL_StsOk;
    if (roi->coi < 0 || roi->coi > nChannels)
        return IPL_BadCOI;
    if (roi->height < 1 || roi->width < 1)
        return IPL_BadROISize;
    if (roi->xOffset < 0 || roi->yOffset < 0)
        return IPL_BadOffset;
    return IPL_StsOk;
}

int32_t firstFailure(const IplImage* image)
{
    if (!image)
        return IPL_HeaderIsNull;
    const bool tiled = image->tileInfo != nullptr;
    if ((image->imageData != nullptr) == tiled)
        return IPL_BadDataPtr;
    if (image->imageSize < 1 && !tiled)
        return IPL_BadImageSize;
    if (image->widthStep < 1 && !tiled)
        return IPL_BadStep;
    if (const int32_t status = ownCheckHeaderFields(image))
        return status;
    if (const int32_t status = checkTiles(image->tileInfo))
        return status;
    return checkRoi(image->roi, image->nChannels);
}

} // namespace

int32_t ownClampToDepth(uint32_t depth, int32_t value)
{
    switch (depth) {
    case IPL_DEPTH_1U:
        return std::clamp(value, 0, 1);
    case IPL_DEPTH_8U:
        return std::clamp(value, 0, 255);
    case IPL_DEPTH_8S:
        return std::clamp(value, -128, 127);
    case IPL_DEPTH_16U:
        return std::clamp(value, 0, 65535);
    case IPL_DEPTH_16S:
        return std::clamp(value, -32768, 32767);
    default:
        return value;
    }
}

int32_t ownCheckHeaderFields(int32_t nChannels, int32_t alphaChannel, uint32_t depth,
                             const char* colorModel, const char* channelSeq, int32_t dataOrder,
                             int32_t origin, int32_t align, int32_t width, int32_t height,
                             const IplImage* maskROI)
{
    if (height < 1 || width < 1)
        return IPL_BadImageSize;
    if (nChannels < 1)
        return IPL_BadNumChannels;
    if (nChannels != 1 && depth == IPL_DEPTH_1U)
        return IPL_BadNumChannel1U;
    if (!colorModel || !channelSeq)
        return IPL_BadModelOrChSeq;
    if (!ownIsDepth(depth))
        return IPL_BadDepth;
    if (alphaChannel != 0 && alphaChannel != nChannels)
        return IPL_BadAlphaChannel;
    if (dataOrder != IPL_DATA_ORDER_PIXEL && dataOrder != IPL_DATA_ORDER_PLANE)
        return IPL_BadOrder;
    if (origin != IPL_ORIGIN_TL && origin != IPL_ORIGIN_BL)
        return IPL_BadOrigin;
    if (align != 4 && align != 8 && align != 16 && align != 32)
        return IPL_BadAlign;
    return checkMask(maskROI);
}

int32_t ownCheckHeaderFields(const IplImage* image)
{
    return ownCheckHeaderFields(
        image->nChannels, image->alphaChannel, image->depth, image->colorModel, image->channelSeq,
        image->dataOrder, image->origin, image->align, image->width, image->height, image->maskROI);
}

int32_t iplCheckImage(const IplImage* image)
{
    const int32_t status = firstFailure(image);
    // A pass leaves the record of an earlier failure alone.
    if (status != IPL_StsOk)
        iplSetStatus(status);
    return status;
}
