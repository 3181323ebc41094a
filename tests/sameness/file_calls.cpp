// The functions that bring bitmaps and files in and out, of both layers.
#include "_Src/ipl.h"
#include "quibtool/quibtool.h"
#include "tests/sameness/picture.h"
#include "tests/support/canvas.h"
#include "tests/support/dibs.h"
#include "tests/support/temporary_file.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace
{

// --- Bitmaps -------------------------------------------------------------------------

// A command for at most this many pixels, and how many it makes. The pixels that a
// delta skips are undefined: there is none.
int32_t addCommand(Call& call, Bytes& stream, int32_t bits, int32_t most)
{
    const int32_t count = call.random.between(1, std::min(most, 20));
    const uint8_t value = static_cast<uint8_t>(call.random.between(0, 255));
    if (count < 3 || call.oneIn(2)) {
        stream.push_back(static_cast<uint8_t>(count));
        stream.push_back(value);
        return count;
    }
    stream.push_back(0);
    stream.push_back(static_cast<uint8_t>(count));
    const int32_t bytes = bits == 8 ? count : (count + 1) / 2;
    for (int32_t i = 0; i < bytes + bytes % 2; ++i)
        stream.push_back(static_cast<uint8_t>(call.random.between(0, 255)));
    return count;
}

// Rows of run lengths behind a header and its colours; now and then one too long.
void giveStream(Call& call, Bytes& dib, const BITMAPINFOHEADER& header)
{
    dib.resize(dibStart(header));
    for (size_t row = 0; row < dibRows(header); ++row) {
        const int32_t width = header.biWidth + (call.oneIn(300) ? 1 : 0);
        for (int32_t x = 0; x < width;)
            x += addCommand(call, dib, header.biBitCount, width - x);
        dib.insert(dib.end(), {0, 0});
    }
    dib.insert(dib.end(), {0, 1});
}

// Compression 3 for the masks, 1 and 2 for run lengths.
uint32_t compressionOf(Call& call, int32_t bits)
{
    if (!call.oneIn(3))
        return 0;
    if (bits == 8 || bits == 4)
        return bits == 8 ? 1 : 2;
    return bits == 16 || bits == 32 ? 3 : 0;
}

struct Bitmap {
    BITMAPINFOHEADER header;
    Bytes bytes;
};

void giveMasks(Call& call, Bytes& dib)
{
    constexpr uint32_t red[] = {0xF800, 0x7C00, 0xFF0000, 0xFF, 0x3FF00000};
    constexpr uint32_t green[] = {0x07E0, 0x03E0, 0xFF00, 0xFF00, 0x000FFC00};
    constexpr uint32_t blue[] = {0x001F, 0x001F, 0xFF, 0xFF0000, 0x000003FF};
    const int32_t kind = call.choose("masks", 0, 4);
    put32(dib, 40, red[kind]);
    put32(dib, 44, green[kind]);
    put32(dib, 48, blue[kind]);
}

// Of random pixels and colours; of any depth, coding and order of rows.
Bitmap anyBitmap(Call& call, const Size& size, bool isPlain)
{
    constexpr int32_t depths[] = {1, 8, 24, 32, 4, 16};
    const int32_t bits = call.note("bits", depths[call.random.between(0, isPlain ? 3 : 5)]);
    const uint32_t compression = isPlain ? 0 : compressionOf(call, bits);
    call.note("compression", compression);
    const bool isTopDown = !isPlain && call.oneIn(4);
    const int32_t height = isTopDown ? -size.height : size.height;
    call.note("biWidth", size.width);
    call.note("biHeight", height);
    const int32_t colours = bits <= 8 && call.oneIn(3) ? call.random.between(1, 1 << bits) : 0;
    call.note("colours", colours);
    Bitmap bitmap{dibHeader(size.width, height, bits, compression, static_cast<uint32_t>(colours)),
                  {}};
    bitmap.bytes = randomDib(bitmap.header, call.random);
    if (compression == 3)
        giveMasks(call, bitmap.bytes);
    else if (compression != 0)
        giveStream(call, bitmap.bytes, bitmap.header);
    return bitmap;
}

void cut(Call& call, Bytes& bytes)
{
    if (!call.oneIn(6))
        return;
    bytes.resize(static_cast<size_t>(call.random.between(0, static_cast<int32_t>(bytes.size()))));
    call.note("cut to", bytes.size());
}

void seeBytes(Call& call, const Bytes& bytes)
{
    call.digest.bytes(bytes.data(), bytes.size());
}

// --- Bitmaps of the surface ----------------------------------------------------------

// Whatever a block is too short for reads 0: global blocks may be longer than asked for.
void dibToHandle(Call& call)
{
    const Size size = anySize(call);
    const Bitmap bitmap = anyBitmap(call, size, true);
    const GlobalDib block(bitmap.bytes);
    constexpr int32_t depths[] = {0, 8, 32, 24};
    const int32_t depth = call.oneOf("targetDepth", depths);
    Made made(call);
    give(call, Dib2Quib(block.get(), made.address(), depth));
}

void dibApartToHandle(Call& call)
{
    const Size size = anySize(call);
    const Bitmap bitmap = anyBitmap(call, size, true);
    const size_t bits = bitmap.header.biBitCount;
    const size_t step = (bits * static_cast<size_t>(size.width) + 31) / 32 * bits / 8;
    Bytes pixels(std::max(step, bits * static_cast<size_t>(size.width) / 8 + 4) *
                 static_cast<size_t>(size.height));
    call.random.fill(pixels.data(), pixels.size());
    Made made(call);
    give(call, Dib2Quib0(&bitmap.header, pixels.data(), made.address()));
}

void handleToDib(Call& call)
{
    const Picture handle(call, "handle", handleFormat(call), withRegion);
    constexpr int32_t depths[] = {8, 24, 8, 24, 32, 1, 12};
    const int32_t own = handle->nChannels > 1 ? 24 : 8;
    const int32_t bits = call.oneIn(4) ? depths[call.random.between(0, 6)] : own;
    call.note("bits", bits);
    const Size size = call.oneIn(12) ? anySize(call) : handle.size();
    BITMAPINFOHEADER header = dibHeader(size.width, size.height, bits);
    const Bytes bytes = randomDib(header, call.random);
    const GlobalDib block(bytes);
    give(call, Quib2Dib(handle, block.get()));
    seeBytes(call, block.bytes(bytes.size()));
    call.digest.integer(block.locks());
}

void drawToContext(Call& call)
{
    const Picture handle(call, "handle", handleFormat(call));
    const Canvas canvas(70, 20);
    const int32_t x = call.choose("x", -10, 60);
    const int32_t y = call.choose("y", -10, 15);
    give(call, QuibDrawToHDC(handle, canvas.context(), x, y));
    for (int32_t row = 0; row < canvas.height(); ++row)
        for (int32_t column = 0; column < canvas.width(); ++column)
            call.digest.number(canvas.at(column, row));
}

// --- Files ---------------------------------------------------------------------------

void loadBmp(Call& call)
{
    const Size size = anySize(call);
    const Bitmap bitmap = anyBitmap(call, size, !call.oneIn(4));
    Bytes file = {'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    file.insert(file.end(), bitmap.bytes.begin(), bitmap.bytes.end());
    cut(call, file);
    const TemporaryFile stored(file);
    Made made(call);
    give(call, QuibLoadBMP(stored.name(), made.address()));
}

Bytes contentOf(const std::string& name)
{
    Bytes content;
    std::FILE* file = std::fopen(name.c_str(), "rb");
    EXPECT_NE(file, nullptr) << name;
    for (int next = std::fgetc(file); next != EOF; next = std::fgetc(file))
        content.push_back(static_cast<uint8_t>(next));
    std::fclose(file);
    return content;
}

void loadPsd(Call& call)
{
    constexpr const char* names[] = {"agpsd_background.psd",
                                     "agpsd_deflated.psd",
                                     "agpsd_flat.psd",
                                     "agpsd_groups.psd",
                                     "agpsd_large_deflated.psb",
                                     "agpsd_large_runs.psb",
                                     "agpsd_one.psd",
                                     "agpsd_runs.psd",
                                     "agpsd_three.psd",
                                     "gimp_gray.psd",
                                     "gimp_gray16.psd",
                                     "gimp_group.psd",
                                     "gimp_rgb.psd",
                                     "gimp_rgb16.psd"};
    const char* name = names[call.random.between(0, static_cast<int32_t>(std::size(names)) - 1)];
    call.say(name);
    Bytes file = contentOf(std::string(QUIB_PSD_FOLDER) + name);
    const int32_t damages = call.choose("damages", 0, 2);
    for (int32_t i = 0; i < damages; ++i) {
        const int32_t place = call.choose("at", 0, static_cast<int32_t>(file.size()) - 1);
        file[static_cast<size_t>(place)] = static_cast<uint8_t>(call.choose("byte", 0, 255));
    }
    cut(call, file);
    const TemporaryFile stored(file);
    Made image(call);
    Made mask(call);
    give(call, QuibLoadFramePsd2Bmp(stored.name(), image.address(), mask.address()));
}

// --- Bitmaps of the engine -----------------------------------------------------------

// What images and bitmaps agree on: channels of 8 or 16 bits, and bits.
Format bitmapFormat(Call& call)
{
    constexpr uint32_t depths[] = {IPL_DEPTH_8U,  IPL_DEPTH_8U, IPL_DEPTH_8U,
                                   IPL_DEPTH_16U, IPL_DEPTH_1U, IPL_DEPTH_8S};
    constexpr int32_t channels[] = {1, 3, 4, 3, 2};
    Format format;
    format.depth = depths[call.random.between(0, 5)];
    if (format.depth != IPL_DEPTH_1U)
        format.channels = channels[call.random.between(0, 4)];
    format.alphaChannel = format.channels == 4 && call.oneIn(2) ? 4 : 0;
    format.dataOrder = call.oneIn(4) ? IPL_DATA_ORDER_PLANE : IPL_DATA_ORDER_PIXEL;
    format.origin = call.oneIn(4) ? IPL_ORIGIN_BL : IPL_ORIGIN_TL;
    format.align = call.oneIn(2) ? 8 : 4;
    return format;
}

template<bool bounded>
void fromDib(Call& call)
{
    Picture image(call, "image", bitmapFormat(call), withRegion);
    const Size size = call.oneIn(6) ? anySize(call) : image.size();
    Bitmap bitmap = anyBitmap(call, size, false);
    if (bounded) {
        cut(call, bitmap.bytes);
        ownConvertFromDIB(bitmap.bytes.data(), bitmap.bytes.size(), image);
        return;
    }
    iplConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(bitmap.bytes.data()), image);
}

template<bool bounded>
void toDib(Call& call)
{
    const Picture image(call, "image", bitmapFormat(call), withRegion);
    const Size size = call.oneIn(12) ? anySize(call) : image.size();
    Bitmap bitmap = anyBitmap(call, size, false);
    // Room for any palette, and for a stream that is longer than its rows.
    const size_t rows = dibPitch(bitmap.header) * dibRows(bitmap.header);
    if (!bounded)
        bitmap.bytes.resize(40 + 1024 + 2 * rows + 4 * dibRows(bitmap.header) + 64, 0x5A);
    constexpr int32_t dithers[] = {IPL_DITHER_NONE, IPL_DITHER_NONE,    IPL_DITHER_FS,
                                   IPL_DITHER_JJH,  IPL_DITHER_STUCKEY, IPL_DITHER_BAYER};
    const int32_t dither = call.oneOf("dither", dithers);
    const bool makesPalette = bounded || bitmap.header.biBitCount <= 8;
    const int32_t palette = call.choose("paletteConversion", 0, makesPalette ? 2 : 1);
    if (bounded)
        call.digest.integer(
            ownConvertToDIB(image, bitmap.bytes.data(), bitmap.bytes.size(), dither, palette));
    else
        call.digest.integer(iplConvertToDIB(
            image, reinterpret_cast<BITMAPINFOHEADER*>(bitmap.bytes.data()), dither, palette));
    seeBytes(call, bitmap.bytes);
}

} // namespace

std::vector<CorpusFunction> corpusOfFiles()
{
    return {
        {"Dib2Quib", dibToHandle, 160},
        {"Dib2Quib0", dibApartToHandle},
        {"Quib2Dib", handleToDib, 160},
        {"QuibDrawToHDC", drawToContext, 48},
        {"QuibLoadBMP", loadBmp, 160},
        {"QuibLoadFramePsd2Bmp", loadPsd},
        {"iplConvertFromDIB", fromDib<false>, 240},
        {"iplConvertToDIB", toDib<false>, 240},
        {"ownConvertFromDIB", fromDib<true>, 240},
        {"ownConvertToDIB", toDib<true>, 240},
    };
}
