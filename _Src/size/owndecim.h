// The work of iplDecimate, and the kernels' drivers.
#pragma once

#include "_Src/size/scaling.h"

// Samples the source at multiples of xSrc / xDst and ySrc / yDst pixels from its
// region's corner: nearest takes the pixel there or before, bilinear and cubic
// the fraction. False if there is no memory.
bool ownDecimateSamples(const IplScaling& scaling, const IplFactors& factors, int32_t mode);

// Averages over areas of xSrc / xDst by ySrc / yDst pixels. Means of whole 8-bit
// and 16-bit pixels, at most areaLargestBlock of them, are exact, others in single
// precision; both are rounded to nearest, halves up. A bit is set when the average,
// which is exact too, is 0.5 or more. False if there is no memory.
bool ownDecimateAreas(const IplScaling& scaling, const IplFactors& factors);

// What iplDecimate does with images and factors that have passed its checks; each image
// works on equally many channels. Reports what fails.
void ownDecimate(const IplCaller& caller, const IplImage* src, const IplImage* dst,
                 const IplFactors& factors, int32_t interpolate);
