/* Memory device contexts and their bitmaps, as much of them as drawing needs. */
#ifndef QUIBTOOL_PLATFORM_GDI_H
#define QUIBTOOL_PLATFORM_GDI_H

#include "types.h"

/* A new memory device context; `like` is ignored. A 1 x 1 monochrome bitmap is
 * selected into it, as on the platform. */
QUIB_PLATFORM_API HDC CreateCompatibleDC(HDC like);
QUIB_PLATFORM_API BOOL DeleteDC(HDC hdc);

/* A 24-bit or 32-bit bitmap of the header's size, rows bottom first for a
 * positive height, with its zeroed pixels' address in `*bits`. `hdc`, `section`
 * and `offset` are ignored. Null for a header that it cannot serve. */
QUIB_PLATFORM_API HBITMAP CreateDIBSection(HDC hdc, const BITMAPINFO* info, UINT usage, void** bits,
                                           HANDLE section, DWORD offset);
/* Selects a bitmap and gives the one selected before. */
QUIB_PLATFORM_API HGDIOBJ SelectObject(HDC hdc, HGDIOBJ object);
/* Frees a bitmap; fails while it is selected. */
QUIB_PLATFORM_API BOOL DeleteObject(HGDIOBJ object);
/* Finishes drawing that is still under way, before pixels are read through
 * CreateDIBSection's address. Here nothing ever is. */
QUIB_PLATFORM_API BOOL GdiFlush(void);

/* Draws `height` rows of `width` pixels of a 1-, 8-, 24- or 32-bit uncompressed
 * bitmap with their upper left corner at (xDest, yDest). Their lower left
 * corner is (xSrc, ySrc) of the bitmap, counted from its lower left corner
 * whichever row comes first. `bits` holds `scanLines` rows of the bitmap, the
 * lowest of them being row `startScan`. What falls outside the bitmap, the
 * rows held or the target is left out. A 24-bit bitmap gives 0 as the fourth
 * byte of a 32-bit target. Gives the number of rows held, 0 for a bad argument. */
QUIB_PLATFORM_API int SetDIBitsToDevice(HDC hdc, int xDest, int yDest, DWORD width, DWORD height,
                                        int xSrc, int ySrc, UINT startScan, UINT scanLines,
                                        const void* bits, const BITMAPINFO* info, UINT usage);

#endif
