// The formats of files, each in its own unit. PNG and JPEG may be left out of a build.
#pragma once

#include "tools/quib/files.h"

#include <cstdio>

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// The reason of the last failed call of the system, in words.
std::string systemReason();

Problem loadBmp(const std::string& file, Picture* picture);
Problem saveBmp(const Picture& picture, std::FILE* file);

#ifdef QUIB_WITH_PNG
std::string pngVersion();
Problem loadPng(std::FILE* file, Picture* picture);
Problem savePng(const Picture& picture, const SaveOptions& options, std::FILE* file);
#endif

#ifdef QUIB_WITH_JPEG
std::string jpegVersion();
Problem loadJpeg(std::FILE* file, Picture* picture);
Problem saveJpeg(const Picture& picture, const SaveOptions& options, std::FILE* file);
#endif
