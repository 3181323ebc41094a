// Compiled once per processor level, with QUIB_LEVEL naming the level. Nothing
// here may call inline functions of a library header: the linker could keep a
// copy made for a level that the processor lacks.
#include "kernels/kernels.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace quib::QUIB_LEVEL
{

#include "kernels/alpha.inl"
#include "kernels/area.inl"
#include "kernels/block.inl"
#include "kernels/compose.inl"
#include "kernels/convert.inl"
#include "kernels/stretch.inl"
#include "kernels/zoom.inl"

#define QUIB_NAME_OF(level) #level
#define QUIB_LEVEL_NAME(level) QUIB_NAME_OF(level)

extern const Kernels table;
constinit const Kernels table{
    KernelLevel::QUIB_LEVEL,
    QUIB_LEVEL_NAME(QUIB_LEVEL),
    blockKernels,
    alphaKernels,
    composeKernels,
    convertKernels,
    zoomKernels,
    areaKernels,
    stretchKernels,
};

} // namespace quib::QUIB_LEVEL
