// Windows of images and what lies around them, as the plain forms of the tests see
// them.
#pragma once

#include "tests/support/regions.h"

// The index that a coordinate outside [0, size) stands for, by a border mode other
// than constant.
inline int32_t plainFold(int32_t mode, int64_t c, int64_t size)
{
    if (mode == 1)
        return static_cast<int32_t>(c < 0 ? 0 : size - 1);
    if (mode == 3) {
        while (c < 0)
            c += size;
        return static_cast<int32_t>(c % size);
    }
    // Reflections at both ends in turn, until it lies inside.
    while (c < 0 || c >= size)
        c = c < 0 ? -c - 1 : 2 * size - 1 - c;
    return static_cast<int32_t>(c);
}

inline double plainConstant(const IplImage* image, int32_t side)
{
    const int32_t constant = image->BorderConst[side];
    switch (image->depth) {
    case IPL_DEPTH_1U:
        return constant & 1;
    case IPL_DEPTH_8U:
        return constant & 0xFF;
    case IPL_DEPTH_8S:
        return (constant & 0xFF) - 2 * (constant & 0x80);
    case IPL_DEPTH_16U:
        return constant & 0xFFFF;
    case IPL_DEPTH_16S:
        return (constant & 0xFFFF) - 2 * (constant & 0x8000);
    case IPL_DEPTH_32S:
        return constant;
    default:
        return static_cast<float>(constant);
    }
}

// The element at any place in or around an image.
inline double elementAround(const IplImage* image, int64_t x, int64_t y, int32_t channel)
{
    const bool above = y < 0;
    const bool below = y >= image->height;
    const bool before = x < 0;
    const bool after = x >= image->width;
    if (!above && !below && !before && !after)
        return element(image, static_cast<int32_t>(x), static_cast<int32_t>(y), channel);
    const int32_t side = above ? 0 : below ? 1 : before ? 2 : 3;
    const int32_t mode = image->BorderMode[side] & 3;
    if (mode == 0)
        return plainConstant(image, side);
    if (above || below)
        y = plainFold(mode, y, image->height);
    if (before || after)
        x = plainFold(mode, x, image->width);
    return element(image, static_cast<int32_t>(x), static_cast<int32_t>(y), channel);
}

// A mode for each side, with bits that do not count, and constants past the depth's
// range.
inline void giveRandomBorders(IplImage* image, Random& random)
{
    for (int32_t side = 0; side < 4; ++side) {
        image->BorderMode[side] = random.between(0, 3) | (random.coin() ? 0x54 : 0);
        image->BorderConst[side] =
            random.coin() ? random.between(-300, 300) : static_cast<int32_t>(random.next());
    }
}

// The element that a row of single elements, bits as bytes, has at an index.
inline double rowElement(uint32_t depth, const uint8_t* row, ptrdiff_t index)
{
    switch (depth) {
    case IPL_DEPTH_1U:
    case IPL_DEPTH_8U:
        return row[index];
    case IPL_DEPTH_8S:
        return reinterpret_cast<const int8_t*>(row)[index];
    case IPL_DEPTH_16U:
        return reinterpret_cast<const uint16_t*>(row)[index];
    case IPL_DEPTH_16S:
        return reinterpret_cast<const int16_t*>(row)[index];
    case IPL_DEPTH_32S:
        return reinterpret_cast<const int32_t*>(row)[index];
    default:
        return reinterpret_cast<const float*>(row)[index];
    }
}
