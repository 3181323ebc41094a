// The entry point of the dynamic library on Windows.
#include "quibtool/startup.h"

#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*)
{
    if (reason == DLL_PROCESS_ATTACH)
        QuibStartUp();
    return TRUE;
}
