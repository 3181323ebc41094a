#include "_Src/walk/mask.h"

#include "_Src/walk/raster.h"
#include "kernels/kernels.h"

#include <algorithm>

namespace
{

IplImage* createMask(int32_t width, int32_t height, int32_t origin)
{
    IplImage* mask =
        iplCreateImageHeader(1, 0, IPL_DEPTH_1U, "GRAY", "G   ", IPL_DATA_ORDER_PLANE, origin, 8,
                             width, height, nullptr, nullptr, nullptr, nullptr);
    if (mask)
        iplAllocateImage(mask, 1, 1);
    return mask;
}

void andRows(IplImage* result, const IplImage* mask)
{
    IplRaster bits;
    if (!ownMaskStart(mask, &bits))
        return;
    uint8_t* data = reinterpret_cast<uint8_t*>(result->imageData);
    quib::kernels().bits.logicAnd({data, result->widthStep, 0}, {data, result->widthStep, 0},
                                  ownRegionBits(bits, 0, 0), static_cast<size_t>(result->width),
                                  static_cast<size_t>(result->height), 0);
}

} // namespace

IplMergedMask::~IplMergedMask()
{
    if (state == MaskMerge::merged)
        iplDeallocate(image, IPL_IMAGE_HEADER | IPL_IMAGE_DATA);
}

void ownMergeMasks(IplImage* maskA, IplImage* maskB, IplImage* maskC, IplMergedMask* result)
{
    IplImage* masks[3] = {maskA, maskB, maskC};
    IplImage** end = std::remove(masks, masks + 3, nullptr);
    if (end - masks < 2) {
        result->image = end == masks ? nullptr : masks[0];
        return;
    }
    int32_t height = 0;
    int32_t width = 0;
    IplImage* const third = end - masks == 3 ? masks[2] : nullptr;
    if (!ownCommonRegion(masks[0], masks[1], third, &height, &width, true)) {
        result->state = MaskMerge::empty;
        return;
    }
    IplImage* merged = createMask(width, height, masks[0]->origin);
    if (!merged || !merged->imageData) {
        iplDeallocate(merged, IPL_IMAGE_ALL);
        result->state = MaskMerge::noMemory;
        return;
    }
    for (IplImage** mask = masks; mask != end; ++mask)
        andRows(merged, *mask);
    result->image = merged;
    result->state = MaskMerge::merged;
}
