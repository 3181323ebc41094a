// The surface transfers on surfaces of the system: every depth of an image, in every
// common format, at odd and even widths.
#include "quibtool/handle.h"
#include "tests/support/drawing_surface.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

namespace
{

struct Size {
    int32_t width;
    int32_t height;
};
constexpr Size sizes[] = {{1, 1},  {1, 5},   {2, 3},   {3, 3},   {4, 2},   {5, 4},
                          {6, 6},  {7, 1},   {8, 3},   {9, 2},   {16, 2},  {17, 5},
                          {31, 3}, {33, 40}, {64, 3},  {65, 2},  {66, 9},  {67, 2},
                          {99, 7}, {3, 20},  {100, 8}, {128, 2}, {131, 3}, {257, 2}};

PlainPair plainPair(const PlainBlock& surface, const IplImage* image, const SurfaceFormat& format)
{
    return {surface,          PlainBlock(bytesOf(image), image->widthStep),
            image->width,     image->height,
            image->nChannels, format};
}

// Calls transfer(image, surface) for all sizes, and compares both with what
// plain(pair) makes of them; `plain` gives the status to be expected.
template<class Surface, class Transfer, class Plain>
void expectTransfers(int32_t bitDepth, const SurfaceFormat& format, Transfer transfer, Plain plain)
{
    SCOPED_TRACE(std::to_string(bitDepth) + " bits, surface of " + format.name);
    Random random(static_cast<uint64_t>(bitDepth) * 64 + format.bits);
    for (const Size& size : sizes) {
        SCOPED_TRACE(std::to_string(size.width) + " x " + std::to_string(size.height));
        const Image image = makeRandomHandle(size.width, size.height, bitDepth, random);
        Surface surface(size.width, size.height, format);
        surface.randomise(random);
        PlainPair pair = plainPair(surface.content(), image.get(), format);
        const QuibStatus expected = plain(pair);
        ASSERT_EQ(transfer(image.get(), surface.get()), expected);
        // What is left locked cannot be looked at.
        ASSERT_EQ(surface.takeLock(), expected == QUIB_BAD_ARGUMENT);
        ASSERT_EQ(surface.content().bytes, pair.surface.bytes);
        ASSERT_EQ(bytesOf(image.get()), pair.image.bytes);
    }
}

} // namespace

TEST(SystemSurfaces, TakeImagesOfEveryDepth)
{
    for (const int32_t bitDepth : {1, 8, 24, 32})
        for (const SurfaceFormat& format : commonFormats)
            expectTransfers<SystemSurface>(bitDepth, format, Quib2Surface, [](PlainPair& pair) {
                plainDraw(pair);
                return QUIB_OK;
            });
}

TEST(SystemSurfaces, OfTheNewerKindTakeImagesOfEveryDepth)
{
    for (const int32_t bitDepth : {8, 24, 32})
        for (const SurfaceFormat& format : commonFormats)
            expectTransfers<SystemSurface7>(
                bitDepth, format, Quib2Surface7, [&](PlainPair& pair) -> QuibStatus {
                    if (format.bits == 8)
                        return QUIB_SURFACE_BAD_DEPTH;
                    if (format.bits == 16)
                        plainTo16(pair, bitDepth, format.green == 0x07E0);
                    else
                        plainDrawColour(pair);
                    return QUIB_OK;
                });
}

TEST(SystemSurfaces, AreReadIntoImagesOfEveryDepth)
{
    const auto read = [](IplImage* image, IDirectDrawSurface* surface) {
        return Surface2Quib(surface, image);
    };
    for (const int32_t bitDepth : {1, 8, 24, 32})
        for (const SurfaceFormat& format : commonFormats)
            expectTransfers<SystemSurface>(bitDepth, format, read,
                                           [&](PlainPair& pair) -> QuibStatus {
                                               if (format.bits < 24 || bitDepth < 24)
                                                   return QUIB_BAD_ARGUMENT;
                                               plainRead(pair);
                                               return QUIB_OK;
                                           });
}

TEST(SystemSurfaces, Of16BitsArePacked)
{
    for (const int32_t bitDepth : {8, 24, 32})
        for (const SurfaceFormat& format : {format555, format565})
            for (const int32_t is565 : {0, 1})
                expectTransfers<SystemSurface>(
                    bitDepth, format,
                    [&](IplImage* image, IDirectDrawSurface* surface) {
                        return QuibToSurf_16(image, surface, is565);
                    },
                    [&](PlainPair& pair) {
                        plainTo16(pair, bitDepth, is565);
                        return QUIB_OK;
                    });
}

TEST(SystemSurfaces, OfOtherSizesAreRefused)
{
    const Image image = makeHandle(5, 4, 24);
    const struct {
        Size size;
        QuibStatus status;
    } others[] = {{{4, 4}, QUIB_SURFACE_BAD_WIDTH},
                  {{6, 3}, QUIB_SURFACE_BAD_WIDTH},
                  {{5, 3}, QUIB_SURFACE_BAD_HEIGHT},
                  {{5, 5}, QUIB_SURFACE_BAD_HEIGHT}};
    for (const auto& other : others) {
        SystemSurface surface(other.size.width, other.size.height, format32);
        EXPECT_EQ(Quib2Surface(image.get(), surface.get()), other.status);
        EXPECT_TRUE(surface.takeLock());
        EXPECT_EQ(Surface2Quib(surface.get(), image.get()), other.status);
        EXPECT_TRUE(surface.takeLock());
        SystemSurface surface16(other.size.width, other.size.height, format565);
        EXPECT_EQ(QuibToSurf_16(image.get(), surface16.get(), 1), other.status);
        EXPECT_FALSE(surface16.takeLock());
        SystemSurface7 surface7(other.size.width, other.size.height, format24);
        EXPECT_EQ(Quib2Surface7(image.get(), surface7.get()), other.status);
        EXPECT_FALSE(surface7.takeLock());
    }
}

TEST(SystemSurfaces, OfOther16BitFormatsAreRefusedUnlocked)
{
    const Image image = makeHandle(5, 4, 24);
    for (const SurfaceFormat& format : {format8, format24, format32}) {
        SystemSurface surface(5, 4, format);
        EXPECT_EQ(QuibToSurf_16(image.get(), surface.get(), 1), QUIB_BAD_ARGUMENT);
        EXPECT_FALSE(surface.takeLock());
    }
}

TEST(SystemSurfaces, GiveBackWhatTheyTook)
{
    Random random(5);
    const Image image = makeRandomHandle(33, 9, 32, random);
    SystemSurface surface(33, 9, format32);
    EXPECT_EQ(Quib2Surface(image.get(), surface.get()), QUIB_OK);
    const Image back = makeHandle(33, 9, 32);
    EXPECT_EQ(Surface2Quib(surface.get(), back.get()), QUIB_OK);
    for (int32_t i = 3; i < image->imageSize; i += 4)
        image->imageData[i] = static_cast<char>(0xFF);
    EXPECT_EQ(bytesOf(back.get()), bytesOf(image.get()));
}
