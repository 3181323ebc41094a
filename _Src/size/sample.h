// Resampling by tables: nearest, bilinear and cubic, at all depths.
#pragma once

#include "_Src/size/scaling.h"

// Where each position of a destination axis falls on the source's region: at
// `fraction` of the way from `index` to the next one. Nearest samples take the
// index alone.
struct IplAxis {
    explicit IplAxis(int32_t positions) : count(positions), index(positions), fraction(positions) {}
    bool exists() const { return index.data && fraction.data; }

    int32_t count;
    IplScratch<int32_t> index;
    IplScratch<double> fraction;
};

// Fills the destination's region, as far as the axes go, under the mask. Windows
// reach past the source's region and are held inside the image; mode 2 needs a
// source of at least 4 by 4 pixels. At depth 1 every mode is nearest. False if
// there is no memory for the tables.
bool ownSample(const IplImage* src, const IplImage* dst, const IplImage* mask, const IplAxis& x,
               const IplAxis& y, int32_t mode);
