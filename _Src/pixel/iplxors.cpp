#include "_Src/pixel/frame.h"

void iplXorS(const IplImage* srcImage, IplImage* dstImage, int32_t value)
{
    const quib::Kernels& kernels = quib::kernels();
    ownScalarOperation({"iplXorS", "iplxors"}, srcImage, dstImage,
                       {&kernels.pixel.xorS, kernels.bits.xorS, value});
}

void iplNot(const IplImage* srcImage, IplImage* dstImage)
{
    iplXorS(srcImage, dstImage, -1);
}
