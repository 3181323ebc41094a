#include "examples/demo/picture.h"

#include "examples/demo/palette.h"

#include <png.h>

#include <cstring>
#include <vector>

namespace
{

struct Pixels {
    QuibInfo info{};
    std::vector<uint32_t> words; // bytes B, G, R, A
    bool isGray = false;
};

bool readPixels(const IplImage* image, Alpha alpha, Pixels* pixels)
{
    void* data = nullptr;
    QuibInfo& info = pixels->info;
    if (QuibGetInfo(image, &info) != QUIB_OK || QuibLockData(image, &data) != QUIB_OK)
        return false;
    pixels->isGray = info.bitDepth == 8;
    const size_t step = static_cast<size_t>(info.bitDepth / 8);
    for (int32_t y = 0; y < info.height; ++y) {
        const uint8_t* row =
            static_cast<const uint8_t*>(data) + static_cast<ptrdiff_t>(y) * info.widthStep;
        for (int32_t x = 0; x < info.width; ++x, row += step) {
            uint32_t word = row[0];
            if (pixels->isGray)
                word *= 0x010101u;
            else
                std::memcpy(&word, row, step);
            const bool keeps = step == 4 && alpha == Alpha::show;
            pixels->words.push_back(keeps ? word : word | 0xFF000000u);
        }
    }
    return QuibUnlockData(image) == QUIB_OK;
}

png_image describe(const QuibInfo& info, png_uint_32 format)
{
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    png.width = static_cast<png_uint_32>(info.width);
    png.height = static_cast<png_uint_32>(info.height);
    png.format = format;
    return png;
}

bool writeInPalette(const Pixels& pixels, const std::string& file)
{
    const Palette palette = makePalette(pixels.words);
    png_image png = describe(pixels.info, PNG_FORMAT_BGRA | PNG_FORMAT_FLAG_COLORMAP);
    png.colormap_entries = static_cast<png_uint_32>(palette.colours.size());
    return png_image_write_to_file(&png, file.c_str(), 0, palette.indices.data(), 0,
                                   palette.colours.data()) != 0;
}

// Only as many bytes a pixel as tell something.
bool writeInFull(const Pixels& pixels, const std::string& file, Alpha alpha)
{
    const bool withAlpha = alpha == Alpha::show && pixels.info.bitDepth == 32;
    const size_t samples = pixels.isGray ? 1 : withAlpha ? 4 : 3;
    png_image png = describe(pixels.info, pixels.isGray ? PNG_FORMAT_GRAY
                                          : withAlpha   ? PNG_FORMAT_BGRA
                                                        : PNG_FORMAT_BGR);
    std::vector<uint8_t> packed(pixels.words.size() * samples);
    for (size_t i = 0; i < pixels.words.size(); ++i)
        std::memcpy(&packed[i * samples], &pixels.words[i], samples);
    return png_image_write_to_file(&png, file.c_str(), 0, packed.data(), 0, nullptr) != 0;
}

} // namespace

bool writePng(const IplImage* image, const std::string& file, Alpha alpha, Colours colours)
{
    Pixels pixels;
    if (!readPixels(image, alpha, &pixels))
        return false;
    const bool inFull = colours == Colours::all || pixels.isGray;
    return inFull ? writeInFull(pixels, file, alpha) : writeInPalette(pixels, file);
}
