#include "zxdll/frame.h"

#include "kernels/kernels.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace zx
{
namespace
{

// The colours in the mode's order, and transparency.
constexpr uint32_t mostChannels = 5;

bool hasMask(const Layer& layer)
{
    return layer.maskIsOn && layer.mask.present;
}

// --- Packed bitmaps ---------------------------------------------------------------------

constexpr uint32_t tableEntries = 256; // of 8-bit bitmaps

size_t pitchOf(int32_t width, uint32_t bits)
{
    return (static_cast<size_t>(width) * (bits / 8) + 3) & ~size_t{3};
}

uint64_t bitmapBytes(const Document& document, uint32_t bits)
{
    return sizeof(BITMAPINFOHEADER) + (bits == 8 ? tableEntries * sizeof(RGBQUAD) : 0) +
           uint64_t{pitchOf(document.width, bits)} * static_cast<uint64_t>(document.height);
}

struct Bitmap {
    HGLOBAL block;
    uint8_t* top; // the uppermost row, which comes last
    size_t pitch;
};

void writeGrayTable(uint8_t* table)
{
    for (uint32_t value = 0; value < tableEntries; ++value) {
        const BYTE gray = static_cast<BYTE>(std::min(value + 1, 255u));
        const RGBQUAD entry{gray, gray, gray, 0};
        std::memcpy(table + value * sizeof entry, &entry, sizeof entry);
    }
}

// With all pixels 0, and locked. False if there is no memory.
bool openBitmap(Bitmap* bitmap, const Document& document, uint32_t bits)
{
    bitmap->pitch = pitchOf(document.width, bits);
    bitmap->block = GlobalAlloc(GHND, static_cast<SIZE_T>(bitmapBytes(document, bits)));
    uint8_t* start = static_cast<uint8_t*>(GlobalLock(bitmap->block));
    if (!start)
        return false;
    const size_t rowBytes = bitmap->pitch * static_cast<size_t>(document.height);
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = document.width;
    header.biHeight = document.height;
    header.biPlanes = 1;
    header.biBitCount = static_cast<WORD>(bits);
    header.biSizeImage = static_cast<DWORD>(rowBytes);
    header.biClrUsed = bits == 8 ? tableEntries : 0;
    std::memcpy(start, &header, sizeof header);
    if (bits == 8)
        writeGrayTable(start + sizeof header);
    bitmap->top = start + bitmapBytes(document, bits) - bitmap->pitch;
    return true;
}

uint8_t* rowOf(const Bitmap& bitmap, int64_t y)
{
    return bitmap.top - static_cast<size_t>(y) * bitmap.pitch;
}

// Unlocks it and gives it to the frame, or frees it.
void closeBitmap(const Bitmap& bitmap, bool succeeded, ZxWord* word)
{
    GlobalUnlock(bitmap.block);
    if (succeeded)
        *word = reinterpret_cast<ZxWord>(bitmap.block);
    else
        GlobalFree(bitmap.block);
}

// --- Areas on the canvas -------------------------------------------------------------------

// The columns of an area that lie on the canvas.
struct Columns {
    size_t first; // of the area
    size_t count;
    size_t x; // of the first on the canvas
};

Columns visibleColumns(const Document& document, const Area& area)
{
    const int64_t from = std::max<int64_t>(area.left, 0);
    const int64_t to = std::min<int64_t>(area.left + area.width, document.width);
    if (from >= to)
        return {};
    return {static_cast<size_t>(from - area.left), static_cast<size_t>(to - from),
            static_cast<size_t>(from)};
}

bool isOnCanvas(const Document& document, int64_t y)
{
    return y >= 0 && y < document.height;
}

// --- Colours ----------------------------------------------------------------------------------

// A row's channels of 8 bits; the last is null without transparency.
struct Planes {
    const uint8_t* red;
    const uint8_t* green;
    const uint8_t* blue;
    const uint8_t* alpha;
};

void interleave24(uint8_t* to, const Planes& from, size_t count)
{
    for (size_t i = 0; i < count; ++i, to += 3) {
        to[0] = from.blue[i];
        to[1] = from.green[i];
        to[2] = from.red[i];
    }
}

// Inks are stored as what they leave of the light, and black leaves it of all.
void takeBlackOff(uint8_t* colour, const uint8_t* black, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        colour[i] = static_cast<uint8_t>((uint32_t{colour[i]} * black[i] + 127) / 255);
}

// `rows` holds the colours, `count` bytes each, and has room for three.
Planes planesOf(const Document& document, uint8_t* const rows[mostChannels], size_t count)
{
    switch (document.mode) {
    case gray:
        return {rows[0], rows[0], rows[0], rows[4]};
    case indexed:
        for (size_t i = 0; i < count; ++i) {
            const uint8_t* entry = document.palette + rows[0][i];
            rows[2][i] = entry[512];
            rows[1][i] = entry[256];
            rows[0][i] = entry[0];
        }
        break;
    case cmyk:
        for (int c = 0; c < 3; ++c)
            takeBlackOff(rows[c], rows[3], count);
        break;
    default:
        break;
    }
    return {rows[0], rows[1], rows[2], rows[4]};
}

// --- Channels together ----------------------------------------------------------------------

// The channels of a layer, each with room for a row of 8 bits.
struct ChannelSet {
    ChannelRows rows[mostChannels];
    bool open[mostChannels];
    uint8_t* narrowed[mostChannels];
    uint8_t* memory;
};

const Channel& channelOf(const Layer& layer, uint32_t index)
{
    return index < 4 ? layer.colours[index] : layer.transparency;
}

void closeSet(ChannelSet* set)
{
    for (uint32_t i = 0; i < mostChannels; ++i)
        if (set->open[i])
            closeChannel(&set->rows[i]);
    std::free(set->memory);
}

bool openSet(ChannelSet* set, const Document& document, const Layer& layer, size_t columns)
{
    *set = {};
    set->memory = static_cast<uint8_t*>(std::malloc(mostChannels * columns + 1));
    if (!set->memory)
        return false;
    for (uint32_t i = 0; i < mostChannels; ++i) {
        set->narrowed[i] = set->memory + i * columns;
        const Channel& channel = channelOf(layer, i);
        if (!channel.present)
            continue;
        if (!openChannel(&set->rows[i], channel.data, layer.area, document.format)) {
            closeSet(set);
            return false;
        }
        set->open[i] = true;
    }
    return true;
}

// Reads the next row of all channels and narrows what is visible of them.
bool readRow(ChannelSet* set, const Document& document, const Columns& columns)
{
    const uint32_t elementBytes = document.format.elementBytes;
    for (uint32_t i = 0; i < mostChannels; ++i) {
        if (!set->open[i])
            continue;
        const uint8_t* row = nextRow(&set->rows[i]);
        if (!row)
            return false;
        narrow(set->narrowed[i], row + columns.first * elementBytes, elementBytes, columns.count);
    }
    return true;
}

// --- The two bitmaps ---------------------------------------------------------------------------

void writeRow(uint8_t* row, const Columns& columns, const Planes& planes, bool withAlpha)
{
    if (withAlpha)
        quib::kernels().convert.from4Planes(row + columns.x * 4, planes.blue, planes.green,
                                            planes.red, planes.alpha, columns.count);
    else
        interleave24(row + columns.x * 3, planes, columns.count);
}

// The transparency also goes into a bitmap of its own, unless that has no block.
bool writeColours(const Document& document, const Layer& layer, const Bitmap& bitmap,
                  const Bitmap& alpha)
{
    const Columns columns = visibleColumns(document, layer.area);
    ChannelSet set;
    if (!openSet(&set, document, layer, columns.count))
        return false;
    bool good = true;
    for (int64_t row = 0; row < layer.area.height && good; ++row) {
        good = readRow(&set, document, columns);
        const int64_t y = layer.area.top + row;
        if (!good || !isOnCanvas(document, y))
            continue;
        writeRow(rowOf(bitmap, y), columns, planesOf(document, set.narrowed, columns.count),
                 layer.transparency.present);
        if (alpha.block)
            std::memcpy(rowOf(alpha, y) + columns.x, set.narrowed[4], columns.count);
    }
    closeSet(&set);
    return good;
}

// One channel in its place on the canvas.
bool writePlane(const Document& document, const Channel& channel, const Area& area,
                const Bitmap& bitmap)
{
    const Columns columns = visibleColumns(document, area);
    const uint32_t elementBytes = document.format.elementBytes;
    ChannelRows rows;
    if (!openChannel(&rows, channel.data, area, document.format))
        return false;
    const uint8_t* row = nullptr;
    int64_t y = area.top;
    for (; y < area.top + area.height && (row = nextRow(&rows)) != nullptr; ++y)
        if (isOnCanvas(document, y))
            narrow(rowOf(bitmap, y) + columns.x, row + columns.first * elementBytes, elementBytes,
                   columns.count);
    closeChannel(&rows);
    return y == area.top + area.height;
}

bool writeMask(const Document& document, const Layer& layer, const Bitmap& bitmap)
{
    for (int32_t y = 0; layer.maskDefault != 0 && y < document.height; ++y)
        std::memset(rowOf(bitmap, y), layer.maskDefault, static_cast<size_t>(document.width));
    return isEmpty(layer.maskArea) || writePlane(document, layer.mask, layer.maskArea, bitmap);
}

uint64_t elementsOf(const Area& area)
{
    return static_cast<uint64_t>(area.width) * static_cast<uint64_t>(area.height);
}

} // namespace

bool makesFrame(const Document& document, const Layer& layer)
{
    const Channel* const end = layer.colours + document.colourCount;
    const bool hasColours =
        std::any_of(layer.colours, end, [](const Channel& channel) { return channel.present; });
    return hasColours && !layer.divides && !isEmpty(layer.area);
}

bool layerIsPlausible(const Document& document, const Layer& layer)
{
    for (uint32_t i = 0; i < mostChannels; ++i) {
        const Channel& channel = channelOf(layer, i);
        if (channel.present ? !channelIsPlausible(channel.data, layer.area, document.format)
                            : i < document.colourCount)
            return false;
    }
    return !hasMask(layer) || isEmpty(layer.maskArea) ||
           channelIsPlausible(layer.mask.data, layer.maskArea, document.format);
}

FrameBytes frameBytes(const Document& document, const Layer& layer)
{
    FrameBytes bytes{};
    const bool hasAlpha = layer.transparency.present;
    bytes.bitmaps = bitmapBytes(document, hasAlpha ? 32 : 24) + bitmapBytes(document, 8);
    bytes.held = elementsOf(layer.area) * (document.colourCount + (hasAlpha ? 1 : 0));
    if (hasMask(layer) && !isEmpty(layer.maskArea))
        bytes.held += elementsOf(layer.maskArea);
    return bytes;
}

bool makeFrame(const Document& document, const Layer& layer, ZxFrame* frame)
{
    const bool hasAlpha = layer.transparency.present;
    const bool masked = hasMask(layer);
    Bitmap colour{};
    Bitmap mask{};
    const bool good = openBitmap(&colour, document, hasAlpha ? 32 : 24) &&
                      (!(masked || hasAlpha) || openBitmap(&mask, document, 8)) &&
                      writeColours(document, layer, colour, masked ? Bitmap{} : mask) &&
                      (!masked || writeMask(document, layer, mask));
    closeBitmap(colour, good, &frame->colour);
    closeBitmap(mask, good, &frame->mask);
    return good;
}

void freeFrame(const ZxFrame& frame)
{
    for (const ZxWord word : {frame.colour, frame.mask})
        if (word)
            GlobalFree(reinterpret_cast<HGLOBAL>(word));
}

} // namespace zx
