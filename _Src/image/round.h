// Rounding.
#pragma once

#include <cstdint>

// The nearest whole number, halves to even, for magnitudes below 2^51: the sum
// leaves no room for a fraction. Larger values stay above 2^50.
inline double ownRound(double value)
{
    constexpr double noFraction = 6755399441055744.0; // 1.5 * 2^52
    return (value + noFraction) - noFraction;
}

// The value without its fraction; the nearest integer there is for one out of
// range, 0 for one that is not a number.
inline int32_t ownSaturate(double value)
{
    if (value >= INT32_MAX)
        return INT32_MAX;
    if (value <= INT32_MIN)
        return INT32_MIN;
    return value == value ? static_cast<int32_t>(value) : 0;
}
