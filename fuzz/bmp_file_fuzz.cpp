// A BMP file of any content: QuibLoadBMP.
#include "fuzz/fuzz.h"
#include "fuzz/temporary_file.h"

#include "quibtool/platform.h"
#include "quibtool/quibtool.h"

namespace
{

// The block of a file of another depth is never freed. Enough of these is
// enough: they would fill the memory.
bool leaksOnceMore(const BITMAPINFOHEADER& header)
{
    static int32_t leaks = 0;
    switch (header.biBitCount) {
    case 1:
    case 8:
    case 24:
    case 32:
        return false;
    default:
        return ++leaks > 10000;
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const TemporaryFile file;
    constexpr size_t fileHeaderBytes = sizeof(BITMAPFILEHEADER);
    BITMAPINFOHEADER header{};
    if (size >= fileHeaderBytes + sizeof header)
        std::memcpy(&header, data + fileHeaderBytes, sizeof header);
    if (isLegalButHuge(header.biWidth, header.biHeight) || leaksOnceMore(header))
        return 0;
    startFuzzInput();
    IplImage* handle = nullptr;
    QuibStatus status = QUIB_OK;
    {
        const LeaksAllowed leaks;
        status = QuibLoadBMP(file.write(data, size), &handle);
    }
    if (status != QUIB_OK && handle)
        std::abort();
    iplDeallocate(handle, IPL_IMAGE_ALL);
    return 0;
}
