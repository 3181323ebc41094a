// Rounding.
#pragma once

// The nearest whole number, halves to even, for magnitudes below 2^51: the sum
// leaves no room for a fraction.
inline double ownRound(double value)
{
    constexpr double noFraction = 6755399441055744.0; // 1.5 * 2^52
    return (value + noFraction) - noFraction;
}
