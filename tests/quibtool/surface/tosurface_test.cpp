#include "tests/support/bad_handles.h"
#include "tests/support/levels.h"
#include "tests/support/report.h"
#include "tests/support/surface_runs.h"

#include <gtest/gtest.h>

namespace
{

using Bytes = std::vector<uint8_t>;

template<class SurfaceKind>
void setFormat(SurfaceKind& surface, const SurfaceFormat& format)
{
    surface.setFormat(format.bits, format.red, format.green, format.blue);
}

// What a surface of these words holds, and the counts of a call that went well.
template<class SurfaceKind>
void expectDrawn(const SurfaceKind& surface, const Bytes& expected, int locks)
{
    EXPECT_EQ(surface.contents(), expected);
    EXPECT_EQ(surface.locks, locks);
    EXPECT_EQ(surface.unlocks, locks);
}

Bytes wordsOf(std::initializer_list<uint32_t> words)
{
    Bytes bytes;
    for (const uint32_t word : words) {
        bytes.push_back(static_cast<uint8_t>(word));
        bytes.push_back(static_cast<uint8_t>(word >> 8));
    }
    return bytes;
}

// A record of two channels of a byte each.
Image twoChannels(int32_t width, int32_t height, Random& random)
{
    Image image = makeImage(width, height, 2, IPL_DEPTH_8U);
    randomise(image.get(), random);
    return image;
}

} // namespace

// --- Refusals ------------------------------------------------------------------------------

TEST(Quib2Surface, RefusesBadHandles)
{
    Surface surface(2, 2, 8, 16);
    Image bare = makeHandle(2, 2, 32);
    iplDeallocateImage(bare.get());
    EXPECT_BAD_HANDLE(Quib2Surface(nullptr, surface.get()));
    EXPECT_BAD_HANDLE(Quib2Surface(bare.get(), surface.get()));
    EXPECT_BAD_HANDLE(Quib2Surface(nullptr, nullptr));
    EXPECT_EQ(surface.locks, 0);
}

TEST(Quib2Surface, RefusesNoSurfaceWithoutAText)
{
    const CleanStatus clean;
    const Image bad = wrappedHandle();
    quibLastError[0] = 0;
    EXPECT_EQ(Quib2Surface(makeHandle(2, 2, 32).get(), nullptr), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(Quib2Surface(bad.get(), nullptr), QUIB_BAD_ARGUMENT);
    EXPECT_STREQ(quibLastError, "");
}

TEST(Quib2Surface, PassesOnTheStatusOfABadRecord)
{
    const CleanStatus clean;
    Surface surface(2, 2, 8, 16);
    const Image bad = makeHandle(2, 2, 32);
    bad->align = 5;
    EXPECT_EQ(Quib2Surface(bad.get(), surface.get()), static_cast<QuibStatus>(IPL_BadAlign));
    EXPECT_EQ(Quib2Surface(wrappedHandle().get(), surface.get()), badSize);
    EXPECT_EQ(surface.locks, 0);
}

TEST(Quib2Surface, LeavesASurfaceOfAnotherSizeLocked)
{
    const Image image = makeHandle(3, 2, 32);
    Surface wide(4, 1, 16, 16);
    EXPECT_EQ(Quib2Surface(image.get(), wide.get()), static_cast<QuibStatus>(0x80000200));
    Surface high(3, 3, 12, 36);
    EXPECT_EQ(Quib2Surface(image.get(), high.get()), static_cast<QuibStatus>(0x80000201));
    for (const Surface* surface : {&wide, &high}) {
        EXPECT_EQ(surface->locks, 1);
        EXPECT_EQ(surface->unlocks, 0);
        EXPECT_EQ(surface->contents(), Bytes(surface->contents().size(), 0xA5));
    }
}

TEST(Quib2Surface, ComparesSizesAgainAtTheSecondLock)
{
    for (const int32_t bitDepth : {8, 32}) {
        const Image image = makeHandle(2, 2, bitDepth);
        Surface surface(2, 2, 8, 16);
        setFormat(surface, format32);
        surface.later = surface.layout;
        surface.changesAfter = 1;
        surface.later.dwHeight = 3;
        EXPECT_EQ(Quib2Surface(image.get(), surface.get()), QUIB_SURFACE_BAD_HEIGHT);
        EXPECT_EQ(surface.locks, 2);
        EXPECT_EQ(surface.unlocks, 1);
        EXPECT_EQ(surface.contents(), Bytes(16, 0xA5));
        surface.changesAfter = 3;
        surface.later.dwWidth = 1;
        EXPECT_EQ(Quib2Surface(image.get(), surface.get()), QUIB_SURFACE_BAD_WIDTH);
        EXPECT_EQ(surface.locks, 4);
        EXPECT_EQ(surface.unlocks, 2);
    }
}

TEST(Quib2Surface, TakesTheFormatOfTheSecondLock)
{
    const Image image = handleOf(1, 1, 32, {1, 2, 3, 4});
    Surface surface(1, 1, 4, 4);
    setFormat(surface, format8);
    surface.later = surface.layout;
    surface.later.ddpfPixelFormat.dwRGBBitCount = 32;
    surface.changesAfter = 1;
    EXPECT_EQ(Quib2Surface(image.get(), surface.get()), QUIB_OK);
    expectDrawn(surface, {1, 2, 3, 4}, 2);
}

TEST(Quib2Surface, FindsADeadSurfaceTooNarrow)
{
    const Image image = makeHandle(2, 2, 32);
    Surface surface(2, 2, 8, 16);
    surface.lockResult = -1;
    EXPECT_EQ(Quib2Surface(image.get(), surface.get()), QUIB_SURFACE_BAD_WIDTH);
    EXPECT_EQ(surface.unlocks, 0);
}

TEST(Quib2Surface, DoesNotLookAtTheResultOfALock)
{
    const Image image = handleOf(1, 1, 32, {1, 2, 3, 4});
    Surface surface(1, 1, 4, 4);
    setFormat(surface, format32);
    surface.lockResult = -1;
    surface.describesOnFailure = true;
    EXPECT_EQ(Quib2Surface(image.get(), surface.get()), QUIB_OK);
    EXPECT_EQ(surface.contents(), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(surface.unlocks, 2);
}

TEST(Quib2Surface, TouchesNothingWithoutPixels)
{
    for (const int32_t bitDepth : {8, 24, 32}) {
        const Image image = makeHandle(2, 2, bitDepth);
        for (const SurfaceFormat& format : commonFormats) {
            Surface surface(2, 2, 8, 16);
            setFormat(surface, format);
            surface.layout.lpSurface = nullptr;
            EXPECT_EQ(Quib2Surface(image.get(), surface.get()), QUIB_OK);
            expectDrawn(surface, Bytes(16, 0xA5), 2);
        }
    }
}

// --- Colours -------------------------------------------------------------------------------

TEST(Quib2Surface, MovesFourChannelsToA32BitSurface)
{
    const Image image = handleOf(2, 1, 32, {1, 2, 3, 4, 5, 6, 7, 8});
    Surface surface(2, 1, 8, 8);
    setFormat(surface, format32);
    EXPECT_EQ(Quib2Surface(image.get(), surface.get()), QUIB_OK);
    expectDrawn(surface, {1, 2, 3, 4, 5, 6, 7, 8}, 2);
    EXPECT_TRUE(surface.calledWell);
    EXPECT_TRUE(surface.calledWithZeros);
}

TEST(Quib2Surface, MakesThreeChannelsOpaqueOnA32BitSurface)
{
    const Image image = handleOf(2, 1, 24, {1, 2, 3, 4, 5, 6, 9, 9});
    Surface surface(2, 1, 8, 8);
    setFormat(surface, format32);
    EXPECT_EQ(Quib2Surface(image.get(), surface.get()), QUIB_OK);
    expectDrawn(surface, {1, 2, 3, 255, 4, 5, 6, 255}, 2);
}

TEST(Quib2Surface, DropsAlphaOnA24BitSurface)
{
    const Image image = handleOf(2, 2, 32, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16});
    Surface surface(2, 2, 7, 14);
    setFormat(surface, format24);
    EXPECT_EQ(Quib2Surface(image.get(), surface.get()), QUIB_OK);
    expectDrawn(surface, {1, 2, 3, 5, 6, 7, 0xA5, 9, 10, 11, 13, 14, 15, 0xA5}, 2);
}

TEST(Quib2Surface, CopiesAsManyBytesOfARowAsBothHave)
{
    const Image image = handleOf(1, 2, 24, {1, 2, 3, 4, 5, 6, 7, 8});
    Surface tight(1, 2, 3, 6);
    setFormat(tight, format24);
    EXPECT_EQ(Quib2Surface(image.get(), tight.get()), QUIB_OK);
    EXPECT_EQ(tight.contents(), (Bytes{1, 2, 3, 5, 6, 7}));
    Surface wide(1, 2, 5, 10);
    setFormat(wide, format24);
    EXPECT_EQ(Quib2Surface(image.get(), wide.get()), QUIB_OK);
    EXPECT_EQ(wide.contents(), (Bytes{1, 2, 3, 4, 0xA5, 5, 6, 7, 8, 0xA5}));
}

TEST(Quib2Surface, CutsBytesToTheWidthOfTheMasks)
{
    const Image image = handleOf(2, 1, 32, {0xFF, 0x07, 0x0F, 1, 0x08, 0x04, 0x80, 2});
    Surface surface565(2, 1, 4, 4);
    setFormat(surface565, format565);
    EXPECT_EQ(Quib2Surface(image.get(), surface565.get()), QUIB_OK);
    expectDrawn(surface565, wordsOf({1 << 11 | 1 << 5 | 31, 16 << 11 | 1 << 5 | 1}), 2);
    Surface surface555(2, 1, 4, 4);
    setFormat(surface555, format555);
    EXPECT_EQ(Quib2Surface(image.get(), surface555.get()), QUIB_OK);
    expectDrawn(surface555, wordsOf({1 << 10 | 31, 16 << 10 | 1}), 2);
}

TEST(Quib2Surface, LeavesAnEmptyMaskBitZero)
{
    const Image image = handleOf(2, 1, 24, {0x80, 0, 0, 0x7F, 0xFF, 0xFF, 0, 0});
    Surface surface(2, 1, 4, 4);
    surface.setFormat(16, 0xF000, 0x00F0, 0);
    EXPECT_EQ(Quib2Surface(image.get(), surface.get()), QUIB_OK);
    expectDrawn(surface, wordsOf({1, 0xF0F0}), 2);
}

TEST(Quib2Surface, ShiftsToTheLeftUnderMasksOfMoreThan8Bits)
{
    const Image image = handleOf(1, 1, 24, {0x81, 0, 0, 0});
    Surface ten(1, 1, 2, 2);
    ten.setFormat(16, 0x8000, 0x8000, 0x03FF);
    EXPECT_EQ(Quib2Surface(image.get(), ten.get()), QUIB_OK);
    EXPECT_EQ(ten.contents(), wordsOf({0x81 << 2}));
    Surface all(1, 1, 2, 2);
    all.setFormat(16, 0x8000, 0x8000, 0xFFFF);
    EXPECT_EQ(Quib2Surface(image.get(), all.get()), QUIB_OK);
    EXPECT_EQ(all.contents(), wordsOf({0x8100}));
    Surface more(1, 1, 2, 2);
    more.setFormat(16, 0x8000, 0x8000, 0x3FFFF);
    EXPECT_EQ(Quib2Surface(image.get(), more.get()), QUIB_OK);
    EXPECT_EQ(more.contents(), wordsOf({0x0400})); // 0x81 << 10, of which the top is cut
}

TEST(Quib2Surface, OrsOverlappingMasks)
{
    const Image image = handleOf(1, 1, 24, {0x18, 0x30, 0x41, 0});
    Surface surface(1, 1, 2, 2);
    surface.setFormat(16, 0xFF, 0xFF, 0xFF);
    EXPECT_EQ(Quib2Surface(image.get(), surface.get()), QUIB_OK);
    EXPECT_EQ(surface.contents(), wordsOf({0x79}));
}

TEST(Quib2Surface, LeavesAn8BitSurface)
{
    for (const int32_t bitDepth : {8, 24, 32}) {
        Surface surface(3, 2, 4, 8);
        setFormat(surface, format8);
        EXPECT_EQ(Quib2Surface(makeHandle(3, 2, bitDepth).get(), surface.get()), QUIB_OK);
        expectDrawn(surface, Bytes(8, 0xA5), 2);
    }
}

TEST(Quib2Surface, MovesTwoChannelsToA16BitSurface)
{
    Random random(1);
    const Image image = twoChannels(2, 2, random);
    Surface surface(2, 2, 4, 8);
    setFormat(surface, format565);
    EXPECT_EQ(Quib2Surface(image.get(), surface.get()), QUIB_OK);
    EXPECT_EQ(surface.contents(), bytesOf(image.get()));
}

TEST(Quib2Surface, ReadsNothingBehindTheBlockOfOtherChannels)
{
    forEachLevel([] {
        Random random(2);
        for (int round = 0; round < 60; ++round) {
            const Image image = twoChannels(random.between(1, 40), random.between(1, 5), random);
            const SurfaceFormat& format = random.coin() ? format24 : format32;
            const int32_t pitch = image->width * static_cast<int32_t>(format.bits / 8);
            Surface surface(static_cast<uint32_t>(image->width),
                            static_cast<uint32_t>(image->height), pitch,
                            static_cast<size_t>(pitch) * static_cast<size_t>(image->height));
            setFormat(surface, format);
            const GuardedBuffer block(static_cast<size_t>(image->imageSize));
            std::memcpy(block.data(), image->imageData, block.size());
            char* const own = image->imageData;
            image->imageData = block.as<char>();
            PlainPair pair{PlainBlock(surface.contents(), pitch),
                           PlainBlock(bytesOf(image.get()), image->widthStep),
                           image->width,
                           image->height,
                           2,
                           format};
            plainDrawColour(pair);
            EXPECT_EQ(Quib2Surface(image.get(), surface.get()), QUIB_OK);
            image->imageData = own;
            ASSERT_EQ(surface.contents(), pair.surface.bytes);
        }
    });
}

// --- Gray ----------------------------------------------------------------------------------

TEST(Quib2Surface, PacksASquareOfGray)
{
    const Image image = handleOf(2, 2, 8, {0xFF, 0x0B, 0, 0, 0x80, 0x04, 0, 0});
    Surface surface(2, 2, 4, 8);
    setFormat(surface, format565);
    EXPECT_EQ(Quib2Surface(image.get(), surface.get()), QUIB_OK);
    expectDrawn(surface, wordsOf({0xFFFF, 0x0841, 0x8410, 0x0020}), 2);
}

TEST(Quib2Surface, CutsAWideGrayImageToItsHeight)
{
    const Image image = handleOf(3, 1, 8, {255, 255, 255, 0});
    Surface surface(3, 1, 6, 6);
    setFormat(surface, format565);
    EXPECT_EQ(Quib2Surface(image.get(), surface.get()), QUIB_OK);
    expectDrawn(surface, {255, 255, 0xA5, 0xA5, 0xA5, 0xA5}, 2);
}

TEST(Quib2Surface, LetsATallGrayImageRunOnInsideBothBlocks)
{
    // Three words a row from the image's four bytes a row; pitches of one word and
    // of three.
    const Image image = handleOf(1, 3, 8, {8, 16, 24, 32, 40, 48, 56, 64, 72, 80, 88, 96});
    const auto gray = [](uint32_t five) { return five << 11 | five << 6 | five; };
    Surface tight(1, 3, 2, 6);
    setFormat(tight, format565);
    EXPECT_EQ(Quib2Surface(image.get(), tight.get()), QUIB_OK);
    expectDrawn(tight, wordsOf({gray(1), gray(5), gray(9)}), 2);
    Surface wide(1, 3, 4, 12);
    setFormat(wide, format565);
    EXPECT_EQ(Quib2Surface(image.get(), wide.get()), QUIB_OK);
    expectDrawn(wide, wordsOf({gray(1), gray(2), gray(5), gray(6), gray(9), gray(10)}), 2);
}

TEST(Quib2Surface, DrawsAVeryTallGrayImageInNoTime)
{
    constexpr int32_t height = 300000;
    Image image = makeHandle(1, height, 8);
    for (int32_t y = 0; y < height; ++y)
        *rowOf(image.get(), y) = static_cast<uint8_t>(y);
    for (const int32_t pitch : {2, 3}) {
        Surface surface(1, height, pitch, static_cast<size_t>(pitch) * height);
        surface.setFormat(16, 0xFF, 0xFF, 0xFF);
        EXPECT_EQ(Quib2Surface(image.get(), surface.get()), QUIB_OK);
        const Bytes drawn = surface.contents();
        for (size_t y = 0; y < height; ++y)
            ASSERT_EQ(drawn[y * static_cast<size_t>(pitch)], y % 256);
    }
}

TEST(Quib2Surface, StoresGrayThreeTimes)
{
    const Image image = handleOf(2, 2, 8, {1, 2, 0, 0, 3, 4, 0, 0});
    Surface surface24(2, 2, 7, 14);
    setFormat(surface24, format24);
    EXPECT_EQ(Quib2Surface(image.get(), surface24.get()), QUIB_OK);
    expectDrawn(surface24, {1, 1, 1, 2, 2, 2, 0xA5, 3, 3, 3, 4, 4, 4, 0xA5}, 2);
    Surface surface32(2, 2, 8, 16);
    setFormat(surface32, format32);
    EXPECT_EQ(Quib2Surface(image.get(), surface32.get()), QUIB_OK);
    expectDrawn(surface32, {1, 1, 1, 0xA5, 2, 2, 2, 0xA5, 3, 3, 3, 0xA5, 4, 4, 4, 0xA5}, 2);
}

// --- All of it -----------------------------------------------------------------------------

TEST(Quib2Surface, StaysInsideBothBlocksWhateverIsDescribed)
{
    forEachLevel([] {
        expectRandomRuns<Surface>(
            3, 1500, [](auto& run) { return Quib2Surface(run.image.get(), run.surface.get()); },
            [](PlainPair& pair, int32_t) {
                plainDraw(pair);
                return QUIB_OK;
            });
    });
}

// --- The newer interface -------------------------------------------------------------------

TEST(Quib2Surface7, RefusesBadHandlesAndRecordsAndNoSurface)
{
    const CleanStatus clean;
    Surface7 surface(2, 2, 8, 16);
    const Image bad = makeHandle(2, 2, 32);
    bad->align = 5;
    EXPECT_BAD_HANDLE(Quib2Surface7(nullptr, surface.get()));
    EXPECT_EQ(Quib2Surface7(bad.get(), nullptr), QUIB_BAD_ARGUMENT);
    EXPECT_STREQ(quibLastError, "");
    EXPECT_EQ(Quib2Surface7(bad.get(), surface.get()), static_cast<QuibStatus>(IPL_BadAlign));
    EXPECT_EQ(surface.descriptions, 0);
    EXPECT_EQ(surface.locks, 0);
}

TEST(Quib2Surface7, PassesOnTheFailureOfADescription)
{
    const Image image = makeHandle(2, 2, 32);
    Surface7 surface(2, 2, 8, 16);
    setFormat(surface, format32);
    surface.descriptionResult = -5;
    EXPECT_EQ(Quib2Surface7(image.get(), surface.get()), -5);
    EXPECT_EQ(surface.locks, 0);
    EXPECT_EQ(surface.flagsOfDescription, 0x1006u);
    EXPECT_TRUE(surface.calledWithZeros);
    surface.descriptionResult = 1;
    EXPECT_EQ(Quib2Surface7(image.get(), surface.get()), QUIB_OK);
    EXPECT_EQ(surface.unlocks, 1);
}

TEST(Quib2Surface7, RefusesAnotherSizeOrDepthBeforeItLocks)
{
    const Image image = makeHandle(3, 2, 32);
    Surface7 wide(4, 1, 16, 16);
    EXPECT_EQ(Quib2Surface7(image.get(), wide.get()), static_cast<QuibStatus>(0x80000200));
    Surface7 high(3, 3, 12, 36);
    EXPECT_EQ(Quib2Surface7(image.get(), high.get()), static_cast<QuibStatus>(0x80000201));
    Surface7 flat(3, 2, 4, 8);
    for (const uint32_t bits : {0u, 1u, 8u, 15u, 17u, 31u, 48u}) {
        flat.setFormat(bits, 0, 0, 0);
        EXPECT_EQ(Quib2Surface7(image.get(), flat.get()), static_cast<QuibStatus>(0x80004005));
    }
    EXPECT_EQ(wide.locks + high.locks + flat.locks, 0);
}

TEST(Quib2Surface7, RefusesA1BitHandleOn16BitsOnly)
{
    const Image image = makeHandle(3, 2, 1);
    Surface7 surface(3, 2, 8, 16);
    setFormat(surface, format565);
    EXPECT_EQ(Quib2Surface7(image.get(), surface.get()), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(surface.locks, 0);
    setFormat(surface, format24);
    EXPECT_EQ(Quib2Surface7(image.get(), surface.get()), QUIB_OK);
    EXPECT_EQ(surface.locks, 1);
}

TEST(Quib2Surface7, LeavesAColourSurfaceLockedThatHasChanged)
{
    const Image image = makeHandle(2, 2, 32);
    for (const SurfaceFormat& format : {format24, format32}) {
        Surface7 surface(2, 2, 8, 16);
        setFormat(surface, format);
        surface.lockResult = -1; // so that nothing is described
        EXPECT_EQ(Quib2Surface7(image.get(), surface.get()), QUIB_SURFACE_BAD_WIDTH);
        EXPECT_EQ(surface.unlocks, 0);
    }
}

TEST(Quib2Surface7, DoesNotCompareSizesAgainOn16Bits)
{
    Random random(7);
    const Image image = makeRandomHandle(4, 3, 32, random);
    Surface7 dead(4, 3, 8, 24);
    setFormat(dead, format565);
    dead.lockResult = -1;
    EXPECT_EQ(Quib2Surface7(image.get(), dead.get()), QUIB_OK);
    EXPECT_EQ(dead.unlocks, 1);
    EXPECT_EQ(dead.contents(), Bytes(24, 0xA5));
}

TEST(Quib2Surface7, Takes555ForAnyOtherGreenMask)
{
    const Image image = handleOf(2, 1, 32, {8, 4, 8, 0, 8, 8, 16, 0});
    for (const uint32_t mask : {0x03E0u, 0x07E1u, 0x0FE0u, 0u}) {
        Surface7 surface(2, 1, 4, 4);
        surface.setFormat(16, 0x1F, mask, 0xF800);
        EXPECT_EQ(Quib2Surface7(image.get(), surface.get()), QUIB_OK);
        expectDrawn(surface, wordsOf({1 << 10 | 1, 2 << 10 | 1 << 5 | 1}), 1);
    }
    Surface7 surface(2, 1, 4, 4);
    surface.setFormat(16, 0x1F, 0x07E0, 0xF800);
    EXPECT_EQ(Quib2Surface7(image.get(), surface.get()), QUIB_OK);
    expectDrawn(surface, wordsOf({1 << 11 | 1 << 5 | 1, 2 << 11 | 2 << 5 | 1}), 1);
    EXPECT_TRUE(surface.calledWell);
    EXPECT_EQ(surface.descriptions, 1);
}

TEST(Quib2Surface7, ReadsGrayFromA16BitSurface)
{
    const Image image = makeHandle(2, 1, 8);
    Surface7 surface(2, 1, 4, 4);
    setFormat(surface, format565);
    surface.pixels()[0] = 0xFF;
    surface.pixels()[1] = 0x0C;
    EXPECT_EQ(Quib2Surface7(image.get(), surface.get()), QUIB_OK);
    EXPECT_EQ(bytesOf(image.get()), wordsOf({0xFFFF, 1 << 11 | 3 << 5 | 1}));
}

TEST(Quib2Surface7, StaysInsideBothBlocksWhateverIsDescribed)
{
    forEachLevel([] {
        expectRandomRuns<Surface7>(
            8, 1500, [](auto& run) { return Quib2Surface7(run.image.get(), run.surface.get()); },
            [](PlainPair& pair, int32_t bitDepth) -> QuibStatus {
                const uint32_t bits = pair.format.bits;
                if (bits != 16 && bits != 24 && bits != 32)
                    return QUIB_SURFACE_BAD_DEPTH;
                if (bits == 16 && bitDepth == 1)
                    return QUIB_BAD_ARGUMENT;
                if (bits == 16)
                    plainTo16(pair, bitDepth, pair.format.green == 0x07E0);
                else
                    plainDrawColour(pair);
                return QUIB_OK;
            });
    });
}

TEST(Quib2Surface7, StaysInsideASurfaceThatShrinksBetweenItsDescriptions)
{
    Random random(9);
    for (const int32_t bitDepth : {8, 24, 32}) {
        for (uint32_t height = 0; height < 7; ++height) {
            const GuardedHandle image(7, 5, bitDepth);
            randomise(image.get(), random);
            Surface7 surface(7, 5, 14, 14 * static_cast<size_t>(height));
            setFormat(surface, format565);
            surface.changesAfter = 0;
            surface.later = surface.layout;
            surface.later.dwHeight = height;
            PlainPair pair{PlainBlock(surface.contents(), 14),
                           PlainBlock(bytesOf(image.get()), image->widthStep),
                           7,
                           5,
                           image->nChannels,
                           format565};
            plainTo16(pair, bitDepth, true);
            EXPECT_EQ(Quib2Surface7(image.get(), surface.get()), QUIB_OK);
            EXPECT_EQ(surface.contents(), pair.surface.bytes);
            EXPECT_EQ(bytesOf(image.get()), pair.image.bytes);
        }
    }
}
