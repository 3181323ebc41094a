// A copy of any window of an image, the places outside the image made by its border
// modes.
#pragma once

#include "_Src/ipl.h"

// A new block with the window's pixels in the image's own data order, depth and
// number of channels: rows of `*rowLength` bytes, padded to the image's align with
// zeros, at depth 1 from the first bit of a byte on; in plane order one plane after
// the other. The window may lie anywhere. In constant mode places take the side's
// BorderConst; else they take the pixel that the side's mode names: above and below
// the image that of the top or the bottom, for columns as for rows. Null for a bad
// dataOrder, depth, align or size, and where there is no memory or a tile does not
// come. The block is freed as a record's imageDataOrigin is, by iplDeallocateImage.
char* ownBorderCopy(const IplImage* image, int32_t x, int32_t y, int32_t width, int32_t height,
                    int32_t* rowLength);
