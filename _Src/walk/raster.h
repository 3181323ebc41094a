// Where the elements of an image lie: a source of rows for whoever reads them.
#pragma once

#include "_Src/walk/region.h"
#include "kernels/bits.h"
#include "kernels/select.h"

// Which channels of each pixel take part: `count` of them, from the one at index
// `first` on.
struct IplChannels {
    int32_t first;
    int32_t count;
};

// An image as rows of elements, and the region in it. A pixel of plane p has its
// `channels` elements, side by side, at row(p, y) + x * stride + first. In pixel
// order there is one plane of several channels, in plane order the other way
// round. At depth 1 a row is packed bits, and x counts them.
struct IplRaster {
    uint8_t* address;    // of row 0 of the first plane that takes part; null: no image
    ptrdiff_t step;      // bytes from row to row
    ptrdiff_t planeStep; // bytes from plane to plane
    int32_t planes;
    int32_t channels;
    int32_t stride; // elements from pixel to pixel
    int32_t first;
    int32_t elementBytes; // 0 at depth 1
    int32_t width;        // of the image, in pixels
    int32_t height;
    IplRect region; // inside the image; width or height 0: nothing of it is

    uint8_t* row(int32_t plane, int32_t y) const { return address + plane * planeStep + y * step; }
};

// --- Opening an image ------------------------------------------------------------
//
// All give the whole image's rows; the region is what they differ in. Channels are
// the one of interest, or else all but alpha.

IplChannels ownChosenChannels(const IplImage* image);

// The region as the general operations see it: a negative offset counts as 0.
// False for an image of one channel that is alpha alone, unless it has a region.
bool ownRegionStart(const IplImage* image, IplRaster* raster);

// The region as the per-pixel family sees it: cut at the right and bottom edges;
// without pixels it lies at the image's corner. Of the channels that are told.
void ownRoiOrigin(const IplImage* image, const IplChannels& channels, IplRaster* raster);

// The image as a bitmap is made of it: all of it, in all channels, the row that is
// shown at the top first. From width, height, depth, align, dataOrder and origin
// alone.
void ownTopDownRows(const IplImage* image, IplRaster* raster);

// A mask's bits, from ownRegionStart's corner on; one that is 1 lets a pixel be
// written. False for a mask whose depth is not 1.
bool ownMaskStart(const IplImage* mask, IplRaster* raster);

// The same elements with each channel as a plane of its own.
void ownSplitChannels(IplRaster* raster);

// --- Addresses -------------------------------------------------------------------

// The image's row that is row y of the region, from the image's left edge on.
inline uint8_t* ownImageRow(const IplRaster& raster, int32_t y)
{
    return raster.row(0, raster.region.y + y);
}

// The elements of row y of the region, from its left edge on. Rows of the image
// above and below have numbers too.
inline uint8_t* ownRegionBytes(const IplRaster& raster, int32_t plane, int32_t y)
{
    const ptrdiff_t element = static_cast<ptrdiff_t>(raster.region.x) * raster.stride;
    return raster.row(plane, raster.region.y + y) + (element + raster.first) * raster.elementBytes;
}
template<class Element>
Element* ownRegionRow(const IplRaster& raster, int32_t plane, int32_t y)
{
    return reinterpret_cast<Element*>(ownRegionBytes(raster, plane, y));
}

// The kernels that move elements of this size; not for depth 1.
const quib::StridedMoves& ownStridedMoves(const IplRaster& raster);

// The bits of the region from its pixel (x, y) on; null without an image.
template<class Byte = const uint8_t>
quib::BitRows<Byte> ownRegionBits(const IplRaster& raster, int32_t x, int32_t y)
{
    const int32_t bit = raster.region.x + x;
    if (!raster.address)
        return {};
    return {raster.row(0, raster.region.y + y) + (bit >> 3), raster.step, bit & 7};
}
