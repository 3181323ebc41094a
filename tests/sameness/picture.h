// The images of the corpus.
#pragma once

#include "tests/sameness/corpus.h"
#include "tests/support/images.h"
#include "tests/support/tiles.h"

#include <memory>
#include <vector>

struct Format {
    uint32_t depth = IPL_DEPTH_8U;
    int32_t channels = 1;
    int32_t alphaChannel = 0;
    int32_t dataOrder = IPL_DATA_ORDER_PIXEL;
    int32_t origin = IPL_ORIGIN_TL;
    int32_t align = 4;
};

// Of all depths, orders and numbers of channels.
Format anyFormat(Call& call);
Format formatOfDepth(Call& call, uint32_t depth);
// As the library makes them, of 1, 8, 24 and 32 bits.
Format handleFormat(Call& call);
Format formatOfBits(int32_t bits);
// Mostly the first one, now and then another.
Format mostly(Call& call, const Format& format, Format (*other)(Call& call));

// What an image has besides its pixels, each now and then.
constexpr uint32_t withRegion = 1;
constexpr uint32_t withMask = 2;
constexpr uint32_t withBorders = 4;
constexpr uint32_t withTiles = 8;
constexpr uint32_t withOddFloats = 16; // infinite, tiny, not a number
constexpr uint32_t withAll = 15;

struct Size {
    int32_t width;
    int32_t height;
};
Size anySize(Call& call);

// Which bytes of an image belong to the result.
enum class Seen { pixels, wholeRows, colours, header };

// Adds a record and its pixels to the case's digest.
void see(Call& call, const IplImage* image, Seen seen = Seen::pixels);

// An image of random pixels, which joins the case's digest at its end.
class Picture
{
public:
    Picture(Call& owner, const char* name, const Format& format, uint32_t parts = 0);
    Picture(Call& owner, const char* name, const Format& format, const Size& size, uint32_t parts);
    ~Picture();
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    // What to hand to a function: the image, or one whose pixels lie in tiles.
    IplImage* get() const { return tiled ? tiled->get() : image.get(); }
    operator IplImage*() const { return get(); }
    IplImage* operator->() const { return get(); }
    Size size() const { return {image->width, image->height}; }

    Seen seen = Seen::pixels;

private:
    void giveRegion();
    void giveMask();
    void giveBorders();
    void giveOddFloats();
    void giveTiles();

    Call& call;
    Image image;
    std::unique_ptr<TiledTwin> tiled;
};

// A handle that a call makes, or none; it joins the case's digest at its end. After a
// report its pixels are nobody's.
class Made
{
public:
    explicit Made(Call& owner, Seen bytes = Seen::pixels) : call(owner), seen(bytes) {}
    ~Made()
    {
        see(call, image, iplGetStatus() == 0 ? seen : Seen::header);
        iplDeallocate(image, IPL_IMAGE_ALL);
    }
    Made(const Made&) = delete;
    Made& operator=(const Made&) = delete;

    IplImage** address() { return &image; }

    IplImage* image = nullptr;

private:
    Call& call;
    Seen seen;
};

inline void give(Call& call, QuibStatus status)
{
    call.digest.integer(static_cast<int32_t>(status));
}
