// Tiled images, whose tiles lie in blocks of their own and come by a callback
// that keeps a log.
#pragma once

#include "_Src/ipl.h"
#include "tests/support/images.h"

#include <utility>
#include <vector>

struct TileCall {
    int32_t xIndex;
    int32_t yIndex;
    int32_t mode;

    bool operator==(const TileCall&) const = default;
};

constexpr int32_t toRead = 1;
constexpr int32_t toWrite = 2;

// The calls that fetch these tiles, each released before the next.
inline std::vector<TileCall> fetches(int32_t mode,
                                     const std::vector<std::pair<int32_t, int32_t>>& tiles)
{
    std::vector<TileCall> calls;
    for (const auto& [xIndex, yIndex] : tiles) {
        calls.push_back({xIndex, yIndex, mode});
        calls.push_back({xIndex, yIndex, 4});
    }
    return calls;
}

class TiledImage
{
public:
    // Holds the pixels of `source`, whose header it takes over; tileWidth and
    // tileHeight are multiples of 8. The source's region and mask are not taken.
    TiledImage(const IplImage* source, int32_t tileWidth, int32_t tileHeight)
        : tiles(iplCreateTileInfo(call, this, tileWidth, tileHeight)),
          columns((source->width + tileWidth - 1) / tileWidth),
          rows((source->height + tileHeight - 1) / tileHeight)
    {
        image.reset(iplCreateImageHeader(source->nChannels, source->alphaChannel, source->depth,
                                         source->colorModel, source->channelSeq, source->dataOrder,
                                         source->origin, source->align, source->width,
                                         source->height, nullptr, nullptr, nullptr, tiles));
        for (int32_t i = 0; i < columns * rows; ++i)
            blocks.push_back(makeImage(tileWidth, tileHeight, source->nChannels, source->depth,
                                       source->dataOrder, source->align, source->alphaChannel,
                                       source->origin));
        forEachElement(source,
                       [](uint8_t* tile, uint8_t* whole, size_t bytes, int32_t tileBit,
                          int32_t wholeBit) { move(tile, whole, bytes, tileBit, wholeBit); });
    }
    TiledImage(const TiledImage&) = delete;
    TiledImage& operator=(const TiledImage&) = delete;

    IplImage* get() const { return image.get(); }
    IplImage* operator->() const { return image.get(); }

    // Writes the pixels of all tiles into an image of the same header.
    void collect(IplImage* whole) const
    {
        forEachElement(whole, [](uint8_t* tile, uint8_t* out, size_t bytes, int32_t tileBit,
                                 int32_t wholeBit) { move(out, tile, bytes, wholeBit, tileBit); });
    }

    // From this call on, counted from 0, no tile comes any more.
    int failFrom = INT32_MAX;
    std::vector<TileCall> log;
    // How many calls told another record than this image's own.
    int strangers = 0;

private:
    static void call(const IplImage* record, int32_t xIndex, int32_t yIndex, int32_t mode)
    {
        TiledImage* self = static_cast<TiledImage*>(record->tileInfo->id);
        const bool fails = static_cast<int>(self->log.size()) >= self->failFrom;
        self->log.push_back({xIndex, yIndex, mode});
        self->strangers += record != self->image.get();
        const size_t index = static_cast<size_t>(yIndex * self->columns + xIndex);
        record->tileInfo->tileData =
            mode == IPL_RELEASE_TILE || fails ? nullptr : self->blocks.at(index)->imageData;
    }

    static void move(uint8_t* to, const uint8_t* from, size_t bytes, int32_t toBit, int32_t fromBit)
    {
        if (bytes > 0) {
            std::memcpy(to, from, bytes);
            return;
        }
        const bool set = (*from >> (7 - fromBit)) & 1;
        const int mask = 128 >> toBit;
        *to = static_cast<uint8_t>(set ? *to | mask : *to & ~mask);
    }

    // The address of an element, and at depth 1 its bit.
    static uint8_t* place(const IplImage* in, int32_t x, int32_t y, int32_t channel, int32_t* bit)
    {
        const bool planes = in->dataOrder == IPL_DATA_ORDER_PLANE;
        uint8_t* row = rowOf(in, planes ? y + channel * in->height : y);
        *bit = x % 8;
        if (in->depth == IPL_DEPTH_1U)
            return row + x / 8;
        const int32_t bytes = static_cast<int32_t>(in->depth & IPL_DEPTH_MASK) / 8;
        return row + (planes ? x : x * in->nChannels + channel) * bytes;
    }

    template<class Work>
    void forEachElement(const IplImage* whole, Work work) const
    {
        const size_t bytes = (whole->depth & IPL_DEPTH_MASK) / 8;
        for (int32_t y = 0; y < whole->height; ++y) {
            for (int32_t x = 0; x < whole->width; ++x) {
                const size_t index =
                    static_cast<size_t>(y / tiles->height * columns + x / tiles->width);
                for (int32_t c = 0; c < whole->nChannels; ++c) {
                    int32_t tileBit = 0;
                    int32_t wholeBit = 0;
                    uint8_t* tile = place(blocks[index].get(), x % tiles->width, y % tiles->height,
                                          c, &tileBit);
                    uint8_t* pixel = place(whole, x, y, c, &wholeBit);
                    work(tile, pixel, bytes, tileBit, wholeBit);
                }
            }
        }
    }

    IplTileInfo* tiles; // the record's
    int32_t columns;
    int32_t rows;
    Image image;
    std::vector<Image> blocks;
};

// One with its source's region and mask too, which it does not own.
class TiledTwin : public TiledImage
{
public:
    TiledTwin(const IplImage* source, int32_t tileWidth, int32_t tileHeight)
        : TiledImage(source, tileWidth, tileHeight)
    {
        get()->roi = source->roi;
        get()->maskROI = source->maskROI;
    }
    ~TiledTwin()
    {
        get()->roi = nullptr;
        get()->maskROI = nullptr;
    }
};
