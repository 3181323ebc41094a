// Handles as pixman sees them.
#pragma once

#if defined(QUIB_BENCH_PIXMAN)

#include "quibtool/iplimage.h"

#include <pixman.h>

// A view of a 32-bit handle; the caller unrefs it.
inline pixman_image_t* pixmanView(const IplImage* image)
{
    return pixman_image_create_bits(PIXMAN_a8r8g8b8, image->width, image->height,
                                    reinterpret_cast<uint32_t*>(image->imageData),
                                    image->widthStep);
}

#endif
