// iplReduceBits between images of any layouts, regions and masks, and of any content.
// The first bytes choose the images and the arguments, the others are the source's
// pixels.
#include "fuzz/fuzz.h"

#include <algorithm>

namespace
{

constexpr size_t choiceBytes = 48;

void giveRegion(FuzzChoices& choices, IplImage* image)
{
    if (choices.choose(2) == 0)
        return;
    const auto number = [&] { return static_cast<int32_t>(choices.choose(80)); };
    const int32_t coi = static_cast<int32_t>(choices.choose(6));
    const int32_t x = number();
    const int32_t y = number();
    image->roi = iplCreateROI(coi, x, y, number(), number());
}

// Null if there cannot be one.
IplImage* makeImage(FuzzChoices& choices, bool isMask)
{
    constexpr uint32_t depths[] = {IPL_DEPTH_8U, IPL_DEPTH_16U, IPL_DEPTH_32S, IPL_DEPTH_32F,
                                   IPL_DEPTH_1U, IPL_DEPTH_8S,  IPL_DEPTH_16S};
    const int32_t nChannels = 1 + static_cast<int32_t>(isMask ? 0 : choices.choose(4));
    const uint32_t layout = choices.choose(16);
    const int32_t width = 1 + static_cast<int32_t>(choices.choose(80));
    const int32_t height = 1 + static_cast<int32_t>(choices.choose(30));
    IplImage* image = iplCreateImageHeader(
        nChannels, choices.choose(3) == 0 ? nChannels : 0,
        isMask ? IPL_DEPTH_1U : depths[choices.choose(7)], "RGBA", "BGRA", layout & 1,
        (layout >> 1) & 1, 4 << (layout >> 2), width, height, nullptr, nullptr, nullptr, nullptr);
    if (image && image->depth == IPL_DEPTH_32F)
        iplAllocateImageFP(image, 1, 0.0f);
    else if (image)
        iplAllocateImage(image, 1, 0);
    return image;
}

IplImage* makeMaskedImage(FuzzChoices& choices)
{
    IplImage* image = makeImage(choices, false);
    if (!image)
        return nullptr;
    giveRegion(choices, image);
    if (choices.choose(3) == 0)
        image->maskROI = makeImage(choices, true);
    return image;
}

int32_t chooseLevels(FuzzChoices& choices)
{
    constexpr int32_t levels[] = {2, 3, 16, 256, 257, 65537, INT32_MAX, INT32_MIN};
    const uint32_t place = choices.choose(16);
    return place < 8 ? levels[place] : static_cast<int32_t>(choices.choose(256));
}

} // namespace

void runFuzzInput(const uint8_t* data, size_t size)
{
    constexpr int32_t dithers[] = {IPL_DITHER_NONE,    IPL_DITHER_FS,    IPL_DITHER_JJH,
                                   IPL_DITHER_STUCKEY, IPL_DITHER_BAYER, 3};
    if (size < choiceBytes)
        return;
    FuzzChoices choices(data);
    const int32_t dither = dithers[choices.choose(6)];
    const int32_t noise = static_cast<int32_t>(choices.choose(104)) - 1;
    const int32_t levels = chooseLevels(choices);
    IplImage* src = makeMaskedImage(choices);
    IplImage* dst = makeMaskedImage(choices);
    iplSetStatus(0);
    if (src && src->maskROI)
        std::memset(src->maskROI->imageData, 0xDB, static_cast<size_t>(src->maskROI->imageSize));
    for (size_t i = choiceBytes, at = 0; src && i < size; ++i, ++at)
        if (at < static_cast<size_t>(src->imageSize))
            src->imageData[at] = static_cast<char>(data[i]);
    iplReduceBits(src, dst, noise, dither, levels);
    iplDeallocate(src, IPL_IMAGE_ALL);
    iplDeallocate(dst, IPL_IMAGE_ALL);
}
