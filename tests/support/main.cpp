// The main program of every test program.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/resource.h>
#include <unistd.h>
#endif

#if defined(__SANITIZE_ADDRESS__)
// Tests ask for blocks that no machine has, and expect null.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options();
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1:detect_stack_use_after_return=1:strict_string_checks=1";
}
#endif

// A crash, as death tests expect some, ends the process at once: no debugger,
// no dialogue that waits for a click, no core file.
#if defined(_WIN32)
static LONG WINAPI endOnException(EXCEPTION_POINTERS* exception)
{
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    fprintf(stderr, "Exception %08lx at %p.\n", record.ExceptionCode, record.ExceptionAddress);
    fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), 98);
    return EXCEPTION_EXECUTE_HANDLER;
}

static void crashQuietly()
{
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    SetUnhandledExceptionFilter(endOnException);
}
#else
static void crashQuietly()
{
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
}
#endif

// --- Tests that end the process -------------------------------------------------

static bool testsAreOver = false;
#if defined(_WIN32)
static bool isDeathTest = false;
static bool isMainProcess()
{
    return !isDeathTest; // which starts the program again
}
#else
static const pid_t mainProcess = getpid();
static bool isMainProcess()
{
    return getpid() == mainProcess; // a death test forks
}
#endif

// The library ends the process at a report. Outside a death test that is a
// failure, whatever the exit status.
static void refuseAnEarlyEnd()
{
    if (testsAreOver || !isMainProcess())
        return;
    fputs("A test ended the process.\n", stderr);
    fflush(nullptr);
    _Exit(99);
}

int main(int argc, char** argv)
{
#if defined(_WIN32)
    for (int i = 1; i < argc; ++i)
        isDeathTest = isDeathTest || strstr(argv[i], "internal_run_death_test");
#endif
    testing::InitGoogleTest(&argc, argv);
    crashQuietly();
#if !defined(_WIN32)
    // No test leaves a thread running, so the child can go on from a fork.
    GTEST_FLAG_SET(death_test_style, "fast");
#endif
    atexit(refuseAnEarlyEnd);
    const int status = RUN_ALL_TESTS();
    testsAreOver = true;
    return status;
}
