#include "kernels/select.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

using Bytes = std::vector<uint8_t>;

} // namespace

TEST(SelectKernels, SpreadRepeatsThePatternWhereTheBitIsOne)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        Random random(71);
        for (size_t pixelBytes = 1; pixelBytes <= 17; ++pixelBytes) {
            for (size_t pixels = 0; pixels < 60; ++pixels) {
                const int32_t start = random.between(0, 12);
                const size_t first = static_cast<size_t>(start);
                const GuardedBuffer bits(pixels == 0 ? 0 : (first + pixels + 7) / 8);
                const GuardedBuffer choice(pixels * pixelBytes);
                Bytes pattern(pixelBytes, 0xFF);
                if (pixelBytes > 1)
                    pattern[random.next() % pixelBytes] = 0;
                random.fill(bits.data(), bits.size());
                Bytes expected;
                for (size_t i = first; i < first + pixels; ++i) {
                    const bool chosen = (bits.data()[i / 8] >> (7 - i % 8)) & 1;
                    for (const uint8_t byte : pattern)
                        expected.push_back(chosen ? byte : 0);
                }
                table->select.spread(choice.data(), bits.data(), start, pixels, pattern.data(),
                                     pixelBytes);
                ASSERT_EQ(choice.contents(), expected) << pixels << " of " << pixelBytes;
            }
        }
    }
}

TEST(SelectKernels, BlendTakesTheChosenBytes)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        Random random(72);
        for (size_t bytes = 0; bytes < 200; ++bytes) {
            const GuardedBuffer dst(bytes);
            const GuardedBuffer src(bytes);
            const GuardedBuffer choice(bytes);
            random.fill(dst.data(), bytes);
            random.fill(src.data(), bytes);
            Bytes expected = dst.contents();
            for (size_t i = 0; i < bytes; ++i) {
                choice.data()[i] = random.coin() ? 0xFF : 0;
                if (choice.data()[i])
                    expected[i] = src.data()[i];
            }
            table->select.blend(dst.data(), src.data(), choice.data(), bytes);
            ASSERT_EQ(dst.contents(), expected);
        }
    }
}

TEST(SelectKernels, GatherAndScatterStepOverTheOtherElements)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        Random random(73);
        const quib::SelectKernels& select = table->select;
        for (const size_t size : {1, 2, 4}) {
            const quib::StridedMoves& moves = size == 1   ? select.bytes
                                              : size == 2 ? select.words
                                                          : select.doubleWords;
            for (size_t count = 1; count < 150; ++count) {
                const size_t stride = static_cast<size_t>(random.between(1, 6));
                const GuardedBuffer spaced(((count - 1) * stride + 1) * size);
                const GuardedBuffer dense(count * size);
                const GuardedBuffer choice(count);
                random.fill(spaced.data(), spaced.size());
                Bytes expected;
                for (size_t k = 0; k < count; ++k)
                    for (size_t byte = 0; byte < size; ++byte)
                        expected.push_back(spaced.data()[k * stride * size + byte]);
                moves.gather(dense.data(), spaced.data(), stride, count);
                ASSERT_EQ(dense.contents(), expected);

                random.fill(dense.data(), dense.size());
                const bool all = random.coin();
                Bytes target = spaced.contents();
                for (size_t k = 0; k < count; ++k) {
                    choice.data()[k] = random.coin() ? 0xFF : 0;
                    for (size_t byte = 0; byte < size && (all || choice.data()[k]); ++byte)
                        target[k * stride * size + byte] = dense.data()[k * size + byte];
                }
                moves.scatter(spaced.data(), dense.data(), stride, all ? nullptr : choice.data(),
                              count);
                ASSERT_EQ(spaced.contents(), target);
            }
        }
    }
}
