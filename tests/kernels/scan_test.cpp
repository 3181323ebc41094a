#include "kernels/scan.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

namespace
{

struct Picture {
    int32_t width;
    int32_t height;
    GuardedBuffer pixels;
    std::vector<uint8_t*> rows;

    Picture(int32_t w, int32_t h, Random& random)
        : width(w), height(h), pixels(static_cast<size_t>(w) * static_cast<size_t>(h) * 4)
    {
        random.fill(pixels.data(), pixels.size());
        for (int32_t y = 0; y < h; ++y)
            rows.push_back(pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(w) * 4);
    }
};

struct Line {
    double first[4];
    double step[4];
};

double between(double low, double high, Random& random)
{
    return low + (high - low) * random.between(0, 1 << 20) / (1 << 20);
}

Line randomScanLine(const Picture& dst, const Picture& src, Random& random)
{
    const int32_t limits[4] = {dst.width, dst.height, src.width, src.height};
    Line line;
    for (int i = 0; i < 4; ++i) {
        line.first[i] = between(-2.0, limits[i] + 2, random);
        line.step[i] = between(-1.0, 1.0, random);
    }
    return line;
}

void plainMove(const Picture& dst, const Picture& src, Line line, size_t count)
{
    for (size_t k = 0; k < count; ++k) {
        const int32_t x = static_cast<int32_t>(std::trunc(line.first[0]));
        const int32_t y = static_cast<int32_t>(std::trunc(line.first[1]));
        const int32_t sx = static_cast<int32_t>(std::trunc(line.first[2]));
        const int32_t sy = static_cast<int32_t>(std::trunc(line.first[3]));
        if (0 <= x && x < dst.width && 0 <= y && y < dst.height && 0 <= sx && sx < src.width &&
            0 <= sy && sy < src.height)
            std::memcpy(dst.rows[static_cast<size_t>(y)] + x * 4,
                        src.rows[static_cast<size_t>(sy)] + sx * 4, 4);
        for (int i = 0; i < 4; ++i)
            line.first[i] += line.step[i];
    }
}

quib::ScanRows rowsOf(const Picture& dst, const Picture& src)
{
    return {dst.rows.data(),
            src.rows.data(),
            {static_cast<double>(dst.width), static_cast<double>(dst.height),
             static_cast<double>(src.width), static_cast<double>(src.height)}};
}

} // namespace

TEST(ScanKernels, MovePixelsAlongLinesAndLeaveOutWhatLiesOutside)
{
    forEachTable<quib::ScanKernels>([](const quib::ScanKernels& scan) {
        Random random(91);
        for (int round = 0; round < 400; ++round) {
            Picture src(random.between(1, 30), random.between(1, 30), random);
            Picture dst(random.between(1, 30), random.between(1, 30), random);
            src.pixels.makeReadOnly();
            for (int i = 0; i < 4; ++i) {
                const std::vector<uint8_t> before = dst.pixels.contents();
                const Line line = randomScanLine(dst, src, random);
                const size_t count = static_cast<size_t>(random.between(0, 60));
                plainMove(dst, src, line, count);
                const std::vector<uint8_t> expected = dst.pixels.contents();
                std::memcpy(dst.pixels.data(), before.data(), before.size());
                scan.move(rowsOf(dst, src), line.first, line.step, count);
                ASSERT_EQ(dst.pixels.contents(), expected);
            }
        }
    });
}

TEST(ScanKernels, MoveOnePixelAfterTheOtherInOneImage)
{
    forEachTable<quib::ScanKernels>([](const quib::ScanKernels& scan) {
        Random random(92);
        for (int round = 0; round < 200; ++round) {
            const Picture image(16, 3, random);
            const Line line = {{0.5, 1.5, between(0, 4, random), 1.5}, {1.0, 0, 1.0, 0}};
            const std::vector<uint8_t> before = image.pixels.contents();
            plainMove(image, image, line, 16);
            const std::vector<uint8_t> expected = image.pixels.contents();
            std::memcpy(image.pixels.data(), before.data(), before.size());
            scan.move(rowsOf(image, image), line.first, line.step, 16);
            ASSERT_EQ(image.pixels.contents(), expected);
        }
    });
}

TEST(ScanKernels, LeaveOutWhatIsNoNumber)
{
    forEachTable<quib::ScanKernels>([](const quib::ScanKernels& scan) {
        Random random(93);
        const Picture image(4, 4, random);
        const std::vector<uint8_t> before = image.pixels.contents();
        for (const double value : {double{NAN}, double{INFINITY}, -double{INFINITY}, 1e300, -1.0}) {
            for (int i = 0; i < 4; ++i) {
                Line line = {{0, 0, 1, 1}, {0, 0, 0, 0}};
                line.first[i] = value;
                scan.move(rowsOf(image, image), line.first, line.step, 20);
            }
        }
        EXPECT_EQ(image.pixels.contents(), before);
    });
}
