// What the demo's sections have in common: calls that are checked and timed, and
// pictures made for them.
#pragma once

#include "examples/support/handle.h"

#include <functional>
#include <string>

// Ends the program with a message.
[[noreturn]] void fail(const std::string& message);

// Ends the program if a call failed.
void check(QuibStatus status, const char* call);

// The median time of several runs, in milliseconds.
double timed(const std::function<void()>& work);

QuibInfo infoOf(const IplImage* handle);
Handle create(int width, int height, int bitDepth);
Handle copyOf(const IplImage* image);

// The image in another size, and the time that it took.
Handle resized(const IplImage* source, int width, int height, int mode, double* milliseconds);

// The largest size of this aspect inside a box.
QuibPoint fitted(const QuibInfo& info, int boxWidth, int boxHeight);

// The 32-bit image with an even number of rows, as the row-pair modes ask for.
Handle evenRows(const IplImage* image);

// A 24-bit handle of a 32-bit one's colours.
Handle dropAlpha(const IplImage* image);

// An 8-bit plane: an ellipse with a soft edge.
Handle softEllipse(int width, int height);
