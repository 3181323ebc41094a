#include "quibtool/composition.h"

#include "kernels/kernels.h"
#include "quibtool/handle.h"

#include <algorithm>

namespace
{

constexpr int32_t fileRow = 9000;

// A walk down an image. It ends where the pixel block does, wherever its
// advance would lead it.
struct Cursor {
    uint8_t* row;
    size_t bytesLeft;
    size_t advance;
};

Cursor startOf(const IplImage* handle, int32_t advanceWidth)
{
    return {reinterpret_cast<uint8_t*>(handle->imageData),
            std::max(static_cast<size_t>(handle->imageSize), ownBlockBytes(handle)),
            static_cast<size_t>(advanceWidth) * 4};
}

void nextRow(Cursor* cursor)
{
    const size_t bytes = std::min(cursor->advance, cursor->bytesLeft);
    cursor->row += bytes;
    cursor->bytesLeft -= bytes;
}

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

void composeRows(ComposeRow composeRow, Cursor target, Cursor under, Cursor over, size_t width,
                 int32_t height)
{
    for (int32_t y = 0; y < height; ++y) {
        const size_t left = std::min({target.bytesLeft, under.bytesLeft, over.bytesLeft});
        composeRun(composeRow, target.row, under.row, over.row, std::min(width, left / 4));
        nextRow(&target);
        nextRow(&under);
        nextRow(&over);
    }
}

bool is32Bit(const QuibInfo& info)
{
    return info.width >= 1 && info.height >= 1 && info.bitDepth == 32;
}

} // namespace

void ComposeRowOver(uint8_t* target, const uint8_t* under, const uint8_t* over, size_t count)
{
    quib::kernels().compose.pairBlend(target, under, over, count);
}

QuibStatus ownComposeImages(const IplImage* over, IplImage* under, IplImage** result,
                            ComposeRow composeRow)
{
    QuibInfo overInfo{};
    QuibInfo underInfo{};
    if (const QuibStatus status = ownGetInfo(over, &overInfo))
        return status;
    if (const QuibStatus status = ownGetInfo(under, &underInfo))
        return status;
    if (!is32Bit(overInfo) || !is32Bit(underInfo))
        return QUIB_BAD_ARGUMENT;
    IplImage* target = under;
    if (result) {
        if (!*result)
            QuibCreate0(underInfo.width, underInfo.height, 32, result);
        target = *result;
        void* data = nullptr;
        if (QuibLockData(target, &data) != QUIB_OK)
            return QUIB_BAD_ARGUMENT;
    }
    // With a result the two advances are exchanged, so images of different
    // widths are walked askew.
    const Cursor to = startOf(target, underInfo.width);
    const Cursor from = startOf(under, result ? overInfo.width : underInfo.width);
    const Cursor upper = startOf(over, result ? underInfo.width : overInfo.width);
    if (overInfo.widthStep == underInfo.widthStep && overInfo.height == underInfo.height)
        composeRows(composeRow, to, from, upper, ownBlockBytes(under) / 4, 1);
    else
        composeRows(composeRow, to, from, upper,
                    static_cast<size_t>(std::min(overInfo.width, underInfo.width)),
                    std::min(overInfo.height, underInfo.height));
    return QUIB_OK;
}

QuibStatus QuibComposition3(const IplImage* over, IplImage* under, IplImage** result)
{
    if (!QuibIsValid(over, fileRow + __LINE__))
        return QUIB_BAD_ARGUMENT;
    if (!QuibIsValid(under, fileRow + __LINE__))
        return QUIB_BAD_ARGUMENT;
    return ownComposeImages(over, under, result, ComposeRowOver);
}
