#include "_Src/ipl.h"
#include "quibtool/pixelops.h"

namespace
{
constexpr int32_t fileRow = 8000;
} // namespace

QuibStatus QuibLShiftS(const IplImage* src, IplImage** outHandle, uint32_t nShift)
{
    return ownRunOnClone(iplLShiftS, fileRow + __LINE__, src, outHandle, nShift);
}

QuibStatus QuibRShiftS(const IplImage* src, IplImage** outHandle, uint32_t nShift)
{
    return ownRunOnClone(iplRShiftS, fileRow + __LINE__, src, outHandle, nShift);
}

QuibStatus QuibNot(const IplImage* src, IplImage** outHandle)
{
    return ownRunOnClone(iplNot, fileRow + __LINE__, src, outHandle);
}

QuibStatus QuibAndS(const IplImage* src, IplImage** outHandle, int32_t value)
{
    return ownRunOnClone(iplAndS, fileRow + __LINE__, src, outHandle, value);
}

QuibStatus QuibOrS(const IplImage* src, IplImage** outHandle, int32_t value)
{
    return ownRunOnClone(iplOrS, fileRow + __LINE__, src, outHandle, value);
}

QuibStatus QuibXorS(const IplImage* src, IplImage** outHandle, int32_t value)
{
    return ownRunOnClone(iplXorS, fileRow + __LINE__, src, outHandle, value);
}

// The second handle is tested for null only; the engine refuses a bad record.
QuibStatus QuibAnd(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle)
{
    if (!QuibIsValid(srcA, fileRow + __LINE__))
        return QUIB_BAD_ARGUMENT;
    if (!srcB || !outHandle)
        return QUIB_BAD_ARGUMENT;
    ownCloneForOperation(srcA, srcB, outHandle);
    iplAnd(srcA, srcB, *outHandle);
    return QUIB_OK;
}

QuibStatus QuibOr(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle)
{
    return ownRunPairOnClone(iplOr, fileRow + __LINE__, srcA, srcB, outHandle);
}

QuibStatus QuibXor(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle)
{
    return ownRunPairOnClone(iplXor, fileRow + __LINE__, srcA, srcB, outHandle);
}
