// The rows of one channel of a layer, out of any of the codings.
#pragma once

#include "zxdll/bytes.h"

namespace zx
{

// Of a channel's elements.
struct Area {
    int64_t left;
    int64_t top;
    int64_t width;
    int64_t height;
};

struct ChannelFormat {
    uint32_t elementBytes; // 1, 2 or 4
    uint32_t countBytes;   // of a run-length row's length: 2 or 4
};

// All runs of a row are moved as if they had the longest one's length: so many
// bytes behind a channel's data can be read.
constexpr size_t longestRun = 128;

struct ChannelRows {
    ChannelFormat format;
    uint32_t coding;
    size_t rowBytes;
    int64_t rowsLeft;
    Bytes counts;   // of run-length coded rows
    Bytes rows;     // what follows them, or the rows themselves
    uint8_t* copy;  // a row's bytes, or of a deflated channel all rows, then one more
    uint8_t* spare; // in the copy: one row
};

// Whether the data begins with a coding and has room for these rows in it; no
// memory is taken. `area` is not empty.
bool channelIsPlausible(const Bytes& data, const Area& area, const ChannelFormat& format);

// For a plausible channel. False, with nothing to close, if a deflated stream is
// damaged or memory runs out.
bool openChannel(ChannelRows* rows, const Bytes& data, const Area& area,
                 const ChannelFormat& format);
void closeChannel(ChannelRows* rows);

// The next row's elements as the file has them, good until the next call; null
// if its coding is damaged.
const uint8_t* nextRow(ChannelRows* rows);

// Elements brought down to 8 bits: 16 by their high byte, floats from 0 to 1
// linearly, clamped, to the nearest.
void narrow(uint8_t* to, const uint8_t* from, uint32_t elementBytes, size_t count);

} // namespace zx
