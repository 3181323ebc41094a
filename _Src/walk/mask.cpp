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

IplImage* ownMergeMasks(IplImage* maskA, IplImage* maskB, IplImage* maskC, MaskMerge* state)
{
    IplImage* masks[3] = {maskA, maskB, maskC};
    IplImage** end = std::remove(masks, masks + 3, nullptr);
    *state = MaskMerge::asGiven;
    if (end - masks < 2)
        return end == masks ? nullptr : masks[0];

    int32_t height = 0;
    int32_t width = 0;
    IplImage* const third = end - masks == 3 ? masks[2] : nullptr;
    if (!ownCommonRegion(masks[0], masks[1], third, &height, &width, true)) {
        *state = MaskMerge::empty;
        return nullptr;
    }
    IplImage* merged = createMask(width, height, masks[0]->origin);
    if (!merged || !merged->imageData) {
        iplDeallocate(merged, IPL_IMAGE_ALL);
        *state = MaskMerge::noMemory;
        return nullptr;
    }
    for (IplImage** mask = masks; mask != end; ++mask)
        andRows(merged, *mask);
    *state = MaskMerge::merged;
    return merged;
}

void ownFreeMask(IplImage* mask, MaskMerge state)
{
    if (state == MaskMerge::merged)
        iplDeallocate(mask, IPL_IMAGE_HEADER | IPL_IMAGE_DATA);
}
