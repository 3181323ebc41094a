// What every family of kernels begins with. Its file is compiled once per
// processor level, with QUIB_LEVEL naming the level, and defines the family's
// table of that level. It calls no inline function of a library header: the linker
// could keep a copy made for a level that the processor lacks.
#pragma once

#include "kernels/kernels.h"
#include "kernels/vector.h"

// Stands before a loop whose elements do not depend on one another, even where
// its operands are the same memory.
#if defined(__clang__)
#define QUIB_INDEPENDENT
#else
#define QUIB_INDEPENDENT _Pragma("GCC ivdep")
#endif

namespace quib::QUIB_LEVEL
{

extern const BlockKernels blockKernels;
extern const AlphaKernels alphaKernels;
extern const LayerKernels layerKernels;
extern const ConvertKernels convertKernels;
extern const ZoomKernels zoomKernels;
extern const AreaKernels areaKernels;
extern const StretchKernels stretchKernels;
extern const BitKernels bitKernels;
extern const CompositeKernels compositeKernels;
extern const PixelKernels pixelKernels;
extern const SelectKernels selectKernels;
extern const RankKernels rankKernels;
extern const MirrorKernels mirrorKernels;
extern const ConvolveKernels convolveKernels;
extern const DitherKernels ditherKernels;
extern const WarpKernels warpKernels;
extern const ToneKernels toneKernels;
extern const ScanKernels scanKernels;
extern const GrayKernels grayKernels;
extern const FixedKernels fixedKernels;
extern const BoxKernels boxKernels;
extern const Pack16Kernels pack16Kernels;
extern const Kernels table;

} // namespace quib::QUIB_LEVEL
