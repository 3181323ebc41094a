#include "_Src/dib/format.h"

#include "_Src/walk/bits.h"

#include <cstring>

// --- Masks and colours -------------------------------------------------------------

OwnMask ownMaskSize(uint32_t bits)
{
    OwnMask mask{bits, 0, 0};
    if (bits == 0)
        return mask;
    mask.shift = __builtin_ctz(bits);
    const uint32_t run = bits >> mask.shift;
    mask.width = run == UINT32_MAX ? 32 : __builtin_ctz(~run);
    return mask;
}

namespace
{

// The alpha of a 32-bit pixel with masks of its own: all bits above the highest
// mask, or all 32 if none are left.
OwnMask alphaAbove(const OwnMask* colourMasks)
{
    const OwnMask* highest = &colourMasks[0];
    for (int32_t i = 1; i < 3; ++i)
        if (colourMasks[i].shift > highest->shift)
            highest = &colourMasks[i];
    return ownMaskSize(UINT32_MAX << ((highest->shift + highest->width) & 31));
}

} // namespace

void ownReadMasks(const OwnDib& dib, OwnDibFormat* format)
{
    // 24-bit pixels have none, and their block may be shorter than three of them.
    if (dib.header.biBitCount == 24)
        return;
    const bool is16 = dib.header.biBitCount == 16;
    // In the order red, green, blue, as the block holds them.
    uint32_t bits[3] = {0xFF0000, 0x00FF00, 0x0000FF};
    if (dib.header.biCompression == BI_BITFIELDS)
        ownReadExtent(dib.block, sizeof dib.header, bits, sizeof bits);
    else if (is16)
        bits[0] = 0x7C00, bits[1] = 0x03E0, bits[2] = 0x001F;
    for (int32_t i = 0; i < 3; ++i)
        format->masks[2 - i] = ownMaskSize(is16 ? bits[i] & 0xFFFF : bits[i]);
    format->masks[3] = is16 ? ownMaskSize(0) : alphaAbove(format->masks);
}

void ownReadColours(const OwnDib& dib, OwnDibFormat* format)
{
    // An index past the table finds what follows in the block. Of a block of
    // unknown size nothing but the table is known to be there.
    OwnExtent held = dib.block;
    if (held.bytes == ownUnknownSize)
        held.bytes = static_cast<size_t>(ownPixelStart(dib.header));
    const size_t possible = size_t{1} << dib.header.biBitCount;
    ownReadExtent(held, sizeof dib.header, format->colours, possible * sizeof(OwnPixel));
}

// --- From a bitmap -----------------------------------------------------------------

namespace
{

void fetch1(const OwnDibFormat& format, const uint8_t* bytes, OwnPixel* run, int32_t count)
{
    for (int32_t i = 0; i < count; ++i)
        run[i] = format.colours[ownBit(bytes, i)];
}

void fetch4(const OwnDibFormat& format, const uint8_t* bytes, OwnPixel* run, int32_t count)
{
    for (int32_t i = 0; i < count; ++i)
        run[i] = format.colours[(i & 1) ? bytes[i >> 1] & 15 : bytes[i >> 1] >> 4];
}

void fetch8(const OwnDibFormat& format, const uint8_t* bytes, OwnPixel* run, int32_t count)
{
    for (int32_t i = 0; i < count; ++i)
        run[i] = format.colours[bytes[i]];
}

void fetch24(const OwnDibFormat&, const uint8_t* bytes, OwnPixel* run, int32_t count)
{
    for (int32_t i = 0; i < count; ++i, bytes += 3)
        run[i] = {{bytes[0], bytes[1], bytes[2], 0}};
}

// The masked bits as the high bits of a byte; low ones are not filled.
uint8_t unpackChannel(const OwnMask& mask, uint32_t word)
{
    const uint32_t value = (word & mask.bits) >> mask.shift;
    return static_cast<uint8_t>(mask.width >= 8 ? value >> (mask.width - 8)
                                                : value << (8 - mask.width));
}

template<class Word, int32_t channelCount>
void fetchMasked(const OwnDibFormat& format, const uint8_t* bytes, OwnPixel* run, int32_t count)
{
    for (int32_t i = 0; i < count; ++i, bytes += sizeof(Word)) {
        Word word;
        std::memcpy(&word, bytes, sizeof word);
        run[i] = {};
        for (int32_t c = 0; c < channelCount; ++c)
            run[i].byte[c] = unpackChannel(format.masks[c], word);
    }
}

// The default masks of a 32-bit pixel give its bytes.
void fetch32(const OwnDibFormat&, const uint8_t* bytes, OwnPixel* run, int32_t count)
{
    std::memcpy(run, bytes, static_cast<size_t>(count) * sizeof(OwnPixel));
}

} // namespace

OwnDibFetch ownChooseDibFetch(const BITMAPINFOHEADER& header)
{
    switch (header.biBitCount) {
    case 1:
        return fetch1;
    case 4:
        return fetch4;
    case 8:
        return fetch8;
    case 16:
        return fetchMasked<uint16_t, 3>;
    case 24:
        return fetch24;
    case 32:
        return header.biCompression == BI_BITFIELDS ? fetchMasked<uint32_t, 4> : fetch32;
    default:
        return nullptr;
    }
}

// --- To a bitmap -------------------------------------------------------------------

namespace
{

// Neighbours are often of one colour: the last one looked up is kept.
class ColourFinder
{
public:
    explicit ColourFinder(const OwnPalette& colours) : palette(colours) {}
    int32_t find(const OwnPixel& pixel)
    {
        if (index < 0 || std::memcmp(&pixel, &last, 3) != 0) {
            last = pixel;
            index = ownNearestColor(palette, pixel);
        }
        return index;
    }

private:
    const OwnPalette& palette;
    OwnPixel last{};
    int32_t index = -1;
};

void store1(const OwnDibFormat& format, uint8_t* bytes, const OwnPixel* run, int32_t count)
{
    ColourFinder finder(format.palette);
    for (int32_t i = 0; i < count; ++i)
        ownPutBit(bytes, i, finder.find(run[i]) != 0);
}

void store4(const OwnDibFormat& format, uint8_t* bytes, const OwnPixel* run, int32_t count)
{
    ColourFinder finder(format.palette);
    for (int32_t i = 0; i < count; ++i) {
        const int32_t index = finder.find(run[i]);
        uint8_t& pair = bytes[i >> 1];
        pair = static_cast<uint8_t>((i & 1) ? (pair & 0xF0) | index : (pair & 0x0F) | (index << 4));
    }
}

void store8(const OwnDibFormat& format, uint8_t* bytes, const OwnPixel* run, int32_t count)
{
    ColourFinder finder(format.palette);
    for (int32_t i = 0; i < count; ++i)
        bytes[i] = static_cast<uint8_t>(finder.find(run[i]));
}

void store24(const OwnDibFormat&, uint8_t* bytes, const OwnPixel* run, int32_t count)
{
    for (int32_t i = 0; i < count; ++i)
        std::memcpy(bytes + ptrdiff_t{3} * i, run[i].byte, 3);
}

uint32_t packChannel(const OwnMask& mask, uint32_t value)
{
    const uint32_t scaled = mask.width >= 8 ? value << (mask.width - 8) : value >> (8 - mask.width);
    return (scaled << mask.shift) & mask.bits;
}

template<class Word, int32_t channelCount>
void storeMasked(const OwnDibFormat& format, uint8_t* bytes, const OwnPixel* run, int32_t count)
{
    for (int32_t i = 0; i < count; ++i, bytes += sizeof(Word)) {
        uint32_t packed = 0;
        for (int32_t c = 0; c < channelCount; ++c)
            packed |= packChannel(format.masks[c], run[i].byte[c]);
        const Word word = static_cast<Word>(packed);
        std::memcpy(bytes, &word, sizeof word);
    }
}

} // namespace

OwnDibStore ownChooseDibStore(const BITMAPINFOHEADER& header)
{
    switch (header.biBitCount) {
    case 1:
        return store1;
    case 4:
        return store4;
    case 8:
        return store8;
    case 16:
        return storeMasked<uint16_t, 3>;
    case 24:
        return store24;
    case 32:
        return storeMasked<uint32_t, 4>;
    default:
        return nullptr;
    }
}
