#include "_Src/pixel/frame.h"

#include "_Src/walk/mask.h"
#include "_Src/walk/tiles.h"

namespace
{

// --- Tiles -----------------------------------------------------------------------

// False after a report.
bool runTiled(const IplCaller& caller, const IplPixelJob& job, const IplImage* mask,
              const IplJobTexts& texts)
{
    IplTileRole roles[IPL_ROLES];
    for (const IplRole role : {IPL_SRC_A, IPL_SRC_B, IPL_DST}) {
        // In place, the destination's tiles serve as the source's.
        const bool isDst = job.images[role] == job.images[IPL_DST];
        roles[role] = {job.images[role],
                       role == IPL_DST ? IPL_GET_TILE_TO_WRITE : IPL_GET_TILE_TO_READ,
                       texts.notReleased[role] != nullptr, isDst ? IPL_DST : role};
    }
    const auto runPiece = [&](const IplImage* const* records, const IplImage* maskRecord) {
        ownRunPiece(job, records, maskRecord);
    };
    const IplTileFault fault = ownWalkRoles(roles, mask, runPiece);
    if (fault.kind == IplTileFault::none)
        return true;
    ownReport(caller, texts.tileStatus,
              fault.kind == IplTileFault::notFetched ? texts.notFetched[fault.side]
                                                     : texts.notReleased[fault.side]);
    return false;
}

// --- Checks ------------------------------------------------------------------------

struct FrameTexts {
    const char* depth[2];
    const char* dataOrder[2];
    const char* channels[2];
    IplJobTexts job;
};

constexpr FrameTexts scalarTexts{
    {"(srcImage->depth != dstImage->depth)", nullptr},
    {"(srcImage->dataOrder != dstImage->dataOrder)", nullptr},
    {"(nChSrc != nChDst)", nullptr},
    {"Out of memory",
     IPL_StsBadArg,
     {"(srcImage->tileInfo->tileData == 0)", nullptr, "(dstImage->tileInfo->tileData == 0)"},
     {}},
};

constexpr FrameTexts pairTexts{
    {"(srcImageA->depth != dstImage->depth)", "(srcImageB->depth != dstImage->depth)"},
    {"(srcImageA->dataOrder != dstImage->dataOrder)",
     "(srcImageB->dataOrder != dstImage->dataOrder)"},
    {"(nChSrcA != nChDst)", "(nChSrcB != nChDst)"},
    {"Out of memory",
     IPL_StsBadArg,
     {"(srcImageA->tileInfo->tileData == 0)", "(srcImageB->tileInfo->tileData == 0)",
      "(dstImage->tileInfo->tileData == 0)"},
     {}},
};

bool imagesAgree(const IplCaller& caller, const IplPixelJob& job, const FrameTexts& texts)
{
    const IplImage* const dst = job.images[IPL_DST];
    const int32_t sources = texts.depth[IPL_SRC_B] ? 2 : 1;
    for (int32_t i = 0; i < sources; ++i)
        if (!ownImageIsGood(caller, job.images[i]))
            return false;
    if (!ownImageIsGood(caller, dst))
        return false;
    for (int32_t i = 0; i < sources; ++i)
        if (!ownRequire(caller, job.images[i]->depth == dst->depth, texts.depth[i]))
            return false;
    for (int32_t i = 0; i < sources; ++i)
        if (!ownRequire(caller,
                        dst->depth == IPL_DEPTH_1U || job.images[i]->dataOrder == dst->dataOrder,
                        texts.dataOrder[i]))
            return false;
    for (int32_t i = 0; i < sources; ++i)
        if (!ownRequire(caller, ownProcessedChannels(job.images[i]) == ownProcessedChannels(dst),
                        texts.channels[i]))
            return false;
    return true;
}

void runFrame(const IplCaller& caller, IplPixelJob* job, const FrameTexts& texts)
{
    if (!imagesAgree(caller, *job, texts))
        return;
    job->channelCount = ownProcessedChannels(job->images[IPL_DST]);
    for (const IplRole role : {IPL_SRC_A, IPL_SRC_B, IPL_DST}) {
        if (const IplImage* image = job->images[role]) {
            job->channelOffset[role] = std::max(ownCoi(image) - 1, 0);
            job->hasAlpha = job->hasAlpha || image->alphaChannel != 0;
        }
    }
    ownRunPixelJob(caller, *job, texts.job);
}

} // namespace

void ownScalarOperation(const IplCaller& caller, const IplImage* srcImage, const IplImage* dstImage,
                        const IplPixelOp& op)
{
    IplPixelJob job{{srcImage, nullptr, dstImage}, {}, 0, false, op};
    runFrame(caller, &job, scalarTexts);
}

void ownPairOperation(const IplCaller& caller, const IplImage* srcImageA, const IplImage* srcImageB,
                      const IplImage* dstImage, const IplPixelOp& op)
{
    IplPixelJob job{{srcImageA, srcImageB, dstImage}, {}, 0, false, op};
    runFrame(caller, &job, pairTexts);
}

void ownRunPixelJob(const IplCaller& caller, const IplPixelJob& job, const IplJobTexts& texts)
{
    const IplImage* const* images = job.images;
    IplMergedMask mask;
    ownMergeMasks(images[IPL_SRC_A]->maskROI,
                  images[IPL_SRC_B] ? images[IPL_SRC_B]->maskROI : nullptr,
                  images[IPL_DST]->maskROI, &mask);
    if (mask.state == MaskMerge::empty)
        return;
    if (mask.state == MaskMerge::noMemory) {
        ownReport(caller, IPL_StsNoMem, texts.noMemory);
        return;
    }
    const uint32_t depth = images[IPL_DST]->depth;
    if (depth != IPL_DEPTH_1U && !ownRunOfDepth(*job.op.runs, depth))
        ownReport(caller, IPL_StsBadArg, "This function does not support depth 32F");
    else if (!ownAnyIsTiled(images, IPL_ROLES))
        ownRunPiece(job, images, mask.image);
    else if (!runTiled(caller, job, mask.image, texts))
        mask.leaveBehind();
}
