// Global memory that runs out too, where the linker lets the test stand in between
// (tests/CMakeLists.txt).
#include "tests/everycall/global_blocks.h"

#include "quibtool/platform.h"
#include "tests/support/failing_allocation.h"

#include <atomic>

namespace
{

std::atomic<int64_t> blocks;

} // namespace

int64_t liveGlobalBlocks()
{
    return blocks;
}

#if !defined(_WIN32)
extern "C" {
HGLOBAL __real_GlobalAlloc(UINT flags, SIZE_T size);
HGLOBAL __real_GlobalFree(HGLOBAL block);

HGLOBAL __wrap_GlobalAlloc(UINT flags, SIZE_T size)
{
    const HGLOBAL block = allocationFails() ? nullptr : __real_GlobalAlloc(flags, size);
    blocks += block != nullptr;
    return block;
}

HGLOBAL __wrap_GlobalFree(HGLOBAL block)
{
    const HGLOBAL result = __real_GlobalFree(block);
    blocks -= block && !result;
    return result;
}
}
#endif
