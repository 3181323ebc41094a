// A PSD file: its header, and its layers one after the other.
#pragma once

#include "zxdll/channel.h"

namespace zx
{

enum Mode : uint32_t { gray = 1, indexed = 2, rgb = 3, cmyk = 4 };

struct Document {
    bool large; // of version 2, whose lengths are longer
    int32_t width;
    int32_t height;
    ChannelFormat format;
    Mode mode;
    uint32_t colourCount; // channels of the mode
    uint8_t* memory;      // owns all of the following
    const uint8_t* palette;
    uint32_t layerCount;
    Bytes records; // the layers', then
    Bytes data;    // their channels'
};

struct Channel {
    bool present;
    Bytes data;
};

struct Layer {
    Area area;    // width and height may be negative
    bool divides; // begins or ends a group
    Channel colours[4];
    Channel transparency;
    bool maskIsOn; // there is a mask, and it is not disabled
    Area maskArea;
    uint8_t maskDefault; // outside the area
    Channel mask;
};

// Reads a file up to the end of its layers. False, with nothing to close, for a
// file that cannot be read, of another kind or damaged.
bool openDocument(Document* document, const char* fileName);
void closeDocument(Document* document);

// A walk over the layers, the lowest first.
struct LayerWalk {
    Bytes records;
    Bytes data;
};
LayerWalk layersOf(const Document& document);
// False for a record that is damaged or whose channels are not all there.
bool nextLayer(const Document& document, LayerWalk* walk, Layer* layer);

inline bool isEmpty(const Area& area)
{
    return area.width <= 0 || area.height <= 0;
}

} // namespace zx
