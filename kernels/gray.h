// Rows of gray values, from the channels of colours and from bits.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// The channels of a row of colours, each at its first pixel; the next pixels lie
// `stride` elements apart.
template<class Element>
struct ColourRow {
    const Element* blue;
    const Element* green;
    const Element* red;
    size_t stride;
};

// Weighs 8-bit and 16-bit elements as 18 blue + 183 green + 54 red, an element
// being shifted to the target's size, and signed 32-bit ones as 37 blue + 366
// green + 109 red, after a shift by 11 or, for bits, 10. A bit is 1 for a result
// above the middle of its range. Bits go out from the first byte's most
// significant one on; those behind the row keep their values. Rows must not
// overlap.
struct GrayKernels {
    void (*from8To8)(uint8_t* dst, const ColourRow<uint8_t>& src, size_t count);
    void (*from8To16)(uint16_t* dst, const ColourRow<uint8_t>& src, size_t count);
    void (*from8To1)(uint8_t* dst, const ColourRow<uint8_t>& src, size_t count);
    void (*from16To8)(uint8_t* dst, const ColourRow<uint16_t>& src, size_t count);
    void (*from16To16)(uint16_t* dst, const ColourRow<uint16_t>& src, size_t count);
    void (*from16To1)(uint8_t* dst, const ColourRow<uint16_t>& src, size_t count);
    void (*from32To8)(uint8_t* dst, const ColourRow<int32_t>& src, size_t count);
    void (*from32To16)(uint16_t* dst, const ColourRow<int32_t>& src, size_t count);
    void (*from32To1)(uint8_t* dst, const ColourRow<int32_t>& src, size_t count);

    // Stores `one` or `zero` in every `stride`th element of dst, by the bits of a
    // row, the most significant one of a byte first.
    void (*expand8)(uint8_t* dst, size_t stride, const uint8_t* bits, size_t count, uint8_t zero,
                    uint8_t one);
    void (*expand16)(uint16_t* dst, size_t stride, const uint8_t* bits, size_t count, uint16_t zero,
                     uint16_t one);
    void (*expand32)(uint32_t* dst, size_t stride, const uint8_t* bits, size_t count, uint32_t zero,
                     uint32_t one);
};

} // namespace quib
