// Convolution kernels for tests.
#pragma once

#include "_Src/ipl.h"
#include "_Src/window/convkernel.h"

#include <memory>
#include <vector>

struct ConvKernelDeleter {
    void operator()(OwnConvKernel* kernel) const { iplDeleteConvKernel(kernel); }
};
using ConvKernel = std::unique_ptr<OwnConvKernel, ConvKernelDeleter>;

inline ConvKernel makeConvKernel(int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY,
                                 const std::vector<int32_t>& values, int32_t nShiftR)
{
    return ConvKernel(iplCreateConvKernel(nCols, nRows, anchorX, anchorY, values.data(), nShiftR));
}
