// Layers as bitmaps of the canvas's size.
#pragma once

#include "zxdll/document.h"
#include "zxdll/zxdll.h"

namespace zx
{

// Whether the layer makes a frame: it has pixels and is no end of a group.
bool makesFrame(const Document& document, const Layer& layer);

// Whether all that a frame needs of the layer's channels can be there.
bool layerIsPlausible(const Document& document, const Layer& layer);

// The bytes of a frame's bitmaps, and of the channels that they are made of, one
// byte an element. The layer is plausible.
struct FrameBytes {
    uint64_t bitmaps;
    uint64_t held;
};
FrameBytes frameBytes(const Document& document, const Layer& layer);

// For a plausible layer. False, with nothing to free, if a channel is damaged or
// memory runs out.
bool makeFrame(const Document& document, const Layer& layer, ZxFrame* frame);
void freeFrame(const ZxFrame& frame);

} // namespace zx
