// Which elements of an image an operation touches: its region of interest, its
// channel of interest and its mask, as sizes and addresses.
#pragma once

#include "_Src/ipl.h"

#include <algorithm>
#include <cstddef>

// The region's corner; a negative offset counts as 0.
inline int32_t ownRegionX(const IplImage* image)
{
    return image->roi ? std::max(image->roi->xOffset, 0) : 0;
}
inline int32_t ownRegionY(const IplImage* image)
{
    return image->roi ? std::max(image->roi->yOffset, 0) : 0;
}

// The channel that an image's region singles out, or 0.
inline int32_t ownCoi(const IplImage* image)
{
    return image->roi && image->roi->coi > 0 ? image->roi->coi : 0;
}

// How many channels an operation works on: one for a channel of interest,
// otherwise all but alpha.
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

// The address of the element at the region's corner, `channelOffset` channels
// past the first, with the region's size, cut at the right and bottom edges. At
// depth 1 the element's bit in its byte is `*bitOffset`, 0 to 7.
uint8_t* ownRoiOrigin(const IplImage* image, int32_t* width, int32_t* height, int32_t channelOffset,
                      int32_t* bitOffset);

// A walk over a region: where it starts and how it goes on.
struct IplWalk {
    uint8_t* address;    // the region's first element; at depth 1, the row's start
    ptrdiff_t step;      // bytes from row to row
    ptrdiff_t planeStep; // bytes from plane to plane, in plane order
    int32_t channels;    // how many channels the walk covers
    int32_t bitStart;    // at depth 1, the first pixel's bit
};

// False for a one-channel image that is alpha alone. Without a channel of
// interest the alpha channel is left out.
bool ownRegionStart(const IplImage* image, IplWalk* walk);

// A mask's bits from its region's corner on, most significant first; a bit of
// 1 lets a pixel be written.
struct IplMaskWalk {
    const uint8_t* address;
    ptrdiff_t step;
    int32_t bitOffset; // 0 to 7
};

// False for a mask whose depth is not 1.
bool ownMaskStart(const IplImage* mask, IplMaskWalk* walk);
