#include <quibtool/quibtool.h>

#include <stdio.h>

int main(void)
{
    IplImage* handle = NULL;
    QuibInfo info = {0, 0, 0, 0};
    if (QuibCreate(20, 10, 32, &handle, 0xFF112233u) != QUIB_OK)
        return 1;
    if (QuibGetInfo(handle, &info) != QUIB_OK || info.widthStep != 80)
        return 2;
    if (handle->imageData[0] != 0x33)
        return 3;
    if (QuibFree(&handle) != QUIB_OK || handle != NULL)
        return 4;
    if (QuibFree(&handle) != QUIB_BAD_ARGUMENT)
        return 5;
    puts("good");
    return 0;
}
