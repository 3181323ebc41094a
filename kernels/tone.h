// The tone of rows of four-byte pixels B, G, R, A. No address needs alignment;
// the target may be the source, and must not overlap it in another way.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// With u = i - low, but not below 0, the value of a byte i is base + q, but not above
// 255, where q is (255 * u + offset) * factor >> 16 + shift. The sum in it has 16 bits
// at most, and q 15.
struct ToneLine {
    uint8_t low;
    uint8_t base;
    uint8_t shift;
    uint16_t offset;
    uint16_t factor;
};

struct ToneCurve {
    uint8_t values[256];
    bool isLine; // the line gives all values
    ToneLine line;
};

struct ToneKernels {
    // Takes the bytes that `channels` has a byte of 0xFF for along the curve, and
    // copies the other colours. The fourth byte of the target stays as it is, or
    // becomes 0 with the second.
    void (*curve)(uint8_t* dst, const uint8_t* src, const ToneCurve& curve, uint32_t channels,
                  size_t count);
    void (*curveIntoNew)(uint8_t* dst, const uint8_t* src, const ToneCurve& curve,
                         uint32_t channels, size_t count);

    // Turns the hue of each pixel, in whole degrees towards red, by `turn`, 0 to
    // 359, and takes saturation, -100 to 100, percent of its largest channel from
    // its smallest one, down to 0 and up to the largest. The largest keeps its
    // value, the middle one lies where the hue says. Grays and fourth bytes are
    // copied.
    void (*hueAndSaturation)(uint8_t* dst, const uint8_t* src, int32_t turn, int32_t saturation,
                             size_t count);
    // The same for a turn of -359 to 0. A hue keeps its sector of 60 degrees: it
    // turns if that takes it less than 60 degrees below the sector's start, and the
    // middle channel then lies outside the other two, as a byte. `hues` is the
    // centre of the table of hues.
    void (*hueAndSaturationBack)(uint8_t* dst, const uint8_t* src, const int32_t* hues,
                                 int32_t turn, int32_t saturation, size_t count);
};

} // namespace quib
