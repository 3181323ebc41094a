// Bytes of a file in memory, and numbers taken off their front, the high byte
// first.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zx
{

struct Bytes {
    const uint8_t* next;
    size_t left;
};

// Whether there are so many; the rest of a length that is not there is nothing.
inline bool skip(Bytes& bytes, uint64_t count)
{
    if (count > bytes.left) {
        bytes.left = 0;
        return false;
    }
    bytes.next += static_cast<size_t>(count);
    bytes.left -= static_cast<size_t>(count);
    return true;
}

// The first `count` bytes by themselves.
inline bool split(Bytes& bytes, uint64_t count, Bytes* part)
{
    *part = {bytes.next, static_cast<size_t>(count)};
    return skip(bytes, count);
}

// A number of `width` bytes, 8 at most.
inline uint64_t bigEndian(const uint8_t* bytes, size_t width)
{
    uint64_t value = 0;
    for (size_t i = 0; i < width; ++i)
        value = value << 8 | bytes[i];
    return value;
}

inline bool readNumber(Bytes& bytes, size_t width, uint64_t* value)
{
    const uint8_t* start = bytes.next;
    if (!skip(bytes, width))
        return false;
    *value = bigEndian(start, width);
    return true;
}

inline bool readInt32(Bytes& bytes, int32_t* value)
{
    uint64_t bits = 0;
    if (!readNumber(bytes, 4, &bits))
        return false;
    *value = static_cast<int32_t>(static_cast<uint32_t>(bits));
    return true;
}

} // namespace zx
