// Calls that are checked and timed, and pictures made for the demo's sections.
#pragma once

#include "examples/demo/demo.h"

// Ends the program with a message.
[[noreturn]] void fail(const std::string& message);

// Ends the program if a call failed.
void check(QuibStatus status, const std::string& call);

// The median time of several runs, in milliseconds, each after a preparation that
// is not timed. A run that fails ends the program.
double timed(const Call& call, const std::function<void()>& prepare = nullptr);

QuibInfo infoOf(const IplImage* handle);
uint8_t* rowOf(const IplImage* handle, int y);

Handle create(int width, int height, int bitDepth);
// A 32-bit handle of an image's size, with transparent black.
Handle emptyLike(const IplImage* image);
Handle copyOf(const IplImage* image);

Handle resized(const IplImage* source, int width, int height, int mode);
Handle cropped(const IplImage* image, int left, int top, int width, int height);

// The largest size of this aspect inside a box.
QuibPoint fitted(const QuibInfo& info, int boxWidth, int boxHeight);

// A 24-bit handle of a 32-bit one's colours.
Handle dropAlpha(const IplImage* image);

// An 8-bit plane: an ellipse with a soft edge.
Handle softEllipse(int width, int height);

// A 1-bit handle: 1 where green is more than 110.
Handle bitsOf(const IplImage* image);

// The corner and size of what details are taken from: part of a side, even.
QuibRect detailOf(const IplImage* image, int width, int height);

// Windows read the nearest pixel outside the image.
void replicateBorder(IplImage* image);
