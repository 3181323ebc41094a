#include "quibtool/surface/pack16.h"

#include "kernels/kernels.h"
#include "quibtool/surface/rows.h"

#include <bit>
#include <cstring>

using namespace quib;

namespace
{

Packing16 packingOf(bool is565)
{
    if (is565)
        return {.blue = {3, 0}, .green = {2, 5}, .red = {3, 11}};
    return {.blue = {3, 0}, .green = {3, 5}, .red = {3, 10}};
}

// Pixels at a row's end that are made of the surface's last bytes and stored in
// the image's last ones; none where a row has fewer bytes than that.
void convertTail(const PixelRows& surface, const PixelRows& image, size_t pixels,
                 const Packing16& packing)
{
    const size_t surfaceStep = surface.rows.step;
    const size_t imageStep = image.rows.step;
    const size_t from = pixels * image.pixelBytes;
    const size_t to = pixels * surface.pixelBytes;
    if (surfaceStep < from || surface.rows.bytesLeft < surfaceStep || imageStep < to ||
        image.rows.bytesLeft < imageStep)
        return;
    const uint8_t* src = surface.rows.row + surfaceStep - from;
    uint8_t* dst = image.rows.row + imageStep - to;
    if (image.pixelBytes == 3)
        kernels().pack16.from24(dst, src, pixels, packing);
    else
        kernels().pack16.from32(dst, src, pixels, packing);
}

// Pairs of pixels, and what is left of each row. Rows of 24 bits leave a pair
// even where their width is even, and their last pixels have their channels in
// the opposite order.
void convertColours(PixelRows surface, PixelRows image, const QuibInfo& info, bool is565)
{
    const bool is24Bit = image.pixelBytes == 3;
    const size_t width = static_cast<size_t>(info.width);
    const size_t tail = width % 2 == 1 ? 1 : is24Bit ? 2 : 0;
    const Packing16 packing = packingOf(is565);
    const Packing16 reversed{packing.red, packing.green, packing.blue};
    const auto convert = is24Bit ? kernels().pack16.from24 : kernels().pack16.from32;
    for (int32_t y = 0; y < info.height; ++y) {
        const size_t count = ownPixelsInBoth(surface, image, width - tail);
        convert(surface.rows.row, image.rows.row, count, packing);
        if (tail > 0)
            convertTail(surface, image, tail, is24Bit ? reversed : packing);
        ownSkipRows(&surface.rows, 1);
        ownSkipRows(&image.rows, 1);
    }
}

// From the gray bytes of `src`; the rows of words are twice as long.
void GrayRowsTo16(const BlockWalk& src, const BlockWalk& dst, const QuibInfo& info, bool is565)
{
    const Packing16 packing = packingOf(is565);
    const auto pack = [&](uint8_t* to, const uint8_t* from, size_t count) {
        kernels().pack16.fromGray(to, from, count, packing);
    };
    ownConvertRows({dst, 2}, {src, 1}, static_cast<size_t>(info.width),
                   static_cast<size_t>(info.height), pack);
}

void copyRows(const BlockWalk& surface, const BlockWalk& image, const QuibInfo& info)
{
    const auto copy = [](uint8_t* to, const uint8_t* from, size_t count) {
        std::memmove(to, from, count * 2);
    };
    ownConvertRows({surface, 2}, {image, 2}, static_cast<size_t>(info.width),
                   static_cast<size_t>(info.height), copy);
}

} // namespace

int32_t LowestSetBit(uint32_t mask)
{
    return mask ? std::countr_zero(mask) : 0;
}

int32_t HighestSetBit(uint32_t mask)
{
    return mask ? 31 - std::countl_zero(mask) : 0;
}

bool quib::ownIs16BitSource(int32_t bitDepth)
{
    return bitDepth == 8 || bitDepth == 16 || bitDepth == 24 || bitDepth == 32;
}

Packing16::Shift quib::ownShiftUnder(uint32_t mask)
{
    constexpr Packing16::Shift nothing{8, 0};
    const int32_t low = LowestSetBit(mask);
    const int32_t right = low - HighestSetBit(mask) + 7;
    const int32_t left = right < 0 ? low - right : low;
    if (left > 15)
        return nothing; // the word ends below
    return {static_cast<uint8_t>(std::max(right, 0)), static_cast<uint8_t>(left)};
}

void ConvertTo16(const BlockWalk& surface, const BlockWalk& image, const QuibInfo& info, bool is565)
{
    if (surface.bytesLeft == 0 || image.bytesLeft == 0)
        return;
    switch (info.bitDepth) {
    case 32:
        convertColours({surface, 2}, {image, 4}, info, is565);
        break;
    case 24:
        convertColours({surface, 2}, {image, 3}, info, is565);
        break;
    case 16:
        copyRows(surface, image, info);
        break;
    case 8:
        GrayRowsTo16(surface, image, info, is565);
        break;
    default:
        break;
    }
}
