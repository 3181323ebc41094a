#include "_Src/pixel/frame.h"

void iplOrS(const IplImage* srcImage, IplImage* dstImage, int32_t value)
{
    const quib::Kernels& kernels = quib::kernels();
    ownScalarOperation({"iplOrS", "iplors"}, srcImage, dstImage,
                       {&kernels.pixel.orS, kernels.bits.orS, value});
}
