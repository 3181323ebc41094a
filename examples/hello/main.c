/* Loads a picture, fits it into a frame and reads a pixel of the result. */
#include <quibtool/quibtool.h>

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

/* Prints what failed, with its status, and tells whether something did. */
static int failed(const char* call, QuibStatus status)
{
    if (status != QUIB_OK)
        fprintf(stderr, "%s: status %08lx\n", call, (unsigned long)(uint32_t)status);
    return status != QUIB_OK;
}

int main(int argc, char** argv)
{
    IplImage* photo = NULL;
    IplImage* frame = NULL;
    QuibInfo info;
    void* data = NULL;
    int bad = argc != 2 || failed("QuibLoadBMP", QuibLoadBMP(argv[1], &photo));

    /* A file that is cut off within its headers is status 0 and no handle. */
    bad = bad || photo == NULL;
    /* A 24-bit file has no alpha, and is loaded with alpha 0: this makes it opaque. */
    bad = bad || failed("QuibSetAlphaS", QuibSetAlphaS(photo, NULL, 255));
    bad = bad || failed("QuibCreate", QuibCreate(1920, 1080, 32, &frame, 0xFF000000u));
    bad = bad || failed("QuibResize", QuibResize(photo, frame, STRETCH_SMOOTH));

    /* The pixels: rows top first, widthStep bytes apart, bytes B, G, R, A. */
    bad = bad || failed("QuibGetInfo", QuibGetInfo(frame, &info));
    bad = bad || failed("QuibLockData", QuibLockData(frame, &data));
    if (!bad) {
        const uint8_t* row = (const uint8_t*)data + (size_t)(info.height / 2) * info.widthStep;
        const uint8_t* pixel = row + (size_t)(info.width / 2) * 4;
        printf("%d x %d, in the middle: red %d, green %d, blue %d, alpha %d\n", (int)info.width,
               (int)info.height, pixel[2], pixel[1], pixel[0], pixel[3]);
        bad = failed("QuibUnlockData", QuibUnlockData(frame));
    }

    if (photo != NULL)
        bad = failed("QuibFree", QuibFree(&photo)) || bad;
    if (frame != NULL)
        bad = failed("QuibFree", QuibFree(&frame)) || bad;
    return bad;
}
