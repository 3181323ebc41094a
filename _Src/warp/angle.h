// Angles of turns.
#pragma once

#include <cstdint>

// Degrees brought to 0 up to 360. NaN stays NaN; past 2^53 turns what is left is
// rounding.
double ownReduceDegrees(double angle);

// Sine and cosine, computed to some 100 bits by sums and products alone: the same
// on every target (the platforms' own differ in the last bit), and the nearest
// doubles but for one angle in 2^40 or so. No numbers for what is none, or infinite.
struct IplTurn {
    double sine;
    double cosine;
};
IplTurn ownTurn(double radians);

constexpr double radiansPerDegree = 0.017453292519943295;
