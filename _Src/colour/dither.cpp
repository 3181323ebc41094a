#include "_Src/colour/dither.h"

#include "_Src/image/check.h"
#include "_Src/walk/raster.h"
#include "kernels/kernels.h"

#include <algorithm>
#include <cstring>

namespace
{

// Bayer's matrix, from the first row's first column on.
constexpr int32_t bayerOrder[8][8] = {
    {0, 32, 8, 40, 2, 34, 10, 42},  {48, 16, 56, 24, 50, 18, 58, 26},
    {12, 44, 4, 36, 14, 46, 6, 38}, {60, 28, 52, 20, 62, 30, 54, 22},
    {3, 35, 11, 43, 1, 33, 9, 41},  {51, 19, 59, 27, 49, 17, 57, 25},
    {15, 47, 7, 39, 13, 45, 5, 37}, {63, 31, 55, 23, 61, 29, 53, 21},
};

// The largest element of a depth, as far as its levels go.
double rangeOf(uint32_t depth)
{
    const int32_t bits = depth == IPL_DEPTH_32S ? 31 : ownDepthBits(depth);
    return static_cast<double>((int64_t{1} << bits) - 1);
}

// --- Elements ----------------------------------------------------------------------

// One channel of a row of pixels, from its first element on.
struct Strand {
    uint32_t depth;
    size_t offset; // in elements
    size_t stride;
    size_t count;

    template<class Element>
    Element* in(void* row) const
    {
        return static_cast<Element*>(row) + offset;
    }
    template<class Element>
    const Element* in(const void* row) const
    {
        return static_cast<const Element*>(row) + offset;
    }
};

void readStrand(double* values, const void* row, const Strand& from)
{
    const quib::DitherKernels& dither = quib::kernels().dither;
    switch (from.depth) {
    case IPL_DEPTH_8U:
        return dither.from8(values, from.in<uint8_t>(row), from.stride, from.count);
    case IPL_DEPTH_16U:
        return dither.from16(values, from.in<uint16_t>(row), from.stride, from.count);
    case IPL_DEPTH_32S:
        return dither.from32(values, from.in<int32_t>(row), from.stride, from.count);
    default:
        return dither.fromFloats(values, from.in<float>(row), from.stride, from.count);
    }
}

// Bits are bytes, 0 or 1.
void writeStrand(void* row, const Strand& to, const double* levels, double most)
{
    const quib::DitherKernels& dither = quib::kernels().dither;
    const double range = rangeOf(to.depth);
    switch (to.depth) {
    case IPL_DEPTH_1U:
    case IPL_DEPTH_8U:
        return dither.to8(to.in<uint8_t>(row), to.stride, levels, to.count, range, most);
    case IPL_DEPTH_16U:
        return dither.to16(to.in<uint16_t>(row), to.stride, levels, to.count, range, most);
    case IPL_DEPTH_32S:
        return dither.to32(to.in<int32_t>(row), to.stride, levels, to.count, range, most);
    default:
        return dither.toFloats(to.in<float>(row), to.stride, levels, to.count, range, most);
    }
}

// --- Noise -------------------------------------------------------------------------

// The finaliser of SplitMix64 (G. L. Steele, D. Lea and C. H. Flood, "Fast splittable
// pseudorandom number generators", 2014) over the numbers of the pixels: the noise of
// a pixel is the same in any order of work.
uint32_t randomWord(uint64_t number)
{
    uint64_t z = (number + 1) * 0x9E3779B97F4A7C15u;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return static_cast<uint32_t>((z ^ (z >> 31)) >> 32);
}

// Evenly distributed from -most up to most.
void makeNoise(double* offsets, int32_t channel, int64_t y, size_t count, double most)
{
    const uint64_t row = static_cast<uint64_t>(channel) << 56 ^ static_cast<uint64_t>(y) << 32;
    for (size_t x = 0; x < count; ++x) {
        const int32_t word = static_cast<int32_t>(randomWord(row + x));
        offsets[x] = word * (most / 2147483648.0);
    }
}

// --- Rows --------------------------------------------------------------------------

using Diffuse = void (*)(const quib::DiffusionBand& band);

Diffuse diffusionOf(int32_t ditherType)
{
    const quib::DitherKernels& dither = quib::kernels().dither;
    switch (ditherType) {
    case IPL_DITHER_FS:
        return dither.floydSteinberg;
    case IPL_DITHER_JJH:
        return dither.jarvisJudiceNinke;
    case IPL_DITHER_STUCKEY:
        return dither.stucki;
    default:
        return nullptr;
    }
}

constexpr int64_t bandRows = quib::ditherRows;

// Makes the rows of a reduction. Diffused ones are made in bands, when the first one
// of a band is asked for.
class Reducer
{
public:
    Reducer(const IplReduction& itsReduction, int64_t itsWidth, int64_t elements);
    bool operator()(const IplWindowRow& row);

private:
    void makeRow(const IplWindowRow& row, int32_t channel);
    void makeBand(const IplWindowRow& row, int32_t channel);
    double* valuesOf(int64_t r) const { return values.data + r * width; }
    const double* noiseOf(int64_t r, const IplWindowRow& row, int32_t channel) const;
    uint8_t* madeRow(int64_t r) const { return made.data + r * madeBytes; }
    double* errorsOf(int64_t row) const
    {
        return errors.data + row * (width + 2 * margin) + margin;
    }
    Strand strandOf(uint32_t depth, const IplWindowRow& row, int32_t channel) const;

    static constexpr int64_t margin = quib::ditherMargin;
    const IplReduction& reduction;
    const Diffuse diffuse; // null: rows are made one by one
    const int64_t width;
    const int64_t madeBytes; // of a row of results
    const int32_t wanted;    // channels
    quib::Levels levels;
    int32_t pass = -1; // over all rows
    IplScratch<double> values;
    IplScratch<double> noise;
    IplScratch<double> errors; // two rows a channel
    IplScratch<uint8_t> made;
};

quib::Levels levelsOf(const IplReduction& reduction)
{
    const double most = static_cast<double>(reduction.most);
    return {rangeOf(reduction.src->depth) / most, most};
}

int32_t wantedChannels(const IplReduction& reduction)
{
    return std::min(ownProcessedChannels(reduction.src), ownProcessedChannels(reduction.dst));
}

Reducer::Reducer(const IplReduction& itsReduction, int64_t itsWidth, int64_t elements)
    : reduction(itsReduction), diffuse(diffusionOf(reduction.ditherType)), width(itsWidth),
      madeBytes(elements * ownElementBytes(reduction.dst->depth)),
      wanted(wantedChannels(reduction)), levels(levelsOf(reduction)),
      values(width * (diffuse ? bandRows : 1)),
      noise(reduction.noise == 0 ? 1 : width * (diffuse ? bandRows : 1)),
      errors(diffuse ? wanted * (width + 2 * margin) * 2 : 1),
      made(diffuse ? std::min<int64_t>(madeBytes, INT32_MAX) * bandRows : 1)
{
}

Strand Reducer::strandOf(uint32_t depth, const IplWindowRow& row, int32_t channel) const
{
    return {depth, static_cast<size_t>(channel), static_cast<size_t>(row.channels),
            static_cast<size_t>(row.width)};
}

// The offsets of row r of a band; null without noise.
const double* Reducer::noiseOf(int64_t r, const IplWindowRow& row, int32_t channel) const
{
    if (reduction.noise == 0)
        return nullptr;
    double* offsets = noise.data + r * width;
    makeNoise(offsets, pass + channel, row.y + r, static_cast<size_t>(row.width),
              levels.step * reduction.noise / 100);
    return offsets;
}

void Reducer::makeRow(const IplWindowRow& row, int32_t channel)
{
    const quib::DitherKernels& dither = quib::kernels().dither;
    const Strand to = strandOf(reduction.dst->depth, row, channel);
    readStrand(values.data, row.rows[0], strandOf(reduction.src->depth, row, channel));
    if (reduction.ditherType == IPL_DITHER_NONE) {
        const double range = rangeOf(to.depth);
        dither.scaleDown(values.data, to.count, (range + 1) / (rangeOf(reduction.src->depth) + 1),
                         range);
        return writeStrand(row.result, to, values.data, range);
    }
    double thresholds[8];
    for (int32_t x = 0; x < 8; ++x)
        thresholds[x] = (2 * bayerOrder[row.y % 8][x] + 1) / 128.0;
    dither.order(values.data, noiseOf(0, row, channel), thresholds, to.count, levels);
    writeStrand(row.result, to, values.data, levels.most);
}

void Reducer::makeBand(const IplWindowRow& row, int32_t channel)
{
    double* rows[bandRows];
    const double* offsets[bandRows];
    for (int64_t r = 0; r < bandRows; ++r) {
        rows[r] = valuesOf(r);
        offsets[r] = noiseOf(r, row, channel);
        readStrand(rows[r], row.rows[r], strandOf(reduction.src->depth, row, channel));
    }
    diffuse({rows, reduction.noise == 0 ? nullptr : offsets, static_cast<size_t>(row.width),
             errorsOf(int64_t{2} * channel), errorsOf(int64_t{2} * channel + 1), levels});
    for (int64_t r = 0; r < bandRows; ++r)
        writeStrand(madeRow(r), strandOf(reduction.dst->depth, row, channel), rows[r], levels.most);
}

bool Reducer::operator()(const IplWindowRow& row)
{
    if (!values.data || !noise.data || !errors.data || !made.data)
        return false;
    if (row.y == 0) {
        ++pass;
        std::fill_n(errors.data, diffuse ? wanted * (width + 2 * margin) * 2 : 0, 0.0);
    }
    const int32_t channels = std::min(wanted, row.channels);
    const int64_t r = row.y % bandRows;
    for (int32_t channel = 0; channel < channels; ++channel) {
        if (!diffuse)
            makeRow(row, channel);
        else if (r == 0)
            makeBand(row, channel);
    }
    if (diffuse)
        std::memcpy(row.result, madeRow(r),
                    static_cast<size_t>(row.width) * static_cast<size_t>(row.channels) *
                        static_cast<size_t>(ownElementBytes(reduction.dst->depth)));
    return true;
}

// --- The frequent cases ------------------------------------------------------------

// Two levels of bytes: an element is compared with the least one of its place that
// gives the higher level.
class Thresholds
{
public:
    Thresholds(int64_t itsElements, uint8_t itsHigh)
        : elements(itsElements), high(itsHigh), rows(std::min<int64_t>(elements, INT32_MAX) * 8)
    {
    }
    bool operator()(const IplWindowRow& row)
    {
        if (!rows.data)
            return false;
        if (row.y == 0)
            arrange(row);
        quib::kernels().dither.threshold8(
            static_cast<uint8_t*>(row.result), row.rows[0], rows.data + row.y % 8 * elements,
            static_cast<size_t>(row.width) * static_cast<size_t>(row.channels), high);
        return true;
    }

private:
    void arrange(const IplWindowRow& row) const
    {
        for (int32_t y = 0; y < 8; ++y) {
            uint8_t* out = rows.data + y * elements;
            for (int32_t x = 0; x < row.width; ++x) {
                const int32_t least = (255 * (127 - 2 * bayerOrder[y][x % 8]) + 127) / 128;
                for (int32_t c = 0; c < row.channels; ++c)
                    *out++ = static_cast<uint8_t>(least);
            }
        }
    }

    const int64_t elements;
    const uint8_t high;
    const IplScratch<uint8_t> rows;
};

IplWindowEnd copyRows(const IplWindowJob& job)
{
    const size_t bytes = static_cast<size_t>(ownElementBytes(job.src->depth));
    return ownFilterWindows(job, [bytes](const IplWindowRow& row) {
        std::memcpy(row.result, row.rows[0],
                    static_cast<size_t>(row.width) * static_cast<size_t>(row.channels) * bytes);
        return true;
    });
}

} // namespace

IplWindowEnd ownReduceLevels(const IplReduction& reduction)
{
    const uint32_t from = reduction.src->depth;
    const uint32_t to = reduction.dst->depth;
    IplWindowJob job{reduction.src, reduction.dst, {}};
    const int64_t elements = ownMostElements(job);
    if (reduction.ditherType == IPL_DITHER_NONE && from == to)
        return copyRows(job);
    if (reduction.ditherType == IPL_DITHER_BAYER && from == IPL_DEPTH_8U && reduction.most == 1 &&
        reduction.noise == 0)
        return ownFilterWindows(
            job, Thresholds(elements, to == IPL_DEPTH_1U ? uint8_t{1} : uint8_t{255}));
    if (diffusionOf(reduction.ditherType))
        job.reach.bottom = bandRows - 1;
    return ownFilterWindows(job, Reducer(reduction, elements / reduction.src->nChannels, elements));
}
