// Means of windows, by running sums: of the columns that they have in common with the
// windows above them, and along a row of the sums of those.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// The types of elements and of the sums of columns that are kept for them, by which
// functions are chosen below.
enum BoxKind : size_t {
    boxBytes,     // uint8_t, uint16_t: up to 128 rows
    boxTallBytes, // uint8_t, uint32_t
    boxWords,     // uint16_t, uint32_t
    boxManyBytes, // uint8_t, uint64_t
    boxManyWords, // uint16_t, uint64_t
    boxInts,      // uint32_t, uint64_t
    boxFloats,    // float, double
    boxKinds,
};

// A window, and how a sum is divided by its number of elements, halves up.
struct BoxWindow {
    size_t nCols;
    size_t stride;     // elements from pixel to pixel
    uint64_t elements; // in the window
    uint32_t flip;     // integers are taken as element ^ flip, and given back so
    // (sum + elements / 2) * factor >> shift, for sums of 31 bits
    uint32_t factor;
    uint32_t shift;
    // Instead of these (sum + elements / 2) * quotient, rounded down; 0: not for these sums
    float quotient;
    double part; // 1 / elements, for floats
};

// Elements past the last that are read or written but do not count, in the sums of
// columns and of windows.
constexpr size_t boxSlack = 32;

struct BoxKernels {
    // Takes a row out of the sums of `count` columns, unless it is null, and another
    // into them. Floats only come in.
    void (*move[boxKinds])(void* columns, const void* leaving, const void* entering, size_t count,
                           uint32_t flip);
    // The means of the windows that start at columns[0] to columns[count - 1], a whole
    // number of pixels. `sums` holds count + boxSlack numbers: of 32 bits for the first
    // three kinds, else of 64. Floats are added up column by column.
    void (*means[boxKinds])(void* dst, const void* columns, void* sums, const BoxWindow& window,
                            size_t count);
};

} // namespace quib
