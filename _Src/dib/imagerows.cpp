#include "_Src/dib/imagerows.h"

#include "_Src/walk/bits.h"

#include <cstring>
#include <utility>

IplRaster ownImageRows(const IplImage* image)
{
    IplRaster rows;
    ownTopDownRows(image, &rows);
    ownSplitChannels(&rows);
    return rows;
}

// --- Fetch and store -----------------------------------------------------------------

namespace
{

void fetchBits(const IplRaster&, const uint8_t* row, int32_t column, OwnPixel* run, int32_t count)
{
    for (int32_t i = 0; i < count; ++i) {
        const uint8_t value = ownBit(row, column + i) ? 255 : 0;
        run[i] = {{value, value, value, 0}};
    }
}

void storeBits(const IplRaster&, uint8_t* row, int32_t column, const OwnPixel* run, int32_t count)
{
    for (int32_t i = 0; i < count; ++i)
        ownPutBit(row, column + i, run[i].byte[2] >= 128);
}

template<class Element, int32_t channelCount>
void fetchChannels(const IplRaster& rows, const uint8_t* row, int32_t column, OwnPixel* run,
                   int32_t count)
{
    const ptrdiff_t pixelStep = rows.stride * sizeof(Element);
    // The high byte of a little-endian element.
    const uint8_t* pixel = row + column * pixelStep + sizeof(Element) - 1;
    for (int32_t i = 0; i < count; ++i, pixel += pixelStep) {
        run[i] = {};
        for (int32_t c = 0; c < channelCount; ++c)
            run[i].byte[c] = pixel[c * rows.planeStep];
        if (channelCount == 1)
            run[i].byte[1] = run[i].byte[2] = run[i].byte[0];
    }
}

template<class Element, int32_t channelCount>
void storeChannels(const IplRaster& rows, uint8_t* row, int32_t column, const OwnPixel* run,
                   int32_t count)
{
    constexpr int32_t highByte = 8 * (sizeof(Element) - 1);
    const ptrdiff_t pixelStep = rows.stride * sizeof(Element);
    uint8_t* pixel = row + column * pixelStep;
    for (int32_t i = 0; i < count; ++i, pixel += pixelStep) {
        for (int32_t c = 0; c < channelCount; ++c) {
            const uint8_t byte = run[i].byte[channelCount == 1 ? 2 : c];
            const Element value = static_cast<Element>(byte << highByte);
            std::memcpy(pixel + c * rows.planeStep, &value, sizeof value);
        }
    }
}

// Pixels that are working pixels.
void storePixels(const IplRaster&, uint8_t* row, int32_t column, const OwnPixel* run, int32_t count)
{
    std::memcpy(row + ptrdiff_t{4} * column, run, static_cast<size_t>(count) * sizeof *run);
}

struct LayoutFunctions {
    int32_t nChannels;
    uint32_t depth;
    OwnImageFetch fetch;
    OwnImageStore store;
};

constexpr LayoutFunctions layouts[] = {
    {1, IPL_DEPTH_1U, fetchBits, storeBits},
    {1, IPL_DEPTH_8U, fetchChannels<uint8_t, 1>, storeChannels<uint8_t, 1>},
    {1, IPL_DEPTH_16U, fetchChannels<uint16_t, 1>, storeChannels<uint16_t, 1>},
    {3, IPL_DEPTH_8U, fetchChannels<uint8_t, 3>, storeChannels<uint8_t, 3>},
    {3, IPL_DEPTH_16U, fetchChannels<uint16_t, 3>, storeChannels<uint16_t, 3>},
    {4, IPL_DEPTH_8U, fetchChannels<uint8_t, 4>, storeChannels<uint8_t, 4>},
    {4, IPL_DEPTH_16U, fetchChannels<uint16_t, 4>, storeChannels<uint16_t, 4>},
};

const LayoutFunctions* findLayout(const IplImage* image)
{
    for (const LayoutFunctions& layout : layouts)
        if (layout.nChannels == image->nChannels && layout.depth == image->depth)
            return &layout;
    return nullptr;
}

} // namespace

OwnImageFetch ownChooseImageFetch(const IplImage* image)
{
    const LayoutFunctions* layout = findLayout(image);
    return layout ? layout->fetch : nullptr;
}

OwnImageStore ownChooseImageStore(const IplImage* image)
{
    const LayoutFunctions* layout = findLayout(image);
    if (layout && layout->nChannels == 4 && layout->depth == IPL_DEPTH_8U &&
        image->dataOrder == IPL_DATA_ORDER_PIXEL)
        return storePixels;
    return layout ? layout->store : nullptr;
}

// --- Channel order ---------------------------------------------------------------------

OwnChannelOrder ownChannelOrder(const IplImage* image)
{
    struct Sequence {
        char text[5];
        OwnChannelOrder order;
    };
    // Short ones are padded with zeros, not with blanks.
    static constexpr Sequence sequences[] = {
        {"G", OwnChannelOrder::gray},        {"GRAY", OwnChannelOrder::gray},
        {"BGR", OwnChannelOrder::blueFirst}, {"BGRA", OwnChannelOrder::blueFirst},
        {"RGB", OwnChannelOrder::redFirst},  {"RGBA", OwnChannelOrder::redFirst},
    };
    for (const Sequence& sequence : sequences)
        if (std::memcmp(image->channelSeq, sequence.text, sizeof image->channelSeq) == 0)
            return sequence.order;
    return OwnChannelOrder::unknown;
}

namespace
{

void keepChannels(OwnPixel*, int32_t) {}

void exchangeRedAndBlue(OwnPixel* run, int32_t count)
{
    for (int32_t i = 0; i < count; ++i)
        std::swap(run[i].byte[0], run[i].byte[2]);
}

// Gray goes to byte 2. The weights sum to 255: white gives 254.
void grayFromColour(OwnPixel* run, int32_t count)
{
    for (int32_t i = 0; i < count; ++i) {
        const uint8_t* colour = run[i].byte;
        run[i].byte[2] =
            static_cast<uint8_t>((colour[1] * 183 + colour[2] * 54 + colour[0] * 18) >> 8);
    }
}

void spreadGray(OwnPixel* run, int32_t count)
{
    for (int32_t i = 0; i < count; ++i)
        run[i] = {{run[i].byte[2], run[i].byte[2], run[i].byte[2], 0}};
}

} // namespace

OwnChannelStep ownStepToImage(OwnChannelOrder order)
{
    switch (order) {
    case OwnChannelOrder::gray:
        return grayFromColour;
    case OwnChannelOrder::blueFirst:
        return keepChannels;
    case OwnChannelOrder::redFirst:
        return exchangeRedAndBlue;
    default:
        return nullptr;
    }
}

OwnChannelStep ownStepFromImage(OwnChannelOrder order)
{
    return order == OwnChannelOrder::gray ? spreadGray : ownStepToImage(order);
}
