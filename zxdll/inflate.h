// Decompression of zlib streams (RFC 1950) of deflated data (RFC 1951).
#pragma once

#include <cstddef>
#include <cstdint>

namespace zx
{

// No stream of some bytes stands for more than this many times as many.
constexpr uint64_t largestInflation = 1032;

// Whether the `bytes` bytes begin with a whole and sound stream, its checksum
// included, of exactly `outBytes` bytes, which are then at `out`. Otherwise what
// is there is undefined; nothing outside is ever touched.
bool inflateZlib(const uint8_t* stream, size_t bytes, uint8_t* out, size_t outBytes);

} // namespace zx
