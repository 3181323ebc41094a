#include "_Src/warp/quad.h"

#include "_Src/walk/region.h"

#include <algorithm>
#include <initializer_list>

namespace
{

struct Vector {
    double x;
    double y;
};

// From one corner to the next.
Vector edge(const double quad[4][2], int32_t corner)
{
    const double* from = quad[corner];
    const double* to = quad[(corner + 1) & 3];
    return {to[0] - from[0], to[1] - from[1]};
}

double cross(const Vector& a, const Vector& b)
{
    return a.x * b.y - a.y * b.x;
}

// The rectangle's corners in the order of a quadrangle's.
template<class Map>
void forEachCorner(const IplCorners& rectangle, Map map)
{
    const double x1 = rectangle.x1;
    const double y1 = rectangle.y1;
    const double x2 = rectangle.x2;
    const double y2 = rectangle.y2;
    map(0, x1, y1);
    map(1, x2, y1);
    map(2, x2, y2);
    map(3, x1, y2);
}

double span(int32_t from, int32_t to)
{
    return static_cast<double>(static_cast<int64_t>(to) - from);
}

} // namespace

bool ownRoiCorners(const IplImage* image, IplCorners* rectangle, bool clip)
{
    int32_t height = 0;
    int32_t width = 0;
    if (!ownRoiSize(image, &height, &width, clip))
        return false;
    int32_t x = 0;
    int32_t y = 0;
    if (image->roi) {
        x = clip ? ownRegionX(image) : image->roi->xOffset;
        y = clip ? ownRegionY(image) : image->roi->yOffset;
    }
    const auto last = [](int32_t first, int32_t size) {
        return static_cast<int32_t>(
            std::min(static_cast<int64_t>(first) + size - 1, static_cast<int64_t>(INT32_MAX)));
    };
    *rectangle = {x, y, last(x, width), last(y, height)};
    return true;
}

bool ownRoiSize(const IplImage* image, int32_t* height, int32_t* width, bool clip)
{
    return ownRegionSize(image, height, width, clip);
}

void ownQuadCorners(const IplCorners& rectangle, const double (*coeffs)[3], IplWarpKind kind,
                    double quad[4][2])
{
    const auto sum = [](const double* c, double x, double y) {
        return (c[1] * y + c[2]) + c[0] * x;
    };
    forEachCorner(rectangle, [=](int32_t corner, double x, double y) {
        for (int32_t axis = 0; axis < 2; ++axis) {
            const double value = sum(coeffs[axis], x, y);
            quad[corner][axis] =
                kind == IPL_WARP_PERSPECTIVE ? value / sum(coeffs[2], x, y) : value;
        }
    });
}

void ownBoundOfQuad(const double quad[4][2], double bound[2][2])
{
    for (int32_t axis = 0; axis < 2; ++axis) {
        const auto values = {quad[0][axis], quad[1][axis], quad[2][axis], quad[3][axis]};
        bound[0][axis] = std::min(values);
        bound[1][axis] = std::max(values);
    }
}

int32_t ownClassifyQuad(const double quad[4][2])
{
    int32_t positive = 0;
    int32_t negative = 0;
    for (int32_t corner = 0; corner < 4; ++corner) {
        const double turn = cross(edge(quad, corner), edge(quad, (corner + 1) & 3));
        if (turn == 0.0)
            return IPL_QUAD_DEGENERATE;
        positive += turn > 0.0;
        negative += turn < 0.0;
    }
    if (positive == 4)
        return IPL_QUAD_DIRECT;
    return negative == 4 ? IPL_QUAD_REVERSED : IPL_QUAD_CONCAVE;
}

void ownAffineFromQuad(int32_t x1, int32_t y1, int32_t x2, int32_t y2, const double quad[4][2],
                       double coeffs[2][3], int32_t* orientation, int32_t forward)
{
    const Vector e1 = edge(quad, 0);
    const Vector e2 = edge(quad, 1);
    const double width = span(x1, x2);
    const double height = span(y1, y2);
    const double determinant = e2.y * e1.x - e1.y * e2.x;
    double* c = coeffs[0];
    double* d = coeffs[1];
    if (forward) {
        c[0] = e1.x / width;
        c[1] = e2.x / height;
        c[2] = quad[0][0] - c[0] * x1 - c[1] * y1;
        d[0] = e1.y / width;
        d[1] = e2.y / height;
        d[2] = quad[0][1] - d[0] * x1 - d[1] * y1;
    } else {
        c[0] = width * e2.y / determinant;
        c[1] = -width * e2.x / determinant;
        c[2] = x1 - c[0] * quad[0][0] - c[1] * quad[0][1];
        d[0] = -height * e1.y / determinant;
        d[1] = height * e1.x / determinant;
        d[2] = y1 - d[0] * quad[0][0] - d[1] * quad[0][1];
    }
    *orientation = determinant > 0.0;
}

void ownPerspectiveFromQuad(int32_t x1, int32_t y1, int32_t x2, int32_t y2, const double quad[4][2],
                            double coeffs[3][3], int32_t* orientation, int32_t forward)
{
    const Vector e1 = edge(quad, 0);
    const Vector e2 = edge(quad, 1);
    const Vector e3 = edge(quad, 2);
    const Vector e4 = edge(quad, 3);
    const Vector q0{quad[0][0], quad[0][1]};
    const double perDeterminant = 1.0 / (-e2.x * e3.y + e2.y * e3.x);
    const double sx = e2.x + e4.x;
    const double sy = e2.y + e4.y;
    const double g = (e3.y * sx - sy * e3.x) * perDeterminant;
    const double h = (sx * e2.y - e2.x * sy) * perDeterminant;
    const double w = 1.0 / span(x1, x2);
    const double v = 1.0 / span(y1, y2);
    const double gg = g * w;
    const double hh = h * v;
    const double a = (quad[1][0] * g + e1.x) * w;
    const double b = (quad[3][0] * h - e4.x) * v;
    const double d = (quad[1][1] * g + e1.y) * w;
    const double e = (quad[3][1] * h - e4.y) * v;
    const double c = q0.x - a * x1 - b * y1;
    const double f = q0.y - d * x1 - e * y1;
    const double i = 1.0 - gg * x1 - hh * y1;
    const double direct[3][3]{{a, b, c}, {d, e, f}, {gg, hh, i}};
    const double adjugate[3][3]{{i * e - hh * f, hh * c - i * b, f * b - c * e},
                                {f * gg - i * d, i * a - c * gg, c * d - f * a},
                                {d * hh - e * gg, gg * b - hh * a, a * e - d * b}};
    std::copy_n(&(forward ? direct : adjugate)[0][0], 9, &coeffs[0][0]);
    *orientation = cross(e3, e4) > 0.0;
}
