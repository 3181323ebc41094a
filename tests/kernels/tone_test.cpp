#include "kernels/tone.h"

#include "benchmarks/plain_tone.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace
{

using Bytes = std::vector<uint8_t>;

// Calls work(kernels, dst, src, count, random) with rows of every small count that
// end at an inaccessible page, at every level.
template<class Work>
void forEachToneRow(Work work)
{
    forEachTable<quib::ToneKernels>([&](const quib::ToneKernels& kernels) {
        Random random(21);
        for (size_t step = 0; step <= 90; ++step) {
            // The last ones are long enough for a row that is begun at a line.
            const size_t count = step <= 70 ? step : 200 + step;
            const GuardedBuffer dst(count * 4 + 1);
            const GuardedBuffer src(count * 4 + 1);
            random.fill(dst.data(), dst.size());
            random.fill(src.data(), src.size());
            ASSERT_NO_FATAL_FAILURE(work(kernels, dst.data() + 1, src.data() + 1, count, random));
            ASSERT_NO_FATAL_FAILURE(work(kernels, src.data() + 1, src.data() + 1, count, random));
        }
    });
}

// A line of random slope, its values computed one by one.
quib::ToneCurve randomColours(Random& random)
{
    const int32_t low = random.between(0, 255);
    const int32_t base = random.between(0, 255);
    const int32_t offset = random.between(0, 510);
    const int32_t factor = random.between(0, 65535);
    const int32_t shift = random.between(1, 8);
    quib::ToneCurve curve{};
    curve.isLine = true;
    curve.line = {static_cast<uint8_t>(low), static_cast<uint8_t>(base),
                  static_cast<uint8_t>(shift), static_cast<uint16_t>(offset),
                  static_cast<uint16_t>(factor)};
    for (int32_t i = 0; i < 256; ++i) {
        const int64_t sum = 255 * std::max(i - low, 0) + offset;
        const int64_t value = base + ((sum * factor) >> (16 + shift));
        curve.values[i] = static_cast<uint8_t>(std::min<int64_t>(value, 255));
    }
    return curve;
}

quib::ToneCurve randomCurves(Random& random)
{
    quib::ToneCurve curve{};
    random.fill(curve.values, sizeof curve.values);
    return curve;
}

Bytes curved(const uint8_t* dst, const uint8_t* src, const quib::ToneCurve& curve,
             uint32_t channels, size_t count, bool keepsFourth)
{
    Bytes expected(src, src + count * 4);
    for (size_t i = 0; i < count * 4; ++i) {
        if (i % 4 == 3)
            expected[i] = keepsFourth ? dst[i] : 0;
        else if (channels >> i % 4 * 8 & 0xFF)
            expected[i] = curve.values[src[i]];
    }
    return expected;
}

} // namespace

TEST(ToneKernels, CurvesFollowTheirValues)
{
    for (const bool isLine : {true, false}) {
        for (const uint32_t channels : {0xFFFFFFu, 0xFFu, 0xFF00u, 0xFF0000u}) {
            forEachToneRow([&](const quib::ToneKernels& kernels, uint8_t* dst, const uint8_t* src,
                               size_t count, Random& random) {
                const quib::ToneCurve curve = isLine ? randomColours(random) : randomCurves(random);
                Bytes expected = curved(dst, src, curve, channels, count, true);
                kernels.curve(dst, src, curve, channels, count);
                ASSERT_EQ(Bytes(dst, dst + count * 4), expected);
                expected = curved(dst, src, curve, channels, count, false);
                kernels.curveIntoNew(dst, src, curve, channels, count);
                ASSERT_EQ(Bytes(dst, dst + count * 4), expected);
            });
        }
    }
}

TEST(ToneKernels, HuesTurnAsPixelByPixel)
{
    forEachToneRow([](const quib::ToneKernels& kernels, uint8_t* dst, const uint8_t* src,
                      size_t count, Random& random) {
        const int32_t turn = random.between(0, 359);
        const int32_t saturation = random.between(-100, 100);
        Bytes expected(count * 4);
        for (size_t i = 0; i < count * 4; i += 4)
            plainHue().adjust(&expected[i], src + i, turn,
                              saturation > 0 ? saturation * 4 : saturation);
        kernels.hueAndSaturation(dst, src, turn, saturation, count);
        ASSERT_EQ(Bytes(dst, dst + count * 4), expected) << turn << ", " << saturation;
    });
}

TEST(ToneKernels, HuesTurnBackAsPixelByPixel)
{
    forEachToneRow([](const quib::ToneKernels& kernels, uint8_t* dst, const uint8_t* src,
                      size_t count, Random& random) {
        const int32_t turn = random.between(-359, 0);
        const int32_t saturation = random.between(-100, 100);
        Bytes expected(count * 4);
        for (size_t i = 0; i < count * 4; i += 4)
            plainHue().adjust(&expected[i], src + i, turn - 720,
                              saturation > 0 ? saturation * 4 : saturation);
        kernels.hueAndSaturationBack(dst, src, plainHue().centre(), turn, saturation, count);
        ASSERT_EQ(Bytes(dst, dst + count * 4), expected) << turn << ", " << saturation;
    });
}
