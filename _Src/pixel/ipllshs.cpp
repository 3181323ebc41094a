#include "_Src/image/check.h"
#include "_Src/pixel/frame.h"

void iplLShiftS(const IplImage* srcImage, IplImage* dstImage, uint32_t nShift)
{
    const IplCaller caller{"iplLShiftS", "ipllshs"};
    if (!ownRequire(caller, srcImage != nullptr, "srcImage==0"))
        return;
    if (nShift == 0)
        return iplXorS(srcImage, dstImage, 0);
    if (nShift >= static_cast<uint32_t>(ownDepthBits(srcImage->depth)))
        return iplAndS(srcImage, dstImage, 0);
    ownScalarOperation(caller, srcImage, dstImage,
                       {&quib::kernels().pixel.leftShiftS, nullptr, static_cast<int32_t>(nShift)});
}
