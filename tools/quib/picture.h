// A handle of the library that frees itself, and what the tool does to handles itself:
// making them within the limits, and changing their depth.
#pragma once

#include "tools/quib/problem.h"

#include <quibtool/quibtool.h>

#include <cstdint>
#include <memory>

struct PictureDeleter {
    void operator()(IplImage* handle) const { QuibFree(&handle); }
};
using Picture = std::unique_ptr<IplImage, PictureDeleter>;

// A warp's positions have 16 bits before the point.
constexpr int32_t mostWarpSide = 32767;

// The most bytes that the pixels of one picture may take; 1 GiB at the start.
void limitPictures(uint64_t bytes);

// What is wrong with a picture of that size: nothing, if it can be asked for.
Problem checkSize(int64_t width, int64_t height, int depth);

// Makes *out of pixels that are `word`, as QuibFillColor takes it; 24 bits: all 0.
Problem makePicture(int64_t width, int64_t height, int depth, uint32_t word, Picture* out);

// Bits per pixel.
int depthOf(const Picture& picture);

uint8_t* rowOf(IplImage* handle, int32_t y);

Problem copyPicture(const Picture& picture, Picture* copy);

// To 8 bits by the library's gray; to 1 bit by a set bit where the gray is 128 or more; to
// 24 and 32 bits by the gray in all three colours, opaque.
Problem changeDepth(int depth, Picture* picture);

// Puts the alphas of `from` into *picture, which is as large; both of 32 bits, or nothing
// is done.
Problem restoreAlpha(const Picture& from, const Picture& picture);

bool isOpaque(const Picture& picture);

// In words: a status that a function of the library returned.
Problem explainStatus(const char* function, QuibStatus status);

// Problem of a call that makes a new handle, which *picture becomes.
Problem takeResult(const char* function, QuibStatus status, IplImage* result, Picture* picture);

std::string sizeText(int64_t width, int64_t height);
