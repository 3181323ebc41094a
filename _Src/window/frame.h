// The frame that every window filter goes through: the rectangle that its images have
// in common, their masks, channels, orders and tiles. A filter adds its names, its
// checks, and what it makes of one row.
#pragma once

#include "_Src/window/neighbours.h"

// A window around a pixel.
struct IplWindow {
    int32_t nCols;
    int32_t nRows;
    int32_t anchorX; // the pixel's own place in the window
    int32_t anchorY;
};

inline IplReach ownReach(const IplWindow& window)
{
    return {window.anchorX, window.anchorY, window.nCols - 1 - window.anchorX,
            window.nRows - 1 - window.anchorY};
}

// One row of results and the rows that its windows read.
struct IplWindowRow {
    void* result;               // width * channels elements; a bit is a byte, 0 or 1
    const uint8_t* const* rows; // as IplNeighbours gives them
    int32_t width;              // pixels
    int32_t channels;           // elements of each, side by side; not all may be wanted
    int32_t y;                  // counts up from 0; at 0 other columns or channels begin
};

struct IplWindowJob {
    const IplImage* src; // checked, of one depth with dst
    IplImage* dst;       // may be src, or have pixels in common with it
    IplReach reach;
    // Whether a pixel's channels are wanted side by side in every data order.
    bool vectors = false;
    // The most columns to work on at a time; 0: all.
    int32_t stripColumns = 0;
};

// The most elements that the rows of a call have, with all that their windows read.
int64_t ownMostElements(const IplWindowJob& job);

enum class IplWindowEnd {
    complete,
    noMemory, // or the filter gave up
    noTile,   // a tile did not come
};

// Makes the results of the common rectangle of the images' regions and masks, which
// are paired from their corners: rows from the top on, for each strip of columns and
// each channel that is not made together with others. They are written where the
// masks have a 1, in all channels but alpha or in the channels of interest. Rows are
// those of the source as it was before the call. `work` is called for each row, and
// gives false to end the work.
IplWindowEnd ownFilterRows(const IplWindowJob& job, bool (*work)(void* state, const IplWindowRow&),
                           void* state);

template<class Work>
IplWindowEnd ownFilterWindows(const IplWindowJob& job, Work&& work)
{
    return ownFilterRows(
        job,
        [](void* state, const IplWindowRow& row) {
            return (*static_cast<std::remove_reference_t<Work>*>(state))(row);
        },
        &work);
}
