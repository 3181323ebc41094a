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

} // namespace

void addComposeCases()
{
    static const Pixels over(width, height, 32);
    static const Pixels soft(width, height, 32);
    static const Pixels under(width, height, 32);
    static const Pixels result(width, height, 32);
    static const Pixels plane(width, height, 8);
    giveSoftShape(soft);
    addComposition("random alphas", 1.50, over, under, result);
    addComposition("soft-edged shape", 1.00, soft, under, result);
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
void addComposeCases() {}
#endif
