#include "kernels/dither.h"

#include "benchmarks/plain_dither.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace
{

struct Method {
    void (*quib::DitherKernels::*kernel)(const quib::DiffusionBand&);
    const PlainDiffusion& plain;
};

const Method methods[] = {
    {&quib::DitherKernels::floydSteinberg, plainFloydSteinberg()},
    {&quib::DitherKernels::jarvisJudiceNinke, plainJarvis()},
    {&quib::DitherKernels::stucki, plainStucki()},
};

constexpr int bandRows = quib::ditherRows;
constexpr size_t margin = quib::ditherMargin;

using Values = std::vector<double>;

// What the kernel makes of an image of several bands, each row of which ends at an
// inaccessible page.
Values diffused(const quib::DitherKernels& kernels, const Method& method, const Values& image,
                size_t width, const quib::Levels& levels, const double* offset)
{
    Values above(width + 2 * margin);
    Values higher(width + 2 * margin);
    const Values offsets(width, offset ? *offset : 0);
    Values result;
    for (size_t top = 0; top < image.size(); top += width * bandRows) {
        std::vector<std::unique_ptr<GuardedBuffer>> buffers;
        double* rows[bandRows];
        const double* rowOffsets[bandRows];
        for (size_t r = 0; r < bandRows; ++r) {
            buffers.push_back(std::make_unique<GuardedBuffer>(width * sizeof(double)));
            rows[r] = buffers.back()->as<double>();
            rowOffsets[r] = offsets.data();
            std::copy_n(image.data() + top + r * width, width, rows[r]);
        }
        (kernels.*method.kernel)({rows, offset ? rowOffsets : nullptr, width, above.data() + margin,
                                  higher.data() + margin, levels});
        for (const double* row : rows)
            result.insert(result.end(), row, row + width);
    }
    for (size_t i = 0; i < margin; ++i) {
        EXPECT_EQ(above[i], 0);
        EXPECT_EQ(above[margin + width + i], 0);
        EXPECT_EQ(higher[i], 0);
        EXPECT_EQ(higher[margin + width + i], 0);
    }
    return result;
}

// As plainDiffuse, but with an offset where a level is chosen.
Values plainLevels(const Method& method, const Values& image, size_t width,
                   const quib::Levels& levels)
{
    Values result(image.size());
    plainDiffuse(
        method.plain, static_cast<int>(width), static_cast<int>(image.size() / width),
        {levels.step, levels.most},
        [&](int x, int y) {
            return image[static_cast<size_t>(y) * width + static_cast<size_t>(x)];
        },
        [&](int x, int y, double level) {
            result[static_cast<size_t>(y) * width + static_cast<size_t>(x)] = level;
        });
    return result;
}

} // namespace

TEST(DitherKernels, DiffuseErrorsAsThePlainForm)
{
    forEachTable<quib::DitherKernels>([](const quib::DitherKernels& kernels) {
        Random random(51);
        for (size_t width = 1; width <= 80; ++width) {
            Values image;
            for (size_t i = 0; i < width * bandRows * 3; ++i)
                image.push_back(random.between(0, 255));
            for (const Method& method : methods) {
                const double most = random.coin() ? 1 : random.between(1, 256);
                const quib::Levels levels{255 / most, most};
                ASSERT_EQ(diffused(kernels, method, image, width, levels, nullptr),
                          plainLevels(method, image, width, levels))
                    << width << " columns, " << most + 1 << " levels";
            }
        }
    });
}

TEST(DitherKernels, DiffuseErrorsOfElementsFarOutsideTheRange)
{
    forEachTable<quib::DitherKernels>([](const quib::DitherKernels& kernels) {
        Random random(52);
        Values image;
        for (size_t i = 0; i < 37 * bandRows * 2; ++i)
            image.push_back(random.between(INT32_MIN, INT32_MAX));
        for (const Method& method : methods)
            for (const double most : {1.0, 1000.0, 2147483646.0})
                ASSERT_EQ(
                    diffused(kernels, method, image, 37, {2147483647.0 / most, most}, nullptr),
                    plainLevels(method, image, 37, {2147483647.0 / most, most}));
    });
}

TEST(DitherKernels, AddOffsetsToTheChoiceAndNotToTheError)
{
    // An offset of a level's height makes each choice one higher: the error is that
    // of the element without it.
    forEachTable<quib::DitherKernels>([](const quib::DitherKernels& kernels) {
        for (const Method& method : methods) {
            const double offset = 10;
            const Values image(11 * bandRows, 50);
            const Values result = diffused(kernels, method, image, 11, {10, 25}, &offset);
            EXPECT_EQ(result[0], 6);
            // -10 * 7/16, 7/48 or 8/42, and an offset of 10, leave 5.56 to 5.9 levels.
            EXPECT_EQ(result[1], 6);
            const double none = 0;
            EXPECT_EQ(diffused(kernels, method, image, 11, {10, 25}, &none),
                      Values(11 * bandRows, 5));
        }
    });
}

TEST(DitherKernels, OrderByThresholds)
{
    forEachTable<quib::DitherKernels>([](const quib::DitherKernels& kernels) {
        Random random(53);
        double thresholds[8];
        for (int32_t y = 0; y < 8; ++y) {
            for (int32_t x = 0; x < 8; ++x)
                thresholds[x] = (plainBayer(x, y) + 0.5) / 64;
            for (size_t count = 0; count <= 40; ++count) {
                const double most = random.between(1, 255);
                const GuardedBuffer row(count * sizeof(double));
                Values expected;
                for (size_t x = 0; x < count; ++x) {
                    row.as<double>()[x] = random.between(-20, 300);
                    expected.push_back(plainOrdered(row.as<double>()[x], static_cast<int>(x), y,
                                                    {255 / most, most}));
                }
                kernels.order(row.as<double>(), nullptr, thresholds, count, {255 / most, most});
                ASSERT_EQ(Values(row.as<double>(), row.as<double>() + count), expected);
            }
        }
    });
}

TEST(DitherKernels, CompareBytesWithThresholds)
{
    forEachTable<quib::DitherKernels>([](const quib::DitherKernels& kernels) {
        Random random(54);
        for (size_t count = 0; count <= 200; ++count) {
            const GuardedBuffer src(count);
            const GuardedBuffer thresholds(count);
            const GuardedBuffer dst(count);
            random.fill(src.data(), count);
            random.fill(thresholds.data(), count);
            if (count > 0)
                thresholds.data()[count / 2] = src.data()[count / 2];
            const uint8_t high = random.coin() ? 1 : 255;
            kernels.threshold8(dst.data(), src.data(), thresholds.data(), count, high);
            for (size_t i = 0; i < count; ++i)
                ASSERT_EQ(dst.data()[i], src.data()[i] >= thresholds.data()[i] ? high : 0);
        }
    });
}

TEST(DitherKernels, ScaleDownWithoutTheFraction)
{
    forEachTable<quib::DitherKernels>([](const quib::DitherKernels& kernels) {
        Values row{-1, 0, 255, 256, 65535, 65536, 1e12, -1e12, 511.9};
        kernels.scaleDown(row.data(), row.size(), 1 / 256.0, 255);
        EXPECT_EQ(row, (Values{0, 0, 0, 1, 255, 255, 255, 0, 1}));
    });
}

namespace
{

template<class Element>
void expectBothWays(void (*from)(double*, const Element*, size_t, size_t),
                    void (*to)(Element*, size_t, const double*, size_t, double, double))
{
    Random random(55);
    for (size_t count = 1; count <= 40; ++count) {
        for (const size_t stride : {size_t{1}, size_t{3}, size_t{4}}) {
            const size_t elements = (count - 1) * stride + 1;
            const GuardedBuffer src(elements * sizeof(Element));
            for (size_t i = 0; i < elements; ++i)
                src.as<Element>()[i] = static_cast<Element>(random.between(0, 255));
            const GuardedBuffer values(count * sizeof(double));
            from(values.as<double>(), src.as<Element>(), stride, count);
            const GuardedBuffer dst(elements * sizeof(Element));
            const std::vector<uint8_t> before = dst.contents();
            to(dst.as<Element>(), stride, values.as<double>(), count, 100, 255);
            for (size_t i = 0; i < elements; ++i) {
                const double value = static_cast<double>(src.as<Element>()[i]);
                if (i % stride == 0) {
                    ASSERT_EQ(values.as<double>()[i / stride], value);
                    ASSERT_EQ(dst.as<Element>()[i],
                              static_cast<Element>(std::floor(value * 100 / 255 + 0.5)));
                } else {
                    ASSERT_EQ(dst.data()[i * sizeof(Element)], before[i * sizeof(Element)]);
                }
            }
        }
    }
}

} // namespace

TEST(DitherKernels, ReadAndWriteElements)
{
    forEachTable<quib::DitherKernels>([](const quib::DitherKernels& kernels) {
        expectBothWays(kernels.from8, kernels.to8);
        expectBothWays(kernels.from16, kernels.to16);
        expectBothWays(kernels.from32, kernels.to32);
        expectBothWays(kernels.fromFloats, kernels.toFloats);
    });
}

TEST(DitherKernels, ReadFloatsThatAreNoNumbers)
{
    forEachTable<quib::DitherKernels>([](const quib::DitherKernels& kernels) {
        constexpr float infinity = std::numeric_limits<float>::infinity();
        constexpr float largest = std::numeric_limits<float>::max();
        const float floats[] = {std::nanf(""), infinity, -infinity, largest, -largest, 0.5f};
        double values[6];
        kernels.fromFloats(values, floats, 1, 6);
        EXPECT_EQ(Values(values, values + 6),
                  (Values{0, 4294967295.0, -4294967295.0, largest, -largest, 0.5}));
    });
}
