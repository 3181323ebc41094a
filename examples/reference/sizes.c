/* Other sizes: the modes differ in detail, so details are shown. */
#include "examples/reference/gallery.h"

EXAMPLE(QuibResize)
{
    IplImage* photo = photograph("cat", 240, 160, 32);
    before(photo, "photo, 240 x 160");
    /* shown */
    IplImage* frame = NULL;
    TRY(QuibCreate0(120, 200, 32, &frame)); /* narrower and higher */
    TRY(QuibResize(photo, frame, STRETCH_SMOOTH));
    /* end */
    after(keep(frame), "frame, 120 x 200");

    IplImage* part = detail("cat", 40, 26, 32);
    IplImage* large = empty(240, 156, 32);
    enlarge(6);
    before(part, "part, 40 x 26");
    enlarge(1);
    WROTE(large, "Six times as large: nearest", QuibResize(part, large, STRETCH_NEAREST));
    WROTE(large, "Linear", QuibResize(part, large, STRETCH_LINEAR));
    WROTE(large, "Smooth", QuibResize(part, large, STRETCH_SMOOTH));
    WROTE(large, "Linear, rows in pairs: for interlaced frames",
          QuibResize(part, large, STRETCH_PAIRS_LINEAR));

    IplImage* small = empty(48, 32, 32);
    enlarge(5);
    WROTE(small, "A fifth of photo: nearest", QuibResize(photo, small, STRETCH_NEAREST));
    WROTE(small, "Linear", QuibResize(photo, small, STRETCH_LINEAR));
    WROTE(small, "The average of each area", QuibResize(photo, small, IPL_INTER_SUPER));
    return QUIB_OK;
}

EXAMPLE(QuibResizeFit)
{
    IplImage* part = detail("cat", 40, 26, 24);
    IplImage* large = empty(240, 156, 24);
    enlarge(6);
    before(part, "part, 40 x 26 and 24 bits");
    enlarge(1);
    /* shown */
    TRY(QuibResizeFit(part, large, IPL_INTER_CUBIC)); /* large is 240 x 156 */
    /* end */
    after(large, "Six times as large: cubic");
    WROTE(large, "Linear", QuibResizeFit(part, large, IPL_INTER_LINEAR));
    WROTE(large, "Nearest", QuibResizeFit(part, large, IPL_INTER_NN));
    IplImage* photo = photograph("cat", 240, 160, 24);
    IplImage* small = empty(48, 32, 24);
    enlarge(5);
    WROTE(small, "A fifth of the photograph: areas", QuibResizeFit(photo, small, IPL_INTER_SUPER));
    return QUIB_OK;
}
