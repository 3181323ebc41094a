// The plain form of a change of size, pixel by pixel in double precision, and
// random images for it.
#pragma once

#include "_Src/ipl.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/images.h"
#include "tests/support/levels.h"
#include "tests/support/regions.h"
#include "tests/support/report.h"
#include "tests/support/tiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

struct Factors {
    int32_t xDst;
    int32_t xSrc;
    int32_t yDst;
    int32_t ySrc;
};

// --- Samples -----------------------------------------------------------------------------

// A place on an axis of the source's region.
struct Place {
    int32_t index;
    double fraction;
};

inline double nearestWhole(double value)
{
    return std::nearbyint(value);
}

// The places of a zoom, as many as are asked for.
inline std::vector<Place> zoomPlaces(int32_t dstFactor, int32_t srcFactor, int32_t size,
                                     int32_t count, int32_t mode)
{
    const double target = dstFactor * (static_cast<double>(size) / srcFactor);
    const bool whole = std::max(dstFactor, srcFactor) % std::min(dstFactor, srcFactor) == 0;
    double step = 0;
    double position = 0;
    if (mode == IPL_INTER_NN && whole)
        step = size / target;
    else if (target > 1.0)
        step = (size - 1) / (target - 1.0);
    if (mode == IPL_INTER_NN && !whole)
        position = 0.5;
    std::vector<Place> places;
    for (int32_t i = 0; i < count; ++i, position += step) {
        const int32_t index = static_cast<int32_t>(nearestWhole(position + 1e-5 - 0.5));
        if (mode == IPL_INTER_NN)
            places.push_back({index, 0});
        else if (index >= size - 1)
            places.push_back({size - 2, 1.0});
        else
            places.push_back({index, static_cast<float>(position - index)});
    }
    return places;
}

inline int32_t zoomReach(int32_t dstFactor, int32_t srcFactor, int32_t srcSize, int32_t dstSize)
{
    const double scale = static_cast<double>(srcFactor) / dstFactor;
    const double reach = nearestWhole(srcSize / scale + 1e-5 - 0.5);
    return reach < 1 ? 1 : reach > dstSize ? dstSize : static_cast<int32_t>(reach);
}

inline std::vector<Place> decimatePlaces(int32_t dstFactor, int32_t srcFactor, int32_t count)
{
    std::vector<Place> places;
    for (int32_t i = 0; i < count; ++i) {
        const int64_t position = static_cast<int64_t>(i) * srcFactor;
        places.push_back({static_cast<int32_t>(position / dstFactor),
                          static_cast<double>(position % dstFactor) / dstFactor});
    }
    return places;
}

// The pixels of the image that a place is made of, and their weights.
struct Taps {
    std::vector<int32_t> at;
    std::vector<double> weight;
};

inline Taps tapsOf(const Place& place, int32_t regionStart, int32_t imageSize, int32_t mode)
{
    const int32_t position = regionStart + place.index;
    const double f = place.fraction;
    if (mode == IPL_INTER_NN)
        return {{position}, {1.0}};
    if (mode == IPL_INTER_LINEAR) {
        const auto held = [=](int32_t at) { return std::min(std::max(at, 0), imageSize - 1); };
        return {{held(position), held(position + 1)}, {1 - f, f}};
    }
    const int32_t start = position < 1                ? 0
                          : position >= imageSize - 2 ? imageSize - 4
                                                      : position - 1;
    const double t = position - start + f;
    Taps taps;
    for (int32_t i = 0; i < 4; ++i) {
        // Lagrange's weight of node i at t.
        double weight = 1;
        for (int32_t j = 0; j < 4; ++j)
            if (j != i)
                weight *= (t - j) / (i - j);
        taps.at.push_back(start + i);
        taps.weight.push_back(weight);
    }
    return taps;
}

inline std::vector<Taps> tapsOfAll(const std::vector<Place>& places, int32_t regionStart,
                                   int32_t imageSize, int32_t mode)
{
    std::vector<Taps> all;
    for (const Place& place : places)
        all.push_back(tapsOf(place, regionStart, imageSize, mode));
    return all;
}

inline double exactSample(const IplImage* src, const Taps& x, const Taps& y, int32_t channel)
{
    double sum = 0;
    for (size_t j = 0; j < y.at.size(); ++j)
        for (size_t i = 0; i < x.at.size(); ++i)
            sum += element(src, x.at[i], y.at[j], channel) * x.weight[i] * y.weight[j];
    return sum;
}

// Weights of 14 bits; rows are cut to 6 fraction bits. Linear results are cut,
// cubic ones rounded and clamped.
inline int32_t sample8(const IplImage* src, const Taps& x, const Taps& y, int32_t channel)
{
    const auto fixed = [](const Taps& taps, size_t i) {
        const int32_t weight = static_cast<int32_t>(nearestWhole(taps.weight[i] * 16384));
        // The first of a pair has what the second leaves.
        if (taps.at.size() == 2 && i == 0)
            return 16384 - static_cast<int32_t>(nearestWhole(taps.weight[1] * 16384));
        return weight;
    };
    int32_t sum = 0;
    for (size_t j = 0; j < y.at.size(); ++j) {
        int32_t row = 0;
        for (size_t i = 0; i < x.at.size(); ++i)
            row += static_cast<int32_t>(element(src, x.at[i], y.at[j], channel)) * fixed(x, i);
        sum += (row >> 8) * fixed(y, j);
    }
    if (x.at.size() == 2)
        return sum >> 20;
    return std::min(std::max((sum + 0x80000) >> 20, 0), 255);
}

// The elements of a row of an image of one channel.
inline std::vector<int32_t> rowValues(const Image& image, int32_t y)
{
    std::vector<int32_t> values;
    for (int32_t x = 0; x < image->width; ++x)
        values.push_back(static_cast<int32_t>(element(image.get(), x, y, 0)));
    return values;
}

// --- Comparison -----------------------------------------------------------------------------

// What an element may be.
struct Expected {
    double least;
    double most;
};

inline Expected exactly(double value)
{
    return {value, value};
}

inline Expected rounded(uint32_t depth, double value, double tolerance)
{
    if (depth == IPL_DEPTH_32F)
        return {value - tolerance, value + tolerance};
    const double largest = depth == IPL_DEPTH_8U ? 255 : 65535;
    const double clamped = std::min(std::max(value, 0.0), largest);
    return {clamped - 0.5 - tolerance, clamped + 0.5 + tolerance};
}

inline Expected expectedSample(const IplImage* src, const Taps& x, const Taps& y, int32_t channel)
{
    if (x.at.size() == 1)
        return exactly(element(src, x.at[0], y.at[0], channel));
    if (src->depth == IPL_DEPTH_8U)
        return exactly(sample8(src, x, y, channel));
    // Half a unit in the last place of a float below 2048.
    const double tolerance = src->depth == IPL_DEPTH_32F ? 6.2e-5 : 1e-6;
    return rounded(src->depth, exactSample(src, x, y, channel), tolerance);
}

// Whether the mask of the call lets pixel (x, y) of the extent be written.
inline std::vector<bool> plainMask(const IplImage* mask, const Factors& factors, int32_t width,
                                   int32_t height)
{
    std::vector<bool> lets(static_cast<size_t>(width) * height, mask == nullptr);
    if (lets.empty() || !mask)
        return lets;
    const Area area = areaOf(mask);
    const int32_t reachX = zoomReach(factors.xDst, factors.xSrc, area.width, width);
    const int32_t reachY = zoomReach(factors.yDst, factors.ySrc, area.height, height);
    const auto columns = zoomPlaces(factors.xDst, factors.xSrc, area.width, reachX, IPL_INTER_NN);
    const auto rows = zoomPlaces(factors.yDst, factors.ySrc, area.height, reachY, IPL_INTER_NN);
    for (int32_t y = 0; y < reachY; ++y)
        for (int32_t x = 0; x < reachX; ++x)
            lets[static_cast<size_t>(y) * width + x] =
                element(mask, area.x + columns[x].index, area.y + rows[y].index, 0) != 0;
    return lets;
}

// A destination's bytes before a call, to be compared with those after it.
struct Comparison {
    const IplImage* dst;
    std::vector<uint8_t> before;
    std::vector<bool> mask; // of the extent
    int32_t width;
    int32_t height;
    // Pixel (x, y) of the extent, the channel by its number among those worked on.
    std::function<Expected(int32_t x, int32_t y, size_t channel)> expected;

    // The elements of the extent are what they may be, all other bits as before.
    void check() const
    {
        const Area area = areaOf(dst);
        const std::vector<int32_t> channels = channelsOf(dst);
        const std::vector<uint8_t> after = bytesOf(dst);
        uint8_t* const pixels = reinterpret_cast<uint8_t*>(dst->imageData);
        std::vector<double> values;
        forEachWritten([&](int32_t x, int32_t y, size_t c) {
            values.push_back(element(dst, area.x + x, area.y + y, channels[c]));
        });
        std::copy(before.begin(), before.end(), pixels);
        std::vector<double> olds;
        forEachWritten([&](int32_t x, int32_t y, size_t c) {
            olds.push_back(element(dst, area.x + x, area.y + y, channels[c]));
        });
        std::copy(after.begin(), after.end(), pixels);
        size_t i = 0;
        forEachWritten([&](int32_t x, int32_t y, size_t c) {
            const Expected range = expected(x, y, c);
            const double value = values[i];
            if (!(value >= range.least && value <= range.most))
                ADD_FAILURE() << "(" << x << ", " << y << ") channel " << c << ": " << value
                              << " is not within " << range.least << " to " << range.most;
            putElement(const_cast<IplImage*>(dst), area.x + x, area.y + y, channels[c], olds[i]);
            ++i;
        });
        EXPECT_EQ(bytesOf(dst), before) << "wrote outside the extent";
        std::copy(after.begin(), after.end(), pixels);
    }

private:
    template<class Work>
    void forEachWritten(Work work) const
    {
        if (::testing::Test::HasFailure())
            return;
        const size_t channels = channelsOf(dst).size();
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x)
                if (mask[static_cast<size_t>(y) * width + x])
                    for (size_t c = 0; c < channels; ++c)
                        work(x, y, c);
    }
};

// --- Random images ----------------------------------------------------------------------------

inline void giveRoiInside(IplImage* image, int32_t coi, Random& random)
{
    const int32_t x = random.between(0, image->width - 1);
    const int32_t y = random.between(0, image->height - 1);
    // Now and then past the edge.
    setRoi(image, coi, x, y, random.between(1, image->width - x + (random.coin() ? 0 : 3)),
           random.between(1, image->height - y + (random.coin() ? 0 : 3)));
}

// Two images of one depth and order that work on equally many channels.
struct ImagePair {
    Image src;
    Image dst;
};

inline ImagePair randomPair(uint32_t depth, int32_t largestSize, Random& random)
{
    const int32_t order = random.between(0, 1);
    const bool bits = depth == IPL_DEPTH_1U;
    const int32_t channels = bits ? 1 : random.between(1, 6);
    const auto make = [&](int32_t withAlpha) {
        Image image = makeImage(random.between(1, largestSize), random.between(1, largestSize),
                                channels + withAlpha, depth, order, 4 << random.between(0, 3),
                                withAlpha ? channels + 1 : 0);
        randomise(image.get(), random);
        if (random.coin())
            giveRoiInside(image.get(), 0, random);
        return image;
    };
    ImagePair pair{make(!bits && random.between(0, 3) == 0),
                   make(!bits && random.between(0, 3) == 0)};
    if (!bits && random.between(0, 2) == 0) {
        giveRoiInside(pair.src.get(), random.between(1, pair.src->nChannels), random);
        giveRoiInside(pair.dst.get(), random.between(1, pair.dst->nChannels), random);
    }
    if (random.between(0, 2) == 0) {
        IplImage* owner = random.coin() ? pair.src.get() : pair.dst.get();
        giveRandomMask(owner, random.between(1, largestSize), random.between(1, largestSize),
                       random);
        if (random.coin())
            giveRoiInside(owner->maskROI, 0, random);
    }
    return pair;
}

inline std::string describe(const Factors& factors, int32_t mode)
{
    return " by " + std::to_string(factors.xDst) + "/" + std::to_string(factors.xSrc) + ", " +
           std::to_string(factors.yDst) + "/" + std::to_string(factors.ySrc) + " mode " +
           std::to_string(mode);
}

// Calls check(src, dst, factors, mode), which compares with the plain form, for
// images of all depths at every level.
template<class MakeFactors, class Check>
void expectPlainForm(uint64_t seed, int32_t largestSize, MakeFactors makeFactors, int32_t lastMode,
                     Check check)
{
    forEachLevel([&] {
        Random random(seed);
        for (int round = 0; round < 3000; ++round) {
            constexpr uint32_t depths[] = {IPL_DEPTH_1U, IPL_DEPTH_8U, IPL_DEPTH_8U, IPL_DEPTH_16U,
                                           IPL_DEPTH_32F};
            const ImagePair pair = randomPair(depths[random.between(0, 4)], largestSize, random);
            const Factors factors = makeFactors(pair, random);
            const int32_t mode = random.between(0, lastMode);
            SCOPED_TRACE(describe(pair.src.get()) + " to " + describe(pair.dst.get()) +
                         describe(factors, mode));
            check(pair.src.get(), pair.dst.get(), factors, mode);
            ASSERT_FALSE(::testing::Test::HasFailure());
        }
    });
}

// --- Tiles --------------------------------------------------------------------------------------

// Whether work(src, dst, factors, mode) gives the same with tiled images.
template<class MakeFactors, class Work>
void expectTilesMakeNoDifference(uint64_t seed, MakeFactors makeFactors, int32_t lastMode,
                                 Work work)
{
    Random random(seed);
    for (int round = 0; round < 300; ++round) {
        constexpr uint32_t depths[] = {IPL_DEPTH_1U, IPL_DEPTH_8U, IPL_DEPTH_16U, IPL_DEPTH_32F};
        const ImagePair pair = randomPair(depths[random.between(0, 3)], 30, random);
        const Factors factors = makeFactors(pair, random);
        const int32_t mode = random.between(0, lastMode);
        SCOPED_TRACE(describe(pair.src.get()) + " to " + describe(pair.dst.get()) +
                     describe(factors, mode));
        TiledTwin src(pair.src.get(), 8 * random.between(1, 3), 8);
        TiledTwin dst(pair.dst.get(), 16, 8 * random.between(1, 2));
        const Twin fromTiled(pair.dst.get());
        const Twin toTiled(pair.dst.get());
        work(src.get(), fromTiled.get(), factors, mode);
        work(random.coin() ? src.get() : pair.src.get(), dst.get(), factors, mode);
        dst.collect(toTiled.get());
        work(pair.src.get(), pair.dst.get(), factors, mode);
        ASSERT_EQ(bytesOf(fromTiled.get()), bytesOf(pair.dst.get()));
        ASSERT_EQ(bytesOf(toTiled.get()), bytesOf(pair.dst.get()));
    }
}

// Fails each allocation of a size change in turn: the status says so, the destination is as
// it was, and no block is lost.
template<class Work>
void expectNothingWithoutMemory(const IplImage* dst, Work work)
{
    const std::vector<uint8_t> before = bytesOf(dst);
    for (int32_t passing = 0, asked = 1;; ++passing) {
        const ReportsReturn back;
        const int64_t held = liveBlocks();
        {
            const FailingAllocation failing(passing);
            work();
            asked = failing.asked();
        }
        ASSERT_EQ(liveBlocks(), held) << passing;
        if (asked <= passing) {
            EXPECT_GT(passing, 1);
            return;
        }
        ASSERT_EQ(iplGetStatus(), IPL_StsNoMem) << passing;
        ASSERT_EQ(bytesOf(dst), before) << passing;
    }
}

// Of images and tiled images, with masks and without, at every depth and in modes up to this.
template<class Work>
void expectNothingWithoutMemory(int32_t lastMode, Work work)
{
    Random random(77);
    for (const uint32_t depth : {IPL_DEPTH_1U, IPL_DEPTH_8U, IPL_DEPTH_16U, IPL_DEPTH_32F}) {
        for (int32_t mode = 0; mode <= lastMode; ++mode) {
            const int32_t channels = depth == IPL_DEPTH_1U ? 1 : 3;
            const Image src = makeImage(20, 18, channels, depth);
            const Image dst = makeImage(20, 18, channels, depth);
            SCOPED_TRACE(describe(src.get()) + " mode " + std::to_string(mode));
            randomise(src.get(), random);
            randomise(dst.get(), random);
            TiledTwin tiledSrc(src.get(), 8, 8);
            TiledTwin tiledDst(dst.get(), 16, 8);
            // Nothing else allocates meanwhile.
            tiledSrc.log.reserve(1000);
            tiledDst.log.reserve(1000);
            expectNothingWithoutMemory(dst.get(), [&] { work(src.get(), dst.get(), mode); });
            expectNothingWithoutMemory(dst.get(), [&] { work(tiledSrc.get(), dst.get(), mode); });
            tiledDst.collect(dst.get());
            expectNothingWithoutMemory(dst.get(), [&] {
                work(src.get(), tiledDst.get(), mode);
                tiledDst.collect(dst.get());
            });
            giveRandomMask(src.get(), 20, 18, random);
            expectNothingWithoutMemory(dst.get(), [&] { work(src.get(), dst.get(), mode); });
        }
    }
}
