#include "_Src/window/results.h"

#include "_Src/walk/bits.h"
#include "_Src/walk/tiles.h"
#include "_Src/window/border.h"

namespace
{

bool hasBits(const IplImage* image)
{
    return image->depth == IPL_DEPTH_1U;
}

} // namespace

IplResults::IplResults(const IplResultShape& resultShape)
    : shape(resultShape), rowBytes(static_cast<int64_t>(shape.width) * shape.channels *
                                   ownElementBytes(shape.dst->depth)),
      firstRow(ownRegionY(shape.dst)),
      bandRows(shape.dst->tileInfo ? shape.dst->tileInfo->height : 1),
      rows(rowBytes <= INT32_MAX ? rowBytes * bandRows : 0),
      bits(hasBits(shape.dst) ? shape.width / 8 + 1 : 0)
{
    turnTo(0, shape.width);
}

bool IplResults::isReady() const
{
    return rows.data && (bits.data || !hasBits(shape.dst));
}

IplTarget IplResults::open(const IplImage* dst, const IplImage* mask, int32_t width,
                           int32_t height) const
{
    IplTarget opened{};
    ownOpenTarget(dst, mask, width, height, &opened);
    if (shape.split)
        ownSplitChannels(&opened.raster);
    opened.raster.channels = std::min(opened.raster.channels, shape.wanted);
    return opened;
}

void IplResults::turnTo(int32_t x, int32_t width)
{
    if (shape.dst->tileInfo)
        return;
    target = open(shape.dst, shape.mask, width, shape.height);
    target.raster.region.x += x;
    target.mask.region.x += x;
    inTheirPlace = ownTakesWholeRows(target) && !hasBits(shape.dst) && shape.planes == 1 &&
                   target.raster.stride == shape.channels;
}

// The place of row y among those that are kept.
uint8_t* IplResults::madeRow(int32_t y) const
{
    return rows.data + (firstRow + static_cast<int64_t>(y)) % bandRows * rowBytes;
}

void* IplResults::place(int32_t y) const
{
    if (!inTheirPlace)
        return madeRow(y);
    const IplRaster& raster = target.raster;
    const ptrdiff_t index = static_cast<ptrdiff_t>(raster.region.x) * raster.stride + raster.first;
    return raster.row(shape.plane, raster.region.y + y) + index * raster.elementBytes;
}

bool IplResults::finish(int32_t y)
{
    if (inTheirPlace)
        return true;
    if (!shape.dst->tileInfo) {
        deliver(target, y, madeRow(y));
        return true;
    }
    const bool tilesEnd = (firstRow + static_cast<int64_t>(y) + 1) % bandRows == 0;
    if (!tilesEnd && y != shape.height - 1)
        return true;
    const int32_t top = bandTop;
    bandTop = y + 1;
    return storeTiles(top, bandTop);
}

// Stores rows [top, end), which lie in one row of tiles.
bool IplResults::storeTiles(int32_t top, int32_t end) const
{
    const int32_t x = ownRegionX(shape.dst);
    const IplROI band{ownCoi(shape.dst), x, firstRow + top, shape.width, end - top};
    IplROI maskBand{0, 0, 0, shape.width, end - top};
    IplTileSide sides[2] = {{.image = shape.dst, .mode = IPL_GET_TILE_TO_WRITE, .region = &band},
                            {.image = shape.mask, .region = &maskBand}};
    if (shape.mask) {
        maskBand.xOffset = ownRegionX(shape.mask);
        maskBand.yOffset = ownRegionY(shape.mask) + top;
    }
    const IplTileSide& side = sides[0];
    const auto store = [&] {
        const int64_t left = side.cursor.x + side.roi.xOffset - x;
        const int64_t upper = side.cursor.y + side.roi.yOffset - firstRow;
        const IplTarget tile = open(&side.record, shape.mask ? &sides[1].record : nullptr,
                                    side.roi.width, side.roi.height);
        for (int32_t y = 0; y < side.roi.height; ++y)
            deliver(tile, y,
                    madeRow(static_cast<int32_t>(upper) + y) + left * (rowBytes / shape.width));
    };
    return ownWalkTiles(sides, shape.mask ? 2 : 1, shape.width, end - top, store).kind ==
           IplTileFault::none;
}

template<class Element>
void IplResults::deliverPlanes(const IplTarget& to, int32_t y, const uint8_t* row) const
{
    const Element* elements = reinterpret_cast<const Element*>(row);
    for (int32_t i = 0; i < shape.planes; ++i)
        ownDeliver(to, shape.plane + i, y, elements + i, shape.channels);
}

void IplResults::deliver(const IplTarget& to, int32_t y, const uint8_t* row) const
{
    const int32_t elementBytes = to.raster.elementBytes;
    if (elementBytes == 0) {
        ownPackBits(bits.data, row, to.width);
        ownDeliverBits(to, y, bits.data);
    } else if (elementBytes == 1) {
        deliverPlanes<uint8_t>(to, y, row);
    } else if (elementBytes == 2) {
        deliverPlanes<uint16_t>(to, y, row);
    } else {
        deliverPlanes<uint32_t>(to, y, row);
    }
}
