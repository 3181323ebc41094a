// The scanline warp in its plain form, and quadrangles for it.
#pragma once

#include "tests/support/images.h"

#include <cmath>
#include <cstring>

struct Quad {
    double corners[4][2];
};

inline int32_t plainTruncated(double value)
{
    return std::fabs(value) < 2147483648.0 ? static_cast<int32_t>(value) : INT32_MIN;
}

struct PlainPicture {
    uint8_t* pixels;
    int32_t width;
    int32_t height;
    int32_t step;
};

inline PlainPicture pictureOf(const IplImage* image)
{
    return {reinterpret_cast<uint8_t*>(image->imageData), image->width, image->height,
            image->widthStep};
}

inline void plainScan(const PlainPicture& dst, const double (&from)[4], const PlainPicture& src,
                      const double (&to)[4])
{
    const double dx = to[0] - from[0];
    const double dy = to[1] - from[1];
    const double m = std::fabs(dx) >= std::fabs(dy) ? std::fabs(dx) : std::fabs(dy);
    const int32_t n = plainTruncated(m + 0.5);
    if (n <= 1)
        return;
    const double r = 1.0 / m;
    const double steps[4] = {dx * r, dy * r, (to[2] - from[2]) * r, (to[3] - from[3]) * r};
    double at[4] = {from[0] + 0.5, from[1] + 0.5, from[2] + 0.5, from[3] + 0.5};
    for (int32_t i = 0; i < n; ++i) {
        const int32_t x = plainTruncated(at[0]);
        const int32_t y = plainTruncated(at[1]);
        const int32_t sx = plainTruncated(at[2]);
        const int32_t sy = plainTruncated(at[3]);
        if (0 <= x && x < dst.width && 0 <= y && y < dst.height && 0 <= sx && sx < src.width &&
            0 <= sy && sy < src.height)
            std::memcpy(dst.pixels + static_cast<ptrdiff_t>(y) * dst.step + x * 4,
                        src.pixels + static_cast<ptrdiff_t>(sy) * src.step + sx * 4, 4);
        for (int k = 0; k < 4; ++k)
            at[k] += steps[k];
    }
}

// Positions of both images on one edge: x, y, source x, source y.
inline void plainFallback(const PlainPicture& dst, const Quad& dstQuad, const PlainPicture& src,
                          const Quad& srcQuad)
{
    const auto length = [&](int a, int b) {
        const double x = dstQuad.corners[b][0] - dstQuad.corners[a][0];
        const double y = dstQuad.corners[b][1] - dstQuad.corners[a][1];
        return std::sqrt(x * x + y * y);
    };
    const double l = 2 * std::max(length(0, 3), length(1, 2));
    const int32_t n = plainTruncated(l + 0.5);
    if (n <= 1)
        return;
    const double r = 1.0 / l;
    double left[4];
    double right[4];
    double leftStep[4];
    double rightStep[4];
    for (int i = 0; i < 4; ++i) {
        const Quad& quad = i < 2 ? dstQuad : srcQuad;
        left[i] = quad.corners[0][i % 2];
        right[i] = quad.corners[1][i % 2];
        leftStep[i] = (quad.corners[3][i % 2] - quad.corners[0][i % 2]) * r;
        rightStep[i] = (quad.corners[2][i % 2] - quad.corners[1][i % 2]) * r;
    }
    for (int32_t i = 0; i < n; ++i) {
        plainScan(dst, left, src, right);
        for (int k = 0; k < 4; ++k) {
            left[k] += leftStep[k];
            right[k] += rightStep[k];
        }
    }
}

inline Quad wholeQuad(double width, double height)
{
    return {{{0, 0}, {width, 0}, {width, height}, {0, height}}};
}

// Corners anywhere up to so far from the image.
inline Quad randomQuad(int32_t width, int32_t height, int32_t beyond, Random& random)
{
    const auto coordinate = [&](int32_t limit) {
        return random.between(-beyond * 16, (limit + beyond) * 16) / 16.0 +
               random.between(0, 1000) / 16001.0;
    };
    Quad quad;
    for (auto& corner : quad.corners) {
        corner[0] = coordinate(width);
        corner[1] = coordinate(height);
    }
    return quad;
}
