#include "quibtool/warp/guard.h"

#include "_Src/ipl.h"
#include "tests/support/guarded_buffer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

namespace
{

void count(void* context)
{
    ++*static_cast<int*>(context);
}

#if defined(_WIN32)

void fault(void* context)
{
    *static_cast<volatile uint8_t*>(context) = 1;
}

void divide(void* context)
{
    // Quotients of 1 are made without a division.
    volatile int* zero = static_cast<int*>(context);
    volatile int ten = 10;
    *zero = ten / *zero;
}

// Faults in an inner guarded call, then in the outer one.
void faultTwice(void* context)
{
    EXPECT_FALSE(ownCallGuarded(fault, context));
    fault(context);
}

#endif

} // namespace

TEST(OwnCallGuarded, MakesTheCall)
{
    int calls = 0;
    EXPECT_TRUE(ownCallGuarded(count, &calls));
    EXPECT_EQ(calls, 1);
}

#if defined(_WIN32)

TEST(OwnCallGuarded, EndsACallThatFaults)
{
    const GuardedPages pages(1);
    pages.setAccess(0, false);
    int zero = 0;
    for (int round = 0; round < 3; ++round) {
        // What a register may hold from before the call is there after it.
        double sum = 0;
        for (int i = 1; i < 5; ++i)
            sum += std::sqrt(static_cast<double>(i));
        EXPECT_FALSE(ownCallGuarded(fault, pages.pages()));
        EXPECT_FALSE(ownCallGuarded(divide, &zero));
        EXPECT_NEAR(sum, 6.146264, 1e-6);
        int calls = 0;
        EXPECT_TRUE(ownCallGuarded(count, &calls));
        EXPECT_EQ(calls, 1);
    }
}

TEST(OwnCallGuarded, GuardsCallsInCalls)
{
    const GuardedPages pages(1);
    pages.setAccess(0, false);
    EXPECT_FALSE(ownCallGuarded(faultTwice, pages.pages()));
}

// What the program has to run at its end may handle exceptions of its own.
TEST(OwnCallGuarded, LetsAReportEndTheProcess)
{
    const auto endWith = [](void (*lastAct)()) {
        std::atexit(lastAct);
        ownCallGuarded([](void*) { iplError(IPL_StsBadArg, "", "", "", 0); }, nullptr);
        std::_Exit(7);
    };
    EXPECT_EXIT(endWith([] { IsBadReadPtr(reinterpret_cast<void*>(16), 4); }),
                testing::ExitedWithCode(1), "");
    EXPECT_EXIT(endWith([] { OutputDebugStringA("bye"); }), testing::ExitedWithCode(1), "");
    EXPECT_EXIT(endWith([] {
                    try {
                        throw 1;
                    } catch (int) {
                    }
                }),
                testing::ExitedWithCode(1), "");
}

TEST(OwnCallGuarded, LeavesOtherFaultsAlone)
{
    const GuardedPages pages(1);
    pages.setAccess(0, false);
    int calls = 0;
    EXPECT_TRUE(ownCallGuarded(count, &calls));
    EXPECT_FALSE(ownCallGuarded(fault, pages.pages()));
    EXPECT_DEATH(fault(pages.pages()), "Exception c0000005");
}

#endif
