// Writes PSD files for tests, of any kind and with any lie in them, and says what
// a reader has to make of the honest ones.
#pragma once

#include "tests/support/dibs.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

// How a channel's rows are coded.
enum class PsdCoding : uint16_t { raw, runs, deflated, differences };

struct PsdArea {
    int32_t left;
    int32_t top;
    int32_t width;
    int32_t height;
};

// A channel's elements, one number each: up to 255, 65535, or the bits of a float.
using PsdElements = std::vector<uint32_t>;

struct PsdMask {
    PsdArea area;
    uint8_t defaultColour = 0;
    uint8_t flags = 0;
    PsdElements elements;
};

struct PsdLayer {
    PsdArea area;
    std::map<int32_t, PsdElements> channels; // by number; -1 is transparency
    std::optional<PsdMask> mask;
    uint32_t divider = 0; // nonzero: the kind of a divider of groups
    PsdCoding coding = PsdCoding::raw;
    bool isBare = false; // with nothing but its area and channels
};

struct PsdFile {
    int32_t width;
    int32_t height;
    uint16_t version = 1;
    uint16_t depth = 8;
    uint16_t mode = 3; // 1 gray, 2 indexed, 3 RGB, 4 CMYK
    Bytes palette = {};
    std::vector<PsdLayer> layers = {};
    bool inBlock = false;   // layers in an added block, as those of 16 and 32 bits
    size_t bytesBefore = 0; // in another block that stands before it, if any
    size_t blockAlign = 1;  // to which that is padded
};

// --- Streams ---------------------------------------------------------------------------

inline void appendBig(Bytes& bytes, uint64_t value, int32_t width)
{
    for (int32_t shift = (width - 1) * 8; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<uint8_t>(value >> shift));
}

inline void append(Bytes& bytes, const Bytes& more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
}

// A zlib stream of stored blocks.
inline Bytes psdStore(const Bytes& plain)
{
    Bytes stream = {0x78, 0x01};
    size_t at = 0;
    do {
        const size_t count = std::min<size_t>(plain.size() - at, 65535);
        stream.push_back(at + count == plain.size());
        for (const size_t number : {count, ~count})
            for (const int32_t shift : {0, 8})
                stream.push_back(static_cast<uint8_t>(number >> shift));
        const auto start = plain.begin() + static_cast<ptrdiff_t>(at);
        stream.insert(stream.end(), start, start + static_cast<ptrdiff_t>(count));
        at += count;
    } while (at < plain.size());
    uint32_t a = 1;
    uint32_t b = 0;
    for (const uint8_t byte : plain) {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    appendBig(stream, b << 16 | a, 4);
    return stream;
}

// Runs of equal bytes where there are two or more, and what is between them.
inline Bytes psdRuns(const Bytes& row)
{
    Bytes runs;
    for (size_t i = 0; i < row.size();) {
        size_t count = 1;
        while (i + count < row.size() && count < 128 && row[i + count] == row[i])
            ++count;
        if (count > 1) {
            runs.push_back(static_cast<uint8_t>(257 - count));
            runs.push_back(row[i]);
            i += count;
            continue;
        }
        while (i + count < row.size() && count < 128 && row[i + count] != row[i + count - 1])
            ++count;
        runs.push_back(static_cast<uint8_t>(count - 1));
        for (size_t k = 0; k < count; ++k)
            runs.push_back(row[i + k]);
        i += count;
    }
    return runs;
}

// The differences of a row to the left neighbours.
inline Bytes psdDifferences(const Bytes& row, uint16_t depth)
{
    Bytes result(row.size());
    const size_t count = row.size() / (depth / 8);
    if (depth == 16) {
        for (size_t i = 0; i < count; ++i) {
            const int32_t now = row[i * 2] * 256 + row[i * 2 + 1];
            const int32_t before = i > 0 ? row[i * 2 - 2] * 256 + row[i * 2 - 1] : 0;
            result[i * 2] = static_cast<uint8_t>((now - before) >> 8);
            result[i * 2 + 1] = static_cast<uint8_t>(now - before);
        }
        return result;
    }
    Bytes bytes = row;
    for (size_t i = 0; depth == 32 && i < row.size(); ++i)
        bytes[i % 4 * count + i / 4] = row[i];
    for (size_t i = 0; i < row.size(); ++i)
        result[i] = static_cast<uint8_t>(bytes[i] - (i > 0 ? bytes[i - 1] : 0));
    return result;
}

// --- Files ------------------------------------------------------------------------------

inline std::vector<Bytes> psdRows(const PsdElements& elements, int32_t width, uint16_t depth)
{
    std::vector<Bytes> rows;
    for (size_t i = 0; i < elements.size(); ++i) {
        if (width < 1 || i % static_cast<size_t>(width) == 0)
            rows.emplace_back();
        appendBig(rows.back(), elements[i], depth / 8);
    }
    return rows;
}

// With the coding's number in front.
inline Bytes psdChannel(const PsdFile& file, const PsdElements& elements, int32_t width,
                        PsdCoding coding)
{
    Bytes counts;
    Bytes data;
    for (const Bytes& row : psdRows(elements, width, file.depth)) {
        const Bytes coded = coding == PsdCoding::runs          ? psdRuns(row)
                            : coding == PsdCoding::differences ? psdDifferences(row, file.depth)
                                                               : row;
        if (coding == PsdCoding::runs)
            appendBig(counts, coded.size(), file.version == 2 ? 4 : 2);
        append(data, coded);
    }
    if (coding >= PsdCoding::deflated)
        data = psdStore(data);
    Bytes channel;
    appendBig(channel, static_cast<uint16_t>(coding), 2);
    append(channel, counts);
    append(channel, data);
    return channel;
}

inline void appendArea(Bytes& bytes, const PsdArea& area)
{
    for (const int64_t edge : {int64_t{area.top}, int64_t{area.left},
                               int64_t{area.top} + area.height, int64_t{area.left} + area.width})
        appendBig(bytes, static_cast<uint32_t>(edge), 4);
}

inline Bytes psdExtra(const PsdLayer& layer)
{
    Bytes extra;
    if (layer.isBare)
        return extra;
    appendBig(extra, layer.mask ? 20 : 0, 4);
    if (layer.mask) {
        appendArea(extra, layer.mask->area);
        append(extra, {layer.mask->defaultColour, layer.mask->flags, 0, 0});
    }
    appendBig(extra, 0, 4);                            // no blending ranges
    append(extra, {5, 'l', 'a', 'y', 'e', 'r', 0, 0}); // the name, padded
    append(extra, {'8', 'B', 'I', 'M', 'l', 'u', 'n', 'i', 0, 0, 0, 3, 1, 2, 3, 0});
    if (layer.divider) {
        append(extra, {'8', 'B', 'I', 'M', 'l', 's', 'c', 't', 0, 0, 0, 4});
        appendBig(extra, layer.divider, 4);
    }
    return extra;
}

// The layer's record goes to `records` and its channels to `data`.
inline void appendLayer(const PsdFile& file, const PsdLayer& layer, Bytes& records, Bytes& data)
{
    const int32_t lengthBytes = file.version == 2 ? 8 : 4;
    appendArea(records, layer.area);
    appendBig(records, layer.channels.size() + (layer.mask ? 1 : 0), 2);
    const auto appendChannel = [&](int32_t number, const PsdElements& elements, int32_t width) {
        const Bytes channel = psdChannel(file, elements, width, layer.coding);
        appendBig(records, static_cast<uint16_t>(number), 2);
        appendBig(records, channel.size(), lengthBytes);
        append(data, channel);
    };
    for (const auto& [number, elements] : layer.channels)
        appendChannel(number, elements, layer.area.width);
    if (layer.mask)
        appendChannel(-2, layer.mask->elements, layer.mask->area.width);
    append(records, {'8', 'B', 'I', 'M', 'n', 'o', 'r', 'm', 255, 0, 0, 0});
    const Bytes extra = psdExtra(layer);
    appendBig(records, extra.size(), 4);
    append(records, extra);
}

inline Bytes psdHead(const PsdFile& file)
{
    Bytes head = {'8', 'B', 'P', 'S'};
    appendBig(head, file.version, 2);
    appendBig(head, 0, 6);
    appendBig(head, 3, 2);
    appendBig(head, static_cast<uint32_t>(file.height), 4);
    appendBig(head, static_cast<uint32_t>(file.width), 4);
    appendBig(head, file.depth, 2);
    appendBig(head, file.mode, 2);
    appendBig(head, file.palette.size(), 4);
    append(head, file.palette);
    appendBig(head, 6, 4); // resources
    append(head, {1, 2, 3, 4, 5, 6});
    return head;
}

// Where the bytes of the last layer's channels end is where the file ends: the
// lengths speak of an end of the section that is not there.
inline Bytes psdBytes(const PsdFile& file, int64_t tail = 0)
{
    Bytes layers;
    appendBig(layers, file.layers.size(), 2);
    Bytes data;
    for (const PsdLayer& layer : file.layers)
        appendLayer(file, layer, layers, data);
    append(layers, data);
    const int32_t lengthBytes = file.version == 2 ? 8 : 4;
    Bytes section;
    if (file.inBlock) {
        appendBig(section, 0, lengthBytes);
        appendBig(section, 0, 4);
        if (const size_t count = file.bytesBefore) {
            append(section, {'8', 'B', 'I', 'M', 'P', 'a', 't', 't'});
            appendBig(section, count, 4);
            append(section, Bytes(count, 8));
            append(section,
                   Bytes((file.blockAlign - count % file.blockAlign) % file.blockAlign, 0));
        }
        const char* key = file.depth == 32 ? "8BIMLr32" : "8BIMLr16";
        section.insert(section.end(), key, key + 8);
    }
    appendBig(section, layers.size(), lengthBytes);
    append(section, layers);
    Bytes bytes = psdHead(file);
    appendBig(bytes, section.size() + static_cast<uint64_t>(tail), lengthBytes);
    append(bytes, section);
    return bytes;
}

// --- What is to come of it -----------------------------------------------------------------

struct PsdExpectedFrame {
    Bytes colour; // pixels of 3 or 4 bytes, top row first
    bool withAlpha;
    std::optional<Bytes> mask;
};

inline uint8_t psdNarrow(uint32_t element, uint16_t depth)
{
    if (depth == 8)
        return static_cast<uint8_t>(element);
    if (depth == 16)
        return static_cast<uint8_t>(element >> 8);
    float value;
    std::memcpy(&value, &element, 4);
    const double level = static_cast<double>(value) * 255.0;
    if (level >= 255.0)
        return 255;
    return level > 0.0 ? static_cast<uint8_t>(level + 0.5) : uint8_t{0};
}

inline std::array<uint8_t, 3> psdColour(const PsdFile& file, const std::array<uint8_t, 4>& in)
{
    switch (file.mode) {
    case 1:
        return {in[0], in[0], in[0]};
    case 2:
        return {file.palette[512u + in[0]], file.palette[256u + in[0]], file.palette[in[0]]};
    case 4: {
        const auto lit = [&in](size_t c) {
            return static_cast<uint8_t>(static_cast<double>(in[c]) * in[3] / 255.0 + 0.5);
        };
        return {lit(2), lit(1), lit(0)};
    }
    default:
        return {in[2], in[1], in[0]};
    }
}

// The value at canvas position x, y of a plane that lies at an area.
inline uint8_t psdAt(const PsdFile& file, const PsdElements& elements, const PsdArea& area,
                     int64_t x, int64_t y, uint8_t outside)
{
    x -= area.left;
    y -= area.top;
    if (x < 0 || y < 0 || x >= area.width || y >= area.height)
        return outside;
    return psdNarrow(elements[static_cast<size_t>(y * area.width + x)], file.depth);
}

inline PsdExpectedFrame psdFrame(const PsdFile& file, const PsdLayer& layer)
{
    PsdExpectedFrame frame{{}, layer.channels.count(-1) > 0, {}};
    const bool masked = layer.mask && !(layer.mask->flags & 2);
    if (masked || frame.withAlpha)
        frame.mask.emplace();
    for (int32_t y = 0; y < file.height; ++y) {
        for (int32_t x = 0; x < file.width; ++x) {
            const bool inside = x >= layer.area.left && y >= layer.area.top &&
                                x - int64_t{layer.area.left} < layer.area.width &&
                                y - int64_t{layer.area.top} < layer.area.height;
            std::array<uint8_t, 4> in{};
            uint8_t alpha = 0;
            for (const auto& [number, elements] : layer.channels) {
                const uint8_t value = psdAt(file, elements, layer.area, x, y, 0);
                if (number == -1)
                    alpha = value;
                else if (number >= 0 && number < 4)
                    in[static_cast<size_t>(number)] = value;
            }
            const auto colour = inside ? psdColour(file, in) : std::array<uint8_t, 3>{};
            frame.colour.insert(frame.colour.end(), colour.begin(), colour.end());
            if (frame.withAlpha)
                frame.colour.push_back(alpha);
            if (masked)
                frame.mask->push_back(psdAt(file, layer.mask->elements, layer.mask->area, x, y,
                                            layer.mask->defaultColour));
            else if (frame.withAlpha)
                frame.mask->push_back(alpha);
        }
    }
    return frame;
}

inline std::vector<PsdExpectedFrame> psdFrames(const PsdFile& file)
{
    std::vector<PsdExpectedFrame> frames;
    for (const PsdLayer& layer : file.layers)
        if (!layer.divider && layer.area.width > 0 && layer.area.height > 0)
            frames.push_back(psdFrame(file, layer));
    return frames;
}

// --- Random layers -----------------------------------------------------------------------------

inline PsdElements psdRandomElements(const PsdArea& area, uint16_t depth, Random& random)
{
    PsdElements elements;
    uint32_t value = 0;
    for (int64_t i = 0; i < int64_t{area.width} * area.height; ++i) {
        // Runs of all lengths.
        if (i == 0 || random.between(0, 3) == 0)
            value = depth == 8 ? random.next() >> 24 : random.next() >> 16;
        if (depth == 32) {
            const float level = static_cast<float>(value) / 60000.0f - 0.04f;
            uint32_t bits;
            std::memcpy(&bits, &level, 4);
            elements.push_back(bits);
        } else {
            elements.push_back(value);
        }
    }
    return elements;
}

inline PsdLayer psdRandomLayer(const PsdFile& file, const PsdArea& area, bool transparent,
                               bool masked, Random& random)
{
    PsdLayer layer{area, {}, {}, 0, PsdCoding::raw};
    const int32_t colours = file.mode == 3 ? 3 : file.mode == 4 ? 4 : 1;
    for (int32_t number = transparent ? -1 : 0; number < colours; ++number)
        layer.channels[number] = psdRandomElements(area, file.depth, random);
    if (masked) {
        const PsdArea place{random.between(-4, 6), random.between(-4, 6), random.between(1, 20),
                            random.between(1, 20)};
        layer.mask = PsdMask{place, static_cast<uint8_t>(random.next() >> 24), 0,
                             psdRandomElements(place, file.depth, random)};
    }
    return layer;
}
