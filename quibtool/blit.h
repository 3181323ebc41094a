// The row copier of QuibBlt.
#pragma once

#include "quibtool/blockwalk.h"

// Moves `height` rows of `width` pixels, top row first, each as one run of
// bytes whether it reaches past its image's row or not. Nothing is read or
// written past the end of either block. Both may be the same block.
void CopyRows(BlockWalk dst, BlockWalk src, int32_t width, int32_t height, int32_t bytesPerPixel);
