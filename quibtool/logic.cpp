#include "_Src/ipl.h"
#include "quibtool/pixelops.h"

using namespace quib;

QuibStatus QuibLShiftS(const IplImage* src, IplImage** outHandle, uint32_t nShift)
{
    return ownRunOnClone(iplLShiftS, src, outHandle, nShift);
}

QuibStatus QuibRShiftS(const IplImage* src, IplImage** outHandle, uint32_t nShift)
{
    return ownRunOnClone(iplRShiftS, src, outHandle, nShift);
}

QuibStatus QuibNot(const IplImage* src, IplImage** outHandle)
{
    return ownRunOnClone(iplNot, src, outHandle);
}

QuibStatus QuibAndS(const IplImage* src, IplImage** outHandle, int32_t value)
{
    return ownRunOnClone(iplAndS, src, outHandle, value);
}

QuibStatus QuibOrS(const IplImage* src, IplImage** outHandle, int32_t value)
{
    return ownRunOnClone(iplOrS, src, outHandle, value);
}

QuibStatus QuibXorS(const IplImage* src, IplImage** outHandle, int32_t value)
{
    return ownRunOnClone(iplXorS, src, outHandle, value);
}

// The second handle is tested for null only; the engine refuses a bad record.
QuibStatus QuibAnd(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle)
{
    if (!QuibIsValid(srcA))
        return QUIB_BAD_ARGUMENT;
    if (!srcB || !outHandle)
        return QUIB_BAD_ARGUMENT;
    ownCloneForOperation(srcA, srcB, outHandle);
    iplAnd(srcA, srcB, *outHandle);
    return QUIB_OK;
}

QuibStatus QuibOr(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle)
{
    return ownRunPairOnClone(iplOr, srcA, srcB, outHandle);
}

QuibStatus QuibXor(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle)
{
    return ownRunPairOnClone(iplXor, srcA, srcB, outHandle);
}
