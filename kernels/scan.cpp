#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{

#if defined(QUIB_WIDE_VECTORS)
using ScanPoint = F64<32>;

ScanPoint scanPoint(const double (&values)[4])
{
    return load<ScanPoint>(values);
}

// Cut to whole numbers, anything above -1 is 0 at least.
bool isInside(ScanPoint point, ScanPoint limits)
{
    const auto inside = (point > -1.0) & (point < limits);
    return topBits(inside) == 0xFFFFFFFF;
}

I32<16> wholePart(ScanPoint point)
{
    return __builtin_convertvector(point, I32<16>);
}
#else
struct ScanPoint {
    double values[4];

    double operator[](size_t i) const { return values[i]; }
    ScanPoint& operator+=(const ScanPoint& step)
    {
        for (size_t i = 0; i < 4; ++i)
            values[i] += step[i];
        return *this;
    }
};

ScanPoint scanPoint(const double (&values)[4])
{
    return {{values[0], values[1], values[2], values[3]}};
}

bool isInside(const ScanPoint& point, const ScanPoint& limits)
{
    for (size_t i = 0; i < 4; ++i)
        if (!(point[i] > -1.0 && point[i] < limits[i]))
            return false;
    return true;
}

struct ScanPlace {
    int32_t values[4];

    int32_t operator[](size_t i) const { return values[i]; }
};

ScanPlace wholePart(const ScanPoint& point)
{
    return {{static_cast<int32_t>(point[0]), static_cast<int32_t>(point[1]),
             static_cast<int32_t>(point[2]), static_cast<int32_t>(point[3])}};
}
#endif

QUIB_INLINE void movePixel(const ScanRows& rows, ScanPoint point)
{
    const auto place = wholePart(point);
    const uint32_t pixel = loadWord(rows.src[place[3]] + static_cast<ptrdiff_t>(place[2]) * 4);
    storeWord(rows.dst[place[1]] + static_cast<ptrdiff_t>(place[0]) * 4, pixel);
}

constexpr size_t scanRun = 8;

// Sums go one way: what lies between two points inside is inside.
QUIB_INLINE void moveRun(const ScanRows& rows, const ScanPoint (&points)[scanRun], size_t count,
                         ScanPoint limits)
{
    if (count == scanRun && isInside(points[0], limits) && isInside(points[scanRun - 1], limits)) {
        for (size_t i = 0; i < scanRun; ++i)
            movePixel(rows, points[i]);
        return;
    }
    for (size_t i = 0; i < count; ++i)
        if (isInside(points[i], limits))
            movePixel(rows, points[i]);
}

void movePixels(const ScanRows& rows, const double (&first)[4], const double (&step)[4],
                size_t count)
{
    const ScanPoint limits = scanPoint(rows.limits);
    const ScanPoint steps = scanPoint(step);
    ScanPoint point = scanPoint(first);
    while (count > 0) {
        ScanPoint points[scanRun];
        for (size_t i = 0; i < scanRun; ++i) {
            points[i] = point;
            point += steps;
        }
        const size_t most = count < scanRun ? count : scanRun;
        moveRun(rows, points, most, limits);
        count -= most;
    }
}

} // namespace

constinit const ScanKernels scanKernels{.move = movePixels};

} // namespace quib::QUIB_LEVEL
