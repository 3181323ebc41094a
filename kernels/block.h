// Filling and moving whole rows or blocks.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

struct BlockKernels {
    // Stores `value` in `count` 32-bit elements. `dst` needs no alignment.
    void (*fill32)(void* dst, uint32_t value, size_t count);
    // Stores `value` in `count` 16-bit elements. `dst` needs no alignment.
    void (*fill16)(void* dst, uint16_t value, size_t count);
    // Copies `bytes` bytes between blocks that do not overlap.
    void (*copy)(void* dst, const void* src, size_t bytes);
    // Moves `rows` rows of `bytes` bytes, the first row first, where the next
    // ones are a step further on. A row may overlap the place that it goes to.
    void (*moveRows)(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t srcStep,
                     size_t bytes, size_t rows);
    // The largest of `count` bytes, 0 for none; with `skipFourth`, bytes 3, 7,
    // 11 and so on are left out.
    uint8_t (*largest)(const uint8_t* bytes, size_t count, bool skipFourth);
};

} // namespace quib
