#include "zxdll/channel.h"

#include "zxdll/inflate.h"

#include <cstdlib>
#include <cstring>

namespace zx
{
namespace
{

enum Coding : uint32_t { raw = 0, runLength = 1, deflated = 2, deflatedDifferences = 3 };

uint64_t rowBytesOf(const Area& area, const ChannelFormat& format)
{
    return static_cast<uint64_t>(area.width) * format.elementBytes;
}

// Every row's length is there, and is enough: two bytes stand for 128 at most.
bool runLengthsArePlausible(Bytes data, uint64_t rowBytes, uint64_t height, uint32_t countBytes)
{
    Bytes counts;
    if (height > data.left || !split(data, height * countBytes, &counts))
        return false;
    const uint64_t least = (rowBytes + longestRun - 1) / longestRun * 2;
    for (; counts.left > 0; skip(counts, countBytes)) {
        const uint64_t count = bigEndian(counts.next, countBytes);
        if (count < least || !skip(data, count))
            return false;
    }
    return true;
}

// --- Rows of runs ------------------------------------------------------------------

void copyRun(uint8_t* to, const uint8_t* from)
{
    std::memcpy(to, from, longestRun);
}

void fillRun(uint8_t* to, uint8_t value)
{
    std::memset(to, value, longestRun);
}

// A run's length byte n, taken as signed: 0 to 127 stand for n + 1 bytes that
// follow, -1 to -127 for 1 - n times the one that follows, -128 for nothing.
// False unless the runs make up the row. `to` has room for a run behind it.
bool decodeRuns(uint8_t* to, size_t count, const uint8_t* from, size_t bytes)
{
    uint8_t* const end = to + count;
    const uint8_t* const last = from + bytes;
    while (to < end && from < last) {
        const uint32_t n = *from++;
        if (n == 128)
            continue;
        const size_t run = n < 128 ? n + 1 : 257 - n;
        const size_t taken = n < 128 ? run : 1;
        if (run > static_cast<size_t>(end - to) || taken > static_cast<size_t>(last - from))
            return false;
        // Lengths follow no rule that a processor could foresee.
        if (n < 128)
            copyRun(to, from);
        else
            fillRun(to, *from);
        to += run;
        from += taken;
    }
    return to == end;
}

const uint8_t* nextRunLengthRow(ChannelRows* rows)
{
    Bytes runs;
    uint64_t count = 0;
    if (!readNumber(rows->counts, rows->format.countBytes, &count) ||
        !split(rows->rows, count, &runs) ||
        !decodeRuns(rows->copy, rows->rowBytes, runs.next, runs.left))
        return nullptr;
    return rows->copy;
}

// --- Rows of differences ------------------------------------------------------------

void addUpBytes(uint8_t* to, const uint8_t* from, size_t count)
{
    uint8_t sum = 0;
    for (size_t i = 0; i < count; ++i) {
        sum = static_cast<uint8_t>(sum + from[i]);
        to[i] = sum;
    }
}

void addUpWords(uint8_t* to, const uint8_t* from, size_t bytes)
{
    uint32_t sum = 0;
    for (size_t i = 0; i < bytes; i += 2) {
        sum += static_cast<uint32_t>(from[i] << 8 | from[i + 1]);
        to[i] = static_cast<uint8_t>(sum >> 8);
        to[i + 1] = static_cast<uint8_t>(sum);
    }
}

// The differences are of bytes, all first bytes of the elements before all
// second ones and so on.
void addUpFloats(uint8_t* to, const uint8_t* from, size_t bytes)
{
    uint8_t sum = 0;
    const size_t count = bytes / 4;
    for (size_t plane = 0; plane < 4; ++plane) {
        for (size_t i = 0; i < count; ++i) {
            sum = static_cast<uint8_t>(sum + *from++);
            to[i * 4 + plane] = sum;
        }
    }
}

const uint8_t* addUp(ChannelRows* rows, const uint8_t* row)
{
    switch (rows->format.elementBytes) {
    case 1:
        addUpBytes(rows->spare, row, rows->rowBytes);
        break;
    case 2:
        addUpWords(rows->spare, row, rows->rowBytes);
        break;
    default:
        addUpFloats(rows->spare, row, rows->rowBytes);
        break;
    }
    return rows->spare;
}

bool inflateChannel(ChannelRows* rows, Bytes stream)
{
    const size_t all = rows->rowBytes * static_cast<size_t>(rows->rowsLeft);
    rows->copy = static_cast<uint8_t*>(std::malloc(all + rows->rowBytes));
    if (!rows->copy)
        return false;
    rows->spare = rows->copy + all;
    rows->rows = {rows->copy, all};
    if (inflateZlib(stream.next, stream.left, rows->copy, all))
        return true;
    closeChannel(rows);
    return false;
}

uint8_t narrowFloat(const uint8_t* bytes)
{
    const uint32_t bits = static_cast<uint32_t>(bigEndian(bytes, 4));
    float value;
    std::memcpy(&value, &bits, 4);
    if (!(value > 0.0f)) // what is no number too
        return 0;
    // Exact in double.
    return value < 1.0f ? static_cast<uint8_t>(static_cast<double>(value) * 255.0 + 0.5) : 255;
}

} // namespace

bool channelIsPlausible(const Bytes& data, const Area& area, const ChannelFormat& format)
{
    Bytes rows = data;
    uint64_t coding = 0;
    if (!readNumber(rows, 2, &coding))
        return false;
    const uint64_t rowBytes = rowBytesOf(area, format);
    const uint64_t height = static_cast<uint64_t>(area.height);
    if (rowBytes > PTRDIFF_MAX / 2)
        return false;
    switch (coding) {
    case raw:
        return height <= rows.left / rowBytes;
    case runLength:
        return runLengthsArePlausible(rows, rowBytes, height, format.countBytes);
    case deflated:
    case deflatedDifferences:
        return height < PTRDIFF_MAX / rowBytes && height <= rows.left * largestInflation / rowBytes;
    default:
        return false;
    }
}

bool openChannel(ChannelRows* rows, const Bytes& data, const Area& area,
                 const ChannelFormat& format)
{
    *rows = {format,  0,      static_cast<size_t>(rowBytesOf(area, format)), area.height, {}, data,
             nullptr, nullptr};
    uint64_t coding = 0;
    readNumber(rows->rows, 2, &coding);
    rows->coding = static_cast<uint32_t>(coding);
    switch (coding) {
    case runLength:
        split(rows->rows, static_cast<uint64_t>(area.height) * format.countBytes, &rows->counts);
        rows->copy = static_cast<uint8_t*>(std::malloc(rows->rowBytes + longestRun));
        return rows->copy != nullptr;
    case deflated:
    case deflatedDifferences:
        return inflateChannel(rows, rows->rows);
    default:
        return true;
    }
}

void closeChannel(ChannelRows* rows)
{
    std::free(rows->copy);
    rows->copy = nullptr;
}

const uint8_t* nextRow(ChannelRows* rows)
{
    if (rows->rowsLeft-- <= 0)
        return nullptr;
    if (rows->coding == runLength)
        return nextRunLengthRow(rows);
    Bytes row;
    if (!split(rows->rows, rows->rowBytes, &row))
        return nullptr;
    return rows->coding == deflatedDifferences ? addUp(rows, row.next) : row.next;
}

void narrow(uint8_t* to, const uint8_t* from, uint32_t elementBytes, size_t count)
{
    switch (elementBytes) {
    case 1:
        std::memcpy(to, from, count);
        break;
    case 2:
        for (size_t i = 0; i < count; ++i)
            to[i] = from[i * 2];
        break;
    default:
        for (size_t i = 0; i < count; ++i)
            to[i] = narrowFloat(from + i * 4);
        break;
    }
}

} // namespace zx
