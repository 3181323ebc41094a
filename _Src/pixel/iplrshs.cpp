#include "_Src/image/check.h"
#include "_Src/pixel/frame.h"

#include <algorithm>

void iplRShiftS(const IplImage* srcImage, IplImage* dstImage, uint32_t nShift)
{
    const IplCaller caller{"iplRShiftS", "iplrshs"};
    if (!ownRequire(caller, srcImage != nullptr, "srcImage==0"))
        return;
    if (nShift == 0)
        return iplXorS(srcImage, dstImage, 0);
    const uint32_t bits = static_cast<uint32_t>(ownDepthBits(srcImage->depth));
    const bool isSigned = srcImage->depth & IPL_DEPTH_SIGN;
    if (nShift >= bits && !isSigned)
        return iplAndS(srcImage, dstImage, 0);
    ownScalarOperation(caller, srcImage, dstImage,
                       {&quib::kernels().pixel.rightShiftS, nullptr,
                        static_cast<int32_t>(std::min(nShift, bits - 1))});
}
