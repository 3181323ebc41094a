// Convex polygons cut to rectangles.
#pragma once

#include <cstdint>

// What a quadrangle has at most when a rectangle has cut it.
constexpr int32_t maxPolygonVertices = 8;

// Clips a polygon of `*count` vertices (x, y), at most 8, to a rectangle whose
// corners belong to it, in place; `scratch` has room for 8 too. By I. Sutherland
// and G. Hodgman, "Reentrant Polygon Clipping", Communications of the ACM, 1974.
// Vertices keep their order; of a polygon that is cut, one that repeats its
// neighbour is dropped, but for the last that repeats the first. One that is not
// finite leaves no polygon.
void ownClipPolygon(double (*vertices)[2], double (*scratch)[2], int32_t* count, int32_t x1,
                    int32_t y1, int32_t x2, int32_t y2);

// Least x and y, greatest x and y, of one vertex at least.
struct IplExtent {
    double x1;
    double y1;
    double x2;
    double y2;
};
IplExtent ownExtent(const double (*vertices)[2], int32_t count);
