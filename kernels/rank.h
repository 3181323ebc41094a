// Order statistics of windows: extremes and medians.
//
// Rows are elements; those that belong together, of neighbouring pixels, lie
// `stride` elements apart.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// The types of elements: the integers, and floats.
enum RankType { RANK_U8, RANK_S8, RANK_U16, RANK_S16, RANK_S32, RANK_INTEGERS, RANK_F32 = 5 };
constexpr size_t rankTypes = 6;

// The columns of a window of bytes as histograms: 16 counts of high halves, then
// one for each of the 256 values.
constexpr size_t rankBins = 16 + 256;

struct RankKernels {
    // By type: stores the larger (smaller) of a and b in `count` elements of dst.
    // dst may be a, and b may lie past a in the same row.
    void (*larger[RANK_INTEGERS])(void* dst, const void* a, const void* b, size_t count);
    void (*smaller[RANK_INTEGERS])(void* dst, const void* a, const void* b, size_t count);

    // By type: the medians of windows of 3 x 3 (5 x 5) elements, whose top left ones
    // are rows[0][0] to rows[0][count - 1]. `scratch` holds 3 (5) rows of count + 2
    // (4) * stride elements.
    void (*median3[RANK_INTEGERS])(void* dst, const void* const* rows, size_t count, size_t stride,
                                   void* scratch);
    void (*median5[RANK_INTEGERS])(void* dst, const void* const* rows, size_t count, size_t stride,
                                   void* scratch);

    // Takes a row out of the histograms of `count` columns, unless it is null, and
    // another into them. All bytes are counted as byte ^ flip.
    void (*moveColumns)(uint16_t* columns, const uint8_t* leaving, const uint8_t* entering,
                        size_t count, uint8_t flip);
    // The element of index `rank`, in ascending order, of windows of nCols columns,
    // of which the first starts at columns[0]: width windows, of stride channels
    // each. No window holds more than 32767 elements. [Perreault and Hebert, Median
    // Filtering in Constant Time, IEEE Transactions on Image Processing 16(9), 2007]
    void (*rankRow)(uint8_t* dst, const uint16_t* columns, size_t width, size_t stride,
                    size_t nCols, uint32_t rank, uint8_t flip);

    // By type, but for RANK_S32: the vector medians of windows of n pixels of three
    // elements: the first pixel of those whose distances from all others, sums of
    // absolute differences, have the least total. Element c of pixel j of the first
    // window is planes[3 * j + c][0], and those of the next windows follow. Results lie
    // `channels` elements apart. `scratch` holds n * rankScratch bytes.
    void (*vectorMedian[rankTypes])(void* dst, const void* const* planes, size_t n, size_t width,
                                    size_t channels, void* scratch);
};

// A total of 8 bytes for each of the windows that are looked at together.
constexpr size_t rankScratch = size_t{64} * 8;

} // namespace quib
