#include "kernels/mirror.h"

#include "tests/support/bits.h"
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
void forEachMirrorRow(Work work)
{
    forEachTable<quib::MirrorKernels>([&](const quib::MirrorKernels& mirror) {
        for (size_t pixelBytes = 1; pixelBytes <= 19; ++pixelBytes)
            for (size_t pixels = 0; pixels < 150; pixels += pixels < 70 ? 1 : 7)
                for (const Guard guard : guards)
                    ASSERT_NO_FATAL_FAILURE(work(mirror, pixels, pixelBytes, guard))
                        << pixels << " of " << pixelBytes;
    });
}

// Rows that lie `step` bytes apart, the first one last where it is negative.
struct SteppedRows {
    SteppedRows(size_t rows, size_t bytes, ptrdiff_t itsStep, Guard guard)
        : step(itsStep), buffer(rows == 0 ? 0 : (rows - 1) * distance() + bytes, guard),
          first(buffer.data() + (step < 0 && rows > 0 ? (rows - 1) * distance() : 0))
    {
    }
    size_t distance() const { return static_cast<size_t>(step < 0 ? -step : step); }
    uint8_t* row(size_t y) const { return first + static_cast<ptrdiff_t>(y) * step; }

    ptrdiff_t step;
    GuardedBuffer buffer;
    uint8_t* first;
};

struct RowsCase {
    size_t rows;
    size_t bytes;
    ptrdiff_t dstStep;
    ptrdiff_t srcStep;
    Guard guard;
};

// Compares kernel(dst, src) with what plain(row) makes of each row.
template<class Kernel, class Plain>
void expectRows(const RowsCase& shape, Random& random, Kernel kernel, Plain plain)
{
    const SteppedRows dst(shape.rows, shape.bytes, shape.dstStep, shape.guard);
    const SteppedRows src(shape.rows, shape.bytes, shape.srcStep, shape.guard);
    random.fill(dst.buffer.data(), dst.buffer.size());
    random.fill(src.buffer.data(), src.buffer.size());
    Bytes expected = dst.buffer.contents();
    for (size_t y = 0; y < shape.rows; ++y) {
        const Bytes made = plain(Bytes(src.row(y), src.row(y) + shape.bytes));
        std::copy(made.begin(), made.end(), expected.begin() + (dst.row(y) - dst.buffer.data()));
    }
    src.buffer.makeReadOnly();
    kernel(dst, src);
    ASSERT_TRUE(dst.buffer.contents() == expected) << shape.rows << " of " << shape.bytes;
}

// Few short rows, and so many that they go past the caches.
template<class Work>
void forEachRows(size_t pixelBytes, Random& random, Work work)
{
    for (const size_t rows : {0, 1, 5, 401}) {
        for (int i = 0; i < (rows < 10 ? 40 : 2); ++i) {
            const size_t pixels = static_cast<size_t>(
                rows < 10 ? random.between(0, 90)
                          : random.between(5200, 5300) / static_cast<int32_t>(pixelBytes));
            const size_t bytes = pixels * pixelBytes;
            // Of whole words, or of any size.
            const size_t apart = random.coin() ? (bytes + 67) & ~size_t{31} : bytes + 5;
            const ptrdiff_t step = static_cast<ptrdiff_t>(apart);
            ASSERT_NO_FATAL_FAILURE(
                work(RowsCase{rows, bytes, step, random.coin() ? step : -step, guards[i % 2]}));
        }
    }
}

// Pixel i of row j becomes pixel j of row i.
void expectTransposed(const quib::MirrorKernels& mirror, const RowsCase& shape, size_t columns,
                      Random& random)
{
    const SteppedRows dst(shape.rows, columns * 4, shape.dstStep, shape.guard);
    const SteppedRows src(columns, shape.rows * 4, shape.srcStep, shape.guard);
    random.fill(src.buffer.data(), src.buffer.size());
    Bytes expected = dst.buffer.contents();
    for (size_t i = 0; i < shape.rows; ++i)
        for (size_t j = 0; j < columns; ++j)
            std::copy_n(src.row(j) + 4 * i, 4,
                        expected.begin() + (dst.row(i) - dst.buffer.data()) +
                            static_cast<ptrdiff_t>(4 * j));
    src.buffer.makeReadOnly();
    mirror.transpose(dst.first, dst.step, src.first, src.step, columns, shape.rows);
    ASSERT_TRUE(dst.buffer.contents() == expected) << columns << " x " << shape.rows;
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
        putBit(expected.data(), dstStart + i, bitAt(src.data(), srcStart + width - 1 - i));
    mirror.reverseBits({dst.data(), 0, static_cast<int32_t>(dstStart)},
                       {src.data(), 0, static_cast<int32_t>(srcStart)}, width, 1);
    ASSERT_EQ(dst.contents(), expected) << width << " bits at " << dstStart << ", " << srcStart;
}

} // namespace

TEST(MirrorKernels, ReverseTurnsTheOrderOfThePixelsRound)
{
    Random random(81);
    forEachMirrorRow(
        [&](const quib::MirrorKernels& mirror, size_t pixels, size_t pixelBytes, Guard guard) {
            const GuardedBuffer src(pixels * pixelBytes, guard);
            const GuardedBuffer dst(pixels * pixelBytes, guard);
            random.fill(src.data(), src.size());
            src.makeReadOnly();
            mirror.reverse(dst.data(), src.data(), pixels, pixelBytes);
            ASSERT_EQ(dst.contents(), plainReverse(src.contents(), pixelBytes));
        });
}

TEST(MirrorKernels, ReverseRowsReversesEachRow)
{
    forEachTable<quib::MirrorKernels>([](const quib::MirrorKernels& mirror) {
        Random random(86);
        for (const size_t pixelBytes : {1, 3, 4, 8})
            forEachRows(pixelBytes, random, [&](const RowsCase& shape) {
                expectRows(
                    shape, random,
                    [&](const SteppedRows& dst, const SteppedRows& src) {
                        mirror.reverseRows(dst.first, dst.step, src.first, src.step,
                                           shape.bytes / pixelBytes, pixelBytes, shape.rows);
                    },
                    [&](const Bytes& row) { return plainReverse(row, pixelBytes); });
            });
    });
}

TEST(MirrorKernels, CopyRowsCopiesEachRow)
{
    forEachTable<quib::MirrorKernels>([](const quib::MirrorKernels& mirror) {
        Random random(87);
        forEachRows(1, random, [&](const RowsCase& shape) {
            expectRows(
                shape, random,
                [&](const SteppedRows& dst, const SteppedRows& src) {
                    mirror.copyRows(dst.first, dst.step, src.first, src.step, shape.bytes,
                                    shape.rows);
                },
                [](const Bytes& row) { return row; });
        });
    });
}

TEST(MirrorKernels, TransposeMakesColumnsOfRows)
{
    forEachTable<quib::MirrorKernels>([](const quib::MirrorKernels& mirror) {
        Random random(88);
        for (size_t columns = 0; columns < 50; ++columns)
            for (size_t rows = 0; rows < 40; rows += rows < 10 ? 1 : 7) {
                const ptrdiff_t dstStep =
                    static_cast<ptrdiff_t>(columns * 4) + random.between(0, 9);
                const ptrdiff_t srcStep = static_cast<ptrdiff_t>(rows * 4) + random.between(0, 9);
                ASSERT_NO_FATAL_FAILURE(
                    expectTransposed(mirror,
                                     {rows, 0, random.coin() ? dstStep : -dstStep,
                                      random.coin() ? srcStep : -srcStep, guards[random.coin()]},
                                     columns, random));
            }
        // Past the caches, and where the rows' alignment does not permit that.
        for (const ptrdiff_t dstStep : {3072, -3072, 3076, 3073})
            ASSERT_NO_FATAL_FAILURE(expectTransposed(
                mirror, {703, 0, dstStep, dstStep < 0 ? 2816 : -2820, guards[random.coin()]}, 767,
                random));
    });
}

TEST(MirrorKernels, ExchangeReversesBothRows)
{
    Random random(82);
    forEachMirrorRow(
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
    forEachMirrorRow(
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
    forEachTable<quib::MirrorKernels>([&](const quib::MirrorKernels& mirror) {
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
    forEachTable<quib::MirrorKernels>([&](const quib::MirrorKernels& mirror) {
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
    forEachTable<quib::MirrorKernels>([&](const quib::MirrorKernels& mirror) {
        uint8_t out[6];
        std::memcpy(out, dst, sizeof(dst));
        mirror.reverseBits({out, 3, 4}, {src, 1, 2}, 5, 2);
        const Bytes expected = {0xF0 | 0b0101, 0b1'1111111, 0, 0b0000'0111, 0, 0};
        EXPECT_EQ(Bytes(out, out + 6), expected);
    });
}
