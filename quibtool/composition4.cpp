#include "quibtool/layers.h"

#include "_Src/ipl.h"
#include "quibtool/handle.h"

#include <algorithm>

using namespace quib;

namespace
{

// The part of `under` to compose on. y grows upwards and row r stands at -r:
// `top` is that of the first row, `bottom` that of the row below the last.
struct Overlap {
    int64_t left;
    int64_t top;
    int64_t right;
    int64_t bottom;
};

Overlap findOverlap(const IplImage* over, const IplImage* under, const QuibPoint& at,
                    const QuibRect* limit)
{
    Overlap part{std::max<int64_t>(at.x, 0), std::min<int64_t>(at.y, 0),
                 std::min<int64_t>(int64_t{at.x} + over->width, under->width),
                 std::max<int64_t>(int64_t{at.y} - over->height, -int64_t{under->height})};
    if (!limit)
        return part;
    return {std::max<int64_t>(part.left, limit->left), std::min<int64_t>(part.top, limit->top),
            std::min<int64_t>(part.right, limit->right),
            std::max<int64_t>(part.bottom, limit->bottom)};
}

BlockWalk walkFrom(const IplImage* handle, int64_t column, int64_t row)
{
    return ownLayerWalk(handle, handle->width, static_cast<int32_t>(column),
                        static_cast<int32_t>(row));
}

void composeAt(const IplImage* over, IplImage* under, const QuibPoint& at, const QuibRect* limit)
{
    const Overlap part = findOverlap(over, under, at, limit);
    if (part.right <= part.left || part.top <= part.bottom)
        return;
    const BlockWalk lower = walkFrom(under, part.left, -part.top);
    const BlockWalk upper = walkFrom(over, part.left - at.x, at.y - part.top);
    ownComposeRows(ComposeRowOver, lower, lower, upper, static_cast<size_t>(part.right - part.left),
                   static_cast<int32_t>(part.top - part.bottom));
}

// All of under's rows, padding included.
void composeRun(const IplImage* over, IplImage* under)
{
    const BlockWalk lower = walkFrom(under, 0, 0);
    ownComposeRows(ComposeRowOver, lower, lower, walkFrom(over, 0, 0), ownBlockBytes(under) / 4, 1);
}

bool isUpright(const QuibRect& rect)
{
    return rect.top > rect.bottom && rect.right > rect.left;
}

} // namespace

QuibStatus QuibComposition4(const IplImage* over, IplImage* under, const QuibPoint* position,
                            const QuibRect* rectangle)
{
    if (!QuibIsValid(over))
        return QUIB_BAD_ARGUMENT;
    if (!QuibIsValid(under))
        return QUIB_BAD_ARGUMENT;
    if (const int32_t status = iplCheckImage(over))
        return status;
    if (const int32_t status = iplCheckImage(under))
        return status;
    if (rectangle && !isUpright(*rectangle))
        return QUIB_BAD_ARGUMENT;
    if (const QuibStatus status = ownCheckLayers(over, under))
        return status;
    const bool sameSize = over->width == under->width && over->height == under->height;
    if (!position && !rectangle && sameSize)
        composeRun(over, under);
    else
        composeAt(over, under, position ? *position : QuibPoint{0, 0}, rectangle);
    return QUIB_OK;
}
