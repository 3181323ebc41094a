#include "benchmarks/families.h"

#include "benchmarks/bench.h"
#include "benchmarks/pixels.h"

#include <cmath>
#include <functional>
#include <string>

#if QUIB_BENCH_LIBYUV
#include <libyuv.h>

namespace
{

constexpr int width = 1920;
constexpr int height = 1080;

// A disc with a soft edge: nine in ten alphas are 0 or 255.
void giveSoftShape(const Pixels& image)
{
    constexpr double radius = 450;
    constexpr double edge = 60;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const double distance = std::hypot(x - width / 2, y - height / 2);
            const double alpha = 255 * (0.5 + (radius - distance) / edge);
            image.data()[(y * width + x) * 4 + 3] = static_cast<uint8_t>(alpha < 0     ? 0
                                                                         : alpha > 255 ? 255
                                                                                       : alpha);
        }
    }
}

void blendByPeer(const Pixels& over, const Pixels& under, const Pixels& result)
{
    libyuv::ARGBBlend(over.data(), width * 4, under.data(), width * 4, result.data(), width * 4,
                      width, height);
    keep(result.data());
}

void addComposition(const std::string& name, double limit, const Pixels& over, const Pixels& under,
                    const Pixels& result)
{
    addCase({.operation = "QuibComposition3, " + name,
             .width = width,
             .height = height,
             .limit = {.ratio = limit},
             .ours =
                 [&] {
                     IplImage* out = result.handle();
                     QuibComposition3(over.handle(), under.handle(), &out);
                 },
             .peer = "libyuv ARGBBlend",
             .theirs = [&] { blendByPeer(over, under, result); },
             .floor = {}});
    addCase({.operation = "QuibComposition3, " + name + ", in place",
             .width = width,
             .height = height,
             .limit = {.ratio = limit},
             .ours = [&] { QuibComposition3(over.handle(), under.handle(), nullptr); },
             .peer = "libyuv ARGBBlend",
             .theirs = [&] { blendByPeer(over, under, under); },
             .floor = {}});
}

// An ellipse on 800 x 600 pixels whose alpha falls off over its outer ones.
void giveSoftEllipse(const Pixels& image, int alpha)
{
    for (int y = 0; y < 600; ++y) {
        for (int x = 0; x < 800; ++x) {
            const double reach = std::hypot((x - 400) / 400.0, (y - 300) / 300.0);
            const double inside = std::fmin(std::fmax((1.0 - reach) * 6, 0.0), 1.0);
            image.data()[(y * 800 + x) * 4 + 3] = static_cast<uint8_t>(alpha * inside);
        }
    }
}

void giveAlpha(const Pixels& image, uint8_t alpha)
{
    for (size_t i = 3; i < image.bytes(); i += 4)
        image.data()[i] = alpha;
}

constexpr QuibPoint place{500, -200}; // row 200

void addPlaced(const std::string& name, double limit, const Pixels& over, const Pixels& under)
{
    addCase({.operation = "QuibComposition4 at a position, " + name,
             .width = 800,
             .height = 600,
             .limit = {.ratio = limit},
             .ours = [&] { QuibComposition4(over.handle(), under.handle(), &place, nullptr); },
             .peer = "libyuv ARGBBlend",
             .theirs =
                 [&] {
                     uint8_t* at = under.data() - place.y * width * 4 + place.x * 4;
                     libyuv::ARGBBlend(over.data(), 800 * 4, at, width * 4, at, width * 4, 800,
                                       600);
                     keep(at);
                 },
             .floor = {}});
}

void addByAlpha(const std::string& name, const Pixels& over, const Pixels& under,
                const Pixels& result)
{
    addCase({.operation = "QuibComposition_s, " + name,
             .width = width,
             .height = height,
             .limit = {.ratio = 1.00},
             .ours =
                 [&] {
                     IplImage* out = result.handle();
                     QuibComposition_s(over.handle(), under.handle(), &out);
                 },
             .peer = "libyuv ARGBBlend",
             .theirs = [&] { blendByPeer(over, under, result); },
             .floor = {}});
    addCase({.operation = "QuibComposition_s, " + name + ", in place",
             .width = width,
             .height = height,
             .limit = {.ratio = 1.00},
             .ours = [&] { QuibComposition_s(over.handle(), under.handle(), nullptr); },
             .peer = "libyuv ARGBBlend",
             .theirs = [&] { blendByPeer(over, under, under); },
             .floor = {}});
}

} // namespace

void addLayerCases()
{
    static const Pixels over(width, height, 32);
    static const Pixels soft(width, height, 32);
    static const Pixels under(width, height, 32);
    static const Pixels result(width, height, 32);
    static const Pixels plane(width, height, 8);
    giveSoftShape(soft);
    addComposition("random alphas", 1.00, over, under, result);
    addComposition("soft-edged shape", 1.00, soft, under, result);

    static const Pixels shape(800, 600, 32);
    static const Pixels sheer(800, 600, 32);
    static const Pixels opaque(width, height, 32);
    giveSoftEllipse(shape, 255);
    giveSoftEllipse(sheer, 160);
    giveAlpha(opaque, 255);
    addPlaced("soft-edged shape", 1.00, shape, opaque);
    addPlaced("soft-edged translucent shape", 1.00, sheer, opaque);
    addByAlpha("random alphas", over, under, result);
    addByAlpha("soft-edged shape", soft, under, result);
    addCase({.operation = "QuibSetAlpha from a plane",
             .width = width,
             .height = height,
             .limit = {.ratio = 1.20},
             .ours = [] { QuibSetAlpha(result.handle(), plane.handle(), 100); },
             .peer = "libyuv ARGBCopyYToAlpha",
             .theirs =
                 [] {
                     libyuv::ARGBCopyYToAlpha(plane.data(), width, result.data(), width * 4, width,
                                              height);
                     keep(result.data());
                 },
             .floor = {}});
}
#else
void addLayerCases() {}
#endif
