// The bytes of an input, taken one after the other as choices and numbers.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

class FuzzInput
{
public:
    FuzzInput(const uint8_t* bytes, size_t count) : next(bytes), end(bytes + count) {}

    // 0 past the end: an input is as good as one with zeros behind it.
    uint8_t byte() { return next < end ? *next++ : 0; }
    uint32_t choose(uint32_t count) { return byte() % count; }
    int32_t below(int32_t count) { return byte() % count; }
    // Once in so many times; not in an input that has ended.
    bool rarely(uint32_t count) { return choose(count) == count - 1; }

    int32_t word()
    {
        uint32_t value = 0;
        for (int32_t i = 0; i < 4; ++i)
            value = value << 8 | byte();
        return static_cast<int32_t>(value);
    }
    // Any double.
    double anyNumber()
    {
        const uint64_t high = static_cast<uint32_t>(word());
        const uint64_t bits = high << 32 | static_cast<uint32_t>(word());
        double number;
        std::memcpy(&number, &bits, sizeof number);
        return number;
    }
    // One of some size, in steps of so much.
    double number(double step)
    {
        const int32_t high = static_cast<int8_t>(byte());
        return (high * 256 + byte()) * step;
    }
    // Mostly from 1 to `most`, now and then what nothing has.
    int32_t size(int32_t most)
    {
        constexpr int32_t odd[] = {0, -1, INT32_MAX, INT32_MIN, 300, 65536};
        constexpr int32_t usual = 32 - static_cast<int32_t>(std::size(odd));
        const int32_t choice = below(32);
        return choice < usual ? choice % most + 1 : odd[choice - usual];
    }

    // What is left.
    const uint8_t* rest() const { return next; }
    size_t restCount() const { return static_cast<size_t>(end - next); }

private:
    const uint8_t* next;
    const uint8_t* end;
};

// Writes bytes of a kind that the input chooses: of one value, of few values, or of
// any, which all follow from a number of its own.
inline void fillFrom(FuzzInput& input, void* block, size_t count)
{
    const uint32_t kind = input.choose(4);
    const uint8_t value = input.byte();
    uint8_t* bytes = static_cast<uint8_t*>(block);
    if (kind == 3) {
        std::memset(block, value, count);
        return;
    }
    // Marsaglia's generator of 32 bits, by shifts.
    uint32_t state = value + 1u;
    for (size_t i = 0; i < count; ++i) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        bytes[i] = static_cast<uint8_t>(kind == 2 ? state >> 24 & 0xC1 : state >> 24);
    }
}
