#include "_Src/size/sample.h"

#include "_Src/image/check.h"
#include "_Src/image/round.h"
#include "_Src/walk/bits.h"
#include "kernels/kernels.h"

#include <cstring>

namespace
{

using quib::ZoomPairGroup;
using quib::ZoomQuadGroup;

// The images of one call.
struct Sampling {
    IplRaster src;
    IplTarget dst;
    const IplAxis& x;
    const IplAxis& y;
};

// The elements of a destination row in one plane.
int64_t lineLength(const Sampling& job)
{
    return static_cast<int64_t>(job.x.count) * job.src.channels;
}

// --- Nearest ---------------------------------------------------------------------

int32_t nearestRow(const Sampling& job, int32_t y)
{
    return std::clamp(job.src.region.y + job.y.index.data[y], 0, job.src.height - 1);
}

int32_t nearestColumn(const Sampling& job, int32_t x)
{
    return std::clamp(job.src.region.x + job.x.index.data[x], 0, job.src.width - 1);
}

template<class Element, int32_t channels>
void gatherPixels(Element* out, const Element* row, const int32_t* offsets, int32_t width)
{
    for (int32_t x = 0; x < width; ++x, out += channels)
        for (int32_t c = 0; c < channels; ++c)
            out[c] = row[offsets[x] + c];
}

template<class Element>
void gather(Element* out, const Element* row, const int32_t* offsets, int32_t width,
            int32_t channels)
{
    switch (channels) {
    case 1:
        return gatherPixels<Element, 1>(out, row, offsets, width);
    case 3:
        return gatherPixels<Element, 3>(out, row, offsets, width);
    case 4:
        return gatherPixels<Element, 4>(out, row, offsets, width);
    default:
        for (int32_t x = 0; x < width; ++x, out += channels)
            for (int32_t c = 0; c < channels; ++c)
                out[c] = row[offsets[x] + c];
    }
}

template<class Element>
bool sampleNearest(const Sampling& job)
{
    const int32_t width = job.x.count;
    const int32_t channels = job.src.channels;
    const bool inPlace = ownTakesWholeRows(job.dst);
    const IplScratch<int32_t> offsets(width);
    const IplScratch<Element> scratch(lineLength(job));
    if (!offsets.data || !scratch.data)
        return false;
    for (int32_t x = 0; x < width; ++x)
        offsets.data[x] = nearestColumn(job, x) * job.src.stride + job.src.first;
    for (int32_t plane = 0; plane < job.src.planes; ++plane) {
        const Element* made = nullptr; // the row in hand, and where it comes from
        int32_t madeOf = -1;
        for (int32_t y = 0; y < job.y.count; ++y) {
            Element* out = inPlace ? ownRegionRow<Element>(job.dst.raster, plane, y) : scratch.data;
            const int32_t row = nearestRow(job, y);
            if (row != madeOf)
                gather(out, reinterpret_cast<const Element*>(job.src.row(plane, row)), offsets.data,
                       width, channels);
            else if (inPlace)
                std::memcpy(out, made, sizeof(Element) * width * channels);
            if (!inPlace)
                ownDeliver(job.dst, plane, y, out, channels);
            made = out;
            madeOf = row;
        }
    }
    return true;
}

bool sampleBits(const Sampling& job)
{
    const int32_t width = job.x.count;
    const IplScratch<int32_t> columns(width);
    const IplScratch<uint8_t> bits((static_cast<int64_t>(width) + 7) / 8);
    if (!columns.data || !bits.data)
        return false;
    for (int32_t x = 0; x < width; ++x)
        columns.data[x] = nearestColumn(job, x);
    int32_t madeOf = -1;
    for (int32_t y = 0; y < job.y.count; ++y) {
        const int32_t row = nearestRow(job, y);
        if (row != madeOf) {
            const uint8_t* src = job.src.row(0, row);
            for (int32_t x = 0; x < width; ++x)
                ownPutBit(bits.data, x, ownBit(src, columns.data[x]));
        }
        ownDeliverBits(job.dst, y, bits.data);
        madeOf = row;
    }
    return true;
}

// --- Windows ---------------------------------------------------------------------

// The source positions that a destination position is made of, in the image,
// and their weights. Linear windows use the first two.
struct Window {
    int32_t at[4];
    double weight[4];
    int16_t weight14[4]; // with 14 fraction bits
};

int16_t to14Bits(double weight)
{
    return static_cast<int16_t>(ownRound(weight * 16384.0));
}

void setLinear(Window* window, int32_t position, double fraction, int32_t limit)
{
    const int32_t low = std::clamp(position, 0, limit - 1);
    const int32_t high = std::clamp(position + 1, 0, limit - 1);
    // What weighs nothing need not be looked at.
    window->at[0] = fraction == 1.0 ? high : low;
    window->at[1] = fraction == 0.0 ? low : high;
    window->weight[0] = 1.0 - fraction;
    window->weight[1] = fraction;
    window->weight14[1] = to14Bits(fraction);
    window->weight14[0] = static_cast<int16_t>(16384 - window->weight14[1]);
}

// The four-point Lagrange basis on the nodes 0 to 3.
void setCubic(Window* window, int32_t position, double fraction, int32_t limit)
{
    const int32_t start = std::clamp(position - 1, 0, limit - 4);
    const double t = position - start + fraction;
    const auto outer = [](double u) { return -(u - 1) * (u - 2) * (u - 3) / 6; };
    const auto inner = [](double u) { return u * (u - 2) * (u - 3) / 2; };
    const double weights[4] = {outer(t), inner(t), inner(3 - t), outer(3 - t)};
    for (int32_t i = 0; i < 4; ++i) {
        window->at[i] = start + i;
        window->weight[i] = weights[i];
        window->weight14[i] = to14Bits(weights[i]);
    }
}

template<int32_t taps>
void setWindows(Window* windows, const IplAxis& axis, int32_t regionStart, int32_t limit)
{
    for (int32_t i = 0; i < axis.count; ++i) {
        const int32_t position = regionStart + axis.index.data[i];
        const auto set = taps == 2 ? setLinear : setCubic;
        set(&windows[i], position, axis.fraction.data[i], limit);
    }
}

// --- Lines: source rows at the columns of the destination --------------------------

// A window's rows have different numbers modulo `taps`, or are the same row, so
// the number gives the line's place. Lines stay until another row needs theirs.
template<class Line, int32_t taps>
struct Lines {
    explicit Lines(int64_t elements) : pitch(elements), block(elements * taps) {}
    void forget()
    {
        for (int32_t& row : rows)
            row = -1;
    }
    // The lines of a window's rows, of which make(line, row) makes the new ones.
    template<class Make>
    void find(const Line** found, const Window& window, Make make)
    {
        for (int32_t i = 0; i < taps; ++i) {
            const int32_t row = window.at[i];
            const int32_t place = row & (taps - 1);
            Line* line = block.data + place * pitch;
            if (rows[place] != row)
                make(line, row);
            rows[place] = row;
            found[i] = line;
        }
    }

    int64_t pitch;
    IplScratch<Line> block;
    int32_t rows[taps];
};

// Makes every destination row of the lines in its window, with makeLine(line,
// plane, row) and makeRow(out, lines, window, count of elements).
template<class Element, class Line, int32_t taps, class MakeLine, class MakeRow>
bool makeRows(const Sampling& job, MakeLine makeLine, MakeRow makeRow)
{
    const int64_t count = lineLength(job);
    const bool inPlace = ownTakesWholeRows(job.dst);
    const IplScratch<Window> windows(job.y.count);
    const IplScratch<Element> scratch(count);
    Lines<Line, taps> lines(count + quib::zoomLanes);
    if (!windows.data || !scratch.data || !lines.block.data)
        return false;
    setWindows<taps>(windows.data, job.y, job.src.region.y, job.src.height);
    for (int32_t plane = 0; plane < job.src.planes; ++plane) {
        lines.forget();
        const auto makePlaneLine = [&](Line* line, int32_t row) { makeLine(line, plane, row); };
        for (int32_t y = 0; y < job.y.count; ++y) {
            const Line* found[taps];
            lines.find(found, windows.data[y], makePlaneLine);
            Element* out = inPlace ? ownRegionRow<Element>(job.dst.raster, plane, y) : scratch.data;
            makeRow(out, found, windows.data[y], count);
            if (!inPlace)
                ownDeliver(job.dst, plane, y, out, job.src.channels);
        }
    }
    return true;
}

// --- 16-bit and float --------------------------------------------------------------

// What a tap adds. One without weight adds nothing, not even to infinity.
double weighted(double value, double weight)
{
    return weight == 0.0 ? 0.0 : value * weight;
}

void store(uint16_t* out, double value)
{
    *out = static_cast<uint16_t>(std::clamp(ownRound(value), 0.0, 65535.0));
}

void store(float* out, double value)
{
    *out = static_cast<float>(value);
}

template<class Element, int32_t taps>
void makeWideLine(double* line, const Element* row, const Sampling& job, const Window* windows)
{
    const int32_t stride = job.src.stride;
    row += job.src.first;
    for (int32_t x = 0; x < job.x.count; ++x) {
        const Window& window = windows[x];
        for (int32_t c = 0; c < job.src.channels; ++c) {
            double sum = 0;
            for (int32_t i = 0; i < taps; ++i)
                sum += weighted(row[static_cast<ptrdiff_t>(window.at[i]) * stride + c],
                                window.weight[i]);
            *line++ = sum;
        }
    }
}

template<class Element, int32_t taps>
void makeWideRow(Element* out, const double* const* lines, const Window& window, int64_t count)
{
    for (int64_t k = 0; k < count; ++k) {
        double sum = 0;
        for (int32_t i = 0; i < taps; ++i)
            sum += weighted(lines[i][k], window.weight[i]);
        store(out + k, sum);
    }
}

template<class Element, int32_t taps>
bool sampleWide(const Sampling& job)
{
    const IplScratch<Window> columns(job.x.count);
    if (!columns.data)
        return false;
    setWindows<taps>(columns.data, job.x, job.src.region.x, job.src.width);
    const auto makeLine = [&](double* line, int32_t plane, int32_t row) {
        const uint8_t* src = job.src.row(plane, row);
        makeWideLine<Element, taps>(line, reinterpret_cast<const Element*>(src), job, columns.data);
    };
    return makeRows<Element, double, taps>(job, makeLine, makeWideRow<Element, taps>);
}

// --- 8-bit ---------------------------------------------------------------------------

// What differs between the two kinds of window.
void setTaps(ZoomPairGroup* group, int32_t lane, const Window& window, const int32_t* picks)
{
    for (int32_t i = 0; i < 2; ++i) {
        group->pick[lane * 2 + i] = static_cast<uint8_t>(picks[i]);
        group->weights[lane * 2 + i] = window.weight14[i];
    }
}

void setTaps(ZoomQuadGroup* group, int32_t lane, const Window& window, const int32_t* picks)
{
    for (int32_t i = 0; i < 4; ++i) {
        group->pick[i >> 1][lane * 2 + (i & 1)] = static_cast<uint8_t>(picks[i]);
        group->weights[i >> 1][lane * 2 + (i & 1)] = window.weight14[i];
    }
}

void makeLine8(int16_t* line, const uint8_t* row, const ZoomPairGroup* groups, size_t count)
{
    quib::kernels().zoom.linearLine(line, row, groups, count);
}

void makeLine8(int16_t* line, const uint8_t* row, const ZoomQuadGroup* groups, size_t count)
{
    quib::kernels().zoom.cubicLine(line, row, groups, count);
}

void makeRow8(uint8_t* out, const int16_t* const (&lines)[2], const Window& window, size_t count)
{
    quib::kernels().zoom.linearRow(out, lines[0], lines[1], window.weight14[1], count);
}

void makeRow8(uint8_t* out, const int16_t* const (&lines)[4], const Window& window, size_t count)
{
    quib::kernels().zoom.cubicRow(out, lines, window.weight14, count);
}

// Source rows as the line kernels want them: pixels of at most 4 elements, and
// rows of at least one window. Rows that are not so are copied.
struct RowSource {
    explicit RowSource(const Sampling& job)
        : raster(job.src), width(job.src.width), picksOne(raster.stride > 4),
          stride(picksOne ? 1 : raster.stride), first(picksOne ? 0 : raster.first),
          length(std::max(width * stride, quib::zoomWindow)),
          copies(picksOne || width * stride < quib::zoomWindow), copy(copies ? length : 1)
    {
    }
    const uint8_t* row(int32_t plane, int32_t y) const
    {
        const uint8_t* src = raster.row(plane, y);
        if (!copies)
            return src;
        const uint8_t* from = picksOne ? src + raster.first : src;
        const int32_t count = picksOne ? width : width * stride;
        const ptrdiff_t step = picksOne ? raster.stride : 1;
        for (int32_t i = 0; i < count; ++i)
            copy.data[i] = from[i * step];
        return copy.data;
    }

    const IplRaster& raster;
    int32_t width;
    bool picksOne; // one channel out of many
    int32_t stride;
    int32_t first;
    int32_t length; // of a row, in bytes
    bool copies;
    IplScratch<uint8_t> copy;
};

// Begins a group whose elements come from `start` on; a null one is only counted.
template<class Group>
void beginGroup(Group* group, int32_t start, int32_t output)
{
    if (!group)
        return;
    *group = {};
    group->source = start;
    group->output = output;
}

// Gives a group's lane the window of an element; `offset` leads from the window's
// pixels to the group's bytes.
template<int32_t taps, class Group>
void setLane(Group* group, int32_t lane, const Window& window, int32_t stride, int32_t offset)
{
    if (!group)
        return;
    int32_t picks[taps];
    for (int32_t i = 0; i < taps; ++i)
        picks[i] = window.at[i] * stride + offset;
    setTaps(group, lane, window, picks);
}

// Lays the elements of a line into groups and gives their number; groups null
// only counts.
template<class Group, int32_t taps>
int64_t layGroups(Group* groups, const Window* windows, const Sampling& job,
                  const RowSource& source)
{
    const int32_t channels = job.src.channels;
    int64_t count = 0;
    int32_t lane = quib::zoomLanes;
    int32_t start = 0;
    for (int32_t x = 0; x < job.x.count; ++x) {
        const int32_t pixel = windows[x].at[0] * source.stride + source.first;
        const int32_t last = windows[x].at[taps - 1] * source.stride + source.first;
        for (int32_t c = 0; c < channels; ++c) {
            if (lane == quib::zoomLanes || last + c >= start + quib::zoomWindow) {
                // The next pixel may need the channels before this one.
                start = std::min(pixel, source.length - quib::zoomWindow);
                lane = 0;
                beginGroup(groups ? groups + count : nullptr, start, x * channels + c);
                ++count;
            }
            setLane<taps>(groups ? groups + count - 1 : nullptr, lane, windows[x], source.stride,
                          source.first + c - start);
            ++lane;
        }
    }
    return count;
}

template<class Group, int32_t taps>
bool sample8(const Sampling& job)
{
    const RowSource source(job);
    const IplScratch<Window> columns(job.x.count);
    if (!source.copy.data || !columns.data)
        return false;
    setWindows<taps>(columns.data, job.x, job.src.region.x, job.src.width);
    const int64_t groupCount = layGroups<Group, taps>(nullptr, columns.data, job, source);
    const IplScratch<Group> groups(groupCount);
    if (!groups.data)
        return false;
    layGroups<Group, taps>(groups.data, columns.data, job, source);

    const auto makeLine = [&](int16_t* line, int32_t plane, int32_t row) {
        makeLine8(line, source.row(plane, row), groups.data, static_cast<size_t>(groupCount));
    };
    const auto makeRow = [](uint8_t* out, const int16_t* const(&lines)[taps], const Window& window,
                            int64_t count) {
        makeRow8(out, lines, window, static_cast<size_t>(count));
    };
    return makeRows<uint8_t, int16_t, taps>(job, makeLine, makeRow);
}

// --- Choice ----------------------------------------------------------------------------

template<class Element>
bool sampleAs(const Sampling& job, int32_t mode)
{
    if (mode == IPL_INTER_NN)
        return sampleNearest<Element>(job);
    return mode == IPL_INTER_LINEAR ? sampleWide<Element, 2>(job) : sampleWide<Element, 4>(job);
}

template<>
bool sampleAs<uint8_t>(const Sampling& job, int32_t mode)
{
    if (mode == IPL_INTER_NN)
        return sampleNearest<uint8_t>(job);
    return mode == IPL_INTER_LINEAR ? sample8<ZoomPairGroup, 2>(job)
                                    : sample8<ZoomQuadGroup, 4>(job);
}

} // namespace

bool ownSample(const IplImage* src, const IplImage* dst, const IplImage* mask, const IplAxis& x,
               const IplAxis& y, int32_t mode)
{
    Sampling job{{}, {}, x, y};
    if (!ownRegionStart(src, &job.src) || !ownOpenTarget(dst, mask, x.count, y.count, &job.dst))
        return true;
    // The line kernels take pixels of at most 4 elements.
    if (src->depth == IPL_DEPTH_8U && job.src.stride > 4) {
        ownSplitChannels(&job.src);
        ownSplitChannels(&job.dst.raster);
    }
    switch (ownDepthBits(src->depth)) {
    case 1:
        return sampleBits(job);
    case 8:
        return sampleAs<uint8_t>(job, mode);
    case 16:
        return sampleAs<uint16_t>(job, mode);
    default:
        return sampleAs<float>(job, mode);
    }
}
