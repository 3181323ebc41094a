// Images of all kinds, written into packed bitmaps with any header and of any size, and
// read back from them.
#include "fuzz/pictures.h"

#include "quibtool/platform.h"

namespace
{

BITMAPINFOHEADER headerFrom(FuzzInput& input, const IplImage* image)
{
    constexpr WORD depths[] = {1, 4, 8, 8, 16, 24, 32, 0};
    BITMAPINFOHEADER header{};
    header.biSize = input.rarely(32) ? static_cast<DWORD>(input.word()) : sizeof header;
    header.biWidth = input.rarely(8) ? input.size(40) : image->width;
    header.biHeight = input.rarely(8) ? input.size(24) : image->height;
    header.biPlanes = input.rarely(16) ? input.byte() : 1;
    header.biBitCount = depths[input.choose(8)];
    if (input.rarely(32))
        header.biBitCount = static_cast<WORD>(input.word());
    header.biCompression = input.rarely(4) ? input.choose(6) : BI_RGB;
    const uint32_t used = input.choose(8);
    header.biClrUsed = used < 4 ? 0 : used < 7 ? input.byte() : static_cast<DWORD>(input.word());
    return header;
}

// Mostly with room for all that the header speaks of.
size_t sizeFrom(FuzzInput& input, const BITMAPINFOHEADER& header)
{
    const int64_t row = (header.biBitCount * int64_t{header.biWidth} + 31) / 32 * 4;
    const int64_t rows = std::max<int64_t>(row, 0) * std::abs(int64_t{header.biHeight});
    const int64_t colours = header.biBitCount <= 8 ? int64_t{4} << header.biBitCount : 12;
    const int64_t whole =
        static_cast<int64_t>(sizeof header) + colours + std::min<int64_t>(rows, 65536);
    return static_cast<size_t>(input.rarely(4) ? input.word() & 0x7FF : whole);
}

// A header of 40 bytes may be cut off too; the block is exactly so large.
class Block
{
public:
    Block(FuzzInput& input, const BITMAPINFOHEADER& header)
        : size(sizeFrom(input, header)), bytes(static_cast<uint8_t*>(malloc(size)))
    {
        fillFrom(input, bytes, size);
        std::memcpy(bytes, &header, std::min(size, sizeof header));
        // Masks, now and then of such a kind as there are.
        constexpr uint32_t masks[][3] = {{0xF800, 0x07E0, 0x001F}, {0xFF0000, 0xFF00, 0xFF}};
        if (size >= sizeof header + sizeof masks[0] && input.choose(2))
            std::memcpy(bytes + sizeof header, masks[input.choose(2)], sizeof masks[0]);
    }
    ~Block() { free(bytes); }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;

    const size_t size;
    uint8_t* const bytes;
};

void exportHandle(const IplImage* image, const Block& block)
{
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, block.size);
    if (void* start = GlobalLock(memory)) {
        std::memcpy(start, block.bytes, block.size);
        GlobalUnlock(memory);
    }
    Quib2Dib(image, memory);
    GlobalFree(memory);
}

} // namespace

void runFuzzInput(const uint8_t* data, size_t size)
{
    constexpr int32_t dithers[] = {
        IPL_DITHER_NONE,    IPL_DITHER_NONE,  IPL_DITHER_FS,   IPL_DITHER_JJH,
        IPL_DITHER_STUCKEY, IPL_DITHER_BAYER, IPL_DITHER_NONE, 3};
    FuzzInput input(data, size);
    useLevelFrom(input);
    const FuzzPicture picture(input, formatFrom(input));
    const BITMAPINFOHEADER header = headerFrom(input, picture.image);
    const Block block(input, header);
    const uint32_t way = input.choose(8);
    const int32_t dither = dithers[input.choose(8)];
    const int32_t paletteConversion = input.below(4);
    iplSetStatus(input.rarely(32) ? IPL_StsError : 0);
    // The engine takes images with a block of pixels only.
    if (way == 0 || picture.image->tileInfo)
        exportHandle(picture.image, block);
    else
        ownConvertToDIB(picture.image, block.bytes, block.size, dither, paletteConversion);
    if (way >= 4 && !picture.image->tileInfo)
        ownConvertFromDIB(block.bytes, block.size, picture.image);
}
