// Gray from colours: iplColorToGray.
#include "_Src/colour/Ownctog.h"
#include "_Src/colour/owncolor.h"
#include "_Src/image/report.h"
#include "_Src/walk/raster.h"
#include "_Src/walk/tiles.h"

namespace
{

constexpr IplCaller caller{"iplColorToGray", "iplcolor"};

bool hasPixels(const IplImage* image)
{
    return image->imageData || image->tileInfo;
}

// The pixels that the regions of both records have in common.
bool convertRegion(const IplImage* src, const IplImage* dst)
{
    IplRaster from{};
    IplRaster to{};
    ownRoiOrigin(src, {0, src->nChannels}, &from);
    ownRoiOrigin(dst, {0, dst->nChannels}, &to);
    const IplRect& region = to.region;
    uint8_t* const dstPixels =
        dst->depth == IPL_DEPTH_1U ? ownImageRow(to, 0) + region.x / 8 : ownRegionBytes(to, 0, 0);
    return ownColorToGray(src, dst, ownRegionBytes(from, 0, 0), dstPixels, src->widthStep,
                          std::min(from.region.height, region.height),
                          std::min(from.region.width, region.width), dst->widthStep, src->height);
}

// Tiles are whole bytes of bits wide, so all pieces begin at one.
void convertTiles(const IplImage* src, const IplImage* dst)
{
    const IplROI from = ownWhole(src);
    const IplROI to = ownWhole(dst);
    IplTileSide sides[2] = {{.image = src, .mode = IPL_GET_TILE_TO_READ, .region = &from},
                            {.image = dst, .mode = IPL_GET_TILE_TO_WRITE, .region = &to}};
    bool done = true;
    const IplTileFault fault = ownWalkTiles(sides, 2, INT32_MAX, INT32_MAX, [&] {
        done = done && convertRegion(&sides[0].record, &sides[1].record);
    });
    if (fault.kind != IplTileFault::none)
        ownReport(caller, IPL_StsError,
                  fault.side == 0 ? "Error get tile to read" : "Error get tile to write");
}

} // namespace

void iplColorToGray(const IplImage* src, IplImage* dst)
{
    if (!ownImageIsGood(caller, src) || !ownImageIsGood(caller, dst))
        return;
    if (!ownRequire(caller, src && dst, "null_image_pointer") ||
        !ownRequire(caller, hasPixels(src) && hasPixels(dst), "null_data_pointer"))
        return;
    if (!ownIsColorToGray(src, dst))
        return;
    if (src->tileInfo || dst->tileInfo)
        return convertTiles(src, dst);
    // Regions play no part.
    const IplImage from = ownWithRegion(src, nullptr);
    const IplImage to = ownWithRegion(dst, nullptr);
    convertRegion(&from, &to);
}
