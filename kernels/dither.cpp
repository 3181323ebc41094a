#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{
namespace dither
{

// Of numbers from 0 to 2^51: the sum leaves no room for a fraction.
template<class V>
QUIB_INLINE V wholePart(V v)
{
    constexpr double noFraction = 4503599627370496.0; // 2^52
    const V nearest = (v + noFraction) - noFraction;
    return nearest > v ? nearest - 1 : nearest;
}

// 0 to `most` without the fraction; 0 for what is no number.
template<class V>
QUIB_INLINE V levelOf(V v, V most)
{
    const V zero{};
    return wholePart(smaller(larger(v, zero), most));
}

// --- Diffusion -----------------------------------------------------------------------
//
// A wavefront: each lane works on a row of its own, some columns behind the lane
// above, so that the errors it needs are there. They come to a lane by a shift of all
// lanes by one or two; to the first lanes from the rows of errors.

// The weights of a neighbour's place relative to the element, by columns from -2 on.
struct FloydSteinberg {
    static constexpr ptrdiff_t lag = 3; // columns from lane to lane
    static constexpr ptrdiff_t reach = 1;
    static constexpr bool hasHigher = false;
    static constexpr double higher[5] = {};
    static constexpr double above[5] = {0, 1, 5, 3, 0};
    static constexpr double before[2] = {0, 7};
    static constexpr double sum = 16;
};
struct JarvisJudiceNinke {
    static constexpr ptrdiff_t lag = 4;
    static constexpr ptrdiff_t reach = 2;
    static constexpr bool hasHigher = true;
    static constexpr double higher[5] = {1, 3, 5, 3, 1};
    static constexpr double above[5] = {3, 5, 7, 5, 3};
    static constexpr double before[2] = {5, 7};
    static constexpr double sum = 48;
};
struct Stucki {
    static constexpr ptrdiff_t lag = 4;
    static constexpr ptrdiff_t reach = 2;
    static constexpr bool hasHigher = true;
    static constexpr double higher[5] = {1, 2, 4, 2, 1};
    static constexpr double above[5] = {2, 4, 8, 4, 2};
    static constexpr double before[2] = {4, 8};
    static constexpr double sum = 42;
};

// Lane 0 is the last one of b, lane i lane i - 1 of a.
struct NextLaneRule {
    static constexpr int of(size_t i, size_t lanes)
    {
        return static_cast<int>(i == 0 ? 2 * lanes - 1 : i - 1);
    }
};

template<class V>
QUIB_INLINE V nextLanes(V v, double first)
{
    return rearrange<NextLaneRule>(v, spread<V>(first));
}

// The errors that the last steps left.
template<class V>
struct Wavefront {
    static constexpr size_t steps = 16;
    V above[steps]; // by step: a lane has what the lane above it had
    V higher[steps];
    V before[2]; // of the last step but one and the last

    QUIB_INLINE static size_t slot(ptrdiff_t t) { return static_cast<size_t>(t) % steps; }
};

template<class Method, class V>
QUIB_INLINE V comingErrors(const Wavefront<V>& front, ptrdiff_t t)
{
    V sum{};
    const auto add = [&sum](const V& errors, double weight) { sum += errors * weight; };
    if constexpr (Method::hasHigher)
        for (ptrdiff_t j = -Method::reach; j <= Method::reach; ++j)
            add(front.higher[front.slot(t - 2 * Method::lag + j)], Method::higher[j + 2]);
    for (ptrdiff_t j = -Method::reach; j <= Method::reach; ++j)
        add(front.above[front.slot(t - Method::lag + j)], Method::above[j + 2]);
    if constexpr (Method::reach > 1)
        add(front.before[0], Method::before[0]);
    add(front.before[1], Method::before[1]);
    return sum / Method::sum;
}

template<class V>
struct Lanes {
    double* rows[lanesOf<V>];
    const double* offsets[lanesOf<V>];
    double* above;
    double* higher;
    ptrdiff_t width;
};

// Lane r of a step works on this column of its row.
template<class Method>
constexpr ptrdiff_t columnOf(ptrdiff_t t, size_t lane)
{
    return t - Method::lag * static_cast<ptrdiff_t>(lane);
}

template<class V, bool atEdge>
QUIB_INLINE bool isInside(const Lanes<V>& lanes, ptrdiff_t x)
{
    return !atEdge || (x >= 0 && x < lanes.width);
}

template<class Method, bool atEdge, class V, class Rows>
QUIB_INLINE V columnsOf(const Lanes<V>& lanes, const Rows& rows, ptrdiff_t t)
{
    V values{};
    for (size_t r = 0; r < lanesOf<V>; ++r) {
        const ptrdiff_t x = columnOf<Method>(t, r);
        values[r] = isInside<V, atEdge>(lanes, x) ? rows[r][x] : 0;
    }
    return values;
}

// Stores the levels, and the errors of the last two lanes; gives the errors, 0 beside
// the row.
template<class Method, bool atEdge, class V>
QUIB_INLINE V storeStep(const Lanes<V>& lanes, ptrdiff_t t, V levels, V errors)
{
    constexpr size_t last = lanesOf<V> - 1;
    for (size_t r = 0; r <= last; ++r) {
        const ptrdiff_t x = columnOf<Method>(t, r);
        if (isInside<V, atEdge>(lanes, x))
            lanes.rows[r][x] = levels[r];
        else
            errors[r] = 0;
    }
    const ptrdiff_t x = columnOf<Method>(t, last);
    if (isInside<V, atEdge>(lanes, x))
        lanes.above[x] = errors[last];
    if constexpr (Method::hasHigher)
        if (isInside<V, atEdge>(lanes, x + Method::lag))
            lanes.higher[x + Method::lag] = errors[last - 1];
    return errors;
}

template<class Method, bool noisy, bool atEdge, class V>
QUIB_INLINE void step(const Lanes<V>& lanes, const Levels& levels, Wavefront<V>* front, ptrdiff_t t)
{
    const V elements = columnsOf<Method, atEdge>(lanes, lanes.rows, t);
    const V value = elements + comingErrors<Method>(*front, t);
    V chosen = value;
    if constexpr (noisy)
        chosen += columnsOf<Method, atEdge>(lanes, lanes.offsets, t);
    const V level = levelOf<V>(chosen / levels.step + 0.5, spread<V>(levels.most));
    const V errors = storeStep<Method, atEdge>(lanes, t, level, value - level * levels.step);
    const V below = nextLanes(errors, lanes.above[t + Method::lag]);
    front->above[front->slot(t)] = below;
    if constexpr (Method::hasHigher)
        front->higher[front->slot(t)] = nextLanes(below, lanes.higher[t + 2 * Method::lag]);
    front->before[0] = front->before[1];
    front->before[1] = errors;
}

// As many rows as V has lanes. The first steps only fetch what the rows above left.
template<class Method, bool noisy, class V>
void diffuseLanes(const Lanes<V>& lanes, const Levels levels)
{
    constexpr ptrdiff_t delay = columnOf<Method>(0, lanesOf<V> - 1);
    Wavefront<V> front{};
    ptrdiff_t t = -2 * Method::lag - Method::reach;
    for (; t < -delay && t < lanes.width - delay; ++t)
        step<Method, noisy, true>(lanes, levels, &front, t);
    for (; t < lanes.width; ++t)
        step<Method, noisy, false>(lanes, levels, &front, t);
    for (; t < lanes.width - delay; ++t)
        step<Method, noisy, true>(lanes, levels, &front, t);
}

using Values = F64<longest>;

template<class Method, bool noisy>
void diffuseBand(const DiffusionBand& band)
{
    constexpr size_t count = lanesOf<Values>;
    for (size_t first = 0; first < ditherRows; first += count) {
        Lanes<Values> lanes{{}, {}, band.above, band.higher, static_cast<ptrdiff_t>(band.width)};
        for (size_t r = 0; r < count; ++r) {
            lanes.rows[r] = band.rows[first + r];
            lanes.offsets[r] = noisy ? band.offsets[first + r] : nullptr;
        }
        diffuseLanes<Method, noisy>(lanes, band.levels);
    }
}

template<class Method>
void diffuse(const DiffusionBand& band)
{
    if (band.offsets)
        diffuseBand<Method, true>(band);
    else
        diffuseBand<Method, false>(band);
}

// --- Without errors ------------------------------------------------------------------

// By conversions: a compiler makes a comparison of what levelOf() computes a branch,
// which nothing predicts.
QUIB_INLINE double scalarLevel(double v, double most)
{
    v = v > 0 ? v : 0;
    return static_cast<double>(static_cast<int64_t>(v < most ? v : most));
}

void order(double* row, const double* offsets, const double (&thresholds)[8], size_t count,
           const Levels& levels)
{
    for (size_t i = 0; i < count; ++i) {
        const double value = offsets ? row[i] + offsets[i] : row[i];
        row[i] = scalarLevel(value / levels.step + thresholds[i % 8], levels.most);
    }
}

void scaleDown(double* row, size_t count, double factor, double most)
{
    for (size_t i = 0; i < count; ++i)
        row[i] = scalarLevel(row[i] * factor, most);
}

void threshold8(uint8_t* dst, const uint8_t* src, const uint8_t* thresholds, size_t count,
                uint8_t high)
{
    size_t i = 0;
    for (; i + wide <= count; i += wide) {
        const U8<> isBelow = as<U8<>>(load<U8<>>(src + i) < load<U8<>>(thresholds + i));
        store(dst + i, ~isBelow & high);
    }
    for (; i < count; ++i)
        dst[i] = src[i] >= thresholds[i] ? high : uint8_t{0};
}

// --- Elements ------------------------------------------------------------------------

template<class Element>
void fromElements(double* dst, const Element* src, size_t stride, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        dst[i] = static_cast<double>(src[i * stride]);
}

void fromFloats(double* dst, const float* src, size_t stride, size_t count)
{
    constexpr double largest = 3.5e38; // above all floats that are no infinities
    constexpr double top = 4294967295.0;
    for (size_t i = 0; i < count; ++i) {
        const double value = static_cast<double>(src[i * stride]);
        dst[i] = value != value ? 0 : value > largest ? top : value < -largest ? -top : value;
    }
}

template<class Element, class Whole>
void toElements(Element* dst, size_t stride, const double* levels, size_t count, double range,
                double most)
{
    for (size_t i = 0; i < count; ++i)
        dst[i * stride] = static_cast<Element>(static_cast<Whole>(levels[i] * range / most + 0.5));
}

} // namespace dither

} // namespace

constinit const DitherKernels ditherKernels{
    .floydSteinberg = dither::diffuse<dither::FloydSteinberg>,
    .jarvisJudiceNinke = dither::diffuse<dither::JarvisJudiceNinke>,
    .stucki = dither::diffuse<dither::Stucki>,
    .order = dither::order,
    .scaleDown = dither::scaleDown,
    .threshold8 = dither::threshold8,
    .from8 = dither::fromElements<uint8_t>,
    .from16 = dither::fromElements<uint16_t>,
    .from32 = dither::fromElements<int32_t>,
    .fromFloats = dither::fromFloats,
    .to8 = dither::toElements<uint8_t, int32_t>,
    .to16 = dither::toElements<uint16_t, int32_t>,
    .to32 = dither::toElements<int32_t, int32_t>,
    .toFloats = dither::toElements<float, int64_t>,
};

} // namespace quib::QUIB_LEVEL
