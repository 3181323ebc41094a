/* Drawing surfaces. On Windows the system's own header; elsewhere the records, and
 * for C++ the interfaces, which any object can implement, with the order of methods,
 * the layouts and the values of the system's. Nothing needs to be linked for them. */
#ifndef QUIBTOOL_PLATFORM_DDRAW_H
#define QUIBTOOL_PLATFORM_DDRAW_H

#if defined(_WIN32)
#include <windows.h>

#include <ddraw.h>
#else

#include "types.h"

typedef int32_t HRESULT;
typedef uint32_t ULONG;
#define STDMETHODCALLTYPE

typedef struct GUID {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
} GUID;

#define DD_OK ((HRESULT)0)
#define DDLOCK_WAIT ((DWORD)1)
#define DDSD_HEIGHT ((DWORD)0x2)
#define DDSD_WIDTH ((DWORD)0x4)
#define DDSD_PITCH ((DWORD)0x8)
#define DDSD_LPSURFACE ((DWORD)0x800)
#define DDSD_PIXELFORMAT ((DWORD)0x1000)
#define DDPF_RGB ((DWORD)0x40)

typedef struct DDCOLORKEY {
    DWORD dwColorSpaceLowValue;
    DWORD dwColorSpaceHighValue;
} DDCOLORKEY;

typedef struct DDPIXELFORMAT {
    DWORD dwSize;
    DWORD dwFlags;
    DWORD dwFourCC;
    DWORD dwRGBBitCount;
    DWORD dwRBitMask;
    DWORD dwGBitMask;
    DWORD dwBBitMask;
    DWORD dwRGBAlphaBitMask;
} DDPIXELFORMAT;

typedef struct DDSCAPS {
    DWORD dwCaps;
} DDSCAPS;

typedef struct DDSCAPS2 {
    DWORD dwCaps;
    DWORD dwCaps2;
    DWORD dwCaps3;
    DWORD dwCaps4;
} DDSCAPS2;

typedef struct DDSURFACEDESC {
    DWORD dwSize;
    DWORD dwFlags;
    DWORD dwHeight;
    DWORD dwWidth;
    LONG lPitch; /* bytes from one row to the next */
    DWORD dwBackBufferCount;
    DWORD dwMipMapCount;
    DWORD dwAlphaBitDepth;
    DWORD dwReserved;
    void* lpSurface; /* the first pixel, while the surface is locked */
    DDCOLORKEY ddckCKDestOverlay;
    DDCOLORKEY ddckCKDestBlt;
    DDCOLORKEY ddckCKSrcOverlay;
    DDCOLORKEY ddckCKSrcBlt;
    DDPIXELFORMAT ddpfPixelFormat;
    DDSCAPS ddsCaps;
} DDSURFACEDESC;

typedef struct DDSURFACEDESC2 {
    DWORD dwSize;
    DWORD dwFlags;
    DWORD dwHeight;
    DWORD dwWidth;
    LONG lPitch;
    DWORD dwBackBufferCount;
    DWORD dwMipMapCount;
    DWORD dwAlphaBitDepth;
    DWORD dwReserved;
    void* lpSurface;
    DDCOLORKEY ddckCKDestOverlay;
    DDCOLORKEY ddckCKDestBlt;
    DDCOLORKEY ddckCKSrcOverlay;
    DDCOLORKEY ddckCKSrcBlt;
    DDPIXELFORMAT ddpfPixelFormat;
    DDSCAPS2 ddsCaps;
    DWORD dwTextureStage;
} DDSURFACEDESC2;

#if defined(__cplusplus)

struct DDBLTBATCH;
struct DDBLTFX;
struct DDOVERLAYFX;
struct IDirectDraw;
struct IDirectDrawClipper;
struct IDirectDrawPalette;

/* The methods that both interfaces begin with, in this order, on the surface, its
 * description and its capabilities. Of them the library calls Lock, Unlock and, on
 * the newer one, GetSurfaceDesc. */
#define QUIB_SURFACE_METHODS(Surface, Description, Capabilities)                                   \
    virtual HRESULT QueryInterface(const GUID& id, void** object) = 0;                             \
    virtual ULONG AddRef() = 0;                                                                    \
    virtual ULONG Release() = 0;                                                                   \
    virtual HRESULT AddAttachedSurface(Surface* attached) = 0;                                     \
    virtual HRESULT AddOverlayDirtyRect(RECT* rect) = 0;                                           \
    virtual HRESULT Blt(RECT* to, Surface* source, RECT* from, DWORD flags, DDBLTFX* effects) = 0; \
    virtual HRESULT BltBatch(DDBLTBATCH* batch, DWORD count, DWORD flags) = 0;                     \
    virtual HRESULT BltFast(DWORD x, DWORD y, Surface* source, RECT* from, DWORD flags) = 0;       \
    virtual HRESULT DeleteAttachedSurface(DWORD flags, Surface* attached) = 0;                     \
    virtual HRESULT EnumAttachedSurfaces(void* context,                                            \
                                         HRESULT (*callback)(Surface*, Description*, void*)) = 0;  \
    virtual HRESULT EnumOverlayZOrders(DWORD flags, void* context,                                 \
                                       HRESULT (*callback)(Surface*, Description*, void*)) = 0;    \
    virtual HRESULT Flip(Surface* target, DWORD flags) = 0;                                        \
    virtual HRESULT GetAttachedSurface(Capabilities* capabilities, Surface** attached) = 0;        \
    virtual HRESULT GetBltStatus(DWORD flags) = 0;                                                 \
    virtual HRESULT GetCaps(Capabilities* capabilities) = 0;                                       \
    virtual HRESULT GetClipper(IDirectDrawClipper** clipper) = 0;                                  \
    virtual HRESULT GetColorKey(DWORD flags, DDCOLORKEY* key) = 0;                                 \
    virtual HRESULT GetDC(HDC* context) = 0;                                                       \
    virtual HRESULT GetFlipStatus(DWORD flags) = 0;                                                \
    virtual HRESULT GetOverlayPosition(LONG* x, LONG* y) = 0;                                      \
    virtual HRESULT GetPalette(IDirectDrawPalette** palette) = 0;                                  \
    virtual HRESULT GetPixelFormat(DDPIXELFORMAT* format) = 0;                                     \
    virtual HRESULT GetSurfaceDesc(Description* description) = 0;                                  \
    virtual HRESULT Initialize(IDirectDraw* directDraw, Description* description) = 0;             \
    virtual HRESULT IsLost() = 0;                                                                  \
    virtual HRESULT Lock(RECT* rect, Description* description, DWORD flags, HANDLE event) = 0;     \
    virtual HRESULT ReleaseDC(HDC context) = 0;                                                    \
    virtual HRESULT Restore() = 0;                                                                 \
    virtual HRESULT SetClipper(IDirectDrawClipper* clipper) = 0;                                   \
    virtual HRESULT SetColorKey(DWORD flags, DDCOLORKEY* key) = 0;                                 \
    virtual HRESULT SetOverlayPosition(LONG x, LONG y) = 0;                                        \
    virtual HRESULT SetPalette(IDirectDrawPalette* palette) = 0

struct IDirectDrawSurface {
    QUIB_SURFACE_METHODS(IDirectDrawSurface, DDSURFACEDESC, DDSCAPS);
    virtual HRESULT Unlock(void* pixels) = 0;
    virtual HRESULT UpdateOverlay(RECT* from, IDirectDrawSurface* target, RECT* to, DWORD flags,
                                  DDOVERLAYFX* effects) = 0;
    virtual HRESULT UpdateOverlayDisplay(DWORD flags) = 0;
    virtual HRESULT UpdateOverlayZOrder(DWORD flags, IDirectDrawSurface* reference) = 0;
};

struct IDirectDrawSurface7 {
    QUIB_SURFACE_METHODS(IDirectDrawSurface7, DDSURFACEDESC2, DDSCAPS2);
    virtual HRESULT Unlock(RECT* rect) = 0;
    virtual HRESULT UpdateOverlay(RECT* from, IDirectDrawSurface7* target, RECT* to, DWORD flags,
                                  DDOVERLAYFX* effects) = 0;
    virtual HRESULT UpdateOverlayDisplay(DWORD flags) = 0;
    virtual HRESULT UpdateOverlayZOrder(DWORD flags, IDirectDrawSurface7* reference) = 0;
    virtual HRESULT GetDDInterface(void** directDraw) = 0;
    virtual HRESULT PageLock(DWORD flags) = 0;
    virtual HRESULT PageUnlock(DWORD flags) = 0;
    virtual HRESULT SetSurfaceDesc(DDSURFACEDESC2* description, DWORD flags) = 0;
    virtual HRESULT SetPrivateData(const GUID& tag, void* data, DWORD bytes, DWORD flags) = 0;
    virtual HRESULT GetPrivateData(const GUID& tag, void* data, DWORD* bytes) = 0;
    virtual HRESULT FreePrivateData(const GUID& tag) = 0;
    virtual HRESULT GetUniquenessValue(DWORD* value) = 0;
    virtual HRESULT ChangeUniquenessValue() = 0;
    virtual HRESULT SetPriority(DWORD priority) = 0;
    virtual HRESULT GetPriority(DWORD* priority) = 0;
    virtual HRESULT SetLOD(DWORD level) = 0;
    virtual HRESULT GetLOD(DWORD* level) = 0;
};

#undef QUIB_SURFACE_METHODS

#endif

#endif

#endif
