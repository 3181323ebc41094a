// Scanlines of the warp onto any quadrangle: rows of pixels between two ends, each
// end on an edge of the quadrangle.
#pragma once

#include "quibtool/warp/progress.h"

#include <cstdint>

namespace quib
{

// Repeated sums of several coordinates at once.
template<int32_t coordinates>
struct Track {
    double at[coordinates];
    double step[coordinates];
};

template<int32_t coordinates>
void advance(Track<coordinates>* track, uint32_t steps)
{
    for (int32_t i = 0; i < coordinates; ++i)
        track->at[i] = ownAdvanced(track->at[i], track->step[i], steps);
}

template<int32_t coordinates>
void advanceOnce(Track<coordinates>* track)
{
    for (int32_t i = 0; i < coordinates; ++i)
        track->at[i] += track->step[i];
}

// From scanline to scanline: x and y of the left end and of the right one in the
// destination, then the same in the source.
using EndTrack = Track<8>;

// From pixel to pixel: x and y in the destination, then in the source.
using PixelTrack = Track<4>;

// The larger one of a scanline's extents along the axes, by its ends.
double scanlineExtent(const double (&ends)[8]);

// Sets out along a scanline. Gives its number of pixels: none below an extent of
// 1.5, nor for one that is no 32-bit integer. Past a right end that is no number
// there is nothing but the first pixel.
uint32_t startScanline(const double (&ends)[8], PixelTrack* track);

// How far the roundings of so many sums, none of them larger than this, can take the
// last one astray from what exact ones would give, and those of a few products too.
double strayOf(double count, double largest);

struct Steps {
    uint32_t first;
    uint32_t count;
};

// The points of a track, of so many, that are left without most of those that are
// surely not above -1, or not below the limits, at either end.
Steps stepsInside(const double (&limits)[4], const PixelTrack& track, uint32_t count);

// Cut to a whole number toward zero; the least integer for a number that is too
// large, or none.
int32_t truncatedToInt(double value);

} // namespace quib
