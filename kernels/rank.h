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

// Of a row of columns of bytes, each column's histograms: how many bytes have each high
// half or a higher one, 15 first, for column after column; then, for one high half after
// the other and column after column, how many of its bytes have each low half or a
// higher one.
constexpr size_t rankBins = 16 + 256;
// The numbers that a row of `columns` columns needs while windows are looked at.
constexpr size_t rankSums(size_t columns)
{
    return (columns + 1) * 256;
}

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
    // puts another in. All bytes are counted as byte ^ flip.
    void (*moveColumns)(uint16_t* columns, const uint8_t* leaving, const uint8_t* entering,
                        size_t count, uint8_t flip);
    // The element of index `rank`, the largest first, of windows of nCols columns, of
    // which the first starts at the first column: width windows, of stride channels
    // each, in (width + nCols - 1) * stride columns. No window holds more than 65535
    // elements. Time does not depend on the window's size. `scratch` holds
    // rankSums(width + nCols - 1) numbers. [Perreault and Hebert, Median Filtering in
    // Constant Time, IEEE Transactions on Image Processing 16(9), 2007]
    void (*rankRow)(uint8_t* dst, const uint16_t* columns, size_t width, size_t stride,
                    size_t nCols, uint32_t rank, uint8_t flip, uint16_t* scratch);

    // By type, but for RANK_S32: the vector medians of windows of n pixels of three
    // elements: the first pixel of those whose distances from all others, sums of
    // absolute differences, have the least total. Element c of pixel j of the first
    // window is planes[3 * j + c][0], and those of the next windows follow. Results lie
    // `channels` elements apart. `scratch` holds n * rankScratch bytes.
    void (*vectorMedian[rankTypes])(void* dst, const void* const* planes, size_t n, size_t width,
                                    size_t channels, void* scratch);
    // The same for windows of 3 x 3 pixels in whose rows pixels lie side by side: their
    // planes are the row's first ones, read one or two elements further on.
    void (*vectorMedian3[rankTypes])(void* dst, const void* const* planes, size_t n, size_t width,
                                     size_t channels, void* scratch);
};

// A total of 8 bytes for each of the windows that are looked at together.
constexpr size_t rankScratch = size_t{64} * 8;

} // namespace quib
