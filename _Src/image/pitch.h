// Row pitches. The record's sizes are 32-bit and wrap, through unsigned.
#pragma once

#include "_Src/ipl.h"

// The bytes of a row of `width` elements of `bits` bits, rounded up to a
// multiple of `align` bytes.
inline int32_t ownRowPitch(int32_t width, int32_t bits, int32_t align)
{
    const uint32_t unit = static_cast<uint32_t>(align) * 8;
    const uint32_t rowBits = static_cast<uint32_t>(width) * static_cast<uint32_t>(bits);
    return static_cast<int32_t>((rowBits + unit - 1) & ~(unit - 1)) >> 3;
}

// The number of elements that one row holds for each pixel, and of planes.
inline int32_t ownElementsPerPixel(const IplImage* image)
{
    return image->dataOrder == IPL_DATA_ORDER_PIXEL ? image->nChannels : 1;
}
inline int32_t ownPlaneCount(const IplImage* image)
{
    return image->dataOrder == IPL_DATA_ORDER_PIXEL ? 1 : image->nChannels;
}

// The row pitch that a record with these fields has for rows of `width` pixels.
int32_t ownWidthStep(const IplImage* image, int32_t width);
