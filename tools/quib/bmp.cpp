// BMP files: read by the library, which believes their headers, so these are looked at
// first; written here, and 8-bit grays read too.
#include "tools/quib/formats.h"
#include "tools/quib/names.h"

#include <cstring>
#include <vector>

namespace
{

constexpr size_t headersSize = 54;

struct Header {
    uint32_t pixelStart;
    uint32_t size;
    int32_t width;
    int32_t height;
    uint16_t planes;
    uint16_t bitCount;
    uint32_t compression;
    uint32_t imageSize;
    uint32_t colours;
};

uint32_t wordAt(const uint8_t* bytes, size_t count)
{
    uint32_t word = 0;
    for (size_t i = 0; i < count; ++i)
        word |= static_cast<uint32_t>(bytes[i]) << (8 * i);
    return word;
}

void putWord(uint32_t word, size_t count, uint8_t* bytes)
{
    for (size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<uint8_t>(word >> (8 * i));
}

Header parse(const uint8_t (&bytes)[headersSize])
{
    Header header{};
    header.pixelStart = wordAt(bytes + 10, 4);
    header.size = wordAt(bytes + 14, 4);
    header.width = static_cast<int32_t>(wordAt(bytes + 18, 4));
    header.height = static_cast<int32_t>(wordAt(bytes + 22, 4));
    header.planes = static_cast<uint16_t>(wordAt(bytes + 26, 2));
    header.bitCount = static_cast<uint16_t>(wordAt(bytes + 28, 2));
    header.compression = wordAt(bytes + 30, 4);
    header.imageSize = wordAt(bytes + 34, 4);
    header.colours = wordAt(bytes + 46, 4);
    return header;
}

uint64_t tableBytes(const Header& header)
{
    uint64_t entries = header.colours;
    if (entries == 0 && header.bitCount <= 8)
        entries = uint64_t{1} << header.bitCount;
    if (entries == 0 && header.compression == 3)
        entries = 3;
    return entries * 4;
}

uint64_t pixelBytes(const Header& header)
{
    if (header.compression == 1)
        return header.imageSize;
    const uint64_t rowBits = static_cast<uint64_t>(header.width) * header.bitCount;
    return (rowBits + 31) / 32 * 4 * static_cast<uint64_t>(header.height);
}

Problem checkFormat(const Header& header)
{
    if (header.size != 40)
        return "the BMP header has " + std::to_string(header.size) +
               " bytes; only the common one of 40 is read";
    if (header.height < 0)
        return "the BMP file is stored top row first; only those stored bottom row first are read";
    if (header.planes != 1)
        return "the BMP header says " + std::to_string(header.planes) + " planes, expected 1";
    const bool isPlain =
        header.compression == 0 && (header.bitCount == 1 || header.bitCount == 8 ||
                                    header.bitCount == 24 || header.bitCount == 32);
    const bool isRunLength = header.compression == 1 && header.bitCount == 8;
    const bool hasMasks = header.compression == 3 && header.bitCount == 32 && header.colours == 0;
    if (!isPlain && !isRunLength && !hasMasks)
        return "a BMP file of " + std::to_string(header.bitCount) + " bits with compression " +
               std::to_string(header.compression) +
               "; read are 1, 8 (also run-length coded), 24 and 32 bits";
    const bool hasTable = header.bitCount <= 8 || header.compression == 3;
    const uint32_t mostColours = header.bitCount <= 8 ? 1u << header.bitCount : 0x100;
    if (header.colours > mostColours || (!hasTable && header.bitCount == 32 && header.colours))
        return "the BMP header says " + std::to_string(header.colours) +
               " colours, expected at most " + std::to_string(mostColours);
    return {};
}

Problem checkHeader(const Header& header, uint64_t fileBytes)
{
    Problem problem = checkFormat(header);
    // 24 bits become 32.
    if (problem.empty())
        problem = checkSize(header.width, header.height, header.bitCount >= 24 ? 32 : 8);
    if (!problem.empty())
        return problem;
    const uint64_t start = headersSize + tableBytes(header);
    if (header.pixelStart != start)
        return "the BMP file keeps its pixels at byte " + std::to_string(header.pixelStart) +
               "; they are read right behind the colour table, at byte " + std::to_string(start);
    const uint64_t needed = start + pixelBytes(header);
    const bool understates = header.imageSize != 0 && header.imageSize < pixelBytes(header);
    if (understates)
        return "the BMP header says " + std::to_string(header.imageSize) +
               " bytes of pixels, expected " + std::to_string(pixelBytes(header));
    if (header.imageSize > fileBytes || needed > fileBytes)
        return "the BMP file is cut short: its header asks for " + std::to_string(needed) +
               " bytes and it has " + std::to_string(fileBytes);
    if (header.compression == 1 && header.imageSize == 0)
        return "the BMP header does not say how many bytes its run-length coded pixels take";
    return {};
}

Problem checkFile(const std::string& name, Header* header)
{
    File file(openFile(name, "rb"));
    if (!file)
        return "the file cannot be opened: " + systemReason();
    uint8_t bytes[headersSize] = {};
    if (std::fread(bytes, 1, sizeof bytes, file.get()) != sizeof bytes)
        return "the BMP file is cut short: it ends inside its header";
    *header = parse(bytes);
    std::fseek(file.get(), 0, SEEK_END);
    const long size = std::ftell(file.get());
    return size < 0 ? "the file cannot be read: " + systemReason()
                    : checkHeader(*header, static_cast<uint64_t>(size));
}

// Whether entry i of the colour table is the gray i. The library would darken such grays by
// one, as it does with any gray that it weighs of three colours.
bool hasGrayRamp(std::FILE* file)
{
    uint8_t table[1024];
    std::fseek(file, headersSize, SEEK_SET);
    if (std::fread(table, 1, sizeof table, file) != sizeof table)
        return false;
    for (size_t i = 0; i < 1024; ++i)
        if (i % 4 != 3 && table[i] != i / 4)
            return false;
    return true;
}

Problem loadGrays(const Header& header, std::FILE* file, Picture* picture)
{
    Problem problem = makePicture(header.width, header.height, 8, 0, picture);
    if (!problem.empty())
        return problem;
    const size_t rowBytes = (static_cast<size_t>(header.width) + 3) / 4 * 4;
    for (int32_t y = header.height - 1; y >= 0; --y)
        if (std::fread(rowOf(picture->get(), y), 1, rowBytes, file) != rowBytes)
            return "the file cannot be read: " + systemReason();
    return {};
}

bool hasNoAlpha(const Picture& picture)
{
    for (int32_t y = 0; y < picture->height; ++y) {
        const uint8_t* row = rowOf(picture.get(), y);
        for (int32_t x = 0; x < picture->width; ++x)
            if (row[4 * static_cast<ptrdiff_t>(x) + 3] != 0)
                return false;
    }
    return true;
}

// Headers and colour table of what is written.
std::vector<uint8_t> headersFor(int32_t width, int32_t height, size_t bitCount, size_t rowBytes)
{
    const size_t colours = bitCount <= 8 ? size_t{1} << bitCount : 0;
    std::vector<uint8_t> bytes(headersSize + 4 * colours);
    const auto pixels = static_cast<uint32_t>(rowBytes * static_cast<size_t>(height));
    const auto start = static_cast<uint32_t>(bytes.size());
    uint8_t* at = bytes.data();
    std::memcpy(at, "BM", 2);
    putWord(start + pixels, 4, at + 2);
    putWord(start, 4, at + 10);
    putWord(40, 4, at + 14);
    putWord(static_cast<uint32_t>(width), 4, at + 18);
    putWord(static_cast<uint32_t>(height), 4, at + 22);
    putWord(1, 2, at + 26);
    putWord(static_cast<uint32_t>(bitCount), 2, at + 28);
    putWord(pixels, 4, at + 34);
    putWord(2835, 4, at + 38); // 72 pixels an inch
    putWord(2835, 4, at + 42);
    for (size_t i = 0; i < colours; ++i)
        std::memset(at + headersSize + 4 * i, static_cast<int>(i * 255 / (colours - 1)), 3);
    return bytes;
}

} // namespace

Problem loadBmp(const std::string& file, Picture* picture)
{
    Header header{};
    Problem problem = checkFile(file, &header);
    if (!problem.empty())
        return problem;
    const bool isPlainGray = header.bitCount == 8 && header.compression == 0 &&
                             (header.colours == 0 || header.colours == 256);
    File opened(isPlainGray ? openFile(file, "rb") : nullptr);
    if (opened && hasGrayRamp(opened.get()))
        return loadGrays(header, opened.get(), picture);
    LibraryName name;
    problem = name.find(file);
    if (!problem.empty())
        return problem;
    IplImage* handle = nullptr;
    const QuibStatus status = QuibLoadBMP(name.get(), &handle);
    problem = takeResult("QuibLoadBMP", status, handle, picture);
    // A file without alphas gives a picture that is transparent throughout.
    if (!problem.empty() || depthOf(*picture) != 32 || !hasNoAlpha(*picture))
        return problem;
    return explainStatus("QuibSetAlphaS", QuibSetAlphaS(picture->get(), nullptr, 255));
}

Problem saveBmp(const Picture& picture, std::FILE* file)
{
    const int depth = depthOf(picture);
    const size_t bitCount = depth == 32 && isOpaque(picture) ? 24 : static_cast<size_t>(depth);
    const auto width = static_cast<size_t>(picture->width);
    const size_t rowBytes = (width * bitCount + 31) / 32 * 4;
    const std::vector<uint8_t> headers =
        headersFor(picture->width, picture->height, bitCount, rowBytes);
    std::fwrite(headers.data(), 1, headers.size(), file);
    std::vector<uint8_t> packed(rowBytes);
    for (int32_t y = picture->height - 1; y >= 0; --y) {
        const uint8_t* row = rowOf(picture.get(), y);
        if (depth == 32 && bitCount == 24)
            for (size_t x = 0; x < width; ++x)
                std::memcpy(&packed[3 * x], row + 4 * x, 3);
        else
            std::memcpy(packed.data(), row, (width * bitCount + 7) / 8);
        if (std::fwrite(packed.data(), 1, rowBytes, file) != rowBytes)
            return "the file cannot be written: " + systemReason();
    }
    return {};
}
