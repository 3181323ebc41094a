#include "_Src/ipl.h"
#include "quibtool/handle.h"

using namespace quib;

QuibStatus QuibFlip(IplImage* src, IplImage* dst, int32_t flipAxis)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    if (!QuibIsValid(dst))
        return QUIB_BAD_ARGUMENT;
    QuibInfo from{};
    QuibInfo to{};
    if (const QuibStatus status = ownGetInfo(src, &from))
        return status;
    if (const QuibStatus status = ownGetInfo(dst, &to))
        return status;
    if (from.width != to.width || from.height != to.height || from.bitDepth != to.bitDepth)
        return QUIB_BAD_ARGUMENT;
    iplMirror(src, dst, flipAxis);
    return QUIB_OK;
}

QuibStatus QuibRotate(IplImage* src, IplImage* dst, double angle, int32_t xCenter, int32_t yCenter,
                      int32_t interpolate)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    if (!QuibIsValid(dst))
        return QUIB_BAD_ARGUMENT;
    if (const int32_t status = iplCheckImage(src))
        return status;
    if (const int32_t status = iplCheckImage(dst))
        return status;
    double xShift = 0.0;
    double yShift = 0.0;
    iplGetRotateShift(xCenter, yCenter, angle, &xShift, &yShift);
    iplRotate(src, dst, angle, xShift, yShift, interpolate);
    return QUIB_OK;
}
