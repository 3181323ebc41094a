// The warp onto any quadrangle, by scanlines and without interpolation.
#pragma once

#include <cstdint>

// Whether a quadrangle's corners all turn the same way and none of them is nearly
// straight; the last one less nearly than the others.
bool QuibIsConvexQuad(const double (*quad)[2]);

// Places the source's quadrangle on the destination's, corner by corner. Pixels are
// 32-bit words, whatever they hold; points outside either image are left out, and
// so are the columns whose words a row has no room for. Draws nothing without
// memory for its row tables, nor, for a quadrangle that is much larger than the
// destination, for a bit per pixel.
//
// A quadrangle of more than longestExactWalk pixels (longwalk.h) is thinned out.
void QuibWarpQuadFallback(uint8_t* dstPixels, int32_t dstWidth, int32_t dstHeight, int32_t dstStep,
                          const double (*dstQuad)[2], const uint8_t* srcPixels, int32_t srcWidth,
                          int32_t srcHeight, int32_t srcStep, const double (*srcQuad)[2]);

// Draws one scanline, from the left point to the right one, through tables of the
// rows' addresses. One that is shorter than about 1.5 pixels leaves no mark.
void QuibWarpQuadScan(uint8_t* const* dstRows, int32_t dstWidth, int32_t dstHeight, double leftX,
                      double leftY, double rightX, double rightY, const uint8_t* const* srcRows,
                      int32_t srcWidth, int32_t srcHeight, double srcLeftX, double srcLeftY,
                      double srcRightX, double srcRightY);
