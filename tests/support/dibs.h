// Packed bitmaps for tests.
#pragma once

#include "quibtool/platform.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/random.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

using Bytes = std::vector<uint8_t>;

inline BITMAPINFOHEADER dibHeader(int32_t width, int32_t height, int32_t bitCount,
                                  uint32_t compression = 0, uint32_t clrUsed = 0)
{
    BITMAPINFOHEADER header{};
    header.biSize = 40;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = static_cast<WORD>(bitCount);
    header.biCompression = compression;
    header.biClrUsed = clrUsed;
    return header;
}

inline size_t dibPitch(const BITMAPINFOHEADER& header)
{
    size_t bytes = (static_cast<size_t>(header.biWidth) * header.biBitCount + 7) / 8;
    while (bytes % 4 != 0)
        ++bytes;
    return bytes;
}

// Where the pixels begin.
inline size_t dibStart(const BITMAPINFOHEADER& header)
{
    size_t entries = header.biClrUsed;
    if (entries == 0 && header.biBitCount <= 8)
        entries = size_t{1} << header.biBitCount;
    if (header.biBitCount >= 16 && header.biBitCount != 24 && header.biCompression == 3)
        entries += 3;
    return 40 + 4 * entries;
}

inline size_t dibRows(const BITMAPINFOHEADER& header)
{
    return static_cast<size_t>(header.biHeight < 0 ? -header.biHeight : header.biHeight);
}

// The header followed by these bytes.
inline Bytes dibWith(const BITMAPINFOHEADER& header, const Bytes& rest)
{
    Bytes dib(40);
    std::memcpy(dib.data(), &header, 40);
    dib.insert(dib.end(), rest.begin(), rest.end());
    return dib;
}

// All that the header speaks of, zeroed.
inline Bytes emptyDib(const BITMAPINFOHEADER& header)
{
    return dibWith(header, Bytes(dibStart(header) - 40 + dibPitch(header) * dibRows(header)));
}

inline Bytes randomDib(const BITMAPINFOHEADER& header, Random& random)
{
    Bytes dib = emptyDib(header);
    random.fill(dib.data() + 40, dib.size() - 40);
    return dib;
}

inline BITMAPINFOHEADER headerOf(const Bytes& dib)
{
    BITMAPINFOHEADER header;
    std::memcpy(&header, dib.data(), 40);
    return header;
}

inline void putHeader(Bytes& dib, const BITMAPINFOHEADER& header)
{
    std::memcpy(dib.data(), &header, 40);
}

inline void put32(Bytes& bytes, size_t offset, uint32_t value)
{
    std::memcpy(bytes.data() + offset, &value, 4);
}

inline uint32_t get32(const Bytes& bytes, size_t offset)
{
    uint32_t value;
    std::memcpy(&value, bytes.data() + offset, 4);
    return value;
}

inline void append32(Bytes& bytes, uint32_t value)
{
    for (int32_t shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<uint8_t>(value >> shift));
}

// A copy that ends at an inaccessible page.
class GuardedBytes
{
public:
    explicit GuardedBytes(const Bytes& bytes) : buffer(bytes.size())
    {
        std::memcpy(buffer.data(), bytes.data(), bytes.size());
    }
    uint8_t* data() const { return buffer.data(); }
    // Aligned if the size is a multiple of 4.
    BITMAPINFOHEADER* dib() const { return buffer.as<BITMAPINFOHEADER>(); }
    BITMAPINFOHEADER header() const { return headerOf(bytes()); }
    size_t size() const { return buffer.size(); }
    Bytes bytes() const { return buffer.contents(); }

private:
    GuardedBuffer buffer;
};

// A block of movable global memory with these bytes.
class GlobalDib
{
public:
    explicit GlobalDib(const Bytes& bytes)
        : handle(GlobalAlloc(GMEM_MOVEABLE, static_cast<SIZE_T>(bytes.size())))
    {
        std::memcpy(GlobalLock(handle), bytes.data(), bytes.size());
        GlobalUnlock(handle);
    }
    ~GlobalDib()
    {
        while (locks() > 0)
            GlobalUnlock(handle);
        GlobalFree(handle);
    }
    GlobalDib(const GlobalDib&) = delete;
    GlobalDib& operator=(const GlobalDib&) = delete;

    HGLOBAL get() const { return handle; }
    UINT locks() const { return GlobalFlags(handle) & GMEM_LOCKCOUNT; }
    Bytes bytes(size_t count) const
    {
        const uint8_t* start = static_cast<const uint8_t*>(GlobalLock(handle));
        const Bytes copy(start, start + count);
        GlobalUnlock(handle);
        return copy;
    }

private:
    HGLOBAL handle;
};
