/* chain IN.bmp LOGO.bmp OUT: by the library's functions alone, what the tool's test of a
 * chain does; OUT gets the pixels, B, G, R, A, row by row. Pictures have 32 bits. */
#include <quibtool/quibtool.h>

#include <stdio.h>

static int run(const char* name, const char* logo_name, IplImage** result)
{
    const QuibPoint place = {10, -10};
    IplImage *picture = NULL, *frame = NULL, *logo = NULL;
    int side;
    if (QuibLoadBMP(name, &picture) != QUIB_OK || QuibLoadBMP(logo_name, &logo) != QUIB_OK ||
        QuibCreate(60, 50, 32, &frame, 0) != QUIB_OK ||
        QuibResize(picture, frame, STRETCH_SMOOTH) != QUIB_OK)
        return 0;
    for (side = 0; side < 4; ++side)
        frame->BorderMode[side] = IPL_BORDER_REPLICATE;
    return QuibBlur(frame, result, 5, 5, 2, 2) == QUIB_OK &&
           QuibBrightnessAndContrast(*result, result, 20, 10, 0) == QUIB_OK &&
           QuibComposition4(logo, *result, &place, NULL) == QUIB_OK;
}

int main(int argc, char** argv)
{
    IplImage* result = NULL;
    FILE* file;
    size_t written = 0;
    if (argc != 4 || !run(argv[1], argv[2], &result) || (file = fopen(argv[3], "wb")) == NULL)
        return 1;
    for (int y = 0; y < 50; ++y)
        written += fwrite(result->imageData + y * result->widthStep, 1, 240, file);
    return fclose(file) != 0 || written != 50 * 240;
}
