#include "_Src/dib/ownrle.h"

#include "_Src/ipl.h"
#include "tests/support/dibs.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace
{

constexpr const char* rleFile = "ownrle";

struct AlignedFree {
    void operator()(uint8_t* block) const { iplAlignedFree(block); }
};
using Rows = std::unique_ptr<uint8_t, AlignedFree>;

BITMAPINFOHEADER rleHeader(int32_t width, int32_t height, int32_t bitCount)
{
    return dibHeader(width, height, bitCount, bitCount == 8 ? 1 : 2, 2);
}

Bytes rleDib(int32_t width, int32_t height, int32_t bitCount, const Bytes& stream)
{
    Bytes dib = dibWith(rleHeader(width, height, bitCount), Bytes(8));
    dib.insert(dib.end(), stream.begin(), stream.end());
    return dib;
}

// The decoded rows, padding included; empty after a report. The stream ends at
// an inaccessible page.
Bytes decode(const Bytes& dib)
{
    const GuardedBytes block(dib);
    const Rows rows(ownDecompressRLE(ownOpenDib(block.data(), block.size())));
    if (!rows)
        return {};
    const BITMAPINFOHEADER header = headerOf(dib);
    return Bytes(rows.get(), rows.get() + dibPitch(header) * dibRows(header));
}

Bytes decode8(int32_t width, int32_t height, const Bytes& stream)
{
    return decode(rleDib(width, height, 8, stream));
}

Bytes decode4(int32_t width, int32_t height, const Bytes& stream)
{
    return decode(rleDib(width, height, 4, stream));
}

// Reports of the decoder with the same stream in both depths.
void expectRefused(int32_t bitCount, int32_t width, int32_t height, const Bytes& stream,
                   const std::string& what)
{
    const std::string form = bitCount == 8 ? "BI_RLE8" : "BI_RLE4";
    EXPECT_REPORT(decode(rleDib(width, height, bitCount, stream)), -5, "ownDecompressRLE",
                  "Incorrect format of " + form + " DIB (" + what + ")", rleFile);
    const ReportsReturn returning;
    EXPECT_TRUE(decode(rleDib(width, height, bitCount, stream)).empty());
    EXPECT_EQ(iplGetStatus(), -5);
}

// The stream that plain rows become, or nothing if they stay plain.
Bytes encode(const BITMAPINFOHEADER& header, const Bytes& rows)
{
    Bytes dib = dibWith(header, Bytes(8));
    dib.insert(dib.end(), rows.begin(), rows.end());
    const GuardedBytes block(dib);
    OwnDib open = ownOpenDib(block.data(), block.size());
    EXPECT_EQ(ownCompressRLE(&open), 1);
    const Bytes result = block.bytes();
    if (block.header().biCompression == 0) {
        put32(dib, offsetof(BITMAPINFOHEADER, biCompression), 0);
        EXPECT_EQ(result, dib) << "rows that stay plain change nothing but biCompression";
        return {};
    }
    const auto end = result.begin() + 48 + static_cast<ptrdiff_t>(block.header().biSizeImage);
    put32(dib, offsetof(BITMAPINFOHEADER, biSizeImage), block.header().biSizeImage);
    EXPECT_EQ(Bytes(result.begin(), result.begin() + 48), Bytes(dib.begin(), dib.begin() + 48));
    EXPECT_EQ(Bytes(end, result.end()), Bytes(dib.begin() + (end - result.begin()), dib.end()));
    return Bytes(result.begin() + 48, end);
}

// Rows padded with 0xEE.
Bytes padded(const BITMAPINFOHEADER& header, const std::vector<Bytes>& rows)
{
    Bytes all;
    for (const Bytes& row : rows) {
        all.insert(all.end(), row.begin(), row.end());
        all.resize(all.size() + dibPitch(header) - row.size(), 0xEE);
    }
    return all;
}

int32_t pixelOfStream(const Bytes& rows, const BITMAPINFOHEADER& header, int32_t x, size_t y)
{
    const uint8_t* row = rows.data() + y * dibPitch(header);
    if (header.biBitCount == 8)
        return row[x];
    return x % 2 == 0 ? row[x / 2] / 16 : row[x / 2] % 16;
}

// Rows of repeats and noise, as codecs meet them.
Bytes randomRows(const BITMAPINFOHEADER& header, Random& random)
{
    Bytes rows(dibPitch(header) * dibRows(header));
    size_t i = 0;
    while (i < rows.size()) {
        const uint8_t value = static_cast<uint8_t>(random.between(0, 255));
        const int32_t length = random.between(1, random.coin() ? 4 : 300);
        const bool noise = random.coin();
        for (int32_t k = 0; k < length && i < rows.size(); ++k)
            rows[i++] = noise ? static_cast<uint8_t>(random.between(0, 255)) : value;
    }
    return rows;
}

} // namespace

// --- Decoder ---------------------------------------------------------------------------

TEST(OwnDecompressRLE, WritesRunsAndAbsoluteRuns)
{
    EXPECT_EQ(decode8(6, 2, {3, 7, 0, 3, 1, 2, 3, 0, 0, 0, 6, 9, 0, 0, 0, 1}),
              (Bytes{7, 7, 7, 1, 2, 3, 0, 0, 9, 9, 9, 9, 9, 9, 0, 0}));
}

TEST(OwnDecompressRLE, Writes4BitRunsFromTheHighNibble)
{
    // A run that starts at an odd column begins with the high nibble too.
    EXPECT_EQ(decode4(8, 1, {3, 0x12, 5, 0x34, 0, 0, 0, 1}), (Bytes{0x12, 0x13, 0x43, 0x43}));
    EXPECT_EQ(decode4(9, 1, {0, 5, 0x12, 0x34, 0x50, 0, 4, 0x67, 0, 0, 0, 1}),
              (Bytes{0x12, 0x34, 0x56, 0x76, 0x70, 0, 0, 0}));
}

TEST(OwnDecompressRLE, EndsAbsoluteRunsOnA16BitBoundary)
{
    for (int32_t count = 3; count <= 12; ++count) {
        Bytes stream8{0, static_cast<uint8_t>(count)};
        for (int32_t i = 0; i < count; ++i)
            stream8.push_back(static_cast<uint8_t>(i + 1));
        Bytes stream4{0, static_cast<uint8_t>(count)};
        for (int32_t i = 0; i < count; i += 2)
            stream4.push_back(static_cast<uint8_t>((i + 1) * 16 + (i + 1 < count ? i + 2 : 0)));
        for (Bytes* stream : {&stream8, &stream4}) {
            if (stream->size() % 2 != 0)
                stream->push_back(0xEE);
            stream->insert(stream->end(), {0, 0, 0, 1});
        }
        const Bytes rows8 = decode8(count, 1, stream8);
        const Bytes rows4 = decode4(count, 1, stream4);
        ASSERT_FALSE(rows8.empty());
        ASSERT_FALSE(rows4.empty());
        for (int32_t i = 0; i < count; ++i) {
            EXPECT_EQ(pixelOfStream(rows8, rleHeader(count, 1, 8), i, 0), i + 1);
            EXPECT_EQ(pixelOfStream(rows4, rleHeader(count, 1, 4), i, 0), i + 1);
        }
    }
}

TEST(OwnDecompressRLE, TakesTheEndMarkerWithAndWithoutALastEndOfLine)
{
    EXPECT_EQ(decode8(2, 2, {2, 1, 0, 0, 2, 2, 0, 1}), (Bytes{1, 1, 0, 0, 2, 2, 0, 0}));
    EXPECT_EQ(decode8(2, 2, {2, 1, 0, 0, 2, 2, 0, 0, 0, 1}), (Bytes{1, 1, 0, 0, 2, 2, 0, 0}));
    // Nothing of the last line need be there.
    EXPECT_EQ(decode8(2, 2, {2, 1, 0, 0, 0, 1}), (Bytes{1, 1, 0, 0, 0, 0, 0, 0}));
    expectRefused(8, 2, 3, {2, 1, 0, 0, 0, 1}, "mismatch biHeight");
    expectRefused(4, 2, 3, {2, 1, 0, 0, 0, 1}, "mismatch biHeight");
}

TEST(OwnDecompressRLE, DropsWhatARowPastTheLastHolds)
{
    EXPECT_EQ(decode8(2, 1, {2, 1, 0, 0, 2, 9, 0, 1}), (Bytes{1, 1, 0, 0}));
    expectRefused(8, 2, 1, {2, 1, 0, 0, 2, 9, 0, 0, 0, 1}, "mismatch biHeight or biWidth");
}

TEST(OwnDecompressRLE, SkipsByDelta)
{
    // Past two pixels, then one row down and one pixel on.
    EXPECT_EQ(decode8(4, 2, {1, 5, 0, 2, 1, 1, 2, 6, 0, 0, 0, 1}), (Bytes{5, 0, 0, 0, 0, 0, 6, 6}));
    EXPECT_EQ(decode4(4, 2, {1, 0x50, 0, 2, 1, 1, 2, 0x67, 0, 0, 0, 1}),
              (Bytes{0x50, 0, 0, 0, 0, 0x67, 0, 0}));
}

TEST(OwnDecompressRLE, TakesADeltaToTheEdgeAndRefusesOnePast)
{
    EXPECT_EQ(decode8(4, 2, {0, 2, 4, 0, 0, 0, 4, 1, 0, 1}), (Bytes{0, 0, 0, 0, 1, 1, 1, 1}));
    expectRefused(8, 4, 2, {0, 2, 5, 0, 0, 0, 4, 1, 0, 1}, "bad Delta command");
    expectRefused(4, 4, 2, {0, 2, 5, 0, 0, 0, 4, 1, 0, 1}, "bad Delta command");
    EXPECT_EQ(decode8(4, 2, {0, 2, 0, 2, 0, 1}), Bytes(8));
    expectRefused(8, 4, 2, {0, 2, 0, 3, 0, 1}, "bad Delta command");
}

TEST(OwnDecompressRLE, RefusesLinesThatAreNotFilledExactly)
{
    expectRefused(8, 4, 1, {3, 1, 0, 0, 0, 1}, "mismatch biWidth");
    expectRefused(4, 4, 1, {3, 1, 0, 0, 0, 1}, "mismatch biWidth");
    // A line too long is seen at the next command, an end of line too.
    expectRefused(8, 4, 1, {5, 1, 0, 0, 0, 1}, "mismatch biHeight or biWidth");
    expectRefused(4, 4, 1, {5, 1, 0, 0, 0, 1}, "mismatch biHeight or biWidth");
    expectRefused(8, 4, 1, {0, 5, 1, 2, 3, 4, 5, 0, 0, 0, 0, 1}, "mismatch biHeight or biWidth");
}

TEST(OwnDecompressRLE, ReadsZerosPastTheBlock)
{
    // Zeros are ends of lines: a full line passes one, the next is refused.
    expectRefused(8, 2, 2, {2, 1}, "mismatch biWidth");
    expectRefused(8, 2, 2, {}, "mismatch biWidth");
    expectRefused(4, 2, 2, {2}, "mismatch biWidth");
    // An absolute run whose bytes are missing is of zeros.
    expectRefused(8, 5, 1, {0, 5, 1, 2}, "mismatch biWidth");
    // The table itself may be what is missing.
    Bytes dib = rleDib(2, 2, 8, {});
    dib.resize(43);
    const ReportsReturn returning;
    EXPECT_TRUE(decode(dib).empty());
}

TEST(OwnDecompressRLE, ReportsSizesWithoutABlock)
{
    const struct {
        int32_t width;
        int32_t height;
    } sizes[] = {
        {0, 5}, {5, 0}, {5, -5}, {-5, -5}, {-9, 1}, {65536, 65536}, {INT32_MAX, INT32_MAX}};
    for (const auto& size : sizes) {
        EXPECT_REPORT(decode8(size.width, size.height, {0, 1}), -4, "ownDecompressRLE",
                      "Not enough memory to decompress BI_RLE8 DIB at DIB", rleFile);
        EXPECT_REPORT(decode4(size.width, size.height, {0, 1}), -4, "ownDecompressRLE",
                      "Not enough memory to decompress BI_RLE4 DIB at DIB", rleFile);
    }
}

TEST(OwnDecompressRLE, GivesNullWithoutABlock)
{
    const RecordedReports reports;
    EXPECT_TRUE(decode8(65536, 65536, {0, 1}).empty());
    EXPECT_EQ(reports.all(), (std::vector<Report>{
                                 {-4, "ownDecompressRLE",
                                  "Not enough memory to decompress BI_RLE8 DIB at DIB", rleFile}}));
}

TEST(OwnDecompressRLE, FindsTheStreamBehindTheDeclaredTable)
{
    // 16 entries without biClrUsed, and the 256 of 8 bits.
    for (const int32_t bitCount : {4, 8}) {
        BITMAPINFOHEADER header = rleHeader(2, 1, bitCount);
        header.biClrUsed = 0;
        Bytes dib = dibWith(header, Bytes(size_t{4} << bitCount));
        dib.insert(dib.end(), {2, 0x77, 0, 1});
        EXPECT_EQ(decode(dib)[0], 0x77);
    }
}

namespace
{

// A legal stream, a command at a time, and the picture that it means.
class RandomStream
{
public:
    RandomStream(const BITMAPINFOHEADER& shape, Random& source)
        : header(shape), random(source),
          picture(static_cast<size_t>(shape.biWidth) * dibRows(shape))
    {
        while (row < header.biHeight)
            fillLine();
        bytes.insert(bytes.end(), {0, 1});
    }
    Bytes bytes;
    int32_t at(int32_t x, size_t y) const
    {
        return picture[y * static_cast<size_t>(header.biWidth) + static_cast<size_t>(x)];
    }

private:
    void fillLine()
    {
        while (column < header.biWidth) {
            const int32_t room = header.biWidth - column;
            switch (random.between(0, 2)) {
            case 0:
                run(random.between(1, std::min(room, 255)));
                break;
            case 1:
                if (room >= 3)
                    absoluteRun(random.between(3, std::min(room, 255)));
                break;
            default:
                skip(random.between(0, std::min(room, 255)), random.between(0, 4) == 0);
            }
        }
        if (row == header.biHeight - 1 && random.coin()) {
            ++row; // without an end of line
            return;
        }
        if (row < header.biHeight)
            bytes.insert(bytes.end(), {0, 0});
        column = 0;
        ++row;
    }
    void put(int32_t value)
    {
        picture[static_cast<size_t>(row) * static_cast<size_t>(header.biWidth) +
                static_cast<size_t>(column++)] = value;
    }
    void run(int32_t count)
    {
        const int32_t value = random.between(0, 255);
        bytes.push_back(static_cast<uint8_t>(count));
        bytes.push_back(static_cast<uint8_t>(value));
        for (int32_t i = 0; i < count; ++i)
            put(header.biBitCount == 8 ? value : i % 2 == 0 ? value / 16 : value % 16);
    }
    void absoluteRun(int32_t count)
    {
        bytes.push_back(0);
        bytes.push_back(static_cast<uint8_t>(count));
        for (int32_t i = 0; i < count; ++i) {
            const int32_t value = random.between(0, header.biBitCount == 8 ? 255 : 15);
            put(value);
            if (header.biBitCount == 8)
                bytes.push_back(static_cast<uint8_t>(value));
            else if (i % 2 == 0)
                bytes.push_back(static_cast<uint8_t>(value * 16));
            else
                bytes.back() = static_cast<uint8_t>(bytes.back() + value);
        }
        if (bytes.size() % 2 != 0)
            bytes.push_back(0xEE);
    }
    void skip(int32_t dx, bool down)
    {
        const int32_t dy = down && row < header.biHeight - 1 ? 1 : 0;
        bytes.insert(bytes.end(), {0, 2, static_cast<uint8_t>(dx), static_cast<uint8_t>(dy)});
        column += dx;
        row += dy;
    }

    const BITMAPINFOHEADER header;
    Random& random;
    std::vector<int32_t> picture;
    int32_t column = 0;
    int32_t row = 0;
};

} // namespace

TEST(OwnDecompressRLE, GivesThePictureThatRandomStreamsMean)
{
    Random random(2);
    for (int32_t round = 0; round < 2000; ++round) {
        const int32_t bitCount = random.coin() ? 8 : 4;
        const BITMAPINFOHEADER header =
            rleHeader(random.between(1, random.coin() ? 20 : 700), random.between(1, 6), bitCount);
        const RandomStream stream(header, random);
        const Bytes rows = decode(rleDib(header.biWidth, header.biHeight, bitCount, stream.bytes));
        ASSERT_FALSE(rows.empty());
        for (size_t y = 0; y < dibRows(header); ++y)
            for (int32_t x = 0; x < header.biWidth; ++x)
                ASSERT_EQ(pixelOfStream(rows, header, x, y), stream.at(x, y));
    }
}

// Random streams, of which most are refused somewhere. Whatever they say, no
// byte outside the block is touched: its pages say so, and the sanitizers.
TEST(OwnDecompressRLE, StaysInsideForRandomStreams)
{
    Random random(3);
    int32_t decoded = 0;
    for (int32_t round = 0; round < 20000; ++round) {
        const int32_t bitCount = random.coin() ? 8 : 4;
        const int32_t width = random.between(1, 20);
        const int32_t height = random.between(1, 6);
        Bytes stream;
        const int32_t commands = random.between(0, 30);
        for (int32_t i = 0; i < commands; ++i) {
            // Mostly what a writer would write.
            switch (random.between(0, 4)) {
            case 0:
                stream.insert(stream.end(), {0, 0});
                break;
            case 1:
                stream.insert(stream.end(), {static_cast<uint8_t>(width), 5, 0, 0});
                break;
            default:
                stream.push_back(static_cast<uint8_t>(random.between(0, 3)));
                stream.push_back(static_cast<uint8_t>(random.between(0, 8)));
            }
        }
        stream.insert(stream.end(), {0, 1});
        const ReportsReturn returning;
        decoded += !decode(rleDib(width, height, bitCount, stream)).empty();
    }
    EXPECT_GT(decoded, 100);
}

// --- Encoder ---------------------------------------------------------------------------

TEST(OwnCompressRLE, WritesRunsOfEqualPixels)
{
    const BITMAPINFOHEADER header = rleHeader(300, 1, 8);
    EXPECT_EQ(encode(header, Bytes(300, 4)), (Bytes{255, 4, 45, 4, 0, 0, 0, 1}));
}

TEST(OwnCompressRLE, WritesSinglePixelsBeforeARun)
{
    const BITMAPINFOHEADER header = rleHeader(16, 1, 8);
    // The second and third are equal.
    EXPECT_EQ(encode(header, {1, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2}),
              (Bytes{1, 1, 15, 2, 0, 0, 0, 1}));
    // The third and fourth are.
    EXPECT_EQ(encode(header, {1, 3, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2}),
              (Bytes{1, 1, 1, 3, 14, 2, 0, 0, 0, 1}));
}

TEST(OwnCompressRLE, ExtendsAnAbsoluteRunToThreeEqualPixels)
{
    const BITMAPINFOHEADER header = rleHeader(20, 1, 8);
    // A pair does not end it.
    EXPECT_EQ(encode(header, {1, 2, 3, 4, 5, 5, 6, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7}),
              (Bytes{0, 7, 1, 2, 3, 4, 5, 5, 6, 0, 13, 7, 0, 0, 0, 1}));
}

TEST(OwnCompressRLE, WritesTheLastPixelsAsRunsOfOne)
{
    const BITMAPINFOHEADER header = rleHeader(23, 2, 8);
    // The run leaves three pixels, which are not looked at.
    Bytes row(20, 9);
    row.insert(row.end(), {8, 8, 8});
    EXPECT_EQ(encode(header, padded(header, {row, row})),
              (Bytes{20, 9, 1, 8, 1, 8, 1, 8, 0, 0, 20, 9, 1, 8, 1, 8, 1, 8, 0, 0, 0, 1}));
}

TEST(OwnCompressRLE, ExtendsAnAbsoluteRunToTheRowsEnd)
{
    const BITMAPINFOHEADER header = rleHeader(8, 6, 8);
    const Bytes noise{1, 2, 3, 4, 5, 6, 7, 8};
    const Bytes flat(8, 3);
    EXPECT_EQ(encode(header, padded(header, {noise, flat, flat, flat, flat, flat})),
              (Bytes{0, 8, 1, 2, 3, 4, 5, 6, 7, 8, 0, 0, 8, 3, 0, 0, 8,
                     3, 0, 0, 8, 3, 0, 0, 8, 3, 0, 0, 8, 3, 0, 0, 0, 1}));
}

TEST(OwnCompressRLE, CutsAbsoluteRunsAt255)
{
    const BITMAPINFOHEADER header = rleHeader(258, 2, 8);
    Bytes noise;
    for (int32_t i = 0; i < 258; ++i)
        noise.push_back(static_cast<uint8_t>(i));
    const Bytes stream = encode(header, padded(header, {noise, Bytes(258, 1)}));
    ASSERT_FALSE(stream.empty());
    EXPECT_EQ(stream[1], 255);
    EXPECT_EQ(stream[2 + 255], 0) << "an odd length is followed by a byte of 0";
    EXPECT_EQ(Bytes(stream.begin() + 258, stream.begin() + 264), (Bytes{1, 255, 1, 0, 1, 1}));
}

TEST(OwnCompressRLE, Writes4BitRunsOfTwoAlternatingPixels)
{
    const BITMAPINFOHEADER header = rleHeader(32, 1, 4);
    EXPECT_EQ(encode(header, Bytes(16, 0x5A)), (Bytes{32, 0x5A, 0, 0, 0, 1}));
    EXPECT_EQ(encode(header, Bytes(16, 0x77)), (Bytes{32, 0x77, 0, 0, 0, 1}));
    // 255 at most: the last pixel of that run is a high nibble.
    const BITMAPINFOHEADER wide = rleHeader(300, 1, 4);
    EXPECT_EQ(encode(wide, padded(wide, {Bytes(150, 0x5A)})),
              (Bytes{255, 0x5A, 45, 0xA5, 0, 0, 0, 1}));
}

TEST(OwnCompressRLE, Writes4BitAbsoluteRunsPaddedTo16Bits)
{
    const BITMAPINFOHEADER header = rleHeader(40, 1, 4);
    // 1 2 3 4 5, then a pair ends the absolute run.
    Bytes row{0x12, 0x34, 0x56, 0x67};
    row.resize(20, 0x77);
    const Bytes stream = encode(header, row);
    ASSERT_GE(stream.size(), 8u);
    EXPECT_EQ(Bytes(stream.begin(), stream.begin() + 6), (Bytes{0, 5, 0x12, 0x34, 0x50, 0}));
}

TEST(OwnCompressRLE, Writes4BitLeftoversAsRunsOfTwoAndOne)
{
    const BITMAPINFOHEADER header = rleHeader(41, 1, 4);
    Bytes row(18, 0x33);
    row.insert(row.end(), {0x12, 0x45, 0x60});
    EXPECT_EQ(encode(header, padded(header, {row})),
              (Bytes{36, 0x33, 2, 0x12, 2, 0x45, 1, 0x60, 0, 0, 0, 1}));
}

TEST(OwnCompressRLE, KeepsRowsThatDoNotShrink)
{
    const BITMAPINFOHEADER header = rleHeader(8, 1, 8);
    EXPECT_TRUE(encode(header, {1, 2, 3, 4, 5, 6, 7, 8}).empty());
    // 2 + 2 + 2 bytes are fewer than 8; 4 + 2 + 2 are not.
    EXPECT_FALSE(encode(header, Bytes(8, 1)).empty());
    EXPECT_TRUE(encode(header, {1, 1, 1, 1, 2, 2, 2, 2}).empty());
}

TEST(OwnCompressRLE, HasRoomForTheWorstRows)
{
    // One pixel a row takes six bytes of output in place of four.
    for (const int32_t bitCount : {4, 8}) {
        const BITMAPINFOHEADER header = rleHeader(1, 500, bitCount);
        EXPECT_TRUE(encode(header, Bytes(2000, 0x3C)).empty());
    }
}

TEST(OwnCompressRLE, LeavesABlockThatIsTooShortForItsRows)
{
    const BITMAPINFOHEADER header = rleHeader(100, 2, 8);
    const GuardedBytes block(dibWith(header, Bytes(8 + 199)));
    OwnDib dib = ownOpenDib(block.data(), block.size());
    EXPECT_EQ(ownCompressRLE(&dib), 1);
    EXPECT_EQ(block.header().biCompression, 0u);
}

TEST(OwnCompressRLE, ReportsSizesWithoutABuffer)
{
    for (const int32_t bitCount : {4, 8}) {
        const Bytes bytes = dibWith(rleHeader(INT32_MAX / 2, 2, bitCount), Bytes(8));
        const std::string form = bitCount == 8 ? "BI_RLE8" : "BI_RLE4";
        OwnDib dib = ownOpenDib(bytes.data(), bytes.size());
        if (bitCount == 4)
            dib.header.biHeight = 8;
        EXPECT_REPORT(ownCompressRLE(&dib), -4, "ownCompressRLE",
                      "Not enough memory to compress DIB at " + form + " DIB", rleFile);
        const ReportsReturn returning;
        EXPECT_EQ(ownCompressRLE(&dib), 0);
    }
}

TEST(OwnCompressRLE, ComesBackWithTheSamePixels)
{
    Random random(5);
    int32_t compressed = 0;
    for (int32_t round = 0; round < 2000; ++round) {
        const int32_t bitCount = random.coin() ? 8 : 4;
        const BITMAPINFOHEADER header =
            rleHeader(random.between(1, random.coin() ? 12 : 700), random.between(1, 5), bitCount);
        const Bytes rows = randomRows(header, random);
        const Bytes stream = encode(header, rows);
        if (stream.empty())
            continue;
        ++compressed;
        ASSERT_LT(stream.size(), rows.size());
        const Bytes back = decode(rleDib(header.biWidth, header.biHeight, bitCount, stream));
        ASSERT_EQ(back.size(), rows.size());
        for (size_t y = 0; y < dibRows(header); ++y)
            for (int32_t x = 0; x < header.biWidth; ++x)
                ASSERT_EQ(pixelOfStream(back, header, x, y), pixelOfStream(rows, header, x, y));
    }
    EXPECT_GT(compressed, 300);
}
