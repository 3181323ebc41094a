#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

#define QUIB_NAME_OF(level) #level
#define QUIB_LEVEL_NAME(level) QUIB_NAME_OF(level)

constinit const Kernels table{
    .level = KernelLevel::QUIB_LEVEL,
    .levelName = QUIB_LEVEL_NAME(QUIB_LEVEL),
    .block = blockKernels,
    .alpha = alphaKernels,
    .layers = layerKernels,
    .convert = convertKernels,
    .zoom = zoomKernels,
    .area = areaKernels,
    .stretch = stretchKernels,
    .bits = bitKernels,
    .composite = compositeKernels,
    .pixel = pixelKernels,
    .select = selectKernels,
    .rank = rankKernels,
    .mirror = mirrorKernels,
    .convolve = convolveKernels,
    .dither = ditherKernels,
    .warp = warpKernels,
    .tone = toneKernels,
    .scan = scanKernels,
    .gray = grayKernels,
    .fixed = fixedKernels,
    .box = boxKernels,
    .pack16 = pack16Kernels,
};

} // namespace quib::QUIB_LEVEL
