#include "quibtool/tone.h"

#include "_Src/ipl.h"
#include "kernels/kernels.h"
#include "quibtool/blockwalk.h"
#include "quibtool/handle.h"
#include "quibtool/startup.h"

#include <algorithm>

using namespace quib;

namespace
{

uint8_t toneValue(int32_t value, int32_t contrast)
{
    if (value < contrast)
        return 0;
    if (value > 255 - contrast)
        return 255;
    const int32_t divisor = std::max(255 - 2 * contrast, 1);
    const int32_t rounding = std::max(divisor / 2, 1);
    return static_cast<uint8_t>(std::min(((value - contrast) * 255 + rounding) / divisor, 255));
}

// The line's slope is known; any offset serves that brings every value between
// two integers.
bool findLine(const uint8_t* values, int32_t divisor, ToneLine* line)
{
    int32_t low = 0;
    while (low < 255 && values[low + 1] == values[0])
        ++low;
    int32_t high = 255;
    while (high > low && values[high - 1] == values[255])
        --high;
    const int64_t factor = (255 * 65536 + divisor / 2) / divisor;
    int64_t least = 0;
    int64_t most = INT64_MAX;
    for (int32_t i = low; i <= high; ++i) {
        const int64_t offset = values[i] * int64_t{65536} - factor * (i - low);
        least = std::max(least, offset);
        most = std::min(most, offset + 65535);
    }
    *line = {static_cast<uint8_t>(low), static_cast<uint8_t>(high - low),
             static_cast<uint32_t>(factor), static_cast<uint32_t>(least)};
    return least <= most;
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
    curve.isLine = findLine(curve.values, std::max(255 - 2 * contrast, 1), &curve.line);
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
