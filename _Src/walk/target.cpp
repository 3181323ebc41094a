#include "_Src/walk/target.h"

#include "_Src/walk/bits.h"

bool ownOpenTarget(const IplImage* dst, const IplImage* mask, int32_t width, int32_t height,
                   IplTarget* target)
{
    *target = {};
    target->width = width;
    target->height = height;
    return ownRegionStart(dst, &target->raster) && (!mask || ownMaskStart(mask, &target->mask));
}

template<class Element>
void ownDeliver(const IplTarget& target, int32_t plane, int32_t y, const Element* row,
                int32_t stride)
{
    Element* dst = ownRegionRow<Element>(target.raster, plane, y);
    const uint8_t* mask = ownMaskRow(target, y);
    const int32_t channels = target.raster.channels;
    for (int32_t x = 0; x < target.width; ++x) {
        if (!mask || ownBit(mask, target.mask.region.x + x))
            for (int32_t c = 0; c < channels; ++c)
                dst[c] = row[c];
        dst += target.raster.stride;
        row += stride;
    }
}

template void ownDeliver(const IplTarget&, int32_t, int32_t, const uint8_t*, int32_t);
template void ownDeliver(const IplTarget&, int32_t, int32_t, const uint16_t*, int32_t);
template void ownDeliver(const IplTarget&, int32_t, int32_t, const uint32_t*, int32_t);
template void ownDeliver(const IplTarget&, int32_t, int32_t, const float*, int32_t);

void ownDeliverBits(const IplTarget& target, int32_t y, const uint8_t* bits)
{
    const IplRaster& raster = target.raster;
    uint8_t* dst = ownImageRow(raster, y);
    const uint8_t* mask = ownMaskRow(target, y);
    if (!mask) {
        ownCopyBits(dst, raster.region.x, bits, 0, target.width);
        return;
    }
    for (int32_t x = 0; x < target.width; ++x)
        if (ownBit(mask, target.mask.region.x + x))
            ownPutBit(dst, raster.region.x + x, ownBit(bits, x));
}
