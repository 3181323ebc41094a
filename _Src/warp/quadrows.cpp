#include "_Src/warp/quadrows.h"

#include "_Src/image/round.h"
#include "_Src/ipl.h"
#include "_Src/warp/polygon.h"

#include <algorithm>
#include <cmath>

namespace
{

// A point this near to a boundary lies on it.
constexpr double tolerance = 1e-14;

// A way along a polygon's edges from its top vertex down.
struct Chain {
    const double (*vertices)[2];
    int32_t count;
    int32_t step; // 1, or count - 1 for decreasing indices
    int32_t from;
    int32_t to;
    int32_t left; // vertices not yet passed
};

Chain chainFrom(const double (*vertices)[2], int32_t count, int32_t top, int32_t step)
{
    return {vertices, count, step, top, (top + step) % count, count};
}

// Goes on to the edge that reaches row y; rows come in rising order. Edges that
// are flat, or that clipping made step back, are passed by.
double chainX(Chain* chain, double y)
{
    const double(*v)[2] = chain->vertices;
    while (chain->left > 0 && !(v[chain->to][1] > v[chain->from][1] && v[chain->to][1] >= y)) {
        chain->from = chain->to;
        chain->to = (chain->to + chain->step) % chain->count;
        --chain->left;
    }
    const double* from = v[chain->from];
    const double* to = v[chain->to];
    const double slope = (to[0] - from[0]) / (to[1] - from[1]);
    return (y - from[1]) * slope + from[0];
}

int32_t rowStart(double left)
{
    const double next = std::ceil(left);
    return ownSaturate(1.0 - (next - left) < tolerance ? next - 1.0 : next);
}

int32_t rowEnd(double right)
{
    const double last = std::floor(right);
    return ownSaturate(1.0 - (right - last) < tolerance ? last + 1.0 : last);
}

struct Rows {
    int32_t* start;
    int32_t* end;
    int32_t first;
    int32_t last;
};

// The rows are those of an image: their number is in range.
bool allocateRows(Rows* rows)
{
    const int32_t count = rows->last - rows->first + 1;
    rows->start = static_cast<int32_t*>(iplAlignedMalloc32(count));
    rows->end = static_cast<int32_t*>(iplAlignedMalloc32(count));
    if (rows->start && rows->end)
        return true;
    iplAlignedFree(rows->start);
    iplAlignedFree(rows->end);
    return false;
}

void fillRows(const Rows& rows, const double (*vertices)[2], int32_t count, int32_t orientation)
{
    int32_t top = 0;
    for (int32_t i = 1; i < count; ++i)
        if (vertices[i][1] < vertices[top][1])
            top = i;
    Chain left = chainFrom(vertices, count, top, orientation ? count - 1 : 1);
    Chain right = chainFrom(vertices, count, top, orientation ? 1 : count - 1);
    for (int32_t i = 0; i <= rows.last - rows.first; ++i) {
        const double y = rows.first + i;
        rows.start[i] = rowStart(chainX(&left, y));
        rows.end[i] = rowEnd(chainX(&right, y));
    }
}

// A single row that no edge crosses.
void fillFlat(const Rows& rows, const IplExtent& extent, int32_t count)
{
    rows.start[0] = count == 1 ? ownSaturate(std::floor(extent.x1)) : rowStart(extent.x1);
    rows.end[0] = count == 1 ? rows.start[0] : rowEnd(extent.x2);
}

} // namespace

int32_t ownQuadRows(const double quad[4][2], int32_t x1, int32_t y1, int32_t x2, int32_t y2,
                    int32_t orientation, int32_t** xStart, int32_t** xEnd, int32_t* yFirst,
                    int32_t* yLast)
{
    double vertices[maxPolygonVertices][2];
    double scratch[maxPolygonVertices][2];
    int32_t count = 4;
    std::copy_n(&quad[0][0], 8, &vertices[0][0]);
    ownClipPolygon(vertices, scratch, &count, x1, y1, x2, y2);
    if (count == 0)
        return 0;
    const IplExtent extent = ownExtent(vertices, count);
    const double first = std::max(std::ceil(extent.y1), static_cast<double>(y1));
    const double last = std::min(std::floor(extent.y2), static_cast<double>(y2));
    if (last < first || std::floor(extent.x2) < std::ceil(extent.x1))
        return 0;
    Rows rows{nullptr, nullptr, ownSaturate(first), ownSaturate(last)};
    if (!allocateRows(&rows))
        return -1;
    if (extent.y1 == extent.y2)
        fillFlat(rows, extent, count);
    else
        fillRows(rows, vertices, count, orientation);
    for (int32_t i = 0; i <= rows.last - rows.first; ++i) {
        rows.start[i] = std::max(rows.start[i], x1);
        rows.end[i] = std::min(rows.end[i], x2);
    }
    *xStart = rows.start;
    *xEnd = rows.end;
    *yFirst = rows.first;
    *yLast = rows.last;
    return 1;
}
