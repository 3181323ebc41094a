// The table of row functions that everything above calls, and the processor
// levels that it exists in.
#pragma once

#include "kernels/alpha.h"
#include "kernels/area.h"
#include "kernels/bits.h"
#include "kernels/block.h"
#include "kernels/box.h"
#include "kernels/composite.h"
#include "kernels/convert.h"
#include "kernels/convolve.h"
#include "kernels/dither.h"
#include "kernels/fixed.h"
#include "kernels/gray.h"
#include "kernels/layers.h"
#include "kernels/mirror.h"
#include "kernels/pack16.h"
#include "kernels/pixel.h"
#include "kernels/rank.h"
#include "kernels/scan.h"
#include "kernels/select.h"
#include "kernels/stretch.h"
#include "kernels/tone.h"
#include "kernels/warp.h"
#include "kernels/zoom.h"

namespace quib
{

enum class KernelLevel { base, avx2, avx512 };

// One level's functions, a member a family; each family's header documents its
// functions. Every level computes the same bytes.
struct Kernels {
    KernelLevel level;
    const char* levelName;
    const BlockKernels& block;
    const AlphaKernels& alpha;
    const LayerKernels& layers;
    const ConvertKernels& convert;
    const ZoomKernels& zoom;
    const AreaKernels& area;
    const StretchKernels& stretch;
    const BitKernels& bits;
    const CompositeKernels& composite;
    const PixelKernels& pixel;
    const SelectKernels& select;
    const RankKernels& rank;
    const MirrorKernels& mirror;
    const ConvolveKernels& convolve;
    const DitherKernels& dither;
    const WarpKernels& warp;
    const ToneKernels& tone;
    const ScanKernels& scan;
    const GrayKernels& gray;
    const FixedKernels& fixed;
    const BoxKernels& box;
    const Pack16Kernels& pack16;
};

// The table in use: the best level that this processor has.
const Kernels& kernels();

// The table of one level, or null if it was not compiled or the processor
// lacks it.
const Kernels* kernelsOfLevel(KernelLevel level);

// Makes kernels() give this level from now on; false, with nothing changed, if
// it is not available. For tests and benchmarks: nothing may be running.
bool useKernelLevel(KernelLevel level);

// Picks the best level, as happens at load.
void chooseKernels();

} // namespace quib
