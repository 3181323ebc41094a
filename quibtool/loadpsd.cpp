#include "quibtool/loadpsd.h"

#include "_Src/ipl.h"
#include "kernels/kernels.h"
#include "quibtool/handle.h"
#include "zxdll/zxdll.h"

using namespace quib;

namespace
{

constexpr ZxWord neededFrames = 2;

HGLOBAL handleOf(ZxWord word)
{
    return reinterpret_cast<HGLOBAL>(word);
}

// The bitmap stays locked.
IplImage* lockAndConvert(ZxWord bitmap)
{
    return QuibDibToImage(GlobalLock(handleOf(bitmap)));
}

bool isGray8(const IplImage* image)
{
    return image->nChannels == 1 && image->depth == IPL_DEPTH_8U;
}

// Also a record that is no good handle, because it never got pixels.
void freeTemporary(IplImage* handle)
{
    if (handle && QuibFree(&handle) != QUIB_OK)
        iplDeallocate(handle, IPL_IMAGE_ALL);
}

// The mask is at least as large as the picture.
void replaceAlpha(const IplImage* picture, const IplImage* mask)
{
    QuibInfo info{};
    QuibInfo maskInfo{};
    void* pixels = nullptr;
    void* plane = nullptr;
    if (QuibGetInfo(picture, &info) != QUIB_OK || QuibGetInfo(mask, &maskInfo) != QUIB_OK ||
        QuibLockData(picture, &pixels) != QUIB_OK || QuibLockData(mask, &plane) != QUIB_OK)
        return;
    constexpr uint32_t wholeScale = 256;
    uint8_t* row = static_cast<uint8_t*>(pixels);
    const uint8_t* maskRow = static_cast<const uint8_t*>(plane);
    for (int32_t y = 0; y < info.height; ++y, row += info.widthStep, maskRow += maskInfo.widthStep)
        quib::kernels().alpha.fromPlane(row, maskRow, wholeScale, static_cast<size_t>(info.width));
    QuibUnlockData(picture);
    QuibUnlockData(mask);
}

// What QuibClone does, but that the handle itself takes the clone's place. A record of
// the library's own that has pixels passes every check.
QuibStatus storePicture(IplImage** picture, IplImage** outImage)
{
    if (!QuibIsValid(*picture))
        return QUIB_BAD_ARGUMENT;
    *outImage = *picture;
    *picture = nullptr;
    return QUIB_OK;
}

QuibStatus storeMask(ZxWord bitmap, IplImage** outMask)
{
    if (!bitmap)
        return QUIB_FAILED;
    *outMask = lockAndConvert(bitmap);
    QuibStatus status = *outMask ? QUIB_OK : QUIB_FAILED;
    if (*outMask && !isGray8(*outMask)) {
        freeTemporary(*outMask);
        *outMask = nullptr;
        status = QUIB_FAILED;
    }
    GlobalUnlock(handleOf(bitmap));
    return status;
}

QuibStatus takeFrames(const ZxImage& image, IplImage** outImage, IplImage** outMask)
{
    const ZxFrame& first = image.frames[0];
    if (image.frameCount != neededFrames || !first.colour || !first.mask)
        return QUIB_FAILED;
    IplImage* picture = lockAndConvert(first.colour);
    IplImage* mask = picture ? lockAndConvert(first.mask) : nullptr;
    QuibStatus status = QUIB_FAILED;
    if (picture && mask && picture->nChannels == 4 && isGray8(mask)) {
        replaceAlpha(picture, mask);
        status = storePicture(&picture, outImage);
        if (storeMask(image.frames[1].mask, outMask) != QUIB_OK)
            status = QUIB_FAILED;
    }
    // To unlock a mask that was never locked does nothing.
    GlobalUnlock(handleOf(first.mask));
    GlobalUnlock(handleOf(first.colour));
    freeTemporary(picture);
    freeTemporary(mask);
    return status;
}

} // namespace

IplImage* QuibDibToImage(const void* dib)
{
    if (!dib)
        return nullptr;
    const BITMAPINFOHEADER* header = static_cast<const BITMAPINFOHEADER*>(dib);
    const int32_t bits = header->biBitCount;
    IplImage* image = ownCreateRecord(header->biWidth, header->biHeight, bits == 24 ? 32 : bits);
    if (image)
        iplConvertFromDIB(header, image);
    return image;
}

QuibStatus ownTakeFrames(HGLOBAL image, IplImage** outImage, IplImage** outMask)
{
    const ZxImage* frames = static_cast<const ZxImage*>(GlobalLock(image));
    const QuibStatus status = frames ? takeFrames(*frames, outImage, outMask) : QUIB_FAILED;
    GlobalUnlock(image);
    ZxImageDelete(image);
    return status;
}

QuibStatus QuibLoadFramePsd2Bmp(const char* fileName, IplImage** outImage, IplImage** outMask)
{
    if (!fileName || !outImage || !outMask)
        return QUIB_BAD_ARGUMENT;
    const HGLOBAL image = ZxLoadPsdFileAsImage(fileName);
    return image ? ownTakeFrames(image, outImage, outMask) : QUIB_BAD_ARGUMENT;
}
