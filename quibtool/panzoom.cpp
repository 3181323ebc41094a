#include "quibtool/panzoom.h"

#include "_Src/ipl.h"
#include "quibtool/handle.h"
#include "quibtool/stretch/tables.h"
#include "quibtool/transfer.h"

#include <algorithm>
#include <cmath>

using namespace quib;

namespace
{

// One axis of a view. The source's edges may lie anywhere; comparisons with
// what is no number fail, and so refuse it.
struct ViewAxis {
    double srcLow; // whole
    double srcHigh;
    double dstLow;
    double dstHigh;
    double start; // of the samples, counted from srcLow
    double step;
    double srcSpan; // before anything was truncated
    double dstSpan;
};

ViewAxis makeAxis(double src, double step, double dstLow, double dstHigh)
{
    ViewAxis axis{};
    axis.step = step;
    axis.dstSpan = dstHigh - dstLow;
    axis.srcSpan = step * axis.dstSpan;
    axis.dstLow = std::trunc(dstLow);
    axis.dstHigh = std::trunc(dstHigh);
    // The far edge goes by the origin as given, the near one by the origin that
    // lies under the truncated edge.
    const double shifted = src - (dstLow - axis.dstLow) * step;
    axis.srcLow = std::trunc(shifted);
    axis.srcHigh = std::trunc(src + axis.srcSpan);
    axis.start = shifted - axis.srcLow;
    return axis;
}

bool hasSpan(const ViewAxis& axis)
{
    return axis.srcSpan > 1.0 && axis.dstSpan > 1.0 && axis.srcHigh - axis.srcLow > 0 &&
           axis.dstHigh - axis.dstLow > 0;
}

int32_t saturated(double whole)
{
    return static_cast<int32_t>(std::clamp(whole, double{INT32_MIN}, double{INT32_MAX}));
}

int32_t dstSize(const ViewAxis& axis)
{
    return saturated(axis.dstHigh - axis.dstLow);
}

// Both sides of a view whose rectangles meet their images.
struct ViewSides {
    IplImage* src;
    IplImage* dst;
    QuibRect from;     // inside the source
    TransferRegion to; // a corner inside the destination
};

TransferRegion sourceRegion(const ViewSides& sides)
{
    const QuibRect& from = sides.from;
    return {from.left, from.top, from.right - from.left, from.bottom - from.top};
}

BlockWalk walkFrom(const IplImage* handle, const TransferRegion& region)
{
    return ownWalkFrom(handle, static_cast<size_t>(handle->widthStep), region.x, region.y, 4);
}

QuibStatus stretchView(const ViewSides& sides, const ViewAxis& x, const ViewAxis& y, int32_t mode)
{
    const TransferRegion region = sourceRegion(sides);
    const BlockWalk from = walkFrom(sides.src, region);
    const BlockWalk to = walkFrom(sides.dst, sides.to);
    const bool done = StretchPanZoom32(ownStretchTarget(to, sides.to.width, sides.to.height),
                                       ownStretchSource(from, region.width, region.height), mode,
                                       x.start, y.start, x.step, y.step);
    return done ? QUIB_OK : QUIB_FAILED;
}

} // namespace

void BuildPanZoomTable(uint32_t dstN, uint32_t srcN, uint32_t* weight, uint32_t* idx0,
                       uint32_t* idx1, int32_t mode, double start, double step)
{
    const uint32_t last = srcN - 1;
    const auto hold = [&](uint32_t i, uint32_t index) {
        idx0[i] = index;
        if (mode == STRETCH_NEAREST)
            return;
        idx1[i] = index;
        weight[i] = mode == STRETCH_LINEAR ? 0xFFFFFFFFu : 0;
    };
    double position = start;
    for (uint32_t i = 0; i < dstN; ++i, position += step) {
        if (!(position >= 0.0)) {
            hold(i, 0);
        } else if (position >= last) {
            hold(i, last);
        } else {
            const uint32_t whole = static_cast<uint32_t>(position);
            idx0[i] = whole;
            if (mode == STRETCH_NEAREST)
                continue;
            idx1[i] = whole + 1;
            weight[i] = ownStretchWeight(position - whole, mode) * 0x01010101u;
        }
    }
}

bool StretchPanZoom32(const StretchTarget& to, const StretchSource& from, int32_t mode,
                      double startX, double startY, double stepX, double stepY)
{
    const StretchTarget cut = ownCutToBlock(to);
    if (cut.width == 0 || cut.height == 0)
        return true;
    const StretchTables tables(cut.width, cut.height, mode == STRETCH_NEAREST ? 0 : 2);
    if (!tables.exist())
        return false;
    const StretchAxis& x = tables.x;
    const StretchAxis& y = tables.y;
    BuildPanZoomTable(cut.width, from.width, x.weight, x.idx0, x.idx1, mode, startX, stepX);
    BuildPanZoomTable(cut.height, from.height, y.weight, y.idx0, y.idx1, mode, startY, stepY);
    ownStretch32(cut, from, tables);
    return true;
}

QuibStatus QuibBlt_PANZOOM(IplImage* src, double srcX, double stepX, double srcY, double stepY,
                           IplImage* dst, double dstLeft, double dstRight, double dstTop,
                           double dstBottom, int32_t mode)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    if (!QuibIsValid(dst))
        return QUIB_BAD_ARGUMENT;
    if (const int32_t status = iplCheckImage(src))
        return status;
    if (const int32_t status = iplCheckImage(dst))
        return status;
    const ViewAxis x = makeAxis(srcX, stepX, dstLeft, dstRight);
    const ViewAxis y = makeAxis(srcY, stepY, dstTop, dstBottom);
    if (!hasSpan(x) || !hasSpan(y))
        return QUIB_BAD_ARGUMENT;
    QuibRect from{saturated(x.srcLow), saturated(y.srcLow), saturated(x.srcHigh),
                  saturated(y.srcHigh)};
    QuibRect to{saturated(x.dstLow), saturated(y.dstLow), saturated(x.dstHigh),
                saturated(y.dstHigh)};
    if (!ownMeetImage(&from, src) || !ownMeetImage(&to, dst))
        return QUIB_BAD_ARGUMENT;
    const ViewSides sides{src, dst, from, {to.left, to.top, dstSize(x), dstSize(y)}};
    if (src->nChannels != 4 || dst->nChannels != 4)
        return ownResizeRegions(src, sourceRegion(sides), dst, sides.to, mode);
    return stretchView(sides, x, y, mode);
}
