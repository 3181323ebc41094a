#include "_Src/image/liveblocks.h"

#include "_Src/ipl.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace
{

// Only the address counts: nothing looks at what lies there.
const char* addressOf(uintptr_t number)
{
    return reinterpret_cast<const char*>(uintptr_t{0x10000000} + number * 32);
}

} // namespace

TEST(LiveBlocks, KnowABlockUntilItIsForgotten)
{
    const char* block = addressOf(1);
    EXPECT_FALSE(ownIsInLiveBlock(block, block, 1));
    ownRememberBlock(block, 100);
    EXPECT_TRUE(ownIsInLiveBlock(block, block, 1));
    EXPECT_FALSE(ownIsInLiveBlock(block + 1, block + 1, 1));
    ownForgetBlock(block + 1);
    EXPECT_TRUE(ownIsInLiveBlock(block, block, 1));
    ownForgetBlock(block);
    EXPECT_FALSE(ownIsInLiveBlock(block, block, 1));
    ownForgetBlock(block);
    EXPECT_FALSE(ownIsInLiveBlock(block, block, 1));
}

TEST(LiveBlocks, HoldTheWholeRangeOrSayNothing)
{
    const char* block = addressOf(2);
    ownRememberBlock(block, 100);
    EXPECT_TRUE(ownIsInLiveBlock(block, block, 100));
    EXPECT_FALSE(ownIsInLiveBlock(block, block, 101));
    EXPECT_TRUE(ownIsInLiveBlock(block, block + 99, 1));
    EXPECT_FALSE(ownIsInLiveBlock(block, block + 99, 2));
    EXPECT_FALSE(ownIsInLiveBlock(block, block + 100, 1));
    EXPECT_FALSE(ownIsInLiveBlock(block, block - 1, 1));
    EXPECT_FALSE(ownIsInLiveBlock(block, block - 1, 2));
    EXPECT_FALSE(ownIsInLiveBlock(block, block + 1, SIZE_MAX));
    EXPECT_FALSE(ownIsInLiveBlock(block, nullptr, 1));
    ownForgetBlock(block);
}

TEST(LiveBlocks, KnowNothingOfNull)
{
    EXPECT_FALSE(ownIsInLiveBlock(nullptr, nullptr, 1));
    EXPECT_FALSE(ownIsInLiveBlock(reinterpret_cast<const char*>(1), addressOf(1), 0));
    ownForgetBlock(nullptr);
}

TEST(LiveBlocks, LeaveSomeOutWhenThereAreVeryMany)
{
    constexpr uintptr_t count = 100000;
    uintptr_t known = 0;
    for (uintptr_t i = 0; i < count; ++i)
        ownRememberBlock(addressOf(i), i % 1000 + 1);
    for (uintptr_t i = 0; i < count; ++i) {
        const size_t bytes = i % 1000 + 1;
        if (!ownIsInLiveBlock(addressOf(i), addressOf(i), 1))
            continue;
        ++known;
        ASSERT_TRUE(ownIsInLiveBlock(addressOf(i), addressOf(i), bytes));
        ASSERT_FALSE(ownIsInLiveBlock(addressOf(i), addressOf(i), bytes + 1));
    }
    EXPECT_GT(known, 10000u);
    EXPECT_LT(known, count);
    for (uintptr_t i = 0; i < count; ++i)
        ownForgetBlock(addressOf(i));
    for (uintptr_t i = 0; i < count; ++i)
        ASSERT_FALSE(ownIsInLiveBlock(addressOf(i), addressOf(i), 1));
    ownRememberBlock(addressOf(7), 5);
    EXPECT_TRUE(ownIsInLiveBlock(addressOf(7), addressOf(7), 5));
    ownForgetBlock(addressOf(7));
}

TEST(LiveBlocks, AreRightUnderThreads)
{
    // Each thread makes and frees blocks of its own, many of which share sets
    // with the others' and its own.
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (uintptr_t thread = 0; thread < 8; ++thread) {
        threads.emplace_back([thread, &wrong] {
            constexpr uintptr_t live = 500;
            for (uintptr_t round = 0; round < 20000; ++round) {
                const char* made = addressOf((round % live) * 8 + thread);
                if (round >= live) {
                    ownForgetBlock(made);
                    wrong += ownIsInLiveBlock(made, made, 1);
                }
                ownRememberBlock(made, round + 1);
                // It may be unknown, but not of another size.
                if (ownIsInLiveBlock(made, made, 1))
                    wrong += !ownIsInLiveBlock(made, made, round + 1) ||
                             ownIsInLiveBlock(made, made, round + 2);
            }
            for (uintptr_t i = 0; i < live; ++i)
                ownForgetBlock(addressOf(i * 8 + thread));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST(LiveBlocks, AreRecordsAndTheirPixelsFromMakingToFreeing)
{
    Image owner = makeImage(20, 3, 4, IPL_DEPTH_8U);
    IplImage* image = owner.release();
    char* const pixels = image->imageDataOrigin;
    EXPECT_TRUE(ownIsInLiveBlock(image, image, sizeof(IplImage)));
    EXPECT_FALSE(ownIsInLiveBlock(image, image, sizeof(IplImage) + 1));
    EXPECT_TRUE(ownIsInLiveBlock(pixels, image->imageData, 20 * 3 * 4));
    iplDeallocateImage(image);
    EXPECT_FALSE(ownIsInLiveBlock(pixels, pixels, 1));
    iplAllocateImage(image, 0, 0);
    char* const again = image->imageDataOrigin;
    EXPECT_TRUE(ownIsInLiveBlock(again, image->imageData, 1));
    iplDeallocate(image, IPL_IMAGE_ALL);
    EXPECT_FALSE(ownIsInLiveBlock(again, again, 1));
    EXPECT_FALSE(ownIsInLiveBlock(image, image, 1));
}
