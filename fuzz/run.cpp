// One run of a fuzz target: reports come back, since the code behind them is under test
// too, and what is allocated has to be freed, but where a report or the target says that
// it may stay.
#include "fuzz/fuzz.h"

#include "_Src/ipl.h"

#include <cstdio>
#include <cstdlib>

#if defined(QUIB_HAS_ASAN)
// Of the sanitizers' allocator; one compiler's headers leave it out.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onAllocation)(const volatile void*,
                                                                              size_t),
                                                         void (*onFree)(const volatile void*));

// Blocks larger than this are refused, and the library sees no memory. Leaks are looked for
// here. The sanitizer's shared library has to see the name.
extern "C" [[gnu::visibility("default")]] const char* __asan_default_options();
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1:detect_leaks=0:max_allocation_size_mb=32:"
           "malloc_context_size=2:quarantine_size_mb=4";
}
#endif

namespace
{

bool blocksMayStay;

int32_t noteReport(int32_t status, const char*, const char*, const char*, int32_t)
{
    blocksMayStay = true;
    return status;
}

// The blocks that came in a run and have not gone.
struct Blocks {
    static constexpr size_t most = 4096;

    bool watching = false;
    size_t count = 0;
    const void* addresses[most];
    bool uncertain = false; // more than there is room for, or an old one was replaced
};
Blocks blocks;

void onAllocation(const volatile void* block, size_t)
{
    if (!blocks.watching)
        return;
    if (blocks.count < Blocks::most)
        blocks.addresses[blocks.count++] = const_cast<const void*>(block);
    else
        blocks.uncertain = true;
}

void onFree(const volatile void* block)
{
    if (!blocks.watching || !block)
        return;
    for (size_t i = blocks.count; i-- > 0;) {
        if (blocks.addresses[i] != block)
            continue;
        blocks.addresses[i] = blocks.addresses[--blocks.count];
        return;
    }
    blocks.uncertain = true;
}

bool canWatchBlocks()
{
#if defined(QUIB_HAS_ASAN)
    static const bool can = __sanitizer_install_malloc_and_free_hooks(&onAllocation, &onFree) > 0;
    return can;
#else
    (void)&onAllocation;
    (void)&onFree;
    return false;
#endif
}

// Gives how many blocks are left of the run.
size_t runOnce(const uint8_t* data, size_t size)
{
    iplErrorState.mode = 1;
    iplErrorState.handler = noteReport;
    iplSetStatus(0);
    blocksMayStay = false;
    blocks.count = 0;
    blocks.uncertain = false;
    blocks.watching = canWatchBlocks();
    runFuzzInput(data, size);
    blocks.watching = false;
    return blocks.uncertain ? 0 : blocks.count;
}

// They would fill the memory in the end. The first runs make some that are to last.
void freeLeftBlocks()
{
    static int32_t runs = 0;
    if (++runs < 100)
        return;
    for (size_t i = 0; i < blocks.count; ++i)
        std::free(const_cast<void*>(blocks.addresses[i]));
}

} // namespace

void allowBlocksToStay()
{
    blocksMayStay = true;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (runOnce(data, size) == 0)
        return 0;
    if (blocksMayStay) {
        freeLeftBlocks();
        return 0;
    }
    // What lasts is made once.
    const size_t left = runOnce(data, size);
    if (left > 0 && !blocksMayStay) {
        std::fprintf(stderr, "%zu blocks are not freed\n", left);
        std::abort();
    }
    return 0;
}
