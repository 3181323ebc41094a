// A PSD file of any content: the reader, and what QuibLoadFramePsd2Bmp makes of
// its frames. What comes is of the canvas's size, and there is no more of it than
// the limits let through.
#include "fuzz/fuzz.h"
#include "fuzz/temporary_file.h"

#include "quibtool/loadpsd.h"
#include "zxdll/bytes.h"
#include "zxdll/zxdll.h"

#include <vector>

namespace
{

const TemporaryFile temporaryFile;

// A side of the canvas in the file's header.
class Side
{
public:
    Side(std::vector<uint8_t>& file, size_t offset) : bytes(file.data() + offset) {}

    uint64_t length() const { return zx::bigEndian(bytes, 4); }
    void makeSmall()
    {
        const uint64_t small = length() % 64 + 1;
        bytes[0] = bytes[1] = bytes[2] = 0;
        bytes[3] = static_cast<uint8_t>(small);
    }

private:
    uint8_t* bytes;
};

// Frames of a large canvas take too long to make them thousands of times a
// second; one that is too large for any is worth a try.
void makeCanvasSmall(std::vector<uint8_t>& file)
{
    constexpr uint64_t longest = 300000;
    constexpr uint64_t manyPixels = 64 * 64;
    if (file.size() < 22)
        return;
    Side height(file, 14);
    Side width(file, 18);
    if (width.length() > longest || height.length() > longest)
        return;
    const uint64_t pixels = width.length() * height.length();
    if (pixels <= manyPixels || pixels > INT32_MAX / 4)
        return;
    width.makeSmall();
    height.makeSmall();
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

int64_t countFrames(HGLOBAL block)
{
    const ZxImage* image = static_cast<const ZxImage*>(GlobalLock(block));
    const ZxFrame* frame = image->frames;
    const int64_t count = static_cast<int64_t>(image->frameCount);
    for (int64_t i = 0; i < count; ++i, ++frame) {
        touch(frame->colour);
        touch(frame->mask);
    }
    GlobalUnlock(block);
    return count;
}

} // namespace

void runFuzzInput(const uint8_t* data, size_t size)
{
    std::vector<uint8_t> bytes(data, data + size);
    makeCanvasSmall(bytes);
    const HGLOBAL block = ZxLoadPsdFileAsImage(temporaryFile.write(bytes.data(), bytes.size()));
    if (!block)
        return;
    const int64_t count = countFrames(block);
    IplImage* image = nullptr;
    IplImage* mask = nullptr;
    const QuibStatus status = ownTakeFrames(block, &image, &mask);
    if (status == QUIB_OK && (count != 2 || !image || !mask))
        abort();
    iplDeallocate(image, IPL_IMAGE_ALL);
    iplDeallocate(mask, IPL_IMAGE_ALL);
}
