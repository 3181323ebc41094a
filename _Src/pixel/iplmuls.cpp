#include "_Src/image/check.h"
#include "_Src/pixel/frame.h"

void iplMultiplyS(const IplImage* srcImage, IplImage* dstImage, int32_t value)
{
    const IplCaller caller{"iplMultiplyS", "iplmuls"};
    if (!ownRequire(caller, srcImage != nullptr, "srcImage==0") ||
        !ownRequire(caller, srcImage->depth != IPL_DEPTH_32F,
                    "For processing depth 32F use function iplMultiplySFP"))
        return;
    const uint32_t depth = srcImage->depth;
    if (depth == IPL_DEPTH_1U)
        return iplAndS(srcImage, dstImage, value);
    if ((depth == IPL_DEPTH_8U || depth == IPL_DEPTH_16U) && value <= 0)
        return iplAndS(srcImage, dstImage, 0);
    ownScalarOperation(caller, srcImage, dstImage,
                       {&quib::kernels().pixel.multiplyS, nullptr, ownClampToDepth(depth, value)});
}
