#include "kernels/fixed.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <cmath>
#include <limits>

using quib::FixedElement;
using quib::FixedForm;
using quib::FixedKernels;

namespace
{

constexpr size_t rowLengths[] = {1, 3, 7, 8, 15, 16, 17, 31, 32, 33, 63, 65, 100, 129};

template<class Visit>
void forEachLength(Visit visit)
{
    for (const Guard guard : {Guard::afterEnd, Guard::beforeStart})
        for (const size_t length : rowLengths)
            visit(guard, length);
}

// Any, or small enough that sums of the same type hold their products.
template<class In, class Sum>
In randomOf(Random& random)
{
    if (sizeof(In) >= 4 && sizeof(In) == sizeof(Sum))
        return static_cast<In>(random.between(-(1 << 23), 1 << 23));
    return static_cast<In>(random.next());
}

template<class In, class Sum, class Function>
void expectFixedSums(Function function, std::vector<size_t> tapCounts, int32_t most)
{
    Random random(1);
    forEachLength([&](Guard guard, size_t length) {
        for (const size_t count : tapCounts) {
            std::vector<std::unique_ptr<GuardedBuffer>> rows;
            std::vector<const void*> addresses;
            std::vector<int32_t> taps;
            for (size_t k = 0; k < count; ++k) {
                rows.push_back(std::make_unique<GuardedBuffer>(length * sizeof(In), guard));
                for (size_t i = 0; i < length; ++i)
                    rows.back()->as<In>()[i] = randomOf<In, Sum>(random);
                rows.back()->makeReadOnly();
                addresses.push_back(rows.back()->data());
                taps.push_back(random.between(-most, most));
            }
            const GuardedBuffer out(length * sizeof(Sum), guard);
            function(out.data(), {addresses.data(), taps.data(), count}, length);
            for (size_t i = 0; i < length; ++i) {
                Sum expected = 0;
                for (size_t k = 0; k < count; ++k)
                    expected = static_cast<Sum>(
                        expected +
                        taps[k] * static_cast<Sum>(static_cast<const In*>(addresses[k])[i]));
                ASSERT_EQ(out.template as<Sum>()[i], expected) << length << " " << i;
            }
        }
    });
}

template<class Element>
double expectedInteger(FixedForm form, int64_t sum, int64_t middle, int64_t number)
{
    const auto rounded = [sum](int64_t divisor) {
        return std::floor((2.0 * static_cast<double>(sum) + static_cast<double>(divisor)) /
                          static_cast<double>(2 * divisor));
    };
    const auto held = [](double value) {
        return std::min(
            std::max(value, static_cast<double>(std::numeric_limits<Element>::lowest())),
            static_cast<double>(std::numeric_limits<Element>::max()));
    };
    const double whole = static_cast<double>(sum + number * middle);
    switch (form) {
    case quib::fixedAbsolute:
        return held(std::fabs(whole));
    case quib::fixedSaturated:
        return held(whole);
    case quib::fixedOver16:
        return rounded(16);
    case quib::fixedOver256:
        return rounded(256);
    default:
        return held(static_cast<double>(middle + number) -
                    rounded(form == quib::fixedLessOver9 ? 9 : 25));
    }
}

// The weight of all taps by which sums are made that a form takes.
int64_t weightOf(FixedForm form)
{
    constexpr int64_t weights[] = {16, 9, 16, 256, 9, 25};
    return weights[form];
}

// Every sum that elements can make, or some of them.
template<class Element, class Sum>
void expectFinish(const FixedKernels& kernels, FixedElement type)
{
    Random random(2);
    const int64_t least = std::numeric_limits<Element>::lowest();
    const int64_t most = std::numeric_limits<Element>::max();
    for (size_t form = 0; form < quib::fixedForms; ++form) {
        const int64_t weight = weightOf(static_cast<FixedForm>(form));
        const bool isMean = form >= quib::fixedOver16;
        forEachLength([&](Guard guard, size_t length) {
            const GuardedBuffer sums(length * sizeof(Sum), guard);
            const GuardedBuffer middles(length * sizeof(Element), guard);
            const GuardedBuffer out(length * sizeof(Element), guard);
            const int32_t number = form == quib::fixedSaturated  ? 10
                                   : form == quib::fixedAbsolute ? 9
                                   : form >= quib::fixedLessOver9 && least == 0
                                       ? static_cast<int32_t>(most / 2 + 1)
                                       : 0;
            std::vector<int64_t> exact(length);
            for (size_t i = 0; i < length; ++i) {
                const int64_t first = static_cast<Element>(random.next());
                const int64_t steps = static_cast<int64_t>(random.next() % 4097);
                exact[i] = random.coin() ? first * weight
                                         : least * weight + (most - least) * weight * steps / 4096;
                if (!isMean)
                    exact[i] = first - exact[i] / 2;
                sums.as<Sum>()[i] = static_cast<Sum>(exact[i]);
                middles.as<Element>()[i] = static_cast<Element>(random.next());
            }
            kernels.finish[form][type](out.data(), sums.data(), middles.data(), number, length);
            for (size_t i = 0; i < length; ++i)
                ASSERT_EQ(static_cast<double>(out.as<Element>()[i]),
                          expectedInteger<Element>(static_cast<FixedForm>(form), exact[i],
                                                   middles.as<Element>()[i], number))
                    << form << " " << length << " " << i << " sum " << exact[i];
        });
    }
}

} // namespace

TEST(FixedKernels, SumsAreThePlainOnes)
{
    forEachTable<quib::FixedKernels>([](const FixedKernels& kernels) {
        const std::vector<size_t> counts = {2, 3, 5};
        expectFixedSums<uint8_t, int16_t>(kernels.down[quib::fixedU8], counts, 24);
        expectFixedSums<int8_t, int16_t>(kernels.down[quib::fixedS8], counts, 24);
        expectFixedSums<uint16_t, int32_t>(kernels.down[quib::fixedU16], counts, 24);
        expectFixedSums<int16_t, int32_t>(kernels.down[quib::fixedS16], counts, 24);
        expectFixedSums<int32_t, int64_t>(kernels.down[quib::fixedS32], counts, 24);
        expectFixedSums<float, double>(kernels.down[quib::fixedF32], {1, 6, 9, 25}, 24);
        expectFixedSums<int16_t, int16_t>(kernels.across[quib::fixedU8], counts, 24);
        expectFixedSums<int16_t, int16_t>(kernels.across[quib::fixedS8], counts, 24);
        expectFixedSums<int32_t, int32_t>(kernels.across[quib::fixedU16], counts, 24);
        expectFixedSums<int32_t, int32_t>(kernels.across[quib::fixedS16], counts, 24);
        expectFixedSums<int64_t, int64_t>(kernels.across[quib::fixedS32], counts, 24);
    });
}

TEST(FixedKernels, ResultsAreThePlainOnes)
{
    forEachTable<quib::FixedKernels>([](const FixedKernels& kernels) {
        expectFinish<uint8_t, int16_t>(kernels, quib::fixedU8);
        expectFinish<int8_t, int16_t>(kernels, quib::fixedS8);
        expectFinish<uint16_t, int32_t>(kernels, quib::fixedU16);
        expectFinish<int16_t, int32_t>(kernels, quib::fixedS16);
        expectFinish<int32_t, int64_t>(kernels, quib::fixedS32);
    });
}

TEST(FixedKernels, MeansOfBytesAreExactForEverySum)
{
    forEachTable<quib::FixedKernels>([](const FixedKernels& kernels) {
        for (const auto& [form, n] :
             {std::pair(quib::fixedLessOver9, 9), std::pair(quib::fixedLessOver25, 25)}) {
            std::vector<int16_t> sums;
            for (int32_t sum = 0; sum <= 255 * n; ++sum)
                sums.push_back(static_cast<int16_t>(sum));
            const std::vector<uint8_t> middle(sums.size(), 0);
            std::vector<uint8_t> out(sums.size());
            kernels.finish[form][quib::fixedU8](out.data(), sums.data(), middle.data(), 255,
                                                sums.size());
            for (size_t i = 0; i < sums.size(); ++i)
                ASSERT_EQ(255 - out[i], (2 * sums[i] + n) / (2 * n)) << sums[i] << " / " << n;
        }
    });
}

TEST(FixedKernels, FloatsAreRoundedOnce)
{
    forEachTable<quib::FixedKernels>([](const FixedKernels& kernels) {
        const double sums[] = {1.0 / 3, -7, 1e300, 1e-3, 100, 0.1, -0.1, 5, 6};
        const float middle[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
        float out[9];
        for (size_t i = 0; i < 9; ++i) {
            const auto result = [&](FixedForm form) {
                kernels.finish[form][quib::fixedF32](out, sums, middle, 3, 9);
                return out[i];
            };
            EXPECT_EQ(result(quib::fixedAbsolute), static_cast<float>(std::fabs(sums[i])));
            EXPECT_EQ(result(quib::fixedSaturated), static_cast<float>(sums[i]));
            EXPECT_EQ(result(quib::fixedOver16), static_cast<float>(sums[i] / 16));
            EXPECT_EQ(result(quib::fixedOver256), static_cast<float>(sums[i] / 256));
            EXPECT_EQ(result(quib::fixedLessOver9),
                      middle[i] - static_cast<float>(sums[i] * (1.0 / 9)));
            EXPECT_EQ(result(quib::fixedLessOver25),
                      middle[i] - static_cast<float>(sums[i] * (1.0 / 25)));
        }
    });
}
