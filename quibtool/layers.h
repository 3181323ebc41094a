// What the direct compositions share: their checks, their target and their walk.
#pragma once

#include "quibtool/blockwalk.h"

// Composes `count` 32-bit pixels. The target may be one of the other rows, and must
// not overlap them in another way: ownComposeRows goes pixel by pixel there, from the
// last to the first.
using ComposeRow = void (*)(uint8_t* target, const uint8_t* under, const uint8_t* over,
                            size_t count);

// The pair blend: over and under by both alphas.
void ComposeRowOver(uint8_t* target, const uint8_t* under, const uint8_t* over, size_t count);

namespace quib
{

// Gives the status of a record's check, or QUIB_BAD_ARGUMENT for an image that
// has not 32 bits a pixel.
QuibStatus ownCheckLayers(const IplImage* over, const IplImage* under);

// A walk in rows that are four times a width apart, from a column and row of
// those rows on.
BlockWalk ownLayerWalk(const IplImage* handle, int32_t stepWidth, int32_t column = 0,
                       int32_t row = 0);

// Composes `height` rows of `width` pixels, as far as all three blocks reach.
void ownComposeRows(ComposeRow composeRow, BlockWalk target, BlockWalk under, BlockWalk over,
                    size_t width, int32_t height);

// Lays `over` on `under`, both valid handles, into `under` or, if `result` is
// given, into the handle that it holds, which is made first if it is null.
QuibStatus ownComposeImages(const IplImage* over, IplImage* under, IplImage** result,
                            ComposeRow composeRow);

} // namespace quib
