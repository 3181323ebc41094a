// Seeded random data: the same on every target.
#pragma once

#include <cstddef>
#include <cstdint>

class Random
{
public:
    explicit Random(uint64_t seed) : state(seed * 0x9E3779B97F4A7C15u + 1) {}

    // Knuth's MMIX generator; the high bits are the good ones.
    uint32_t next()
    {
        state = state * 6364136223846793005u + 1442695040888963407u;
        return static_cast<uint32_t>(state >> 32);
    }
    // From low to high, both inclusive.
    int32_t between(int32_t low, int32_t high)
    {
        const uint64_t span = static_cast<uint64_t>(static_cast<int64_t>(high) - low + 1);
        return static_cast<int32_t>(low + static_cast<int64_t>(next() % span));
    }
    bool coin() { return next() >> 31; }
    void fill(void* data, size_t bytes)
    {
        uint8_t* out = static_cast<uint8_t*>(data);
        for (size_t i = 0; i < bytes; ++i)
            out[i] = static_cast<uint8_t>(next() >> 24);
    }

private:
    uint64_t state;
};
