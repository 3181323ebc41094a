// Fill and copy over regions: iplSet, iplCopy.
#include "_Src/iplbits.h"
#include "_Src/iplcheck.h"
#include "_Src/iplmask.h"
#include "_Src/iplregion.h"
#include "_Src/iplreport.h"
#include "_Src/ipltiles.h"
#include "kernels/kernels.h"

#include <cstring>

namespace
{

constexpr const char* fileName = "iplsce";

// --- Fill ------------------------------------------------------------------------

void fillRun(uint8_t* dst, uint8_t value, size_t count)
{
    std::memset(dst, value, count);
}

void fillRun(uint16_t* dst, uint16_t value, size_t count)
{
    quib::kernels().block.fill16(dst, value, count);
}

void fillRun(uint32_t* dst, uint32_t value, size_t count)
{
    quib::kernels().block.fill32(dst, value, count);
}

struct Region {
    int32_t width;
    int32_t height;
    IplWalk walk;
    IplMaskWalk mask; // address null: no mask
};

template<class Element>
Element* rowOf(const Region& region, int32_t plane, int32_t y)
{
    return reinterpret_cast<Element*>(region.walk.address + plane * region.walk.planeStep +
                                      y * region.walk.step);
}

template<class Element>
void setPixels(Element* pixel, Element value, const Region& region, int32_t channels,
               int32_t stride, int32_t y)
{
    const uint8_t* mask =
        region.mask.address ? region.mask.address + y * region.mask.step : nullptr;
    for (int32_t x = 0; x < region.width; ++x, pixel += stride)
        if (!mask || ownBit(mask, region.mask.bitOffset + x))
            for (int32_t c = 0; c < channels; ++c)
                pixel[c] = value;
}

template<class Element>
void setRegion(const IplImage* image, const Region& region, int32_t fillValue)
{
    const Element value = static_cast<Element>(fillValue);
    const bool planes = image->dataOrder == IPL_DATA_ORDER_PLANE && image->nChannels > 1;
    const int32_t channels = region.walk.channels;
    const int32_t passes = planes ? channels : 1;
    const int32_t perPixel = planes ? 1 : channels;
    const int32_t stride = planes ? 1 : image->nChannels;
    const bool wholeRows = !region.mask.address && perPixel == stride;
    for (int32_t plane = 0; plane < passes; ++plane) {
        for (int32_t y = 0; y < region.height; ++y) {
            Element* row = rowOf<Element>(region, plane, y);
            if (wholeRows)
                fillRun(row, value, static_cast<size_t>(region.width) * stride);
            else
                setPixels(row, value, region, perPixel, stride, y);
        }
    }
}

void setBits(const Region& region, bool value)
{
    for (int32_t y = 0; y < region.height; ++y) {
        uint8_t* row = region.walk.address + y * region.walk.step;
        if (!region.mask.address) {
            ownSetBits(row, region.walk.bitStart, region.width, value);
            continue;
        }
        const uint8_t* mask = region.mask.address + y * region.mask.step;
        for (int32_t x = 0; x < region.width; ++x)
            if (ownBit(mask, region.mask.bitOffset + x))
                ownPutBit(row, region.walk.bitStart + x, value);
    }
}

void setUntiled(const IplImage* image, int32_t width, int32_t height, int32_t fillValue)
{
    Region region{width, height, {}, {}};
    if (!ownRegionStart(image, &region.walk))
        return;
    if (image->maskROI && !ownMaskStart(image->maskROI, &region.mask))
        return;
    switch (ownDepthBits(image->depth)) {
    case 1:
        return setBits(region, fillValue & 1);
    case 8:
        return setRegion<uint8_t>(image, region, fillValue);
    case 16:
        return setRegion<uint16_t>(image, region, fillValue);
    default:
        return setRegion<uint32_t>(image, region, fillValue);
    }
}

// --- Copy ------------------------------------------------------------------------

struct CopyJob {
    const IplImage* src;
    const IplImage* dst;
    int32_t width;
    int32_t height;
    IplWalk from;
    IplWalk to;
    IplMaskWalk mask; // address null: no mask
};

template<class Element>
void copyPixels(const CopyJob& job, Element* dst, const Element* src, int32_t channels,
                int32_t dstStride, int32_t srcStride, int32_t y)
{
    const uint8_t* mask = job.mask.address ? job.mask.address + y * job.mask.step : nullptr;
    for (int32_t x = 0; x < job.width; ++x, dst += dstStride, src += srcStride)
        if (!mask || ownBit(mask, job.mask.bitOffset + x))
            for (int32_t c = 0; c < channels; ++c)
                dst[c] = src[c];
}

template<class Element>
void copyRegion(const CopyJob& job)
{
    // One channel each lies the same way in both orders.
    const bool planes = job.src->dataOrder == IPL_DATA_ORDER_PLANE &&
                        (job.src->nChannels > 1 || job.dst->nChannels > 1);
    const int32_t passes = planes ? job.to.channels : 1;
    const int32_t perPixel = planes ? 1 : job.to.channels;
    const int32_t srcStride = planes ? 1 : job.src->nChannels;
    const int32_t dstStride = planes ? 1 : job.dst->nChannels;
    const bool wholeRows = !job.mask.address && srcStride == dstStride && perPixel == srcStride;
    const size_t rowBytes = static_cast<size_t>(job.width) * dstStride * sizeof(Element);
    for (int32_t plane = 0; plane < passes; ++plane) {
        for (int32_t y = 0; y < job.height; ++y) {
            uint8_t* to = job.to.address + plane * job.to.planeStep + y * job.to.step;
            const uint8_t* from = job.from.address + plane * job.from.planeStep + y * job.from.step;
            if (wholeRows)
                quib::kernels().block.copy(to, from, rowBytes);
            else
                copyPixels(job, reinterpret_cast<Element*>(to),
                           reinterpret_cast<const Element*>(from), perPixel, dstStride, srcStride,
                           y);
        }
    }
}

void copyBits(const CopyJob& job)
{
    for (int32_t y = 0; y < job.height; ++y) {
        uint8_t* to = job.to.address + y * job.to.step;
        const uint8_t* from = job.from.address + y * job.from.step;
        if (!job.mask.address) {
            ownCopyBits(to, job.to.bitStart, from, job.from.bitStart, job.width);
            continue;
        }
        const uint8_t* mask = job.mask.address + y * job.mask.step;
        for (int32_t x = 0; x < job.width; ++x)
            if (ownBit(mask, job.mask.bitOffset + x))
                ownPutBit(to, job.to.bitStart + x, ownBit(from, job.from.bitStart + x));
    }
}

void copyUntiled(const IplCaller& caller, const IplImage* src, const IplImage* dst,
                 const IplImage* mask, int32_t width, int32_t height)
{
    CopyJob job{src, dst, width, height, {}, {}, {}};
    if (!ownRegionStart(src, &job.from) || !ownRegionStart(dst, &job.to))
        return;
    if (mask && !ownMaskStart(mask, &job.mask))
        return;
    if (!ownRequire(caller, job.from.channels == job.to.channels,
                    "Number of processed channels of srcImage != "
                    "Number of processed channels of dstImage"))
        return;
    switch (ownDepthBits(src->depth)) {
    case 1:
        return copyBits(job);
    case 8:
        return copyRegion<uint8_t>(job);
    case 16:
        return copyRegion<uint16_t>(job);
    default:
        return copyRegion<uint32_t>(job);
    }
}

// Cuts the region at the tiles of the destination, or else of the source; each
// piece goes through iplCopy again, which cuts it at the other's tiles.
void copyTiled(const IplCaller& caller, const IplImage* src, const IplImage* dst,
               const IplImage* mask, int32_t width, int32_t height)
{
    const bool cutAtDst = dst->tileInfo != nullptr;
    const IplImage* tiled = cutAtDst ? dst : src;
    const IplImage* other = cutAtDst ? src : dst;
    IplView otherView{};
    const auto copyPiece = [&](IplView* view, const IplPiece& piece) {
        // The merged mask takes the place of both images' own.
        ownShowMask(view, mask, piece);
        ownShowPiece(&otherView, other, piece);
        otherView.record.maskROI = nullptr;
        if (cutAtDst)
            iplCopy(&otherView.record, &view->record);
        else
            iplCopy(&view->record, &otherView.record);
    };
    const int32_t mode = cutAtDst ? IPL_GET_TILE_TO_WRITE : IPL_GET_TILE_TO_READ;
    const bool complete = ownWalkTiles(tiled, width, height, mode, copyPiece);
    if (!complete)
        ownReport(caller, IPL_StsError,
                  cutAtDst ? "Error get tile to write" : "Error get tile to read");
}

bool mayCopy(const IplCaller& caller, const IplImage* src, const IplImage* dst)
{
    if (!ownImageIsGood(caller, src) || !ownImageIsGood(caller, dst))
        return false;
    const bool orderCounts =
        src->depth != IPL_DEPTH_1U && (src->nChannels > 1 || dst->nChannels > 1);
    return ownRequire(caller, src->depth == dst->depth, "srcImage->depth != dstImage->depth") &&
           ownRequire(caller, src->origin == dst->origin, "srcImage->origin != dstImage->origin") &&
           ownRequire(caller, !orderCounts || src->dataOrder == dst->dataOrder,
                      "srcImage->dataOrder != dstImage->dataOrder");
}

} // namespace

void iplSet(IplImage* image, int32_t fillValue)
{
    const IplCaller caller{"iplSet", fileName};
    if (!ownImageIsGood(caller, image))
        return;
    if (image->depth == IPL_DEPTH_32F) {
        ownReport(caller, IPL_BadDepth, "You should use iplSetFP for this image");
        return;
    }
    const int32_t value = ownClampToDepth(image->depth, fillValue);
    int32_t height = 0;
    int32_t width = 0;
    if (!ownCommonRegion(image, image->maskROI, nullptr, &height, &width, true))
        return;
    const auto setPiece = [value](IplView* view, const IplPiece&) { iplSet(&view->record, value); };
    if (!image->tileInfo)
        setUntiled(image, width, height, value);
    else if (!ownWalkTiles(image, width, height, IPL_GET_TILE_TO_WRITE, setPiece))
        ownReport(caller, IPL_StsError, "Error get tile to write");
    // This route alone looks at a failure that an earlier check left behind.
    if (image->maskROI && image->depth == IPL_DEPTH_1U)
        ownBackTrace(caller);
}

void iplCopy(IplImage* srcImage, IplImage* dstImage)
{
    const IplCaller caller{"iplCopy", fileName};
    if (!mayCopy(caller, srcImage, dstImage))
        return;
    // A failure that an earlier quiet check left behind stops the copy.
    if (iplGetStatus() < 0 || srcImage == dstImage)
        return;

    MaskMerge state{};
    IplImage* const dstMask = dstImage->maskROI == srcImage->maskROI ? nullptr : dstImage->maskROI;
    IplImage* mask = ownMergeMasks(srcImage->maskROI, dstMask, nullptr, &state);
    int32_t height = 0;
    int32_t width = 0;
    if (state != MaskMerge::empty && state != MaskMerge::noMemory &&
        ownCommonRegion(srcImage, dstImage, mask, &height, &width, true)) {
        if (srcImage->tileInfo || dstImage->tileInfo)
            copyTiled(caller, srcImage, dstImage, mask, width, height);
        else
            copyUntiled(caller, srcImage, dstImage, mask, width, height);
    }
    ownFreeMask(mask, state);
}
