// What the library reads of a drawing surface while it is locked.
#pragma once

#include "quibtool/blockwalk.h"
#include "quibtool/platform/ddraw.h"
#include "quibtool/quibtool.h"

#include <cstdint>

namespace quib
{

struct LockedSurface {
    uint32_t width;
    uint32_t height;
    BlockWalk rows; // none left for a surface without pixels
    uint32_t bitsPerPixel;
    uint32_t redMask;
    uint32_t greenMask;
    uint32_t blueMask;
};

LockedSurface ownReadDescription(const DDSURFACEDESC& description);
LockedSurface ownReadDescription(const DDSURFACEDESC2& description);

// Locks all of a surface for as long as it takes. A surface that does not lock is
// one of no size, unless it filled the description all the same.
LockedSurface ownLockSurface(IDirectDrawSurface* surface);
LockedSurface ownLockSurface(IDirectDrawSurface7* surface);

// QUIB_SURFACE_BAD_WIDTH and QUIB_SURFACE_BAD_HEIGHT for a surface of another size
// than the image's.
QuibStatus ownCompareSizes(const LockedSurface& surface, int32_t width, int32_t height);

} // namespace quib
