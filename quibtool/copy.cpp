#include "_Src/ipl.h"
#include "kernels/kernels.h"
#include "quibtool/handle.h"

namespace
{
constexpr int32_t fileRow = 2000;
} // namespace

QuibStatus QuibCopy(const IplImage* src, IplImage** dstAddress)
{
    if (!QuibIsValid(src, fileRow + __LINE__))
        return QUIB_BAD_ARGUMENT;
    if (!dstAddress)
        return QUIB_BAD_ARGUMENT;
    QuibInfo info{};
    if (const QuibStatus status = ownGetInfo(src, &info))
        return status;
    if (!*dstAddress) {
        const QuibStatus status = QuibCreate0(info.width, info.height, info.bitDepth, dstAddress);
        if (status != QUIB_OK)
            return status;
    }
    // The target's size is the caller's duty.
    uint8_t* to = nullptr;
    if (ownLockData(*dstAddress, &to) == QUIB_OK)
        quib::kernels().block.copy(to, src->imageData, ownBlockBytes(src));
    return QUIB_OK;
}

QuibStatus QuibClone(const IplImage* src, IplImage** out)
{
    if (!QuibIsValid(src, fileRow + __LINE__))
        return QUIB_BAD_ARGUMENT;
    if (!out)
        return QUIB_BAD_ARGUMENT;
    if (const int32_t status = iplCheckImage(src))
        return status;
    *out = iplCloneImage(src);
    return *out ? QUIB_OK : QUIB_FAILED;
}
