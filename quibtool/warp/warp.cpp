// The exported warps.
#include "_Src/ipl.h"
#include "_Src/warp/angle.h"
#include "quibtool/handle.h"
#include "quibtool/startup.h"
#include "quibtool/warp/fallback.h"
#include "quibtool/warp/guard.h"
#include "quibtool/warp/scanline.h"

#include <algorithm>
#include <cmath>

using namespace quib;

namespace
{

// --- Destinations of a bound's size ------------------------------------------------

// As many whole pixels as lie between the limits, plus one; what does not fit in
// an integer is no size.
int32_t sizeBetween(double low, double high)
{
    return static_cast<int32_t>(static_cast<uint32_t>(truncatedToInt(high - low)) + 1);
}

// What the variable held is not freed. If no handle can be made, the engine
// refuses what it holds.
void createForBound(const double (&bound)[2][2], IplImage** dst)
{
    QuibCreate(sizeBetween(bound[0][0], bound[1][0]), sizeBetween(bound[0][1], bound[1][1]), 32,
               dst, 0);
}

// --- Turns -------------------------------------------------------------------------

// Keeps the cosine away from zero, and more angles than need it.
double turnedBy(double angle)
{
    return truncatedToInt(angle) % 90 == 0 ? angle + 1.0 : angle;
}

void setTurn(double angle, int32_t axis, double (&coeffs)[2][3])
{
    const IplTurn turn = ownTurn(turnedBy(angle) * 0.01745329252);
    if (axis == 1) {
        coeffs[1][1] = turn.cosine;
    } else if (axis == 2) {
        coeffs[0][0] = turn.cosine;
    } else if (axis == 3) {
        coeffs[0][0] = turn.cosine;
        coeffs[0][1] = -turn.sine;
        coeffs[1][0] = turn.sine;
        coeffs[1][1] = turn.cosine;
    }
}

// --- Quadrangles --------------------------------------------------------------------

struct Box {
    int64_t width;
    int64_t height;

    bool isThin() const { return width <= 1 || height <= 1; }
};

int64_t boxSide(const double (*quad)[2], int32_t axis)
{
    const auto [low, high] =
        std::minmax({quad[0][axis], quad[1][axis], quad[2][axis], quad[3][axis]});
    return int64_t{truncatedToInt(high + 0.5)} - truncatedToInt(low - 0.5);
}

Box boxOf(const double (*quad)[2])
{
    return {boxSide(quad, 0), boxSide(quad, 1)};
}

int32_t clampedToInt(int64_t value)
{
    return static_cast<int32_t>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}

struct QuadWarp {
    IplImage* src;
    IplImage* dst;
    const double (*quad)[2];
    int32_t interpolate;
    bool warpFlag;
};

void warpByEngine(void* context)
{
    const QuadWarp* warp = static_cast<const QuadWarp*>(context);
    iplWarpPerspectiveQ(warp->src, warp->dst, warp->quad, warp->warpFlag, warp->interpolate);
}

// Whether the engine's warp came back, whatever it reported.
bool warpGuarded(QuadWarp* warp)
{
    if (!engineQuadWarpEnabled || !quibProcessorFlag || !QuibIsConvexQuad(warp->quad))
        return false;
    // Not every system raises something that could be caught.
    if (!ownIsMapped(warp->dst) || !ownCallGuarded(warpByEngine, warp))
        engineQuadWarpEnabled = 0;
    return engineQuadWarpEnabled;
}

QuibStatus warpByScanlines(const QuadWarp& warp, const QuibInfo& to, const QuibInfo& from)
{
    void* dst = nullptr;
    void* src = nullptr;
    QuibLockData(warp.dst, &dst);
    QuibLockData(warp.src, &src);
    if (!dst || !src)
        return QUIB_BAD_ARGUMENT;
    const double width = from.width;
    const double height = from.height;
    const double whole[4][2] = {{0, 0}, {width, 0}, {width, height}, {0, height}};
    QuibWarpQuadFallback(static_cast<uint8_t*>(dst), to.width, to.height, to.widthStep, warp.quad,
                         static_cast<const uint8_t*>(src), from.width, from.height, from.widthStep,
                         whole);
    QuibUnlockData(warp.dst);
    QuibUnlockData(warp.src);
    return QUIB_OK;
}

} // namespace

QuibStatus QUIBRotate3D(double angle, IplImage* src, IplImage** dst, int32_t axis)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    double coeffs[2][3] = {{1, 0, 0}, {0, 1, 0}};
    setTurn(angle, axis, coeffs);
    double bound[2][2] = {};
    iplGetAffineBound(src, coeffs, bound);
    createForBound(bound, dst);
    coeffs[0][2] = -bound[0][0];
    coeffs[1][2] = -bound[0][1];
    iplWarpAffine(src, *dst, coeffs, IPL_INTER_LINEAR);
    return QUIB_OK;
}

QuibStatus QUIBWarpAffine(IplImage* src, IplImage** dst, const double (*coeffs)[3],
                          int32_t interpolate)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    double bound[2][2] = {};
    iplGetAffineBound(src, coeffs, bound);
    createForBound(bound, dst);
    iplWarpAffine(src, *dst, coeffs, interpolate & 0xFF);
    return QUIB_OK;
}

QuibStatus QUIBWarpPerspective(IplImage* src, IplImage** dst, const double (*coeffs)[3],
                               int32_t warpFlag, int32_t interpolate)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    double bound[2][2] = {};
    iplGetPerspectiveBound(src, coeffs, bound);
    createForBound(bound, dst);
    iplWarpPerspective(src, *dst, coeffs, warpFlag, interpolate & 0xFF);
    return QUIB_OK;
}

QuibStatus QUIBWarpPerspectiveQ_(IplImage* src, IplImage** dst, const double (*const quad)[2],
                                 int interpolate, bool warpFlag)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    const Box box = boxOf(quad);
    if (!*dst)
        QuibCreate(clampedToInt(box.width), clampedToInt(box.height), 32, dst, 0);
    if (box.isThin())
        return QUIB_OK;
    if (!QuibIsConvexQuad(quad))
        return QUIB_BAD_ARGUMENT;
    iplWarpPerspectiveQ(src, *dst, quad, warpFlag, interpolate);
    return QUIB_OK;
}

QuibStatus QUIBWarpPerspectiveQ(IplImage* src, IplImage** dst, const double (*quad)[2],
                                int32_t interpolate, bool warpFlag)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    QuibInfo from{};
    ownGetInfo(src, &from);
    if (!*dst)
        QuibCreate(from.width, from.height, from.bitDepth, dst, 0);
    if (!*dst)
        return QUIB_BAD_ARGUMENT;
    QuibInfo to{};
    QuibGetInfo(*dst, &to);
    if (boxOf(quad).isThin())
        return QUIB_OK;
    QuadWarp warp{src, *dst, quad, interpolate, warpFlag};
    return warpGuarded(&warp) ? QUIB_OK : warpByScanlines(warp, to, from);
}

QuibStatus QUIBGetPerspectiveQuad(const IplImage* src, const double (*coeffs)[3], double (*quad)[2])
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    iplGetPerspectiveQuad(src, coeffs, quad);
    return QUIB_OK;
}

QuibStatus QUIBPerspectiveTransform(const IplImage* src, double (*coeffs)[3],
                                    const double (*quad)[2])
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    iplGetPerspectiveTransform(src, coeffs, quad);
    return QUIB_OK;
}
