// Convolution as the tests see it: tap by tap, in the terms of whoever made the
// kernels.
#pragma once

#include "tests/support/conv_kernels.h"
#include "tests/support/window.h"

#include <cmath>

struct PlainKernel {
    int32_t nCols;
    int32_t nRows;
    int32_t anchorX;
    int32_t anchorY;
    std::vector<int32_t> values;
    int32_t nShiftR;

    ConvKernel make() const
    {
        return makeConvKernel(nCols, nRows, anchorX, anchorY, values, nShiftR);
    }
};

inline std::string describe(const PlainKernel& kernel)
{
    std::string text = " kernel " + std::to_string(kernel.nCols) + "x" +
                       std::to_string(kernel.nRows) + " anchor " + std::to_string(kernel.anchorX) +
                       "," + std::to_string(kernel.anchorY) + " shift " +
                       std::to_string(kernel.nShiftR) + ":";
    for (const int32_t value : kernel.values)
        text += " " + std::to_string(value);
    return text;
}

inline int plainClass(const PlainKernel& kernel, uint32_t depth)
{
    if (depth == IPL_DEPTH_32S)
        return 2;
    const double low = depth == IPL_DEPTH_1U ? 0 : static_cast<double>(lowOf(depth));
    const double high = depth == IPL_DEPTH_1U ? 1 : static_cast<double>(highOf(depth));
    double upper = 0;
    double lower = 0;
    bool small = (depth & IPL_DEPTH_MASK) != 16;
    for (const double k : kernel.values) {
        const double most = std::max(k * high, k * low);
        const double least = std::min(k * high, k * low);
        upper += most;
        lower += least;
        if (k >= 32768 || k < -32768 || most > 32767 || least < -32768)
            small = false;
    }
    if (small && upper <= 32767 && lower >= -32768)
        return 0;
    return upper <= 2147483647.0 && lower >= -2147483648.0 ? 1 : 2;
}

inline float plainMultiplier(int32_t nShiftR)
{
    static const uint32_t patterns[24] = {
        0x3f800000, 0x3f000000, 0x3e800000, 0x3e000000, 0x3d800000, 0x3d000000,
        0x3c800000, 0x3c000000, 0x3b800000, 0x3b000015, 0x3a7fffd5, 0x39ffffd5,
        0x397fffd5, 0x38ffffd5, 0x3880029a, 0x3800029a, 0x3780029a, 0x3700029a,
        0x367faf4d, 0x36002d8d, 0x357f0381, 0x3500d959, 0x3480d959, 0x3400d959};
    if (nShiftR >= 24)
        return 0;
    float value = 0;
    std::memcpy(&value, &patterns[nShiftR < 0 ? 0 : nShiftR], 4);
    return value;
}

// An element around the pixel that a result is for.
using PlainNeighbour = std::function<double(int64_t dx, int64_t dy)>;

// One kernel's result. Whole numbers are exact in it, and floats too.
inline double plainKernelResult(const PlainKernel& kernel, uint32_t depth,
                                const PlainNeighbour& neighbour)
{
    const int arithmetic = plainClass(kernel, depth);
    int64_t whole = 0;
    float single = 0;
    // Float sums go from the last tap to the first.
    for (int32_t j = kernel.nRows - 1; j >= 0; --j) {
        for (int32_t i = kernel.nCols - 1; i >= 0; --i) {
            const int32_t tap = kernel.values[static_cast<size_t>(j * kernel.nCols + i)];
            if (tap == 0)
                continue;
            const double pixel = neighbour(kernel.anchorX - i, kernel.anchorY - j);
            if (arithmetic < 2) {
                whole += static_cast<int64_t>(tap) * static_cast<int64_t>(pixel);
            } else {
                const float product = static_cast<float>(tap) * static_cast<float>(pixel);
                single = single + product;
            }
        }
    }
    if (arithmetic == 2)
        return single * plainMultiplier(kernel.nShiftR);
    const int32_t shift = std::min(std::max(kernel.nShiftR, 0), 31);
    return static_cast<double>(whole >> shift);
}

template<class Number>
Number plainCombined(const std::vector<Number>& results, int32_t method)
{
    Number all = method == 1 || method == 2 ? results[0] * results[0] : results[0];
    for (size_t i = 1; i < results.size(); ++i) {
        const Number r = results[i];
        if (method == 1 || method == 2)
            all = all + r * r;
        else if (method == 3)
            all = std::max(all, r);
        else if (method == 4)
            all = std::min(all, r);
        else
            all = all + r;
    }
    return all;
}

inline double plainSaturated(uint32_t depth, double value)
{
    if (depth == IPL_DEPTH_1U)
        return value >= 1 ? 1 : 0;
    return std::min(std::max(value, static_cast<double>(lowOf(depth))),
                    static_cast<double>(highOf(depth)));
}

inline double plainConvolved(const std::vector<PlainKernel>& kernels, int32_t method,
                             uint32_t depth, const PlainNeighbour& neighbour)
{
    bool floats = false;
    std::vector<int64_t> wholes;
    std::vector<float> singles;
    for (const PlainKernel& kernel : kernels) {
        const double result = plainKernelResult(kernel, depth, neighbour);
        floats = floats || plainClass(kernel, depth) > 0;
        singles.push_back(static_cast<float>(result));
        wholes.push_back(plainClass(kernel, depth) == 0 ? static_cast<int64_t>(result) : 0);
    }
    double value = floats ? static_cast<double>(plainCombined(singles, method))
                          : static_cast<double>(plainCombined(wholes, method));
    if (method == 2) {
        value = std::nearbyint(std::sqrt(value));
        value = floats ? static_cast<float>(value) : value;
    }
    return plainSaturated(depth, std::nearbyint(plainSaturated(depth, std::nearbyint(value))));
}

// Calls with the pixels that a job writes: their places in the source and the
// destination.
template<class Visit>
void forEachPlainPixel(const PlainJob& job, Visit visit)
{
    const Area from = areaOf(job.a);
    const Area to = areaOf(job.dst);
    Area size = to;
    for (const IplImage* image : {job.a, static_cast<const IplImage*>(job.a->maskROI),
                                  static_cast<const IplImage*>(job.dst->maskROI)})
        shrinkTo(&size, image);
    for (int32_t y = 0; y < size.height; ++y)
        for (int32_t x = 0; x < size.width; ++x)
            for (int32_t c = 0; c < job.channels; ++c)
                if (maskLets(job.a->maskROI, x, y) && maskLets(job.dst->maskROI, x, y))
                    visit(from.x + x, from.y + y, job.firstA + c, to.x + x, to.y + y,
                          job.firstDst + c);
}

inline void plainConvolve(const PlainJob& job, const std::vector<PlainKernel>& kernels,
                          int32_t method)
{
    forEachPlainPixel(
        job, [&](int32_t x, int32_t y, int32_t c, int32_t toX, int32_t toY, int32_t toC) {
            putElement(job.dst, toX, toY, toC,
                       plainConvolved(kernels, method, job.dst->depth, [&](int64_t dx, int64_t dy) {
                           return elementAround(job.a, x + dx, y + dy, c);
                       }));
        });
}

// The source with border constants in the depth's range.
inline void clampBorders(IplImage* image)
{
    for (int32_t& constant : image->BorderConst) {
        if (image->depth == IPL_DEPTH_1U)
            constant = constant > 0 ? 1 : 0;
        else if (image->depth != IPL_DEPTH_32S)
            constant = static_cast<int32_t>(
                std::min(std::max<int64_t>(constant, lowOf(image->depth)), highOf(image->depth)));
    }
}

// --- Random ones -----------------------------------------------------------------------

inline int32_t randomTap(int32_t kind, Random& random)
{
    switch (kind) {
    case 0:
        return random.between(-2, 2);
    case 1:
        return random.between(-40, 40);
    case 2:
        return random.between(-40000, 40000);
    case 3:
        return random.between(0, 3) ? 0 : random.between(-200, 200);
    default:
        return static_cast<int32_t>(random.next());
    }
}

inline PlainKernel randomKernelOf(int32_t nCols, int32_t nRows, Random& random)
{
    PlainKernel kernel{nCols,
                       nRows,
                       random.between(0, nCols - 1),
                       random.between(0, nRows - 1),
                       {},
                       random.between(0, 8)};
    if (random.between(0, 3) == 0)
        kernel.nShiftR = random.between(-2, 40);
    const int32_t kind = std::min(random.between(0, 5), 4);
    for (int32_t i = 0; i < nCols * nRows; ++i)
        kernel.values.push_back(randomTap(kind, random));
    return kernel;
}

inline PlainKernel randomKernel(Random& random)
{
    const int32_t most = random.coin() ? 9 : 3;
    return randomKernelOf(random.between(1, most), random.between(1, most), random);
}

// Images that convolutions take: both with a channel of interest or neither, in one
// order, with regions that begin inside.
inline bool areTogetherConvolved(const Arrangement& images)
{
    const auto beginsInside = [](const IplImage* image) {
        return !image->roi ||
               (image->roi->xOffset < image->width && image->roi->yOffset < image->height);
    };
    const IplImage* a = images.a.get();
    const IplImage* dst = images.dst.get();
    return (coiOf(a) > 0) == (coiOf(dst) > 0) && a->dataOrder == dst->dataOrder &&
           beginsInside(a) && beginsInside(dst);
}

inline Arrangement randomConvolved(uint32_t depth, Random& random)
{
    for (;;) {
        Arrangement images = randomFilterImages(depth, random);
        if (areTogetherConvolved(images))
            return images;
    }
}
