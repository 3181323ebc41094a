// Run-length coded bitmaps: BI_RLE8 and BI_RLE4.
#pragma once

#include "_Src/dib/block.h"

// The plain rows, ownDibRowPitch bytes each, in a new block that the caller
// frees by iplAlignedFree; null after a report. Past the block's end the stream
// reads 0. Pixels that a delta skips are 0.
uint8_t* ownDecompressRLE(const OwnDib& dib);

// Compresses the plain rows of a bitmap whose biCompression is BI_RLE8 or
// BI_RLE4 in place and sets biSizeImage; or, if that saves nothing, sets
// biCompression to BI_RGB and leaves the rows. 1, or 0 after a report.
int32_t ownCompressRLE(OwnDib* dib);
