#include "quibtool/platform/memory.h"

#include "platform/handles.h"
#include "platform/largepages.h"

#include <cerrno>
#include <cstdlib>
#include <mutex>

#if defined(__linux__)
#include <sys/syscall.h>
#include <unistd.h>
#else
#error "IsBadReadPtr has no probe for this system yet"
#endif

using namespace quib;

// --- Memory probing -----------------------------------------------------------

// True if the 8 bytes at an address aligned to 8 can be read. The kernel reads
// the set before it looks at what to do with it: EINVAL, for the invalid `how`,
// means that the read went well, and no signal mask was changed. This is the
// cheapest exact probe: no descriptor, no second buffer, one copy of 8 bytes.
static bool wordIsReadable(uintptr_t address)
{
    constexpr int invalidHow = -1;
    constexpr size_t kernelSetSize = 8;
    if (address == 0) // the kernel takes null as "no set"
        return false;
    const int savedErrno = errno;
    const long result = syscall(SYS_rt_sigprocmask, invalidHow, address, nullptr, kernelSetSize);
    const bool readable = result == -1 && errno == EINVAL;
    errno = savedErrno;
    return readable;
}

BOOL IsBadReadPtr(const void* address, UINT_PTR size)
{
    // The smallest page: where pages are larger, some are probed twice.
    constexpr uintptr_t pageSize = 4096;
    if (size == 0)
        return FALSE;
    const auto first = reinterpret_cast<uintptr_t>(address);
    const uintptr_t last = first + (size - 1);
    if (last < first)
        return TRUE;
    const uintptr_t lastPage = last & ~(pageSize - 1);
    if (!wordIsReadable(first & ~uintptr_t{7}))
        return TRUE;
    for (uintptr_t page = first & ~(pageSize - 1); page != lastPage;) {
        page += pageSize;
        if (!wordIsReadable(page))
            return TRUE;
    }
    return FALSE;
}

// --- Blocks -------------------------------------------------------------------

namespace
{
struct Block {
    void* address; // null if the block is movable and empty
    SIZE_T size;
    UINT lockCount;
    bool movable;
};
} // namespace

// A movable block's handle is the address of its record, a fixed block's the
// address of its bytes.
static HandleTable blocks;
static std::mutex blocksMutex;

static Block* findBlock(HGLOBAL handle)
{
    return static_cast<Block*>(findHandle(blocks, handle));
}

static Block* makeBlock(UINT flags, SIZE_T size)
{
    auto* block = static_cast<Block*>(calloc(1, sizeof(Block)));
    if (!block)
        return nullptr;
    block->movable = (flags & GMEM_MOVEABLE) != 0;
    block->size = size;
    if (size == 0 && block->movable)
        return block;
    if (size == 0)
        block->size = 1;
    block->address = flags & GMEM_ZEROINIT ? calloc(1, block->size) : malloc(block->size);
    if (!block->address) {
        free(block);
        return nullptr;
    }
    askForLargePages(block->address, block->size);
    return block;
}

HGLOBAL GlobalAlloc(UINT flags, SIZE_T size)
{
    Block* block = makeBlock(flags, size);
    if (!block)
        return nullptr;
    const HGLOBAL handle = block->movable ? block : block->address;
    const std::lock_guard guard(blocksMutex);
    if (!addHandle(blocks, handle, block)) {
        free(block->address);
        free(block);
        return nullptr;
    }
    return handle;
}

void* GlobalLock(HGLOBAL handle)
{
    const std::lock_guard guard(blocksMutex);
    Block* block = findBlock(handle);
    if (!block)
        return nullptr;
    if (block->movable && block->address && block->lockCount < GMEM_LOCKCOUNT)
        block->lockCount++;
    return block->address;
}

BOOL GlobalUnlock(HGLOBAL handle)
{
    const std::lock_guard guard(blocksMutex);
    Block* block = findBlock(handle);
    if (!block)
        return FALSE;
    if (!block->movable)
        return TRUE;
    if (block->lockCount == 0)
        return FALSE;
    block->lockCount--;
    return block->lockCount != 0;
}

HGLOBAL GlobalFree(HGLOBAL handle)
{
    const std::lock_guard guard(blocksMutex);
    auto* block = static_cast<Block*>(removeHandle(blocks, handle));
    if (!block)
        return handle;
    free(block->address);
    free(block);
    return nullptr;
}

SIZE_T GlobalSize(HGLOBAL handle)
{
    const std::lock_guard guard(blocksMutex);
    const Block* block = findBlock(handle);
    return block ? block->size : 0;
}

UINT GlobalFlags(HGLOBAL handle)
{
    const std::lock_guard guard(blocksMutex);
    const Block* block = findBlock(handle);
    if (!block)
        return GMEM_INVALID_HANDLE;
    return block->lockCount | (block->address ? 0 : GMEM_DISCARDED);
}

// --- Rectangles ---------------------------------------------------------------

BOOL IntersectRect(RECT* out, const RECT* a, const RECT* b)
{
    const RECT common = {a->left > b->left ? a->left : b->left, a->top > b->top ? a->top : b->top,
                         a->right < b->right ? a->right : b->right,
                         a->bottom < b->bottom ? a->bottom : b->bottom};
    const bool meet = common.left < common.right && common.top < common.bottom;
    *out = meet ? common : RECT{};
    return meet;
}
