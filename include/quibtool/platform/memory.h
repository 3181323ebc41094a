/* Memory probing, movable blocks and rectangles. */
#ifndef QUIBTOOL_PLATFORM_MEMORY_H
#define QUIBTOOL_PLATFORM_MEMORY_H

#include "types.h"

/* Nonzero if any byte of the `size` bytes at `address` cannot be read. No
 * fault happens and no signal handler is installed. A `size` of 0 is readable
 * everywhere. */
QUIB_PLATFORM_API BOOL IsBadReadPtr(const void* address, UINT_PTR size);

/* Allocates a block of `size` bytes; of the flags, GMEM_MOVEABLE and
 * GMEM_ZEROINIT count. A fixed block's handle is its address, and it counts no
 * locks; one of 0 bytes gets 1. Null if memory runs out. */
QUIB_PLATFORM_API HGLOBAL GlobalAlloc(UINT flags, SIZE_T size);
/* Adds one to the lock count, which stays at 255 once there, and gives the
 * block's address; null, with nothing counted, for an empty movable block and
 * for a handle that is no live block's. */
QUIB_PLATFORM_API void* GlobalLock(HGLOBAL block);
/* Takes one off the lock count; nonzero while locks remain, and always for a
 * fixed block. */
QUIB_PLATFORM_API BOOL GlobalUnlock(HGLOBAL block);
/* Frees the block, locked or not, and gives null; gives `block` back if it is
 * no live block's. */
QUIB_PLATFORM_API HGLOBAL GlobalFree(HGLOBAL block);
/* The block's size in bytes, 0 for a handle that is no live block's. */
QUIB_PLATFORM_API SIZE_T GlobalSize(HGLOBAL block);
/* The lock count in the low byte, and GMEM_DISCARDED for an empty movable
 * block; GMEM_INVALID_HANDLE for a handle that is no live block's. */
QUIB_PLATFORM_API UINT GlobalFlags(HGLOBAL block);

/* Stores the intersection of two rectangles, all zero if they do not meet;
 * nonzero if they meet. `out` may be `a` or `b`. */
QUIB_PLATFORM_API BOOL IntersectRect(RECT* out, const RECT* a, const RECT* b);

#endif
