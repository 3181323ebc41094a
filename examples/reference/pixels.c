/* Arithmetic and logic, pixel by pixel. Pictures are of 24 bits: in a 32-bit one alpha
 * takes part like a colour. */
#include "examples/reference/gallery.h"

static IplImage* cat(void)
{
    return photograph("cat", 150, 100, 24);
}

static IplImage* cup(void)
{
    return photograph("cup", 150, 100, 24);
}

/* A sixteenth of each value: what can be multiplied and stay in a byte. */
static IplImage* sixteenth(const IplImage* image)
{
    IplImage* dim = NULL;
    return QuibRShiftS(image, &dim, 4) == QUIB_OK ? keep(dim) : NULL;
}

EXAMPLE(QuibAddS)
{
    IplImage* photo = cat();
    before(photo, "photo");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibAddS(photo, &result, 60)); /* 255 at most */
    /* end */
    after(keep(result), "60 added");
    IplImage* out = NULL;
    MADE(out, "60 taken away: 0 at least", QuibAddS(photo, &out, -60));
    return QUIB_OK;
}

EXAMPLE(QuibMultiplyS)
{
    IplImage* photo = cat();
    before(photo, "photo");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibMultiplyS(photo, &result, 2)); /* 255 at most */
    /* end */
    after(keep(result), "Twice");
    IplImage* out = NULL;
    MADE(out, "Four times", QuibMultiplyS(photo, &out, 4));
    return QUIB_OK;
}

EXAMPLE(QuibMultiplySScale)
{
    IplImage* photo = cat();
    before(photo, "photo");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibMultiplySScale(photo, &result, 128)); /* 128 / 255: about a half */
    /* end */
    after(keep(result), "By 128 of 255");
    IplImage* out = NULL;
    MADE(out, "By 200", QuibMultiplySScale(photo, &out, 200));
    MADE(out, "By 40", QuibMultiplySScale(photo, &out, 40));
    return QUIB_OK;
}

EXAMPLE(QuibSquare)
{
    IplImage* dim = sixteenth(cat());
    before(dim, "dim: a sixteenth of the photograph");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibSquare(dim, &result)); /* 255 at most */
    /* end */
    after(keep(result), "Each value times itself");
    return QUIB_OK;
}

EXAMPLE(QuibAbs)
{
    IplImage* photo = cat();
    before(photo, "photo");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibAbs(photo, &result)); /* the same pixels: they have no sign */
    /* end */
    after(keep(result), "The absolute value: a copy");
    IplImage* signedBytes = copyOf(photo);
    signedBytes->depth = IPL_DEPTH_8S; /* a record that says that its bytes have a sign */
    IplImage* made = NULL;
    TRY(QuibAbs(signedBytes, &made));
    made->depth = IPL_DEPTH_8U;
    afterCall(keep(made), "Of bytes that have a sign: what was above 127 turns round",
              "QuibAbs(signedBytes, &made)");
    return QUIB_OK;
}

EXAMPLE(QuibAdd)
{
    IplImage* a = cat();
    IplImage* b = cup();
    before(a, "a");
    before(b, "b");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibAdd(a, b, &result)); /* 255 at most */
    /* end */
    after(keep(result), "a + b");
    IplImage* bitsA = photograph("cat", 150, 100, 1);
    IplImage* bitsB = photograph("cup", 150, 100, 1);
    IplImage* out = NULL;
    MADE(out, "Of bits", QuibAdd(bitsA, bitsB, &out));
    return QUIB_OK;
}

EXAMPLE(QuibSubtract)
{
    IplImage* a = cat();
    IplImage* b = cup();
    before(a, "a");
    before(b, "b");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibSubtract(a, b, &result)); /* 0 at least */
    /* end */
    after(keep(result), "a - b");
    IplImage* out = NULL;
    MADE(out, "b - a", QuibSubtract(b, a, &out));
    return QUIB_OK;
}

EXAMPLE(QuibMultiply)
{
    IplImage* a = sixteenth(cat());
    IplImage* b = sixteenth(cup());
    before(a, "a: a sixteenth of a photograph");
    before(b, "b: of another");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibMultiply(a, b, &result)); /* 255 at most */
    /* end */
    after(keep(result), "a * b");
    return QUIB_OK;
}

EXAMPLE(QuibMultiplyScale)
{
    IplImage* a = cat();
    IplImage* b = cup();
    before(a, "a");
    before(b, "b");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibMultiplyScale(a, b, &result));
    /* end */
    after(keep(result), "a * b / 255");
    return QUIB_OK;
}

EXAMPLE(QuibLShiftS)
{
    IplImage* photo = cat();
    before(photo, "photo");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibLShiftS(photo, &result, 1)); /* bits that leave are lost */
    /* end */
    after(keep(result), "By one bit");
    IplImage* out = NULL;
    MADE(out, "By four: only the low bits are left", QuibLShiftS(photo, &out, 4));
    return QUIB_OK;
}

EXAMPLE(QuibRShiftS)
{
    IplImage* photo = cat();
    before(photo, "photo");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibRShiftS(photo, &result, 1)); /* half of each value */
    /* end */
    after(keep(result), "By one bit");
    IplImage* out = NULL;
    MADE(out, "By three", QuibRShiftS(photo, &out, 3));
    return QUIB_OK;
}

EXAMPLE(QuibNot)
{
    IplImage* photo = cat();
    before(photo, "photo");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibNot(photo, &result));
    /* end */
    after(keep(result), "The negative");
    IplImage* bits = photograph("cat", 150, 100, 1);
    IplImage* out = NULL;
    MADE(out, "Of bits", QuibNot(bits, &out));
    return QUIB_OK;
}

EXAMPLE(QuibAndS)
{
    IplImage* photo = cat();
    before(photo, "photo");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibAndS(photo, &result, 0xC0)); /* the two highest bits */
    /* end */
    after(keep(result), "Four levels a channel");
    IplImage* out = NULL;
    MADE(out, "Two levels", QuibAndS(photo, &out, 0x80));
    return QUIB_OK;
}

EXAMPLE(QuibOrS)
{
    IplImage* photo = cat();
    before(photo, "photo");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibOrS(photo, &result, 0x70)); /* no value below 0x70 */
    /* end */
    after(keep(result), "By 0x70");
    IplImage* out = NULL;
    MADE(out, "By 0x0F: hardly seen", QuibOrS(photo, &out, 0x0F));
    return QUIB_OK;
}

EXAMPLE(QuibXorS)
{
    IplImage* photo = cat();
    before(photo, "photo");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibXorS(photo, &result, 0x80)); /* the highest bit turned round */
    /* end */
    after(keep(result), "By 0x80");
    IplImage* out = NULL;
    MADE(out, "By 0xFF: the negative", QuibXorS(photo, &out, 0xFF));
    return QUIB_OK;
}

EXAMPLE(QuibAnd)
{
    IplImage* a = cat();
    IplImage* b = cup();
    before(a, "a");
    before(b, "b");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibAnd(a, b, &result));
    /* end */
    after(keep(result), "a and b, bit by bit");
    IplImage* bitsA = photograph("cat", 150, 100, 1);
    IplImage* bitsB = photograph("cup", 150, 100, 1);
    IplImage* out = NULL;
    MADE(out, "Of bits", QuibAnd(bitsA, bitsB, &out));
    return QUIB_OK;
}

EXAMPLE(QuibOr)
{
    IplImage* a = cat();
    IplImage* b = cup();
    before(a, "a");
    before(b, "b");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibOr(a, b, &result));
    /* end */
    after(keep(result), "a or b");
    IplImage* bitsA = photograph("cat", 150, 100, 1);
    IplImage* bitsB = photograph("cup", 150, 100, 1);
    IplImage* out = NULL;
    MADE(out, "Of bits", QuibOr(bitsA, bitsB, &out));
    return QUIB_OK;
}

EXAMPLE(QuibXor)
{
    IplImage* a = cat();
    IplImage* b = cup();
    before(a, "a");
    before(b, "b");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibXor(a, b, &result));
    /* end */
    after(keep(result), "a or b, but not both");
    IplImage* bitsA = photograph("cat", 150, 100, 1);
    IplImage* bitsB = photograph("cup", 150, 100, 1);
    IplImage* out = NULL;
    MADE(out, "Of bits", QuibXor(bitsA, bitsB, &out));
    return QUIB_OK;
}
