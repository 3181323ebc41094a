// Rows of gray from rows of colours.
#pragma once

#include "_Src/ipl.h"

// Converts `rows` rows of `width` pixels, by the depths and orders of the two
// records, from and to the pixels at these addresses. Planes of the source are
// planeRows rows long. Bits go out from the first one of a byte on. Reports a pair
// of depths that it cannot convert, and is then false.
bool ownColorToGray(const IplImage* src, const IplImage* dst, const uint8_t* srcPixels,
                    uint8_t* dstPixels, int32_t srcStep, int32_t rows, int32_t width,
                    int32_t dstStep, int32_t planeRows);
