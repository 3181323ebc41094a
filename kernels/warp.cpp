#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{

enum WarpMode : int32_t { warpNearest, warpLinear, warpCubic };

// How many pixels go through the places at a time. So many more are made that a
// vector which begins with a pixel of the run has places for all its lanes.
constexpr int32_t warpChunk = 256;
constexpr int32_t warpSlack = static_cast<int32_t>(wide / 4);

// Pixels, or windows' first pixels, with weights: for linear windows that of the
// second pixel, for cubic ones an index of the weights, or the position in the
// window.
template<class Weight>
struct WarpPlaces {
    int32_t x[warpChunk + warpSlack];
    int32_t y[warpChunk + warpSlack];
    Weight fx[warpChunk + warpSlack];
    Weight fy[warpChunk + warpSlack];
    int32_t taken[warpChunk + warpSlack]; // 0 or not
};

constexpr int32_t warpOne = 0x4000; // weights of bytes
constexpr int32_t warpCubicScale = 512;
constexpr int32_t warpCubicLast = 3 * warpCubicScale;

// --- Cubic weights -----------------------------------------------------------------

// The four Lagrange polynomials on the nodes 0 to 3 at i / 512.
struct WarpWeights {
    int16_t at[4];
};
struct WarpCubicTable {
    WarpWeights weights[warpCubicLast + 1];
};

// Rounded to nearest; no quotient lies halfway.
constexpr int16_t warpNearestQuotient(int64_t value, int64_t divisor)
{
    const int64_t shifted = 2 * value + divisor;
    const int64_t below = shifted % (2 * divisor) < 0 ? 1 : 0;
    return static_cast<int16_t>(shifted / (2 * divisor) - below);
}

constexpr WarpCubicTable makeWarpCubicTable()
{
    WarpCubicTable table{};
    constexpr int64_t n = warpCubicScale;
    constexpr int64_t unit = n * n * n / warpOne;
    for (int64_t i = 0; i <= warpCubicLast; ++i) {
        const int64_t outer = -(i - n) * (i - 2 * n) * (i - 3 * n);
        const int64_t inner = i * (i - 2 * n) * (i - 3 * n);
        table.weights[i].at[0] = warpNearestQuotient(outer, 6 * unit);
        table.weights[i].at[1] = warpNearestQuotient(inner, 2 * unit);
        table.weights[warpCubicLast - i].at[3] = table.weights[i].at[0];
        table.weights[warpCubicLast - i].at[2] = table.weights[i].at[1];
    }
    return table;
}

constexpr WarpCubicTable warpCubicTable = makeWarpCubicTable();

// --- Places of bytes -----------------------------------------------------------------

int32_t warpHold(int32_t value, int32_t most)
{
    value = value < 0 ? 0 : value;
    return value > most ? most : value;
}

I32<> warpHold(I32<> values, int32_t most)
{
    return smaller(larger(values, I32<>{}), spread<I32<>>(most));
}

// 0, 1, 2, ...
I32<> warpLaneNumbers()
{
    I32<> numbers{};
    for (size_t i = 0; i < lanesOf<I32<>>; ++i)
        numbers[i] = static_cast<int32_t>(i);
    return numbers;
}

template<WarpMode mode>
void warpFixedAxis(int32_t* at, int32_t* weight, uint32_t start, uint32_t step, int32_t most,
                   int32_t count)
{
    const int32_t limit = most > INT16_MAX ? INT32_MAX : most << 16;
    U32<> position = start + as<U32<>>(warpLaneNumbers()) * step;
    for (int32_t i = 0; i < count; i += warpSlack, position += step * warpSlack) {
        const I32<> held = warpHold(as<I32<>>(position), limit);
        I32<> pixel = held >> 16;
        if constexpr (mode == warpNearest)
            pixel = warpHold(as<I32<>>(position) >> 16, most);
        if constexpr (mode == warpLinear) {
            // The last pixel is the second of its window.
            pixel = warpHold(pixel, most - 1);
            store(weight + i, (held - (pixel << 16)) >> 2);
        }
        if constexpr (mode == warpCubic) {
            pixel = warpHold(pixel - 1, most - 3);
            store(weight + i, warpHold((held - (pixel << 16) + 0x40) >> 7, warpCubicLast));
        }
        store(at + i, pixel);
    }
}

template<WarpMode mode>
void makeWarpPlaces(WarpPlaces<int32_t>* places, const WarpSource& src, const WarpFixed& run,
                    size_t start, int32_t count)
{
    const uint32_t n = static_cast<uint32_t>(start);
    warpFixedAxis<mode>(places->x, places->fx, run.x + n * run.dx, run.dx, src.maxX, count);
    warpFixedAxis<mode>(places->y, places->fy, run.y + n * run.dy, run.dy, src.maxY, count);
}

// The largest number that is not above an integer.
float warpFloatLimit(int32_t most)
{
    int32_t unit = 1;
    while (most / unit >= 1 << 24)
        unit *= 2;
    const int32_t whole = most / unit * unit;
    return static_cast<float>(whole);
}

// From positions in the source.
template<WarpMode mode>
void warpFloatAxis(int32_t* at, int32_t* weight, F32<> position, int32_t most)
{
    if constexpr (mode == warpNearest)
        return store(at, rounded(position));
    const I32<> whole = truncated(position);
    const I32<> pixel =
        mode == warpLinear ? warpHold(whole, most - 1) : warpHold(whole - 1, most - 3);
    const F32<> inWindow = position - toFloats(pixel);
    store(at, pixel);
    store(weight,
          mode == warpLinear
              ? rounded(inWindow * static_cast<float>(warpOne))
              : warpHold(rounded(inWindow * static_cast<float>(warpCubicScale)), warpCubicLast));
}

template<WarpMode mode>
void makeWarpPlaces(WarpPlaces<int32_t>* places, const WarpSource& src, const WarpRatio<float>& run,
                    size_t start, int32_t count)
{
    const F32<> limitX = spread<F32<>>(warpFloatLimit(src.maxX));
    const F32<> limitY = spread<F32<>>(warpFloatLimit(src.maxY));
    // What is no number becomes 0.
    const auto held = [](F32<> position, F32<> limit) {
        return smaller(larger(position, F32<>{}), limit);
    };
    I32<> number = warpLaneNumbers() + (run.first + static_cast<int32_t>(start));
    for (int32_t i = 0; i < count; i += warpSlack, number += warpSlack) {
        const F32<> n = toFloats(number);
        const F32<> reciprocal = 1.0f / (run.w + n * run.dw);
        const F32<> u = (run.u + n * run.du) * reciprocal;
        const F32<> v = (run.v + n * run.dv) * reciprocal;
        store(places->taken + i,
              (u >= run.left) & (u <= run.right) & (v >= run.top) & (v <= run.bottom));
        warpFloatAxis<mode>(places->x + i, places->fx + i, held(u, limitX), src.maxX);
        warpFloatAxis<mode>(places->y + i, places->fy + i, held(v, limitY), src.maxY);
    }
}

// --- Places of wider elements ----------------------------------------------------------

// The nearest integer to a value of at least 0, halves to even.
int32_t warpRound(double value)
{
    const int32_t below = static_cast<int32_t>(value);
    const double rest = value - below;
    const bool up = rest > 0.5 || (rest == 0.5 && (below & 1));
    return below + up;
}

double warpHold(double position, int32_t most)
{
    position = position > 0.0 ? position : 0.0;
    return position < most ? position : most;
}

// A window starts at the pixel that a position is in, or hardly short of.
template<WarpMode mode>
void warpDoubleAxis(int32_t* at, double* weight, double position, int32_t most)
{
    if constexpr (mode == warpNearest) {
        *at = warpRound(position);
        return;
    }
    const double shifted = 1e-7 + position - 0.5;
    const int32_t whole = shifted < 0.0 ? 0 : warpRound(shifted);
    if constexpr (mode == warpLinear) {
        const bool last = whole >= most;
        *at = last ? most - 1 : whole;
        *weight = last ? 1.0 : position - whole;
    } else {
        *at = warpHold(whole - 1, most - 3);
        *weight = position - *at;
    }
}

template<WarpMode mode>
void makeWarpPlaces(WarpPlaces<double>* places, const WarpSource& src, const WarpRatio<double>& run,
                    size_t start, int32_t count)
{
    const int32_t first = run.first + static_cast<int32_t>(start);
    for (int32_t i = 0; i < count; ++i) {
        const double n = static_cast<double>(first) + i;
        const double w = run.w + n * run.dw;
        const double u = (run.u + n * run.du) / w;
        const double v = (run.v + n * run.dv) / w;
        places->taken[i] = (u >= run.left) & (u <= run.right) & (v >= run.top) & (v <= run.bottom);
        warpDoubleAxis<mode>(&places->x[i], &places->fx[i], warpHold(u, src.maxX), src.maxX);
        warpDoubleAxis<mode>(&places->y[i], &places->fy[i], warpHold(v, src.maxY), src.maxY);
    }
}

// --- Samplers ------------------------------------------------------------------------

template<class Element>
struct WarpWindow {
    const Element* pixel; // the first
    ptrdiff_t step;       // elements from row to row
    ptrdiff_t stride;
};

template<class Element>
WarpWindow<Element> warpWindow(const WarpSource& src, int32_t x, int32_t y)
{
    const Element* pixels = static_cast<const Element*>(src.pixels);
    const ptrdiff_t step = src.step / static_cast<ptrdiff_t>(sizeof(Element));
    return {pixels + y * step + static_cast<ptrdiff_t>(x) * src.stride, step, src.stride};
}

uint8_t warpLinearElement(const WarpWindow<uint8_t>& window, int32_t c, int32_t fx, int32_t fy,
                          int32_t rounding)
{
    const uint8_t* a = window.pixel + c;
    const uint8_t* b = a + window.step;
    const ptrdiff_t next = window.stride;
    const int32_t top = (a[0] * (warpOne - fx) + a[next] * fx) >> 8;
    const int32_t bottom = (b[0] * (warpOne - fx) + b[next] * fx) >> 8;
    return static_cast<uint8_t>((top * (warpOne - fy) + bottom * fy + rounding) >> 20);
}

uint8_t warpCubicElement(const WarpWindow<uint8_t>& window, int32_t c, const WarpWeights& x,
                         const WarpWeights& y)
{
    int32_t sum = 0x80000;
    for (int32_t j = 0; j < 4; ++j) {
        const uint8_t* row = window.pixel + j * window.step + c;
        int32_t line = 0;
        for (int32_t i = 0; i < 4; ++i)
            line += row[i * window.stride] * x.at[i];
        sum += (line >> 8) * y.at[j];
    }
    return static_cast<uint8_t>(warpHold(sum >> 20, 255));
}

void storeWarp(uint16_t* out, double value)
{
    value = value > 0.0 ? value : 0.0;
    *out = static_cast<uint16_t>(warpRound(value < 65535.0 ? value : 65535.0));
}
void storeWarp(float* out, double value)
{
    *out = static_cast<float>(value);
}

template<class Element>
double warpLinearSum(const WarpWindow<Element>& window, int32_t c, double fx, double fy)
{
    const Element* a = window.pixel + c;
    const Element* b = a + window.step;
    const ptrdiff_t next = window.stride;
    const double top = a[0] * (1.0 - fx) + a[next] * fx;
    const double bottom = b[0] * (1.0 - fx) + b[next] * fx;
    return top * (1.0 - fy) + bottom * fy;
}

struct WarpWideWeights {
    double at[4];
};

WarpWideWeights warpWideWeights(double t)
{
    const auto outer = [](double u) { return -(u - 1.0) * (u - 2.0) * (u - 3.0) / 6.0; };
    const auto inner = [](double u) { return u * (u - 2.0) * (u - 3.0) / 2.0; };
    return {{outer(t), inner(t), inner(3.0 - t), outer(3.0 - t)}};
}

template<class Element>
double warpCubicSum(const WarpWindow<Element>& window, int32_t c, const WarpWideWeights& x,
                    const WarpWideWeights& y)
{
    double sum = 0.0;
    for (int32_t j = 0; j < 4; ++j) {
        const Element* row = window.pixel + j * window.step + c;
        double line = 0.0;
        for (int32_t i = 0; i < 4; ++i)
            line += row[i * window.stride] * x.at[i];
        sum += line * y.at[j];
    }
    return sum;
}

// One pixel of bytes, from window, weights and the rounding at the end.
template<WarpMode mode, int32_t fixedChannels>
void warpPixel(uint8_t* out, const WarpWindow<uint8_t>& window, int32_t fx, int32_t fy,
               int32_t rounding, int32_t channels)
{
    channels = fixedChannels ? fixedChannels : channels;
    if constexpr (mode == warpCubic) {
        const WarpWeights& x = warpCubicTable.weights[fx];
        const WarpWeights& y = warpCubicTable.weights[fy];
        for (int32_t c = 0; c < channels; ++c)
            out[c] = warpCubicElement(window, c, x, y);
    } else {
        for (int32_t c = 0; c < channels; ++c)
            out[c] = mode == warpNearest ? window.pixel[c]
                                         : warpLinearElement(window, c, fx, fy, rounding);
    }
}

template<WarpMode mode, int32_t fixedChannels, class Element>
void warpPixel(Element* out, const WarpWindow<Element>& window, double fx, double fy, int32_t,
               int32_t channels)
{
    channels = fixedChannels ? fixedChannels : channels;
    if constexpr (mode == warpCubic) {
        const WarpWideWeights x = warpWideWeights(fx);
        const WarpWideWeights y = warpWideWeights(fy);
        for (int32_t c = 0; c < channels; ++c)
            storeWarp(out + c, warpCubicSum(window, c, x, y));
    } else {
        for (int32_t c = 0; c < channels; ++c)
            if constexpr (mode == warpNearest)
                out[c] = window.pixel[c];
            else
                storeWarp(out + c, warpLinearSum(window, c, fx, fy));
    }
}

template<WarpMode mode, class Element, int32_t fixedChannels, class Weight>
void sampleWarp(Element* out, const WarpTarget& dst, const WarpSource& src,
                const WarpPlaces<Weight>& places, int32_t first, int32_t last, int32_t rounding)
{
    constexpr bool weighted = mode != warpNearest;
    for (int32_t i = first; i < last; ++i, out += dst.stride)
        warpPixel<mode, fixedChannels>(out, warpWindow<Element>(src, places.x[i], places.y[i]),
                                       weighted ? places.fx[i] : 0, weighted ? places.fy[i] : 0,
                                       rounding, dst.channels);
}

// --- Pixels of four bytes ------------------------------------------------------------

// Where three of four bytes take part the fourth is alpha, and stays. Offsets of
// pixels have to fit in 32 bits.
bool warpTakesWords(const WarpTarget& dst, const WarpSource& src)
{
    const int64_t step = src.step < 0 ? -src.step : src.step;
    const int64_t farthest =
        step * (static_cast<int64_t>(src.maxY) + 1) + 4 * static_cast<int64_t>(src.maxX);
    return dst.stride == 4 && src.stride == 4 && dst.channels >= 3 && farthest <= INT32_MAX;
}

// In each part, the first (second) two of four pixels as words, that of the one
// beside that of the other.
template<bool second>
U16<> warpPairs(U8<> pixels)
{
    if constexpr (looksUpBytes) {
        constexpr uint8_t none = 0x80;
        constexpr uint8_t at = second ? 8 : 0;
        constexpr U8<16> places{at,     none, at + 4, none, at + 1, none, at + 5, none,
                                at + 2, none, at + 6, none, at + 3, none, at + 7, none};
        return as<U16<>>(lookUp(pixels, spreadPart<U8<>>(places)));
    }
    const U64<> halves = as<U64<>>(inGroups<0, 2, 1, 3>(as<U32<>>(pixels)));
    const U8<> pairs = interleaveLow(as<U8<>>(halves), as<U8<>>(inGroups<1, 0>(halves)));
    return second ? widenHigh(pairs) : widenLow(pairs);
}

// A row's sums, cut to 6 fraction bits, with those of the row below: pairs of 16
// bits.
I16<> warpRowPairs(I32<> above, I32<> below)
{
    return mix<0, 1>(as<I16<>>(as<U32<>>(above) >> 8), as<I16<>>(as<U32<>>(below) << 8));
}

// The weights of as many pixels as make half the lanes: in each part those of two,
// in its first two lanes.
template<size_t half>
struct WarpHalfRule {
    static constexpr int of(size_t i, size_t lanes)
    {
        return static_cast<int>(half * (lanes / 2) + i / 2);
    }
};
template<size_t half>
I32<> warpHalfWeights(I32<> weights)
{
    const U64<> units = as<U64<>>(weights);
    return as<I32<>>(rearrange<WarpHalfRule<half>>(units, units));
}

// Fractions beside what they leave of the whole.
I32<> warpPairWeights(const int32_t* fractions)
{
    const I32<> f = load<I32<>>(fractions);
    return (f << 16) + (warpOne - f);
}

struct WarpLinearWords {
    I32<> x; // weights
    I32<> y;
    const uint8_t* pixels;
    ptrdiff_t step;
    int32_t rounding;
};

template<size_t half>
I16<> warpLinearHalf(const WarpLinearWords& words, const int32_t* offsets)
{
    const int32_t* from = offsets + half * (wide / 8);
    const U8<> above = as<U8<>>(gather<U64<>>(words.pixels, from));
    const U8<> below = as<U8<>>(gather<U64<>>(words.pixels + words.step, from));
    const I32<> x = warpHalfWeights<half>(words.x);
    const I32<> y = warpHalfWeights<half>(words.y);
    const auto sums = [&](U16<> top, U16<> bottom, I32<> fx, I32<> fy) {
        const I16<> rows = warpRowPairs(pairProducts(as<I16<>>(top), as<I16<>>(fx)),
                                        pairProducts(as<I16<>>(bottom), as<I16<>>(fx)));
        return (pairProducts(rows, as<I16<>>(fy)) + words.rounding) >> 20;
    };
    return packToI16(sums(warpPairs<false>(above), warpPairs<false>(below), inGroups<0, 0, 0, 0>(x),
                          inGroups<0, 0, 0, 0>(y)),
                     sums(warpPairs<true>(above), warpPairs<true>(below), inGroups<1, 1, 1, 1>(x),
                          inGroups<1, 1, 1, 1>(y)));
}

// In each part 16 bytes, or 8, of a pixel of its own.
template<class Address>
U8<> warpParts(Address address)
{
    if constexpr (wide == 32)
        return join(load<U8<16>>(address(0)), load<U8<16>>(address(1)));
    else
        return load<U8<16>>(address(0));
}
template<class Address>
U8<> warpHalfParts(Address address)
{
    if constexpr (wide == 32)
        return join(loadHalf<U8<16>>(address(0)), loadHalf<U8<16>>(address(1)));
    else
        return loadHalf<U8<16>>(address(0));
}

// One pixel in each part.
I32<> warpCubicSums(const uint8_t* pixels, ptrdiff_t step, const int32_t* offsets,
                    const int32_t* fx, const int32_t* fy)
{
    const auto weights = [](const int32_t* indices) {
        return as<I32<>>(
            warpHalfParts([=](size_t i) { return &warpCubicTable.weights[indices[i]]; }));
    };
    const I32<> x = weights(fx);
    const I32<> y = weights(fy);
    const auto first = [](I32<> v) { return as<I16<>>(inGroups<0, 0, 0, 0>(v)); };
    const auto second = [](I32<> v) { return as<I16<>>(inGroups<1, 1, 1, 1>(v)); };
    const auto row = [&](ptrdiff_t j) {
        const U8<> four = warpParts([=](size_t i) { return pixels + j * step + offsets[i]; });
        return pairProducts(as<I16<>>(warpPairs<false>(four)), first(x)) +
               pairProducts(as<I16<>>(warpPairs<true>(four)), second(x));
    };
    const I32<> sum = pairProducts(warpRowPairs(row(0), row(1)), first(y)) +
                      pairProducts(warpRowPairs(row(2), row(3)), second(y));
    return (sum + 0x80000) >> 20;
}

// The rows of a cubic window are far apart, and those of a turned picture's next
// window are others: the processor does not see by itself what comes. Of two
// neighbours one is enough, and of the four rows the outer ones.
void fetchCubicWords(const WarpSource& src, const int32_t* offsets, int32_t first, int32_t last)
{
    for (int32_t i = first; i < last; i += 2) {
        const uint8_t* pixel = static_cast<const uint8_t*>(src.pixels) + offsets[i];
        __builtin_prefetch(pixel);
        __builtin_prefetch(pixel + 3 * src.step);
    }
}

// As many pixels as a vector has words.
template<WarpMode mode>
U8<> warpWords(const WarpSource& src, const int32_t* offsets, const int32_t* fx, const int32_t* fy,
               int32_t rounding)
{
    const uint8_t* pixels = static_cast<const uint8_t*>(src.pixels);
    if constexpr (mode == warpNearest)
        return as<U8<>>(gather<U32<>>(pixels, offsets));
    if constexpr (mode == warpLinear) {
        const WarpLinearWords words{warpPairWeights(fx), warpPairWeights(fy), pixels, src.step,
                                    rounding};
        return inOrderOfPack(
            packToU8(warpLinearHalf<0>(words, offsets), warpLinearHalf<1>(words, offsets)));
    }
    constexpr size_t parts = wide / 16;
    const auto sums = [=](size_t i) {
        i *= parts;
        return warpCubicSums(pixels, src.step, offsets + i, fx + i, fy + i);
    };
    return inOrderOfTwoPacks(packToU8(packToI16(sums(0), sums(1)), packToI16(sums(2), sums(3))));
}

// As many pixels as there are, at most a vector; a fourth byte that takes no part
// stays.
void storeWarpWords(uint8_t* out, U8<> words, int32_t channels, size_t count)
{
    if (count >= warpSlack && channels == 4)
        return store(out, words);
    const U8<> taken = as<U8<>>(spread<U32<>>(channels == 4 ? 0xFFFFFFFFu : 0x00FFFFFFu));
    const size_t bytes = count < warpSlack ? count * 4 : wide;
    U8<> old{};
    __builtin_memcpy(&old, out, bytes);
    const U8<> mixed = select(taken, words, old);
    __builtin_memcpy(out, &mixed, bytes);
}

template<WarpMode mode>
void sampleWarpWords(uint8_t* out, const WarpTarget& dst, const WarpSource& src,
                     const WarpPlaces<int32_t>& places, int32_t first, int32_t last,
                     int32_t rounding)
{
    int32_t offsets[warpChunk + warpSlack];
    const int32_t step = static_cast<int32_t>(src.step);
    for (int32_t i = first; i < last + warpSlack; ++i)
        offsets[i] = places.y[i] * step + places.x[i] * 4;
    constexpr int32_t ahead = 64;
    if constexpr (mode == warpCubic)
        fetchCubicWords(src, offsets, first, first + ahead < last ? first + ahead : last);
    for (int32_t i = first; i < last; i += warpSlack, out += wide) {
        if (mode == warpCubic && i + ahead + warpSlack <= last)
            fetchCubicWords(src, offsets, i + ahead, i + ahead + warpSlack);
        const U8<> words =
            warpWords<mode>(src, offsets + i, places.fx + i, places.fy + i, rounding);
        storeWarpWords(out, words, dst.channels, static_cast<size_t>(last) - i);
    }
}

template<WarpMode mode, class Element, class Weight>
void sampleWarpPixels(Element* out, const WarpTarget& dst, const WarpSource& src,
                      const WarpPlaces<Weight>& places, int32_t first, int32_t last,
                      int32_t rounding)
{
    if constexpr (isSame<Element, uint8_t>)
        if (warpTakesWords(dst, src))
            return sampleWarpWords<mode>(out, dst, src, places, first, last, rounding);
    switch (dst.channels) {
    case 1:
        return sampleWarp<mode, Element, 1>(out, dst, src, places, first, last, rounding);
    case 3:
        return sampleWarp<mode, Element, 3>(out, dst, src, places, first, last, rounding);
    case 4:
        return sampleWarp<mode, Element, 4>(out, dst, src, places, first, last, rounding);
    default:
        return sampleWarp<mode, Element, 0>(out, dst, src, places, first, last, rounding);
    }
}

void sampleWarpBits(const WarpTarget& dst, const WarpSource& src, const WarpPlaces<int32_t>& places,
                    size_t start, int32_t first, int32_t last)
{
    const uint8_t* pixels = static_cast<const uint8_t*>(src.pixels);
    uint8_t* row = static_cast<uint8_t*>(dst.pixels);
    size_t bit = dst.bit + start + first;
    for (int32_t i = first; i < last; ++i, ++bit) {
        const uint8_t byte = pixels[places.y[i] * src.step + (places.x[i] >> 3)];
        const int32_t value = byte >> (7 - (places.x[i] & 7)) & 1;
        const int32_t shift = 7 - static_cast<int32_t>(bit & 7);
        row[bit >> 3] = static_cast<uint8_t>((row[bit >> 3] & ~(1 << shift)) | value << shift);
    }
}

// --- Runs ----------------------------------------------------------------------------

// Calls work(first, last) for each run of pixels that are taken.
template<class Work>
void forEachTakenRun(const int32_t* taken, int32_t count, Work work)
{
    for (int32_t first = 0; first < count;) {
        int32_t last = first;
        while (last < count && !taken[last] == !taken[first])
            ++last;
        if (taken[first])
            work(first, last);
        first = last;
    }
}

bool warpIsTested(const WarpFixed&)
{
    return false;
}
template<class Real>
bool warpIsTested(const WarpRatio<Real>& run)
{
    return run.tested;
}

// Makes the places of a run, chunk by chunk, and has them sampled by
// work(places, start of the chunk, first, last).
template<WarpMode mode, class Weight, class Run, class Work>
void forEachWarpChunk(const WarpSource& src, const Run& run, size_t count, Work work)
{
    WarpPlaces<Weight> places;
    for (size_t start = 0; start < count; start += warpChunk) {
        const int32_t size =
            static_cast<int32_t>(count - start < warpChunk ? count - start : warpChunk);
        makeWarpPlaces<mode>(&places, src, run, start, size + warpSlack);
        if (warpIsTested(run))
            forEachTakenRun(places.taken, size,
                            [&](int32_t first, int32_t last) { work(places, start, first, last); });
        else
            work(places, start, 0, size);
    }
}

// What ends the sum of a bilinear window of bytes.
constexpr int32_t warpRounding(const WarpFixed&)
{
    return 0x80000;
}
template<class Real>
constexpr int32_t warpRounding(const WarpRatio<Real>&)
{
    return 0x21;
}

template<WarpMode mode, class Element, class Weight, class Run>
void warpRun(const WarpTarget& dst, const WarpSource& src, const Run& run, size_t count)
{
    forEachWarpChunk<mode, Weight>(
        src, run, count,
        [&](const WarpPlaces<Weight>& places, size_t start, int32_t first, int32_t last) {
            Element* out =
                static_cast<Element*>(dst.pixels) +
                (static_cast<ptrdiff_t>(start) + first) * static_cast<ptrdiff_t>(dst.stride);
            sampleWarpPixels<mode>(out, dst, src, places, first, last, warpRounding(run));
        });
}

} // namespace

#include "kernels/warpaffine.inl"

namespace
{

template<WarpMode mode>
void warpAffine(const WarpTarget& dst, const WarpSource& src, const WarpFixed& run, size_t count)
{
    if (mode != warpCubic && warpTakesAffineWords(dst, src))
        return warpAffineWords<mode>(dst, src, run, count);
    warpRun<mode, uint8_t, int32_t, WarpFixed>(dst, src, run, count);
}

template<class Run>
void warpBits(const WarpTarget& dst, const WarpSource& src, const Run& run, size_t count)
{
    forEachWarpChunk<warpNearest, int32_t>(
        src, run, count,
        [&](const WarpPlaces<int32_t>& places, size_t start, int32_t first, int32_t last) {
            sampleWarpBits(dst, src, places, start, first, last);
        });
}

} // namespace

constinit const WarpKernels warpKernels{
    .fixed8 = {warpAffine<warpNearest>, warpAffine<warpLinear>, warpAffine<warpCubic>},
    .ratio8 = {warpRun<warpNearest, uint8_t, int32_t, WarpRatio<float>>,
               warpRun<warpLinear, uint8_t, int32_t, WarpRatio<float>>,
               warpRun<warpCubic, uint8_t, int32_t, WarpRatio<float>>},
    .ratio16 = {warpRun<warpNearest, uint16_t, double, WarpRatio<double>>,
                warpRun<warpLinear, uint16_t, double, WarpRatio<double>>,
                warpRun<warpCubic, uint16_t, double, WarpRatio<double>>},
    .ratioFloat = {warpRun<warpNearest, float, double, WarpRatio<double>>,
                   warpRun<warpLinear, float, double, WarpRatio<double>>,
                   warpRun<warpCubic, float, double, WarpRatio<double>>},
    .fixedBits = warpBits<WarpFixed>,
    .ratioBits = warpBits<WarpRatio<float>>,
};

} // namespace quib::QUIB_LEVEL
