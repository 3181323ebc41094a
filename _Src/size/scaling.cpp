#include "_Src/size/scaling.h"

#include "_Src/image/check.h"
#include "_Src/walk/bits.h"
#include "_Src/walk/tiles.h"

// --- Elements ------------------------------------------------------------------

bool ownRaster(const IplImage* image, IplRaster* raster)
{
    IplWalk walk{};
    if (!ownRegionStart(image, &walk) || walk.channels < 1)
        return false;
    const bool planes = image->dataOrder == IPL_DATA_ORDER_PLANE;
    const int32_t coi = ownCoi(image);
    *raster = {};
    raster->address = reinterpret_cast<uint8_t*>(image->imageData);
    raster->step = walk.step;
    raster->planeStep = walk.planeStep;
    raster->planes = planes ? walk.channels : 1;
    raster->channels = planes ? 1 : walk.channels;
    raster->stride = planes ? 1 : image->nChannels;
    raster->x = ownRegionX(image);
    raster->y = ownRegionY(image);
    if (coi > 0 && planes)
        raster->address += (coi - 1) * walk.planeStep;
    else if (coi > 0)
        raster->first = coi - 1;
    return true;
}

void ownSplitChannels(IplRaster* raster, int32_t elementBytes)
{
    if (raster->channels == 1)
        return;
    raster->planes = raster->channels;
    raster->planeStep = elementBytes;
    raster->channels = 1;
}

int32_t ownProcessedChannels(const IplImage* image)
{
    return ownCoi(image) > 0 ? 1 : image->nChannels - (image->alphaChannel != 0 ? 1 : 0);
}

// --- Destination rows ------------------------------------------------------------

bool ownTarget(const IplImage* dst, const IplImage* mask, int32_t width, IplTarget* target)
{
    *target = {};
    target->width = width;
    return ownRaster(dst, &target->raster) && (!mask || ownMaskStart(mask, &target->mask));
}

template<class Element>
void ownDeliver(const IplTarget& target, int32_t plane, int32_t y, const Element* row,
                int32_t stride)
{
    Element* dst = ownTargetRow<Element>(target, plane, y);
    const IplMaskWalk& mask = target.mask;
    const uint8_t* bits = mask.address ? mask.address + y * mask.step : nullptr;
    const int32_t channels = target.raster.channels;
    for (int32_t x = 0; x < target.width; ++x) {
        if (!bits || ownBit(bits, mask.bitOffset + x))
            for (int32_t c = 0; c < channels; ++c)
                dst[c] = row[c];
        dst += target.raster.stride;
        row += stride;
    }
}

template void ownDeliver(const IplTarget&, int32_t, int32_t, const uint8_t*, int32_t);
template void ownDeliver(const IplTarget&, int32_t, int32_t, const uint16_t*, int32_t);
template void ownDeliver(const IplTarget&, int32_t, int32_t, const float*, int32_t);

void ownDeliverBits(const IplTarget& target, int32_t y, const uint8_t* bits)
{
    const IplMaskWalk& mask = target.mask;
    uint8_t* dst = target.raster.row(0, target.raster.y + y);
    if (!mask.address) {
        ownCopyBits(dst, target.raster.x, bits, 0, target.width);
        return;
    }
    const uint8_t* maskBits = mask.address + y * mask.step;
    for (int32_t x = 0; x < target.width; ++x)
        if (ownBit(maskBits, mask.bitOffset + x))
            ownPutBit(dst, target.raster.x + x, ownBit(bits, x));
}

// --- Masks and tiles -------------------------------------------------------------

namespace
{

// An untiled image with another's format; null if it could not be had.
IplImage* createLike(const IplImage* image, int32_t width, int32_t height)
{
    IplImage* made =
        iplCreateImageHeader(image->nChannels, image->alphaChannel, image->depth, image->colorModel,
                             image->channelSeq, image->dataOrder, image->origin, image->align,
                             width, height, nullptr, nullptr, nullptr, nullptr);
    if (!made)
        return nullptr;
    if (image->depth == IPL_DEPTH_32F)
        iplAllocateImageFP(made, 0, 0.0f);
    else
        iplAllocateImage(made, 0, 0);
    if (!made->imageData) {
        iplDeallocate(made, IPL_IMAGE_HEADER);
        return nullptr;
    }
    return made;
}

// Reports that there is no memory, unless the allocator has reported it.
void reportNoMemory(const IplCaller& caller)
{
    if (!ownBackTrace(caller))
        ownReport(caller, IPL_StsNoMem, "");
}

} // namespace

IplScaling::~IplScaling()
{
    iplDeallocate(ownedMask, IPL_IMAGE_HEADER | IPL_IMAGE_DATA);
    iplDeallocate(flatSource, IPL_IMAGE_HEADER | IPL_IMAGE_DATA);
    iplDeallocate(stagedResult, IPL_IMAGE_HEADER | IPL_IMAGE_DATA);
}

bool ownScaleMask(const IplCaller& caller, IplScaling* scaling, const IplImage* src,
                  const IplImage* dst, const IplFactors& factors)
{
    scaling->src = *src;
    scaling->dst = *dst;
    scaling->src.maskROI = nullptr;
    scaling->dst.maskROI = nullptr;
    IplImage* given = src->maskROI ? src->maskROI : dst->maskROI;
    if (!given)
        return true;
    IplImage* mask =
        iplCreateImageHeader(1, 0, IPL_DEPTH_1U, "GRAY", "G   ", given->dataOrder, given->origin, 4,
                             scaling->width, scaling->height, nullptr, nullptr, nullptr, nullptr);
    if (mask) {
        // Where the resampled mask does not reach, nothing is written.
        iplAllocateImage(mask, 1, 0);
        scaling->ownedMask = mask;
        scaling->mask = mask;
    }
    if (!mask || !mask->imageData) {
        reportNoMemory(caller);
        return false;
    }
    iplResize(given, mask, factors.xDst, factors.xSrc, factors.yDst, factors.ySrc, IPL_INTER_NN);
    return !ownBackTrace(caller);
}

namespace
{

bool fetchSource(const IplCaller& caller, IplScaling* scaling, const IplImage* src)
{
    IplImage* flat = createLike(src, src->width, src->height);
    scaling->flatSource = flat;
    if (!flat) {
        reportNoMemory(caller);
        return false;
    }
    // Windows reach past the region: all of the image is fetched.
    IplROI everything{ownCoi(src), 0, 0, src->width, src->height};
    IplImage tiled = scaling->src;
    tiled.roi = &everything;
    IplImage whole = *flat;
    whole.roi = &everything;
    IplTileSide sides[2] = {{&tiled, IPL_GET_TILE_TO_READ}, {&whole, 0}};
    const IplTileFault fault = ownWalkTiles(sides, 2, src->width, src->height,
                                            [&] { iplCopy(&sides[0].record, &sides[1].record); });
    if (fault.kind != IplTileFault::none) {
        ownReport(caller, IPL_StsInternal, "srcImage->tileInfo->callBack crash");
        return false;
    }
    scaling->src = *flat;
    scaling->src.roi = src->roi;
    return true;
}

bool stageResult(const IplCaller& caller, IplScaling* scaling, const IplImage* dst)
{
    scaling->stagedResult = createLike(dst, scaling->width, scaling->height);
    if (!scaling->stagedResult) {
        reportNoMemory(caller);
        return false;
    }
    scaling->stagedRoi = {ownCoi(dst), 0, 0, scaling->width, scaling->height};
    scaling->dst = *scaling->stagedResult;
    scaling->dst.roi = &scaling->stagedRoi;
    // The mask rules what leaves the staged result.
    scaling->mask = nullptr;
    return true;
}

} // namespace

bool ownFetchTiles(const IplCaller& caller, IplScaling* scaling, const IplImage* src,
                   const IplImage* dst)
{
    return (!src->tileInfo || fetchSource(caller, scaling, src)) &&
           (!dst->tileInfo || stageResult(caller, scaling, dst));
}

void ownStoreTiles(const IplCaller& caller, IplScaling* scaling, const IplImage* dst)
{
    if (!dst->tileInfo)
        return;
    IplImage tiled = *dst;
    tiled.maskROI = nullptr;
    IplTileSide sides[3] = {
        {&scaling->dst, 0}, {&tiled, IPL_GET_TILE_TO_WRITE}, {scaling->ownedMask, 0}};
    const bool masked = scaling->ownedMask != nullptr;
    const auto store = [&] {
        sides[0].record.maskROI = masked ? &sides[2].record : nullptr;
        iplCopy(&sides[0].record, &sides[1].record);
    };
    const IplTileFault fault =
        ownWalkTiles(sides, masked ? 3 : 2, scaling->width, scaling->height, store);
    if (fault.kind != IplTileFault::none)
        ownReport(caller, IPL_StsInternal, "dstImage->tileInfo->callBack crash");
}
