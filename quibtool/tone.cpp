#include "quibtool/tone.h"

#include "_Src/ipl.h"
#include "kernels/kernels.h"
#include "quibtool/blockwalk.h"
#include "quibtool/handle.h"
#include "quibtool/startup.h"

#include <algorithm>
#include <bit>

using namespace quib;

namespace
{

int32_t toneDivisor(int32_t contrast)
{
    return std::max(255 - 2 * contrast, 1);
}

int32_t toneNumerator(int32_t value, int32_t contrast)
{
    return (value - contrast) * 255 + std::max(toneDivisor(contrast) / 2, 1);
}

uint8_t toneValue(int32_t value, int32_t contrast)
{
    if (value < contrast)
        return 0;
    if (value > 255 - contrast)
        return 255;
    const int32_t quotient = toneNumerator(value, contrast) / toneDivisor(contrast);
    return static_cast<uint8_t>(std::min(quotient, 255));
}

uint8_t lineValue(const ToneLine& line, int32_t i)
{
    const uint32_t numerator = static_cast<uint32_t>(255 * std::max(i - line.low, 0) + line.offset);
    const uint32_t quotient = numerator * line.factor >> (16 + line.shift);
    return static_cast<uint8_t>(std::min(line.base + quotient, 255u));
}

bool isOnLine(const uint8_t* values, const ToneLine& line)
{
    if (255 * (255 - line.low) + line.offset > UINT16_MAX)
        return false;
    for (int32_t i = 0; i < 256; ++i)
        if (lineValue(line, i) != values[i])
            return false;
    return true;
}

// Of the reciprocals next to the divisor's own, the larger one divides all
// numerators rightly, or the smaller one those that are larger by 1.
bool findLine(const uint8_t* values, int32_t firstNumerator, int32_t divisor, ToneLine* line)
{
    int32_t low = 0;
    while (low < 255 && values[low + 1] == values[0])
        ++low;
    // Negative where all values are 0.
    const int32_t numerator = std::max(firstNumerator + 255 * low, 0);
    line->low = static_cast<uint8_t>(low);
    line->base = values[low];
    line->shift = static_cast<uint8_t>(std::bit_width(static_cast<uint32_t>(divisor)) - 1);
    for (const int32_t more : {0, 1}) {
        line->offset = static_cast<uint16_t>(numerator % divisor + more);
        line->factor = static_cast<uint16_t>((65536 << line->shift) / divisor + 1 - more);
        if (isOnLine(values, *line))
            return true;
    }
    return false;
}

bool isColourWithAlpha(const IplImage* image)
{
    return image->nChannels == 4 && image->depth == IPL_DEPTH_8U;
}

// Where a channel's byte stands, by the number that the caller gives it.
uint32_t channelBytes(int32_t channel)
{
    switch (channel) {
    case 0:
        return 0x00FFFFFFu;
    case 1:
        return 0x00FF0000u;
    case 2:
        return 0x0000FF00u;
    default:
        return 0x000000FFu;
    }
}

using CurveRow = void (*)(uint8_t* dst, const uint8_t* src, const ToneCurve& curve,
                          uint32_t channels, size_t count);

// Row padding included: both images are one run of pixels.
void curveRun(CurveRow curveRow, const IplImage* src, const IplImage* dst, const ToneCurve& curve,
              uint32_t channels)
{
    void* pixels = nullptr;
    if (QuibLockData(dst, &pixels) != QUIB_OK || QuibLockData(src, &pixels) != QUIB_OK)
        return;
    const BlockWalk to = ownWalkFrom(dst, 0, 0, 0, 4);
    const BlockWalk from = ownWalkFrom(src, 0, 0, 0, 4);
    const uint64_t count = static_cast<uint64_t>(src->width) * static_cast<uint32_t>(src->height);
    const size_t left = std::min(to.bytesLeft, from.bytesLeft) / 4;
    curveRow(to.row, from.row, curve, channels,
             static_cast<size_t>(std::min<uint64_t>(count, left)));
}

void adjustRows(const IplImage* src, const IplImage* dst, int32_t turn, int32_t saturation)
{
    const size_t step = static_cast<size_t>(src->widthStep);
    BlockWalk to = ownWalkFrom(dst, step, 0, 0, 4);
    BlockWalk from = ownWalkFrom(src, step, 0, 0, 4);
    const ToneKernels& tone = kernels().tone;
    for (int32_t y = 0; y < src->height; ++y) {
        const size_t left = std::min(to.bytesLeft, from.bytesLeft) / 4;
        const size_t count = std::min(static_cast<size_t>(src->width), left);
        if (turn < 0)
            tone.hueAndSaturationBack(to.row, from.row, hueTable, turn, saturation, count);
        else
            tone.hueAndSaturation(to.row, from.row, turn, saturation, count);
        ownSkipRows(&to, 1);
        ownSkipRows(&from, 1);
    }
}

} // namespace

ToneCurve quib::ownToneCurve(int32_t brightness, int32_t contrast)
{
    ToneCurve curve{};
    for (int32_t i = 0; i < 256; ++i)
        curve.values[i] = toneValue(i + brightness, contrast);
    curve.isLine = findLine(curve.values, toneNumerator(brightness, contrast),
                            toneDivisor(contrast), &curve.line);
    return curve;
}

QuibStatus QuibBrightnessAndContrast(IplImage* src, IplImage** dst, int32_t brightness,
                                     int32_t contrast, int32_t channel)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    if (!dst)
        return QUIB_BAD_ARGUMENT;
    if (!isColourWithAlpha(src))
        return QUIB_FAILED;
    if (brightness == 0 && contrast == 0)
        return QUIB_OK;
    const ToneCurve curve =
        ownToneCurve(std::clamp(brightness, -128, 127), std::clamp(contrast, -128, 127));
    CurveRow curveRow = kernels().tone.curve;
    if (!*dst) {
        if (QuibCreate0(src->width, src->height, 32, dst) != QUIB_OK)
            return QUIB_FAILED;
        curveRow = kernels().tone.curveIntoNew;
    }
    curveRun(curveRow, src, *dst, curve, channelBytes(channel));
    return QUIB_OK;
}

QuibStatus QuibHueAndSaturation(IplImage* src, IplImage** dst, int32_t hue, int32_t saturation)
{
    if (!QuibIsValid(src))
        return QUIB_BAD_ARGUMENT;
    if (!dst)
        return QUIB_BAD_ARGUMENT;
    if (!isColourWithAlpha(src))
        return QUIB_FAILED;
    if (hue == 0 && saturation == 0) {
        QuibCopy(src, dst);
        return QUIB_OK;
    }
    QuibInfo info{};
    const bool isGood = ownGetInfo(src, &info) == QUIB_OK;
    if (!*dst && QuibCreate0(info.width, info.height, info.bitDepth, dst) != QUIB_OK)
        return QUIB_FAILED;
    void* pixels = nullptr;
    if (QuibLockData(*dst, &pixels) != QUIB_OK || !isGood)
        return QUIB_OK;
    // Beyond 100 percent the smallest channel has reached its end.
    const int32_t percent = std::clamp(saturation >= 0 ? saturation / 4 : saturation, -100, 100);
    const int32_t turn = static_cast<int32_t>((int64_t{hue} + 360) % 360);
    adjustRows(src, *dst, turn, percent);
    return QUIB_OK;
}
