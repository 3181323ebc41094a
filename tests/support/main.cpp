// The main program of every test program.
#include <gtest/gtest.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/resource.h>
#endif

#if defined(__SANITIZE_ADDRESS__)
// Tests ask for blocks that no machine has, and expect null.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1:detect_stack_use_after_return=1:strict_string_checks=1";
}
#endif

// A crash, as death tests expect some, ends the process at once: no dialogue
// that waits for a click, no core file.
static void crashQuietly()
{
#if defined(_WIN32)
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
#else
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
#endif
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    crashQuietly();
#if !defined(_WIN32)
    // No test leaves a thread running, so the child can go on from a fork.
    GTEST_FLAG_SET(death_test_style, "fast");
#endif
    return RUN_ALL_TESTS();
}
