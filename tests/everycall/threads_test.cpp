// Every exported function on eight threads at once, each with handles of its own.
// Under ThreadSanitizer (the preset `threads`) this also shows that nothing is shared
// but what is told: the engine's status and the text of the last error.
#include "tests/everycall/scene.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#if defined(__SANITIZE_THREAD__)
extern "C" [[gnu::visibility("default")]] const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions()
{
    return "race:iplSetStatus\nrace:iplGetStatus\n";
}
#endif

namespace
{

constexpr SceneKind threadKinds[] = {
    {1, false, false}, {8, true, true}, {24, true, false}, {32, false, false}, {32, true, true}};

struct Expected {
    const EveryCall* call;
    uint64_t digest;
};

// The calls of a kind that no engine function refuses, since those tell the whole
// process, and what they give alone.
std::vector<Expected> callsThatPass(const SceneKind& kind)
{
    std::vector<Expected> expected;
    for (const EveryCall& call : everyCall()) {
        iplErrorState = {0, 1, iplErrorState.handler};
        Scene scene(kind);
        call.run(scene);
        if (!scene.hasFailed() && iplGetStatus() == 0 && !call.hasUndefinedPixels)
            expected.push_back({&call, scene.digest()});
    }
    return expected;
}

// How many calls gave something else.
int32_t runAll(const std::vector<Expected>& expected, const SceneKind& kind, size_t first)
{
    int32_t wrong = 0;
    for (size_t i = 0; i < expected.size(); ++i) {
        const Expected& next = expected[(first + i) % expected.size()];
        Scene scene(kind);
        next.call->run(scene);
        wrong += scene.digest() != next.digest;
    }
    return wrong;
}

class Threads : public testing::TestWithParam<SceneKind>
{
};

} // namespace

TEST_P(Threads, WorkOnHandlesOfTheirOwn)
{
    const IplErrorState saved = iplErrorState;
    const std::vector<Expected> expected = callsThatPass(GetParam());
    EXPECT_GT(expected.size(), 30u);
    std::atomic<int32_t> wrong = 0;
    std::vector<std::thread> threads;
    for (size_t i = 0; i < 8; ++i)
        threads.emplace_back([&, i] { wrong += runAll(expected, GetParam(), i * 5); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    iplErrorState = saved;
}

INSTANTIATE_TEST_SUITE_P(EachKind, Threads, testing::ValuesIn(threadKinds), nameOfKind);
