#include "benchmarks/families.h"

#include "benchmarks/bench.h"
#include "benchmarks/pixels.h"

#include <cstdlib>
#include <string>
#include <vector>

#if defined(QUIB_BENCH_LIBYUV)
#include <libyuv.h>
#endif

namespace
{

const Pixels& sourceOf(int bitDepth)
{
    static const Pixels gray(1920, 1080, 8);
    static const Pixels rgb(1920, 1080, 24);
    static const Pixels colour(1920, 1080, 32);
    return bitDepth == 8 ? gray : bitDepth == 24 ? rgb : colour;
}

std::function<void()> blurBy(int bitDepth, int32_t size)
{
    return [&source = sourceOf(bitDepth), size] {
        IplImage* out = nullptr;
        QuibBlur(source.handle(), &out, size, size, size / 2, size / 2);
        QuibFree(&out);
    };
}

std::function<void()> fixedBy(int bitDepth, int32_t filter)
{
    return [&source = sourceOf(bitDepth), filter] {
        IplImage* out = nullptr;
        QuibFixedFilter(source.handle(), &out, filter);
        QuibFree(&out);
    };
}

// The same taps by a kernel that is made once.
std::function<void()> convolveBy(int bitDepth, int32_t size, const std::vector<int32_t>& taps,
                                 int32_t shift)
{
    OwnConvKernel* kernel = nullptr;
    QuibCreateConvKernel(&kernel, size, size, size / 2, size / 2, taps.data(), shift);
    return [&source = sourceOf(bitDepth), kernel]() mutable {
        IplImage* out = nullptr;
        QuibConvolve2D(source.handle(), &out, &kernel, 1, 0);
        QuibFree(&out);
    };
}

#if defined(QUIB_BENCH_LIBYUV)
// Into a new block, as ours; the sums of columns are kept from call to call.
std::function<void()> blurByLibyuv(int radius)
{
    const size_t rows = 2 * static_cast<size_t>(radius) + 4;
    return [radius, sums = std::vector<int32_t>(1920 * 4 * rows)]() mutable {
        const Pixels& source = sourceOf(32);
        uint8_t* block = static_cast<uint8_t*>(std::malloc(source.bytes()));
        libyuv::ARGBBlur(source.data(), 1920 * 4, block, 1920 * 4, sums.data(), 1920 * 4, 1920,
                         1080, radius);
        keep(block);
        std::free(block);
    };
}
#endif

void add(const std::string& name, double limit, std::function<void()> ours, const std::string& peer,
         std::function<void()> theirs)
{
    addCase({.operation = name,
             .width = 1920,
             .height = 1080,
             .limit = {.ratio = limit},
             .ours = std::move(ours),
             .peer = peer,
             .theirs = std::move(theirs)});
}

} // namespace

void addBlurCases()
{
#if defined(QUIB_BENCH_LIBYUV)
    add("QuibBlur 5x5 32-bit", 1.00, blurBy(32, 5), "libyuv ARGBBlur 2", blurByLibyuv(2));
    add("QuibBlur 31x31 32-bit", 1.00, blurBy(32, 31), "libyuv ARGBBlur 15", blurByLibyuv(15));
#endif
    for (const int bitDepth : {8, 24, 32}) {
        const std::string bits = std::to_string(bitDepth);
        add("QuibBlur 31x31 " + bits + "-bit, as 5x5", 1.15, blurBy(bitDepth, 31), "QuibBlur 5x5",
            blurBy(bitDepth, 5));
    }
    for (const int bitDepth : {8, 32}) {
        const std::string bits = bitDepth == 8 ? " 8-bit" : " 32-bit";
        add("QuibFixedFilter Sobel" + bits, 0, fixedBy(bitDepth, 2), "QuibConvolve2D",
            convolveBy(bitDepth, 3, {1, 0, -1, 2, 0, -2, 1, 0, -1}, 0));
        add("QuibFixedFilter Gaussian 3x3" + bits, 0, fixedBy(bitDepth, 6), "QuibConvolve2D",
            convolveBy(bitDepth, 3, {1, 2, 1, 2, 4, 2, 1, 2, 1}, 4));
        add("QuibFixedFilter Gaussian 5x5" + bits, 0, fixedBy(bitDepth, 7), "QuibConvolve2D",
            convolveBy(bitDepth, 5, {1,  4, 6, 4,  1,  4,  16, 24, 16, 4, 6, 24, 36,
                                     24, 6, 4, 16, 24, 16, 4,  1,  4,  6, 4, 1},
                       8));
    }
}
