#include "benchmarks/families.h"

#include "benchmarks/bench.h"
#include "benchmarks/pixels.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#if defined(QUIB_BENCH_VIPS)
#include <vips/vips.h>
#endif

namespace
{

struct Mask {
    int size; // of a square, or of the row and the column of a separable one
    std::vector<int> taps;
    int shift;
};

const Mask binomial3{3, {1, 2, 1, 2, 4, 2, 1, 2, 1}, 4};
const Mask binomial5{
    5, {1, 4, 6, 4, 1, 4, 16, 24, 16, 4, 6, 24, 36, 24, 6, 4, 16, 24, 16, 4, 1, 4, 6, 4, 1}, 8};
const Mask laplacian5{5,
                      {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 24,
                       -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
                      0};
const Mask sobelX{3, {1, 0, -1, 2, 0, -2, 1, 0, -1}, 0};
const Mask sobelY{3, {1, 2, 1, 0, 0, 0, -1, -2, -1}, 0};
const Mask line5{5, {1, 4, 6, 4, 1}, 4};

const Pixels& sourceOf(int bitDepth)
{
    static const Pixels gray(1920, 1080, 8);
    static const Pixels colour(1920, 1080, 32);
    return bitDepth == 8 ? gray : colour;
}

// Kernels are made once: programs keep them.
OwnConvKernel* kernelOf(const Mask& mask, int nCols, int nRows)
{
    OwnConvKernel* kernel = nullptr;
    QuibCreateConvKernel(&kernel, nCols, nRows, nCols / 2, nRows / 2, mask.taps.data(), mask.shift);
    return kernel;
}

std::function<void()> convolveBy(const std::vector<Mask>& masks, int method, int bitDepth)
{
    std::vector<OwnConvKernel*> kernels;
    for (const Mask& mask : masks)
        kernels.push_back(kernelOf(mask, mask.size, mask.size));
    return [kernels, method, &source = sourceOf(bitDepth)] {
        IplImage* out = nullptr;
        QuibConvolve2D(source.handle(), &out, kernels.data(), static_cast<int>(kernels.size()),
                       method);
        QuibFree(&out);
    };
}

std::function<void()> separableBy(const Mask& mask, int bitDepth)
{
    return [x = kernelOf(mask, mask.size, 1), y = kernelOf(mask, 1, mask.size),
            &source = sourceOf(bitDepth)] {
        IplImage* out = nullptr;
        QuibConvolveSep2D(source.handle(), &out, x, y);
        QuibFree(&out);
    };
}

#if defined(QUIB_BENCH_VIPS)

VipsImage* vipsMask(const Mask& mask, int height)
{
    const std::vector<double> taps(mask.taps.begin(), mask.taps.end());
    VipsImage* matrix = vips_image_new_matrix_from_array(mask.size, height, taps.data(),
                                                         static_cast<int>(taps.size()));
    vips_image_set_double(matrix, "scale", 1 << mask.shift);
    return matrix;
}

// Makes an image of the source and writes it to memory.
std::function<void()> vipsBy(int bitDepth, std::function<VipsImage*(VipsImage*)> make)
{
    return [make, bitDepth, &source = sourceOf(bitDepth)] {
        VipsImage* in = vips_image_new_from_memory(source.data(), source.bytes(), 1920, 1080,
                                                   bitDepth / 8, VIPS_FORMAT_UCHAR);
        VipsImage* out = make(in);
        size_t bytes = 0;
        void* result = vips_image_write_to_memory(out, &bytes);
        keep(result);
        g_free(result);
        g_object_unref(out);
        g_object_unref(in);
    };
}

std::function<void()> vipsConv(const Mask& mask, int bitDepth)
{
    return vipsBy(bitDepth, [matrix = vipsMask(mask, mask.size)](VipsImage* in) {
        VipsImage* out = nullptr;
        vips_conv(in, &out, matrix, "precision", VIPS_PRECISION_INTEGER, nullptr);
        return out;
    });
}

std::function<void()> vipsConvSep(const Mask& mask, int bitDepth)
{
    return vipsBy(bitDepth, [matrix = vipsMask(mask, 1)](VipsImage* in) {
        VipsImage* out = nullptr;
        vips_convsep(in, &out, matrix, "precision", VIPS_PRECISION_INTEGER, nullptr);
        return out;
    });
}

// The square of one gradient.
VipsImage* vipsSquare(VipsImage* in, VipsImage* matrix)
{
    VipsImage* gradient = nullptr;
    VipsImage* square = nullptr;
    vips_conv(in, &gradient, matrix, "precision", VIPS_PRECISION_INTEGER, nullptr);
    vips_multiply(gradient, gradient, &square, nullptr);
    g_object_unref(gradient);
    return square;
}

std::function<void()> vipsMagnitude()
{
    return vipsBy(8, [x = vipsMask(sobelX, 3), y = vipsMask(sobelY, 3)](VipsImage* in) {
        VipsImage* words = nullptr;
        VipsImage* sum = nullptr;
        VipsImage* root = nullptr;
        VipsImage* out = nullptr;
        vips_cast(in, &words, VIPS_FORMAT_SHORT, nullptr);
        VipsImage* squareX = vipsSquare(words, x);
        VipsImage* squareY = vipsSquare(words, y);
        vips_add(squareX, squareY, &sum, nullptr);
        vips_pow_const1(sum, &root, 0.5, nullptr);
        vips_cast(root, &out, VIPS_FORMAT_UCHAR, nullptr);
        for (VipsImage* image : {words, squareX, squareY, sum, root})
            g_object_unref(image);
        return out;
    });
}

bool startVips()
{
    if (VIPS_INIT("quib_bench") != 0)
        return false;
    vips_concurrency_set(1);
    vips_cache_set_max(0);
    return true;
}

#endif

void addConvolution(const std::string& name, double limit, int bitDepth, std::function<void()> ours,
                    const std::string& peer, std::function<void()> theirs)
{
    const Pixels& source = sourceOf(bitDepth);
    addCase({.operation = name + " " + std::to_string(bitDepth) + "-bit",
             .width = 1920,
             .height = 1080,
             .limit = {.ratio = limit},
             .ours = std::move(ours),
             .peer = peer,
             .theirs = std::move(theirs),
             .floor = [&source] {
                 uint8_t* block = static_cast<uint8_t*>(std::malloc(source.bytes() + 3));
                 std::memcpy(block, source.data(), source.bytes());
                 keep(block);
                 std::free(block);
             }});
}

} // namespace

void addConvolveCases()
{
#if defined(QUIB_BENCH_VIPS)
    if (!startVips())
        return;
    const auto one = [](const std::string& name, const Mask& mask, int bitDepth) {
        addConvolution("QuibConvolve2D " + name, 0.20, bitDepth, convolveBy({mask}, 0, bitDepth),
                       "libvips conv", vipsConv(mask, bitDepth));
    };
    for (const int bitDepth : {8, 32}) {
        one("3x3", binomial3, bitDepth);
        one("5x5", laplacian5, bitDepth);
        one("5x5 binomial", binomial5, bitDepth);
        addConvolution("QuibConvolveSep2D 5+5", 0.35, bitDepth, separableBy(line5, bitDepth),
                       "libvips convsep", vipsConvSep(line5, bitDepth));
    }
    addConvolution("QuibConvolve2D two 3x3, root of squares", 0.30, 8,
                   convolveBy({sobelX, sobelY}, 2, 8), "libvips graph", vipsMagnitude());
#endif
}
