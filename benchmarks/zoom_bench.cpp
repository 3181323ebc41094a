#include "benchmarks/families.h"

#include "_Src/ipl.h"
#include "benchmarks/bench.h"
#include "benchmarks/pixels.h"

#if defined(QUIB_BENCH_LIBYUV)
#include <libyuv/scale.h>
#endif

#include <memory>
#include <string>

namespace
{

struct Sizes {
    int srcWidth;
    int srcHeight;
    int dstWidth;
    int dstHeight;
};

#if defined(QUIB_BENCH_LIBYUV)
// As many planes as the pixels have channels.
void scalePlanes(const Pixels& src, const Pixels& dst, const Sizes& sizes, int planes,
                 libyuv::FilterMode filter)
{
    for (int plane = 0; plane < planes; ++plane) {
        const uint8_t* from = src.data();
        uint8_t* to = dst.data();
        libyuv::ScalePlane(from + plane * sizes.srcWidth * sizes.srcHeight, sizes.srcWidth,
                           sizes.srcWidth, sizes.srcHeight,
                           to + plane * sizes.dstWidth * sizes.dstHeight, sizes.dstWidth,
                           sizes.dstWidth, sizes.dstHeight, filter);
    }
    keep(dst.data());
}
#endif

void addResize(const std::string& operation, int bitDepth, const Sizes& sizes, int mode,
               double limit)
{
    const auto src = std::make_shared<Pixels>(sizes.srcWidth, sizes.srcHeight, bitDepth);
    const auto dst = std::make_shared<Pixels>(sizes.dstWidth, sizes.dstHeight, bitDepth);
    Case resizeCase{.operation = "QuibResize " + operation + " from " +
                                 std::to_string(sizes.srcWidth) + "x" +
                                 std::to_string(sizes.srcHeight),
                    .width = sizes.dstWidth,
                    .height = sizes.dstHeight,
                    .limit = {.ratio = limit},
                    .ours = [=] { QuibResize(src->handle(), dst->handle(), mode); },
                    .peer = "",
                    .theirs = {},
                    .floor = {}};
#if defined(QUIB_BENCH_LIBYUV)
    const int planes = bitDepth / 8;
    const bool box = mode == IPL_INTER_SUPER;
    resizeCase.peer = std::to_string(planes) + " x libyuv ScalePlane " + (box ? "box" : "bilinear");
    resizeCase.theirs = [=] {
        scalePlanes(*src, *dst, sizes, planes, box ? libyuv::kFilterBox : libyuv::kFilterBilinear);
    };
#endif
    addCase(resizeCase);
}

} // namespace

void addZoomCases()
{
    const Sizes up{1280, 720, 1920, 1080};
    const Sizes down{1920, 1080, 1280, 720};
    const Sizes quarter{1920, 1080, 480, 270};
    const Sizes thumbnail{1920, 1080, 400, 225};
    addResize("24-bit linear", 24, up, IPL_INTER_LINEAR, 1.00);
    addResize("24-bit linear", 24, down, IPL_INTER_LINEAR, 1.00);
    addResize("24-bit area", 24, quarter, IPL_INTER_SUPER, 1.20);
    addResize("8-bit area", 8, quarter, IPL_INTER_SUPER, 1.20);
    addResize("24-bit cubic", 24, up, IPL_INTER_CUBIC, 0);
    addResize("24-bit area", 24, thumbnail, IPL_INTER_SUPER, 0);
}
