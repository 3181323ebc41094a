// Large pages for large blocks, on systems that have them on demand.
#pragma once

#include <cstddef>

#if defined(__linux__)
#include <cstdint>
#include <sys/mman.h>
#endif

namespace quib
{

// To be asked before a fresh block is first touched: one fault for each small page
// of it costs as much as filling it.
inline void askForLargePages(void* block, size_t bytes)
{
#if defined(MADV_HUGEPAGE)
    constexpr uintptr_t largePage = uintptr_t{2} << 20;
    const uintptr_t start = reinterpret_cast<uintptr_t>(block);
    const uintptr_t first = (start + largePage - 1) & ~(largePage - 1);
    const uintptr_t end = (start + bytes) & ~(largePage - 1);
    if (bytes >= 2 * largePage && first < end)
        madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
#else
    (void)block;
    (void)bytes;
#endif
}

} // namespace quib
