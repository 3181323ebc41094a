// Convolution: sums of taps times elements, what is made of several sums, and
// results saturated to their depths.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// The types of elements, by which functions are chosen below.
enum ConvolveElement : size_t {
    convolveU8,
    convolveS8,
    convolveU16,
    convolveS16,
    convolveS32,
};

// What a row's sums are made of. `elements` has the address that each tap's elements
// start at, for the row's first sum; the next sum takes the next ones.
struct ConvolveTerms {
    const void* const* elements;
    const int32_t* taps;
    const float* floats; // the taps once more
    size_t count;
    // Two taps in turn, as bytes in the whole word and as its halves; null if not
    // all of them fit. If the count is odd, a tap of 0 is the last one's partner, and
    // `elements` has the last address twice.
    const uint32_t* bytePairs;
    const uint32_t* wordPairs;
};

// What becomes of a row when another kernel's results are added to it.
enum ConvolveStep : size_t {
    convolveAdd,
    convolveAddSquares,
    convolveKeepLarger,
    convolveKeepSmaller,
};

// Rows need no alignment and must not overlap, but for those that are changed where
// they are.
struct ConvolveKernels {
    // Sums shifted right: those that with all their products fit into 16 bits, by
    // convolveU8 and convolveS8; those that fit into 32, by these and convolveU16 and
    // convolveS16.
    void (*sums16[2])(int16_t* out, const ConvolveTerms& terms, int32_t shift, size_t count);
    void (*sums32[4])(int32_t* out, const ConvolveTerms& terms, int32_t shift, size_t count);
    // Sums in the order of the taps, each product and each sum rounded, times a
    // factor.
    void (*sumsFloat[5])(float* out, const ConvolveTerms& terms, float factor, size_t count);

    void (*floatsOf16)(float* out, const int16_t* in, size_t count);
    void (*floatsOf32)(float* out, const int32_t* in, size_t count);

    // By ConvolveStep. Squares of whole numbers from 4095 on are all taken as 4095^2.
    void (*step16[4])(int32_t* row, const int16_t* in, size_t count);
    void (*stepFloat[4])(float* row, const float* in, size_t count);

    // Square roots rounded to nearest, of numbers from 0 on. Those of whole numbers go
    // through single precision: above 2049 one that lies almost halfway may be off by 1,
    // as for 2049 * 2050, and from 2^24 on they are any that are larger than 4095.
    void (*roots)(int32_t* row, size_t count);
    void (*rootsFloat)(float* row, size_t count);

    // The nearest elements of a type, halves to even.
    void (*finish16[2])(void* out, const int16_t* in, size_t count);
    void (*finish32[4])(void* out, const int32_t* in, size_t count);
    void (*finishFloat[5])(void* out, const float* in, size_t count);
};

} // namespace quib
