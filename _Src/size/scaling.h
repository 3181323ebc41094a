// What zoom and decimate share around their row loops: the resampled mask, and
// images without their tiles.
#pragma once

#include "_Src/image/report.h"
#include "_Src/image/scratch.h"
#include "_Src/walk/target.h"

// The scale is xDst / xSrc by yDst / ySrc.
struct IplFactors {
    int32_t xDst;
    int32_t xSrc;
    int32_t yDst;
    int32_t ySrc;
};

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
