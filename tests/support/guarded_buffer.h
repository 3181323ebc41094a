// Blocks with inaccessible pages on both sides: one byte too far is a fault.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#endif

// Whole pages between two inaccessible ones. Ends the process if the system
// refuses them.
class GuardedPages
{
public:
    static constexpr size_t pageSize = 4096;

    explicit GuardedPages(size_t count) : pageCount(count)
    {
        const size_t size = (count + 2) * pageSize;
#if defined(_WIN32)
        base = static_cast<uint8_t*>(VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS));
        if (!base || !VirtualAlloc(pages(), count * pageSize, MEM_COMMIT, PAGE_READWRITE))
            abort();
#else
        void* area = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        base = static_cast<uint8_t*>(area);
        if (area == MAP_FAILED || mprotect(pages(), count * pageSize, PROT_READ | PROT_WRITE) != 0)
            abort();
#endif
    }
    ~GuardedPages()
    {
#if defined(_WIN32)
        VirtualFree(base, 0, MEM_RELEASE);
#else
        munmap(base, (pageCount + 2) * pageSize);
#endif
    }
    GuardedPages(const GuardedPages&) = delete;
    GuardedPages& operator=(const GuardedPages&) = delete;

    uint8_t* pages() const
    {
        return base + pageSize;
    }
    size_t size() const
    {
        return pageCount * pageSize;
    }

    // Takes away all access to one page, or gives back reading and writing.
    void setAccess(size_t page, bool accessible) const
    {
        uint8_t* address = pages() + page * pageSize;
#if defined(_WIN32)
        DWORD before = 0;
        if (!VirtualProtect(address, pageSize, accessible ? PAGE_READWRITE : PAGE_NOACCESS,
                            &before))
            abort();
#else
        if (mprotect(address, pageSize, accessible ? PROT_READ | PROT_WRITE : PROT_NONE) != 0)
            abort();
#endif
    }
    void makeReadOnly() const
    {
#if defined(_WIN32)
        DWORD before = 0;
        if (!VirtualProtect(pages(), size(), PAGE_READONLY, &before))
            abort();
#else
        if (mprotect(pages(), size(), PROT_READ) != 0)
            abort();
#endif
    }

private:
    uint8_t* base;
    size_t pageCount;
};

// Where a buffer touches the inaccessible page.
enum class Guard { afterEnd, beforeStart };

// `size` bytes, all set to 0xA5, that end where an inaccessible page begins, or
// that begin where one ends. With the guard after the end, the address is
// aligned no better than the size is.
class GuardedBuffer
{
public:
    explicit GuardedBuffer(size_t size, Guard guard = Guard::afterEnd)
        : area(size / GuardedPages::pageSize + 1), byteCount(size), // one page at least
          start(area.pages() + (guard == Guard::afterEnd ? area.size() - size : 0))
    {
        memset(start, 0xA5, size);
    }

    uint8_t* data() const { return start; }
    template<class T>
    T* as() const
    {
        return reinterpret_cast<T*>(start);
    }
    size_t size() const { return byteCount; }
    // The bytes from one on.
    std::vector<uint8_t> contents(size_t first = 0) const
    {
        return std::vector<uint8_t>(start + first, start + byteCount);
    }
    // Makes a write a fault too, the rest of the buffer's pages included.
    void makeReadOnly() const { area.makeReadOnly(); }

private:
    GuardedPages area;
    size_t byteCount;
    uint8_t* start;
};
