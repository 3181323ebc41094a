// A BMP file of any content: QuibLoadBMP.
#include "fuzz/fuzz.h"
#include "fuzz/temporary_file.h"

#include "quibtool/platform.h"
#include "quibtool/quibtool.h"

namespace
{

const TemporaryFile file;

// The block of a file of another depth is never freed.
bool isLeaked(const BITMAPINFOHEADER& header)
{
    const int32_t bits = header.biBitCount;
    return bits != 1 && bits != 8 && bits != 24 && bits != 32;
}

} // namespace

void runFuzzInput(const uint8_t* data, size_t size)
{
    constexpr size_t fileHeaderBytes = sizeof(BITMAPFILEHEADER);
    BITMAPINFOHEADER header{};
    if (size >= fileHeaderBytes + sizeof header)
        std::memcpy(&header, data + fileHeaderBytes, sizeof header);
    if (isLegalButHuge(header.biWidth, header.biHeight))
        return;
    if (isLeaked(header))
        allowBlocksToStay();
    IplImage* handle = nullptr;
    const QuibStatus status = QuibLoadBMP(file.write(data, size), &handle);
    if (status != QUIB_OK && handle)
        std::abort();
    iplDeallocate(handle, IPL_IMAGE_ALL);
}
