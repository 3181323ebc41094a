#include "_Src/warp/warp.h"

#include "_Src/image/report.h"
#include "_Src/image/round.h"
#include "_Src/walk/raster.h"
#include "_Src/warp/quadrows.h"
#include "_Src/warp/smooth.h"
#include "kernels/kernels.h"

#include <algorithm>

namespace
{

using quib::WarpFixed;
using quib::WarpRatio;
using quib::WarpSource;
using quib::WarpTarget;

// The images, and how they are sampled.
struct Warping {
    IplRaster src;
    IplRaster dst;
    int32_t mode;
};

// Destination rows first to last, each from its start to its end, or from 0 to
// width - 1. Pixel (0, 0) is at (x, y) of the image.
struct Rows {
    int32_t first;
    int32_t last;
    const int32_t* start;
    const int32_t* end;
    int32_t width;
    int32_t x;
    int32_t y;

    int32_t startOf(int32_t row) const { return start ? start[row - first] : 0; }
    int32_t endOf(int32_t row) const { return end ? end[row - first] : width - 1; }
};

// Where destination pixels come from, and which of them are taken.
struct Mapping {
    double coeffs[3][3];
    IplWarpKind kind;
    bool tested;
    IplCorners bounds;
};

// --- Positions -----------------------------------------------------------------------

// In 16.16 fixed point, modulo 2^32.
uint32_t toFixed(double value)
{
    const double scaled = ownRound(value * 65536.0);
    constexpr double most = 9e18;
    if (!(scaled > -most && scaled < most))
        return scaled > 0.0 ? 0x7FFFFFFFu : scaled < 0.0 ? 0x80000000u : 0;
    return static_cast<uint32_t>(static_cast<int64_t>(scaled));
}

// Whole steps from one rounded start: an affine map of bytes and bits.
struct FixedMap {
    FixedMap(const Mapping& mapping, int32_t yFirst, bool nearest) : y0(yFirst)
    {
        const uint32_t half = nearest ? 0x8000 : 0;
        for (int32_t axis = 0; axis < 2; ++axis) {
            const double* c = mapping.coeffs[axis];
            start[axis] = toFixed(yFirst * c[1] + c[2]) + half;
            perColumn[axis] = toFixed(c[0]);
            perRow[axis] = toFixed(c[1]);
        }
    }
    WarpFixed run(int32_t x, int32_t y) const
    {
        const auto at = [=, this](int32_t axis) {
            return static_cast<int32_t>(start[axis] + static_cast<uint32_t>(y - y0) * perRow[axis] +
                                        static_cast<uint32_t>(x) * perColumn[axis]);
        };
        return {at(0),
                at(1),
                static_cast<int32_t>(perColumn[0]),
                static_cast<int32_t>(perColumn[1]),
                static_cast<int32_t>(perRow[0]),
                static_cast<int32_t>(perRow[1])};
    }

    // A row that is turned as a whole crosses many rows of the source.
    static constexpr int32_t blockColumns = 512;

    int32_t y0;
    uint32_t start[2];
    uint32_t perColumn[2];
    uint32_t perRow[2];
};

template<class Real>
struct RatioMap {
    WarpRatio<Real> run(int32_t x, int32_t y) const
    {
        const auto start = [=, this](int32_t axis) {
            const double* c = mapping.coeffs[axis];
            return static_cast<Real>(c[1] * y + c[2]);
        };
        const auto step = [this](int32_t axis) {
            return static_cast<Real>(mapping.coeffs[axis][0]);
        };
        const IplCorners& bounds = mapping.bounds;
        return {start(0),
                start(1),
                start(2),
                step(0),
                step(1),
                step(2),
                x,
                mapping.tested,
                static_cast<Real>(bounds.x1),
                static_cast<Real>(bounds.y1),
                static_cast<Real>(bounds.x2),
                static_cast<Real>(bounds.y2)};
    }

    static constexpr int32_t blockColumns = INT32_MAX; // measured: blocks gain nothing

    const Mapping& mapping;
};

// --- Rows ------------------------------------------------------------------------------

WarpSource sourceOf(const IplRaster& raster, int32_t plane)
{
    return {raster.row(plane, 0) + ptrdiff_t{raster.first} * raster.elementBytes, raster.step,
            raster.stride, raster.width - 1, raster.height - 1};
}

WarpTarget targetAt(const IplRaster& raster, int32_t plane, int32_t x, int32_t y)
{
    const ptrdiff_t element = static_cast<ptrdiff_t>(x) * raster.stride + raster.first;
    return {raster.row(plane, y) + element * raster.elementBytes, raster.stride, raster.channels,
            x};
}

// So many rows are filled at a time, and of them so many columns as their map says,
// one block after the other: what a turned row reads of the source is still in the
// caches for the next one.
constexpr int32_t blockRows = 64;

// Calls work(y, start, end) for the rows first to last, within some columns.
template<class Work>
void forEachRowIn(const Rows& rows, int32_t first, int32_t last, int32_t left, int32_t right,
                  Work work)
{
    for (int32_t y = first; y <= last; ++y) {
        const int32_t start = std::max(rows.startOf(y), left);
        const int32_t end = std::min(rows.endOf(y), right);
        if (start <= end)
            work(y, start, end);
    }
}

// The same for all columns, so many at a time.
template<class Work>
void forEachBlockRow(const Rows& rows, int32_t first, int32_t last, int32_t columns, Work work)
{
    int32_t left = INT32_MAX;
    int32_t right = INT32_MIN;
    const auto widen = [&](int32_t, int32_t start, int32_t end) {
        left = std::min(left, start);
        right = std::max(right, end);
    };
    forEachRowIn(rows, first, last, INT32_MIN, INT32_MAX, widen);
    for (int64_t x = left; x <= right; x += columns) {
        const int64_t end = std::min<int64_t>(x + columns - 1, right);
        forEachRowIn(rows, first, last, static_cast<int32_t>(x), static_cast<int32_t>(end), work);
    }
}

template<class Kernel, class Map>
void fillRows(const Warping& warping, const Rows& rows, Kernel kernel, const Map& map)
{
    for (int32_t plane = 0; plane < warping.dst.planes; ++plane) {
        const WarpSource source = sourceOf(warping.src, plane);
        const auto fillRun = [&](int32_t y, int32_t start, int32_t end) {
            kernel(targetAt(warping.dst, plane, rows.x + start, rows.y + y), source,
                   map.run(start, y), static_cast<size_t>(end) - start + 1);
        };
        for (int32_t y = rows.first; y <= rows.last; y += blockRows)
            forEachBlockRow(rows, y, rows.last - y < blockRows ? rows.last : y + blockRows - 1,
                            Map::blockColumns, fillRun);
    }
}

void fill(const Warping& warping, const Rows& rows, const Mapping& mapping)
{
    const quib::WarpKernels& warp = quib::kernels().warp;
    const int32_t mode = warping.mode;
    const bool affine = mapping.kind == IPL_WARP_AFFINE;
    const FixedMap fixed(mapping, rows.first, mode == IPL_INTER_NN);
    const RatioMap<float> narrow{mapping};
    const RatioMap<double> wide{mapping};
    switch (warping.dst.elementBytes) {
    case 0:
        return affine ? fillRows(warping, rows, warp.fixedBits, fixed)
                      : fillRows(warping, rows, warp.ratioBits, narrow);
    case 1:
        return affine ? fillRows(warping, rows, warp.fixed8[mode], fixed)
                      : fillRows(warping, rows, warp.ratio8[mode], narrow);
    case 2:
        return fillRows(warping, rows, warp.ratio16[mode], wide);
    default:
        return fillRows(warping, rows, warp.ratioFloat[mode], wide);
    }
}

// --- Images ----------------------------------------------------------------------------

// False, with a report, if the images work on different numbers of channels;
// false if there are none.
bool openImages(const IplCaller& caller, const IplImage* src, const IplImage* dst, int32_t mode,
                Warping* warping)
{
    if (!ownRequire(caller, ownProcessedChannels(src) == ownProcessedChannels(dst),
                    "Number of processed channels of srcImage != "
                    "Number of processed channels of dstImage"))
        return false;
    warping->mode = mode;
    return !src->tileInfo && !dst->tileInfo && ownRegionStart(src, &warping->src) &&
           ownRegionStart(dst, &warping->dst) && warping->dst.channels > 0;
}

// The coefficients of either kind, and how the quadrangle turns.
int32_t setCoeffs(Mapping* mapping, const IplCorners& rectangle, const double quad[4][2],
                  int32_t forward)
{
    const IplCorners& r = rectangle;
    int32_t orientation = 0;
    if (mapping->kind == IPL_WARP_AFFINE) {
        ownAffineFromQuad(r.x1, r.y1, r.x2, r.y2, quad, mapping->coeffs, &orientation, forward);
        const double one[3]{0.0, 0.0, 1.0};
        std::copy_n(one, 3, mapping->coeffs[2]);
    } else {
        ownPerspectiveFromQuad(r.x1, r.y1, r.x2, r.y2, quad, mapping->coeffs, &orientation,
                               forward);
    }
    return orientation;
}

bool holds(const IplCorners& rectangle, const double quad[4][2])
{
    return std::all_of(quad, quad + 4, [&](const double* corner) {
        return corner[0] >= rectangle.x1 && corner[0] <= rectangle.x2 &&
               corner[1] >= rectangle.y1 && corner[1] <= rectangle.y2;
    });
}

} // namespace

void ownWarpRectToQuad(const IplImage* src, const IplImage* dst, const double quad[4][2],
                       int32_t interpolate, const char* functionName, IplWarpKind kind, bool clip)
{
    const IplCaller caller{functionName, "iplwarp"};
    int32_t height = 0;
    int32_t width = 0;
    if (!ownRoiSize(src, &height, &width, clip))
        return;
    if (!ownRequire(caller, height > 1 && width > 1,
                    "srcImage Rectangle ROI is degenerate to length or point"))
        return;
    IplCorners from{};
    IplCorners to{};
    if (!ownRoiCorners(src, &from, clip) || !ownRoiCorners(dst, &to, clip))
        return;
    Mapping mapping{{}, kind, false, {}};
    const int32_t orientation = setCoeffs(&mapping, from, quad, 0);
    Warping warping{};
    if (!openImages(caller, src, dst, interpolate & ~IPL_SMOOTH_EDGE, &warping))
        return;
    int32_t* start = nullptr;
    int32_t* end = nullptr;
    Rows rows{};
    const int32_t found = ownQuadRows(quad, to.x1, to.y1, to.x2, to.y2, orientation, &start, &end,
                                      &rows.first, &rows.last);
    if (found < 0)
        ownReport(caller, IPL_StsBackTrace, "");
    if (found <= 0)
        return;
    rows.start = start;
    rows.end = end;
    fill(warping, rows, mapping);
    iplAlignedFree(start);
    iplAlignedFree(end);
    if ((interpolate & IPL_SMOOTH_EDGE) && iplGetStatus() >= 0)
        ownSmoothQuadEdges(dst, quad, to.x1, to.y1, to.x2, to.y2, orientation);
}

void ownWarpQuadToRect(const IplImage* src, const IplImage* dst, const double quad[4][2],
                       int32_t interpolate, const char* functionName, IplWarpKind kind, bool clip,
                       const IplCorners* rectangle)
{
    const IplCaller caller{functionName, "iplwarp"};
    int32_t height = 0;
    int32_t width = 0;
    if (!ownRoiSize(dst, &height, &width, clip))
        return;
    if (!ownRequire(caller, height > 1 && width > 1,
                    "dstImage Rectangle ROI is degenerate to length or point"))
        return;
    Warping warping{};
    Mapping mapping{{}, kind, false, {}};
    if (!openImages(caller, src, dst, interpolate & ~IPL_SMOOTH_EDGE, &warping) ||
        !ownRoiCorners(src, &mapping.bounds, clip))
        return;
    const IplCorners to = rectangle ? *rectangle : IplCorners{0, 0, width - 1, height - 1};
    setCoeffs(&mapping, to, quad, 1);
    mapping.tested = !holds(mapping.bounds, quad);
    const IplRect& region = warping.dst.region;
    fill(warping, {0, height - 1, nullptr, nullptr, width, region.x, region.y}, mapping);
}
