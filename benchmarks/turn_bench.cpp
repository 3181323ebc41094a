#include "benchmarks/families.h"

#include "benchmarks/bench.h"
#include "benchmarks/pixels.h"

#if defined(QUIB_BENCH_LIBYUV)
#include <libyuv/planar_functions.h>
#include <libyuv/rotate_argb.h>
#endif
#if defined(QUIB_BENCH_PIXMAN)
#include <pixman.h>
#endif

#include <cstring>
#include <memory>
#include <string>

namespace
{

constexpr int width = 1920;
constexpr int height = 1080;

using Shared = std::shared_ptr<Pixels>;

Shared makePixels(int bitDepth)
{
    return std::make_shared<Pixels>(width, height, bitDepth);
}

std::function<void()> copyFloor(const Shared& src, const Shared& dst)
{
    return [=] {
        std::memcpy(dst->data(), src->data(), dst->bytes());
        keep(dst->data());
    };
}

// --- Flips -----------------------------------------------------------------------

struct Flip {
    const char* name;
    int axis;
    const char* peer;
};

constexpr Flip flips[] = {
    {"rows", 0, "libyuv ARGBCopy, negative height"},
    {"columns", 1, "libyuv ARGBMirror"},
    {"both", -1, "libyuv ARGBRotate by 180"},
};

#if defined(QUIB_BENCH_LIBYUV)
void flipByPeer(const Shared& src, const Shared& dst, int axis)
{
    constexpr int step = width * 4;
    if (axis == 0)
        libyuv::ARGBCopy(src->data(), step, dst->data(), step, width, -height);
    else if (axis == 1)
        libyuv::ARGBMirror(src->data(), step, dst->data(), step, width, height);
    else
        libyuv::ARGBRotate(src->data(), step, dst->data(), step, width, height, libyuv::kRotate180);
    keep(dst->data());
}
#endif

void addFlip(const Flip& flip, bool inPlace)
{
    const Shared src = makePixels(32);
    const Shared dst = makePixels(32);
    const Shared target = inPlace ? src : dst;
    Case benchmarkCase{.operation =
                           std::string("QuibFlip ") + flip.name + (inPlace ? " in place" : ""),
                       .width = width,
                       .height = height,
                       .limit = {.ratio = 1.00},
                       .ours =
                           [=] {
                               QuibFlip(src->handle(), target->handle(), flip.axis);
                               keep(target->data());
                           },
                       .floor = copyFloor(src, dst)};
#if defined(QUIB_BENCH_LIBYUV)
    benchmarkCase.peer = flip.peer;
    benchmarkCase.theirs = [=] { flipByPeer(src, dst, flip.axis); };
#endif
    addCase(benchmarkCase);
}

void addGrayFlip()
{
    const Shared src = makePixels(8);
    const Shared dst = makePixels(8);
    Case benchmarkCase{.operation = "QuibFlip 8-bit columns",
                       .width = width,
                       .height = height,
                       .limit = {.ratio = 1.00},
                       .ours =
                           [=] {
                               QuibFlip(src->handle(), dst->handle(), 1);
                               keep(dst->data());
                           },
                       .floor = copyFloor(src, dst)};
#if defined(QUIB_BENCH_LIBYUV)
    benchmarkCase.peer = "libyuv MirrorPlane";
    benchmarkCase.theirs = [=] {
        libyuv::MirrorPlane(src->data(), width, dst->data(), width, width, height);
        keep(dst->data());
    };
#endif
    addCase(benchmarkCase);
}

// --- Right angles ----------------------------------------------------------------

// Of a wide picture about its centre the square in the middle stays inside: the
// peer turns just that.
void addRightAngle(int degrees)
{
    const Shared src = makePixels(32);
    const Shared dst = makePixels(32);
    Case benchmarkCase{.operation = "QuibRotate by " + std::to_string(degrees),
                       .width = width,
                       .height = height,
                       .limit = {.ratio = 0.80},
                       .ours =
                           [=] {
                               QuibRotate(src->handle(), dst->handle(), degrees, width / 2,
                                          height / 2, IPL_INTER_NN);
                               keep(dst->data());
                           },
                       .floor = {}};
#if defined(QUIB_BENCH_LIBYUV)
    constexpr int offset = (width - height) / 2 * 4;
    const libyuv::RotationMode mode = degrees == 90 ? libyuv::kRotate270 : libyuv::kRotate90;
    benchmarkCase.peer = "libyuv ARGBRotate";
    benchmarkCase.theirs = [=] {
        libyuv::ARGBRotate(src->data() + offset, width * 4, dst->data() + offset, width * 4, height,
                           height, mode);
        keep(dst->data());
    };
#endif
    addCase(benchmarkCase);
}

// --- Concave quadrangles -------------------------------------------------------------

constexpr double dart[4][2] = {{20, 10}, {1900, 60}, {1100, 500}, {60, 1070}};

void drawDart(const Shared& src, const Shared& dst)
{
    IplImage* handle = dst->handle();
    QUIBWarpPerspectiveQ(src->handle(), &handle, dart, IPL_INTER_NN, false);
    keep(dst->data());
}

#if defined(QUIB_BENCH_PIXMAN)
// How many rows of the image hold as many pixels as the dart covers.
int rowsOfDart(const Shared& src)
{
    const Shared dst = makePixels(32);
    std::memset(src->data(), 0xFF, src->bytes());
    std::memset(dst->data(), 0, dst->bytes());
    drawDart(src, dst);
    size_t touched = 0;
    for (size_t i = 0; i < dst->bytes(); i += 4)
        touched += dst->data()[i] != 0;
    return static_cast<int>(touched / width);
}

struct PixmanImage {
    explicit PixmanImage(const Shared& pixels)
        : image(pixman_image_create_bits(PIXMAN_a8r8g8b8, width, height,
                                         reinterpret_cast<uint32_t*>(pixels->data()), width * 4))
    {
    }
    ~PixmanImage() { pixman_image_unref(image); }
    PixmanImage(const PixmanImage&) = delete;
    PixmanImage& operator=(const PixmanImage&) = delete;

    pixman_image_t* const image;
};
#endif

void addDart()
{
    const Shared src = makePixels(32);
    const Shared dst = makePixels(32);
    Case benchmarkCase{.operation = "QUIBWarpPerspectiveQ of a concave quadrangle",
                       .width = width,
                       .height = height,
                       .limit = {.ratio = 0.50},
                       .ours = [=] { drawDart(src, dst); },
                       .floor = {}};
#if defined(QUIB_BENCH_PIXMAN)
    const int rows = rowsOfDart(makePixels(32));
    const auto from = std::make_shared<PixmanImage>(src);
    const auto to = std::make_shared<PixmanImage>(dst);
    // The far edge is 60 per cent of the near one.
    pixman_f_transform_t tilt{{{1.0, 0.2, 0}, {0, 1.0, 0}, {0, 0.6 / height, 1.0}}};
    pixman_transform_t transform;
    pixman_transform_from_pixman_f_transform(&transform, &tilt);
    pixman_image_set_transform(from->image, &transform);
    pixman_image_set_filter(from->image, PIXMAN_FILTER_NEAREST, nullptr, 0);
    benchmarkCase.peer = "pixman projective nearest, as many pixels";
    benchmarkCase.theirs = [=] {
        pixman_image_composite32(PIXMAN_OP_SRC, from->image, nullptr, to->image, 0, 0, 0, 0, 0, 0,
                                 width, rows);
        keep(dst->data());
    };
#endif
    addCase(benchmarkCase);
}

} // namespace

void addTurnCases()
{
    for (const bool inPlace : {false, true})
        for (const Flip& flip : flips)
            addFlip(flip, inPlace);
    addGrayFlip();
    addRightAngle(90);
    addRightAngle(270);
    addDart();
}
