#include "_Src/walk/bits.h"

#include "tests/support/bits.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

using Bytes = std::vector<uint8_t>;

} // namespace

TEST(OwnBit, CountsFromTheMostSignificantBit)
{
    const uint8_t row[] = {0x80, 0x01};
    EXPECT_TRUE(ownBit(row, 0));
    EXPECT_FALSE(ownBit(row, 1));
    EXPECT_FALSE(ownBit(row, 14));
    EXPECT_TRUE(ownBit(row, 15));
    uint8_t out[] = {0x00, 0xFF};
    ownPutBit(out, 2, true);
    ownPutBit(out, 9, false);
    EXPECT_EQ(out[0], 0x20);
    EXPECT_EQ(out[1], 0xBF);
}

TEST(OwnSetBits, SetsEveryRunAndNothingElse)
{
    Random random(1);
    for (int32_t start = 0; start < 20; ++start) {
        for (int32_t count = 0; count < 60; ++count) {
            for (const bool value : {false, true}) {
                // The last byte that holds one of the bits is the buffer's last.
                const GuardedBuffer row(bytesFor(start, count) + 1);
                uint8_t* data = row.data() + 1;
                random.fill(row.data(), row.size());
                Bytes expected(data, row.data() + row.size());
                for (int32_t i = 0; i < count; ++i)
                    putBit(expected.data(), start + i, value);
                ownSetBits(data, start, count, value);
                ASSERT_EQ(Bytes(data, row.data() + row.size()), expected) << start << "+" << count;
            }
        }
    }
}

TEST(OwnCopyBits, CopiesEveryRunBetweenAllOffsets)
{
    Random random(2);
    for (int32_t dstStart = 0; dstStart < 10; ++dstStart) {
        for (int32_t srcStart = 0; srcStart < 10; ++srcStart) {
            for (int32_t count = 0; count < 45; ++count) {
                const GuardedBuffer dst(bytesFor(dstStart, count) + 1);
                const GuardedBuffer src(bytesFor(srcStart, count) + 1);
                random.fill(dst.data(), dst.size());
                random.fill(src.data(), src.size());
                src.makeReadOnly();
                const Bytes from(src.data() + 1, src.data() + src.size());
                Bytes expected(dst.data() + 1, dst.data() + dst.size());
                for (int32_t i = 0; i < count; ++i)
                    putBit(expected.data(), dstStart + i, bitAt(from.data(), srcStart + i));
                ownCopyBits(dst.data() + 1, dstStart, src.data() + 1, srcStart, count);
                ASSERT_EQ(Bytes(dst.data() + 1, dst.data() + dst.size()), expected)
                    << dstStart << ", " << srcStart << ", " << count;
            }
        }
    }
}

TEST(OwnCopyBits, MayCopyARowOntoItself)
{
    Random random(3);
    Bytes row(9);
    random.fill(row.data(), row.size());
    const Bytes before = row;
    ownCopyBits(row.data(), 3, row.data(), 3, 61);
    EXPECT_EQ(row, before);
}

TEST(OwnPackBits, TakesTheFirstByteForTheTopBit)
{
    Random random(4);
    for (int32_t count = 1; count <= 40; ++count) {
        Bytes bytes(static_cast<size_t>(count));
        for (uint8_t& byte : bytes)
            byte = random.coin();
        const GuardedBuffer bits(static_cast<size_t>(count + 7) / 8);
        ownPackBits(bits.data(), bytes.data(), count);
        for (int32_t i = 0; i < count; ++i)
            EXPECT_EQ(bitAt(bits.data(), i), bytes[static_cast<size_t>(i)] != 0) << i;
        for (int32_t i = count; i < static_cast<int32_t>(bits.size()) * 8; ++i)
            EXPECT_FALSE(bitAt(bits.data(), i)) << i;
    }
}
