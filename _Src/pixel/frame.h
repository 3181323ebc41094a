// The frame that every per-pixel operation goes through: its checks, the
// channels of its images, their merged mask and their tiles. A member of the
// family adds its names, the checks that are its own, and its kernels.
#pragma once

#include "_Src/image/report.h"
#include "_Src/pixel/piece.h"
#include "_Src/walk/region.h"

// Runs an operation from one image, or from two, to another, after the checks
// that all members share.
void ownScalarOperation(const IplCaller& caller, const IplImage* srcImage, const IplImage* dstImage,
                        const IplPixelOp& op);
void ownPairOperation(const IplCaller& caller, const IplImage* srcImageA, const IplImage* srcImageB,
                      const IplImage* dstImage, const IplPixelOp& op);

// --- For members with checks of their own ------------------------------------------

// What a job reports on its way.
struct IplJobTexts {
    const char* noMemory;
    int32_t tileStatus; // of the texts below, for each image
    const char* notFetched[IPL_ROLES];
    const char* notReleased[IPL_ROLES]; // null: a release may leave tileData set
};

// Merges the images' masks and runs the job over their common region.
void ownRunPixelJob(const IplCaller& caller, const IplPixelJob& job, const IplJobTexts& texts);
