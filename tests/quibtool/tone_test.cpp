#include "quibtool/tone.h"

#include "benchmarks/plain_tone.h"
#include "quibtool/startup.h"
#include "tests/support/bad_handles.h"
#include "tests/support/guarded_image.h"
#include "tests/support/images.h"
#include "tests/support/levels.h"
#include "tests/support/pace.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

namespace
{

using Bytes = std::vector<uint8_t>;

// What the pixel becomes in a handle of its own.
Bytes toned(const uint8_t (&pixel)[4], int32_t brightness, int32_t contrast, int32_t channel)
{
    const Image src = makePixel(pixel);
    IplImage* dst = src.get();
    EXPECT_EQ(QuibBrightnessAndContrast(src.get(), &dst, brightness, contrast, channel), QUIB_OK);
    return bytesOf(src.get());
}

uint8_t tonedByte(int32_t byte, int32_t brightness, int32_t contrast)
{
    return toned({static_cast<uint8_t>(byte), 0, 0, 0}, brightness, contrast, 0)[0];
}

Bytes turned(const uint8_t (&pixel)[4], int32_t hue, int32_t saturation)
{
    const Image src = makePixel(pixel);
    IplImage* dst = src.get();
    EXPECT_EQ(QuibHueAndSaturation(src.get(), &dst, hue, saturation), QUIB_OK);
    return bytesOf(src.get());
}

// All grays as one row.
Image allGrays()
{
    Image ramp = makeHandle(256, 1, 32);
    for (uint32_t i = 0; i < 256; ++i)
        std::memset(ramp->imageData + i * 4, static_cast<int>(i), 4);
    return ramp;
}

// The refusals that both adjustments share.
template<class Adjust>
void expectRefusals(Adjust adjust)
{
    const Image good = makeHandle(4, 4, 32);
    IplImage* dst = nullptr;
    EXPECT_BAD_HANDLE(adjust(nullptr, &dst));
    EXPECT_BAD_HANDLE(adjust(nullptr, nullptr));
    EXPECT_EQ(adjust(good.get(), nullptr), QUIB_BAD_ARGUMENT);
    EXPECT_STREQ(quibLastError, "");
    for (const int32_t bitDepth : {1, 8, 24}) {
        const Image other = makeHandle(4, 4, bitDepth);
        EXPECT_EQ(adjust(other.get(), nullptr), QUIB_BAD_ARGUMENT);
        EXPECT_EQ(adjust(other.get(), &dst), QUIB_FAILED);
    }
    const Image deep = makeImage(4, 4, 4, IPL_DEPTH_16U);
    EXPECT_EQ(adjust(deep.get(), &dst), QUIB_FAILED);
    const Image isSigned = makeImage(4, 4, 4, IPL_DEPTH_8S);
    EXPECT_EQ(adjust(isSigned.get(), &dst), QUIB_FAILED);
    EXPECT_EQ(dst, nullptr);
}

// A destination that cannot be made, and one that is none.
template<class Adjust>
void expectNoDestination(Adjust adjust)
{
    const CleanStatus clean;
    const Image bad = makeHandle(4, 4, 32);
    bad->height = 0;
    IplImage* dst = nullptr;
    EXPECT_EQ(adjust(bad.get(), &dst), QUIB_FAILED);
    EXPECT_EQ(dst, nullptr);

    const Image src = makeHandle(4, 4, 32);
    Image bare = makeHandle(4, 4, 32);
    iplDeallocateImage(bare.get());
    dst = bare.get();
    EXPECT_EQ(adjust(src.get(), &dst), QUIB_OK);
    EXPECT_EQ(dst, bare.get());
    EXPECT_EQ(bare->imageData, nullptr);

    const Image into = makeHandle(4, 4, 32);
    dst = into.get();
    EXPECT_EQ(adjust(bad.get(), &dst), QUIB_OK); // a record that fails its check is not read
    EXPECT_EQ(bytesOf(into.get()), Bytes(64, 0));
}

// Neither a read nor a write leaves a block, be the destination smaller or larger.
template<class Adjust>
void expectInsideBlocks(Adjust adjust)
{
    forEachLevel([&] {
        for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
            for (int32_t width = 1; width < 40; ++width) {
                const GuardedHandle src(width, 4, 32, guard);
                Random random(static_cast<uint64_t>(width));
                randomise(src.get(), random);
                src.makeReadOnly();
                for (const int32_t other : {width, 41 - width}) {
                    for (const int32_t height : {2, 4, 9}) {
                        const GuardedHandle into(other, height, 32, guard);
                        IplImage* dst = into.get();
                        EXPECT_EQ(adjust(src.get(), &dst), QUIB_OK);
                    }
                }
            }
        }
    });
}

} // namespace

// --- Brightness and contrast --------------------------------------------------------------

TEST(QuibBrightnessAndContrast, RefusesBadHandlesNullsAndOtherFormats)
{
    const auto adjust = [](IplImage* src, IplImage** dst) {
        return QuibBrightnessAndContrast(src, dst, 10, 0, 0);
    };
    expectRefusals(adjust);
    expectNoDestination(adjust);
}

TEST(QuibBrightnessAndContrast, DoesNothingForNoughtAndNought)
{
    const Image src = makePixel({1, 2, 3, 4});
    IplImage* dst = nullptr;
    EXPECT_EQ(QuibBrightnessAndContrast(src.get(), &dst, 0, 0, 0), QUIB_OK);
    EXPECT_EQ(dst, nullptr);
    const Image into = makePixel({9, 9, 9, 9});
    dst = into.get();
    EXPECT_EQ(QuibBrightnessAndContrast(src.get(), &dst, 0, 0, 0), QUIB_OK);
    EXPECT_EQ(bytesOf(into.get()), Bytes(4, 9));
    const Image other = makeHandle(1, 1, 24);
    EXPECT_EQ(QuibBrightnessAndContrast(other.get(), &dst, 0, 0, 0), QUIB_FAILED);
}

TEST(QuibBrightnessAndContrast, ClampsItsArguments)
{
    forEachLevel([] {
        for (int32_t i = 0; i < 256; i += 5) {
            EXPECT_EQ(tonedByte(i, 1000, 3), tonedByte(i, 127, 3));
            EXPECT_EQ(tonedByte(i, INT32_MIN, 3), tonedByte(i, -128, 3));
            EXPECT_EQ(tonedByte(i, 3, -1000), tonedByte(i, 3, -128));
            EXPECT_EQ(tonedByte(i, 3, INT32_MAX), tonedByte(i, 3, 127));
        }
    });
}

TEST(QuibBrightnessAndContrast, HasAStepAtTheHighestContrast)
{
    forEachLevel([] {
        EXPECT_EQ(tonedByte(126, 0, 127), 0);
        EXPECT_EQ(tonedByte(127, 0, 127), 1);
        EXPECT_EQ(tonedByte(128, 0, 127), 255);
        EXPECT_EQ(tonedByte(255, 0, 127), 255);
    });
}

TEST(QuibBrightnessAndContrast, FlattensAtTheLowestContrast)
{
    forEachLevel([] {
        EXPECT_EQ(tonedByte(0, 0, -128), 64);
        EXPECT_EQ(tonedByte(255, 0, -128), 191);
    });
}

TEST(QuibBrightnessAndContrast, ShiftsByTheBrightnessAlone)
{
    forEachLevel([] {
        for (int32_t i = 0; i < 256; ++i)
            EXPECT_EQ(tonedByte(i, 20, 0), std::min(i + 20, 255));
    });
}

TEST(QuibBrightnessAndContrast, CountsChannelsBackwards)
{
    EXPECT_EQ(toned({1, 2, 3, 4}, 10, 0, 0), (Bytes{11, 12, 13, 4}));
    EXPECT_EQ(toned({1, 2, 3, 4}, 10, 0, 1), (Bytes{1, 2, 13, 4}));
    EXPECT_EQ(toned({1, 2, 3, 4}, 10, 0, 2), (Bytes{1, 12, 3, 4}));
    EXPECT_EQ(toned({1, 2, 3, 4}, 10, 0, 3), (Bytes{11, 2, 3, 4}));
    EXPECT_EQ(toned({1, 2, 3, 4}, 10, 0, 5), (Bytes{11, 2, 3, 4}));
    EXPECT_EQ(toned({1, 2, 3, 4}, 10, 0, -1), (Bytes{11, 2, 3, 4}));
}

TEST(QuibBrightnessAndContrast, LeavesTheFourthByteOfADestination)
{
    const Image src = makePixel({1, 2, 3, 4});
    const Image into = makePixel({5, 6, 7, 8});
    IplImage* dst = into.get();
    EXPECT_EQ(QuibBrightnessAndContrast(src.get(), &dst, 1, 0, 1), QUIB_OK);
    EXPECT_EQ(bytesOf(into.get()), (Bytes{1, 2, 4, 8}));
}

TEST(QuibBrightnessAndContrast, MakesADestination)
{
    Random random(1);
    const Image src = makeRandomHandle(37, 5, 32, random);
    IplImage* dst = nullptr;
    ASSERT_EQ(QuibBrightnessAndContrast(src.get(), &dst, -30, 40, 0), QUIB_OK);
    const Image owner(dst);
    QuibInfo info{};
    EXPECT_EQ(QuibGetInfo(dst, &info), QUIB_OK);
    EXPECT_EQ(info.width, 37);
    EXPECT_EQ(info.height, 5);
    EXPECT_EQ(info.bitDepth, 32);
    const auto curve = plainCurve(-30, 40);
    for (size_t i = 0; i < 37 * 5 * 4; ++i)
        if (i % 4 != 3) {
            EXPECT_EQ(bytesOf(dst)[i], curve[bytesOf(src.get())[i]]);
        }
}

TEST(QuibBrightnessAndContrast, WalksBothBlocksAsOneRun)
{
    // The padded source is read on from its first row's end; so is the other
    // way about.
    Random random(2);
    const Image padded = makeRandomPadded(5, 4, random);
    const Image tight = makeRandomHandle(5, 4, 32, random);
    const auto curve = plainCurve(50, -20);
    for (const bool fromPadded : {true, false}) {
        const Image& src = fromPadded ? padded : tight;
        const Image& into = fromPadded ? tight : padded;
        Bytes expected = bytesOf(into.get());
        const Bytes source = bytesOf(src.get());
        for (size_t i = 0; i < 5 * 4 * 4; ++i)
            if (i % 4 != 3)
                expected[i] = curve[source[i]];
        IplImage* dst = into.get();
        EXPECT_EQ(QuibBrightnessAndContrast(src.get(), &dst, 50, -20, 0), QUIB_OK);
        EXPECT_EQ(bytesOf(into.get()), expected);
    }
}

TEST(QuibBrightnessAndContrast, GivesEveryValueOfEveryCurve)
{
    forEachLevel([] {
        const Image ramp = allGrays();
        const Image into = makeHandle(256, 1, 32);
        IplImage* dst = into.get();
        for (int32_t brightness = -128; brightness <= 127; ++brightness) {
            for (int32_t contrast = -128; contrast <= 127; contrast += stepOfCases(5)) {
                if (brightness == 0 && contrast == 0)
                    continue;
                QuibBrightnessAndContrast(ramp.get(), &dst, brightness, contrast, 0);
                const auto curve = plainCurve(brightness, contrast);
                const uint8_t* bytes = rowOf(into.get(), 0);
                for (size_t i = 0; i < 256; ++i)
                    ASSERT_TRUE(bytes[i * 4] == curve[i] && bytes[i * 4 + 1] == curve[i] &&
                                bytes[i * 4 + 2] == curve[i])
                        << i << ", " << brightness << ", " << contrast;
            }
        }
    });
}

TEST(QuibBrightnessAndContrast, FindsALineForEveryCurveButTheSteepestOnes)
{
    for (int32_t brightness = -128; brightness <= 127; ++brightness)
        for (int32_t contrast = -128; contrast < 127; ++contrast)
            ASSERT_TRUE(ownToneCurve(brightness, contrast).isLine)
                << brightness << ", " << contrast;
}

TEST(QuibBrightnessAndContrast, StaysInsideTheBlocks)
{
    expectInsideBlocks([](IplImage* src, IplImage** dst) {
        return QuibBrightnessAndContrast(src, dst, 10, 20, 0);
    });
}

// --- Hue and saturation ---------------------------------------------------------------------

TEST(QuibHueAndSaturation, RefusesBadHandlesNullsAndOtherFormats)
{
    const auto adjust = [](IplImage* src, IplImage** dst) {
        return QuibHueAndSaturation(src, dst, 10, 10);
    };
    expectRefusals(adjust);
    expectNoDestination(adjust);
}

TEST(QuibHueAndSaturation, CopiesForNoughtAndNought)
{
    Random random(3);
    const Image src = makeRandomPadded(5, 4, random);
    IplImage* dst = nullptr;
    EXPECT_EQ(QuibHueAndSaturation(src.get(), &dst, 0, 0), QUIB_OK);
    const Image owner(dst);
    ASSERT_NE(dst, nullptr);
    // The run of the source's block, padding included, up to the copy's end.
    const Bytes copy = bytesOf(dst);
    EXPECT_EQ(std::memcmp(copy.data(), src->imageData, copy.size()), 0);
    const CleanStatus clean;
    const Image bad = makeHandle(4, 4, 32);
    bad->align = 5;
    IplImage* none = nullptr;
    EXPECT_EQ(QuibHueAndSaturation(bad.get(), &none, 0, 0), QUIB_OK); // whatever comes of the copy
    EXPECT_EQ(none, nullptr);
}

TEST(QuibHueAndSaturation, LeavesGraysAlone)
{
    forEachLevel([] {
        for (const int32_t hue : {-500, -360, 0, 1, 60, 179, 360, 1000}) {
            for (const int32_t saturation : {-100, -7, 0, 40, 400}) {
                const Image ramp = allGrays();
                const Bytes before = bytesOf(ramp.get());
                IplImage* dst = ramp.get();
                EXPECT_EQ(QuibHueAndSaturation(ramp.get(), &dst, hue, saturation), QUIB_OK);
                EXPECT_EQ(bytesOf(ramp.get()), before);
            }
        }
    });
}

TEST(QuibHueAndSaturation, LaysTheMiddleOutAnewForAWholeTurn)
{
    forEachLevel([] {
        // 60 * 101 / 200 is 30 whole degrees, of which the middle is 100.
        EXPECT_EQ(turned({0, 101, 200, 9}, 360, 0), (Bytes{0, 100, 200, 9}));
        EXPECT_EQ(turned({0, 101, 200, 9}, -360, 0), (Bytes{0, 100, 200, 9}));
        EXPECT_EQ(turned({0, 101, 200, 9}, 720, 0), (Bytes{0, 100, 200, 9}));
    });
}

TEST(QuibHueAndSaturation, TakesTheMiddleForTheLowWhereWholeDegreesSaySo)
{
    forEachLevel([] { EXPECT_EQ(turned({1, 0, 255, 7}, 360, 0), (Bytes{1, 1, 255, 7})); });
}

TEST(QuibHueAndSaturation, MakesGreenOfRed)
{
    forEachLevel([] {
        EXPECT_EQ(turned({0, 0, 255, 1}, 120, 0), (Bytes{0, 255, 0, 1}));
        EXPECT_EQ(turned({0, 0, 255, 1}, 240, 0), (Bytes{255, 0, 0, 1}));
        EXPECT_EQ(turned({0, 0, 255, 1}, 60, 0), (Bytes{0, 255, 255, 1}));
        EXPECT_EQ(turned({0, 0, 255, 1}, -60, 0), (Bytes{255, 0, 255, 1}));
    });
}

TEST(QuibHueAndSaturation, MakesGrayOfTheLargestChannelAtTheLowestSaturation)
{
    forEachLevel([] {
        EXPECT_EQ(turned({10, 250, 90, 1}, 0, -100), (Bytes{250, 250, 250, 1}));
        EXPECT_EQ(turned({10, 250, 90, 1}, 77, -100), (Bytes{250, 250, 250, 1}));
    });
}

TEST(QuibHueAndSaturation, TakesTheLowToNoughtAtTheHighestSaturation)
{
    forEachLevel([] {
        EXPECT_EQ(turned({100, 100, 200, 1}, 0, 400), (Bytes{0, 0, 200, 1}));
        EXPECT_EQ(turned({100, 100, 200, 1}, 0, 3), turned({100, 100, 200, 1}, 360, 0));
    });
}

TEST(QuibHueAndSaturation, TurnsBackInsideASectorBelowAWholeTurn)
{
    forEachLevel([] {
        // -390 is a turn of -30: from 45 degrees to 15, which has a quarter of red.
        EXPECT_EQ(turned({0, 150, 200, 1}, -390, 0), (Bytes{0, 50, 200, 1}));
        // From 0 to -30, past the smallest: 200 - 200 * 90 / 60 is -100, as a byte.
        EXPECT_EQ(turned({0, 0, 200, 1}, -390, 0), (Bytes{0, 156, 200, 1}));
        // From 0 to -60 it does not turn at all.
        EXPECT_EQ(turned({0, 0, 200, 1}, -420, 0), (Bytes{0, 0, 200, 1}));
    });
}

TEST(QuibHueAndSaturation, TakesAnySaturationAsItsEnds)
{
    forEachLevel([] {
        for (const int32_t saturation : {401, 100000, INT32_MAX})
            EXPECT_EQ(turned({100, 90, 200, 1}, 5, saturation), turned({100, 90, 200, 1}, 5, 400));
        for (const int32_t saturation : {-101, -100000, INT32_MIN})
            EXPECT_EQ(turned({100, 90, 200, 1}, 5, saturation), turned({100, 90, 200, 1}, 5, -100));
    });
}

TEST(QuibHueAndSaturation, TurnsTheCubeOfColoursAsPixelByPixel)
{
    constexpr int32_t side = 86; // colours in steps of 3
    const Image cube = makeHandle(side, side * side, 32);
    uint8_t* pixel = rowOf(cube.get(), 0);
    for (int32_t i = 0; i < side * side * side; ++i, pixel += 4) {
        pixel[0] = static_cast<uint8_t>(i % side * 3);
        pixel[1] = static_cast<uint8_t>(i / side % side * 3);
        pixel[2] = static_cast<uint8_t>(i / side / side * 3);
        pixel[3] = static_cast<uint8_t>(i);
    }
    const Image into = makeHandle(side, side * side, 32);
    const int32_t adjustments[][2] = {{30, 40},   {0, 100},    {0, -35},    {360, 0},   {59, 1},
                                      {61, -99},  {120, 400},  {181, 7},    {-45, 200}, {299, -1},
                                      {-359, 60}, {1000, -60}, {-400, 120}, {-719, -50}};
    Bytes expected(bytesOf(cube.get()).size());
    for (const auto& [hue, saturation] : adjustments) {
        const uint8_t* from = rowOf(cube.get(), 0);
        for (size_t i = 0; i < expected.size(); i += 4)
            plainHue().adjust(&expected[i], from + i, hue, saturation);
        forEachLevel([&] {
            IplImage* dst = into.get();
            ASSERT_EQ(QuibHueAndSaturation(cube.get(), &dst, hue, saturation), QUIB_OK);
            ASSERT_EQ(std::memcmp(into->imageData, expected.data(), expected.size()), 0)
                << hue << ", " << saturation;
        });
    }
}

TEST(QuibHueAndSaturation, FindsTheHueOfEveryPairOfDifferences)
{
    // One channel is 0, the others take all values.
    const Image colours = makeHandle(256, 256 * 3, 32);
    for (int32_t y = 0; y < 256 * 3; ++y) {
        for (int32_t x = 0; x < 256; ++x) {
            uint8_t* pixel = rowOf(colours.get(), y) + x * 4;
            pixel[(y / 256 + 1) % 3] = static_cast<uint8_t>(x);
            pixel[(y / 256 + 2) % 3] = static_cast<uint8_t>(y);
        }
    }
    const Bytes source = bytesOf(colours.get());
    for (const int32_t hue : {0, 1, 89}) {
        Bytes expected(source.size());
        for (size_t i = 0; i < expected.size(); i += 4)
            plainHue().adjust(&expected[i], &source[i], hue, -1);
        forEachLevel([&] {
            const Image into = makeHandle(256, 256 * 3, 32);
            IplImage* dst = into.get();
            ASSERT_EQ(QuibHueAndSaturation(colours.get(), &dst, hue, -1), QUIB_OK);
            ASSERT_EQ(bytesOf(into.get()), expected) << hue;
        });
    }
}

TEST(QuibHueAndSaturation, WalksTheDestinationWithTheSourcesStep)
{
    Random random(4);
    const Image src = makeRandomPadded(5, 4, random);
    for (const Image& into : {makeRandomHandle(5, 4, 32, random), makeRandomPadded(5, 4, random)}) {
        Bytes expected = bytesOf(into.get());
        for (int32_t y = 0; y < 4; ++y)
            for (int32_t x = 0; x < 5; ++x)
                if (const size_t at = static_cast<size_t>(y * 32 + x * 4); at < expected.size())
                    plainHue().adjust(&expected[at], rowOf(src.get(), y) + x * 4, 200, 50);
        IplImage* dst = into.get();
        EXPECT_EQ(QuibHueAndSaturation(src.get(), &dst, 200, 50), QUIB_OK);
        EXPECT_EQ(bytesOf(into.get()), expected);
    }
}

TEST(QuibHueAndSaturation, MakesADestination)
{
    Random random(5);
    const Image src = makeRandomHandle(37, 5, 32, random);
    IplImage* dst = nullptr;
    ASSERT_EQ(QuibHueAndSaturation(src.get(), &dst, 25, 0), QUIB_OK);
    const Image owner(dst);
    EXPECT_EQ(dst->width, 37);
    EXPECT_EQ(dst->height, 5);
    EXPECT_EQ(dst->nChannels, 4);
    Bytes expected(37 * 5 * 4);
    for (size_t i = 0; i < expected.size(); i += 4)
        plainHue().adjust(&expected[i], rowOf(src.get(), 0) + i, 25, 0);
    EXPECT_EQ(bytesOf(dst), expected);
}

TEST(QuibHueAndSaturation, StaysInsideTheBlocks)
{
    for (const int32_t hue : {70, -390})
        expectInsideBlocks([hue](IplImage* src, IplImage** dst) {
            return QuibHueAndSaturation(src, dst, hue, -20);
        });
}
