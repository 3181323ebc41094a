/* Kernels, and pictures convolved by them. */
#include "examples/reference/gallery.h"

/* The kernel's taps as a picture, gray for 0. */
static IplImage* tapsSeen(int columns, int rows, const int32_t* taps, int scale)
{
    IplImage* seen = empty(columns, rows, 8);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < columns; ++x)
            rowOf(seen, y)[x] = (unsigned char)(128 + scale * taps[columns * y + x]);
    return seen;
}

static IplImage* gray(void)
{
    return replicated(photograph("cat", 180, 120, 8));
}

EXAMPLE(QuibCreateConvKernel)
{
    IplImage* photo = gray();
    before(photo, "photo, of 8 bits");
    /* shown */
    const int32_t taps[5 * 5] = {
        2, 4,  5,  4,  2, /* a Gaussian; its taps add up to 159, */
        4, 9,  12, 9,  4, /* so a shift by 7 makes the picture brighter by a quarter */
        5, 12, 15, 12, 5, /**/
        4, 9,  12, 9,  4, /**/
        2, 4,  5,  4,  2,
    };
    OwnConvKernel* kernel = NULL;
    TRY(QuibCreateConvKernel(&kernel, 5, 5, 2, 2, taps, 7));
    /* end */
    IplImage* result = NULL;
    TRY(QuibConvolve2D(photo, &result, &kernel, 1, 0));
    enlarge(20);
    before(tapsSeen(5, 5, taps, 8), "The taps: brighter is more");
    enlarge(1);
    after(keep(result), "photo convolved by the kernel");
    return QuibDeleteConvKernel(kernel);
}

EXAMPLE(QuibCreateConvKernelChar)
{
    IplImage* photo = replicated(photograph("cat", 180, 120, 24));
    before(photo, "photo");
    /* shown */
    const int8_t sharpen[3 * 3] = {0, -1, 0, -1, 5, -1, 0, -1, 0};
    OwnConvKernel* kernel = NULL;
    TRY(QuibCreateConvKernelChar(&kernel, 3, 3, 1, 1, sharpen, 0));
    /* end */
    IplImage* result = NULL;
    TRY(QuibConvolve2D(photo, &result, &kernel, 1, 0));
    after(keep(result), "photo convolved by the kernel: sharpened");
    return QuibDeleteConvKernel(kernel);
}

EXAMPLE(QuibGetConvKernel)
{
    const int32_t given[2 * 3] = {1, 2, 3, 4, 5, 6};
    OwnConvKernel* kernel = NULL;
    TRY(QuibCreateConvKernel(&kernel, 3, 2, 1, 0, given, 4));
    /* shown */
    int32_t taps[6]; /* room for all of them */
    int32_t* values = taps;
    int32_t columns, rows, anchorX, anchorY, shift;
    TRY(QuibGetConvKernel(kernel, &columns, &rows, &anchorX, &anchorY, &values, &shift));
    /* end */
    enlarge(30);
    before(tapsSeen(3, 2, given, 20), "The taps that were given: 1 to 6");
    after(tapsSeen(columns, rows, taps, 20), "The taps that came back");
    told("%d x %d taps: %d, %d, %d, %d, %d, %d; anchor (%d, %d), shift %d.", (int)columns,
         (int)rows, (int)taps[0], (int)taps[1], (int)taps[2], (int)taps[3], (int)taps[4],
         (int)taps[5], (int)anchorX, (int)anchorY, (int)shift);
    return QuibDeleteConvKernel(kernel);
}

EXAMPLE(QuibGetConvKernelChar)
{
    const int32_t given[3] = {-1, 300, 2};
    OwnConvKernel* kernel = NULL;
    TRY(QuibCreateConvKernel(&kernel, 3, 1, 1, 0, given, 0));
    /* shown */
    int8_t taps[3];
    int8_t* values = taps;
    int32_t columns, rows, anchorX, anchorY, shift;
    TRY(QuibGetConvKernelChar(kernel, &columns, &rows, &anchorX, &anchorY, &values, &shift));
    /* end */
    const int32_t seen[3] = {taps[0], taps[1], taps[2]};
    const int32_t before300[3] = {-1, 127, 2};
    enlarge(30);
    before(tapsSeen(3, 1, before300, 1), "The taps that were given, the middle one being 300");
    after(tapsSeen(3, 1, seen, 1), "The taps that came back: of 300 the low byte, 44");
    told("Given -1, 300, 2; got %d, %d, %d.", taps[0], taps[1], taps[2]);
    return QuibDeleteConvKernel(kernel);
}

EXAMPLE(QuibDeleteConvKernel)
{
    IplImage* photo = gray();
    IplImage* result = NULL;
    before(photo, "photo");
    /* shown */
    const int32_t emboss[3 * 3] = {-2, -1, 0, -1, 1, 1, 0, 1, 2};
    OwnConvKernel* kernel = NULL;
    TRY(QuibCreateConvKernel(&kernel, 3, 3, 1, 1, emboss, 0));
    TRY(QuibConvolve2D(photo, &result, &kernel, 1, 0));
    TRY(QuibDeleteConvKernel(kernel)); /* after the last use */
    /* end */
    after(keep(result), "What the kernel did in its life");
    told("QuibDeleteConvKernel(NULL) gives QUIB_BAD_ARGUMENT: %s.",
         QuibDeleteConvKernel(NULL) == QUIB_BAD_ARGUMENT ? "yes" : "no");
    return QUIB_OK;
}

EXAMPLE(QuibConvolve2D)
{
    IplImage* photo = gray();
    const int32_t across[9] = {-1, 0, 1, -2, 0, 2, -1, 0, 1};
    const int32_t down[9] = {-1, -2, -1, 0, 0, 0, 1, 2, 1};
    OwnConvKernel* kernels[2] = {NULL, NULL};
    TRY(QuibCreateConvKernel(&kernels[0], 3, 3, 1, 1, across, 0));
    TRY(QuibCreateConvKernel(&kernels[1], 3, 3, 1, 1, down, 0));
    before(photo, "photo, of 8 bits");
    /* shown */
    /* kernels: Sobel's, across and down. The length of both together: */
    IplImage* gradient = NULL;
    TRY(QuibConvolve2D(photo, &gradient, kernels, 2, 2));
    /* end */
    after(keep(gradient), "2: the root of the sum of squares");
    IplImage* out = NULL;
    MADE(out, "One kernel", QuibConvolve2D(photo, &out, kernels, 1, 0));
    MADE(out, "0: the sum", QuibConvolve2D(photo, &out, kernels, 2, 0));
    MADE(out, "1: the sum of squares", QuibConvolve2D(photo, &out, kernels, 2, 1));
    MADE(out, "3: the larger", QuibConvolve2D(photo, &out, kernels, 2, 3));
    MADE(out, "4: the smaller", QuibConvolve2D(photo, &out, kernels, 2, 4));
    TRY(QuibDeleteConvKernel(kernels[0]));
    return QuibDeleteConvKernel(kernels[1]);
}

EXAMPLE(QuibConvolveSep2D)
{
    IplImage* photo = replicated(photograph("cat", 180, 120, 24));
    before(photo, "photo");
    /* shown */
    const int32_t binomial[7] = {1, 6, 15, 20, 15, 6, 1}; /* 64 in all: a shift by 6 */
    OwnConvKernel* row = NULL;
    OwnConvKernel* column = NULL;
    IplImage* smooth = NULL;
    TRY(QuibCreateConvKernel(&row, 7, 1, 3, 0, binomial, 6));
    TRY(QuibCreateConvKernel(&column, 1, 7, 0, 3, binomial, 6));
    TRY(QuibConvolveSep2D(photo, &smooth, row, column));
    /* end */
    after(keep(smooth), "A Gaussian of 7 x 7");
    const int32_t one[2] = {0, 1};
    OwnConvKernel* same = NULL;
    TRY(QuibCreateConvKernel(&same, 1, 2, 0, 1, one, 0));
    IplImage* out = NULL;
    MADE(out, "A column that changes nothing: along rows alone",
         QuibConvolveSep2D(photo, &out, row, same));
    TRY(QuibDeleteConvKernel(same));
    TRY(QuibDeleteConvKernel(row));
    return QuibDeleteConvKernel(column);
}
