#include "_Src/pixel/frame.h"

void iplSubtract(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage)
{
    const quib::Kernels& kernels = quib::kernels();
    ownPairOperation({"iplSubtract", "iplsub"}, srcImageA, srcImageB, dstImage,
                     {&kernels.pixel.subtract, kernels.bits.andNot, 0});
}
