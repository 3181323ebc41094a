#include "_Src/image/report.h"
#include "_Src/ipl.h"
#include "_Src/walk/region.h"
#include "_Src/warp/angle.h"
#include "_Src/warp/quad.h"
#include "_Src/warp/rightangle.h"
#include "_Src/warp/warp.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr IplCaller callerNamed(const char* functionName)
{
    return {functionName, "iplwarp"};
}

bool roiCorners(const IplCaller& caller, const IplImage* image, IplCorners* rectangle)
{
    if (ownRoiCorners(image, rectangle, true))
        return true;
    ownReport(caller, IPL_StsBadArg, "Bad rect ROI");
    return false;
}

// Where the coefficients take the image's region.
void getQuad(const IplCaller& caller, const IplImage* image, const double (*coeffs)[3],
             IplWarpKind kind, double quad[4][2])
{
    IplCorners rectangle{};
    if (ownImageIsGood(caller, image) && roiCorners(caller, image, &rectangle))
        ownQuadCorners(rectangle, coeffs, kind, quad);
}

// False, with a report, unless the quadrangle is convex.
bool quadIsConvex(const IplCaller& caller, const double quad[4][2])
{
    const int32_t quadClass = ownClassifyQuad(quad);
    if (quadClass == IPL_QUAD_DEGENERATE)
        ownReport(caller, IPL_StsBadArg, "Quadrangle is degenerate to triangle or length or point");
    if (quadClass == IPL_QUAD_CONCAVE)
        ownReport(caller, IPL_StsBadArg, "Quadrangle is concave");
    return quadClass >= 0;
}

// --- Checks of the warps ---------------------------------------------------------------

// Reports everything that is wrong with the images, one after the other; false
// if anything is, or if an earlier quiet check left a failure behind. What
// checkMore() finds comes last but one.
template<class CheckMore>
bool mayWarp(const IplCaller& caller, const IplImage* src, const IplImage* dst, CheckMore checkMore)
{
    if (!ownImageIsGood(caller, src) || !ownImageIsGood(caller, dst))
        return false;
    ownRequire(caller, src->depth == dst->depth, "srcImage->depth != dstImage->depth");
    ownRequire(caller, src->origin == dst->origin, "srcImage->origin != dstImage->origin");
    const bool anyOrder =
        src->depth == IPL_DEPTH_1U || (src->nChannels == 1 && dst->nChannels == 1);
    ownRequire(caller, anyOrder || src->dataOrder == dst->dataOrder,
               "srcImage->dataOrder != dstImage->dataOrder");
    ownRequire(caller, (src->depth & IPL_DEPTH_SIGN) == 0, "srcImage->depth & IPL_DEPTH_SIGN");
    checkMore();
    ownRequire(caller, src != dst, "This function is not in-place function");
    return iplGetStatus() >= 0;
}

bool mayWarp(const IplCaller& caller, const IplImage* src, const IplImage* dst)
{
    return mayWarp(caller, src, dst, [] {});
}

// Lowers the mode to what the source is large enough for; false, with a report,
// if it is none.
bool adjustMode(const IplCaller& caller, const IplImage* src, int32_t* interpolate)
{
    const int32_t flag = *interpolate & IPL_SMOOTH_EDGE;
    int32_t mode = *interpolate & ~IPL_SMOOTH_EDGE;
    if (!ownRequire(caller,
                    mode == IPL_INTER_NN || mode == IPL_INTER_LINEAR || mode == IPL_INTER_CUBIC,
                    "interpolate != IPL_INTER_NN && interpolate != IPL_INTER_LINEAR && "
                    "interpolate != IPL_INTER_CUBIC"))
        return false;
    if (src->depth == IPL_DEPTH_1U || src->width == 1 || src->height == 1)
        mode = IPL_INTER_NN;
    else if (mode == IPL_INTER_CUBIC && (src->width < 4 || src->height < 4))
        mode = IPL_INTER_LINEAR;
    *interpolate = mode | flag;
    return true;
}

// --- Turns by right angles ---------------------------------------------------------------

bool isTiled(const IplImage* image)
{
    return image && image->tileInfo;
}

// The number of quarters in an angle of less than one turn, or 0.
int32_t quartersOf(double degrees)
{
    return degrees == 90.0 ? 1 : degrees == 180.0 ? 2 : degrees == 270.0 ? 3 : 0;
}

// Past this no shift leaves anything in an image.
int64_t wholeShift(double shift)
{
    constexpr double most = 1e12;
    return static_cast<int64_t>(std::clamp(shift, -most, most));
}

void rotateRightAngle(const IplCaller& caller, const IplImage* src, const IplImage* dst,
                      int32_t quarters, double xShift, double yShift)
{
    if (!mayWarp(caller, src, dst) ||
        !ownRequire(caller, ownProcessedChannels(src) == ownProcessedChannels(dst),
                    "Number of processed channels of srcImage != "
                    "Number of processed channels of dstImage"))
        return;
    IplCorners from{};
    IplCorners to{};
    if (ownRoiCorners(src, &from, true) && ownRoiCorners(dst, &to, true))
        ownMoveRightAngle(src, from, dst, to, quarters, wholeShift(xShift), wholeShift(yShift));
}

} // namespace

// --- Geometry ----------------------------------------------------------------------

void iplGetAffineQuad(const IplImage* image, const double coeffs[2][3], double quad[4][2])
{
    getQuad(callerNamed("iplGetAffineQuad"), image, coeffs, IPL_WARP_AFFINE, quad);
}

void iplGetAffineBound(const IplImage* image, const double coeffs[2][3], double bound[2][2])
{
    double quad[4][2]{};
    iplGetAffineQuad(image, coeffs, quad);
    if (!ownBackTrace(callerNamed("iplGetAffineBound")))
        ownBoundOfQuad(quad, bound);
}

void iplGetPerspectiveQuad(const IplImage* image, const double coeffs[3][3], double quad[4][2])
{
    getQuad(callerNamed("iplGetPerspectiveQuad"), image, coeffs, IPL_WARP_PERSPECTIVE, quad);
}

void iplGetPerspectiveBound(const IplImage* image, const double coeffs[3][3], double bound[2][2])
{
    double quad[4][2]{};
    iplGetPerspectiveQuad(image, coeffs, quad);
    if (!ownBackTrace(callerNamed("iplGetPerspectiveBound")))
        ownBoundOfQuad(quad, bound);
}

void iplGetPerspectiveTransform(const IplImage* image, double coeffs[3][3], const double quad[4][2])
{
    const IplCaller caller = callerNamed("iplGetPerspectiveTransform");
    IplCorners rectangle{};
    if (!ownImageIsGood(caller, image) || !quadIsConvex(caller, quad) ||
        !roiCorners(caller, image, &rectangle))
        return;
    if (!ownRequire(caller, rectangle.x2 > rectangle.x1 && rectangle.y2 > rectangle.y1,
                    "image Rectangle ROI is degenerate to length or point"))
        return;
    int32_t orientation = 0;
    ownPerspectiveFromQuad(rectangle.x1, rectangle.y1, rectangle.x2, rectangle.y2, quad, coeffs,
                           &orientation, 1);
}

void iplGetRotateShift(double xCenter, double yCenter, double angle, double* xShift, double* yShift)
{
    const double reduced = ownReduceDegrees(angle);
    if (reduced == 0.0)
        return;
    if (reduced == 90.0) {
        *xShift += xCenter - yCenter;
        *yShift += yCenter + xCenter;
    } else if (reduced == 180.0) {
        *xShift += 2 * xCenter;
        *yShift += 2 * yCenter;
    } else if (reduced == 270.0) {
        *xShift += yCenter + xCenter;
        *yShift += yCenter - xCenter;
    } else {
        const IplTurn turn = ownTurn(reduced * radiansPerDegree);
        *xShift += (xCenter - turn.cosine * xCenter) - yCenter * turn.sine;
        *yShift += (turn.sine * xCenter + yCenter) - yCenter * turn.cosine;
    }
}

// --- Warps -----------------------------------------------------------------------------

void iplWarpAffine(IplImage* src, IplImage* dst, const double coeffs[2][3], int32_t interpolate)
{
    const IplCaller caller = callerNamed("iplWarpAffine");
    if (!mayWarp(caller, src, dst))
        return;
    const double determinant = coeffs[0][0] * coeffs[1][1] - coeffs[1][0] * coeffs[0][1];
    if (!ownRequire(caller, std::fabs(determinant) > 1e-7,
                    "Determinant of transform matrix == 0.0"))
        return;
    double quad[4][2]{};
    iplGetAffineQuad(src, coeffs, quad);
    if (!ownBackTrace(caller) && adjustMode(caller, src, &interpolate))
        ownWarpRectToQuad(src, dst, quad, interpolate, caller.functionName, IPL_WARP_AFFINE, true);
}

void iplWarpPerspective(IplImage* src, IplImage* dst, const double coeffs[3][3], int32_t warpFlag,
                        int32_t interpolate)
{
    const IplCaller caller = callerNamed("iplWarpPerspective");
    double quad[4][2]{};
    iplGetPerspectiveQuad(warpFlag == 0 ? src : dst, coeffs, quad);
    if (ownBackTrace(caller))
        return;
    iplWarpPerspectiveQ(src, dst, quad, warpFlag, interpolate);
    ownBackTrace(caller);
}

void iplWarpPerspectiveQ(IplImage* src, IplImage* dst, const double quad[4][2], int32_t warpFlag,
                         int32_t interpolate)
{
    const IplCaller caller = callerNamed("iplWarpPerspectiveQ");
    const auto checkFlag = [&] {
        ownRequire(caller, warpFlag == 0 || warpFlag == 1, "warpFlag != 0 && warpFlag != 1");
    };
    if (!mayWarp(caller, src, dst, checkFlag) || !quadIsConvex(caller, quad) ||
        !adjustMode(caller, src, &interpolate))
        return;
    if (warpFlag == 0)
        ownWarpRectToQuad(src, dst, quad, interpolate, caller.functionName, IPL_WARP_PERSPECTIVE,
                          true);
    else
        ownWarpQuadToRect(src, dst, quad, interpolate, caller.functionName, IPL_WARP_PERSPECTIVE,
                          true, nullptr);
}

void iplRotate(IplImage* src, IplImage* dst, double angle, double xShift, double yShift,
               int32_t interpolate)
{
    const IplCaller caller = callerNamed("iplRotate");
    const double degrees = ownReduceDegrees(angle);
    const int32_t quarters = quartersOf(degrees);
    if (quarters != 0 && !isTiled(src) && !isTiled(dst) && xShift == std::floor(xShift) &&
        yShift == std::floor(yShift)) {
        rotateRightAngle(caller, src, dst, quarters, xShift, yShift);
        return;
    }
    IplTurn turn = ownTurn(degrees * radiansPerDegree);
    if (quarters != 0)
        turn = {static_cast<double>((2 - quarters) % 2), quarters == 2 ? -1.0 : 0.0};
    const double coeffs[2][3]{{turn.cosine, turn.sine, xShift}, {-turn.sine, turn.cosine, yShift}};
    iplWarpAffine(src, dst, coeffs, interpolate);
    ownBackTrace(caller);
}
