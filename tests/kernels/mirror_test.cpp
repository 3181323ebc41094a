#include "kernels/mirror.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

using Bytes = std::vector<uint8_t>;

Bytes plainReverse(const Bytes& row, size_t pixelBytes)
{
    Bytes result;
    for (size_t i = row.size(); i > 0; i -= pixelBytes)
        for (size_t byte = 0; byte < pixelBytes; ++byte)
            result.push_back(row[i - pixelBytes + byte]);
    return result;
}

constexpr Guard guards[] = {Guard::afterEnd, Guard::beforeStart};

// Calls work(kernels, pixels, pixelBytes, guard) for rows of all kinds.
template<class Work>
void forEachRow(Work work)
{
    forEachTable(&quib::Kernels::mirror, [&](const quib::MirrorKernels& mirror) {
        for (size_t pixelBytes = 1; pixelBytes <= 19; ++pixelBytes)
            for (size_t pixels = 0; pixels < 150; pixels += pixels < 70 ? 1 : 7)
                for (const Guard guard : guards)
                    ASSERT_NO_FATAL_FAILURE(work(mirror, pixels, pixelBytes, guard))
                        << pixels << " of " << pixelBytes;
    });
}

bool bitAt(const uint8_t* bytes, size_t index)
{
    return (bytes[index / 8] >> (7 - index % 8)) & 1;
}

void putBit(Bytes& bytes, size_t index, bool value)
{
    const int bit = 0x80 >> (index % 8);
    bytes[index / 8] =
        static_cast<uint8_t>(value ? bytes[index / 8] | bit : bytes[index / 8] & ~bit);
}

size_t bytesFor(size_t start, size_t width)
{
    return width == 0 ? 0 : (start + width + 7) / 8;
}

void expectReversedBits(const quib::MirrorKernels& mirror, size_t dstStart, size_t srcStart,
                        size_t width, Guard guard, Random& random)
{
    const GuardedBuffer dst(bytesFor(dstStart, width), guard);
    const GuardedBuffer src(bytesFor(srcStart, width), guard);
    random.fill(dst.data(), dst.size());
    random.fill(src.data(), src.size());
    Bytes expected = dst.contents();
    for (size_t i = 0; i < width; ++i)
        putBit(expected, dstStart + i, bitAt(src.data(), srcStart + width - 1 - i));
    mirror.reverseBits({dst.data(), 0, static_cast<int32_t>(dstStart)},
                       {src.data(), 0, static_cast<int32_t>(srcStart)}, width, 1);
    ASSERT_EQ(dst.contents(), expected) << width << " bits at " << dstStart << ", " << srcStart;
}

} // namespace

TEST(MirrorKernels, ReverseTurnsTheOrderOfThePixelsRound)
{
    Random random(81);
    forEachRow(
        [&](const quib::MirrorKernels& mirror, size_t pixels, size_t pixelBytes, Guard guard) {
            const GuardedBuffer src(pixels * pixelBytes, guard);
            const GuardedBuffer dst(pixels * pixelBytes, guard);
            random.fill(src.data(), src.size());
            src.makeReadOnly();
            mirror.reverse(dst.data(), src.data(), pixels, pixelBytes);
            ASSERT_EQ(dst.contents(), plainReverse(src.contents(), pixelBytes));
        });
}

TEST(MirrorKernels, ExchangeReversesBothRows)
{
    Random random(82);
    forEachRow(
        [&](const quib::MirrorKernels& mirror, size_t pixels, size_t pixelBytes, Guard guard) {
            const GuardedBuffer a(pixels * pixelBytes, guard);
            const GuardedBuffer b(pixels * pixelBytes, guard);
            random.fill(a.data(), a.size());
            random.fill(b.data(), b.size());
            const Bytes expectedA = plainReverse(b.contents(), pixelBytes);
            const Bytes expectedB = plainReverse(a.contents(), pixelBytes);
            mirror.exchange(a.data(), b.data(), pixels, pixelBytes);
            ASSERT_EQ(a.contents(), expectedA);
            ASSERT_EQ(b.contents(), expectedB);
        });
}

TEST(MirrorKernels, ExchangeReversesARowInPlace)
{
    Random random(83);
    forEachRow(
        [&](const quib::MirrorKernels& mirror, size_t pixels, size_t pixelBytes, Guard guard) {
            const GuardedBuffer row(pixels * pixelBytes, guard);
            random.fill(row.data(), row.size());
            const Bytes expected = plainReverse(row.contents(), pixelBytes);
            mirror.exchange(row.data(), row.data(), pixels, pixelBytes);
            ASSERT_EQ(row.contents(), expected);
        });
}

TEST(MirrorKernels, SwapExchangesTheBytes)
{
    Random random(84);
    forEachTable(&quib::Kernels::mirror, [&](const quib::MirrorKernels& mirror) {
        for (size_t bytes = 0; bytes < 300; ++bytes) {
            const GuardedBuffer a(bytes);
            const GuardedBuffer b(bytes);
            random.fill(a.data(), bytes);
            random.fill(b.data(), bytes);
            const Bytes expectedA = b.contents();
            const Bytes expectedB = a.contents();
            mirror.swap(a.data(), b.data(), bytes);
            ASSERT_EQ(a.contents(), expectedA);
            ASSERT_EQ(b.contents(), expectedB);
        }
    });
}

TEST(MirrorKernels, ReverseBitsTurnsRunsRoundBetweenAllOffsets)
{
    Random random(85);
    forEachTable(&quib::Kernels::mirror, [&](const quib::MirrorKernels& mirror) {
        for (size_t dstStart = 0; dstStart < 9; ++dstStart)
            for (size_t srcStart = 0; srcStart < 9; ++srcStart)
                for (size_t width = 0; width < 270; width += width < 20 ? 1 : 13)
                    for (const Guard guard : guards)
                        ASSERT_NO_FATAL_FAILURE(
                            expectReversedBits(mirror, dstStart, srcStart, width, guard, random));
    });
}

TEST(MirrorKernels, ReverseBitsGoesFromRowToRow)
{
    // 1101 0 | 0111 0, each at an offset of 2 bits, comes out at one of 4.
    const uint8_t src[] = {0b00'11010'1, 0b00'01110'1};
    uint8_t dst[] = {0xFF, 0xFF, 0, 0, 0, 0};
    forEachTable(&quib::Kernels::mirror, [&](const quib::MirrorKernels& mirror) {
        uint8_t out[6];
        std::memcpy(out, dst, sizeof(dst));
        mirror.reverseBits({out, 3, 4}, {src, 1, 2}, 5, 2);
        const Bytes expected = {0xF0 | 0b0101, 0b1'1111111, 0, 0b0000'0111, 0, 0};
        EXPECT_EQ(Bytes(out, out + 6), expected);
    });
}
