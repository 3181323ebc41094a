// Two values from bits: iplBitonalToGray.
#include "_Src/image/check.h"
#include "_Src/image/report.h"
#include "_Src/walk/raster.h"
#include "_Src/walk/tiles.h"
#include "kernels/kernels.h"

namespace
{

constexpr IplCaller caller{"iplBitonalToGray", "..\\_Src\\iplbitnl"};

struct TwoScales {
    int32_t zero;
    int32_t one;
};

// --- Checks --------------------------------------------------------------------------------

// The range of a depth, and what is reported for a scale outside it.
struct ScaleLimits {
    uint32_t depth;
    int32_t low;
    int32_t high;
    const char* zeroAbove;
    const char* zeroBelow;
    const char* oneAbove;
    const char* oneBelow;
};

constexpr ScaleLimits scaleLimits[] = {
    {IPL_DEPTH_8S, -128, 127, "((dstImage->depth == (0x80000000| 8)) && (ZeroScale > 127))",
     "((dstImage->depth == (0x80000000| 8)) && (ZeroScale < -128))",
     "((dstImage->depth == (0x80000000| 8)) && (OneScale > 127))",
     "((dstImage->depth == (0x80000000| 8)) && (OneScale < -128))"},
    {IPL_DEPTH_8U, 0, 255, "((dstImage->depth == 8) && (ZeroScale > 255))",
     "((dstImage->depth == 8) && (ZeroScale < 0))", "((dstImage->depth == 8) && (OneScale > 255))",
     "((dstImage->depth == 8) && (OneScale < 0))"},
    {IPL_DEPTH_16S, -32768, 32767, "((dstImage->depth == (0x80000000|16)) && (ZeroScale > 32767))",
     "((dstImage->depth == (0x80000000|16)) && (ZeroScale < -32768))",
     "((dstImage->depth == (0x80000000|16)) && (OneScale > 32767))",
     "((dstImage->depth == (0x80000000|16)) && (OneScale < -32768))"},
    {IPL_DEPTH_16U, 0, 65535, "((dstImage->depth == 16) && (ZeroScale > 65535))",
     "((dstImage->depth == 16) && (ZeroScale < 0))",
     "((dstImage->depth == 16) && (OneScale > 65535))",
     "((dstImage->depth == 16) && (OneScale < 0))"},
};

bool areInRange(uint32_t depth, const TwoScales& scales)
{
    for (const ScaleLimits& limits : scaleLimits)
        if (limits.depth == depth)
            return ownRequire(caller, scales.zero <= limits.high, limits.zeroAbove) &&
                   ownRequire(caller, scales.zero >= limits.low, limits.zeroBelow) &&
                   ownRequire(caller, scales.one <= limits.high, limits.oneAbove) &&
                   ownRequire(caller, scales.one >= limits.low, limits.oneBelow);
    return true;
}

bool mayExpand(const IplImage* src, const IplImage* dst, const TwoScales& scales)
{
    return ownImageIsGood(caller, src) && ownImageIsGood(caller, dst) &&
           ownRequire(caller, src->height == dst->height,
                      "(srcImage->height != dstImage->height)") &&
           ownRequire(caller, src->width == dst->width, "(srcImage->width != dstImage->width)") &&
           ownRequire(caller, src->nChannels == 1, "(srcImage->nChannels != 1)") &&
           ownRequire(caller, src->depth == IPL_DEPTH_1U, "(srcImage->depth != 1)") &&
           ownRequire(caller, dst->depth != IPL_DEPTH_32F, "(dstImage->depth == 32)") &&
           ownRequire(caller, dst->depth != IPL_DEPTH_1U, "(dstImage->depth == 1)") &&
           areInRange(dst->depth, scales);
}

// --- Pixels --------------------------------------------------------------------------------

template<class Element>
void expandRow(void (*kernel)(Element* dst, size_t stride, const uint8_t* bits, size_t count,
                              Element zero, Element one),
               uint8_t* dst, size_t stride, const uint8_t* bits, size_t count,
               const TwoScales& scales)
{
    kernel(reinterpret_cast<Element*>(dst), stride, bits, count, static_cast<Element>(scales.zero),
           static_cast<Element>(scales.one));
}

// The regions of both records, which are of one size.
void expandRegion(const IplImage* src, const IplImage* dst, bool flips, const TwoScales& scales)
{
    const quib::GrayKernels& gray = quib::kernels().gray;
    IplRaster from{};
    IplRaster to{};
    ownRoiOrigin(src, {0, 1}, &from);
    ownRoiOrigin(dst, {0, dst->nChannels - (dst->alphaChannel != 0)}, &to);
    ownSplitChannels(&to);
    const size_t stride = static_cast<size_t>(to.stride);
    const size_t width = static_cast<size_t>(to.region.width);
    for (int32_t plane = 0; plane < to.planes; ++plane) {
        for (int32_t y = 0; y < to.region.height; ++y) {
            // Tiles are whole bytes of bits wide.
            const int32_t srcY = flips ? to.region.height - 1 - y : y;
            const uint8_t* bits = ownImageRow(from, srcY) + from.region.x / 8;
            uint8_t* row = ownRegionBytes(to, plane, y);
            if (to.elementBytes == 1)
                expandRow(gray.expand8, row, stride, bits, width, scales);
            else if (to.elementBytes == 2)
                expandRow(gray.expand16, row, stride, bits, width, scales);
            else
                expandRow(gray.expand32, row, stride, bits, width, scales);
        }
    }
}

// --- Tiles ----------------------------------------------------------------------------------

// False after a report.
bool expandTiles(const IplImage* src, const IplROI& srcRoi, const IplImage* dst,
                 const IplROI& dstRoi, const TwoScales& scales)
{
    IplTileSide sides[2] = {{.image = src, .mode = IPL_GET_TILE_TO_READ, .region = &srcRoi},
                            {.image = dst, .mode = IPL_GET_TILE_TO_WRITE, .region = &dstRoi}};
    const IplTileFault fault = ownWalkTiles(sides, 2, INT32_MAX, INT32_MAX, [&] {
        expandRegion(&sides[0].record, &sides[1].record, false, scales);
    });
    return fault.kind == IplTileFault::none ||
           ownRequire(caller, false,
                      fault.side == 0 ? "(srcImage->tileInfo->tileData == NULL)"
                                      : "(dstImage->tileInfo->tileData == NULL)");
}

// The walk takes both images' tiles downwards, so rows that change places go one
// by one.
void expandTilesFlipped(const IplImage* src, const IplImage* dst, const TwoScales& scales)
{
    IplROI srcRow{0, 0, 0, src->width, 1};
    IplROI dstRow = srcRow;
    for (dstRow.yOffset = 0; dstRow.yOffset < dst->height; ++dstRow.yOffset) {
        srcRow.yOffset = dst->height - 1 - dstRow.yOffset;
        if (!expandTiles(src, srcRow, dst, dstRow, scales))
            return;
    }
}

} // namespace

void iplBitonalToGray(const IplImage* srcImage, IplImage* dstImage, int32_t ZeroScale,
                      int32_t OneScale)
{
    const TwoScales scales{ZeroScale, OneScale};
    if (!mayExpand(srcImage, dstImage, scales))
        return;
    // Regions play no part.
    const bool flips = srcImage->origin != dstImage->origin;
    if (!srcImage->tileInfo && !dstImage->tileInfo) {
        const IplImage src = ownWithRegion(srcImage, nullptr);
        const IplImage dst = ownWithRegion(dstImage, nullptr);
        expandRegion(&src, &dst, flips, scales);
    } else if (flips) {
        expandTilesFlipped(srcImage, dstImage, scales);
    } else {
        expandTiles(srcImage, ownWhole(srcImage), dstImage, ownWhole(dstImage), scales);
    }
}
