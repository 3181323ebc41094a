#include "_Src/window/iplborde.h"

#include "_Src/image/check.h"
#include "_Src/image/pitch.h"
#include "_Src/walk/bits.h"
#include "_Src/window/border.h"

#include <cstdlib>

namespace
{

bool hasLayout(const IplImage* image)
{
    const bool align =
        image->align == 4 || image->align == 8 || image->align == 16 || image->align == 32;
    return align && ownIsDepth(image->depth) && image->nChannels > 0 &&
           (image->dataOrder == IPL_DATA_ORDER_PIXEL || image->dataOrder == IPL_DATA_ORDER_PLANE);
}

// One plane of the window, into a zeroed block.
bool copyPlane(const IplImage* image, int32_t plane, const IplRect& window, int32_t rowLength,
               uint8_t* out)
{
    IplBorderSource source(image, plane, ownElementsPerPixel(image), window.x, window.width);
    const bool bits = image->depth == IPL_DEPTH_1U;
    IplScratch<uint8_t> bytes(bits ? source.rowBytes() : 0);
    if (!source.isReady() || (bits && !bytes.data))
        return false;
    for (int32_t y = 0; y < window.height; ++y, out += rowLength) {
        if (!source.makeRow(static_cast<int64_t>(window.y) + y, bits ? bytes.data : out))
            return false;
        if (bits)
            ownPackBits(out, bytes.data, window.width);
    }
    return true;
}

} // namespace

char* ownBorderCopy(const IplImage* image, int32_t x, int32_t y, int32_t width, int32_t height,
                    int32_t* rowLength)
{
    if (!hasLayout(image) || width < 1 || height < 1)
        return nullptr;
    const int32_t planes = ownPlaneCount(image);
    const int64_t rowBits =
        static_cast<int64_t>(width) * ownElementsPerPixel(image) * ownDepthBits(image->depth);
    const int64_t rows = static_cast<int64_t>(height) * planes;
    if (rowBits / 8 >= INT32_MAX - image->align)
        return nullptr;
    *rowLength = ownWidthStep(image, width);
    if (rows > INT32_MAX / *rowLength)
        return nullptr;
    char* block =
        static_cast<char*>(std::calloc(static_cast<size_t>(rows), static_cast<size_t>(*rowLength)));
    const ptrdiff_t planeStep = static_cast<ptrdiff_t>(height) * *rowLength;
    for (int32_t plane = 0; block && plane < planes; ++plane) {
        uint8_t* out = reinterpret_cast<uint8_t*>(block) + plane * planeStep;
        if (!copyPlane(image, plane, {x, y, width, height}, *rowLength, out)) {
            std::free(block);
            block = nullptr;
        }
    }
    return block;
}
