#include "_Src/window/border.h"

#include "_Src/image/check.h"
#include "_Src/image/pitch.h"
#include "_Src/walk/tiles.h"
#include "kernels/kernels.h"

#include <algorithm>
#include <cstring>

int32_t ownFoldCoordinate(int32_t mode, int64_t coordinate, int32_t size)
{
    if (mode == IPL_BORDER_REPLICATE)
        return coordinate < 0 ? 0 : size - 1;
    int64_t turn = coordinate / size;
    int32_t index = static_cast<int32_t>(coordinate % size);
    if (index < 0) {
        index += size;
        --turn;
    }
    return mode == IPL_BORDER_REFLECT && (turn & 1) ? size - 1 - index : index;
}

namespace
{

// How a mode fills the columns beyond a side.
struct Beyond {
    int32_t mode;
    int32_t constant;
};

Beyond beyond(const IplImage* image, int32_t side)
{
    return {image->BorderMode[side] & 3, image->BorderConst[side]};
}

// The constant as an element of the image.
uint32_t elementOf(const IplImage* image, int32_t constant)
{
    if (image->depth == IPL_DEPTH_1U)
        return static_cast<uint32_t>(constant & 1);
    if (image->depth != IPL_DEPTH_32F)
        return static_cast<uint32_t>(constant);
    const float value = static_cast<float>(constant);
    uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

template<class Element>
void copyPixels(Element* out, int32_t outStride, const Element* in, int32_t inStride,
                int32_t elements, int64_t count)
{
    if (outStride == elements && inStride == elements) {
        std::memcpy(out, in, static_cast<size_t>(count * elements) * sizeof(Element));
        return;
    }
    for (int64_t i = 0; i < count; ++i, out += outStride, in += inStride)
        for (int32_t k = 0; k < elements; ++k)
            out[k] = in[k];
}

template<class Element>
void fillPixels(Element* out, int32_t stride, int32_t elements, int64_t count, Element value)
{
    for (int64_t i = 0; i < count; ++i, out += stride)
        for (int32_t k = 0; k < elements; ++k)
            out[k] = value;
}

} // namespace

// One plane of a row, as the elements of one type.
struct IplBorderSource::Strand {
    const uint8_t* row; // of the image, from firstColumn on
    int32_t inStride;
    int32_t elements; // a pixel
    Beyond before;
    Beyond after;
};

namespace
{

bool isInside(const IplImage* image, int64_t left, int64_t width)
{
    return left >= 0 && left + width <= image->width;
}

} // namespace

IplBorderSource::IplBorderSource(const IplImage* source, int32_t firstChannel, int32_t channelCount,
                                 int64_t leftColumn, int64_t pixels)
    : image(source), planes(source->dataOrder == IPL_DATA_ORDER_PLANE), first(firstChannel),
      channels(channelCount), left(leftColumn), width(pixels),
      elementBytes(ownElementBytes(source->depth)),
      pixelBytes(static_cast<int64_t>(elementBytes) * channelCount),
      firstColumn(isInside(source, left, width) ? static_cast<int32_t>(left) & ~7 : 0),
      columns(isInside(source, left, width) ? static_cast<int32_t>(left + width) - firstColumn
                                            : source->width),
      bits(source->depth == IPL_DEPTH_1U ? columns : 0),
      stripStep(source->tileInfo ? ownWidthStep(source, columns) : 0),
      strip(source->tileInfo ? static_cast<int64_t>(stripStep) * source->tileInfo->height *
                                   (planes ? channels : 1)
                             : 0)
{
}

bool IplBorderSource::isReady() const
{
    return (image->depth != IPL_DEPTH_1U || bits.data) && (!image->tileInfo || strip.data);
}

// --- Rows of the image ------------------------------------------------------------

// Copies `count` columns, from column x of the image on, out of one tile.
bool IplBorderSource::fetchTile(int32_t x, int32_t count, int32_t tileRow)
{
    const IplTileInfo* tiles = image->tileInfo;
    const int64_t pixelBits =
        static_cast<int64_t>(ownDepthBits(image->depth)) * ownElementsPerPixel(image);
    const size_t bytes = static_cast<size_t>((count * pixelBits + 7) >> 3);
    const int32_t rows = std::min(tiles->height, image->height - tileRow * tiles->height);
    const ptrdiff_t tileStep = ownWidthStep(image, tiles->width);

    tiles->callBack(image, x / tiles->width, tileRow, IPL_GET_TILE_TO_READ);
    if (!tiles->tileData)
        return false;
    for (int32_t plane = 0; plane < (planes ? channels : 1); ++plane) {
        const ptrdiff_t planeRow = static_cast<ptrdiff_t>(planes ? first + plane : 0);
        const char* from = tiles->tileData + planeRow * tiles->height * tileStep +
                           (x % tiles->width * pixelBits >> 3);
        uint8_t* to = strip.data + static_cast<ptrdiff_t>(plane) * tiles->height * stripStep +
                      ((x - firstColumn) * pixelBits >> 3);
        for (int32_t y = 0; y < rows; ++y)
            std::memcpy(to + static_cast<ptrdiff_t>(y) * stripStep, from + y * tileStep, bytes);
    }
    tiles->callBack(image, x / tiles->width, tileRow, IPL_RELEASE_TILE);
    return true;
}

bool IplBorderSource::fetchTileRow(int32_t tileRow)
{
    if (stripRow == tileRow)
        return true;
    stripRow = -1;
    const int32_t tileWidth = image->tileInfo->width;
    const int32_t end = firstColumn + columns;
    for (int32_t x = firstColumn; x < end;) {
        const int32_t count = std::min(tileWidth - x % tileWidth, end - x);
        if (!fetchTile(x, count, tileRow))
            return false;
        x += count;
    }
    stripRow = tileRow;
    return true;
}

// A row of the image, its elements from firstColumn on. The plane counts from the
// first that takes part.
const uint8_t* IplBorderSource::fetchRow(int32_t plane, int32_t y)
{
    const uint8_t* row = nullptr;
    int32_t skipped = 0;
    if (const IplTileInfo* tiles = image->tileInfo) {
        if (!fetchTileRow(y / tiles->height))
            return nullptr;
        const ptrdiff_t index = static_cast<ptrdiff_t>(plane) * tiles->height + y % tiles->height;
        row = strip.data + index * stripStep;
    } else {
        const ptrdiff_t index = static_cast<ptrdiff_t>(planes ? first + plane : 0) * image->height;
        row = reinterpret_cast<const uint8_t*>(image->imageData) + (index + y) * image->widthStep;
        skipped = firstColumn;
    }
    if (image->depth != IPL_DEPTH_1U)
        return row + static_cast<ptrdiff_t>(skipped) * elementBytes * ownElementsPerPixel(image);
    quib::kernels().select.spread(bits.data, row, skipped, static_cast<size_t>(columns), nullptr,
                                  1);
    for (int32_t i = 0; i < columns; ++i)
        bits.data[i] &= 1;
    return bits.data;
}

const uint8_t* IplBorderSource::rowInPlace(int64_t y) const
{
    const bool outside = left < 0 || left + width > image->width || y < 0 || y >= image->height;
    const bool reshaped =
        image->tileInfo || image->depth == IPL_DEPTH_1U || channels != ownElementsPerPixel(image);
    if (outside || reshaped)
        return nullptr;
    const ptrdiff_t plane = planes ? static_cast<ptrdiff_t>(first) * image->height : 0;
    return reinterpret_cast<const uint8_t*>(image->imageData) +
           (plane + static_cast<ptrdiff_t>(y)) * image->widthStep + left * pixelBytes;
}

// --- Rows with their surroundings --------------------------------------------------

template<class Element>
void IplBorderSource::makePixels(const Strand& strand, uint8_t* outBytes) const
{
    Element* out = reinterpret_cast<Element*>(outBytes);
    const Element* row = reinterpret_cast<const Element*>(strand.row);
    const int64_t before = std::clamp<int64_t>(-left, 0, width);
    const int64_t end = std::clamp<int64_t>(image->width - left, before, width);
    const auto makeSide = [&](const Beyond& side, int64_t from, int64_t to) {
        if (side.mode == IPL_BORDER_CONSTANT) {
            fillPixels(out + from * channels, channels, strand.elements, to - from,
                       static_cast<Element>(elementOf(image, side.constant)));
            return;
        }
        for (int64_t i = from; i < to; ++i) {
            const ptrdiff_t x = ownFoldCoordinate(side.mode, left + i, image->width);
            copyPixels(out + i * channels, channels, row + (x - firstColumn) * strand.inStride,
                       strand.inStride, strand.elements, 1);
        }
    };
    makeSide(strand.before, 0, before);
    if (end > before)
        copyPixels(out + before * channels, channels,
                   row + (left + before - firstColumn) * strand.inStride, strand.inStride,
                   strand.elements, end - before);
    makeSide(strand.after, end, width);
}

// One plane of a row that is the constant alone.
void IplBorderSource::fillStrand(int32_t constant, uint8_t* out) const
{
    const uint32_t value = elementOf(image, constant);
    const int32_t elements = planes ? 1 : channels;
    if (elementBytes == 1)
        fillPixels(out, channels, elements, width, static_cast<uint8_t>(value));
    else if (elementBytes == 2)
        fillPixels(reinterpret_cast<uint16_t*>(out), channels, elements, width,
                   static_cast<uint16_t>(value));
    else
        fillPixels(reinterpret_cast<uint32_t*>(out), channels, elements, width, value);
}

// One plane of the row.
bool IplBorderSource::makeStrand(int32_t plane, int64_t y, uint8_t* out)
{
    Strand strand{nullptr, ownElementsPerPixel(image), planes ? 1 : channels,
                  beyond(image, IPL_SIDE_LEFT), beyond(image, IPL_SIDE_RIGHT)};
    if (y < 0 || y >= image->height) {
        // The corners belong to the top and the bottom.
        strand.before = beyond(image, y < 0 ? IPL_SIDE_TOP : IPL_SIDE_BOTTOM);
        strand.after = strand.before;
        if (strand.before.mode == IPL_BORDER_CONSTANT) {
            fillStrand(strand.before.constant, out);
            return true;
        }
        y = ownFoldCoordinate(strand.before.mode, y, image->height);
    }
    strand.row = fetchRow(plane, static_cast<int32_t>(y));
    if (!strand.row)
        return false;
    if (!planes)
        strand.row += static_cast<ptrdiff_t>(first) * elementBytes;
    if (elementBytes == 1)
        makePixels<uint8_t>(strand, out);
    else if (elementBytes == 2)
        makePixels<uint16_t>(strand, out);
    else
        makePixels<uint32_t>(strand, out);
    return true;
}

bool IplBorderSource::makeRow(int64_t y, uint8_t* out)
{
    for (int32_t plane = 0; plane < (planes ? channels : 1); ++plane)
        if (!makeStrand(plane, y, out + static_cast<ptrdiff_t>(plane) * elementBytes))
            return false;
    return true;
}
