#include "_Src/size/owndecim.h"

#include "_Src/image/check.h"
#include "_Src/size/sample.h"
#include "_Src/walk/bits.h"
#include "kernels/kernels.h"

#include <cstring>

namespace
{

// Whether areas are made of whole pixels.
bool isWhole(const IplFactors& factors)
{
    return factors.xSrc % factors.xDst == 0 && factors.ySrc % factors.yDst == 0;
}

// --- Samples -----------------------------------------------------------------------

void fillAxis(IplAxis* axis, int32_t dstFactor, int32_t srcFactor)
{
    for (int32_t i = 0; i < axis->count; ++i) {
        const int64_t position = static_cast<int64_t>(i) * srcFactor;
        axis->index.data[i] = static_cast<int32_t>(position / dstFactor);
        axis->fraction.data[i] = static_cast<double>(position % dstFactor) / dstFactor;
    }
}

// --- Areas of whole pixels -----------------------------------------------------------

struct Areas {
    IplRaster src;
    IplTarget dst;
};

// All elements of the region's pixels, whether they take part or not.
template<class Element>
const Element* pixelRow(const Areas& job, int32_t plane, int32_t y)
{
    return ownRegionRow<const Element>(job.src, plane, y) - job.src.first;
}

void makeMeans(uint8_t* out, const uint8_t* src, ptrdiff_t step, const quib::AreaBlock& block,
               int32_t width, void* scratch)
{
    quib::kernels().area.blockMeans(out, 0, src, step, block, static_cast<size_t>(width), 1,
                                    scratch);
}

// The sum of one channel's elements in a block.
uint64_t sumOfBlock(const uint16_t* channel, ptrdiff_t step, const quib::AreaBlock& block)
{
    uint64_t sum = 0;
    for (int32_t y = 0; y < block.ySize; ++y) {
        const auto* row =
            reinterpret_cast<const uint16_t*>(reinterpret_cast<const uint8_t*>(channel) + y * step);
        for (int32_t i = 0; i < block.xSize; ++i)
            sum += row[static_cast<ptrdiff_t>(i) * block.channels];
    }
    return sum;
}

void makeMeans(uint16_t* out, const uint16_t* src, ptrdiff_t step, const quib::AreaBlock& block,
               int32_t width, void*)
{
    const uint64_t count = static_cast<uint64_t>(block.xSize) * static_cast<uint64_t>(block.ySize);
    const ptrdiff_t advance = static_cast<ptrdiff_t>(block.xSize) * block.channels;
    for (int32_t x = 0; x < width; ++x, src += advance) {
        for (int32_t c = 0; c < block.channels; ++c) {
            const uint64_t sum = sumOfBlock(src + c, step, block);
            *out++ = static_cast<uint16_t>((sum + count / 2) / count);
        }
    }
}

// All planes and rows at once, where nothing has to be left out.
bool averageWholeImage(const Areas& job, const quib::AreaBlock& block, void* scratch)
{
    for (int32_t plane = 0; plane < job.src.planes; ++plane)
        quib::kernels().area.blockMeans(ownRegionRow<uint8_t>(job.dst.raster, plane, 0),
                                        job.dst.raster.step, pixelRow<uint8_t>(job, plane, 0),
                                        job.src.step, block, static_cast<size_t>(job.dst.width),
                                        static_cast<size_t>(job.dst.height), scratch);
    return true;
}

template<class Element>
bool averageWhole(const Areas& job, int32_t xSize, int32_t ySize)
{
    // All elements of the pixels are averaged, the processed ones delivered.
    const quib::AreaBlock block{xSize, ySize, job.src.stride};
    const int64_t srcElements = static_cast<int64_t>(job.dst.width) * xSize * job.src.stride;
    const IplScratch<uint32_t> sums(srcElements);
    const IplScratch<Element> scratch(static_cast<int64_t>(job.dst.width) * job.src.stride);
    if (!sums.data || !scratch.data)
        return false;
    if (sizeof(Element) == 1 && ownTakesWholeRows(job.dst) && job.src.channels == job.src.stride)
        return averageWholeImage(job, block, sums.data);
    for (int32_t plane = 0; plane < job.src.planes; ++plane) {
        for (int32_t y = 0; y < job.dst.height; ++y) {
            makeMeans(scratch.data, pixelRow<Element>(job, plane, y * ySize), job.src.step, block,
                      job.dst.width, sums.data);
            ownDeliver(job.dst, plane, y, scratch.data + job.src.first, job.src.stride);
        }
    }
    return true;
}

// --- Areas that cut pixels -------------------------------------------------------------

using quib::AreaSpan;

// How far a boundary may be off a whole number and still count as one.
constexpr float boundaryTolerance = 0.0001f;

// Appends a pixel to a span.
void addPixel(AreaSpan* span, int32_t pixel, float weight)
{
    if (span->count++ == 0) {
        span->first = pixel;
        span->head = weight;
    } else {
        span->tail = weight;
    }
}

// Goes from pixel to pixel with what the area in hand still takes of them.
void setSpans(AreaSpan* spans, int32_t count, float size, int32_t limit)
{
    std::memset(spans, 0, sizeof(AreaSpan) * count);
    AreaSpan* const end = spans + count;
    float rest = size;
    for (int32_t pixel = 0; pixel < limit && spans != end; ++pixel) {
        if (rest >= 1.0f - boundaryTolerance) {
            addPixel(spans, pixel, 1.0f);
            rest -= 1.0f;
            if (rest <= boundaryTolerance) {
                ++spans;
                // A boundary that counts as whole still keeps its place.
                rest += size;
            }
            continue;
        }
        addPixel(spans, pixel, rest);
        if (++spans != end)
            addPixel(spans, pixel, 1.0f - rest);
        rest = size - (1.0f - rest);
    }
    // Rounding may have pushed the last boundary past the last pixel.
    for (; spans != end; ++spans)
        if (spans->count == 0)
            addPixel(spans, limit - 1, 1.0f);
}

float weightOf(const AreaSpan& span, int32_t i)
{
    return i == 0 ? span.head : i == span.count - 1 ? span.tail : 1.0f;
}

// The tables and the sum buffer of a call.
struct AreaTables {
    AreaTables(const Areas& job, const IplFactors& factors)
        : columns(job.dst.width), rows(job.dst.height),
          elements(static_cast<int64_t>(job.src.region.width) * job.src.stride),
          sums(elements + quib::areaSlack), between(elements),
          xSize(static_cast<float>(factors.xSrc) / static_cast<float>(factors.xDst)),
          ySize(static_cast<float>(factors.ySrc) / static_cast<float>(factors.yDst))
    {
        if (!exists())
            return;
        setSpans(columns.data, job.dst.width, xSize, job.src.region.width);
        setSpans(rows.data, job.dst.height, ySize, job.src.region.height);
        clear();
    }
    bool exists() const { return columns.data && rows.data && sums.data && between.data; }
    void clear() const
    {
        std::memset(sums.data, 0, sizeof(float) * static_cast<size_t>(elements + quib::areaSlack));
    }
    float scale() const { return static_cast<float>(1.0 / (xSize * ySize)); }

    IplScratch<AreaSpan> columns;
    IplScratch<AreaSpan> rows;
    int64_t elements;             // in a source row
    IplScratch<float> sums;       // of the columns, under one destination row
    IplScratch<uint32_t> between; // the row kernel's scratch
    float xSize;                  // of a destination pixel
    float ySize;
};

float spanSum(const float* sums, const AreaSpan& span, int32_t stride)
{
    const float* at = sums + static_cast<ptrdiff_t>(span.first) * stride;
    float sum = 0;
    for (int32_t i = 0; i < span.count; ++i)
        sum += weightOf(span, i) * at[static_cast<ptrdiff_t>(i) * stride];
    return sum;
}

void store(uint8_t* out, float value)
{
    *out = static_cast<uint8_t>(std::min(static_cast<int32_t>(value + 0.5f), 255));
}

void store(uint16_t* out, float value)
{
    *out = static_cast<uint16_t>(std::min(static_cast<int32_t>(value + 0.5f), 65535));
}

void store(float* out, float value)
{
    *out = value;
}

// A destination row, all elements of its pixels.
template<class Element>
void averageRow(Element* out, const Areas& job, const AreaTables& tables, int32_t plane,
                const AreaSpan& rows)
{
    float* const sums = tables.sums.data;
    tables.clear();
    for (int32_t i = 0; i < rows.count; ++i) {
        const Element* row = pixelRow<Element>(job, plane, rows.first + i);
        const float weight = weightOf(rows, i);
        for (int64_t k = 0; k < tables.elements; ++k)
            sums[k] += weight * static_cast<float>(row[k]);
    }
    const int32_t stride = job.src.stride;
    const float scale = tables.scale();
    for (int32_t x = 0; x < job.dst.width; ++x)
        for (int32_t c = 0; c < stride; ++c)
            store(out++, spanSum(sums + c, tables.columns.data[x], stride) * scale);
}

void averageRow(uint8_t* out, const Areas& job, const AreaTables& tables, int32_t plane,
                const AreaSpan& rows)
{
    if (rows.count > quib::areaTallestSpan)
        return averageRow<uint8_t>(out, job, tables, plane, rows);
    const quib::AreaKernels& kernels = quib::kernels().area;
    kernels.spanColumns(tables.sums.data, pixelRow<uint8_t>(job, plane, rows.first), job.src.step,
                        rows, static_cast<size_t>(tables.elements), tables.between.data);
    kernels.spanMeans(out, tables.sums.data, tables.columns.data,
                      static_cast<size_t>(job.dst.width), job.src.stride, tables.scale());
}

template<class Element>
bool averageCut(const Areas& job, const IplFactors& factors)
{
    const AreaTables tables(job, factors);
    const IplScratch<Element> scratch(static_cast<int64_t>(job.dst.width) * job.src.stride);
    if (!tables.exists() || !scratch.data)
        return false;
    const bool inPlace = ownTakesWholeRows(job.dst) && job.src.channels == job.src.stride;
    for (int32_t plane = 0; plane < job.src.planes; ++plane) {
        for (int32_t y = 0; y < job.dst.height; ++y) {
            Element* out = inPlace ? ownRegionRow<Element>(job.dst.raster, plane, y) : scratch.data;
            averageRow(out, job, tables, plane, tables.rows.data[y]);
            if (!inPlace)
                ownDeliver(job.dst, plane, y, out + job.src.first, job.src.stride);
        }
    }
    return true;
}

// --- Areas of bits, by whole numbers: half of an area is a sharp bound --------------

// Goes along an axis in parts of which a source pixel's side has `dstFactor` and
// an area's `srcFactor`.
struct BitWalk {
    explicit BitWalk(int32_t dstFactor) : whole(dstFactor), left(dstFactor) {}

    // Calls visit(pixel, parts) for what the next area takes of each source pixel.
    template<class Visit>
    void takeArea(int32_t srcFactor, Visit visit)
    {
        for (int32_t rest = srcFactor; rest > 0;) {
            const int32_t parts = std::min(rest, left);
            visit(pixel, static_cast<uint32_t>(parts));
            rest -= parts;
            left -= parts;
            if (left == 0) {
                ++pixel;
                left = whole;
            }
        }
    }

    int32_t whole;
    int32_t left; // of the pixel in hand
    int32_t pixel = 0;
};

void addBits(uint32_t* sums, const uint8_t* row, int32_t start, uint32_t weight, int32_t count)
{
    for (int32_t i = 0; i < count; ++i)
        if (ownBit(row, start + i))
            sums[i] += weight;
}

bool averageBits(const Areas& job, const IplFactors& factors)
{
    const IplScratch<uint32_t> sums(
        job.src.region.width); // of the columns, under one destination row
    const IplScratch<uint8_t> bits((static_cast<int64_t>(job.dst.width) + 7) / 8);
    if (!sums.data || !bits.data)
        return false;
    const uint64_t area = static_cast<uint64_t>(factors.xSrc) * static_cast<uint64_t>(factors.ySrc);
    BitWalk rows(factors.yDst);
    for (int32_t y = 0; y < job.dst.height; ++y) {
        std::memset(sums.data, 0, sizeof(uint32_t) * static_cast<size_t>(job.src.region.width));
        rows.takeArea(factors.ySrc, [&](int32_t row, uint32_t parts) {
            addBits(sums.data, ownImageRow(job.src, row), job.src.region.x, parts,
                    job.src.region.width);
        });
        BitWalk columns(factors.xDst);
        for (int32_t x = 0; x < job.dst.width; ++x) {
            uint64_t sum = 0;
            columns.takeArea(factors.xSrc, [&](int32_t column, uint32_t parts) {
                sum += uint64_t{parts} * sums.data[column];
            });
            ownPutBit(bits.data, x, 2 * sum >= area);
        }
        ownDeliverBits(job.dst, y, bits.data);
    }
    return true;
}

template<class Element>
bool average(const Areas& job, const IplFactors& factors)
{
    const int64_t xSize = factors.xSrc / factors.xDst;
    const int64_t ySize = factors.ySrc / factors.yDst;
    if (isWhole(factors) && xSize * ySize <= quib::areaLargestBlock)
        return averageWhole<Element>(job, static_cast<int32_t>(xSize), static_cast<int32_t>(ySize));
    return averageCut<Element>(job, factors);
}

} // namespace

bool ownDecimateSamples(const IplScaling& scaling, const IplFactors& factors, int32_t mode)
{
    IplAxis x(scaling.width);
    IplAxis y(scaling.height);
    if (!x.exists() || !y.exists())
        return false;
    fillAxis(&x, factors.xDst, factors.xSrc);
    fillAxis(&y, factors.yDst, factors.ySrc);
    return ownSample(&scaling.src, &scaling.dst, scaling.mask, x, y, mode);
}

bool ownDecimateAreas(const IplScaling& scaling, const IplFactors& factors)
{
    Areas job{};
    if (!ownRegionStart(&scaling.src, &job.src) ||
        !ownOpenTarget(&scaling.dst, scaling.mask, scaling.width, scaling.height, &job.dst))
        return true;
    switch (ownDepthBits(scaling.src.depth)) {
    case 1:
        return averageBits(job, factors);
    case 8:
        return average<uint8_t>(job, factors);
    case 16:
        return average<uint16_t>(job, factors);
    default:
        return averageCut<float>(job, factors);
    }
}
