#include "quibtool/stretch/stretch.h"

#include "tests/quibtool/stretch/plain_stretch.h"
#include "tests/support/levels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

using namespace plain_stretch;

namespace
{

std::vector<uint8_t> plainNearest8(const uint8_t* src, Size from, Size to)
{
    const Axis x = plainAxis(to.width, from.width, 0);
    const Axis y = plainAxis(to.height, from.height, 0);
    std::vector<uint8_t> out;
    for (uint32_t i = 0; i < to.height; ++i)
        for (uint32_t j = 0; j < to.width; ++j)
            out.push_back(src[y.idx0[i] * from.width + x.idx0[j]]);
    return out;
}

// The weighted 8-bit stretch, on a block of bytes: line A, line B, horizontal
// weights, first and second horizontal table.
class PlainWeighted8
{
public:
    PlainWeighted8(const uint8_t* pixels, Size source, Size target, int32_t mode)
        : src(pixels), from(source), to(target), y(plainAxis(to.height, from.height, mode)),
          block(to.width * 11)
    {
        const Axis x = plainAxis(to.width, from.width, mode);
        std::memcpy(&block[to.width * 2], x.weight.data(), to.width);
        std::memcpy(&block[to.width * 3], x.idx0.data(), to.width * 4);
        std::memcpy(&block[to.width * 7], x.idx1.data(), to.width * 4);
    }

    std::vector<uint8_t> run()
    {
        uint32_t heldA = 0xFFFFFFFFu;
        uint32_t heldB = 0xFFFFFFFFu;
        std::vector<uint8_t> out;
        for (uint32_t i = 0; i < to.height; ++i) {
            const uint32_t r0 = y.idx0[i];
            const uint32_t r1 = y.idx1[i];
            if (r0 == heldA) {
                if (r1 != heldB)
                    buildLine(1, r1);
                heldB = r1;
            } else if (r0 == heldB) {
                std::memmove(&block[0], &block[to.width], to.width * 4);
                heldA = r0;
                if (r1 != heldB)
                    buildLine(1, r1);
                heldB = r1;
            } else {
                buildLine(0, r0);
                buildLine(1, r1);
                heldA = r0;
                heldB = r1;
            }
            for (uint32_t j = 0; j < to.width; ++j)
                out.push_back(lerp(block[j], block[to.width + j], y.weight[i]));
        }
        return out;
    }

private:
    uint32_t indexAt(uint32_t offset, uint32_t j) const
    {
        uint32_t index = 0;
        std::memcpy(&index, &block[offset + j * 4], 4);
        return std::min(index, from.width - 1);
    }

    void buildLine(uint32_t line, uint32_t row)
    {
        const uint8_t* pixels = src + row * from.width;
        for (uint32_t j = 0; j < to.width; ++j) {
            const uint8_t a = pixels[indexAt(to.width * 3, j)];
            const uint8_t b = pixels[indexAt(to.width * 7, j)];
            const uint8_t w = block[to.width * 2 + j];
            block[line * to.width + j] = static_cast<uint8_t>((a - b) * w + b);
        }
    }

    const uint8_t* src;
    Size from;
    Size to;
    Axis y;
    std::vector<uint8_t> block;
};

} // namespace

TEST(StretchPlane8, NearestFollowsThePlainForm)
{
    forEachLevel([] {
        Random random(31);
        for (const Job& job : jobs(random)) {
            for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
                const Pixels src(job.from, 1, guard, random);
                const GuardedBuffer out(size_t{job.to.width} * job.to.height, guard);
                StretchPlane8(out.data(), job.to.width, job.to.height, job.to.width, src.data(),
                              job.from.width, job.from.height, job.from.width, STRETCH_NEAREST);
                ASSERT_EQ(out.contents(), plainNearest8(src.data(), job.from, job.to))
                    << job.from.width << " x " << job.from.height << " to " << job.to.width << " x "
                    << job.to.height;
            }
        }
    });
}

TEST(StretchPlane8, WeightedFollowsThePlainForm)
{
    forEachLevel([] {
        Random random(32);
        for (const Job& job : jobs(random)) {
            for (const int32_t mode : {1, 2, 5, STRETCH_PAIRS_NEAREST, STRETCH_PAIRS_LINEAR}) {
                for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
                    const Pixels src(job.from, 1, guard, random);
                    const GuardedBuffer out(size_t{job.to.width} * job.to.height, guard);
                    StretchPlane8(out.data(), job.to.width, job.to.height, job.to.width, src.data(),
                                  job.from.width, job.from.height, job.from.width, mode);
                    ASSERT_EQ(out.contents(),
                              PlainWeighted8(src.data(), job.from, job.to, mode).run())
                        << job.from.width << " x " << job.from.height << " to " << job.to.width
                        << " x " << job.to.height << " in mode " << mode;
                }
            }
        }
    });
}

TEST(StretchPlane8, KeepsToItsRows)
{
    Random random(33);
    for (const int32_t mode : {0, 1}) {
        const GuardedBuffer src(13 * 4 + 10);
        random.fill(src.data(), src.size());
        const GuardedBuffer out(25 * 6 + 21);
        StretchPlane8(out.data(), 21, 7, 25, src.data(), 10, 5, 13, mode);
        for (size_t y = 0; y < 6; ++y)
            for (size_t x = 21; x < 25; ++x)
                EXPECT_EQ(out.data()[y * 25 + x], 0xA5);
    }
}
