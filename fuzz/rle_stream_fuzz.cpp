// A run-length stream of any content; what can be decoded must come back from
// the encoder as it was. The first four bytes choose the coding and the size.
#include "fuzz/fuzz.h"

#include "_Src/dib/ownrle.h"

namespace
{

constexpr size_t choiceBytes = 4;
constexpr size_t tableBytes = 4;

BITMAPINFOHEADER chooseHeader(FuzzChoices choices)
{
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biPlanes = 1;
    header.biClrUsed = 1;
    const bool rle8 = choices.choose(2) == 0;
    header.biBitCount = rle8 ? 8 : 4;
    header.biCompression = rle8 ? BI_RLE8 : BI_RLE4;
    // Most are small; a few are as large as sizes can be.
    const uint32_t scale = choices.choose(16);
    header.biWidth = static_cast<LONG>(choices.choose(255) + 1);
    header.biHeight = static_cast<LONG>(choices.choose(64));
    if (scale == 1)
        header.biWidth *= 0x800000;
    if (scale == 2)
        header.biHeight = static_cast<LONG>(static_cast<uint32_t>(header.biHeight) << 26);
    if (scale == 3)
        header.biWidth = -header.biWidth;
    return header;
}

// A block of the header, a table and these bytes.
OwnDib makeDib(const BITMAPINFOHEADER& header, const uint8_t* bytes, size_t count)
{
    const size_t start = sizeof header + tableBytes;
    uint8_t* block = static_cast<uint8_t*>(std::calloc(1, start + count));
    std::memcpy(block, &header, sizeof header);
    if (count > 0)
        std::memcpy(block + start, bytes, count);
    return ownOpenDib(block, start + count);
}

// The padding of decoded rows may differ; pixels may not.
bool samePixels(const BITMAPINFOHEADER& header, const uint8_t* a, const uint8_t* b)
{
    const size_t pitch = static_cast<size_t>(ownDibRowPitch(header));
    const size_t bytes = static_cast<size_t>(header.biWidth) * header.biBitCount / 8;
    const bool halfByte = header.biBitCount == 4 && (header.biWidth & 1);
    for (int32_t y = 0; y < header.biHeight; ++y, a += pitch, b += pitch)
        if (std::memcmp(a, b, bytes) != 0 || (halfByte && ((a[bytes] ^ b[bytes]) & 0xF0)))
            return false;
    return true;
}

void encodeAndCompare(const BITMAPINFOHEADER& header, const uint8_t* rows)
{
    const size_t bytes =
        static_cast<size_t>(ownDibRowPitch(header)) * static_cast<size_t>(header.biHeight);
    OwnDib plain = makeDib(header, rows, bytes);
    if (ownCompressRLE(&plain) != 1)
        std::abort();
    if (plain.header.biCompression != BI_RGB) {
        if (plain.header.biSizeImage >= bytes)
            std::abort();
        plain.block.bytes = sizeof header + tableBytes + plain.header.biSizeImage;
        uint8_t* again = ownDecompressRLE(plain);
        if (!again || !samePixels(header, rows, again))
            std::abort();
        iplAlignedFree(again);
    }
    std::free(plain.block.start);
}

} // namespace

void runFuzzInput(const uint8_t* data, size_t size)
{
    if (size < choiceBytes)
        return;
    const BITMAPINFOHEADER header = chooseHeader(FuzzChoices(data));
    const OwnDib dib = makeDib(header, data + choiceBytes, size - choiceBytes);
    if (uint8_t* rows = ownDecompressRLE(dib)) {
        if (!isLegalButHuge(header.biWidth, header.biHeight))
            encodeAndCompare(header, rows);
        iplAlignedFree(rows);
    }
    std::free(dib.block.start);
}
