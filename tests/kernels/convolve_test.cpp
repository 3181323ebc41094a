#include "kernels/convolve.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

using quib::ConvolveElement;
using quib::ConvolveKernels;
using quib::ConvolveTerms;

namespace
{

// Elements of any type for each of some taps, each run in a guarded buffer of its own.
template<class Element>
struct Rows {
    Rows(size_t taps, size_t length, Guard guard, Random& random) : count(length)
    {
        for (size_t i = 0; i < taps; ++i) {
            buffers.push_back(std::make_unique<GuardedBuffer>(length * sizeof(Element), guard));
            random.fill(buffers.back()->data(), length * sizeof(Element));
            buffers.back()->makeReadOnly();
            addresses.push_back(buffers.back()->data());
        }
        if (taps % 2)
            addresses.push_back(addresses.back());
    }
    Element at(size_t tap, size_t i) const
    {
        return static_cast<const Element*>(addresses[tap])[i];
    }

    size_t count;
    std::vector<std::unique_ptr<GuardedBuffer>> buffers;
    std::vector<const void*> addresses;
};

struct Taps {
    Taps(size_t count, int32_t least, int32_t most, Random& random)
    {
        for (size_t i = 0; i < count; ++i)
            values.push_back(random.between(least, most));
        addForms();
    }
    explicit Taps(const std::vector<int32_t>& taps) : values(taps) { addForms(); }
    void addForms()
    {
        const size_t count = values.size();
        for (const int32_t value : values)
            floats.push_back(static_cast<float>(value));
        for (size_t i = 0; i < count; i += 2) {
            const uint32_t first = static_cast<uint32_t>(values[i]);
            const uint32_t second = i + 1 < count ? static_cast<uint32_t>(values[i + 1]) : 0;
            bytePairs.push_back(((first & 0xFF) | (second & 0xFF) << 8) * 0x10001u);
            wordPairs.push_back((first & 0xFFFF) | second << 16);
        }
    }
    ConvolveTerms terms(const std::vector<const void*>& rows, bool inPairs) const
    {
        return {rows.data(),
                values.data(),
                floats.data(),
                values.size(),
                inPairs ? bytePairs.data() : nullptr,
                inPairs ? wordPairs.data() : nullptr};
    }

    std::vector<int32_t> values;
    std::vector<float> floats;
    std::vector<uint32_t> bytePairs;
    std::vector<uint32_t> wordPairs;
};

constexpr size_t lengths[] = {1, 3, 4, 7, 8, 15, 16, 17, 31, 32, 33, 63, 64, 65, 100, 129};

template<class Visit>
void forEachShape(Visit visit)
{
    Random random(7);
    for (const Guard guard : {Guard::afterEnd, Guard::beforeStart})
        for (const size_t length : lengths)
            for (const size_t taps : {0, 1, 2, 3, 6, 9})
                visit(guard, length, taps, random);
}

// The sums of one function against those of 64 bits.
template<class Element, class Sum, class Function>
void expectConvolvedSums(Function function, int32_t least, int32_t most)
{
    forEachShape([&](Guard guard, size_t length, size_t count, Random& random) {
        const Rows<Element> rows(count, length, guard, random);
        const Taps taps(count, least, most, random);
        const bool inPairs = random.coin();
        const int32_t shift = random.between(0, 31);
        const GuardedBuffer out(length * sizeof(Sum), guard);
        Sum* sums = out.template as<Sum>();
        function(sums, taps.terms(rows.addresses, inPairs), shift, length);
        for (size_t i = 0; i < length; ++i) {
            int64_t expected = 0;
            for (size_t tap = 0; tap < count; ++tap)
                expected += static_cast<int64_t>(taps.values[tap]) * rows.at(tap, i);
            ASSERT_EQ(sums[i], expected >> shift) << length << " " << count << " " << i;
        }
    });
}

template<class Element, class Sum, class Function>
void expectConvolvedSums(Function function, int32_t most)
{
    expectConvolvedSums<Element, Sum>(function, -most, most);
}

template<class Element>
void expectFloatSums(const ConvolveKernels& kernels, ConvolveElement element)
{
    forEachShape([&](Guard guard, size_t length, size_t count, Random& random) {
        const Rows<Element> rows(count, length, guard, random);
        const Taps taps(count, -INT32_MAX, INT32_MAX, random);
        const GuardedBuffer out(length * sizeof(float), guard);
        float* sums = out.as<float>();
        kernels.sumsFloat[element](sums, taps.terms(rows.addresses, false), 0.3f, length);
        for (size_t i = 0; i < length; ++i) {
            float expected = 0;
            for (size_t tap = 0; tap < count; ++tap)
                expected += taps.floats[tap] * static_cast<float>(rows.at(tap, i));
            ASSERT_EQ(sums[i], expected * 0.3f) << length << " " << count << " " << i;
        }
    });
}

template<class Element, class Number, class Function>
void expectFinished(Function function, const std::vector<Number>& telling)
{
    Random random(9);
    for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
        for (const size_t length : lengths) {
            const GuardedBuffer in(length * sizeof(Number), guard);
            const GuardedBuffer out(length * sizeof(Element), guard);
            for (size_t i = 0; i < length; ++i)
                in.as<Number>()[i] = telling[static_cast<size_t>(random.next()) % telling.size()];
            in.makeReadOnly();
            function(out.data(), in.as<Number>(), length);
            for (size_t i = 0; i < length; ++i) {
                const double value = std::nearbyint(static_cast<double>(in.as<Number>()[i]));
                const double low = std::numeric_limits<Element>::min();
                const double high = std::numeric_limits<Element>::max();
                ASSERT_EQ(out.as<Element>()[i], std::min(std::max(value, low), high))
                    << in.as<Number>()[i];
            }
        }
    }
}

const std::vector<int32_t> tellingInts{INT32_MIN, -65536, -32769, -32768, -129,  -128,
                                       -1,        0,      1,      127,    128,   255,
                                       256,       32767,  32768,  65535,  65536, INT32_MAX};

std::vector<float> floatsToRound()
{
    std::vector<float> values{-3e38f,   3e38f,    -2147483648.0f, 2147483648.0f, 2147483520.0f,
                              0.5f,     1.5f,     2.5f,           -0.5f,         254.5f,
                              255.5f,   -1.5f,    16777217.0f,    -128.5f,       127.5f,
                              65534.5f, 32767.5f, -32768.5f,      0.49999997f,   -2147483904.0f};
    values.push_back(std::numeric_limits<float>::infinity());
    values.push_back(-std::numeric_limits<float>::infinity());
    return values;
}

const std::vector<int16_t> tellingWords{-32768, -129, -128, -1, 0, 1, 127, 128, 255, 256, 32767};

} // namespace

TEST(ConvolveKernels, SumsAreExact)
{
    forEachTable<quib::ConvolveKernels>([](const ConvolveKernels& kernels) {
        expectConvolvedSums<uint8_t, int16_t>(kernels.sums16[quib::convolveU8], 14);
        expectConvolvedSums<int8_t, int16_t>(kernels.sums16[quib::convolveS8], 28);
        expectConvolvedSums<uint8_t, int32_t>(kernels.sums32[quib::convolveU8], 32767);
        expectConvolvedSums<int8_t, int32_t>(kernels.sums32[quib::convolveS8], 1800000);
        expectConvolvedSums<uint16_t, int32_t>(kernels.sums32[quib::convolveU16], 3600);
        expectConvolvedSums<int16_t, int32_t>(kernels.sums32[quib::convolveS16], 7200);
    });
}

TEST(ConvolveKernels, SumsOfWeightsAreExact)
{
    forEachTable<quib::ConvolveKernels>([](const ConvolveKernels& kernels) {
        const auto sums = kernels.sums32[quib::convolveU8];
        expectConvolvedSums<uint8_t, int32_t>(sums, 0, 28);
        expectConvolvedSums<uint8_t, int32_t>(sums, 0, 66);
        expectConvolvedSums<uint8_t, int32_t>(sums, -1, 20);
        // The greatest that fit into 16 bits, and the least that do not.
        const std::vector<uint8_t> white(70, 255);
        const std::vector<const void*> rows(8, white.data());
        for (const std::vector<int32_t>& taps : {std::vector<int32_t>{64, 64, 64, 64, 1},
                                                 {64, 64, 64, 64, 2},
                                                 {65, 63, 64, 65},
                                                 {127, 127, 3},
                                                 {64, 64, 64, 0, 64, 0, 1}}) {
            const int32_t total = std::accumulate(taps.begin(), taps.end(), 0) * 255;
            for (const int32_t shift : {0, 8, 15, 16, 31}) {
                std::vector<int32_t> out(white.size());
                sums(out.data(), Taps(taps).terms(rows, true), shift, out.size());
                EXPECT_EQ(out, std::vector<int32_t>(out.size(), total >> shift)) << shift;
            }
        }
    });
}

TEST(ConvolveKernels, FloatSumsGoInTheirOrder)
{
    forEachTable<quib::ConvolveKernels>([](const ConvolveKernels& kernels) {
        expectFloatSums<uint8_t>(kernels, quib::convolveU8);
        expectFloatSums<int8_t>(kernels, quib::convolveS8);
        expectFloatSums<uint16_t>(kernels, quib::convolveU16);
        expectFloatSums<int16_t>(kernels, quib::convolveS16);
        expectFloatSums<int32_t>(kernels, quib::convolveS32);
    });
}

TEST(ConvolveKernels, ResultsAreTheNearestElements)
{
    forEachTable<quib::ConvolveKernels>([](const ConvolveKernels& kernels) {
        expectFinished<uint8_t>(kernels.finish16[quib::convolveU8], tellingWords);
        expectFinished<int8_t>(kernels.finish16[quib::convolveS8], tellingWords);
        expectFinished<uint8_t>(kernels.finish32[quib::convolveU8], tellingInts);
        expectFinished<int8_t>(kernels.finish32[quib::convolveS8], tellingInts);
        expectFinished<uint16_t>(kernels.finish32[quib::convolveU16], tellingInts);
        expectFinished<int16_t>(kernels.finish32[quib::convolveS16], tellingInts);
        expectFinished<uint8_t>(kernels.finishFloat[quib::convolveU8], floatsToRound());
        expectFinished<int8_t>(kernels.finishFloat[quib::convolveS8], floatsToRound());
        expectFinished<uint16_t>(kernels.finishFloat[quib::convolveU16], floatsToRound());
        expectFinished<int16_t>(kernels.finishFloat[quib::convolveS16], floatsToRound());
        expectFinished<int32_t>(kernels.finishFloat[quib::convolveS32], floatsToRound());
    });
}

TEST(ConvolveKernels, RootsAreRounded)
{
    forEachTable<quib::ConvolveKernels>([](const ConvolveKernels& kernels) {
        std::vector<int32_t> ints;
        std::vector<float> floats;
        for (int32_t root = 0; root < 300; ++root)
            for (const int32_t more : {0, root, root + 1}) // up to the next one's half
                ints.push_back(root * root + more);
        for (const int32_t root : {1501, 4000, 4095})
            for (const int32_t more : {0, root, root + 1})
                floats.push_back(static_cast<float>(root * root + more));
        floats.push_back(0.25f); // 0.5 to even
        floats.push_back(2.25f); // 1.5 to even
        floats.push_back(std::numeric_limits<float>::infinity());
        floats.push_back(3e38f);
        std::vector<int32_t> roots = ints;
        kernels.roots(roots.data(), roots.size());
        for (size_t i = 0; i < ints.size(); ++i)
            ASSERT_EQ(roots[i], std::nearbyint(std::sqrt(static_cast<double>(ints[i]))));
        std::vector<float> floatRoots = floats;
        kernels.rootsFloat(floatRoots.data(), floats.size());
        for (size_t i = 0; i < floats.size(); ++i)
            ASSERT_EQ(floatRoots[i], static_cast<float>(std::nearbyint(
                                         std::sqrt(static_cast<double>(floats[i])))));
        EXPECT_EQ(floatRoots[1], 1501);
        EXPECT_EQ(floatRoots[2], 1502);
    });
}

TEST(ConvolveKernels, StepsCombine)
{
    forEachTable<quib::ConvolveKernels>([](const ConvolveKernels& kernels) {
        const std::vector<int16_t> in{-32768, 32767, -5, 5, 4095, -4096, 0, 20, 1};
        const std::vector<int32_t> row{10, 20, 0, 7, 0, 1, 2, 3, -70000};
        std::vector<float> floatIn(in.size());
        std::vector<float> floatRow(in.size());
        kernels.floatsOf16(floatIn.data(), in.data(), in.size());
        kernels.floatsOf32(floatRow.data(), row.data(), row.size());
        for (size_t step = 0; step < 4; ++step) {
            std::vector<int32_t> ints = row;
            std::vector<float> floats = floatRow;
            kernels.step16[step](ints.data(), in.data(), in.size());
            kernels.stepFloat[step](floats.data(), floatIn.data(), in.size());
            for (size_t i = 0; i < in.size(); ++i) {
                const int32_t most = std::min(std::max<int32_t>(in[i], -4095), 4095);
                const float value = in[i];
                const float old = static_cast<float>(row[i]);
                const int32_t wholes[] = {row[i] + in[i], row[i] + most * most,
                                          std::max<int32_t>(row[i], in[i]),
                                          std::min<int32_t>(row[i], in[i])};
                const float singles[] = {old + value, old + value * value, std::max(old, value),
                                         std::min(old, value)};
                ASSERT_EQ(ints[i], wholes[step]);
                ASSERT_EQ(floats[i], singles[step]);
            }
        }
    });
}
