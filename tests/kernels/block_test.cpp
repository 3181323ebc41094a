#include "kernels/block.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace
{

// Fills words from `offset` on, up to the end of a buffer.
template<class Word, class Fill>
void expectFilled(Fill fill, Word value, size_t offset, size_t count)
{
    const GuardedBuffer buffer(offset + count * sizeof value + (count == 0));
    std::vector<uint8_t> expected = buffer.contents();
    for (size_t i = 0; i < count * sizeof value; ++i)
        expected[offset + i] = static_cast<uint8_t>(value >> i % sizeof value * 8);
    fill(buffer.data() + offset, value, count);
    ASSERT_TRUE(buffer.contents() == expected) << value << ", " << count << " from " << offset;
}

} // namespace

TEST(BlockKernels, Fill32StoresTheWordAtAnyAddress)
{
    forEachTable<quib::BlockKernels>([](const quib::BlockKernels& block) {
        for (const uint32_t value : {0u, 0x01010101u, 0x04030201u, 0xFF000000u}) {
            for (size_t offset = 0; offset < 5; ++offset) {
                for (size_t count = 0; count < 70; ++count)
                    ASSERT_NO_FATAL_FAILURE(expectFilled(block.fill32, value, offset, count));
            }
        }
    });
}

TEST(BlockKernels, Fill32StoresWordsWhoseBytesAreAllButEqual)
{
    forEachTable<quib::BlockKernels>([](const quib::BlockKernels& block) {
        for (const uint32_t byte : {0x00u, 0x01u, 0x02u, 0x7Fu, 0x80u, 0xFFu}) {
            for (uint32_t bit = 0; bit < 32; ++bit) {
                const uint32_t value = byte * 0x01010101u ^ 1u << bit;
                ASSERT_NO_FATAL_FAILURE(expectFilled(block.fill32, value, 0, 5));
            }
        }
    });
}

TEST(BlockKernels, Fill32StoresLongRunsUpToTheirEnd)
{
    constexpr size_t longRun = size_t{1} << 18;
    constexpr uint32_t value = 0x04030201u;
    forEachTable<quib::BlockKernels>([](const quib::BlockKernels& block) {
        for (const size_t offset : {0, 1, 3}) {
            for (const size_t count : {longRun - 1, longRun, longRun + 3})
                ASSERT_NO_FATAL_FAILURE(expectFilled(block.fill32, value, offset, count));
        }
    });
}

TEST(BlockKernels, Fill16StoresTheHalfWordAtAnyAddress)
{
    forEachTable<quib::BlockKernels>([](const quib::BlockKernels& block) {
        for (const uint16_t value : {uint16_t{0}, uint16_t{0x0201}, uint16_t{0xFFFE}}) {
            for (size_t offset = 0; offset < 3; ++offset) {
                for (size_t count = 0; count < 90; ++count)
                    ASSERT_NO_FATAL_FAILURE(expectFilled(block.fill16, value, offset, count));
            }
        }
    });
}

TEST(BlockKernels, FillsAndCopiesLargeBlocks)
{
    forEachTable<quib::BlockKernels>([](const quib::BlockKernels& block) {
        Random random(1);
        constexpr size_t bytes = (1 << 22) + 12;
        const GuardedBuffer a(bytes + 4);
        const GuardedBuffer b(bytes + 4);
        block.fill32(a.data() + 4, 0x04030201, bytes / 4);
        for (size_t i = 0; i < bytes; ++i)
            ASSERT_EQ(a.data()[4 + i], i % 4 + 1);
        random.fill(b.data(), b.size());
        block.copy(a.data() + 4, b.data() + 4, bytes);
        ASSERT_EQ(a.contents(4), b.contents(4));
        ASSERT_EQ(a.data()[3], 0xA5);
    });
}

TEST(BlockKernels, CopyMovesEveryByteCount)
{
    forEachTable<quib::BlockKernels>([](const quib::BlockKernels& block) {
        Random random(2);
        for (size_t bytes = 0; bytes < 300; ++bytes) {
            const GuardedBuffer src(bytes + 1);
            const GuardedBuffer dst(bytes + 3);
            random.fill(src.data(), src.size());
            src.makeReadOnly();
            block.copy(dst.data() + 3, src.data() + 1, bytes);
            ASSERT_EQ(dst.contents(3), src.contents(1));
            ASSERT_EQ(dst.data()[2], 0xA5);
        }
    });
}

TEST(BlockKernels, LargestFindsTheLargestByte)
{
    forEachTable<quib::BlockKernels>([](const quib::BlockKernels& block) {
        Random random(3);
        for (size_t count = 0; count < 600; ++count) {
            for (const bool skipFourth : {false, true}) {
                const GuardedBuffer buffer(count + 1);
                random.fill(buffer.data(), buffer.size());
                const uint8_t* bytes = buffer.data() + 1;
                // One byte in a random place stands out.
                if (count > 0)
                    buffer.data()[1 + random.next() % count] = 255;
                uint8_t expected = 0;
                for (size_t i = 0; i < count; ++i)
                    if (!(skipFourth && i % 4 == 3) && bytes[i] > expected)
                        expected = bytes[i];
                ASSERT_EQ(block.largest(bytes, count, skipFourth), expected) << count;
            }
        }
    });
}

TEST(BlockKernels, MoveRowsGoesFromTheFirstRowToTheLast)
{
    forEachTable<quib::BlockKernels>([](const quib::BlockKernels& block) {
        Random random(2);
        for (int round = 0; round < 2000; ++round) {
            constexpr size_t size = 3000;
            const GuardedBuffer buffer(size);
            random.fill(buffer.data(), size);
            const size_t bytes = static_cast<size_t>(random.between(0, 300));
            const size_t rows = static_cast<size_t>(random.between(0, 6));
            const size_t dstStep = static_cast<size_t>(random.between(0, 340));
            const size_t srcStep = static_cast<size_t>(random.between(0, 340));
            const size_t room = size - 300 - 340 * 6;
            const size_t dst = static_cast<size_t>(random.between(0, room));
            const size_t src = static_cast<size_t>(random.between(0, room));
            std::vector<uint8_t> expected = buffer.contents();
            for (size_t y = 0; y < rows; ++y) {
                const std::vector<uint8_t> row(&expected[src + y * srcStep],
                                               &expected[src + y * srcStep] + bytes);
                std::copy(row.begin(), row.end(), &expected[dst + y * dstStep]);
            }
            block.moveRows(buffer.data() + dst, static_cast<ptrdiff_t>(dstStep),
                           buffer.data() + src, static_cast<ptrdiff_t>(srcStep), bytes, rows);
            ASSERT_EQ(buffer.contents(), expected);
        }
    });
}

TEST(BlockKernels, MoveRowsStaysInsideItsRows)
{
    forEachTable<quib::BlockKernels>([](const quib::BlockKernels& block) {
        for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
            for (size_t bytes = 1; bytes < 200; ++bytes) {
                const GuardedBuffer src(bytes * 3, guard);
                const GuardedBuffer dst(bytes * 3, guard);
                src.makeReadOnly();
                const ptrdiff_t step = static_cast<ptrdiff_t>(bytes);
                block.moveRows(dst.data(), step, src.data(), step, bytes, 3);
            }
        }
    });
}
