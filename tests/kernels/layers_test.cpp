#include "kernels/layers.h"

#include "quibtool/startup.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/pace.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

using Pixels = std::vector<uint8_t>;

// The pixel rule, through the table.
Pixels plainBlend(const Pixels& under, const Pixels& over)
{
    Pixels out(under.size());
    for (size_t i = 0; i < under.size(); i += 4) {
        const uint32_t entry = pairBlendTable[over[i + 3] * 256 + under[i + 3]];
        const int weight = static_cast<int>(entry & 255);
        for (size_t c = i; c < i + 3; ++c)
            out[c] =
                static_cast<uint8_t>((under[c] + (((over[c] - under[c]) * weight) >> 8)) & 255);
        out[i + 3] = static_cast<uint8_t>(entry >> 24);
    }
    return out;
}

Pixels blended(const quib::LayerKernels& kernels, const Pixels& under, const Pixels& over)
{
    Pixels out(under.size());
    kernels.pairBlend(out.data(), under.data(), over.data(), under.size() / 4);
    return out;
}

Pixels randomPixels(size_t count, Random& random)
{
    Pixels pixels(count * 4);
    random.fill(pixels.data(), pixels.size());
    return pixels;
}

struct Layers {
    Pixels under;
    Pixels over;
};

// All 65536 pairs of colours, each channel with others, at one pair of alphas.
Layers everyPairOfColours(uint32_t overAlpha, uint32_t underAlpha)
{
    Layers layers{Pixels(65536 * 4), Pixels(65536 * 4)};
    for (size_t i = 0; i < 65536; ++i) {
        for (size_t c = 0; c < 3; ++c) {
            layers.over[i * 4 + c] = static_cast<uint8_t>((i >> 8) + c * 85);
            layers.under[i * 4 + c] = static_cast<uint8_t>(i + c * 85);
        }
        layers.over[i * 4 + 3] = static_cast<uint8_t>(overAlpha);
        layers.under[i * 4 + 3] = static_cast<uint8_t>(underAlpha);
    }
    return layers;
}

} // namespace

TEST(PairBlend, GivesTheTablesWeightAndAlphaForEveryPairOfAlphas)
{
    forEachTable<quib::LayerKernels>([](const quib::LayerKernels& kernels) {
        constexpr int colours[][2] = {{255, 0}, {0, 255}, {255, 1}, {200, 100}, {100, 101}};
        for (const auto& [s, d] : colours) {
            Pixels over(65536 * 4);
            Pixels under(65536 * 4);
            for (size_t i = 0; i < 65536; ++i) {
                for (size_t c = 0; c < 3; ++c) {
                    over[i * 4 + c] = static_cast<uint8_t>(s);
                    under[i * 4 + c] = static_cast<uint8_t>(d);
                }
                over[i * 4 + 3] = static_cast<uint8_t>(i >> 8);
                under[i * 4 + 3] = static_cast<uint8_t>(i);
            }
            ASSERT_EQ(blended(kernels, under, over), plainBlend(under, over));
        }
    });
}

TEST(PairBlend, GivesThePlainResultForEveryPairOfColours)
{
    forEachTable<quib::LayerKernels>([](const quib::LayerKernels& kernels) {
        for (const uint32_t weightPair : {0x00FFu, 0x0101u, 0x8080u, 0x40C0u, 0xC040u, 0xFF00u}) {
            const Layers layers = everyPairOfColours(weightPair >> 8, weightPair & 255);
            ASSERT_EQ(blended(kernels, layers.under, layers.over),
                      plainBlend(layers.under, layers.over));
        }
    });
}

TEST(PairBlend, GivesThePlainResultOverOpaqueRunsForEveryAlphaAndPairOfColours)
{
    forEachTable<quib::LayerKernels>([](const quib::LayerKernels& kernels) {
        for (uint32_t alpha = 0; alpha < 256; alpha += stepOfCases(15u)) {
            const Layers layers = everyPairOfColours(alpha, 255);
            ASSERT_EQ(blended(kernels, layers.under, layers.over),
                      plainBlend(layers.under, layers.over))
                << alpha;
        }
    });
}

// Runs of 0 and of 255, broken at every place, take the short ways of a group
// of pixels.
TEST(PairBlend, GivesThePlainResultForRunsOfEqualAlphas)
{
    forEachTable<quib::LayerKernels>([](const quib::LayerKernels& kernels) {
        Random random(1);
        for (const int alpha : {0, 255}) {
            for (const int odd : {0, 1, 254, 255}) {
                for (size_t at = 0; at < 100; ++at) {
                    Pixels over = randomPixels(100, random);
                    const Pixels under = randomPixels(100, random);
                    for (size_t i = 0; i < 100; ++i)
                        over[i * 4 + 3] = static_cast<uint8_t>(alpha);
                    over[at * 4 + 3] = static_cast<uint8_t>(odd);
                    ASSERT_EQ(blended(kernels, under, over), plainBlend(under, over));
                }
            }
        }
    });
}

TEST(PairBlend, StaysInsideItsRunsAtAnyCountAndAddress)
{
    forEachTable<quib::LayerKernels>([](const quib::LayerKernels& kernels) {
        Random random(2);
        for (size_t count = 0; count <= 80; ++count) {
            for (const int alphas : {0, 255, -1}) {
                Pixels over = randomPixels(count, random);
                const Pixels under = randomPixels(count, random);
                for (size_t i = 0; alphas >= 0 && i < count; ++i)
                    over[i * 4 + 3] = static_cast<uint8_t>(alphas);
                // One byte in: the addresses are aligned to nothing.
                const GuardedBuffer overBuffer(count * 4 + 1);
                const GuardedBuffer underBuffer(count * 4 + 1);
                const GuardedBuffer target(count * 4 + 1);
                std::copy(over.begin(), over.end(), overBuffer.data() + 1);
                std::copy(under.begin(), under.end(), underBuffer.data() + 1);
                overBuffer.makeReadOnly();
                underBuffer.makeReadOnly();
                kernels.pairBlend(target.data() + 1, underBuffer.data() + 1, overBuffer.data() + 1,
                                  count);
                ASSERT_EQ(Pixels(target.data() + 1, target.data() + target.size()),
                          plainBlend(under, over));
                ASSERT_EQ(target.data()[0], 0xA5);
            }
        }
    });
}

TEST(PairBlend, GivesThePlainResultOverOpaqueRunsBrokenAtEveryPlace)
{
    forEachTable<quib::LayerKernels>([](const quib::LayerKernels& kernels) {
        Random random(6);
        for (const uint8_t odd : {uint8_t{0}, uint8_t{1}, uint8_t{127}, uint8_t{254}}) {
            for (size_t at = 0; at < 100; ++at) {
                const Pixels over = randomPixels(100, random);
                Pixels under = randomPixels(100, random);
                for (size_t i = 0; i < 100; ++i)
                    under[i * 4 + 3] = 255;
                under[at * 4 + 3] = odd;
                ASSERT_EQ(blended(kernels, under, over), plainBlend(under, over));
            }
        }
    });
}

TEST(PairBlend, MayWriteIntoEitherImage)
{
    forEachTable<quib::LayerKernels>([](const quib::LayerKernels& kernels) {
        Random random(3);
        for (const int alphas : {0, 255, -1}) {
            for (size_t count = 1; count < 90; ++count) {
                Pixels over = randomPixels(count, random);
                Pixels under = randomPixels(count, random);
                for (size_t i = 0; alphas >= 0 && i < count; ++i)
                    over[i * 4 + 3] = static_cast<uint8_t>(alphas);
                const Pixels expected = plainBlend(under, over);
                Pixels target = under;
                kernels.pairBlend(target.data(), target.data(), over.data(), count);
                ASSERT_EQ(target, expected);
                kernels.pairBlend(over.data(), under.data(), over.data(), count);
                ASSERT_EQ(over, expected);
            }
        }
    });
}

TEST(PairBlend, GivesThePlainResultInRunsThatGoPastTheCaches)
{
    forEachTable<quib::LayerKernels>([](const quib::LayerKernels& kernels) {
        Random random(7);
        constexpr size_t count = (size_t{1} << 20) + 123;
        Pixels over = randomPixels(count, random);
        Pixels under = randomPixels(count, random);
        for (size_t i = 100; i < 5000; ++i)
            over[i * 4 + 3] = i < 2000 ? 0 : i < 4000 ? 255 : over[i * 4 + 3];
        for (size_t i = 4000; i < 6000; ++i)
            under[i * 4 + 3] = 255;
        const Pixels expected = plainBlend(under, over);
        for (const size_t offset : {size_t{0}, size_t{1}, size_t{4}, size_t{52}}) {
            const GuardedBuffer target(count * 4 + offset);
            kernels.pairBlend(target.data() + offset, under.data(), over.data(), count);
            ASSERT_EQ(Pixels(target.data() + offset, target.data() + target.size()), expected)
                << offset;
        }
    });
}

// --- By over's alpha alone ------------------------------------------------------

namespace
{

using BlendRow = void (*)(uint8_t* target, const uint8_t* under, const uint8_t* over, size_t count);

// `target` is what lay there before; its alphas stay unless `opaque`.
Pixels plainByAlpha(const Pixels& target, const Pixels& under, const Pixels& over, bool opaque)
{
    Pixels out = target;
    for (size_t i = 0; i < under.size(); i += 4) {
        for (size_t c = i; c < i + 3; ++c)
            out[c] = static_cast<uint8_t>(under[c] + (((over[c] - under[c]) * over[i + 3]) >> 8));
        if (opaque)
            out[i + 3] = 255;
    }
    return out;
}

// Calls work(row, opaque) with both rows of each level.
template<class Work>
void forBothRows(Work work)
{
    forEachTable<quib::LayerKernels>([work](const quib::LayerKernels& kernels) {
        for (const bool opaque : {true, false}) {
            SCOPED_TRACE(opaque ? "alphaBlend" : "colourBlend");
            work(opaque ? kernels.alphaBlend : kernels.colourBlend, opaque);
        }
    });
}

} // namespace

TEST(AlphaBlend, GivesThePlainResultForEveryAlphaAndPairOfColours)
{
    forBothRows([](BlendRow row, bool opaque) {
        for (uint32_t alpha = 0; alpha < 256; alpha += stepOfCases(15u)) {
            const Layers layers = everyPairOfColours(alpha, alpha * 7 & 255);
            Pixels out = layers.over;
            row(out.data(), layers.under.data(), layers.over.data(), 65536);
            ASSERT_EQ(out, plainByAlpha(layers.over, layers.under, layers.over, opaque)) << alpha;
        }
    });
}

TEST(AlphaBlend, StaysInsideItsRunsAtAnyCountAndAddress)
{
    forBothRows([](BlendRow row, bool opaque) {
        Random random(4);
        for (size_t count = 0; count <= 80; ++count) {
            const Pixels over = randomPixels(count, random);
            const Pixels under = randomPixels(count, random);
            const Pixels before = randomPixels(count, random);
            const GuardedBuffer overBuffer(count * 4 + 1);
            const GuardedBuffer underBuffer(count * 4 + 1);
            const GuardedBuffer target(count * 4 + 1);
            std::copy(over.begin(), over.end(), overBuffer.data() + 1);
            std::copy(under.begin(), under.end(), underBuffer.data() + 1);
            std::copy(before.begin(), before.end(), target.data() + 1);
            overBuffer.makeReadOnly();
            underBuffer.makeReadOnly();
            row(target.data() + 1, underBuffer.data() + 1, overBuffer.data() + 1, count);
            ASSERT_EQ(Pixels(target.data() + 1, target.data() + target.size()),
                      plainByAlpha(before, under, over, opaque));
            ASSERT_EQ(target.data()[0], 0xA5);
        }
    });
}

TEST(AlphaBlend, MayWriteIntoEitherImage)
{
    forBothRows([](BlendRow row, bool opaque) {
        Random random(5);
        for (size_t count = 1; count < 90; ++count) {
            Pixels over = randomPixels(count, random);
            Pixels under = randomPixels(count, random);
            const Pixels intoUnder = plainByAlpha(under, under, over, opaque);
            const Pixels intoOver = plainByAlpha(over, under, over, opaque);
            Pixels target = under;
            row(target.data(), target.data(), over.data(), count);
            ASSERT_EQ(target, intoUnder);
            row(over.data(), under.data(), over.data(), count);
            ASSERT_EQ(over, intoOver);
        }
    });
}

TEST(AlphaBlend, GivesThePlainResultInRunsThatGoPastTheCaches)
{
    forBothRows([](BlendRow row, bool opaque) {
        Random random(8);
        constexpr size_t count = (size_t{1} << 20) + 77;
        const Pixels over = randomPixels(count, random);
        const Pixels under = randomPixels(count, random);
        const Pixels before = randomPixels(count, random);
        for (const size_t offset : {size_t{0}, size_t{1}, size_t{4}}) {
            const GuardedBuffer target(count * 4 + offset);
            std::copy(before.begin(), before.end(), target.data() + offset);
            row(target.data() + offset, under.data(), over.data(), count);
            ASSERT_EQ(Pixels(target.data() + offset, target.data() + target.size()),
                      plainByAlpha(before, under, over, opaque))
                << offset;
        }
    });
}
