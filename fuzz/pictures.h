// Images of any kind that the library serves, made from an input: of all depths and
// orders, with regions, masks, borders and tiles, made by the library or by hand.
#pragma once

#include "fuzz/fuzz.h"
#include "fuzz/input.h"

#include "_Src/image/pitch.h"
#include "kernels/kernels.h"
#include "quibtool/quibtool.h"

// The best level, or another one that this processor has.
inline void useLevelFrom(FuzzInput& input)
{
    constexpr quib::KernelLevel levels[] = {quib::KernelLevel::avx512, quib::KernelLevel::avx512,
                                            quib::KernelLevel::avx2, quib::KernelLevel::base};
    if (!quib::useKernelLevel(levels[input.choose(4)]))
        quib::chooseKernels();
}

struct FuzzFormat {
    uint32_t depth;
    int32_t channels;
    int32_t alphaChannel;
    int32_t dataOrder;
    int32_t origin;
    int32_t align;
};

constexpr FuzzFormat fuzzMaskFormat = {IPL_DEPTH_1U, 1, 0, 0, 0, 4};

inline FuzzFormat formatFrom(FuzzInput& input)
{
    constexpr uint32_t depths[] = {IPL_DEPTH_8U,  IPL_DEPTH_8U,  IPL_DEPTH_1U,  IPL_DEPTH_8S,
                                   IPL_DEPTH_16U, IPL_DEPTH_16S, IPL_DEPTH_32S, IPL_DEPTH_32F};
    constexpr int32_t channels[] = {4, 1, 3, 1, 4, 2, 3, 5};
    FuzzFormat format{depths[input.choose(8)], channels[input.choose(8)], 0, 0, 0, 4};
    if (format.depth == IPL_DEPTH_1U)
        format.channels = 1;
    const uint32_t choices = input.choose(128);
    format.alphaChannel = (choices & 3) == 3 ? format.channels : 0;
    format.dataOrder = (choices & 12) == 12;
    format.origin = (choices & 112) == 112;
    format.align = 4 << input.choose(4);
    return format;
}

// Of its own size, or like another one.
inline IplROI* regionFrom(FuzzInput& input, int32_t width, int32_t height)
{
    const uint32_t kind = input.choose(8);
    if (kind < 4)
        return nullptr;
    const int32_t coi = std::max(input.below(12) - 6, 0);
    if (kind == 7)
        return iplCreateROI(coi, input.word(), input.word(), input.word(), input.word());
    if (kind == 6)
        return iplCreateROI(coi, 0, 0, width, height);
    const int32_t x = input.below(width);
    const int32_t y = input.below(height);
    return iplCreateROI(coi, x, y, 1 + input.below(width), 1 + input.below(height));
}

// The pixels of a tiled image: each tile is the same block. Now and then one does not
// come, or is not taken back.
class FuzzTiles
{
public:
    FuzzTiles(FuzzInput& input, const IplImage* image)
        : lastCall(input.rarely(4) ? input.below(16) : INT32_MAX), keeps(input.rarely(16))
    {
        info = iplCreateTileInfo(call, this, 8 + 8 * input.below(3), 8 * (1 + input.below(2)));
        const size_t bytes = static_cast<size_t>(ownWidthStep(image, info->width)) *
                             static_cast<size_t>(info->height * ownPlaneCount(image));
        block = static_cast<char*>(malloc(bytes));
        fillFrom(input, block, bytes);
    }
    ~FuzzTiles() { free(block); }
    FuzzTiles(const FuzzTiles&) = delete;
    FuzzTiles& operator=(const FuzzTiles&) = delete;

    IplTileInfo* info; // the image's, which frees it

private:
    static void call(const IplImage* image, int32_t, int32_t, int32_t mode)
    {
        FuzzTiles* self = static_cast<FuzzTiles*>(image->tileInfo->id);
        const bool comes = mode != IPL_RELEASE_TILE && self->calls++ < self->lastCall;
        if (comes || !self->keeps)
            image->tileInfo->tileData = comes ? self->block : nullptr;
    }

    char* block;
    int32_t calls = 0;
    int32_t lastCall;
    bool keeps;
};

// With a region, a mask, borders of any kind, and pixels; frees them all.
class FuzzPicture
{
public:
    struct Size {
        int32_t width;
        int32_t height;
    };

    FuzzPicture(FuzzInput& input, const FuzzFormat& format, Size most = {32, 16})
        : image(makeRecord(input, format, most))
    {
        const uint32_t kind = input.choose(16);
        if (kind >= 14)
            giveTiles(input);
        else
            givePixels(input, kind >= 12);
        image->roi = regionFrom(input, image->width, image->height);
        if (input.rarely(4))
            giveMask(input, most);
        if (input.choose(2))
            giveBorders(input);
    }
    ~FuzzPicture()
    {
        iplDeallocate(image, IPL_IMAGE_ALL);
        free(ownPixels);
        delete tiles;
    }
    FuzzPicture(const FuzzPicture&) = delete;
    FuzzPicture& operator=(const FuzzPicture&) = delete;

    IplImage* const image;

private:
    static IplImage* makeRecord(FuzzInput& input, const FuzzFormat& format, Size most)
    {
        constexpr char sequences[][5] = {"BGRA", "RGBA", "BGR", "RGB", "GRAY", "G"};
        const char* sequence = sequences[std::max<int32_t>(input.below(32) - 26, 0)];
        const bool isGray = sequence[0] == 'G';
        return iplCreateImageHeader(
            format.channels, format.alphaChannel, format.depth, isGray ? "GRAY" : "RGBA", sequence,
            format.dataOrder, format.origin, format.align, 1 + input.below(most.width),
            1 + input.below(most.height), nullptr, nullptr, nullptr, nullptr);
    }

    void givePixels(FuzzInput& input, bool byHand)
    {
        const size_t bytes = static_cast<size_t>(image->imageSize);
        if (byHand)
            image->imageData = ownPixels = static_cast<char*>(aligned(bytes));
        else if (image->depth == IPL_DEPTH_32F)
            iplAllocateImageFP(image, 0, 0.0f);
        else
            iplAllocateImage(image, 0, 0);
        fillFrom(input, image->imageData, bytes);
    }

    void giveTiles(FuzzInput& input)
    {
        tiles = new FuzzTiles(input, image);
        image->tileInfo = tiles->info;
    }

    // Mostly a good one.
    void giveMask(FuzzInput& input, Size most)
    {
        FuzzFormat format = fuzzMaskFormat;
        if (input.rarely(16))
            format = formatFrom(input);
        image->maskROI = makeRecord(input, format, most);
        if (format.depth == IPL_DEPTH_32F)
            iplAllocateImageFP(image->maskROI, 0, 0.0f);
        else
            iplAllocateImage(image->maskROI, 0, 0);
        fillFrom(input, image->maskROI->imageData, static_cast<size_t>(image->maskROI->imageSize));
        image->maskROI->roi = regionFrom(input, image->maskROI->width, image->maskROI->height);
    }

    void giveBorders(FuzzInput& input)
    {
        const int32_t constant = input.word();
        for (int32_t side = 0; side < 4; ++side) {
            image->BorderMode[side] = input.byte();
            image->BorderConst[side] = constant >> 8 * side;
        }
    }

    // As the largest align asks for; what is past the end is not the block's.
    static void* aligned(size_t bytes)
    {
#if defined(_WIN32)
        return malloc(bytes);
#else
        void* block = nullptr;
        return posix_memalign(&block, 32, bytes) == 0 ? block : nullptr;
#endif
    }

    char* ownPixels = nullptr;
    FuzzTiles* tiles = nullptr;
};

// What an operation makes.
struct FuzzMade {
    FuzzMade() = default;
    ~FuzzMade() { iplDeallocate(image, IPL_IMAGE_ALL); }
    FuzzMade(const FuzzMade&) = delete;
    FuzzMade& operator=(const FuzzMade&) = delete;

    IplImage* image = nullptr;
};
