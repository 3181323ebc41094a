// The kernels of convolutions, as callers hold them.
#pragma once

#include "quibtool/iplimage.h"

// Taps and anchor are stored mirrored, so that a convolution is a plain sum of
// tap * pixel over its window.
struct OwnConvKernel {
    int32_t nCols;
    int32_t nRows;
    int32_t anchorX; // nCols - 1 - the caller's
    int32_t anchorY; // nRows - 1 - the caller's
    int32_t* values; // nCols * nRows taps, row by row, the caller's last one first
    int32_t nShiftR; // right shift of a sum
};

// Whether its sizes or its anchor are none.
bool ownBadKernel(const OwnConvKernel* kernel);
