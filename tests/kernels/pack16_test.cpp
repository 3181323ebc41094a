#include "kernels/pack16.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

namespace
{

using quib::Packing16;
using Pack = void (*)(uint8_t*, const uint8_t*, size_t, const Packing16&);

uint32_t placed(uint32_t byte, Packing16::Shift shift)
{
    return byte / (1u << shift.right) * (1u << shift.left);
}

// One row at the inaccessible page before or behind both buffers.
void checkPackedRow(Pack pack, size_t pixelBytes, size_t count, const Packing16& packing,
                    Guard guard, Random& random)
{
    const GuardedBuffer src(count * pixelBytes + 1, guard);
    const GuardedBuffer dst(count * 2 + 1, guard);
    random.fill(src.data(), src.size());
    const size_t first = guard == Guard::afterEnd ? 1 : 0;
    const size_t spare = guard == Guard::afterEnd ? 0 : count * 2;
    pack(dst.data() + first, src.data() + first, count, packing);
    ASSERT_EQ(dst.data()[spare], 0xA5);
    for (size_t i = 0; i < count; ++i) {
        const uint8_t* pixel = src.data() + first + i * pixelBytes;
        const size_t other = pixelBytes == 1 ? 0 : 1;
        const uint32_t word = placed(pixel[0], packing.blue) | placed(pixel[other], packing.green) |
                              placed(pixel[other * 2], packing.red);
        ASSERT_EQ(dst.data()[first + i * 2], word % 256) << "pixel " << i << " of " << count;
        ASSERT_EQ(dst.data()[first + i * 2 + 1], word / 256 % 256) << "pixel " << i;
    }
}

void checkPackedRows(Pack quib::Pack16Kernels::*pack, size_t pixelBytes)
{
    forEachTable<quib::Pack16Kernels>([&](const quib::Pack16Kernels& kernels) {
        Random random(31);
        const auto shift = [&] {
            return Packing16::Shift{static_cast<uint8_t>(random.between(0, 8)),
                                    static_cast<uint8_t>(random.between(0, 15))};
        };
        const Packing16 common[] = {{{3, 0}, {2, 5}, {3, 11}}, {{3, 0}, {3, 5}, {3, 10}}};
        for (size_t count = 0; count <= 140; ++count)
            for (const Guard guard : {Guard::afterEnd, Guard::beforeStart})
                for (const Packing16& packing :
                     {common[0], common[1], Packing16{shift(), shift(), shift()}})
                    checkPackedRow(kernels.*pack, pixelBytes, count, packing, guard, random);
    });
}

} // namespace

TEST(Pack16Kernels, PackFourBytes)
{
    checkPackedRows(&quib::Pack16Kernels::from32, 4);
}

TEST(Pack16Kernels, PackThreeBytes)
{
    checkPackedRows(&quib::Pack16Kernels::from24, 3);
}

TEST(Pack16Kernels, PackGray)
{
    checkPackedRows(&quib::Pack16Kernels::fromGray, 1);
}
