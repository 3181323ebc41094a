#include "tests/support/bad_handles.h"
#include "tests/support/levels.h"
#include "tests/support/report.h"
#include "tests/support/surface_runs.h"

#include <gtest/gtest.h>

namespace
{

using Bytes = std::vector<uint8_t>;

// A surface in memory that holds these bytes.
struct FilledSurface : Surface {
    FilledSurface(uint32_t width, uint32_t height, int32_t pitch, uint32_t bits, const Bytes& bytes)
        : Surface(width, height, pitch, bytes.size())
    {
        setFormat(bits, 0xFF0000, 0xFF00, 0xFF);
        std::memcpy(pixels(), bytes.data(), bytes.size());
    }
};

// A handle of 1s with what a surface of 1 to 16 draws into it.
Bytes readInto(int32_t width, int32_t height, int32_t bitDepth, uint32_t bits, int32_t pitch)
{
    Bytes bytes(static_cast<size_t>(pitch) * static_cast<size_t>(height));
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(i + 1);
    const FilledSurface surface(static_cast<uint32_t>(width), static_cast<uint32_t>(height), pitch,
                                bits, bytes);
    const Image image = makeHandle(width, height, bitDepth);
    std::memset(image->imageData, 0x77, static_cast<size_t>(image->imageSize));
    FilledSurface& locked = const_cast<FilledSurface&>(surface);
    EXPECT_EQ(Surface2Quib(locked.get(), image.get()), QUIB_OK);
    EXPECT_EQ(surface.locks, 1);
    EXPECT_EQ(surface.unlocks, 1);
    EXPECT_TRUE(surface.calledWell);
    EXPECT_TRUE(surface.calledWithZeros);
    EXPECT_EQ(surface.contents(), bytes);
    return bytesOf(image.get());
}

} // namespace

TEST(Surface2Quib, RefusesBadHandlesAndRecordsAndNoSurface)
{
    const CleanStatus clean;
    Surface surface(2, 2, 8, 16);
    const Image bad = makeHandle(2, 2, 32);
    bad->align = 5;
    EXPECT_BAD_HANDLE(Surface2Quib(surface.get(), nullptr));
    EXPECT_EQ(Surface2Quib(nullptr, bad.get()), QUIB_BAD_ARGUMENT);
    EXPECT_STREQ(quibLastError, "");
    EXPECT_EQ(Surface2Quib(surface.get(), bad.get()), static_cast<QuibStatus>(IPL_BadAlign));
    EXPECT_EQ(surface.locks, 0);
}

TEST(Surface2Quib, LeavesASurfaceLockedThatItRefuses)
{
    const Image image = makeHandle(2, 2, 32);
    Surface wide(3, 1, 12, 12);
    EXPECT_EQ(Surface2Quib(wide.get(), image.get()), static_cast<QuibStatus>(0x80000200));
    Surface high(2, 1, 8, 8);
    EXPECT_EQ(Surface2Quib(high.get(), image.get()), static_cast<QuibStatus>(0x80000201));
    Surface flat(2, 2, 8, 16);
    flat.setFormat(16, 0xF800, 0x07E0, 0x001F);
    EXPECT_EQ(Surface2Quib(flat.get(), image.get()), QUIB_BAD_ARGUMENT);
    Surface good(2, 2, 8, 16);
    good.setFormat(32, 0xFF0000, 0xFF00, 0xFF);
    EXPECT_EQ(Surface2Quib(good.get(), makeHandle(2, 2, 8).get()), QUIB_BAD_ARGUMENT);
    for (const Surface* surface : {&wide, &high, &flat, &good}) {
        EXPECT_EQ(surface->locks, 1);
        EXPECT_EQ(surface->unlocks, 0);
    }
    EXPECT_EQ(bytesOf(image.get()), Bytes(16));
}

TEST(Surface2Quib, FindsADeadSurfaceTooNarrow)
{
    const Image image = makeHandle(2, 2, 32);
    Surface surface(2, 2, 8, 16);
    surface.lockResult = -1;
    EXPECT_EQ(Surface2Quib(surface.get(), image.get()), QUIB_SURFACE_BAD_WIDTH);
    EXPECT_EQ(surface.unlocks, 0);
}

TEST(Surface2Quib, TouchesNothingWithoutPixels)
{
    for (const int32_t bitDepth : {24, 32}) {
        const Image image = makeHandle(2, 2, bitDepth);
        const Bytes before = bytesOf(image.get());
        for (const uint32_t bits : {24u, 32u}) {
            Surface surface(2, 2, 8, 16);
            surface.setFormat(bits, 0xFF0000, 0xFF00, 0xFF);
            surface.layout.lpSurface = nullptr;
            EXPECT_EQ(Surface2Quib(surface.get(), image.get()), QUIB_OK);
            EXPECT_EQ(bytesOf(image.get()), before);
            EXPECT_EQ(surface.unlocks, 1);
        }
    }
}

TEST(Surface2Quib, MakesPixelsOpaque)
{
    const Bytes same{1, 2, 3, 255, 5, 6, 7, 255};
    EXPECT_EQ(readInto(2, 1, 32, 32, 8), same);
    EXPECT_EQ(readInto(2, 1, 32, 32, 10), same);
    EXPECT_EQ(readInto(2, 1, 32, 24, 6), (Bytes{1, 2, 3, 255, 4, 5, 6, 255}));
    EXPECT_EQ(readInto(1, 2, 32, 24, 4), (Bytes{1, 2, 3, 255, 5, 6, 7, 255}));
}

TEST(Surface2Quib, MovesWordsThatBothRowsHave)
{
    EXPECT_EQ(readInto(2, 2, 32, 32, 7),
              (Bytes{1, 2, 3, 255, 0x77, 0x77, 0x77, 0x77, 8, 9, 10, 255, 0x77, 0x77, 0x77, 0x77}));
}

TEST(Surface2Quib, DropsTheFourthByteForThreeChannels)
{
    EXPECT_EQ(readInto(2, 1, 24, 32, 8), (Bytes{1, 2, 3, 5, 6, 7, 0x77, 0x77}));
}

TEST(Surface2Quib, StripesThreeChannelsOf24Bits)
{
    EXPECT_EQ(readInto(4, 1, 24, 24, 12), (Bytes{1, 2, 3, 255, 5, 6, 7, 255, 9, 10, 11, 255}));
    EXPECT_EQ(readInto(2, 2, 24, 24, 8),
              (Bytes{1, 2, 3, 255, 5, 6, 7, 255, 9, 10, 11, 255, 13, 14, 15, 255}));
    // The image's rows have 8 bytes, the surface's 6 or 11: one word or two.
    EXPECT_EQ(readInto(2, 1, 24, 24, 6), (Bytes{1, 2, 3, 255, 0x77, 0x77, 0x77, 0x77}));
    EXPECT_EQ(readInto(2, 1, 24, 24, 11), (Bytes{1, 2, 3, 255, 5, 6, 7, 255}));
}

TEST(Surface2Quib, LeavesTheLastBytesOfAnOddBlock)
{
    // Rows of 7 bytes on both sides: three words, and two bytes that do not move.
    const Image image = makeHandle(2, 2, 24);
    std::memset(image->imageData, 0x77, 16);
    image->widthStep = 7;
    FilledSurface surface(2, 2, 7, 24, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14});
    EXPECT_EQ(Surface2Quib(surface.get(), image.get()), QUIB_OK);
    EXPECT_EQ(bytesOf(image.get()),
              (Bytes{1, 2, 3, 255, 5, 6, 7, 255, 9, 10, 11, 255, 0x77, 0x77, 0x77, 0x77}));
}

TEST(Surface2Quib, StaysInsideBothBlocksWhateverIsDescribed)
{
    forEachLevel([] {
        expectRandomRuns<Surface>(
            11, 1500, [](auto& run) { return Surface2Quib(run.surface.get(), run.image.get()); },
            [](PlainPair& pair, int32_t bitDepth) -> QuibStatus {
                if (pair.format.bits < 24 || bitDepth < 24)
                    return QUIB_BAD_ARGUMENT;
                plainRead(pair);
                return QUIB_OK;
            });
    });
}
