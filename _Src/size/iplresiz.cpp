#include "_Src/image/report.h"
#include "_Src/size/iplZoom.h"

void iplResize(IplImage* src, IplImage* dst, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
               int32_t interpolate)
{
    const IplCaller caller{"iplResize", "iplresiz"};
    const bool isAverage = interpolate == IPL_INTER_SUPER;
    if (isAverage &&
        !ownRequire(caller, xDst <= xSrc && yDst <= ySrc, "(xDst > xSrc || yDst > ySrc)"))
        return;
    if (isAverage)
        iplDecimate(src, dst, xDst, xSrc, yDst, ySrc, interpolate);
    else
        ownZoom(src, dst, xDst, xSrc, yDst, ySrc, interpolate);
    ownBackTrace(caller);
}
