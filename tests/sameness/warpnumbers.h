// Coefficients, quadrangles and angles of the corpus.
#pragma once

#include "tests/sameness/corpus.h"

#include <algorithm>

inline int32_t anyInterpolation(Call& call)
{
    constexpr int32_t values[] = {0, 1, 2, 0, 1, 2, 16, 17, 18, 3};
    return call.oneOf("interpolate", values);
}

// Near to what leaves a picture as it is, or anything that is not huge.
struct WarpCoefficients {
    double rows[3][3];

    explicit WarpCoefficients(Call& call) : rows{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}
    {
        const int32_t spread = call.oneIn(3) ? 3 : 1;
        for (int32_t i = 0; i < 2; ++i) {
            for (int32_t j = 0; j < 2; ++j)
                rows[i][j] += call.sixteenths("c", -spread, spread) / 2;
            rows[i][2] = call.sixteenths("c", -8, 16);
        }
        if (call.oneIn(2))
            return;
        for (double& c : rows[2])
            c += call.sixteenths("c", -1, 1) / 512;
    }
};

// Four corners about those of a picture of this size; convex more often than not.
struct WarpQuad {
    double corners[4][2];

    WarpQuad(Call& call, int32_t width, int32_t height)
    {
        const double x[] = {0.0, width - 1.0, width - 1.0, 0.0};
        const double y[] = {0.0, 0.0, height - 1.0, height - 1.0};
        const int32_t spread = call.oneIn(4) ? 40 : 3;
        const bool whole = call.oneIn(4);
        for (int32_t i = 0; i < 4; ++i) {
            corners[i][0] = x[i] + moved(call, spread, whole);
            corners[i][1] = y[i] + moved(call, spread, whole);
        }
        if (call.oneIn(16))
            std::swap(corners[1][0], corners[2][0]);
    }

private:
    static double moved(Call& call, int32_t spread, bool whole)
    {
        return whole ? call.choose("by", -spread, spread) : call.sixteenths("by", -spread, spread);
    }
};

// Degrees: any, right angles, and angles next to those.
inline double anyAngle(Call& call)
{
    const int32_t kind = call.random.between(0, 5);
    const double angle = call.random.between(-28800, 28800) / 64.0;
    const int32_t quarters = call.random.between(-5, 5);
    if (kind < 3)
        return call.note("angle", angle);
    const double nearly = kind == 3 ? 1.0 / 1024 : kind == 4 ? 30.0 : 0.0;
    return call.note("angle", quarters * 90.0 + nearly);
}
