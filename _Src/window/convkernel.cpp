// Making, reading and freeing kernels: iplCreateConvKernel and its company.
#include "_Src/window/convkernel.h"

#include "_Src/image/report.h"

namespace
{

constexpr const char* fileName = "iplcnv2d";

int64_t tapCount(const OwnConvKernel* kernel)
{
    return static_cast<int64_t>(kernel->nCols) * kernel->nRows;
}

OwnConvKernel* allocateKernel(int32_t nCols, int32_t nRows)
{
    OwnConvKernel* kernel =
        static_cast<OwnConvKernel*>(iplAlignedMalloc(static_cast<int32_t>(sizeof(OwnConvKernel))));
    if (!kernel)
        return nullptr;
    kernel->nCols = nCols;
    kernel->nRows = nRows;
    constexpr int64_t mostTaps = INT32_MAX / sizeof(int32_t);
    const int64_t count = tapCount(kernel);
    kernel->values = count > mostTaps ? nullptr
                                      : static_cast<int32_t*>(iplAlignedMalloc(
                                            static_cast<int32_t>(count * sizeof(int32_t))));
    return kernel->values ? kernel : nullptr; // without taps the record is lost
}

template<class Tap>
OwnConvKernel* createKernel(const IplCaller& caller, int32_t nCols, int32_t nRows, int32_t anchorX,
                            int32_t anchorY, const Tap* values, int32_t nShiftR)
{
    if (!ownRequire(caller, values != nullptr, "(values == 0)") ||
        !ownRequire(caller, nRows > 0 && nCols > 0, "(nRows<=0 || nCols<=0)") ||
        !ownRequire(caller, anchorX >= 0 && anchorY >= 0 && nRows > anchorY && nCols > anchorX,
                    "(anchorX<0 ||anchorY<0 ||nRows<=anchorY || nCols<=anchorX)"))
        return nullptr;
    OwnConvKernel* kernel = allocateKernel(nCols, nRows);
    if (!kernel) {
        ownReport(caller, IPL_StsNoMem, "Allocation failure");
        return nullptr;
    }
    kernel->anchorX = nCols - 1 - anchorX;
    kernel->anchorY = nRows - 1 - anchorY;
    kernel->nShiftR = nShiftR;
    const int64_t count = tapCount(kernel);
    for (int64_t i = 0; i < count; ++i)
        kernel->values[i] = +values[count - 1 - i]; // with its sign
    return kernel;
}

// Reports each of two addresses that is null; false if the status is now bad.
bool requireBoth(const IplCaller& caller, const void* first, const char* firstText,
                 const void* second, const char* secondText)
{
    ownRequire(caller, first != nullptr, firstText);
    ownRequire(caller, second != nullptr, secondText);
    return iplGetStatus() >= 0;
}

template<class Tap>
void getKernel(const IplCaller& caller, const OwnConvKernel* kernel, int32_t* nCols, int32_t* nRows,
               int32_t* anchorX, int32_t* anchorY, Tap** values, int32_t* nShiftR)
{
    if (!ownRequire(caller, kernel != nullptr, "kernel==0") ||
        !ownRequire(caller, !ownBadKernel(kernel), "ownBadKernel((OwnConvKernel*)kernel)") ||
        !requireBoth(caller, nRows, "nRows==0", nCols, "nCols==0") ||
        !requireBoth(caller, anchorX, "anchorX==0", anchorY, "anchorY==0") ||
        !ownRequire(caller, values != nullptr, "values==0") ||
        !ownRequire(caller, nShiftR != nullptr, "nShiftR==0"))
        return;
    *nCols = kernel->nCols;
    *nRows = kernel->nRows;
    *anchorX = kernel->nCols - 1 - kernel->anchorX;
    *anchorY = kernel->nRows - 1 - kernel->anchorY;
    *nShiftR = kernel->nShiftR;
    const int64_t count = kernel->values ? tapCount(kernel) : 0;
    for (int64_t i = 0; i < count; ++i)
        (*values)[i] = static_cast<Tap>(kernel->values[count - 1 - i]);
}

} // namespace

bool ownBadKernel(const OwnConvKernel* kernel)
{
    return kernel->nRows < 1 || kernel->nCols < 1 || kernel->anchorX < 0 || kernel->anchorY < 0 ||
           kernel->anchorY >= kernel->nRows || kernel->anchorX >= kernel->nCols;
}

OwnConvKernel* iplCreateConvKernel(int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY,
                                   const int32_t* values, int32_t nShiftR)
{
    return createKernel({"iplCreateConvKernel", fileName}, nCols, nRows, anchorX, anchorY, values,
                        nShiftR);
}

OwnConvKernel* iplCreateConvKernelChar(int32_t nCols, int32_t nRows, int32_t anchorX,
                                       int32_t anchorY, const int8_t* values, int32_t nShiftR)
{
    return createKernel({"iplCreateConvKernelChar", fileName}, nCols, nRows, anchorX, anchorY,
                        values, nShiftR);
}

void iplGetConvKernel(const OwnConvKernel* kernel, int32_t* nCols, int32_t* nRows, int32_t* anchorX,
                      int32_t* anchorY, int32_t** values, int32_t* nShiftR)
{
    getKernel({"iplGetConvKernel", fileName}, kernel, nCols, nRows, anchorX, anchorY, values,
              nShiftR);
}

void iplGetConvKernelChar(const OwnConvKernel* kernel, int32_t* nCols, int32_t* nRows,
                          int32_t* anchorX, int32_t* anchorY, int8_t** values, int32_t* nShiftR)
{
    getKernel({"iplGetConvKernelChar", fileName}, kernel, nCols, nRows, anchorX, anchorY, values,
              nShiftR);
}

void iplDeleteConvKernel(OwnConvKernel* kernel)
{
    constexpr IplCaller caller{"iplDeleteConvKernel", fileName};
    if (!ownRequire(caller, kernel != nullptr, "kernel==0") ||
        !ownRequire(caller, kernel->values != nullptr, "kernel->values==0"))
        return;
    iplAlignedFree(kernel->values);
    iplAlignedFree(kernel);
}
