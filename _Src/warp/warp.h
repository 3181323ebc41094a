// The two ways of a warp: a source rectangle onto a quadrangle, and a source
// quadrangle onto a rectangle.
#pragma once

#include "_Src/warp/quad.h"

// Both report under the caller's name, and end quietly where a region has
// nothing of its image. `interpolate` is a mode that the source is large enough
// for, with or without IPL_SMOOTH_EDGE.

// Fills the part of the quadrangle that lies in the destination's region, and
// smooths its edges if that is asked for.
void ownWarpRectToQuad(const IplImage* src, const IplImage* dst, const double quad[4][2],
                       int32_t interpolate, const char* functionName, IplWarpKind kind, bool clip);

// Fills the destination's region but for what falls outside the source's. The
// quadrangle lands on that region, or on `rectangle`, counted from its corner, which
// no caller gives.
void ownWarpQuadToRect(const IplImage* src, const IplImage* dst, const double quad[4][2],
                       int32_t interpolate, const char* functionName, IplWarpKind kind, bool clip,
                       const IplCorners* rectangle);
