// Handle validity and the reads of a handle that the surface's operations make
// once they know it to be valid.
#pragma once

#include "quibtool/quibtool.h"

#include <cstddef>

// The last-error text. Written on one path only, and read by nothing here.
extern char quibLastError[264];

// Where a handle is tested. Its row in the last-error text is the line, told
// apart from the same lines of other files by a number made of the file's name.
struct QuibCallSite {
    const char* file;
    int32_t line;
};

// Whether the handle's record and the first byte of its pixels can be read;
// if not, writes "invalid dib in quibtool row %d" into quibLastError.
bool QuibIsValid(const IplImage* handle, int32_t row);
bool QuibIsValid(const IplImage* handle,
                 const QuibCallSite& site = {__builtin_FILE(), __builtin_LINE()});

// Makes a handle without pixels. `*out` is touched on success only.
QuibStatus QuibCreateHeader(int32_t width, int32_t height, int32_t bitDepth, IplImage** out);

namespace quib
{

// Whether nothing that walks the record would fault at once: it can be read, and so can
// the first byte of its pixels if it names any.
bool ownIsMapped(const IplImage* image);

// Whether the library makes handles of so many bits per pixel.
bool ownIsHandleDepth(int32_t bitDepth);

// The record of a handle, without pixels; the engine reports sizes below 1. Null
// for another depth, after a report, and for want of memory.
IplImage* ownCreateRecord(int32_t width, int32_t height, int32_t bitDepth);

// What QuibGetInfo and QuibLockData do after their validity test, for handles
// that have just passed it: probing memory costs far more than all the rest.
// Outputs are untouched on failure.
QuibStatus ownGetInfo(const IplImage* handle, QuibInfo* info);
QuibStatus ownLockData(const IplImage* handle, uint8_t** dataOut);

// Clips to width x height in place; false if nothing is left.
bool ownClipRect(QuibRect* rect, int32_t width, int32_t height);

// The bytes that the record's rows take up in its pixel block; 0 for a record
// whose sizes describe no block.
size_t ownBlockBytes(const IplImage* handle);

} // namespace quib
