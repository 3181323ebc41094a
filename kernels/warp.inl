namespace
{

enum WarpMode : int32_t { warpNearest, warpLinear, warpCubic };

// How many pixels go through the places at a time.
constexpr int32_t warpChunk = 256;

// Pixels, or windows' first pixels, with weights: for linear windows that of the
// second pixel, for cubic ones an index of the weights, or the position in the
// window.
template<class Weight>
struct WarpPlaces {
    int32_t x[warpChunk];
    int32_t y[warpChunk];
    Weight fx[warpChunk];
    Weight fy[warpChunk];
    uint8_t taken[warpChunk];
};

constexpr int32_t warpOne = 0x4000; // weights of bytes
constexpr int32_t warpCubicScale = 512;
constexpr int32_t warpCubicLast = 3 * warpCubicScale;

// --- Cubic weights -----------------------------------------------------------------

struct WarpWeightPair {
    int16_t first;
    int16_t second;
};

// The first two Lagrange polynomials on the nodes 0 to 3 at i / 512. The other two
// are those of 1536 - i, the second first.
struct WarpCubicTable {
    WarpWeightPair pairs[warpCubicLast + 1];
};

constexpr int16_t warpNearestQuotient(int64_t value, int64_t divisor)
{
    // Rounded to nearest; no quotient lies halfway.
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
        table.pairs[i].first = warpNearestQuotient(-(i - n) * (i - 2 * n) * (i - 3 * n), 6 * unit);
        table.pairs[i].second = warpNearestQuotient(i * (i - 2 * n) * (i - 3 * n), 2 * unit);
    }
    return table;
}

constexpr WarpCubicTable warpCubicTable = makeWarpCubicTable();

struct WarpWeights {
    int32_t at[4];
};

WarpWeights warpCubicWeights(int32_t index)
{
    const WarpWeightPair& low = warpCubicTable.pairs[index];
    const WarpWeightPair& high = warpCubicTable.pairs[warpCubicLast - index];
    return {{low.first, low.second, high.second, high.first}};
}

// --- Places ------------------------------------------------------------------------

int32_t warpHold(int32_t value, int32_t most)
{
    value = value < 0 ? 0 : value;
    return value > most ? most : value;
}

// The nearest integer to a value of at least 0, halves to even.
template<class Real>
int32_t warpRound(Real value)
{
    const int32_t below = static_cast<int32_t>(value);
    const Real rest = value - static_cast<Real>(below);
    const bool up = rest > Real(0.5) || (rest == Real(0.5) && (below & 1));
    return below + up;
}

// The largest fixed position in the source.
int32_t warpFixedLimit(int32_t most)
{
    return most > INT16_MAX ? INT32_MAX : most << 16;
}

template<WarpMode mode>
void warpFixedPlace(int32_t* at, int32_t* weight, uint32_t position, int32_t most, int32_t limit)
{
    const int32_t signedPosition = static_cast<int32_t>(position);
    if constexpr (mode == warpNearest) {
        *at = warpHold(signedPosition >> 16, most);
        return;
    }
    const int32_t held = warpHold(signedPosition, limit);
    const int32_t whole = held >> 16;
    if constexpr (mode == warpLinear) {
        *at = whole == most ? whole - 1 : whole;
        *weight = (held - (*at << 16)) >> 2;
    } else {
        *at = warpHold(whole - 1, most - 3);
        const uint32_t inWindow = static_cast<uint32_t>(held) - (static_cast<uint32_t>(*at) << 16);
        *weight = warpHold(static_cast<int32_t>((inWindow + 0x40) >> 7), warpCubicLast);
    }
}

template<WarpMode mode>
void makeWarpPlaces(WarpPlaces<int32_t>* places, const WarpSource& src, const WarpFixed& run,
                    size_t start, int32_t count)
{
    const uint32_t x = run.x + static_cast<uint32_t>(start) * run.dx;
    const uint32_t y = run.y + static_cast<uint32_t>(start) * run.dy;
    const int32_t limitX = warpFixedLimit(src.maxX);
    const int32_t limitY = warpFixedLimit(src.maxY);
    QUIB_INDEPENDENT
    for (int32_t i = 0; i < count; ++i) {
        warpFixedPlace<mode>(&places->x[i], &places->fx[i], x + static_cast<uint32_t>(i) * run.dx,
                             src.maxX, limitX);
        warpFixedPlace<mode>(&places->y[i], &places->fy[i], y + static_cast<uint32_t>(i) * run.dy,
                             src.maxY, limitY);
    }
}

// The largest number that is not above an integer.
float warpRatioLimit(int32_t most, float)
{
    int32_t unit = 1;
    while (most / unit >= 1 << 24)
        unit *= 2;
    return static_cast<float>(most / unit * unit);
}
double warpRatioLimit(int32_t most, double)
{
    return most;
}

// Bytes: float positions become weights of 14 bits and indices.
template<WarpMode mode>
void warpRatioPlace(int32_t* at, int32_t* weight, float position, int32_t most)
{
    if constexpr (mode == warpNearest) {
        *at = warpRound(position);
        return;
    }
    const int32_t whole = static_cast<int32_t>(position);
    if constexpr (mode == warpLinear) {
        *at = whole == most ? whole - 1 : whole;
        *weight = warpRound((position - static_cast<float>(*at)) * 16384.0f);
    } else {
        *at = warpHold(whole - 1, most - 3);
        *weight = warpHold(warpRound((position - static_cast<float>(*at)) * 512.0f), warpCubicLast);
    }
}

// Wider elements: a window starts at the pixel that a position is in, or hardly
// short of.
template<WarpMode mode>
void warpRatioPlace(int32_t* at, double* weight, double position, int32_t most)
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

float warpQuotient(float value, float, float reciprocal)
{
    return value * reciprocal;
}
double warpQuotient(double value, double divisor, double)
{
    return value / divisor;
}

template<WarpMode mode, class Weight, class Real>
void makeWarpPlaces(WarpPlaces<Weight>* places, const WarpSource& src, const WarpRatio<Real>& run,
                    size_t start, int32_t count)
{
    const int32_t first = run.first + static_cast<int32_t>(start);
    const Real limitX = warpRatioLimit(src.maxX, Real());
    const Real limitY = warpRatioLimit(src.maxY, Real());
    QUIB_INDEPENDENT
    for (int32_t i = 0; i < count; ++i) {
        const Real n = static_cast<Real>(first + i);
        const Real w = run.w + n * run.dw;
        const Real reciprocal = Real(1) / w;
        Real u = warpQuotient(run.u + n * run.du, w, reciprocal);
        Real v = warpQuotient(run.v + n * run.dv, w, reciprocal);
        places->taken[i] = (u >= run.left) & (u <= run.right) & (v >= run.top) & (v <= run.bottom);
        // What is no number becomes 0.
        u = u > Real(0) ? u : Real(0);
        v = v > Real(0) ? v : Real(0);
        u = u < limitX ? u : limitX;
        v = v < limitY ? v : limitY;
        warpRatioPlace<mode>(&places->x[i], &places->fx[i], u, src.maxX);
        warpRatioPlace<mode>(&places->y[i], &places->fy[i], v, src.maxY);
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
        const WarpWeights x = warpCubicWeights(fx);
        const WarpWeights y = warpCubicWeights(fy);
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

template<WarpMode mode, class Element, class Weight>
void sampleWarpPixels(Element* out, const WarpTarget& dst, const WarpSource& src,
                      const WarpPlaces<Weight>& places, int32_t first, int32_t last,
                      int32_t rounding)
{
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
void forEachTakenRun(const uint8_t* taken, int32_t count, Work work)
{
    for (int32_t first = 0; first < count;) {
        int32_t last = first;
        while (last < count && taken[last] == taken[first])
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
        makeWarpPlaces<mode>(&places, src, run, start, size);
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

template<class Run>
void warpBits(const WarpTarget& dst, const WarpSource& src, const Run& run, size_t count)
{
    forEachWarpChunk<warpNearest, int32_t>(
        src, run, count,
        [&](const WarpPlaces<int32_t>& places, size_t start, int32_t first, int32_t last) {
            sampleWarpBits(dst, src, places, start, first, last);
        });
}

constexpr WarpKernels warpKernels{
    {warpRun<warpNearest, uint8_t, int32_t, WarpFixed>,
     warpRun<warpLinear, uint8_t, int32_t, WarpFixed>,
     warpRun<warpCubic, uint8_t, int32_t, WarpFixed>},
    {warpRun<warpNearest, uint8_t, int32_t, WarpRatio<float>>,
     warpRun<warpLinear, uint8_t, int32_t, WarpRatio<float>>,
     warpRun<warpCubic, uint8_t, int32_t, WarpRatio<float>>},
    {warpRun<warpNearest, uint16_t, double, WarpRatio<double>>,
     warpRun<warpLinear, uint16_t, double, WarpRatio<double>>,
     warpRun<warpCubic, uint16_t, double, WarpRatio<double>>},
    {warpRun<warpNearest, float, double, WarpRatio<double>>,
     warpRun<warpLinear, float, double, WarpRatio<double>>,
     warpRun<warpCubic, float, double, WarpRatio<double>>},
    warpBits<WarpFixed>,
    warpBits<WarpRatio<float>>,
};

} // namespace
