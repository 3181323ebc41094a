// What the transfers of a rectangle between two handles have in common.
#pragma once

#include "quibtool/blockwalk.h"
#include "quibtool/stretch/stretch.h"

// A region of interest: a corner inside the image, and a size that may reach
// past it.
struct TransferRegion {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
};

namespace quib
{

// Cuts the rectangle to its part inside the image; false if they do not meet.
bool ownMeetImage(QuibRect* rect, const IplImage* handle);

// Pixels of four bytes from the start of a walk on, for the stretchers.
StretchTarget ownStretchTarget(const BlockWalk& start, int32_t width, int32_t height);
StretchSource ownStretchSource(const BlockWalk& start, int32_t width, int32_t height);

// Scales between two regions through iplResize, or copies between them through
// iplCopy. The regions are stored in the two records for the length of the
// call; those that the records held before are lost.
QuibStatus ownResizeRegions(IplImage* src, const TransferRegion& from, IplImage* dst,
                            const TransferRegion& to, int32_t interpolate);
QuibStatus ownCopyRegions(IplImage* src, const TransferRegion& from, IplImage* dst,
                          const TransferRegion& to);

} // namespace quib
