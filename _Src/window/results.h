// Where the rows go that a window filter makes.
#pragma once

#include "_Src/image/scratch.h"
#include "_Src/walk/target.h"

struct IplResultShape {
    const IplImage* dst;
    const IplImage* mask; // null: none
    int32_t width;        // of what is written, from the corner of the region on
    int32_t height;
    int32_t channels; // the elements of each pixel in the rows that are made
    // The destination's channels that they are for: channels side by side in each
    // plane, or with `split` each channel as a plane of its own; planes from this
    // one on, one for each element or one for all.
    bool split;
    int32_t plane;
    int32_t planes;
    int32_t wanted; // how many of the elements side by side are written
};

// Takes rows one after the other, from the top on, for all columns or for one strip
// after the other. A row is made in its place in the image where it can be. Tiles are
// written when a row of them is complete.
class IplResults
{
public:
    explicit IplResults(const IplResultShape& shape);

    // False if there was no memory.
    bool isReady() const;

    // Turns to a strip of columns; tiled images have but one.
    void turnTo(int32_t x, int32_t width);

    // Where row y is to be made, its bits as bytes.
    void* place(int32_t y) const;
    // Writes what has been made there. False if a tile did not come.
    bool finish(int32_t y);

private:
    IplTarget open(const IplImage* dst, const IplImage* mask, int32_t width, int32_t height) const;
    uint8_t* madeRow(int32_t y) const;
    template<class Element>
    void deliverPlanes(const IplTarget& to, int32_t y, const uint8_t* row) const;
    void deliver(const IplTarget& to, int32_t y, const uint8_t* row) const;
    bool storeTiles(int32_t top, int32_t end) const;

    const IplResultShape shape;
    const int64_t rowBytes;
    const int32_t firstRow; // of the destination's region
    const int32_t bandRows; // how many rows are kept: those of a row of tiles, or one
    IplScratch<uint8_t> rows;
    IplScratch<uint8_t> bits;
    IplTarget target{}; // without tiles
    bool inTheirPlace = false;
    int32_t bandTop = 0; // the first row that is kept
};
