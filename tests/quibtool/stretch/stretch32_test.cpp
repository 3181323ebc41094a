#include "quibtool/stretch/stretch.h"

#include "quibtool/stretch/tables.h"
#include "tests/quibtool/stretch/plain_stretch.h"
#include "tests/support/levels.h"
#include "tests/support/pace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#if defined(__linux__)
#include <sys/resource.h>
#endif

using namespace plain_stretch;

namespace
{

bool isPairMode(int32_t mode)
{
    return mode == STRETCH_PAIRS_NEAREST || mode == STRETCH_PAIRS_LINEAR;
}

bool isNearest(int32_t mode)
{
    return mode == STRETCH_NEAREST || mode == STRETCH_PAIRS_NEAREST;
}

// Four-byte pixels, packed. Rows that a pair mode asks for past the end are the
// last one.
std::vector<uint8_t> plainStretch32(const uint8_t* src, Size from, Size to, int32_t mode)
{
    const Axis x = plainAxis(to.width, from.width, mode == STRETCH_PAIRS_LINEAR ? 1 : mode);
    const Axis y = isPairMode(mode) ? plainPairs(to.height, from.height)
                                    : plainAxis(to.height, from.height, mode);
    const auto pixel = [&](uint32_t row, uint32_t column, uint32_t c) {
        return src[(std::min(row, from.height - 1) * from.width + column) * 4 + c];
    };
    std::vector<uint8_t> out;
    for (uint32_t i = 0; i < to.height; ++i) {
        for (uint32_t j = 0; j < to.width; ++j) {
            for (uint32_t c = 0; c < 4; ++c) {
                const auto line = [&](uint32_t row) {
                    return lerp(pixel(row, x.idx0[j], c), pixel(row, x.idx1[j], c), x.weight[j]);
                };
                out.push_back(isNearest(mode)
                                  ? pixel(y.idx0[i], x.idx0[j], c)
                                  : lerp(line(y.idx0[i]), line(y.idx1[i]), y.weight[i]));
            }
        }
    }
    return out;
}

constexpr int32_t allModes[] = {0, 1, 2, STRETCH_PAIRS_NEAREST, STRETCH_PAIRS_LINEAR, 3, 5, -1};

} // namespace

TEST(StretchPacked32, EqualSizesInLinearModeAreNoCopy)
{
    // Every pixel but the last loses 1 where it exceeds its right neighbour.
    const uint8_t src[12] = {255, 0, 9, 1, 0, 255, 9, 2, 7, 7, 9, 3};
    const uint8_t expected[12] = {254, 0, 9, 1, 0, 254, 9, 2, 7, 7, 9, 3};
    forEachLevel([&] {
        uint8_t out[12] = {};
        StretchPacked32(out, 3, 1, src, 3, 1, STRETCH_LINEAR);
        EXPECT_EQ(std::vector<uint8_t>(out, out + 12),
                  std::vector<uint8_t>(expected, expected + 12));
    });
}

TEST(StretchPacked32, DoublingWeighsHalfwayPixels)
{
    const uint8_t src[8] = {200, 10, 0, 255, 100, 30, 0, 0};
    forEachLevel([&] {
        uint8_t out[16] = {};
        StretchPacked32(out, 4, 1, src, 2, 1, STRETCH_LINEAR);
        // Weight 127: 100 + (100 * 127 >> 8), 30 + (-20 * 127 >> 8), and so on.
        EXPECT_EQ(out[4], 149);
        EXPECT_EQ(out[5], 20);
        EXPECT_EQ(out[6], 0);
        EXPECT_EQ(out[7], 126);
    });
}

TEST(StretchPacked32, OtherModesAreLinear)
{
    Random random(8);
    const Pixels src({9, 7}, 4, Guard::afterEnd, random);
    std::vector<uint8_t> linear(13 * 11 * 4);
    StretchPacked32(linear.data(), 13, 11, src.data(), 9, 7, STRETCH_LINEAR);
    for (const int32_t mode : {3, 5, -1, 0x7002, 0x6FFF}) {
        std::vector<uint8_t> out(linear.size());
        StretchPacked32(out.data(), 13, 11, src.data(), 9, 7, mode);
        EXPECT_EQ(out, linear) << mode;
    }
}

TEST(StretchPacked32, FollowsThePlainFormInEveryMode)
{
    forEachLevel([] {
        Random random(21);
        const std::vector<Job> all = jobs(random);
        for (size_t i = 0; i < all.size(); i += stepOfCases(size_t{3})) {
            const Job& job = all[i];
            for (const int32_t mode : allModes) {
                Size to = job.to;
                if (isPairMode(mode))
                    to.height += to.height & 1;
                SCOPED_TRACE(testing::Message()
                             << job.from.width << " x " << job.from.height << " to " << to.width
                             << " x " << to.height << " in mode " << mode);
                for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
                    const Pixels src(job.from, 4, guard, random);
                    const GuardedBuffer out(size_t{to.width} * to.height * 4, guard);
                    StretchPacked32(out.data(), to.width, to.height, src.data(), job.from.width,
                                    job.from.height, mode);
                    ASSERT_EQ(out.contents(), plainStretch32(src.data(), job.from, to, mode));
                }
            }
        }
    });
}

TEST(StretchStrided32, KeepsToItsRows)
{
    forEachLevel([] {
        Random random(22);
        for (int32_t round = 0; round < 60; ++round) {
            const Size from{randomSide(random), randomSide(random)};
            const Size to{randomSide(random), randomSide(random) * 2};
            const uint32_t srcStep = from.width * 4 + random.between(0, 9);
            const uint32_t dstStep = to.width * 4 + random.between(0, 9);
            const int32_t mode = allModes[random.between(0, 7)];
            const GuardedBuffer src(size_t{srcStep} * (from.height - 1) + from.width * 4);
            const GuardedBuffer out(size_t{dstStep} * (to.height - 1) + to.width * 4);
            random.fill(src.data(), src.size());
            std::vector<uint8_t> packed;
            for (uint32_t y = 0; y < from.height; ++y)
                packed.insert(packed.end(), src.data() + y * srcStep,
                              src.data() + y * srcStep + from.width * 4);
            const std::vector<uint8_t> rows = plainStretch32(packed.data(), from, to, mode);
            std::vector<uint8_t> expected = out.contents();
            for (uint32_t y = 0; y < to.height; ++y)
                std::copy_n(rows.begin() + y * to.width * 4, to.width * 4,
                            expected.begin() + y * dstStep);
            StretchStrided32(out.data(), to.width, to.height, dstStep, src.data(), from.width,
                             from.height, srcStep, mode);
            ASSERT_EQ(out.contents(), expected) << "mode " << mode;
        }
    });
}

TEST(StretchStrided32, WritesBottomUpImagesToo)
{
    Random random(23);
    const Pixels src({10, 6}, 4, Guard::afterEnd, random);
    const GuardedBuffer out(15 * 9 * 4);
    for (const int32_t mode : {0, 1}) {
        StretchStrided32(out.data() + 8 * 15 * 4, 15, 9, -15 * 4, src.data() + 5 * 40, 10, 6, -40,
                         mode);
        std::vector<uint8_t> flipped;
        for (uint32_t y = 6; y-- > 0;)
            flipped.insert(flipped.end(), src.data() + y * 40, src.data() + y * 40 + 40);
        const std::vector<uint8_t> rows = plainStretch32(flipped.data(), {10, 6}, {15, 9}, mode);
        for (size_t y = 0; y < 9; ++y)
            EXPECT_EQ(std::memcmp(out.data() + (8 - y) * 60, rows.data() + y * 60, 60), 0);
    }
}

// The plain rows, each as wide as it is told to be and one after the other a
// step further on, up to the block's end.
static std::vector<uint8_t> plainInBlock(std::vector<uint8_t> block,
                                         const std::vector<uint8_t>& rows, Size to, size_t step)
{
    for (size_t y = 0; y < to.height; ++y)
        for (size_t x = 0; x < to.width; ++x)
            if (y * step + x * 4 + 4 <= block.size())
                std::copy_n(rows.begin() + static_cast<ptrdiff_t>((y * to.width + x) * 4), 4,
                            block.begin() + static_cast<ptrdiff_t>(y * step + x * 4));
    return block;
}

TEST(StretchStrided32, EndsWithTheDestinationsBlockInEveryMode)
{
    forEachLevel([] {
        Random random(25);
        for (int32_t round = 0; round < 200; ++round) {
            const Size from{randomSide(random), randomSide(random)};
            const Size to{randomSide(random), randomSide(random) * 2};
            const int32_t mode = allModes[random.between(0, 7)];
            const int32_t step = 4 * random.between(1, 40);
            const GuardedBuffer out(static_cast<size_t>(random.between(1, 5000)));
            const Pixels src(from, 4, Guard::afterEnd, random);
            const std::vector<uint8_t> rows = plainStretch32(src.data(), from, to, mode);
            const std::vector<uint8_t> expected = plainInBlock(out.contents(), rows, to, step);
            StretchStrided32(
                {out.data(), to.width, to.height, step, out.size()},
                {src.data(), from.width, from.height, static_cast<ptrdiff_t>(from.width) * 4},
                mode);
            ASSERT_EQ(out.contents(), expected) << "mode " << mode;
        }
    });
}

TEST(StretchPacked32, AnOddHeightInAPairModeStaysInsideBothImages)
{
    Random random(24);
    forEachLevel([&random] {
        for (const int32_t mode : {STRETCH_PAIRS_NEAREST, STRETCH_PAIRS_LINEAR}) {
            for (const uint32_t height : {1u, 3u, 9u}) {
                for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
                    const Size from{12, 6};
                    const Pixels src(from, 4, guard, random);
                    const GuardedBuffer out(size_t{17} * height * 4, guard);
                    StretchPacked32(out.data(), 17, height, src.data(), 12, 6, mode);
                    // The row without an entry repeats the one above.
                    const size_t last = (height - 1) * size_t{17} * 4;
                    if (height > 1) {
                        EXPECT_EQ(std::memcmp(out.data() + last, out.data() + last - 68, 68), 0);
                    }
                }
            }
        }
    });
}

TEST(StretchPacked32, EmptySidesWriteNothing)
{
    uint8_t pixel[4] = {1, 2, 3, 4};
    for (const int32_t mode : allModes) {
        StretchPacked32(nullptr, 0, 5, pixel, 1, 1, mode);
        StretchPacked32(nullptr, 5, 0, pixel, 1, 1, mode);
        StretchPlane8(nullptr, 0, 5, 0, pixel, 1, 1, 4, mode);
        StretchPlane8(nullptr, 5, 0, 8, pixel, 1, 1, 4, mode);
    }
}

// AddressSanitizer needs more address space than a limit would leave.
#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__)

// An emulator that runs single programs may leave such limits to itself.
static bool limitsOfMemoryAreKept()
{
    rlimit before{};
    getrlimit(RLIMIT_AS, &before);
    const rlim_t much = std::min(rlim_t{1} << (sizeof(rlim_t) * 8 - 4), before.rlim_max - 1);
    const rlimit high{much, before.rlim_max};
    rlimit after{};
    setrlimit(RLIMIT_AS, &high);
    getrlimit(RLIMIT_AS, &after);
    setrlimit(RLIMIT_AS, &before);
    return after.rlim_cur == high.rlim_cur;
}

TEST(StretchPacked32, WithoutMemoryNothingIsWritten)
{
    if (!limitsOfMemoryAreKept())
        GTEST_SKIP() << "this system keeps to no limit of the address space";
    const auto stretchInLittleMemory = [] {
        const rlimit limit{1u << 30, 1u << 30};
        setrlimit(RLIMIT_AS, &limit);
        constexpr uint32_t huge = 1u << 29;
        const uint8_t src[4] = {9, 9, 9, 9};
        uint8_t out[4] = {1, 2, 3, 4};
        for (const int32_t mode : allModes) {
            StretchPacked32(out, huge, 1, src, 1, 1, mode);
            StretchPlane8(out, huge, 1, 4, src, 1, 1, 4, mode);
        }
        std::exit(out[0] == 1 && out[3] == 4 ? 7 : 8);
    };
    EXPECT_EXIT(stretchInLittleMemory(), testing::ExitedWithCode(7), "");
}
#endif

// --- Tables of the caller's own ------------------------------------------------------

TEST(OwnStretch32, HoldsPositionsPastTheSourceInside)
{
    forEachLevel([] {
        Random random(25);
        const Pixels src({3, 2}, 4, Guard::afterEnd, random);
        const GuardedBuffer out(10 * 3 * 4);
        for (const uint32_t lines : {0u, 2u}) {
            const quib::StretchTables tables(10, 3, lines);
            ASSERT_TRUE(tables.exist());
            for (uint32_t i = 0; i < 10; ++i) {
                tables.x.idx0[i] = i / 2;
                if (lines) {
                    tables.x.idx1[i] = i / 2 < 2 ? i / 2 + 1 : i / 2;
                    tables.x.weight[i] = 0x40404040u;
                }
            }
            for (uint32_t i = 0; i < 3; ++i) {
                tables.y.idx0[i] = i;
                if (lines) {
                    tables.y.idx1[i] = i + 1;
                    tables.y.weight[i] = 0;
                }
            }
            quib::ownStretch32({out.data(), 10, 3, 40}, {src.data(), 3, 2, 12}, tables);
            // The last six columns are the source's last one, the last row its
            // last one.
            for (size_t x = 4; x < 10; ++x)
                EXPECT_EQ(std::memcmp(out.data() + 80 + x * 4, src.data() + 20, 4), 0);
        }
    });
}

TEST(OwnStretch32, RepeatsEdgePixelsOnBothSides)
{
    forEachLevel([] {
        Random random(26);
        const Pixels src({2, 1}, 4, Guard::afterEnd, random);
        const GuardedBuffer out(6 * 4);
        const quib::StretchTables tables(6, 1, 2);
        ASSERT_TRUE(tables.exist());
        const uint32_t first[6] = {0, 0, 0, 1, 1, 1};
        const uint32_t second[6] = {0, 0, 1, 1, 1, 1};
        for (uint32_t i = 0; i < 6; ++i) {
            tables.x.idx0[i] = first[i];
            tables.x.idx1[i] = second[i];
            tables.x.weight[i] = i == 2 ? 0x80808080u : 0;
        }
        tables.y.idx0[0] = tables.y.idx1[0] = 0;
        tables.y.weight[0] = 0x33333333u;
        quib::ownStretch32({out.data(), 6, 1, 24}, {src.data(), 2, 1, 8}, tables);
        for (size_t i = 0; i < 24; ++i) {
            const uint8_t a = src.data()[i % 4];
            const uint8_t b = src.data()[4 + i % 4];
            EXPECT_EQ(out.data()[i], i < 8 ? a : i < 12 ? lerp(a, b, 0x80) : b);
        }
    });
}
