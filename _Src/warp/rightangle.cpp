#include "_Src/warp/rightangle.h"

#include "_Src/walk/bits.h"
#include "_Src/walk/raster.h"
#include "kernels/kernels.h"

namespace
{

struct Range {
    int64_t first;
    int64_t last;
};

Range shared(const Range& a, int32_t first, int32_t last)
{
    return {std::max(a.first, static_cast<int64_t>(first)),
            std::min(a.last, static_cast<int64_t>(last))};
}

// Which source pixel a destination pixel is: x = x0 + xPerX x' + xPerY y', and so
// on.
struct Turn {
    int64_t x0;
    int64_t y0;
    int32_t xPerX;
    int32_t xPerY;
    int32_t yPerX;
    int32_t yPerY;

    int64_t xOf(int64_t x, int64_t y) const { return x0 + xPerX * x + xPerY * y; }
    int64_t yOf(int64_t x, int64_t y) const { return y0 + yPerX * x + yPerY * y; }
};

Turn turnBack(int32_t quarters, int64_t xShift, int64_t yShift)
{
    if (quarters == 1)
        return {yShift, -xShift, 0, -1, 1, 0};
    if (quarters == 2)
        return {xShift, yShift, -1, 0, 0, -1};
    return {-yShift, xShift, 0, 1, -1, 0};
}

// A move of whole pixels of `channels` elements.
struct Move {
    IplRaster src;
    IplRaster dst;
    Turn turn;
    Range x; // of the destination
    Range y;
    int32_t channels;
};

// So many columns of the destination are made at a time that their source rows,
// where the axes change places, stay in the cache from pixel to pixel.
constexpr int64_t blockWidth = 16;

template<class Element>
const Element* sourcePixel(const Move& move, int32_t plane, int64_t x, int64_t y)
{
    const uint8_t* row = move.src.row(plane, static_cast<int32_t>(move.turn.yOf(x, y)));
    return reinterpret_cast<const Element*>(row) + move.turn.xOf(x, y) * move.src.stride +
           move.src.first;
}

template<class Element>
void moveBlock(const Move& move, int32_t plane, int64_t left, int64_t right)
{
    const ptrdiff_t across =
        move.turn.xPerX * static_cast<ptrdiff_t>(move.src.stride) +
        move.turn.yPerX * (move.src.step / static_cast<ptrdiff_t>(sizeof(Element)));
    for (int64_t y = move.y.first; y <= move.y.last; ++y) {
        const Element* from = sourcePixel<Element>(move, plane, left, y);
        Element* to = reinterpret_cast<Element*>(move.dst.row(plane, static_cast<int32_t>(y))) +
                      left * move.dst.stride + move.dst.first;
        for (int64_t x = left; x <= right; ++x, from += across, to += move.dst.stride)
            for (int32_t c = 0; c < move.channels; ++c)
                to[c] = from[c];
    }
}

// Rows that become columns, of pixels that are one element of four bytes.
void moveColumns(const Move& move)
{
    // The destination's rows in the order of the source's columns.
    const bool ascends = move.turn.xPerY > 0;
    const int64_t y = ascends ? move.y.first : move.y.last;
    const ptrdiff_t dstStep = ascends ? move.dst.step : -move.dst.step;
    for (int32_t plane = 0; plane < move.dst.planes; ++plane) {
        uint8_t* to = move.dst.row(plane, static_cast<int32_t>(y)) + move.x.first * 4;
        const uint32_t* from = sourcePixel<uint32_t>(move, plane, move.x.first, y);
        quib::kernels().mirror.transpose(to, dstStep, reinterpret_cast<const uint8_t*>(from),
                                         move.turn.yPerX * move.src.step,
                                         static_cast<size_t>(move.x.last - move.x.first + 1),
                                         static_cast<size_t>(move.y.last - move.y.first + 1));
    }
}

template<class Element>
void moveElements(const Move& move)
{
    const bool areElements = move.src.stride == 1 && move.dst.stride == 1;
    if (sizeof(Element) == 4 && areElements && move.turn.xPerX == 0)
        return moveColumns(move);
    for (int32_t plane = 0; plane < move.dst.planes; ++plane)
        for (int64_t x = move.x.first; x <= move.x.last; x += blockWidth)
            moveBlock<Element>(move, plane, x, std::min(x + blockWidth - 1, move.x.last));
}

void moveBits(const Move& move)
{
    for (int64_t y = move.y.first; y <= move.y.last; ++y) {
        uint8_t* to = move.dst.row(0, static_cast<int32_t>(y));
        for (int64_t x = move.x.first; x <= move.x.last; ++x) {
            const uint8_t* from = move.src.row(0, static_cast<int32_t>(move.turn.yOf(x, y)));
            ownPutBit(to, static_cast<int32_t>(x),
                      ownBit(from, static_cast<int32_t>(move.turn.xOf(x, y))));
        }
    }
}

// Pixels of four bytes that all take part are moved as words.
void joinBytes(Move* move)
{
    if (move->channels != 4 || move->src.stride != 4 || move->dst.stride != 4 ||
        move->dst.elementBytes != 1)
        return;
    move->channels = move->src.stride = move->dst.stride = 1;
    move->dst.elementBytes = 4;
}

} // namespace

void ownMoveRightAngle(const IplImage* src, const IplCorners& from, const IplImage* dst,
                       const IplCorners& to, int32_t quarters, int64_t xShift, int64_t yShift)
{
    Move move{};
    if (!ownRegionStart(src, &move.src) || !ownRegionStart(dst, &move.dst) ||
        ownChosenChannels(dst).count < 1)
        return;
    const Range xTo = quarters == 1   ? Range{xShift + from.y1, xShift + from.y2}
                      : quarters == 2 ? Range{xShift - from.x2, xShift - from.x1}
                                      : Range{xShift - from.y2, xShift - from.y1};
    const Range yTo = quarters == 1   ? Range{yShift - from.x2, yShift - from.x1}
                      : quarters == 2 ? Range{yShift - from.y2, yShift - from.y1}
                                      : Range{yShift + from.x1, yShift + from.x2};
    move.x = shared(xTo, to.x1, to.x2);
    move.y = shared(yTo, to.y1, to.y2);
    if (move.x.first > move.x.last || move.y.first > move.y.last)
        return;
    move.turn = turnBack(quarters, xShift, yShift);
    move.channels = move.dst.channels;
    joinBytes(&move);
    switch (move.dst.elementBytes) {
    case 0:
        return moveBits(move);
    case 1:
        return moveElements<uint8_t>(move);
    case 2:
        return moveElements<uint16_t>(move);
    default:
        return moveElements<uint32_t>(move);
    }
}
