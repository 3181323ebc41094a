#include "_Src/pixel/frame.h"

void iplMultiply(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage)
{
    const IplCaller caller{"iplMultiply", "iplmul"};
    if (!ownRequire(caller, srcImageA != nullptr, "srcImageA==0"))
        return;
    if (srcImageA->depth == IPL_DEPTH_1U)
        return iplAnd(srcImageA, srcImageB, dstImage);
    ownPairOperation(caller, srcImageA, srcImageB, dstImage,
                     {&quib::kernels().pixel.multiply, nullptr, 0});
}
