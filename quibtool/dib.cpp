#include "_Src/dib/block.h"
#include "_Src/ipl.h"
#include "kernels/kernels.h"
#include "quibtool/handle.h"
#include "quibtool/platform.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

using namespace quib;

namespace
{

constexpr size_t headerBytes = sizeof(BITMAPINFOHEADER);

// Start is null if the block cannot be locked.
OwnExtent lockDib(void* dibHandle)
{
    OwnExtent dib{static_cast<uint8_t*>(GlobalLock(dibHandle)), 0};
    if (dib.start)
        dib.bytes = GlobalSize(dibHandle);
    return dib;
}

BITMAPINFOHEADER headerOf(const OwnExtent& dib)
{
    return ownOpenDib(dib.start, dib.bytes).header;
}

QuibStatus checkHeader(const BITMAPINFOHEADER& header)
{
    if (header.biWidth < 1)
        return QUIB_DIB_BAD_WIDTH;
    if (header.biHeight < 1)
        return QUIB_DIB_BAD_HEIGHT;
    return ownIsHandleDepth(header.biBitCount) ? QUIB_OK : QUIB_DIB_BAD_DEPTH;
}

// The bytes of a 24-bit row, padded to 4.
uint64_t rowBytes24(int32_t width)
{
    return (uint64_t{3} * static_cast<uint64_t>(width) + 3) / 4 * 4;
}

// --- Rows of 24-bit and 32-bit bitmaps, turned top row first -------------------

// Bottom row first, `step` bytes apart.
struct DibRows {
    OwnExtent extent;
    uint64_t step;
    size_t pixelBytes; // 3 or 4
};

// One row of opaque pixels; those that the block does not hold are black. The
// next row comes above it.
void importRow(uint8_t* to, const DibRows& from, uint64_t offset, size_t width)
{
    const quib::ConvertKernels& convert = quib::kernels().convert;
    const auto importPixels = from.pixelBytes == 3 ? convert.opaqueFrom24 : convert.opaqueFrom32;
    const size_t held = ownHeldBytes(from.extent, offset, width * from.pixelBytes);
    const size_t whole = held / from.pixelBytes;
    const quib::RowsAhead ahead{-static_cast<ptrdiff_t>(width * 4),
                                static_cast<ptrdiff_t>(from.step)};
    if (whole > 0)
        importPixels(to, from.extent.start + offset, whole, ahead);
    if (whole == width)
        return;
    uint8_t last[4] = {};
    if (const size_t rest = held % from.pixelBytes)
        std::memcpy(last, from.extent.start + offset + held - rest, rest);
    importPixels(to + whole * 4, last, 1, ahead);
    quib::kernels().block.fill32(to + whole * 4 + 4, 0xFF000000u, width - whole - 1);
}

// A new 32-bit handle in *out.
QuibStatus importRows(const DibRows& from, int32_t width, int32_t height, IplImage** out)
{
    if (const QuibStatus status = QuibCreate0(width, height, 32, out))
        return status;
    const IplImage* handle = *out;
    if (!handle->imageData || ownBlockBytes(handle) == 0)
        return QUIB_OK;
    uint8_t* data = reinterpret_cast<uint8_t*>(handle->imageData);
    for (int32_t y = 0; y < height; ++y) {
        const size_t fromTop = static_cast<size_t>(height - 1 - y);
        importRow(data + fromTop * static_cast<size_t>(handle->widthStep), from,
                  from.step * static_cast<uint64_t>(y), static_cast<size_t>(width));
    }
    return QUIB_OK;
}

// The rows follow the header at once, whatever else it says.
DibRows rowsOf(const OwnExtent& dib, const BITMAPINFOHEADER& header)
{
    const bool is24 = header.biBitCount == 24;
    const uint64_t width = static_cast<uint64_t>(header.biWidth);
    return {{dib.start + headerBytes, dib.bytes - std::min(dib.bytes, headerBytes)},
            is24 ? rowBytes24(header.biWidth) : width * 4,
            is24 ? size_t{3} : size_t{4}};
}

// --- The other bitmaps -----------------------------------------------------------

// A new handle in *out, by the engine, which goes by the whole header.
QuibStatus importByEngine(const OwnExtent& dib, const BITMAPINFOHEADER& header, int32_t bitDepth,
                          IplImage** out)
{
    if (const QuibStatus status = QuibCreateHeader(header.biWidth, header.biHeight, bitDepth, out))
        return status;
    iplAllocateImage(*out, 1, 0);
    if (const int32_t status = iplCheckImage(*out))
        return status;
    ownConvertFromDIB(dib.start, dib.bytes, *out);
    if (bitDepth == 32)
        QuibSetAlphaS(*out, nullptr, 255);
    return QUIB_OK;
}

QuibStatus importDib(const OwnExtent& dib, IplImage** out, int32_t targetDepth)
{
    const BITMAPINFOHEADER header = headerOf(dib);
    if (const QuibStatus status = checkHeader(header))
        return status;
    const int32_t bits = header.biBitCount;
    const int32_t bitDepth = targetDepth == 8 ? 8 : targetDepth == 0 ? bits : 32;
    if (bitDepth == 32 && bits >= 24)
        return importRows(rowsOf(dib, header), header.biWidth, header.biHeight, out);
    return importByEngine(dib, header, bitDepth, out);
}

// --- A header and pixels apart ------------------------------------------------------

// Right for 32 bits only; callers rely on all of it.
uint64_t separateRowBytes(const BITMAPINFOHEADER& header)
{
    const uint64_t bits = header.biBitCount;
    return (bits * static_cast<uint64_t>(header.biWidth) + 31) / 32 * bits / 8;
}

void clearPixels(IplImage* handle)
{
    if (handle->imageData)
        quib::kernels().block.fill32(handle->imageData, 0, ownBlockBytes(handle) / 4);
}

// A packed bitmap of the header and what the row length lets through of the
// pixels, without their colour table: the engine finds zeros past its end.
QuibStatus importThroughBlock(const BITMAPINFOHEADER& header, const void* bits, IplImage** out)
{
    if (const QuibStatus status = QuibCreate0(header.biWidth, header.biHeight, 32, out))
        return status;
    // What the engine leaves out is 0: a failure that was there before stops it,
    // and a packed stream may skip pixels.
    if (iplGetStatus() < 0 || header.biCompression != BI_RGB)
        clearPixels(*out);
    const uint64_t pixelBytes = separateRowBytes(header) * static_cast<uint64_t>(header.biHeight);
    if (pixelBytes > PTRDIFF_MAX - headerBytes)
        return QUIB_BAD_ARGUMENT;
    const size_t bytes = headerBytes + static_cast<size_t>(pixelBytes);
    uint8_t* block = static_cast<uint8_t*>(std::malloc(bytes));
    if (!block)
        return QUIB_BAD_ARGUMENT;
    std::memcpy(block, &header, headerBytes);
    std::memcpy(block + headerBytes, bits, bytes - headerBytes);
    ownConvertFromDIB(block, bytes, *out);
    std::free(block);
    return QUIB_OK;
}

// --- Export ---------------------------------------------------------------------------

bool fits(const IplImage* handle, const BITMAPINFOHEADER& header)
{
    if (handle->width != header.biWidth || handle->height != header.biHeight)
        return false;
    return handle->nChannels < 4 ? handle->nChannels == header.biBitCount / 8
                                 : header.biBitCount == 24;
}

// The pixels of one row that both blocks hold, then byte by byte those at the
// end of one of them; a byte that the handle does not hold is 0.
void exportRow(const OwnExtent& to, uint64_t toOffset, const OwnExtent& from, uint64_t fromOffset,
               size_t width)
{
    const size_t room = ownHeldBytes(to, toOffset, width * 3);
    const size_t held = ownHeldBytes(from, fromOffset, width * 4);
    const size_t whole = std::min(room / 3, held / 4);
    if (whole > 0)
        quib::kernels().convert.to24(to.start + toOffset, from.start + fromOffset, whole);
    for (size_t i = whole * 3; i < room; ++i) {
        const size_t source = i / 3 * 4 + i % 3;
        to.start[toOffset + i] = source < held ? from.start[fromOffset + source] : 0;
    }
}

// Four bytes a pixel of the handle to three of the bitmap, whatever either has.
void exportRows(const IplImage* handle, const OwnExtent& dib)
{
    const OwnExtent pixels{reinterpret_cast<uint8_t*>(handle->imageData),
                           static_cast<size_t>(handle->imageSize)};
    const uint64_t rowBytes = rowBytes24(handle->width);
    for (int32_t y = 0; y < handle->height; ++y) {
        const uint64_t rowInDib = static_cast<uint64_t>(handle->height - 1 - y);
        exportRow(dib, headerBytes + rowBytes * rowInDib, pixels,
                  static_cast<uint64_t>(handle->widthStep) * static_cast<uint64_t>(y),
                  static_cast<size_t>(handle->width));
    }
}

} // namespace

QuibStatus Dib2Quib(void* dibHandle, IplImage** out, int32_t targetDepth)
{
    if (!dibHandle || !out)
        return QUIB_BAD_ARGUMENT;
    const OwnExtent dib = lockDib(dibHandle);
    const QuibStatus status = dib.start ? importDib(dib, out, targetDepth) : QUIB_BAD_ARGUMENT;
    GlobalUnlock(dibHandle);
    return status;
}

QuibStatus Dib2Quib0(const void* header, const void* bits, IplImage** out)
{
    if (!header || !bits)
        return QUIB_BAD_ARGUMENT;
    BITMAPINFOHEADER shape;
    std::memcpy(&shape, header, headerBytes);
    if (const QuibStatus status = checkHeader(shape))
        return status;
    if (shape.biBitCount < 24)
        return importThroughBlock(shape, bits, out);
    // Nothing tells where the pixels end; they are only read.
    uint8_t* start = static_cast<uint8_t*>(const_cast<void*>(bits));
    const DibRows rows{
        {start, SIZE_MAX}, separateRowBytes(shape), static_cast<size_t>(shape.biBitCount / 8)};
    return importRows(rows, shape.biWidth, shape.biHeight, out);
}

QuibStatus Quib2Dib(const IplImage* handle, void* dibHandle)
{
    if (!QuibIsValid(handle))
        return QUIB_BAD_ARGUMENT;
    if (!dibHandle)
        return QUIB_BAD_ARGUMENT;
    if (const int32_t status = iplCheckImage(handle))
        return status;
    const OwnExtent dib = lockDib(dibHandle);
    if (!dib.start)
        return QUIB_BAD_ARGUMENT;
    // A bitmap that is refused stays locked.
    if (!fits(handle, headerOf(dib)))
        return QUIB_DIB_MISMATCH;
    if (static_cast<int32_t>(handle->depth) < 4)
        ownConvertToDIB(handle, dib.start, dib.bytes, 1, 0);
    else
        exportRows(handle, dib);
    GlobalUnlock(dibHandle);
    return QUIB_OK;
}
