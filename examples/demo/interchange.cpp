// Bitmaps in and out: files, blocks of global memory, device contexts.
#include "examples/demo/families.h"
#include "examples/demo/tools.h"
#include "examples/support/bitmapfile.h"
#include "quibtool/platform.h"

#include <cstring>
#include <vector>

namespace
{

constexpr int leastSide = 48;

// A file's handle, made opaque: a 24-bit file has no alpha.
Handle load(const std::string& file)
{
    std::string problem;
    if (readBitmapFile(file, &problem).empty())
        fail(problem);
    IplImage* handle = nullptr;
    check(QuibLoadBMP(file.c_str(), &handle), "QuibLoadBMP");
    if (!handle)
        fail(file + " could not be loaded");
    Handle loaded(handle);
    if (infoOf(loaded.get()).bitDepth != 32)
        fail(file + ": only pictures of 24 and 32 bits go through the demo");
    check(QuibSetAlphaS(loaded.get(), nullptr, 255), "QuibSetAlphaS");
    return loaded;
}

Handle fittedTo(const IplImage* image, int width, int height)
{
    const QuibPoint size = fitted(infoOf(image), width, height);
    const bool shrinks = size.x <= infoOf(image).width && size.y <= infoOf(image).height;
    return resized(image, size.x, size.y, shrinks ? IPL_INTER_SUPER : STRETCH_SMOOTH);
}

void preparePictures(Demo& demo)
{
    demo.photograph = load(demo.photographFile);
    demo.image = fittedTo(demo.photograph.get(), 360, 240);
    demo.tile = fittedTo(demo.photograph.get(), 210, 140);
    const QuibInfo info = infoOf(demo.tile.get());
    if (info.width < leastSide || info.height < leastSide)
        fail(demo.photographFile + " is too narrow for the page");
    const QuibInfo size = infoOf(demo.image.get());
    demo.backdrop = resized(load(demo.backdropFile).get(), size.width, size.height, STRETCH_SMOOTH);
}

HGLOBAL globalCopy(const void* bytes, size_t count)
{
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, count);
    if (!block)
        fail("no memory for the bitmap");
    std::memcpy(GlobalLock(block), bytes, count);
    GlobalUnlock(block);
    return block;
}

// Room for an image as a packed bitmap of 24 bits.
std::vector<uint8_t> emptyBitmap(const QuibInfo& info)
{
    const size_t rowBytes = (static_cast<size_t>(info.width) * 3 + 3) / 4 * 4;
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = info.width;
    header.biHeight = info.height;
    header.biPlanes = 1;
    header.biBitCount = 24;
    std::vector<uint8_t> packed(sizeof header + rowBytes * static_cast<size_t>(info.height));
    std::memcpy(packed.data(), &header, sizeof header);
    return packed;
}

struct Device {
    HDC hdc;
    HBITMAP bitmap;
    HGDIOBJ before;
    void* bits;
};

Device openDevice(const QuibInfo& info)
{
    BITMAPINFO target{};
    target.bmiHeader.biSize = sizeof target.bmiHeader;
    target.bmiHeader.biWidth = info.width;
    target.bmiHeader.biHeight = -info.height;
    target.bmiHeader.biPlanes = 1;
    target.bmiHeader.biBitCount = 32;
    Device device{};
    device.hdc = CreateCompatibleDC(nullptr);
    device.bitmap = CreateDIBSection(device.hdc, &target, DIB_RGB_COLORS, &device.bits, nullptr, 0);
    if (!device.hdc || !device.bitmap)
        fail("no device context");
    device.before = SelectObject(device.hdc, device.bitmap);
    return device;
}

void closeDevice(const Device& device)
{
    SelectObject(device.hdc, device.before);
    DeleteObject(device.bitmap);
    DeleteDC(device.hdc);
}

void drawOnDevice(Demo& demo)
{
    const IplImage* image = demo.composition.get();
    const QuibInfo info = infoOf(image);
    const Device device = openDevice(info);
    const HDC hdc = device.hdc;
    const Handle seen = create(info.width, info.height, 32);
    const auto showBits = [&](const char* title, const Call& call) {
        const double taken = timed(call);
        std::memcpy(rowOf(seen.get(), 0), device.bits,
                    static_cast<size_t>(info.width) * 4 * static_cast<size_t>(info.height));
        show(demo, seen.get(), title, call.text, taken);
    };
    showBits("The device's bitmap", CALL(QuibDrawToHDC(image, hdc, 0, 0)));

    const QuibPoint size = fitted(infoOf(demo.tile.get()), info.width / 3, info.height / 3);
    IplImage* gray = nullptr;
    check(QuibColorToGray(resized(demo.tile.get(), size.x, size.y, IPL_INTER_SUPER).get(), &gray),
          "QuibColorToGray");
    const Handle owner(gray);
    const int x = info.width - size.x - 16;
    const int y = info.height - size.y - 16;
    showBits("An 8-bit handle beside it",
             CALL(QuibDrawToHDC(gray, hdc, x, y)).with("x", x).with("y", y));
    closeDevice(device);
}

void writeBitmap(Demo& demo)
{
    const IplImage* image = demo.composition.get();
    const std::vector<uint8_t> empty = emptyBitmap(infoOf(image));
    HGLOBAL block = globalCopy(empty.data(), empty.size());
    const Call call = CALL(Quib2Dib(image, block));
    const double taken = timed(call);
    const std::string file = demo.folder + "/composition.bmp";
    if (!writeBitmapFile(file, GlobalLock(block), empty.size()))
        fail("cannot write " + file);
    GlobalUnlock(block);
    GlobalFree(block);
    show(demo, load(file).get(), "composition.bmp, read back", call.text, taken);
}

} // namespace

void bringIn(Demo& demo)
{
    beginSection(demo, "in", "Bring a photograph in",
                 "A BMP file is read by name. The same bitmap, handed over in a block of global "
                 "memory as programs do with the clipboard, or as a header and bits, becomes an "
                 "opaque 32-bit handle, or an 8-bit one.");
    preparePictures(demo);
    const char* file = demo.photographFile.c_str();
    IplImage* image = nullptr;
    beginRow(demo, "", Cards::normal);
    showMade(demo, "Read from the file", &image,
             CALL(QuibLoadBMP(file, &image)).with("file", "\"" + demo.page.picture + "\""));

    const QuibInfo info = infoOf(demo.photograph.get());
    const std::vector<uint8_t> empty = emptyBitmap(info);
    HGLOBAL dib = globalCopy(empty.data(), empty.size());
    check(Quib2Dib(demo.photograph.get(), dib), "Quib2Dib");
    showMade(demo, "A 32-bit handle", &image, CALL(Dib2Quib(dib, &image, 32)));
    showMade(demo, "An 8-bit handle", &image, CALL(Dib2Quib(dib, &image, 8)));
    GlobalFree(dib);

    // Rows of 32 bits, the lowest first.
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = info.width;
    header.biHeight = info.height;
    header.biPlanes = 1;
    header.biBitCount = 32;
    std::vector<uint8_t> bits;
    for (int y = info.height - 1; y >= 0; --y) {
        const uint8_t* row = rowOf(demo.photograph.get(), y);
        bits.insert(bits.end(), row, row + static_cast<ptrdiff_t>(info.width) * 4);
    }
    showMade(demo, "From a header and bits", &image, CALL(Dib2Quib0(&header, bits.data(), &image)));
}

void sendOut(Demo& demo)
{
    beginSection(demo, "out", "Send it out",
                 "Onto a memory device context, whose bitmap this is, or into a 24-bit bitmap in "
                 "global memory, which goes into a file and is read back from it.");
    beginRow(demo, "", Cards::normal);
    drawOnDevice(demo);
    writeBitmap(demo);
}
