// A PSD file of any content: the reader, and QuibLoadFramePsd2Bmp. What comes is
// of the canvas's size, and there is no more of it than the limits let through.
#include "fuzz/fuzz.h"
#include "fuzz/temporary_file.h"

#include "quibtool/quibtool.h"
#include "zxdll/zxdll.h"

namespace
{

// By the file's header. Frames of a large canvas take too long to make them
// thousands of times; one that is too large for any is worth a try.
bool canvasIsHuge(const uint8_t* data, size_t size)
{
    if (size < 22)
        return false;
    constexpr int64_t manyPixels = int64_t{1} << 14;
    const auto number = [data](size_t at) {
        return static_cast<int64_t>(data[at]) << 24 | data[at + 1] << 16 | data[at + 2] << 8 |
               data[at + 3];
    };
    const int64_t width = number(18);
    const int64_t height = number(14);
    return width <= 300000 && height <= 300000 && width * height > manyPixels &&
           width * height <= INT32_MAX / 4;
}

void touch(ZxWord word)
{
    const HGLOBAL block = reinterpret_cast<HGLOBAL>(word);
    if (!block)
        return;
    const uint8_t* bytes = static_cast<const uint8_t*>(GlobalLock(block));
    BITMAPINFOHEADER header;
    memcpy(&header, bytes, sizeof header);
    const size_t table = header.biBitCount == 8 ? 1024 : 0;
    if (GlobalSize(block) < sizeof header + table + header.biSizeImage)
        abort();
    GlobalUnlock(block);
    if ((GlobalFlags(block) & GMEM_LOCKCOUNT) != 0)
        abort();
}

// How many frames there are; -1 without an image.
int64_t readFrames(const char* fileName)
{
    const HGLOBAL block = ZxLoadPsdFileAsImage(fileName);
    if (!block)
        return -1;
    const ZxImage* image = static_cast<const ZxImage*>(GlobalLock(block));
    const ZxFrame* frame = image->frames;
    const int64_t count = static_cast<int64_t>(image->frameCount);
    for (int64_t i = 0; i < count; ++i, ++frame) {
        touch(frame->colour);
        touch(frame->mask);
    }
    GlobalUnlock(block);
    ZxImageDelete(block);
    return count;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const TemporaryFile file;
    if (canvasIsHuge(data, size))
        return 0;
    startFuzzInput();
    const char* name = file.write(data, size);
    const int64_t count = readFrames(name);
    IplImage* image = nullptr;
    IplImage* mask = nullptr;
    const QuibStatus status = QuibLoadFramePsd2Bmp(name, &image, &mask);
    if ((count < 0) != (status == QUIB_BAD_ARGUMENT) || (count != 2 && status == QUIB_OK) ||
        (status == QUIB_OK && (!image || !mask)))
        abort();
    iplDeallocate(image, IPL_IMAGE_ALL);
    iplDeallocate(mask, IPL_IMAGE_ALL);
    return 0;
}
