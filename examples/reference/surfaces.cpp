// Drawing surfaces. The snippets are plain C as well.
#include "examples/reference/gallery.h"

#include "examples/support/memorysurface.h"

#include <cstring>

namespace
{

constexpr int width = 60;
constexpr int height = 40;

// What a surface of 16 bits shows: each channel's bits, spread over a byte.
IplImage* seenOn(const uint8_t* pixels, int greenBits)
{
    IplImage* seen = empty(width, height, 32);
    const auto spread = [](int value, int bits) {
        return static_cast<uint8_t>((value & ((1 << bits) - 1)) * 255 / ((1 << bits) - 1));
    };
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x, pixels += 2) {
            const int word = pixels[0] | pixels[1] << 8;
            const uint8_t pixel[] = {spread(word, 5), spread(word >> 5, greenBits),
                                     spread(word >> (5 + greenBits), 5), 255};
            std::memcpy(rowOf(seen, y) + 4 * x, pixel, 4);
        }
    return seen;
}

// A picture with few shades, in which lost bits show.
IplImage* picture(int bitDepth)
{
    return detail("cat", width, height, bitDepth);
}

} // namespace

EXAMPLE(Quib2Surface)
{
    MemorySurface narrow(width, height, width * 2, 16);
    narrow.setMasks(0xF800, 0x07E0, 0x001F);
    IDirectDrawSurface* surface = narrow.get();
    IplImage* photo = picture(32);
    enlarge(4);
    before(photo, "photo, a detail of 60 x 40");
    /* shown */
    TRY(Quib2Surface(photo, surface)); /* of the same size; here 5-6-5 bits a pixel */
    /* end */
    after(seenOn(narrow.pixels(), 6), "On the surface");
    narrow.setMasks(0x7C00, 0x03E0, 0x001F);
    TRY(Quib2Surface(photo, surface));
    afterCall(seenOn(narrow.pixels(), 5), "On one of 5-5-5 bits", "Quib2Surface(photo, surface)");
    return QUIB_OK;
}

EXAMPLE(Quib2Surface7)
{
    MemorySurface7 narrow(width, height, width * 2, 16);
    narrow.setMasks(0xF800, 0x07E0, 0x001F);
    IDirectDrawSurface7* surface = narrow.get();
    IplImage* photo = picture(24);
    enlarge(4);
    before(photo, "photo, a detail of 60 x 40 and 24 bits");
    /* shown */
    TRY(Quib2Surface7(photo, surface)); /* of the same size; here 5-6-5 bits a pixel */
    /* end */
    after(seenOn(narrow.pixels(), 6),
          "On the surface: of 24 bits the last two columns go the other way");
    IplImage* opaque = picture(32);
    TRY(Quib2Surface7(opaque, surface));
    afterCall(seenOn(narrow.pixels(), 6), "Of 32 bits and an even width all are drawn",
              "Quib2Surface7(opaque, surface)");
    return QUIB_OK;
}

EXAMPLE(Surface2Quib)
{
    MemorySurface full(width, height, width * 4, 32);
    IDirectDrawSurface* surface = full.get();
    IplImage* photo = inEllipse(picture(32));
    TRY(Quib2Surface(photo, surface));
    IplImage* image = empty(width, height, 32);
    enlarge(4);
    before(photo, "What lies on the surface, of 32 bits");
    /* shown */
    TRY(Surface2Quib(surface, image)); /* of the same size; alpha becomes 255 */
    /* end */
    after(image, "image");
    return QUIB_OK;
}

EXAMPLE(QuibToSurf_16)
{
    MemorySurface narrow(width, height, width * 2, 16);
    IDirectDrawSurface* surface = narrow.get();
    IplImage* photo = picture(32);
    enlarge(4);
    before(photo, "photo, a detail of 60 x 40");
    /* shown */
    TRY(QuibToSurf_16(photo, surface, 1)); /* 5-6-5; the surface's masks do not count */
    /* end */
    after(seenOn(narrow.pixels(), 6), "1: 5-6-5 bits");
    TRY(QuibToSurf_16(photo, surface, 0));
    afterCall(seenOn(narrow.pixels(), 5), "0: 5-5-5 bits", "QuibToSurf_16(photo, surface, 0)");
    return QUIB_OK;
}
