// A small translucent panel with lines of text.
#pragma once

#include "examples/support/handle.h"

#include <string>
#include <vector>

struct Panel {
    Handle pixels; // 32-bit; its alpha is the panel's shape
    Handle shape;  // 8-bit: how much of each pixel the shape covers
};

// Writes the lines into the panel, which is made anew if they need another
// size. Capitals, digits and a few signs are known; anything else is a blank.
void writePanel(Panel* panel, const std::vector<std::string>& lines);
