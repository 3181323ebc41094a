/* Handles: made, filled, copied, asked and freed. */
#include "examples/reference/gallery.h"

EXAMPLE(QuibCreate)
{
    IplImage* photo = photograph("cat", 180, 120, 32);
    /* shown */
    IplImage* frame = NULL;
    TRY(QuibCreate(240, 160, 32, &frame, 0xFF3050C8u)); /* bytes C8, 50, 30, FF: blue */
    /* end */
    keep(frame);
    flatAfter(frame, "The new handle", "it is filled with one colour");
    TRY(QuibBlt(photo, 0, 0, 180, 120, frame, 30, 20, 210, 140, 0));
    after(frame, "A photograph put into it by QuibBlt");
    return QUIB_OK;
}

EXAMPLE(QuibCreate0)
{
    IplImage* photo = photograph("cat", 240, 160, 32);
    before(photo, "photo, which is copied");
    /* shown */
    IplImage* target = NULL;
    TRY(QuibCreate0(240, 160, 32, &target)); /* what its pixels are nobody knows */
    TRY(QuibCopy(photo, &target));           /* so write all of them */
    /* end */
    after(keep(target), "The new handle, written at once");
    return QUIB_OK;
}

EXAMPLE(QuibFree)
{
    IplImage* photo = photograph("cat", 240, 160, 32);
    /* shown */
    IplImage* copy = NULL;
    TRY(QuibClone(photo, &copy));
    TRY(QuibFree(&copy)); /* copy is null again */
    /* end */
    before(photo, "photo, which outlives its copy");
    told("copy is %s.", copy == NULL ? "null after the call" : "not null after the call");
    told("A second QuibFree(&copy) gives QUIB_BAD_ARGUMENT: %s.",
         QuibFree(&copy) == QUIB_BAD_ARGUMENT ? "yes" : "no");
    return QUIB_OK;
}

static QuibStatus tellInfo(const IplImage* image, const char* name)
{
    QuibInfo info;
    TRY(QuibGetInfo(image, &info));
    told("%s: width %d, height %d, bitDepth %d, widthStep %d.", name, (int)info.width,
         (int)info.height, (int)info.bitDepth, (int)info.widthStep);
    return QUIB_OK;
}

EXAMPLE(QuibGetInfo)
{
    IplImage* photo = photograph("cat", 239, 160, 24);
    /* shown */
    QuibInfo info;
    TRY(QuibGetInfo(photo, &info));
    size_t bytes = (size_t)info.height * info.widthStep; /* rows are padded to 4 bytes */
    /* end */
    before(photo, "photo, of 24 bits");
    TRY(tellInfo(photo, "photo"));
    told("All rows take %zu bytes; a row's pixels take 717, and 3 bytes of padding follow.", bytes);
    IplImage* bits = photograph("cat", 239, 160, 1);
    before(bits, "The same as bits");
    TRY(tellInfo(bits, "bits"));
    return QUIB_OK;
}

EXAMPLE(QuibLockData)
{
    IplImage* image = empty(240, 160, 32);
    /* shown */
    QuibInfo info;
    void* data = NULL;
    TRY(QuibGetInfo(image, &info));
    TRY(QuibLockData(image, &data));
    for (int y = 0; y < info.height; ++y) {
        unsigned char* row = (unsigned char*)data + (size_t)y * info.widthStep;
        for (int x = 0; x < info.width; ++x) {
            row[4 * x + 0] = 120;                                    /* blue */
            row[4 * x + 1] = (unsigned char)(255 * x / info.width);  /* green */
            row[4 * x + 2] = (unsigned char)(255 * y / info.height); /* red */
            row[4 * x + 3] = 255;                                    /* opaque */
        }
    }
    TRY(QuibUnlockData(image));
    /* end */
    after(image, "What the program wrote");
    const unsigned char* last = rowOf(image, 159) + 4 * 239;
    told("The last pixel's bytes are %d, %d, %d, %d: B, G, R, A.", last[0], last[1], last[2],
         last[3]);
    return QUIB_OK;
}

EXAMPLE(QuibUnlockData)
{
    IplImage* image = photograph("cat", 240, 160, 8);
    before(copyOf(image), "image, of 8 bits");
    /* shown */
    void* data = NULL;
    TRY(QuibLockData(image, &data));
    unsigned char* pixels = (unsigned char*)data;
    for (int y = 0; y < 160; y += 4) /* every fourth row black; rows are 240 bytes apart */
        for (int x = 0; x < 240; ++x)
            pixels[240 * y + x] = 0;
    TRY(QuibUnlockData(image));
    /* end */
    after(image, "What the program made of it");
    return QUIB_OK;
}

EXAMPLE(QuibFillColor)
{
    IplImage* image = photograph("cat", 240, 160, 32);
    before(copyOf(image), "image, of 32 bits");
    /* shown */
    QuibRect rect = {150, -20, 400, 80}; /* is clipped to the image, in place */
    TRY(QuibFillColor(image, 0xFFF0C020u, &rect));
    /* end */
    after(image, "A rectangle filled");
    told("rect is {%d, %d, %d, %d} after the call.", (int)rect.left, (int)rect.top, (int)rect.right,
         (int)rect.bottom);
    IplImage* gray = photograph("cat", 240, 160, 8);
    QuibRect part = {20, 20, 120, 140};
    WROTE(gray, "{20, 20, 120, 140} of an 8-bit handle: 300 counts as 255",
          QuibFillColor(gray, 300, &part));
    return QUIB_OK;
}

EXAMPLE(QuibIsBlack)
{
    IplImage* photo = photograph("cat", 240, 160, 32);
    IplImage* dark = NULL;
    TRY(QuibRShiftS(photo, &dark, 4));
    keep(dark);
    /* shown */
    int32_t black = 0;
    TRY(QuibIsBlack(dark, 16, &black)); /* no byte above 16? */
    /* end */
    coloursAfter(dark, "dark: a sixteenth of the photograph");
    told("QuibIsBlack(dark, 16, &black) stores %d.", (int)black);
    TRY(QuibIsBlack(dark, 8, &black));
    told("QuibIsBlack(dark, 8, &black) stores %d.", (int)black);
    TRY(QuibIsBlack(photo, 16, &black));
    before(photo, "photo");
    told("QuibIsBlack(photo, 16, &black) stores %d.", (int)black);
    return QUIB_OK;
}

EXAMPLE(QuibCopy)
{
    IplImage* photo = photograph("cat", 240, 160, 32);
    before(photo, "photo");
    /* shown */
    IplImage* copy = NULL;
    TRY(QuibCopy(photo, &copy)); /* null: a new handle of the same size and depth */
    /* end */
    after(keep(copy), "copy, a new handle");
    IplImage* wider = empty(250, 160, 32);
    WROTE(wider, "Into a handle 10 pixels wider: rows are not parted anew",
          QuibCopy(photo, &wider));
    return QUIB_OK;
}

EXAMPLE(QuibClone)
{
    IplImage* photo = photograph("cat", 240, 160, 32);
    before(photo, "photo, which stays as it is");
    /* shown */
    IplImage* clone = NULL;
    TRY(QuibClone(photo, &clone));
    TRY(QuibFlip(clone, clone, 1)); /* pixels of its own */
    /* end */
    after(keep(clone), "clone, mirrored afterwards");
    return QUIB_OK;
}
