#include <quibtool/platform.h>
#include <quibtool/quibtool.h>

#include <cstdio>

// The program and the library must see the same blocks: both use the companion.
int main()
{
    IplImage* handle = nullptr;
    if (QuibCreate(3, 2, 8, &handle, 7) != QUIB_OK || IsBadReadPtr(handle, sizeof(*handle)))
        return 1;
    if (QuibFree(&handle) != QUIB_OK)
        return 2;
    const HGLOBAL block = GlobalAlloc(GHND, 40);
    if (!GlobalLock(block) || GlobalFree(block) != nullptr)
        return 3;
    std::puts("good");
    return 0;
}
