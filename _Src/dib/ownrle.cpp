#include "_Src/dib/ownrle.h"

#include "_Src/image/report.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr const char* fileName = "ownrle";

// In both forms: a count and a value, or 0 and one of these, or 0 and the
// length of an absolute run.
constexpr uint8_t endOfLine = 0;
constexpr uint8_t endOfBitmap = 1;
constexpr uint8_t delta = 2;
constexpr int64_t longestRun = 255;

struct Messages {
    const char* noMemory;
    const char* badPosition;
    const char* badWidth;
    const char* badHeight;
    const char* badDelta;
    const char* noMemoryToCompress;
};

constexpr Messages messages8{
    "Not enough memory to decompress BI_RLE8 DIB at DIB",
    "Incorrect format of BI_RLE8 DIB (mismatch biHeight or biWidth)",
    "Incorrect format of BI_RLE8 DIB (mismatch biWidth)",
    "Incorrect format of BI_RLE8 DIB (mismatch biHeight)",
    "Incorrect format of BI_RLE8 DIB (bad Delta command)",
    "Not enough memory to compress DIB at BI_RLE8 DIB",
};
constexpr Messages messages4{
    "Not enough memory to decompress BI_RLE4 DIB at DIB",
    "Incorrect format of BI_RLE4 DIB (mismatch biHeight or biWidth)",
    "Incorrect format of BI_RLE4 DIB (mismatch biWidth)",
    "Incorrect format of BI_RLE4 DIB (mismatch biHeight)",
    "Incorrect format of BI_RLE4 DIB (bad Delta command)",
    "Not enough memory to compress DIB at BI_RLE4 DIB",
};

bool isRle8(const BITMAPINFOHEADER& header)
{
    return header.biCompression == BI_RLE8;
}

const Messages& messagesOf(const BITMAPINFOHEADER& header)
{
    return isRle8(header) ? messages8 : messages4;
}

// The codec's own rule for where the table ends.
uint64_t streamStart(const BITMAPINFOHEADER& header)
{
    const uint64_t entries =
        header.biClrUsed ? header.biClrUsed : uint64_t{1} << (header.biBitCount & 63);
    return header.biSize + 4 * entries;
}

int64_t pitchOf(const BITMAPINFOHEADER& header)
{
    const int64_t width = header.biWidth;
    return isRle8(header) ? (width + 3) & ~3 : ((width & 1) + (width >> 1) + 3) & ~3;
}

// Null if the rows would not fit into a block of the aligned allocator.
uint8_t* allocateRows(const BITMAPINFOHEADER& header)
{
    const int64_t pitch = pitchOf(header);
    if (pitch <= 0 || header.biHeight <= 0 || pitch > INT32_MAX / header.biHeight)
        return nullptr;
    return static_cast<uint8_t*>(iplAlignedMalloc(static_cast<int32_t>(pitch * header.biHeight)));
}

uint8_t nibbleOf(const uint8_t* row, int64_t index)
{
    return static_cast<uint8_t>((index & 1) ? row[index >> 1] & 15 : row[index >> 1] >> 4);
}

} // namespace

// --- Decoder ---------------------------------------------------------------------------

namespace
{

struct Decoder {
    const OwnExtent& block;
    uint64_t position; // of the next byte of the stream
    bool nibbles;
    int64_t width;
    int64_t height;
    int64_t pitch;
    uint8_t* rows;
    int64_t column;
    int64_t row;
    int64_t clearedRows;
};

uint8_t nextByte(Decoder& decoder)
{
    const uint64_t position = decoder.position++;
    return position < decoder.block.bytes ? decoder.block.start[position] : 0;
}

// Clears the rows up to the present one. A block larger than its stream has
// content for costs nothing before the stream is refused.
void clearRows(Decoder& decoder)
{
    const int64_t end = std::min(decoder.row + 1, decoder.height);
    if (end <= decoder.clearedRows)
        return;
    std::memset(decoder.rows + decoder.clearedRows * decoder.pitch, 0,
                static_cast<size_t>((end - decoder.clearedRows) * decoder.pitch));
    decoder.clearedRows = end;
}

// Writes `value` at the column, unless that lies outside the bitmap.
void putPixel(Decoder& decoder, uint8_t value)
{
    const int64_t column = decoder.column++;
    if (decoder.row >= decoder.height || column >= decoder.width)
        return;
    uint8_t* row = decoder.rows + decoder.row * decoder.pitch;
    if (!decoder.nibbles) {
        row[column] = value;
        return;
    }
    uint8_t& pair = row[column >> 1];
    pair = static_cast<uint8_t>((column & 1) ? (pair & 0xF0) | value : (pair & 0x0F) | value << 4);
}

void putRun(Decoder& decoder, int32_t count, uint8_t value)
{
    const uint8_t values[2] = {decoder.nibbles ? static_cast<uint8_t>(value >> 4) : value,
                               decoder.nibbles ? static_cast<uint8_t>(value & 15) : value};
    for (int32_t i = 0; i < count; ++i)
        putPixel(decoder, values[i & 1]);
}

// A record ends on a 16-bit boundary of the stream.
void putAbsoluteRun(Decoder& decoder, int32_t count)
{
    uint8_t byte = 0;
    const int32_t bytes = decoder.nibbles ? (count + 1) / 2 : count;
    for (int32_t i = 0; i < count; ++i) {
        if (!decoder.nibbles || (i & 1) == 0)
            byte = nextByte(decoder);
        if (decoder.nibbles)
            putPixel(decoder, (i & 1) ? byte & 15 : byte >> 4);
        else
            putPixel(decoder, byte);
    }
    decoder.position += bytes & 1;
}

bool isOutside(const Decoder& decoder)
{
    return decoder.column > decoder.width || decoder.row > decoder.height;
}

// Null, or the message of a line that is not filled exactly.
const char* endLine(Decoder& decoder, const Messages& messages)
{
    if (decoder.column != decoder.width)
        return messages.badWidth;
    decoder.column = 0;
    ++decoder.row;
    clearRows(decoder);
    return nullptr;
}

const char* moveByDelta(Decoder& decoder, const Messages& messages)
{
    decoder.column += nextByte(decoder);
    decoder.row += nextByte(decoder);
    clearRows(decoder);
    return isOutside(decoder) ? messages.badDelta : nullptr;
}

// The last line needs no end-of-line command.
const char* endBitmap(const Decoder& decoder, const Messages& messages)
{
    const bool complete = decoder.row == decoder.height || decoder.row == decoder.height - 1;
    return complete ? nullptr : messages.badHeight;
}

// Null once the bitmap is complete, or the message of what is wrong with it. A
// stream that has run out reads as ends of lines, of which the second is
// refused.
const char* decode(Decoder& decoder, const Messages& messages)
{
    const char* failure = nullptr;
    clearRows(decoder);
    while (!failure) {
        if (isOutside(decoder))
            return messages.badPosition;
        const uint8_t count = nextByte(decoder);
        const uint8_t value = nextByte(decoder);
        if (count != 0)
            putRun(decoder, count, value);
        else if (value == endOfLine)
            failure = endLine(decoder, messages);
        else if (value == endOfBitmap)
            return endBitmap(decoder, messages);
        else if (value == delta)
            failure = moveByDelta(decoder, messages);
        else
            putAbsoluteRun(decoder, value);
    }
    return failure;
}

} // namespace

uint8_t* ownDecompressRLE(const OwnDib& dib)
{
    const IplCaller caller{"ownDecompressRLE", fileName};
    const BITMAPINFOHEADER& header = dib.header;
    const Messages& messages = messagesOf(header);
    uint8_t* rows = allocateRows(header);
    if (!rows) {
        ownReport(caller, IPL_StsNoMem, messages.noMemory);
        return nullptr;
    }
    Decoder decoder{dib.block,
                    streamStart(header),
                    !isRle8(header),
                    header.biWidth,
                    header.biHeight,
                    pitchOf(header),
                    rows,
                    0,
                    0,
                    0};
    if (const char* failure = decode(decoder, messages)) {
        ownReport(caller, IPL_StsBadArg, failure);
        iplAlignedFree(rows);
        return nullptr;
    }
    return rows;
}

// --- Encoder ---------------------------------------------------------------------------

namespace
{

struct Writer {
    uint8_t* bytes;
    int64_t used;
};

void put(Writer& writer, int64_t first, int64_t second)
{
    writer.bytes[writer.used++] = static_cast<uint8_t>(first);
    writer.bytes[writer.used++] = static_cast<uint8_t>(second);
}

bool threeEqual(const uint8_t* row, int64_t index, int64_t width)
{
    return index + 2 < width && row[index] == row[index + 1] && row[index] == row[index + 2];
}

// Both give the number of pixels written.
int64_t writeRun8(Writer& writer, const uint8_t* row, int64_t start, int64_t width)
{
    int64_t count = 2;
    while (count < longestRun && start + count < width && row[start + count] == row[start])
        ++count;
    put(writer, count, row[start]);
    return count;
}

int64_t writeAbsoluteRun8(Writer& writer, const uint8_t* row, int64_t start, int64_t width)
{
    int64_t count = 3;
    while (count < longestRun && start + count < width && !threeEqual(row, start + count, width))
        ++count;
    put(writer, 0, count);
    std::memcpy(writer.bytes + writer.used, row + start, static_cast<size_t>(count));
    writer.used += count;
    if (count & 1)
        writer.bytes[writer.used++] = 0;
    return count;
}

void compressRow8(Writer& writer, const uint8_t* row, int64_t width)
{
    int64_t i = 0;
    while (i < width - 3) {
        if (row[i] == row[i + 1]) {
            i += writeRun8(writer, row, i, width);
        } else if (row[i + 1] == row[i + 2]) {
            put(writer, 1, row[i++]);
        } else if (row[i + 2] == row[i + 3]) {
            put(writer, 1, row[i++]);
            put(writer, 1, row[i++]);
        } else {
            i += writeAbsoluteRun8(writer, row, i, width);
        }
    }
    while (i < width)
        put(writer, 1, row[i++]);
    put(writer, 0, endOfLine);
}

// A run alternates between two values, so that any two pixels begin one; it
// pays once the next two repeat them.
bool pairRepeats(const uint8_t* row, int64_t index)
{
    return nibbleOf(row, index) == nibbleOf(row, index + 2) &&
           nibbleOf(row, index + 1) == nibbleOf(row, index + 3);
}

int32_t pairAt(const uint8_t* row, int64_t index)
{
    return nibbleOf(row, index) << 4 | nibbleOf(row, index + 1);
}

int64_t writeRun4(Writer& writer, const uint8_t* row, int64_t start, int64_t width)
{
    int64_t count = 4;
    while (count < longestRun && start + count < width &&
           nibbleOf(row, start + count) == nibbleOf(row, start + count - 2))
        ++count;
    put(writer, count, pairAt(row, start));
    return count;
}

int64_t writeAbsoluteRun4(Writer& writer, const uint8_t* row, int64_t start, int64_t width)
{
    int64_t count = 3;
    while (count + 2 <= longestRun && start + count + 1 < width &&
           nibbleOf(row, start + count) != nibbleOf(row, start + count + 1))
        count += 2;
    put(writer, 0, count);
    for (int64_t i = 0; i < count; i += 2)
        writer.bytes[writer.used++] = static_cast<uint8_t>(
            i + 1 < count ? pairAt(row, start + i) : nibbleOf(row, start + i) << 4);
    if (((count + 1) / 2) & 1)
        writer.bytes[writer.used++] = 0;
    return count;
}

void compressRow4(Writer& writer, const uint8_t* row, int64_t width)
{
    int64_t i = 0;
    while (i < width - 5) {
        if (pairRepeats(row, i)) {
            i += writeRun4(writer, row, i, width);
        } else if (pairRepeats(row, i + 1)) {
            put(writer, 1, nibbleOf(row, i++) << 4);
        } else if (pairRepeats(row, i + 2)) {
            put(writer, 1, nibbleOf(row, i++) << 4);
            put(writer, 1, nibbleOf(row, i++) << 4);
        } else {
            i += writeAbsoluteRun4(writer, row, i, width);
        }
    }
    for (; i + 1 < width; i += 2)
        put(writer, 2, pairAt(row, i));
    if (i < width)
        put(writer, 1, nibbleOf(row, i) << 4);
    put(writer, 0, endOfLine);
}

// Stops as soon as the output is no smaller than the plain rows.
void compressRows(Writer& writer, const OwnDib& dib, int64_t plainBytes)
{
    const uint8_t* row = dib.block.start + streamStart(dib.header);
    const auto compressRow = isRle8(dib.header) ? compressRow8 : compressRow4;
    for (int32_t y = 0; y < dib.header.biHeight && writer.used < plainBytes; ++y) {
        compressRow(writer, row, dib.header.biWidth);
        row += pitchOf(dib.header);
    }
    put(writer, 0, endOfBitmap);
}

} // namespace

int32_t ownCompressRLE(OwnDib* dib)
{
    BITMAPINFOHEADER& header = dib->header;
    const uint64_t start = streamStart(header);
    const int64_t plainBytes = pitchOf(header) * header.biHeight;
    // The row that passes the plain size is written out: two bytes a pixel and
    // an end of line at most, and the end of the bitmap.
    const uint64_t room =
        static_cast<uint64_t>(plainBytes) + 2 * static_cast<uint64_t>(header.biWidth) + 4;
    Writer writer{nullptr, 0};
    if (plainBytes > 0 && header.biHeight > 0 && room <= INT32_MAX)
        writer.bytes = static_cast<uint8_t*>(iplAlignedMalloc(static_cast<int32_t>(room)));
    if (!writer.bytes) {
        ownReport({"ownCompressRLE", fileName}, IPL_StsNoMem,
                  messagesOf(header).noMemoryToCompress);
        return 0;
    }
    // Rows that the block does not hold cannot be compressed in place.
    const bool held = start + static_cast<uint64_t>(plainBytes) <= dib->block.bytes;
    if (held)
        compressRows(writer, *dib, plainBytes);
    if (held && writer.used < plainBytes) {
        header.biSizeImage = static_cast<DWORD>(writer.used);
        ownWriteExtent(dib->block, start, writer.bytes, static_cast<size_t>(writer.used));
    } else {
        header.biCompression = BI_RGB;
    }
    ownStoreHeader(*dib);
    iplAlignedFree(writer.bytes);
    return 1;
}
