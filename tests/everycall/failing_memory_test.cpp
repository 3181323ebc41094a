// Every exported function, with memory that runs out at every place: it says so or
// does what it would have done, loses nothing, and leaves its arguments to be used.
#include "fuzz/leaks.h"
#include "tests/everycall/scene.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace
{

constexpr SceneKind failingKinds[] = {{1, false, false},  {8, false, false}, {24, false, false},
                                      {32, false, false}, {8, true, false},  {32, true, true},
                                      {8, true, true},    {1, true, true}};

// Reports come back and are counted, without memory.
int32_t reports;
int32_t countReport(int32_t status, const char*, const char*, const char*, int32_t)
{
    ++reports;
    return status;
}

struct CountedReports {
    CountedReports() : saved(iplErrorState)
    {
        iplErrorState = {0, 1, countReport};
        reports = 0;
    }
    ~CountedReports() { iplErrorState = saved; }
    CountedReports(const CountedReports&) = delete;
    CountedReports& operator=(const CountedReports&) = delete;

    IplErrorState saved;
};

struct Outcome {
    uint64_t digest;
    int32_t reports;
    int32_t asked;
    bool hasFailed;
    bool isUsable;
    bool failsAgain; // with memory
    int64_t lost;    // blocks
};

void runIn(Scene* scene, const EveryCall& call, int32_t passing, int32_t failing, Outcome* outcome)
{
    const CountedReports counted;
    const LeaksAllowed allowed; // they are counted
    const FailingAllocation allocation(passing, failing);
    call.run(*scene);
    outcome->asked = allocation.asked();
    outcome->reports = reports;
}

bool failsWithMemory(Scene* scene, const EveryCall& call)
{
    Outcome outcome{};
    scene->forgetNotes();
    runIn(scene, call, 0, 0, &outcome);
    return scene->hasFailed() || outcome.reports > 0;
}

Outcome runWith(const EveryCall& call, const SceneKind& kind, int32_t passing, int32_t failing)
{
    Outcome outcome{};
    const int64_t before = liveBlocks();
    {
        Scene scene(kind);
        runIn(&scene, call, passing, failing, &outcome);
        outcome.hasFailed = scene.hasFailed();
        outcome.digest = call.hasUndefinedPixels ? 0 : scene.digest();
        outcome.isUsable = scene.isUsable();
        if (failing > 0)
            outcome.failsAgain = failsWithMemory(&scene, call);
    }
    outcome.lost = liveBlocks() - before;
    return outcome;
}

// These end quietly, with what they have done until then, or nothing.
bool mayBeQuiet(const std::string& name)
{
    for (const char* const quiet :
         {"QuibMaxFilter", "QuibMinFilter", "QuibMedianFilter", "QuibColorMedianFilter",
          "QuibFixedFilter", "QuibLoadBMP", "QUIBWarpPerspectiveQ"})
        if (name == quiet)
            return true;
    return false;
}

// Regions of the program that the call does not keep.
int64_t regionsThatGo(const std::string& name, const SceneKind& kind)
{
    if (!kind.hasRegions || kind.bitDepth == 32)
        return 0;
    return name == "QuibFillColor" ? 1 : name == "QuibBlt" || name == "QuibBlt_PANZOOM" ? 2 : 0;
}

// The record of a kernel whose taps find no memory stays.
bool mayLoseBlock(const std::string& name)
{
    return name == "QuibCreateConvKernel" || name == "QuibCreateConvKernelChar";
}

void expectWellBehaved(const std::string& name, const Outcome& outcome, const Outcome& wanted)
{
    const bool saysSo = outcome.hasFailed || outcome.reports > 0;
    if (!saysSo && !mayBeQuiet(name)) {
        EXPECT_EQ(outcome.digest, wanted.digest);
    }
    EXPECT_TRUE(outcome.isUsable);
    EXPECT_EQ(outcome.failsAgain, wanted.hasFailed || wanted.reports > 0);
    EXPECT_LE(outcome.lost, wanted.lost + (mayLoseBlock(name) ? 1 : 0));
}

class FailingMemory : public testing::TestWithParam<SceneKind>
{
};

} // namespace

TEST(EveryCall, CallsEveryExportedFunction)
{
    std::set<std::string> called;
    for (const EveryCall& call : everyCall())
        called.insert(call.name);
    EXPECT_EQ(called.size(), 79u);
}

TEST_P(FailingMemory, IsToldAndLosesNothing)
{
    // What stays from then on is taken by the first of a process.
    runWith(everyCall()[0], GetParam(), 0, 0);
    for (size_t i = 0; i < everyCall().size(); ++i) {
        const EveryCall& call = everyCall()[i];
        const Outcome wanted = runWith(call, GetParam(), 0, 0);
        EXPECT_EQ(wanted.digest, runWith(call, GetParam(), 0, 0).digest) << call.name;
        EXPECT_LE(wanted.lost, regionsThatGo(call.name, GetParam())) << "call " << i;
        for (int32_t passing = 0; passing < wanted.asked; ++passing) {
            for (const int32_t failing : {1, INT32_MAX}) {
                SCOPED_TRACE(std::string(call.name) + ", call " + std::to_string(i) +
                             ", allocation " + std::to_string(passing) + ", failing " +
                             std::to_string(failing));
                expectWellBehaved(call.name, runWith(call, GetParam(), passing, failing), wanted);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EachKind, FailingMemory, testing::ValuesIn(failingKinds), nameOfKind);
