// Merging the masks of an operation's images into one.
#pragma once

#include "_Src/ipl.h"

enum class MaskMerge {
    asGiven,  // none or one mask: the result is it, or null
    merged,   // a new image that the caller frees by ownFreeMask
    noMemory, // null
    empty,    // null: the masks have no pixel in common
};

// The AND of up to three masks, any of them null, each read from its own
// region's corner; as large as the smallest clipped region of them.
IplImage* ownMergeMasks(IplImage* maskA, IplImage* maskB, IplImage* maskC, MaskMerge* state);

// Frees a merged mask; one that was given stays.
void ownFreeMask(IplImage* mask, MaskMerge state);
