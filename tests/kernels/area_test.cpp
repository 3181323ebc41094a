#include "kernels/area.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/pace.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace
{

uint8_t plainMean(const uint8_t* src, ptrdiff_t step, const quib::AreaBlock& block, size_t x,
                  int32_t channel)
{
    uint64_t sum = 0;
    for (int32_t j = 0; j < block.ySize; ++j)
        for (int32_t i = 0; i < block.xSize; ++i)
            sum += src[j * step + (static_cast<ptrdiff_t>(x) * block.xSize + i) * block.channels +
                       channel];
    const uint64_t count = static_cast<uint64_t>(block.xSize) * static_cast<uint64_t>(block.ySize);
    return static_cast<uint8_t>((2 * sum + count) / (2 * count));
}

// One row of means from guarded rows, at one level.
void checkAreaRow(const quib::AreaKernels& kernels, const quib::AreaBlock& block, size_t width,
                  Guard guard, Random& random)
{
    const size_t rowBytes = width * block.xSize * block.channels;
    const size_t step = rowBytes + static_cast<size_t>(random.between(0, 7));
    const GuardedBuffer src(step * static_cast<size_t>(block.ySize - 1) + rowBytes, guard);
    const GuardedBuffer dst(width * block.channels, guard);
    const GuardedBuffer sums(rowBytes * 4);
    random.fill(src.data(), src.size());
    if (random.between(0, 3) == 0)
        std::memset(src.data(), 255, src.size());
    kernels.blockMeans(dst.data(), 0, src.data(), static_cast<ptrdiff_t>(step), block, width, 1,
                       sums.data());
    for (size_t x = 0; x < width; ++x)
        for (int32_t c = 0; c < block.channels; ++c)
            ASSERT_EQ(dst.data()[x * block.channels + c],
                      plainMean(src.data(), static_cast<ptrdiff_t>(step), block, x, c))
                << block.xSize << "x" << block.ySize << "x" << block.channels << " width " << width
                << " at " << x;
}

} // namespace

TEST(AreaKernels, BlockMeansAreExactForEverySizeAndWidth)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        Random random(1);
        for (int32_t xSize = 1; xSize <= 5; ++xSize)
            for (int32_t ySize = 1; ySize <= 4; ++ySize)
                for (int32_t channels = 1; channels <= 5; ++channels)
                    for (const size_t width : {1u, 2u, 3u, 4u, 5u, 7u, 8u, 9u, 11u, 13u, 16u, 17u,
                                               23u, 24u, 25u, 33u, 47u, 65u})
                        checkAreaRow(table->area, {xSize, ySize, channels}, width,
                                     random.coin() ? Guard::afterEnd : Guard::beforeStart, random);
    }
}

TEST(AreaKernels, BlockMeansAreExactForTallAndWideBlocks)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        Random random(2);
        for (const int32_t ySize : {31, 32, 33, 42, 43, 63, 64, 65, 257, 258, 400})
            for (const int32_t xSize : {1, 2, 3, 4, 5, 63, 64})
                for (const int32_t channels : {1, 3, 4})
                    checkAreaRow(table->area, {xSize, ySize, channels},
                                 static_cast<size_t>(random.between(1, 40)), Guard::afterEnd,
                                 random);
    }
}

TEST(AreaKernels, BlockMeansRoundEverySumOfSmallBlocks)
{
    // Block s of the row has the sum s.
    const auto check = [](int32_t xSize, int32_t ySize) {
        const int32_t count = xSize * ySize;
        const size_t width = static_cast<size_t>(count) * 255 + 1;
        const size_t step = width * xSize;
        std::vector<uint8_t> src(step * ySize);
        for (size_t s = 0; s < width; ++s)
            for (int32_t i = 0; i < count; ++i)
                src[static_cast<size_t>(i / xSize) * step + s * xSize + i % xSize] =
                    static_cast<uint8_t>(s / count + (i < static_cast<int32_t>(s % count)));
        std::vector<uint8_t> dst(width);
        std::vector<uint32_t> sums(step);
        for (const quib::Kernels* table : availableLevels()) {
            SCOPED_TRACE(table->levelName);
            table->area.blockMeans(dst.data(), 0, src.data(), static_cast<ptrdiff_t>(step),
                                   {xSize, ySize, 1}, width, 1, sums.data());
            for (size_t s = 0; s < width; ++s)
                ASSERT_EQ(dst[s], (s + count / 2) / count) << s << " / " << count;
        }
    };
    for (int32_t ySize = 1; ySize <= 64; ++ySize)
        check(2, ySize);
    for (int32_t ySize = 1; ySize <= 42; ySize += 2)
        check(3, ySize);
    check(4, 32);
    check(5, 5);
    check(7, 43);
}

TEST(AreaKernels, BlockMeansWalkRowsByTheirSteps)
{
    for (const quib::Kernels* table : availableLevels()) {
        Random random(3);
        const quib::AreaBlock block{4, 3, 3};
        std::vector<uint8_t> src(700 * 9);
        random.fill(src.data(), src.size());
        std::vector<uint8_t> dst(200 * 3, 7);
        std::vector<uint32_t> sums(700);
        table->area.blockMeans(dst.data(), 200, src.data(), 700, block, 58, 3, sums.data());
        for (size_t y = 0; y < 3; ++y) {
            for (size_t i = 0; i < 58 * 3; ++i)
                ASSERT_EQ(dst[y * 200 + i], plainMean(src.data() + y * 2100, 700, block, i / 3,
                                                      static_cast<int32_t>(i % 3)));
            for (size_t i = 58 * 3; i < 200; ++i)
                ASSERT_EQ(dst[y * 200 + i], 7);
        }
    }
}

namespace
{

// A span of up to a few pixels, or of very many, that starts at `first`.
quib::AreaSpan randomSpan(int32_t first, int32_t largest, Random& random)
{
    const int32_t count = random.between(1, largest);
    const auto weight = [&] { return static_cast<float>(random.between(0, 1000)) / 1000.0f; };
    return {first, count, weight(), weight()};
}

} // namespace

TEST(AreaKernels, SpanColumnsWeighTheFirstAndTheLastRow)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        Random random(4);
        for (size_t count = 1; count < 80; ++count) {
            const quib::AreaSpan rows = randomSpan(0, count % 9 == 0 ? 700 : 6, random);
            const size_t step = count + static_cast<size_t>(random.between(0, 5));
            const GuardedBuffer src(step * static_cast<size_t>(rows.count - 1) + count);
            const GuardedBuffer sums(count * 4);
            const GuardedBuffer scratch(count * 4);
            random.fill(src.data(), src.size());
            table->area.spanColumns(sums.as<float>(), src.data(), static_cast<ptrdiff_t>(step),
                                    rows, count, scratch.data());
            for (size_t i = 0; i < count; ++i) {
                const auto at = [&](int32_t y) {
                    return static_cast<float>(src.data()[static_cast<size_t>(y) * step + i]);
                };
                float expected = rows.head * at(0);
                float between = 0;
                for (int32_t y = 1; y < rows.count - 1; ++y)
                    between += at(y);
                if (rows.count > 2)
                    expected += between;
                if (rows.count > 1)
                    expected += rows.tail * at(rows.count - 1);
                ASSERT_EQ(sums.as<float>()[i], expected) << rows.count << " rows";
            }
        }
    }
}

TEST(AreaKernels, SpanColumnsHaveRoomForTheTallestSpan)
{
    // All rows are one.
    const std::vector<uint8_t> row(19, 255);
    std::vector<uint32_t> scratch(row.size());
    std::vector<float> sums(row.size());
    const quib::AreaSpan rows{0, quib::areaTallestSpan / stepOfCases(16), 0.25f, 0.5f};
    const float between = static_cast<float>(255.0 * (rows.count - 2));
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        table->area.spanColumns(sums.data(), row.data(), 0, rows, row.size(), scratch.data());
        EXPECT_EQ(sums, std::vector<float>(row.size(), 0.25f * 255 + between + 0.5f * 255));
    }
}

TEST(AreaKernels, SpanMeansSumInTheOrderOfThePixels)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        Random random(5);
        for (int32_t channels = 1; channels <= 5; ++channels) {
            for (size_t width = 1; width < 40; ++width) {
                constexpr int32_t pixels = 60;
                const size_t elements = static_cast<size_t>(pixels * channels);
                const GuardedBuffer sums((elements + quib::areaSlack) * 4);
                for (size_t i = 0; i < elements + quib::areaSlack; ++i)
                    sums.as<float>()[i] = static_cast<float>(random.between(0, 2550)) / 10.0f;
                const GuardedBuffer dst(width * channels);
                std::vector<quib::AreaSpan> spans;
                for (size_t x = 0; x < width; ++x) {
                    const int32_t first = random.between(0, pixels - 1);
                    spans.push_back(randomSpan(first, std::min(pixels - first, 7), random));
                }
                const float scale = 1.0f / 3.5f; // now and then too large for a byte
                table->area.spanMeans(dst.data(), sums.as<float>(), spans.data(), width, channels,
                                      scale);
                for (size_t k = 0; k < width * channels; ++k) {
                    const quib::AreaSpan& span = spans[k / channels];
                    const float* at = sums.as<float>() + span.first * channels + k % channels;
                    float sum = span.head * at[0];
                    for (int32_t i = 1; i < span.count; ++i)
                        sum += (i == span.count - 1 ? span.tail : 1.0f) * at[i * channels];
                    ASSERT_EQ(dst.data()[k],
                              std::min(static_cast<int32_t>(sum * scale + 0.5f), 255));
                }
            }
        }
    }
}
