// Area averages of 8-bit pixels.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// A block of whole source pixels behind each destination pixel. xSize * ySize
// is at most areaLargestBlock, so that sums fit in 32 bits.
struct AreaBlock {
    int32_t xSize; // in pixels
    int32_t ySize; // in rows
    int32_t channels;
};

constexpr int64_t areaLargestBlock = 1 << 23;

// The source pixels under a destination pixel along one axis. The first weighs
// `head`, the last, if there is more than one, `tail`; those between weigh 1.
struct AreaSpan {
    int32_t first;
    int32_t count;
    float head;
    float tail;
};

// So many rows of bytes have sums that fit in 32 bits.
constexpr int32_t areaTallestSpan = 1 << 24;

// How many elements the sums of a row are followed by, of any value.
constexpr int32_t areaSlack = 4;

struct AreaKernels {
    // The means of width x height blocks, halves rounded up: a row of dst has
    // width * channels elements, a row of src xSize times as many, and there are
    // ySize rows of src to each of dst. columnSums is scratch, 4 bytes for each
    // element of a row of src.
    void (*blockMeans)(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t srcStep,
                       const AreaBlock& block, size_t width, size_t height, void* columnSums);
    // The weighted sums of the `count` columns of a span of rows, the first of
    // which is at src: in single precision, head * first + (the exact sum of
    // those between) + tail * last. A sum above 24 bits is rounded once more. Of at
    // most areaTallestSpan rows.
    void (*spanColumns)(float* sums, const uint8_t* src, ptrdiff_t step, const AreaSpan& rows,
                        size_t count, void* columnSums);
    // Sums over spans of pixels of `channels` elements, in the order of the
    // pixels, times `scale`, halves rounded up: width * channels elements, none
    // of them above 255.
    void (*spanMeans)(uint8_t* dst, const float* sums, const AreaSpan* spans, size_t width,
                      int32_t channels, float scale);
};

} // namespace quib
