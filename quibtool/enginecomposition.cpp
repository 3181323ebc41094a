// Composition by way of the engine's alpha composite, into a clone of the second
// handle.
#include "_Src/ipl.h"
#include "quibtool/handle.h"

#include <initializer_list>

using namespace quib;

namespace
{

// The two inputs and the result, which is null if no clone could be made, with
// the regions that they have for the call's length.
struct Composition {
    IplImage* images[3];
    IplROI regions[3];
};

struct Rects {
    QuibRect* of[3];
};

bool isLargeEnough(const IplImage* image)
{
    // With four channels promised, any other record fails here: zeros stay.
    QuibInfo info{};
    ownGetInfo(image, &info);
    return info.width >= 1 && info.height >= 1 && info.bitDepth >= 32;
}

// Checks the inputs and declares their fourth channel as alpha. A refusal for
// their size leaves it so.
QuibStatus declareAlpha(IplImage* srcA, IplImage* srcB)
{
    for (const IplImage* src : {srcA, srcB})
        if (const int32_t status = iplCheckImage(src))
            return status;
    srcA->alphaChannel = 4;
    srcB->alphaChannel = 4;
    const bool isLargeA = isLargeEnough(srcA);
    const bool isLargeB = isLargeEnough(srcB);
    return isLargeA && isLargeB ? QUIB_OK : QUIB_BAD_ARGUMENT;
}

// A rectangle that is not empty when clipped fits; the others wrap.
IplROI regionOf(const QuibRect& rect)
{
    const uint32_t width = static_cast<uint32_t>(rect.right) - static_cast<uint32_t>(rect.left);
    const uint32_t height = static_cast<uint32_t>(rect.bottom) - static_cast<uint32_t>(rect.top);
    return {0, rect.left, rect.top, static_cast<int32_t>(width), static_cast<int32_t>(height)};
}

// Gives each image the region of its rectangle, clipped in place, or else the one
// of the image before it. Regions that the inputs held are the program's and get
// lost; the clone's is ours. False, with nothing more given, at a rectangle that
// is empty, if that counts.
bool giveRegions(Composition* composition, const Rects& rects, bool emptyEnds)
{
    IplImage* const* images = composition->images;
    for (int32_t i = 0; i < 3; ++i) {
        QuibRect* rect = rects.of[i];
        const IplImage* limits = images[i < 2 ? i : 1];
        if (rect && !ownClipRect(rect, limits->width, limits->height) && emptyEnds)
            return false;
        const IplROI* inherited = i > 0 ? images[i - 1]->roi : nullptr;
        if (!images[i] || (!rect && !inherited))
            continue;
        composition->regions[i] = rect ? regionOf(*rect) : *inherited;
        if (i == 2)
            iplAlignedFree(images[i]->roi);
        images[i]->roi = &composition->regions[i];
    }
    return true;
}

void clearAlpha(const Composition& composition)
{
    for (IplImage* image : composition.images)
        if (image)
            image->alphaChannel = 0;
}

// The inputs keep the regions that they were given.
void endEarly(const Composition& composition)
{
    for (int32_t i = 0; i < 2; ++i) {
        const IplROI& region = composition.regions[i];
        if (composition.images[i]->roi == &region)
            composition.images[i]->roi = iplCreateROI(region.coi, region.xOffset, region.yOffset,
                                                      region.width, region.height);
    }
    clearAlpha(composition);
}

void end(const Composition& composition)
{
    for (IplImage* image : composition.images)
        if (image)
            image->roi = nullptr;
    clearAlpha(composition);
}

bool isPlain(const IplImage* image)
{
    return image->depth == IPL_DEPTH_8U && image->dataOrder == IPL_DATA_ORDER_PIXEL &&
           !image->roi && !image->maskROI && !image->tileInfo;
}

// Whether a composite of the whole images, of any type, writes every pixel of the
// clone, so that there is no need to copy any first.
bool writesEveryPixel(const IplImage* srcA, const IplImage* srcB)
{
    return isPlain(srcA) && isPlain(srcB) && srcA->width >= srcB->width &&
           srcA->height >= srcB->height;
}

} // namespace

QuibStatus QuibComposition1(IplImage* srcA, IplImage* srcB, IplImage** result, QuibRect* rectA,
                            QuibRect* rectB, QuibRect* rectResult, int32_t compositeType,
                            int32_t premulAlpha, int32_t divideMode)
{
    if (!QuibIsValid(srcA))
        return QUIB_BAD_ARGUMENT;
    if (!QuibIsValid(srcB))
        return QUIB_BAD_ARGUMENT;
    if (!result)
        return QUIB_BAD_ARGUMENT;
    if (const QuibStatus status = declareAlpha(srcA, srcB))
        return status;
    const bool isWhole = !rectA && !rectB && !rectResult && writesEveryPixel(srcA, srcB);
    const bool isKnown = compositeType >= 0 && compositeType <= 5 && (premulAlpha & ~1) == 0 &&
                         (divideMode & ~1) == 0;
    *result = isWhole && isKnown ? ownCloneForResult(srcB) : iplCloneImage(srcB);
    Composition composition{{srcA, srcB, *result}, {}};
    if (!giveRegions(&composition, {{rectA, rectB, rectResult}}, true)) {
        endEarly(composition);
        return QUIB_OK;
    }
    iplAlphaComposite(srcA, srcB, *result, compositeType, nullptr, nullptr, nullptr, premulAlpha,
                      divideMode);
    end(composition);
    return QUIB_OK;
}

QuibStatus QuibComposition2(IplImage* srcA, IplImage* srcB, uint32_t alphaA, uint32_t alphaB,
                            IplImage** result, QuibRect* rectA, QuibRect* rectB,
                            QuibRect* rectResult, int32_t compositeType)
{
    if (!QuibIsValid(srcA))
        return QUIB_BAD_ARGUMENT;
    if (!QuibIsValid(srcB))
        return QUIB_BAD_ARGUMENT;
    if (!result)
        return QUIB_BAD_ARGUMENT;
    if (const QuibStatus status = declareAlpha(srcA, srcB))
        return status;
    *result = iplCloneImage(srcB);
    Composition composition{{srcA, srcB, *result}, {}};
    giveRegions(&composition, {{rectA, rectB, rectResult}}, false);
    iplAlphaCompositeC(srcA, srcB, *result, compositeType, static_cast<int32_t>(alphaA & 255),
                       static_cast<int32_t>(alphaB & 255), 0, 0);
    end(composition);
    return QUIB_OK;
}
