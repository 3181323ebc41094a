#include "_Src/pixel/frame.h"

void iplAdd(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage)
{
    const IplCaller caller{"iplAdd", "ipladd"};
    if (!ownRequire(caller, srcImageA != nullptr, "srcImageA==0"))
        return;
    if (srcImageA->depth == IPL_DEPTH_1U)
        return iplOr(srcImageA, srcImageB, dstImage);
    ownPairOperation(caller, srcImageA, srcImageB, dstImage,
                     {&quib::kernels().pixel.add, nullptr, 0});
}
