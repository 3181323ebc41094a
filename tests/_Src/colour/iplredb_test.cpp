#include "_Src/ipl.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/plain_reduction.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"

#include <array>
#include <climits>
#include <limits>

namespace
{

constexpr int32_t allDithers[] = {IPL_DITHER_NONE, IPL_DITHER_FS, IPL_DITHER_JJH,
                                  IPL_DITHER_STUCKEY, IPL_DITHER_BAYER};
constexpr int32_t diffusions[] = {IPL_DITHER_FS, IPL_DITHER_JJH, IPL_DITHER_STUCKEY};

using Values = std::vector<double>;

Image grayImage(int32_t width, const Values& values, uint32_t depth = IPL_DEPTH_8U)
{
    Image image = makeImage(width, static_cast<int32_t>(values.size()) / width, 1, depth);
    for (int32_t i = 0; i < static_cast<int32_t>(values.size()); ++i)
        putElement(image.get(), i % width, i / width, 0, values[static_cast<size_t>(i)]);
    return image;
}

Values valuesOf(const IplImage* image)
{
    Values values;
    for (int32_t y = 0; y < image->height; ++y)
        for (int32_t x = 0; x < image->width; ++x)
            values.push_back(element(image, x, y, 0));
    return values;
}

Image reduced(const IplImage* src, int32_t ditherType, int32_t levels, uint32_t depth,
              int32_t noise = 0)
{
    Image dst = makeImage(src->width, src->height, src->nChannels, depth, src->dataOrder, 4,
                          src->alphaChannel);
    iplReduceBits(src, dst.get(), noise, ditherType, levels);
    return dst;
}

// What two levels of 8 bits make of a row.
Values twoLevels(const Values& row, int32_t ditherType)
{
    const Image src = grayImage(static_cast<int32_t>(row.size()), row);
    return valuesOf(reduced(src.get(), ditherType, 2, IPL_DEPTH_8U).get());
}

Image constantImage(int32_t width, int32_t height, double value, uint32_t depth = IPL_DEPTH_8U)
{
    return grayImage(width, Values(static_cast<size_t>(width) * static_cast<size_t>(height), value),
                     depth);
}

double sumOf(const Values& values)
{
    double sum = 0;
    for (const double value : values)
        sum += value;
    return sum;
}

} // namespace

// --- Worked rows -----------------------------------------------------------------------

TEST(IplReduceBits, CarriesTheErrorsOfFloydAndSteinbergAlongARow)
{
    // 100 is black: 7/16 of 100 make the next one 143.75, white; -111.25 of it the
    // third 51.328125.
    EXPECT_EQ(twoLevels({100, 100, 100}, IPL_DITHER_FS), (Values{0, 255, 0}));
    EXPECT_EQ(twoLevels({100, 83, 100}, IPL_DITHER_FS), (Values{0, 0, 255}));
}

TEST(IplReduceBits, RoundsHalvesUp)
{
    // 7/16 of 8 on 124 is 127.5.
    EXPECT_EQ(twoLevels({8, 124}, IPL_DITHER_FS), (Values{0, 255}));
    EXPECT_EQ(twoLevels({8, 123}, IPL_DITHER_FS), (Values{0, 0}));
    // 7/48 of 24 on 124 is 127.5, and so is 8/42 of 21 on 123.5.
    EXPECT_EQ(twoLevels({24, 124}, IPL_DITHER_JJH), (Values{0, 255}));
    // Three levels of bytes: the middle one is 127.5.
    const Image image = grayImage(3, {0, 127.0, 255});
    EXPECT_EQ(valuesOf(reduced(image.get(), IPL_DITHER_FS, 3, IPL_DEPTH_8U).get()),
              (Values{0, 128, 255}));
}

// A lone error of the weights' sum reaches each neighbour as its weight. All others
// are white with what they get, so that nothing else spreads.
TEST(IplReduceBits, SpreadsAnErrorByTheWeightsOfItsMethod)
{
    const struct {
        int32_t ditherType;
        double sum;
        double weights[3][5];
    } methods[] = {
        {IPL_DITHER_FS, 16, {{0, 0, 0, 7, 0}, {0, 3, 5, 1, 0}, {0, 0, 0, 0, 0}}},
        {IPL_DITHER_JJH, 48, {{0, 0, 0, 7, 5}, {3, 5, 7, 5, 3}, {1, 3, 5, 3, 1}}},
        {IPL_DITHER_STUCKEY, 42, {{0, 0, 0, 8, 4}, {2, 4, 8, 4, 2}, {1, 2, 4, 2, 1}}},
    };
    for (const auto& method : methods) {
        for (int32_t probe = 3; probe < 15; ++probe) {
            for (const double value : {127.0, 128.0}) {
                Values pixels;
                for (int32_t i = 0; i < 15; ++i)
                    pixels.push_back((i == probe ? value : 255) - method.weights[i / 5][i % 5]);
                pixels[2] = method.sum;
                const Image src = grayImage(5, pixels);
                const Image dst = reduced(src.get(), method.ditherType, 2, IPL_DEPTH_8U);
                EXPECT_EQ(element(dst.get(), probe % 5, probe / 5, 0), value < 127.5 ? 0 : 255)
                    << method.ditherType << " at " << probe;
            }
        }
    }
}

TEST(IplReduceBits, ComparesWithTheThresholdsOfBayersMatrix)
{
    // A gray of g is white where (g / 255) + (m + 1/2) / 64 is at least 1.
    for (const int32_t gray : {0, 1, 2, 64, 127, 128, 200, 253, 254, 255}) {
        const Image src = constantImage(16, 16, gray);
        const Values result = valuesOf(reduced(src.get(), IPL_DITHER_BAYER, 2, IPL_DEPTH_8U).get());
        for (int32_t i = 0; i < 256; ++i) {
            const int32_t m = plainBayer(i % 8, i / 16 % 8);
            EXPECT_EQ(result[static_cast<size_t>(i)],
                      128 * gray + 255 * (2 * m + 1) >= 255 * 128 ? 255 : 0);
        }
    }
}

TEST(IplReduceBits, HasEachThresholdOfBayersMatrixOnce)
{
    std::vector<int32_t> whites;
    for (int32_t gray = 0; gray < 256; ++gray) {
        const Image src = constantImage(8, 8, gray);
        whites.push_back(static_cast<int32_t>(
            sumOf(valuesOf(reduced(src.get(), IPL_DITHER_BAYER, 2, IPL_DEPTH_1U).get()))));
    }
    EXPECT_EQ(whites.front(), 0);
    EXPECT_EQ(whites.back(), 64);
    for (size_t gray = 1; gray < 256; ++gray)
        EXPECT_TRUE(whites[gray] == whites[gray - 1] || whites[gray] == whites[gray - 1] + 1);
    // The first rows of the matrix as it was published, times 255 / 64.
    const Image src = constantImage(4, 1, 96); // 24.1 of 64 thresholds: those from 40 on
    EXPECT_EQ(valuesOf(reduced(src.get(), IPL_DITHER_BAYER, 2, IPL_DEPTH_8U).get()),
              (Values{0, 0, 0, 255}));
}

TEST(IplReduceBits, KeepsTheHighBitsWithoutDither)
{
    const auto none = [](double value, uint32_t from, uint32_t to) {
        const Image src = grayImage(1, {value}, from);
        return valuesOf(reduced(src.get(), IPL_DITHER_NONE, -7, to).get())[0];
    };
    EXPECT_EQ(none(0x7FFF, IPL_DEPTH_16U, IPL_DEPTH_8U), 0x7F);
    EXPECT_EQ(none(0x8000, IPL_DEPTH_16U, IPL_DEPTH_8U), 0x80);
    EXPECT_EQ(none(127, IPL_DEPTH_8U, IPL_DEPTH_1U), 0);
    EXPECT_EQ(none(128, IPL_DEPTH_8U, IPL_DEPTH_1U), 1);
    EXPECT_EQ(none(77, IPL_DEPTH_8U, IPL_DEPTH_8U), 77);
    EXPECT_EQ(none(INT32_MAX, IPL_DEPTH_32S, IPL_DEPTH_16U), 65535);
    EXPECT_EQ(none(0x7FFF, IPL_DEPTH_32S, IPL_DEPTH_16U), 0);
    EXPECT_EQ(none(-1, IPL_DEPTH_32S, IPL_DEPTH_16U), 0);
    EXPECT_EQ(none(-1, IPL_DEPTH_32S, IPL_DEPTH_32S), -1);
    EXPECT_EQ(none(-0.5, IPL_DEPTH_32F, IPL_DEPTH_32F), -0.5);
    EXPECT_EQ(none(4294967040.0, IPL_DEPTH_32F, IPL_DEPTH_8U), 255);
    EXPECT_EQ(none(2147483648.0, IPL_DEPTH_32F, IPL_DEPTH_1U), 1);
    EXPECT_EQ(none(1e30, IPL_DEPTH_32F, IPL_DEPTH_32S), INT32_MAX);
}

TEST(IplReduceBits, GivesOneLevelMoreThanTheHighest)
{
    // A ramp over all values at 5 levels: all five, evenly spread, and no others.
    Values ramp;
    for (int32_t i = 0; i < 256; ++i)
        ramp.push_back(i);
    const Image src = grayImage(16, ramp);
    for (const int32_t ditherType : diffusions) {
        Values found = valuesOf(reduced(src.get(), ditherType, 5, IPL_DEPTH_8U).get());
        std::sort(found.begin(), found.end());
        found.erase(std::unique(found.begin(), found.end()), found.end());
        EXPECT_EQ(found, (Values{0, 64, 128, 191, 255}));
    }
}

TEST(IplReduceBits, KeepsTheMeanOfAnImage)
{
    for (const int32_t ditherType : allDithers) {
        if (ditherType == IPL_DITHER_NONE)
            continue;
        for (const int32_t gray : {16, 100, 128, 220}) {
            const Image src = constantImage(64, 64, gray);
            const Image dst = reduced(src.get(), ditherType, 2, IPL_DEPTH_8U);
            EXPECT_NEAR(sumOf(valuesOf(dst.get())) / 4096, gray, 3.0) << ditherType;
        }
    }
}

TEST(IplReduceBits, TakesFloatsThatAreNoNumbersForTheEndsOfTheRange)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const Image src =
        grayImage(1, {std::nan(""), -infinity, infinity, 0, 4294967295.0, -5}, IPL_DEPTH_32F);
    const Image dst = reduced(src.get(), IPL_DITHER_BAYER, 2, IPL_DEPTH_8U);
    EXPECT_EQ(valuesOf(dst.get()), (Values{0, 0, 255, 0, 255, 0}));
    // Nothing of them stays in the errors.
    const Image row = grayImage(3, {std::nan(""), infinity, 4294967295.0}, IPL_DEPTH_32F);
    for (const int32_t ditherType : diffusions)
        EXPECT_EQ(valuesOf(reduced(row.get(), ditherType, 2, IPL_DEPTH_8U).get()),
                  (Values{0, 255, 255}));
}

// --- All arrangements ------------------------------------------------------------------

namespace
{

// Elements in and somewhat beyond the range that levels are spread over.
void fillForLevels(IplImage* image, Random& random)
{
    if (!isFloat(image))
        return fillTelling(image, random);
    float* values = reinterpret_cast<float*>(image->imageData);
    for (int32_t i = 0; i < image->imageSize / 4; ++i)
        values[i] = static_cast<float>(random.between(-100, 4395)) * 1000000.0f;
}

constexpr uint32_t sourceDepths[] = {IPL_DEPTH_8U, IPL_DEPTH_16U, IPL_DEPTH_32S, IPL_DEPTH_32F};
constexpr uint32_t resultDepths[] = {IPL_DEPTH_1U, IPL_DEPTH_8U, IPL_DEPTH_16U, IPL_DEPTH_32S,
                                     IPL_DEPTH_32F};

uint32_t randomDepthUpTo(uint32_t depth, Random& random)
{
    for (;;) {
        const uint32_t chosen = resultDepths[random.between(0, 4)];
        if ((chosen & IPL_DEPTH_MASK) <= (depth & IPL_DEPTH_MASK))
            return chosen;
    }
}

int32_t randomLevels(uint32_t depth, Random& random)
{
    const int32_t few[] = {2, 2, 3, 4, 16, 256, 257};
    const int32_t levels =
        random.between(0, 9) == 0 ? random.between(2, INT32_MAX) : few[random.between(0, 6)];
    const double range = reductionRange(depth);
    return range + 2 < levels ? static_cast<int32_t>(range) + 2 : levels;
}

// Wide enough for whole vectors now and then.
Image imageForReduction(uint32_t depth, int32_t order, const Shape& shape, Random& random)
{
    const int32_t most = random.between(0, 3) == 0 ? 90 : 30;
    Image image =
        makeImage(random.between(1, most), random.between(1, 30), shape.nChannels, depth, order,
                  4 << random.between(0, 3), shape.alphaChannel, random.between(0, 1));
    fillForLevels(image.get(), random);
    if (shape.coi > 0 || random.between(0, 2) == 0) {
        giveRandomRoi(image.get(), shape.coi, random);
        image->roi->width = random.between(1, 90);
        image->roi->height = random.between(1, 30);
    }
    if (random.between(0, 2) == 0)
        giveMaskAtOddOffset(image.get(), random);
    return image;
}

Arrangement randomReduction(uint32_t depth, Random& random)
{
    const uint32_t to = randomDepthUpTo(depth, random);
    const int32_t order = random.between(0, 1);
    const int32_t channels = to == IPL_DEPTH_1U ? 1 : random.between(1, 4);
    const int32_t alpha = channels > 1 && random.coin() ? channels : 0;
    // The source may have more channels, if there is no alpha to agree in.
    const int32_t more = channels > 1 && alpha == 0 ? random.between(0, 1) : 0;
    const auto coi = [&](int32_t count) {
        return count > 1 && random.between(0, 3) == 0 ? random.between(1, count) : 0;
    };
    Arrangement images;
    images.a =
        imageForReduction(depth, order, {channels + more, alpha, coi(channels + more)}, random);
    images.dst = imageForReduction(to, order, {channels, alpha, coi(channels)}, random);
    return images;
}

int32_t randomDither(Random& random)
{
    return allDithers[random.between(0, 4)];
}

} // namespace

TEST(IplReduceBits, EqualsThePlainFormForAllImages)
{
    forEachLevel([] {
        Random random(971);
        for (int32_t round = 0; round < 1200; ++round) {
            const Arrangement images = randomReduction(sourceDepths[round % 4], random);
            const int32_t ditherType = randomDither(random);
            const int32_t levels = randomLevels(images.dst->depth, random);
            const Twin expected(images.dst.get());
            plainReduce(images.a.get(), expected.get(), ditherType, levels);
            iplReduceBits(images.a.get(), images.dst.get(), 0, ditherType, levels);
            ASSERT_EQ(bytesOf(images.dst.get()), bytesOf(expected.get()))
                << images.text() << " dither " << ditherType << " levels " << levels;
        }
    });
}

TEST(IplReduceBits, GivesTheSameInTiles)
{
    Random random(972);
    for (int32_t round = 0; round < 400; ++round) {
        const Arrangement images = randomReduction(sourceDepths[round % 4], random);
        const int32_t ditherType = randomDither(random);
        const int32_t levels = randomLevels(images.dst->depth, random);
        const int32_t noise = random.coin() ? 0 : random.between(0, 100);
        ASSERT_NO_FATAL_FAILURE(expectSameInTiles(
            images,
            [&](const IplImage* a, const IplImage*, IplImage* dst) {
                iplReduceBits(a, dst, noise, ditherType, levels);
            },
            random));
    }
}

TEST(IplReduceBits, StaysInsideItsImages)
{
    forEachLevel([] {
        Random random(973);
        for (int32_t round = 0; round < 200; ++round) {
            const uint32_t depth = sourceDepths[round % 4];
            const Image src = makeImage(random.between(1, 70), random.between(1, 20), 1, depth);
            fillForLevels(src.get(), random);
            const Image dst = makeImage(random.between(1, 70), random.between(1, 20), 1,
                                        randomDepthUpTo(depth, random));
            const GuardedBuffer from(static_cast<size_t>(src->imageSize));
            const GuardedBuffer to(static_cast<size_t>(dst->imageSize));
            IplImage guardedSrc = *src;
            IplImage guardedDst = *dst;
            std::memcpy(from.data(), src->imageData, from.size());
            std::memset(to.data(), 0, to.size());
            from.makeReadOnly();
            guardedSrc.imageData = from.as<char>();
            guardedDst.imageData = to.as<char>();
            const int32_t ditherType = randomDither(random);
            iplReduceBits(&guardedSrc, &guardedDst, 0, ditherType, 2);
            iplReduceBits(src.get(), dst.get(), 0, ditherType, 2);
            ASSERT_EQ(to.contents(), bytesOf(dst.get()));
        }
    });
}

TEST(IplReduceBits, ReadsPixelsThatAreItsResultsToo)
{
    // Two records of one block.
    Random random(974);
    const Image image = makeImage(61, 23, 1, IPL_DEPTH_8U);
    for (const int32_t ditherType : allDithers) {
        randomise(image.get(), random);
        const Image expected = reduced(image.get(), ditherType, 4, IPL_DEPTH_8U);
        IplImage other = *image;
        iplReduceBits(image.get(), &other, 0, ditherType, 4);
        for (int32_t y = 0; y < 23; ++y)
            ASSERT_EQ(std::memcmp(rowOf(image.get(), y), rowOf(expected.get(), y), 61), 0)
                << ditherType;
    }
}

TEST(IplReduceBits, WalksTheSmallerOfBothSizes)
{
    Random random(975);
    const Image lesser = makeImage(5, 4, 1, IPL_DEPTH_8U);
    const Image larger = makeImage(9, 7, 1, IPL_DEPTH_8U);
    randomise(larger.get(), random);
    iplReduceBits(larger.get(), lesser.get(), 0, IPL_DITHER_FS, 2);
    Image part = makeImage(5, 4, 1, IPL_DEPTH_8U);
    for (int32_t y = 0; y < 4; ++y)
        std::memcpy(rowOf(part.get(), y), rowOf(larger.get(), y), 5);
    EXPECT_EQ(valuesOf(lesser.get()),
              valuesOf(reduced(part.get(), IPL_DITHER_FS, 2, IPL_DEPTH_8U).get()));
    const std::vector<uint8_t> before = bytesOf(larger.get());
    iplReduceBits(lesser.get(), larger.get(), 0, IPL_DITHER_NONE, 0);
    for (int32_t y = 0; y < 7; ++y)
        for (int32_t x = 0; x < 9; ++x)
            EXPECT_EQ(element(larger.get(), x, y, 0),
                      x < 5 && y < 4 ? element(lesser.get(), x, y, 0)
                                     : before[static_cast<size_t>(12 * y + x)]);
}

TEST(IplReduceBits, LeavesAlphaAsItIs)
{
    Random random(976);
    for (const int32_t order : {0, 1}) {
        for (const int32_t ditherType : allDithers) {
            const Image src = makeImage(13, 9, 4, IPL_DEPTH_8U, order, 4, 4);
            const Image dst = makeImage(13, 9, 4, IPL_DEPTH_8U, order, 4, 4);
            randomise(src.get(), random);
            randomise(dst.get(), random);
            const Image before(iplCloneImage(dst.get()));
            iplReduceBits(src.get(), dst.get(), 30, ditherType, 2);
            for (int32_t y = 0; y < 9; ++y)
                for (int32_t x = 0; x < 13; ++x)
                    ASSERT_EQ(element(dst.get(), x, y, 3), element(before.get(), x, y, 3));
        }
    }
}

// --- Noise -----------------------------------------------------------------------------

TEST(IplReduceBits, HasTheSameNoiseInEachCallAndOrder)
{
    Random random(977);
    const Image pixels = makeImage(40, 21, 3, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL);
    const Image planes = makeImage(40, 21, 3, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE);
    randomise(pixels.get(), random);
    for (int32_t i = 0; i < 40 * 21 * 3; ++i)
        putElement(planes.get(), i / 3 % 40, i / 120, i % 3,
                   element(pixels.get(), i / 3 % 40, i / 120, i % 3));
    forEachLevel([&] {
        for (const int32_t ditherType : allDithers) {
            const Image first = reduced(pixels.get(), ditherType, 4, IPL_DEPTH_8U, 60);
            const Image second = reduced(pixels.get(), ditherType, 4, IPL_DEPTH_8U, 60);
            const Image third = reduced(planes.get(), ditherType, 4, IPL_DEPTH_8U, 60);
            const Image quiet = reduced(pixels.get(), ditherType, 4, IPL_DEPTH_8U, 0);
            EXPECT_EQ(bytesOf(first.get()), bytesOf(second.get()));
            EXPECT_EQ(bytesOf(first.get()) == bytesOf(quiet.get()), ditherType == IPL_DITHER_NONE);
            for (int32_t i = 0; i < 40 * 21 * 3; ++i)
                ASSERT_EQ(element(first.get(), i / 3 % 40, i / 120, i % 3),
                          element(third.get(), i / 3 % 40, i / 120, i % 3));
        }
    });
}

TEST(IplReduceBits, KeepsANoiseBelowHalfALevelFromGraysThatAreLevels)
{
    // Of 4 levels of bytes, 85 is one: its neighbours begin 42.5 away.
    const Image src = constantImage(64, 64, 85);
    for (const int32_t ditherType : diffusions) {
        EXPECT_EQ(valuesOf(reduced(src.get(), ditherType, 4, IPL_DEPTH_8U, 49).get()),
                  Values(4096, 85.0));
        const Values noisy = valuesOf(reduced(src.get(), ditherType, 4, IPL_DEPTH_8U, 100).get());
        EXPECT_GT(std::count(noisy.begin(), noisy.end(), 0.0), 200);
        EXPECT_GT(std::count(noisy.begin(), noisy.end(), 170.0), 200);
        // What the noise displaces goes to the neighbours.
        EXPECT_NEAR(sumOf(noisy) / 4096, 85, 3);
    }
}

TEST(IplReduceBits, ShiftsOrderedGraysUpAndDownAlike)
{
    const Image src = constantImage(64, 64, 128);
    const Values noisy = valuesOf(reduced(src.get(), IPL_DITHER_BAYER, 2, IPL_DEPTH_8U, 100).get());
    EXPECT_NEAR(sumOf(noisy) / 4096, 128, 8);
    const Image quiet = reduced(src.get(), IPL_DITHER_BAYER, 2, IPL_DEPTH_8U, 0);
    int32_t changed = 0;
    for (size_t i = 0; i < noisy.size(); ++i)
        changed += noisy[i] != valuesOf(quiet.get())[i];
    EXPECT_GT(changed, 400);
}

// --- Refusals --------------------------------------------------------------------------

namespace
{

struct Call {
    Image src = makeImage(4, 4, 1, IPL_DEPTH_8U);
    Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    int32_t noise = 0;
    int32_t ditherType = IPL_DITHER_FS;
    int32_t levels = 2;

    void run() const { iplReduceBits(src.get(), dst.get(), noise, ditherType, levels); }
};

// Refused with this text first; the destination stays.
void expectNotReduced(const Call& call, const std::string& text, int32_t status = -5)
{
    SCOPED_TRACE(text);
    EXPECT_REPORT(call.run(), status, "iplReduceBits", text, "iplredb");
    const RecordedReports reports;
    const std::vector<uint8_t> before = call.dst ? bytesOf(call.dst.get()) : std::vector<uint8_t>();
    call.run();
    EXPECT_EQ(reports.all(), (std::vector<Report>{{status, "iplReduceBits", text, "iplredb"}}));
    EXPECT_EQ(call.dst ? bytesOf(call.dst.get()) : std::vector<uint8_t>(), before);
}

constexpr const char* wrongLevels = "You incorrectly have set an amount of levels";
constexpr const char* wrongDither =
    "ditherType != IPL_DITHER_NONE && ditherType != IPL_DITHER_FS && ditherType != IPL_DITHER_JJH "
    "&& ditherType != IPL_DITHER_STUCKEY && ditherType != IPL_DITHER_BAYER";
constexpr const char* signedSource =
    "!( ( srcImage->depth == IPL_DEPTH_32S ) || ((srcImage->depth & IPL_DEPTH_SIGN)==0))";
constexpr const char* signedResult =
    "!( ( dstImage->depth == IPL_DEPTH_32S ) || ((dstImage->depth & IPL_DEPTH_SIGN)==0))";

} // namespace

TEST(IplReduceBits, RefusesBadImages)
{
    Call call;
    call.src.reset();
    expectNotReduced(call, "Incorrect Image", -9);
    call = {};
    call.src->align = 3;
    expectNotReduced(call, "Incorrect Image", -21);
    call = {};
    call.dst->align = 3;
    expectNotReduced(call, "Incorrect Image", -21);
    call.dst.reset();
    expectNotReduced(call, "Incorrect Image", -9);
}

// Each call has the failures of all tests below its own too: the first is told.
TEST(IplReduceBits, RefusesInItsOrder)
{
    Call call;
    call.src = makeImage(4, 4, 1, IPL_DEPTH_1U, 1);
    call.dst = makeImage(4, 4, 2, IPL_DEPTH_8S, 0, 4, 2);
    call.noise = 101;
    call.ditherType = 3;
    call.levels = 1;
    expectNotReduced(call, "( (srcImage->depth == IPL_DEPTH_1U ))");
    call.src = makeImage(4, 4, 1, IPL_DEPTH_8S, 1);
    call.dst = makeImage(4, 4, 2, IPL_DEPTH_16S, 0, 4, 2);
    expectNotReduced(call,
                     "((srcImage->depth& IPL_DEPTH_MASK) < (dstImage->depth& IPL_DEPTH_MASK))");
    call.src = makeImage(4, 4, 1, IPL_DEPTH_16S, 1);
    expectNotReduced(call, "(srcImage->dataOrder!=dstImage->dataOrder)");
    call.src = makeImage(4, 4, 1, IPL_DEPTH_16S, 0);
    expectNotReduced(call, "(( noise < 0 ) || ( noise > 100 ))");
    call.noise = -1;
    expectNotReduced(call, "(( noise < 0 ) || ( noise > 100 ))");
    call.noise = 100;
    expectNotReduced(call, "(srcImage->alphaChannel!=dstImage->alphaChannel)");
    call.dst = makeImage(4, 4, 2, IPL_DEPTH_16S);
    expectNotReduced(call, "(srcImage->nChannels < dstImage->nChannels)");
    call.src = makeImage(4, 4, 3, IPL_DEPTH_16S);
    call.dst = makeImage(4, 4, 1, IPL_DEPTH_16S);
    expectNotReduced(call, wrongDither);
    call.ditherType = IPL_DITHER_STUCKEY;
    expectNotReduced(call, signedSource);
    call.src = makeImage(4, 4, 3, IPL_DEPTH_16U);
    expectNotReduced(call, signedResult);
    call.dst = makeImage(4, 4, 1, IPL_DEPTH_16U);
    expectNotReduced(call, wrongLevels);
    call.levels = 2;
    expectNotReduced(call, " Depth 1u is for Gray, only");
    call.dst = makeImage(4, 4, 1, IPL_DEPTH_1U);
    expectNotReduced(call, " Depth 1u is for Gray, only");
    call.ditherType = IPL_DITHER_NONE;
    expectNotReduced(call, " Depth 1u is for Gray, only");
}

TEST(IplReduceBits, RefusesToWorkInPlace)
{
    const Image image = makeImage(4, 4, 3, IPL_DEPTH_8U);
    EXPECT_REPORT(iplReduceBits(image.get(), image.get(), 0, IPL_DITHER_FS, 1), -5, "iplReduceBits",
                  "This function isn`t in-plase function", "iplredb");
}

TEST(IplReduceBits, RefusesOtherDithers)
{
    for (const int32_t ditherType : {0, 3, 5, 17, 32, -1, INT32_MIN}) {
        Call call;
        call.ditherType = ditherType;
        expectNotReduced(call, wrongDither);
    }
}

TEST(IplReduceBits, TakesAsManyLevelsAsTheBitsMakeAndOneMore)
{
    const struct {
        uint32_t depth;
        int32_t most;
    } limits[] = {{IPL_DEPTH_1U, 3}, {IPL_DEPTH_8U, 257}, {IPL_DEPTH_16U, 65537}};
    for (const auto& limit : limits) {
        Call call;
        call.src = makeImage(4, 4, 1, IPL_DEPTH_32S);
        call.dst = makeImage(4, 4, 1, limit.depth);
        for (const int32_t levels : {INT32_MIN, -1, 0, 1, limit.most + 1, INT32_MAX}) {
            call.levels = levels;
            expectNotReduced(call, wrongLevels);
        }
        for (const int32_t levels : {2, limit.most}) {
            call.levels = levels;
            call.run();
        }
        EXPECT_EQ(bytesOf(call.dst.get()), std::vector<uint8_t>(bytesOf(call.dst.get()).size()));
    }
    for (const uint32_t depth : {IPL_DEPTH_32S, IPL_DEPTH_32F}) {
        const Image src = constantImage(3, 1, 2147483647.0, depth);
        const Image dst = reduced(src.get(), IPL_DITHER_FS, INT32_MAX, depth);
        EXPECT_EQ(iplGetStatus(), 0);
        EXPECT_EQ(element(dst.get(), 0, 0, 0),
                  depth == IPL_DEPTH_32S ? 2147483647.0 : 2147483648.0);
    }
}

TEST(IplReduceBits, RoundsTheMiddleOfThreeLevelsOfBitsUp)
{
    const Image src = grayImage(3, {0, 128, 255});
    EXPECT_EQ(valuesOf(reduced(src.get(), IPL_DITHER_BAYER, 3, IPL_DEPTH_1U).get()),
              (Values{0, 1, 1}));
}

TEST(IplReduceBits, StopsQuietlyAfterAnEarlierFailure)
{
    const CleanStatus clean;
    Call call;
    iplSetStatus(-12);
    call.levels = 1;
    std::memset(call.src->imageData, 255, 16);
    call.run();
    EXPECT_EQ(bytesOf(call.dst.get()), std::vector<uint8_t>(16));
    EXPECT_EQ(iplGetStatus(), -12);
    call.noise = 101;
    EXPECT_REPORT(call.run(), -5, "iplReduceBits", "(( noise < 0 ) || ( noise > 100 ))", "iplredb");
    call.noise = 0;
    call.levels = 2;
    iplSetStatus(3);
    call.run();
    EXPECT_EQ(element(call.dst.get(), 0, 0, 0), 255) << "a status above 0 is no failure";
}

TEST(IplReduceBits, ReportsMemoryThatCannotBeHad)
{
    for (const int32_t ditherType : allDithers) {
        Call call;
        call.ditherType = ditherType;
        for (int32_t passing = 0;; ++passing) {
            const RecordedReports reports;
            int32_t asked = 0;
            {
                const FailingAllocation failing(passing);
                call.run();
                asked = failing.asked();
            }
            if (asked <= passing) {
                EXPECT_GT(passing, 0);
                break;
            }
            EXPECT_EQ(iplGetStatus(), IPL_StsNoMem) << ditherType << " after " << passing;
        }
    }
}

TEST(IplReduceBits, ReportsATileThatDoesNotCome)
{
    const Image src = makeImage(16, 16, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(16, 16, 1, IPL_DEPTH_8U);
    TiledImage tiles(src.get(), 8, 8);
    tiles.failFrom = 0;
    EXPECT_REPORT(iplReduceBits(tiles.get(), dst.get(), 0, IPL_DITHER_FS, 2), -5, "iplReduceBits",
                  "(tileInfo->tileData == NULL)", "iplredb");
}
