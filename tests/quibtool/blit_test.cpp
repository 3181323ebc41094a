#include "quibtool/blit.h"

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
#include <string>

namespace
{

QuibStatus blit(IplImage* src, const QuibRect& from, IplImage* dst, const QuibRect& to,
                int32_t stretch)
{
    return QuibBlt(src, from.left, from.top, from.right, from.bottom, dst, to.left, to.top,
                   to.right, to.bottom, stretch);
}

int32_t widthOf(const QuibRect& rect)
{
    return rect.right - rect.left;
}

int32_t heightOf(const QuibRect& rect)
{
    return rect.bottom - rect.top;
}

// Whether a rectangle meets an image; the corner that it has after clipping
// goes into *x and *y.
bool meets(const QuibRect& rect, const IplImage* image, int32_t* x, int32_t* y)
{
    *x = std::max(rect.left, 0);
    *y = std::max(rect.top, 0);
    return *x < std::min(rect.right, image->width) && *y < std::min(rect.bottom, image->height);
}

// --- Plain forms: each gives the whole pixel block as it must be afterwards ------

// One byte or pixel at a time, in row order, and nothing outside either block.
struct PlainMove {
    PlainMove(const IplImage* src, const IplImage* dst) : from(bytesOf(src)), to(bytesOf(dst)) {}
    void operator()(int64_t target, int64_t source, int64_t count)
    {
        if (source + count > static_cast<int64_t>(from.size()) ||
            target + count > static_cast<int64_t>(to.size()))
            return;
        std::memcpy(to.data() + target, from.data() + source, static_cast<size_t>(count));
        if (isOneImage)
            from = to;
    }
    std::vector<uint8_t> from;
    std::vector<uint8_t> to;
    bool isOneImage = false; // what was moved is found again
};

std::vector<uint8_t> plainRows(const IplImage* src, const QuibRect& from, const IplImage* dst,
                               const QuibRect& to)
{
    const int32_t bytesPerPixel =
        src->nChannels * static_cast<int32_t>(src->depth & IPL_DEPTH_MASK) / 8;
    PlainMove move(src, dst);
    const int64_t source = int64_t{std::max(from.top, 0)} * src->widthStep +
                           int64_t{std::max(from.left, 0)} * bytesPerPixel;
    const int64_t target = int64_t{std::max(to.top, 0)} * dst->widthStep +
                           int64_t{std::max(to.left, 0)} * bytesPerPixel;
    for (int64_t y = 0; y < heightOf(to); ++y)
        for (int64_t b = 0; b < int64_t{widthOf(to)} * bytesPerPixel; ++b)
            move(target + y * dst->widthStep + b, source + y * src->widthStep + b, 1);
    return move.to;
}

// Where output position i reads, the positions being summed up one by one.
std::vector<int64_t> plainPositions(int32_t dstN, int32_t srcN)
{
    const double step = static_cast<double>(srcN) / dstN;
    double position = 0.0;
    std::vector<int64_t> positions;
    for (int32_t i = 0; i < dstN; ++i, position += step)
        positions.push_back(static_cast<int64_t>(position));
    return positions;
}

std::vector<uint8_t> plainStretch32(const IplImage* src, const QuibRect& from, const IplImage* dst,
                                    const QuibRect& to)
{
    PlainMove move(src, dst);
    move.isOneImage = src == dst;
    const std::vector<int64_t> columns = plainPositions(widthOf(to), widthOf(from));
    const std::vector<int64_t> rows = plainPositions(heightOf(to), heightOf(from));
    const int64_t source =
        int64_t{std::max(from.top, 0)} * src->widthStep + int64_t{std::max(from.left, 0)} * 4;
    const int64_t target =
        int64_t{std::max(to.top, 0)} * dst->widthStep + int64_t{std::max(to.left, 0)} * 4;
    for (size_t y = 0; y < rows.size(); ++y)
        for (size_t x = 0; x < columns.size(); ++x)
            move(target + static_cast<int64_t>(y) * dst->widthStep + static_cast<int64_t>(x) * 4,
                 source + rows[y] * src->widthStep + columns[x] * 4, 4);
    return move.to;
}

std::vector<uint8_t> withElements(IplImage* dst, const Image& filled)
{
    std::vector<uint8_t> bytes = bytesOf(filled.get());
    EXPECT_EQ(bytes.size(), static_cast<size_t>(dst->imageSize));
    return bytes;
}

Image copyOf(const IplImage* image)
{
    return Image(iplCloneImage(image));
}

// The region that both rectangles have inside their images, from their corners.
std::vector<uint8_t> plainCopy(const IplImage* src, const QuibRect& from, IplImage* dst,
                               const QuibRect& to)
{
    const int32_t sx = std::max(from.left, 0);
    const int32_t sy = std::max(from.top, 0);
    const int32_t dx = std::max(to.left, 0);
    const int32_t dy = std::max(to.top, 0);
    const int32_t width = std::min({widthOf(from), widthOf(to), src->width - sx, dst->width - dx});
    const int32_t height =
        std::min({heightOf(from), heightOf(to), src->height - sy, dst->height - dy});
    const Image result = copyOf(dst);
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
            for (int32_t c = 0; c < src->nChannels; ++c)
                putElement(result.get(), dx + x, dy + y, c, element(src, sx + x, sy + y, c));
    return withElements(dst, result);
}

// The engine's nearest positions: pixel starts for whole ratios, else centres.
std::vector<int32_t> enginePositions(int32_t dstN, int32_t srcN)
{
    const bool whole = std::max(dstN, srcN) % std::min(dstN, srcN) == 0;
    const double step = whole      ? static_cast<double>(srcN) / dstN
                        : dstN > 1 ? (srcN - 1) / (dstN - 1.0)
                                   : 0.0;
    double position = whole ? 0.0 : 0.5;
    std::vector<int32_t> positions;
    for (int32_t i = 0; i < dstN; ++i, position += step)
        positions.push_back(static_cast<int32_t>(std::floor(position + 1e-5)));
    return positions;
}

// For rectangles that lie inside their images.
std::vector<uint8_t> plainEngineStretch(const IplImage* src, const QuibRect& from, IplImage* dst,
                                        const QuibRect& to)
{
    const std::vector<int32_t> columns = enginePositions(widthOf(to), widthOf(from));
    const std::vector<int32_t> rows = enginePositions(heightOf(to), heightOf(from));
    const Image result = copyOf(dst);
    for (int32_t y = 0; y < heightOf(to); ++y)
        for (int32_t x = 0; x < widthOf(to); ++x)
            for (int32_t c = 0; c < src->nChannels; ++c)
                putElement(result.get(), to.left + x, to.top + y, c,
                           element(src, from.left + columns[static_cast<size_t>(x)],
                                   from.top + rows[static_cast<size_t>(y)], c));
    return withElements(dst, result);
}

// --- Random rectangles -------------------------------------------------------------

// A rectangle of a given size that meets the image and hangs over any side.
QuibRect meetingRect(const IplImage* image, int32_t width, int32_t height, Random& random)
{
    const int32_t left = random.between(1 - width, image->width - 1);
    const int32_t top = random.between(1 - height, image->height - 1);
    return {left, top, left + width, top + height};
}

QuibRect innerRect(const IplImage* image, Random& random)
{
    const int32_t left = random.between(0, image->width - 1);
    const int32_t top = random.between(0, image->height - 1);
    return {left, top, random.between(left + 1, image->width),
            random.between(top + 1, image->height)};
}

bool areOneSize(const QuibRect& from, const QuibRect& to)
{
    return widthOf(from) == widthOf(to) && heightOf(from) == heightOf(to);
}

// The destination becomes what the plain form says; another source stays.
template<class Plain>
void expectBlit(IplImage* src, const QuibRect& from, IplImage* dst, const QuibRect& to,
                int32_t stretch, Plain plain)
{
    const std::vector<uint8_t> expected = plain(src, from, dst, to);
    const std::vector<uint8_t> source = src == dst ? expected : bytesOf(src);
    ASSERT_EQ(blit(src, from, dst, to, stretch), QUIB_OK);
    ASSERT_EQ(bytesOf(dst), expected)
        << from.left << " " << from.top << " " << from.right << " " << from.bottom << " to "
        << to.left << " " << to.top << " " << to.right << " " << to.bottom << ", stretch "
        << stretch << ", " << src->nChannels << " channels of " << src->depth;
    ASSERT_EQ(bytesOf(src), source);
}

// Either image's rectangle is refused, without a text or a change.
void expectRefused(IplImage* src, IplImage* dst, const QuibRect& good,
                   const std::vector<QuibRect>& bads)
{
    const std::vector<uint8_t> before = bytesOf(dst);
    quibLastError[0] = 0;
    for (const QuibRect& bad : bads) {
        for (const int32_t stretch : {0, 1}) {
            EXPECT_EQ(blit(src, bad, dst, good, stretch), QUIB_BAD_ARGUMENT);
            EXPECT_EQ(blit(src, good, dst, bad, stretch), QUIB_BAD_ARGUMENT);
        }
    }
    EXPECT_EQ(bytesOf(dst), before);
    EXPECT_EQ(quibLastError[0], 0);
}

void expectNoRegions(const IplImage* src, const IplImage* dst)
{
    EXPECT_EQ(src->roi, nullptr);
    EXPECT_EQ(dst->roi, nullptr);
}

} // namespace

// --- Refusals -----------------------------------------------------------------------

TEST(QuibBlt, RefusesABadHandleWithTheText)
{
    const Image good = makeHandle(4, 4, 32);
    Image bare = makeHandle(4, 4, 32);
    iplDeallocateImage(bare.get());
    const QuibRect rect{0, 0, 2, 2};
    for (IplImage* bad : {static_cast<IplImage*>(nullptr), bare.get()}) {
        EXPECT_BAD_HANDLE(blit(bad, rect, good.get(), rect, 0));
        EXPECT_BAD_HANDLE(blit(good.get(), rect, bad, rect, 0));
    }
}

TEST(QuibBlt, NamesItsTwoHandlesByDifferentRows)
{
    const Image good = makeHandle(4, 4, 32);
    const QuibRect rect{0, 0, 2, 2};
    blit(nullptr, rect, good.get(), rect, 0);
    const std::string first = quibLastError;
    blit(good.get(), rect, nullptr, rect, 0);
    EXPECT_NE(first, quibLastError);
}

TEST(QuibBlt, RefusesAnEmptySizeWithoutText)
{
    Random random(1);
    const Image src = makeRandomHandle(8, 8, 32, random);
    const Image dst = makeRandomHandle(8, 8, 32, random);
    expectRefused(src.get(), dst.get(), {0, 0, 4, 4},
                  {{2, 0, 2, 4},
                   {0, 2, 4, 2},
                   {3, 0, 2, 4},
                   {0, 3, 4, 2},
                   {INT32_MIN, 0, INT32_MAX, 4},
                   {0, INT32_MIN, 4, INT32_MAX},
                   {INT32_MIN, 0, 4, 4}});
}

TEST(QuibBlt, TestsTheSizesBeforeTheImages)
{
    const CleanStatus clean;
    Image src = makeHandle(4, 4, 32);
    const Image dst = makeHandle(4, 4, 32);
    src->widthStep = 0;
    EXPECT_EQ(blit(src.get(), {0, 0, 0, 4}, dst.get(), {0, 0, 4, 4}, 0), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(iplGetStatus(), 0);
    EXPECT_EQ(blit(src.get(), {0, 0, 4, 4}, dst.get(), {0, 0, 4, 4}, 0), -13);
    EXPECT_EQ(iplGetStatus(), -13);
}

TEST(QuibBlt, PassesOnTheImageCheckOfTheSourceThenOfTheDestination)
{
    const CleanStatus clean;
    Image src = makeHandle(4, 4, 32);
    Image dst = makeHandle(4, 4, 32);
    const QuibRect rect{0, 0, 4, 4};
    dst->width = 0;
    EXPECT_EQ(blit(src.get(), rect, dst.get(), rect, 0), -10);
    src->align = 5;
    EXPECT_EQ(blit(src.get(), rect, dst.get(), rect, 1), -21);
}

TEST(QuibBlt, RefusesARectangleThatDoesNotMeetItsImage)
{
    Random random(2);
    const Image src = makeRandomHandle(6, 5, 32, random);
    const Image dst = makeRandomHandle(6, 5, 32, random);
    expectRefused(src.get(), dst.get(), {0, 0, 3, 3},
                  {{6, 0, 9, 3},
                   {0, 5, 3, 8},
                   {-3, 0, 0, 3},
                   {0, -3, 3, 0},
                   {INT32_MAX - 3, 0, INT32_MAX, 3},
                   {0, INT32_MIN, 3, INT32_MIN + 3}});
}

// --- Rows copied raw -----------------------------------------------------------------

TEST(QuibBlt, CopiesARectangleOfEveryByteDepthAndLeavesTheRest)
{
    for (const int32_t bitDepth : {8, 24, 32}) {
        Random random(3);
        const Image src = makeRandomHandle(17, 9, bitDepth, random);
        const Image dst = makeRandomHandle(13, 11, bitDepth, random);
        const QuibRect from{5, 2, 12, 8};
        const QuibRect to{4, 3, 11, 9};
        ASSERT_NO_FATAL_FAILURE(expectBlit(src.get(), from, dst.get(), to, 0, plainRows));
        // Equal sizes are never stretched.
        ASSERT_NO_FATAL_FAILURE(expectBlit(src.get(), from, dst.get(), to, 1, plainRows));
    }
}

TEST(QuibBlt, MatchesThePlainRowsOverEverySideOfBothImages)
{
    Random random(4);
    for (int round = 0; round < 1500; ++round) {
        const int32_t bitDepth = 8 * random.between(1, 4);
        if (bitDepth == 16)
            continue;
        const Image src = makeRandomHandleUpTo(20, 12, bitDepth, random);
        const Image dst = makeRandomHandleUpTo(20, 12, bitDepth, random);
        const int32_t width = random.between(1, 24);
        const int32_t height = random.between(1, 14);
        const QuibRect from = meetingRect(src.get(), width, height, random);
        const QuibRect to = meetingRect(dst.get(), width, height, random);
        ASSERT_NO_FATAL_FAILURE(
            expectBlit(src.get(), from, dst.get(), to, random.between(0, 1), plainRows));
    }
}

TEST(QuibBlt, RunsOnIntoTheNextRowWithTheFullSizeOfARectangleThatHangsOver)
{
    // Two columns of four lie inside: the other two start the next row, and the
    // next row's own pixels come after them.
    const Image src = makeHandle(4, 2, 8);
    const Image dst = makeHandle(4, 3, 8);
    for (int32_t i = 0; i < 8; ++i)
        src->imageData[i] = static_cast<char>(i + 1);
    EXPECT_EQ(blit(src.get(), {0, 0, 4, 2}, dst.get(), {2, 0, 6, 2}, 0), QUIB_OK);
    const uint8_t expected[] = {0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 0, 0};
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(expected, expected + 12));
}

TEST(QuibBlt, ShiftsTheContentOfARectangleThatStartsLeftOfOrAboveItsImage)
{
    const Image src = makeHandle(4, 4, 8);
    const Image dst = makeHandle(4, 4, 8);
    for (int32_t i = 0; i < 16; ++i)
        src->imageData[i] = static_cast<char>(i);
    // The destination's corner moves from (-1, -1) to (0, 0), and the source
    // starts at its first pixel all the same.
    EXPECT_EQ(blit(src.get(), {0, 0, 2, 2}, dst.get(), {-1, -1, 1, 1}, 0), QUIB_OK);
    const uint8_t expected[] = {0, 1, 0, 0, 4, 5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(expected, expected + 16));
}

TEST(QuibBlt, StopsAtTheEndsOfBothBlocks)
{
    for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
        for (const int32_t stretch : {0, 1}) {
            const GuardedHandle src(7, 5, 32, guard);
            const GuardedHandle dst(6, 8, 32, guard);
            src.makeReadOnly();
            const QuibRect hangsOver{5, 3, 5 + 500, 3 + 600};
            EXPECT_EQ(blit(src.get(), hangsOver, dst.get(), hangsOver, stretch), QUIB_OK);
            EXPECT_EQ(blit(src.get(), hangsOver, dst.get(), {-400, -400, 100, 200}, stretch),
                      QUIB_OK);
            EXPECT_EQ(blit(src.get(), {-400, -400, 100, 200}, dst.get(), hangsOver, stretch),
                      QUIB_OK);
            EXPECT_EQ(blit(src.get(), {0, 0, INT32_MAX, INT32_MAX}, dst.get(),
                           {0, 0, INT32_MAX, INT32_MAX}, stretch),
                      QUIB_OK);
        }
    }
}

TEST(QuibBlt, MovesNothingBetweenOneBitHandlesOfEqualSizes)
{
    Random random(5);
    const Image src = makeRandomHandle(40, 6, 1, random);
    const Image dst = makeRandomHandle(40, 6, 1, random);
    const std::vector<uint8_t> before = bytesOf(dst.get());
    EXPECT_EQ(blit(src.get(), {0, 0, 16, 4}, dst.get(), {8, 1, 24, 5}, 0), QUIB_OK);
    EXPECT_EQ(blit(src.get(), {0, 0, 16, 4}, dst.get(), {8, 1, 24, 5}, 1), QUIB_OK);
    EXPECT_EQ(bytesOf(dst.get()), before);
}

TEST(QuibBlt, TakesEqualBytesAPixelForEqualLayouts)
{
    // One 16-bit channel, and two 8-bit ones.
    Random random(6);
    const Image src = makeImage(9, 5, 1, IPL_DEPTH_16U);
    const Image dst = makeImage(9, 5, 2, IPL_DEPTH_8U);
    randomise(src.get(), random);
    const QuibRect from{1, 1, 7, 4};
    const QuibRect to{2, 0, 8, 3};
    expectBlit(src.get(), from, dst.get(), to, 0, plainRows);
}

TEST(QuibBlt, CopiesARunOfSignedPixelsNowhere)
{
    // The sign bit of a depth leaves no sensible pixel size to copy by.
    Random random(7);
    const Image src = makeImage(9, 5, 1, IPL_DEPTH_16S);
    const Image dst = makeImage(9, 5, 1, IPL_DEPTH_16S);
    randomise(src.get(), random);
    EXPECT_EQ(blit(src.get(), {0, 0, 9, 5}, dst.get(), {0, 0, 9, 5}, 0), QUIB_OK);
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(static_cast<size_t>(dst->imageSize), 0));
}

TEST(QuibBlt, KeepsARegionHeldBeforeWhenItCopiesRows)
{
    const Image src = makeHandle(6, 6, 32);
    const Image dst = makeHandle(6, 6, 32);
    setRoi(src.get(), 0, 1, 1, 2, 2);
    setRoi(dst.get(), 0, 2, 2, 2, 2);
    const IplROI* srcRoi = src->roi;
    const IplROI* dstRoi = dst->roi;
    EXPECT_EQ(blit(src.get(), {0, 0, 4, 4}, dst.get(), {1, 1, 5, 5}, 0), QUIB_OK);
    EXPECT_EQ(src->roi, srcRoi);
    EXPECT_EQ(dst->roi, dstRoi);
}

TEST(QuibBlt, MovesARectangleWithinOneHandleUpwards)
{
    Random random(8);
    const Image handle = makeRandomHandle(30, 20, 32, random);
    const QuibRect from{0, 3, 30, 20};
    const QuibRect to{0, 0, 30, 17};
    expectBlit(handle.get(), from, handle.get(), to, 0, plainRows);
}

TEST(QuibBlt, RepeatsRowsWhenItMovesARectangleDownWithinOneHandle)
{
    // The rows go top first, so each one finds its source already overwritten.
    Random random(20);
    const Image handle = makeRandomHandle(7, 9, 32, random);
    const std::vector<uint8_t> before = bytesOf(handle.get());
    EXPECT_EQ(blit(handle.get(), {0, 0, 7, 7}, handle.get(), {0, 2, 7, 9}, 0), QUIB_OK);
    for (int32_t y = 0; y < 9; ++y)
        EXPECT_EQ(std::memcmp(rowOf(handle.get(), y), before.data() + y % 2 * 28, 28), 0) << y;
}

TEST(QuibBlt, MovesEachRowWithinItself)
{
    Random random(9);
    for (const int32_t shift : {1, 3, -1, -5}) {
        const Image handle = makeRandomHandle(50, 4, 32, random);
        const QuibRect from{10, 0, 30, 4};
        const QuibRect to{10 + shift, 0, 30 + shift, 4};
        expectBlit(handle.get(), from, handle.get(), to, 0, plainRows);
    }
}

TEST(CopyRows, MovesNothingForNoHeightOrWidth)
{
    const GuardedBuffer from(8);
    const GuardedBuffer to(8);
    from.makeReadOnly();
    to.makeReadOnly();
    CopyRows({to.data(), 8, 4}, {from.data(), 8, 4}, 1, 0, 4);
    CopyRows({to.data(), 8, 4}, {from.data(), 8, 4}, 0, 2, 4);
    CopyRows({to.data(), 0, 4}, {from.data(), 8, 4}, 1, 2, 4);
    CopyRows({to.data(), 8, 4}, {from.data(), 0, 4}, 1, 2, 4);
}

// --- Copies through the engine ---------------------------------------------------------

TEST(QuibBlt, CopiesTheCommonPartOfDifferentSizesWhenItMayNotStretch)
{
    Random random(10);
    for (int round = 0; round < 800; ++round) {
        const int32_t depths[] = {1, 8, 24, 32};
        const int32_t bitDepth = depths[random.between(0, 3)];
        const Image src = makeRandomHandleUpTo(40, 12, bitDepth, random);
        const Image dst = makeRandomHandleUpTo(40, 12, bitDepth, random);
        const QuibRect from =
            meetingRect(src.get(), random.between(1, 44), random.between(1, 14), random);
        const QuibRect to =
            meetingRect(dst.get(), random.between(1, 44), random.between(1, 14), random);
        if (areOneSize(from, to))
            continue;
        ASSERT_NO_FATAL_FAILURE(expectBlit(src.get(), from, dst.get(), to, 0, plainCopy));
        expectNoRegions(src.get(), dst.get());
    }
}

TEST(QuibBlt, LosesARegionHeldBeforeWhenItStoresItsOwn)
{
    const Image src = makeHandle(6, 6, 24);
    const Image dst = makeHandle(6, 6, 24);
    for (const int32_t stretch : {0, 1}) {
        setRoi(src.get(), 0, 1, 1, 2, 2);
        setRoi(dst.get(), 0, 2, 2, 2, 2);
        IplROI* held[] = {src->roi, dst->roi};
        EXPECT_EQ(blit(src.get(), {0, 0, 4, 4}, dst.get(), {1, 1, 4, 4}, stretch), QUIB_OK);
        expectNoRegions(src.get(), dst.get());
        for (IplROI* roi : held)
            iplAlignedFree(roi);
    }
}

TEST(QuibBlt, CopiesNothingWhileAnOldFailureIsOnRecord)
{
    const CleanStatus clean;
    Random random(11);
    const Image src = makeRandomHandle(6, 6, 32, random);
    const Image dst = makeHandle(6, 6, 32);
    iplSetStatus(-10);
    EXPECT_EQ(blit(src.get(), {0, 0, 4, 4}, dst.get(), {0, 0, 3, 3}, 0), QUIB_OK);
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(6 * 6 * 4, 0));
    expectNoRegions(src.get(), dst.get());
    // Rows and four-channel stretches do not ask.
    EXPECT_EQ(blit(src.get(), {0, 0, 6, 6}, dst.get(), {0, 0, 6, 6}, 0), QUIB_OK);
    EXPECT_EQ(bytesOf(dst.get()), bytesOf(src.get()));
}

TEST(QuibBlt, CopiesAnImageOntoItselfNotAtAllThroughTheEngine)
{
    Random random(12);
    const Image handle = makeRandomHandle(8, 8, 32, random);
    const std::vector<uint8_t> before = bytesOf(handle.get());
    EXPECT_EQ(blit(handle.get(), {0, 0, 4, 4}, handle.get(), {2, 2, 8, 8}, 0), QUIB_OK);
    EXPECT_EQ(bytesOf(handle.get()), before);
    EXPECT_EQ(handle->roi, nullptr);
}

TEST(QuibBlt, KeepsToAMaskOnlyWhereTheEngineCopies)
{
    Random random(13);
    const Image src = makeRandomHandle(6, 6, 8, random);
    const Image dst = makeHandle(6, 6, 8);
    IplImage* mask = giveRandomMask(dst.get(), 6, 6, random);
    std::memset(mask->imageData, 0, static_cast<size_t>(mask->imageSize));
    EXPECT_EQ(blit(src.get(), {0, 0, 6, 6}, dst.get(), {0, 0, 5, 5}, 0), QUIB_OK);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 0);
    EXPECT_EQ(blit(src.get(), {0, 0, 6, 6}, dst.get(), {0, 0, 6, 6}, 0), QUIB_OK);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), element(src.get(), 0, 0, 0));
}

TEST(QuibBltDeathTest, EndsTheProcessWhenTheEngineRefusesToCopy)
{
    const Image colour = makeHandle(4, 4, 24);
    const Image alpha = makeHandle(4, 4, 32);
    const Image gray = makeHandle(4, 4, 8);
    const Image bits = makeHandle(4, 4, 1);
    const QuibRect rect{0, 0, 4, 4};
    EXPECT_REPORT(blit(colour.get(), rect, alpha.get(), rect, 0), -5, "iplCopy",
                  "Number of processed channels of srcImage != Number of processed channels of "
                  "dstImage",
                  "iplsce");
    EXPECT_REPORT(blit(bits.get(), rect, gray.get(), rect, 1), -5, "iplCopy",
                  "srcImage->depth != dstImage->depth", "iplsce");
}

TEST(QuibBlt, ClearsTheRegionsWhenAReportComesBack)
{
    const ReportsReturn reportsReturn;
    const Image colour = makeHandle(4, 4, 24);
    const Image alpha = makeHandle(4, 4, 32);
    EXPECT_EQ(blit(colour.get(), {0, 0, 4, 4}, alpha.get(), {0, 0, 4, 4}, 0), QUIB_OK);
    expectNoRegions(colour.get(), alpha.get());
    EXPECT_EQ(blit(colour.get(), {0, 0, 4, 4}, alpha.get(), {0, 0, 2, 2}, 1), QUIB_OK);
    expectNoRegions(colour.get(), alpha.get());
}

TEST(QuibBlt, MovesNothingWhenMemoryForTheRegionsRunsOut)
{
    Random random(22);
    const Image src = makeRandomHandle(6, 6, 24, random);
    const Image dst = makeHandle(6, 6, 24);
    for (const int32_t stretch : {0, 1}) {
        for (const int32_t allocation : {0, 1}) {
            QuibStatus status = QUIB_OK;
            {
                const FailingAllocation failing(allocation);
                status = blit(src.get(), {0, 0, 4, 4}, dst.get(), {0, 0, 3, 3}, stretch);
            }
            EXPECT_EQ(status, QUIB_FAILED);
            expectNoRegions(src.get(), dst.get());
        }
    }
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(static_cast<size_t>(dst->imageSize), 0));
}

// --- Stretches of four channels -----------------------------------------------------------

TEST(QuibBlt, StretchesFourChannelsToTheNearestPixelBefore)
{
    const Image src = makeHandle(3, 1, 32);
    const Image dst = makeHandle(5, 2, 32);
    const uint32_t pixels[] = {0x01020304u, 0x11121314u, 0xA1A2A3A4u};
    std::memcpy(src->imageData, pixels, sizeof pixels);
    EXPECT_EQ(blit(src.get(), {0, 0, 3, 1}, dst.get(), {0, 0, 5, 2}, 1), QUIB_OK);
    // Positions 0, 0.6, 1.2, 1.8 and 2.4.
    const uint32_t row[] = {pixels[0], pixels[0], pixels[1], pixels[1], pixels[2]};
    EXPECT_EQ(std::memcmp(rowOf(dst.get(), 0), row, sizeof row), 0);
    EXPECT_EQ(std::memcmp(rowOf(dst.get(), 1), row, sizeof row), 0);
}

TEST(QuibBlt, TakesAnyNonzeroWordForStretching)
{
    Random random(14);
    const Image src = makeRandomHandle(5, 4, 32, random);
    for (const int32_t stretch : {1, 2, -1, 28672, INT32_MIN}) {
        const Image dst = makeHandle(9, 7, 32);
        const QuibRect from{0, 0, 5, 4};
        const QuibRect to{0, 0, 9, 7};
        expectBlit(src.get(), from, dst.get(), to, stretch, plainStretch32);
    }
}

TEST(QuibBlt, StretchesOnOneAxisAlone)
{
    Random random(15);
    const Image src = makeRandomHandle(9, 8, 32, random);
    for (const QuibRect& to : {QuibRect{1, 1, 6, 12}, QuibRect{1, 1, 11, 6}}) {
        const Image dst = makeHandle(12, 13, 32);
        const QuibRect from{2, 1, 7, 6};
        expectBlit(src.get(), from, dst.get(), to, 1, plainStretch32);
    }
}

TEST(QuibBlt, MatchesThePlainStretchOverEverySideOfBothImages)
{
    forEachLevel([] {
        Random random(16);
        for (int round = 0; round < 800; ++round) {
            const Image src = makeRandomHandleUpTo(40, 12, 32, random);
            const Image dst = makeRandomHandleUpTo(60, 14, 32, random);
            const QuibRect from =
                meetingRect(src.get(), random.between(1, 44), random.between(1, 14), random);
            const QuibRect to =
                meetingRect(dst.get(), random.between(1, 64), random.between(1, 20), random);
            if (areOneSize(from, to))
                continue;
            ASSERT_NO_FATAL_FAILURE(expectBlit(src.get(), from, dst.get(), to, 1, plainStretch32));
        }
    });
}

TEST(QuibBlt, StretchesWithinOneHandlePixelByPixel)
{
    forEachLevel([] {
        Random random(21);
        for (int round = 0; round < 150; ++round) {
            const Image handle = makeRandomHandleUpTo(40, 9, 32, random);
            const QuibRect from =
                meetingRect(handle.get(), random.between(1, 44), random.between(1, 10), random);
            const QuibRect to =
                meetingRect(handle.get(), random.between(1, 44), random.between(1, 10), random);
            if (areOneSize(from, to))
                continue;
            ASSERT_NO_FATAL_FAILURE(
                expectBlit(handle.get(), from, handle.get(), to, 1, plainStretch32));
        }
    });
}

TEST(QuibBlt, StaysInsideBothBlocksWhenItStretches)
{
    forEachLevel([] {
        for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
            for (int32_t width = 1; width < 40; ++width) {
                const GuardedHandle src(width, 3, 32, guard);
                const GuardedHandle dst(41 - width, 4, 32, guard);
                src.makeReadOnly();
                EXPECT_EQ(blit(src.get(), {0, 0, width, 3}, dst.get(), {0, 0, 41 - width, 4}, 1),
                          QUIB_OK);
                EXPECT_EQ(blit(src.get(), {width - 1, 2, width + 9, 5}, dst.get(),
                               {40 - width, 2, 60, 9}, 1),
                          QUIB_OK);
                EXPECT_EQ(blit(src.get(), {0, 0, INT32_MAX, INT32_MAX}, dst.get(),
                               {0, 0, 41 - width, 4}, 1),
                          QUIB_OK);
                EXPECT_EQ(
                    blit(src.get(), {0, 0, width, 3}, dst.get(), {0, 0, INT32_MAX, INT32_MAX}, 1),
                    QUIB_OK);
            }
        }
    });
}

TEST(QuibBlt, KeepsARegionHeldBeforeWhenItStretchesFourChannels)
{
    const Image src = makeHandle(6, 6, 32);
    const Image dst = makeHandle(6, 6, 32);
    setRoi(dst.get(), 0, 2, 2, 2, 2);
    const IplROI* held = dst->roi;
    EXPECT_EQ(blit(src.get(), {0, 0, 4, 4}, dst.get(), {0, 0, 6, 6}, 1), QUIB_OK);
    EXPECT_EQ(dst->roi, held);
    EXPECT_EQ(src->roi, nullptr);
}

TEST(QuibBlt, StretchesFourWideChannelsAsPixelsOfFourBytes)
{
    // Four channels are all that is asked of a stretch of this kind.
    Random random(17);
    const Image src = makeImage(6, 4, 4, IPL_DEPTH_16U);
    const Image dst = makeImage(9, 5, 4, IPL_DEPTH_16U);
    randomise(src.get(), random);
    const QuibRect from{0, 0, 6, 4};
    const QuibRect to{0, 0, 9, 5};
    expectBlit(src.get(), from, dst.get(), to, 1, plainStretch32);
}

TEST(QuibBlt, StretchesNothingWhenMemoryForItsTableRunsOut)
{
    Random random(23);
    const Image src = makeRandomHandle(6, 6, 32, random);
    const Image dst = makeHandle(6, 6, 32);
    {
        const FailingAllocation failing;
        EXPECT_EQ(blit(src.get(), {0, 0, 4, 4}, dst.get(), {0, 0, 6, 6}, 1), QUIB_FAILED);
        EXPECT_EQ(failing.asked(), 1);
    }
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(6 * 6 * 4, 0));
}

// --- Stretches through the engine -------------------------------------------------------

TEST(QuibBlt, FreesItsRegions)
{
    const Image src = makeHandle(6, 6, 8);
    const Image dst = makeHandle(6, 6, 8);
    const int64_t before = liveBlocks();
    EXPECT_EQ(blit(src.get(), {0, 0, 3, 3}, dst.get(), {0, 0, 6, 6}, 1), QUIB_OK);
    EXPECT_EQ(blit(src.get(), {0, 0, 3, 3}, dst.get(), {0, 0, 6, 6}, 0), QUIB_OK);
    EXPECT_EQ(liveBlocks(), before);
}

TEST(QuibBlt, StretchesOtherDepthsToTheEnginesNearestPixel)
{
    Random random(18);
    for (int round = 0; round < 600; ++round) {
        const int32_t depths[] = {1, 8, 24};
        const int32_t bitDepth = depths[random.between(0, 2)];
        const Image src = makeRandomHandleUpTo(30, 16, bitDepth, random);
        const Image dst = makeRandomHandleUpTo(30, 16, bitDepth, random);
        const QuibRect from = innerRect(src.get(), random);
        const QuibRect to = innerRect(dst.get(), random);
        if (areOneSize(from, to))
            continue;
        ASSERT_NO_FATAL_FAILURE(expectBlit(src.get(), from, dst.get(), to, 1, plainEngineStretch));
        expectNoRegions(src.get(), dst.get());
    }
}

TEST(QuibBlt, HandsTheClippedCornersAndTheFullSizesToTheEngine)
{
    Random random(19);
    for (int round = 0; round < 300; ++round) {
        const int32_t bitDepth = random.coin() ? 8 : 24;
        const Image src = makeRandomHandleUpTo(20, 12, bitDepth, random);
        const Image dst = makeRandomHandleUpTo(20, 12, bitDepth, random);
        const QuibRect from =
            meetingRect(src.get(), random.between(1, 24), random.between(1, 14), random);
        const QuibRect to =
            meetingRect(dst.get(), random.between(1, 24), random.between(1, 14), random);
        if (areOneSize(from, to))
            continue;
        const Image expected = copyOf(dst.get());
        int32_t x = 0;
        int32_t y = 0;
        ASSERT_TRUE(meets(from, src.get(), &x, &y));
        setRoi(src.get(), 0, x, y, widthOf(from), heightOf(from));
        ASSERT_TRUE(meets(to, dst.get(), &x, &y));
        setRoi(expected.get(), 0, x, y, widthOf(to), heightOf(to));
        iplResize(src.get(), expected.get(), widthOf(to), widthOf(from), heightOf(to),
                  heightOf(from), 0);
        iplDeallocate(src.get(), IPL_IMAGE_ROI);
        ASSERT_EQ(blit(src.get(), from, dst.get(), to, 1), QUIB_OK);
        ASSERT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
    }
}

TEST(QuibBltDeathTest, LeavesAPairOfThreeAndFourChannelsToTheEngine)
{
    const Image colour = makeHandle(4, 4, 24);
    const Image alpha = makeHandle(4, 4, 32);
    for (const auto& [src, dst] :
         {std::pair{colour.get(), alpha.get()}, std::pair{alpha.get(), colour.get()}}) {
        EXPECT_REPORT(blit(src, {0, 0, 2, 2}, dst, {0, 0, 4, 4}, 1), -2, "iplZoom",
                      "srcImage COI != dstImage COI", "iplZoom");
        EXPECT_REPORT(blit(src, {0, 0, 4, 4}, dst, {0, 0, 4, 4}, 1), -5, "iplCopy",
                      "Number of processed channels of srcImage != "
                      "Number of processed channels of dstImage",
                      "iplsce");
    }
}

TEST(QuibBlt, StretchesThreeChannelsAndThreeBesideAlphaThroughTheEngine)
{
    Random random(23);
    const Image colour = makeRandomHandle(5, 4, 24, random);
    const Image target = makeImage(9, 8, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 4);
    randomise(target.get(), random);
    const std::vector<uint8_t> before = bytesOf(target.get());
    EXPECT_EQ(blit(colour.get(), {1, 1, 4, 3}, target.get(), {2, 3, 8, 7}, 1), QUIB_OK);
    for (int32_t y = 0; y < 8; ++y)
        for (int32_t x = 0; x < 9; ++x)
            for (int32_t c = 0; c < 4; ++c) {
                const bool inside = x >= 2 && x < 8 && y >= 3 && y < 7 && c < 3;
                ASSERT_EQ(element(target.get(), x, y, c),
                          inside ? element(colour.get(), 1 + (x - 2) / 2, 1 + (y - 3) / 2, c)
                                 : before[static_cast<size_t>(y * 36 + x * 4 + c)]);
            }
}

TEST(QuibBlt, KeepsRegionsHeldBeforeWhenItRefuses)
{
    const CleanStatus clean;
    for (const int32_t bitDepth : {8, 32}) {
        const Image src = makeHandle(6, 6, bitDepth);
        const Image dst = makeHandle(6, 6, bitDepth);
        setRoi(src.get(), 0, 1, 1, 2, 2);
        setRoi(dst.get(), 0, 2, 2, 2, 2);
        const IplROI* const held[] = {src->roi, dst->roi};
        EXPECT_EQ(blit(src.get(), {0, 0, 0, 2}, dst.get(), {0, 0, 4, 4}, 1), QUIB_BAD_ARGUMENT);
        EXPECT_EQ(blit(src.get(), {0, 0, 2, 2}, dst.get(), {9, 0, 12, 4}, 1), QUIB_BAD_ARGUMENT);
        dst->align = 5;
        EXPECT_EQ(blit(src.get(), {0, 0, 2, 2}, dst.get(), {0, 0, 4, 4}, 1), -21);
        EXPECT_EQ(src->roi, held[0]);
        EXPECT_EQ(dst->roi, held[1]);
    }
}

TEST(QuibBltDeathTest, EndsTheProcessWhenTheEngineRefusesToStretch)
{
    const Image colour = makeHandle(4, 4, 24);
    const Image alpha = makeHandle(4, 4, 32);
    EXPECT_REPORT(blit(alpha.get(), {0, 0, 4, 4}, colour.get(), {0, 0, 2, 2}, 1), -2, "iplZoom",
                  "srcImage COI != dstImage COI", "iplZoom");
    EXPECT_REPORT(blit(colour.get(), {0, 0, 4, 4}, colour.get(), {0, 0, 2, 2}, 1), -5, "iplZoom",
                  "This function isn`t in-plase function", "iplZoom");
}

TEST(QuibBltDeathTest, EndsTheProcessWhenAnOldFailureIsOnRecordBeforeAStretch)
{
    const Image src = makeHandle(4, 4, 24);
    const Image dst = makeHandle(4, 4, 24);
    EXPECT_REPORT(
        {
            iplSetStatus(-10);
            blit(src.get(), {0, 0, 4, 4}, dst.get(), {0, 0, 2, 2}, 1);
        },
        -1, "iplResize", "", "iplresiz");
}
