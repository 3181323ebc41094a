#include "tests/support/bad_handles.h"
#include "tests/support/guarded_image.h"
#include "tests/support/images.h"
#include "tests/support/levels.h"
#include "tests/support/memory_surface.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

namespace
{

using Bytes = std::vector<uint8_t>;

constexpr uint32_t oddOverEven = 0;
constexpr uint32_t evenOverOdd = 1;

// Rows of `step` bytes after one of the two modes.
Bytes repeated(Bytes rows, size_t step, size_t height, uint32_t mode)
{
    for (size_t y = 0; y + 1 < height; y += 2)
        for (size_t x = 0; x < step; ++x) {
            uint8_t& even = rows[y * step + x];
            uint8_t& odd = rows[(y + 1) * step + x];
            (mode == oddOverEven ? even : odd) = mode == oddOverEven ? odd : even;
        }
    return rows;
}

// Every row holds its number from `first` on.
Image numberedRows(int32_t height, uint8_t first = 0)
{
    Image handle = makeHandle(3, height, 8);
    for (int32_t y = 0; y < height; ++y)
        std::memset(rowOf(handle.get(), y), first + y, 4);
    return handle;
}

Bytes firstBytes(const IplImage* handle)
{
    Bytes bytes;
    for (int32_t y = 0; y < handle->height; ++y)
        bytes.push_back(*rowOf(handle, y));
    return bytes;
}

} // namespace

// --- Handles ---------------------------------------------------------------------------------

TEST(QuibInterlace, DoesNothingInOtherModes)
{
    quibLastError[0] = 0;
    for (const uint32_t mode : {4u, 7u, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_EQ(QuibInterlace(nullptr, mode), QUIB_OK);
    EXPECT_STREQ(quibLastError, "");
}

TEST(QuibInterlace, RefusesBadHandles)
{
    Image bare = makeHandle(2, 2, 8);
    iplDeallocateImage(bare.get());
    for (const uint32_t mode : {oddOverEven, evenOverOdd}) {
        EXPECT_BAD_HANDLE(QuibInterlace(nullptr, mode));
        EXPECT_BAD_HANDLE(QuibInterlace(bare.get(), mode));
    }
}

TEST(QuibInterlace, LeavesARecordThatFailsItsCheck)
{
    const CleanStatus clean;
    const Image handle = numberedRows(4);
    handle->align = 5;
    EXPECT_EQ(QuibInterlace(handle.get(), oddOverEven), QUIB_OK);
    EXPECT_EQ(firstBytes(handle.get()), (Bytes{0, 1, 2, 3}));
}

TEST(QuibInterlace, RepeatsAFieldAndLeavesAnUnpairedRow)
{
    const Image odd = numberedRows(5);
    EXPECT_EQ(QuibInterlace(odd.get(), oddOverEven), QUIB_OK);
    EXPECT_EQ(firstBytes(odd.get()), (Bytes{1, 1, 3, 3, 4}));
    const Image even = numberedRows(5);
    EXPECT_EQ(QuibInterlace(even.get(), evenOverOdd), QUIB_OK);
    EXPECT_EQ(firstBytes(even.get()), (Bytes{0, 0, 2, 2, 4}));
}

TEST(QuibInterlace, LeavesASingleRow)
{
    for (const uint32_t mode : {oddOverEven, evenOverOdd}) {
        const Image handle = numberedRows(1, 9);
        EXPECT_EQ(QuibInterlace(handle.get(), mode), QUIB_OK);
        EXPECT_EQ(bytesOf(handle.get()), Bytes(4, 9));
    }
}

TEST(QuibInterlace, CopiesWholeRowsOfEveryDepth)
{
    forEachLevel([] {
        Random random(1);
        for (const int32_t bitDepth : {1, 8, 24, 32}) {
            for (int32_t height = 1; height < 12; ++height) {
                for (const uint32_t mode : {oddOverEven, evenOverOdd}) {
                    const GuardedHandle handle(random.between(1, 300), height, bitDepth);
                    randomise(handle.get(), random);
                    const Bytes expected =
                        repeated(bytesOf(handle.get()), static_cast<size_t>(handle->widthStep),
                                 static_cast<size_t>(height), mode);
                    EXPECT_EQ(QuibInterlace(handle.get(), mode), QUIB_OK);
                    ASSERT_EQ(bytesOf(handle.get()), expected);
                }
            }
        }
    });
}

// --- Surfaces ----------------------------------------------------------------------------------

TEST(QuibInterlace, RefusesNoSurfaceWithoutAText)
{
    quibLastError[0] = 0;
    EXPECT_EQ(QuibInterlace(nullptr, 2), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibInterlace(nullptr, 3), QUIB_BAD_ARGUMENT);
    EXPECT_STREQ(quibLastError, "");
}

TEST(QuibInterlace, RefusesASurfaceThatDoesNotLock)
{
    for (const HRESULT result : {HRESULT{1}, HRESULT{-1}}) {
        Surface surface(4, 2, 4, 8);
        surface.pixels()[0] = 1;
        surface.lockResult = result;
        surface.describesOnFailure = true;
        const Bytes before = surface.contents();
        EXPECT_EQ(QuibInterlace(surface.get(), 2), QUIB_BAD_ARGUMENT);
        EXPECT_EQ(surface.contents(), before);
        EXPECT_EQ(surface.unlocks, 0);
    }
}

TEST(QuibInterlace, RepeatsTheFieldsOfASurface)
{
    forEachLevel([] {
        Random random(2);
        for (uint32_t height = 0; height < 9; ++height) {
            for (const uint32_t mode : {2u, 3u}) {
                const size_t pitch = static_cast<size_t>(random.between(1, 200));
                Surface surface(1, height, static_cast<int32_t>(pitch), pitch * height);
                random.fill(surface.pixels(), pitch * height);
                const Bytes expected = repeated(surface.contents(), pitch, height, mode - 2);
                EXPECT_EQ(QuibInterlace(surface.get(), mode), QUIB_OK);
                ASSERT_EQ(surface.contents(), expected);
                EXPECT_EQ(surface.locks, 1);
                EXPECT_EQ(surface.unlocks, 1);
                EXPECT_TRUE(surface.calledWell);
            }
        }
    });
}

TEST(QuibInterlace, TouchesNothingWhereADescriptionHasNoRows)
{
    for (const int32_t pitch : {0, -4, INT32_MIN}) {
        Surface surface(1, 4, pitch, 16);
        surface.pixels()[0] = 1;
        const Bytes before = surface.contents();
        EXPECT_EQ(QuibInterlace(surface.get(), 2), QUIB_OK);
        EXPECT_EQ(surface.contents(), before);
        EXPECT_EQ(surface.unlocks, 1);
    }
    Surface dead(1, 4, 4, 16);
    dead.layout.lpSurface = nullptr;
    EXPECT_EQ(QuibInterlace(dead.get(), 3), QUIB_OK);
    EXPECT_EQ(dead.unlocks, 1);
}

// --- Weaving -------------------------------------------------------------------------------------

TEST(QuibUnInterlace, RefusesBadHandlesAndNulls)
{
    const Image good = numberedRows(4);
    IplImage* dst = nullptr;
    EXPECT_BAD_HANDLE(QuibUnInterlace(nullptr, good.get(), &dst));
    EXPECT_BAD_HANDLE(QuibUnInterlace(good.get(), nullptr, &dst));
    EXPECT_EQ(QuibUnInterlace(good.get(), good.get(), nullptr), QUIB_BAD_ARGUMENT);
    EXPECT_STREQ(quibLastError, "");
    EXPECT_EQ(dst, nullptr);
}

TEST(QuibUnInterlace, PassesOnTheStatusOfADestinationThatCannotBeMade)
{
    const CleanStatus clean;
    const Image good = numberedRows(4);
    const Image deep = makeImage(4, 4, 1, IPL_DEPTH_16U);
    IplImage* dst = nullptr;
    EXPECT_EQ(QuibUnInterlace(deep.get(), good.get(), &dst), QUIB_BAD_DEPTH);
    const Image bad = numberedRows(4);
    bad->align = 5; // then it is not known how large
    EXPECT_EQ(QuibUnInterlace(bad.get(), good.get(), &dst), QUIB_BAD_WIDTH);
    EXPECT_EQ(dst, nullptr);
}

TEST(QuibUnInterlace, TakesTurnsAndEndsWithTheEvenImagesLastRow)
{
    const Image even = numberedRows(5, 10);
    const Image odd = numberedRows(5, 20);
    IplImage* dst = nullptr;
    EXPECT_EQ(QuibUnInterlace(even.get(), odd.get(), &dst), QUIB_OK);
    const Image owner(dst);
    EXPECT_EQ(firstBytes(dst), (Bytes{10, 21, 12, 23, 14}));
    EXPECT_EQ(dst->width, 3);
    const Image single = numberedRows(1, 30);
    IplImage* into = dst;
    EXPECT_EQ(QuibUnInterlace(single.get(), odd.get(), &into), QUIB_OK);
    EXPECT_EQ(firstBytes(dst), (Bytes{30, 21, 12, 23, 14}));
}

TEST(QuibUnInterlace, CopiesAnImageWovenWithItself)
{
    Random random(3);
    for (const int32_t bitDepth : {1, 8, 24, 32}) {
        const Image src = makeRandomHandle(37, 6, bitDepth, random);
        IplImage* dst = nullptr;
        EXPECT_EQ(QuibUnInterlace(src.get(), src.get(), &dst), QUIB_OK);
        const Image owner(dst);
        EXPECT_EQ(bytesOf(dst), bytesOf(src.get()));
    }
}

TEST(QuibUnInterlace, StepsByTheEvenImagesRowsInsideAllBlocks)
{
    forEachLevel([] {
        Random random(4);
        for (int round = 0; round < 200; ++round) {
            const auto handle = [&] {
                return std::make_unique<GuardedHandle>(random.between(1, 60), random.between(1, 9),
                                                       8 * random.between(3, 4));
            };
            const auto even = handle();
            const auto odd = handle();
            const auto into = handle();
            for (const auto& each : {&even, &odd, &into})
                randomise((*each)->get(), random);
            const Bytes evenBytes = bytesOf(even->get());
            const Bytes oddBytes = bytesOf(odd->get());
            Bytes expected = bytesOf(into->get());
            const size_t step = static_cast<size_t>(even->get()->widthStep);
            for (size_t i = 0; i < std::min(evenBytes.size(), expected.size()); ++i) {
                const Bytes& from = i / step % 2 ? oddBytes : evenBytes;
                if (i < from.size())
                    expected[i] = from[i];
            }
            IplImage* dst = into->get();
            EXPECT_EQ(QuibUnInterlace(even->get(), odd->get(), &dst), QUIB_OK);
            ASSERT_EQ(bytesOf(into->get()), expected);
        }
    });
}

TEST(QuibUnInterlace, WritesIntoOneOfItsSources)
{
    const Image even = numberedRows(4, 10);
    const Image odd = numberedRows(4, 20);
    IplImage* dst = odd.get();
    EXPECT_EQ(QuibUnInterlace(even.get(), odd.get(), &dst), QUIB_OK);
    EXPECT_EQ(firstBytes(odd.get()), (Bytes{10, 21, 12, 23}));
}

TEST(QuibUnInterlace, LeavesADestinationThatIsNone)
{
    const CleanStatus clean;
    const Image src = numberedRows(4);
    Image bare = makeHandle(3, 4, 8);
    iplDeallocateImage(bare.get());
    IplImage* dst = bare.get();
    EXPECT_EQ(QuibUnInterlace(src.get(), src.get(), &dst), QUIB_OK);
    EXPECT_EQ(bare->imageData, nullptr);
    const Image bad = numberedRows(4, 50);
    bad->align = 5;
    const Image into = numberedRows(4, 60);
    dst = into.get();
    EXPECT_EQ(QuibUnInterlace(src.get(), bad.get(), &dst), QUIB_OK);
    EXPECT_EQ(firstBytes(into.get()), (Bytes{0, 61, 2, 63})); // of `odd` nothing is read
}
