// The filters whose windows are fixed, of iplFixedFilter.
#pragma once

#include "_Src/window/frame.h"

constexpr int32_t ownFixedFilters = 11;

// By its number, on images of any depth; `filter` is below ownFixedFilters.
IplWindowEnd ownFilterFixed(const IplImage* src, IplImage* dst, int32_t filter);
