/* Gray from colours and from bits. */
#include "examples/reference/gallery.h"

EXAMPLE(QuibColorToGray)
{
    IplImage* photo = photograph("cat", 240, 160, 32);
    before(photo, "photo, of 32 bits");
    /* shown */
    IplImage* gray = NULL;
    TRY(QuibColorToGray(photo, &gray)); /* a new 8-bit handle */
    /* end */
    after(keep(gray), "gray");
    const unsigned char* from = rowOf(photo, 80) + 4 * 120;
    told("The middle pixel's B, G, R are %d, %d, %d, and its gray is (18 * %d + 183 * %d + 54 * "
         "%d) / 256 = %d.",
         from[0], from[1], from[2], from[0], from[1], from[2], rowOf(gray, 80)[120]);
    return QUIB_OK;
}

EXAMPLE(QuibBitonalToGray)
{
    IplImage* bits = photograph("cat", 240, 160, 1);
    before(bits, "bits, of 1 bit");
    /* shown */
    IplImage* gray = NULL;
    TRY(QuibBitonalToGray(bits, &gray, 60, 220)); /* dark gray for 0, light gray for 1 */
    /* end */
    after(keep(gray), "gray, of 8 bits");
    IplImage* out = NULL;
    MADE(out, "Turned round", QuibBitonalToGray(bits, &out, 255, 0));
    return QUIB_OK;
}
