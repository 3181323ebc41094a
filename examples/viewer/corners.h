// The picture warped onto a quadrangle of the frame, with a knob at each corner.
#pragma once

#include "examples/viewer/view.h"

// Starts with the picture's own corners, or ends and keeps the warp as an edit.
void toggleCorners(View* view);

// Whether a perspective takes the picture there; else it is filled by scanlines.
bool isConvex(const Corners& corners);

// The corner whose knob lies under a point of the frame, or -1.
int cornerAt(const View& view, double frameX, double frameY);

// Moves the corner that is held, by pixels of the picture; not further than the
// picture's size from it, as the time of a concave warp grows with its sides.
void moveCorner(View* view, double right, double down);

// Warps the picture into the frame and draws the knobs.
void drawCorners(View* view);
