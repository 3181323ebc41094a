// Median cut (P. Heckbert, "Color image quantization for frame buffer display",
// 1982), over the exact values of a one-channel image or the high six bits of
// each colour channel.
#include "_Src/dib/format.h"
#include "_Src/dib/imagerows.h"
#include "_Src/dib/palette.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace
{

// Counts of pixels by colour. A bin's index is the sum of its position on each
// axis times the axis's stride. Gray images have one axis of 256.
struct Histogram {
    uint32_t* bins; // from iplAlignedMalloc32
    bool gray;
};

constexpr int32_t axisCount = 3;
constexpr int32_t colourStride[axisCount] = {1, 64, 4096}; // red, green, blue

int32_t binCount(const Histogram& histogram)
{
    return histogram.gray ? 256 : 64 * 64 * 64;
}

// A bin's colour on one axis.
int32_t component(const Histogram& histogram, int32_t bin, int32_t axis)
{
    return histogram.gray ? bin : ((bin / colourStride[axis]) & 63) * 4;
}

int32_t binOf(const Histogram& histogram, const OwnPixel& pixel)
{
    return histogram.gray
               ? pixel.byte[0]
               : (pixel.byte[2] >> 2) + 64 * (pixel.byte[1] >> 2) + 4096 * (pixel.byte[0] >> 2);
}

void countPixels(const Histogram& histogram, const IplImage* image)
{
    const IplRaster rows = ownImageRows(image);
    const OwnImageFetch fetch = ownChooseImageFetch(image);
    const bool exchange = !histogram.gray && ownChannelOrder(image) == OwnChannelOrder::redFirst;
    OwnPixel run[ownRunLength];
    for (int32_t y = 0; y < image->height; ++y) {
        const uint8_t* row = rows.row(0, y);
        for (int32_t x = 0; x < image->width; x += ownRunLength) {
            const int32_t count = std::min(ownRunLength, image->width - x);
            fetch(rows, row, x, run, count);
            if (exchange)
                ownStepFromImage(OwnChannelOrder::redFirst)(run, count);
            for (int32_t i = 0; i < count; ++i)
                ++histogram.bins[binOf(histogram, run[i])];
        }
    }
}

// --- Boxes -----------------------------------------------------------------------------

struct Box {
    int32_t splits; // how often it was split; `done` for no more
    int32_t low[axisCount];
    int32_t high[axisCount]; // inclusive, in positions on the axis
    int64_t count;           // of pixels
};

constexpr int32_t done = 255;

// Calls visit(bin, pixels) for the bins from `first` to `last` that hold pixels.
template<class Visit>
void forEachBinBetween(const Histogram& histogram, int32_t first, int32_t last, Visit& visit)
{
    for (int32_t bin = first; bin <= last; ++bin)
        if (histogram.bins[bin])
            visit(bin, histogram.bins[bin]);
}

// The same for the box's bins.
template<class Visit>
void forEachBin(const Histogram& histogram, const Box& box, Visit visit)
{
    for (int32_t b = box.low[2]; b <= box.high[2]; ++b)
        for (int32_t g = box.low[1]; g <= box.high[1]; ++g) {
            const int32_t line = colourStride[1] * g + colourStride[2] * b;
            forEachBinBetween(histogram, line + box.low[0], line + box.high[0], visit);
        }
}

// The box's part at one position of an axis.
Box planeOf(const Box& box, int32_t axis, int32_t position)
{
    Box plane = box;
    plane.low[axis] = plane.high[axis] = position;
    return plane;
}

int64_t countOf(const Histogram& histogram, const Box& box)
{
    int64_t sum = 0;
    forEachBin(histogram, box, [&](int32_t, uint32_t pixels) { sum += pixels; });
    return sum;
}

// Moves each limit inward past empty planes.
void ownShrinkBox(const Histogram& histogram, Box* box)
{
    for (int32_t axis = 0; axis < axisCount; ++axis) {
        int32_t& low = box->low[axis];
        int32_t& high = box->high[axis];
        while (low < high && countOf(histogram, planeOf(*box, axis, low)) == 0)
            ++low;
        while (high > low && countOf(histogram, planeOf(*box, axis, high)) == 0)
            --high;
    }
}

int32_t spanOf(const Box& box, int32_t axis)
{
    return box.high[axis] - box.low[axis];
}

bool isOneBin(const Box& box)
{
    return spanOf(box, 0) == 0 && spanOf(box, 1) == 0 && spanOf(box, 2) == 0;
}

int32_t longestAxis(const Box& box)
{
    int32_t longest = 0;
    for (int32_t axis = 1; axis < axisCount; ++axis)
        if (spanOf(box, axis) > spanOf(box, longest))
            longest = axis;
    return longest;
}

// Splits at the plane where the count comes nearest to half. Neither part is
// empty: the box is shrunk and has several planes.
Box splitBox(const Histogram& histogram, Box* box)
{
    const int32_t axis = longestAxis(*box);
    const int64_t half = box->count >> 1;
    int64_t sum = 0;
    int64_t before = 0;
    int32_t last = box->low[axis];
    for (;; ++last) {
        before = sum;
        sum += countOf(histogram, planeOf(*box, axis, last));
        if (sum > half || last == box->high[axis])
            break;
    }
    if (std::llabs(half - before) < std::llabs(sum - half)) {
        sum = before;
        --last;
    }
    Box above = *box;
    above.low[axis] = last + 1;
    above.count = box->count - sum;
    box->high[axis] = last;
    box->count = sum;
    ownShrinkBox(histogram, box);
    ownShrinkBox(histogram, &above);
    return above;
}

// A part of one bin is done. If that is the old one, the new one is taken to be
// done too, whatever it holds.
void countSplit(Box* box, Box* above)
{
    if (isOneBin(*box)) {
        box->splits = above->splits = done;
        return;
    }
    ++box->splits;
    above->splits = isOneBin(*above) ? done : box->splits;
}

// Splits the box that holds everything into at most `limit` and gives their
// number.
int32_t cutBoxes(const Histogram& histogram, Box* boxes, int32_t limit)
{
    int32_t size = 1;
    for (int32_t before = 0; before < size && size < limit;) {
        before = size;
        for (int32_t i = 0; i < before && size < limit; ++i) {
            if (boxes[i].splits == done)
                continue;
            boxes[size] = splitBox(histogram, &boxes[i]);
            countSplit(&boxes[i], &boxes[size]);
            ++size;
        }
    }
    return size;
}

// --- Tables ------------------------------------------------------------------------------

RGBQUAD meanColour(const Histogram& histogram, const Box& box)
{
    int64_t sums[axisCount] = {};
    forEachBin(histogram, box, [&](int32_t bin, uint32_t pixels) {
        for (int32_t axis = 0; axis < axisCount; ++axis)
            sums[axis] += static_cast<int64_t>(component(histogram, bin, axis)) * pixels;
    });
    uint8_t mean[axisCount];
    for (int32_t axis = 0; axis < axisCount; ++axis)
        mean[axis] = static_cast<uint8_t>(sums[axis] / box.count);
    return {mean[2], mean[1], mean[0], 0};
}

Box boxOfEverything(const Histogram& histogram, const IplImage* image)
{
    Box box{0, {}, {63, 63, 63}, int64_t{image->width} * image->height};
    if (histogram.gray)
        box = {0, {}, {255, 0, 0}, box.count};
    ownShrinkBox(histogram, &box);
    return box;
}

int32_t boxColours(const Histogram& histogram, const IplImage* image, RGBQUAD* table, int32_t limit)
{
    Box boxes[256];
    boxes[0] = boxOfEverything(histogram, image);
    const int32_t size = cutBoxes(histogram, boxes, limit);
    for (int32_t i = 0; i < size; ++i)
        table[i] = meanColour(histogram, boxes[i]);
    return size;
}

// The colours themselves where the table has room for all of them, else the
// mean colours of the boxes.
int32_t chooseColours(const Histogram& histogram, const IplImage* image, RGBQUAD* table,
                      int32_t limit)
{
    int32_t size = 0;
    for (int32_t bin = 0; bin < binCount(histogram); ++bin) {
        if (!histogram.bins[bin])
            continue;
        if (size == limit)
            return boxColours(histogram, image, table, limit);
        table[size++] = {static_cast<BYTE>(component(histogram, bin, 2)),
                         static_cast<BYTE>(component(histogram, bin, 1)),
                         static_cast<BYTE>(component(histogram, bin, 0)), 0};
    }
    return size;
}

int32_t makeTable(const IplImage* image, RGBQUAD* table, int32_t limit)
{
    if (image->depth == IPL_DEPTH_1U) {
        if (limit < 2)
            return 0;
        table[0] = {};
        table[1] = {255, 255, 255, 0};
        return 2;
    }
    Histogram histogram{nullptr, image->nChannels == 1};
    const OwnChannelOrder order = ownChannelOrder(image);
    if (!histogram.gray && order != OwnChannelOrder::blueFirst &&
        order != OwnChannelOrder::redFirst)
        return 0;
    histogram.bins = static_cast<uint32_t*>(iplAlignedMalloc32(binCount(histogram)));
    if (!histogram.bins)
        return 0;
    std::memset(histogram.bins, 0, static_cast<size_t>(binCount(histogram)) * sizeof(uint32_t));
    countPixels(histogram, image);
    const int32_t size = chooseColours(histogram, image, table, limit);
    iplAlignedFree(histogram.bins);
    return size;
}

} // namespace

int32_t ownMedianCutPalette(OwnDib* dib, const IplImage* image)
{
    if (dib->header.biBitCount > 8)
        return 0;
    RGBQUAD table[256];
    const int32_t size = makeTable(image, table, 1 << dib->header.biBitCount);
    if (size == 0)
        return 0;
    dib->header.biClrUsed = static_cast<DWORD>(size);
    ownStoreHeader(*dib);
    ownWriteExtent(dib->block, sizeof dib->header, table,
                   static_cast<size_t>(size) * sizeof *table);
    return size;
}
