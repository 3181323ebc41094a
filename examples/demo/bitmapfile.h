// Reading a BMP file's bytes and telling what keeps the demo from using it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The file's bytes; empty, with `problem` set, if it is not a bitmap that the
// demo can use. The message names the file and says what is wrong with it.
std::vector<uint8_t> readBitmapFile(const std::string& file, std::string* problem);

// Writes a packed bitmap (header, then pixels) as a BMP file.
bool writeBitmapFile(const std::string& file, const void* packed, size_t bytes);
