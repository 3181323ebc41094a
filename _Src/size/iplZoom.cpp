#include "_Src/size/iplZoom.h"

#include "_Src/image/report.h"
#include "_Src/image/round.h"
#include "_Src/size/sample.h"

namespace
{

// The worker's reports are iplZoom's, whoever called it.
constexpr IplCaller caller{"iplZoom", "iplZoom"};

// --- Checks ----------------------------------------------------------------------

bool mayZoom(const IplImage* src, const IplImage* dst, const IplFactors& factors,
             int32_t interpolate)
{
    if (!ownImageIsGood(caller, src) || !ownImageIsGood(caller, dst))
        return false;
    ownRequire(caller,
               interpolate == IPL_INTER_NN || interpolate == IPL_INTER_LINEAR ||
                   interpolate == IPL_INTER_CUBIC,
               "interpolate != IPL_INTER_NN && interpolate != IPL_INTER_LINEAR && "
               "interpolate != IPL_INTER_CUBIC");
    ownRequire(caller, src->depth == dst->depth, "srcImage->depth != dstImage->depth");
    ownRequire(caller,
               src->depth == IPL_DEPTH_1U || src->depth == IPL_DEPTH_8U ||
                   src->depth == IPL_DEPTH_16U || src->depth == IPL_DEPTH_32F,
               "srcImage->depth != IPL_DEPTH_1U && srcImage->depth != IPL_DEPTH_8U && "
               "srcImage->depth != IPL_DEPTH_16U && srcImage->depth != IPL_DEPTH_32F");
    ownRequire(caller, src->dataOrder == dst->dataOrder,
               "srcImage->dataOrder != dstImage->dataOrder");
    ownRequire(caller, factors.xDst > 0 && factors.xSrc > 0, "xDst <= 0 || xSrc <= 0");
    ownRequire(caller, factors.yDst > 0 && factors.ySrc > 0, "yDst <= 0 || ySrc <= 0");
    // A failure that an earlier quiet check left behind counts too.
    if (iplGetStatus() < 0)
        return false;
    return ownRequire(caller, src != dst, "This function isn`t in-plase function");
}

bool isAlphaAlone(const IplImage* image)
{
    return image->alphaChannel != 0 && image->nChannels == 1;
}

// What the image is large enough for.
int32_t adjustMode(const IplImage* src, int32_t mode)
{
    if (src->depth == IPL_DEPTH_1U || src->width < 2 || src->height < 2)
        return IPL_INTER_NN;
    if (mode == IPL_INTER_CUBIC && (src->width < 4 || src->height < 4))
        return IPL_INTER_LINEAR;
    return mode;
}

// --- Positions -------------------------------------------------------------------

// One axis of a zoom: `size` source pixels to `target` destination pixels.
struct ZoomAxis {
    int32_t size;
    double target;
    double step;
    bool isWhole; // one factor is a multiple of the other
};

ZoomAxis zoomAxis(int32_t dstFactor, int32_t srcFactor, int32_t size, int32_t mode)
{
    ZoomAxis axis{};
    axis.size = size;
    axis.target = dstFactor * (static_cast<double>(size) / srcFactor);
    axis.isWhole = std::max(dstFactor, srcFactor) % std::min(dstFactor, srcFactor) == 0;
    if (mode == IPL_INTER_NN && axis.isWhole)
        axis.step = size / axis.target;
    else if (axis.target > 1.0)
        axis.step = (size - 1) / (axis.target - 1.0);
    return axis;
}

// The whole part of a position that may be a little short of a whole number.
double wholePart(double position)
{
    return ownRound(position + 1e-5 - 0.5);
}

// The destination pixels that the source reaches, at most `size`.
int32_t zoomExtent(int32_t dstFactor, int32_t srcFactor, int32_t srcSize, int32_t size)
{
    const double scale = static_cast<double>(srcFactor) / dstFactor;
    const double reached = wholePart(srcSize / scale);
    if (reached >= size)
        return size;
    return reached < 1.0 ? 1 : static_cast<int32_t>(reached);
}

void fillNearest(IplAxis* axis, const ZoomAxis& zoom)
{
    // Samples lie at pixel starts for whole factors, else at pixel centres.
    double position = zoom.isWhole ? 0.0 : 0.5;
    for (int32_t i = 0; i < axis->count; ++i) {
        axis->index.data[i] = std::min(static_cast<int32_t>(wholePart(position)), zoom.size - 1);
        position += zoom.step;
    }
}

void fillFractions(IplAxis* axis, const ZoomAxis& zoom)
{
    double position = 0.0;
    for (int32_t i = 0; i < axis->count; ++i) {
        const int32_t index = static_cast<int32_t>(wholePart(position));
        const bool isLast = index >= zoom.size - 1;
        axis->index.data[i] = isLast ? zoom.size - 2 : index;
        axis->fraction.data[i] = isLast ? 1.0 : static_cast<float>(position - index);
        position += zoom.step;
    }
}

void fillAxis(IplAxis* axis, const ZoomAxis& zoom, int32_t mode)
{
    if (mode == IPL_INTER_NN)
        fillNearest(axis, zoom);
    else
        fillFractions(axis, zoom);
}

// --- The pass ----------------------------------------------------------------------

bool zoomPass(const IplScaling& scaling, const ZoomAxis& xZoom, const ZoomAxis& yZoom, int32_t mode)
{
    IplAxis x(scaling.width);
    IplAxis y(scaling.height);
    if (!x.exists() || !y.exists())
        return false;
    fillAxis(&x, xZoom, mode);
    fillAxis(&y, yZoom, mode);
    return ownSample(&scaling.src, &scaling.dst, scaling.mask, x, y, mode);
}

} // namespace

void ownZoom(IplImage* src, IplImage* dst, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
             int32_t interpolate)
{
    const IplFactors factors{xDst, xSrc, yDst, ySrc};
    if (!mayZoom(src, dst, factors, interpolate))
        return;
    if (isAlphaAlone(src) || isAlphaAlone(dst))
        return;
    int32_t srcHeight = 0;
    int32_t srcWidth = 0;
    IplScaling scaling;
    if (!ownRegionSize(src, &srcHeight, &srcWidth, true) ||
        !ownRegionSize(dst, &scaling.height, &scaling.width, true))
        return;
    scaling.width = zoomExtent(xDst, xSrc, srcWidth, scaling.width);
    scaling.height = zoomExtent(yDst, ySrc, srcHeight, scaling.height);
    if (!ownScaleMask(caller, &scaling, src, dst, factors))
        return;
    if (ownProcessedChannels(src) != ownProcessedChannels(dst)) {
        ownReport(caller, IPL_StsError, "srcImage COI != dstImage COI");
        return;
    }
    if (!ownFetchTiles(caller, &scaling, src, dst))
        return;
    const int32_t mode = adjustMode(src, interpolate);
    const ZoomAxis x = zoomAxis(xDst, xSrc, srcWidth, mode);
    const ZoomAxis y = zoomAxis(yDst, ySrc, srcHeight, mode);
    if (zoomPass(scaling, x, y, mode))
        ownStoreTiles(caller, &scaling, dst);
    else
        ownReport(caller, IPL_StsNoMem, "");
}

void iplZoom(IplImage* src, IplImage* dst, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
             int32_t interpolate)
{
    if (ownRequire(caller, xDst >= xSrc && yDst >= ySrc, "xDst < xSrc || yDst < ySrc"))
        ownZoom(src, dst, xDst, xSrc, yDst, ySrc, interpolate);
}
