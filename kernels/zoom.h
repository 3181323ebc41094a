// Bilinear and cubic resampling of 8-bit rows. A source row becomes a line: a
// 16-bit value for each destination element, interpolated along x. A destination
// row is then made of two or four lines. Lines are kept between destination
// rows.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// The least number of readable bytes in a source row, and the greatest distance
// between two elements that one group takes from it, plus one.
constexpr int32_t zoomWindow = 16;
// How many line elements one group stores. Lines need room for this many past
// their last element.
constexpr int32_t zoomLanes = 8;

// How up to 8 neighbouring line elements come from a window of 16 source bytes.
// All 8 are always stored: a group that has less is followed by the one that
// has the rest, or is the last.
//
// Element i takes taps 2i and 2i + 1: bytes row[source + pick[tap]] (0 to 15),
// multiplied by weights[tap], of 14 fraction bits.
struct ZoomPairGroup {
    int16_t weights[16];
    uint8_t pick[16];
    int32_t source; // of the window, from the row's start
    int32_t output; // of the group's first line element
    int32_t unused[2];
};

// The same with four taps: the first two in half 0, the others in half 1.
struct ZoomQuadGroup {
    int16_t weights[2][16];
    uint8_t pick[2][16];
    int32_t source;
    int32_t output;
    int32_t unused[6];
};

struct ZoomKernels {
    // Interpolates a row along x: line[i] is (sum of the taps by their weights)
    // >> 8. The weights' magnitudes add up to less than 2 for an element, so that
    // it fits in 16 bits.
    void (*linearLine)(int16_t* line, const uint8_t* row, const ZoomPairGroup* groups,
                       size_t groupCount);
    void (*cubicLine)(int16_t* line, const uint8_t* row, const ZoomQuadGroup* groups,
                      size_t groupCount);
    // dst[i] = (top[i] * (16384 - fraction) + bottom[i] * fraction) >> 20, for a
    // fraction of 0 to 16384.
    void (*linearRow)(uint8_t* dst, const int16_t* top, const int16_t* bottom, int32_t fraction,
                      size_t count);
    // dst[i] = (sum of lines[j][i] * weights[j], plus 0x80000) >> 20, clamped to
    // 0 to 255.
    void (*cubicRow)(uint8_t* dst, const int16_t* const lines[4], const int16_t weights[4],
                     size_t count);
};

} // namespace quib
