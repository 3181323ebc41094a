#include "_Src/walk/raster.h"

#include "_Src/image/check.h"
#include "_Src/image/pitch.h"
#include "kernels/kernels.h"

namespace
{

// The rows of the image, whose pitch is `step`; the region is left to the caller.
IplRaster rasterOf(const IplImage* image, const IplChannels& channels, ptrdiff_t step)
{
    const bool planes = image->dataOrder == IPL_DATA_ORDER_PLANE;
    IplRaster raster{};
    raster.address = reinterpret_cast<uint8_t*>(image->imageData);
    raster.step = step;
    raster.planeStep = image->height * step;
    raster.planes = planes ? channels.count : 1;
    raster.channels = planes ? 1 : channels.count;
    raster.stride = ownElementsPerPixel(image);
    raster.first = planes ? 0 : channels.first;
    raster.elementBytes = ownDepthBits(image->depth) / 8;
    raster.width = image->width;
    raster.height = image->height;
    if (planes)
        raster.address += channels.first * raster.planeStep;
    return raster;
}

// A negative offset counts as 0.
IplRect regionInside(const IplImage* image)
{
    IplRect region{ownRegionX(image), ownRegionY(image), 0, 0};
    if (!ownRegionSize(image, &region.height, &region.width, true))
        region.height = region.width = 0;
    return region;
}

} // namespace

IplChannels ownChosenChannels(const IplImage* image)
{
    return {std::max(ownCoi(image) - 1, 0), ownProcessedChannels(image)};
}

bool ownRegionStart(const IplImage* image, IplRaster* raster)
{
    if (!image->roi && image->alphaChannel != 0 && image->nChannels == 1)
        return false;
    *raster = rasterOf(image, ownChosenChannels(image), image->widthStep);
    raster->region = regionInside(image);
    return true;
}

void ownRoiOrigin(const IplImage* image, const IplChannels& channels, IplRaster* raster)
{
    *raster = rasterOf(image, channels, image->widthStep);
    IplRect& region = raster->region;
    ownClipROI(image, &region);
    region.width = std::max(region.width, 0);
    region.height = std::max(region.height, 0);
    if (region.width == 0 || region.height == 0) {
        *raster = rasterOf(image, {0, channels.count}, image->widthStep);
        region = {};
    }
}

void ownTopDownRows(const IplImage* image, IplRaster* raster)
{
    *raster = rasterOf(image, {0, image->nChannels}, ownWidthStep(image, image->width));
    raster->region = {0, 0, image->width, image->height};
    if (image->origin == IPL_ORIGIN_BL) {
        raster->address += (image->height - 1) * raster->step;
        raster->step = -raster->step;
    }
}

bool ownMaskStart(const IplImage* mask, IplRaster* raster)
{
    if (mask->depth != IPL_DEPTH_1U)
        return false;
    // Its bits count as they are, alpha or not.
    *raster = rasterOf(mask, {0, 1}, mask->widthStep);
    raster->region = regionInside(mask);
    return true;
}

void ownSplitChannels(IplRaster* raster)
{
    if (raster->channels == 1)
        return;
    raster->planes = raster->channels;
    raster->planeStep = raster->elementBytes;
    raster->channels = 1;
}

const quib::StridedMoves& ownStridedMoves(const IplRaster& raster)
{
    const quib::SelectKernels& select = quib::kernels().select;
    switch (raster.elementBytes) {
    case 1:
        return select.bytes;
    case 2:
        return select.words;
    default:
        return select.doubleWords;
    }
}
