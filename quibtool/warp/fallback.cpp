#include "quibtool/warp/fallback.h"

#include "_Src/image/scratch.h"
#include "kernels/kernels.h"
#include "quibtool/warp/longwalk.h"
#include "quibtool/warp/scanline.h"

#include <algorithm>
#include <cmath>

using namespace quib;

namespace
{

// --- Scanlines ---------------------------------------------------------------------

void drawScanline(const ScanRows& rows, const double (&ends)[8])
{
    constexpr uint32_t fewPixels = 8192;
    PixelTrack track;
    const uint32_t count = startScanline(ends, &track);
    Steps steps{0, count};
    if (count > fewPixels)
        steps = stepsInside(rows.limits, track, count);
    if (steps.count == 0)
        return;
    advance(&track, steps.first);
    kernels().scan.move(rows, track.at, track.step, steps.count);
}

void drawScanlines(const ScanRows& rows, EndTrack track, uint32_t count)
{
    for (; count > 0; --count, advanceOnce(&track))
        drawScanline(rows, track.at);
}

// Where right ends come to be no numbers, or too large ones, no scanline but the
// first has more than its first pixel.
void drawLeftEnds(const ScanRows& rows, EndTrack track, uint32_t count)
{
    PixelTrack left;
    for (int32_t i = 0; i < 4; ++i) {
        const int32_t end = i < 2 ? i : i + 2;
        left.at[i] = track.at[end] + 0.5;
        left.step[i] = track.step[end];
    }
    const Steps inside = stepsInside(rows.limits, left, count);
    if (inside.first > 0 || inside.count == 0)
        drawScanline(rows, track.at);
    advance(&track, inside.first);
    drawScanlines(rows, track, inside.count);
}

// --- Quadrangles -----------------------------------------------------------------------

// About how many pixels single steps over all scanlines would pass.
double stepsOf(const EndTrack& track, uint32_t count)
{
    double ends[8];
    for (int32_t i = 0; i < 8; ++i)
        ends[i] = track.at[i] + track.step[i] * count;
    const double longest = std::max({scanlineExtent(track.at), scanlineExtent(ends), 1.0});
    return count * std::min(longest, 2147483648.0);
}

// `sharePixels`: the images overlap.
void drawQuadrangle(const ScanRows& rows, const EndTrack& track, uint32_t count, bool sharePixels)
{
    if (!std::isfinite(track.at[2] + track.step[2]) || !std::isfinite(track.at[3] + track.step[3]))
        return drawLeftEnds(rows, track, count);
    // What a long walk spares is worth its effort only if there is enough of it.
    constexpr double fewSteps = 0x1p20;
    const double steps = stepsOf(track, count);
    if (steps <= fewSteps + 8 * rows.limits[0] * rows.limits[1])
        drawScanlines(rows, track, count);
    else
        drawLongWalk(rows, track, count, steps, sharePixels);
}

double lengthOf(const double (&from)[2], const double (&to)[2])
{
    const double x = to[0] - from[0];
    const double y = to[1] - from[1];
    return std::sqrt(x * x + y * y);
}

// The two edges of a quadrangle that scanlines go between, from the first corners
// on.
void trackEdges(const double (*quad)[2], double scale, double* at, double* step)
{
    for (int32_t i = 0; i < 2; ++i) {
        at[i] = quad[0][i];
        at[i + 2] = quad[1][i];
        step[i] = (quad[3][i] - quad[0][i]) * scale;
        step[i + 2] = (quad[2][i] - quad[1][i]) * scale;
    }
}

// The addresses of the rows, the last one twice.
template<class Byte>
void fillRows(Byte** rows, Byte* pixels, int32_t height, int32_t step)
{
    for (int32_t y = 0; y <= height; ++y)
        rows[y] = pixels + static_cast<ptrdiff_t>(std::min(y, height - 1)) * step;
}

bool overlap(const uint8_t* a, int32_t aHeight, int32_t aStep, const uint8_t* b, int32_t bHeight,
             int32_t bStep)
{
    const uintptr_t first = reinterpret_cast<uintptr_t>(a);
    const uintptr_t second = reinterpret_cast<uintptr_t>(b);
    return first < second + static_cast<uintptr_t>(bHeight) * static_cast<uintptr_t>(bStep) &&
           second < first + static_cast<uintptr_t>(aHeight) * static_cast<uintptr_t>(aStep);
}

double turn(const double (&a)[2], const double (&b)[2], const double (&c)[2])
{
    return (b[0] - a[0]) * (c[1] - b[1]) - (b[1] - a[1]) * (c[0] - b[0]);
}

} // namespace

bool QuibIsConvexQuad(const double (*quad)[2])
{
    constexpr double least[4] = {0.001, 0.001, 0.001, 0.1};
    bool hasLeft = false;
    bool hasRight = false;
    for (int32_t i = 0; i < 4; ++i) {
        const double k = turn(quad[i], quad[(i + 1) % 4], quad[(i + 2) % 4]);
        if (!(std::fabs(k) > least[i]))
            return false;
        hasLeft = hasLeft || k > 0;
        hasRight = hasRight || k < 0;
    }
    return hasLeft != hasRight;
}

void QuibWarpQuadScan(uint8_t* const* dstRows, int32_t dstWidth, int32_t dstHeight, double leftX,
                      double leftY, double rightX, double rightY, const uint8_t* const* srcRows,
                      int32_t srcWidth, int32_t srcHeight, double srcLeftX, double srcLeftY,
                      double srcRightX, double srcRightY)
{
    const ScanRows rows{dstRows,
                        srcRows,
                        {static_cast<double>(dstWidth), static_cast<double>(dstHeight),
                         static_cast<double>(srcWidth), static_cast<double>(srcHeight)}};
    drawScanline(rows, {leftX, leftY, rightX, rightY, srcLeftX, srcLeftY, srcRightX, srcRightY});
}

void QuibWarpQuadFallback(uint8_t* dstPixels, int32_t dstWidth, int32_t dstHeight, int32_t dstStep,
                          const double (*dstQuad)[2], const uint8_t* srcPixels, int32_t srcWidth,
                          int32_t srcHeight, int32_t srcStep, const double (*srcQuad)[2])
{
    // Twice as many scanlines as rows, so that none is skipped.
    const double length =
        2.0 * std::max(lengthOf(dstQuad[0], dstQuad[3]), lengthOf(dstQuad[1], dstQuad[2]));
    const int32_t count = truncatedToInt(length + 0.5);
    if (count <= 1)
        return;
    EndTrack track;
    trackEdges(dstQuad, 1.0 / length, track.at, track.step);
    trackEdges(srcQuad, 1.0 / length, track.at + 4, track.step + 4);

    const IplScratch<uint8_t*> dstRows(int64_t{dstHeight} + 1);
    const IplScratch<const uint8_t*> srcRows(int64_t{srcHeight} + 1);
    if (!dstRows.data || !srcRows.data)
        return;
    fillRows(dstRows.data, dstPixels, dstHeight, dstStep);
    fillRows(srcRows.data, srcPixels, srcHeight, srcStep);
    const ScanRows rows{
        dstRows.data,
        srcRows.data,
        {static_cast<double>(std::min(dstWidth, dstStep / 4)), static_cast<double>(dstHeight),
         static_cast<double>(std::min(srcWidth, srcStep / 4)), static_cast<double>(srcHeight)}};
    drawQuadrangle(rows, track, static_cast<uint32_t>(count),
                   overlap(dstPixels, dstHeight, dstStep, srcPixels, srcHeight, srcStep));
}
