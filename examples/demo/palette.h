// The colours that a picture is shown in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

struct Palette {
    std::vector<uint32_t> colours; // bytes B, G, R, A
    std::vector<uint8_t> indices;  // a pixel's colour
};

// A palette of at most 256 colours, with the pixels' own if they have no more.
// Else the colours are the means of boxes that split the most populous spread
// (Heckbert 1982, median cut). Alphas other than 0 are taken for 255.
Palette makePalette(const std::vector<uint32_t>& pixels);
