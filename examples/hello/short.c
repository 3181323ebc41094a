#include <quibtool/quibtool.h>
#include <stdio.h>

int main(int argc, char** argv)
{
    IplImage *photo = NULL, *frame = NULL;
    QuibStatus status = QuibLoadBMP(argc > 1 ? argv[1] : "photo.bmp", &photo);
    if (status == QUIB_OK) /* a 24-bit file has no alpha: this makes it opaque */
        status = QuibSetAlphaS(photo, NULL, 255);
    if (status == QUIB_OK)
        status = QuibCreate(1920, 1080, 32, &frame, 0xFF000000u);
    if (status == QUIB_OK)
        status = QuibResize(photo, frame, STRETCH_SMOOTH);
    printf("status %08lx\n", (unsigned long)(uint32_t)status);
    QuibFree(&photo);
    QuibFree(&frame);
    return status != QUIB_OK;
}
