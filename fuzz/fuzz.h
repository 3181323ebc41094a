// What the fuzz targets share. Each is a function runFuzzInput(); fuzz/run.cpp calls it.
#pragma once

#include "_Src/ipl.h"
#include "fuzz/leaks.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

// What a target is: called with each input.
void runFuzzInput(const uint8_t* data, size_t size);

// Says that blocks of this run may be lost, by the library's own rules.
void allowBlocksToStay();

// Whether a picture is legal and merely takes too long to run through thousands
// of times. One whose bytes pass 31 bits is not legal and is worth a try.
inline bool isLegalButHuge(int64_t width, int64_t height)
{
    constexpr int64_t manyPixels = int64_t{1} << 14;
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
