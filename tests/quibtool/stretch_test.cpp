#include "quibtool/stretch.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#if defined(__linux__)
#include <sys/resource.h>
#endif

namespace
{

// --- Plain forms ---------------------------------------------------------------

struct Axis {
    std::vector<uint32_t> idx0;
    std::vector<uint32_t> idx1;
    std::vector<uint8_t> weight;
};

uint8_t weightOf(double t, int32_t mode)
{
    const double s = mode == 2 ? (3.0 - 2.0 * t) * t * t : t;
    const uint32_t k = static_cast<uint32_t>(s * 255.0 + 0.5);
    return static_cast<uint8_t>(255 - (k & 255));
}

// The table of one axis by the usual modes.
Axis plainAxis(uint32_t dstN, uint32_t srcN, int32_t mode)
{
    Axis axis;
    const double step = static_cast<double>(srcN) / dstN;
    double pos = 0.0;
    for (uint32_t i = 0; i < dstN; ++i) {
        const uint32_t whole = static_cast<uint32_t>(pos);
        axis.idx0.push_back(whole);
        axis.idx1.push_back(whole < srcN - 1 ? whole + 1 : whole);
        axis.weight.push_back(weightOf(pos - whole, mode));
        pos += step;
    }
    return axis;
}

// The table of row pairs; dstN is even.
Axis plainPairs(uint32_t dstN, uint32_t srcN)
{
    Axis axis;
    const double step = static_cast<double>(srcN) / dstN;
    double pos = 0.0;
    for (uint32_t k = 0; k < dstN / 2; ++k) {
        const uint32_t base = 2 * static_cast<uint32_t>(pos);
        for (const uint32_t row : {base, base + 1}) {
            axis.idx0.push_back(row);
            axis.idx1.push_back(row < srcN - 2 ? row + 2 : row);
            axis.weight.push_back(weightOf(pos - static_cast<uint32_t>(pos), 1));
        }
        pos += step;
    }
    return axis;
}

bool isPairMode(int32_t mode)
{
    return mode == STRETCH_PAIRS_NEAREST || mode == STRETCH_PAIRS_LINEAR;
}

bool isNearest(int32_t mode)
{
    return mode == STRETCH_NEAREST || mode == STRETCH_PAIRS_NEAREST;
}

uint8_t lerp(int32_t a, int32_t b, int32_t w)
{
    return static_cast<uint8_t>((b + (((a - b) * w) >> 8)) & 255);
}

struct Size {
    uint32_t width;
    uint32_t height;
};

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

std::vector<uint8_t> plainNearest8(const uint8_t* src, Size from, Size to)
{
    const Axis x = plainAxis(to.width, from.width, 0);
    const Axis y = plainAxis(to.height, from.height, 0);
    std::vector<uint8_t> out;
    for (uint32_t i = 0; i < to.height; ++i)
        for (uint32_t j = 0; j < to.width; ++j)
            out.push_back(src[y.idx0[i] * from.width + x.idx0[j]]);
    return out;
}

// The weighted 8-bit stretch, on a block of bytes: line A, line B, horizontal
// weights, first and second horizontal table.
class PlainWeighted8
{
public:
    PlainWeighted8(const uint8_t* pixels, Size source, Size target, int32_t mode)
        : src(pixels), from(source), to(target), y(plainAxis(to.height, from.height, mode)),
          block(to.width * 11)
    {
        const Axis x = plainAxis(to.width, from.width, mode);
        std::memcpy(&block[to.width * 2], x.weight.data(), to.width);
        std::memcpy(&block[to.width * 3], x.idx0.data(), to.width * 4);
        std::memcpy(&block[to.width * 7], x.idx1.data(), to.width * 4);
    }

    std::vector<uint8_t> run()
    {
        uint32_t heldA = 0xFFFFFFFFu;
        uint32_t heldB = 0xFFFFFFFFu;
        std::vector<uint8_t> out;
        for (uint32_t i = 0; i < to.height; ++i) {
            const uint32_t r0 = y.idx0[i];
            const uint32_t r1 = y.idx1[i];
            if (r0 == heldA) {
                if (r1 != heldB)
                    buildLine(1, r1);
                heldB = r1;
            } else if (r0 == heldB) {
                std::memmove(&block[0], &block[to.width], to.width * 4);
                heldA = r0;
                if (r1 != heldB)
                    buildLine(1, r1);
                heldB = r1;
            } else {
                buildLine(0, r0);
                buildLine(1, r1);
                heldA = r0;
                heldB = r1;
            }
            for (uint32_t j = 0; j < to.width; ++j)
                out.push_back(lerp(block[j], block[to.width + j], y.weight[i]));
        }
        return out;
    }

private:
    uint32_t indexAt(uint32_t offset, uint32_t j) const
    {
        uint32_t index = 0;
        std::memcpy(&index, &block[offset + j * 4], 4);
        return std::min(index, from.width - 1);
    }

    void buildLine(uint32_t line, uint32_t row)
    {
        const uint8_t* pixels = src + row * from.width;
        for (uint32_t j = 0; j < to.width; ++j) {
            const uint8_t a = pixels[indexAt(to.width * 3, j)];
            const uint8_t b = pixels[indexAt(to.width * 7, j)];
            const uint8_t w = block[to.width * 2 + j];
            block[line * to.width + j] = static_cast<uint8_t>((a - b) * w + b);
        }
    }

    const uint8_t* src;
    Size from;
    Size to;
    Axis y;
    std::vector<uint8_t> block;
};

// --- Running ---------------------------------------------------------------------

struct Tables {
    explicit Tables(uint32_t n) : idx0(n, 77), idx1(n, 77), weight(n, 77), weight8(n, 77) {}

    std::vector<uint32_t> idx0;
    std::vector<uint32_t> idx1;
    std::vector<uint32_t> weight;
    std::vector<uint8_t> weight8;
};

using Indices = std::vector<uint32_t>;

Tables build32(uint32_t dstN, uint32_t srcN, int32_t mode)
{
    Tables tables(dstN);
    BuildStretchTable32(dstN, srcN, tables.weight.data(), tables.idx0.data(), tables.idx1.data(),
                        mode);
    return tables;
}

Tables build8(uint32_t dstN, uint32_t srcN, int32_t mode)
{
    Tables tables(dstN);
    BuildStretchTable8(dstN, srcN, tables.weight8.data(), tables.idx0.data(), tables.idx1.data(),
                       mode);
    return tables;
}

// Random pixels that nothing may write to.
struct Pixels : GuardedBuffer {
    Pixels(Size size, uint32_t bytes, Guard guard, Random& random)
        : GuardedBuffer(size_t{size.width} * size.height * bytes, guard)
    {
        random.fill(data(), this->size());
        makeReadOnly();
    }
};

struct Job {
    Size from;
    Size to;
};

uint32_t randomSide(Random& random)
{
    return static_cast<uint32_t>(random.coin() ? random.between(1, 20) : random.between(1, 200));
}

// Sizes of every kind: any, whole multiples either way, equal on an axis, and
// extreme ratios.
std::vector<Job> jobs(Random& random)
{
    std::vector<Job> all = {{{1, 1}, {1, 1}},     {{1, 1}, {50, 20}},   {{50, 20}, {1, 1}},
                            {{3, 2}, {2000, 2}},  {{2000, 2}, {3, 4}},  {{2, 500}, {9, 2}},
                            {{2, 2}, {9, 600}},   {{64, 64}, {96, 96}}, {{64, 64}, {64, 64}},
                            {{96, 8}, {24, 2}},   {{97, 9}, {97, 18}},  {{40, 6}, {10, 6}},
                            {{40, 12}, {20, 18}}, {{41, 3}, {40, 2}},   {{2, 1}, {80, 2}}};
    for (int32_t i = 0; i < 40; ++i)
        all.push_back(
            {{randomSide(random), randomSide(random)}, {randomSide(random), randomSide(random)}});
    for (int32_t i = 0; i < 40; ++i) {
        const Size small{randomSide(random), static_cast<uint32_t>(random.between(1, 20))};
        const Size large{small.width * random.between(1, 9), small.height * random.between(1, 5)};
        all.push_back({large, small});
        all.push_back({small, large});
    }
    return all;
}

constexpr int32_t allModes[] = {0, 1, 2, STRETCH_PAIRS_NEAREST, STRETCH_PAIRS_LINEAR, 3, 5, -1};

} // namespace

// --- Tables ----------------------------------------------------------------------

TEST(BuildStretchTable, DoublingTakesHalfSteps)
{
    const Tables tables = build8(4, 2, STRETCH_LINEAR);
    EXPECT_EQ(tables.idx0, (Indices{0, 0, 1, 1}));
    EXPECT_EQ(tables.idx1, (Indices{1, 1, 1, 1}));
    EXPECT_EQ(tables.weight8, (std::vector<uint8_t>{255, 127, 255, 127}));
}

TEST(BuildStretchTable, WordWeightsHoldTheByteFourTimes)
{
    const Tables tables = build32(4, 2, STRETCH_LINEAR);
    EXPECT_EQ(tables.weight, (Indices{0xFFFFFFFFu, 0x7F7F7F7Fu, 0xFFFFFFFFu, 0x7F7F7F7Fu}));
}

TEST(BuildStretchTable, SmoothFollowsTheSmoothstepCurve)
{
    const Tables linear = build8(4, 1, STRETCH_LINEAR);
    const Tables smooth = build8(4, 1, STRETCH_SMOOTH);
    // t is 0, 0.25, 0.5, 0.75; the curve gives 0, 0.15625, 0.5, 0.84375.
    EXPECT_EQ(linear.weight8, (std::vector<uint8_t>{255, 191, 127, 64}));
    EXPECT_EQ(smooth.weight8, (std::vector<uint8_t>{255, 215, 127, 40}));
}

TEST(BuildStretchTable, NearestFillsFirstPositionsAlone)
{
    Indices idx0(5);
    BuildStretchTable8(5, 3, nullptr, idx0.data(), nullptr, STRETCH_NEAREST);
    EXPECT_EQ(idx0, (Indices{0, 0, 1, 1, 2}));
    BuildStretchTable32(5, 10, nullptr, idx0.data(), nullptr, STRETCH_NEAREST);
    EXPECT_EQ(idx0, (Indices{0, 2, 4, 6, 8}));
}

TEST(BuildStretchTable, PositionsAddUpAndAreNotMultiplied)
{
    // Ten additions of 0.1 stay below 1.
    const Tables tables = build8(100, 10, STRETCH_LINEAR);
    EXPECT_EQ(tables.idx0[10], 0u);
    EXPECT_EQ(tables.weight8[10], 0);
    EXPECT_EQ(tables.idx0[11], 1u);
}

TEST(BuildStretchTable, OneInputIsEveryPosition)
{
    for (const int32_t mode : {STRETCH_LINEAR, STRETCH_SMOOTH}) {
        const Tables tables = build32(7, 1, mode);
        EXPECT_EQ(tables.idx0, Indices(7, 0));
        EXPECT_EQ(tables.idx1, Indices(7, 0));
    }
}

TEST(BuildStretchTable, EqualSizesWeighTheFirstPositionWith255)
{
    const Tables tables = build8(4, 4, STRETCH_LINEAR);
    EXPECT_EQ(tables.idx0, (Indices{0, 1, 2, 3}));
    EXPECT_EQ(tables.idx1, (Indices{1, 2, 3, 3}));
    EXPECT_EQ(tables.weight8, std::vector<uint8_t>(4, 255));
}

TEST(BuildStretchTable, NearestPairsAdvanceByPairs)
{
    const Tables same = build32(6, 6, STRETCH_PAIRS_NEAREST);
    EXPECT_EQ(same.idx0, (Indices{0, 1, 2, 3, 4, 5}));
    const Tables half = build32(4, 8, STRETCH_PAIRS_NEAREST);
    EXPECT_EQ(half.idx0, (Indices{0, 1, 4, 5}));
}

TEST(BuildStretchTable, NearestPairsOfAnOddSourceAskForARowPastIt)
{
    const Tables tables = build32(6, 3, STRETCH_PAIRS_NEAREST);
    EXPECT_EQ(tables.idx0, (Indices{0, 1, 0, 1, 2, 3}));
}

TEST(BuildStretchTable, LinearPairsTakeTheNextRowOfTheSameParity)
{
    const Tables tables = build32(8, 4, STRETCH_PAIRS_LINEAR);
    EXPECT_EQ(tables.idx0, (Indices{0, 1, 0, 1, 2, 3, 2, 3}));
    EXPECT_EQ(tables.idx1, (Indices{2, 3, 2, 3, 2, 3, 2, 3}));
    EXPECT_EQ(tables.weight[0], 0xFFFFFFFFu);
    EXPECT_EQ(tables.weight[1], 0xFFFFFFFFu);
    EXPECT_EQ(tables.weight[2], 0x7F7F7F7Fu);
    EXPECT_EQ(tables.weight[3], 0x7F7F7F7Fu);
}

TEST(BuildStretchTable, LinearPairsOfOneRowWrapInTheComparison)
{
    const Tables tables = build32(2, 1, STRETCH_PAIRS_LINEAR);
    EXPECT_EQ(tables.idx0, (Indices{0, 1}));
    EXPECT_EQ(tables.idx1, (Indices{2, 3}));
}

TEST(BuildStretchTable, PairModesLeaveTheLastEntryOfAnOddSizeUnset)
{
    const Tables nearest = build32(5, 10, STRETCH_PAIRS_NEAREST);
    EXPECT_EQ(nearest.idx0, (Indices{0, 1, 4, 5, 77}));
    const Tables linear = build32(5, 10, STRETCH_PAIRS_LINEAR);
    EXPECT_EQ(linear.idx0[4], 77u);
    EXPECT_EQ(linear.idx1[4], 77u);
    EXPECT_EQ(linear.weight[4], 77u);
}

TEST(BuildStretchTable, ByteTablesTakePairModesForLinear)
{
    const Tables linear = build8(9, 4, STRETCH_LINEAR);
    for (const int32_t mode : {STRETCH_PAIRS_NEAREST, STRETCH_PAIRS_LINEAR, 5, 3, -1}) {
        const Tables tables = build8(9, 4, mode);
        EXPECT_EQ(tables.idx0, linear.idx0);
        EXPECT_EQ(tables.idx1, linear.idx1);
        EXPECT_EQ(tables.weight8, linear.weight8);
    }
}

TEST(BuildStretchTable, FollowsThePlainFormForAllSizes)
{
    Random random(3);
    for (int32_t round = 0; round < 400; ++round) {
        const uint32_t dstN = randomSide(random);
        const uint32_t srcN = randomSide(random);
        SCOPED_TRACE(testing::Message() << srcN << " to " << dstN);
        for (const int32_t mode : {1, 2, 5}) {
            const Axis expected = plainAxis(dstN, srcN, mode);
            const Tables bytes = build8(dstN, srcN, mode);
            const Tables words = build32(dstN, srcN, mode);
            ASSERT_EQ(bytes.idx0, expected.idx0);
            ASSERT_EQ(bytes.idx1, expected.idx1);
            ASSERT_EQ(bytes.weight8, expected.weight);
            ASSERT_EQ(words.idx0, expected.idx0);
            ASSERT_EQ(words.idx1, expected.idx1);
            for (uint32_t i = 0; i < dstN; ++i)
                ASSERT_EQ(words.weight[i], expected.weight[i] * 0x01010101u);
        }
    }
}

// --- Four-byte pixels --------------------------------------------------------------

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
        for (const Job& job : jobs(random)) {
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
TEST(StretchPacked32, WithoutMemoryNothingIsWritten)
{
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
            const StretchTables tables(10, 3, lines);
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
            ownStretch32({out.data(), 10, 3, 40}, {src.data(), 3, 2, 12}, tables);
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
        const StretchTables tables(6, 1, 2);
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
        ownStretch32({out.data(), 6, 1, 24}, {src.data(), 2, 1, 8}, tables);
        for (size_t i = 0; i < 24; ++i) {
            const uint8_t a = src.data()[i % 4];
            const uint8_t b = src.data()[4 + i % 4];
            EXPECT_EQ(out.data()[i], i < 8 ? a : i < 12 ? lerp(a, b, 0x80) : b);
        }
    });
}

// --- One-byte pixels -----------------------------------------------------------------

TEST(StretchPlane8, NearestFollowsThePlainForm)
{
    forEachLevel([] {
        Random random(31);
        for (const Job& job : jobs(random)) {
            for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
                const Pixels src(job.from, 1, guard, random);
                const GuardedBuffer out(size_t{job.to.width} * job.to.height, guard);
                StretchPlane8(out.data(), job.to.width, job.to.height, job.to.width, src.data(),
                              job.from.width, job.from.height, job.from.width, STRETCH_NEAREST);
                ASSERT_EQ(out.contents(), plainNearest8(src.data(), job.from, job.to))
                    << job.from.width << " x " << job.from.height << " to " << job.to.width << " x "
                    << job.to.height;
            }
        }
    });
}

TEST(StretchPlane8, WeightedFollowsThePlainForm)
{
    forEachLevel([] {
        Random random(32);
        for (const Job& job : jobs(random)) {
            for (const int32_t mode : {1, 2, 5, STRETCH_PAIRS_NEAREST, STRETCH_PAIRS_LINEAR}) {
                for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
                    const Pixels src(job.from, 1, guard, random);
                    const GuardedBuffer out(size_t{job.to.width} * job.to.height, guard);
                    StretchPlane8(out.data(), job.to.width, job.to.height, job.to.width, src.data(),
                                  job.from.width, job.from.height, job.from.width, mode);
                    ASSERT_EQ(out.contents(),
                              PlainWeighted8(src.data(), job.from, job.to, mode).run())
                        << job.from.width << " x " << job.from.height << " to " << job.to.width
                        << " x " << job.to.height << " in mode " << mode;
                }
            }
        }
    });
}

TEST(StretchPlane8, KeepsToItsRows)
{
    Random random(33);
    for (const int32_t mode : {0, 1}) {
        const GuardedBuffer src(13 * 4 + 10);
        random.fill(src.data(), src.size());
        const GuardedBuffer out(25 * 6 + 21);
        StretchPlane8(out.data(), 21, 7, 25, src.data(), 10, 5, 13, mode);
        for (size_t y = 0; y < 6; ++y)
            for (size_t x = 21; x < 25; ++x)
                EXPECT_EQ(out.data()[y * 25 + x], 0xA5);
    }
}

TEST(LerpRowByTable8, WrapsInsteadOfScaling)
{
    const uint8_t row[2] = {10, 7};
    const uint32_t idx0[4] = {0, 0, 1, 1};
    const uint32_t idx1[4] = {1, 1, 1, 0};
    const uint8_t weight[4] = {255, 3, 200, 2};
    uint8_t out[4] = {};
    LerpRowByTable8(out, row, idx0, idx1, weight, 4);
    EXPECT_EQ(out[0], (3 * 255 + 7) & 255);
    EXPECT_EQ(out[1], 16);
    EXPECT_EQ(out[2], 7);
    EXPECT_EQ(out[3], 4);
}

TEST(LerpRows8, RoundsTowardMinusInfinity)
{
    const uint8_t a[3] = {255, 0, 10};
    const uint8_t b[3] = {0, 255, 11};
    const uint8_t weight = 255;
    uint8_t out[3] = {};
    LerpRows8(out, a, b, &weight, 3);
    EXPECT_EQ(out[0], 254);
    EXPECT_EQ(out[1], 0);
    EXPECT_EQ(out[2], 10);
}

TEST(GatherRow8, PicksTheIndexedBytes)
{
    const uint8_t row[4] = {5, 6, 7, 8};
    const uint32_t idx0[6] = {0, 0, 1, 2, 2, 3};
    uint8_t out[6] = {};
    GatherRow8(out, row, idx0, 6);
    EXPECT_EQ(std::vector<uint8_t>(out, out + 6), (std::vector<uint8_t>{5, 5, 6, 7, 7, 8}));
}
