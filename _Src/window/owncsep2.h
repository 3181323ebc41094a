// The checks that separable convolutions share.
#pragma once

#include "_Src/ipl.h"

// Reports the first thing in which the images do not agree, or that is wrong with a
// kernel; a null kernel is left out.
bool ownSeparableAgree(const IplImage* src, const IplImage* dst, const OwnConvKernel* xKernel,
                       const OwnConvKernel* yKernel);
