#include "tests/support/failing_allocation.h"

#include <atomic>
#include <cstddef>
#include <cstring>

namespace
{

bool counting;
int32_t calls;
int32_t firstFailing;
int32_t failingCalls;
std::atomic<int64_t> blocks;

constexpr int leftAlone = -1;
int filling = leftAlone;

void* counted(void* block)
{
    if (block)
        blocks.fetch_add(1, std::memory_order_relaxed);
    return block;
}

// Counts an allocation, and tells whether it must fail.
bool allocationFails()
{
    if (!counting)
        return false;
    const int32_t call = calls++;
    return call >= firstFailing && call - firstFailing < failingCalls;
}

} // namespace

FailingAllocation::FailingAllocation(int32_t passing, int32_t failing)
{
    calls = 0;
    firstFailing = passing;
    failingCalls = failing;
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

FilledMemory::FilledMemory(uint8_t byte)
{
    filling = byte;
}

FilledMemory::~FilledMemory()
{
    filling = leftAlone;
}

int64_t liveBlocks()
{
    return blocks.load(std::memory_order_relaxed);
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
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);

QUIB_LINKED void* __wrap_malloc(size_t size)
{
    constexpr int pattern = 0xA5;
    if (allocationFails())
        return nullptr;
    void* const block = counted(__real_malloc(size));
    const int fill = counting ? pattern : filling;
    return fill != leftAlone && block ? std::memset(block, fill, size) : block;
}

QUIB_LINKED void* __wrap_calloc(size_t count, size_t size)
{
    return allocationFails() ? nullptr : counted(__real_calloc(count, size));
}

QUIB_LINKED void* __wrap_realloc(void* block, size_t size)
{
    if (allocationFails())
        return nullptr;
    void* const moved = __real_realloc(block, size);
    return block ? moved : counted(moved);
}

QUIB_LINKED void __wrap_free(void* block)
{
    if (block)
        blocks.fetch_sub(1, std::memory_order_relaxed);
    __real_free(block);
}
}
