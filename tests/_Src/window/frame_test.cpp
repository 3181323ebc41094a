#include "_Src/window/frame.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_image.h"
#include "tests/support/window.h"

namespace
{

// A filter whose result tells what its window holds, and where.
double digest(const std::vector<double>& window, uint32_t depth)
{
    double sum = 0;
    double weight = 1;
    for (const double value : window) {
        sum += value * weight;
        weight = weight < 3 ? weight + 1 : 1;
    }
    if (depth == IPL_DEPTH_32F)
        return static_cast<float>(sum);
    if (depth == IPL_DEPTH_1U)
        return static_cast<int64_t>(sum) & 1;
    return wrapped(depth, static_cast<int64_t>(sum));
}

void putRowElement(uint32_t depth, void* row, ptrdiff_t index, double value)
{
    switch (depth) {
    case IPL_DEPTH_8S:
        static_cast<int8_t*>(row)[index] = static_cast<int8_t>(value);
        break;
    case IPL_DEPTH_16U:
        static_cast<uint16_t*>(row)[index] = static_cast<uint16_t>(value);
        break;
    case IPL_DEPTH_16S:
        static_cast<int16_t*>(row)[index] = static_cast<int16_t>(value);
        break;
    case IPL_DEPTH_32S:
        static_cast<int32_t*>(row)[index] = static_cast<int32_t>(value);
        break;
    case IPL_DEPTH_32F:
        static_cast<float*>(row)[index] = static_cast<float>(value);
        break;
    default:
        static_cast<uint8_t*>(row)[index] = static_cast<uint8_t>(value);
    }
}

IplReach reachOf(const PlainWindow& window)
{
    return {window.anchorX, window.anchorY, window.nCols - 1 - window.anchorX,
            window.nRows - 1 - window.anchorY};
}

// The filter through the frame, for strips of so many columns.
IplWindowEnd filterByFrame(const IplImage* src, IplImage* dst, const PlainWindow& window,
                           int32_t stripColumns = 0)
{
    IplWindowJob job{src, dst, reachOf(window)};
    job.stripColumns = stripColumns;
    return ownFilterWindows(job, [&](const IplWindowRow& row) {
        for (int32_t i = 0; i < row.width * row.channels; ++i) {
            std::vector<double> values;
            for (int32_t r = 0; r < window.nRows; ++r)
                for (int32_t k = 0; k < window.nCols; ++k)
                    values.push_back(rowElement(src->depth, row.rows[r],
                                                i + (k - window.anchorX) * row.channels));
            putRowElement(src->depth, row.result, i, digest(values, src->depth));
        }
        return true;
    });
}

void runByFrame(const IplImage* src, IplImage* dst, const PlainWindow& window)
{
    ASSERT_EQ(filterByFrame(src, dst, window), IplWindowEnd::complete);
}

PlainFilter digestOf(uint32_t depth)
{
    return [depth](const std::vector<double>& window) { return digest(window, depth); };
}

} // namespace

TEST(WindowFrame, IsThePlainWalk)
{
    Random random(1);
    for (const uint32_t depth : allDepths)
        for (int i = 0; i < 120; ++i)
            expectPlainFilter(randomFilterImages(depth, random), randomPlainWindow(9, random),
                              runByFrame, digestOf(depth));
}

TEST(WindowFrame, StripsGiveTheSame)
{
    Random random(2);
    for (const uint32_t depth : allDepths) {
        for (int i = 0; i < 40; ++i) {
            const int32_t columns = random.between(1, 12);
            const auto call = [columns](const IplImage* src, IplImage* dst,
                                        const PlainWindow& window) {
                ASSERT_EQ(filterByFrame(src, dst, window, columns), IplWindowEnd::complete);
            };
            expectPlainFilter(randomFilterImages(depth, random), randomPlainWindow(9, random), call,
                              digestOf(depth));
        }
    }
}

TEST(WindowFrame, TilesGiveTheSame)
{
    Random random(3);
    for (const uint32_t depth : allDepths)
        for (int i = 0; i < 60; ++i)
            expectSameFilterInTiles(randomFilterImages(depth, random), randomPlainWindow(9, random),
                                    runByFrame, random);
}

TEST(WindowFrame, InPlaceReadsUnchangedPixels)
{
    Random random(4);
    for (const uint32_t depth : allDepths) {
        for (int i = 0; i < 60; ++i) {
            Arrangement images = randomFilterImages(depth, random);
            IplImage* image = images.a.get();
            const PlainWindow window = randomPlainWindow(9, random);
            const Twin source(image);
            copyBorders(source.get(), image);
            const Twin expected(image);
            plainFilter(plainJob(source.get(), nullptr, expected.get()), window, digestOf(depth));
            TiledTwin tiled(image, 16, 8);
            copyBorders(tiled.get(), image);
            runByFrame(image, image, window);
            ASSERT_EQ(bytesOf(image), bytesOf(expected.get())) << images.text() << describe(window);
            runByFrame(tiled.get(), tiled.get(), window);
            tiled.collect(image);
            ASSERT_EQ(bytesOf(image), bytesOf(expected.get())) << images.text() << describe(window);
        }
    }
}

TEST(WindowFrame, PixelsInCommonAtOtherPlacesAreReadUnchanged)
{
    Random random(5);
    for (int i = 0; i < 100; ++i) {
        Image image = makeImage(30, 12, 3, IPL_DEPTH_8U, random.between(0, 1));
        randomise(image.get(), random);
        giveRandomBorders(image.get(), random);
        const Twin source(image.get());
        copyBorders(source.get(), image.get());
        const Twin expected(image.get());
        IplImage moved = *image;
        IplROI from{random.between(0, 3), random.between(0, 5), random.between(0, 5), 20, 7};
        IplROI to{from.coi, random.between(0, 5), random.between(0, 5), 20, 7};
        const PlainWindow window = randomPlainWindow(9, random);
        moved.roi = &to;
        image->roi = &from;
        source.get()->roi = &from;
        expected.get()->roi = &to;
        plainFilter(plainJob(source.get(), nullptr, expected.get()), window,
                    digestOf(IPL_DEPTH_8U));
        runByFrame(image.get(), &moved, window);
        image->roi = nullptr;
        ASSERT_EQ(bytesOf(image.get()), bytesOf(expected.get())) << i;
    }
}

TEST(WindowFrame, VectorsHaveTheirChannelsSideBySide)
{
    Random random(6);
    for (int i = 0; i < 120; ++i) {
        const int32_t alpha = random.coin() ? 4 : 0;
        const int32_t channels = alpha ? 4 : 3;
        const auto make = [&] {
            Image image = makeImage(random.between(1, 20), random.between(1, 9), channels,
                                    IPL_DEPTH_16U, random.between(0, 1), 4, alpha);
            randomise(image.get(), random);
            return image;
        };
        const Image src = make();
        const Image dst = make();
        const Twin expected(dst.get());
        TiledTwin tiledSrc(src.get(), 8, 8);
        TiledTwin tiledDst(dst.get(), 8, 8);
        const auto run = [](const IplImage* from, IplImage* to) {
            IplWindowJob job{from, to, {0, 0, 0, 0}};
            job.vectors = true;
            ASSERT_EQ(ownFilterWindows(job,
                                       [](const IplWindowRow& row) {
                                           uint16_t* out = static_cast<uint16_t*>(row.result);
                                           const uint16_t* in =
                                               reinterpret_cast<const uint16_t*>(row.rows[0]);
                                           for (int32_t x = 0; x < row.width; ++x)
                                               for (int32_t c = 0; c < 3; ++c)
                                                   out[x * row.channels + c] =
                                                       in[x * row.channels + 2 - c];
                                           return true;
                                       }),
                      IplWindowEnd::complete);
        };
        for (int32_t y = 0; y < std::min(src->height, dst->height); ++y)
            for (int32_t x = 0; x < std::min(src->width, dst->width); ++x)
                for (int32_t c = 0; c < 3; ++c)
                    putElement(expected.get(), x, y, c, element(src.get(), x, y, 2 - c));
        run(tiledSrc.get(), tiledDst.get());
        const Twin collected(dst.get());
        tiledDst.collect(collected.get());
        ASSERT_EQ(bytesOf(collected.get()), bytesOf(expected.get()));
        run(src.get(), dst.get());
        ASSERT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
    }
}

TEST(WindowFrame, TellsHowItEnded)
{
    const Image src = makeImage(20, 20, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(20, 20, 1, IPL_DEPTH_8U);
    const PlainWindow window{3, 3, 1, 1};
    {
        FailingAllocation failure;
        EXPECT_EQ(filterByFrame(src.get(), dst.get(), window), IplWindowEnd::noMemory);
    }
    EXPECT_EQ(ownFilterWindows({src.get(), dst.get(), {1, 1, 1, 1}},
                               [](const IplWindowRow&) { return false; }),
              IplWindowEnd::noMemory);
    TiledImage tiles(src.get(), 8, 8);
    tiles.failFrom = 4;
    EXPECT_EQ(filterByFrame(tiles.get(), dst.get(), window), IplWindowEnd::noTile);
    tiles.failFrom = 14;
    EXPECT_EQ(filterByFrame(src.get(), tiles.get(), window), IplWindowEnd::noTile);
}

TEST(WindowFrame, TellsThatThereIsNoMemoryForACopy)
{
    Random random(8);
    Image image = makeImage(20, 20, 1, IPL_DEPTH_8U);
    randomise(image.get(), random);
    const std::vector<uint8_t> before = bytesOf(image.get());
    IplImage moved = *image;
    IplROI to{0, 1, 1, 9, 9};
    moved.roi = &to;
    const int64_t held = liveBlocks();
    {
        FailingAllocation failure;
        EXPECT_EQ(filterByFrame(image.get(), &moved, {3, 3, 1, 1}), IplWindowEnd::noMemory);
    }
    EXPECT_EQ(bytesOf(image.get()), before);
    EXPECT_EQ(liveBlocks(), held);
}

TEST(WindowFrame, FetchesATileAtATime)
{
    const Image image = makeImage(20, 12, 1, IPL_DEPTH_8U);
    const TiledImage src(image.get(), 16, 8);
    const TiledImage dst(image.get(), 8, 8);
    EXPECT_EQ(filterByFrame(src.get(), dst.get(), {3, 3, 1, 1}), IplWindowEnd::complete);
    EXPECT_EQ(src.log, fetches(toRead, {{0, 0}, {1, 0}, {0, 1}, {1, 1}}));
    EXPECT_EQ(dst.log, fetches(toWrite, {{0, 0}, {1, 0}, {2, 0}, {0, 1}, {1, 1}, {2, 1}}));
}

TEST(WindowFrame, TouchesNothingOutsideTheBlocks)
{
    for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
        for (const int32_t bitDepth : {1, 8, 24, 32}) {
            const GuardedHandle src(37, 5, bitDepth, guard);
            const GuardedHandle dst(37, 5, bitDepth, guard);
            src.makeReadOnly();
            EXPECT_EQ(filterByFrame(src.get(), dst.get(), {5, 7, 4, 1}), IplWindowEnd::complete);
        }
    }
}
