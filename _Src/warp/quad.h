// Rectangles, the quadrangles that they become under a transform, and the way
// back from a quadrangle to coefficients. Pure functions.
//
// Coordinates are of whole-image pixels; both corners of a rectangle belong to
// it, so that one of a single pixel has no width. A quadrangle's corners are the
// images of (x1, y1), (x2, y1), (x2, y2), (x1, y2), in this order. Coefficients
// are in row order: affine x' = c0 x + c1 y + c2, y' = c3 x + c4 y + c5;
// perspective the same over c6 x + c7 y + c8.
#pragma once

#include "_Src/ipl.h"

struct IplCorners {
    int32_t x1;
    int32_t y1;
    int32_t x2;
    int32_t y2;
};

// The image's region of interest, with `clip` as much of it as lies inside the
// image; false if that is nothing. Without one, the whole image.
bool ownRoiCorners(const IplImage* image, IplCorners* rectangle, bool clip);
// Its size in pixels, by the same rules.
bool ownRoiSize(const IplImage* image, int32_t* height, int32_t* width, bool clip);

// The kinds of warps, by their coefficients.
enum IplWarpKind : int32_t {
    IPL_WARP_AFFINE = 0,      // two rows
    IPL_WARP_PERSPECTIVE = 2, // three rows
};

// Where a rectangle's corners go. A perspective denominator of 0 gives
// infinities or values that are not numbers.
void ownQuadCorners(const IplCorners& rectangle, const double (*coeffs)[3], IplWarpKind kind,
                    double quad[4][2]);

// Least x and y, greatest x and y.
void ownBoundOfQuad(const double quad[4][2], double bound[2][2]);

// How a quadrangle's corners turn: 1 all to the one side, 0 all to the other, -4
// not all alike, also where one is not a number; -5 if any is exactly straight.
enum IplQuadClass : int32_t {
    IPL_QUAD_REVERSED = 0,
    IPL_QUAD_DIRECT = 1,
    IPL_QUAD_CONCAVE = -4,
    IPL_QUAD_DEGENERATE = -5,
};
int32_t ownClassifyQuad(const double quad[4][2]);

// The coefficients that take the rectangle onto the quadrangle, with `forward`
// not 0, or the quadrangle onto the rectangle. The affine form uses the first
// three corners only. The perspective one is the closed form of P. Heckbert,
// "Fundamentals of Texture Mapping and Image Warping", 1989, section 2.2.3; its
// way back is the adjugate, not normalised. `orientation` becomes 1 if the
// corners turn as those of the rectangle do, otherwise 0.
void ownAffineFromQuad(int32_t x1, int32_t y1, int32_t x2, int32_t y2, const double quad[4][2],
                       double coeffs[2][3], int32_t* orientation, int32_t forward);
void ownPerspectiveFromQuad(int32_t x1, int32_t y1, int32_t x2, int32_t y2, const double quad[4][2],
                            double coeffs[3][3], int32_t* orientation, int32_t forward);
