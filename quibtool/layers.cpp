#include "quibtool/layers.h"

#include "kernels/kernels.h"
#include "quibtool/handle.h"

#include <algorithm>

using namespace quib;

namespace
{

bool overlapsAskew(const uint8_t* a, const uint8_t* b, size_t bytes)
{
    const uintptr_t first = reinterpret_cast<uintptr_t>(a);
    const uintptr_t second = reinterpret_cast<uintptr_t>(b);
    return first != second && std::max(first, second) - std::min(first, second) < bytes;
}

void composeRun(ComposeRow composeRow, uint8_t* target, const uint8_t* under, const uint8_t* over,
                size_t count)
{
    if (!overlapsAskew(target, under, count * 4) && !overlapsAskew(target, over, count * 4)) {
        composeRow(target, under, over, count);
        return;
    }
    // The target is one of the two images, walked askew: one pixel at a time,
    // from the end, at every processor level.
    for (size_t i = count; i-- > 0;)
        composeRow(target + i * 4, under + i * 4, over + i * 4, 1);
}

bool is32Bit(const QuibInfo& info)
{
    return info.width >= 1 && info.height >= 1 && info.bitDepth == 32;
}

} // namespace

void ComposeRowOver(uint8_t* target, const uint8_t* under, const uint8_t* over, size_t count)
{
    quib::kernels().layers.pairBlend(target, under, over, count);
}

QuibStatus quib::ownCheckLayers(const IplImage* over, const IplImage* under)
{
    QuibInfo overInfo{};
    QuibInfo underInfo{};
    if (const QuibStatus status = ownGetInfo(over, &overInfo))
        return status;
    if (const QuibStatus status = ownGetInfo(under, &underInfo))
        return status;
    return is32Bit(overInfo) && is32Bit(underInfo) ? QUIB_OK : QUIB_BAD_ARGUMENT;
}

BlockWalk quib::ownLayerWalk(const IplImage* handle, int32_t stepWidth, int32_t column, int32_t row)
{
    return ownWalkFrom(handle, static_cast<size_t>(stepWidth) * 4, column, row, 4);
}

void quib::ownComposeRows(ComposeRow composeRow, BlockWalk target, BlockWalk under, BlockWalk over,
                          size_t width, int32_t height)
{
    for (int32_t y = 0; y < height; ++y) {
        const size_t left = std::min({target.bytesLeft, under.bytesLeft, over.bytesLeft});
        composeRun(composeRow, target.row, under.row, over.row, std::min(width, left / 4));
        for (BlockWalk* walk : {&target, &under, &over})
            ownSkipRows(walk, 1);
    }
}

QuibStatus quib::ownComposeImages(const IplImage* over, IplImage* under, IplImage** result,
                                  ComposeRow composeRow)
{
    if (const QuibStatus status = ownCheckLayers(over, under))
        return status;
    IplImage* target = under;
    if (result) {
        if (!*result)
            QuibCreate0(under->width, under->height, 32, result);
        target = *result;
        void* data = nullptr;
        if (QuibLockData(target, &data) != QUIB_OK)
            return QUIB_BAD_ARGUMENT;
    }
    // With a result the two steps are exchanged, so images of different widths
    // are walked askew.
    const BlockWalk to = ownLayerWalk(target, under->width);
    const BlockWalk from = ownLayerWalk(under, result ? over->width : under->width);
    const BlockWalk upper = ownLayerWalk(over, result ? under->width : over->width);
    if (over->widthStep == under->widthStep && over->height == under->height)
        ownComposeRows(composeRow, to, from, upper, ownBlockBytes(under) / 4, 1);
    else
        ownComposeRows(composeRow, to, from, upper,
                       static_cast<size_t>(std::min(over->width, under->width)),
                       std::min(over->height, under->height));
    return QUIB_OK;
}
