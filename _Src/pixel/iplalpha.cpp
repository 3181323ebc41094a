// Products in units of the largest element, and the composites that are made of
// them.
#include "_Src/image/check.h"
#include "_Src/pixel/composite.h"
#include "_Src/pixel/frame.h"
#include "_Src/walk/mask.h"
#include "_Src/walk/tiles.h"

#include <algorithm>

namespace
{

// The texts of the tests on one image, by its name in the call.
struct ImageTexts {
    const char* null;
    const char* alphaChannel;
    const char* alphaWithoutRoi;
    const char* alphaWithoutCoi;
    const char* depth;
    const char* channels;    // neither has a channel of interest
    const char* channelsOne; // the destination alone has one
    const char* dstOne;      // the source alone has one
    // Of composites:
    const char* coiIsAlpha;
    const char* dstCoiButNoRoi;
    const char* dstCoiButNoCoi;
    const char* coiButNoDstRoi;
    const char* coiButNoDstCoi;
    const char* noAlpha;
    const char* alphaPastEnd;
};

#define QUIB_IMAGE_TEXTS(name)                                                                     \
    {                                                                                              \
        .null = name "==0",                                                                        \
        .alphaChannel =                                                                            \
            name "->alphaChannel > 0 && " name "->alphaChannel != " name "->nChannels",            \
        .alphaWithoutRoi = name "->alphaChannel == 1 && " name "->roi == 0",                       \
        .alphaWithoutCoi = name "->alphaChannel == 1 && " name "->roi->coi != 1",                  \
        .depth = name "->depth != dstImage->depth",                                                \
        .channels = "(" name "->nChannels - (" name "->alphaChannel != 0)) != "                    \
                    "(dstImage->nChannels - (dstImage->alphaChannel != 0))",                       \
        .channelsOne =                                                                             \
            "(" name "->nChannels - (" name "->alphaChannel != 0)) != (dstImage->roi->coi > 0)",   \
        .dstOne =                                                                                  \
            "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != (" name "->roi->coi > 0)",   \
        .coiIsAlpha = name "->alphaChannel > 0 && " name "->roi->coi == " name "->alphaChannel",   \
        .dstCoiButNoRoi = "dstImage->roi->coi > 0 && " name "->roi == 0",                          \
        .dstCoiButNoCoi = "dstImage->roi->coi > 0 && " name "->roi->coi == 0",                     \
        .coiButNoDstRoi = name "->roi->coi > 0 && dstImage->roi == 0",                             \
        .coiButNoDstCoi = name "->roi->coi > 0 && dstImage->roi->coi == 0",                        \
        .noAlpha = name "->alphaChannel < 1",                                                      \
        .alphaPastEnd = name "->alphaChannel > " name "->nChannels",                               \
    }

constexpr ImageTexts dstTexts = QUIB_IMAGE_TEXTS("dstImage");
constexpr ImageTexts srcTexts = QUIB_IMAGE_TEXTS("srcImage");
constexpr ImageTexts srcATexts = QUIB_IMAGE_TEXTS("srcImageA");
constexpr ImageTexts srcBTexts = QUIB_IMAGE_TEXTS("srcImageB");
constexpr ImageTexts alphaATexts = QUIB_IMAGE_TEXTS("alphaImageA");
constexpr ImageTexts alphaBTexts = QUIB_IMAGE_TEXTS("alphaImageB");
constexpr ImageTexts alphaDstTexts = QUIB_IMAGE_TEXTS("alphaImageDst");

#undef QUIB_IMAGE_TEXTS

constexpr const char* noMemory = "No working memory";
constexpr const char* tilingError = "ERROR in Tiling callBack";

// --- Checks that all share -------------------------------------------------------------
//
// A null second source is left out.

constexpr IplRole dstFirst[] = {IPL_DST, IPL_SRC_A, IPL_SRC_B};
constexpr IplRole sources[] = {IPL_SRC_A, IPL_SRC_B};

bool isGood(const IplCaller& caller, const IplImage* image, const ImageTexts& texts)
{
    return ownRequire(caller, image != nullptr, texts.null) && ownImageIsGood(caller, image) &&
           ownRequire(caller, image->alphaChannel <= 0 || image->alphaChannel == image->nChannels,
                      texts.alphaChannel);
}

bool areGood(const IplCaller& caller, const IplImage* const images[IPL_ROLES],
             const ImageTexts* const texts[IPL_ROLES])
{
    for (const IplRole role : dstFirst)
        if (texts[role] && !isGood(caller, images[role], *texts[role]))
            return false;
    return true;
}

bool depthsFit(const IplCaller& caller, const IplImage* const images[IPL_ROLES],
               const ImageTexts* const texts[IPL_ROLES])
{
    const IplImage* dst = images[IPL_DST];
    if (!ownRequire(caller, dst->depth == IPL_DEPTH_8U || dst->depth == IPL_DEPTH_16U,
                    "dstImage->depth != 8 && dstImage->depth != 16"))
        return false;
    for (const IplRole role : sources)
        if (images[role] &&
            !ownRequire(caller, images[role]->depth == dst->depth, texts[role]->depth))
            return false;
    return true;
}

// Two masks or more are merged by an inner call, after which the status is read.
bool masksMayMerge(const IplCaller& caller, const IplImage* const images[IPL_ROLES])
{
    int32_t masks = 0;
    for (const IplRole role : dstFirst)
        masks += images[role] && images[role]->maskROI ? 1 : 0;
    const bool failed = masks > 1 && iplGetStatus() < 0;
    if (failed)
        ownReport(caller, IPL_StsBackTrace, "Bad masks for images");
    return !failed;
}

// --- Scale products ------------------------------------------------------------------------

constexpr IplJobTexts jobTexts{noMemory, IPL_StsError, {tilingError, tilingError, tilingError}, {}};

// A channel that is alpha and nothing else must be asked for.
bool alphaIsAskedFor(const IplCaller& caller, const IplImage* image, const ImageTexts& texts)
{
    const bool isAlpha = image->nChannels == 1 && image->alphaChannel == 1;
    return ownRequire(caller, !isAlpha || image->roi, texts.alphaWithoutRoi) &&
           ownRequire(caller, !isAlpha || image->roi->coi == 1, texts.alphaWithoutCoi);
}

bool channelsAgree(const IplCaller& caller, const IplImage* src, const IplImage* dst,
                   const ImageTexts& texts)
{
    if (ownCoi(src) && ownCoi(dst))
        return true;
    if (ownCoi(dst))
        return ownRequire(caller, ownColourChannels(src) == 1, texts.channelsOne);
    if (ownCoi(src))
        return ownRequire(caller, ownColourChannels(dst) == 1, texts.dstOne);
    return ownRequire(caller, ownColourChannels(src) == ownColourChannels(dst), texts.channels);
}

bool mayMultiply(const IplCaller& caller, const IplImage* const images[IPL_ROLES],
                 const ImageTexts* const texts[IPL_ROLES])
{
    if (!areGood(caller, images, texts))
        return false;
    for (const IplRole role : dstFirst)
        if (images[role] && !alphaIsAskedFor(caller, images[role], *texts[role]))
            return false;
    if (!depthsFit(caller, images, texts))
        return false;
    for (const IplRole role : sources)
        if (images[role] && !channelsAgree(caller, images[role], images[IPL_DST], *texts[role]))
            return false;
    return masksMayMerge(caller, images);
}

// The scale products, of one source and a constant or of two sources.
void multiplyScale(const IplCaller& caller, const IplImage* const images[IPL_ROLES],
                   const ImageTexts* const texts[IPL_ROLES], const IplPixelOp& op)
{
    if (!mayMultiply(caller, images, texts))
        return;
    IplPixelJob job{{}, {}, 0, false, op};
    job.channelCount = ownProcessedChannels(images[IPL_DST]);
    for (const IplRole role : dstFirst) {
        if (!images[role])
            continue;
        job.images[role] = images[role];
        job.channelOffset[role] = ownCoi(images[role]) ? ownCoi(images[role]) - 1 : 0;
        job.hasAlpha = job.hasAlpha || images[role]->alphaChannel != 0;
    }
    ownRunPixelJob(caller, job, jobTexts);
}

// --- Composites ------------------------------------------------------------------------------

constexpr const ImageTexts* compositeTexts[IPL_ROLES] = {&srcATexts, &srcBTexts, &dstTexts};

// Either all three have a channel of interest or none.
bool coisPair(const IplCaller& caller, const IplImage* src, const IplImage* dst,
              const ImageTexts& texts)
{
    return ownRequire(caller, !ownCoi(dst) || src->roi, texts.dstCoiButNoRoi) &&
           ownRequire(caller, !ownCoi(dst) || ownCoi(src), texts.dstCoiButNoCoi) &&
           ownRequire(caller, !ownCoi(src) || dst->roi, texts.coiButNoDstRoi) &&
           ownRequire(caller, !ownCoi(src) || ownCoi(dst), texts.coiButNoDstCoi);
}

bool imagesCompose(const IplCaller& caller, const IplImage* const images[IPL_ROLES])
{
    const IplImage* dst = images[IPL_DST];
    if (!areGood(caller, images, compositeTexts))
        return false;
    for (const IplRole role : dstFirst)
        if (!ownRequire(caller,
                        !ownCoi(images[role]) || ownCoi(images[role]) != images[role]->alphaChannel,
                        compositeTexts[role]->coiIsAlpha))
            return false;
    if (!depthsFit(caller, images, compositeTexts))
        return false;
    for (const IplRole role : sources)
        if (!coisPair(caller, images[role], dst, *compositeTexts[role]))
            return false;
    for (const IplRole role : sources)
        if (!ownRequire(caller,
                        ownCoi(dst) || ownColourChannels(images[role]) == ownColourChannels(dst),
                        compositeTexts[role]->channels))
            return false;
    return true;
}

bool hasAlpha(const IplCaller& caller, const IplImage* image, const ImageTexts& texts)
{
    return ownRequire(caller, image->alphaChannel >= 1, texts.noAlpha) &&
           ownRequire(caller, image->alphaChannel <= image->nChannels, texts.alphaPastEnd);
}

// A null image is not given.
bool alphaImageFits(const IplCaller& caller, const IplImage* image, const IplImage* dst,
                    const ImageTexts& texts)
{
    return !image || (isGood(caller, image, texts) &&
                      ownRequire(caller, image->depth == dst->depth, texts.depth));
}

bool choicesAreKnown(const IplCaller& caller, const IplComposite& composite)
{
    return ownRequire(caller, composite.compositeType >= 0 && composite.compositeType <= 5,
                      "compositeType != 0 && compositeType != 1 && compositeType != 2 && "
                      "compositeType != 3 && compositeType != 4 && compositeType != 5") &&
           ownRequire(caller, composite.premulAlpha == 0 || composite.premulAlpha == 1,
                      "premulAlpha != 0 && premulAlpha != 1") &&
           ownRequire(caller, composite.divideMode == 0 || composite.divideMode == 1,
                      "divideMode != 0 && divideMode != 1");
}

bool runCompositeTiled(const IplComposite& composite, const IplImage* mask)
{
    const IplImage* const* images = composite.images;
    IplTileRole roles[IPL_COMPOSITE_ROLES];
    for (int32_t role = 0; role < IPL_COMPOSITE_ROLES; ++role) {
        const bool isWritten =
            images[role] == images[IPL_COMPOSITE_DST] || images[role] == images[IPL_ALPHA_DST];
        // An image in several roles is fetched once.
        const auto first = std::find(images, images + role, images[role]);
        roles[role] = {images[role], isWritten ? IPL_GET_TILE_TO_WRITE : IPL_GET_TILE_TO_READ,
                       false, static_cast<int32_t>(first - images)};
    }
    const auto runPiece = [&](const IplImage* const* records, const IplImage* maskRecord) {
        ownCompositePiece(composite, records, maskRecord);
    };
    return ownWalkRoles(roles, mask, runPiece).kind == IplTileFault::none;
}

// What is left of a composite whose images are checked.
void runComposite(const IplCaller& caller, const IplComposite& composite)
{
    const IplImage* const images[IPL_ROLES] = {composite.images[IPL_COMPOSITE_A],
                                               composite.images[IPL_COMPOSITE_B],
                                               composite.images[IPL_COMPOSITE_DST]};
    if (!choicesAreKnown(caller, composite) || !masksMayMerge(caller, images))
        return;
    IplMergedMask mask;
    ownMergeMasks(images[IPL_DST]->maskROI, images[IPL_SRC_A]->maskROI, images[IPL_SRC_B]->maskROI,
                  &mask);
    if (mask.state == MaskMerge::empty)
        return;
    if (mask.state == MaskMerge::noMemory)
        ownReport(caller, IPL_StsNoMem, noMemory);
    else if (!ownAnyIsTiled(composite.images, IPL_COMPOSITE_ROLES))
        ownCompositePiece(composite, composite.images, mask.image);
    else if (!runCompositeTiled(composite, mask.image))
        ownReport(caller, IPL_StsError, tilingError);
}

} // namespace

void iplMultiplySScale(const IplImage* srcImage, IplImage* dstImage, int32_t value)
{
    const IplImage* const images[IPL_ROLES] = {srcImage, nullptr, dstImage};
    const ImageTexts* const texts[IPL_ROLES] = {&srcTexts, nullptr, &dstTexts};
    const uint32_t depth = dstImage ? dstImage->depth : IPL_DEPTH_8U;
    multiplyScale({"iplMultiplySScale", "iplalpha"}, images, texts,
                  {&quib::kernels().pixel.multiplyScaleS, nullptr, ownClampToDepth(depth, value)});
}

void iplMultiplyScale(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage)
{
    const IplImage* const images[IPL_ROLES] = {srcImageA, srcImageB, dstImage};
    const ImageTexts* const texts[IPL_ROLES] = {&srcATexts, &srcBTexts, &dstTexts};
    multiplyScale({"iplMultiplyScale", "iplalpha"}, images, texts,
                  {&quib::kernels().pixel.multiplyScale, nullptr, 0});
}

void iplAlphaCompositeC(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage,
                        int32_t compositeType, int32_t aA, int32_t aB, int32_t premulAlpha,
                        int32_t divideMode)
{
    const IplCaller caller{"iplAlphaCompositeC", "iplalpha"};
    const IplImage* const images[IPL_ROLES] = {srcImageA, srcImageB, dstImage};
    if (!imagesCompose(caller, images) || (aA < 0 && !hasAlpha(caller, srcImageA, srcATexts)) ||
        (aB < 0 && !hasAlpha(caller, srcImageB, srcBTexts)))
        return;
    // A constant that is too large passes the checks and still means the image.
    const int32_t largest = dstImage->depth == IPL_DEPTH_8U ? 255 : 65535;
    const bool imageA = aA < 0 || aA > largest;
    const bool imageB = aB < 0 || aB > largest;
    const IplComposite composite{
        .images = {srcImageA, srcImageB, imageA ? srcImageA : nullptr, imageB ? srcImageB : nullptr,
                   dstImage, nullptr},
        .constantA = imageA ? 0 : aA,
        .constantB = imageB ? 0 : aB,
        .compositeType = compositeType,
        .premulAlpha = premulAlpha,
        .divideMode = divideMode,
    };
    runComposite(caller, composite);
}

void iplAlphaComposite(const IplImage* srcImageA, const IplImage* srcImageB, IplImage* dstImage,
                       int32_t compositeType, const IplImage* alphaImageA,
                       const IplImage* alphaImageB, IplImage* alphaImageDst, int32_t premulAlpha,
                       int32_t divideMode)
{
    const IplCaller caller{"iplAlphaComposite", "iplalpha"};
    const IplImage* const images[IPL_ROLES] = {srcImageA, srcImageB, dstImage};
    if (!imagesCompose(caller, images) ||
        !alphaImageFits(caller, alphaImageA, dstImage, alphaATexts) ||
        (!alphaImageA && !hasAlpha(caller, srcImageA, srcATexts)) ||
        !alphaImageFits(caller, alphaImageB, dstImage, alphaBTexts) ||
        !alphaImageFits(caller, alphaImageDst, dstImage, alphaDstTexts) ||
        (alphaImageDst && !hasAlpha(caller, alphaImageDst, alphaDstTexts)))
        return;
    // An alpha image for A alone leaves B without any.
    const bool ownAlphaB = !alphaImageA && srcImageB->alphaChannel != 0;
    const IplImage* alphaB = alphaImageB ? alphaImageB : ownAlphaB ? srcImageB : nullptr;
    const IplImage* ownAlphaDst = dstImage->alphaChannel != 0 ? dstImage : nullptr;
    const IplComposite composite{
        .images = {srcImageA, srcImageB, alphaImageA ? alphaImageA : srcImageA, alphaB, dstImage,
                   alphaImageDst ? alphaImageDst : ownAlphaDst},
        .constantA = 0,
        .constantB = -1,
        .compositeType = compositeType,
        .premulAlpha = premulAlpha,
        .divideMode = divideMode,
    };
    runComposite(caller, composite);
}
