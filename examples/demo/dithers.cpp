// Fewer levels, by each dither. iplReduceBits is the engine's own: the shared library
// does not export it, and programs meet it in iplConvertToDIB.
#include "examples/demo/families.h"
#include "examples/demo/tools.h"

#include "_Src/ipl.h"

namespace
{

// The dithers of a picture at so many levels, enlarged.
void showDithers(Demo& demo, const IplImage* image, const std::string& label, int levels)
{
    struct Dither {
        const char* title;
        Call call;
    };
    const QuibInfo info = infoOf(image);
    const Handle target = create(info.width, info.height, info.bitDepth);
    IplImage* reduced = target.get();
    beginRow(demo, label, Cards::detail);
    for (const Dither& dither :
         {Dither{"Floyd and Steinberg",
                 ENGINE_CALL(iplReduceBits(image, reduced, 0, IPL_DITHER_FS, levels))},
          Dither{"Jarvis, Judice and Ninke",
                 ENGINE_CALL(iplReduceBits(image, reduced, 0, IPL_DITHER_JJH, levels))},
          Dither{"Stucki",
                 ENGINE_CALL(iplReduceBits(image, reduced, 0, IPL_DITHER_STUCKEY, levels))},
          Dither{"Bayer",
                 ENGINE_CALL(iplReduceBits(image, reduced, 0, IPL_DITHER_BAYER, levels))}}) {
        const Call call = dither.call.with("levels", levels);
        const double taken = timed(call);
        showDetail(demo, reduced, dither.title, call.text, taken, 3);
    }
}

} // namespace

void showReducedBits(Demo& demo)
{
    beginSection(demo, "dithers", "Take its levels away",
                 "Three dithers hand the error of each pixel on to its neighbours, one compares "
                 "with a matrix of thresholds. This is a function of the engine, which the shared "
                 "library keeps to itself.");
    const QuibInfo info = infoOf(demo.image.get());
    const QuibRect at = detailOf(demo.image.get(), info.width / 3, info.height / 3);
    const Handle part =
        cropped(demo.image.get(), at.left, at.top, at.right - at.left, at.bottom - at.top);
    IplImage* gray = nullptr;
    check(QuibColorToGray(part.get(), &gray), "QuibColorToGray");
    const Handle owner(gray);
    for (const int levels : {2, 4, 16})
        showDithers(demo, gray, std::to_string(levels) + " levels, three times as large", levels);
    const Handle colour = dropAlpha(part.get());
    showDithers(demo, colour.get(), "2 levels of each colour", 2);
}
