// How the kernels of a convolution are computed.
#pragma once

#include "_Src/image/scratch.h"
#include "_Src/window/convkernel.h"
#include "_Src/window/neighbours.h"
#include "kernels/convolve.h"

// The narrowest numbers that hold all sums and products which elements of a depth can
// give.
enum class IplConvArithmetic { words, doubleWords, floats };

IplConvArithmetic ownConvArithmetic(const OwnConvKernel* kernel, uint32_t depth);

// What a sum of floats is multiplied by for a right shift.
float ownConvMultiplier(int32_t nShiftR);

struct IplConvPlan {
    IplConvArithmetic arithmetic;
    int32_t shift;
    float multiplier;
    int64_t first; // of its taps among all plans'
    int64_t count; // taps that are not 0
    bool haveByteTaps;
    bool haveWordTaps;
};

constexpr int32_t ownMostKernels = 10;

// The plans of a call, and the taps of them all.
class IplConvPlans
{
public:
    IplConvPlans(const OwnConvKernel* const* kernels, int32_t nKernels, uint32_t depth);

    // False if there was no memory.
    bool isReady() const;

    IplReach reach() const { return extents; }
    int32_t count() const { return planCount; }
    const IplConvPlan& operator[](int32_t i) const { return plans[i]; }

    // The terms of a plan's sums for the row that `rows` are the neighbours of, with
    // pixels of so many bytes. They hold until the next call.
    quib::ConvolveTerms terms(int32_t i, const uint8_t* const* rows, int64_t pixelBytes) const;

private:
    // Where the pixel of a tap lies, from the one that the result is for.
    struct Place {
        int32_t column;
        int32_t row;
    };

    void list(const OwnConvKernel* kernel, IplConvPlan* plan) const;
    void listPairs(IplConvPlan* plan) const;

    const int32_t planCount;
    IplConvPlan plans[ownMostKernels];
    IplReach extents{};
    const int64_t length;
    IplScratch<Place> places;
    IplScratch<int32_t> taps;
    IplScratch<float> floats;
    IplScratch<uint32_t> bytePairs;
    IplScratch<uint32_t> wordPairs;
    IplScratch<const void*> elements;
};
