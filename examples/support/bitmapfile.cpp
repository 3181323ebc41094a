#include "examples/support/bitmapfile.h"

#include "quibtool/platform.h"

#include <cstring>
#include <filesystem>
#include <fstream>

namespace
{

constexpr size_t headersSize = sizeof(BITMAPFILEHEADER) + sizeof(BITMAPINFOHEADER);
constexpr int32_t largestSide = 16384;

std::string bitsAndCompression(const BITMAPINFOHEADER& header)
{
    return std::to_string(header.biBitCount) + " bits a pixel with compression " +
           std::to_string(header.biCompression);
}

bool isSupported(const BITMAPINFOHEADER& header)
{
    switch (header.biBitCount) {
    case 1:
    case 24:
    case 32:
        return header.biCompression == BI_RGB;
    case 8:
        return header.biCompression == BI_RGB || header.biCompression == BI_RLE8;
    default:
        return false;
    }
}

uint64_t pixelStart(const BITMAPINFOHEADER& header)
{
    uint64_t entries = header.biClrUsed;
    if (entries == 0 && header.biBitCount <= 8)
        entries = uint64_t{1} << header.biBitCount;
    return headersSize + entries * 4;
}

uint64_t pixelBytes(const BITMAPINFOHEADER& header)
{
    if (header.biCompression != BI_RGB)
        return header.biSizeImage;
    const uint64_t rowBits = static_cast<uint64_t>(header.biWidth) * header.biBitCount;
    return (rowBits + 31) / 32 * 4 * static_cast<uint64_t>(header.biHeight);
}

std::string findProblem(const std::vector<uint8_t>& bytes)
{
    if (bytes.size() < 2 || bytes[0] != 'B' || bytes[1] != 'M')
        return "is not a BMP file: it does not begin with the letters BM";
    if (bytes.size() < headersSize)
        return "is cut short: it ends inside its header, after " + std::to_string(bytes.size()) +
               " bytes";
    BITMAPINFOHEADER header{};
    std::memcpy(&header, bytes.data() + sizeof(BITMAPFILEHEADER), sizeof header);
    if (header.biSize != sizeof header)
        return "has a header of " + std::to_string(header.biSize) +
               " bytes; only the common one of 40 bytes is read";
    if (header.biWidth < 1 || header.biHeight == 0)
        return "says that its size is " + std::to_string(header.biWidth) + " x " +
               std::to_string(header.biHeight) + " pixels";
    if (header.biHeight < 0)
        return "is stored top row first (its height is negative); only bottom-up files are read";
    if (header.biWidth > largestSide || header.biHeight > largestSide)
        return "is " + std::to_string(header.biWidth) + " x " + std::to_string(header.biHeight) +
               " pixels; pictures are read of up to " + std::to_string(largestSide) + " on a side";
    if (!isSupported(header))
        return "has " + bitsAndCompression(header) +
               "; read are 1, 8 (also run-length coded), 24 and 32 bits";
    if (header.biBitCount > 8 && header.biClrUsed != 0)
        return "is a true-colour picture with a colour table, which is not read";
    BITMAPFILEHEADER fileHeader{};
    std::memcpy(&fileHeader, bytes.data(), sizeof fileHeader);
    if (fileHeader.bfOffBits != pixelStart(header))
        return "keeps its pixels at byte " + std::to_string(fileHeader.bfOffBits) +
               "; they are read only right after the header and the colour table, at byte " +
               std::to_string(pixelStart(header));
    const uint64_t needed = pixelStart(header) + pixelBytes(header);
    if (bytes.size() < needed)
        return "is cut short: its header asks for " + std::to_string(needed) +
               " bytes and it has " + std::to_string(bytes.size());
    return "";
}

} // namespace

std::vector<uint8_t> readBitmapFile(const std::string& file, std::string* problem)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) {
        *problem = file + ": there is no such file";
        return {};
    }
    std::ifstream in(file, std::ios::binary);
    std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
    if (!in) {
        *problem = file + ": it cannot be read";
        return {};
    }
    const std::string found = findProblem(bytes);
    if (found.empty())
        return bytes;
    *problem = file + " " + found;
    return {};
}

bool writeBitmapFile(const std::string& file, const void* packed, size_t bytes)
{
    BITMAPFILEHEADER header{};
    header.bfType = 0x4D42;
    header.bfSize = static_cast<DWORD>(sizeof header + bytes);
    header.bfOffBits = headersSize;
    std::ofstream out(file, std::ios::binary);
    out.write(reinterpret_cast<const char*>(&header), sizeof header);
    out.write(static_cast<const char*>(packed), static_cast<std::streamsize>(bytes));
    return static_cast<bool>(out);
}
