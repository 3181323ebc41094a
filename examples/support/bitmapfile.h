// BMP files: reading one's bytes, telling what keeps it from being read, and
// writing one.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The file's bytes; empty, with `problem` set, if it is not a bitmap that the
// examples can use. The message names the file and says what is wrong with it.
std::vector<uint8_t> readBitmapFile(const std::string& file, std::string* problem);

// Writes a packed bitmap (header, then pixels) as a BMP file.
bool writeBitmapFile(const std::string& file, const void* packed, size_t bytes);
