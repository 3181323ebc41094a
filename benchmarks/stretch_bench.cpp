#include "benchmarks/families.h"

#include "benchmarks/bench.h"
#include "benchmarks/pixels.h"
#include "kernels/kernels.h"
#include "quibtool/stretch/stretch.h"
#include "quibtool/stretch/tables.h"

#if defined(QUIB_BENCH_LIBYUV)
#include <libyuv/scale.h>
#include <libyuv/scale_argb.h>
#endif

#include <cstring>
#include <memory>
#include <string>

namespace
{

using Shared = std::shared_ptr<Pixels>;

Shared makePixels(int width, int height, int bitDepth)
{
    return std::make_shared<Pixels>(width, height, bitDepth);
}

// The same picture with rows four bytes longer than they need to be.
Shared makeLonger(int width, int height, int bitDepth)
{
    const Shared pixels = makePixels(width + 4, height, bitDepth);
    pixels->handle()->width = width;
    return pixels;
}

void resize(const Shared& src, const Shared& dst, int mode)
{
    QuibResize(src->handle(), dst->handle(), mode);
    keep(dst->data());
}

struct Sizes {
    int srcWidth;
    int srcHeight;
    int dstWidth;
    int dstHeight;
};

#if defined(QUIB_BENCH_LIBYUV)
void scaleArgb(const Shared& src, const Shared& dst, const Sizes& s, libyuv::FilterMode filter)
{
    libyuv::ARGBScale(src->data(), s.srcWidth * 4, s.srcWidth, s.srcHeight, dst->data(),
                      s.dstWidth * 4, s.dstWidth, s.dstHeight, filter);
    keep(dst->data());
}

void scalePlane(const Shared& src, const Shared& dst, const Sizes& s)
{
    libyuv::ScalePlane(src->data(), s.srcWidth, s.srcWidth, s.srcHeight, dst->data(), s.dstWidth,
                       s.dstWidth, s.dstHeight, libyuv::kFilterNone);
    keep(dst->data());
}
#endif

// What the memory takes for a reduction: reads each line of the cache that the
// rows of its sources lie in, and fills the result.
void readRows(const Shared& src, const Shared& dst, const Sizes& s, int rowsOfOutput)
{
    constexpr size_t line = 64;
    const size_t rowBytes = static_cast<size_t>(src->handle()->widthStep);
    unsigned sum = 0;
    for (int y = 0; y < s.dstHeight; ++y) {
        const int first = y * s.srcHeight / s.dstHeight;
        const uint8_t* row = src->data() + static_cast<size_t>(first) * rowBytes;
        for (size_t i = 0; i < rowBytes * static_cast<size_t>(rowsOfOutput); i += line)
            sum += row[i];
    }
    std::memset(dst->data(), static_cast<int>(sum & 1), dst->bytes());
    keep(dst->data());
}

struct Kind {
    const char* name;
    int bitDepth;
    int mode;
    double limit;
};

void addLarge(const Kind& kind, const Sizes& sizes)
{
    const Shared src = makePixels(sizes.srcWidth, sizes.srcHeight, kind.bitDepth);
    const Shared dst = makePixels(sizes.dstWidth, sizes.dstHeight, kind.bitDepth);
    Case large{.operation = std::string("QuibResize ") + kind.name + " from " +
                            std::to_string(sizes.srcWidth) + "x" + std::to_string(sizes.srcHeight),
               .width = sizes.dstWidth,
               .height = sizes.dstHeight,
               .limit = {.ratio = kind.limit},
               .ours = [=] { resize(src, dst, kind.mode); },
               .peer = "",
               .theirs = {},
               .floor = {}};
    const bool nearest = kind.mode == STRETCH_NEAREST;
    if (sizes.dstHeight < sizes.srcHeight)
        large.floor = [=] { readRows(src, dst, sizes, nearest ? 1 : 2); };
#if defined(QUIB_BENCH_LIBYUV)
    if (kind.bitDepth == 8) {
        large.peer = "libyuv ScalePlane, no filter";
        large.theirs = [=] { scalePlane(src, dst, sizes); };
    } else {
        large.peer = nearest ? "libyuv ARGBScale, no filter" : "libyuv ARGBScale bilinear";
        large.theirs = [=] {
            scaleArgb(src, dst, sizes, nearest ? libyuv::kFilterNone : libyuv::kFilterBilinear);
        };
    }
#endif
    addCase(large);
}

// What a call costs besides its pixels: checks, tables, scratch.
void addSmall(const std::string& operation, const Shared& src, const Shared& dst, int mode,
              const std::function<void()>& pixelLoop)
{
    addCase({.operation = operation + " from 64x64",
             .width = dst->handle()->width,
             .height = dst->handle()->height,
             .limit = {.microsecondsMore = 2.0},
             .ours = [=] { resize(src, dst, mode); },
             .peer = "its pixel loop",
             .theirs = pixelLoop,
             .floor = {}});
}

void addSmall32()
{
    const Shared src = makePixels(64, 64, 32);
    const Shared dst = makePixels(96, 96, 32);
    for (const int mode : {STRETCH_NEAREST, STRETCH_LINEAR}) {
        const auto tables =
            std::make_shared<quib::StretchTables>(96u, 96u, mode == STRETCH_NEAREST ? 0u : 2u);
        for (const quib::StretchAxis* axis : {&tables->x, &tables->y})
            BuildStretchTable32(96, 64, axis->weight, axis->idx0, axis->idx1, mode);
        addSmall(mode == STRETCH_NEAREST ? "QuibResize 32-bit nearest" : "QuibResize 32-bit linear",
                 src, dst, mode, [=] {
                     quib::ownStretch32({dst->data(), 96, 96, 96 * 4},
                                        {src->data(), 64, 64, 64 * 4}, *tables);
                     keep(dst->data());
                 });
    }
}

void addSmall8()
{
    const Shared src = makePixels(64, 64, 8);
    const Shared dst = makeLonger(64, 64, 8);
    addSmall("QuibResize 8-bit to longer rows", src, dst, STRETCH_NEAREST, [=] {
        for (int y = 0; y < 64; ++y)
            quib::kernels().stretch.gatherSteps8(dst->data() + y * dst->handle()->widthStep,
                                                 src->data() + y * 64, src->data(), 1, 64);
        keep(dst->data());
    });
}

} // namespace

void addStretchCases()
{
    const Kind kinds[] = {
        {"32-bit nearest", 32, STRETCH_NEAREST, 0.80},
        {"32-bit linear", 32, STRETCH_LINEAR, 1.00},
        {"32-bit smooth", 32, STRETCH_SMOOTH, 1.00},
        {"8-bit nearest", 8, STRETCH_NEAREST, 1.00},
    };
    const Sizes sizes[] = {
        {1280, 720, 1920, 1080},
        {1920, 1080, 1280, 720},
        {1920, 1080, 480, 270},
    };
    for (const Kind& kind : kinds)
        for (const Sizes& size : sizes)
            addLarge(kind, size);
    addSmall32();
    addSmall8();
}
