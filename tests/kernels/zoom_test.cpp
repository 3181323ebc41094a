#include "kernels/zoom.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace
{

using quib::ZoomPairGroup;
using quib::ZoomQuadGroup;

// Groups with up to 8 elements each, from windows anywhere in the row.
template<class Group, class SetTap>
std::vector<Group> randomGroups(size_t count, int32_t rowBytes, int32_t* elements, Random& random,
                                SetTap setTap)
{
    std::vector<Group> groups(count);
    *elements = 0;
    for (Group& group : groups) {
        group.source = random.between(0, rowBytes - quib::zoomWindow);
        group.output = *elements;
        for (int32_t i = 0; i < 16; ++i)
            setTap(&group, i);
        *elements += random.between(1, quib::zoomLanes);
    }
    return groups;
}

// The line that the groups make, in their order.
template<class Group, class Sum>
std::vector<int16_t> plainLine(const std::vector<Group>& groups, size_t length, Sum sum)
{
    std::vector<int16_t> line(length, 0);
    for (const Group& group : groups)
        for (int32_t i = 0; i < quib::zoomLanes; ++i)
            line[static_cast<size_t>(group.output + i)] = static_cast<int16_t>(sum(group, i) >> 8);
    return line;
}

// Lines of random groups, whose taps setTap(group, i, random) makes, over random
// rows. sum(group, window, i) is element i of a group whose bytes are at `window`.
template<class Group, class Kernel, class SetTap, class Sum>
void expectPlainLines(uint64_t seed, Kernel kernel, SetTap setTap, Sum sum)
{
    Random random(seed);
    for (size_t count = 0; count < 40; ++count) {
        const int32_t rowBytes = random.between(16, 60);
        const GuardedBuffer row(static_cast<size_t>(rowBytes),
                                random.coin() ? Guard::afterEnd : Guard::beforeStart);
        random.fill(row.data(), row.size());
        int32_t elements = 0;
        const auto groups =
            randomGroups<Group>(count, rowBytes, &elements, random,
                                [&](Group* group, int32_t i) { setTap(group, i, random); });
        const size_t length = static_cast<size_t>(elements + quib::zoomLanes);
        const GuardedBuffer line(length * 2);
        std::fill_n(line.as<int16_t>(), length, int16_t{0});
        kernel(line.as<int16_t>(), row.data(), groups.data(), count);
        const auto expected = plainLine(groups, length, [&](const Group& group, int32_t i) {
            return sum(group, row.data() + group.source, i);
        });
        ASSERT_EQ(std::vector<int16_t>(line.as<int16_t>(), line.as<int16_t>() + length), expected);
    }
}

} // namespace

TEST(ZoomKernels, LinearLineTakesTwoWeightedBytesAnElement)
{
    forEachTable<quib::ZoomKernels>([](const quib::ZoomKernels& kernels) {
        expectPlainLines<ZoomPairGroup>(
            1, kernels.linearLine,
            [](ZoomPairGroup* group, int32_t i, Random& random) {
                group->pick[i] = static_cast<uint8_t>(random.between(0, 15));
                const int32_t f = random.between(0, 3) ? random.between(0, 16384) : 16384;
                group->weights[i] = static_cast<int16_t>(i % 2 ? 16384 - group->weights[i - 1] : f);
            },
            [](const ZoomPairGroup& group, const uint8_t* window, int32_t i) {
                return window[group.pick[2 * i]] * group.weights[2 * i] +
                       window[group.pick[2 * i + 1]] * group.weights[2 * i + 1];
            });
    });
}

TEST(ZoomKernels, CubicLineTakesFourWeightedBytesAnElement)
{
    forEachTable<quib::ZoomKernels>([](const quib::ZoomKernels& kernels) {
        expectPlainLines<ZoomQuadGroup>(
            2, kernels.cubicLine,
            [](ZoomQuadGroup* group, int32_t i, Random& random) {
                // One tap of four is large, as in every window.
                const int32_t largest = group->output % 4;
                for (int32_t half = 0; half < 2; ++half) {
                    const bool isLargest = half * 2 + i % 2 == largest;
                    group->pick[half][i] = static_cast<uint8_t>(random.between(0, 15));
                    group->weights[half][i] = static_cast<int16_t>(
                        isLargest ? random.between(0, 17400) : random.between(-5000, 5000));
                }
            },
            [](const ZoomQuadGroup& group, const uint8_t* window, int32_t i) {
                int32_t sum = 0;
                for (int32_t half = 0; half < 2; ++half)
                    for (int32_t tap = 2 * i; tap < 2 * i + 2; ++tap)
                        sum += window[group.pick[half][tap]] * group.weights[half][tap];
                return sum;
            });
    });
}

TEST(ZoomKernels, LinearRowWeighsTwoLinesAndCuts)
{
    forEachTable<quib::ZoomKernels>([](const quib::ZoomKernels& kernels) {
        Random random(3);
        for (size_t count = 0; count < 150; ++count) {
            const GuardedBuffer top(count * 2 + 2);
            const GuardedBuffer bottom(count * 2 + 2);
            const GuardedBuffer dst(count + 1);
            for (size_t i = 0; i <= count; ++i) {
                top.as<int16_t>()[i] = static_cast<int16_t>(random.between(0, 16320));
                bottom.as<int16_t>()[i] =
                    static_cast<int16_t>(random.coin() ? 16320 : random.between(0, 16320));
            }
            for (const int32_t fraction : {0, 1, 8192, 16383, 16384, random.between(0, 16384)}) {
                const int16_t* const a = top.as<int16_t>() + 1;
                const int16_t* const b = bottom.as<int16_t>() + 1;
                kernels.linearRow(dst.data() + 1, a, b, fraction, count);
                for (size_t i = 0; i < count; ++i)
                    ASSERT_EQ(dst.data()[i + 1],
                              (a[i] * (16384 - fraction) + b[i] * fraction) >> 20);
                ASSERT_EQ(dst.data()[0], 0xA5);
            }
        }
    });
}

TEST(ZoomKernels, CubicRowWeighsFourLinesRoundsAndClamps)
{
    forEachTable<quib::ZoomKernels>([](const quib::ZoomKernels& kernels) {
        Random random(4);
        for (size_t count = 0; count < 150; ++count) {
            const GuardedBuffer block[4] = {
                GuardedBuffer(count * 2 + 2), GuardedBuffer(count * 2 + 2),
                GuardedBuffer(count * 2 + 2), GuardedBuffer(count * 2 + 2)};
            const GuardedBuffer dst(count + 1);
            const int16_t* lines[4];
            for (int j = 0; j < 4; ++j) {
                int16_t* line = block[j].as<int16_t>() + 1;
                for (size_t i = 0; i < count; ++i)
                    line[i] = static_cast<int16_t>(random.between(-6000, 22000));
                lines[j] = line;
            }
            const int16_t weights[4] = {static_cast<int16_t>(random.between(-5200, 17400)),
                                        static_cast<int16_t>(random.between(-5200, 17400)),
                                        static_cast<int16_t>(random.between(-5200, 17400)),
                                        static_cast<int16_t>(random.between(-5200, 17400))};
            kernels.cubicRow(dst.data() + 1, lines, weights, count);
            for (size_t i = 0; i < count; ++i) {
                int32_t sum = 0x80000;
                for (int j = 0; j < 4; ++j)
                    sum += lines[j][i] * weights[j];
                ASSERT_EQ(dst.data()[i + 1], std::clamp(sum >> 20, 0, 255));
            }
            ASSERT_EQ(dst.data()[0], 0xA5);
        }
    });
}
