// The soft edges of a warped shape.
#pragma once

#include "_Src/ipl.h"

// Mixes the pixels just outside each slanting edge of a quadrangle, cut to a
// rectangle of the image, with those just inside, by how near the edge passes.
// Leaves bits as they are.
void ownSmoothQuadEdges(const IplImage* dst, const double quad[4][2], int32_t x1, int32_t y1,
                        int32_t x2, int32_t y2, int32_t orientation);
