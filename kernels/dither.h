// Rows of fewer levels: errors diffused over the rows, ordered thresholds, and the
// ways from elements to levels and back.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// How many levels there are, and how far apart they lie: level k stands for the
// value k * step.
struct Levels {
    double step;
    double most; // the highest level; the lowest is 0
};

// How many rows are diffused at a time, and the zeros that rows of errors have
// before their first and behind their last element.
constexpr size_t ditherRows = 8;
constexpr size_t ditherMargin = 64;

// A band of rows of one channel. A value is an element and what comes to it of its
// neighbours' errors: those of two rows above and of its own row, from the top on
// and from the left to the right, each times its weight, added up in this order and
// divided by the sum of all weights. Its level is value / step + 1 / 2 without the
// fraction, 0 to `most`, and its error is the value less level * step.
struct DiffusionBand {
    double* const* rows;          // ditherRows rows of elements, which become levels
    const double* const* offsets; // null, or what to add where a level is chosen
    size_t width;
    double* above;  // the errors of the row above, for the next band then those of
    double* higher; // the last row; and of the one above that, by its first element
    Levels levels;
};

// Weights of the neighbours to come, of which the first stands right of the element
// and the next rows below it:
//   Floyd and Steinberg     Jarvis, Judice and Ninke     Stucki
//           *  7                     *  7  5                   *  8  4
//        3  5  1               3  5  7  5  3             2  4  8  4  2
//                              1  3  5  3  1             1  2  4  2  1
struct DitherKernels {
    void (*floydSteinberg)(const DiffusionBand& band);
    void (*jarvisJudiceNinke)(const DiffusionBand& band);
    void (*stucki)(const DiffusionBand& band);

    // The level of each element with its offset, which may be null: the sum over
    // the step, and the threshold of its column modulo 8, without the fraction.
    void (*order)(double* row, const double* offsets, const double (&thresholds)[8], size_t count,
                  const Levels& levels);
    // value * factor without its fraction, 0 to `most`.
    void (*scaleDown)(double* row, size_t count, double factor, double most);
    // `high` where an element is at least its threshold, else 0.
    void (*threshold8)(uint8_t* dst, const uint8_t* src, const uint8_t* thresholds, size_t count,
                       uint8_t high);

    // Every `stride`th element of a row. What is no number is 0, an infinity as far
    // from 0 as the largest integer of 32 bits.
    void (*from8)(double* dst, const uint8_t* src, size_t stride, size_t count);
    void (*from16)(double* dst, const uint16_t* src, size_t stride, size_t count);
    void (*from32)(double* dst, const int32_t* src, size_t stride, size_t count);
    void (*fromFloats)(double* dst, const float* src, size_t stride, size_t count);
    // level * range / most, rounded to nearest, halves up, to every `stride`th
    // element.
    void (*to8)(uint8_t* dst, size_t stride, const double* levels, size_t count, double range,
                double most);
    void (*to16)(uint16_t* dst, size_t stride, const double* levels, size_t count, double range,
                 double most);
    void (*to32)(int32_t* dst, size_t stride, const double* levels, size_t count, double range,
                 double most);
    void (*toFloats)(float* dst, size_t stride, const double* levels, size_t count, double range,
                     double most);
};

} // namespace quib
