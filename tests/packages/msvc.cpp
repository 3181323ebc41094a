// A program of Visual C++'s kind: its own runtime is left out, so that clang and
// lld-link can make it anywhere. The status tells what went wrong.
#include <quibtool/quibtool.h>

extern "C" int start()
{
    IplImage* picture = nullptr;
    IplImage* gray = nullptr;
    if (QuibCreate(6, 5, 32, &picture, 0xFF112233u) != QUIB_OK || picture->imageData[0] != 0x33)
        return 1;
    if (QuibCreate(6, 5, 8, &gray, 0) != QUIB_OK)
        return 2;
    // Of C++ linkage: under the name that this family of compilers gives it.
    if (QuibColorConversion(picture, gray) != QUIB_OK ||
        QuibColorConversion(picture, nullptr) != QUIB_BAD_ARGUMENT)
        return 3;
    QuibInfo info; // no initialiser: it would call memset
    if (QuibGetInfo(gray, &info) != QUIB_OK || info.width != 6 || info.widthStep != 8)
        return 4;
    if (QuibFree(&gray) != QUIB_OK || QuibFree(&picture) != QUIB_OK || picture)
        return 5;
    if (QuibFree(&picture) != QUIB_BAD_ARGUMENT)
        return 6;
    return 0;
}
