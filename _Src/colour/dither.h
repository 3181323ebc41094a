// Images of fewer levels, with and without dither.
#pragma once

#include "_Src/window/frame.h"

struct IplReduction {
    const IplImage* src; // checked, of other pixels than dst's
    IplImage* dst;
    int32_t ditherType;
    int32_t noise; // per cent of a level's height
    int64_t most;  // the highest level, at least 1; without dither there are no levels
};

IplWindowEnd ownReduceLevels(const IplReduction& reduction);
