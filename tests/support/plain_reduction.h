// The plain form of a reduction of levels, over whole images.
#pragma once

#include "benchmarks/plain_dither.h"
#include "tests/support/pixel_cases.h"

#include <cmath>

// The largest value that levels are spread up to.
inline double reductionRange(uint32_t depth)
{
    return depth == IPL_DEPTH_32F ? 4294967295.0 : static_cast<double>(highOf(depth));
}

inline const PlainDiffusion& plainDiffusionOf(int32_t ditherType)
{
    return ditherType == IPL_DITHER_FS    ? plainFloydSteinberg()
           : ditherType == IPL_DITHER_JJH ? plainJarvis()
                                          : plainStucki();
}

// The high bits of an element, as many as the other depth has.
inline double plainHighBits(double value, uint32_t from, uint32_t to)
{
    if (from == to)
        return value;
    const double range = reductionRange(to);
    const double scaled = std::floor(value * ((range + 1) / (reductionRange(from) + 1)));
    return scaled > 0 ? std::min(scaled, range) : 0;
}

// The channels of the source and the destination that a reduction pairs.
inline std::vector<std::pair<int32_t, int32_t>> pairedChannels(const IplImage* src,
                                                               const IplImage* dst)
{
    const std::vector<int32_t> from = channelsOf(src);
    const std::vector<int32_t> to = channelsOf(dst);
    std::vector<std::pair<int32_t, int32_t>> pairs;
    for (size_t i = 0; i < std::min(from.size(), to.size()); ++i)
        pairs.push_back({from[i], to[i]});
    return pairs;
}

// Without noise. The depths' ranges are those that reductions know.
inline void plainReduce(const IplImage* src, IplImage* dst, int32_t ditherType, int32_t count)
{
    const Area from = areaOf(src);
    const Area to = areaOf(dst);
    Area size = to;
    for (const IplImage* image : {src, static_cast<const IplImage*>(src->maskROI),
                                  static_cast<const IplImage*>(dst->maskROI)})
        shrinkTo(&size, image);
    if (size.width <= 0 || size.height <= 0)
        return;
    const double most = count - 1.0;
    const PlainLevels levels{reductionRange(src->depth) / most, most};
    for (const auto& channels : pairedChannels(src, dst)) {
        const auto get = [&](int32_t x, int32_t y) {
            return element(src, from.x + x, from.y + y, channels.first);
        };
        const auto put = [&](int32_t x, int32_t y, double value) {
            if (maskLets(src->maskROI, x, y) && maskLets(dst->maskROI, x, y))
                putElement(dst, to.x + x, to.y + y, channels.second, value);
        };
        const auto take = [&](int32_t x, int32_t y, double level) {
            put(x, y, std::floor(level * reductionRange(dst->depth) / most + 0.5));
        };
        if (ditherType != IPL_DITHER_NONE && ditherType != IPL_DITHER_BAYER) {
            plainDiffuse(plainDiffusionOf(ditherType), size.width, size.height, levels, get, take);
            continue;
        }
        for (int32_t y = 0; y < size.height; ++y)
            for (int32_t x = 0; x < size.width; ++x)
                if (ditherType == IPL_DITHER_NONE)
                    put(x, y, plainHighBits(get(x, y), src->depth, dst->depth));
                else
                    take(x, y, plainOrdered(get(x, y), x, y, levels));
    }
}
