#include "_Src/warp/polygon.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace
{

struct Polygon {
    double (*vertices)[2];
    int32_t count;

    // What rounding made of a barely convex polygon could have more vertices than
    // there is room for.
    void add(double x, double y)
    {
        if (count == maxPolygonVertices)
            return;
        vertices[count][0] = x;
        vertices[count][1] = y;
        ++count;
    }
};

// The half plane in which coordinate `axis`, times `sign`, is at least that of
// the limit.
struct Side {
    int32_t axis;
    double sign;
    double limit;

    bool holds(const double* vertex) const { return (vertex[axis] - limit) * sign >= 0.0; }
};

// Where the edge between two vertices on different sides meets the limit.
void addCrossing(Polygon* polygon, const Side& side, const double* from, const double* to)
{
    const int32_t other = 1 - side.axis;
    const double part = (side.limit - from[side.axis]) / (to[side.axis] - from[side.axis]);
    double point[2];
    point[side.axis] = side.limit;
    point[other] = from[other] + (to[other] - from[other]) * part;
    polygon->add(point[0], point[1]);
}

void clipToSide(const Polygon& polygon, const Side& side, Polygon* result)
{
    result->count = 0;
    for (int32_t i = 0; i < polygon.count; ++i) {
        const double* from = polygon.vertices[(i == 0 ? polygon.count : i) - 1];
        const double* to = polygon.vertices[i];
        if (side.holds(from) != side.holds(to))
            addCrossing(result, side, from, to);
        if (side.holds(to))
            result->add(to[0], to[1]);
    }
}

bool isFinite(const Polygon& polygon)
{
    return std::all_of(&polygon.vertices[0][0],
                       &polygon.vertices[0][0] + ptrdiff_t{2} * polygon.count,
                       [](double value) { return std::isfinite(value); });
}

int32_t withoutRepeats(double (*vertices)[2], int32_t count)
{
    int32_t kept = 0;
    for (int32_t i = 0; i < count; ++i) {
        const double* last = vertices[kept > 0 ? kept - 1 : 0];
        if (kept > 0 && vertices[i][0] == last[0] && vertices[i][1] == last[1])
            continue;
        std::copy_n(vertices[i], 2, vertices[kept++]);
    }
    return kept;
}

} // namespace

IplExtent ownExtent(const double (*vertices)[2], int32_t count)
{
    IplExtent extent{vertices[0][0], vertices[0][1], vertices[0][0], vertices[0][1]};
    for (int32_t i = 1; i < count; ++i) {
        extent.x1 = std::min(extent.x1, vertices[i][0]);
        extent.y1 = std::min(extent.y1, vertices[i][1]);
        extent.x2 = std::max(extent.x2, vertices[i][0]);
        extent.y2 = std::max(extent.y2, vertices[i][1]);
    }
    return extent;
}

void ownClipPolygon(double (*vertices)[2], double (*scratch)[2], int32_t* count, int32_t x1,
                    int32_t y1, int32_t x2, int32_t y2)
{
    Polygon polygon{vertices, *count};
    *count = 0;
    if (polygon.count == 0 || !isFinite(polygon))
        return;
    const IplExtent extent = ownExtent(vertices, polygon.count);
    if (extent.x2 < x1 || extent.x1 > x2 || extent.y2 < y1 || extent.y1 > y2)
        return;
    if (extent.x1 >= x1 && extent.x2 <= x2 && extent.y1 >= y1 && extent.y2 <= y2) {
        *count = polygon.count;
        return;
    }
    Polygon other{scratch, 0};
    const Side sides[4]{{0, 1.0, static_cast<double>(x1)},
                        {1, 1.0, static_cast<double>(y1)},
                        {0, -1.0, static_cast<double>(x2)},
                        {1, -1.0, static_cast<double>(y2)}};
    for (const Side& side : sides) {
        clipToSide(polygon, side, &other);
        std::swap(polygon, other);
    }
    // Four sides: the result is back in `vertices`. Edges longer than the largest
    // number there is have crossings nowhere.
    if (isFinite(polygon))
        *count = withoutRepeats(vertices, polygon.count);
}
