#include "quibtool/blockwalk.h"

#include "quibtool/handle.h"

#include <algorithm>

using namespace quib;

static void moveOn(BlockWalk* walk, uint64_t distance)
{
    const size_t bytes = static_cast<size_t>(std::min<uint64_t>(distance, walk->bytesLeft));
    walk->row += bytes;
    walk->bytesLeft -= bytes;
}

BlockWalk quib::ownWalkFrom(const IplImage* handle, size_t step, int32_t column, int32_t row,
                            int32_t bytesPerPixel)
{
    BlockWalk walk{reinterpret_cast<uint8_t*>(handle->imageData),
                   std::max(static_cast<size_t>(handle->imageSize), ownBlockBytes(handle)), step};
    moveOn(&walk, uint64_t{step} * static_cast<uint32_t>(row) +
                      static_cast<uint64_t>(column) * static_cast<uint32_t>(bytesPerPixel));
    return walk;
}

void quib::ownSkipRows(BlockWalk* walk, uint64_t rows)
{
    moveOn(walk, walk->step * rows);
}
