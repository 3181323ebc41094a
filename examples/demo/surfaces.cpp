// Drawing surfaces: handles drawn into them and read from them.
#include "examples/demo/families.h"
#include "examples/demo/tools.h"
#include "examples/support/memorysurface.h"

#include <cstring>

namespace
{

// What a surface of 16 bits shows: each channel's bits, spread over a byte.
Handle seenOn(const uint8_t* pixels, const QuibInfo& info, int greenBits)
{
    Handle seen = create(info.width, info.height, 32);
    const auto spread = [](int value, int bits) {
        return static_cast<uint8_t>(value * 255 / ((1 << bits) - 1));
    };
    for (int y = 0; y < info.height; ++y) {
        uint8_t* out = rowOf(seen.get(), y);
        for (int x = 0; x < info.width; ++x, pixels += 2, out += 4) {
            const int word = pixels[0] | pixels[1] << 8;
            out[0] = spread(word & 31, 5);
            out[1] = spread(word >> 5 & ((1 << greenBits) - 1), greenBits);
            out[2] = spread(word >> (5 + greenBits) & 31, 5);
            out[3] = 255;
        }
    }
    return seen;
}

void showSteps(Demo& demo, const uint8_t* pixels, const QuibInfo& info, int greenBits,
               const char* title, const Call& call)
{
    const double taken = timed(call);
    const Handle seen = seenOn(pixels, info, greenBits);
    const QuibRect at = detailOf(seen.get(), info.width / 6, info.height / 6);
    showDetail(demo,
               cropped(seen.get(), at.left, at.top, at.right - at.left, at.bottom - at.top).get(),
               title, call.text, taken, 6);
}

} // namespace

void showSurfaces(Demo& demo)
{
    beginSection(demo, "surfaces", "Draw it on a surface",
                 "Surfaces are objects of the caller's; this page's lie in memory. The photograph "
                 "goes onto one of 32 bits, of 5-6-5 and of 5-5-5 bits a pixel, and back.");
    IplImage* image = demo.image.get();
    const QuibInfo info = infoOf(image);
    const auto pitch = [&](int bytes) { return (info.width * bytes + 3) / 4 * 4; };
    MemorySurface full(info.width, info.height, pitch(4), 32);
    MemorySurface narrow(info.width, info.height, info.width * 2, 16);
    MemorySurface7 narrow7(info.width, info.height, info.width * 2, 16);
    full.setMasks(0xFF0000, 0xFF00, 0xFF);
    narrow.setMasks(0xF800, 0x07E0, 0x001F);
    narrow7.setMasks(0xF800, 0x07E0, 0x001F);
    IDirectDrawSurface* surface = full.get();
    IDirectDrawSurface* surface16 = narrow.get();
    IDirectDrawSurface7* surface7 = narrow7.get();

    beginRow(demo, "A sixth of each side, six times as large", Cards::detail);
    const Handle target = emptyLike(image);
    IplImage* back = target.get();
    const Call there = CALL(Quib2Surface(image, surface)) + CALL(Surface2Quib(surface, back));
    const double taken = timed(there);
    const QuibRect at = detailOf(back, info.width / 6, info.height / 6);
    showDetail(demo, cropped(back, at.left, at.top, at.right - at.left, at.bottom - at.top).get(),
               "32 bits, and read back", there.text, taken, 6);
    showSteps(demo, narrow.pixels(), info, 6, "5-6-5, by the surface's masks",
              CALL(Quib2Surface(image, surface16)));
    showSteps(demo, narrow7.pixels(), info, 6, "5-6-5, by a newer interface",
              CALL(Quib2Surface7(image, surface7)));
    showSteps(demo, narrow.pixels(), info, 5, "5-5-5, without masks",
              CALL(QuibToSurf_16(image, surface16, 0)));
}
