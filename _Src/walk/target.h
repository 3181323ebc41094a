// Where finished rows go, and through which mask.
#pragma once

#include "_Src/walk/raster.h"

// The pixels that are written: width x height from the corner of the raster's
// region on, where the mask has a 1.
struct IplTarget {
    IplRaster raster;
    IplRaster mask; // address null: no mask
    int32_t width;
    int32_t height;
};

// Opens an image for writing, by ownRegionStart's rules. A null mask is none.
// False when nothing is to be written.
bool ownOpenTarget(const IplImage* dst, const IplImage* mask, int32_t width, int32_t height,
                   IplTarget* target);

// Whether a finished row can be made in its place.
inline bool ownTakesWholeRows(const IplTarget& target)
{
    return !target.mask.address && target.raster.channels == target.raster.stride;
}

// The mask's bits beside row y of the target, to be counted from the left edge of
// the mask; null without a mask.
inline const uint8_t* ownMaskRow(const IplTarget& target, int32_t y)
{
    return target.mask.address ? ownImageRow(target.mask, y) : nullptr;
}

// Stores a row of pixels of `stride` elements each.
template<class Element>
void ownDeliver(const IplTarget& target, int32_t plane, int32_t y, const Element* row,
                int32_t stride);
void ownDeliverBits(const IplTarget& target, int32_t y, const uint8_t* bits);
