// Compiled once per processor level, with QUIB_LEVEL naming the level. Nothing
// here may call inline functions of a library header: the linker could keep a
// copy made for a level that the processor lacks.
#include "kernels/kernels.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

// Stands before a loop whose elements do not depend on one another, even where
// its operands are the same memory.
#if defined(__clang__)
#define QUIB_INDEPENDENT
#else
#define QUIB_INDEPENDENT _Pragma("GCC ivdep")
#endif

namespace quib::QUIB_LEVEL
{

#include "kernels/vector.inl"

#include "kernels/alpha.inl"
#include "kernels/area.inl"
#include "kernels/bits.inl"
#include "kernels/block.inl"
#include "kernels/box.inl"
#include "kernels/composite.inl"
#include "kernels/convert.inl"
#include "kernels/convolve.inl"
#include "kernels/dither.inl"
#include "kernels/fixed.inl"
#include "kernels/gray.inl"
#include "kernels/layers.inl"
#include "kernels/mirror.inl"
#include "kernels/pack16.inl"
#include "kernels/pixel.inl"
#include "kernels/rank.inl"
#include "kernels/scan.inl"
#include "kernels/select.inl"
#include "kernels/stretch.inl"
#include "kernels/tone.inl"
#include "kernels/warp.inl"
#include "kernels/warpaffine.inl"
#include "kernels/zoom.inl"

#define QUIB_NAME_OF(level) #level
#define QUIB_LEVEL_NAME(level) QUIB_NAME_OF(level)

extern const Kernels table;
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
