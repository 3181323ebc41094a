#include "_Src/ipl.h"
#include "quibtool/pixelops.h"

namespace
{
constexpr int32_t fileRow = 7000;
} // namespace

QuibStatus QuibAddS(const IplImage* src, IplImage** outHandle, int32_t value)
{
    return ownRunOnClone(iplAddS, fileRow + __LINE__, src, outHandle, value);
}

QuibStatus QuibMultiplyS(const IplImage* src, IplImage** outHandle, int32_t value)
{
    return ownRunOnClone(iplMultiplyS, fileRow + __LINE__, src, outHandle, value);
}

QuibStatus QuibMultiplySScale(const IplImage* src, IplImage** outHandle, int32_t value)
{
    return ownRunOnClone(iplMultiplySScale, fileRow + __LINE__, src, outHandle, value);
}

QuibStatus QuibSquare(const IplImage* src, IplImage** outHandle)
{
    return ownRunOnClone(iplSquare, fileRow + __LINE__, src, outHandle);
}

QuibStatus QuibAbs(const IplImage* src, IplImage** outHandle)
{
    return ownRunOnClone(iplAbs, fileRow + __LINE__, src, outHandle);
}

QuibStatus QuibAdd(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle)
{
    return ownRunPairOnClone(iplAdd, fileRow + __LINE__, srcA, srcB, outHandle);
}

QuibStatus QuibSubtract(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle)
{
    return ownRunPairOnClone(iplSubtract, fileRow + __LINE__, srcA, srcB, outHandle);
}

QuibStatus QuibMultiply(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle)
{
    return ownRunPairOnClone(iplMultiply, fileRow + __LINE__, srcA, srcB, outHandle);
}

QuibStatus QuibMultiplyScale(const IplImage* srcA, const IplImage* srcB, IplImage** outHandle)
{
    return ownRunPairOnClone(iplMultiplyScale, fileRow + __LINE__, srcA, srcB, outHandle);
}
