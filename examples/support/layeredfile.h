// PSD files of layers in RGB, eight bits a channel and uncompressed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct Layer {
    std::string name; // of at most 255 bytes
    int width;
    int height;
    std::vector<uint8_t> pixels; // bytes R, G, B, A, top row first
};

// Writes the layers, the lowest first and all of one size. False if the file cannot
// be written.
bool writeLayeredFile(const std::string& file, const std::vector<Layer>& layers);
