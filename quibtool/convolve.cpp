#include "_Src/ipl.h"
#include "quibtool/filterops.h"

using namespace quib;

namespace
{

QuibStatus storeKernel(OwnConvKernel** out, OwnConvKernel* kernel)
{
    *out = kernel;
    return kernel ? QUIB_OK : QUIB_FAILED;
}

} // namespace

QuibStatus QuibCreateConvKernel(OwnConvKernel** outKernel, int32_t nCols, int32_t nRows,
                                int32_t anchorX, int32_t anchorY, const int32_t* values,
                                int32_t nShiftR)
{
    if (!outKernel || !values)
        return QUIB_BAD_ARGUMENT;
    return storeKernel(outKernel,
                       iplCreateConvKernel(nCols, nRows, anchorX, anchorY, values, nShiftR));
}

QuibStatus QuibCreateConvKernelChar(OwnConvKernel** outKernel, int32_t nCols, int32_t nRows,
                                    int32_t anchorX, int32_t anchorY, const int8_t* values,
                                    int32_t nShiftR)
{
    if (!outKernel || !values)
        return QUIB_BAD_ARGUMENT;
    return storeKernel(outKernel,
                       iplCreateConvKernelChar(nCols, nRows, anchorX, anchorY, values, nShiftR));
}

QuibStatus QuibGetConvKernel(const OwnConvKernel* kernel, int32_t* nCols, int32_t* nRows,
                             int32_t* anchorX, int32_t* anchorY, int32_t** values, int32_t* nShiftR)
{
    iplGetConvKernel(kernel, nCols, nRows, anchorX, anchorY, values, nShiftR);
    return QUIB_OK;
}

QuibStatus QuibGetConvKernelChar(const OwnConvKernel* kernel, int32_t* nCols, int32_t* nRows,
                                 int32_t* anchorX, int32_t* anchorY, int8_t** values,
                                 int32_t* nShiftR)
{
    iplGetConvKernelChar(kernel, nCols, nRows, anchorX, anchorY, values, nShiftR);
    return QUIB_OK;
}

QuibStatus QuibDeleteConvKernel(OwnConvKernel* kernel)
{
    if (!kernel)
        return QUIB_BAD_ARGUMENT;
    iplDeleteConvKernel(kernel);
    return QUIB_OK;
}

QuibStatus QuibConvolve2D(const IplImage* src, IplImage** outHandle, OwnConvKernel* const* kernels,
                          int32_t nKernels, int32_t combineMethod)
{
    if (!QuibIsValid(src) || !outHandle || !kernels)
        return QUIB_BAD_ARGUMENT;
    if (const QuibStatus status = createForFilter(src, outHandle))
        return status;
    iplConvolve2D(src, *outHandle, kernels, nKernels, combineMethod);
    return QUIB_OK;
}

QuibStatus QuibConvolveSep2D(const IplImage* src, IplImage** outHandle,
                             const OwnConvKernel* xKernel, const OwnConvKernel* yKernel)
{
    if (!QuibIsValid(src) || !outHandle || !xKernel || !yKernel)
        return QUIB_BAD_ARGUMENT;
    if (const QuibStatus status = createForFilter(src, outHandle))
        return status;
    iplConvolveSep2D(src, *outHandle, xKernel, yKernel);
    return QUIB_OK;
}
