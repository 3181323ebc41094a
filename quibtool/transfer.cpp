#include "quibtool/transfer.h"

#include "_Src/ipl.h"
#include "quibtool/platform.h"

using namespace quib;

namespace
{

// Null only if memory runs out.
IplROI* createRegion(const TransferRegion& region)
{
    return iplCreateROI(0, region.x, region.y, region.width, region.height);
}

// Calls work() while the two records, which may be one, hold the regions.
template<class Work>
QuibStatus withRegions(IplImage* src, const TransferRegion& from, IplImage* dst,
                       const TransferRegion& to, Work work)
{
    IplROI* srcRoi = createRegion(from);
    IplROI* dstRoi = createRegion(to);
    const bool exist = srcRoi && dstRoi;
    src->roi = srcRoi;
    dst->roi = dstRoi;
    if (exist)
        work();
    src->roi = nullptr;
    dst->roi = nullptr;
    iplAlignedFree(srcRoi);
    iplAlignedFree(dstRoi);
    return exist ? QUIB_OK : QUIB_FAILED;
}

} // namespace

bool quib::ownMeetImage(QuibRect* rect, const IplImage* handle)
{
    const RECT given{rect->left, rect->top, rect->right, rect->bottom};
    const RECT image{0, 0, handle->width, handle->height};
    RECT common{};
    if (!IntersectRect(&common, &given, &image))
        return false;
    *rect = {common.left, common.top, common.right, common.bottom};
    return true;
}

StretchTarget quib::ownStretchTarget(const BlockWalk& start, int32_t width, int32_t height)
{
    return {start.row, static_cast<uint32_t>(width), static_cast<uint32_t>(height),
            static_cast<ptrdiff_t>(start.step), start.bytesLeft};
}

StretchSource quib::ownStretchSource(const BlockWalk& start, int32_t width, int32_t height)
{
    return {start.row, static_cast<uint32_t>(width), static_cast<uint32_t>(height),
            static_cast<ptrdiff_t>(start.step), start.bytesLeft};
}

QuibStatus quib::ownResizeRegions(IplImage* src, const TransferRegion& from, IplImage* dst,
                                  const TransferRegion& to, int32_t interpolate)
{
    return withRegions(src, from, dst, to, [&] {
        iplResize(src, dst, to.width, from.width, to.height, from.height, interpolate);
    });
}

QuibStatus quib::ownCopyRegions(IplImage* src, const TransferRegion& from, IplImage* dst,
                                const TransferRegion& to)
{
    return withRegions(src, from, dst, to, [&] { iplCopy(src, dst); });
}
