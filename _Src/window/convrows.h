// Rows of the results of one convolution.
#pragma once

#include "_Src/window/convplan.h"

enum IplConvMethod : int32_t {
    IPL_CONV_SUM,
    IPL_CONV_SQUARES,
    IPL_CONV_ROOT,
    IPL_CONV_LARGEST,
    IPL_CONV_SMALLEST,
};

// Makes rows of a depth other than float from the rows around them, bits as bytes of 0
// or 1.
class IplConvRows
{
public:
    // For rows of up to `most` elements. An unknown method is IPL_CONV_SUM.
    IplConvRows(const OwnConvKernel* const* kernels, int32_t nKernels, int32_t method,
                uint32_t depth, int64_t most);

    // False if there was no memory.
    bool isReady() const;

    IplReach reach() const { return plans.reach(); }

    // `count` elements from the rows that reach.top and reach.bottom tell, the top one
    // first; pixels have `channels` elements side by side.
    void make(void* result, const uint8_t* const* rows, int32_t channels, int64_t count) const;

private:
    struct Row;

    bool hasOnly(IplConvArithmetic arithmetic) const;
    void makeAlone(const Row& row) const;
    void makeOfWords(const Row& row) const;
    void makeOfFloats(const Row& row) const;
    void addFloats(const Row& row, int32_t kernel) const;

    const IplConvPlans plans;
    const int32_t method;
    const bool bits;
    const quib::ConvolveElement element;
    const int64_t elementBytes;
    IplScratch<int32_t> sums;     // of one kernel, in any of the three types
    IplScratch<float> floats;     // the same as floats
    IplScratch<int32_t> combined; // of all, in whole numbers or floats
};
