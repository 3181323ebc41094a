#include "_Src/pixel/frame.h"

void iplSquare(const IplImage* srcImage, IplImage* dstImage)
{
    const quib::Kernels& kernels = quib::kernels();
    ownScalarOperation({"iplSquare", "iplsqr"}, srcImage, dstImage,
                       {&kernels.pixel.square, kernels.bits.copy, 0});
}
