// The plain forms of the warps, pixel by pixel.
#pragma once

#include "_Src/image/round.h"
#include "_Src/warp/polygon.h"
#include "_Src/warp/quad.h"
#include "_Src/warp/quadrows.h"
#include "tests/support/quads.h"
#include "tests/support/regions.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

// --- Positions ----------------------------------------------------------------------------

// 16.16 fixed point modulo 2^32, seen as signed.
inline int32_t wrapped(double value)
{
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<int64_t>(value)));
}
inline int32_t wrapped(int64_t value)
{
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}

inline double nearestEven(double value)
{
    return std::nearbyint(value);
}

template<class Real>
Real heldInside(Real value, int32_t most)
{
    if (!(value > Real(0)))
        return Real(0);
    return std::min(value, static_cast<Real>(most));
}

// --- Windows ------------------------------------------------------------------------------

// The pixels of one axis, and their weights: in 1/16384, or exact.
struct WarpTaps {
    std::vector<int32_t> at;
    std::vector<int32_t> weight14;
    std::vector<double> weight;
};

inline int32_t windowStart(int32_t position, int32_t most)
{
    return position < 1 ? 0 : position >= most - 1 ? most - 3 : position - 1;
}

inline double cubicBasis(int32_t node, double t)
{
    switch (node) {
    case 0:
        return -(t - 1) * (t - 2) * (t - 3) / 6;
    case 1:
        return t * (t - 2) * (t - 3) / 2;
    default:
        return cubicBasis(3 - node, 3 - t);
    }
}

inline WarpTaps linearTaps(int32_t first, int32_t fraction14)
{
    return {{first, first + 1}, {0x4000 - fraction14, fraction14}, {}};
}

inline WarpTaps cubicTaps(int32_t first, int32_t index)
{
    WarpTaps taps;
    index = std::clamp(index, 0, 1536);
    for (int32_t node = 0; node < 4; ++node) {
        const int32_t entry = node < 2 ? index : 1536 - index;
        const double weight = cubicBasis(std::min(node, 3 - node), entry / 512.0);
        taps.at.push_back(first + node);
        taps.weight14.push_back(static_cast<int32_t>(std::lround(weight * 16384)));
    }
    return taps;
}

inline WarpTaps fixedTaps(int32_t position, int32_t most, int32_t mode)
{
    if (mode == 0)
        return {{std::clamp(position >> 16, 0, most)}, {}, {}};
    if (mode == 1) {
        const int32_t held =
            static_cast<int32_t>(std::clamp<int64_t>(position, 0, int64_t{most} * 65536));
        const int32_t whole = (held >> 16) == most ? most - 1 : held >> 16;
        return linearTaps(whole, (held - whole * 65536) >> 2);
    }
    const int32_t first = windowStart(position >> 16, most);
    const int64_t index = (position - int64_t{first} * 65536 + 0x40) >> 7;
    return cubicTaps(first, static_cast<int32_t>(std::clamp<int64_t>(index, 0, 1536)));
}

inline WarpTaps floatTaps(float position, int32_t most, int32_t mode)
{
    const float held = heldInside(position, most);
    if (mode == 0)
        return {{static_cast<int32_t>(nearestEven(held))}, {}, {}};
    if (mode == 1) {
        int32_t whole = static_cast<int32_t>(std::trunc(held));
        if (whole == most)
            --whole;
        return linearTaps(whole, static_cast<int32_t>(
                                     nearestEven((held - static_cast<float>(whole)) * 16384.0f)));
    }
    const int32_t whole = static_cast<int32_t>(nearestEven(1e-7f + held - 0.5f));
    const int32_t first = windowStart(whole, most);
    const double index = nearestEven((held - static_cast<float>(first)) * 512.0f);
    return cubicTaps(first, static_cast<int32_t>(index));
}

inline WarpTaps doubleTaps(double position, int32_t most, int32_t mode)
{
    const double held = heldInside(position, most);
    if (mode == 0)
        return {{static_cast<int32_t>(nearestEven(held))}, {}, {}};
    const int32_t whole = static_cast<int32_t>(nearestEven(1e-7 + held - 0.5));
    if (mode == 1) {
        const bool last = whole >= most;
        const int32_t first = last ? most - 1 : whole;
        const double fraction = last ? 1.0 : held - whole;
        return {{first, first + 1}, {}, {1.0 - fraction, fraction}};
    }
    const int32_t first = windowStart(whole, most);
    WarpTaps taps;
    for (int32_t node = 0; node < 4; ++node) {
        taps.at.push_back(first + node);
        taps.weight.push_back(cubicBasis(node, held - first));
    }
    return taps;
}

// --- Samples --------------------------------------------------------------------------------

inline double sampleBytes(const IplImage* src, const WarpTaps& x, const WarpTaps& y, int32_t c,
                          int32_t rounding)
{
    int32_t sum = x.at.size() == 4 ? 0x80000 : rounding;
    for (size_t j = 0; j < y.at.size(); ++j) {
        int32_t row = 0;
        for (size_t i = 0; i < x.at.size(); ++i)
            row += static_cast<int32_t>(element(src, x.at[i], y.at[j], c)) * x.weight14[i];
        sum += (row >> 8) * y.weight14[j];
    }
    return x.at.size() == 4 ? std::clamp(sum >> 20, 0, 255) : (sum >> 20) & 255;
}

inline double sampleWide(const IplImage* src, const WarpTaps& x, const WarpTaps& y, int32_t c)
{
    double sum = 0;
    for (size_t j = 0; j < y.at.size(); ++j) {
        double row = 0;
        for (size_t i = 0; i < x.at.size(); ++i)
            row += element(src, x.at[i], y.at[j], c) * x.weight[i];
        sum += row * y.weight[j];
    }
    return src->depth == IPL_DEPTH_16U ? nearestEven(std::clamp(sum, 0.0, 65535.0)) : sum;
}

// `rounding` ends the sum of a bilinear window of bytes.
inline double warpSample(const IplImage* src, const WarpTaps& x, const WarpTaps& y, int32_t c,
                         int32_t rounding)
{
    if (x.at.size() == 1)
        return element(src, x.at[0], y.at[0], c);
    return src->depth == IPL_DEPTH_8U ? sampleBytes(src, x, y, c, rounding)
                                      : sampleWide(src, x, y, c);
}

// --- Warps ----------------------------------------------------------------------------------

struct PlainWarp {
    const IplImage* src;
    IplImage* dst;
    double coeffs[3][3];
    int32_t mode;

    // Pixel (x, y) of the destination from positions of its own kind.
    template<class Taps, class Position>
    void put(int32_t x, int32_t y, Taps taps, Position u, Position v, int32_t rounding) const
    {
        const WarpTaps columns = taps(u, src->width - 1, mode);
        const WarpTaps rows = taps(v, src->height - 1, mode);
        const std::vector<int32_t> from = channelsOf(src);
        const std::vector<int32_t> to = channelsOf(dst);
        for (size_t c = 0; c < to.size(); ++c)
            putElement(dst, x, y, to[c], warpSample(src, columns, rows, from[c], rounding));
    }

    void putFixed(int32_t x, int32_t y, int32_t yFirst) const
    {
        const auto position = [&](const double* c) {
            const auto fixed = [](double value) { return wrapped(nearestEven(value * 65536)); };
            const int64_t start = fixed(yFirst * c[1] + c[2]) + (mode == 0 ? 0x8000 : 0);
            return wrapped(start + int64_t{fixed(c[1])} * (y - yFirst) + int64_t{fixed(c[0])} * x);
        };
        put(x, y, fixedTaps, position(coeffs[0]), position(coeffs[1]), 0x80000);
    }

    template<class Real, class Taken, class Taps>
    void putRatio(int32_t x, int32_t y, int32_t xOffset, int32_t yOffset, Taken taken,
                  Taps taps) const
    {
        const auto sum = [&](const double* c) {
            return static_cast<Real>(c[1] * y + c[2]) +
                   static_cast<Real>(x) * static_cast<Real>(c[0]);
        };
        const Real w = sum(coeffs[2]);
        const auto position = [&](const double* c) {
            if (sizeof(Real) == 4)
                return sum(c) * (Real(1) / w);
            return sum(c) / w;
        };
        const Real u = position(coeffs[0]);
        const Real v = position(coeffs[1]);
        if (taken(u, v))
            put(x + xOffset, y + yOffset, taps, u, v, 0x21);
    }

    bool isNarrow() const { return src->depth == IPL_DEPTH_8U || src->depth == IPL_DEPTH_1U; }
};

inline int32_t plainMode(const IplImage* src, int32_t interpolate)
{
    const int32_t mode = interpolate & ~16;
    if (src->depth == IPL_DEPTH_1U || src->width == 1 || src->height == 1)
        return 0;
    return mode == 2 && (src->width < 4 || src->height < 4) ? 1 : mode;
}

// The source's region onto a quadrangle, without smoothing; how the corners turn.
inline int32_t plainRectToQuad(const IplImage* src, IplImage* dst, const Quad& quad, bool affine,
                               int32_t interpolate)
{
    IplCorners from{};
    IplCorners to{};
    if (!ownRoiCorners(src, &from, true) || !ownRoiCorners(dst, &to, true))
        return -1;
    PlainWarp warp{src, dst, {{}, {}, {0, 0, 1}}, plainMode(src, interpolate)};
    int32_t orientation = 0;
    if (affine)
        ownAffineFromQuad(from.x1, from.y1, from.x2, from.y2, quad.at, warp.coeffs, &orientation,
                          0);
    else
        ownPerspectiveFromQuad(from.x1, from.y1, from.x2, from.y2, quad.at, warp.coeffs,
                               &orientation, 0);
    int32_t* start = nullptr;
    int32_t* end = nullptr;
    int32_t first = 0;
    int32_t last = 0;
    if (!ownQuadRows(quad.at, to.x1, to.y1, to.x2, to.y2, orientation, &start, &end, &first, &last))
        return -1;
    const auto all = [](auto, auto) { return true; };
    for (int32_t y = first; y <= last; ++y)
        for (int32_t x = start[y - first]; x <= end[y - first]; ++x)
            if (affine && warp.isNarrow())
                warp.putFixed(x, y, first);
            else if (warp.isNarrow())
                warp.putRatio<float>(x, y, 0, 0, all, floatTaps);
            else
                warp.putRatio<double>(x, y, 0, 0, all, doubleTaps);
    iplAlignedFree(start);
    iplAlignedFree(end);
    return orientation;
}

inline void plainQuadToRect(const IplImage* src, IplImage* dst, const Quad& quad,
                            int32_t interpolate)
{
    IplCorners from{};
    IplCorners to{};
    if (!ownRoiCorners(src, &from, true) || !ownRoiCorners(dst, &to, true))
        return;
    PlainWarp warp{src, dst, {}, plainMode(src, interpolate)};
    int32_t orientation = 0;
    const int32_t width = to.x2 - to.x1 + 1;
    const int32_t height = to.y2 - to.y1 + 1;
    ownPerspectiveFromQuad(0, 0, width - 1, height - 1, quad.at, warp.coeffs, &orientation, 1);
    const auto inside = [&](double x, double y) {
        return x >= from.x1 && x <= from.x2 && y >= from.y1 && y <= from.y2;
    };
    bool whole = true;
    for (const auto& corner : quad.at)
        whole = whole && inside(corner[0], corner[1]);
    const auto taken = [&](double u, double v) { return whole || inside(u, v); };
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
            if (warp.isNarrow())
                warp.putRatio<float>(x, y, to.x1, to.y1, taken, floatTaps);
            else
                warp.putRatio<double>(x, y, to.x1, to.y1, taken, doubleTaps);
}

// --- Smoothing ------------------------------------------------------------------------------

inline void plainMix(IplImage* dst, int32_t ax, int32_t ay, int32_t bx, int32_t by, double toA,
                     double toB)
{
    for (const int32_t c : channelsOf(dst)) {
        const float value = static_cast<float>(element(dst, bx, by, c)) * static_cast<float>(toB) +
                            static_cast<float>(element(dst, ax, ay, c)) * static_cast<float>(toA);
        putElement(dst, bx, by, c, dst->depth == IPL_DEPTH_32F ? value : std::nearbyint(value));
    }
}

inline void plainSmoothEdge(IplImage* dst, const IplCorners& to, const double* from,
                            const double* end, int32_t orientation)
{
    const double dx = end[0] - from[0];
    const double dy = end[1] - from[1];
    if (dx == 0.0 || dy == 0.0)
        return;
    const bool alongX = std::fabs(dy) <= std::fabs(dx);
    const int32_t axis = alongX ? 0 : 1;
    const double low = std::ceil(std::min(from[axis], end[axis]));
    const double high = std::floor(std::max(from[axis], end[axis]));
    for (double at = low; at <= high; ++at) {
        const double p =
            alongX ? (at - from[0]) * dy / dx + from[1] : (at - from[1]) * dx / dy + from[0];
        bool aIsFloor = alongX ? dx > 0 : !(dy > 0);
        if (orientation)
            aIsFloor = !aIsFloor;
        const double least = alongX ? to.y1 : to.x1;
        const double most = alongX ? to.y2 : to.x2;
        const double floor = std::clamp(std::floor(p), least, most);
        const double ceiling = std::clamp(std::ceil(p), least, most);
        const double a = aIsFloor ? floor : ceiling;
        const double b = aIsFloor ? ceiling : floor;
        if (p == a)
            continue;
        const int32_t i = static_cast<int32_t>(at);
        const int32_t ai = static_cast<int32_t>(a);
        const int32_t bi = static_cast<int32_t>(b);
        if (alongX)
            plainMix(dst, i, ai, i, bi, std::fabs(p - a), std::fabs(p - b));
        else
            plainMix(dst, ai, i, bi, i, std::fabs(p - a), std::fabs(p - b));
    }
}

inline void plainSmooth(IplImage* dst, const Quad& quad, int32_t orientation)
{
    IplCorners to{};
    if (dst->depth == IPL_DEPTH_1U || !ownRoiCorners(dst, &to, true))
        return;
    double vertices[maxPolygonVertices][2];
    double scratch[maxPolygonVertices][2];
    int32_t count = 4;
    std::copy_n(&quad.at[0][0], 8, &vertices[0][0]);
    ownClipPolygon(vertices, scratch, &count, to.x1, to.y1, to.x2, to.y2);
    for (int32_t i = 0; count > 2 && i < count; ++i)
        plainSmoothEdge(dst, to, vertices[i], vertices[(i + 1) % count], orientation);
}
