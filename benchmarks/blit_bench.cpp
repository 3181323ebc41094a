#include "benchmarks/families.h"

#include "benchmarks/bench.h"
#include "benchmarks/pixels.h"

#if defined(QUIB_BENCH_LIBYUV)
#include <libyuv/scale_argb.h>
#endif

#include <cstring>
#include <functional>
#include <string>

namespace
{

constexpr int pitch = 1920 * 4;

struct Images {
    Pixels src{1920, 1080, 32};
    Pixels dst{1920, 1080, 32};
};

const Images& images()
{
    static const Images all;
    return all;
}

uint8_t* at(const Pixels& pixels, int x, int y)
{
    return pixels.data() + y * pitch + x * 4;
}

void addRows()
{
    addCase({.operation = "QuibBlt 32-bit, equal sizes, out of 1920x1080",
             .width = 1000,
             .height = 700,
             .limit = {.ratio = 1.10},
             .ours =
                 [] {
                     QuibBlt(images().src.handle(), 300, 200, 1300, 900, images().dst.handle(), 500,
                             100, 1500, 800, 0);
                 },
             .peer = "row-wise memcpy",
             .theirs =
                 [] {
                     for (int y = 0; y < 700; ++y)
                         std::memcpy(at(images().dst, 500, 100 + y), at(images().src, 300, 200 + y),
                                     1000 * 4);
                     keep(images().dst.data());
                 },
             .floor = {}});
}

#if defined(QUIB_BENCH_LIBYUV)
std::function<void()> scaleByLibyuv(int srcWidth, int srcHeight, int dstWidth, int dstHeight,
                                    libyuv::FilterMode filter)
{
    return [=] {
        libyuv::ARGBScale(images().src.data(), pitch, srcWidth, srcHeight, images().dst.data(),
                          pitch, dstWidth, dstHeight, filter);
        keep(images().dst.data());
    };
}
#endif

void addStretch(int srcWidth, int srcHeight, int dstWidth, int dstHeight)
{
    Case stretch{.operation = "QuibBlt 32-bit stretch from " + std::to_string(srcWidth) + "x" +
                              std::to_string(srcHeight),
                 .width = dstWidth,
                 .height = dstHeight,
                 .limit = {.ratio = 0.80},
                 .ours =
                     [=] {
                         QuibBlt(images().src.handle(), 0, 0, srcWidth, srcHeight,
                                 images().dst.handle(), 0, 0, dstWidth, dstHeight, 1);
                     },
                 .peer = "",
                 .theirs = {},
                 .floor = {}};
#if defined(QUIB_BENCH_LIBYUV)
    stretch.peer = "libyuv ARGBScale, no filter";
    stretch.theirs = scaleByLibyuv(srcWidth, srcHeight, dstWidth, dstHeight, libyuv::kFilterNone);
#endif
    addCase(stretch);
}

struct Mode {
    const char* name;
    int mode;
    double limit; // 0 for none
};

void addPanZoom(const Mode& mode, int srcWidth, int srcHeight, int dstWidth, int dstHeight)
{
    const double stepX = static_cast<double>(srcWidth) / dstWidth;
    const double stepY = static_cast<double>(srcHeight) / dstHeight;
    Case view{.operation = std::string("QuibBlt_PANZOOM ") + mode.name + ", a view of " +
                           std::to_string(srcWidth) + "x" + std::to_string(srcHeight),
              .width = dstWidth,
              .height = dstHeight,
              .limit = {.ratio = mode.limit},
              .ours =
                  [=] {
                      QuibBlt_PANZOOM(images().src.handle(), 0.37, stepX, 0.61, stepY,
                                      images().dst.handle(), 0, dstWidth, 0, dstHeight, mode.mode);
                  },
              .peer = "",
              .theirs = {},
              .floor = {}};
#if defined(QUIB_BENCH_LIBYUV)
    view.peer = mode.mode == 0 ? "libyuv ARGBScale, no filter" : "libyuv ARGBScale bilinear";
    view.theirs = scaleByLibyuv(srcWidth, srcHeight, dstWidth, dstHeight,
                                mode.mode == 0 ? libyuv::kFilterNone : libyuv::kFilterBilinear);
#endif
    addCase(view);
}

} // namespace

void addBlitCases()
{
    addRows();
    addStretch(1280, 720, 1920, 1080);
    addStretch(1920, 1080, 1280, 720);
    const Mode modes[] = {{"nearest", 0, 0.80}, {"linear", 1, 1.00}, {"smooth", 2, 0}};
    for (const Mode& mode : modes) {
        addPanZoom(mode, 1600, 900, 1920, 1080);
        addPanZoom(mode, 1900, 1060, 1280, 720);
    }
}
