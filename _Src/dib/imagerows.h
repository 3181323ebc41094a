// Pixels as they lie in an image, to and from working pixels.
#pragma once

#include "_Src/dib/palette.h"
#include "_Src/walk/raster.h"

// The image's rows, the one that is shown at the top first, with each channel as
// a plane of its own.
IplRaster ownImageRows(const IplImage* image);

// Each converts the `count` pixels of a run that starts at `column` of a row;
// at depth 1 the column is a multiple of 8.
using OwnImageFetch = void (*)(const IplRaster& rows, const uint8_t* row, int32_t column,
                               OwnPixel* run, int32_t count);
using OwnImageStore = void (*)(const IplRaster& rows, uint8_t* row, int32_t column,
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
