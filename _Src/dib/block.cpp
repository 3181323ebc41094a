#include "_Src/dib/block.h"

#include <algorithm>
#include <cstring>

// --- Extents ---------------------------------------------------------------------

size_t ownHeldBytes(const OwnExtent& extent, uint64_t offset, size_t count)
{
    if (offset >= extent.bytes)
        return 0;
    return std::min(count, extent.bytes - static_cast<size_t>(offset));
}

void ownReadExtent(const OwnExtent& extent, uint64_t offset, void* bytes, size_t count)
{
    const size_t held = ownHeldBytes(extent, offset, count);
    if (held > 0)
        std::memcpy(bytes, extent.start + offset, held);
    std::memset(static_cast<uint8_t*>(bytes) + held, 0, count - held);
}

void ownWriteExtent(const OwnExtent& extent, uint64_t offset, const void* bytes, size_t count)
{
    const size_t held = ownHeldBytes(extent, offset, count);
    if (held > 0)
        std::memcpy(extent.start + offset, bytes, held);
}

// --- Headers ---------------------------------------------------------------------

OwnDib ownOpenDib(const void* block, size_t bytes)
{
    OwnDib dib{{}, {static_cast<uint8_t*>(const_cast<void*>(block)), bytes}};
    ownReadExtent(dib.block, 0, &dib.header, sizeof dib.header);
    return dib;
}

void ownStoreHeader(const OwnDib& dib)
{
    ownWriteExtent(dib.block, 0, &dib.header, sizeof dib.header);
}

uint32_t ownPaletteSize(const BITMAPINFOHEADER& header)
{
    switch (header.biBitCount) {
    case 1:
    case 4:
    case 8:
        return header.biClrUsed ? header.biClrUsed : 1u << header.biBitCount;
    case 16:
    case 32:
        return header.biClrUsed + (header.biCompression == BI_BITFIELDS ? 3 : 0);
    default:
        return header.biClrUsed;
    }
}

uint64_t ownPixelStart(const BITMAPINFOHEADER& header)
{
    return header.biSize + uint64_t{4} * ownPaletteSize(header);
}

int64_t ownDibRowPitch(const BITMAPINFOHEADER& header)
{
    const int64_t bits = int64_t{header.biWidth} * header.biBitCount;
    return (bits + 31) / 32 * 4;
}

int64_t ownDibHeight(const BITMAPINFOHEADER& header)
{
    const int64_t height = header.biHeight;
    return height < 0 ? -height : height;
}

bool ownIsCompressed(const BITMAPINFOHEADER& header)
{
    return header.biCompression == BI_RLE8 || header.biCompression == BI_RLE4;
}

size_t ownImpliedSize(const BITMAPINFOHEADER& header)
{
    if (ownIsCompressed(header))
        return ownUnknownSize;
    const uint64_t start = std::min<uint64_t>(ownPixelStart(header), ownUnknownSize);
    const uint64_t pitch = header.biWidth > 0 ? static_cast<uint64_t>(ownDibRowPitch(header)) : 0;
    const uint64_t rows = static_cast<uint64_t>(ownDibHeight(header));
    if (pitch > 0 && rows > (ownUnknownSize - start) / pitch)
        return ownUnknownSize;
    return static_cast<size_t>(start + pitch * rows);
}
