#include "quibtool/blit.h"

#include "_Src/ipl.h"
#include "kernels/kernels.h"
#include "quibtool/handle.h"
#include "quibtool/transfer.h"

#include <algorithm>

using namespace quib;

namespace
{

// One side of a transfer: a rectangle of a handle. Clipping moves its corner
// but never its size.
struct BlitSide {
    IplImage* handle;
    QuibRect rect;
    int32_t width;
    int32_t height;
    QuibInfo info;
};

// Wraps where 32 bits do not hold it: such a rectangle has no size, or is upside
// down and meets no image.
int32_t distance(int32_t from, int32_t to)
{
    return static_cast<int32_t>(static_cast<uint32_t>(to) - static_cast<uint32_t>(from));
}

BlitSide makeSide(IplImage* handle, const QuibRect& rect)
{
    return {handle, rect, distance(rect.left, rect.right), distance(rect.top, rect.bottom), {}};
}

bool hasSize(const BlitSide& side)
{
    return side.width >= 1 && side.height >= 1;
}

BlockWalk walkOf(const BlitSide& side, int32_t bytesPerPixel)
{
    return ownWalkFrom(side.handle, static_cast<size_t>(side.info.widthStep), side.rect.left,
                       side.rect.top, bytesPerPixel);
}

TransferRegion regionOf(const BlitSide& side)
{
    return {side.rect.left, side.rect.top, side.width, side.height};
}

QuibStatus stretchSides(const BlitSide& src, const BlitSide& dst)
{
    if (src.handle->nChannels != 4 || dst.handle->nChannels != 4)
        return ownResizeRegions(src.handle, regionOf(src), dst.handle, regionOf(dst), IPL_INTER_NN);
    const bool done =
        StretchStrided32(ownStretchTarget(walkOf(dst, 4), dst.width, dst.height),
                         ownStretchSource(walkOf(src, 4), src.width, src.height), STRETCH_NEAREST);
    return done ? QUIB_OK : QUIB_FAILED;
}

QuibStatus copySides(const BlitSide& src, const BlitSide& dst)
{
    const int32_t bytesPerPixel = dst.info.bitDepth / 8;
    if (src.info.bitDepth / 8 != bytesPerPixel || src.width != dst.width ||
        src.height != dst.height)
        return ownCopyRegions(src.handle, regionOf(src), dst.handle, regionOf(dst));
    // 1-bit pixels have no whole bytes to move.
    if (bytesPerPixel >= 1)
        CopyRows(walkOf(dst, bytesPerPixel), walkOf(src, bytesPerPixel), dst.width, dst.height,
                 bytesPerPixel);
    return QUIB_OK;
}

// How many rows of a walk lie wholly inside its block.
uint64_t wholeRows(const BlockWalk& walk, uint64_t rowBytes)
{
    return rowBytes <= walk.bytesLeft ? (walk.bytesLeft - rowBytes) / walk.step + 1 : 0;
}

} // namespace

void CopyRows(BlockWalk dst, BlockWalk src, int32_t width, int32_t height, int32_t bytesPerPixel)
{
    const quib::BlockKernels& block = quib::kernels().block;
    const uint64_t rowBytes = static_cast<uint64_t>(width) * static_cast<uint32_t>(bytesPerPixel);
    const uint64_t rows = static_cast<uint64_t>(height);
    const uint64_t whole = std::min({wholeRows(dst, rowBytes), wholeRows(src, rowBytes), rows});
    block.moveRows(dst.row, static_cast<ptrdiff_t>(dst.step), src.row,
                   static_cast<ptrdiff_t>(src.step), static_cast<size_t>(rowBytes),
                   static_cast<size_t>(whole));
    ownSkipRows(&dst, whole);
    ownSkipRows(&src, whole);
    // The rest ends with one of the blocks.
    for (uint64_t y = whole; y < rows && dst.bytesLeft > 0 && src.bytesLeft > 0; ++y) {
        block.moveRows(dst.row, 0, src.row, 0, std::min(dst.bytesLeft, src.bytesLeft), 1);
        ownSkipRows(&dst, 1);
        ownSkipRows(&src, 1);
    }
}

QuibStatus QuibBlt(IplImage* src, int32_t srcLeft, int32_t srcTop, int32_t srcRight,
                   int32_t srcBottom, IplImage* dst, int32_t dstLeft, int32_t dstTop,
                   int32_t dstRight, int32_t dstBottom, int32_t stretch)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    if (!QuibIsValid(dst))
        return QUIB_BAD_ARGUMENT;
    BlitSide from = makeSide(src, {srcLeft, srcTop, srcRight, srcBottom});
    BlitSide to = makeSide(dst, {dstLeft, dstTop, dstRight, dstBottom});
    if (!hasSize(from) || !hasSize(to))
        return QUIB_BAD_ARGUMENT;
    // A record that passes its check has at least one pixel.
    if (const QuibStatus status = ownGetInfo(src, &from.info))
        return status;
    if (const QuibStatus status = ownGetInfo(dst, &to.info))
        return status;
    if (!ownMeetImage(&from.rect, src) || !ownMeetImage(&to.rect, dst))
        return QUIB_BAD_ARGUMENT;
    const bool sizesDiffer = from.width != to.width || from.height != to.height;
    return stretch != 0 && sizesDiffer ? stretchSides(from, to) : copySides(from, to);
}
