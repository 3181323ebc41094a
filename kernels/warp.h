// Warps: runs of destination pixels whose source positions lie on a line. A run
// is made in two steps: positions become places, which are a pixel or the corner
// of a window of pixels, with weights; then a sampler, the same for all kinds of
// positions, reads the places.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// A source plane. Positions outside it are held at its edge. Windows need as
// many pixels on each axis as they are wide: 2, or 4 for cubic ones.
struct WarpSource {
    const void* pixels; // the first element that takes part of pixel (0, 0)
    ptrdiff_t step;     // bytes from row to row
    int32_t stride;     // elements from pixel to pixel
    int32_t maxX;       // the last column
    int32_t maxY;
};

// Where a run goes; of each pixel `channels` elements take part, side by side.
struct WarpTarget {
    void* pixels; // the run's first element; at depth 1 a row's start
    int32_t stride;
    int32_t channels;
    int32_t bit; // at depth 1, of the run's first pixel
};

// Positions in 16.16 fixed point, modulo 2^32: at pixel i x + i dx, y + i dy. The
// row below begins at x + rowX, y + rowY: a kernel may read ahead for it.
struct WarpFixed {
    int32_t x;
    int32_t y;
    int32_t dx;
    int32_t dy;
    int32_t rowX;
    int32_t rowY;
};

// Positions (u + n du) / (w + n dw), (v + n dv) / (w + n dw) at pixel i, for
// n = first + i. The steps are products, in the type of the record; in float the
// quotient is a product with the reciprocal. With `tested` a pixel whose
// position is outside left..right, top..bottom, all inclusive, is left alone.
template<class Real>
struct WarpRatio {
    Real u, v, w;
    Real du, dv, dw;
    int32_t first;
    bool tested;
    Real left, top, right, bottom;
};

// Members of three are for nearest, bilinear and cubic samples.
//
// Bytes have weights of 14 fraction bits, where a row's sum is cut to 6. Nearest
// fixed positions are cut, with the rounding in them, float ones rounded, halves to
// even. Bilinear windows of fixed positions end in a rounding, those of float
// ones nearly in a cut. Wider elements have weights in double precision; results
// of 16 bits are rounded and clamped.
struct WarpKernels {
    void (*fixed8[3])(const WarpTarget& dst, const WarpSource& src, const WarpFixed& run,
                      size_t count);
    void (*ratio8[3])(const WarpTarget& dst, const WarpSource& src, const WarpRatio<float>& run,
                      size_t count);
    void (*ratio16[3])(const WarpTarget& dst, const WarpSource& src, const WarpRatio<double>& run,
                       size_t count);
    void (*ratioFloat[3])(const WarpTarget& dst, const WarpSource& src,
                          const WarpRatio<double>& run, size_t count);
    // Bits, nearest.
    void (*fixedBits)(const WarpTarget& dst, const WarpSource& src, const WarpFixed& run,
                      size_t count);
    void (*ratioBits)(const WarpTarget& dst, const WarpSource& src, const WarpRatio<float>& run,
                      size_t count);
};

} // namespace quib
