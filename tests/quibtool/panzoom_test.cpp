#include "quibtool/panzoom.h"

#include "quibtool/handle.h"

#include "tests/support/bad_handles.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_image.h"
#include "tests/support/images.h"
#include "tests/support/levels.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

// A view in the order of the arguments.
struct View {
    double srcX, stepX, srcY, stepY;
    double left, right, top, bottom;
};

std::ostream& operator<<(std::ostream& out, const View& v)
{
    out.precision(17);
    return out << v.srcX << " " << v.stepX << " " << v.srcY << " " << v.stepY << ", " << v.left
               << " " << v.right << " " << v.top << " " << v.bottom;
}

QuibStatus panZoom(IplImage* src, const View& v, IplImage* dst, int32_t mode)
{
    return QuibBlt_PANZOOM(src, v.srcX, v.stepX, v.srcY, v.stepY, dst, v.left, v.right, v.top,
                           v.bottom, mode);
}

// A whole-image view of `dst` that starts at the source's corner.
View wholeView(const IplImage* dst, double stepX, double stepY)
{
    return {0.0, stepX,
            0.0, stepY,
            0.0, static_cast<double>(dst->width),
            0.0, static_cast<double>(dst->height)};
}

// --- The plain form ----------------------------------------------------------------

// One axis of a view: the rectangles' edges on it and where its samples start.
struct PlainAxis {
    bool refused;
    int32_t dstFrom, dstSize; // the clipped edge, the unclipped size
    int32_t srcFrom, srcSize; // clipped
    double start;
};

PlainAxis plainAxis(double src, double step, double low, double high, int32_t srcLimit,
                    int32_t dstLimit)
{
    PlainAxis axis{};
    const double span = high - low;
    const int32_t dstLow = static_cast<int32_t>(low);
    const int32_t dstHigh = static_cast<int32_t>(high);
    const double shifted = src - (low - dstLow) * step;
    const int32_t srcLow = static_cast<int32_t>(shifted);
    const int32_t srcHigh = static_cast<int32_t>(src + step * span);
    axis.dstSize = dstHigh - dstLow;
    axis.dstFrom = std::max(dstLow, 0);
    axis.srcFrom = std::max(srcLow, 0);
    axis.srcSize = std::min(srcHigh, srcLimit) - axis.srcFrom;
    axis.start = shifted - srcLow;
    axis.refused = !(step * span > 1.0) || !(span > 1.0) || srcHigh - srcLow <= 0 ||
                   axis.dstSize <= 0 || axis.srcSize <= 0 ||
                   std::min(dstHigh, dstLimit) <= axis.dstFrom;
    return axis;
}

struct PlainSample {
    int32_t first, second, weight;
};

std::vector<PlainSample> plainSamples(const PlainAxis& axis, double step, int32_t mode)
{
    std::vector<PlainSample> samples;
    double position = axis.start;
    const int32_t last = axis.srcSize - 1;
    for (int32_t i = 0; i < axis.dstSize; ++i, position += step) {
        if (position < 0.0) {
            samples.push_back({0, 0, 0});
        } else if (position >= last) {
            samples.push_back({last, last, 0});
        } else {
            const int32_t index = static_cast<int32_t>(position);
            const double t = position - index;
            const double s = mode == 2 ? (3.0 - 2.0 * t) * t * t : t;
            samples.push_back({index, index + 1, 255 - static_cast<int32_t>(s * 255.0 + 0.5)});
        }
    }
    return samples;
}

int32_t lerp(int32_t a, int32_t b, int32_t w)
{
    return (b + (((a - b) * w) >> 8)) & 255;
}

// The destination's whole block after the call. Nothing is written outside it.
// In one image that is both sides the weighted modes read all that a row needs
// before they write it, and mode 0 reads and writes pixel after pixel.
std::vector<uint8_t> plainView(const IplImage* src, const View& v, const IplImage* dst,
                               int32_t mode, bool* refused)
{
    const PlainAxis x = plainAxis(v.srcX, v.stepX, v.left, v.right, src->width, dst->width);
    const PlainAxis y = plainAxis(v.srcY, v.stepY, v.top, v.bottom, src->height, dst->height);
    std::vector<uint8_t> result = bytesOf(dst);
    *refused = x.refused || y.refused;
    if (*refused)
        return result;
    const std::vector<PlainSample> columns = plainSamples(x, v.stepX, mode);
    const std::vector<PlainSample> rows = plainSamples(y, v.stepY, mode);
    const std::vector<uint8_t> apart = bytesOf(src);
    const std::vector<uint8_t>& source = src == dst ? result : apart;
    const auto at = [&](int32_t row, int32_t column, int32_t c) -> int32_t {
        return source[static_cast<size_t>((y.srcFrom + row) * src->widthStep +
                                          (x.srcFrom + column) * 4 + c)];
    };
    const auto blended = [&](const PlainSample& row, const PlainSample& column, int32_t c) {
        const int32_t a =
            lerp(at(row.first, column.first, c), at(row.first, column.second, c), column.weight);
        const int32_t b =
            lerp(at(row.second, column.first, c), at(row.second, column.second, c), column.weight);
        return lerp(a, b, row.weight);
    };
    for (size_t j = 0; j < rows.size(); ++j) {
        const size_t start =
            (static_cast<size_t>(y.dstFrom) + j) * static_cast<size_t>(dst->widthStep) +
            static_cast<size_t>(x.dstFrom) * 4;
        std::vector<uint8_t> line(columns.size() * 4);
        for (size_t i = 0; i < line.size() && start + i < result.size(); ++i) {
            const PlainSample& column = columns[i / 4];
            const int32_t c = static_cast<int32_t>(i % 4);
            line[i] = static_cast<uint8_t>(mode == 0 ? at(rows[j].first, column.first, c)
                                                     : blended(rows[j], column, c));
            if (mode == 0)
                result[start + i] = line[i];
        }
        for (size_t i = 0; i < line.size() && start + i < result.size(); ++i)
            result[start + i] = line[i];
    }
    return result;
}

// Expects the call to do what the plain form does, and the source to stay.
void expectPlainView(IplImage* src, const View& view, IplImage* dst, int32_t mode)
{
    bool refused = false;
    const std::vector<uint8_t> source = bytesOf(src);
    const std::vector<uint8_t> expected = plainView(src, view, dst, mode, &refused);
    ASSERT_EQ(panZoom(src, view, dst, mode), refused ? QUIB_BAD_ARGUMENT : QUIB_OK)
        << view << ", mode " << mode;
    ASSERT_EQ(bytesOf(dst), expected) << src->width << " x " << src->height << " to " << dst->width
                                      << " x " << dst->height << ": " << view << ", mode " << mode;
    ASSERT_EQ(bytesOf(src), source);
}

double fraction(Random& random)
{
    return random.between(0, 1 << 20) / static_cast<double>(1 << 20);
}

// A view whose both rectangles meet their images and may hang over any side.
View randomView(const IplImage* src, const IplImage* dst, Random& random)
{
    View v{};
    v.stepX = 0.05 + 3.0 * fraction(random);
    v.stepY = 0.05 + 3.0 * fraction(random);
    v.srcX = random.between(-12, src->width) + fraction(random);
    v.srcY = random.between(-8, src->height) + fraction(random);
    v.left = random.between(-10, dst->width) + fraction(random);
    v.top = random.between(-6, dst->height) + fraction(random);
    v.right = v.left + random.between(1, dst->width + 10) + fraction(random);
    v.bottom = v.top + random.between(1, dst->height + 6) + fraction(random);
    return v;
}

} // namespace

// --- Refusals -----------------------------------------------------------------------

TEST(QuibBltPanZoom, RefusesABadHandleWithTheText)
{
    const Image good = makeHandle(4, 4, 32);
    const View view{0, 1, 0, 1, 0, 4, 0, 4};
    EXPECT_BAD_HANDLE(panZoom(nullptr, view, good.get(), 0));
    EXPECT_BAD_HANDLE(panZoom(good.get(), view, nullptr, 0));
}

TEST(QuibBltPanZoom, PassesOnTheImageChecksBeforeItLooksAtTheView)
{
    const CleanStatus clean;
    Image src = makeHandle(4, 4, 32);
    Image dst = makeHandle(4, 4, 32);
    const View empty{0, 1, 0, 1, 0, 0, 0, 0};
    dst->height = 0;
    EXPECT_EQ(panZoom(src.get(), empty, dst.get(), 0), -10);
    src->align = 5;
    EXPECT_EQ(panZoom(src.get(), empty, dst.get(), 0), -21);
}

TEST(QuibBltPanZoom, RefusesASpanOfOnePixelOrLessOfEitherImage)
{
    Random random(1);
    const Image src = makeRandomHandle(8, 8, 32, random);
    const Image dst = makeHandle(8, 8, 32);
    quibLastError[0] = 0;
    for (const View& bad : {
             View{0, 1, 0, 1, 0, 1, 0, 4},         // exactly one column
             View{0, 1, 0, 1, 0, 4, 2, 3},         // exactly one row
             View{0, 0.25, 0, 1, 0, 4, 0, 4},      // exactly one column of the source
             View{0, 1, 0, 0.25, 0, 4, 0, 4},      // exactly one row of the source
             View{0, 4, 0, 1, 0, 0.5, 0, 4},       // half a column that shows two
             View{0, 1, 0, 1, 4, 0, 0, 4},         // from right to left
             View{4, -1, 0, 1, 0, 4, 0, 4},        // a source that runs backwards
             View{4, -1, 0, 1, 4, 0, 0, 4},        // both
             View{0, 1, 0, 1, 0, notANumber, 0, 4} //
         }) {
        EXPECT_EQ(panZoom(src.get(), bad, dst.get(), 1), QUIB_BAD_ARGUMENT) << bad;
    }
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(8 * 8 * 4, 0));
    EXPECT_EQ(quibLastError[0], 0);
    EXPECT_EQ(panZoom(src.get(), {0, 1, 0, 1, 0, 1.0625, 0, 4}, dst.get(), 1), QUIB_OK);
}

TEST(QuibBltPanZoom, TakesASpanJustAboveOnePixelOfEitherImage)
{
    Random random(20);
    const Image src = makeRandomHandle(8, 8, 32, random);
    const double justAbove = std::nextafter(1.0, 2.0);
    for (const View& view : {
             View{0, 1, 0, 1, 0, justAbove, 0, 4},     // one column
             View{0, 1, 0, 1, 0, 4, 0, justAbove},     // one row
             View{0, justAbove / 4, 0, 1, 0, 4, 0, 4}, // one column of the source
             View{0, 1, 0, justAbove / 4, 0, 4, 0, 4}  // one row of the source
         }) {
        const Image dst = makeHandle(8, 8, 32);
        EXPECT_EQ(panZoom(src.get(), view, dst.get(), 0), QUIB_OK) << view;
        EXPECT_EQ(rowOf(dst.get(), 0)[0], rowOf(src.get(), 0)[0]);
    }
}

TEST(QuibBltPanZoom, KeepsRegionsHeldBeforeWhenItRefuses)
{
    const CleanStatus clean;
    const View good{0, 0.5, 0, 0.5, 0, 6, 0, 6};
    const View narrow{0, 1, 0, 1, 0, 1, 0, 4};
    const View missing{20, 0.5, 0, 0.5, 0, 6, 0, 6};
    for (const int32_t bitDepth : {8, 32}) {
        const Image src = makeHandle(6, 6, bitDepth);
        const Image dst = makeHandle(6, 6, bitDepth);
        setRoi(src.get(), 0, 1, 1, 2, 2);
        setRoi(dst.get(), 0, 2, 2, 2, 2);
        const IplROI* const held[] = {src->roi, dst->roi};
        EXPECT_EQ(panZoom(src.get(), narrow, dst.get(), 0), QUIB_BAD_ARGUMENT);
        EXPECT_EQ(panZoom(src.get(), missing, dst.get(), 0), QUIB_BAD_ARGUMENT);
        dst->align = 5;
        EXPECT_EQ(panZoom(src.get(), good, dst.get(), 0), -21);
        EXPECT_EQ(src->roi, held[0]);
        EXPECT_EQ(dst->roi, held[1]);
    }
}

TEST(QuibBltPanZoom, RefusesEdgesThatFallTogetherWhenTruncated)
{
    Random random(2);
    const Image src = makeRandomHandle(8, 8, 32, random);
    const Image dst = makeHandle(8, 8, 32);
    // Columns -0.75 to 0.75 and the source's columns alike truncate to none.
    EXPECT_EQ(panZoom(src.get(), {0, 1, 0, 1, -0.75, 0.75, 0, 4}, dst.get(), 1), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(panZoom(src.get(), {0, 1, 0, 1, 0, 4, -0.75, 0.75}, dst.get(), 1), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(panZoom(src.get(), {-0.625, 0.3125, 0, 1, 0, 4, 0, 4}, dst.get(), 1),
              QUIB_BAD_ARGUMENT);
    EXPECT_EQ(panZoom(src.get(), {0, 1, -0.625, 0.3125, 0, 4, 0, 4}, dst.get(), 1),
              QUIB_BAD_ARGUMENT);
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(8 * 8 * 4, 0));
}

TEST(QuibBltPanZoom, RefusesAViewThatMissesEitherImage)
{
    Random random(3);
    const Image src = makeRandomHandle(8, 8, 32, random);
    const Image dst = makeHandle(8, 8, 32);
    for (const View& bad : {View{8, 1, 0, 1, 0, 4, 0, 4}, View{0, 1, 8, 1, 0, 4, 0, 4},
                            View{-5, 1, 0, 1, 0, 4, 0, 4}, View{0, 1, -5, 1, 0, 4, 0, 4},
                            View{0, 1, 0, 1, 8, 12, 0, 4}, View{0, 1, 0, 1, 0, 4, 8, 12},
                            View{0, 1, 0, 1, -6, -2, 0, 4}, View{0, 1, 0, 1, 0, 4, -6, -2}}) {
        for (const int32_t mode : {0, 1, 2})
            EXPECT_EQ(panZoom(src.get(), bad, dst.get(), mode), QUIB_BAD_ARGUMENT) << bad;
    }
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(8 * 8 * 4, 0));
}

TEST(QuibBltPanZoom, RefusesWhatIsNoNumberAndSurvivesEveryExtreme)
{
    Random random(4);
    const Image src = makeRandomHandle(5, 4, 32, random);
    const GuardedHandle dst(6, 5, 32);
    const double extremes[] = {0.0,    1.0, 2.5,    -3.5,     1e10,      -1e10,     1e300,
                               -1e300, 4e9, 1e-300, infinity, -infinity, notANumber};
    const int32_t count = static_cast<int32_t>(std::size(extremes));
    int taken = 0;
    for (int round = 0; round < 20000; ++round) {
        double words[8];
        bool isNumber = true;
        for (double& word : words) {
            word = extremes[random.between(0, count - 1)];
            isNumber = isNumber && !std::isnan(word);
        }
        const View view{words[0], words[1], words[2], words[3],
                        words[4], words[5], words[6], words[7]};
        const QuibStatus status = panZoom(src.get(), view, dst.get(), random.between(0, 3));
        ASSERT_TRUE(status == QUIB_BAD_ARGUMENT || (isNumber && status == QUIB_OK)) << view;
        taken += status == QUIB_OK;
    }
    EXPECT_GT(taken, 10);
}

// --- Sampling --------------------------------------------------------------------------

TEST(QuibBltPanZoom, WeighsNeighboursEvenWhenEveryPositionIsWhole)
{
    const Image src = makeHandle(4, 3, 32);
    const Image dst = makeHandle(3, 2, 32);
    const uint8_t values[] = {255, 0, 200, 100};
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 4; ++x)
            std::memset(rowOf(src.get(), y) + x * 4, values[x], 4);
    EXPECT_EQ(panZoom(src.get(), wholeView(dst.get(), 1.0, 1.0), dst.get(), 1), QUIB_OK);
    // b + (((a - b) * 255) >> 8), and the last column of the three is clamped.
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 254);
    EXPECT_EQ(element(dst.get(), 1, 0, 0), 0);
    EXPECT_EQ(element(dst.get(), 2, 0, 0), 200);
}

TEST(QuibBltPanZoom, CopiesPixelsInModeNoughtAtWholePositions)
{
    Random random(5);
    const Image src = makeRandomHandle(7, 6, 32, random);
    const Image dst = makeHandle(5, 4, 32);
    EXPECT_EQ(panZoom(src.get(), {2, 1, 1, 1, 0, 5, 0, 4}, dst.get(), 0), QUIB_OK);
    for (int32_t y = 0; y < 4; ++y)
        EXPECT_EQ(std::memcmp(rowOf(dst.get(), y), rowOf(src.get(), y + 1) + 2 * 4, 5 * 4), 0);
}

TEST(QuibBltPanZoom, RepeatsTheLastColumnOfAViewThatRunsPastTheEdge)
{
    Random random(6);
    const GuardedHandle src(4, 3, 32);
    random.fill(src->imageData, static_cast<size_t>(src->imageSize));
    src.makeReadOnly();
    for (const int32_t mode : {0, 1, 2, 5}) {
        const Image dst = makeHandle(9, 8, 32);
        ASSERT_EQ(panZoom(src.get(), {2, 1, 1, 1, 0, 9, 0, 8}, dst.get(), mode), QUIB_OK);
        for (int32_t y = 1; y < 8; ++y)
            for (int32_t x = 1; x < 9; ++x)
                EXPECT_EQ(std::memcmp(rowOf(dst.get(), y) + x * 4, rowOf(src.get(), 2) + 3 * 4, 4),
                          0);
    }
}

TEST(QuibBltPanZoom, ClampsAtTheClippedRectangleNotAtTheImage)
{
    // The far edge of the source, 0.5 + 0.5 * 6.5, truncates to 3: the view
    // clamps there within a wider image.
    Random random(7);
    const Image src = makeRandomHandle(9, 9, 32, random);
    const Image dst = makeHandle(8, 8, 32);
    EXPECT_EQ(panZoom(src.get(), {0.5, 0.5, 0, 1, 0, 6.5, 0, 4}, dst.get(), 0), QUIB_OK);
    // Positions 0.5, 1, 1.5, 2, 2.5 and 3 over columns 0 to 2.
    const int32_t columns[] = {0, 1, 1, 2, 2, 2};
    for (int32_t x = 0; x < 6; ++x)
        EXPECT_EQ(std::memcmp(rowOf(dst.get(), 0) + x * 4, rowOf(src.get(), 0) + columns[x] * 4, 4),
                  0)
            << x;
}

TEST(QuibBltPanZoom, RepeatsTheFirstColumnUntilANegativeStartReachesIt)
{
    Random random(8);
    const Image src = makeRandomHandle(8, 8, 32, random);
    const Image dst = makeHandle(8, 4, 32);
    // -0.75 truncates to column 0; the positions are -0.75, -0.25, 0.25, ...
    const View view{-0.75, 0.5, 0, 1, 0, 8, 0, 4};
    EXPECT_EQ(panZoom(src.get(), view, dst.get(), 1), QUIB_OK);
    for (int32_t x = 0; x < 2; ++x)
        for (int32_t c = 0; c < 4; ++c)
            EXPECT_EQ(element(dst.get(), x, 3, c), element(src.get(), 0, 3, c)) << x;
    EXPECT_NE(std::memcmp(rowOf(dst.get(), 3) + 2 * 4, rowOf(src.get(), 3), 4), 0);
    expectPlainView(src.get(), view, dst.get(), 1);
}

TEST(QuibBltPanZoom, LosesTheColumnsOfAnOriginLeftOfTheSource)
{
    // -3.5 truncates to -3 and is clipped to 0, but the samples start at -0.5:
    // what lay at 3.5 columns from the left now lies at half a one.
    Random random(9);
    const Image src = makeRandomHandle(12, 4, 32, random);
    const Image dst = makeHandle(10, 3, 32);
    EXPECT_EQ(panZoom(src.get(), {-3.5, 1, 0, 1, 0, 10, 0, 3}, dst.get(), 0), QUIB_OK);
    // Positions -0.5, 0.5, 1.5, ... over the columns 0 to 5.
    const int32_t columns[] = {0, 0, 1, 2, 3, 4, 5, 5, 5, 5};
    for (int32_t x = 0; x < 10; ++x)
        EXPECT_EQ(std::memcmp(rowOf(dst.get(), 2) + x * 4, rowOf(src.get(), 2) + columns[x] * 4, 4),
                  0)
            << x;
}

TEST(QuibBltPanZoom, TakesTheFirstPixelForANegativeStartInModeNought)
{
    Random random(10);
    const GuardedHandle src(6, 6, 32, Guard::beforeStart);
    random.fill(src->imageData, static_cast<size_t>(src->imageSize));
    src.makeReadOnly();
    const Image dst = makeHandle(6, 6, 32);
    EXPECT_EQ(panZoom(src.get(), {-0.75, 0.5, -0.75, 0.5, 0, 6, 0, 6}, dst.get(), 0), QUIB_OK);
    for (int32_t x = 0; x < 2; ++x)
        EXPECT_EQ(std::memcmp(rowOf(dst.get(), 1) + x * 4, rowOf(src.get(), 0), 4), 0);
}

TEST(QuibBltPanZoom, MovesTheOriginWithTheTruncationOfTheDestination)
{
    Random random(11);
    const Image src = makeRandomHandle(12, 12, 32, random);
    for (const int32_t mode : {0, 1, 2}) {
        const Image dst = makeHandle(10, 10, 32);
        // The origin goes from 2 to 2 - 0.5 * 0.5 on both axes.
        expectPlainView(src.get(), {2, 0.5, 2, 0.5, 1.5, 8.5, 1.5, 8.5}, dst.get(), mode);
        const Image same = makeHandle(10, 10, 32);
        EXPECT_EQ(panZoom(src.get(), {1.75, 0.5, 1.75, 0.5, 1, 8.5, 1, 8.5}, same.get(), mode),
                  QUIB_OK);
        EXPECT_EQ(bytesOf(dst.get()), bytesOf(same.get()));
    }
}

TEST(QuibBltPanZoom, TruncatesNegativeEdgesTowardZero)
{
    Random random(12);
    const Image src = makeRandomHandle(12, 12, 32, random);
    const Image dst = makeHandle(10, 10, 32);
    // -1.5 becomes -1, and the origin grows by half a step.
    expectPlainView(src.get(), {3, 0.75, 3, 0.75, -1.5, 8, -1.5, 8}, dst.get(), 1);
    bool refused = true;
    const Image blank = makeHandle(10, 10, 32);
    plainView(src.get(), {3, 0.75, 3, 0.75, -1.5, 8, -1.5, 8}, blank.get(), 1, &refused);
    EXPECT_FALSE(refused);
}

TEST(QuibBltPanZoom, GivesLinearForEveryOtherMode)
{
    Random random(13);
    const Image src = makeRandomHandle(9, 7, 32, random);
    const Image linear = makeHandle(14, 11, 32);
    const View view{0.375, 0.5625, 0.25, 0.53125, 0, 14, 0, 11};
    EXPECT_EQ(panZoom(src.get(), view, linear.get(), 1), QUIB_OK);
    for (const int32_t mode : {3, 5, 16, 28672, 28673, -1, INT32_MIN, INT32_MAX}) {
        const Image dst = makeHandle(14, 11, 32);
        EXPECT_EQ(panZoom(src.get(), view, dst.get(), mode), QUIB_OK);
        EXPECT_EQ(bytesOf(dst.get()), bytesOf(linear.get())) << mode;
    }
}

TEST(QuibBltPanZoom, MatchesThePlainFormForRandomViews)
{
    forEachLevel([] {
        Random random(14);
        for (int round = 0; round < 1500; ++round) {
            const Image src = makeRandomHandleUpTo(40, 14, 32, random);
            const Image dst = makeRandomHandleUpTo(60, 14, 32, random);
            ASSERT_NO_FATAL_FAILURE(expectPlainView(src.get(),
                                                    randomView(src.get(), dst.get(), random),
                                                    dst.get(), random.between(0, 3)));
        }
    });
}

TEST(QuibBltPanZoom, MatchesThePlainFormForViewsThatGrowAndShrink)
{
    forEachLevel([] {
        Random random(15);
        const Image src = makeRandomHandle(101, 57, 32, random);
        for (const double step :
             {0.03, 0.2, 0.49, 0.5, 0.83333, 0.999, 1.0, 1.001, 1.5, 2.0, 3.7}) {
            for (const int32_t mode : {0, 1, 2}) {
                const Image dst = makeRandomHandle(131, 43, 32, random);
                View view = wholeView(dst.get(), step, step * 1.1);
                view.srcX = fraction(random);
                view.srcY = fraction(random);
                ASSERT_NO_FATAL_FAILURE(expectPlainView(src.get(), view, dst.get(), mode));
            }
        }
    });
}

TEST(QuibBltPanZoom, SumsThePositionsUpOneByOne)
{
    // After 4000 additions 0.1 is off by far more than its own rounding, which
    // moves whole samples.
    Random random(16);
    const Image src = makeRandomHandle(401, 2, 32, random);
    const Image dst = makeHandle(4000, 2, 32);
    for (const int32_t mode : {0, 1, 2})
        expectPlainView(src.get(), {0, 0.1, 0, 0.6, 0, 4000, 0, 2}, dst.get(), mode);
}

TEST(QuibBltPanZoom, StaysInsideBothBlocks)
{
    forEachLevel([] {
        for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
            Random random(17);
            for (int32_t width = 1; width < 50; ++width) {
                const GuardedHandle src(width, 4, 32, guard);
                const GuardedHandle dst(51 - width, 5, 32, guard);
                random.fill(src->imageData, static_cast<size_t>(src->imageSize));
                src.makeReadOnly();
                for (int round = 0; round < 40; ++round) {
                    const View view = randomView(src.get(), dst.get(), random);
                    ASSERT_NO_FATAL_FAILURE(
                        expectPlainView(src.get(), view, dst.get(), random.between(0, 3)));
                }
                View whole = wholeView(dst.get(), width / (51.0 - width), 4 / 5.0);
                ASSERT_NO_FATAL_FAILURE(expectPlainView(src.get(), whole, dst.get(), 1));
                // A destination that reaches past its own end.
                whole.right = 1e9;
                whole.bottom = 1e9;
                EXPECT_EQ(panZoom(src.get(), whole, dst.get(), 1), QUIB_OK);
                EXPECT_EQ(panZoom(src.get(), whole, dst.get(), 0), QUIB_OK);
            }
        }
    });
}

TEST(QuibBltPanZoom, MovesAViewWithinOneHandleRowByRow)
{
    forEachLevel([] {
        Random random(20);
        for (int round = 0; round < 300; ++round) {
            const Image handle =
                makeRandomHandle(random.between(2, 40), random.between(2, 9), 32, random);
            const View view = randomView(handle.get(), handle.get(), random);
            const int32_t mode = random.between(0, 3);
            bool refused = false;
            const std::vector<uint8_t> expected =
                plainView(handle.get(), view, handle.get(), mode, &refused);
            ASSERT_EQ(panZoom(handle.get(), view, handle.get(), mode),
                      refused ? QUIB_BAD_ARGUMENT : QUIB_OK);
            ASSERT_EQ(bytesOf(handle.get()), expected) << view << ", mode " << mode;
        }
    });
}

TEST(QuibBltPanZoom, KeepsARegionHeldBeforeWithFourChannels)
{
    const Image src = makeHandle(6, 6, 32);
    const Image dst = makeHandle(6, 6, 32);
    setRoi(src.get(), 0, 1, 1, 2, 2);
    setRoi(dst.get(), 0, 2, 2, 2, 2);
    const IplROI* held[] = {src->roi, dst->roi};
    EXPECT_EQ(panZoom(src.get(), wholeView(dst.get(), 1, 1), dst.get(), 1), QUIB_OK);
    EXPECT_EQ(src->roi, held[0]);
    EXPECT_EQ(dst->roi, held[1]);
}

TEST(QuibBltPanZoom, DrawsNothingWhenMemoryForItsTablesRunsOut)
{
    Random random(21);
    const Image src = makeRandomHandle(6, 6, 32, random);
    const Image dst = makeHandle(6, 6, 32);
    for (const int32_t mode : {0, 1}) {
        const FailingAllocation failing;
        EXPECT_EQ(panZoom(src.get(), {0, 0.5, 0, 0.5, 0, 6, 0, 6}, dst.get(), mode), QUIB_FAILED);
        EXPECT_EQ(failing.asked(), 1);
    }
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(6 * 6 * 4, 0));
}

// --- Through the engine ------------------------------------------------------------------

TEST(QuibBltPanZoom, ScalesOtherDepthsThroughTheEngineWithoutThePhase)
{
    Random random(18);
    int taken = 0;
    for (int round = 0; round < 600; ++round) {
        const int32_t depths[] = {1, 8, 24};
        const int32_t bitDepth = depths[random.between(0, 2)];
        const int32_t mode = random.between(0, 2);
        const Image src = makeRandomHandleUpTo(30, 16, bitDepth, random);
        const Image dst = makeRandomHandleUpTo(30, 16, bitDepth, random);
        const View v = randomView(src.get(), dst.get(), random);
        const PlainAxis x = plainAxis(v.srcX, v.stepX, v.left, v.right, src->width, dst->width);
        const PlainAxis y = plainAxis(v.srcY, v.stepY, v.top, v.bottom, src->height, dst->height);
        const Image expected(iplCloneImage(dst.get()));
        const bool refused = x.refused || y.refused;
        if (!refused) {
            setRoi(src.get(), 0, x.srcFrom, y.srcFrom, x.srcSize, y.srcSize);
            setRoi(expected.get(), 0, x.dstFrom, y.dstFrom, x.dstSize, y.dstSize);
            iplResize(src.get(), expected.get(), x.dstSize, x.srcSize, y.dstSize, y.srcSize, mode);
            iplDeallocate(src.get(), IPL_IMAGE_ROI);
            ++taken;
        }
        ASSERT_EQ(panZoom(src.get(), v, dst.get(), mode), refused ? QUIB_BAD_ARGUMENT : QUIB_OK);
        ASSERT_EQ(bytesOf(dst.get()), bytesOf(expected.get())) << bitDepth << ": " << v;
        EXPECT_EQ(src->roi, nullptr);
        EXPECT_EQ(dst->roi, nullptr);
    }
    EXPECT_GT(taken, 100);
}

TEST(QuibBltPanZoom, FreesItsRegions)
{
    const Image src = makeHandle(6, 6, 8);
    const Image dst = makeHandle(6, 6, 8);
    const int64_t before = liveBlocks();
    EXPECT_EQ(panZoom(src.get(), {0, 0.5, 0, 0.5, 0, 6, 0, 6}, dst.get(), 1), QUIB_OK);
    EXPECT_EQ(liveBlocks(), before);
}

TEST(QuibBltPanZoom, LosesARegionHeldBeforeThroughTheEngine)
{
    const Image src = makeHandle(6, 6, 8);
    const Image dst = makeHandle(6, 6, 8);
    setRoi(src.get(), 0, 1, 1, 2, 2);
    setRoi(dst.get(), 0, 2, 2, 2, 2);
    IplROI* held[] = {src->roi, dst->roi};
    EXPECT_EQ(panZoom(src.get(), {0, 0.5, 0, 0.5, 0, 6, 0, 6}, dst.get(), 1), QUIB_OK);
    EXPECT_EQ(src->roi, nullptr);
    EXPECT_EQ(dst->roi, nullptr);
    for (IplROI* roi : held)
        iplAlignedFree(roi);
}

TEST(QuibBltPanZoomDeathTest, EndsTheProcessWhenTheEngineRefuses)
{
    const Image gray = makeHandle(6, 6, 8);
    const Image target = makeHandle(6, 6, 8);
    const Image alpha = makeHandle(6, 6, 32);
    EXPECT_REPORT(panZoom(gray.get(), {0, 0.5, 0, 0.5, 0, 6, 0, 6}, target.get(), 5), -5, "iplZoom",
                  "interpolate != IPL_INTER_NN && interpolate != IPL_INTER_LINEAR && interpolate "
                  "!= IPL_INTER_CUBIC",
                  "iplZoom");
    EXPECT_REPORT(panZoom(gray.get(), {0, 0.5, 0, 0.5, 0, 6, 0, 6}, target.get(), 3), -5,
                  "iplResize", "(xDst > xSrc || yDst > ySrc)", "iplresiz");
    EXPECT_REPORT(panZoom(gray.get(), {0, 0.5, 0, 0.5, 0, 6, 0, 6}, alpha.get(), 0), -2, "iplZoom",
                  "srcImage COI != dstImage COI", "iplZoom");
}

TEST(QuibBltPanZoomDeathTest, LeavesAPairOfThreeAndFourChannelsToTheEngine)
{
    const View view{0, 0.5, 0, 0.5, 0, 6, 0, 6};
    const Image colour = makeHandle(6, 6, 24);
    const Image alpha = makeHandle(6, 6, 32);
    const char* text = "srcImage COI != dstImage COI";
    for (const int32_t mode : {0, 1, 2}) {
        EXPECT_REPORT(panZoom(colour.get(), view, alpha.get(), mode), -2, "iplZoom", text,
                      "iplZoom");
        EXPECT_REPORT(panZoom(alpha.get(), view, colour.get(), mode), -2, "iplZoom", text,
                      "iplZoom");
    }
}

TEST(QuibBltPanZoom, TakesThreeChannelsAndThreeBesideAlphaThroughTheEngine)
{
    // What the engine counts is three channels on both sides.
    Random random(21);
    const View view{0.75, 0.5, 0.75, 0.5, 0, 6, 0, 6};
    const Image colour = makeRandomHandle(6, 6, 24, random);
    const Image target = makeImage(6, 6, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 4);
    const Image expected = makeImage(6, 6, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 4);
    EXPECT_EQ(panZoom(colour.get(), view, target.get(), 1), QUIB_OK);
    setRoi(colour.get(), 0, 0, 0, 3, 3);
    iplResize(colour.get(), expected.get(), 6, 3, 6, 3, 1);
    EXPECT_EQ(bytesOf(target.get()), bytesOf(expected.get()));
    // And the other way.
    const Image source = makeImage(6, 6, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 4);
    randomise(source.get(), random);
    const Image plain = makeHandle(6, 6, 24);
    const Image result = makeHandle(6, 6, 24);
    EXPECT_EQ(panZoom(source.get(), view, result.get(), 1), QUIB_OK);
    setRoi(source.get(), 0, 0, 0, 3, 3);
    iplResize(source.get(), plain.get(), 6, 3, 6, 3, 1);
    EXPECT_EQ(bytesOf(result.get()), bytesOf(plain.get()));
}

TEST(QuibBltPanZoom, TakesTheAreaAverageOfTheEngine)
{
    Random random(19);
    const Image src = makeRandomHandle(12, 12, 8, random);
    const Image dst = makeHandle(6, 6, 8);
    EXPECT_EQ(panZoom(src.get(), {0, 2, 0, 2, 0, 6, 0, 6}, dst.get(), 3), QUIB_OK);
    const Image expected = makeHandle(6, 6, 8);
    iplDecimate(src.get(), expected.get(), 6, 12, 6, 12, 3);
    EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
}

// --- Tables --------------------------------------------------------------------------

TEST(BuildPanZoomTable, HoldsPositionsBeforeTheFirstAndFromTheLastPixelOn)
{
    // Positions -0.5, 0.25, 1.0, 1.75 and 2.5 of three pixels.
    for (const int32_t mode : {1, 2, 5}) {
        uint32_t idx0[5] = {};
        uint32_t idx1[5] = {};
        uint32_t weight[5] = {};
        BuildPanZoomTable(5, 3, weight, idx0, idx1, mode, -0.5, 0.75);
        const uint32_t first[] = {0, 0, 1, 1, 2};
        const uint32_t second[] = {0, 1, 2, 2, 2};
        for (size_t i = 0; i < 5; ++i) {
            EXPECT_EQ(idx0[i], first[i]) << i;
            EXPECT_EQ(idx1[i], second[i]) << i;
        }
        const uint32_t held = mode == 1 ? 0xFFFFFFFFu : 0;
        EXPECT_EQ(weight[0], held);
        EXPECT_EQ(weight[4], held);
        // A quarter: 255 - 64 along a line, (3 - 0.5) / 16 along the curve.
        EXPECT_EQ(weight[1], mode == 2 ? 0xD7D7D7D7u : 0xBFBFBFBFu);
        EXPECT_EQ(weight[2], 0xFFFFFFFFu);
        EXPECT_EQ(weight[3], mode == 2 ? 0x28282828u : 0x40404040u);
    }
}

TEST(BuildPanZoomTable, FillsTheFirstIndexAloneInModeNought)
{
    uint32_t idx0[6] = {};
    BuildPanZoomTable(6, 3, nullptr, idx0, nullptr, 0, -1.5, 1.0);
    const uint32_t expected[] = {0, 0, 0, 1, 2, 2};
    EXPECT_EQ(std::memcmp(idx0, expected, sizeof expected), 0);
}

TEST(BuildPanZoomTable, KnowsOnePixelAlone)
{
    uint32_t idx0[3] = {7, 7, 7};
    uint32_t idx1[3] = {7, 7, 7};
    uint32_t weight[3] = {};
    BuildPanZoomTable(3, 1, weight, idx0, idx1, 1, 0.25, 0.5);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(idx0[i], 0u);
        EXPECT_EQ(idx1[i], 0u);
    }
}

TEST(BuildPanZoomTable, TakesPositionsThatNoIndexCanHold)
{
    uint32_t idx0[4] = {};
    uint32_t idx1[4] = {};
    uint32_t weight[4] = {};
    for (const double step : {1e9, 1e18, 1e300, infinity}) {
        BuildPanZoomTable(4, 5, weight, idx0, idx1, 1, -1.0, step);
        EXPECT_EQ(idx0[0], 0u);
        for (size_t i = 1; i < 4; ++i) {
            EXPECT_EQ(idx0[i], 4u);
            EXPECT_EQ(idx1[i], 4u);
        }
    }
}

TEST(StretchPanZoom32, DrawsNothingIntoABlockOfNoBytes)
{
    uint32_t pixel = 0x11223344;
    uint32_t out = 0x55667788;
    uint8_t* const from = reinterpret_cast<uint8_t*>(&pixel);
    uint8_t* const to = reinterpret_cast<uint8_t*>(&out);
    const FailingAllocation failing(0);
    EXPECT_TRUE(StretchPanZoom32({to, 1, 1, 4, 0}, {from, 1, 1, 4}, 0, 0, 0, 1, 1));
    EXPECT_EQ(failing.asked(), 0);
    EXPECT_EQ(out, 0x55667788u);
}
