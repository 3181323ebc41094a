// Images of all kinds, drawn at any place of device contexts that hold bitmaps of any kind.
#include "fuzz/pictures.h"

#include "quibtool/platform.h"

namespace
{

// A header of a bitmap, mostly of one that a device can hold.
BITMAPINFO headerFrom(FuzzInput& input)
{
    constexpr WORD depths[] = {24, 32, 24, 32, 1, 8, 16, 0};
    BITMAPINFO info{};
    info.bmiHeader.biSize = input.rarely(32) ? input.byte() : sizeof info.bmiHeader;
    info.bmiHeader.biWidth = input.size(40);
    info.bmiHeader.biHeight = input.size(24);
    if (input.choose(2) && info.bmiHeader.biHeight != INT32_MIN)
        info.bmiHeader.biHeight = -info.bmiHeader.biHeight;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = depths[input.choose(8)];
    info.bmiHeader.biCompression = input.rarely(16) ? BI_RLE8 : BI_RGB;
    return info;
}

// A context with a bitmap in it, if there can be one.
class Device
{
public:
    explicit Device(FuzzInput& input) : context(CreateCompatibleDC(nullptr))
    {
        const BITMAPINFO info = headerFrom(input);
        const UINT usage = input.rarely(32) ? 1 : DIB_RGB_COLORS;
        void* bits = nullptr;
        if (!isLegalButHuge(info.bmiHeader.biWidth, info.bmiHeader.biHeight))
            bitmap = CreateDIBSection(nullptr, &info, usage, &bits, nullptr, 0);
        if (bitmap)
            before = SelectObject(context, bitmap);
    }
    ~Device()
    {
        if (before)
            SelectObject(context, before);
        if (bitmap)
            DeleteObject(bitmap);
        DeleteDC(context);
    }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    const HDC context;
    HBITMAP bitmap = nullptr;
    HGDIOBJ before = nullptr; // the stock bitmap
};

// What programs get wrong about contexts and bitmaps; all is in its place again afterwards.
void misuse(FuzzInput& input, const Device& device, const Device& other)
{
    const HDC contexts[] = {device.context, other.context, nullptr};
    const HGDIOBJ objects[] = {device.bitmap, other.bitmap, device.before, nullptr};
    for (int32_t i = 0; i < 4; ++i) {
        const HDC context = contexts[input.choose(3)];
        SelectObject(context, objects[input.choose(4)]);
    }
    DeleteObject(objects[2 + input.choose(2)]);
    DeleteDC(nullptr);
    GdiFlush();
    for (const Device* each : {&device, &other})
        SelectObject(each->context, each->before);
    for (const Device* each : {&device, &other}) {
        SelectObject(each->context, each->bitmap);
        DeleteObject(each->bitmap); // which is held
    }
}

int32_t placeFrom(FuzzInput& input)
{
    return input.rarely(4) ? input.word() : static_cast<int8_t>(input.byte()) / 4;
}

} // namespace

void runFuzzInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    Device device(input);
    Device other(input);
    const FuzzPicture picture(input, formatFrom(input));
    const HDC contexts[] = {device.context, device.context, other.context, nullptr};
    for (int32_t i = 0; i < 3; ++i) {
        const int32_t x = placeFrom(input);
        const int32_t y = placeFrom(input);
        QuibDrawToHDC(picture.image, contexts[input.choose(4)], x, y);
    }
    misuse(input, device, other);
}
