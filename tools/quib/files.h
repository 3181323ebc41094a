// Pictures in files.
#pragma once

#include "tools/quib/picture.h"

#include <string>
#include <vector>

enum class Format { none, bmp, png, jpeg, psd };

struct SaveOptions {
    int quality = 90;                 // of JPEG, 1 to 100
    int compression = 6;              // of PNG, 0 to 9
    uint32_t background = 0xFFFFFFFF; // of JPEG, which has no alpha: a word as of QuibFillColor
};

// By the name's ending, in any case; none if it tells nothing.
Format formatOfName(const std::string& name);

// The endings of files that can be read, or written, with their dots.
std::vector<std::string> readableEndings();
std::vector<std::string> writableEndings();

// Reads a picture by what the file begins with. "FILE.psd:mask" is the mask of a PSD file.
Problem loadPicture(const std::string& file, Picture* picture);

// Writes the picture to a file.
Problem savePicture(const Picture& picture, Format format, const SaveOptions& options,
                    const std::string& file);

// What this program was built with, for --version.
std::string libraryVersions();
