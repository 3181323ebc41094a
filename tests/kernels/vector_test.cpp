#include "tests/kernels/vector_operations.h"

#include "tests/support/levels.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace
{

using Memory = std::vector<uint8_t>;

template<class T>
std::vector<T> lanes(const Memory& bytes)
{
    std::vector<T> elements(bytes.size() / sizeof(T));
    std::memcpy(elements.data(), bytes.data(), bytes.size());
    return elements;
}

template<class T>
Memory bytesOf(const std::vector<T>& elements)
{
    Memory bytes(elements.size() * sizeof(T));
    std::memcpy(bytes.data(), elements.data(), bytes.size());
    return bytes;
}

using Plain = std::function<Memory(const Memory& a, const Memory& b)>;

// What a plain form is given: any bytes, or floats of moderate size, some of
// which lie halfway between whole numbers.
enum class Input { bytes, floats };

struct PlainForm {
    Plain of;
    Input input = Input::bytes;
};

// --- Shapes of plain forms -----------------------------------------------------------

// To[i] = formula(a[i], b[i]).
template<class T, class To = T, class Formula>
Plain eachLane(Formula formula)
{
    return [formula](const Memory& a, const Memory& b) {
        const std::vector<T> x = lanes<T>(a);
        const std::vector<T> y = lanes<T>(b);
        std::vector<To> result(x.size());
        for (size_t i = 0; i < x.size(); ++i)
            result[i] = static_cast<To>(formula(x[i], y[i]));
        return bytesOf(result);
    };
}

// To[i] = formula(2 neighbours of a, 2 of b).
template<class A, class B, class To, class Formula>
Plain eachPair(Formula formula)
{
    return [formula](const Memory& a, const Memory& b) {
        const std::vector<A> x = lanes<A>(a);
        const std::vector<B> y = lanes<B>(b);
        std::vector<To> result(x.size() / 2);
        for (size_t i = 0; i < result.size(); ++i)
            result[i] = static_cast<To>(formula(x[2 * i], x[2 * i + 1], y[2 * i], y[2 * i + 1]));
        return bytesOf(result);
    };
}

// Each 16 bytes of the result from the same 16 of a and b.
template<class T, class Formula>
Plain eachPart(Formula formula)
{
    return [formula](const Memory& a, const Memory& b) {
        Memory result;
        for (size_t part = 0; part < a.size(); part += 16) {
            const auto from = [part](const Memory& bytes) {
                return lanes<T>(Memory(bytes.begin() + part, bytes.begin() + part + 16));
            };
            const Memory made = bytesOf(formula(from(a), from(b)));
            result.insert(result.end(), made.begin(), made.end());
        }
        return result;
    };
}

// result[i] = of a and b, one behind the other, lane place(i).
template<class T, class Place>
Plain arranged(Place place)
{
    return eachPart<T>([place](const std::vector<T>& a, const std::vector<T>& b) {
        std::vector<T> both = a;
        both.insert(both.end(), b.begin(), b.end());
        std::vector<T> result(a.size());
        for (size_t i = 0; i < result.size(); ++i)
            result[i] = both[place(i, a.size())];
        return result;
    });
}

template<class T>
Plain spreadFirst()
{
    return [](const Memory& a, const Memory&) {
        return bytesOf(std::vector<T>(a.size() / sizeof(T), lanes<T>(a)[0]));
    };
}

template<class T, class To>
Plain widened(bool high)
{
    return eachPart<T>([high](const std::vector<T>& a, const std::vector<T>&) {
        const size_t half = a.size() / 2;
        const auto from = a.begin() + (high ? half : 0);
        return std::vector<To>(from, from + half);
    });
}

template<class To, class From = uint8_t>
Plain widenedFirst()
{
    return [](const Memory& a, const Memory&) {
        const std::vector<From> x = lanes<From>(a);
        return bytesOf(std::vector<To>(x.begin(), x.begin() + a.size() / sizeof(To)));
    };
}

template<class To>
To clamped(int64_t value)
{
    return static_cast<To>(
        std::clamp<int64_t>(value, std::numeric_limits<To>::min(), std::numeric_limits<To>::max()));
}

template<class T, class To, int32_t shift = 0>
Plain packed()
{
    return eachPart<T>([](const std::vector<T>& low, const std::vector<T>& high) {
        std::vector<To> result;
        for (const auto& half : {low, high})
            for (const T lane : half)
                result.push_back(clamped<To>(lane >> shift));
        return result;
    });
}

// The bytes of a's lanes that lie at `places`, one place behind the other.
template<class T, class... Place>
Memory bytesAt(const Memory& lanesOfBoth, Place... places)
{
    Memory result;
    for (const size_t place : {places...})
        for (size_t i = place; i < lanesOfBoth.size(); i += sizeof(T))
            result.push_back(lanesOfBoth[i]);
    return result;
}

template<class T>
Plain addedSaturated()
{
    return eachLane<T>([](T a, T b) { return clamped<T>(int64_t{a} + b); });
}

template<class T>
Plain subtractedSaturated()
{
    return eachLane<T>([](T a, T b) { return clamped<T>(int64_t{a} - b); });
}

template<class T>
Plain smallerOnes()
{
    return eachLane<T>([](T a, T b) { return a < b ? a : b; });
}

template<class T>
Plain largerOnes()
{
    return eachLane<T>([](T a, T b) { return a > b ? a : b; });
}

template<class Formula>
PlainForm ofFloats(Formula formula)
{
    return {formula, Input::floats};
}

// --- The plain forms -----------------------------------------------------------------

size_t lowPlace(size_t i, size_t count)
{
    return i / 2 + i % 2 * count;
}

size_t highPlace(size_t i, size_t count)
{
    return count / 2 + lowPlace(i, count);
}

void addArrangements(std::map<std::string, PlainForm>& forms)
{
    forms["spread U8"] = {spreadFirst<uint8_t>()};
    forms["spread I16"] = {spreadFirst<int16_t>()};
    forms["spread U64"] = {spreadFirst<uint64_t>()};
    forms["spread F32"] = ofFloats(spreadFirst<float>());
    forms["spreadPart"] = {[](const Memory& a, const Memory&) {
        Memory result(a.size());
        for (size_t i = 0; i < result.size(); ++i)
            result[i] = a[i % 16];
        return result;
    }};
    forms["interleaveLow U8"] = {arranged<uint8_t>(lowPlace)};
    forms["interleaveHigh U8"] = {arranged<uint8_t>(highPlace)};
    forms["interleaveLow U16"] = {arranged<uint16_t>(lowPlace)};
    forms["interleaveHigh U16"] = {arranged<uint16_t>(highPlace)};
    forms["interleaveLow U32"] = {arranged<uint32_t>(lowPlace)};
    forms["interleaveHigh U64"] = {arranged<uint64_t>(highPlace)};
    forms["evenLanes U32"] = {arranged<uint32_t>([](size_t i, size_t) { return 2 * i; })};
    forms["oddLanes U32"] = {arranged<uint32_t>([](size_t i, size_t) { return 2 * i + 1; })};
    forms["evenLanes U16"] = {arranged<uint16_t>([](size_t i, size_t) { return 2 * i; })};
    forms["inGroups 3 3 3 3 U16"] = {arranged<uint16_t>([](size_t i, size_t) { return i | 3; })};
    forms["inGroups 1 0 U32"] = {arranged<uint32_t>([](size_t i, size_t) { return i ^ 1; })};
    forms["mix 0 0 1 1 U32"] = {
        arranged<uint32_t>([](size_t i, size_t count) { return i < 2 ? i : i + count; })};
    forms["mix 0 1 U8"] = {
        arranged<uint8_t>([](size_t i, size_t count) { return i + i % 2 * count; })};
    forms["onward 12 U8"] = {arranged<uint8_t>([](size_t i, size_t) { return i + 12; })};
    forms["onward 2 U16"] = {arranged<uint16_t>([](size_t i, size_t) { return i + 2; })};
    forms["lookUp"] = {eachPart<uint8_t>([](const Memory& a, const Memory& places) {
        Memory result(16);
        for (size_t i = 0; i < 16; ++i)
            result[i] = places[i] < 128 ? a[places[i] % 16] : 0;
        return result;
    })};
    using Words = std::vector<uint32_t>;
    forms["lookUpInParts"] = {eachPart<uint32_t>([](const Words& a, const Words& places) {
        return Words{a[places[0] % 4], a[places[1] % 4], a[places[2] % 4], a[places[3] % 4]};
    })};
}

// Lanes of T from places in the first half of a.
template<class T>
Plain gathered()
{
    return [](const Memory& a, const Memory& b) {
        const std::vector<uint32_t> offsets = lanes<uint32_t>(b);
        std::vector<T> result(a.size() / sizeof(T));
        for (size_t i = 0; i < result.size(); ++i)
            std::memcpy(&result[i], a.data() + offsets[i] % (a.size() / 2), sizeof(T));
        return bytesOf(result);
    };
}

void addMemory(std::map<std::string, PlainForm>& forms)
{
    forms["loadHalf"] = {[](const Memory&, Memory b) {
        std::fill(b.begin() + 8, b.end(), uint8_t{0});
        return b;
    }};
    forms["loadHalves"] = {[](const Memory& a, Memory b) {
        std::copy_n(a.begin(), 8, b.begin() + 8);
        return b;
    }};
    forms["storeHalf"] = {[](const Memory& a, Memory b) {
        std::copy_n(a.begin(), 8, b.begin());
        return b;
    }};
    forms["gather U32"] = {gathered<uint32_t>()};
    forms["gather U64"] = {gathered<uint64_t>()};
    forms["stream"] = {[](const Memory& a, const Memory&) { return a; }};
    forms["words"] = {[](const Memory& a, const Memory&) {
        std::vector<uint32_t> words = lanes<uint32_t>(a);
        std::reverse(words.begin(), words.end());
        return bytesOf(words);
    }};
    forms["join"] = {eachLane<uint32_t>([](uint32_t a, uint32_t b) { return b - a; })};
}

void addChoices(std::map<std::string, PlainForm>& forms)
{
    forms["select U8"] = {eachLane<uint8_t>(
        [](uint8_t a, uint8_t b) { return a < b ? a : static_cast<uint8_t>(b + 1); })};
    forms["withBits U32"] = {
        eachLane<uint32_t>([](uint32_t a, uint32_t b) { return a | (b & 0x0A0FF0F0u); })};
    forms["select F32"] = ofFloats(smallerOnes<float>());
    forms["smaller U8"] = {smallerOnes<uint8_t>()};
    forms["smaller U16"] = {smallerOnes<uint16_t>()};
    forms["smaller I16"] = {smallerOnes<int16_t>()};
    forms["smaller I32"] = {smallerOnes<int32_t>()};
    forms["smaller F32"] = ofFloats(smallerOnes<float>());
    forms["larger U8"] = {largerOnes<uint8_t>()};
    forms["larger U16"] = {largerOnes<uint16_t>()};
    forms["larger I32"] = {largerOnes<int32_t>()};
    forms["larger F32"] = ofFloats(largerOnes<float>());
    forms["isZero"] = {[](const Memory& a, const Memory& b) {
        uint8_t all = 0;
        for (size_t i = 0; i < a.size(); ++i)
            all = static_cast<uint8_t>(all | (a[i] & b[i]));
        return Memory(a.size(), all ? 2 : 3);
    }};
    forms["topBits"] = {[](const Memory& a, const Memory&) {
        uint32_t bits = 0;
        for (size_t i = 0; i < a.size(); ++i)
            bits |= uint32_t{a[i] >= 128} << i;
        return bytesOf(std::vector<uint32_t>(a.size() / 4, bits));
    }};
    forms["lanesUpTo"] = {[](const Memory& a, const Memory& b) {
        const std::vector<uint16_t> ascending = lanes<uint16_t>(a);
        const uint16_t limit = lanes<uint16_t>(b)[0];
        uint32_t count = 0;
        while (count < ascending.size() && ascending[count] <= limit)
            ++count;
        return bytesOf(std::vector<uint32_t>(a.size() / 4, count));
    }};
}

void addPacks(std::map<std::string, PlainForm>& forms)
{
    forms["widenLow U8"] = {widened<uint8_t, uint16_t>(false)};
    forms["widenHigh U8"] = {widened<uint8_t, uint16_t>(true)};
    forms["widenLow U16"] = {widened<uint16_t, uint32_t>(false)};
    forms["widenHigh U16"] = {widened<uint16_t, uint32_t>(true)};
    forms["widenFirst I16"] = {widenedFirst<int16_t>()};
    forms["widenFirst I32"] = {widenedFirst<int32_t>()};
    forms["loadWidened U8"] = {widenedFirst<int32_t, uint8_t>()};
    forms["loadWidened I8"] = {widenedFirst<int32_t, int8_t>()};
    forms["loadWidened U16"] = {widenedFirst<int32_t, uint16_t>()};
    forms["loadWidened I16"] = {widenedFirst<int32_t, int16_t>()};
    forms["loadWidened I32"] = {widenedFirst<int32_t, int32_t>()};
    forms["packToU8"] = {packed<int16_t, uint8_t>()};
    forms["cutToU8"] = {[](Memory a, const Memory& b) {
        a.insert(a.end(), b.begin(), b.end());
        return bytesAt<uint16_t>(a, size_t{0});
    }};
    forms["packToI8"] = {packed<int16_t, int8_t>()};
    forms["packToI16"] = {packed<int32_t, int16_t>()};
    forms["packToU16"] = {packed<int32_t, uint16_t>()};
    forms["packToU16 of words"] = {packed<int32_t, uint16_t, 15>()};
    // The high bytes of a's lanes, then those of b's; then the next lower ones.
    forms["inOrderOfPack"] = {[](Memory a, const Memory& b) {
        a.insert(a.end(), b.begin(), b.end());
        return bytesAt<uint16_t>(a, size_t{1});
    }};
    forms["inOrderOfTwoPacks"] = {[](Memory a, const Memory& b) {
        a.insert(a.end(), b.begin(), b.end());
        return bytesAt<uint32_t>(a, size_t{3}, size_t{2});
    }};
}

void addArithmetic(std::map<std::string, PlainForm>& forms)
{
    forms["addSaturated U8"] = {addedSaturated<uint8_t>()};
    forms["addSaturated I8"] = {addedSaturated<int8_t>()};
    forms["addSaturated U16"] = {addedSaturated<uint16_t>()};
    forms["addSaturated I16"] = {addedSaturated<int16_t>()};
    forms["subtractSaturated U8"] = {subtractedSaturated<uint8_t>()};
    forms["subtractSaturated I8"] = {subtractedSaturated<int8_t>()};
    forms["subtractSaturated U16"] = {subtractedSaturated<uint16_t>()};
    forms["subtractSaturated I16"] = {subtractedSaturated<int16_t>()};
    forms["highProducts U16"] = {
        eachLane<uint16_t>([](uint32_t a, uint32_t b) { return a * b >> 16; })};
    forms["highProducts I16"] = {
        eachLane<int16_t>([](int32_t a, int32_t b) { return a * b >> 16; })};
    // Four times 2^30 in two products wraps.
    forms["pairProducts"] = {eachPair<int16_t, int16_t, int32_t>(
        [](int64_t a0, int64_t a1, int64_t b0, int64_t b1) { return a0 * b0 + a1 * b1; })};
    forms["pairProductsOfBytes"] = {
        eachPair<uint8_t, int8_t, int16_t>([](int32_t a0, int32_t a1, int32_t b0, int32_t b1) {
            return clamped<int16_t>(a0 * b0 + a1 * b1);
        })};
    forms["pairSums U8"] = {eachPair<uint8_t, uint8_t, uint16_t>(
        [](int32_t a0, int32_t a1, int32_t, int32_t) { return a0 + a1; })};
    forms["pairSums I16"] = {eachPair<int16_t, int16_t, int32_t>(
        [](int32_t a0, int32_t a1, int32_t, int32_t) { return a0 + a1; })};
    forms["productsOver255"] = {
        eachLane<uint16_t>([](int32_t a, int32_t b) { return (a & 255) * (b & 255) / 255; })};
}

void addFloats(std::map<std::string, PlainForm>& forms)
{
    forms["toFloats"] = {
        eachLane<int32_t, float>([](int32_t a, int32_t) { return static_cast<float>(a); })};
    forms["truncated"] =
        ofFloats(eachLane<float, int32_t>([](float a, float) { return std::trunc(a); }));
    forms["rounded"] =
        ofFloats(eachLane<float, int32_t>([](float a, float) { return std::nearbyint(a); }));
    forms["roundedDown"] =
        ofFloats(eachLane<float, int32_t>([](float a, float) { return std::floor(a); }));
    forms["squareRoots"] =
        ofFloats(eachLane<float>([](float a, float) { return std::sqrt(a * a); }));
}

const std::map<std::string, PlainForm>& plainForms()
{
    static const std::map<std::string, PlainForm> all = [] {
        std::map<std::string, PlainForm> forms;
        addMemory(forms);
        addArrangements(forms);
        addChoices(forms);
        addPacks(forms);
        addArithmetic(forms);
        addFloats(forms);
        return forms;
    }();
    return all;
}

// --- Inputs --------------------------------------------------------------------------

constexpr size_t mostBytes = 64;

struct alignas(64) Block {
    uint8_t bytes[mostBytes];
};

// Random bytes, at every second time with many at the ends of the ranges.
void fillBytes(Block& block, Random& random, bool extreme)
{
    random.fill(block.bytes, mostBytes);
    if (!extreme)
        return;
    constexpr uint8_t ends[] = {0x00, 0xFF, 0x7F, 0x80, 0x01};
    for (uint8_t& byte : block.bytes)
        if (byte % 4 != 0)
            byte = ends[byte / 4 % 5];
}

void fillFloats(Block& block, Random& random)
{
    random.fill(block.bytes, mostBytes);
    for (size_t i = 0; i < mostBytes; i += 4) {
        int32_t number;
        std::memcpy(&number, block.bytes + i, 4);
        const float value = static_cast<float>(number >> 8) / 16;
        std::memcpy(block.bytes + i, &value, 4);
    }
}

void compare(const VectorOperation& operation, const PlainForm& plain)
{
    Random random(23);
    Block a, b, out;
    for (int32_t round = 0; round < 500; ++round) {
        for (Block* block : {&a, &b}) {
            if (plain.input == Input::floats)
                fillFloats(*block, random);
            else
                fillBytes(*block, random, round % 2 != 0);
        }
        operation.run(out.bytes, a.bytes, b.bytes);
        const auto memory = [&operation](const Block& block) {
            return Memory(block.bytes, block.bytes + operation.bytes);
        };
        ASSERT_EQ(memory(out), plain.of(memory(a), memory(b)))
            << operation.name << " of " << operation.bytes << " bytes, round " << round;
    }
}

// Every operation of a list is as its plain form; gives their names.
std::set<std::string> compareAll(const VectorOperations& operations)
{
    std::set<std::string> names;
    for (size_t i = 0; i < operations.count; ++i) {
        const VectorOperation& operation = operations.first[i];
        names.insert(operation.name);
        const auto plain = plainForms().find(operation.name);
        if (plain == plainForms().end())
            ADD_FAILURE() << operation.name << " has no plain form";
        else
            compare(operation, plain->second);
    }
    return names;
}

void compareLevel(quib::KernelLevel level, VectorOperations (*operations)())
{
    if (!quib::kernelsOfLevel(level))
        GTEST_SKIP() << "this processor lacks the level";
    compareAll(operations());
}

} // namespace

TEST(Vectors, OfAnUnknownProcessorComputeAsPlainArithmetic)
{
    std::set<std::string> names = compareAll(quib::plain::vectorOperations());
    names.insert("join"); // makes vectors that are not had there
    for (const auto& [name, form] : plainForms())
        EXPECT_TRUE(names.count(name)) << name;
}

TEST(Vectors, OfLevelBaseComputeAsPlainArithmetic)
{
    compareLevel(quib::KernelLevel::base, quib::base::vectorOperations);
}

#if defined(QUIB_X86)
TEST(Vectors, OfLevelAvx2ComputeAsPlainArithmetic)
{
    compareLevel(quib::KernelLevel::avx2, quib::avx2::vectorOperations);
}

TEST(Vectors, OfLevelAvx512ComputeAsPlainArithmetic)
{
    compareLevel(quib::KernelLevel::avx512, quib::avx512::vectorOperations);
}
#endif
