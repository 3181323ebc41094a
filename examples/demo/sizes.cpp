// Sizes: the modes differ in detail, so details are shown.
#include "examples/demo/families.h"
#include "examples/demo/tools.h"

namespace
{

void showEnlarged(Demo& demo, const IplImage* part)
{
    beginRow(demo, "A sixth of each side enlarged six times, 32 bits", Cards::detail);
    IplImage* image = const_cast<IplImage*>(part);
    const QuibInfo info = infoOf(image);
    const Handle target = create(info.width * 6, info.height * 6, 32);
    IplImage* larger = target.get();
    showWritten(demo, "Nearest", larger, CALL(QuibResize(image, larger, STRETCH_NEAREST)),
                Look::exact);
    showWritten(demo, "Linear", larger, CALL(QuibResize(image, larger, STRETCH_LINEAR)),
                Look::exact);
    showWritten(demo, "Smooth", larger, CALL(QuibResize(image, larger, STRETCH_SMOOTH)),
                Look::exact);
    showWritten(demo, "Cubic, by the engine", larger,
                CALL(QuibResizeFit(image, larger, IPL_INTER_CUBIC)), Look::exact);
}

// Two fields of a frame, one a few columns further: what pairs of rows are for.
void showRowPairs(Demo& demo, const IplImage* part)
{
    beginRow(demo, "The same of an interlaced frame, whose odd rows are a moment later",
             Cards::detail);
    const QuibInfo info = infoOf(part);
    IplImage* even = const_cast<IplImage*>(part);
    const Handle later = copyOf(part);
    check(QuibBlt(even, 0, 0, info.width - 4, info.height, later.get(), 4, 0, info.width,
                  info.height, 0),
          "QuibBlt");
    IplImage* woven = nullptr;
    check(QuibUnInterlace(even, later.get(), &woven), "QuibUnInterlace");
    const Handle owner(woven);
    IplImage* image = woven;
    const Handle target = create(info.width * 6, info.height * 6, 32);
    IplImage* larger = target.get();
    showWritten(demo, "Nearest", larger, CALL(QuibResize(image, larger, STRETCH_NEAREST)),
                Look::exact);
    showWritten(demo, "Nearest, rows in pairs", larger,
                CALL(QuibResize(image, larger, STRETCH_PAIRS_NEAREST)), Look::exact);
    showWritten(demo, "Linear", larger, CALL(QuibResize(image, larger, STRETCH_LINEAR)),
                Look::exact);
    showWritten(demo, "Linear, rows in pairs", larger,
                CALL(QuibResize(image, larger, STRETCH_PAIRS_LINEAR)), Look::exact);
}

void showReduced(Demo& demo)
{
    beginRow(demo, "Reduced to a fifth, and shown five times as large", Cards::detail);
    const QuibInfo info = infoOf(demo.image.get());
    const auto reduce = [&](const char* title, const IplImage* smaller, const Call& call) {
        const double taken = timed(call);
        showDetail(demo, smaller, title, call.text, taken, 5);
    };
    IplImage* image = demo.image.get();
    const Handle target = create(info.width / 5, info.height / 5, 32);
    IplImage* smaller = target.get();
    reduce("Nearest", smaller, CALL(QuibResize(image, smaller, STRETCH_NEAREST)));
    reduce("Linear", smaller, CALL(QuibResize(image, smaller, STRETCH_LINEAR)));
    reduce("Area average", smaller, CALL(QuibResize(image, smaller, IPL_INTER_SUPER)));

    const Handle colour = dropAlpha(image);
    const Handle smallColour = create(info.width / 5, info.height / 5, 24);
    IplImage* colour24 = colour.get();
    IplImage* smaller24 = smallColour.get();
    reduce("Area average, 24 bits", smaller24,
           CALL(QuibResize(colour24, smaller24, IPL_INTER_SUPER)));
}

} // namespace

void showSizes(Demo& demo)
{
    beginSection(demo, "size", "Change its size",
                 "32-bit pictures go through the stretchers, other kinds and area averages through "
                 "the engine. Two modes keep rows in pairs, for interlaced video.");
    const QuibInfo info = infoOf(demo.image.get());
    const QuibRect part = detailOf(demo.image.get(), info.width / 6, info.height / 6 & ~1);
    const Handle image = cropped(demo.image.get(), part.left, part.top, part.right - part.left,
                                 part.bottom - part.top);
    showEnlarged(demo, image.get());
    showRowPairs(demo, image.get());
    showReduced(demo);
}
