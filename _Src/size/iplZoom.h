// The zoom worker: any scale, by nearest, bilinear or cubic samples whose first
// and last meet the source's first and last pixels.
#pragma once

#include "_Src/ipl.h"

// iplZoom without its test of the factors; reports under iplZoom's name.
void ownZoom(IplImage* src, IplImage* dst, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
             int32_t interpolate);
