// Pixels of 16 bits.
#pragma once

#include "kernels/pack16.h"
#include "quibtool/blockwalk.h"
#include "quibtool/quibtool.h"

#include <cstdint>

// The numbers of a mask's outermost bits, from 0; 0 for an empty mask.
int32_t LowestSetBit(uint32_t mask);
int32_t HighestSetBit(uint32_t mask);

// Converts an image of these sizes, 8, 16, 24 or 32 bits a pixel, to a surface of
// 5-6-5 or 5-5-5. The last pixels of rows of odd width, and of all rows of 24
// bits, go from the surface to the image, as all of 8 bits do.
void ConvertTo16(const BlockWalk& surface, const BlockWalk& image, const QuibInfo& info,
                 bool is565);

namespace quib
{

// Whether ConvertTo16 takes images of so many bits a pixel.
bool ownIs16BitSource(int32_t bitDepth);

// How a byte gets to its place under a mask: its upper bits are kept, as many as
// the mask is wide. Of a mask of more than 8 bits they are the upper ones; an
// empty one counts as bit 0.
Packing16::Shift ownShiftUnder(uint32_t mask);

} // namespace quib
