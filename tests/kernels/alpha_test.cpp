#include "kernels/alpha.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

// Calls work(kernels, pixels, plane, count) with buffers of every small count
// that end at an inaccessible page, at every level.
template<class Work>
void forEachAlphaRun(Work work)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        Random random(11);
        for (size_t count = 0; count <= 100; ++count) {
            const GuardedBuffer pixels(count * 4 + 1);
            const GuardedBuffer plane(count + 1);
            random.fill(pixels.data(), pixels.size());
            random.fill(plane.data(), plane.size());
            // One byte in: the address is aligned to nothing.
            work(table->alpha, pixels.data() + 1, plane.data() + 1, count);
        }
    }
}

} // namespace

TEST(AlphaKernels, ConstantSetsTheFourthByteAlone)
{
    forEachAlphaRun([](const quib::AlphaKernels& kernels, uint8_t* pixels, uint8_t*, size_t count) {
        std::vector<uint8_t> expected(pixels, pixels + count * 4);
        for (size_t i = 0; i < count; ++i)
            expected[i * 4 + 3] = 0x9B;
        kernels.constant(pixels, 0x9B, count);
        ASSERT_EQ(std::vector<uint8_t>(pixels, pixels + count * 4), expected);
    });
}

TEST(AlphaKernels, FromPlaneScalesThePlaneByte)
{
    for (const uint32_t scale : {0u, 1u, 127u, 128u, 253u, 255u, 256u}) {
        forEachAlphaRun([scale](const quib::AlphaKernels& kernels, uint8_t* pixels, uint8_t* plane,
                                size_t count) {
            std::vector<uint8_t> expected(pixels, pixels + count * 4);
            for (size_t i = 0; i < count; ++i)
                expected[i * 4 + 3] = static_cast<uint8_t>((plane[i] * scale) >> 8);
            kernels.fromPlane(pixels, plane, scale, count);
            ASSERT_EQ(std::vector<uint8_t>(pixels, pixels + count * 4), expected);
        });
    }
}

TEST(AlphaKernels, ScaleIsExactForEveryAlphaAndScale)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        for (uint32_t scale = 0; scale <= 256; ++scale) {
            std::vector<uint8_t> pixels(256 * 4);
            std::vector<uint8_t> expected(256 * 4);
            for (uint32_t alpha = 0; alpha < 256; ++alpha) {
                pixels[alpha * 4 + 3] = static_cast<uint8_t>(alpha);
                expected[alpha * 4 + 3] = static_cast<uint8_t>((alpha * scale) >> 8);
                pixels[alpha * 4] = expected[alpha * 4] = 0xEE;
            }
            table->alpha.scale(pixels.data(), scale, 256);
            ASSERT_EQ(pixels, expected);
        }
    }
}

TEST(AlphaKernels, ScaleStaysInsideItsRun)
{
    forEachAlphaRun([](const quib::AlphaKernels& kernels, uint8_t* pixels, uint8_t*, size_t count) {
        std::vector<uint8_t> expected(pixels - 1, pixels + count * 4);
        for (size_t i = 0; i < count; ++i)
            expected[i * 4 + 4] = static_cast<uint8_t>((expected[i * 4 + 4] * 77) >> 8);
        kernels.scale(pixels, 77, count);
        ASSERT_EQ(std::vector<uint8_t>(pixels - 1, pixels + count * 4), expected);
    });
}
