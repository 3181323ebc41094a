// Images into surfaces of the same size.
#include "_Src/ipl.h"
#include "kernels/kernels.h"
#include "quibtool/handle.h"
#include "quibtool/surface/locked.h"
#include "quibtool/surface/pack16.h"
#include "quibtool/surface/rows.h"

using namespace quib;

namespace
{

Packing16 packingOf(const LockedSurface& surface)
{
    return {.blue = ownShiftUnder(surface.blueMask),
            .green = ownShiftUnder(surface.greenMask),
            .red = ownShiftUnder(surface.redMask)};
}

// --- Gray ----------------------------------------------------------------------------------

// Each row takes as many pixels as there are rows, so that those of a tall image
// run on into the next rows. What the next row overwrites is left out.
void grayTo16(const LockedSurface& surface, const BlockWalk& image)
{
    const Packing16 packing = packingOf(surface);
    const auto pack = kernels().pack16.fromGray;
    const size_t step = surface.rows.step;
    PixelRows to{surface.rows, 2};
    PixelRows from{image, 1};
    size_t count = ownPixelsInBoth(to, from, surface.height);
    for (uint32_t y = 0; y < surface.height && count > 0; ++y) {
        const PixelRows row = to;
        const PixelRows gray = from;
        ownSkipRows(&to.rows, 1);
        ownSkipRows(&from.rows, 1);
        const size_t next = y + 1 < surface.height ? ownPixelsInBoth(to, from, surface.height) : 0;
        const size_t seen = next > 0 ? std::min(count, (step + 1) / 2) : count;
        pack(row.rows.row, gray.rows.row, seen, packing);
        const size_t resumed = std::max(seen, step / 2 + next);
        if (resumed < count)
            pack(row.rows.row + 2 * resumed, gray.rows.row + resumed, count - resumed, packing);
        count = next;
    }
}

void drawGray(const IplImage* image, const LockedSurface& surface)
{
    const BlockWalk rows = ownImageRows(image);
    const size_t width = surface.width;
    switch (surface.bitsPerPixel) {
    case 16:
        grayTo16(surface, rows);
        break;
    case 24:
        ownConvertRows({surface.rows, 3}, {rows, 1}, width, surface.height,
                       kernels().convert.grayTo24);
        break;
    case 32:
        ownConvertRows({surface.rows, 4}, {rows, 1}, width, surface.height,
                       kernels().convert.grayUnderAlpha);
        break;
    default:
        break;
    }
}

// --- Colours -------------------------------------------------------------------------------

// Whole rows as they stand, all at once where they lie alike.
void moveRows(const BlockWalk& to, const BlockWalk& from, size_t height)
{
    if (to.bytesLeft == 0 || from.bytesLeft == 0)
        return;
    const size_t rows = std::min({height, to.bytesLeft / to.step, from.bytesLeft / from.step});
    const size_t bytes = std::min(to.step, from.step);
    const auto move = kernels().block.moveRows;
    if (to.step == from.step)
        move(to.row, 0, from.row, 0, rows * bytes, 1);
    else
        move(to.row, static_cast<ptrdiff_t>(to.step), from.row, static_cast<ptrdiff_t>(from.step),
             bytes, rows);
}

void colourTo16(const LockedSurface& surface, const PixelRows& image)
{
    const Packing16 packing = packingOf(surface);
    const auto convert = image.pixelBytes == 4 ? kernels().pack16.from32 : kernels().pack16.from24;
    const auto pack = [&](uint8_t* dst, const uint8_t* src, size_t count) {
        convert(dst, src, count, packing);
    };
    ownConvertRows({surface.rows, 2}, image, surface.width, surface.height, pack);
}

void drawColour(const IplImage* image, const LockedSurface& surface)
{
    const uint32_t bytes = surface.bitsPerPixel >> 3;
    const BlockWalk rows = ownImageRows(image);
    if (static_cast<uint32_t>(image->nChannels) == bytes)
        moveRows(surface.rows, rows, surface.height);
    else if (bytes == 3)
        ownConvertRows({surface.rows, 3}, {rows, 4}, surface.width, surface.height,
                       kernels().convert.to24);
    else if (bytes == 4)
        ownExpandRows(surface.rows, rows, surface.width, surface.height);
    else if (surface.bitsPerPixel == 16)
        colourTo16(surface, {rows, image->nChannels == 4 ? size_t{4} : size_t{3}});
}

// --- Locking -------------------------------------------------------------------------------

// A surface that has changed its size stays locked.
template<class Surface, class Draw>
QuibStatus drawLocked(const IplImage* image, Surface* surface, Draw draw)
{
    const LockedSurface locked = ownLockSurface(surface);
    if (const QuibStatus status = ownCompareSizes(locked, image->width, image->height))
        return status;
    draw(image, locked);
    surface->Unlock(nullptr);
    return QUIB_OK;
}

QuibStatus GrayToSurface(const IplImage* image, IDirectDrawSurface* surface)
{
    return drawLocked(image, surface, drawGray);
}

QuibStatus ColorToSurface(const IplImage* image, IDirectDrawSurface* surface)
{
    return drawLocked(image, surface, drawColour);
}

QuibStatus ColorToSurface7(const IplImage* image, IDirectDrawSurface7* surface)
{
    return drawLocked(image, surface, drawColour);
}

QuibStatus ConvertToSurface16_7(const IplImage* image, IDirectDrawSurface7* surface, bool is565)
{
    QuibInfo info{};
    ownGetInfo(image, &info);
    if (!ownIs16BitSource(info.bitDepth))
        return QUIB_BAD_ARGUMENT;
    const LockedSurface locked = ownLockSurface(surface);
    ConvertTo16(locked.rows, ownImageRows(image), info, is565);
    surface->Unlock(nullptr);
    return QUIB_OK;
}

} // namespace

QuibStatus Quib2Surface(const IplImage* handle, IDirectDrawSurface* surface)
{
    if (!QuibIsValid(handle))
        return QUIB_BAD_ARGUMENT;
    if (!surface)
        return QUIB_BAD_ARGUMENT;
    if (const int32_t status = iplCheckImage(handle))
        return status;
    const LockedSurface locked = ownLockSurface(surface);
    if (const QuibStatus status = ownCompareSizes(locked, handle->width, handle->height))
        return status;
    surface->Unlock(nullptr);
    return handle->nChannels == 1 ? GrayToSurface(handle, surface)
                                  : ColorToSurface(handle, surface);
}

QuibStatus Quib2Surface7(IplImage* handle, IDirectDrawSurface7* surface)
{
    if (!QuibIsValid(handle))
        return QUIB_BAD_ARGUMENT;
    if (!surface)
        return QUIB_BAD_ARGUMENT;
    if (const int32_t status = iplCheckImage(handle))
        return status;
    DDSURFACEDESC2 description{};
    description.dwSize = sizeof description;
    description.dwFlags = DDSD_PIXELFORMAT | DDSD_WIDTH | DDSD_HEIGHT;
    if (const HRESULT result = surface->GetSurfaceDesc(&description); result < 0)
        return result;
    const LockedSurface described = ownReadDescription(description);
    if (const QuibStatus status = ownCompareSizes(described, handle->width, handle->height))
        return status;
    switch (described.bitsPerPixel) {
    case 16:
        return ConvertToSurface16_7(handle, surface, described.greenMask == 0x07E0);
    case 24:
    case 32:
        return ColorToSurface7(handle, surface);
    default:
        return QUIB_SURFACE_BAD_DEPTH;
    }
}

QuibStatus QuibToSurf_16(IplImage* handle, IDirectDrawSurface* surface, int32_t is565)
{
    if (!QuibIsValid(handle))
        return QUIB_BAD_ARGUMENT;
    if (!surface)
        return QUIB_BAD_ARGUMENT;
    QuibInfo info{};
    ownGetInfo(handle, &info);
    if (!ownIs16BitSource(info.bitDepth))
        return QUIB_BAD_ARGUMENT;
    const LockedSurface locked = ownLockSurface(surface);
    QuibStatus status = ownCompareSizes(locked, info.width, info.height);
    if (status == QUIB_OK && locked.bitsPerPixel != 16)
        status = QUIB_BAD_ARGUMENT;
    if (status == QUIB_OK)
        ConvertTo16(locked.rows, ownImageRows(handle), info, is565 != 0);
    surface->Unlock(nullptr);
    return status;
}
