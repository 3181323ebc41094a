#include "kernels/stretch.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace
{

uint8_t lerp(int32_t a, int32_t b, int32_t w)
{
    return static_cast<uint8_t>((b + (((a - b) * w) >> 8)) & 255);
}

// A table that never decreases, of steps of `step` on the average, and the
// number of elements of the row that it fits.
struct Table {
    std::vector<uint32_t> index;
    std::vector<uint32_t> weight;
    size_t rowLength;
};

Table randomTaps(size_t count, double step, Random& random)
{
    Table table{{}, {}, 0};
    double position = random.between(0, 2);
    for (size_t i = 0; i < count; ++i) {
        table.index.push_back(static_cast<uint32_t>(position));
        table.weight.push_back(static_cast<uint32_t>(random.between(0, 255)) * 0x01010101u);
        position += step * random.between(0, 2000) / 1000.0;
    }
    table.rowLength = count ? table.index.back() + size_t{1} : 0;
    return table;
}

constexpr double steps[] = {0.01, 0.3, 0.6, 0.9, 1.0, 1.2, 1.7, 2.0, 2.9, 4.0, 7.0};

std::vector<size_t> counts()
{
    std::vector<size_t> all;
    for (size_t count = 0; count <= 70; ++count)
        all.push_back(count);
    all.insert(all.end(), {127, 128, 129, 400});
    return all;
}

// Calls work(kernels, guard, count, random) for every level, count and side
// of the buffers that touches an inaccessible page.
template<class Work>
void forEachCount(Work work)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        Random random(17);
        for (const size_t count : counts())
            for (const Guard guard : {Guard::afterEnd, Guard::beforeStart})
                work(table->stretch, guard, count, random);
    }
}

// A row of random bytes that nothing may write to.
struct RandomRow : GuardedBuffer {
    RandomRow(size_t bytes, Guard guard, Random& random) : GuardedBuffer(bytes, guard)
    {
        random.fill(data(), bytes);
        makeReadOnly();
    }
};

} // namespace

TEST(StretchKernels, GathersPickTheIndexedElements)
{
    for (const double step : steps) {
        forEachCount(
            [step](const quib::StretchKernels& kernels, Guard guard, size_t count, Random& random) {
                const Table table = randomTaps(count, step, random);
                for (const size_t size : {size_t{1}, size_t{4}}) {
                    const RandomRow row(table.rowLength * size, guard, random);
                    const GuardedBuffer out(count * size, guard);
                    std::vector<uint8_t> expected(count * size);
                    for (size_t i = 0; i < expected.size(); ++i)
                        expected[i] = row.data()[table.index[i / size] * size + i % size];
                    const auto gather = size == 1 ? kernels.gather8 : kernels.gather32;
                    gather(out.data(), row.data(), table.index.data(), count);
                    ASSERT_EQ(out.contents(), expected) << "step " << step << ", count " << count;
                }
            });
    }
}

TEST(StretchKernels, BlocksPickTheirIndexedElements)
{
    for (const double step : steps) {
        forEachCount([step](const quib::StretchKernels& kernels, Guard guard, size_t count,
                            Random& random) {
            const Table table = randomTaps(count, step, random);
            std::vector<quib::GatherBlock> blocks(count / 8 + 1);
            const size_t planned = kernels.planBlocks32(blocks.data(), table.index.data(), count);
            ASSERT_LE(planned, count / 8);
            const RandomRow row(table.rowLength * 4, guard, random);
            const GuardedBuffer out(planned * 8 * 4, guard);
            kernels.gatherBlocks32(out.data(), row.data(), blocks.data(), planned);
            for (size_t i = 0; i < out.size(); ++i)
                ASSERT_EQ(out.data()[i], row.data()[table.index[i / 4] * 4 + i % 4])
                    << "step " << step << ", count " << count << ", byte " << i;
        });
    }
}

TEST(StretchKernels, PlanWholeRowsOfCloseElementsWhereVectorsGain)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        const bool gains = std::string(table->levelName) != "base";
        for (const double step : {0.3, 1.0, 1.5, 3.0}) {
            std::vector<uint32_t> index(83);
            for (size_t i = 0; i < index.size(); ++i)
                index[i] = static_cast<uint32_t>(static_cast<double>(i) * step);
            quib::GatherBlock blocks[10];
            EXPECT_EQ(table->stretch.planBlocks32(blocks, index.data(), 83), gains ? 10u : 0u);
            EXPECT_EQ(table->stretch.planBlocks32(blocks, index.data(), 7), 0u);
        }
        const uint32_t farApart[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 14, 15, 16, 17, 18};
        quib::GatherBlock blocks[2];
        EXPECT_EQ(table->stretch.planBlocks32(blocks, farApart, 16), gains ? 1u : 0u);
    }
}

TEST(StretchKernels, GatherStepsPickEveryNthElement)
{
    for (const size_t step : {1u, 2u, 3u, 4u, 5u, 8u, 100u}) {
        forEachCount(
            [step](const quib::StretchKernels& kernels, Guard guard, size_t count, Random& random) {
                for (const size_t size : {size_t{1}, size_t{4}}) {
                    const RandomRow row(count ? ((count - 1) * step + 1) * size : 0, guard, random);
                    const GuardedBuffer out(count * size, guard);
                    std::vector<uint8_t> expected(count * size);
                    for (size_t i = 0; i < expected.size(); ++i)
                        expected[i] = row.data()[i / size * step * size + i % size];
                    const auto gather = size == 1 ? kernels.gatherSteps8 : kernels.gatherSteps32;
                    gather(out.data(), row.data(), row.data(), step, count);
                    ASSERT_EQ(out.contents(), expected) << "step " << step << ", count " << count;
                }
            });
    }
}

TEST(StretchKernels, LerpColumnsWeighsNeighbours)
{
    for (const double step : steps) {
        forEachCount(
            [step](const quib::StretchKernels& kernels, Guard guard, size_t count, Random& random) {
                const Table table = randomTaps(count, step, random);
                const RandomRow row(count ? (table.rowLength + 1) * 4 : 0, guard, random);
                const GuardedBuffer out(count * 4, guard);
                std::vector<uint8_t> expected(count * 4);
                for (size_t i = 0; i < expected.size(); ++i) {
                    const uint8_t* pixel = row.data() + table.index[i / 4] * 4 + i % 4;
                    expected[i] = lerp(pixel[0], pixel[4], table.weight[i / 4] & 0xFF);
                }
                kernels.lerpColumns32(out.data(), row.data(), table.index.data(),
                                      table.weight.data(), count);
                ASSERT_EQ(out.contents(), expected) << "step " << step << ", count " << count;
            });
    }
}

TEST(StretchKernels, LerpRowsWeighsTwoRows)
{
    for (const int32_t weight : {0, 1, 2, 100, 127, 128, 129, 254, 255}) {
        forEachCount([weight](const quib::StretchKernels& kernels, Guard guard, size_t count,
                              Random& random) {
            const RandomRow upper(count, guard, random);
            const RandomRow lower(count, guard, random);
            const GuardedBuffer out(count, guard);
            std::vector<uint8_t> expected(count);
            for (size_t i = 0; i < count; ++i)
                expected[i] = lerp(upper.data()[i], lower.data()[i], weight);
            kernels.lerpRows(out.data(), upper.data(), lower.data(), static_cast<uint8_t>(weight),
                             count);
            ASSERT_EQ(out.contents(), expected) << "weight " << weight << ", count " << count;
        });
    }
}

TEST(StretchKernels, LerpStepsFiltersAlongBothAxes)
{
    for (const size_t step : {1u, 2u, 3u, 4u, 5u, 8u, 100u}) {
        forEachCount(
            [step](const quib::StretchKernels& kernels, Guard guard, size_t count, Random& random) {
                const size_t bytes = count ? ((count - 1) * step + 2) * 4 : 0;
                const RandomRow upper(bytes, guard, random);
                const RandomRow lower(bytes, guard, random);
                const GuardedBuffer out(count * 4, guard);
                std::vector<uint8_t> expected(count * 4);
                for (size_t i = 0; i < expected.size(); ++i) {
                    const size_t at = i / 4 * step * 4 + i % 4;
                    expected[i] = lerp(lerp(upper.data()[at], upper.data()[at + 4], 255),
                                       lerp(lower.data()[at], lower.data()[at + 4], 255), 255);
                }
                kernels.lerpSteps32(out.data(), upper.data(), lower.data(), step, count);
                ASSERT_EQ(out.contents(), expected) << "step " << step << ", count " << count;
            });
    }
}

TEST(StretchKernels, LerpIsExactForEveryPairAndWeight)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        // Pixel 2 i and its neighbour are all pairs of bytes, one channel each.
        std::vector<uint8_t> first(65536);
        std::vector<uint8_t> second(65536);
        std::vector<uint8_t> columns(65536 * 2);
        std::vector<uint32_t> index(65536 / 4);
        for (size_t i = 0; i < 65536; ++i) {
            first[i] = static_cast<uint8_t>(i >> 8);
            second[i] = static_cast<uint8_t>(i);
            columns[i / 4 * 8 + i % 4] = first[i];
            columns[i / 4 * 8 + 4 + i % 4] = second[i];
            index[i / 4] = static_cast<uint32_t>(i / 4 * 2);
        }
        std::vector<uint8_t> expected(65536);
        std::vector<uint8_t> out(65536);
        for (int32_t weight = 0; weight < 256; ++weight) {
            for (size_t i = 0; i < 65536; ++i)
                expected[i] = lerp(first[i], second[i], weight);
            table->stretch.lerpRows(out.data(), first.data(), second.data(),
                                    static_cast<uint8_t>(weight), out.size());
            ASSERT_EQ(out, expected) << "rows, weight " << weight;
            const std::vector<uint32_t> weights(index.size(), weight * 0x01010101u);
            table->stretch.lerpColumns32(out.data(), columns.data(), index.data(), weights.data(),
                                         index.size());
            ASSERT_EQ(out, expected) << "columns, weight " << weight;
        }
    }
}

TEST(StretchKernels, NeedNoAlignment)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        Random random(5);
        const RandomRow row(1 + 100 * 4, Guard::afterEnd, random);
        const GuardedBuffer out(1 + 50 * 4);
        std::vector<uint32_t> index;
        for (uint32_t i = 0; i < 50; ++i)
            index.push_back(i * 3 / 2);
        table->stretch.gather32(out.data() + 1, row.data() + 1, index.data(), 50);
        for (size_t i = 0; i < 200; ++i)
            ASSERT_EQ(out.data()[1 + i], row.data()[1 + index[i / 4] * 4 + i % 4]);
        quib::GatherBlock blocks[6];
        const size_t planned = table->stretch.planBlocks32(blocks, index.data(), 50);
        std::fill_n(out.data(), out.size(), uint8_t{0});
        table->stretch.gatherBlocks32(out.data() + 1, row.data() + 1, blocks, planned);
        for (size_t i = 0; i < planned * 8 * 4; ++i)
            ASSERT_EQ(out.data()[1 + i], row.data()[1 + index[i / 4] * 4 + i % 4]);
        const std::vector<uint32_t> weight(50, 0x55555555u);
        table->stretch.lerpColumns32(out.data() + 1, row.data() + 1, index.data(), weight.data(),
                                     50);
        for (size_t i = 0; i < 200; ++i) {
            const uint8_t* pixel = row.data() + 1 + index[i / 4] * 4 + i % 4;
            ASSERT_EQ(out.data()[1 + i], lerp(pixel[0], pixel[4], 0x55));
        }
    }
}
