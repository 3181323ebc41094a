// What the wrappers of filters have in common: they let the engine write into a new
// handle.
#pragma once

#include "quibtool/handle.h"

namespace quib
{

// Makes the handle that a filter of `src` writes into: its size and depth, filled with
// opaque black, and with 0 at 24 bits. QUIB_FAILED, with *out as it was, if it cannot
// be made.
QuibStatus createForFilter(const IplImage* src, IplImage** out);

} // namespace quib
