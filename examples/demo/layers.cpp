// A file of two layers, a picture and a frame, opened as a picture and a mask.
#include "examples/demo/families.h"
#include "examples/demo/tools.h"
#include "examples/support/layeredfile.h"

#include <algorithm>
#include <cmath>

namespace
{

// An 8-bit plane with a round window in the middle.
Handle frameOf(int width, int height)
{
    Handle plane = softEllipse(width, height);
    for (int y = 0; y < height; ++y) {
        uint8_t* row = rowOf(plane.get(), y);
        std::transform(row, row + width, row, [](uint8_t v) { return uint8_t(255 - v); });
    }
    return plane;
}

Layer layerOf(const char* name, const IplImage* colours, const IplImage* transparency)
{
    const QuibInfo info = infoOf(colours);
    Layer layer{name, info.width, info.height, {}};
    for (int y = 0; y < info.height; ++y) {
        const uint8_t* colour = rowOf(colours, y);
        const uint8_t* alpha = rowOf(transparency, y);
        for (int x = 0; x < info.width; ++x)
            layer.pixels.insert(layer.pixels.end(),
                                {colour[x * 4 + 2], colour[x * 4 + 1], colour[x * 4], alpha[x]});
    }
    return layer;
}

} // namespace

void showLayers(Demo& demo)
{
    beginSection(demo, "layers", "Open a file of layers",
                 "The demo writes a PSD file with the photograph below and a frame above. It opens "
                 "as a picture with alpha and the mask that the frame leaves.");
    const QuibInfo info = infoOf(demo.image.get());
    const Handle frame = frameOf(info.width, info.height);
    Handle soft = create(info.width, info.height, 8);
    QuibRect inner{info.width / 12, info.height / 12, info.width * 11 / 12, info.height * 11 / 12};
    check(QuibFillColor(soft.get(), 255, &inner), "QuibFillColor");
    const std::string path = demo.folder + "/layers.psd";
    if (!writeLayeredFile(path, {layerOf("photograph", demo.image.get(), soft.get()),
                                 layerOf("frame", demo.backdrop.get(), frame.get())}))
        fail("cannot write " + path);

    const char* file = path.c_str();
    IplImage* picture = nullptr;
    IplImage* mask = nullptr;
    const Call open =
        CALL(QuibLoadFramePsd2Bmp(file, &picture, &mask)).with("file", "\"layers.psd\"");
    const double taken = timed(open, [&] {
        if (picture)
            check(QuibFree(&picture), "QuibFree");
        if (mask)
            check(QuibFree(&mask), "QuibFree");
    });
    const Handle pictureOwner(picture);
    const Handle maskOwner(mask);
    beginRow(demo, "", Cards::normal);
    show(demo, picture, "The picture, with the lower layer's alpha", open.text, taken, Look::alpha);
    show(demo, mask, "The mask, of the upper layer", open.text, taken);

    IplImage* under = demo.backdrop.get();
    IplImage* result = nullptr;
    showMade(demo, "The picture through the mask", &result,
             CALL(QuibNot(mask, &result)) + CALL(QuibSetAlpha(picture, result, 100)) +
                 CALL(QuibFree(&result)) + CALL(QuibComposition3(picture, under, &result)));
}
