// Angles of turns.
#pragma once

#include <cstdint>

// Degrees brought to 0 up to 360. NaN stays NaN; past 2^53 turns what is left is
// rounding.
double ownReduceDegrees(double angle);

// Sine and cosine, the nearest doubles on every target (the platforms' own differ
// in the last bit) but for one angle in 2^40 or so, up to a billion radians.
struct IplTurn {
    double sine;
    double cosine;
};
IplTurn ownTurn(double radians);

constexpr double radiansPerDegree = 0.017453292519943295;
