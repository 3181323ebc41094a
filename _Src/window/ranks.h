// The order statistics that the rank filters take of their windows.
#pragma once

#include "_Src/window/frame.h"

// The largest or smallest elements of images of integers. Each column of windows is
// made of two runs of rows, and each row takes part in three comparisons however tall
// the window is. [van Herk, Pattern Recognition Letters 13, 1992; Gil and Werman, IEEE
// Transactions on Pattern Analysis and Machine Intelligence 15(5), 1993] Along a row,
// windows are joined from halves.
IplWindowEnd ownFilterLargest(const IplImage* src, IplImage* dst, const IplWindow& window);
IplWindowEnd ownFilterSmallest(const IplImage* src, IplImage* dst, const IplWindow& window);

// The upper medians of images of integers, and the lower ones of bits: of 3 x 3 and
// 5 x 5 by sorting networks, of bits by counts, of bytes and 16 bits by histograms, of
// 32 bits by selection.
IplWindowEnd ownFilterMedians(const IplImage* src, IplImage* dst, const IplWindow& window);

// The vector medians of the first three channels. [Astola, Haavisto and Neuvo, Vector
// Median Filters, Proceedings of the IEEE 78(4), 1990]
IplWindowEnd ownFilterVectorMedians(const IplImage* src, IplImage* dst, const IplWindow& window);
