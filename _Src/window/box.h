// Means of windows.
#pragma once

#include "_Src/window/frame.h"
#include "kernels/box.h"

// Images of any depth, one for both. Integers are rounded to nearest, halves up; a bit
// is 1 where at least half of the window's are. Floats are summed in double, columns
// first, and their means stored in single. The time of a pixel does not depend on the
// window at integer depths.
IplWindowEnd ownFilterMeans(const IplImage* src, IplImage* dst, const IplWindow& window);

// How such a window of elements of a depth is computed: its division is exact for all
// sums that it can have.
struct IplBoxPlan {
    quib::BoxKind kind;
    quib::BoxWindow window; // but for the stride
};
IplBoxPlan ownPlanBox(uint32_t depth, int32_t nCols, int32_t nRows);
