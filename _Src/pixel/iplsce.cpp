// Fill and copy over regions: iplSet, iplCopy.
#include "_Src/image/check.h"
#include "_Src/image/report.h"
#include "_Src/walk/bits.h"
#include "_Src/walk/target.h"
#include "_Src/walk/tiles.h"
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

template<class Element>
void setPixels(Element* pixel, Element value, const IplTarget& target, int32_t y)
{
    const uint8_t* mask = ownMaskRow(target, y);
    const IplRaster& raster = target.raster;
    for (int32_t x = 0; x < target.width; ++x, pixel += raster.stride)
        if (!mask || ownBit(mask, target.mask.region.x + x))
            for (int32_t c = 0; c < raster.channels; ++c)
                pixel[c] = value;
}

template<class Element>
void setRegion(const IplTarget& target, int32_t fillValue)
{
    const Element value = static_cast<Element>(fillValue);
    const bool wholeRows = ownTakesWholeRows(target);
    const size_t rowElements = static_cast<size_t>(target.width) * target.raster.stride;
    for (int32_t plane = 0; plane < target.raster.planes; ++plane) {
        for (int32_t y = 0; y < target.height; ++y) {
            Element* row = ownRegionRow<Element>(target.raster, plane, y);
            if (wholeRows)
                fillRun(row, value, rowElements);
            else
                setPixels(row, value, target, y);
        }
    }
}

void setBits(const IplTarget& target, bool value)
{
    for (int32_t y = 0; y < target.height; ++y)
        ownSetBits(ownImageRow(target.raster, y), target.raster.region.x, target.width, value);
}

// Logic with the mask, which is off the record meanwhile.
void setMaskedBits(const IplCaller& caller, IplImage* image, bool value)
{
    IplImage* mask = image->maskROI;
    image->maskROI = nullptr;
    if (value) {
        iplOr(image, mask, image);
    } else {
        iplXorS(mask, mask, 1);
        iplAnd(image, mask, image);
        iplXorS(mask, mask, 1);
    }
    image->maskROI = mask;
    // This route alone looks at a failure that an earlier check left behind.
    ownBackTrace(caller);
}

void setUntiled(const IplImage* image, int32_t width, int32_t height, int32_t fillValue)
{
    IplTarget target;
    if (!ownOpenTarget(image, image->maskROI, width, height, &target))
        return;
    switch (ownDepthBits(image->depth)) {
    case 1:
        return setBits(target, fillValue & 1);
    case 8:
        return setRegion<uint8_t>(target, fillValue);
    case 16:
        return setRegion<uint16_t>(target, fillValue);
    default:
        return setRegion<uint32_t>(target, fillValue);
    }
}

void setTiled(const IplCaller& caller, const IplImage* image, int32_t fillValue)
{
    IplTileSide sides[2] = {{image, IPL_GET_TILE_TO_WRITE}, {image->maskROI, 0}};
    const bool masked = image->maskROI != nullptr;
    const IplTileFault fault = ownWalkTiles(sides, masked ? 2 : 1, INT32_MAX, INT32_MAX, [&] {
        sides[0].record.maskROI = masked ? &sides[1].record : nullptr;
        iplSet(&sides[0].record, fillValue);
    });
    if (fault.kind != IplTileFault::none)
        ownReport(caller, IPL_StsError, "Error get tile to write");
}

// --- Copy ------------------------------------------------------------------------

template<class Element>
void copyRegion(const IplRaster& from, const IplTarget& to)
{
    const bool wholeRows = ownTakesWholeRows(to) && from.stride == to.raster.stride;
    const size_t rowBytes = static_cast<size_t>(to.width) * to.raster.stride * sizeof(Element);
    // One channel each lies the same way in both orders.
    for (int32_t plane = 0; plane < to.raster.planes; ++plane) {
        for (int32_t y = 0; y < to.height; ++y) {
            const auto* row = ownRegionRow<const Element>(from, plane, y);
            if (wholeRows)
                quib::kernels().block.copy(ownRegionBytes(to.raster, plane, y), row, rowBytes);
            else
                ownDeliver(to, plane, y, row, from.stride);
        }
    }
}

void copyBits(const IplRaster& from, const IplTarget& to)
{
    quib::kernels().bits.copy(ownRegionBits<uint8_t>(to.raster, 0, 0), ownRegionBits(from, 0, 0),
                              {}, static_cast<size_t>(to.width), static_cast<size_t>(to.height), 0);
}

// A cleared image of bits that lies as the mask does, or null after a report.
IplImage* createBits(const IplImage* mask, int32_t dataOrder, int32_t align, int32_t width,
                     int32_t height)
{
    IplImage* bits =
        iplCreateImageHeader(1, 0, IPL_DEPTH_1U, "GRAY", "G   ", dataOrder, mask->origin, align,
                             width, height, nullptr, nullptr, nullptr, nullptr);
    iplAllocateImage(bits, 1, 0);
    if (bits && bits->imageData)
        return bits;
    iplDeallocateHeader(bits);
    return nullptr;
}

// The AND of two masks, each from its region's corner, as large as the smaller
// region; null where they have no pixel in common, or after a report.
IplImage* andMasks(const IplImage* maskA, const IplImage* maskB)
{
    int32_t height = 0;
    int32_t width = 0;
    if (!ownCommonRegion(maskA, maskB, nullptr, &height, &width, true))
        return nullptr;
    IplImage* both = createBits(maskA, IPL_DATA_ORDER_PLANE, 4, width, height);
    if (both)
        iplAnd(maskA, maskB, both);
    return both;
}

// The part of a mask at its region's corner, as an image without region and
// mask, or null after a report.
IplImage* extractMask(const IplImage* mask, int32_t width, int32_t height)
{
    IplImage* part = createBits(mask, mask->dataOrder, mask->align, width, height);
    if (!part)
        return nullptr;
    IplImage unmasked = *mask;
    unmasked.maskROI = nullptr;
    iplCopy(&unmasked, part);
    return part;
}

// Clears the bits under the mask and puts the source's in their place. The
// images' own masks are off their records meanwhile.
void copyMaskedBits(const IplCaller& caller, IplImage* src, IplImage* dst, const IplImage* mask,
                    int32_t width, int32_t height)
{
    IplImage* bits = extractMask(mask, width, height);
    if (!bits)
        return;
    IplImage* const srcMask = src->maskROI;
    IplImage* const dstMask = dst->maskROI;
    src->maskROI = nullptr;
    dst->maskROI = bits;
    iplSet(dst, 0);
    dst->maskROI = nullptr;
    iplAnd(src, bits, bits);
    iplOr(dst, bits, dst);
    iplDeallocate(bits, IPL_IMAGE_DATA);
    iplDeallocate(bits, IPL_IMAGE_HEADER);
    src->maskROI = srcMask;
    dst->maskROI = dstMask;
    ownBackTrace(caller);
}

void copyUntiled(const IplCaller& caller, const IplImage* src, const IplImage* dst,
                 const IplImage* mask, int32_t width, int32_t height)
{
    IplRaster from;
    IplTarget to;
    if (!ownRegionStart(src, &from) || !ownOpenTarget(dst, mask, width, height, &to))
        return;
    if (!ownRequire(caller, ownProcessedChannels(src) == ownProcessedChannels(dst),
                    "Number of processed channels of srcImage != "
                    "Number of processed channels of dstImage"))
        return;
    switch (ownDepthBits(src->depth)) {
    case 1:
        return copyBits(from, to);
    case 8:
        return copyRegion<uint8_t>(from, to);
    case 16:
        return copyRegion<uint16_t>(from, to);
    default:
        return copyRegion<uint32_t>(from, to);
    }
}

// Cuts the region at the tiles of the destination, or else of the source; each
// piece goes through iplCopy again, which cuts it at the other's tiles.
void copyTiled(const IplCaller& caller, const IplImage* src, const IplImage* dst,
               const IplImage* mask)
{
    const bool cutAtDst = dst->tileInfo != nullptr;
    IplTileSide sides[3] = {{src, cutAtDst ? 0 : IPL_GET_TILE_TO_READ},
                            {dst, cutAtDst ? IPL_GET_TILE_TO_WRITE : 0},
                            {mask, 0}};
    const IplTileFault fault = ownWalkTiles(sides, mask ? 3 : 2, INT32_MAX, INT32_MAX, [&] {
        // The merged mask takes the place of both images' own.
        sides[0].record.maskROI = mask ? &sides[2].record : nullptr;
        sides[1].record.maskROI = nullptr;
        iplCopy(&sides[0].record, &sides[1].record);
    });
    if (fault.kind != IplTileFault::none)
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
    if (image->maskROI && image->depth == IPL_DEPTH_1U)
        setMaskedBits(caller, image, value & 1);
    else if (image->tileInfo)
        setTiled(caller, image, value);
    else
        setUntiled(image, width, height, value);
}

void iplCopy(const IplImage* srcImage, IplImage* dstImage)
{
    const IplCaller caller{"iplCopy", fileName};
    if (!mayCopy(caller, srcImage, dstImage))
        return;
    // A failure that an earlier quiet check left behind stops the copy.
    if (iplGetStatus() < 0 || srcImage == dstImage)
        return;

    const IplImage* const srcMask = srcImage->maskROI;
    const IplImage* const dstMask = dstImage->maskROI;
    const bool twoMasks = srcMask && dstMask && srcMask != dstMask;
    IplImage* const both = twoMasks ? andMasks(srcMask, dstMask) : nullptr;
    if (twoMasks && !both)
        return;
    const IplImage* const mask = both ? both : srcMask ? srcMask : dstMask;
    int32_t height = 0;
    int32_t width = 0;
    if (ownCommonRegion(srcImage, dstImage, mask, &height, &width, true)) {
        if (mask && dstImage->depth == IPL_DEPTH_1U)
            copyMaskedBits(caller, const_cast<IplImage*>(srcImage), dstImage, mask, width, height);
        else if (srcImage->tileInfo || dstImage->tileInfo)
            copyTiled(caller, srcImage, dstImage, mask);
        else
            copyUntiled(caller, srcImage, dstImage, mask, width, height);
    }
    iplDeallocate(both, IPL_IMAGE_DATA | IPL_IMAGE_HEADER);
}
