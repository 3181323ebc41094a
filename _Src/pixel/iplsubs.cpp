#include "_Src/image/check.h"
#include "_Src/pixel/frame.h"

#include <algorithm>

namespace
{

// At depth 1, and where every unsigned element gives the same, logic does it;
// true if it did.
bool subtractByLogic(const IplImage* src, IplImage* dst, int32_t value, bool reverse)
{
    const uint32_t depth = src->depth;
    if (depth == IPL_DEPTH_1U) {
        const bool keepsBits = (value & 1) == (reverse ? 1 : 0);
        keepsBits ? iplXorS(src, dst, value) : iplAndS(src, dst, 0);
        return true;
    }
    if (depth != IPL_DEPTH_8U && depth != IPL_DEPTH_16U)
        return false;
    const int32_t largest = depth == IPL_DEPTH_8U ? 255 : 65535;
    const bool allLargest = reverse ? value >= 2 * largest : value <= -largest;
    const bool allZero = reverse ? value < 1 : value >= largest;
    if (allLargest)
        iplOrS(src, dst, -1);
    else if (allZero)
        iplAndS(src, dst, 0);
    return allLargest || allZero;
}

// The nearest value that has the same effect and that the kernels take.
int32_t limitValue(uint32_t depth, int32_t value, bool reverse)
{
    if (depth != IPL_DEPTH_8S && depth != IPL_DEPTH_16S)
        return value;
    const int32_t range = depth == IPL_DEPTH_8S ? 255 : 65535;
    return reverse ? std::clamp(value, -range - 1, range - 1) : std::clamp(value, -range, range);
}

} // namespace

void iplSubtractS(const IplImage* srcImage, IplImage* dstImage, int32_t value, int32_t reverse)
{
    const IplCaller caller{"iplSubtractS", "iplsubs"};
    if (!ownRequire(caller, srcImage != nullptr, "srcImage==0") ||
        !ownRequire(caller, srcImage->depth != IPL_DEPTH_32F,
                    "For processing depth 32F use function iplSubtractSFP"))
        return;
    if (subtractByLogic(srcImage, dstImage, value, reverse != 0))
        return;
    const quib::PixelKernels& pixel = quib::kernels().pixel;
    ownScalarOperation(caller, srcImage, dstImage,
                       {reverse ? &pixel.subtractFromS : &pixel.subtractS, nullptr,
                        limitValue(srcImage->depth, value, reverse != 0)});
}
