#include "kernels/gray.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

using Bytes = std::vector<uint8_t>;

// Calls work(row, count) with rows of random elements of every small count, in
// planes and in pixels of three, four and five channels, blue or red first. Rows of
// pixels end at an inaccessible page.
template<class Element, class Work>
void forEachColourRow(Random& random, Work work)
{
    for (size_t count = 0; count <= 100; ++count) {
        for (const size_t channels : {size_t{1}, size_t{3}, size_t{4}, size_t{5}}) {
            const size_t elements = count * (channels == 1 ? 3 : channels);
            const GuardedBuffer buffer(elements * sizeof(Element));
            random.fill(buffer.data(), buffer.size());
            const size_t step = channels == 1 ? count : 1;
            const Element* first = buffer.as<Element>();
            const bool redFirst = random.coin();
            const quib::ColourRow<Element> row{first + (redFirst ? 2 * step : 0), first + step,
                                               first + (redFirst ? 0 : 2 * step), channels};
            ASSERT_NO_FATAL_FAILURE(work(row, count));
        }
    }
}

// Compares a kernel that stores elements with a formula of blue, green and red.
template<class To, class From, class Formula>
void expectElements(void (*kernel)(To* dst, const quib::ColourRow<From>& src, size_t count),
                    Formula formula)
{
    Random random(31);
    forEachColourRow<From>(random, [&](const quib::ColourRow<From>& row, size_t count) {
        const GuardedBuffer dst(count * sizeof(To));
        kernel(dst.as<To>(), row, count);
        for (size_t i = 0; i < count; ++i)
            ASSERT_EQ(dst.as<To>()[i], static_cast<To>(formula(int64_t{row.blue[i * row.stride]},
                                                               int64_t{row.green[i * row.stride]},
                                                               int64_t{row.red[i * row.stride]})))
                << i << " of " << count << ", " << row.stride;
    });
}

// The same for bits; those behind the row keep their values.
template<class From, class Formula>
void expectBits(void (*kernel)(uint8_t* dst, const quib::ColourRow<From>& src, size_t count),
                Formula formula)
{
    Random random(32);
    forEachColourRow<From>(random, [&](const quib::ColourRow<From>& row, size_t count) {
        const GuardedBuffer dst((count + 7) / 8);
        random.fill(dst.data(), dst.size());
        Bytes expected = dst.contents();
        for (size_t i = 0; i < count; ++i) {
            const bool set =
                formula(int64_t{row.blue[i * row.stride]}, int64_t{row.green[i * row.stride]},
                        int64_t{row.red[i * row.stride]});
            const int bit = 128 >> i % 8;
            expected[i / 8] =
                static_cast<uint8_t>(set ? expected[i / 8] | bit : expected[i / 8] & ~bit);
        }
        kernel(dst.data(), row, count);
        ASSERT_EQ(dst.contents(), expected) << count << ", " << row.stride;
    });
}

int64_t sum(int64_t b, int64_t g, int64_t r)
{
    return 18 * b + 183 * g + 54 * r;
}

int64_t signedSum(int64_t b, int64_t g, int64_t r, int shift)
{
    return 37 * (b >> shift) + 366 * (g >> shift) + 109 * (r >> shift);
}

template<class Element>
void expectExpanded(void (*kernel)(Element* dst, size_t stride, const uint8_t* bits, size_t count,
                                   Element zero, Element one))
{
    Random random(33);
    for (size_t count = 0; count <= 150; ++count) {
        for (const size_t stride : {size_t{1}, size_t{3}, size_t{4}}) {
            const GuardedBuffer bits((count + 7) / 8);
            random.fill(bits.data(), bits.size());
            const size_t elements = count == 0 ? 0 : (count - 1) * stride + 1;
            const GuardedBuffer dst(elements * sizeof(Element));
            const Element before = elements > 1 ? dst.as<Element>()[1] : Element{};
            const Element zero = static_cast<Element>(random.next());
            const Element one = static_cast<Element>(random.next());
            kernel(dst.as<Element>(), stride, bits.data(), count, zero, one);
            for (size_t i = 0; i < elements; ++i) {
                const size_t pixel = i / stride;
                const bool set = bits.data()[pixel / 8] >> (7 - pixel % 8) & 1;
                ASSERT_EQ(dst.as<Element>()[i], i % stride ? before
                                                : set      ? one
                                                           : zero)
                    << i << " of " << count;
            }
        }
    }
}

} // namespace

TEST(GrayKernels, WeighUnsignedColours)
{
    forEachTable<quib::GrayKernels>([](const quib::GrayKernels& gray) {
        const auto shifted = [](int shift) {
            return [shift](int64_t b, int64_t g, int64_t r) { return sum(b, g, r) >> shift; };
        };
        expectElements(gray.from8To8, shifted(8));
        expectElements(gray.from8To16, shifted(0));
        expectElements(gray.from16To8, shifted(16));
        expectElements(gray.from16To16, shifted(8));
        const auto above = [](int64_t limit) {
            return [limit](int64_t b, int64_t g, int64_t r) { return sum(b, g, r) >> 8 > limit; };
        };
        expectBits(gray.from8To1, above(127));
        expectBits(gray.from16To1, above(32767));
    });
}

TEST(GrayKernels, WeighSignedColours)
{
    forEachTable<quib::GrayKernels>([](const quib::GrayKernels& gray) {
        expectElements(gray.from32To8, [](int64_t b, int64_t g, int64_t r) {
            return signedSum(b, g, r, 11) >> 21;
        });
        expectElements(gray.from32To16, [](int64_t b, int64_t g, int64_t r) {
            return signedSum(b, g, r, 11) >> 13;
        });
        expectBits(gray.from32To1, [](int64_t b, int64_t g, int64_t r) {
            return signedSum(b, g, r, 10) > 0x1FFFFFFF;
        });
    });
}

TEST(GrayKernels, ExpandBits)
{
    forEachTable<quib::GrayKernels>([](const quib::GrayKernels& gray) {
        expectExpanded(gray.expand8);
        expectExpanded(gray.expand16);
        expectExpanded(gray.expand32);
    });
}
