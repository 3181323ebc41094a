// The nearest stretch of pixels of any size.
#pragma once

#include "quibtool/stretch/stretch.h"
#include "quibtool/stretch/tables.h"

namespace quib
{

// The row functions of one pixel size.
struct Gather {
    size_t pixelBytes;
    decltype(StretchKernels::gather8) byIndex;
    decltype(StretchKernels::gatherSteps8) bySteps;
};

// Pixel x, y comes from the tables' entries of idx0. A source that is the target
// too is read as the pixels before leave it.
void stretchNearest(const StretchTarget& to, const StretchSource& from, const StretchTables& tables,
                    const Gather& gather);

} // namespace quib
