#include "_Src/pixel/frame.h"

void iplAnd(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage)
{
    const quib::Kernels& kernels = quib::kernels();
    ownPairOperation({"iplAnd", "ipland"}, srcImageA, srcImageB, dstImage,
                     {&kernels.pixel.logicAnd, kernels.bits.logicAnd, 0});
}
