// The rows of a per-pixel operation: images whose checks are done, or one tile
// of each.
#pragma once

#include "_Src/ipl.h"
#include "kernels/kernels.h"

// What an operation does to its elements.
struct IplPixelOp {
    const quib::PixelRuns* runs; // a null run: the depth is refused
    quib::BitRun bits;           // the same at depth 1; null if that goes elsewhere
    int32_t value;
};

// The places of a job's images.
enum IplRole { IPL_SRC_A, IPL_SRC_B, IPL_DST, IPL_ROLES };

struct IplPixelJob {
    const IplImage* images[IPL_ROLES]; // all of one depth; the second source may be null
    int32_t channelOffset[IPL_ROLES];  // the first channel of each that takes part
    int32_t channelCount;
    bool hasAlpha; // any of the images
    IplPixelOp op;
};

// Null if the operation does not have that depth.
quib::PixelRun ownRunOfDepth(const quib::PixelRuns& runs, uint32_t depth);

// Runs the job on the common region of these images, which are the job's own or
// a tile of each, and of the mask, which may be null: pixels pair up from the
// regions' corners, and are written where the mask has a 1. Data orders may
// differ.
void ownRunPiece(const IplPixelJob& job, const IplImage* const images[IPL_ROLES],
                 const IplImage* mask);

// Whether the images can be walked as one run of elements: no region but a
// whole one, no alpha, and the same shape everywhere. Rows may still end in
// padding. A null imageC is left out.
bool ownIsWholeRun(const IplImage* imageA, const IplImage* imageB, const IplImage* imageC,
                   bool hasAlpha);
