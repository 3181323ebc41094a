// Writing the alpha bytes of rows of four-byte pixels. The colour bytes are
// rewritten with what they hold.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

struct AlphaKernels {
    // Stores `alpha` in byte 3 of `count` pixels. `pixels` needs no alignment.
    void (*constant)(uint8_t* pixels, uint8_t alpha, size_t count);
    // Stores plane[i] * scale >> 8 in byte 3 of pixel i. `scale` is 0 to 256;
    // 256 keeps the plane's byte as it is.
    void (*fromPlane)(uint8_t* pixels, const uint8_t* plane, uint32_t scale, size_t count);
    // Replaces byte 3 of each pixel by byte 3 * scale >> 8.
    void (*scale)(uint8_t* pixels, uint32_t scale, size_t count);
};

} // namespace quib
