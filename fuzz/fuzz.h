// What the fuzz targets share. Each is a function LLVMFuzzerTestOneInput.
#pragma once

#include "_Src/ipl.h"
#include "fuzz/leaks.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#if defined(QUIB_HAS_ASAN)
// Blocks larger than this are refused, and the library sees no memory.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1:max_allocation_size_mb=32";
}
#endif

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// Reports come back: the code behind them is under test too. Nothing is left of
// the input before.
inline void startFuzzInput()
{
    iplErrorState.mode = 1;
    iplSetStatus(0);
}

// Whether a picture is legal and merely takes too long to run through thousands
// of times. One whose bytes pass 31 bits is not legal and is worth a try.
inline bool isLegalButHuge(int64_t width, int64_t height)
{
    constexpr int64_t manyPixels = int64_t{1} << 18;
    if (width < 0)
        width = -width;
    if (height < 0)
        height = -height;
    return width <= INT32_MAX && height <= INT32_MAX && width * height > manyPixels &&
           width * height / 8 <= INT32_MAX;
}

// Takes choices off the front of the input, a byte each.
class FuzzChoices
{
public:
    explicit FuzzChoices(const uint8_t* bytes) : next(bytes) {}

    uint32_t choose(uint32_t count) { return *next++ % count; }

private:
    const uint8_t* next;
};

// A block of its own of exactly these bytes.
class FuzzBlock
{
public:
    FuzzBlock(const uint8_t* bytes, size_t count) : start(static_cast<uint8_t*>(malloc(count + 1)))
    {
        // The spare byte stands in front, so that one past the end is outside.
        memcpy(start + 1, bytes, count);
    }
    ~FuzzBlock() { free(start); }
    FuzzBlock(const FuzzBlock&) = delete;
    FuzzBlock& operator=(const FuzzBlock&) = delete;

    uint8_t* data() const { return start + 1; }

private:
    uint8_t* start;
};
