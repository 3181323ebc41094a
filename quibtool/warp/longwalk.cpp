#include "quibtool/warp/longwalk.h"

#include "_Src/image/scratch.h"
#include "kernels/kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace quib;

namespace
{

// --- Written pixels ----------------------------------------------------------------

// A bit for each pixel of the destination, row after row.
struct Bits {
    uint64_t* words;

    bool has(size_t i) const { return words[i / 64] >> (i % 64) & 1; }
    void set(size_t i) const { words[i / 64] |= uint64_t{1} << (i % 64); }
    // Both ends are part of the run.
    bool hasAll(size_t first, size_t last) const
    {
        const uint64_t head = ~uint64_t{0} << (first % 64);
        const uint64_t tail = ~uint64_t{0} >> (63 - last % 64);
        size_t i = first / 64;
        const size_t end = last / 64;
        if (i == end)
            return (~words[i] & head & tail) == 0;
        if (~words[i] & head)
            return false;
        while (++i < end)
            if (~words[i])
                return false;
        return (~words[end] & tail) == 0;
    }
};

struct Walk {
    const ScanRows& rows;
    Bits written;
    int32_t width; // of the destination
    int32_t height;
    const double (&step)[8]; // from scanline to scanline
    bool isThinned;
    bool inOrder; // no pixel is ever marked as written

    size_t indexOf(int32_t x, int32_t y) const
    {
        return static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x);
    }
};

// --- Single scanlines ----------------------------------------------------------------

bool isInside(const double (&at)[4], const double (&limits)[4])
{
    for (int32_t i = 0; i < 4; ++i)
        if (!(at[i] > -1.0 && at[i] < limits[i]))
            return false;
    return true;
}

// A later pixel of the same scanline counts more than an earlier one; both are
// neighbours in it, as its coordinates go one way.
void drawPixels(const Walk& walk, PixelTrack track, uint32_t count)
{
    size_t latest = SIZE_MAX;
    for (; count > 0; --count, advanceOnce(&track)) {
        if (!isInside(track.at, walk.rows.limits))
            continue;
        const int32_t x = static_cast<int32_t>(track.at[0]);
        const int32_t y = static_cast<int32_t>(track.at[1]);
        const size_t index = walk.indexOf(x, y);
        if (index != latest && walk.written.has(index))
            continue;
        latest = index;
        walk.written.set(index);
        std::memcpy(walk.rows.dst[y] + static_cast<ptrdiff_t>(x) * 4,
                    walk.rows.src[static_cast<int32_t>(track.at[3])] +
                        static_cast<ptrdiff_t>(track.at[2]) * 4,
                    4);
    }
}

void drawScanline(const Walk& walk, const double (&ends)[8])
{
    PixelTrack track;
    const uint32_t count = startScanline(ends, &track);
    if (count == 0)
        return;
    const Steps inside = stepsInside(walk.rows.limits, track, count);
    advance(&track, inside.first);
    if (walk.inOrder)
        kernels().scan.move(walk.rows, track.at, track.step, inside.count);
    else
        drawPixels(walk, track, inside.count);
}

// --- Where scanlines can reach ---------------------------------------------------------

// Scanlines that follow one another, by the ends of the first and of the last one.
struct Group {
    double first[8];
    double last[8];
    uint32_t count;
};

struct Point {
    double x;
    double y;
};

// Part of the way from left ends, 0, to right ends, 1.
struct Part {
    double from;
    double to;

    // Leaves where a value that goes evenly from the one to the other is above 0.
    void keepPositive(double left, double right)
    {
        if (left <= 0 && right <= 0)
            to = -1;
        else if (left <= 0)
            from = std::max(from, left / (left - right));
        else if (right <= 0)
            to = std::min(to, left / (left - right));
    }
    bool isEmpty() const { return !(from <= to); }
};

// Where a group's pixels can lie: no further than so far astray from the hull of
// its first and its last scanline's points at both ends of the part.
struct Reach {
    double stray[2];
    Part inSource;
    Part inBoth;
};

// The ends' coordinates of one of the four kinds: x and y in the destination, then
// in the source.
struct Ends {
    Ends(const Group& group, int32_t kind)
    {
        const int32_t left = kind < 2 ? kind : kind + 2;
        firstLeft = group.first[left];
        firstRight = group.first[left + 2];
        lastLeft = group.last[left];
        lastRight = group.last[left + 2];
    }
    double largest() const
    {
        return std::max({std::fabs(firstLeft), std::fabs(firstRight), std::fabs(lastLeft),
                         std::fabs(lastRight)});
    }
    // Leaves where some scanline may be above -1 and below the limit.
    void clip(Part* part, double stray, double limit) const
    {
        const double above = 1.5 + stray;
        part->keepPositive(std::max(firstLeft, lastLeft) + above,
                           std::max(firstRight, lastRight) + above);
        const double below = limit - 0.5 + stray;
        part->keepPositive(below - std::min(firstLeft, lastLeft),
                           below - std::min(firstRight, lastRight));
    }

    double firstLeft;
    double firstRight;
    double lastLeft;
    double lastRight;
};

// The least and the largest extent of a group's scanlines, but for roundings.
struct Extents {
    explicit Extents(const Group& group)
    {
        for (int32_t i = 0; i < 2; ++i) {
            const double first = group.first[i + 2] - group.first[i];
            const double last = group.last[i + 2] - group.last[i];
            const auto [least, most] = std::minmax({std::fabs(first), std::fabs(last)});
            if ((first < 0) == (last < 0))
                smallest = std::max(smallest, least);
            largest = std::max(largest, most);
        }
    }

    double smallest = 0;
    double largest = 0;
};

// False if no scanline of the group leaves a mark.
bool findReach(const ScanRows& rows, const Group& group, Reach* reach)
{
    const Extents extents(group);
    const double farthest = std::max(Ends(group, 0).largest(), Ends(group, 1).largest());
    const double astray = 2 * strayOf(group.count, farthest);
    constexpr double mostPixels = 2147483648.0;
    if (extents.largest + astray < 1.5 || extents.smallest - astray >= mostPixels)
        return false;
    const double sums = std::min(extents.largest, mostPixels) + group.count;
    reach->inSource = {0, 1};
    for (int32_t kind = 3; kind >= 0; --kind) {
        const Ends ends(group, kind);
        const double stray = strayOf(sums, ends.largest());
        if (kind == 1)
            reach->inBoth = reach->inSource;
        if (kind < 2)
            reach->stray[kind] = stray;
        ends.clip(kind < 2 ? &reach->inBoth : &reach->inSource, stray, rows.limits[kind]);
    }
    return !reach->inSource.isEmpty() && !reach->inBoth.isEmpty();
}

Point pointAt(const double (&ends)[8], double part)
{
    return {ends[0] * (1 - part) + ends[2] * part + 0.5,
            ends[1] * (1 - part) + ends[3] * part + 0.5};
}

// A line between two points, the upper one first.
struct Line {
    Line(const Point& a, const Point& b) : from(a.y <= b.y ? a : b), to(a.y <= b.y ? b : a)
    {
        slope = (to.x - from.x) / (to.y - from.y);
    }
    double xAt(double y) const
    {
        if (y <= from.y)
            return from.x;
        return y >= to.y ? to.x : from.x + (y - from.y) * slope;
    }

    Point from;
    Point to;
    double slope;
};

struct Span {
    double low = HUGE_VAL;
    double high = -HUGE_VAL;

    void add(double value)
    {
        low = std::min(low, value);
        high = std::max(high, value);
    }
};

// The convex hull of four points, as all lines between them.
struct Hull {
    Hull(const Group& group, const Part& part)
        : Hull({pointAt(group.first, part.from), pointAt(group.first, part.to),
                pointAt(group.last, part.from), pointAt(group.last, part.to)})
    {
    }
    explicit Hull(const Point (&p)[4])
        : lines{{p[0], p[1]}, {p[2], p[3]}, {p[0], p[2]}, {p[1], p[3]}, {p[0], p[3]}, {p[1], p[2]}}
    {
    }
    Span rows() const
    {
        Span span;
        for (const Line& line : lines) {
            span.add(line.from.y);
            span.add(line.to.y);
        }
        return span;
    }
    Span columns(double top, double bottom) const
    {
        Span span;
        for (const Line& line : lines) {
            if (line.to.y < top || line.from.y > bottom)
                continue;
            span.add(line.xAt(top));
            span.add(line.xAt(bottom));
        }
        return span;
    }

    Line lines[6];
};

// The whole number that a place within the image or beyond it is held to.
int32_t heldTo(double value, int32_t count)
{
    return value <= 0 ? 0 : value >= count ? count - 1 : static_cast<int32_t>(value);
}

// Whether the group can reach a pixel that is not yet written.
bool canWrite(const Walk& walk, const Group& group, const Reach& reach)
{
    const Hull hull(group, reach.inBoth);
    const Span rows = hull.rows();
    const int32_t lastRow = heldTo(rows.high + reach.stray[1], walk.height);
    for (int32_t y = heldTo(rows.low - reach.stray[1], walk.height); y <= lastRow; ++y) {
        // Cut to whole numbers, anything above -1 is 0.
        const double top = y == 0 ? -1.0 : y;
        const Span span = hull.columns(top - reach.stray[1], y + 1.0 + reach.stray[1]);
        const double low = span.low - reach.stray[0];
        const double high = span.high + reach.stray[0];
        if (high <= -1.0 || low >= walk.width)
            continue;
        if (!walk.written.hasAll(walk.indexOf(heldTo(low, walk.width), y),
                                 walk.indexOf(heldTo(high, walk.width), y)))
            return true;
    }
    return false;
}

// --- Groups of scanlines ------------------------------------------------------------------

constexpr double nextToEachOther = 1.0 / 16;

// Whether two points are next to each other or on the same side of the image.
bool areAlike(const Walk& walk, const Point& a, const Point& b)
{
    return (std::fabs(a.x - b.x) <= nextToEachOther && std::fabs(a.y - b.y) <= nextToEachOther) ||
           std::max(a.x, b.x) < -1.0 || std::min(a.x, b.x) > walk.width ||
           std::max(a.y, b.y) < -1.0 || std::min(a.y, b.y) > walk.height;
}

// Whether scanlines, as endless lines, run next to each other all over the image.
bool runTogether(const Walk& walk, const double (&a)[8], const double (&b)[8])
{
    const int32_t along =
        std::fabs(b[2] - b[0]) >= std::fabs(b[3] - b[1]) ? 0 : 1; // where b is longer
    const auto acrossAt = [along](const double(&ends)[8], double place) {
        const double slope = (ends[3 - along] - ends[1 - along]) / (ends[2 + along] - ends[along]);
        return ends[1 - along] + (place - ends[along]) * slope;
    };
    const double end = along == 0 ? walk.width : walk.height;
    return std::fabs(acrossAt(a, 0) - acrossAt(b, 0)) <= nextToEachOther &&
           std::fabs(acrossAt(a, end) - acrossAt(b, end)) <= nextToEachOther;
}

// Whether the group's last scanline can stand for all.
bool isThin(const Walk& walk, const Group& group, const Part& part)
{
    double middle[8];
    for (int32_t i = 0; i < 8; ++i)
        middle[i] = group.first[i] * 0.5 + group.last[i] * 0.5;
    return runTogether(walk, group.first, group.last) && runTogether(walk, middle, group.last) &&
           areAlike(walk, pointAt(group.first, part.from), pointAt(group.last, part.from)) &&
           areAlike(walk, pointAt(group.first, part.to), pointAt(group.last, part.to));
}

void drawGroup(const Walk& walk, const Group& group)
{
    Reach reach;
    if (!findReach(walk.rows, group, &reach) || !canWrite(walk, group, reach))
        return;
    if (group.count == 1 || (walk.isThinned && isThin(walk, group, reach.inSource)))
        return drawScanline(walk, group.last);
    EndTrack track;
    std::copy_n(group.first, 8, track.at);
    std::copy_n(walk.step, 8, track.step);
    Group half = group;
    half.count = group.count / 2;
    advance(&track, half.count - 1);
    std::copy_n(track.at, 8, half.last);
    advanceOnce(&track);
    Group rest = group;
    rest.count = group.count - half.count;
    std::copy_n(track.at, 8, rest.first);
    drawGroup(walk, walk.inOrder ? half : rest);
    drawGroup(walk, walk.inOrder ? rest : half);
}

} // namespace

void quib::drawLongWalk(const ScanRows& rows, const EndTrack& track, uint32_t count, double steps,
                        bool inOrder)
{
    const int32_t width = static_cast<int32_t>(rows.limits[0]);
    const int32_t height = static_cast<int32_t>(rows.limits[1]);
    const int64_t words = (int64_t{width} * height + 63) / 64;
    const IplScratch<uint64_t> bits(words);
    if (!bits.data)
        return;
    std::fill_n(bits.data, words, 0);
    const Walk walk{rows,   {bits.data}, width, height, track.step, steps > longestExactWalk,
                    inOrder};
    Group all;
    EndTrack last = track;
    advance(&last, count - 1);
    std::copy_n(track.at, 8, all.first);
    std::copy_n(last.at, 8, all.last);
    all.count = count;
    drawGroup(walk, all);
}
