#include "kernels/composite.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/pace.h"
#include "tests/support/plain_composite.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

using quib::CompositeKernels;
using Bytes = std::vector<uint8_t>;

// Calls work(form) for every type, weighting and division at a depth.
template<class Work>
void forEachForm(uint32_t largest, Work work)
{
    for (const int32_t divideMode : {0, 1})
        for (const int32_t premulAlpha : {0, 1})
            for (int32_t type = 0; type < 6; ++type)
                work(PlainComposite{type, premulAlpha, divideMode, largest});
}

std::string nameOf(const PlainComposite& form)
{
    return "type " + std::to_string(form.type) + ", premulAlpha " +
           std::to_string(form.premulAlpha) + ", divideMode " + std::to_string(form.divideMode);
}

quib::CompositePixels pixelsOf(const CompositeKernels& kernels, const PlainComposite& form)
{
    const auto& rows = form.divideMode ? kernels.dividedPixels : kernels.pixels;
    return rows.of[form.premulAlpha][form.type];
}

quib::CompositeElements<uint8_t> elementsOf(const CompositeKernels& kernels,
                                            const PlainComposite& form, uint8_t)
{
    const auto& rows = form.divideMode ? kernels.dividedElements8 : kernels.elements8;
    return rows.of[form.premulAlpha][form.type];
}

quib::CompositeElements<uint16_t> elementsOf(const CompositeKernels& kernels,
                                             const PlainComposite& form, uint16_t)
{
    const auto& rows = form.divideMode ? kernels.dividedElements16 : kernels.elements16;
    return rows.of[form.premulAlpha][form.type];
}

quib::CompositeAlphas<uint8_t> alphasOf(const CompositeKernels& kernels, int32_t type, uint8_t)
{
    return kernels.alphas8[type];
}

quib::CompositeAlphas<uint16_t> alphasOf(const CompositeKernels& kernels, int32_t type, uint16_t)
{
    return kernels.alphas16[type];
}

Bytes plainPixels(const PlainComposite& form, const uint8_t* a, const uint8_t* b, size_t count)
{
    Bytes out(count * 4);
    for (size_t i = 0; i < count * 4; i += 4) {
        for (size_t c = i; c < i + 3; ++c)
            out[c] = static_cast<uint8_t>(plainElement(form, a[c], b[c], a[i + 3], b[i + 3]));
        out[i + 3] = static_cast<uint8_t>(plainAlpha(form.type, a[i + 3], b[i + 3], 255));
    }
    return out;
}

template<class Element>
std::vector<Element> plainElements(const PlainComposite& form, const Element* a, const Element* b,
                                   const Element* alphaA, const Element* alphaB, size_t count)
{
    std::vector<Element> out(count);
    for (size_t i = 0; i < count; ++i)
        out[i] = static_cast<Element>(plainElement(form, a[i], b[i], alphaA[i], alphaB[i]));
    return out;
}

// 65,536 pixels with a pair of alphas each. The colours are those of the set:
// extremes, then random ones.
void fillPixelsOfEveryAlphaPair(int set, Bytes* a, Bytes* b)
{
    constexpr uint8_t extremes[][2] = {{255, 255}, {255, 0}, {0, 255}, {1, 254}, {128, 127}};
    Random random(static_cast<uint64_t>(set));
    a->resize(65536 * 4);
    b->resize(65536 * 4);
    random.fill(a->data(), a->size());
    random.fill(b->data(), b->size());
    for (size_t i = 0; i < 65536; ++i) {
        for (size_t c = 0; c < 3 && set < 5; ++c) {
            (*a)[i * 4 + c] = extremes[(static_cast<size_t>(set) + c) % 5][0];
            (*b)[i * 4 + c] = extremes[(static_cast<size_t>(set) + c) % 5][1];
        }
        (*a)[i * 4 + 3] = static_cast<uint8_t>(i >> 8);
        (*b)[i * 4 + 3] = static_cast<uint8_t>(i);
    }
}

// Random elements with many smallest and largest ones among them.
template<class Element>
std::vector<Element> sharpElements(size_t count, Random& random)
{
    constexpr Element largest = static_cast<Element>(~Element{0});
    std::vector<Element> elements(count);
    for (Element& element : elements) {
        const int32_t any = random.between(0, largest);
        const int32_t close = random.between(0, 2);
        const int32_t choice = random.between(0, 3);
        element = static_cast<Element>(choice == 0 ? close : choice == 1 ? largest - close : any);
    }
    return elements;
}

template<class Element>
void expectPlainElements(uint64_t seed)
{
    constexpr uint32_t largest = static_cast<Element>(~Element{0});
    constexpr size_t count = 40000;
    Random random(seed);
    const auto a = sharpElements<Element>(count, random);
    const auto b = sharpElements<Element>(count, random);
    const auto alphaA = sharpElements<Element>(count, random);
    const auto alphaB = sharpElements<Element>(count, random);
    forEachForm(largest, [&](const PlainComposite& form) {
        const auto expected =
            plainElements(form, a.data(), b.data(), alphaA.data(), alphaB.data(), count);
        for (const quib::Kernels* table : availableLevels()) {
            std::vector<Element> dst(count);
            elementsOf(table->composite, form, Element{})(dst.data(), a.data(), b.data(),
                                                          alphaA.data(), alphaB.data(), count);
            ASSERT_EQ(dst, expected) << nameOf(form) << ", " << table->levelName;
        }
    });
}

template<class Element>
void expectPlainAlphas(const std::vector<Element>& alphaA, const std::vector<Element>& alphaB)
{
    constexpr uint32_t largest = static_cast<Element>(~Element{0});
    for (int32_t type = 0; type < 6; ++type) {
        std::vector<Element> expected(alphaA.size());
        for (size_t i = 0; i < expected.size(); ++i)
            expected[i] = static_cast<Element>(plainAlpha(type, alphaA[i], alphaB[i], largest));
        for (const quib::Kernels* table : availableLevels()) {
            std::vector<Element> dst(alphaA.size());
            alphasOf(table->composite, type, Element{})(dst.data(), alphaA.data(), alphaB.data(),
                                                        dst.size());
            ASSERT_EQ(dst, expected) << "type " << type << ", " << table->levelName;
        }
    }
}

} // namespace

TEST(CompositeKernels, PixelsArePlainForEveryPairOfAlphas)
{
    Bytes a;
    Bytes b;
    Bytes dst(65536 * 4);
    for (int set = 0; set < 8; set += stepOfCases(3)) {
        fillPixelsOfEveryAlphaPair(set, &a, &b);
        forEachForm(255, [&](const PlainComposite& form) {
            const Bytes expected = plainPixels(form, a.data(), b.data(), 65536);
            for (const quib::Kernels* table : availableLevels()) {
                pixelsOf(table->composite, form)(dst.data(), a.data(), b.data(), 65536);
                ASSERT_EQ(dst, expected) << nameOf(form) << ", " << table->levelName;
            }
        });
    }
}

TEST(CompositeKernels, TintedPixelsArePlainAndKeepTheirLastBytes)
{
    Random random(21);
    constexpr size_t count = 79;
    Bytes a(count * 4);
    Bytes b(count * 4);
    Bytes before(count * 4);
    for (uint32_t pair = 0; pair < 65536; pair += pair % 256 == 254 ? 1 : 2) {
        const uint8_t alphaA = static_cast<uint8_t>(pair >> 8);
        const uint8_t alphaB = static_cast<uint8_t>(pair);
        random.fill(a.data(), a.size());
        random.fill(b.data(), b.size());
        random.fill(before.data(), before.size());
        const PlainComposite form{static_cast<int32_t>(pair % 6),
                                  static_cast<int32_t>(pair / 7 % 2), 0, 255};
        Bytes expected = before;
        for (size_t i = 0; i < count * 4; ++i)
            if (i % 4 != 3)
                expected[i] = static_cast<uint8_t>(plainElement(form, a[i], b[i], alphaA, alphaB));
        for (const quib::Kernels* table : availableLevels()) {
            Bytes dst = before;
            table->composite.tinted.of[form.premulAlpha][form.type](dst.data(), a.data(), b.data(),
                                                                    alphaA, alphaB, count);
            ASSERT_EQ(dst, expected) << nameOf(form) << ", " << table->levelName;
        }
    }
}

TEST(CompositeKernels, ElementsOf8BitsArePlain)
{
    expectPlainElements<uint8_t>(22);
}

TEST(CompositeKernels, ElementsOf16BitsArePlain)
{
    expectPlainElements<uint16_t>(23);
}

TEST(CompositeKernels, AlphasOf8BitsArePlainForEveryPair)
{
    std::vector<uint8_t> alphaA(65536);
    std::vector<uint8_t> alphaB(65536);
    for (size_t i = 0; i < 65536; ++i) {
        alphaA[i] = static_cast<uint8_t>(i >> 8);
        alphaB[i] = static_cast<uint8_t>(i);
    }
    expectPlainAlphas(alphaA, alphaB);
}

TEST(CompositeKernels, AlphasOf16BitsArePlain)
{
    Random random(24);
    const auto alphaA = sharpElements<uint16_t>(100000, random);
    const auto alphaB = sharpElements<uint16_t>(100000, random);
    expectPlainAlphas(alphaA, alphaB);
}

TEST(CompositeKernels, PixelsOfEveryCountStayInsideTheirRows)
{
    Random random(25);
    for (size_t count = 0; count < 40; ++count) {
        // One byte in: the addresses are aligned to nothing.
        const GuardedBuffer a(count * 4 + 1);
        const GuardedBuffer b(count * 4 + 1);
        const GuardedBuffer dst(count * 4 + 1);
        random.fill(a.data(), a.size());
        random.fill(b.data(), b.size());
        forEachForm(255, [&](const PlainComposite& form) {
            const Bytes expected = plainPixels(form, a.data() + 1, b.data() + 1, count);
            for (const quib::Kernels* table : availableLevels()) {
                pixelsOf(table->composite, form)(dst.data() + 1, a.data() + 1, b.data() + 1, count);
                ASSERT_EQ(Bytes(dst.data() + 1, dst.data() + 1 + count * 4), expected)
                    << nameOf(form) << ", " << table->levelName;
                if (!form.divideMode)
                    table->composite.tinted.of[form.premulAlpha][form.type](
                        dst.data() + 1, a.data() + 1, b.data() + 1, 3, 200, count);
            }
        });
        EXPECT_EQ(dst.data()[0], 0xA5);
    }
}

TEST(CompositeKernels, ElementsOfEveryCountStayInsideTheirRows)
{
    Random random(26);
    for (size_t count = 0; count < 70; ++count) {
        const GuardedBuffer a(count * 2);
        const GuardedBuffer b(count * 2);
        const GuardedBuffer alphaA(count * 2);
        const GuardedBuffer alphaB(count * 2);
        const GuardedBuffer dst(count * 2);
        for (const GuardedBuffer* buffer : {&a, &b, &alphaA, &alphaB})
            random.fill(buffer->data(), buffer->size());
        forEachForm(65535, [&](const PlainComposite& form) {
            const auto expected =
                plainElements(form, a.as<uint16_t>(), b.as<uint16_t>(), alphaA.as<uint16_t>(),
                              alphaB.as<uint16_t>(), count);
            for (const quib::Kernels* table : availableLevels()) {
                elementsOf(table->composite, form,
                           uint16_t{})(dst.as<uint16_t>(), a.as<uint16_t>(), b.as<uint16_t>(),
                                       alphaA.as<uint16_t>(), alphaB.as<uint16_t>(), count);
                ASSERT_EQ(std::vector<uint16_t>(dst.as<uint16_t>(), dst.as<uint16_t>() + count),
                          expected)
                    << nameOf(form) << ", " << table->levelName;
            }
        });
    }
}

TEST(CompositeKernels, TheDestinationMayBeASource)
{
    Random random(27);
    constexpr size_t count = 61;
    Bytes a(count * 4);
    Bytes b(count * 4);
    random.fill(a.data(), a.size());
    random.fill(b.data(), b.size());
    forEachForm(255, [&](const PlainComposite& form) {
        const Bytes expected = plainPixels(form, a.data(), b.data(), count);
        const Bytes expectedElements =
            plainElements(form, a.data(), b.data(), b.data(), a.data(), count * 4);
        for (const quib::Kernels* table : availableLevels()) {
            SCOPED_TRACE(nameOf(form) + ", " + table->levelName);
            Bytes dst = a;
            pixelsOf(table->composite, form)(dst.data(), dst.data(), b.data(), count);
            ASSERT_EQ(dst, expected);
            dst = b;
            pixelsOf(table->composite, form)(dst.data(), a.data(), dst.data(), count);
            ASSERT_EQ(dst, expected);
            // A source that is also the other's alpha, and the destination.
            dst = a;
            elementsOf(table->composite, form, uint8_t{})(dst.data(), dst.data(), b.data(),
                                                          b.data(), dst.data(), count * 4);
            ASSERT_EQ(dst, expectedElements);
        }
    });
}
