// Walks over scanlines by the million, or of millions of pixels, of which most are
// outside the destination or drawn over by later ones.
#pragma once

#include "kernels/scan.h"
#include "quibtool/warp/scanline.h"

namespace quib
{

// A walk of more steps than this, which by single steps would take minutes to
// centuries, is thinned out.
constexpr double longestExactWalk = 0x1p36;

// Draws what `count` scanlines, drawn one after the other pixel by pixel, leave
// behind, in a time that depends on the destination's size more than on their
// number and length. They are taken from the last one on, each pixel being
// written once, so that many can be left out together: those that miss either
// image, and those that would reach written pixels only.
//
// `steps` is about the number of pixels that single steps would pass. Above
// longestExactWalk, of neighbouring scanlines that run within a sixteenth of a
// pixel of each other all over the destination the last one stands for all.
//
// With `inOrder`, for images that share their pixels, scanlines are taken in their
// order, and none is left out because of a later one.
//
// Draws nothing without memory for a bit per pixel of the destination.
void drawLongWalk(const ScanRows& rows, const EndTrack& track, uint32_t count, double steps,
                  bool inOrder);

} // namespace quib
