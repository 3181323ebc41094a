// Laying one row of four-byte pixels over another by their alphas.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

struct LayerKernels {
    // Lays `count` pixels of `over` on those of `under` (Porter and Duff 1984,
    // "over", colours not premultiplied). A pixel's colour weight w and its
    // alpha are those of pairBlendTable at [over alpha][under alpha], and each
    // colour is d + ((s - d) * w >> 8). No address needs alignment; `target` may
    // be `under` or `over`, and must not overlap them in another way.
    void (*pairBlend)(uint8_t* target, const uint8_t* under, const uint8_t* over, size_t count);
    // The same with over's alpha as the weight, whatever under's is. The result's
    // alpha is 255 with the first, and what `target` held with the second.
    void (*alphaBlend)(uint8_t* target, const uint8_t* under, const uint8_t* over, size_t count);
    void (*colourBlend)(uint8_t* target, const uint8_t* under, const uint8_t* over, size_t count);
};

} // namespace quib
