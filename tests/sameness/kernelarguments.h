// The arguments of a kernel of taps, for the calls that make one.
#pragma once

#include "tests/sameness/picture.h"

#include <cstdint>

constexpr int32_t mostTaps = 7;

struct KernelArguments {
    int32_t nCols;
    int32_t nRows;
    int32_t anchorX;
    int32_t anchorY;
    int32_t shift;
    int32_t values[mostTaps * mostTaps];
    int8_t bytes[mostTaps * mostTaps];

    // `withBadAnchors`: one of forty lies beside its kernel.
    KernelArguments(Call& call, int32_t mostCols, int32_t mostRows, bool withBadAnchors = false)
    {
        nCols = call.choose("nCols", 1, mostCols);
        nRows = call.choose("nRows", 1, mostRows);
        anchorX = call.choose("anchorX", 0, nCols - (withBadAnchors && call.oneIn(40) ? 0 : 1));
        anchorY = call.choose("anchorY", 0, nRows - 1);
        shift = call.choose("shift", -1, 12);
        const int32_t most = call.oneIn(8) ? 100000000 : call.oneIn(4) ? 40000 : 127;
        for (int32_t i = 0; i < mostTaps * mostTaps; ++i) {
            values[i] = call.random.between(-most, most);
            bytes[i] = static_cast<int8_t>(call.random.between(-128, 127));
        }
    }
};
