// The main job on a real photograph: in, edited, and out again. The digests
// make sure that every target and every processor level gives the same bytes.
#include "quibtool/platform.h"
#include "quibtool/quibtool.h"
#include "tests/support/images.h"
#include "tests/support/levels.h"

#include <cstdio>
#include <string>

namespace
{

const std::string imageFolder = QUIB_IMAGE_FOLDER;

// FNV-1a, 64 bits.
uint64_t digest(const void* data, size_t bytes)
{
    const uint8_t* in = static_cast<const uint8_t*>(data);
    uint64_t hash = 0xCBF29CE484222325u;
    for (size_t i = 0; i < bytes; ++i)
        hash = (hash ^ in[i]) * 0x100000001B3u;
    return hash;
}

uint64_t digest(const IplImage* image)
{
    return digest(image->imageData, static_cast<size_t>(image->imageSize));
}

std::vector<uint8_t> readFile(const std::string& name)
{
    std::vector<uint8_t> bytes;
    if (std::FILE* file = std::fopen(name.c_str(), "rb")) {
        uint8_t part[4096];
        while (const size_t count = std::fread(part, 1, sizeof part, file))
            bytes.insert(bytes.end(), part, part + count);
        std::fclose(file);
    }
    return bytes;
}

// A global memory block with the bytes.
HGLOBAL blockOf(const void* bytes, size_t count)
{
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, count);
    std::memcpy(GlobalLock(block), bytes, count);
    GlobalUnlock(block);
    return block;
}

Image loaded(const std::string& name)
{
    IplImage* handle = nullptr;
    EXPECT_EQ(QuibLoadBMP((imageFolder + name).c_str(), &handle), QUIB_OK);
    return Image(handle);
}

// The photograph through a block of global memory, as from the clipboard.
Image imported(const std::string& name, int32_t depth)
{
    const std::vector<uint8_t> file = readFile(imageFolder + name);
    HGLOBAL block =
        blockOf(file.data() + sizeof(BITMAPFILEHEADER), file.size() - sizeof(BITMAPFILEHEADER));
    IplImage* handle = nullptr;
    EXPECT_EQ(Dib2Quib(block, &handle, depth), QUIB_OK);
    GlobalFree(block);
    return Image(handle);
}

Image resized(const Image& source, int32_t width, int32_t height, int32_t bitDepth, int32_t mode)
{
    Image result = makeHandle(width, height, bitDepth);
    EXPECT_EQ(QuibResize(source.get(), result.get(), mode), QUIB_OK);
    return result;
}

// The photograph over the other one, through a soft-edged plane.
Image composed()
{
    const Image photograph = imported("cat.bmp", 32);
    const Image over = resized(photograph, 600, 400, 32, 2);
    const Image under = imported("cup.bmp", 32);
    const Image plane = makeHandle(600, 400, 8);
    for (int32_t y = 0; y < 400; ++y)
        for (int32_t x = 0; x < 600; ++x)
            putElement(plane.get(), x, y, 0, std::min(255, std::max(0, 3 * (x - y / 2) - 100)));
    EXPECT_EQ(QuibSetAlpha(over.get(), plane.get(), 80), QUIB_OK);
    IplImage* result = nullptr;
    EXPECT_EQ(QuibComposition3(over.get(), under.get(), &result), QUIB_OK);
    return Image(result);
}

} // namespace

TEST(MainJob, ReadsThePhotographEachWay)
{
    EXPECT_EQ(digest(loaded("cat.bmp").get()), 0x03C2E57B7402134Eu);
    EXPECT_EQ(digest(imported("cat.bmp", 32).get()), 0x2C9A266B9D4ED4FAu);
    EXPECT_EQ(digest(imported("cat.bmp", 0).get()), 0xC74C2FA53FA57D50u);
    EXPECT_EQ(digest(imported("cat.bmp", 8).get()), 0x62F17DF7F61AC1B3u);
}

TEST(MainJob, ResizesItInEachMode)
{
    forEachLevel([] {
        const Image photograph = imported("cat.bmp", 32);
        EXPECT_EQ(digest(resized(photograph, 1024, 768, 32, 0).get()), 0xB3909812CB2B76D4u);
        EXPECT_EQ(digest(resized(photograph, 1024, 768, 32, 1).get()), 0x77B3EA310DE28DCAu);
        EXPECT_EQ(digest(resized(photograph, 1024, 768, 32, 2).get()), 0x34FC13C1AC295922u);
        EXPECT_EQ(digest(resized(photograph, 1024, 768, 32, 28672).get()), 0x9A403898C058458Cu);
        EXPECT_EQ(digest(resized(photograph, 1024, 768, 32, 28673).get()), 0xB94B553783DCF52Bu);
        EXPECT_EQ(digest(resized(photograph, 200, 133, 32, 3).get()), 0x011506AEA9477526u);
    });
}

TEST(MainJob, ResizesItThroughTheEngine)
{
    forEachLevel([] {
        const Image colour = imported("cat.bmp", 0);
        const Image gray = imported("cat.bmp", 8);
        EXPECT_EQ(digest(resized(colour, 1024, 768, 24, 1).get()), 0x594899333F8E2289u);
        EXPECT_EQ(digest(resized(colour, 1024, 768, 24, 2).get()), 0x69675D22B1DB1D54u);
        EXPECT_EQ(digest(resized(colour, 300, 200, 24, 1).get()), 0x600EFF23D0C9FF68u);
        EXPECT_EQ(digest(resized(colour, 200, 133, 24, 3).get()), 0x4F59F60635DDF114u);
        EXPECT_EQ(digest(resized(gray, 200, 133, 8, 0).get()), 0x8D9F43DE3B161492u);
    });
}

TEST(MainJob, LaysItOverTheSecondPhotograph)
{
    forEachLevel([] { EXPECT_EQ(digest(composed().get()), 0xB9B6ADD65F2EC999u); });
}

TEST(MainJob, DrawsItOnADevice)
{
    const Image picture = composed();
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = 600;
    info.bmiHeader.biHeight = -400;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 24;
    void* bits = nullptr;
    HDC device = CreateCompatibleDC(nullptr);
    HBITMAP bitmap = CreateDIBSection(device, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    ASSERT_NE(bitmap, nullptr);
    HGDIOBJ before = SelectObject(device, bitmap);
    EXPECT_EQ(QuibDrawToHDC(picture.get(), device, 0, 0), QUIB_OK);
    EXPECT_EQ(digest(bits, 600 * 400 * 3), 0x358B0839974E7D6Bu);
    SelectObject(device, before);
    DeleteObject(bitmap);
    DeleteDC(device);
}

TEST(MainJob, SendsItOutAsABitmap)
{
    forEachLevel([] {
        const Image picture = composed();
        std::vector<uint8_t> packed(sizeof(BITMAPINFOHEADER) + 600 * 400 * 3);
        BITMAPINFOHEADER header{};
        header.biSize = sizeof header;
        header.biWidth = 600;
        header.biHeight = 400;
        header.biPlanes = 1;
        header.biBitCount = 24;
        std::memcpy(packed.data(), &header, sizeof header);
        HGLOBAL block = blockOf(packed.data(), packed.size());
        EXPECT_EQ(Quib2Dib(picture.get(), block), QUIB_OK);
        EXPECT_EQ(digest(GlobalLock(block), packed.size()), 0xE77E5BF8875C85EBu);
        GlobalUnlock(block);
        GlobalFree(block);
    });
}
