// Regions and masks as the plain forms of the tests see them.
#pragma once

#include "tests/support/images.h"

#include <algorithm>
#include <string>

struct Area {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
};

// The region, cut at the right and bottom edges.
inline Area areaOf(const IplImage* image)
{
    if (!image->roi)
        return {0, 0, image->width, image->height};
    const IplROI& roi = *image->roi;
    const auto length = [](int32_t offset, int32_t size, int32_t limit) {
        return static_cast<int32_t>(std::min<int64_t>(size, static_cast<int64_t>(limit) - offset));
    };
    return {roi.xOffset, roi.yOffset, length(roi.xOffset, roi.width, image->width),
            length(roi.yOffset, roi.height, image->height)};
}

// The indices of the channels that an operation touches.
inline std::vector<int32_t> channelsOf(const IplImage* image)
{
    if (image->roi && image->roi->coi > 0)
        return {image->roi->coi - 1};
    std::vector<int32_t> channels;
    for (int32_t c = 0; c < image->nChannels - (image->alphaChannel != 0 ? 1 : 0); ++c)
        channels.push_back(c);
    return channels;
}

// Lowers a size to that of the image's region; a null image leaves it.
inline void shrinkTo(Area* size, const IplImage* image)
{
    if (!image)
        return;
    const Area area = areaOf(image);
    size->width = std::min(size->width, area.width);
    size->height = std::min(size->height, area.height);
}

// Whether the mask has a 1 at (x, y) of its region; a null mask has.
inline bool maskLets(const IplImage* mask, int32_t x, int32_t y)
{
    if (!mask)
        return true;
    const Area area = areaOf(mask);
    return element(mask, area.x + x, area.y + y, 0) != 0;
}

inline std::string describe(const IplImage* image)
{
    std::string text = std::to_string(image->width) + "x" + std::to_string(image->height) + "x" +
                       std::to_string(image->nChannels) + " depth " + std::to_string(image->depth) +
                       " order " + std::to_string(image->dataOrder) + " alpha " +
                       std::to_string(image->alphaChannel);
    if (const IplROI* roi = image->roi)
        text += " roi " + std::to_string(roi->coi) + ": " + std::to_string(roi->xOffset) + "," +
                std::to_string(roi->yOffset) + " " + std::to_string(roi->width) + "x" +
                std::to_string(roi->height);
    if (image->maskROI)
        text += " mask (" + describe(image->maskROI) + ")";
    return text;
}

// Now and then past the image's edge, wholly or in part.
inline void giveRandomRoi(IplImage* image, int32_t coi, Random& random)
{
    setRoi(image, coi, random.between(0, image->width + image->width / 8),
           random.between(0, image->height + image->height / 8), random.between(1, 30),
           random.between(1, 12));
}

inline void giveMaskAtOddOffset(IplImage* image, Random& random)
{
    giveRandomMask(image, random.between(1, 40), random.between(1, 14), random);
    if (random.coin())
        giveRandomRoi(image->maskROI, 0, random);
}

// A second image with the same header, region, mask and bytes, which does not
// own its region and mask.
class Twin
{
public:
    explicit Twin(const IplImage* image)
        : copy(makeImage(image->width, image->height, image->nChannels, image->depth,
                         image->dataOrder, image->align, image->alphaChannel, image->origin))
    {
        std::memcpy(copy->imageData, image->imageData, static_cast<size_t>(image->imageSize));
        copy->roi = image->roi;
        copy->maskROI = image->maskROI;
    }
    ~Twin()
    {
        copy->roi = nullptr;
        copy->maskROI = nullptr;
    }
    Twin(const Twin&) = delete;
    Twin& operator=(const Twin&) = delete;
    IplImage* get() const { return copy.get(); }

private:
    Image copy;
};
