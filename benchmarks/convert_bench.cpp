#include "benchmarks/families.h"

#include "benchmarks/bench.h"
#include "benchmarks/pixels.h"
#include "quibtool/platform.h"

#if defined(QUIB_BENCH_LIBYUV)
#include <libyuv/convert_argb.h>
#include <libyuv/convert_from_argb.h>
#endif

#include <cstdlib>
#include <cstring>
#include <string>

namespace
{

// A packed bitmap with random pixels in a block of movable memory.
class GlobalDib
{
public:
    GlobalDib(int dibWidth, int dibHeight, int bitCount)
        : width(dibWidth), height(dibHeight), rowBytes((dibWidth * bitCount / 8 + 3) / 4 * 4)
    {
        BITMAPINFOHEADER header{};
        header.biSize = sizeof header;
        header.biWidth = width;
        header.biHeight = height;
        header.biPlanes = 1;
        header.biBitCount = static_cast<WORD>(bitCount);
        const Pixels random(width, height, 32);
        block = GlobalAlloc(GMEM_MOVEABLE, sizeof header + bytes());
        uint8_t* start = static_cast<uint8_t*>(GlobalLock(block));
        std::memcpy(start, &header, sizeof header);
        std::memcpy(start + sizeof header, random.data(), bytes());
        pixels = start + sizeof header;
        GlobalUnlock(block);
    }
    ~GlobalDib() { GlobalFree(block); }
    GlobalDib(const GlobalDib&) = delete;
    GlobalDib& operator=(const GlobalDib&) = delete;

    size_t bytes() const { return static_cast<size_t>(rowBytes) * static_cast<size_t>(height); }

    const int width;
    const int height;
    const int rowBytes;
    HGLOBAL block;
    uint8_t* pixels; // movable blocks stay where they are as long as they live
};

// Allocates and frees the pixels of a 32-bit handle around the work.
template<class Work>
void withNewPixels(const GlobalDib& dib, Work work)
{
    uint8_t* pixels =
        static_cast<uint8_t*>(std::malloc(static_cast<size_t>(dib.width) * dib.height * 4 + 3));
    work(pixels);
    keep(pixels);
    std::free(pixels);
}

void importCase(const GlobalDib& dib, const std::string& operation, double limit)
{
    const auto ours = [&dib] {
        IplImage* handle = nullptr;
        Dib2Quib(dib.block, &handle, 32);
        keep(handle);
        QuibFree(&handle);
    };
    const auto copy = [&dib] {
        withNewPixels(dib,
                      [&dib](uint8_t* pixels) { std::memcpy(pixels, dib.pixels, dib.bytes()); });
    };
    Case importing{.operation = operation,
                   .width = dib.width,
                   .height = dib.height,
                   .limit = {.ratio = limit},
                   .ours = ours,
                   .peer = "malloc, memcpy",
                   .theirs = copy,
                   .floor = copy};
#if defined(QUIB_BENCH_LIBYUV)
    if (dib.rowBytes < dib.width * 4) {
        importing.peer = "malloc, libyuv RGB24ToARGB";
        importing.theirs = [&dib] {
            withNewPixels(dib, [&dib](uint8_t* pixels) {
                // A negative height turns the rows over.
                libyuv::RGB24ToARGB(dib.pixels, dib.rowBytes, pixels, dib.width * 4, dib.width,
                                    -dib.height);
            });
        };
    }
#endif
    addCase(importing);
}

void exportCase(const Pixels& handle, const GlobalDib& dib, const std::string& operation,
                double limit)
{
    Case exporting{.operation = operation,
                   .width = dib.width,
                   .height = dib.height,
                   .limit = {.ratio = limit},
                   .ours = [&] { Quib2Dib(handle.handle(), dib.block); },
                   .peer = "",
                   .theirs = {},
                   .floor =
                       [&] {
                           std::memcpy(dib.pixels, handle.data(), dib.bytes());
                           keep(dib.pixels);
                       }};
#if defined(QUIB_BENCH_LIBYUV)
    exporting.peer = "libyuv ARGBToRGB24";
    exporting.theirs = [&] {
        libyuv::ARGBToRGB24(handle.data(), dib.width * 4, dib.pixels, dib.rowBytes, dib.width,
                            -dib.height);
        keep(dib.pixels);
    };
#endif
    addCase(exporting);
}

} // namespace

void addConvertCases()
{
    static const GlobalDib dib24(1920, 1080, 24);
    static const GlobalDib dib32(1920, 1080, 32);
    static const GlobalDib target(1920, 1080, 24);
    static const Pixels handle(1920, 1080, 32);
    importCase(dib24, "Dib2Quib 24-bit", 1.15);
    importCase(dib32, "Dib2Quib 32-bit", 1.15);
    exportCase(handle, target, "Quib2Dib 32-bit", 1.15);

    static const GlobalDib small24(64, 64, 24);
    static const GlobalDib smallTarget(64, 64, 24);
    static const Pixels smallHandle(64, 64, 32);
    importCase(small24, "Dib2Quib 24-bit", 0);
    exportCase(smallHandle, smallTarget, "Quib2Dib 32-bit", 0);
}
