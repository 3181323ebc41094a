#include "_Src/ipl.h"
#include "kernels/kernels.h"
#include "quibtool/blockwalk.h"
#include "quibtool/handle.h"
#include "quibtool/surface/locked.h"

#include <algorithm>

using namespace quib;

namespace
{

constexpr uint32_t oddOverEven = 0;
constexpr uint32_t onSurface = 2; // added to the two modes
constexpr uint32_t lastMode = 3;

// Overwrites one row of each pair by the other.
void repeatField(uint8_t* rows, size_t step, size_t height, uint32_t mode)
{
    uint8_t* const even = rows;
    uint8_t* const odd = rows + step;
    const bool fromOdd = mode == oddOverEven;
    const ptrdiff_t twoRows = static_cast<ptrdiff_t>(2 * step);
    kernels().block.moveRows(fromOdd ? even : odd, twoRows, fromOdd ? odd : even, twoRows, step,
                             height / 2);
}

QuibStatus interlaceHandle(const IplImage* handle, uint32_t mode)
{
    if (!QuibIsValid(handle))
        return QUIB_BAD_ARGUMENT;
    uint8_t* rows = nullptr;
    if (ownLockData(handle, &rows) == QUIB_OK && ownBlockBytes(handle) > 0 && handle->height > 1)
        repeatField(rows, static_cast<size_t>(handle->widthStep),
                    static_cast<size_t>(handle->height), mode);
    return QUIB_OK;
}

QuibStatus interlaceSurface(IDirectDrawSurface* surface, uint32_t mode)
{
    if (!surface)
        return QUIB_BAD_ARGUMENT;
    DDSURFACEDESC description{};
    description.dwSize = sizeof description;
    if (surface->Lock(nullptr, &description, DDLOCK_WAIT, nullptr) != 0)
        return QUIB_BAD_ARGUMENT;
    const LockedSurface locked = ownReadDescription(description);
    if (locked.rows.bytesLeft > locked.rows.step)
        repeatField(locked.rows.row, locked.rows.step, locked.height, mode);
    surface->Unlock(nullptr);
    return QUIB_OK;
}

// One without bytes for a record that fails its check.
BlockWalk walkOf(const IplImage* handle, size_t step)
{
    uint8_t* rows = nullptr;
    if (ownLockData(handle, &rows) != QUIB_OK)
        return {};
    return ownWalkFrom(handle, step, 0, 0, 1);
}

void copyRow(const BlockWalk& to, const BlockWalk& from)
{
    const size_t bytes = std::min({to.step, to.bytesLeft, from.bytesLeft});
    if (bytes > 0 && to.row != from.row)
        kernels().block.copy(to.row, from.row, bytes);
}

// Rows of all three lie as far apart as those of `even`; no block is left.
void weave(const IplImage* even, const IplImage* odd, const IplImage* dst)
{
    const size_t step = static_cast<size_t>(even->widthStep);
    BlockWalk evenRow = walkOf(even, step);
    BlockWalk oddRow = walkOf(odd, step);
    BlockWalk to = walkOf(dst, step);
    for (int32_t y = 0; y < even->height; ++y) {
        copyRow(to, y % 2 ? oddRow : evenRow);
        for (BlockWalk* walk : {&evenRow, &oddRow, &to})
            ownSkipRows(walk, 1);
    }
}

} // namespace

QuibStatus QuibInterlace(void* target, uint32_t mode)
{
    if (mode > lastMode)
        return QUIB_OK;
    if (mode < onSurface)
        return interlaceHandle(static_cast<const IplImage*>(target), mode);
    return interlaceSurface(static_cast<IDirectDrawSurface*>(target), mode - onSurface);
}

QuibStatus QuibUnInterlace(IplImage* even, IplImage* odd, IplImage** dst)
{
    if (!QuibIsValid(even))
        return QUIB_BAD_ARGUMENT;
    if (!QuibIsValid(odd))
        return QUIB_BAD_ARGUMENT;
    if (!dst)
        return QUIB_BAD_ARGUMENT;
    QuibInfo info{};
    const bool isGood = ownGetInfo(even, &info) == QUIB_OK;
    if (!*dst) {
        const QuibStatus status = QuibCreate0(info.width, info.height, info.bitDepth, dst);
        if (status != QUIB_OK)
            return status;
    }
    if (isGood && QuibIsValid(*dst))
        weave(even, odd, *dst);
    return QUIB_OK;
}
