/* Windows: ranks, means and fixed taps. */
#include "examples/reference/gallery.h"

static IplImage* cat(void)
{
    return replicated(photograph("cat", 180, 120, 24));
}

EXAMPLE(QuibMaxFilter)
{
    IplImage* photo = cat();
    before(photo, "photo");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibMaxFilter(photo, &result, 5, 5, 2, 2)); /* the pixel in the window's middle */
    /* end */
    after(keep(result), "The largest of 5 x 5");
    IplImage* out = NULL;
    MADE(out, "Of 15 x 1", QuibMaxFilter(photo, &out, 15, 1, 7, 0));
    IplImage* bits = replicated(photograph("cat", 180, 120, 1));
    MADE(out, "Of bits: dilated", QuibMaxFilter(bits, &out, 5, 5, 2, 2));
    return QUIB_OK;
}

EXAMPLE(QuibMinFilter)
{
    IplImage* photo = cat();
    before(photo, "photo");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibMinFilter(photo, &result, 5, 5, 2, 2)); /* the pixel in the window's middle */
    /* end */
    after(keep(result), "The smallest of 5 x 5");
    IplImage* out = NULL;
    MADE(out, "Of 1 x 15", QuibMinFilter(photo, &out, 1, 15, 0, 7));
    IplImage* bits = replicated(photograph("cat", 180, 120, 1));
    MADE(out, "Of bits: eroded", QuibMinFilter(bits, &out, 5, 5, 2, 2));
    return QUIB_OK;
}

EXAMPLE(QuibMedianFilter)
{
    IplImage* noisy = replicated(speckled(cat()));
    before(noisy, "noisy: a pixel in twelve is spoilt");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibMedianFilter(noisy, &result, 3, 3, 1, 1));
    /* end */
    after(keep(result), "The median of 3 x 3");
    IplImage* out = NULL;
    MADE(out, "Of 5 x 5", QuibMedianFilter(noisy, &out, 5, 5, 2, 2));
    MADE(out, "Of 15 x 15", QuibMedianFilter(noisy, &out, 15, 15, 7, 7));
    return QUIB_OK;
}

EXAMPLE(QuibColorMedianFilter)
{
    IplImage* noisy = replicated(speckled(cat()));
    before(noisy, "noisy: a pixel in twelve is spoilt");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibColorMedianFilter(noisy, &result, 3, 3, 1, 1)); /* no colour that was not there */
    /* end */
    after(keep(result), "The colour median of 3 x 3");
    IplImage* out = NULL;
    MADE(out, "Of 5 x 5", QuibColorMedianFilter(noisy, &out, 5, 5, 2, 2));
    return QUIB_OK;
}

EXAMPLE(QuibBlur)
{
    IplImage* photo = cat();
    before(photo, "photo");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibBlur(photo, &result, 7, 7, 3, 3));
    /* end */
    after(keep(result), "The mean of 7 x 7");
    IplImage* out = NULL;
    MADE(out, "Of 31 x 1", QuibBlur(photo, &out, 31, 1, 15, 0));
    IplImage* black = photograph("cat", 180, 120, 24);
    MADE(out, "Of 31 x 31, where BorderMode is 0: black comes in",
         QuibBlur(black, &out, 31, 31, 15, 15));
    MADE(out, "And where it is IPL_BORDER_REPLICATE", QuibBlur(photo, &out, 31, 31, 15, 15));
    return QUIB_OK;
}

EXAMPLE(QuibDecimateBlur)
{
    IplImage* photo = cat();
    IplImage* blurred = empty(180, 120, 24);
    before(photo, "photo");
    /* shown */
    TRY(QuibDecimateBlur(photo, blurred, IPL_INTER_LINEAR, 5, 5)); /* of the same size */
    /* end */
    after(blurred, "Blurred by 5 x 5");
    IplImage* small = empty(45, 30, 24);
    TRY(QuibResize(blurred, small, IPL_INTER_NN));
    enlarge(4);
    after(small, "Then every fourth pixel");
    TRY(QuibResize(photo, small, IPL_INTER_NN));
    after(small, "Every fourth pixel of photo itself, for comparison");
    enlarge(1);
    WROTE(blurred, "1000 x 1000, which is lowered to half of each side",
          QuibDecimateBlur(photo, blurred, IPL_INTER_LINEAR, 1000, 1000));
    return QUIB_OK;
}

EXAMPLE(QuibFixedFilter)
{
    IplImage* photo = cat();
    before(photo, "photo");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibFixedFilter(photo, &result, 10)); /* sharpening */
    /* end */
    after(keep(result), "10: sharpened");
    IplImage* out = NULL;
    MADE(out, "0: Prewitt, across", QuibFixedFilter(photo, &out, 0));
    MADE(out, "1: Prewitt, down", QuibFixedFilter(photo, &out, 1));
    MADE(out, "2: Sobel, across", QuibFixedFilter(photo, &out, 2));
    MADE(out, "3: Sobel, down", QuibFixedFilter(photo, &out, 3));
    MADE(out, "4: Laplacian of 3 x 3", QuibFixedFilter(photo, &out, 4));
    MADE(out, "5: Laplacian of 5 x 5", QuibFixedFilter(photo, &out, 5));
    MADE(out, "6: Gaussian of 3 x 3", QuibFixedFilter(photo, &out, 6));
    MADE(out, "7: Gaussian of 5 x 5", QuibFixedFilter(photo, &out, 7));
    MADE(out, "8: less the mean of 3 x 3", QuibFixedFilter(photo, &out, 8));
    MADE(out, "9: less the mean of 5 x 5", QuibFixedFilter(photo, &out, 9));
    return QUIB_OK;
}
