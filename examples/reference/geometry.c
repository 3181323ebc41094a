/* Mirrors, turns and warps. */
#include "examples/reference/gallery.h"

EXAMPLE(QuibFlip)
{
    IplImage* photo = photograph("cat", 180, 120, 32);
    IplImage* flipped = empty(180, 120, 32);
    before(photo, "photo");
    /* shown */
    TRY(QuibFlip(photo, flipped, 1)); /* left and right change places */
    /* end */
    after(flipped, "1: columns");
    WROTE(flipped, "0: rows", QuibFlip(photo, flipped, 0));
    WROTE(flipped, "-1: both", QuibFlip(photo, flipped, -1));
    WROTE(photo, "In place", QuibFlip(photo, photo, 1));
    return QUIB_OK;
}

EXAMPLE(QuibRotate)
{
    IplImage* photo = photograph("cat", 180, 120, 32);
    IplImage* turned = empty(180, 120, 32);
    before(photo, "photo");
    /* shown */
    /* 20 degrees counter-clockwise about the middle; what is not covered stays */
    TRY(QuibRotate(photo, turned, 20, 90, 60, IPL_INTER_LINEAR));
    /* end */
    after(turned, "By 20 degrees");
    TRY(QuibFillColor(turned, 0, NULL));
    WROTE(turned, "By 90: pixels are moved, and leave the frame",
          QuibRotate(photo, turned, 90, 90, 60, IPL_INTER_LINEAR));
    TRY(QuibFillColor(turned, 0, NULL));
    WROTE(turned, "About the top left corner",
          QuibRotate(photo, turned, -20, 0, 0, IPL_INTER_LINEAR));

    IplImage* part = detail("cat", 40, 26, 32);
    IplImage* frame = empty(40, 26, 32);
    enlarge(5);
    WROTE(frame, "A detail, nearest", QuibRotate(part, frame, 20, 20, 13, IPL_INTER_NN));
    WROTE(frame, "Linear", QuibRotate(part, frame, 20, 20, 13, IPL_INTER_LINEAR));
    WROTE(frame, "Cubic", QuibRotate(part, frame, 20, 20, 13, IPL_INTER_CUBIC));
    return QUIB_OK;
}

EXAMPLE(QUIBRotate3D)
{
    IplImage* photo = photograph("cat", 180, 120, 32);
    before(photo, "photo");
    /* shown */
    IplImage* turned = NULL;
    TRY(QUIBRotate3D(50, photo, &turned, 2)); /* about the vertical axis */
    /* end */
    after(keep(turned), "2: about the vertical axis");
    IplImage* out = NULL;
    MADE(out, "1: about the horizontal axis", QUIBRotate3D(50, photo, &out, 1));
    MADE(out, "3: in the picture's plane", QUIBRotate3D(50, photo, &out, 3));
    MADE(out, "Past a right angle: mirrored", QUIBRotate3D(130, photo, &out, 2));
    return QUIB_OK;
}

EXAMPLE(QUIBWarpAffine)
{
    IplImage* photo = photograph("cat", 180, 120, 32);
    before(photo, "photo");
    /* shown */
    const double shear[2][3] = {{0.9, 0.4, 0}, {0.1, 0.8, 0}};
    IplImage* warped = NULL;
    TRY(QUIBWarpAffine(photo, &warped, shear, IPL_INTER_LINEAR | IPL_SMOOTH_EDGE));
    /* end */
    after(keep(warped), "Sheared, with soft edges");
    const double move[2][3] = {{1, 0, 40}, {0, 1, 20}};
    IplImage* out = NULL;
    MADE(out, "By {{1, 0, 40}, {0, 1, 20}}: as large as photo, so much is lost",
         QUIBWarpAffine(photo, &out, move, IPL_INTER_LINEAR));
    return QUIB_OK;
}

EXAMPLE(QUIBWarpPerspective)
{
    IplImage* photo = photograph("cat", 180, 120, 32);
    before(photo, "photo");
    /* shown */
    const double quad[4][2] = {{40, 10}, {140, 10}, {175, 110}, {5, 110}};
    double found[3][3];
    IplImage* warped = NULL;
    TRY(QUIBPerspectiveTransform(photo, found, quad));
    const double(*coeffs)[3] = (const double(*)[3])found; /* C wants this cast, C++ does not */
    TRY(QUIBWarpPerspective(photo, &warped, coeffs, 0, IPL_INTER_LINEAR));
    /* end */
    after(keep(warped), "The far edge is shorter");
    IplImage* out = NULL;
    MADE(out, "warpFlag 1: from the result to photo",
         QUIBWarpPerspective(photo, &out, coeffs, 1, IPL_INTER_LINEAR));
    return QUIB_OK;
}

EXAMPLE(QUIBWarpPerspectiveQ)
{
    IplImage* photo = photograph("cat", 180, 120, 32);
    before(photo, "photo");
    /* shown */
    const double quad[4][2] = {{20, 8}, {172, 30}, {150, 112}, {6, 90}};
    IplImage* warped = NULL;
    TRY(QUIBWarpPerspectiveQ(photo, &warped, quad, IPL_INTER_LINEAR, false));
    /* end */
    after(keep(warped), "Onto the quadrangle");
    IplImage* out = NULL;
    MADE(out, "With soft edges",
         QUIBWarpPerspectiveQ(photo, &out, quad, IPL_INTER_LINEAR | IPL_SMOOTH_EDGE, false));
    MADE(out, "warpFlag: the quadrangle onto the frame",
         QUIBWarpPerspectiveQ(photo, &out, quad, IPL_INTER_LINEAR, true));
    const double concave[4][2] = {{10, 8}, {170, 10}, {60, 50}, {12, 112}};
    MADE(out, "A concave one, drawn by scanlines",
         QUIBWarpPerspectiveQ(photo, &out, concave, IPL_INTER_LINEAR, false));
    return QUIB_OK;
}

EXAMPLE(QUIBGetPerspectiveQuad)
{
    IplImage* photo = photograph("cat", 180, 120, 32);
    before(photo, "photo");
    /* shown */
    const double coeffs[3][3] = {{0.8, 0.1, 10}, {0.1, 0.7, 5}, {0.0005, 0.001, 1}};
    double quad[4][2];
    TRY(QUIBGetPerspectiveQuad(photo, coeffs, quad)); /* where the corners go */
    /* end */
    IplImage* warped = NULL;
    TRY(QUIBWarpPerspectiveQ(photo, &warped, (const double(*)[2])quad, IPL_INTER_LINEAR, false));
    keep(warped);
    for (int i = 0; i < 4; ++i) {
        const int x = (int)quad[i][0];
        const int y = (int)quad[i][1];
        QuibRect knob = {x - 3, y - 3, x + 4, y + 4};
        TRY(QuibFillColor(warped, 0xFFE03020u, &knob));
    }
    after(warped, "The corners marked, and the picture between them");
    told("quad is {%.2f, %.2f}, {%.2f, %.2f}, {%.2f, %.2f}, {%.2f, %.2f}.", quad[0][0], quad[0][1],
         quad[1][0], quad[1][1], quad[2][0], quad[2][1], quad[3][0], quad[3][1]);
    return QUIB_OK;
}

EXAMPLE(QUIBPerspectiveTransform)
{
    IplImage* photo = photograph("cat", 180, 120, 32);
    /* shown */
    const double quad[4][2] = {{50, 5}, {130, 5}, {178, 115}, {2, 115}};
    double coeffs[3][3];
    TRY(QUIBPerspectiveTransform(photo, coeffs, quad)); /* photo's corners to quad's */
    /* end */
    before(photo, "photo");
    IplImage* warped = NULL;
    TRY(QUIBWarpPerspective(photo, &warped, (const double(*)[3])coeffs, 0, IPL_INTER_CUBIC));
    after(keep(warped), "QUIBWarpPerspective by the coefficients");
    for (int i = 0; i < 3; ++i)
        told("Row %d of coeffs: %.6f, %.6f, %.6f.", i, coeffs[i][0], coeffs[i][1], coeffs[i][2]);
    return QUIB_OK;
}
