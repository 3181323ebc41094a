// JPEG files, by libjpeg-turbo.
#include "tools/quib/formats.h"

#include <cstddef>
#include <cstdio>

#include <jerror.h>
#include <jpeglib.h>

#include <csetjmp>
#include <cstring>

namespace
{

constexpr int mostScans = 500; // a small file may ask for scans without end

struct Errors {
    jpeg_error_mgr manager;
    std::jmp_buf back;
    char text[JMSG_LENGTH_MAX];
    bool isDamaged;
};

Errors* errorsOf(j_common_ptr common)
{
    return reinterpret_cast<Errors*>(common->err);
}

void fail(j_common_ptr common)
{
    Errors* errors = errorsOf(common);
    (*common->err->format_message)(common, errors->text);
    std::longjmp(errors->back, 1);
}

// Warnings that tell of lost pixels are failures.
void hear(j_common_ptr common, int level)
{
    const int code = common->err->msg_code;
    Errors* errors = errorsOf(common);
    if (level >= 0 || errors->isDamaged || code == JWRN_EXTRANEOUS_DATA ||
        code == JWRN_ADOBE_XFORM || code == JWRN_BOGUS_PROGRESSION)
        return;
    errors->isDamaged = true;
    (*common->err->format_message)(common, errors->text);
}

void say(j_common_ptr) {}

jpeg_error_mgr* startErrors(Errors* errors)
{
    jpeg_error_mgr* manager = jpeg_std_error(&errors->manager);
    manager->error_exit = fail;
    manager->emit_message = hear;
    manager->output_message = say;
    return manager;
}

void watch(j_common_ptr common)
{
    const auto* decoder = reinterpret_cast<j_decompress_ptr>(common);
    if (!common->is_decompressor || decoder->input_scan_number <= mostScans)
        return;
    std::strcpy(errorsOf(common)->text, "too many scans");
    std::longjmp(errorsOf(common)->back, 1);
}

// The steps below hold nothing that would have to be destroyed: libjpeg leaves them by a
// long jump.
bool begin(jpeg_decompress_struct* decoder, Errors* errors, jpeg_progress_mgr* progress,
           std::FILE* file)
{
    if (setjmp(errors->back))
        return false;
    jpeg_create_decompress(decoder);
    progress->progress_monitor = watch;
    decoder->progress = progress;
    jpeg_stdio_src(decoder, file);
    jpeg_read_header(decoder, TRUE);
    const bool isCmyk =
        decoder->jpeg_color_space == JCS_CMYK || decoder->jpeg_color_space == JCS_YCCK;
    decoder->out_color_space = decoder->jpeg_color_space == JCS_GRAYSCALE ? JCS_GRAYSCALE
                               : isCmyk                                   ? JCS_CMYK
                                                                          : JCS_EXT_BGRA;
    jpeg_calc_output_dimensions(decoder);
    return true;
}

bool readRows(jpeg_decompress_struct* decoder, Errors* errors, IplImage* handle)
{
    if (setjmp(errors->back))
        return false;
    jpeg_start_decompress(decoder);
    while (decoder->output_scanline < decoder->output_height) {
        JSAMPROW row = rowOf(handle, static_cast<int32_t>(decoder->output_scanline));
        jpeg_read_scanlines(decoder, &row, 1);
    }
    jpeg_finish_decompress(decoder);
    return !errors->isDamaged;
}

// Files of four inks hold them inverted where an Adobe marker stands, as nearly all do.
void takeInks(const Picture& picture, bool isInverted)
{
    for (int32_t y = 0; y < picture->height; ++y) {
        uint8_t* inks = rowOf(picture.get(), y);
        for (int32_t x = 0; x < picture->width; ++x, inks += 4) {
            const int flip = isInverted ? 0 : 255;
            const int black = inks[3] ^ flip;
            const int red = (inks[0] ^ flip) * black / 255;
            const int green = (inks[1] ^ flip) * black / 255;
            const int blue = (inks[2] ^ flip) * black / 255;
            inks[0] = static_cast<uint8_t>(blue);
            inks[1] = static_cast<uint8_t>(green);
            inks[2] = static_cast<uint8_t>(red);
            inks[3] = 255;
        }
    }
}

bool writeRows(jpeg_compress_struct* encoder, Errors* errors, std::FILE* file, IplImage* handle,
               int quality)
{
    if (setjmp(errors->back))
        return false;
    jpeg_create_compress(encoder);
    jpeg_stdio_dest(encoder, file);
    encoder->image_width = static_cast<JDIMENSION>(handle->width);
    encoder->image_height = static_cast<JDIMENSION>(handle->height);
    encoder->input_components = handle->nChannels;
    encoder->in_color_space = handle->nChannels == 1   ? JCS_GRAYSCALE
                              : handle->nChannels == 3 ? JCS_EXT_BGR
                                                       : JCS_EXT_BGRX;
    jpeg_set_defaults(encoder);
    jpeg_set_quality(encoder, quality, TRUE);
    jpeg_start_compress(encoder, TRUE);
    while (encoder->next_scanline < encoder->image_height) {
        JSAMPROW row = rowOf(handle, static_cast<int32_t>(encoder->next_scanline));
        jpeg_write_scanlines(encoder, &row, 1);
    }
    jpeg_finish_compress(encoder);
    return true;
}

// What a file without alphas can hold of the picture.
Problem flatten(const Picture& picture, uint32_t background, Picture* flat)
{
    if (depthOf(picture) == 1) {
        Problem problem = copyPicture(picture, flat);
        return problem.empty() ? changeDepth(8, flat) : problem;
    }
    if (isOpaque(picture))
        return copyPicture(picture, flat);
    Problem problem = makePicture(picture->width, picture->height, 32, background, flat);
    if (!problem.empty())
        return problem;
    return explainStatus("QuibComposition3", QuibComposition3(picture.get(), flat->get(), nullptr));
}

} // namespace

std::string jpegVersion()
{
#define QUIB_TEXT(x) #x
#define QUIB_VALUE(x) QUIB_TEXT(x)
    return "libjpeg-turbo " QUIB_VALUE(LIBJPEG_TURBO_VERSION);
#undef QUIB_VALUE
#undef QUIB_TEXT
}

Problem loadJpeg(std::FILE* file, Picture* picture)
{
    jpeg_decompress_struct decoder{};
    jpeg_progress_mgr progress{};
    Errors errors{};
    decoder.err = startErrors(&errors);
    Problem problem;
    if (begin(&decoder, &errors, &progress, file)) {
        const bool isGray = decoder.out_color_space == JCS_GRAYSCALE;
        problem =
            makePicture(decoder.output_width, decoder.output_height, isGray ? 8 : 32, 0, picture);
        const bool isRead = problem.empty() && readRows(&decoder, &errors, picture->get());
        if (isRead && decoder.out_color_space == JCS_CMYK)
            takeInks(*picture, decoder.saw_Adobe_marker);
        if (problem.empty() && !isRead)
            problem = "the JPEG file is damaged: " + printable(errors.text);
    } else {
        problem = "the JPEG file is damaged: " + printable(errors.text);
    }
    jpeg_destroy_decompress(&decoder);
    return problem;
}

Problem saveJpeg(const Picture& picture, const SaveOptions& options, std::FILE* file)
{
    constexpr int32_t mostSide = 65500;
    Problem problem;
    if (picture->width > mostSide || picture->height > mostSide)
        return "JPEG holds at most " + std::to_string(mostSide) +
               " pixels on a side, and this is " + sizeText(picture->width, picture->height);
    Picture flat;
    problem = flatten(picture, options.background, &flat);
    if (!problem.empty())
        return problem;
    jpeg_compress_struct encoder{};
    Errors errors{};
    encoder.err = startErrors(&errors);
    if (!writeRows(&encoder, &errors, file, flat.get(), options.quality))
        problem = "the JPEG file cannot be written: " + printable(errors.text);
    jpeg_destroy_compress(&encoder);
    return problem;
}
