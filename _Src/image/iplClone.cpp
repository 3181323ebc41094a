#include "_Src/image/check.h"
#include "_Src/image/pitch.h"
#include "_Src/image/report.h"
#include "kernels/kernels.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr IplCaller caller{"iplCloneImage", "iplClone"};

// A clone with undefined pixels.
IplImage* cloneRecord(const IplImage* image)
{
    if (!ownImageIsGood(caller, image))
        return nullptr;
    IplImage* clone =
        iplCreateImageHeader(image->nChannels, image->alphaChannel, image->depth, image->colorModel,
                             image->channelSeq, image->dataOrder, image->origin, image->align,
                             image->width, image->height, nullptr, nullptr, nullptr, nullptr);
    if (!clone) {
        ownReport(caller, IPL_StsNoMem, "Not enough memory to allocate header for clone image");
        return nullptr;
    }
    *clone = *image;
    clone->imageData = nullptr;
    clone->ID = 0;
    clone->imageId = nullptr;
    clone->maskROI = nullptr;
    clone->tileInfo = nullptr;

    if (const IplROI* roi = image->roi) {
        clone->roi = iplCreateROI(roi->coi, roi->xOffset, roi->yOffset, roi->width, roi->height);
        if (!clone->roi) {
            ownReport(caller, IPL_StsNoMem, "Not enough memory to allocate roi for clone image");
            iplDeallocate(clone, IPL_IMAGE_HEADER);
            return nullptr;
        }
    }
    if (clone->depth == IPL_DEPTH_32F)
        iplAllocateImageFP(clone, 0, 0.0f);
    else
        iplAllocateImage(clone, 0, 0);
    if (!clone->imageData) {
        ownReport(caller, IPL_StsNoMem, "Not enough memory to allocate imageData for clone image");
        iplDeallocate(clone, IPL_IMAGE_HEADER | IPL_IMAGE_ROI);
        return nullptr;
    }
    return clone;
}

bool hasUsualSizes(const IplImage* image)
{
    const int64_t rows = static_cast<int64_t>(image->height) * ownPlaneCount(image);
    return image->widthStep == ownWidthStep(image, image->width) &&
           image->imageSize == rows * image->widthStep;
}

} // namespace

IplImage* iplCloneImage(const IplImage* image)
{
    IplImage* clone = cloneRecord(image);
    // A tiled source has no pixel block to copy from. A record that the caller
    // built may claim more bytes than its header gives the clone.
    if (clone && !image->tileInfo)
        quib::kernels().block.copy(
            clone->imageData, image->imageData,
            static_cast<size_t>(std::min(image->imageSize, clone->imageSize)));
    return clone;
}

IplImage* ownCloneForResult(const IplImage* image)
{
    if (!ownImageIsGood(caller, image))
        return nullptr;
    if (image->tileInfo || !hasUsualSizes(image))
        return iplCloneImage(image);
    IplImage* clone = cloneRecord(image);
    if (!clone)
        return nullptr;
    const size_t step = static_cast<size_t>(image->widthStep);
    const size_t bits =
        static_cast<size_t>(ownDepthBits(image->depth)) * ownElementsPerPixel(image);
    const size_t pixelBytes = static_cast<size_t>(image->width) * bits / 8;
    const size_t rows = static_cast<size_t>(image->height) * ownPlaneCount(image);
    if (pixelBytes < step)
        for (size_t at = pixelBytes; at < rows * step; at += step)
            std::memcpy(clone->imageData + at, image->imageData + at, step - pixelBytes);
    return clone;
}
