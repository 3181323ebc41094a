// What the code under test takes of global memory. Only where the linker lets the
// test stand in between (tests/CMakeLists.txt): elsewhere nothing is counted.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
constexpr bool blocksAreCounted = false;
#else
constexpr bool blocksAreCounted = true;
#endif

// Counts from its construction on; the block after the next `passing` ones is
// refused.
class CountedBlocks
{
public:
    explicit CountedBlocks(int32_t passing = INT32_MAX);

    int32_t asked() const;
    int32_t live() const;
    size_t bytes() const; // of all that were asked for
};
