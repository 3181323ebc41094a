// Filters whose windows of 3 x 3 or 5 x 5 taps are fixed. But for floats, the taps of
// each are the products of a column and a row of taps, and one more for the element in
// the middle.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// The types of elements, by which functions are chosen below.
enum FixedElement : size_t {
    fixedU8,
    fixedS8,
    fixedU16,
    fixedS16,
    fixedS32,
    fixedF32,
    fixedElements,
};

// The elements that start at these addresses, each times its tap, are added up.
struct FixedTerms {
    const void* const* elements;
    const int32_t* taps;
    size_t count; // 2, 3 or 5; for floats any
};

// What is made of a sum v and the element e in the middle. Integers are saturated;
// quotients are rounded to nearest, halves up. Quotients of floats are products with
// the divisor's reciprocal, in double.
enum FixedForm : size_t {
    fixedAbsolute,   // |v + number * e|
    fixedSaturated,  // v + number * e
    fixedOver16,     // v / 16
    fixedOver256,    // v / 256
    fixedLessOver9,  // e - v / 9 + number
    fixedLessOver25, // e - v / 25 + number
    fixedForms,
};

// Bytes of the largest number that sums are kept in.
constexpr size_t fixedSumBytes = 8;

// Rows need no alignment and must not overlap. Sums are int16_t for 8 bits, whose sums
// of 16 bits fixedOver256 takes as they are meant, int32_t for 16, int64_t for 32, and
// double for floats, in the order of the terms.
struct FixedKernels {
    // Sums of elements.
    void (*down[fixedElements])(void* sums, const FixedTerms& terms, size_t count);
    // Sums of sums; not for floats.
    void (*across[fixedElements])(void* sums, const FixedTerms& terms, size_t count);
    void (*finish[fixedForms][fixedElements])(void* dst, const void* sums, const void* middle,
                                              int32_t number, size_t count);
};

} // namespace quib
