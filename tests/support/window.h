// Windows of images and what lies around them, as the plain forms of the tests see
// them.
#pragma once

#include "tests/support/pixel_cases.h"

constexpr uint32_t integerDepths[] = {IPL_DEPTH_1U,  IPL_DEPTH_8U,  IPL_DEPTH_8S,
                                      IPL_DEPTH_16U, IPL_DEPTH_16S, IPL_DEPTH_32S};

// The index that a coordinate outside [0, size) stands for, by a border mode other
// than constant.
inline int32_t plainFold(int32_t mode, int64_t c, int64_t size)
{
    if (mode == 1)
        return static_cast<int32_t>(c < 0 ? 0 : size - 1);
    if (mode == 3) {
        while (c < 0)
            c += size;
        return static_cast<int32_t>(c % size);
    }
    // Reflections at both ends in turn, until it lies inside.
    while (c < 0 || c >= size)
        c = c < 0 ? -c - 1 : 2 * size - 1 - c;
    return static_cast<int32_t>(c);
}

inline double plainConstant(const IplImage* image, int32_t side)
{
    const int32_t constant = image->BorderConst[side];
    switch (image->depth) {
    case IPL_DEPTH_1U:
        return constant & 1;
    case IPL_DEPTH_8U:
        return constant & 0xFF;
    case IPL_DEPTH_8S:
        return (constant & 0xFF) - 2 * (constant & 0x80);
    case IPL_DEPTH_16U:
        return constant & 0xFFFF;
    case IPL_DEPTH_16S:
        return (constant & 0xFFFF) - 2 * (constant & 0x8000);
    case IPL_DEPTH_32S:
        return constant;
    default:
        return static_cast<float>(constant);
    }
}

// The element at any place in or around an image.
inline double elementAround(const IplImage* image, int64_t x, int64_t y, int32_t channel)
{
    const bool above = y < 0;
    const bool below = y >= image->height;
    const bool before = x < 0;
    const bool after = x >= image->width;
    if (!above && !below && !before && !after)
        return element(image, static_cast<int32_t>(x), static_cast<int32_t>(y), channel);
    const int32_t side = above ? 0 : below ? 1 : before ? 2 : 3;
    const int32_t mode = image->BorderMode[side] & 3;
    if (mode == 0)
        return plainConstant(image, side);
    if (above || below)
        y = plainFold(mode, y, image->height);
    if (before || after)
        x = plainFold(mode, x, image->width);
    return element(image, static_cast<int32_t>(x), static_cast<int32_t>(y), channel);
}

// A mode for each side, with bits that do not count, and constants past the depth's
// range.
inline void giveRandomBorders(IplImage* image, Random& random)
{
    for (int32_t side = 0; side < 4; ++side) {
        image->BorderMode[side] = random.between(0, 3) | (random.coin() ? 0x54 : 0);
        image->BorderConst[side] =
            random.coin() ? random.between(-300, 300) : static_cast<int32_t>(random.next());
    }
}

// --- Filters -------------------------------------------------------------------------

struct PlainWindow {
    int32_t nCols;
    int32_t nRows;
    int32_t anchorX;
    int32_t anchorY;
};

// Often a small one.
inline PlainWindow randomPlainWindow(int32_t most, Random& random)
{
    const int32_t limit = random.coin() ? most : 3;
    PlainWindow window{random.between(1, limit), random.between(1, limit), 0, 0};
    window.anchorX = random.between(0, window.nCols - 1);
    window.anchorY = random.between(0, window.nRows - 1);
    return window;
}

// What a filter makes of the elements under its window, row by row.
using PlainFilter = std::function<double(const std::vector<double>& window)>;

inline void plainFilter(const PlainJob& job, const PlainWindow& window, const PlainFilter& filter)
{
    const IplImage* const src = job.a;
    const Area areaSrc = areaOf(src);
    const Area areaDst = areaOf(job.dst);
    Area size = areaDst;
    for (const IplImage* image : {src, static_cast<const IplImage*>(src->maskROI),
                                  static_cast<const IplImage*>(job.dst->maskROI)})
        shrinkTo(&size, image);
    std::vector<double> values;
    for (int32_t y = 0; y < size.height; ++y) {
        for (int32_t x = 0; x < size.width; ++x) {
            if (!maskLets(src->maskROI, x, y) || !maskLets(job.dst->maskROI, x, y))
                continue;
            for (int32_t c = 0; c < job.channels; ++c) {
                values.clear();
                for (int32_t j = 0; j < window.nRows; ++j)
                    for (int32_t i = 0; i < window.nCols; ++i)
                        values.push_back(elementAround(
                            src, int64_t{areaSrc.x} + x - window.anchorX + i,
                            int64_t{areaSrc.y} + y - window.anchorY + j, job.firstA + c));
                putElement(job.dst, areaDst.x + x, areaDst.y + y, job.firstDst + c, filter(values));
            }
        }
    }
}

// What the filter under test does.
using FilterCall = std::function<void(const IplImage* src, IplImage* dst, const PlainWindow&)>;

inline std::string describe(const PlainWindow& window)
{
    return " window " + std::to_string(window.nCols) + "x" + std::to_string(window.nRows) +
           " anchor " + std::to_string(window.anchorX) + ", " + std::to_string(window.anchorY);
}

inline void expectPlainFilter(const Arrangement& images, const PlainWindow& window,
                              const FilterCall& call, const PlainFilter& filter)
{
    const Twin expected(images.dst.get());
    plainFilter(plainJob(images.a.get(), nullptr, expected.get()), window, filter);
    call(images.a.get(), images.dst.get(), window);
    ASSERT_EQ(bytesOf(images.dst.get()), bytesOf(expected.get()))
        << images.text() << describe(window);
}

// Images for a filter, with borders of any modes.
inline Arrangement randomFilterImages(uint32_t depth, Random& random)
{
    Arrangement images = randomArrangement(depth, 1, random);
    giveRandomBorders(images.a.get(), random);
    return images;
}

// Two that have the same numbers of channels and of channels that take part; bits in
// any orders if so wished.
inline Arrangement randomAlikeImages(uint32_t depth, bool bitsInAnyOrder, Random& random)
{
    const bool bits = depth == IPL_DEPTH_1U;
    const int32_t channels = bits ? 1 : random.between(1, 5);
    const int32_t alpha = !bits && channels > 1 && random.coin() ? channels : 0;
    const bool single = channels - (alpha ? 1 : 0) == 1;
    const bool interest = !bits && random.coin();
    const int32_t order = random.between(0, 1);
    const auto image = [&] {
        const int32_t coi =
            interest && !(single && random.coin()) ? random.between(1, channels) : 0;
        return imageOfShape(depth, bits && bitsInAnyOrder ? random.between(0, 1) : order,
                            {channels, alpha, coi}, random);
    };
    Arrangement images{image(), nullptr, image()};
    giveRandomBorders(images.a.get(), random);
    return images;
}

inline void copyBorders(IplImage* to, const IplImage* from)
{
    std::copy_n(from->BorderMode, 4, to->BorderMode);
    std::copy_n(from->BorderConst, 4, to->BorderConst);
}

// Runs the filter on the images with one of them or both in tiles, and on the images
// themselves.
inline void expectSameFilterInTiles(const Arrangement& images, const PlainWindow& window,
                                    const FilterCall& call, Random& random)
{
    const int32_t which = random.between(1, 3);
    const int32_t width = 8 * random.between(1, 3);
    TiledTwin src(images.a.get(), width, 8 * random.between(1, 2));
    TiledTwin dst(images.dst.get(), 8 * random.between(1, 3), 8 * random.between(1, 2));
    copyBorders(src.get(), images.a.get());
    const Twin result(images.dst.get());
    call(which & 1 ? src.get() : images.a.get(), which & 2 ? dst.get() : result.get(), window);
    if (which & 2)
        dst.collect(result.get());
    call(images.a.get(), images.dst.get(), window);
    ASSERT_EQ(bytesOf(result.get()), bytesOf(images.dst.get()))
        << images.text() << describe(window) << " tiles " << which;
}

// floor((2 sum + n) / (2 n)), for either sign.
inline int64_t plainQuotient(int64_t sum, int64_t n)
{
    const int64_t numerator = 2 * sum + n;
    const int64_t quotient = numerator / (2 * n);
    return numerator < 0 && numerator % (2 * n) != 0 ? quotient - 1 : quotient;
}

// The mean of a window, halves up; in 1-bit images what at least half of it is.
inline PlainFilter plainMean(uint32_t depth)
{
    return [depth](const std::vector<double>& window) -> double {
        if (depth == IPL_DEPTH_32F) {
            double sum = 0;
            for (const double value : window)
                sum += value;
            return static_cast<float>(sum * (1.0 / static_cast<double>(window.size())));
        }
        int64_t sum = 0;
        for (const double value : window)
            sum += static_cast<int64_t>(value);
        const int64_t n = static_cast<int64_t>(window.size());
        if (depth == IPL_DEPTH_1U)
            return 2 * sum >= n;
        return static_cast<double>(plainQuotient(sum, n));
    };
}
