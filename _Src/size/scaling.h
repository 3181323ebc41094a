// What zoom and decimate share around their row loops: the walk over source and
// destination, the resampled mask, tiles, and the way of finished rows into the
// destination.
#pragma once

#include "_Src/image/report.h"
#include "_Src/image/scratch.h"
#include "_Src/walk/region.h"

// The scale is xDst / xSrc by yDst / ySrc.
struct IplFactors {
    int32_t xDst;
    int32_t xSrc;
    int32_t yDst;
    int32_t ySrc;
};

// --- Elements ------------------------------------------------------------------

// An image as rows of elements. A pixel of plane p has its `channels` elements
// at row(p, y) + x * stride + first. At depth 1 a row is packed bits.
struct IplRaster {
    uint8_t* address; // of row 0 of plane 0
    ptrdiff_t step;
    ptrdiff_t planeStep;
    int32_t planes;
    int32_t channels;
    int32_t stride;
    int32_t first;
    int32_t x; // the region's corner
    int32_t y;

    uint8_t* row(int32_t plane, int32_t rowIndex) const
    {
        return address + plane * planeStep + rowIndex * step;
    }
};

// The region's raster; false when nothing in it is processed.
bool ownRaster(const IplImage* image, IplRaster* raster);

// The same elements with each channel as a plane of its own.
void ownSplitChannels(IplRaster* raster, int32_t elementBytes);

// How many channels an operation works on: one for a channel of interest,
// otherwise all but alpha.
int32_t ownProcessedChannels(const IplImage* image);

// --- Destination rows ------------------------------------------------------------

// Where finished rows go, and through which mask.
struct IplTarget {
    IplRaster raster;
    int32_t width;
    IplMaskWalk mask; // address null: no mask
};

// False when nothing is to be written.
bool ownTarget(const IplImage* dst, const IplImage* mask, int32_t width, IplTarget* target);

// Whether a finished row can be made in its place.
inline bool ownTakesWholeRows(const IplTarget& target)
{
    return !target.mask.address && target.raster.channels == target.raster.stride;
}

template<class Element>
Element* ownTargetRow(const IplTarget& target, int32_t plane, int32_t y)
{
    const IplRaster& raster = target.raster;
    return reinterpret_cast<Element*>(raster.row(plane, raster.y + y)) +
           static_cast<ptrdiff_t>(raster.x) * raster.stride + raster.first;
}

// Stores a row of pixels of `stride` elements each.
template<class Element>
void ownDeliver(const IplTarget& target, int32_t plane, int32_t y, const Element* row,
                int32_t stride);
void ownDeliverBits(const IplTarget& target, int32_t y, const uint8_t* bits);

// --- Masks and tiles -------------------------------------------------------------

// The two images of an operation without their tiles, and the mask of its
// extent. Owns what it had to make.
struct IplScaling {
    IplScaling() = default;
    ~IplScaling();
    IplScaling(const IplScaling&) = delete;
    IplScaling& operator=(const IplScaling&) = delete;

    IplImage src{};
    IplImage dst{};
    const IplImage* mask = nullptr; // for the row loops; the extent's size
    int32_t width = 0;              // of the extent
    int32_t height = 0;

    IplImage* ownedMask = nullptr;
    IplImage* flatSource = nullptr;
    IplImage* stagedResult = nullptr;
    IplROI stagedRoi{};
};

// Resamples the source's mask, or else the destination's, to the extent;
// reports a failure and gives false. The images' masks then play no part.
bool ownScaleMask(const IplCaller& caller, IplScaling* scaling, const IplImage* src,
                  const IplImage* dst, const IplFactors& factors);

// Puts a whole untiled image in the place of a tiled one: the source with its
// pixels, the destination as an image of the extent.
bool ownFetchTiles(const IplCaller& caller, IplScaling* scaling, const IplImage* src,
                   const IplImage* dst);

// Brings the result into a tiled destination.
void ownStoreTiles(const IplCaller& caller, IplScaling* scaling, const IplImage* dst);
