#include "_Src/window/neighbours.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr int64_t slotAlignment = 32;

int64_t windowRows(const IplReach& reach)
{
    return static_cast<int64_t>(reach.top) + reach.bottom + 1;
}

// How many rows below the image the windows of an operation in place reach.
int64_t tailOf(const IplNeighbourhood& hood)
{
    const int64_t end =
        static_cast<int64_t>(hood.rectangle.y) + hood.rectangle.height + hood.reach.bottom;
    return hood.inPlace ? std::max<int64_t>(end - hood.image->height, 0) : 0;
}

} // namespace

IplNeighbours::IplNeighbours(const IplNeighbourhood& neighbourhood)
    : hood(neighbourhood),
      source(hood.image, hood.firstChannel, hood.channels,
             static_cast<int64_t>(hood.rectangle.x) - hood.reach.left,
             static_cast<int64_t>(hood.rectangle.width) + hood.reach.left + hood.reach.right),
      ringRows(windowRows(hood.reach)), tailRows(tailOf(hood)),
      slotBytes((source.rowBytes() + slotAlignment - 1) & -slotAlignment),
      slots(ringRows + tailRows <= INT32_MAX / slotBytes ? (ringRows + tailRows) * slotBytes : 0),
      pointers(ringRows)
{
    for (int64_t i = 0; isReady() && i < tailRows; ++i)
        tilesCame = source.makeRow(hood.image->height + i, slots.data + (ringRows + i) * slotBytes);
}

bool IplNeighbours::isReady() const
{
    return source.isReady() && slots.data && pointers.data && tilesCame;
}

// Puts a row, counted from the first row's topmost neighbour, last.
bool IplNeighbours::place(int64_t row)
{
    const int64_t inImage = row + hood.rectangle.y - hood.reach.top;
    const ptrdiff_t before = static_cast<ptrdiff_t>(hood.reach.left * source.bytesPerPixel());
    uint8_t* slot = slots.data + row % ringRows * slotBytes;
    const uint8_t* found = slot;
    if (inImage >= hood.image->height && tailRows > 0)
        found = slots.data + (ringRows + inImage - hood.image->height) * slotBytes;
    else if (const uint8_t* own = hood.inPlace ? nullptr : source.rowInPlace(inImage))
        found = own;
    else if (!source.makeRow(inImage, slot))
        return false;
    pointers.data[std::min(row, ringRows - 1)] = found + before;
    return true;
}

const uint8_t* const* IplNeighbours::nextRows()
{
    const int64_t from = y == 0 ? 0 : y + ringRows - 1;
    if (y > 0)
        std::memmove(pointers.data, pointers.data + 1,
                     static_cast<size_t>(ringRows - 1) * sizeof(*pointers.data));
    for (int64_t row = from; row < y + ringRows; ++row)
        if (!place(row))
            return nullptr;
    ++y;
    return pointers.data;
}
