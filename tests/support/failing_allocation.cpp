#include "tests/support/failing_allocation.h"

#include <cstddef>

namespace
{

bool counting;
int32_t calls;
int32_t failingCall;

bool mustFail()
{
    return counting && calls++ == failingCall;
}

} // namespace

FailingAllocation::FailingAllocation(int32_t passing)
{
    calls = 0;
    failingCall = passing;
    counting = true;
}

FailingAllocation::~FailingAllocation()
{
    counting = false;
}

int32_t FailingAllocation::asked() const
{
    return calls;
}

// The linker's names for the calls of this program and for what they stand for.
// It looks for them on behalf of shared libraries too.
#if defined(_WIN32)
#define QUIB_LINKED
#else
#define QUIB_LINKED __attribute__((visibility("default")))
#endif
extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);

QUIB_LINKED void* __wrap_malloc(size_t size)
{
    return mustFail() ? nullptr : __real_malloc(size);
}

QUIB_LINKED void* __wrap_calloc(size_t count, size_t size)
{
    return mustFail() ? nullptr : __real_calloc(count, size);
}
}
