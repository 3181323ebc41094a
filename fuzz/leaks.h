// Losses that are meant to be, for the sanitizer that looks for leaks.
#pragma once

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QUIB_HAS_ASAN 1
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define QUIB_HAS_ASAN 1
#endif

#if defined(QUIB_HAS_ASAN)
#include <sanitizer/lsan_interface.h>
#endif

// While it lives, what is allocated and not freed counts as no leak.
struct LeaksAllowed {
#if defined(QUIB_HAS_ASAN)
    LeaksAllowed()
    {
        __lsan_disable();
    }
    ~LeaksAllowed()
    {
        __lsan_enable();
    }
#else
    LeaksAllowed() {}
    ~LeaksAllowed() {}
#endif
    LeaksAllowed(const LeaksAllowed&) = delete;
    LeaksAllowed& operator=(const LeaksAllowed&) = delete;
};
