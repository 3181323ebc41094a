// PNG files, by libpng.
#include "tools/quib/formats.h"

#include <png.h>

#include <csetjmp>
#include <vector>

namespace
{

// Gray of one bit, by the header, which is always the first chunk.
bool isBitonal(std::FILE* file)
{
    unsigned char head[26] = {};
    const bool isRead = std::fread(head, 1, sizeof head, file) == sizeof head;
    std::rewind(file);
    return isRead && head[24] == 1 && head[25] == PNG_COLOR_TYPE_GRAY;
}

struct Writing {
    png_structp png;
    png_infop info;
    std::string* problem;
};

void fail(png_structp png, png_const_charp text)
{
    *static_cast<std::string*>(png_get_error_ptr(png)) = text;
    png_longjmp(png, 1);
}

void ignore(png_structp, png_const_charp) {}

struct Layout {
    int bits;
    int colourType;
    bool dropsAlpha;
};

Layout layoutOf(const Picture& picture)
{
    const int depth = depthOf(picture);
    if (depth <= 8)
        return {depth, PNG_COLOR_TYPE_GRAY, false};
    if (depth == 32 && !isOpaque(picture))
        return {8, PNG_COLOR_TYPE_RGB_ALPHA, false};
    return {8, PNG_COLOR_TYPE_RGB, depth == 32};
}

// Nothing in here needs to be destroyed: libpng leaves it by a long jump.
bool writeRows(const Writing& writing, std::FILE* file, IplImage* handle, const Layout& layout,
               int compression)
{
    if (setjmp(png_jmpbuf(writing.png)))
        return false;
    png_init_io(writing.png, file);
    png_set_compression_level(writing.png, compression);
    png_set_IHDR(writing.png, writing.info, static_cast<png_uint_32>(handle->width),
                 static_cast<png_uint_32>(handle->height), layout.bits, layout.colourType,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_sRGB(writing.png, writing.info, PNG_sRGB_INTENT_PERCEPTUAL);
    png_write_info(writing.png, writing.info);
    if (layout.colourType != PNG_COLOR_TYPE_GRAY)
        png_set_bgr(writing.png);
    if (layout.dropsAlpha)
        png_set_filler(writing.png, 0, PNG_FILLER_AFTER);
    for (int32_t y = 0; y < handle->height; ++y)
        png_write_row(writing.png, rowOf(handle, y));
    png_write_end(writing.png, nullptr);
    return true;
}

Problem readInto(png_image* image, bool isBitonal, Picture* picture)
{
    const bool isGray = (image->format & (PNG_FORMAT_FLAG_COLOR | PNG_FORMAT_FLAG_ALPHA)) == 0;
    image->format = isGray ? PNG_FORMAT_GRAY : PNG_FORMAT_BGRA;
    // A file of 16 bits without a word on its gamma is as one of 8.
    image->flags |= PNG_IMAGE_FLAG_16BIT_sRGB;
    Problem problem = makePicture(image->width, image->height, isGray ? 8 : 32, 0, picture);
    if (!problem.empty()) {
        png_image_free(image);
        return problem;
    }
    if (!png_image_finish_read(image, nullptr, rowOf(picture->get(), 0), (*picture)->widthStep,
                               nullptr))
        return "the PNG file is damaged: " + printable(image->message);
    return isBitonal && isGray ? changeDepth(1, picture) : Problem();
}

} // namespace

std::string pngVersion()
{
    return "libpng " + std::string(png_get_libpng_ver(nullptr));
}

Problem loadPng(std::FILE* file, Picture* picture)
{
    const bool bits = isBitonal(file);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_stdio(&image, file))
        return "the PNG file is damaged: " + printable(image.message);
    return readInto(&image, bits, picture);
}

Problem savePng(const Picture& picture, const SaveOptions& options, std::FILE* file)
{
    std::string problem;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &problem, fail, ignore);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info) {
        png_destroy_write_struct(&png, nullptr);
        return "no memory to write PNG";
    }
    const Writing writing{png, info, &problem};
    const Layout layout = layoutOf(picture);
    const bool isWritten = writeRows(writing, file, picture.get(), layout, options.compression);
    png_destroy_write_struct(&png, &info);
    return isWritten ? Problem() : "the PNG file cannot be written: " + printable(problem);
}
