#include "quibtool/warp/fallback.h"

#include "_Src/image/scratch.h"
#include "kernels/kernels.h"
#include "quibtool/warp/progress.h"

#include <algorithm>
#include <cmath>

using namespace quib;

namespace
{

// --- Scanlines ---------------------------------------------------------------------

// Repeated sums of several coordinates at once.
template<int32_t count>
struct Track {
    double at[count];
    double step[count];
};

template<int32_t count>
void advance(Track<count>* track, uint32_t steps)
{
    for (int32_t i = 0; i < count; ++i)
        track->at[i] = ownAdvanced(track->at[i], track->step[i], steps);
}

// x and y in the destination, then in the source.
using PixelTrack = Track<4>;

// How far the roundings of so many sums, none of them larger than this, can take
// the last one astray; and two pixels for halves and cut fractions.
double strayOf(double count, double largest)
{
    return 2.0 + count * largest * 0x1p-52;
}

// Draws only the part of a long track in which it can be inside the destination.
void drawPixels(const ScanRows& rows, PixelTrack track, uint32_t count)
{
    constexpr uint32_t fewPixels = 8192;
    if (count <= fewPixels) {
        kernels().scan.move(rows, track.at, track.step, count);
        return;
    }
    double first = 0;
    double last = count;
    for (int32_t i = 0; i < 2; ++i) {
        const double end = track.at[i] + count * track.step[i];
        const double stray = strayOf(count, std::max(std::fabs(track.at[i]), std::fabs(end)));
        const double toLow = (-stray - track.at[i]) / track.step[i];
        const double toHigh = (rows.limits[i] + stray - track.at[i]) / track.step[i];
        // A step of 0 gives infinities, or no numbers: then nothing is cut.
        first = std::max(first, std::min(toLow, toHigh));
        last = std::min(last, std::max(toLow, toHigh));
    }
    if (!(first < last))
        return;
    const uint32_t begin = static_cast<uint32_t>(first);
    const uint32_t end = static_cast<uint32_t>(std::ceil(last));
    advance(&track, begin);
    kernels().scan.move(rows, track.at, track.step, end - begin);
}

// A scanline's ends: x and y of the left one and of the right one in the
// destination, then the same in the source.
void drawScanline(const ScanRows& rows, const double (&ends)[8])
{
    const double dx = ends[2] - ends[0];
    const double dy = ends[3] - ends[1];
    const double most = std::fabs(dx) >= std::fabs(dy) ? std::fabs(dx) : std::fabs(dy);
    const int32_t count = truncatedToInt(most + 0.5);
    if (count <= 1)
        return;
    const double scale = 1.0 / most;
    drawPixels(rows,
               {{ends[0] + 0.5, ends[1] + 0.5, ends[4] + 0.5, ends[5] + 0.5},
                {dx * scale, dy * scale, (ends[6] - ends[4]) * scale, (ends[7] - ends[5]) * scale}},
               static_cast<uint32_t>(count));
}

// --- Quadrangles -----------------------------------------------------------------------

using EndTrack = Track<8>;

struct Point {
    double x;
    double y;
};

// How far a point lies to the one side of the line through two others, times the
// distance of these.
double sideOf(const Point& from, const Point& to, const Point& point)
{
    return (to.x - from.x) * (point.y - from.y) - (to.y - from.y) * (point.x - from.x);
}

// Whether the line through two of the ends has all ends on its one side and all
// corners on the other.
bool separates(const Point& from, const Point& to, const Point (&ends)[4],
               const Point (&corners)[4])
{
    const auto sides = [&](const Point(&points)[4]) {
        return std::minmax({sideOf(from, to, points[0]), sideOf(from, to, points[1]),
                            sideOf(from, to, points[2]), sideOf(from, to, points[3])});
    };
    const auto [leastEnd, largestEnd] = sides(ends);
    const auto [leastCorner, largestCorner] = sides(corners);
    return (largestEnd <= 0 && leastCorner > 0) || (leastEnd >= 0 && largestCorner < 0);
}

// Whether all scanlines from one to the other miss the destination: two convex
// shapes miss each other if there is a line along an edge of one between them.
bool areBeyond(const EndTrack& from, const EndTrack& to, const ScanRows& rows)
{
    double largest = 0;
    for (int32_t i = 0; i < 4; ++i)
        largest = std::max({largest, std::fabs(from.at[i]), std::fabs(to.at[i])});
    const double stray = strayOf(2 * largest, largest);
    const Point ends[4] = {{from.at[0], from.at[1]},
                           {from.at[2], from.at[3]},
                           {to.at[0], to.at[1]},
                           {to.at[2], to.at[3]}};
    const double right = rows.limits[0] + stray;
    const double bottom = rows.limits[1] + stray;
    const Point corners[4] = {{-stray, -stray}, {right, -stray}, {right, bottom}, {-stray, bottom}};
    for (int32_t i = 0; i < 4; ++i) {
        if (separates(corners[i], corners[(i + 1) % 4], corners, ends))
            return true;
        for (int32_t k = 0; k < i; ++k)
            if (separates(ends[k], ends[i], ends, corners))
                return true;
    }
    return false;
}

// Halves long tracks until a part is short or misses the destination.
void drawScanlines(const ScanRows& rows, EndTrack track, uint32_t count)
{
    constexpr uint32_t fewScanlines = 256;
    while (count > fewScanlines) {
        EndTrack end = track;
        advance(&end, count);
        if (areBeyond(track, end, rows))
            return;
        const uint32_t half = count / 2;
        drawScanlines(rows, track, half);
        advance(&track, half);
        count -= half;
    }
    for (uint32_t i = 0; i < count; ++i) {
        drawScanline(rows, track.at);
        for (int32_t k = 0; k < 8; ++k)
            track.at[k] += track.step[k];
    }
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

double turn(const double (&a)[2], const double (&b)[2], const double (&c)[2])
{
    return (b[0] - a[0]) * (c[1] - b[1]) - (b[1] - a[1]) * (c[0] - b[0]);
}

} // namespace

int32_t quib::truncatedToInt(double value)
{
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int32_t>(value) : INT32_MIN;
}

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
    drawScanlines(rows, track, static_cast<uint32_t>(count));
}
