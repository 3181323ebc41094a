/* What the library asks of the platform, under the platform's own names: blocks of
 * global memory, memory device contexts and their bitmaps. On Windows these are the
 * real calls; elsewhere stand-ins with the same names, layouts and outcomes, which
 * the companion library libQuibPlatform has. Plain C. */
#ifndef QUIBTOOL_PLATFORM_H
#define QUIBTOOL_PLATFORM_H

#if defined(_WIN32)
#include <windows.h>
#else
#include "platform/gdi.h"
#include "platform/memory.h"
#include "platform/types.h"
#endif

#endif
