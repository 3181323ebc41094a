// What the families of operations share.
#pragma once

#include "tools/quib/operation.h"

#include <algorithm>

constexpr double mostPixels = 1000000;

// Colours, alpha or both: what an operation on all channels leaves in a 32-bit picture.
Parameter alphaOption(const char* fallback);

// The first function of the operation.
std::string functionOf(const Step& step);

// Takes the result of a call, as takeResult does, with the alphas that --alpha asks for.
Problem finishStep(const Step& step, QuibStatus status, IplImage* result, Picture* picture);

// Another picture of the command line, brought to that depth.
Problem loadOther(const std::string& file, int depth, Picture* other);

// The word that fills a picture of that depth with a colour: its gray at 1 and 8 bits.
uint32_t wordOf(const Value& colour, int depth);

// The place of a word in the choices of the operation's parameter.
int32_t choiceOf(const Step& step, const char* parameter);

// The part of (left, top, right, bottom) inside a picture; an empty one if they do not meet.
struct Box {
    int64_t left;
    int64_t top;
    int64_t right;
    int64_t bottom;

    bool isEmpty() const { return left >= right || top >= bottom; }
};
Box boxOf(const Value& rectangle);
Box clip(const Box& box, const Picture& picture);

// Both sides at most so long.
Problem checkSides(const Picture& picture, int32_t most);
