// Fill and copy over regions: iplSet, iplCopy.
#include "_Src/image/check.h"
#include "_Src/image/report.h"
#include "_Src/walk/bits.h"
#include "_Src/walk/region.h"
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
    for (int32_t y = 0; y < region.height; ++y)
        ownSetBits(region.walk.address + y * region.walk.step, region.walk.bitStart, region.width,
                   value);
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
    quib::kernels().bits.copy({job.to.address, job.to.step, job.to.bitStart},
                              {job.from.address, job.from.step, job.from.bitStart}, {},
                              static_cast<size_t>(job.width), static_cast<size_t>(job.height), 0);
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
