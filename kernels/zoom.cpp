#include "kernels/level.h"

namespace quib::QUIB_LEVEL
{

namespace
{

// Eight sums of two taps.
struct ZoomLanes {
    I32<> of[zoomLanes * sizeof(int32_t) / wide];
};

ZoomLanes zoomPairSums(const uint8_t* window, const uint8_t* pick, const int16_t* weights)
{
    const U8<16> taps = lookUp(load<U8<16>>(window), load<U8<16>>(pick));
#if defined(QUIB_WIDE_VECTORS)
    return {{pairProducts(widenFirst<I16<>>(taps), load<I16<>>(weights))}};
#else
    return {{pairProducts(as<I16<>>(widenLow(taps)), load<I16<>>(weights)),
             pairProducts(as<I16<>>(widenHigh(taps)), load<I16<>>(weights + zoomLanes))}};
#endif
}

void zoomStoreLanes(int16_t* line, const ZoomLanes& sums)
{
#if defined(QUIB_WIDE_VECTORS)
    const I32<> shifted = sums.of[0] >> 8;
    store(line, packToI16(lowHalf(shifted), highHalf(shifted)));
#else
    store(line, packToI16(sums.of[0] >> 8, sums.of[1] >> 8));
#endif
}

void linearLineByLookUp(int16_t* line, const uint8_t* row, const ZoomPairGroup* groups,
                        size_t groupCount)
{
    for (const ZoomPairGroup* group = groups; group != groups + groupCount; ++group)
        zoomStoreLanes(line + group->output,
                       zoomPairSums(row + group->source, group->pick, group->weights));
}

void cubicLineByLookUp(int16_t* line, const uint8_t* row, const ZoomQuadGroup* groups,
                       size_t groupCount)
{
    for (const ZoomQuadGroup* group = groups; group != groups + groupCount; ++group) {
        const uint8_t* window = row + group->source;
        ZoomLanes sums = zoomPairSums(window, group->pick[0], group->weights[0]);
        const ZoomLanes second = zoomPairSums(window, group->pick[1], group->weights[1]);
        for (size_t i = 0; i < sizeof sums / wide; ++i)
            sums.of[i] += second.of[i];
        zoomStoreLanes(line + group->output, sums);
    }
}

template<class Sum>
void zoomStoreEach(int16_t* line, Sum sum)
{
    for (int32_t i = 0; i < zoomLanes; ++i)
        line[i] = static_cast<int16_t>(sum(i) >> 8);
}

int32_t zoomPairSum(const uint8_t* window, const uint8_t* pick, const int16_t* weights, int32_t i)
{
    const ptrdiff_t first = ptrdiff_t{2} * i;
    return window[pick[first]] * weights[first] + window[pick[first + 1]] * weights[first + 1];
}

void linearLineByLoop(int16_t* line, const uint8_t* row, const ZoomPairGroup* groups,
                      size_t groupCount)
{
    for (const ZoomPairGroup* group = groups; group != groups + groupCount; ++group) {
        const uint8_t* window = row + group->source;
        zoomStoreEach(line + group->output, [=](int32_t i) {
            return zoomPairSum(window, group->pick, group->weights, i);
        });
    }
}

void cubicLineByLoop(int16_t* line, const uint8_t* row, const ZoomQuadGroup* groups,
                     size_t groupCount)
{
    for (const ZoomQuadGroup* group = groups; group != groups + groupCount; ++group) {
        const uint8_t* window = row + group->source;
        zoomStoreEach(line + group->output, [=](int32_t i) {
            return zoomPairSum(window, group->pick[0], group->weights[0], i) +
                   zoomPairSum(window, group->pick[1], group->weights[1], i);
        });
    }
}

constexpr auto linearLine = looksUpBytes ? linearLineByLookUp : linearLineByLoop;
constexpr auto cubicLine = looksUpBytes ? cubicLineByLookUp : cubicLineByLoop;

uint8_t linearElement(int32_t top, int32_t bottom, int32_t fraction)
{
    return static_cast<uint8_t>((top * (16384 - fraction) + bottom * fraction) >> 20);
}

uint8_t cubicElement(const int16_t* const lines[4], const int16_t weights[4], size_t i)
{
    int32_t sum = 0x80000;
    for (int32_t j = 0; j < 4; ++j)
        sum += lines[j][i] * weights[j];
    const int32_t value = sum >> 20;
    return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

// Two weights in turn.
I16<> zoomWeights(int32_t first, int32_t second)
{
    return as<I16<>>(spread<I32<>>((first & 0xFFFF) | second << 16));
}

// The lines' elements by their weights, those of each part's low half and of its
// high half.
struct ZoomSums {
    I32<> low;
    I32<> high;
};

ZoomSums zoomSums(const int16_t* first, const int16_t* second, I16<> weights)
{
    const I16<> a = load<I16<>>(first);
    const I16<> b = load<I16<>>(second);
    return {pairProducts(interleaveLow(a, b), weights),
            pairProducts(interleaveHigh(a, b), weights)};
}

I16<> linearVector(const int16_t* top, const int16_t* bottom, I16<> weights)
{
    const ZoomSums sums = zoomSums(top, bottom, weights);
    return packToI16(sums.low >> 20, sums.high >> 20);
}

I16<> cubicVector(const int16_t* const lines[4], size_t i, I16<> weights01, I16<> weights23)
{
    const ZoomSums outer = zoomSums(lines[0] + i, lines[1] + i, weights01);
    const ZoomSums inner = zoomSums(lines[2] + i, lines[3] + i, weights23);
    return packToI16((outer.low + inner.low + 0x80000) >> 20,
                     (outer.high + inner.high + 0x80000) >> 20);
}

void linearRow(uint8_t* dst, const int16_t* top, const int16_t* bottom, int32_t fraction,
               size_t count)
{
    const I16<> weights = zoomWeights(16384 - fraction, fraction);
    constexpr size_t half = wide / 2;
    size_t i = 0;
    for (; i + wide <= count; i += wide)
        store(dst + i,
              inOrderOfPack(packToU8(linearVector(top + i, bottom + i, weights),
                                     linearVector(top + i + half, bottom + i + half, weights))));
    for (; i < count; ++i)
        dst[i] = linearElement(top[i], bottom[i], fraction);
}

void cubicRow(uint8_t* dst, const int16_t* const lines[4], const int16_t weights[4], size_t count)
{
    const I16<> weights01 = zoomWeights(weights[0], weights[1]);
    const I16<> weights23 = zoomWeights(weights[2], weights[3]);
    size_t i = 0;
    for (; i + wide <= count; i += wide)
        store(dst + i,
              inOrderOfPack(packToU8(cubicVector(lines, i, weights01, weights23),
                                     cubicVector(lines, i + wide / 2, weights01, weights23))));
    for (; i < count; ++i)
        dst[i] = cubicElement(lines, weights, i);
}

} // namespace

constinit const ZoomKernels zoomKernels{
    .linearLine = linearLine,
    .cubicLine = cubicLine,
    .linearRow = linearRow,
    .cubicRow = cubicRow,
};

} // namespace quib::QUIB_LEVEL
