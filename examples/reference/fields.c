/* The two fields of a video frame. */
#include "examples/reference/gallery.h"

/* Two moments of a moving picture woven into one frame. */
static QuibStatus weave(int width, int height, IplImage** even, IplImage** odd, IplImage** frame)
{
    IplImage* first = detail("cat", width + 6, height, 32);
    *even = empty(width, height, 32);
    *odd = empty(width, height, 32);
    TRY(QuibBlt(first, 0, 0, width, height, *even, 0, 0, width, height, 0));
    TRY(QuibBlt(first, 6, 0, width + 6, height, *odd, 0, 0, width, height, 0));
    return QuibUnInterlace(*even, *odd, frame);
}

EXAMPLE(QuibInterlace)
{
    IplImage* even = NULL;
    IplImage* odd = NULL;
    IplImage* frame = NULL;
    TRY(weave(60, 40, &even, &odd, &frame));
    keep(frame);
    IplImage* woven = copyOf(frame);
    enlarge(4);
    before(woven, "frame: odd rows are a moment later");
    /* shown */
    TRY(QuibInterlace(frame, 1)); /* each odd row becomes the even one above it */
    /* end */
    after(frame, "1: the even rows, twice");
    TRY(QuibCopy(woven, &frame));
    WROTE(frame, "0: the odd rows, twice", QuibInterlace(frame, 0));
    return QUIB_OK;
}

EXAMPLE(QuibUnInterlace)
{
    IplImage* even = NULL;
    IplImage* odd = NULL;
    IplImage* woven = NULL;
    TRY(weave(60, 40, &even, &odd, &woven));
    TRY(QuibFree(&woven));
    enlarge(4);
    before(even, "even");
    before(odd, "odd, a moment later");
    /* shown */
    IplImage* frame = NULL;
    TRY(QuibUnInterlace(even, odd, &frame)); /* a new handle */
    /* end */
    after(keep(frame), "frame, woven of both");
    return QUIB_OK;
}
