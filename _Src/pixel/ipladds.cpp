#include "_Src/pixel/frame.h"

void iplAddS(const IplImage* srcImage, IplImage* dstImage, int32_t value)
{
    const IplCaller caller{"iplAddS", "ipladds"};
    if (!ownRequire(caller, srcImage != nullptr, "srcImage==0"))
        return;
    switch (srcImage->depth) {
    case IPL_DEPTH_1U:
        return iplOrS(srcImage, dstImage, value);
    case IPL_DEPTH_8U:
    case IPL_DEPTH_8S:
    case IPL_DEPTH_16U:
    case IPL_DEPTH_16S:
        // No depth's difference goes further, and the smallest value has no
        // negative.
        return iplSubtractS(srcImage, dstImage, value >= -65535 ? -value : 65535, 0);
    case IPL_DEPTH_32F:
        return ownReport(caller, IPL_StsBadArg, "For processing depth 32F use function iplAddSFP");
    default:
        ownScalarOperation(caller, srcImage, dstImage,
                           {&quib::kernels().pixel.addS, nullptr, value});
    }
}
