#include "kernels/bits.h"

#include "tests/support/bits.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<uint8_t>;

struct BitOperation {
    const char* name;
    quib::BitRun quib::BitKernels::*run;
    bool (*plain)(bool dst, bool a, bool b, bool value);
};

const BitOperation operations[] = {
    {"copy", &quib::BitKernels::copy, [](bool, bool a, bool, bool) { return a; }},
    {"andS", &quib::BitKernels::andS, [](bool, bool a, bool, bool value) { return a && value; }},
    {"orS", &quib::BitKernels::orS, [](bool, bool a, bool, bool value) { return a || value; }},
    {"xorS", &quib::BitKernels::xorS, [](bool, bool a, bool, bool value) { return a != value; }},
    {"and", &quib::BitKernels::logicAnd, [](bool, bool a, bool b, bool) { return a && b; }},
    {"or", &quib::BitKernels::logicOr, [](bool, bool a, bool b, bool) { return a || b; }},
    {"xor", &quib::BitKernels::logicXor, [](bool, bool a, bool b, bool) { return a != b; }},
    {"andNot", &quib::BitKernels::andNot, [](bool, bool a, bool b, bool) { return a && !b; }},
    {"select", &quib::BitKernels::select,
     [](bool dst, bool a, bool b, bool) { return b ? a : dst; }},
};

// The bytes that hold `width` bits from `start` on, and nothing more.
void expectPlainRow(const BitOperation& operation, quib::BitRun run, size_t width,
                    const size_t (&starts)[3], uint8_t* dst, uint8_t* a, uint8_t* b, Random& random)
{
    const size_t dstBytes = bytesFor(starts[0], width);
    random.fill(dst, dstBytes);
    random.fill(a, bytesFor(starts[1], width));
    random.fill(b, bytesFor(starts[2], width));
    const int32_t value = random.between(-3, 3);
    Bytes expected(dst, dst + dstBytes);
    for (size_t i = 0; i < width; ++i)
        putBit(expected.data(), starts[0] + i,
               operation.plain(bitAt(dst, starts[0] + i), bitAt(a, starts[1] + i),
                               bitAt(b, starts[2] + i), value & 1));
    run({dst, 0, static_cast<int32_t>(starts[0])}, {a, 0, static_cast<int32_t>(starts[1])},
        {b, 0, static_cast<int32_t>(starts[2])}, width, 1, value);
    ASSERT_EQ(Bytes(dst, dst + dstBytes), expected)
        << width << " bits at " << starts[0] << ", " << starts[1] << ", " << starts[2];
}

// In buffers that hold nothing more.
void expectPlainGuardedRow(const BitOperation& operation, quib::BitRun run, size_t width,
                           const size_t (&starts)[3], Guard guard, Random& random)
{
    const GuardedBuffer dst(bytesFor(starts[0], width), guard);
    const GuardedBuffer a(bytesFor(starts[1], width), guard);
    const GuardedBuffer b(bytesFor(starts[2], width), guard);
    expectPlainRow(operation, run, width, starts, dst.data(), a.data(), b.data(), random);
}

template<class Work>
void forEachBitRun(Work work)
{
    for (const quib::Kernels* table : availableLevels()) {
        for (const BitOperation& operation : operations) {
            SCOPED_TRACE(std::string(table->levelName) + " " + operation.name);
            work(operation, table->bits.*operation.run);
        }
    }
}

} // namespace

TEST(BitKernels, GiveThePlainResultAtAllOffsets)
{
    forEachBitRun([](const BitOperation& operation, quib::BitRun run) {
        Random random(61);
        uint8_t rows[3][64];
        for (size_t d = 0; d < 8; ++d)
            for (size_t a = 0; a < 8; ++a)
                for (size_t b = 0; b < 8; ++b)
                    for (const size_t width : {1, 7, 9, 64, 131, 300})
                        ASSERT_NO_FATAL_FAILURE(expectPlainRow(operation, run, width, {d, a, b},
                                                               rows[0], rows[1], rows[2], random));
    });
}

TEST(BitKernels, TouchNoByteOutsideTheRow)
{
    forEachBitRun([](const BitOperation& operation, quib::BitRun run) {
        Random random(62);
        for (size_t width = 0; width < 900; width += width < 150 ? 1 : 23) {
            const auto start = [&random] { return static_cast<size_t>(random.between(0, 7)); };
            for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
                const size_t starts[3] = {start(), start(), start()};
                ASSERT_NO_FATAL_FAILURE(
                    expectPlainGuardedRow(operation, run, width, starts, guard, random));
            }
        }
    });
}

TEST(BitKernels, TakeStartsPastTheFirstByte)
{
    forEachBitRun([](const BitOperation& operation, quib::BitRun run) {
        Random random(63);
        for (const size_t width : {5, 70, 200})
            ASSERT_NO_FATAL_FAILURE(
                expectPlainGuardedRow(operation, run, width, {19, 8, 43}, Guard::afterEnd, random));
    });
}

TEST(BitKernels, WalkRowsByTheirSteps)
{
    forEachBitRun([](const BitOperation& operation, quib::BitRun run) {
        Random random(64);
        constexpr size_t width = 77;
        constexpr size_t height = 5;
        Bytes dst(height * 16);
        Bytes a(height * 12);
        Bytes b(height * 20);
        random.fill(dst.data(), dst.size());
        random.fill(a.data(), a.size());
        random.fill(b.data(), b.size());
        Bytes expected = dst;
        for (size_t y = 0; y < height; ++y)
            for (size_t x = 0; x < width; ++x)
                putBit(expected.data() + y * 16, x + 3,
                       operation.plain(bitAt(dst.data() + y * 16, x + 3),
                                       bitAt(a.data() + y * 12, x), bitAt(b.data() + y * 20, x + 6),
                                       true));
        run({dst.data(), 16, 3}, {a.data(), 12, 0}, {b.data(), 20, 6}, width, height, 1);
        ASSERT_EQ(dst, expected);
    });
}

TEST(BitKernels, MayWriteIntoTheirOperands)
{
    forEachBitRun([](const BitOperation& operation, quib::BitRun run) {
        Random random(65);
        for (size_t width = 1; width < 400; width += 13) {
            const int32_t start = random.between(0, 7);
            Bytes first(64);
            Bytes second(64);
            random.fill(first.data(), first.size());
            random.fill(second.data(), second.size());
            for (const bool intoFirst : {true, false}) {
                Bytes a = first;
                Bytes b = second;
                Bytes expected = intoFirst ? first : second;
                uint8_t* dst = intoFirst ? a.data() : b.data();
                for (size_t i = 0; i < width; ++i) {
                    const size_t at = static_cast<size_t>(start) + i;
                    putBit(expected.data(), at,
                           operation.plain(bitAt(dst, at), bitAt(first.data(), at),
                                           bitAt(second.data(), at), true));
                }
                run({dst, 0, start}, {a.data(), 0, start}, {b.data(), 0, start}, width, 1, 1);
                ASSERT_EQ(intoFirst ? a : b, expected) << width;
            }
        }
    });
}
