// The platform's basic types, constants and records, for systems without them.
#pragma once

#include <cstddef>
#include <cstdint>

#define QUIB_PLATFORM_API extern "C" __attribute__((visibility("default")))

using BOOL = int32_t;
using BYTE = uint8_t;
using WORD = uint16_t;
using DWORD = uint32_t;
using UINT = uint32_t;
using LONG = int32_t;
using SIZE_T = size_t;
using UINT_PTR = uintptr_t;
using HANDLE = void*;
using HGLOBAL = void*;
using HDC = void*;
using HBITMAP = void*;
using HGDIOBJ = void*;

#if !defined(TRUE)
#define TRUE 1
#define FALSE 0
#endif

struct RECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
};

// The header of a device-independent bitmap.
struct tagBITMAPINFOHEADER {
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
};
using BITMAPINFOHEADER = tagBITMAPINFOHEADER;
static_assert(sizeof(BITMAPINFOHEADER) == 40);

struct RGBQUAD {
    BYTE rgbBlue;
    BYTE rgbGreen;
    BYTE rgbRed;
    BYTE rgbReserved;
};

struct BITMAPINFO {
    BITMAPINFOHEADER bmiHeader;
    RGBQUAD bmiColors[1];
};

#pragma pack(push, 2)
struct BITMAPFILEHEADER {
    WORD bfType;
    DWORD bfSize;
    WORD bfReserved1;
    WORD bfReserved2;
    DWORD bfOffBits;
};
#pragma pack(pop)
static_assert(sizeof(BITMAPFILEHEADER) == 14);

constexpr DWORD BI_RGB = 0;
constexpr DWORD BI_RLE8 = 1;
constexpr DWORD BI_RLE4 = 2;
constexpr DWORD BI_BITFIELDS = 3;
constexpr UINT DIB_RGB_COLORS = 0;
constexpr UINT GMEM_FIXED = 0x0000;
constexpr UINT GMEM_MOVEABLE = 0x0002;
constexpr UINT GMEM_ZEROINIT = 0x0040;
constexpr UINT GHND = GMEM_MOVEABLE | GMEM_ZEROINIT;
constexpr UINT GPTR = GMEM_FIXED | GMEM_ZEROINIT;
constexpr UINT GMEM_LOCKCOUNT = 0x00FF;
constexpr UINT GMEM_DISCARDED = 0x4000;
constexpr UINT GMEM_INVALID_HANDLE = 0x8000;
