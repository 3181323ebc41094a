// Pixels along a line, from one image to another.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// Rows of 32-bit pixels, of which only so many are there. The limits are those of
// x and y in the destination and of x and y in the source.
struct ScanRows {
    uint8_t* const* dst;
    const uint8_t* const* src;
    double limits[4];
};

struct ScanKernels {
    // Moves `count` pixels, one after the other, from the place in the source to
    // the place in the destination that the first point, in the order of the
    // limits, and then its repeated sums with `step` give, cut to whole numbers
    // toward zero. A point outside any limit is left out. The images may overlap.
    void (*move)(const ScanRows& rows, const double (&first)[4], const double (&step)[4],
                 size_t count);
};

} // namespace quib
