#include "_Src/walk/region.h"

#include "_Src/image/check.h"

namespace
{

// The part of [offset, offset + size) inside [0, limit); false if none.
bool clipAxis(int32_t offset, int32_t limit, int32_t* size)
{
    if (offset >= limit)
        return false;
    if (offset < 0) {
        *size += offset;
        offset = 0;
    }
    *size = std::min(*size, limit - offset);
    return *size > 0;
}

uint8_t* rowAddress(const IplImage* image, int32_t y)
{
    return reinterpret_cast<uint8_t*>(image->imageData) +
           static_cast<ptrdiff_t>(y) * image->widthStep;
}

} // namespace

int32_t ownProcessedChannels(const IplImage* image)
{
    return ownCoi(image) > 0 ? 1 : image->nChannels - (image->alphaChannel != 0 ? 1 : 0);
}

bool ownRegionSize(const IplImage* image, int32_t* height, int32_t* width, bool clip)
{
    const IplROI* roi = image->roi;
    if (!roi) {
        *height = image->height;
        *width = image->width;
        return true;
    }
    if (roi->width < 1 || roi->height < 1)
        return false;
    *height = roi->height;
    *width = roi->width;
    return !clip || (clipAxis(roi->xOffset, image->width, width) &&
                     clipAxis(roi->yOffset, image->height, height));
}

bool ownCommonRegion(const IplImage* imageA, const IplImage* imageB, const IplImage* imageC,
                     int32_t* height, int32_t* width, bool clip)
{
    *height = INT32_MAX;
    *width = INT32_MAX;
    for (const IplImage* image : {imageA, imageB, imageC}) {
        if (!image)
            continue;
        int32_t h = 0;
        int32_t w = 0;
        if (!ownRegionSize(image, &h, &w, clip))
            return false;
        *height = std::min(*height, h);
        *width = std::min(*width, w);
    }
    return true;
}

void ownClipROI(const IplImage* image, IplRect* rectangle)
{
    *rectangle = {0, 0, image->width, image->height};
    if (const IplROI* roi = image->roi)
        *rectangle = {roi->xOffset, roi->yOffset, std::min(roi->width, image->width - roi->xOffset),
                      std::min(roi->height, image->height - roi->yOffset)};
}

uint8_t* ownRoiOrigin(const IplImage* image, int32_t* width, int32_t* height, int32_t channelOffset,
                      int32_t* bitOffset)
{
    IplRect region{};
    ownClipROI(image, &region);
    *width = std::max(region.width, 0);
    *height = std::max(region.height, 0);
    *bitOffset = region.x & 7;
    if (!image->roi || *width == 0 || *height == 0)
        return rowAddress(image, 0);
    const int64_t bits = ownDepthBits(image->depth);
    if (image->dataOrder == IPL_DATA_ORDER_PLANE) {
        const ptrdiff_t planeStep = static_cast<ptrdiff_t>(image->height) * image->widthStep;
        return rowAddress(image, region.y) + channelOffset * planeStep + (region.x * bits >> 3);
    }
    const int64_t element = static_cast<int64_t>(region.x) * image->nChannels + channelOffset;
    return rowAddress(image, region.y) + (element * bits >> 3);
}

bool ownRegionStart(const IplImage* image, IplWalk* walk)
{
    if (!image->roi && image->alphaChannel != 0 && image->nChannels == 1)
        return false;
    const int32_t x = ownRegionX(image);
    const ptrdiff_t elementBytes = ownDepthBits(image->depth) / 8;
    const int32_t coi = image->roi ? image->roi->coi : 0;
    const bool planes = image->dataOrder == IPL_DATA_ORDER_PLANE;

    walk->step = image->widthStep;
    walk->planeStep = static_cast<ptrdiff_t>(image->height) * image->widthStep;
    walk->bitStart = image->depth == IPL_DEPTH_1U ? x : 0;
    walk->address = rowAddress(image, ownRegionY(image)) +
                    x * (planes ? elementBytes : image->nChannels * elementBytes);
    if (coi > 0) {
        walk->channels = 1;
        walk->address += (coi - 1) * (planes ? walk->planeStep : elementBytes);
    } else {
        walk->channels = image->nChannels - (image->alphaChannel != 0 ? 1 : 0);
    }
    return true;
}

bool ownMaskStart(const IplImage* mask, IplMaskWalk* walk)
{
    if (mask->depth != IPL_DEPTH_1U)
        return false;
    const int32_t x = ownRegionX(mask);
    walk->address = rowAddress(mask, ownRegionY(mask)) + (x >> 3);
    walk->step = mask->widthStep;
    walk->bitOffset = x & 7;
    return true;
}
