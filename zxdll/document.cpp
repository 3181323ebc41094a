#include "zxdll/document.h"

#include "platform/file.h"
#include "platform/largepages.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace zx
{
namespace
{

// --- Files ------------------------------------------------------------------------

using quib::File;

bool readAll(const File& file, void* bytes, size_t count)
{
    return file.read(bytes, count) == count;
}

bool readNumber(const File& file, size_t width, uint64_t* value)
{
    uint8_t bytes[8];
    if (!readAll(file, bytes, width))
        return false;
    *value = bigEndian(bytes, width);
    return true;
}

constexpr size_t paletteBytes = 768; // all reds, all greens, all blues

// --- The parts of a file before its layers --------------------------------------------

bool takeMode(Document* document, uint64_t mode)
{
    constexpr uint32_t colourCounts[] = {0, 1, 1, 3, 4};
    if (mode < gray || mode > cmyk)
        return false;
    document->mode = static_cast<Mode>(mode);
    document->colourCount = colourCounts[mode];
    return true;
}

// A 32-bit bitmap of the canvas has to fit 31 bits.
bool takeSize(Document* document, uint64_t width, uint64_t height)
{
    const uint64_t longest = document->large ? 300000 : 30000;
    if (width < 1 || height < 1 || width > longest || height > longest ||
        width * height > INT32_MAX / 4)
        return false;
    document->width = static_cast<int32_t>(width);
    document->height = static_cast<int32_t>(height);
    return true;
}

bool readHeader(Document* document, const File& file)
{
    uint8_t head[26];
    if (!readAll(file, head, sizeof head) || std::memcmp(head, "8BPS", 4) != 0)
        return false;
    const uint64_t version = bigEndian(head + 4, 2);
    const uint64_t channels = bigEndian(head + 12, 2);
    const uint64_t depth = bigEndian(head + 22, 2);
    if (version < 1 || version > 2 || channels < 1 || channels > 56 ||
        (depth != 8 && depth != 16 && depth != 32))
        return false;
    document->large = version == 2;
    document->format = {static_cast<uint32_t>(depth / 8), document->large ? 4u : 2u};
    return takeMode(document, bigEndian(head + 24, 2)) &&
           (document->mode != indexed || depth == 8) &&
           takeSize(document, bigEndian(head + 18, 4), bigEndian(head + 14, 4));
}

// The memory begins with the palette's place.
bool readPalette(Document* document, const File& file)
{
    uint64_t length = 0;
    if (!readNumber(file, 4, &length))
        return false;
    if (document->mode != indexed)
        return file.skip(length);
    return length >= paletteBytes && readAll(file, document->memory, paletteBytes) &&
           file.skip(length - paletteBytes);
}

bool skipResources(const File& file)
{
    uint64_t length = 0;
    return readNumber(file, 4, &length) && file.skip(length);
}

// --- The section with the layers --------------------------------------------------------

size_t lengthBytes(const Document& document)
{
    return document.large ? 8 : 4;
}

struct Section {
    Bytes bytes; // as much of it as the file has
    bool isWhole;
};

// The memory grows by what the file has of the section.
bool readSection(Document* document, const File& file, Section* section)
{
    uint64_t length = 0;
    if (!readNumber(file, lengthBytes(*document), &length))
        return false;
    const uint64_t held = std::min(length, file.left());
    if (held > PTRDIFF_MAX - paletteBytes - longestRun)
        return false;
    const size_t bytes = static_cast<size_t>(held);
    const size_t all = paletteBytes + bytes + longestRun;
    void* memory = std::realloc(document->memory, all);
    if (!memory)
        return false;
    quib::askForLargePages(memory, all);
    document->memory = static_cast<uint8_t*>(memory);
    document->palette = document->memory;
    section->bytes = {document->memory + paletteBytes, bytes};
    section->isWhole = held == length;
    std::memset(document->memory + paletteBytes + bytes, 0, longestRun);
    return readAll(file, document->memory + paletteBytes, bytes);
}

struct Block {
    char key[4];
    Bytes data;
};

bool hasKey(const Block& block, const char* key)
{
    return std::memcmp(block.key, key, 4) == 0;
}

// Whether a large document gives the block's length eight bytes.
bool hasLongLength(const Block& block)
{
    constexpr const char* keys[] = {"LMsk", "Lr16", "Lr32", "Layr", "Mt16", "Mt32", "Mtrn",
                                    "Alph", "FMsk", "lnk2", "FEid", "FXid", "PxSD"};
    return std::any_of(std::begin(keys), std::end(keys),
                       [&block](const char* key) { return hasKey(block, key); });
}

bool startsBlock(const Bytes& bytes)
{
    return bytes.left >= 4 &&
           (std::memcmp(bytes.next, "8BIM", 4) == 0 || std::memcmp(bytes.next, "8B64", 4) == 0);
}

enum class Found { yes, no, damaged };

// The next of the blocks that programs add. Writers pad their lengths to 2 or 4,
// or not at all.
Found nextBlock(const Document& document, Bytes* bytes, Block* block)
{
    for (int padding = 0; padding < 3 && bytes->left > 0 && !startsBlock(*bytes); ++padding)
        skip(*bytes, 1);
    if (!startsBlock(*bytes))
        return Found::no;
    skip(*bytes, 4);
    if (bytes->left < 4)
        return Found::damaged;
    std::memcpy(block->key, bytes->next, 4);
    skip(*bytes, 4);
    const size_t width = document.large && hasLongLength(*block) ? 8 : 4;
    uint64_t length = 0;
    const bool isThere = readNumber(*bytes, width, &length) && split(*bytes, length, &block->data);
    return isThere ? Found::yes : Found::damaged;
}

// Layers of 16 and 32 bits lie in a block of their own, at the section's end.
bool findDeepLayers(const Document& document, const Section& section, Bytes after, Bytes* layers)
{
    *layers = {};
    uint64_t maskLength = 0;
    if (!readNumber(after, 4, &maskLength) || !skip(after, maskLength))
        return section.isWhole; // a section may end early
    Block block;
    Found found = Found::no;
    while ((found = nextBlock(document, &after, &block)) == Found::yes) {
        if (!hasKey(block, "Lr16") && !hasKey(block, "Lr32") && !hasKey(block, "Layr"))
            continue;
        *layers = block.data;
        return true;
    }
    return found == Found::no && section.isWhole;
}

// What the section has from the count of layers on; nothing for a flat picture.
bool findLayers(const Document& document, const Section& section, Bytes* layers)
{
    *layers = {};
    Bytes bytes = section.bytes;
    if (bytes.left == 0)
        return section.isWhole;
    uint64_t length = 0;
    if (!readNumber(bytes, lengthBytes(document), &length))
        return false;
    if (length == 0)
        return findDeepLayers(document, section, bytes, layers);
    if (section.isWhole && length > bytes.left)
        return false;
    return split(bytes, std::min<uint64_t>(length, bytes.left), layers) && layers->left > 0;
}

// --- Records of layers ------------------------------------------------------------------

struct Record {
    Area area;
    Bytes channels; // a number and a length each
    Bytes extra;
};

bool readArea(Bytes& bytes, Area* area)
{
    int32_t top = 0;
    int32_t left = 0;
    int32_t bottom = 0;
    int32_t right = 0;
    if (!readInt32(bytes, &top) || !readInt32(bytes, &left) || !readInt32(bytes, &bottom) ||
        !readInt32(bytes, &right))
        return false;
    *area = {left, top, int64_t{right} - left, int64_t{bottom} - top};
    return true;
}

bool readRecord(const Document& document, Bytes& bytes, Record* record)
{
    uint64_t channelCount = 0;
    uint64_t extraLength = 0;
    if (!readArea(bytes, &record->area) || !readNumber(bytes, 2, &channelCount) ||
        !split(bytes, channelCount * (2 + lengthBytes(document)), &record->channels))
        return false;
    const uint8_t* signature = bytes.next;
    // Signature, blend mode, opacity, clipping, flags, a filler.
    return skip(bytes, 12) && std::memcmp(signature, "8BIM", 4) == 0 &&
           readNumber(bytes, 4, &extraLength) && split(bytes, extraLength, &record->extra);
}

// The place of a channel's data in the layer; null for one that is not needed.
Channel* placeOf(const Document& document, Layer* layer, uint64_t number)
{
    constexpr uint64_t transparency = 0xFFFF;
    constexpr uint64_t mask = 0xFFFE;
    if (number == transparency)
        return &layer->transparency;
    if (number == mask)
        return &layer->mask;
    return number < document.colourCount ? &layer->colours[number] : nullptr;
}

// Takes each channel's data off the front, in the record's order.
bool takeChannels(const Document& document, Bytes channels, Bytes* data, Layer* layer)
{
    while (channels.left > 0) {
        uint64_t number = 0;
        uint64_t length = 0;
        Bytes bytes;
        if (!readNumber(channels, 2, &number) ||
            !readNumber(channels, lengthBytes(document), &length) || !split(*data, length, &bytes))
            return false;
        Channel* channel = placeOf(document, layer, number);
        if (channel && !channel->present)
            *channel = {true, bytes};
    }
    return true;
}

bool readMask(Bytes& extra, Layer* layer)
{
    constexpr uint64_t disabled = 2;
    Bytes mask;
    uint64_t length = 0;
    if (!readNumber(extra, 4, &length) || !split(extra, length, &mask))
        return false;
    if (length == 0)
        return true;
    uint64_t defaultColour = 0;
    uint64_t flags = 0;
    if (!readArea(mask, &layer->maskArea) || !readNumber(mask, 1, &defaultColour) ||
        !readNumber(mask, 1, &flags))
        return false;
    layer->maskDefault = static_cast<uint8_t>(defaultColour);
    layer->maskIsOn = (flags & disabled) == 0;
    return true;
}

bool skipBlendingRangesAndName(Bytes& extra)
{
    uint64_t length = 0;
    if (!readNumber(extra, 4, &length) || !skip(extra, length) || !readNumber(extra, 1, &length))
        return false;
    // With its length byte the name is padded to 4; a last padding may be missing.
    const uint64_t padding = 3 - length % 4;
    return skip(extra, length) && skip(extra, std::min<uint64_t>(padding, extra.left));
}

// Whether the layer is one end of a group, which its blocks tell.
bool readDivider(const Document& document, Bytes extra, bool* divides)
{
    Block block;
    Found found = Found::no;
    while ((found = nextBlock(document, &extra, &block)) == Found::yes) {
        uint64_t kind = 0;
        if ((hasKey(block, "lsct") || hasKey(block, "lsdk")) && readNumber(block.data, 4, &kind))
            *divides = kind >= 1 && kind <= 3;
    }
    return found == Found::no;
}

bool readExtra(const Document& document, Bytes extra, Layer* layer)
{
    if (extra.left == 0)
        return true;
    return readMask(extra, layer) && skipBlendingRangesAndName(extra) &&
           readDivider(document, extra, &layer->divides);
}

// Divides what there is of the layers into records and channels.
bool divideLayers(Document* document, Bytes layers)
{
    if (layers.left == 0)
        return true;
    uint64_t count = 0;
    if (!readNumber(layers, 2, &count))
        return false;
    // A negative count says something of the merged picture's transparency.
    document->layerCount = static_cast<uint32_t>(std::abs(static_cast<int16_t>(count)));
    document->records = layers;
    Record record;
    for (uint32_t i = 0; i < document->layerCount; ++i)
        if (!readRecord(*document, layers, &record))
            return false;
    document->data = layers;
    return true;
}

bool readDocument(Document* document, const File& file)
{
    Section section;
    Bytes layers;
    document->memory = static_cast<uint8_t*>(std::malloc(paletteBytes));
    return document->memory && readHeader(document, file) && readPalette(document, file) &&
           skipResources(file) && readSection(document, file, &section) &&
           findLayers(*document, section, &layers) && divideLayers(document, layers);
}

} // namespace

bool openDocument(Document* document, const char* fileName)
{
    *document = {};
    const File file(fileName);
    if (file.isOpen() && readDocument(document, file))
        return true;
    closeDocument(document);
    return false;
}

void closeDocument(Document* document)
{
    std::free(document->memory);
    document->memory = nullptr;
}

LayerWalk layersOf(const Document& document)
{
    return {document.records, document.data};
}

bool nextLayer(const Document& document, LayerWalk* walk, Layer* layer)
{
    Record record;
    *layer = {};
    if (!readRecord(document, walk->records, &record))
        return false;
    layer->area = record.area;
    return takeChannels(document, record.channels, &walk->data, layer) &&
           readExtra(document, record.extra, layer);
}

} // namespace zx
