#include "_Src/warp/quadrows.h"

#include "_Src/ipl.h"
#include "_Src/warp/quad.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/quads.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <vector>

namespace
{

struct Row {
    int32_t start;
    int32_t end;

    bool operator==(const Row&) const = default;
};

struct RowSpans {
    int32_t first = 0;
    std::vector<Row> rows;

    bool has(int32_t x, int32_t y) const
    {
        if (y < first || y >= first + static_cast<int32_t>(rows.size()))
            return false;
        return x >= rows[y - first].start && x <= rows[y - first].end;
    }
};

RowSpans spansOf(const Quad& quad, const IplCorners& rectangle, int32_t orientation)
{
    int32_t* start = nullptr;
    int32_t* end = nullptr;
    int32_t last = 0;
    RowSpans result;
    if (!ownQuadRows(quad.at, rectangle.x1, rectangle.y1, rectangle.x2, rectangle.y2, orientation,
                     &start, &end, &result.first, &last))
        return result;
    EXPECT_GE(last, result.first);
    EXPECT_GE(result.first, rectangle.y1);
    EXPECT_LE(last, rectangle.y2);
    for (int32_t y = result.first; y <= last; ++y) {
        const Row row{start[y - result.first], end[y - result.first]};
        EXPECT_GE(row.start, rectangle.x1);
        EXPECT_LE(row.end, rectangle.x2);
        result.rows.push_back(row);
    }
    iplAlignedFree(start);
    iplAlignedFree(end);
    return result;
}

constexpr IplCorners field{0, 0, 29, 19};

// The least turn of the corners as seen from a point; positive inside, where
// they turn as `orientation` says.
double depthOf(const Quad& quad, int32_t orientation, double x, double y)
{
    double least = infinity;
    for (int32_t i = 0; i < 4; ++i) {
        const double* a = quad.at[i];
        const double* b = quad.at[(i + 1) & 3];
        const double turn = (b[0] - a[0]) * (y - a[1]) - (b[1] - a[1]) * (x - a[0]);
        least = std::min(least, orientation ? turn : -turn);
    }
    return least;
}

// Every pixel that lies inside by more than rounding is covered, none that lies
// outside by more; at `exact` quadrangles those on the boundary too.
void expectCovers(const Quad& quad, bool exact)
{
    const int32_t orientation = ownClassifyQuad(quad.at);
    const RowSpans rows = spansOf(quad, field, orientation);
    for (int32_t y = -2; y < 24; ++y) {
        for (int32_t x = -2; x < 34; ++x) {
            const bool outside = x < field.x1 || x > field.x2 || y < field.y1 || y > field.y2;
            const double depth = outside ? -1 : depthOf(quad, orientation, x, y);
            const bool inside = depth > 1e-9 || (exact && depth >= 0);
            if (inside || depth < -1e-9) {
                ASSERT_EQ(rows.has(x, y), inside) << x << ", " << y << " of" << describe(quad);
            }
        }
    }
}

void expectRandomQuads(uint64_t seed, double step, bool exact, int32_t low, int32_t high)
{
    Random random(seed);
    for (int round = 0; round < 20000; ++round) {
        const Quad quad = randomQuad(random, low, high, step);
        if (ownClassifyQuad(quad.at) >= 0)
            expectCovers(quad, exact);
        if (::testing::Test::HasFailure())
            return;
    }
}

} // namespace

TEST(OwnQuadRows, CoverABoxWithItsBoundary)
{
    for (const int32_t orientation : {1, 0}) {
        const Quad box = boxQuad(2, 3, 5, 6);
        const RowSpans rows = spansOf(orientation ? box : reversed(box), field, orientation);
        EXPECT_EQ(rows.first, 3);
        EXPECT_EQ(rows.rows, std::vector<Row>(4, Row{2, 5}));
    }
}

TEST(OwnQuadRows, TakeTheWholePixelsOfAFractionalBox)
{
    const RowSpans rows = spansOf(boxQuad(2.25, 3.5, 5.75, 6.125), field, 1);
    EXPECT_EQ(rows.first, 4);
    EXPECT_EQ(rows.rows, std::vector<Row>(3, Row{3, 5}));
}

TEST(OwnQuadRows, FollowADiamond)
{
    const Quad diamond{{{5, 1}, {9, 5}, {5, 9}, {1, 5}}};
    const RowSpans rows = spansOf(diamond, field, 1);
    EXPECT_EQ(rows.first, 1);
    EXPECT_EQ(
        rows.rows,
        (std::vector<Row>{{5, 5}, {4, 6}, {3, 7}, {2, 8}, {1, 9}, {2, 8}, {3, 7}, {4, 6}, {5, 5}}));
}

TEST(OwnQuadRows, AdmitABoundaryWithinTheTolerance)
{
    const double bit = 1e-15;
    const RowSpans closeBy = spansOf(boxQuad(4 + 2 * bit, 2, 8 - 2 * bit, 4), field, 1);
    EXPECT_EQ(closeBy.rows, std::vector<Row>(3, Row{4, 8}));
    const RowSpans farther = spansOf(boxQuad(4 + 2e-14, 2, 8 - 2e-14, 4), field, 1);
    EXPECT_EQ(farther.rows, std::vector<Row>(3, Row{5, 7}));
}

TEST(OwnQuadRows, AreCutToTheRectangle)
{
    const RowSpans rows = spansOf(boxQuad(-50, -50, 500, 500), field, 1);
    EXPECT_EQ(rows.first, 0);
    EXPECT_EQ(rows.rows, std::vector<Row>(20, Row{0, 29}));
    EXPECT_TRUE(spansOf(boxQuad(40, 0, 50, 10), field, 1).rows.empty());
    EXPECT_TRUE(spansOf(boxQuad(0, -30, 10, -1), field, 1).rows.empty());
}

TEST(OwnQuadRows, AreNoneBetweenPixels)
{
    EXPECT_TRUE(spansOf(boxQuad(2, 3.25, 9, 3.75), field, 1).rows.empty());
    EXPECT_TRUE(spansOf(boxQuad(2.25, 3, 2.75, 9), field, 1).rows.empty());
}

TEST(OwnQuadRows, HaveOneRowForASingleVertex)
{
    const RowSpans inside = spansOf(boxQuad(4, 7, 4, 7), field, 1);
    EXPECT_EQ(inside.first, 7);
    EXPECT_EQ(inside.rows, (std::vector<Row>{{4, 4}}));
    // A corner that touches the rectangle's.
    const RowSpans touching = spansOf(boxQuad(-5, -5, 0, 0), field, 1);
    for (const Row& row : touching.rows)
        EXPECT_EQ(row, (Row{0, 0}));
}

TEST(OwnQuadRows, TakeFlatAndThinOnes)
{
    EXPECT_EQ(spansOf(boxQuad(3, 7, 9, 7), field, 1).rows, (std::vector<Row>{{3, 9}}));
    EXPECT_EQ(spansOf(boxQuad(9, 7, 3, 7), field, 0).rows, (std::vector<Row>{{3, 9}}));
    EXPECT_EQ(spansOf(boxQuad(3, 7, 3, 9), field, 1).rows, std::vector<Row>(3, Row{3, 3}));
}

TEST(OwnQuadRows, TakeWhatIsFarAwayOrNotANumber)
{
    for (const double value : {notANumber, infinity, -infinity})
        for (int32_t i = 0; i < 8; ++i) {
            Quad quad = boxQuad(1, 1, 8, 8);
            quad.at[i / 2][i % 2] = value;
            EXPECT_TRUE(spansOf(quad, field, 1).rows.empty());
        }
    for (const double size : {1e9, 1e18, 1e150, 1e300, 1.7e308})
        for (const int32_t orientation : {0, 1}) {
            spansOf(boxQuad(-size, -size, size, size), field, orientation);
            spansOf({{{0, -size}, {size, 3}, {1, size}, {-size, 5}}}, field, orientation);
        }
    const RowSpans all = spansOf(boxQuad(-1e18, -1e18, 1e18, 1e18), field, 1);
    EXPECT_EQ(all.rows, std::vector<Row>(20, Row{0, 29}));
}

TEST(OwnQuadRows, StayInsideWhateverTheCornersAre)
{
    Random random(9);
    for (int round = 0; round < 50000; ++round)
        spansOf(randomQuad(random, -40, 60, 0.5), field, random.between(0, 1));
}

TEST(OwnQuadRows, ReachTheEndsOfWords)
{
    const Quad all = boxQuad(-1e18, -1e18, 1e18, 1e18);
    for (const int32_t end : {INT32_MIN, INT32_MAX - 3}) {
        int32_t* starts = nullptr;
        int32_t* ends = nullptr;
        int32_t first = 0;
        int32_t last = 0;
        ASSERT_EQ(ownQuadRows(all.at, end, end, end + 3, end + 3, 1, &starts, &ends, &first, &last),
                  1);
        EXPECT_EQ(first, end);
        EXPECT_EQ(last, end + 3);
        for (int32_t i = 0; i < 4; ++i) {
            EXPECT_EQ(starts[i], end) << i;
            EXPECT_EQ(ends[i], end + 3) << i;
        }
        iplAlignedFree(starts);
        iplAlignedFree(ends);
    }
}

TEST(OwnQuadRows, SayThatThereIsNoMemory)
{
    const Quad quad = boxQuad(1, 1, 8, 8);
    int32_t* start = nullptr;
    int32_t* end = nullptr;
    int32_t first = 0;
    int32_t last = 0;
    for (const int32_t passing : {0, 1}) {
        const FailingAllocation failing(passing);
        EXPECT_EQ(ownQuadRows(quad.at, field.x1, field.y1, field.x2, field.y2, 1, &start, &end,
                              &first, &last),
                  -1);
    }
    EXPECT_EQ(start, nullptr);
    EXPECT_EQ(end, nullptr);
}

TEST(OwnQuadRows, CoverRandomQuadrangles)
{
    expectRandomQuads(1, 0.0625, false, -20, 50);
    expectRandomQuads(2, 0.0625, false, 0, 29);
}

TEST(OwnQuadRows, CoverRandomQuadranglesOfWholePixelsWithTheirBoundary)
{
    expectRandomQuads(3, 1.0, true, 0, 19);
}
