#include "kernels/box.h"

#include "_Src/window/box.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <algorithm>
#include <cstring>

using quib::BoxKernels;
using quib::BoxKind;

namespace
{

template<class Element, class Column>
void expectMoves(const BoxKernels& kernels, BoxKind kind)
{
    Random random(1);
    for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
        for (const size_t count : {1, 2, 7, 16, 31, 32, 33, 64, 100, 129}) {
            const GuardedBuffer leaving(count * sizeof(Element), guard);
            const GuardedBuffer entering(count * sizeof(Element), guard);
            const GuardedBuffer columns(count * sizeof(Column), guard);
            random.fill(leaving.data(), count * sizeof(Element));
            random.fill(entering.data(), count * sizeof(Element));
            leaving.makeReadOnly();
            entering.makeReadOnly();
            const Element flip =
                static_cast<Element>(random.coin() ? uint64_t{1} << (8 * sizeof(Element) - 1) : 0);
            std::vector<Column> expected(count);
            for (size_t i = 0; i < count; ++i)
                expected[i] = static_cast<Element>(leaving.as<Element>()[i] ^ flip);
            std::memcpy(columns.data(), expected.data(), count * sizeof(Column));
            kernels.move[kind](columns.data(), nullptr, entering.data(), count, flip);
            for (size_t i = 0; i < count; ++i)
                expected[i] = static_cast<Column>(
                    expected[i] + static_cast<Element>(entering.as<Element>()[i] ^ flip));
            ASSERT_EQ(std::memcmp(columns.data(), expected.data(), count * sizeof(Column)), 0);
            kernels.move[kind](columns.data(), leaving.data(), entering.data(), count, flip);
            for (size_t i = 0; i < count; ++i)
                ASSERT_EQ(columns.as<Column>()[i], 2 * static_cast<uint64_t>(static_cast<Element>(
                                                           entering.as<Element>()[i] ^ flip)));
        }
    }
}

// Sums of columns as windows of so many rows have them, at their ends and between.
template<class Element, class Column>
void expectMeans(const BoxKernels& kernels, BoxKind kind, uint32_t depth, int32_t nRows)
{
    Random random(2);
    const uint64_t most = (uint64_t{1} << (8 * sizeof(Element))) - 1;
    for (int i = 0; i < 200; ++i) {
        const int32_t nCols = random.between(1, random.coin() ? 40 : 6);
        const size_t stride = static_cast<size_t>(random.between(1, 6));
        const size_t width = static_cast<size_t>(random.between(1, 50));
        const size_t count = width * stride;
        const size_t all = count + static_cast<size_t>(nCols - 1) * stride;
        IplBoxPlan plan = ownPlanBox(depth, nCols, nRows);
        ASSERT_EQ(plan.kind, kind);
        plan.window.stride = stride;
        const Guard guard = random.coin() ? Guard::afterEnd : Guard::beforeStart;
        const GuardedBuffer columns((all + quib::boxSlack) * sizeof(Column), guard);
        const GuardedBuffer sums((count + quib::boxSlack) * 8, guard);
        const GuardedBuffer out(count * sizeof(Element), guard);
        const uint64_t limit = most * static_cast<uint64_t>(nRows);
        for (size_t k = 0; k < all + quib::boxSlack; ++k)
            columns.as<Column>()[k] = static_cast<Column>(
                random.coin() ? limit : random.next() % (limit / 2 + 1) + limit / 2);
        columns.makeReadOnly();
        kernels.means[kind](out.data(), columns.data(), sums.data(), plan.window, count);
        for (size_t k = 0; k < count; ++k) {
            uint64_t sum = 0;
            for (size_t c = 0; c < static_cast<size_t>(nCols); ++c)
                sum += columns.as<Column>()[k + c * stride];
            const uint64_t n = static_cast<uint64_t>(nCols) * static_cast<uint64_t>(nRows);
            const Element mean = static_cast<Element>((2 * sum + n) / (2 * n) ^ plan.window.flip);
            ASSERT_EQ(out.as<Element>()[k], mean) << nCols << " " << stride << " " << k;
        }
    }
}

} // namespace

TEST(BoxKernels, MoveColumns)
{
    forEachTable<quib::BoxKernels>([](const BoxKernels& kernels) {
        expectMoves<uint8_t, uint16_t>(kernels, quib::boxBytes);
        expectMoves<uint8_t, uint32_t>(kernels, quib::boxTallBytes);
        expectMoves<uint16_t, uint32_t>(kernels, quib::boxWords);
        expectMoves<uint8_t, uint64_t>(kernels, quib::boxManyBytes);
        expectMoves<uint16_t, uint64_t>(kernels, quib::boxManyWords);
        expectMoves<uint32_t, uint64_t>(kernels, quib::boxInts);
    });
}

TEST(BoxKernels, MeansAreThePlainOnes)
{
    forEachTable<quib::BoxKernels>([](const BoxKernels& kernels) {
        for (const int32_t nRows : {1, 5, 31, 128}) {
            expectMeans<uint8_t, uint16_t>(kernels, quib::boxBytes, IPL_DEPTH_8U, nRows);
            expectMeans<uint8_t, uint16_t>(kernels, quib::boxBytes, IPL_DEPTH_8S, nRows);
            expectMeans<uint16_t, uint32_t>(kernels, quib::boxWords, IPL_DEPTH_16S, nRows);
            expectMeans<uint32_t, uint64_t>(kernels, quib::boxInts, IPL_DEPTH_32S, nRows);
        }
        for (const int32_t nRows : {129, 1000, 100000})
            expectMeans<uint8_t, uint32_t>(kernels, quib::boxTallBytes, IPL_DEPTH_8U, nRows);
        expectMeans<uint8_t, uint64_t>(kernels, quib::boxManyBytes, IPL_DEPTH_8S, 1 << 24);
        expectMeans<uint16_t, uint64_t>(kernels, quib::boxManyWords, IPL_DEPTH_16U, 1 << 16);
    });
}

TEST(BoxKernels, FloatsAreAddedColumnByColumn)
{
    forEachTable<quib::BoxKernels>([](const BoxKernels& kernels) {
        Random random(3);
        for (const size_t stride : {1, 3, 4}) {
            const size_t count = 77 * stride;
            std::vector<double> columns(count + 6 * stride + quib::boxSlack);
            std::vector<float> row(columns.size());
            for (size_t i = 0; i < columns.size(); ++i) {
                columns[i] = static_cast<double>(random.next()) / 3;
                row[i] = static_cast<float>(random.next()) / 7;
            }
            std::vector<double> moved = columns;
            kernels.move[quib::boxFloats](moved.data(), nullptr, row.data(), moved.size(), 0);
            for (size_t i = 0; i < columns.size(); ++i)
                ASSERT_EQ(moved[i], columns[i] + row[i]);
            IplBoxPlan plan = ownPlanBox(IPL_DEPTH_32F, 7, 3);
            plan.window.stride = stride;
            std::vector<double> sums(count + quib::boxSlack);
            std::vector<float> out(count);
            kernels.means[quib::boxFloats](out.data(), columns.data(), sums.data(), plan.window,
                                           count);
            for (size_t i = 0; i < count; ++i) {
                double sum = columns[i];
                for (size_t k = 1; k < 7; ++k)
                    sum += columns[i + k * stride];
                ASSERT_EQ(out[i], static_cast<float>(sum * (1.0 / 21)));
            }
        }
    });
}
