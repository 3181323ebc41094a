#include "benchmarks/families.h"

#include "benchmarks/bench.h"
#include "benchmarks/pixels.h"
#include "benchmarks/plain_tone.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <utility>

#if QUIB_BENCH_LIBYUV
#include <libyuv.h>
#endif

namespace
{

constexpr int width = 1920;
constexpr int height = 1080;
constexpr size_t pixelCount = size_t{width} * height;

void addTone(const std::string& operation, double limit, std::function<void()> ours,
             const std::string& peer, std::function<void()> theirs)
{
    addCase({.operation = operation,
             .width = width,
             .height = height,
             .limit = {.ratio = limit},
             .ours = std::move(ours),
             .peer = peer,
             .theirs = std::move(theirs),
             .floor = {}});
}

void adjustInto(const Pixels& src, const Pixels& dst)
{
    IplImage* out = dst.handle();
    QuibBrightnessAndContrast(src.handle(), &out, 20, 30, 0);
}

void addCurves(const Pixels& source, const Pixels& result)
{
#if QUIB_BENCH_LIBYUV
    static uint8_t table[256 * 4];
    for (size_t i = 0; i < sizeof table; ++i)
        table[i] = static_cast<uint8_t>(255 - i / 4);
    addTone(
        "QuibBrightnessAndContrast, in place", 0.25, [&] { adjustInto(result, result); },
        "libyuv ARGBColorTable",
        [&] {
            libyuv::ARGBColorTable(result.data(), width * 4, table, 0, 0, width, height);
            keep(result.data());
        });
#endif
    addTone(
        "QuibBrightnessAndContrast", 1.30, [&] { adjustInto(source, result); }, "memcpy",
        [&] {
            std::memcpy(result.data(), source.data(), source.bytes());
            keep(result.data());
        });
}

// A photograph, as large as the other pictures.
IplImage* loadPhotograph()
{
    IplImage* photograph = nullptr;
    IplImage* enlarged = nullptr;
    if (QuibLoadBMP(QUIB_BENCH_PHOTOGRAPH, &photograph) != QUIB_OK || !photograph ||
        QuibCreate0(width, height, 32, &enlarged) != QUIB_OK ||
        QuibResize(photograph, enlarged, 1) != QUIB_OK)
        std::abort();
    QuibFree(&photograph);
    return enlarged;
}

void addHue(IplImage* photograph, const Pixels& result)
{
    constexpr int32_t hue = 30;
    constexpr int32_t saturation = 40;
    addTone(
        "QuibHueAndSaturation, a photograph", 0.12,
        [=, &result] {
            IplImage* out = result.handle();
            QuibHueAndSaturation(photograph, &out, hue, saturation);
        },
        "plain form",
        [=, &result] {
            const uint8_t* from = reinterpret_cast<const uint8_t*>(photograph->imageData);
            for (size_t i = 0; i < pixelCount; ++i)
                plainHue().adjust(result.data() + i * 4, from + i * 4, hue, saturation);
            keep(result.data());
        });
}

// Calls work(block) with a fresh block of a gray picture's size.
template<class Work>
void inFreshBlock(Work work)
{
    uint8_t* block = static_cast<uint8_t*>(std::malloc(pixelCount));
    work(block);
    keep(block);
    std::free(block);
}

void addGrays(const Pixels& source, const Pixels& bits)
{
#if QUIB_BENCH_LIBYUV
    addTone(
        "QuibColorToGray 32-bit", 1.20,
        [&] {
            IplImage* gray = nullptr;
            QuibColorToGray(source.handle(), &gray);
            QuibFree(&gray);
        },
        "malloc, libyuv ARGBToJ400",
        [&] {
            inFreshBlock([&](uint8_t* block) {
                libyuv::ARGBToJ400(source.data(), width * 4, block, width, width, height);
            });
        });
#endif
    addTone(
        "QuibBitonalToGray", 1.30,
        [&] {
            IplImage* gray = nullptr;
            QuibBitonalToGray(bits.handle(), &gray, 20, 240);
            QuibFree(&gray);
        },
        "malloc, memset",
        [] { inFreshBlock([](uint8_t* block) { std::memset(block, 20, pixelCount); }); });
}

void addFields(const Pixels& even, const Pixels& odd, const Pixels& woven)
{
    constexpr size_t step = size_t{width} * 4;
    addTone(
        "QuibInterlace", 1.10, [&] { QuibInterlace(woven.handle(), 0); }, "memcpy of rows",
        [&] {
            for (size_t y = 0; y < height; y += 2)
                std::memcpy(woven.data() + y * step, woven.data() + (y + 1) * step, step);
            keep(woven.data());
        });
    addTone(
        "QuibUnInterlace", 1.10,
        [&] {
            IplImage* out = woven.handle();
            QuibUnInterlace(even.handle(), odd.handle(), &out);
        },
        "memcpy of rows",
        [&] {
            for (size_t y = 0; y < height; ++y) {
                const Pixels& field = y % 2 ? odd : even;
                std::memcpy(woven.data() + y * step, field.data() + y * step, step);
            }
            keep(woven.data());
        });
}

} // namespace

void addToneCases()
{
    static const Pixels source(width, height, 32);
    static const Pixels other(width, height, 32);
    static const Pixels result(width, height, 32);
    static const Pixels bits(width, height, 1);
    addCurves(source, result);
    addHue(loadPhotograph(), result);
    addGrays(source, bits);
    addFields(source, other, result);
}
