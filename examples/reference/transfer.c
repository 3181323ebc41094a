/* Rectangles moved and stretched, and moving views. */
#include "examples/reference/gallery.h"

EXAMPLE(QuibBlt)
{
    IplImage* photo = photograph("cat", 240, 160, 32);
    IplImage* target = photograph("cup", 240, 160, 32);
    IplImage* cup = copyOf(target);
    before(photo, "photo");
    before(copyOf(target), "target");
    /* shown */
    /* 100 x 80 pixels at (60, 20) of photo go to (20, 60) of target. */
    TRY(QuibBlt(photo, 60, 20, 160, 100, target, 20, 60, 120, 140, 0));
    /* end */
    after(target, "Moved");
    TRY(QuibCopy(cup, &target));
    WROTE(target, "Stretched to the nearest pixels",
          QuibBlt(photo, 60, 20, 160, 100, target, 20, 10, 220, 150, 1));
    TRY(QuibCopy(cup, &target));
    WROTE(target, "From 30 columns left of photo: the content moves left",
          QuibBlt(photo, -30, 20, 70, 100, target, 20, 60, 120, 140, 0));
    return QUIB_OK;
}

EXAMPLE(QuibBlt_PANZOOM)
{
    IplImage* photo = photograph("cat", 240, 160, 32);
    IplImage* view = empty(240, 160, 32);
    before(photo, "photo");
    /* shown */
    /* Column 80.37 of photo lies under column 0 of view, and a step is an eighth. */
    TRY(QuibBlt_PANZOOM(photo, 80.37, 1 / 8.0, 50.61, 1 / 8.0, view, 0, 240, 0, 160, 1));
    /* end */
    after(view, "An eighth of a pixel a step, linear");
    WROTE(view, "Nearest",
          QuibBlt_PANZOOM(photo, 80.37, 1 / 8.0, 50.61, 1 / 8.0, view, 0, 240, 0, 160, 0));
    WROTE(view, "Smoothstep",
          QuibBlt_PANZOOM(photo, 80.37, 1 / 8.0, 50.61, 1 / 8.0, view, 0, 240, 0, 160, 2));
    WROTE(view, "Past the right edge: the last column repeats",
          QuibBlt_PANZOOM(photo, 160, 1 / 1.5, 20, 1 / 1.5, view, 0, 240, 0, 160, 1));
    return QUIB_OK;
}
