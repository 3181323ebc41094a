// What QuibLoadFramePsd2Bmp makes of the reader's frames.
#pragma once

#include "quibtool/platform.h"
#include "quibtool/quibtool.h"

// A handle from a packed bitmap of 1, 8, 24 or 32 bits; those of 24 bits become
// four channels. Null for another depth and a null bitmap.
IplImage* QuibDibToImage(const void* dib);

// Takes a loaded image apart and deletes it: the first frame's picture, with its
// mask as alpha, and the second frame's mask.
QuibStatus ownTakeFrames(HGLOBAL image, IplImage** outImage, IplImage** outMask);
