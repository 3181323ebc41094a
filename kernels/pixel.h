// Arithmetic and logic on runs of elements.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quib
{

// Computes dst[i] from a[i], and from b[i] or the value, for `count` elements
// of the depth that the run is for. All operations share the signature, so that
// a walk over an image is written once; what an operation has no use for is
// ignored and may be null. `dst` may be `a` or `b`; else it must not overlap
// them.
using PixelRun = void (*)(void* dst, const void* a, const void* b, size_t count, int32_t value);

// One run a depth: unsigned, signed and float elements of 8, 16 and 32 bits.
// Null where an operation has no such depth.
struct PixelRuns {
    PixelRun u8;
    PixelRun s8;
    PixelRun u16;
    PixelRun s16;
    PixelRun s32;
    PixelRun f32;
};

// M stands for the largest element of an unsigned depth. Saturated results are
// clamped to the depth's range; float results never are.
struct PixelKernels {
    // Saturated a + value, for s32 only.
    PixelRuns addS;
    // Saturated a - value: -M to M, whatever it is at s32; at s8 and s16 M is
    // that of the unsigned depth.
    PixelRuns subtractS;
    // Saturated value - a: 0 to 2 M, for signed depths -M - 1 to M - 1.
    PixelRuns subtractFromS;
    // Saturated a * value, which is in the depth's range.
    PixelRuns multiplyS;
    // a * value / M rounded down, u8 and u16 only; 0 to M.
    PixelRuns multiplyScaleS;
    // Saturated a * a.
    PixelRuns square;
    // Saturated absolute value. Floats below zero are negated, all others pass
    // as they are, negative zero and NaNs included. Null at unsigned depths.
    PixelRuns absolute;

    // Shifts by 1 to the element's bits less one. Right shifts of signed
    // elements are arithmetic.
    PixelRuns leftShiftS;
    PixelRuns rightShiftS;

    // Bitwise, with the value's low bits.
    PixelRuns andS;
    PixelRuns orS;
    PixelRuns xorS;

    // Saturated a + b, a - b, a * b.
    PixelRuns add;
    PixelRuns subtract;
    PixelRuns multiply;
    // a * b / M rounded down, u8 and u16 only.
    PixelRuns multiplyScale;

    PixelRuns logicAnd;
    PixelRuns logicOr;
    PixelRuns logicXor;
};

} // namespace quib
