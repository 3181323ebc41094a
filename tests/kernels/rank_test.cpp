#include "kernels/rank.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <deque>
#include <vector>

namespace
{

// Calls work(type, element of that type) for each type of integers.
template<class Work>
void forEachInteger(Work work)
{
    work(quib::RANK_U8, uint8_t{});
    work(quib::RANK_S8, int8_t{});
    work(quib::RANK_U16, uint16_t{});
    work(quib::RANK_S16, int16_t{});
    work(quib::RANK_S32, int32_t{});
}

// Elements behind which, or before which, there is nothing.
template<class T>
struct Elements {
    Elements(size_t count, Guard guard = Guard::afterEnd) : buffer(count * sizeof(T), guard) {}
    T* data() const { return buffer.template as<T>(); }
    std::vector<T> contents() const
    {
        return std::vector<T>(data(), data() + buffer.size() / sizeof(T));
    }
    void randomise(Random& random) const
    {
        // Now and then few values, so that many are equal.
        const bool poor = random.coin();
        for (size_t i = 0; i < buffer.size() / sizeof(T); ++i)
            data()[i] =
                static_cast<T>(poor ? random.between(-3, 3) : static_cast<int32_t>(random.next()));
    }

    GuardedBuffer buffer;
};

// --- Extremes --------------------------------------------------------------------------

template<class T, class Choice>
void expectPairs(void (*kernel)(void*, const void*, const void*, size_t), Choice choice,
                 Random& random)
{
    for (size_t count = 0; count <= 150; ++count) {
        const Elements<T> a(count), b(count), dst(count);
        a.randomise(random);
        b.randomise(random);
        std::vector<T> expected(count);
        for (size_t i = 0; i < count; ++i)
            expected[i] = choice(a.data()[i], b.data()[i]);
        kernel(dst.data(), a.data(), b.data(), count);
        ASSERT_EQ(dst.contents(), expected) << count;
        kernel(a.data(), a.data(), b.data(), count);
        ASSERT_EQ(a.contents(), expected) << count << " in place";
    }
}

// dst is a, and b lies past it in the same row.
template<class T, class Choice>
void expectShiftedPairs(void (*kernel)(void*, const void*, const void*, size_t), Choice choice,
                        Random& random)
{
    for (size_t shift = 1; shift <= 40; ++shift) {
        const size_t count = 100 + shift % 7;
        const Elements<T> row(count + shift);
        row.randomise(random);
        std::vector<T> expected = row.contents();
        for (size_t i = 0; i < count; ++i)
            expected[i] = choice(expected[i], expected[i + shift]);
        kernel(row.data(), row.data(), row.data() + shift, count);
        ASSERT_EQ(row.contents(), expected) << shift;
    }
}

// --- Medians of elements ---------------------------------------------------------------

template<class T>
void expectMedians(void (*kernel)(void*, const void* const*, size_t, size_t, void*), size_t size,
                   size_t count, size_t stride, Random& random)
{
    const size_t columns = count + (size - 1) * stride;
    std::deque<Elements<T>> rows;
    const void* starts[5] = {};
    for (size_t r = 0; r < size; ++r) {
        rows.emplace_back(columns, random.coin() ? Guard::afterEnd : Guard::beforeStart);
        rows[r].randomise(random);
        starts[r] = rows[r].data();
    }
    const Elements<T> dst(count), scratch(size * columns);
    kernel(dst.data(), starts, count, stride, scratch.data());
    for (size_t i = 0; i < count; ++i) {
        std::vector<T> window;
        for (size_t r = 0; r < size; ++r)
            for (size_t k = 0; k < size; ++k)
                window.push_back(rows[r].data()[i + k * stride]);
        std::sort(window.begin(), window.end());
        ASSERT_EQ(dst.data()[i], window[window.size() / 2]) << i << " of " << count;
    }
}

// --- Ranks by histograms ---------------------------------------------------------------

struct HistogramCase {
    size_t width;
    size_t stride;
    size_t nCols;
    size_t nRows;
    uint8_t flip;

    size_t count() const { return (width + nCols - 1) * stride; }
    size_t elements() const { return nCols * nRows; }
};

using Row = std::vector<uint8_t>;

// Those of the last nRows rows, largest first.
std::vector<int> windowAt(const HistogramCase& shape, const std::vector<Row>& rows, size_t index)
{
    std::vector<int> values;
    for (size_t r = rows.size() - shape.nRows; r < rows.size(); ++r)
        for (size_t k = 0; k < shape.nCols; ++k)
            values.push_back(rows[r][index + k * shape.stride] ^ shape.flip);
    std::sort(values.begin(), values.end(), std::greater<int>());
    return values;
}

void expectRanks(const quib::RankKernels& rank, const HistogramCase& shape,
                 const std::vector<Row>& rows, const uint16_t* columns, Random& random)
{
    const Elements<uint16_t> scratch(quib::rankSums(shape.width + shape.nCols - 1));
    std::vector<std::vector<int>> windows;
    for (size_t i = 0; i < shape.width * shape.stride; ++i)
        windows.push_back(windowAt(shape, rows, i));
    const size_t last = shape.elements() - 1;
    for (const size_t index :
         {size_t{0}, last, last / 2,
          static_cast<size_t>(random.between(0, static_cast<int32_t>(last)))}) {
        const Elements<uint8_t> dst(shape.width * shape.stride,
                                    random.coin() ? Guard::afterEnd : Guard::beforeStart);
        rank.rankRow(dst.data(), columns, shape.width, shape.stride, shape.nCols,
                     static_cast<uint32_t>(index), shape.flip, scratch.data());
        for (size_t i = 0; i < windows.size(); ++i)
            ASSERT_EQ(dst.data()[i] ^ shape.flip, windows[i][index]) << i << ", rank " << index;
    }
}

// How many bytes of each column are as high as each bin, as the histograms have them.
std::vector<uint16_t> plainColumns(const HistogramCase& shape, const std::vector<Row>& rows)
{
    const size_t count = shape.count();
    std::vector<uint16_t> columns(count * quib::rankBins);
    for (size_t r = rows.size() - shape.nRows; r < rows.size(); ++r)
        for (size_t i = 0; i < count; ++i) {
            const size_t high = (rows[r][i] ^ shape.flip) >> 4;
            const size_t low = (rows[r][i] ^ shape.flip) & 15;
            for (size_t bin = 15 - high; bin < 16; ++bin)
                ++columns[i * 16 + bin];
            for (size_t bin = 15 - low; bin < 16; ++bin)
                ++columns[((1 + high) * count + i) * 16 + bin];
        }
    return columns;
}

// Rows of one kind: random, of few values near one another, or sloping.
Row randomRow(size_t count, int32_t kind, Random& random)
{
    Row row(count);
    random.fill(row.data(), count);
    const int32_t base = random.between(0, 255);
    for (size_t i = 0; kind > 0 && i < count; ++i)
        row[i] = static_cast<uint8_t>(kind == 1 ? base + row[i] % 5 : row[i] % 8 + i / 2);
    return row;
}

void expectHistograms(const quib::RankKernels& rank, const HistogramCase& shape, Random& random)
{
    const int32_t kind = random.between(0, 2);
    const Elements<uint16_t> columns(shape.count() * quib::rankBins);
    std::memset(columns.data(), 0, columns.buffer.size());
    std::vector<Row> rows;
    const Elements<uint8_t> entering(shape.count()), leaving(shape.count());
    for (size_t y = 0; y < shape.nRows + 3; ++y) {
        rows.push_back(randomRow(shape.count(), kind, random));
        std::memcpy(entering.data(), rows.back().data(), shape.count());
        const bool full = y >= shape.nRows;
        if (full)
            std::memcpy(leaving.data(), rows[y - shape.nRows].data(), shape.count());
        rank.moveColumns(columns.data(), full ? leaving.data() : nullptr, entering.data(),
                         shape.count(), shape.flip);
    }
    ASSERT_EQ(columns.contents(), plainColumns(shape, rows));
    expectRanks(rank, shape, rows, columns.data(), random);
}

// --- Vector medians --------------------------------------------------------------------

struct VectorCase {
    size_t n;
    size_t width;
    size_t channels;
};

template<class T>
size_t plainVectorMedian(const std::vector<const T*>& planes, size_t n, size_t x)
{
    using Sum = std::conditional_t<std::is_same_v<T, float>, float, int64_t>;
    std::vector<Sum> totals(n);
    for (size_t a = 0; a < n; ++a)
        for (size_t b = a + 1; b < n; ++b) {
            Sum distance = 0;
            for (size_t c = 0; c < 3; ++c)
                distance += std::abs(static_cast<Sum>(planes[3 * a + c][x]) -
                                     static_cast<Sum>(planes[3 * b + c][x]));
            totals[a] += distance;
            totals[b] += distance;
        }
    return static_cast<size_t>(std::min_element(totals.begin(), totals.end()) - totals.begin());
}

template<class T>
void expectVectorMedians(const quib::RankKernels& rank, quib::RankType type, VectorCase shape,
                         Random& random)
{
    std::deque<Elements<T>> pixels;
    std::vector<const void*> planes;
    std::vector<const T*> typed;
    for (size_t i = 0; i < 3 * shape.n; ++i) {
        pixels.emplace_back(shape.width);
        pixels.back().randomise(random);
        planes.push_back(pixels.back().data());
        typed.push_back(pixels.back().data());
    }
    const Elements<T> dst(shape.width * shape.channels);
    std::vector<T> expected = dst.contents();
    for (size_t x = 0; x < shape.width; ++x) {
        const size_t best = plainVectorMedian(typed, shape.n, x);
        for (size_t c = 0; c < 3; ++c)
            expected[x * shape.channels + c] = typed[3 * best + c][x];
    }
    const GuardedBuffer scratch(shape.n * quib::rankScratch);
    rank.vectorMedian[type](dst.data(), planes.data(), shape.n, shape.width, shape.channels,
                            scratch.data());
    ASSERT_EQ(std::memcmp(dst.data(), expected.data(), dst.buffer.size()), 0)
        << shape.n << " of " << shape.width << ", " << shape.channels;
}

// Rows of three channels, of windows of 3 x 3 pixels.
template<class T>
void expectMediansOfNine(const quib::RankKernels& rank, quib::RankType type, size_t width,
                         size_t channels, Random& random)
{
    std::deque<Elements<T>> rows;
    for (size_t i = 0; i < 9; ++i) {
        rows.emplace_back(width + 2, random.coin() ? Guard::afterEnd : Guard::beforeStart);
        rows.back().randomise(random);
    }
    std::vector<const T*> planes;
    for (size_t i = 0; i < 27; ++i)
        planes.push_back(rows[i / 9 * 3 + i % 3].data() + i / 3 % 3);
    const std::vector<const void*> untyped(planes.begin(), planes.end());
    const Elements<T> dst(width * channels);
    const GuardedBuffer scratch(9 * quib::rankScratch);
    std::vector<T> expected = dst.contents();
    for (size_t x = 0; x < width; ++x) {
        const size_t best = plainVectorMedian(planes, 9, x);
        for (size_t c = 0; c < 3; ++c)
            expected[x * channels + c] = planes[3 * best + c][x];
    }
    rank.vectorMedian3[type](dst.data(), untyped.data(), 9, width, channels, scratch.data());
    ASSERT_EQ(std::memcmp(dst.data(), expected.data(), dst.buffer.size()), 0)
        << width << ", " << channels;
}

template<class T>
void expectMediansOfNine(const quib::RankKernels& rank, quib::RankType type, Random& random)
{
    for (size_t width = 1; width < 400; width += width < 270 ? 1 : 41)
        for (const size_t channels : {3, 4})
            ASSERT_NO_FATAL_FAILURE(expectMediansOfNine<T>(rank, type, width, channels, random));
}

template<class T>
void expectVectorMediansOf(const quib::RankKernels& rank, quib::RankType type, Random& random)
{
    for (const int n : {1, 2, 6, 9, 10, 25, 86})
        for (const int width : {1, 7, 31, 64, 65, n > 25 ? 9 : 131})
            ASSERT_NO_FATAL_FAILURE(
                expectVectorMedians<T>(rank, type,
                                       {static_cast<size_t>(n), static_cast<size_t>(width),
                                        random.coin() ? size_t{3} : size_t{4}},
                                       random));
}

} // namespace

TEST(RankKernels, ExtremesAreThePlainOnes)
{
    forEachTable<quib::RankKernels>([](const quib::RankKernels& rank) {
        Random random(91);
        forEachInteger([&](quib::RankType type, auto element) {
            using T = decltype(element);
            const auto larger = [](T a, T b) { return std::max(a, b); };
            const auto smaller = [](T a, T b) { return std::min(a, b); };
            ASSERT_NO_FATAL_FAILURE(expectPairs<T>(rank.larger[type], larger, random));
            ASSERT_NO_FATAL_FAILURE(expectPairs<T>(rank.smaller[type], smaller, random));
            ASSERT_NO_FATAL_FAILURE(expectShiftedPairs<T>(rank.larger[type], larger, random));
            ASSERT_NO_FATAL_FAILURE(expectShiftedPairs<T>(rank.smaller[type], smaller, random));
        });
    });
}

TEST(RankKernels, NetworksFindTheMedian)
{
    forEachTable<quib::RankKernels>([](const quib::RankKernels& rank) {
        Random random(92);
        forEachInteger([&](quib::RankType type, auto element) {
            using T = decltype(element);
            for (size_t count = 1; count <= 140; count += count < 70 ? 1 : 7)
                for (const size_t stride : {1, 3, 4}) {
                    ASSERT_NO_FATAL_FAILURE(
                        expectMedians<T>(rank.median3[type], 3, count, stride, random));
                    ASSERT_NO_FATAL_FAILURE(
                        expectMedians<T>(rank.median5[type], 5, count, stride, random));
                }
        });
    });
}

TEST(RankKernels, HistogramsOfColumnsFindEveryRank)
{
    forEachTable<quib::RankKernels>([](const quib::RankKernels& rank) {
        Random random(93);
        for (const size_t nCols : {1, 2, 3, 8, 15, 51, 90})
            for (const size_t width : {1, 3, 63, 64, 65, 131})
                for (const size_t stride : {1, 3, 4})
                    ASSERT_NO_FATAL_FAILURE(expectHistograms(
                        rank,
                        {width, stride, nCols, static_cast<size_t>(random.between(1, 9)),
                         static_cast<uint8_t>(random.coin() ? 0x80 : 0)},
                        random))
                        << nCols << " columns, " << width << ", " << stride;
    });
}

TEST(RankKernels, HistogramsOfColumnsCountUpTo65535)
{
    forEachTable<quib::RankKernels>([](const quib::RankKernels& rank) {
        Random random(94);
        for (const HistogramCase& shape :
             {HistogramCase{3, 1, 257, 255, 0}, HistogramCase{2, 1, 1, 65535, 0},
              HistogramCase{3, 1, 65535, 1, 0x80}, HistogramCase{4, 1, 3, 21845, 0}})
            for (int i = 0; i < 2; ++i)
                ASSERT_NO_FATAL_FAILURE(expectHistograms(rank, shape, random));
    });
}

TEST(RankKernels, VectorMediansAreThePlainOnes)
{
    forEachTable<quib::RankKernels>([](const quib::RankKernels& rank) {
        Random random(95);
        expectVectorMediansOf<uint8_t>(rank, quib::RANK_U8, random);
        expectVectorMediansOf<int8_t>(rank, quib::RANK_S8, random);
        expectVectorMediansOf<uint16_t>(rank, quib::RANK_U16, random);
        expectVectorMediansOf<int16_t>(rank, quib::RANK_S16, random);
        expectVectorMediansOf<float>(rank, quib::RANK_F32, random);
    });
}

TEST(RankKernels, VectorMediansOfNineAreThePlainOnes)
{
    forEachTable<quib::RankKernels>([](const quib::RankKernels& rank) {
        Random random(96);
        expectMediansOfNine<uint8_t>(rank, quib::RANK_U8, random);
        expectMediansOfNine<int8_t>(rank, quib::RANK_S8, random);
        expectMediansOfNine<uint16_t>(rank, quib::RANK_U16, random);
        expectMediansOfNine<int16_t>(rank, quib::RANK_S16, random);
        expectMediansOfNine<float>(rank, quib::RANK_F32, random);
    });
}
