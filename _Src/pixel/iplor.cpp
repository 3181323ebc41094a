#include "_Src/pixel/frame.h"

void iplOr(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage)
{
    const quib::Kernels& kernels = quib::kernels();
    ownPairOperation({"iplOr", "iplor"}, srcImageA, srcImageB, dstImage,
                     {&kernels.pixel.logicOr, kernels.bits.logicOr, 0});
}
