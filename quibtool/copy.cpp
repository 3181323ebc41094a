#include "_Src/ipl.h"
#include "kernels/kernels.h"
#include "quibtool/handle.h"

#include <algorithm>

using namespace quib;

QuibStatus QuibCopy(const IplImage* src, IplImage** dstAddress)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    if (!dstAddress)
        return QUIB_BAD_ARGUMENT;
    QuibInfo info{};
    if (const QuibStatus status = ownGetInfo(src, &info))
        return status;
    // The size of a target that is already there is the caller's duty.
    size_t bytes = ownBlockBytes(src);
    if (!*dstAddress) {
        const QuibStatus status = QuibCreate0(info.width, info.height, info.bitDepth, dstAddress);
        if (status != QUIB_OK)
            return status;
        bytes = std::min(bytes, ownBlockBytes(*dstAddress));
    }
    void* to = nullptr;
    if (QuibLockData(*dstAddress, &to) == QUIB_OK)
        quib::kernels().block.copy(to, src->imageData, bytes);
    return QUIB_OK;
}

QuibStatus QuibClone(const IplImage* src, IplImage** out)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    if (!out)
        return QUIB_BAD_ARGUMENT;
    if (const int32_t status = iplCheckImage(src))
        return status;
    *out = iplCloneImage(src);
    return *out ? QUIB_OK : QUIB_FAILED;
}
