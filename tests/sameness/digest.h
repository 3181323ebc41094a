// Digests of results: FNV-1a of 64 bits, the same on every target.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

class Digest
{
public:
    uint64_t get() const { return state; }

    void bytes(const void* data, size_t count)
    {
        const uint8_t* at = static_cast<const uint8_t*>(data);
        for (size_t i = 0; i < count; ++i)
            byte(at[i]);
    }
    // The lowest byte first.
    void number(uint64_t value)
    {
        for (int shift = 0; shift < 64; shift += 8)
            byte(static_cast<uint8_t>(value >> shift));
    }
    void integer(int64_t value) { number(static_cast<uint64_t>(value)); }
    // Processors differ in which bits they make of what is not a number.
    void real(double value)
    {
        uint64_t bits = 0x7FF8000000000000u;
        if (value == value)
            std::memcpy(&bits, &value, sizeof bits);
        number(bits);
    }
    void text(const std::string& words)
    {
        number(words.size());
        bytes(words.data(), words.size());
    }

private:
    void byte(uint8_t value) { state = (state ^ value) * 0x100000001B3u; }

    uint64_t state = 0xCBF29CE484222325u;
};
