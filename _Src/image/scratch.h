// Tables and buffers that live for one call.
#pragma once

#include "_Src/ipl.h"

// `count` elements, uncleared and aligned to 32 bytes; data is null if there is
// no memory for them.
template<class T>
struct IplScratch {
    explicit IplScratch(int64_t count) : data(allocate(count)) {}
    ~IplScratch() { iplAlignedFree(data); }
    IplScratch(const IplScratch&) = delete;
    IplScratch& operator=(const IplScratch&) = delete;

    T* const data;

private:
    static T* allocate(int64_t count)
    {
        if (count > static_cast<int64_t>(INT32_MAX / sizeof(T)))
            return nullptr;
        return static_cast<T*>(iplAlignedMalloc(static_cast<int32_t>(count * sizeof(T))));
    }
};
