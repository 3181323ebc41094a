/* Alpha, and pictures laid over one another. */
#include "examples/reference/gallery.h"

EXAMPLE(QuibComposition3)
{
    IplImage* under = photograph("cup", 240, 160, 32);
    IplImage* over = inEllipse(photograph("cat", 240, 160, 32));
    before(over, "over");
    before(under, "under");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibComposition3(over, under, &result)); /* a new handle */
    /* end */
    after(keep(result), "result");
    IplImage* wedge = inWedge(under);
    IplImage* both = NULL;
    MADE(both, "Over a picture that is transparent in a half",
         QuibComposition3(over, wedge, &both));
    WROTE(under, "Without a result: in place", QuibComposition3(over, under, NULL));
    return QUIB_OK;
}

EXAMPLE(QuibComposition4)
{
    IplImage* under = photograph("cup", 240, 160, 32);
    IplImage* cup = copyOf(under);
    IplImage* over = inEllipse(photograph("cat", 150, 100, 32));
    before(over, "over");
    before(cup, "under");
    /* shown */
    QuibPoint position = {60, -40}; /* y grows upwards: row 40 of under */
    TRY(QuibComposition4(over, under, &position, NULL));
    /* end */
    after(under, "At a position");
    TRY(QuibCopy(cup, &under));
    QuibRect rectangle = {90, -50, 180, -110}; /* left, top, right, bottom */
    WROTE(under, "Inside the rectangle {90, -50, 180, -110}",
          QuibComposition4(over, under, &position, &rectangle));
    return QUIB_OK;
}

EXAMPLE(QuibComposition_s)
{
    IplImage* under = photograph("cup", 240, 160, 32);
    IplImage* over = photograph("cat", 240, 160, 32);
    before(copyOf(over), "over, before its alpha is set");
    before(under, "under");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibSetAlphaS(over, NULL, 128));
    TRY(QuibComposition_s(over, under, &result)); /* half of each, and opaque */
    /* end */
    after(keep(result), "result");
    IplImage* shaped = inEllipse(over);
    IplImage* wedge = inWedge(under);
    IplImage* both = NULL;
    MADE(both, "The lower picture's alpha does not count, and becomes 255",
         QuibComposition_s(shaped, wedge, &both));
    return QUIB_OK;
}

EXAMPLE(QuibSetAlphaS)
{
    IplImage* image = photograph("cat", 180, 120, 32);
    IplImage* photo = copyOf(image);
    before(photo, "image");
    /* shown */
    TRY(QuibSetAlphaS(image, NULL, 128)); /* half transparent */
    /* end */
    after(image, "With alpha 128 throughout");
    TRY(QuibCopy(photo, &image));
    QuibRect rect = {0, 30, 90, 90};
    WROTE(image, "With rect {0, 30, 90, 90}: 60 rows, but from the first one on",
          QuibSetAlphaS(image, &rect, 60));
    return QUIB_OK;
}

EXAMPLE(QuibSetAlpha)
{
    IplImage* image = photograph("cat", 180, 120, 32);
    IplImage* plane = ellipse(180, 120);
    before(copyOf(image), "image");
    before(plane, "plane, of 8 bits");
    /* shown */
    TRY(QuibSetAlpha(image, plane, 100));
    /* end */
    after(image, "With the plane as alpha");
    WROTE(image, "At 60 per cent", QuibSetAlpha(image, plane, 60));
    TRY(QuibSetAlpha(image, plane, 100));
    WROTE(image, "Without a plane: 30 per cent of what is there", QuibSetAlpha(image, NULL, 30));
    return QUIB_OK;
}

EXAMPLE(QuibComposition1)
{
    IplImage* a = inEllipse(photograph("cat", 180, 120, 32));
    IplImage* b = inWedge(photograph("cup", 180, 120, 32));
    before(a, "a");
    before(b, "b");
    /* shown */
    /* a over b, by the alphas of both; divided, so that colours are straight again */
    IplImage* result = NULL;
    TRY(QuibComposition1(a, b, &result, NULL, NULL, NULL, 0, 0, 1));
    /* end */
    after(keep(result), "0: over");
    IplImage* out = NULL;
    MADE(out, "1: in", QuibComposition1(a, b, &out, NULL, NULL, NULL, 1, 0, 1));
    MADE(out, "2: out", QuibComposition1(a, b, &out, NULL, NULL, NULL, 2, 0, 1));
    MADE(out, "3: atop", QuibComposition1(a, b, &out, NULL, NULL, NULL, 3, 0, 1));
    MADE(out, "4: xor", QuibComposition1(a, b, &out, NULL, NULL, NULL, 4, 0, 1));
    MADE(out, "5: plus", QuibComposition1(a, b, &out, NULL, NULL, NULL, 5, 0, 1));
    QuibRect rect = {60, 20, 150, 100};
    MADE(out, "In the rectangle {60, 20, 150, 100}, which all three share",
         QuibComposition1(a, b, &out, &rect, NULL, NULL, 0, 0, 1));
    return QUIB_OK;
}

EXAMPLE(QuibComposition2)
{
    IplImage* a = photograph("cat", 180, 120, 32);
    IplImage* b = photograph("cup", 180, 120, 32);
    before(a, "a");
    before(b, "b");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibComposition2(a, b, 160, 255, &result, NULL, NULL, NULL, 0)); /* a over b */
    /* end */
    after(keep(result), "0: over");
    IplImage* out = NULL;
    MADE(out, "1: in", QuibComposition2(a, b, 160, 255, &out, NULL, NULL, NULL, 1));
    MADE(out, "2: out", QuibComposition2(a, b, 160, 100, &out, NULL, NULL, NULL, 2));
    MADE(out, "3: atop", QuibComposition2(a, b, 160, 100, &out, NULL, NULL, NULL, 3));
    MADE(out, "4: xor", QuibComposition2(a, b, 160, 100, &out, NULL, NULL, NULL, 4));
    MADE(out, "5: plus", QuibComposition2(a, b, 160, 100, &out, NULL, NULL, NULL, 5));
    return QUIB_OK;
}
