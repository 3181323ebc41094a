// Turns by right angles, where every pixel lands on a pixel.
#pragma once

#include "_Src/warp/quad.h"

// Moves the pixels of the source's rectangle turned by `quarters` quarter turns (1
// to 3), as iplRotate turns them, and shifted by (xShift, yShift), as far as they
// fall into the destination's rectangle. The images agree in depth and in the
// number of channels that take part; what lies outside the image is the caller's
// to keep out of the rectangles.
void ownMoveRightAngle(const IplImage* src, const IplCorners& from, const IplImage* dst,
                       const IplCorners& to, int32_t quarters, int64_t xShift, int64_t yShift);
