// Quadrangles for tests.
#pragma once

#include "tests/support/random.h"

#include <algorithm>
#include <limits>
#include <string>

struct Quad {
    double at[4][2];

    bool operator==(const Quad&) const = default;
};

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

// A box's corners in their order, or the other way round.
inline Quad boxQuad(double x1, double y1, double x2, double y2)
{
    return {{{x1, y1}, {x2, y1}, {x2, y2}, {x1, y2}}};
}
inline Quad reversed(const Quad& quad)
{
    Quad result = quad;
    std::swap(result.at[1], result.at[3]);
    return result;
}

// From low to high, in steps of `step`.
inline double randomCoordinate(Random& random, int32_t low, int32_t high, double step)
{
    return random.between(static_cast<int32_t>(low / step), static_cast<int32_t>(high / step)) *
           step;
}

inline Quad randomQuad(Random& random, int32_t low, int32_t high, double step)
{
    Quad quad{};
    for (auto& corner : quad.at)
        for (double& value : corner)
            value = randomCoordinate(random, low, high, step);
    return quad;
}

inline std::string describe(const Quad& quad)
{
    std::string text;
    for (const auto& corner : quad.at)
        text += " (" + std::to_string(corner[0]) + ", " + std::to_string(corner[1]) + ")";
    return text;
}
