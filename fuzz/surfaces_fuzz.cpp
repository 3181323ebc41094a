// Images of all kinds, drawn into surfaces that describe themselves in any way, and read
// from them; and the fields of frames.
#include "fuzz/pictures.h"
#include "fuzz/surface.h"

namespace
{

void drawOld(FuzzInput& input, IplImage* image, FuzzOldSurface& surface)
{
    switch (input.choose(5)) {
    case 0:
    case 1:
        Quib2Surface(image, surface.get());
        break;
    case 2:
        Surface2Quib(surface.get(), image);
        break;
    case 3:
        QuibToSurf_16(image, surface.get(), input.below(2));
        break;
    default:
        QuibInterlace(surface.get(), 2 + input.choose(2));
        break;
    }
}

// What the fields of frames are made of.
void mixFields(FuzzInput& input, IplImage* image, IplImage* other)
{
    QuibInterlace(image, input.choose(2));
    FuzzMade made;
    IplImage* given[] = {image, other};
    IplImage** to[] = {&made.image, &given[0], &given[1]};
    QuibUnInterlace(image, other, to[input.choose(3)]);
}

} // namespace

void runFuzzInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    useLevelFrom(input);
    const FuzzFormat format = formatFrom(input);
    FuzzPicture picture(input, format);
    const uint32_t kind = input.choose(8);
    if (kind == 0) {
        FuzzPicture other(input, input.rarely(4) ? formatFrom(input) : format);
        mixFields(input, picture.image, other.image);
    } else if (kind < 3) {
        FuzzLateSurface surface(input, picture.image->width, picture.image->height);
        Quib2Surface7(picture.image, surface.get());
    } else {
        FuzzOldSurface surface(input, picture.image->width, picture.image->height);
        drawOld(input, picture.image, surface);
    }
}
