// Handles, engine images and plain reads of them, for tests.
#pragma once

#include "_Src/ipl.h"
#include "quibtool/quibtool.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <vector>

struct ImageDeleter {
    void operator()(IplImage* image) const { iplDeallocate(image, IPL_IMAGE_ALL); }
};
using Image = std::unique_ptr<IplImage, ImageDeleter>;

inline bool isFloat(const IplImage* image)
{
    return image->depth == IPL_DEPTH_32F;
}

inline const char* modelOf(int32_t nChannels)
{
    return nChannels == 1 ? "GRAY" : nChannels == 3 ? "RGB\0" : "RGBA";
}

inline const char* sequenceOf(int32_t nChannels)
{
    return nChannels == 1 ? "GRAY" : nChannels == 3 ? "BGR\0" : "BGRA";
}

// An image with zeroed pixels, padding included.
inline Image makeImage(int32_t width, int32_t height, int32_t nChannels, uint32_t depth,
                       int32_t dataOrder = IPL_DATA_ORDER_PIXEL, int32_t align = 4,
                       int32_t alphaChannel = 0, int32_t origin = IPL_ORIGIN_TL)
{
    Image image(iplCreateImageHeader(nChannels, alphaChannel, depth, modelOf(nChannels),
                                     sequenceOf(nChannels), dataOrder, origin, align, width, height,
                                     nullptr, nullptr, nullptr, nullptr));
    if (depth == IPL_DEPTH_32F)
        iplAllocateImageFP(image.get(), 1, 0.0f);
    else
        iplAllocateImage(image.get(), 1, 0);
    return image;
}

constexpr int32_t handleDepths[] = {1, 8, 24, 32};

// A handle of the surface, of one of these depths, with zeroed pixels.
inline Image makeHandle(int32_t width, int32_t height, int32_t bitDepth)
{
    IplImage* handle = nullptr;
    QuibCreate0(width, height, bitDepth, &handle);
    if (handle)
        std::memset(handle->imageData, 0, static_cast<size_t>(handle->imageSize));
    return Image(handle);
}

inline uint8_t* rowOf(const IplImage* image, int32_t y)
{
    return reinterpret_cast<uint8_t*>(image->imageData) +
           static_cast<ptrdiff_t>(y) * image->widthStep;
}

// The pixel of a handle of 32 bits.
inline uint32_t wordAt(const IplImage* handle, int32_t x, int32_t y)
{
    uint32_t word = 0;
    std::memcpy(&word, rowOf(handle, y) + 4 * x, 4);
    return word;
}

inline std::vector<uint8_t> bytesOf(const IplImage* image)
{
    const uint8_t* data = reinterpret_cast<const uint8_t*>(image->imageData);
    return std::vector<uint8_t>(data, data + image->imageSize);
}

// Random bytes in every byte of the block, padding included; float images get
// finite values from -1000 to 1000.
inline void randomise(IplImage* image, Random& random)
{
    if (!isFloat(image)) {
        random.fill(image->imageData, static_cast<size_t>(image->imageSize));
        return;
    }
    float* values = reinterpret_cast<float*>(image->imageData);
    for (int32_t i = 0; i < image->imageSize / 4; ++i)
        values[i] = static_cast<float>(random.between(-1000000, 1000000)) / 1000.0f;
}

inline Image makeRandomHandle(int32_t width, int32_t height, int32_t bitDepth, Random& random)
{
    Image handle = makeHandle(width, height, bitDepth);
    randomise(handle.get(), random);
    return handle;
}

// With these bytes, row padding included.
inline Image handleOf(int32_t width, int32_t height, int32_t bitDepth,
                      const std::vector<uint8_t>& bytes)
{
    Image image = makeHandle(width, height, bitDepth);
    EXPECT_EQ(bytes.size(), static_cast<size_t>(image->imageSize));
    std::memcpy(image->imageData, bytes.data(), bytes.size());
    return image;
}

// Of a random size up to this one.
inline Image makeRandomHandleUpTo(int32_t width, int32_t height, int32_t bitDepth, Random& random)
{
    return makeRandomHandle(random.between(1, width), random.between(1, height), bitDepth, random);
}

inline bool sameRect(const QuibRect& rect, int32_t left, int32_t top, int32_t right, int32_t bottom)
{
    return rect.left == left && rect.top == top && rect.right == right && rect.bottom == bottom;
}

// One pixel of four bytes.
inline Image makePixel(const uint8_t (&bytes)[4])
{
    Image handle = makeHandle(1, 1, 32);
    std::memcpy(handle->imageData, bytes, 4);
    return handle;
}

// Four channels in rows of 32 bytes, more than a handle of up to seven columns has.
inline Image makeRandomPadded(int32_t width, int32_t height, Random& random)
{
    Image image = makeImage(width, height, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 32);
    EXPECT_EQ(image->widthStep, 32);
    randomise(image.get(), random);
    return image;
}

inline void setRoi(IplImage* image, int32_t coi, int32_t x, int32_t y, int32_t width,
                   int32_t height)
{
    iplAlignedFree(image->roi);
    image->roi = iplCreateROI(coi, x, y, width, height);
}

// A 1-bit mask of random bits that the image owns from now on.
inline IplImage* giveRandomMask(IplImage* image, int32_t width, int32_t height, Random& random)
{
    iplDeallocate(image->maskROI, IPL_IMAGE_ALL);
    Image mask = makeImage(width, height, 1, IPL_DEPTH_1U);
    randomise(mask.get(), random);
    image->maskROI = mask.release();
    return image->maskROI;
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

// One element, by its place, as the plain forms of the tests see it: bits at
// depth 1, integers, or the float's value.
inline double element(const IplImage* image, int32_t x, int32_t y, int32_t channel)
{
    const bool planes = image->dataOrder == IPL_DATA_ORDER_PLANE;
    const uint8_t* row = rowOf(image, planes ? y + channel * image->height : y);
    const ptrdiff_t index = planes ? x : static_cast<ptrdiff_t>(x) * image->nChannels + channel;
    if (image->depth == IPL_DEPTH_1U)
        return (row[x >> 3] >> (7 - (x & 7))) & 1;
    return rowElement(image->depth, row, index);
}

inline void putElement(IplImage* image, int32_t x, int32_t y, int32_t channel, double value)
{
    const bool planes = image->dataOrder == IPL_DATA_ORDER_PLANE;
    uint8_t* row = rowOf(image, planes ? y + channel * image->height : y);
    const ptrdiff_t index = planes ? x : static_cast<ptrdiff_t>(x) * image->nChannels + channel;
    switch (image->depth) {
    case IPL_DEPTH_1U: {
        const uint8_t bit = static_cast<uint8_t>(0x80 >> (x & 7));
        row[x >> 3] = static_cast<uint8_t>(value != 0 ? row[x >> 3] | bit : row[x >> 3] & ~bit);
        break;
    }
    case IPL_DEPTH_8U:
        row[index] = static_cast<uint8_t>(value);
        break;
    case IPL_DEPTH_8S:
        reinterpret_cast<int8_t*>(row)[index] = static_cast<int8_t>(value);
        break;
    case IPL_DEPTH_16U:
        reinterpret_cast<uint16_t*>(row)[index] = static_cast<uint16_t>(value);
        break;
    case IPL_DEPTH_16S:
        reinterpret_cast<int16_t*>(row)[index] = static_cast<int16_t>(value);
        break;
    case IPL_DEPTH_32S:
        reinterpret_cast<int32_t*>(row)[index] = static_cast<int32_t>(value);
        break;
    default:
        reinterpret_cast<float*>(row)[index] = static_cast<float>(value);
        break;
    }
}

// --- Depths --------------------------------------------------------------------------------

constexpr uint32_t allDepths[] = {IPL_DEPTH_1U,  IPL_DEPTH_8U,  IPL_DEPTH_8S, IPL_DEPTH_16U,
                                  IPL_DEPTH_16S, IPL_DEPTH_32S, IPL_DEPTH_32F};

inline int64_t lowOf(uint32_t depth)
{
    const int64_t half = int64_t{1} << ((depth & IPL_DEPTH_MASK) - 1);
    return depth & IPL_DEPTH_SIGN ? -half : 0;
}

inline int64_t highOf(uint32_t depth)
{
    const int64_t whole = int64_t{1} << (depth & IPL_DEPTH_MASK);
    return (depth & IPL_DEPTH_SIGN ? whole / 2 : whole) - 1;
}

// Clamped to the range of an integer depth.
inline double saturated(uint32_t depth, int64_t value)
{
    return static_cast<double>(std::min(std::max(value, lowOf(depth)), highOf(depth)));
}
