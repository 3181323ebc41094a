#include "_Src/image/report.h"
#include "_Src/ipl.h"
#include "_Src/warp/angle.h"
#include "_Src/warp/quad.h"

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
