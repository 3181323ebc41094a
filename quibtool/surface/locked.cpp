#include "quibtool/surface/locked.h"

using namespace quib;

namespace
{

template<class Description>
BlockWalk rowsOf(const Description& description)
{
    if (!description.lpSurface || description.lPitch < 1)
        return {};
    const uint64_t pitch = static_cast<uint64_t>(description.lPitch);
    const uint64_t bytes = pitch * description.dwHeight;
    if (bytes > PTRDIFF_MAX)
        return {};
    return {static_cast<uint8_t*>(description.lpSurface), static_cast<size_t>(bytes),
            static_cast<size_t>(pitch)};
}

template<class Description>
LockedSurface read(const Description& description)
{
    const DDPIXELFORMAT& format = description.ddpfPixelFormat;
    return {static_cast<uint32_t>(description.dwWidth),
            static_cast<uint32_t>(description.dwHeight),
            rowsOf(description),
            static_cast<uint32_t>(format.dwRGBBitCount),
            static_cast<uint32_t>(format.dwRBitMask),
            static_cast<uint32_t>(format.dwGBitMask),
            static_cast<uint32_t>(format.dwBBitMask)};
}

template<class Description, class Surface>
LockedSurface lock(Surface* surface)
{
    Description description{};
    description.dwSize = sizeof description;
    surface->Lock(nullptr, &description, DDLOCK_WAIT, nullptr);
    return read(description);
}

} // namespace

LockedSurface quib::ownReadDescription(const DDSURFACEDESC& description)
{
    return read(description);
}

LockedSurface quib::ownReadDescription(const DDSURFACEDESC2& description)
{
    return read(description);
}

LockedSurface quib::ownLockSurface(IDirectDrawSurface* surface)
{
    return lock<DDSURFACEDESC>(surface);
}

LockedSurface quib::ownLockSurface(IDirectDrawSurface7* surface)
{
    return lock<DDSURFACEDESC2>(surface);
}

QuibStatus quib::ownCompareSizes(const LockedSurface& surface, int32_t width, int32_t height)
{
    if (surface.width != static_cast<uint32_t>(width))
        return QUIB_SURFACE_BAD_WIDTH;
    if (surface.height != static_cast<uint32_t>(height))
        return QUIB_SURFACE_BAD_HEIGHT;
    return QUIB_OK;
}
