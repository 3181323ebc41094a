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

struct AreaKernels {
    // The means of width x height blocks, halves rounded up: a row of dst has
    // width * channels elements, a row of src xSize times as many, and there are
    // ySize rows of src to each of dst. columnSums is scratch, 4 bytes for each
    // element of a row of src.
    void (*blockMeans)(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t srcStep,
                       const AreaBlock& block, size_t width, size_t height, void* columnSums);
    // sums[i] += weight * src[i], in single precision.
    void (*addRow)(float* sums, const uint8_t* src, float weight, size_t count);
};

} // namespace quib
