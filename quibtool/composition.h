// What the direct compositions share: their checks, their target and their walk.
#pragma once

#include "quibtool/quibtool.h"

#include <cstddef>

// Composes `count` 32-bit pixels. `target` is `under` or `over`, or overlaps
// neither.
using ComposeRow = void (*)(uint8_t* target, const uint8_t* under, const uint8_t* over,
                            size_t count);

// The pair blend: over and under by both alphas.
void ComposeRowOver(uint8_t* target, const uint8_t* under, const uint8_t* over, size_t count);

// Lays `over` on `under`, both valid handles, into `under` or, if `result` is
// given, into the handle that it holds, which is made first if it is null.
QuibStatus ownComposeImages(const IplImage* over, IplImage* under, IplImage** result,
                            ComposeRow composeRow);
