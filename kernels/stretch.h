// Nearest and two-tap resampling of rows.
//
// The interpolation is lerp(a, b, w) = (b + (((a - b) * w) >> 8)) & 255 on
// bytes, with a weight of 0 to 255 and an arithmetic shift. It gives b at
// weight 0, and a - (a > b) at weight 255, which is as near to a as it comes.
//
// Pixels of four bytes need no alignment. Source and destination must not
// overlap. Nothing is read but the pixels that are named here and what lies
// between them in the row.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// Eight elements of a row that many rows have alike: two out of each of four
// windows of four.
struct GatherBlock {
    uint32_t window[4]; // where they begin
    uint8_t place[8];   // of each element in its window
};

struct StretchKernels {
    // dst[i] = src[index[i]] for `count` elements. The indices never decrease.
    void (*gather8)(uint8_t* dst, const uint8_t* src, const uint32_t* index, size_t count);
    void (*gather32)(uint8_t* dst, const uint8_t* src, const uint32_t* index, size_t count);
    // The first elements of a row in blocks, where they lie close enough together
    // and this level gains by it. Returns how many blocks, count / 8 at most.
    size_t (*planBlocks32)(GatherBlock* blocks, const uint32_t* index, size_t count);
    // gather32 of 8 * count elements.
    void (*gatherBlocks32)(uint8_t* dst, const uint8_t* src, const GatherBlock* blocks,
                           size_t count);
    // dst[i] = src[i * step]. `next`, any address, is the row that will be wanted
    // next: rows far apart come from memory too slowly else.
    void (*gatherSteps8)(uint8_t* dst, const uint8_t* src, const uint8_t* next, size_t step,
                         size_t count);
    void (*gatherSteps32)(uint8_t* dst, const uint8_t* src, const uint8_t* next, size_t step,
                          size_t count);

    // Along x, byte by byte: dst[i] = lerp(src[index[i]], src[index[i] + 1],
    // weight[i]). A weight stands in all four bytes of its word.
    void (*lerpColumns32)(uint8_t* dst, const uint8_t* src, const uint32_t* index,
                          const uint32_t* weight, size_t count);
    // Along y: dst[i] = lerp(upper[i], lower[i], weight) for `count` bytes.
    void (*lerpRows)(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, uint8_t weight,
                     size_t count);
    // Both at once where all weights are 255: on each row
    // lerp(src[i * step], src[i * step + 1], 255), then the same along y.
    void (*lerpSteps32)(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, size_t step,
                        size_t count);
};

} // namespace quib
