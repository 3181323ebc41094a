// Parts of a picture moved, stretched, and seen through a view that moves.
#include "examples/demo/families.h"
#include "examples/demo/tools.h"

void showTransfer(Demo& demo)
{
    beginSection(demo, "parts", "Show a part of it",
                 "A rectangle goes from one handle into another, as it is or stretched to the "
                 "nearest pixel. A moving view starts anywhere between two pixels and steps by any "
                 "fraction.");
    IplImage* image = demo.image.get();
    const QuibInfo info = infoOf(image);
    const int right = info.width;
    const int bottom = info.height;
    const Handle target = emptyLike(image);
    IplImage* view = target.get();

    beginRow(demo, "Rectangles", Cards::normal);
    const QuibRect part = detailOf(image, right / 3, bottom / 3);
    const auto told = [&](const Call& call) {
        return call.with("part\\.left", part.left)
            .with("part\\.top", part.top)
            .with("part\\.right", part.right)
            .with("part\\.bottom", part.bottom)
            .with("right", right)
            .with("bottom", bottom);
    };
    showWritten(demo, "A ninth of it, in its place", view,
                told(CALL(QuibBlt(image, part.left, part.top, part.right, part.bottom, view,
                                  part.left, part.top, part.right, part.bottom, 0))),
                Look::cutOut);
    showWritten(demo, "The same stretched", view,
                told(CALL(QuibBlt(image, part.left, part.top, part.right, part.bottom, view, 0, 0,
                                  right, bottom, 1))));
    const Handle copy = copyOf(image);
    const int columns = part.right - part.left;
    const int rows = part.bottom - part.top;
    IplImage* itself = copy.get();
    showWritten(demo, "Moved within one handle", itself,
                told(CALL(QuibBlt(itself, part.left, part.top, part.right, part.bottom, itself, 0,
                                  0, columns, rows, 0))
                         .with("columns", columns)
                         .with("rows", rows)));

    beginRow(demo, "A view that starts between two pixels and steps by a seventh of one",
             Cards::detail);
    const double x = part.left + 0.37;
    const double y = part.top + 0.61;
    const auto shown = [&](const char* title, const Call& call) {
        showWritten(demo, title, view, call, Look::exact);
    };
    shown("Nearest", CALL(QuibBlt_PANZOOM(image, x, 1 / 7.0, y, 1 / 7.0, view, 0, right, 0, bottom,
                                          STRETCH_NEAREST)));
    shown("Linear", CALL(QuibBlt_PANZOOM(image, x, 1 / 7.0, y, 1 / 7.0, view, 0, right, 0, bottom,
                                         STRETCH_LINEAR)));
    shown("Smooth", CALL(QuibBlt_PANZOOM(image, x, 1 / 7.0, y, 1 / 7.0, view, 0, right, 0, bottom,
                                         STRETCH_SMOOTH)));
}
