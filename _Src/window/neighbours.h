// The rows around the pixels of a rectangle, as a window filter reads them.
#pragma once

#include "_Src/window/border.h"

// How far a window reaches from its pixel.
struct IplReach {
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
};

// Whose rows they are.
struct IplNeighbourhood {
    const IplImage* image;
    IplRect rectangle; // inside the image
    IplReach reach;
    // The elements of each pixel, which lie side by side.
    int32_t firstChannel;
    int32_t channels;
    // Whether the rectangle's rows are overwritten, each after it was asked for.
    bool inPlace;
};

// Gives the rectangle's rows one after the other, each with the rows that a window
// on it reads. Rows that lie in the image as they are wanted are the image's own; the
// others are made in a ring, of as many rows as a window has.
class IplNeighbours
{
public:
    explicit IplNeighbours(const IplNeighbourhood& neighbourhood);

    // False if there was no memory, or a tile did not come.
    bool isReady() const;

    // The rows of the next row's windows, top first, counted from 0 to reach.top +
    // reach.bottom. Each points at the rectangle's first pixel, and can be read from
    // reach.left pixels before it to reach.right pixels past the last one; bits are
    // bytes, 0 or 1. Null if a tile did not come. They hold until the next call.
    const uint8_t* const* nextRows();

private:
    bool place(int64_t row);

    const IplNeighbourhood hood;
    IplBorderSource source;
    const int64_t ringRows;
    const int64_t tailRows; // rows below the image, made before their originals change
    const int64_t slotBytes;
    IplScratch<uint8_t> slots;
    IplScratch<const uint8_t*> pointers;
    bool tilesCame = true;
    int64_t y = 0; // of the next row
};
