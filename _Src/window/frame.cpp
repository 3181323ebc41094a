#include "_Src/window/frame.h"

#include "_Src/walk/mask.h"
#include "_Src/walk/raster.h"
#include "_Src/window/iplborde.h"
#include "_Src/window/results.h"

namespace
{

struct Frame {
    const IplWindowJob* job;
    const IplImage* src;
    const IplImage* mask;
    IplRect rectangle; // of the source
    bool inPlace;
    bool (*work)(void* state, const IplWindowRow&);
    void* state;
};

bool overlap(const IplImage* a, const IplImage* b)
{
    if (a->tileInfo || b->tileInfo)
        return a->tileInfo == b->tileInfo;
    return a->imageData < b->imageData + b->imageSize && b->imageData < a->imageData + a->imageSize;
}

// Strips would read what their neighbours have overwritten, and tiles again.
int32_t mostColumns(const IplWindowJob& job)
{
    const int32_t width = std::min(job.src->width, job.dst->width);
    if (job.stripColumns <= 0 || job.src->tileInfo || job.dst->tileInfo ||
        overlap(job.src, job.dst))
        return width;
    return std::min(job.stripColumns, width);
}

// --- Passes over the rectangle -----------------------------------------------------

// The channels that one pass makes: the source's, and the destination's as
// IplResultShape has them.
struct Pass {
    int32_t firstChannel;
    int32_t channels;
    bool split;
    int32_t plane;
    int32_t planes;
    int32_t wanted;
};

// The part of a pass over some columns, from column x of the rectangle on.
IplWindowEnd runStrip(const Frame& frame, const Pass& pass, int32_t x, int32_t width,
                      IplResults* results)
{
    IplRect strip = frame.rectangle;
    strip.x += x;
    strip.width = width;
    IplNeighbours neighbours(
        {frame.src, strip, frame.job->reach, pass.firstChannel, pass.channels, frame.inPlace});
    if (!neighbours.isReady())
        return IplWindowEnd::noMemory;
    results->turnTo(x, width);
    for (int32_t y = 0; y < strip.height; ++y) {
        const uint8_t* const* rows = neighbours.nextRows();
        if (!rows)
            return IplWindowEnd::noTile;
        if (!frame.work(frame.state, {results->place(y), rows, width, pass.channels, y}))
            return IplWindowEnd::noMemory;
        if (!results->finish(y))
            return IplWindowEnd::noTile;
    }
    return IplWindowEnd::complete;
}

IplWindowEnd runPass(const Frame& frame, const Pass& pass)
{
    const IplImage* dst = frame.job->dst;
    const IplRect& rectangle = frame.rectangle;
    IplResults results({dst, frame.mask, rectangle.width, rectangle.height, pass.channels,
                        pass.split, pass.plane, pass.planes, pass.wanted});
    if (!results.isReady())
        return IplWindowEnd::noMemory;
    const int32_t most = mostColumns(*frame.job);
    for (int32_t x = 0; x < rectangle.width;) {
        const int32_t width = std::min(most, rectangle.width - x);
        const IplWindowEnd end = runStrip(frame, pass, x, width, &results);
        if (end != IplWindowEnd::complete)
            return end;
        x += width;
    }
    return IplWindowEnd::complete;
}

bool isInterleaved(const IplImage* image)
{
    return image->dataOrder == IPL_DATA_ORDER_PIXEL && !ownCoi(image);
}

IplWindowEnd runPasses(const Frame& frame)
{
    const IplImage* dst = frame.job->dst;
    const IplChannels from = ownChosenChannels(frame.src);
    const IplChannels to = ownChosenChannels(dst);
    if (from.count < 1 || to.count < 1)
        return IplWindowEnd::complete;
    const bool interleaved = isInterleaved(frame.src) && isInterleaved(dst);
    if (frame.job->vectors || (interleaved && from.count == to.count)) {
        // Rows that lie side by side in the image are read there, alpha included.
        const bool all = isInterleaved(frame.src);
        const bool toPlanes = dst->dataOrder == IPL_DATA_ORDER_PLANE;
        const int32_t wanted = std::min(from.count, to.count);
        return runPass(frame, {all ? 0 : from.first, all ? frame.src->nChannels : from.count, false,
                               0, toPlanes ? wanted : 1, wanted});
    }
    for (int32_t i = 0; i < std::min(from.count, to.count); ++i) {
        const IplWindowEnd end = runPass(frame, {from.first + i, 1, true, i, 1, 1});
        if (end != IplWindowEnd::complete)
            return end;
    }
    return IplWindowEnd::complete;
}

// --- Images with pixels in common --------------------------------------------------

// Whether each pixel's result goes to the place of that pixel.
bool areSamePlaces(const IplImage* a, const IplImage* b)
{
    return ownRegionX(a) == ownRegionX(b) && ownRegionY(a) == ownRegionY(b) &&
           a->imageData == b->imageData && a->tileInfo == b->tileInfo &&
           a->widthStep == b->widthStep && a->nChannels == b->nChannels &&
           a->dataOrder == b->dataOrder && a->height == b->height && ownCoi(a) == ownCoi(b);
}

IplWindowEnd runOnCopy(Frame frame)
{
    IplImage copy = *frame.src;
    copy.imageData =
        ownBorderCopy(frame.src, 0, 0, frame.src->width, frame.src->height, &copy.widthStep);
    copy.imageDataOrigin = copy.imageData;
    copy.tileInfo = nullptr;
    if (!copy.imageData)
        return IplWindowEnd::noMemory;
    frame.src = &copy;
    const IplWindowEnd end = runPasses(frame);
    iplDeallocateImage(&copy);
    return end;
}

// Runs the frame over the part of its rectangle that the images and the mask have in
// common.
IplWindowEnd runFrame(Frame* frame)
{
    const IplImage* src = frame->src;
    const IplImage* dst = frame->job->dst;
    IplRect& rectangle = frame->rectangle;
    rectangle.x = ownRegionX(src);
    rectangle.y = ownRegionY(src);
    if (!ownCommonRegion(src, dst, frame->mask, &rectangle.height, &rectangle.width, true))
        return IplWindowEnd::complete;
    const bool shared = overlap(src, dst);
    frame->inPlace = shared && areSamePlaces(src, dst);
    return shared && !frame->inPlace ? runOnCopy(*frame) : runPasses(*frame);
}

} // namespace

int64_t ownMostElements(const IplWindowJob& job)
{
    return (int64_t{mostColumns(job)} + job.reach.left + job.reach.right) * job.src->nChannels;
}

IplWindowEnd ownFilterRows(const IplWindowJob& job, bool (*work)(void* state, const IplWindowRow&),
                           void* state)
{
    IplMergedMask mask;
    ownMergeMasks(job.src->maskROI, job.dst->maskROI, nullptr, &mask);
    if (mask.state == MaskMerge::empty)
        return IplWindowEnd::complete;
    if (mask.state == MaskMerge::noMemory)
        return IplWindowEnd::noMemory;
    Frame frame{&job, job.src, mask.image, {}, false, work, state};
    return runFrame(&frame);
}
