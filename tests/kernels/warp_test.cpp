#include "kernels/warp.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/pace.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace
{

using quib::WarpFixed;
using quib::WarpSource;
using quib::WarpTarget;
using Bytes = std::vector<uint8_t>;

// --- Plain forms -------------------------------------------------------------------------

// The first pixel of a window on one axis, and the weight of the second one.
struct Window {
    int32_t first;
    int32_t weight;
};

int32_t positionAt(int32_t start, int32_t step, int64_t i)
{
    return static_cast<int32_t>(static_cast<uint32_t>(start + step * i));
}

Window sourceWindowAt(int32_t position, int32_t most)
{
    const int64_t held = std::clamp<int64_t>(position, 0, int64_t{most} * 65536);
    const int32_t first = std::min(static_cast<int32_t>(held >> 16), most - 1);
    return {first, static_cast<int32_t>((held - int64_t{first} * 65536) >> 2)};
}

uint8_t plainNearest(const WarpSource& src, int32_t x, int32_t y, int32_t c)
{
    const int32_t column = std::clamp(x >> 16, 0, src.maxX);
    const int32_t row = std::clamp(y >> 16, 0, src.maxY);
    return static_cast<const uint8_t*>(
        src.pixels)[row * src.step + ptrdiff_t{column} * src.stride + c];
}

uint8_t plainLinear(const WarpSource& src, int32_t x, int32_t y, int32_t c)
{
    const Window column = sourceWindowAt(x, src.maxX);
    const Window row = sourceWindowAt(y, src.maxY);
    const auto line = [&](int32_t at) {
        const uint8_t* pixel = static_cast<const uint8_t*>(src.pixels) + at * src.step +
                               ptrdiff_t{column.first} * src.stride + c;
        return (pixel[0] * (0x4000 - column.weight) + pixel[src.stride] * column.weight) >> 8;
    };
    const int32_t sum =
        line(row.first) * (0x4000 - row.weight) + line(row.first + 1) * row.weight + 0x80000;
    return static_cast<uint8_t>(sum >> 20);
}

Bytes plainRun(const Bytes& before, const WarpTarget& dst, const WarpSource& src,
               const WarpFixed& run, int32_t mode)
{
    Bytes after = before;
    for (size_t i = 0; i * dst.stride < before.size(); ++i)
        for (int32_t c = 0; c < dst.channels; ++c) {
            const int32_t x = positionAt(run.x, run.dx, static_cast<int64_t>(i));
            const int32_t y = positionAt(run.y, run.dy, static_cast<int64_t>(i));
            after[i * dst.stride + c] =
                mode == 0 ? plainNearest(src, x, y, c) : plainLinear(src, x, y, c);
        }
    return after;
}

// --- Sources -----------------------------------------------------------------------------

// Pixels that begin behind an inaccessible page or end before one.
struct Source {
    Source(int32_t width, int32_t height, int32_t stride, ptrdiff_t padding, Guard guard,
           Random& random)
        : step(ptrdiff_t{width} * stride + padding),
          bytes(static_cast<size_t>(step * (height - 1) + ptrdiff_t{width} * stride), guard),
          source{bytes.as<uint8_t>(), step, stride, width - 1, height - 1}
    {
        random.fill(bytes.as<uint8_t>(),
                    static_cast<size_t>(step * (height - 1) + ptrdiff_t{width} * stride));
    }

    ptrdiff_t step;
    GuardedBuffer bytes;
    WarpSource source;
};

void expectPlain(const quib::WarpKernels& kernels, const WarpSource& src, const WarpFixed& run,
                 size_t count, int32_t channels, int32_t mode, Random& random)
{
    SCOPED_TRACE(std::to_string(src.maxX + 1) + " x " + std::to_string(src.maxY + 1) + " step " +
                 std::to_string(src.step) + " from " + std::to_string(run.x) + ", " +
                 std::to_string(run.y) + " by " + std::to_string(run.dx) + ", " +
                 std::to_string(run.dy) + " count " + std::to_string(count) + " channels " +
                 std::to_string(channels) + " mode " + std::to_string(mode));
    Bytes before(count * src.stride);
    random.fill(before.data(), before.size());
    const GuardedBuffer out(before.size(), guards[random.between(0, 1)]);
    std::copy(before.begin(), before.end(), out.as<uint8_t>());
    const WarpTarget dst{out.as<uint8_t>(), src.stride, channels, 0};
    kernels.fixed8[mode](dst, src, run, count);
    const Bytes after(out.as<uint8_t>(), out.as<uint8_t>() + before.size());
    ASSERT_EQ(after, plainRun(before, dst, src, run, mode));
}

WarpFixed randomRun(const WarpSource& src, size_t count, Random& random)
{
    const auto step = [&] {
        constexpr int32_t scales[] = {0, 3000, 0x18000, 0x60000, INT32_MAX};
        const int32_t most = scales[random.between(0, 4)];
        return random.between(-most, most);
    };
    // At some pixel of the run, where a source's border or its middle is.
    const auto start = [&](int32_t most, int32_t by) {
        const int64_t places[] = {0, most, random.between(0, most), -1, int64_t{most} + 1};
        const int64_t at = places[random.between(0, 4)] * 65536 + random.between(-70000, 70000);
        const int64_t pixel = random.between(0, static_cast<int32_t>(count));
        return positionAt(static_cast<int32_t>(static_cast<uint32_t>(at)), by, -pixel);
    };
    const int32_t dx = step();
    const int32_t dy = step();
    return {start(src.maxX, dx), start(src.maxY, dy), dx, dy, step(), step()};
}

} // namespace

TEST(WarpFixed, IsItsPlainFormAnywhereInTheSourceAndBeyond)
{
    forEachTable<quib::WarpKernels>([](const quib::WarpKernels& kernels) {
        Random random(1);
        for (int round = 0; round < 4000; ++round) {
            const int32_t mode = random.between(0, 1);
            const int32_t stride = random.between(0, 5) == 0 ? random.between(1, 3) : 4;
            // One in some sources has steps that are no whole pixels.
            const Source src(random.between(1 + mode, 60), random.between(1 + mode, 60), stride,
                             ptrdiff_t{random.between(0, 3)} *
                                 (random.between(0, 7) == 0 ? 1 : stride),
                             guards[random.between(0, 1)], random);
            const size_t count =
                static_cast<size_t>(random.between(1, random.between(0, 9) == 0 ? 1200 : 60));
            const int32_t channels = stride == 4 ? random.between(3, 4) : stride;
            ASSERT_NO_FATAL_FAILURE(expectPlain(kernels, src.source,
                                                randomRun(src.source, count, random), count,
                                                channels, mode, random));
        }
    });
}

TEST(WarpFixed, TakesRunsOfEveryLength)
{
    forEachTable<quib::WarpKernels>([](const quib::WarpKernels& kernels) {
        Random random(2);
        const Source src(97, 53, 4, 0, Guard::afterEnd, random);
        const WarpFixed turned{3000, 700000, 70000, -20000, 20000, 70000};
        for (size_t count = 1; count <= 1100; count += count < 80 || count > 500 ? 1 : 29)
            for (const int32_t channels : {3, 4})
                for (int32_t mode = 0; mode < 2; ++mode)
                    ASSERT_NO_FATAL_FAILURE(
                        expectPlain(kernels, src.source, turned, count, channels, mode, random));
    });
}

TEST(WarpFixed, TakesSourcesAtTheEndsOfWords)
{
    // Columns, rows and steps up to a signed word's largest value, and past it.
    struct Size {
        int32_t width;
        int32_t height;
        ptrdiff_t padding;
    };
    constexpr Size sizes[] = {{32767, 2, 0},  {32768, 2, 0}, {32769, 2, 0}, {40000, 3, 0},
                              {2, 32768, 0},  {2, 32769, 0}, {32766, 3, 4}, {32760, 3, 28},
                              {32760, 3, 32}, {32760, 3, 36}};
    forEachTable<quib::WarpKernels>([&](const quib::WarpKernels& kernels) {
        Random random(3);
        for (const Size& size : sizes) {
            const Source src(size.width, size.height, 4, size.padding, Guard::afterEnd, random);
            for (int round = 0; round < 60; ++round)
                ASSERT_NO_FATAL_FAILURE(expectPlain(kernels, src.source,
                                                    randomRun(src.source, 70, random), 70, 4,
                                                    round % 2, random));
        }
    });
}

TEST(WarpFixed, TakesRowsThatGoUpwards)
{
    forEachTable<quib::WarpKernels>([](const quib::WarpKernels& kernels) {
        Random random(4);
        for (int round = 0; round < 200; ++round) {
            const Source src(random.between(2, 60), random.between(2, 60), 4, 0, guards[round % 2],
                             random);
            WarpSource upwards = src.source;
            upwards.pixels = src.bytes.as<uint8_t>() + src.step * upwards.maxY;
            upwards.step = -src.step;
            ASSERT_NO_FATAL_FAILURE(expectPlain(kernels, upwards, randomRun(upwards, 70, random),
                                                70, 4, random.between(0, 1), random));
        }
    });
}

// Every difference of two neighbours with every weight, beside each other and above
// one another.
TEST(WarpFixed, WeighsAllNeighboursExactly)
{
    forEachTable<quib::WarpKernels>([](const quib::WarpKernels& kernels) {
        Random random(5);
        const Source src(2, 2, 4, 0, Guard::afterEnd, random);
        uint8_t* pixels = src.bytes.as<uint8_t>();
        for (int32_t difference = -255; difference <= 255; difference += 4 * stepOfCases(7)) {
            for (int32_t c = 0; c < 4; ++c) {
                const int32_t d = std::min(difference + c, 255);
                const int32_t low = random.between(0, 255 - std::abs(d));
                const uint8_t first = static_cast<uint8_t>(d < 0 ? low - d : low);
                const uint8_t second = static_cast<uint8_t>(d < 0 ? low : low + d);
                pixels[c] = first;
                pixels[4 + c] = second;
                pixels[8 + c] = difference & 4 ? second : first;
                pixels[12 + c] = difference & 4 ? first : second;
            }
            const int32_t other = random.between(0, 0x10000);
            constexpr size_t all = 0x4000 + 1;
            ASSERT_NO_FATAL_FAILURE(
                expectPlain(kernels, src.source, {0, 0, 4, 0, 0, 0}, all, 4, 1, random));
            ASSERT_NO_FATAL_FAILURE(
                expectPlain(kernels, src.source, {0, other, 4, 0, 0, 0}, all, 4, 1, random));
            ASSERT_NO_FATAL_FAILURE(
                expectPlain(kernels, src.source, {other, 0, 0, 4, 0, 0}, all, 4, 1, random));
        }
    });
}

// What a packed sum of weights relies on: the high half of a product of words is
// what a weighted sum is cut to, for every difference and weight there is.
TEST(WarpFixed, SumsAreHighHalvesOfProducts)
{
    const auto high = [](int32_t a, int32_t b) { return (a * b) >> 16; };
    for (int32_t f = 0; f <= 0x4000; f += stepOfCases(8)) {
        for (int32_t d = -255; d <= 255; ++d) {
            const int32_t a = d < 0 ? -d : 0;
            const int32_t b = a + d;
            ASSERT_EQ((a * (0x4000 - f) + b * f) >> 8, 64 * a + high((a - b) * 128, -2 * f));
        }
        for (int32_t d = -64 * 255 + f % 7; d <= 64 * 255; d += 7) {
            const int32_t t = d < 0 ? -d : 0;
            const int32_t u = t + d;
            ASSERT_EQ((t * (0x4000 - f) + u * f + 0x80000) >> 20,
                      (t + 32 + high(2 * (t - u), -2 * f)) >> 6);
        }
    }
}

TEST(WarpRatio, ReadsNoPixelPastTheLastWhereFloatsSkipNumbers)
{
    // The float next to the last column's number lies behind it.
    constexpr int32_t width = 16777220;
    const GuardedBuffer bytes(width, Guard::afterEnd);
    bytes.as<uint8_t>()[width - 2] = 9;
    bytes.as<uint8_t>()[width - 1] = 7;
    const WarpSource src{bytes.as<uint8_t>(), width, 1, width - 1, 0};
    const quib::WarpRatio<float> run{0x1p30f, 0, 1, 0, 0, 0, 0, false, 0, 0, 0, 0};
    forEachTable<quib::WarpKernels>([&](const quib::WarpKernels& kernels) {
        Bytes out(70);
        kernels.ratio8[0]({out.data(), 1, 1, 0}, src, run, out.size());
        EXPECT_EQ(out, Bytes(70, 9));
    });
}
