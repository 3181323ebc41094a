// The functions that are declared for C++ alone.
#include "examples/reference/gallery.h"

EXAMPLE(QuibColorConversion)
{
    IplImage* photo = photograph("cat", 240, 160, 32);
    IplImage* gray = photograph("cup", 240, 160, 8);
    before(photo, "photo, 240 x 160");
    before(gray, "gray, 240 x 160");
    /* shown */
    TRY(QuibColorConversion(photo, gray)); // of one size: 0; no pixel changes
    /* end */
    IplImage* small = photograph("cup", 120, 80, 8);
    after(small, "small, 120 x 80");
    told("QuibColorConversion(photo, small) gives QUIB_BAD_ARGUMENT: %s.",
         QuibColorConversion(photo, small) == QUIB_BAD_ARGUMENT ? "yes" : "no");
    return QUIB_OK;
}

EXAMPLE(QUIBWarpPerspectiveQ_)
{
    IplImage* photo = photograph("cat", 180, 120, 32);
    before(photo, "photo");
    /* shown */
    const double quad[4][2] = {{20, 8}, {150, 20}, {120, 90}, {6, 80}};
    IplImage* warped = nullptr;
    TRY(QUIBWarpPerspectiveQ_(photo, &warped, quad, IPL_INTER_LINEAR, false));
    /* end */
    after(keep(warped), "A new handle as large as the quadrangle's box");
    IplImage* frame = empty(180, 120, 32);
    WROTE(frame, "Into an existing handle, with soft edges",
          QUIBWarpPerspectiveQ_(photo, &frame, quad, IPL_INTER_CUBIC | IPL_SMOOTH_EDGE, false));
    return QUIB_OK;
}
