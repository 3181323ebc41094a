// Surfaces into images of the same size.
#include "_Src/ipl.h"
#include "kernels/kernels.h"
#include "quibtool/handle.h"
#include "quibtool/surface/locked.h"
#include "quibtool/surface/rows.h"

using namespace quib;

namespace
{

// Moves words of four bytes, whatever a pixel's size is, and sets each one's last
// byte. Rows that lie alike are one row.
void moveOpaqueWords(const BlockWalk& image, const BlockWalk& surface, size_t height)
{
    if (image.bytesLeft == 0 || surface.bytesLeft == 0)
        return;
    const bool asOne = image.step == surface.step;
    const size_t bytes =
        asOne ? std::min(image.bytesLeft, surface.bytesLeft) : std::min(image.step, surface.step);
    const RowsAhead ahead{static_cast<ptrdiff_t>(image.step), static_cast<ptrdiff_t>(surface.step)};
    const auto move = [&](uint8_t* dst, const uint8_t* src, size_t words) {
        kernels().convert.opaqueFrom32(dst, src, words, ahead);
    };
    ownConvertRows({image, 4}, {surface, 4}, bytes / 4, asOne ? 1 : height, move);
}

void readPixels(const IplImage* image, const LockedSurface& surface)
{
    const BlockWalk rows = ownImageRows(image);
    if (static_cast<uint32_t>(image->nChannels) == surface.bitsPerPixel >> 3)
        moveOpaqueWords(rows, surface.rows, surface.height);
    else if (image->nChannels == 4)
        ownExpandRows(rows, surface.rows, surface.width, surface.height);
    else
        ownConvertRows({rows, 3}, {surface.rows, 4}, surface.width, surface.height,
                       kernels().convert.to24);
}

} // namespace

QuibStatus Surface2Quib(IDirectDrawSurface* surface, IplImage* handle)
{
    if (!QuibIsValid(handle))
        return QUIB_BAD_ARGUMENT;
    if (!surface)
        return QUIB_BAD_ARGUMENT;
    if (const int32_t status = iplCheckImage(handle))
        return status;
    // Whatever is refused from here on leaves the surface locked.
    const LockedSurface locked = ownLockSurface(surface);
    if (const QuibStatus status = ownCompareSizes(locked, handle->width, handle->height))
        return status;
    if (locked.bitsPerPixel < 24)
        return QUIB_BAD_ARGUMENT;
    if (handle->nChannels < 3)
        return QUIB_BAD_ARGUMENT;
    readPixels(handle, locked);
    surface->Unlock(nullptr);
    return QUIB_OK;
}
