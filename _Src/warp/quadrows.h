// Which pixels a quadrangle covers, row by row.
#pragma once

#include <cstdint>

// Scans a convex quadrangle, cut to a rectangle whose corners belong to it.
// Returns 1 when there are rows to fill: `*yFirst` to `*yLast`, each from
// `(*xStart)[y - *yFirst]` to `(*xEnd)[y - *yFirst]` inclusive; a start above
// its end is an empty row. The caller frees the two arrays by iplAlignedFree. Returns
// 0 when there are none and -1 when there is no memory for them, with nothing to free.
// `orientation` is how the corners turn, as the makers of coefficients give it.
int32_t ownQuadRows(const double quad[4][2], int32_t x1, int32_t y1, int32_t x2, int32_t y2,
                    int32_t orientation, int32_t** xStart, int32_t** xEnd, int32_t* yFirst,
                    int32_t* yLast);
