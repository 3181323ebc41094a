#include "_Src/pixel/frame.h"

void iplXor(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage)
{
    const quib::Kernels& kernels = quib::kernels();
    ownPairOperation({"iplXor", "iplxor"}, srcImageA, srcImageB, dstImage,
                     {&kernels.pixel.logicXor, kernels.bits.logicXor, 0});
}
