#include "_Src/colour/Ownctog.h"

#include "_Src/image/check.h"
#include "_Src/image/report.h"
#include "kernels/kernels.h"

#include <algorithm>

namespace
{

constexpr IplCaller caller{"ownColorToGray", "Ownctog"};

struct GrayJob {
    const uint8_t* src; // of the first channel
    uint8_t* dst;
    ptrdiff_t srcStep;
    ptrdiff_t dstStep;
    ptrdiff_t blue; // bytes from the first channel to each
    ptrdiff_t green;
    ptrdiff_t red;
    size_t stride;
    int32_t rows;
    int32_t width;
};

template<class To, class From>
bool convertRows(const GrayJob& job,
                 void (*kernel)(To* dst, const quib::ColourRow<From>& src, size_t count))
{
    const auto at = [](const uint8_t* address) { return reinterpret_cast<const From*>(address); };
    for (int32_t y = 0; y < job.rows; ++y) {
        const uint8_t* row = job.src + y * job.srcStep;
        kernel(reinterpret_cast<To*>(job.dst + y * job.dstStep),
               {at(row + job.blue), at(row + job.green), at(row + job.red), job.stride},
               static_cast<size_t>(job.width));
    }
    return true;
}

bool convertPair(const GrayJob& job, uint32_t srcDepth, uint32_t dstDepth)
{
    const quib::GrayKernels& gray = quib::kernels().gray;
    const auto choose = [&](auto to16, auto to8, auto to1) {
        switch (dstDepth) {
        case IPL_DEPTH_16U:
            return convertRows(job, to16);
        case IPL_DEPTH_8U:
            return convertRows(job, to8);
        case IPL_DEPTH_1U:
            return convertRows(job, to1);
        default:
            return false;
        }
    };
    switch (srcDepth) {
    case IPL_DEPTH_8U:
        return choose(gray.from8To16, gray.from8To8, gray.from8To1);
    case IPL_DEPTH_16U:
        return choose(gray.from16To16, gray.from16To8, gray.from16To1);
    case IPL_DEPTH_32S:
        return choose(gray.from32To16, gray.from32To8, gray.from32To1);
    default:
        return false;
    }
}

} // namespace

bool ownColorToGray(const IplImage* src, const IplImage* dst, const uint8_t* srcPixels,
                    uint8_t* dstPixels, int32_t srcStep, int32_t rows, int32_t width,
                    int32_t dstStep, int32_t planeRows)
{
    const bool planes = src->dataOrder == IPL_DATA_ORDER_PLANE;
    const ptrdiff_t channelBytes =
        planes ? ptrdiff_t{srcStep} * planeRows : ownDepthBits(src->depth) / 8;
    // A record with fewer channels than its sequence names has the last for all
    // others.
    const auto channel = [&](int32_t place) {
        return channelBytes * std::min(place, src->nChannels - 1);
    };
    const bool redFirst = src->channelSeq[0] == 'R';
    const GrayJob job{srcPixels,
                      dstPixels,
                      srcStep,
                      dstStep,
                      channel(redFirst ? 2 : 0),
                      channel(1),
                      channel(redFirst ? 0 : 2),
                      planes ? size_t{1} : static_cast<size_t>(src->nChannels),
                      rows,
                      width};
    const bool done = convertPair(job, src->depth, dst->depth);
    if (!done)
        ownReport(caller, IPL_StsBadArg,
                  "Error in-out depth. 32S,16U,8U=> 16U,8U,1U are valid now");
    return done;
}
