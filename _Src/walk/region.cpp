#include "_Src/walk/region.h"

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

} // namespace

int32_t ownColourChannels(const IplImage* image)
{
    return image->nChannels - (image->alphaChannel != 0 ? 1 : 0);
}

int32_t ownProcessedChannels(const IplImage* image)
{
    return ownCoi(image) > 0 ? 1 : ownColourChannels(image);
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
