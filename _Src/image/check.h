// The tests of a record's header fields, shared by its makers and its check.
#pragma once

#include "_Src/ipl.h"

// Whether it is one of the seven depths.
bool ownIsDepth(uint32_t depth);

// The element's width in bits.
inline int32_t ownDepthBits(uint32_t depth)
{
    return static_cast<int32_t>(depth & IPL_DEPTH_MASK);
}

// The nearest value that an element of an integer depth can hold; at other
// depths the value itself.
int32_t ownClampToDepth(uint32_t depth, int32_t value);

// 0, or the status of the first failing test. colorModel and channelSeq are
// tested for null only. A mask is checked whole; its failure r gives r - 100.
int32_t ownCheckHeaderFields(int32_t nChannels, int32_t alphaChannel, uint32_t depth,
                             const char* colorModel, const char* channelSeq, int32_t dataOrder,
                             int32_t origin, int32_t align, int32_t width, int32_t height,
                             const IplImage* maskROI);
int32_t ownCheckHeaderFields(const IplImage* image);
