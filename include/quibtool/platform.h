// What the library asks of the platform, under the platform's own names. On
// Windows these are the real calls; elsewhere the stand-ins of this folder
// with the same names, layouts and outcomes.
#pragma once

#if defined(_WIN32)
#include <windows.h>
#else
#include "platform/gdi.h"
#include "platform/memory.h"
#include "platform/types.h"
#endif
