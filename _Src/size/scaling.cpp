#include "_Src/size/scaling.h"

#include "_Src/walk/tiles.h"

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
    // A mask is resized as the image that it is: the operation comes back to itself,
    // one level deeper for each mask that a mask carries.
    iplResize(given, mask, factors.xDst, factors.xSrc, factors.yDst, factors.ySrc, IPL_INTER_NN);
    return !ownBackTrace(caller);
}

namespace
{

// What samples of the region look at. A window of four pixels is moved into the
// image and reaches three past the region at most.
IplROI sampledPart(const IplImage* src)
{
    constexpr int32_t reach = 3;
    int32_t width = 0;
    int32_t height = 0;
    if (!ownRegionSize(src, &height, &width, true))
        return {};
    const int32_t x = ownRegionX(src);
    const int32_t y = ownRegionY(src);
    const int32_t left = std::max(x - reach, 0);
    const int32_t top = std::max(y - reach, 0);
    return {ownCoi(src), left, top, std::min(x + width - left + reach, src->width - left),
            std::min(y + height - top + reach, src->height - top)};
}

bool fetchSource(const IplCaller& caller, IplScaling* scaling, const IplImage* src)
{
    IplImage* flat = createLike(src, src->width, src->height);
    scaling->flatSource = flat;
    if (!flat) {
        reportNoMemory(caller);
        return false;
    }
    const IplROI part = sampledPart(src);
    IplTileSide sides[2] = {{.image = src, .mode = IPL_GET_TILE_TO_READ, .region = &part},
                            {.image = flat, .region = &part}};
    const IplTileFault fault = ownWalkTiles(sides, 2, part.width, part.height, [&] {
        sides[0].record.maskROI = nullptr;
        iplCopy(&sides[0].record, &sides[1].record);
    });
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
    IplTileSide sides[3] = {
        {&scaling->dst, 0}, {dst, IPL_GET_TILE_TO_WRITE}, {scaling->ownedMask, 0}};
    const bool masked = scaling->ownedMask != nullptr;
    const auto store = [&] {
        sides[0].record.maskROI = masked ? &sides[2].record : nullptr;
        sides[1].record.maskROI = nullptr;
        iplCopy(&sides[0].record, &sides[1].record);
    };
    const IplTileFault fault =
        ownWalkTiles(sides, masked ? 3 : 2, scaling->width, scaling->height, store);
    if (fault.kind != IplTileFault::none)
        ownReport(caller, IPL_StsInternal, "dstImage->tileInfo->callBack crash");
}
