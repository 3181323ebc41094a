// Alpha planes, and pictures laid over one another.
#include "examples/demo/families.h"
#include "examples/demo/tools.h"

namespace
{

// The photograph in an ellipse, for the composites by type, and a slanted half.
Handle inEllipse(const IplImage* image)
{
    const QuibInfo info = infoOf(image);
    Handle shaped = copyOf(image);
    check(QuibSetAlpha(shaped.get(), softEllipse(info.width, info.height).get(), 100),
          "QuibSetAlpha");
    return shaped;
}

Handle inWedge(const IplImage* image)
{
    const QuibInfo info = infoOf(image);
    Handle shaped = copyOf(image);
    for (int y = 0; y < info.height; ++y) {
        uint8_t* row = rowOf(shaped.get(), y);
        for (int x = 0; x < info.width; ++x)
            row[x * 4 + 3] = x * info.height > y * info.width ? 230 : 0;
    }
    return shaped;
}

void showHero(Demo& demo)
{
    const QuibInfo size = infoOf(demo.image.get());
    const QuibPoint large = fitted(size, 600, 400);
    const Handle over =
        inEllipse(resized(demo.photograph.get(), large.x, large.y, STRETCH_SMOOTH).get());
    const Handle under = resized(demo.backdrop.get(), large.x, large.y, STRETCH_SMOOTH);
    const IplImage* image = over.get();
    IplImage* backdrop = under.get();
    IplImage* result = nullptr;
    const Call call = CALL(QuibComposition3(image, backdrop, &result));
    const double taken = timed(call, [&] {
        if (result)
            check(QuibFree(&result), "QuibFree");
    });
    demo.composition.reset(result);
    show(demo, result, "Over the second photograph", call.text, taken, Look::exact);
    demo.page.hero = demo.page.sections.back().rows.back().figures.back();
}

// Calls that write into the lower picture.
void showInPlace(Demo& demo)
{
    beginRow(demo, "In place, where heights grow upwards", Cards::normal);
    const QuibInfo info = infoOf(demo.backdrop.get());
    const QuibPoint size = fitted(info, info.width * 3 / 5, info.height * 3 / 5);
    const Handle shaped =
        inEllipse(resized(demo.image.get(), size.x, size.y, STRETCH_SMOOTH).get());
    const IplImage* image = shaped.get();
    const Handle target = copyOf(demo.backdrop.get());
    IplImage* under = target.get();
    const QuibPoint place{info.width - size.x - 12, size.y + 12 - info.height};
    showWritten(demo, "At a position", under,
                CALL(QuibComposition4(image, under, &place, nullptr)));
    check(QuibCopy(demo.backdrop.get(), &under), "QuibCopy");
    const QuibRect limit{place.x + size.x / 4, place.y - size.y / 4, place.x + size.x * 3 / 4,
                         place.y - size.y * 3 / 4};
    showWritten(demo, "Inside a rectangle", under,
                CALL(QuibComposition4(image, under, &place, &limit)));

    const Handle half = copyOf(demo.image.get());
    IplImage* sheer = half.get();
    IplImage* backdrop = demo.backdrop.get();
    IplImage* result = nullptr;
    showMade(demo, "Half of each, by the upper alpha alone", &result,
             CALL(QuibSetAlphaS(sheer, nullptr, 128)) +
                 CALL(QuibComposition_s(sheer, backdrop, &result)));
}

} // namespace

void showAlpha(Demo& demo)
{
    beginSection(demo, "alpha", "Give it alpha and lay it over another",
                 "An 8-bit plane becomes the alpha of the photograph, whole and at 60 per cent; "
                 "each pixel is then blended over the second photograph by Porter and Duff's "
                 "“over”.");
    beginRow(demo, "", Cards::normal);
    const QuibInfo info = infoOf(demo.image.get());
    const Handle ellipse = softEllipse(info.width, info.height);
    const IplImage* plane = ellipse.get();
    const Handle copy = copyOf(demo.image.get());
    IplImage* image = copy.get();
    show(demo, plane, "The alpha plane", "", -1);
    showWritten(demo, "The photograph with it", image, CALL(QuibSetAlpha(image, plane, 100)),
                Look::alpha);
    showWritten(demo, "At 60 per cent", image, CALL(QuibSetAlpha(image, plane, 60)), Look::alpha);
    showHero(demo);
    showInPlace(demo);
}

void showComposites(Demo& demo)
{
    beginSection(demo, "composites", "Composites of every type",
                 "Two pictures with alpha, the cat in an ellipse and the cup in a triangle, by the "
                 "six types of Porter and Duff (1984), with their own alphas or one for all "
                 "pixels.");
    const QuibInfo info = infoOf(demo.tile.get());
    const Handle upper = inEllipse(demo.tile.get());
    const Handle lower =
        inWedge(resized(demo.backdrop.get(), info.width, info.height, IPL_INTER_SUPER).get());
    IplImage* a = upper.get();
    IplImage* b = lower.get();
    IplImage* result = nullptr;
    const char* const names[] = {"Over", "In", "Out", "Atop", "Exclusive or", "Plus"};
    beginRow(demo, "By the alphas of both, straight", Cards::small);
    for (int type = 0; type < 6; ++type)
        showMade(demo, names[type], &result,
                 CALL(QuibComposition1(a, b, &result, nullptr, nullptr, nullptr, type, 0, 1))
                     .with("type", type),
                 Look::alpha);
    beginRow(demo, "By an alpha for each picture", Cards::small);
    for (int type = 0; type < 6; ++type)
        showMade(demo, names[type], &result,
                 CALL(QuibComposition2(a, b, 200, 120, &result, nullptr, nullptr, nullptr, type))
                     .with("type", type));
}
