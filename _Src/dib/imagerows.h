// Pixels as they lie in an image, to and from working pixels.
#pragma once

#include "_Src/dib/palette.h"
#include "_Src/ipl.h"

#include <cstddef>

// Where an image's pixels lie, the row that is shown at the top first.
struct OwnImageRows {
    uint8_t* top;
    ptrdiff_t rowStep;     // bytes from row to row
    ptrdiff_t pixelStep;   // 0 at depth 1
    ptrdiff_t channelStep; // bytes from channel to channel
};

// From width, depth, align, dataOrder and origin alone.
OwnImageRows ownImageRows(const IplImage* image);

// Each converts the `count` pixels of a run that starts at `column` of a row;
// at depth 1 the column is a multiple of 8.
using OwnImageFetch = void (*)(const OwnImageRows& rows, const uint8_t* row, int32_t column,
                               OwnPixel* run, int32_t count);
using OwnImageStore = void (*)(const OwnImageRows& rows, uint8_t* row, int32_t column,
                               const OwnPixel* run, int32_t count);

// Null for channels and depths that cannot be converted.
OwnImageFetch ownChooseImageFetch(const IplImage* image);
OwnImageStore ownChooseImageStore(const IplImage* image);

// What channelSeq says; `unknown` for any but these six: "G", "GRAY", "BGR",
// "BGRA", "RGB", "RGBA".
enum class OwnChannelOrder { unknown, gray, blueFirst, redFirst };
OwnChannelOrder ownChannelOrder(const IplImage* image);

// Adapts working pixels to the channel order, in place. Null for `unknown`.
using OwnChannelStep = void (*)(OwnPixel* run, int32_t count);
OwnChannelStep ownStepToImage(OwnChannelOrder order);
OwnChannelStep ownStepFromImage(OwnChannelOrder order);
