/* The platform's basic types, constants and records, for systems without them.
 * Plain C. */
#ifndef QUIBTOOL_PLATFORM_TYPES_H
#define QUIBTOOL_PLATFORM_TYPES_H

#include <stddef.h>
#include <stdint.h>

#if defined(__cplusplus)
#define QUIB_PLATFORM_API extern "C" __attribute__((visibility("default")))
#else
#define QUIB_PLATFORM_API extern __attribute__((visibility("default")))
#endif

typedef int32_t BOOL;
typedef uint8_t BYTE;
typedef uint16_t WORD;
typedef uint32_t DWORD;
typedef uint32_t UINT;
typedef int32_t LONG;
typedef size_t SIZE_T;
typedef uintptr_t UINT_PTR;
typedef void* HANDLE;
typedef void* HGLOBAL;
typedef void* HDC;
typedef void* HBITMAP;
typedef void* HGDIOBJ;

#if !defined(TRUE)
#define TRUE 1
#define FALSE 0
#endif

typedef struct tagRECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
} RECT;

/* The header of a device-independent bitmap. */
typedef struct tagBITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth;
    LONG biHeight;
    WORD biPlanes;
    WORD biBitCount;
    DWORD biCompression;
    DWORD biSizeImage;
    LONG biXPelsPerMeter;
    LONG biYPelsPerMeter;
    DWORD biClrUsed;
    DWORD biClrImportant;
} BITMAPINFOHEADER;

typedef struct tagRGBQUAD {
    BYTE rgbBlue;
    BYTE rgbGreen;
    BYTE rgbRed;
    BYTE rgbReserved;
} RGBQUAD;

typedef struct tagBITMAPINFO {
    BITMAPINFOHEADER bmiHeader;
    RGBQUAD bmiColors[1];
} BITMAPINFO;

#pragma pack(push, 2)
typedef struct tagBITMAPFILEHEADER {
    WORD bfType;
    DWORD bfSize;
    WORD bfReserved1;
    WORD bfReserved2;
    DWORD bfOffBits;
} BITMAPFILEHEADER;
#pragma pack(pop)

#define BI_RGB ((DWORD)0)
#define BI_RLE8 ((DWORD)1)
#define BI_RLE4 ((DWORD)2)
#define BI_BITFIELDS ((DWORD)3)
#define DIB_RGB_COLORS ((UINT)0)
#define GMEM_FIXED ((UINT)0x0000)
#define GMEM_MOVEABLE ((UINT)0x0002)
#define GMEM_ZEROINIT ((UINT)0x0040)
#define GHND (GMEM_MOVEABLE | GMEM_ZEROINIT)
#define GPTR (GMEM_FIXED | GMEM_ZEROINIT)
#define GMEM_LOCKCOUNT ((UINT)0x00FF)
#define GMEM_DISCARDED ((UINT)0x4000)
#define GMEM_INVALID_HANDLE ((UINT)0x8000)

#endif
