#include "quibtool/warp/scanline.h"

#include <algorithm>
#include <cmath>

using namespace quib;

double quib::scanlineExtent(const double (&ends)[8])
{
    const double width = std::fabs(ends[2] - ends[0]);
    const double height = std::fabs(ends[3] - ends[1]);
    return width >= height ? width : height;
}

uint32_t quib::startScanline(const double (&ends)[8], PixelTrack* track)
{
    const double extent = scanlineExtent(ends);
    const int32_t count = truncatedToInt(extent + 0.5);
    if (count <= 1)
        return 0;
    const double scale = 1.0 / extent;
    for (int32_t i = 0; i < 4; ++i) {
        const int32_t left = i < 2 ? i : i + 2;
        track->at[i] = ends[left] + 0.5;
        track->step[i] = (ends[left + 2] - ends[left]) * scale;
    }
    return std::isnan(track->step[0]) ? 1 : static_cast<uint32_t>(count);
}

double quib::strayOf(double count, double largest)
{
    return (count + 64.0) * largest * 0x1p-52 + 0x1p-10;
}

Steps quib::stepsInside(const double (&limits)[4], const PixelTrack& track, uint32_t count)
{
    double first = 0;
    double last = count;
    for (int32_t i = 0; i < 4; ++i) {
        const double at = track.at[i];
        const double step = track.step[i];
        const double stray = strayOf(count, std::max(std::fabs(at), std::fabs(at + count * step)));
        const double toLow = (-1.0 - stray - at) / step;
        const double toHigh = (limits[i] + stray - at) / step;
        // A step of 0 gives infinities, or no numbers: then nothing is cut.
        first = std::max(first, std::min(toLow, toHigh) - 1.0);
        last = std::min(last, std::max(toLow, toHigh) + 1.0);
    }
    if (!(first < last))
        return {0, 0};
    const uint32_t begin = static_cast<uint32_t>(first);
    return {begin, static_cast<uint32_t>(std::ceil(last)) - begin};
}

int32_t quib::truncatedToInt(double value)
{
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int32_t>(value) : INT32_MIN;
}
