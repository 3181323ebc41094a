// Merging the masks of an operation's images into one.
#pragma once

#include "_Src/ipl.h"

enum class MaskMerge {
    asGiven,  // none or one mask: the image is it, or null
    merged,   // a new image
    noMemory, // null
    empty,    // null: the masks have no pixel in common
};

// The mask that an operation works under; frees it if it was made.
struct IplMergedMask {
    IplMergedMask() = default;
    ~IplMergedMask();
    IplMergedMask(const IplMergedMask&) = delete;
    IplMergedMask& operator=(const IplMergedMask&) = delete;

    // From now on the image stays, whoever made it.
    void leaveBehind() { state = MaskMerge::asGiven; }

    IplImage* image = nullptr;
    MaskMerge state = MaskMerge::asGiven;
};

// The AND of up to three masks, any of them null, each read from its own
// region's corner; as large as the smallest clipped region of them.
void ownMergeMasks(IplImage* maskA, IplImage* maskB, IplImage* maskC, IplMergedMask* result);
