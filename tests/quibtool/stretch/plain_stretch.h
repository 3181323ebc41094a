// What the tests of the stretchers share: plain forms of their tables, and sizes
// and pixels to stretch.
#pragma once

#include "quibtool/stretch/stretch.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/random.h"

#include <vector>

namespace plain_stretch
{

struct Axis {
    std::vector<uint32_t> idx0;
    std::vector<uint32_t> idx1;
    std::vector<uint8_t> weight;
};

inline uint8_t weightOf(double t, int32_t mode)
{
    const double s = mode == 2 ? (3.0 - 2.0 * t) * t * t : t;
    const uint32_t k = static_cast<uint32_t>(s * 255.0 + 0.5);
    return static_cast<uint8_t>(255 - (k & 255));
}

// The table of one axis by the usual modes.
inline Axis plainAxis(uint32_t dstN, uint32_t srcN, int32_t mode)
{
    Axis axis;
    const double step = static_cast<double>(srcN) / dstN;
    double pos = 0.0;
    for (uint32_t i = 0; i < dstN; ++i) {
        const uint32_t whole = static_cast<uint32_t>(pos);
        axis.idx0.push_back(whole);
        axis.idx1.push_back(whole < srcN - 1 ? whole + 1 : whole);
        axis.weight.push_back(weightOf(pos - whole, mode));
        pos += step;
    }
    return axis;
}

// The table of row pairs; dstN is even.
inline Axis plainPairs(uint32_t dstN, uint32_t srcN)
{
    Axis axis;
    const double step = static_cast<double>(srcN) / dstN;
    double pos = 0.0;
    for (uint32_t k = 0; k < dstN / 2; ++k) {
        const uint32_t base = 2 * static_cast<uint32_t>(pos);
        for (const uint32_t row : {base, base + 1}) {
            axis.idx0.push_back(row);
            axis.idx1.push_back(row < srcN - 2 ? row + 2 : row);
            axis.weight.push_back(weightOf(pos - static_cast<uint32_t>(pos), 1));
        }
        pos += step;
    }
    return axis;
}

inline uint8_t lerp(int32_t a, int32_t b, int32_t w)
{
    return static_cast<uint8_t>((b + (((a - b) * w) >> 8)) & 255);
}

struct Size {
    uint32_t width;
    uint32_t height;
};

// Random pixels that nothing may write to.
struct Pixels : GuardedBuffer {
    Pixels(Size size, uint32_t bytes, Guard guard, Random& random)
        : GuardedBuffer(size_t{size.width} * size.height * bytes, guard)
    {
        random.fill(data(), this->size());
        makeReadOnly();
    }
};

struct Job {
    Size from;
    Size to;
};

inline uint32_t randomSide(Random& random)
{
    return static_cast<uint32_t>(random.coin() ? random.between(1, 20) : random.between(1, 200));
}

// Sizes of every kind: any, whole multiples either way, equal on an axis, and
// extreme ratios.
inline std::vector<Job> jobs(Random& random)
{
    std::vector<Job> all = {{{1, 1}, {1, 1}},     {{1, 1}, {50, 20}},   {{50, 20}, {1, 1}},
                            {{3, 2}, {2000, 2}},  {{2000, 2}, {3, 4}},  {{2, 500}, {9, 2}},
                            {{2, 2}, {9, 600}},   {{64, 64}, {96, 96}}, {{64, 64}, {64, 64}},
                            {{96, 8}, {24, 2}},   {{97, 9}, {97, 18}},  {{40, 6}, {10, 6}},
                            {{40, 12}, {20, 18}}, {{41, 3}, {40, 2}},   {{2, 1}, {80, 2}}};
    for (int32_t i = 0; i < 40; ++i)
        all.push_back(
            {{randomSide(random), randomSide(random)}, {randomSide(random), randomSide(random)}});
    for (int32_t i = 0; i < 40; ++i) {
        const Size small{randomSide(random), static_cast<uint32_t>(random.between(1, 20))};
        const Size large{small.width * random.between(1, 9), small.height * random.between(1, 5)};
        all.push_back({large, small});
        all.push_back({small, large});
    }
    return all;
}

} // namespace plain_stretch
