// Which pixels and channels of an image an operation touches: its region and its
// channel of interest.
#pragma once

#include "_Src/ipl.h"

#include <algorithm>

// The region's corner; a negative offset counts as 0.
inline int32_t ownRegionX(const IplImage* image)
{
    return image->roi ? std::max(image->roi->xOffset, 0) : 0;
}
inline int32_t ownRegionY(const IplImage* image)
{
    return image->roi ? std::max(image->roi->yOffset, 0) : 0;
}

// The region that is the whole image.
inline IplROI ownWhole(const IplImage* image)
{
    return {0, 0, 0, image->width, image->height};
}

// A copy of the record with another region, or with none.
inline IplImage ownWithRegion(const IplImage* image, IplROI* roi)
{
    IplImage copy = *image;
    copy.roi = roi;
    return copy;
}

// The channel that an image's region singles out, or 0.
inline int32_t ownCoi(const IplImage* image)
{
    return image->roi && image->roi->coi > 0 ? image->roi->coi : 0;
}

// The channels but alpha, and how many of them an operation works on: one if it
// is a channel of interest, which may be alpha too.
int32_t ownColourChannels(const IplImage* image);
int32_t ownProcessedChannels(const IplImage* image);

// The size of an image's region; false when there is nothing to do. With
// `clip`, only the part that lies inside the image.
bool ownRegionSize(const IplImage* image, int32_t* height, int32_t* width, bool clip);

// The smallest height and width of the images' regions; false if any of them
// has nothing to do. A null imageB or imageC is left out.
bool ownCommonRegion(const IplImage* imageA, const IplImage* imageB, const IplImage* imageC,
                     int32_t* height, int32_t* width, bool clip);

struct IplRect {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
};

// The image's region, cut at the right and bottom edges; the size of a region
// beyond an edge is not positive.
void ownClipROI(const IplImage* image, IplRect* rectangle);
