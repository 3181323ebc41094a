#include "_Src/pixel/frame.h"

void iplAndS(const IplImage* srcImage, IplImage* dstImage, int32_t value)
{
    const quib::Kernels& kernels = quib::kernels();
    ownScalarOperation({"iplAndS", "iplands"}, srcImage, dstImage,
                       {&kernels.pixel.andS, kernels.bits.andS, value});
}
