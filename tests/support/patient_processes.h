// Stands in front of GoogleTest's own sources on Windows. Wine refuses one in
// some thousands of new processes with an internal error, and GoogleTest ends
// the whole program if a death test's child cannot be started. Only the start
// is tried again here: a child that has started runs once.
#pragma once

#include <windows.h>

#include <cstdio>

inline BOOL createProcessPatiently(const char* program, char* commandLine,
                                   SECURITY_ATTRIBUTES* process, SECURITY_ATTRIBUTES* thread,
                                   BOOL inherits, DWORD flags, void* environment,
                                   const char* directory, STARTUPINFOA* startup,
                                   PROCESS_INFORMATION* information)
{
    for (int attempt = 1;; ++attempt) {
        if (CreateProcessA(program, commandLine, process, thread, inherits, flags, environment,
                           directory, startup, information))
            return TRUE;
        const DWORD error = GetLastError();
        std::printf("Attempt %d to start a process failed with error %lu.\n", attempt, error);
        std::fflush(stdout);
        if (error != ERROR_INTERNAL_ERROR || attempt == 5)
            return FALSE;
        Sleep(200);
    }
}

#define CreateProcessA createProcessPatiently
