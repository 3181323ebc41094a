#include "_Src/ipl.h"
#include "platform/file.h"
#include "quibtool/handle.h"
#include "quibtool/platform.h"

#include <cstdlib>
#include <cstring>

using namespace quib;

namespace
{

constexpr uint64_t headerBytes = sizeof(BITMAPINFOHEADER);

// What a header without biSizeImage leaves to be read. Sizes that are no
// picture's are refused later, by the record's maker.
uint64_t pictureBytes(const BITMAPINFOHEADER& header)
{
    if (header.biWidth < 1 || header.biHeight < 1)
        return 0;
    const uint64_t bits = uint64_t{header.biBitCount} * static_cast<uint64_t>(header.biWidth);
    const uint64_t rowBytes = ((bits + 31) >> 3) & ~uint64_t{3};
    // A row may take 2^44 bytes: a picture of such rows is too large in any case.
    return rowBytes > UINT32_MAX ? rowBytes : rowBytes * static_cast<uint64_t>(header.biHeight);
}

uint32_t tableEntries(const BITMAPINFOHEADER& header)
{
    if (header.biClrUsed)
        return header.biClrUsed;
    if (header.biCompression == BI_BITFIELDS)
        return 3;
    return header.biBitCount < 16 ? 1u << header.biBitCount : 0;
}

struct PackedDib {
    uint8_t* block; // to be freed; null if there is no memory for it
    size_t bytes;   // of them that the file had
};

// Completes the header and reads what follows it in the file.
PackedDib readPackedDib(const File& file, BITMAPINFOHEADER* header)
{
    const uint64_t imageBytes = header->biSizeImage ? header->biSizeImage : pictureBytes(*header);
    header->biClrUsed = tableEntries(*header);
    const uint64_t bytes = headerBytes + uint64_t{4} * header->biClrUsed + imageBytes;
    if (bytes > UINT32_MAX)
        return {};
    header->biSizeImage = static_cast<DWORD>(imageBytes);
    uint8_t* block = static_cast<uint8_t*>(std::calloc(1, static_cast<size_t>(bytes)));
    if (!block)
        return {};
    std::memcpy(block, header, headerBytes);
    const size_t held = file.read(block + headerBytes, static_cast<size_t>(bytes - headerBytes));
    return {block, static_cast<size_t>(headerBytes) + held};
}

} // namespace

QuibStatus QuibLoadBMP(const char* fileName, IplImage** out)
{
    if (!fileName || !out)
        return QUIB_BAD_ARGUMENT;
    const File file(fileName);
    BITMAPFILEHEADER fileHeader;
    if (!file.isOpen() || file.read(&fileHeader, sizeof fileHeader) < sizeof fileHeader ||
        fileHeader.bfType != 0x4D42)
        return QUIB_FAILED;
    // From here on a failed read and a lack of memory count as success.
    BITMAPINFOHEADER header;
    if (file.read(&header, sizeof header) < sizeof header)
        return QUIB_OK;
    const PackedDib dib = readPackedDib(file, &header);
    if (!dib.block)
        return QUIB_OK;
    const int32_t bitCount = header.biBitCount;
    // The block stays allocated on this way out.
    if (!ownIsHandleDepth(bitCount))
        return QUIB_FAILED;
    *out = ownCreateRecord(header.biWidth, header.biHeight, bitCount == 24 ? 32 : bitCount);
    if (*out)
        ownConvertFromDIB(dib.block, dib.bytes, *out);
    std::free(dib.block);
    return QUIB_OK;
}
