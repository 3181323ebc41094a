#include "kernels/convert.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

// Rows lie alone here, so that what is announced lies where nothing may be read.
constexpr quib::RowsAhead nowhere{-8192, 8192};

// One row at the inaccessible page before or behind both buffers, compared with
// what expectedByte(src, pixel, channel) says.
template<class Convert, class Expected>
void checkConvertedRow(Convert convert, size_t srcBytes, size_t dstBytes, size_t count, Guard guard,
                       Random& random, Expected expectedByte)
{
    const GuardedBuffer src(count * srcBytes + 1, guard);
    const GuardedBuffer dst(count * dstBytes + 1, guard);
    random.fill(src.data(), src.size());
    // The spare byte lies away from the page and must stay.
    const size_t spare = guard == Guard::afterEnd ? 0 : count * dstBytes;
    const size_t first = guard == Guard::afterEnd ? 1 : 0;
    convert(dst.data() + first, src.data() + first, count);
    ASSERT_EQ(dst.data()[spare], 0xA5);
    for (size_t i = 0; i < count; ++i)
        for (size_t c = 0; c < dstBytes; ++c)
            ASSERT_EQ(dst.data()[first + i * dstBytes + c],
                      expectedByte(src.data() + first + i * srcBytes, c))
                << "pixel " << i << " of " << count << ", byte " << c;
}

template<class Choose, class Expected>
void checkConvertedRows(Choose choose, size_t srcBytes, size_t dstBytes, Expected expectedByte)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        Random random(21);
        for (size_t count = 0; count <= 100; ++count)
            for (const Guard guard : {Guard::afterEnd, Guard::beforeStart})
                checkConvertedRow(choose(table->convert), srcBytes, dstBytes, count, guard, random,
                                  expectedByte);
        checkConvertedRow(choose(table->convert), srcBytes, dstBytes, 5000, Guard::afterEnd, random,
                          expectedByte);
    }
}

auto announcing(void (*convert)(uint8_t*, const uint8_t*, size_t, quib::RowsAhead))
{
    return [convert](uint8_t* dst, const uint8_t* src, size_t count) {
        convert(dst, src, count, nowhere);
    };
}

uint8_t opaqueByte(const uint8_t* pixel, size_t channel)
{
    return channel == 3 ? 255 : pixel[channel];
}

} // namespace

TEST(ConvertKernels, OpaqueFrom24AddsTheAlphaByte)
{
    checkConvertedRows([](const quib::ConvertKernels& k) { return announcing(k.opaqueFrom24); }, 3,
                       4, opaqueByte);
}

TEST(ConvertKernels, OpaqueFrom32ReplacesTheAlphaByte)
{
    checkConvertedRows([](const quib::ConvertKernels& k) { return announcing(k.opaqueFrom32); }, 4,
                       4, opaqueByte);
}

TEST(ConvertKernels, To24DropsTheFourthByte)
{
    checkConvertedRows([](const quib::ConvertKernels& k) { return k.to24; }, 4, 3,
                       [](const uint8_t* pixel, size_t channel) { return pixel[channel]; });
}

TEST(ConvertKernels, GrayTo24RepeatsTheByte)
{
    checkConvertedRows([](const quib::ConvertKernels& k) { return k.grayTo24; }, 1, 3,
                       [](const uint8_t* pixel, size_t) { return *pixel; });
}

TEST(ConvertKernels, GrayUnderAlphaLeavesTheFourthByte)
{
    checkConvertedRows(
        [](const quib::ConvertKernels& k) { return k.grayUnderAlpha; }, 1, 4,
        [](const uint8_t* pixel, size_t channel) { return channel == 3 ? uint8_t{0xA5} : *pixel; });
}

TEST(ConvertKernels, From4PlanesPutsChannelsSideBySide)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        Random random(22);
        for (size_t count = 0; count <= 100; ++count) {
            // Four rows of single bytes, which end where nothing may be read.
            const GuardedBuffer planes[4]{GuardedBuffer(count), GuardedBuffer(count),
                                          GuardedBuffer(count), GuardedBuffer(count)};
            for (const GuardedBuffer& plane : planes)
                random.fill(plane.data(), count);
            const GuardedBuffer dst(count * 4);
            table->convert.from4Planes(dst.data(), planes[0].data(), planes[1].data(),
                                       planes[2].data(), planes[3].data(), count);
            for (size_t i = 0; i < count * 4; ++i)
                ASSERT_EQ(dst.data()[i], planes[i % 4].data()[i / 4]) << count << ", " << i;
        }
    }
}
