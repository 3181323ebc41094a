#include "benchmarks/families.h"

#include "benchmarks/bench.h"
#include "benchmarks/pixels.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#if defined(QUIB_BENCH_VIPS)
#include <vips/vips.h>
#endif

namespace
{

using WindowFilter = QuibStatus (*)(const IplImage*, IplImage**, int32_t, int32_t, int32_t,
                                    int32_t);

const Pixels& sourceOf(int bitDepth)
{
    static const Pixels gray(1920, 1080, 8);
    static const Pixels colour(1920, 1080, 32);
    return bitDepth == 8 ? gray : colour;
}

std::function<void()> filterBy(WindowFilter filter, int bitDepth, int32_t size)
{
    return [filter, &source = sourceOf(bitDepth), size] {
        IplImage* out = nullptr;
        filter(source.handle(), &out, size, size, size / 2, size / 2);
        QuibFree(&out);
    };
}

// What a wrapper allocates, filled by a copy.
std::function<void()> freshCopy(const Pixels& source)
{
    return [&source] {
        uint8_t* block = static_cast<uint8_t*>(std::malloc(source.bytes() + 3));
        std::memcpy(block, source.data(), source.bytes());
        keep(block);
        std::free(block);
    };
}

void addFilter(const std::string& name, double limit, std::function<void()> ours,
               const std::string& peer, std::function<void()> theirs)
{
    addCase({.operation = name,
             .width = 1920,
             .height = 1080,
             .limit = {.ratio = limit},
             .ours = std::move(ours),
             .peer = peer,
             .theirs = std::move(theirs),
             .floor = freshCopy(sourceOf(8))});
}

void addExtremes()
{
    const auto most = [](int32_t size) { return filterBy(QuibMaxFilter, 8, size); };
    addFilter("QuibMaxFilter 3x3 8-bit", 3.00, most(3), "memcpy", freshCopy(sourceOf(8)));
    addFilter("QuibMinFilter 3x3 8-bit", 3.00, filterBy(QuibMinFilter, 8, 3), "memcpy",
              freshCopy(sourceOf(8)));
    addFilter("QuibMaxFilter 15x15 8-bit", 3.00, most(15), "QuibMaxFilter 3x3", most(3));
    addFilter("QuibMaxFilter 51x51 8-bit", 3.50, most(51), "QuibMaxFilter 3x3", most(3));
}

#if defined(QUIB_BENCH_VIPS)
std::function<void()> vipsMedian(int size)
{
    return [size] {
        const Pixels& source = sourceOf(8);
        VipsImage* in = vips_image_new_from_memory(source.data(), source.bytes(), 1920, 1080, 1,
                                                   VIPS_FORMAT_UCHAR);
        VipsImage* out = nullptr;
        vips_rank(in, &out, size, size, size * size / 2, nullptr);
        size_t bytes = 0;
        void* result = vips_image_write_to_memory(out, &bytes);
        keep(result);
        g_free(result);
        g_object_unref(out);
        g_object_unref(in);
    };
}
#endif

void addMedians()
{
    const auto median = [](int32_t size) { return filterBy(QuibMedianFilter, 8, size); };
    addFilter("QuibMedianFilter 3x3 8-bit", 6.00, median(3), "memcpy", freshCopy(sourceOf(8)));
    addFilter("QuibMedianFilter 5x5 8-bit", 20.00, median(5), "memcpy", freshCopy(sourceOf(8)));
    addFilter("QuibMedianFilter 51x51 8-bit", 1.25, median(51), "QuibMedianFilter 15x15",
              median(15));
#if defined(QUIB_BENCH_VIPS)
    if (VIPS_INIT("quib_bench") != 0)
        return;
    vips_concurrency_set(1);
    vips_cache_set_max(0);
    addFilter("QuibMedianFilter 15x15 8-bit", 0.15, median(15), "libvips rank 15", vipsMedian(15));
    addFilter("QuibMedianFilter 51x51 8-bit", 0.15, median(51), "libvips rank 15", vipsMedian(15));
#endif
}

// The vector median as it is defined, pixel by pixel.
void plainColourMedian(const uint8_t* src, uint8_t* dst, int width, int height)
{
    for (int y = 1; y < height - 1; ++y) {
        for (int x = 1; x < width - 1; ++x) {
            const uint8_t* pixels[9];
            int totals[9] = {};
            for (int i = 0; i < 9; ++i)
                pixels[i] = src + ((y - 1 + i / 3) * width + x - 1 + i % 3) * 4;
            for (int i = 0; i < 9; ++i) {
                for (int j = i + 1; j < 9; ++j) {
                    int distance = 0;
                    for (int c = 0; c < 3; ++c)
                        distance += std::abs(pixels[i][c] - pixels[j][c]);
                    totals[i] += distance;
                    totals[j] += distance;
                }
            }
            int best = 0;
            for (int i = 1; i < 9; ++i)
                best = totals[i] < totals[best] ? i : best;
            std::memcpy(dst + (y * width + x) * 4, pixels[best], 3);
        }
    }
}

void addColourMedian()
{
    static const Pixels source(1920, 1080, 32);
    source.handle()->alphaChannel = 4;
    const auto ours = [] {
        IplImage* out = nullptr;
        QuibColorMedianFilter(source.handle(), &out, 3, 3, 1, 1);
        QuibFree(&out);
    };
    const auto theirs = [] {
        std::vector<uint8_t> block(source.bytes());
        plainColourMedian(source.data(), block.data(), 1920, 1080);
        keep(block.data());
    };
    addFilter("QuibColorMedianFilter 3x3 32-bit", 0.08, ours, "plain form", theirs);
}

} // namespace

void addFilterCases()
{
    addExtremes();
    addMedians();
    addColourMedian();
}
