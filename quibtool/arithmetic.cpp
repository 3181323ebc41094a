#include "_Src/ipl.h"
#include "quibtool/pixelops.h"

using namespace quib;

QuibStatus QuibAddS(const IplImage* src, IplImage** outHandle, int32_t value)
{
    return ownRunOnClone(iplAddS, src, outHandle, value);
}

QuibStatus QuibMultiplyS(const IplImage* src, IplImage** outHandle, int32_t value)
{
    return ownRunOnClone(iplMultiplyS, src, outHandle, value);
}

QuibStatus QuibMultiplySScale(const IplImage* src, IplImage** outHandle, int32_t value)
{
    return ownRunOnClone(iplMultiplySScale, src, outHandle, value);
}

QuibStatus QuibSquare(const IplImage* src, IplImage** outHandle)
{
    return ownRunOnClone(iplSquare, src, outHandle);
}

QuibStatus QuibAbs(const IplImage* src, IplImage** outHandle)
{
    return ownRunOnClone(iplAbs, src, outHandle);
}

QuibStatus QuibAdd(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle)
{
    return ownRunPairOnClone(iplAdd, srcA, srcB, outHandle);
}

QuibStatus QuibSubtract(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle)
{
    return ownRunPairOnClone(iplSubtract, srcA, srcB, outHandle);
}

QuibStatus QuibMultiply(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle)
{
    return ownRunPairOnClone(iplMultiply, srcA, srcB, outHandle);
}

QuibStatus QuibMultiplyScale(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle)
{
    return ownRunPairOnClone(iplMultiplyScale, srcA, srcB, outHandle);
}
