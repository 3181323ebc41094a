#include "quibtool/platform.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_buffer.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <limits>

#if !defined(_WIN32)
#include <csignal>
#endif

// --- IsBadReadPtr -------------------------------------------------------------

TEST(IsBadReadPtr, RefusesNullAndTheFirstPage)
{
    EXPECT_TRUE(IsBadReadPtr(nullptr, 1));
    EXPECT_TRUE(IsBadReadPtr(reinterpret_cast<void*>(1), 1));
    EXPECT_TRUE(IsBadReadPtr(reinterpret_cast<void*>(7), 1));
    EXPECT_TRUE(IsBadReadPtr(reinterpret_cast<void*>(8), 1));
    EXPECT_TRUE(IsBadReadPtr(reinterpret_cast<void*>(4095), 1));
}

TEST(IsBadReadPtr, TakesASizeOfZeroEverywhere)
{
    const GuardedPages area(1);
    EXPECT_FALSE(IsBadReadPtr(nullptr, 0));
    EXPECT_FALSE(IsBadReadPtr(area.pages() - 1, 0));
    EXPECT_FALSE(IsBadReadPtr(reinterpret_cast<void*>(~uintptr_t{0}), 0));
}

TEST(IsBadReadPtr, TakesStackStaticAndHeapMemory)
{
    static const int32_t inStatic = 5;
    const int32_t onStack = 6;
    const std::unique_ptr<int32_t> onHeap = std::make_unique<int32_t>(7);
    EXPECT_FALSE(IsBadReadPtr(&inStatic, sizeof(inStatic)));
    EXPECT_FALSE(IsBadReadPtr(&onStack, sizeof(onStack)));
    EXPECT_FALSE(IsBadReadPtr(onHeap.get(), sizeof(*onHeap)));
    EXPECT_FALSE(IsBadReadPtr("text", 5));
}

TEST(IsBadReadPtr, IsExactAtEveryByteBeforeAGuardPage)
{
    const GuardedPages area(1);
    const uint8_t* end = area.pages() + area.size();
    for (size_t distance = 1; distance <= 200; ++distance) {
        EXPECT_FALSE(IsBadReadPtr(end - distance, distance)) << distance;
        EXPECT_TRUE(IsBadReadPtr(end - distance, distance + 1)) << distance;
    }
    EXPECT_FALSE(IsBadReadPtr(area.pages(), area.size()));
    EXPECT_TRUE(IsBadReadPtr(area.pages(), area.size() + 1));
}

TEST(IsBadReadPtr, IsExactAtEveryByteAfterAGuardPage)
{
    const GuardedPages area(1);
    for (size_t distance = 0; distance < 64; ++distance)
        EXPECT_FALSE(IsBadReadPtr(area.pages() + distance, 1)) << distance;
    for (size_t distance = 1; distance <= 64; ++distance) {
        EXPECT_TRUE(IsBadReadPtr(area.pages() - distance, 1)) << distance;
        EXPECT_TRUE(IsBadReadPtr(area.pages() - distance, 128)) << distance;
    }
}

TEST(IsBadReadPtr, SeesAHoleInTheMiddleOfARange)
{
    const GuardedPages area(5);
    area.setAccess(2, false);
    const uint8_t* start = area.pages();
    const size_t page = GuardedPages::pageSize;
    EXPECT_TRUE(IsBadReadPtr(start, area.size()));
    EXPECT_TRUE(IsBadReadPtr(start + 2 * page - 1, 2));
    EXPECT_TRUE(IsBadReadPtr(start + 2 * page - 1, page + 2));
    EXPECT_TRUE(IsBadReadPtr(start + 3 * page - 1, 2));
    EXPECT_FALSE(IsBadReadPtr(start, 2 * page));
    EXPECT_FALSE(IsBadReadPtr(start + 3 * page, 2 * page));
    area.setAccess(2, true);
    EXPECT_FALSE(IsBadReadPtr(start, area.size()));
}

TEST(IsBadReadPtr, TakesPagesThatCannotBeWritten)
{
    const GuardedBuffer buffer(5000);
    buffer.makeReadOnly();
    EXPECT_FALSE(IsBadReadPtr(buffer.data(), buffer.size()));
}

TEST(IsBadReadPtr, RefusesRangesThatWrap)
{
    const uint8_t byte = 0;
    EXPECT_TRUE(IsBadReadPtr(&byte, std::numeric_limits<UINT_PTR>::max()));
    EXPECT_TRUE(IsBadReadPtr(reinterpret_cast<void*>(~uintptr_t{7}), 64));
    EXPECT_TRUE(IsBadReadPtr(reinterpret_cast<void*>(~uintptr_t{0}), 1));
    EXPECT_TRUE(IsBadReadPtr(reinterpret_cast<void*>(~uintptr_t{0}), 2));
}

TEST(IsBadReadPtr, RefusesMemoryThatIsGone)
{
    const uint8_t* address = nullptr;
    {
        const GuardedPages area(3);
        address = area.pages();
        EXPECT_FALSE(IsBadReadPtr(address, 1));
    }
    EXPECT_TRUE(IsBadReadPtr(address, 1));
}

#if !defined(_WIN32)
TEST(IsBadReadPtr, LeavesHandlersSignalMaskAndErrnoAlone)
{
    struct sigaction handlerBefore = {};
    sigset_t maskBefore;
    sigaction(SIGSEGV, nullptr, &handlerBefore);
    sigprocmask(SIG_BLOCK, nullptr, &maskBefore);
    errno = 77;

    // A set of all ones that would block every signal if it were obeyed.
    const uint64_t allSignals = ~uint64_t{0};
    EXPECT_FALSE(IsBadReadPtr(&allSignals, sizeof(allSignals)));
    EXPECT_TRUE(IsBadReadPtr(nullptr, 1));

    EXPECT_EQ(errno, 77);
    struct sigaction handlerAfter = {};
    sigset_t maskAfter;
    sigaction(SIGSEGV, nullptr, &handlerAfter);
    sigprocmask(SIG_BLOCK, nullptr, &maskAfter);
    EXPECT_EQ(handlerBefore.sa_handler, handlerAfter.sa_handler);
    for (int signal = 1; signal < 32; ++signal)
        EXPECT_EQ(sigismember(&maskBefore, signal), sigismember(&maskAfter, signal)) << signal;
}
#endif

// --- Global blocks --------------------------------------------------------------

TEST(GlobalBlock, CountsItsLocks)
{
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 100);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(GlobalSize(block), 100u);
    EXPECT_EQ(GlobalFlags(block), 0u);
    void* address = GlobalLock(block);
    ASSERT_NE(address, nullptr);
    memset(address, 1, 100);
    EXPECT_EQ(GlobalFlags(block), 1u);
    EXPECT_EQ(GlobalLock(block), address);
    EXPECT_EQ(GlobalFlags(block) & GMEM_LOCKCOUNT, 2u);
    EXPECT_TRUE(GlobalUnlock(block));
    EXPECT_FALSE(GlobalUnlock(block)); // the last lock
    EXPECT_FALSE(GlobalUnlock(block)); // one too many
    EXPECT_EQ(GlobalFlags(block), 0u);
    EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST(GlobalBlock, KeepsItsLockCountAt255)
{
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 8);
    for (int i = 0; i < 300; ++i)
        EXPECT_NE(GlobalLock(block), nullptr);
    EXPECT_EQ(GlobalFlags(block), 255u);
    EXPECT_TRUE(GlobalUnlock(block));
    EXPECT_EQ(GlobalFlags(block), 254u);
    for (int i = 0; i < 253; ++i)
        EXPECT_TRUE(GlobalUnlock(block)) << i;
    EXPECT_FALSE(GlobalUnlock(block));
    EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST(GlobalBlock, StartsZeroedWhenAsked)
{
    for (const UINT flags : {GHND, GPTR}) {
        const HGLOBAL block = GlobalAlloc(flags, 3000);
        const auto* bytes = static_cast<const uint8_t*>(GlobalLock(block));
        ASSERT_NE(bytes, nullptr);
        for (int i = 0; i < 3000; ++i)
            ASSERT_EQ(bytes[i], 0) << i;
        GlobalUnlock(block);
        EXPECT_EQ(GlobalFree(block), nullptr);
    }
}

TEST(GlobalBlock, KeepsItsBytesBetweenLocks)
{
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 13);
    strcpy(static_cast<char*>(GlobalLock(block)), "twelve bytes");
    GlobalUnlock(block);
    EXPECT_EQ(GlobalSize(block), 13u);
    EXPECT_STREQ(static_cast<const char*>(GlobalLock(block)), "twelve bytes");
    EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST(GlobalBlock, FixedIsItsOwnAddressAndCountsNoLocks)
{
    const HGLOBAL block = GlobalAlloc(GMEM_FIXED, 100);
    ASSERT_NE(block, nullptr);
    memset(block, 1, 100);
    EXPECT_EQ(GlobalLock(block), block);
    EXPECT_EQ(GlobalLock(block), block);
    EXPECT_EQ(GlobalFlags(block), 0u);
    EXPECT_TRUE(GlobalUnlock(block));
    EXPECT_TRUE(GlobalUnlock(block));
    EXPECT_TRUE(GlobalUnlock(block));
    EXPECT_EQ(GlobalSize(block), 100u);
    EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST(GlobalBlock, OfNoBytesCannotBeLockedUnlessFixed)
{
    const HGLOBAL movable = GlobalAlloc(GMEM_MOVEABLE, 0);
    ASSERT_NE(movable, nullptr);
    EXPECT_EQ(GlobalSize(movable), 0u);
    EXPECT_EQ(GlobalFlags(movable), GMEM_DISCARDED);
    EXPECT_EQ(GlobalLock(movable), nullptr);
    EXPECT_EQ(GlobalFlags(movable), GMEM_DISCARDED);
    EXPECT_FALSE(GlobalUnlock(movable));
    EXPECT_EQ(GlobalFree(movable), nullptr);

    const HGLOBAL fixed = GlobalAlloc(GMEM_FIXED, 0);
    ASSERT_NE(fixed, nullptr);
    EXPECT_EQ(GlobalLock(fixed), fixed);
    EXPECT_EQ(GlobalFree(fixed), nullptr);
}

TEST(GlobalBlock, CanBeFreedWhileLocked)
{
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 10);
    GlobalLock(block);
    EXPECT_EQ(GlobalFree(block), nullptr);
    EXPECT_EQ(GlobalLock(block), nullptr);
}

TEST(GlobalBlock, RefusesAFreedHandle)
{
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 10);
    EXPECT_EQ(GlobalFree(block), nullptr);
    EXPECT_EQ(GlobalLock(block), nullptr);
    EXPECT_FALSE(GlobalUnlock(block));
    EXPECT_EQ(GlobalSize(block), 0u);
    EXPECT_EQ(GlobalFlags(block), GMEM_INVALID_HANDLE);
    EXPECT_EQ(GlobalFree(block), block);
}

TEST(GlobalBlock, RefusesHandlesThatNeverWere)
{
    const uintptr_t values[] = {0, 1, 2, 0x12, 0x12345, 0x12346, ~uintptr_t{0}, ~uintptr_t{1}};
    for (const uintptr_t value : values) {
        const auto block = reinterpret_cast<HGLOBAL>(value);
        EXPECT_EQ(GlobalLock(block), nullptr) << value;
        EXPECT_FALSE(GlobalUnlock(block)) << value;
        EXPECT_EQ(GlobalSize(block), 0u) << value;
        EXPECT_EQ(GlobalFlags(block), GMEM_INVALID_HANDLE) << value;
    }
    EXPECT_EQ(GlobalFree(nullptr), nullptr);
}

TEST(GlobalBlock, RefusesAnAddressThatCannotBeRead)
{
    const GuardedPages area(1);
    EXPECT_EQ(GlobalLock(area.pages() - 16), nullptr);
    EXPECT_EQ(GlobalLock(area.pages() + area.size()), nullptr);
}

TEST(GlobalBlock, IsNullWhenMemoryRunsOut)
{
    const SIZE_T most = std::numeric_limits<SIZE_T>::max();
    EXPECT_EQ(GlobalAlloc(GMEM_MOVEABLE, most), nullptr);
    EXPECT_EQ(GlobalAlloc(GMEM_FIXED, most), nullptr);
    EXPECT_EQ(GlobalAlloc(GHND, most - 4096), nullptr);
}

#if !defined(_WIN32)
TEST(GlobalBlock, IsNullWithoutMemoryForTheTableOfBlocks)
{
    std::vector<HGLOBAL> blocks;
    blocks.reserve(100000);
    bool failed = false;
    while (!failed && blocks.size() < blocks.capacity()) {
        const int64_t before = liveBlocks();
        const FailingAllocation failing(2);
        const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 16);
        failed = block == nullptr;
        if (failed)
            EXPECT_EQ(liveBlocks(), before);
        else
            blocks.push_back(block);
    }
    EXPECT_TRUE(failed);
    // The others are still known.
    for (const HGLOBAL block : blocks) {
        EXPECT_EQ(GlobalSize(block), 16u);
        EXPECT_EQ(GlobalFree(block), nullptr);
    }
}
#endif

TEST(GlobalBlock, ManyLiveTogether)
{
    constexpr uint32_t count = 3000;
    static HGLOBAL blocks[count];
    for (uint32_t i = 0; i < count; ++i) {
        blocks[i] = GlobalAlloc(i % 3 ? GMEM_MOVEABLE : GMEM_FIXED, 4 + i);
        ASSERT_NE(blocks[i], nullptr);
        memcpy(GlobalLock(blocks[i]), &i, sizeof(i));
    }
    // Free some of them in another order and put new ones in their places.
    for (uint32_t i = 0; i < count; i += 7) {
        const uint32_t victim = i * 13 % count;
        EXPECT_EQ(GlobalFree(blocks[victim]), nullptr);
        blocks[victim] = GlobalAlloc(GMEM_MOVEABLE, 4 + victim);
        memcpy(GlobalLock(blocks[victim]), &victim, sizeof(victim));
    }
    for (uint32_t i = 0; i < count; ++i) {
        uint32_t stored = 0;
        memcpy(&stored, GlobalLock(blocks[i]), sizeof(stored));
        ASSERT_EQ(stored, i);
        ASSERT_EQ(GlobalSize(blocks[i]), 4 + i);
    }
    for (const HGLOBAL block : blocks)
        EXPECT_EQ(GlobalFree(block), nullptr);
}

// --- IntersectRect --------------------------------------------------------------

static void expectRect(const RECT& rect, int left, int top, int right, int bottom)
{
    EXPECT_EQ(rect.left, left);
    EXPECT_EQ(rect.top, top);
    EXPECT_EQ(rect.right, right);
    EXPECT_EQ(rect.bottom, bottom);
}

TEST(IntersectRect, GivesWhatTwoRectanglesShare)
{
    const RECT a = {-5, 2, 10, 20};
    const RECT b = {3, -7, 30, 12};
    RECT out = {1, 1, 1, 1};
    EXPECT_TRUE(IntersectRect(&out, &a, &b));
    expectRect(out, 3, 2, 10, 12);
    EXPECT_TRUE(IntersectRect(&out, &b, &a));
    expectRect(out, 3, 2, 10, 12);
}

TEST(IntersectRect, GivesTheInnerOfTwoNestedRectangles)
{
    const RECT outer = {-2147483647 - 1, -2147483647 - 1, 2147483647, 2147483647};
    const RECT inner = {1, 2, 3, 4};
    RECT out = {};
    EXPECT_TRUE(IntersectRect(&out, &outer, &inner));
    expectRect(out, 1, 2, 3, 4);
}

TEST(IntersectRect, ZeroesTheResultWhereEdgesOnlyTouch)
{
    const RECT a = {0, 0, 10, 10};
    for (const RECT b : {RECT{10, 0, 20, 10}, RECT{0, 10, 10, 20}, RECT{-9, 0, 0, 10},
                         RECT{0, -9, 10, 0}, RECT{40, 40, 50, 50}}) {
        RECT out = {7, 7, 7, 7};
        EXPECT_FALSE(IntersectRect(&out, &a, &b));
        expectRect(out, 0, 0, 0, 0);
    }
}

TEST(IntersectRect, TakesEmptyAndInvertedRectanglesAsMeetingNothing)
{
    const RECT a = {0, 0, 10, 10};
    for (const RECT b : {RECT{5, 5, 5, 8}, RECT{5, 5, 8, 5}, RECT{8, 0, 2, 10}, RECT{0, 9, 10, 1},
                         RECT{0, 0, 0, 0}}) {
        RECT out = {7, 7, 7, 7};
        EXPECT_FALSE(IntersectRect(&out, &a, &b));
        expectRect(out, 0, 0, 0, 0);
        out = {7, 7, 7, 7};
        EXPECT_FALSE(IntersectRect(&out, &b, &b));
        expectRect(out, 0, 0, 0, 0);
    }
}

TEST(IntersectRect, WorksInPlace)
{
    const RECT a = {0, 0, 10, 10};
    RECT b = {5, -5, 15, 5};
    EXPECT_TRUE(IntersectRect(&b, &a, &b));
    expectRect(b, 5, 0, 10, 5);
    RECT c = {-3, 4, 6, 44};
    EXPECT_TRUE(IntersectRect(&c, &c, &a));
    expectRect(c, 0, 4, 6, 10);
}
