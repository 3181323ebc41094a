#include "quibtool/surface/pack16.h"

#include "tests/support/bad_handles.h"
#include "tests/support/levels.h"
#include "tests/support/report.h"
#include "tests/support/surface_runs.h"

#include <gtest/gtest.h>

namespace
{

using Bytes = std::vector<uint8_t>;

struct Surface16 : Surface {
    Surface16(uint32_t width, uint32_t height, int32_t pitch, const Bytes& bytes)
        : Surface(width, height, pitch, bytes.size())
    {
        setFormat(16, 0xF800, 0x07E0, 0x001F);
        std::memcpy(pixels(), bytes.data(), bytes.size());
    }
};

} // namespace

// --- Masks ---------------------------------------------------------------------------------

TEST(Masks, HaveLowestAndHighestBits)
{
    EXPECT_EQ(LowestSetBit(0), 0);
    EXPECT_EQ(HighestSetBit(0), 0);
    EXPECT_EQ(LowestSetBit(0xF800), 11);
    EXPECT_EQ(HighestSetBit(0xF800), 15);
    EXPECT_EQ(LowestSetBit(0x80000001), 0);
    EXPECT_EQ(HighestSetBit(0x80000001), 31);
    for (int32_t bit = 0; bit < 32; ++bit) {
        EXPECT_EQ(LowestSetBit(1u << bit), bit);
        EXPECT_EQ(HighestSetBit(1u << bit), bit);
    }
}

TEST(Masks, GiveShifts)
{
    const struct {
        uint32_t mask;
        int right;
        int left;
    } told[] = {{0xF800, 3, 11}, {0x07E0, 2, 5}, {0x001F, 3, 0}, {0x7C00, 3, 10},
                {0x03E0, 3, 5},  {0, 7, 0},      {0x1FE, 0, 1},  {0x3FF, 0, 2}};
    for (const auto& each : told) {
        EXPECT_EQ(quib::ownShiftUnder(each.mask).right, each.right) << each.mask;
        EXPECT_EQ(quib::ownShiftUnder(each.mask).left, each.left) << each.mask;
    }
}

TEST(Masks, PlaceEveryByteAsTold)
{
    Random random(1);
    for (int round = 0; round < 2000; ++round) {
        const uint32_t mask = randomMasks(random).red;
        const quib::Packing16::Shift shift = quib::ownShiftUnder(mask);
        ASSERT_LE(shift.right, 8);
        ASSERT_LE(shift.left, 15);
        for (uint32_t value = 0; value < 256; ++value)
            ASSERT_EQ(static_cast<uint16_t>(value >> shift.right << shift.left),
                      plainUnderMask(value, mask))
                << mask;
    }
}

// --- Refusals ------------------------------------------------------------------------------

TEST(ConvertTo16, WritesNothingForOtherDepths)
{
    Bytes from(64, 0xC3);
    const Bytes before(64, 0x5A);
    for (const int32_t bitDepth : {0, 1, 4, 12, 48, 128}) {
        Bytes to = before;
        ConvertTo16({to.data(), to.size(), 16}, {from.data(), from.size(), 16},
                    {4, 4, bitDepth, 16}, true);
        EXPECT_EQ(to, before) << bitDepth;
    }
}

TEST(QuibToSurf_16, RefusesBadHandlesAndNoSurface)
{
    const CleanStatus clean;
    Surface surface(2, 2, 4, 8);
    EXPECT_BAD_HANDLE(QuibToSurf_16(nullptr, surface.get(), 1));
    EXPECT_EQ(QuibToSurf_16(makeHandle(2, 2, 32).get(), nullptr, 1), QUIB_BAD_ARGUMENT);
    EXPECT_STREQ(quibLastError, "");
    EXPECT_EQ(surface.locks, 0);
}

TEST(QuibToSurf_16, RefusesOtherDepthsBeforeItLocks)
{
    const CleanStatus clean;
    Surface surface(2, 2, 4, 8);
    EXPECT_EQ(QuibToSurf_16(makeHandle(2, 2, 1).get(), surface.get(), 1), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibToSurf_16(makeImage(2, 2, 3, IPL_DEPTH_16U).get(), surface.get(), 1),
              QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibToSurf_16(makeImage(2, 2, 1, IPL_DEPTH_8S).get(), surface.get(), 1),
              QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibToSurf_16(wrappedHandle().get(), surface.get(), 1), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(surface.locks, 0);
}

TEST(QuibToSurf_16, UnlocksWhatItRefuses)
{
    const Image image = makeHandle(2, 2, 32);
    Surface wide(3, 1, 6, 6);
    EXPECT_EQ(QuibToSurf_16(image.get(), wide.get(), 1), static_cast<QuibStatus>(0x80000200));
    Surface high(2, 3, 4, 12);
    EXPECT_EQ(QuibToSurf_16(image.get(), high.get(), 1), static_cast<QuibStatus>(0x80000201));
    Surface deep(2, 2, 8, 16);
    for (const uint32_t bits : {0u, 8u, 15u, 17u, 24u, 32u}) {
        deep.setFormat(bits, 0, 0, 0);
        EXPECT_EQ(QuibToSurf_16(image.get(), deep.get(), 1), QUIB_BAD_ARGUMENT);
    }
    for (const Surface* surface : {&wide, &high, &deep}) {
        EXPECT_GE(surface->locks, 1);
        EXPECT_EQ(surface->unlocks, surface->locks);
        EXPECT_EQ(surface->contents(), Bytes(surface->contents().size(), 0xA5));
        EXPECT_TRUE(surface->calledWell);
        EXPECT_TRUE(surface->calledWithZeros);
    }
}

TEST(QuibToSurf_16, UnlocksADeadSurface)
{
    Surface surface(2, 2, 4, 8);
    surface.lockResult = -1;
    EXPECT_EQ(QuibToSurf_16(makeHandle(2, 2, 32).get(), surface.get(), 1), QUIB_SURFACE_BAD_WIDTH);
    EXPECT_EQ(surface.unlocks, 1);
}

TEST(QuibToSurf_16, TouchesNothingWithoutPixels)
{
    for (const int32_t bitDepth : {8, 24, 32}) {
        const Image image = makeHandle(3, 2, bitDepth);
        const Bytes before = bytesOf(image.get());
        Surface16 surface(3, 2, 6, Bytes(12, 9));
        surface.layout.lpSurface = nullptr;
        EXPECT_EQ(QuibToSurf_16(image.get(), surface.get(), 1), QUIB_OK);
        EXPECT_EQ(bytesOf(image.get()), before);
        EXPECT_EQ(surface.unlocks, 1);
    }
}

// --- Conversions ---------------------------------------------------------------------------

TEST(QuibToSurf_16, PacksFourChannelsOfEvenWidth)
{
    const Bytes pixels{0xFF, 0x07, 0x0F, 1, 0x08, 0x04, 0x80, 2};
    const Image image = handleOf(2, 1, 32, pixels);
    Surface16 surface(2, 1, 4, Bytes(4));
    EXPECT_EQ(QuibToSurf_16(image.get(), surface.get(), 1), QUIB_OK);
    EXPECT_EQ(surface.contents(), (Bytes{0x3F, 0x08, 0x21, 0x80}));
    EXPECT_EQ(QuibToSurf_16(image.get(), surface.get(), 0), QUIB_OK);
    EXPECT_EQ(surface.contents(), (Bytes{0x1F, 0x04, 0x01, 0x40}));
    EXPECT_EQ(QuibToSurf_16(image.get(), surface.get(), -1), QUIB_OK);
    EXPECT_EQ(surface.contents(), (Bytes{0x3F, 0x08, 0x21, 0x80}));
    EXPECT_EQ(bytesOf(image.get()), pixels);
}

TEST(QuibToSurf_16, ReadsTheLastPixelOfAnOddRow)
{
    // The surface's last four bytes are packed into the image's last two; one pixel
    // of the two that they hold has just been stored.
    const Image image =
        handleOf(3, 1, 32, {0, 0, 0, 0, 0xF8, 0x10, 0x80, 0, 0x11, 0x22, 0x33, 0x44});
    Surface16 surface(3, 1, 6, {1, 1, 1, 1, 0x40, 0xBB});
    EXPECT_EQ(QuibToSurf_16(image.get(), surface.get(), 1), QUIB_OK);
    EXPECT_EQ(surface.contents(), (Bytes{0, 0, 0x9F, 0x80, 0x40, 0xBB}));
    // 0x9F, 0x80, 0x40: blue 19, green 32, red 8.
    EXPECT_EQ(bytesOf(image.get()),
              (Bytes{0, 0, 0, 0, 0xF8, 0x10, 0x80, 0, 0x11, 0x22, 0x13, 0x44}));
}

TEST(QuibToSurf_16, ReadsBehindTheRowOfAWidePitch)
{
    const Image image = handleOf(1, 1, 32, {9, 9, 9, 9});
    Surface16 surface(1, 1, 8, {1, 2, 3, 4, 0xFF, 0, 0, 8});
    EXPECT_EQ(QuibToSurf_16(image.get(), surface.get(), 0), QUIB_OK);
    EXPECT_EQ(bytesOf(image.get()), (Bytes{9, 9, 31, 0}));
    EXPECT_EQ(surface.contents(), (Bytes{1, 2, 3, 4, 0xFF, 0, 0, 8}));
}

TEST(QuibToSurf_16, HasTailsOnly24BitRowsOfOneOrTwoPixels)
{
    // Channels are packed in the opposite order.
    const Image one = handleOf(1, 1, 24, {1, 2, 3, 4});
    Surface16 narrow(1, 1, 4, {7, 0xF8, 0x08, 0x10});
    EXPECT_EQ(QuibToSurf_16(one.get(), narrow.get(), 1), QUIB_OK);
    EXPECT_EQ(narrow.contents(), (Bytes{7, 0xF8, 0x08, 0x10}));
    EXPECT_EQ(bytesOf(one.get()), (Bytes{1, 2, 0x42, 0xF8})); // 31, 2, 2
    EXPECT_EQ(QuibToSurf_16(one.get(), narrow.get(), 0), QUIB_OK);
    EXPECT_EQ(bytesOf(one.get()), (Bytes{1, 2, 0x22, 0x7C})); // 31, 1, 2

    const Image two = handleOf(2, 1, 24, {1, 2, 3, 4, 5, 6, 7, 8});
    Surface16 wide(2, 1, 6, {8, 4, 16, 0xFF, 0, 0});
    EXPECT_EQ(QuibToSurf_16(two.get(), wide.get(), 1), QUIB_OK);
    EXPECT_EQ(wide.contents(), (Bytes{8, 4, 16, 0xFF, 0, 0}));
    EXPECT_EQ(bytesOf(two.get()), (Bytes{1, 2, 3, 4, 0x22, 0x08, 0x00, 0xF8}));
}

TEST(QuibToSurf_16, LeavesAPairOfAnEven24BitRow)
{
    Random random(2);
    const Image image = makeRandomHandle(4, 1, 24, random);
    const Bytes before = bytesOf(image.get());
    Surface16 surface(4, 1, 16, Bytes(16));
    EXPECT_EQ(QuibToSurf_16(image.get(), surface.get(), 1), QUIB_OK);
    const Bytes drawn = surface.contents();
    for (size_t i = 0; i < 2; ++i)
        EXPECT_EQ(drawn[i * 2] | drawn[i * 2 + 1] << 8,
                  static_cast<int>(
                      plainPacked(true, before[i * 3], before[i * 3 + 1], before[i * 3 + 2])));
    EXPECT_EQ(Bytes(drawn.begin() + 4, drawn.end()), Bytes(12));
    const Bytes after = bytesOf(image.get());
    EXPECT_EQ(Bytes(after.begin() + 8, after.end()), Bytes(4)); // the surface's zeros
}

TEST(QuibToSurf_16, DropsTailsThatWouldStartBeforeTheRow)
{
    for (const int32_t pitch : {2, 3}) {
        const Image image = handleOf(1, 1, 32, {1, 2, 3, 4});
        Surface16 surface(1, 1, pitch, Bytes(static_cast<size_t>(pitch), 0xFF));
        EXPECT_EQ(QuibToSurf_16(image.get(), surface.get(), 1), QUIB_OK);
        EXPECT_EQ(bytesOf(image.get()), (Bytes{1, 2, 3, 4}));
    }
    const Image image = handleOf(2, 1, 24, {1, 2, 3, 4, 5, 6, 7, 8});
    Surface16 surface(2, 1, 5, Bytes(5, 0xFF));
    EXPECT_EQ(QuibToSurf_16(image.get(), surface.get(), 1), QUIB_OK);
    EXPECT_EQ(bytesOf(image.get()), (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(QuibToSurf_16, Copies16BitRowsAsTheyAre)
{
    Random random(3);
    for (const auto& image :
         {makeImage(3, 2, 2, IPL_DEPTH_8U), makeImage(3, 2, 1, IPL_DEPTH_16U)}) {
        randomise(image.get(), random);
        Surface16 surface(3, 2, 7, Bytes(14, 0xEE));
        const Bytes before = bytesOf(image.get());
        EXPECT_EQ(QuibToSurf_16(image.get(), surface.get(), random.coin()), QUIB_OK);
        Bytes expected(14, 0xEE);
        std::copy_n(before.begin(), 6, expected.begin());
        std::copy_n(before.begin() + 8, 6, expected.begin() + 7);
        EXPECT_EQ(surface.contents(), expected);
        EXPECT_EQ(bytesOf(image.get()), before);
    }
}

TEST(QuibToSurf_16, ReadsGrayFromTheSurfaceIntoOverlappingRows)
{
    // Each row's three words reach over the image's four bytes into the next row's;
    // the last one's end with the block.
    const Image image = makeHandle(3, 2, 8);
    Surface16 surface(3, 2, 6, {0xFF, 0x08, 0x10, 1, 1, 1, 0x18, 0xFF, 0xFF, 1, 1, 1});
    EXPECT_EQ(QuibToSurf_16(image.get(), surface.get(), 0), QUIB_OK);
    EXPECT_EQ(bytesOf(image.get()), (Bytes{0xFF, 0x7F, 0x21, 0x04, 0x63, 0x0C, 0xFF, 0x7F}));
}

TEST(QuibToSurf_16, StaysInsideBothBlocksWhateverIsDescribed)
{
    for (const int32_t is565 : {0, 1})
        forEachLevel([is565] {
            expectRandomRuns<Surface>(
                static_cast<uint64_t>(is565) + 21, 1500,
                [is565](auto& run) {
                    return QuibToSurf_16(run.image.get(), run.surface.get(), is565);
                },
                [is565](PlainPair& pair, int32_t bitDepth) -> QuibStatus {
                    if (pair.format.bits != 16 || bitDepth == 1)
                        return QUIB_BAD_ARGUMENT;
                    plainTo16(pair, bitDepth, is565);
                    return QUIB_OK;
                });
        });
}
