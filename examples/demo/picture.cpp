#include "examples/demo/picture.h"

#include <png.h>

#include <cstdio>
#include <vector>

bool writePng(const IplImage* image, const std::string& file, Alpha alpha)
{
    QuibInfo info{};
    void* data = nullptr;
    if (QuibGetInfo(image, &info) != QUIB_OK || QuibLockData(image, &data) != QUIB_OK)
        return false;
    const bool gray = info.bitDepth == 8;
    const bool withAlpha = info.bitDepth == 32 && alpha == Alpha::show;
    const int step = info.bitDepth / 8;

    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    png.width = static_cast<png_uint_32>(info.width);
    png.height = static_cast<png_uint_32>(info.height);
    png.format = gray ? PNG_FORMAT_GRAY : withAlpha ? PNG_FORMAT_BGRA : PNG_FORMAT_BGR;
    const size_t samples = gray ? 1 : withAlpha ? 4 : 3;

    std::vector<uint8_t> packed(static_cast<size_t>(info.width) * info.height * samples);
    uint8_t* out = packed.data();
    for (int32_t y = 0; y < info.height; ++y) {
        const uint8_t* row =
            static_cast<const uint8_t*>(data) + static_cast<size_t>(y) * info.widthStep;
        for (int32_t x = 0; x < info.width; ++x, row += step)
            for (size_t c = 0; c < samples; ++c)
                *out++ = row[c];
    }
    QuibUnlockData(image);
    return png_image_write_to_file(&png, file.c_str(), 0, packed.data(), 0, nullptr) != 0;
}
