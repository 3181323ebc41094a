#include "kernels/pixel.h"

#include "tests/support/guarded_buffer.h"
#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace
{

// --- Depths and plain formulas ----------------------------------------------------------

struct Depth {
    const char* name;
    quib::PixelRun quib::PixelRuns::*run;
    int bits;
    bool isSigned;

    int64_t low() const { return isSigned ? -(int64_t{1} << (bits - 1)) : 0; }
    int64_t high() const { return (int64_t{1} << (isSigned ? bits - 1 : bits)) - 1; }
    int64_t largestUnsigned() const { return (int64_t{1} << bits) - 1; }
    int64_t clamp(int64_t value) const
    {
        return value < low() ? low() : value > high() ? high() : value;
    }
    // The low bits of a value, as an element.
    int64_t wrap(int64_t value) const
    {
        const int64_t kept = value & largestUnsigned();
        return isSigned && kept > high() ? kept - largestUnsigned() - 1 : kept;
    }
    size_t size() const { return static_cast<size_t>(bits) / 8; }
};

const Depth integerDepths[] = {
    {"u8", &quib::PixelRuns::u8, 8, false},    {"s8", &quib::PixelRuns::s8, 8, true},
    {"u16", &quib::PixelRuns::u16, 16, false}, {"s16", &quib::PixelRuns::s16, 16, true},
    {"s32", &quib::PixelRuns::s32, 32, true},
};

int64_t scaleProduct(const Depth& depth, int64_t a, int64_t b)
{
    const int64_t t = a * b;
    return ((t >> depth.bits) + t + 1) >> depth.bits;
}

int64_t floorHalvings(int64_t a, int64_t times)
{
    const int64_t divisor = int64_t{1} << times;
    return (a - (((a % divisor) + divisor) % divisor)) / divisor;
}

// An operation of one image and a value, or of two images; what it is given
// last is the value or the second element.
struct PixelOperation {
    const char* name;
    quib::PixelRuns quib::PixelKernels::*runs;
    int64_t (*plain)(const Depth& depth, int64_t a, int64_t b);
    // The values' range; both null for operations of two images.
    int64_t (*lowest)(const Depth& depth);
    int64_t (*highest)(const Depth& depth);
};

int64_t zero(const Depth&)
{
    return 0;
}
int64_t one(const Depth&)
{
    return 1;
}
int64_t lastShift(const Depth& depth)
{
    return depth.bits - 1;
}
int64_t lowElement(const Depth& depth)
{
    return depth.low();
}
int64_t highElement(const Depth& depth)
{
    return depth.high();
}
int64_t lowestWord(const Depth&)
{
    return INT_MIN;
}
int64_t highestWord(const Depth&)
{
    return INT_MAX;
}
int64_t lowestDifference(const Depth& depth)
{
    return depth.bits == 32 ? INT_MIN : -depth.largestUnsigned();
}
int64_t highestDifference(const Depth& depth)
{
    return depth.bits == 32 ? INT_MAX : depth.largestUnsigned();
}
int64_t lowestReverse(const Depth& depth)
{
    if (depth.bits == 32)
        return INT_MIN;
    return depth.isSigned ? -depth.largestUnsigned() - 1 : 0;
}
int64_t highestReverse(const Depth& depth)
{
    if (depth.bits == 32)
        return INT_MAX;
    return depth.isSigned ? depth.largestUnsigned() - 1 : 2 * depth.largestUnsigned();
}

using Kernels = quib::PixelKernels;

const PixelOperation scalarOperations[] = {
    {"addS", &Kernels::addS,
     [](const Depth& d, int64_t a, int64_t value) { return d.clamp(a + value); }, lowestWord,
     highestWord},
    {"subtractS", &Kernels::subtractS,
     [](const Depth& d, int64_t a, int64_t value) { return d.clamp(a - value); }, lowestDifference,
     highestDifference},
    {"subtractFromS", &Kernels::subtractFromS,
     [](const Depth& d, int64_t a, int64_t value) { return d.clamp(value - a); }, lowestReverse,
     highestReverse},
    {"multiplyS", &Kernels::multiplyS,
     [](const Depth& d, int64_t a, int64_t value) { return d.clamp(a * value); }, lowElement,
     highElement},
    {"multiplyScaleS", &Kernels::multiplyScaleS, scaleProduct, lowElement, highElement},
    {"square", &Kernels::square, [](const Depth& d, int64_t a, int64_t) { return d.clamp(a * a); },
     zero, zero},
    {"absolute", &Kernels::absolute,
     [](const Depth& d, int64_t a, int64_t) { return a == d.low() ? d.high() : std::abs(a); }, zero,
     zero},
    {"leftShiftS", &Kernels::leftShiftS,
     [](const Depth& d, int64_t a, int64_t value) { return d.wrap(a * (int64_t{1} << value)); },
     one, lastShift},
    {"rightShiftS", &Kernels::rightShiftS,
     [](const Depth&, int64_t a, int64_t value) { return floorHalvings(a, value); }, one,
     lastShift},
    {"andS", &Kernels::andS,
     [](const Depth& d, int64_t a, int64_t value) { return d.wrap(a & value); }, lowestWord,
     highestWord},
    {"orS", &Kernels::orS,
     [](const Depth& d, int64_t a, int64_t value) { return d.wrap(a | value); }, lowestWord,
     highestWord},
    {"xorS", &Kernels::xorS,
     [](const Depth& d, int64_t a, int64_t value) { return d.wrap(a ^ value); }, lowestWord,
     highestWord},
};

const PixelOperation pairOperations[] = {
    {"add", &Kernels::add, [](const Depth& d, int64_t a, int64_t b) { return d.clamp(a + b); },
     nullptr, nullptr},
    {"subtract", &Kernels::subtract,
     [](const Depth& d, int64_t a, int64_t b) { return d.clamp(a - b); }, nullptr, nullptr},
    {"multiply", &Kernels::multiply,
     [](const Depth& d, int64_t a, int64_t b) { return d.clamp(a * b); }, nullptr, nullptr},
    {"multiplyScale", &Kernels::multiplyScale, scaleProduct, nullptr, nullptr},
    {"and", &Kernels::logicAnd, [](const Depth& d, int64_t a, int64_t b) { return d.wrap(a & b); },
     nullptr, nullptr},
    {"or", &Kernels::logicOr, [](const Depth& d, int64_t a, int64_t b) { return d.wrap(a | b); },
     nullptr, nullptr},
    {"xor", &Kernels::logicXor, [](const Depth& d, int64_t a, int64_t b) { return d.wrap(a ^ b); },
     nullptr, nullptr},
};

// --- Elements of any depth in bytes --------------------------------------------------------

using Bytes = std::vector<uint8_t>;

void put(Bytes* bytes, const Depth& depth, int64_t value)
{
    for (size_t i = 0; i < depth.size(); ++i)
        bytes->push_back(static_cast<uint8_t>(value >> (8 * i)));
}

int64_t get(const Bytes& bytes, const Depth& depth, size_t index)
{
    uint64_t value = 0;
    for (size_t i = 0; i < depth.size(); ++i)
        value |= static_cast<uint64_t>(bytes[index * depth.size() + i]) << (8 * i);
    return depth.wrap(static_cast<int64_t>(value));
}

// Elements whose results are at a limit or near one, and random ones.
std::vector<int64_t> tellingElements(const Depth& depth, Random& random)
{
    if (depth.bits == 8) {
        std::vector<int64_t> all;
        for (int64_t a = depth.low(); a <= depth.high(); ++a)
            all.push_back(a);
        return all;
    }
    std::vector<int64_t> values = {depth.low(), depth.low() + 1, depth.high(), depth.high() - 1};
    for (const int64_t a : {0, 1, 2, 3, 127, 128, 181, 182, 255, 256, 257, 32767, 32768, 46340,
                            46341, 65535, 65536, 65537, 1 << 30})
        for (const int64_t b : {a, -a})
            if (depth.clamp(b) == b)
                values.push_back(b);
    while (values.size() < 300) {
        // Products of small elements matter as much as those of large ones.
        const int64_t any = static_cast<int32_t>(random.next()) >> random.between(0, 31);
        values.push_back(depth.wrap(any));
    }
    return values;
}

std::vector<int64_t> tellingValues(const PixelOperation& operation, const Depth& depth,
                                   Random& random)
{
    const int64_t low = operation.lowest(depth);
    const int64_t high = operation.highest(depth);
    std::vector<int64_t> values;
    if (high - low <= 600) {
        for (int64_t value = low; value <= high; ++value)
            values.push_back(value);
        return values;
    }
    for (const int64_t value : {low, low + 1, high, high - 1})
        values.push_back(value);
    for (const int64_t value :
         {-65536, -65535, -32769, -32768, -256,  -255,  -2,    -1,    0,      1,     2,
          255,    256,    511,    32767,  32768, 65535, 65536, 70000, 131069, 131070})
        if (value >= low && value <= high)
            values.push_back(value);
    for (int i = 0; i < 40; ++i) {
        const int64_t any = static_cast<int32_t>(random.next()) >> random.between(0, 31);
        if (any >= low && any <= high)
            values.push_back(any);
    }
    return values;
}

// Calls work(table, operation, depth, run) for all runs that there are.
template<class Operations, class Work>
void forEachRun(const Operations& operations, Work work)
{
    for (const quib::Kernels* table : availableLevels()) {
        for (const PixelOperation& operation : operations) {
            for (const Depth& depth : integerDepths) {
                SCOPED_TRACE(std::string(table->levelName) + " " + operation.name + " " +
                             depth.name);
                if (const quib::PixelRun run = table->pixel.*operation.runs.*depth.run)
                    work(operation, depth, run);
            }
        }
    }
}

// The first index at which the result is not the plain one, or -1.
int64_t firstDifference(const PixelOperation& operation, const Depth& depth, const Bytes& result,
                        const Bytes& a, const std::function<int64_t(size_t)>& second)
{
    for (size_t i = 0; i < a.size() / depth.size(); ++i)
        if (get(result, depth, i) != operation.plain(depth, get(a, depth, i), second(i)))
            return static_cast<int64_t>(i);
    return -1;
}

} // namespace

TEST(PixelKernels, HaveTheDepthsThatTheirOperationsTake)
{
    const auto depthsOf = [](const quib::PixelRuns& runs) {
        std::string names;
        for (const Depth& depth : integerDepths)
            if (runs.*depth.run)
                names += std::string(depth.name) + " ";
        return names + (runs.f32 ? "f32" : "");
    };
    for (const quib::Kernels* table : availableLevels()) {
        const quib::PixelKernels& pixel = table->pixel;
        EXPECT_EQ(depthsOf(pixel.addS), "s32 ");
        for (const auto* runs : {&pixel.subtractS, &pixel.subtractFromS, &pixel.multiplyS,
                                 &pixel.leftShiftS, &pixel.rightShiftS, &pixel.andS, &pixel.orS,
                                 &pixel.xorS, &pixel.logicAnd, &pixel.logicOr, &pixel.logicXor})
            EXPECT_EQ(depthsOf(*runs), "u8 s8 u16 s16 s32 ");
        for (const auto* runs : {&pixel.square, &pixel.add, &pixel.subtract, &pixel.multiply})
            EXPECT_EQ(depthsOf(*runs), "u8 s8 u16 s16 s32 f32");
        for (const auto* runs : {&pixel.multiplyScaleS, &pixel.multiplyScale})
            EXPECT_EQ(depthsOf(*runs), "u8 u16 ");
        EXPECT_EQ(depthsOf(pixel.absolute), "s8 s16 s32 f32");
    }
}

TEST(PixelKernels, GiveThePlainResultForElementsAndValues)
{
    forEachRun(scalarOperations, [](const PixelOperation& operation, const Depth& depth,
                                    quib::PixelRun run) {
        Random random(51);
        Bytes a;
        const std::vector<int64_t> elements = tellingElements(depth, random);
        for (const int64_t element : elements)
            put(&a, depth, element);
        Bytes result(a.size());
        for (const int64_t value : tellingValues(operation, depth, random)) {
            run(result.data(), a.data(), nullptr, elements.size(), static_cast<int32_t>(value));
            const int64_t bad =
                firstDifference(operation, depth, result, a, [value](size_t) { return value; });
            ASSERT_EQ(bad, -1) << elements[static_cast<size_t>(bad)] << " with " << value;
        }
    });
}

TEST(PixelKernels, GiveThePlainResultForPairsOfElements)
{
    forEachRun(pairOperations,
               [](const PixelOperation& operation, const Depth& depth, quib::PixelRun run) {
                   Random random(52);
                   Bytes a;
                   Bytes b;
                   // Every pair, at 8 bits of all elements.
                   for (const int64_t first : tellingElements(depth, random)) {
                       for (const int64_t second : tellingElements(depth, random)) {
                           put(&a, depth, first);
                           put(&b, depth, second);
                       }
                   }
                   Bytes result(a.size());
                   const size_t count = a.size() / depth.size();
                   run(result.data(), a.data(), b.data(), count, 0);
                   const int64_t bad = firstDifference(operation, depth, result, a,
                                                       [&](size_t i) { return get(b, depth, i); });
                   ASSERT_EQ(bad, -1) << get(a, depth, static_cast<size_t>(bad)) << " with "
                                      << get(b, depth, static_cast<size_t>(bad));
               });
}

TEST(PixelKernels, ScaleProductsAreExactAtNoneAndAll)
{
    for (const quib::Kernels* table : availableLevels()) {
        uint8_t all[256];
        uint8_t result[256];
        for (int i = 0; i < 256; ++i)
            all[i] = static_cast<uint8_t>(i);
        table->pixel.multiplyScaleS.u8(result, all, nullptr, 256, 255);
        EXPECT_EQ(std::memcmp(result, all, 256), 0);
        table->pixel.multiplyScaleS.u8(result, all, nullptr, 256, 0);
        EXPECT_EQ(Bytes(result, result + 256), Bytes(256, 0));
        // In between they round down.
        for (int value = 0; value < 256; ++value) {
            table->pixel.multiplyScaleS.u8(result, all, nullptr, 256, value);
            for (int i = 0; i < 256; ++i)
                ASSERT_EQ(result[i], i * value / 255);
        }
    }
}

TEST(PixelKernels, ShiftSomeWorkedElements)
{
    for (const quib::Kernels* table : availableLevels()) {
        const uint8_t elements[2] = {0x81, 0x7F};
        uint8_t result[2];
        table->pixel.leftShiftS.u8(result, elements, nullptr, 2, 1);
        EXPECT_EQ(result[0], 0x02);
        EXPECT_EQ(result[1], 0xFE);
        table->pixel.rightShiftS.s8(result, elements, nullptr, 2, 7);
        EXPECT_EQ(result[0], 0xFF);
        EXPECT_EQ(result[1], 0);
    }
}

namespace
{

template<class Operations>
void runsAtEveryCount(const Operations& operations)
{
    forEachRun(operations, [](const PixelOperation& operation, const Depth& depth,
                              quib::PixelRun run) {
        Random random(53);
        const int32_t value = operation.lowest ? static_cast<int32_t>(operation.highest(depth)) : 0;
        for (size_t count = 0; count < 140; count += count < 70 ? 1 : 9) {
            const size_t bytes = count * depth.size();
            const GuardedBuffer a(bytes);
            const GuardedBuffer b(bytes);
            const GuardedBuffer dst(bytes);
            random.fill(a.data(), bytes);
            random.fill(b.data(), bytes);
            run(dst.data(), a.data(), b.data(), count, value);
            const Bytes first(a.data(), a.data() + bytes);
            const Bytes second(b.data(), b.data() + bytes);
            const Bytes result(dst.data(), dst.data() + bytes);
            const int64_t bad =
                firstDifference(operation, depth, result, first, [&](size_t i) -> int64_t {
                    return operation.lowest ? value : get(second, depth, i);
                });
            ASSERT_EQ(bad, -1) << count;
            // The destination may be either source.
            run(a.data(), a.data(), b.data(), count, value);
            ASSERT_EQ(std::memcmp(a.data(), dst.data(), bytes), 0) << count;
            std::copy(first.begin(), first.end(), a.data());
            if (!operation.lowest) {
                run(b.data(), a.data(), b.data(), count, value);
                ASSERT_EQ(std::memcmp(b.data(), dst.data(), bytes), 0) << count;
            }
        }
    });
}

} // namespace

TEST(PixelKernels, TakeRunsOfAnyLengthBesideInaccessiblePages)
{
    runsAtEveryCount(scalarOperations);
    runsAtEveryCount(pairOperations);
}

TEST(PixelKernels, GiveTheSameInOneLongRunAsInShortOnes)
{
    // Long runs are stored past the caches, from the first aligned element on.
    const size_t bytes = (size_t{4} << 20) + 4096;
    std::vector<uint8_t> a(bytes);
    std::vector<uint8_t> b(bytes);
    Random random(56);
    random.fill(a.data(), bytes);
    random.fill(b.data(), bytes);
    const auto compare = [&](quib::PixelRun run, size_t elementBytes, size_t offset) {
        constexpr size_t most = 1000;
        const size_t count = (bytes - offset - 7) / elementBytes;
        std::vector<uint8_t> whole(bytes, 9);
        std::vector<uint8_t> inPieces(bytes, 9);
        run(whole.data() + offset, a.data() + 4, b.data(), count, 77);
        for (size_t i = 0; i < count; i += most) {
            const size_t at = i * elementBytes;
            run(inPieces.data() + offset + at, a.data() + 4 + at, b.data() + at,
                std::min(most, count - i), 77);
        }
        ASSERT_TRUE(whole == inPieces) << offset;
        // In place.
        run(a.data() + 4, a.data() + 4, b.data(), count, 77);
        ASSERT_EQ(std::memcmp(a.data() + 4, whole.data() + offset, count * elementBytes), 0);
    };
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        const quib::PixelKernels& pixel = table->pixel;
        for (const size_t offset : {4, 36, 16}) {
            for (const quib::PixelRun run :
                 {pixel.add.u8, pixel.multiply.u8, pixel.multiplyScale.u8, pixel.square.u8,
                  pixel.multiplyS.u8})
                compare(run, 1, offset);
            compare(pixel.subtract.s16, 2, offset);
            compare(pixel.andS.u16, 2, offset);
            compare(pixel.logicXor.s32, 4, offset);
        }
    }
}

// --- Floats -----------------------------------------------------------------------------------

namespace
{

std::vector<float> tellingFloats(Random& random)
{
    const float infinity = std::numeric_limits<float>::infinity();
    const float least = std::numeric_limits<float>::denorm_min();
    const float most = std::numeric_limits<float>::max();
    std::vector<float> values = {0.0f,     -0.0f,     1.0f,   -1.0f, least, -least, most,  -most,
                                 infinity, -infinity, 1e-30f, 3e38f, 0.5f,  255.0f, 1e20f, -1e-20f};
    while (values.size() < 120)
        values.push_back(static_cast<float>(random.between(-1000000, 1000000)) / 997.0f);
    return values;
}

uint32_t bitsOf(float value)
{
    uint32_t bits = 0;
    std::memcpy(&bits, &value, 4);
    return bits;
}

bool same(float a, float b)
{
    return bitsOf(a) == bitsOf(b) || (std::isnan(a) && std::isnan(b));
}

} // namespace

TEST(PixelKernels, FloatsAreNeitherClampedNorRoundedAnyFurther)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        Random random(54);
        std::vector<float> a;
        std::vector<float> b;
        for (const float first : tellingFloats(random)) {
            for (const float second : tellingFloats(random)) {
                a.push_back(first);
                b.push_back(second);
            }
        }
        std::vector<float> result(a.size());
        const auto run = [&](quib::PixelRun work) {
            work(result.data(), a.data(), b.data(), a.size(), 0);
        };
        run(table->pixel.add.f32);
        for (size_t i = 0; i < a.size(); ++i)
            ASSERT_TRUE(same(result[i], a[i] + b[i])) << a[i] << " " << b[i];
        run(table->pixel.subtract.f32);
        for (size_t i = 0; i < a.size(); ++i)
            ASSERT_TRUE(same(result[i], a[i] - b[i])) << a[i] << " " << b[i];
        run(table->pixel.multiply.f32);
        for (size_t i = 0; i < a.size(); ++i)
            ASSERT_TRUE(same(result[i], a[i] * b[i])) << a[i] << " " << b[i];
        run(table->pixel.square.f32);
        for (size_t i = 0; i < a.size(); ++i)
            ASSERT_TRUE(same(result[i], a[i] * a[i])) << a[i];
    }
}

TEST(PixelKernels, AbsoluteFloatsKeepNegativeZeroAndNaNs)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        for (size_t count = 1; count < 40; ++count) {
            const uint32_t words[] = {0x80000000u, 0xFFC00001u, 0x7FC00002u, 0xBF800000u,
                                      0x3F800000u, 0xFF800000u, 0x80000001u, 0};
            const uint32_t expected[] = {0x80000000u, 0xFFC00001u, 0x7FC00002u, 0x3F800000u,
                                         0x3F800000u, 0x7F800000u, 0x00000001u, 0};
            std::vector<uint32_t> elements;
            std::vector<uint32_t> results;
            for (size_t i = 0; i < count; ++i) {
                elements.push_back(words[i % 8]);
                results.push_back(expected[i % 8]);
            }
            table->pixel.absolute.f32(elements.data(), elements.data(), nullptr, count, 0);
            ASSERT_EQ(elements, results);
        }
    }
}

TEST(PixelKernels, GiveTheSameFloatBytesAtEveryLevel)
{
    const quib::Kernels& base = *quib::kernelsOfLevel(quib::KernelLevel::base);
    Random random(55);
    std::vector<uint32_t> a(4001);
    std::vector<uint32_t> b(a.size());
    // Any bits at all, many of them NaNs.
    for (size_t i = 0; i < a.size(); ++i) {
        a[i] = random.next() | (i % 3 == 0 ? 0x7F800000u : 0);
        b[i] = random.next() | (i % 5 == 0 ? 0x7F800000u : 0);
    }
    for (const auto runs : {&Kernels::add, &Kernels::subtract, &Kernels::multiply, &Kernels::square,
                            &Kernels::absolute}) {
        std::vector<uint32_t> expected(a.size());
        (base.pixel.*runs).f32(expected.data(), a.data(), b.data(), a.size(), 0);
        for (const quib::Kernels* table : availableLevels()) {
            std::vector<uint32_t> result(a.size());
            (table->pixel.*runs).f32(result.data(), a.data(), b.data(), a.size(), 0);
            ASSERT_EQ(result, expected) << table->levelName;
        }
    }
}
