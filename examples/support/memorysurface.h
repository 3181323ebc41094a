// Drawing surfaces in memory. A surface is an object that begins with the address of
// a table of functions; the library calls the three that are there.
#pragma once

#include "quibtool/platform/ddraw.h"

#include <cstddef>
#include <cstdint>
#include <vector>

template<class Interface, class Description>
class SurfaceInMemory
{
public:
    SurfaceInMemory(int width, int height, int pitch, int bitCount)
        : bytes(static_cast<size_t>(pitch) * static_cast<size_t>(height))
    {
        methods[slotOfDescription] = reinterpret_cast<const void*>(&describe);
        methods[slotOfLock] = reinterpret_cast<const void*>(&lock);
        methods[slotOfUnlock] = reinterpret_cast<const void*>(&unlock);
        layout.dwSize = sizeof layout;
        layout.dwWidth = static_cast<DWORD>(width);
        layout.dwHeight = static_cast<DWORD>(height);
        layout.lPitch = pitch;
        layout.lpSurface = bytes.data();
        layout.ddpfPixelFormat.dwSize = sizeof layout.ddpfPixelFormat;
        layout.ddpfPixelFormat.dwFlags = DDPF_RGB;
        layout.ddpfPixelFormat.dwRGBBitCount = static_cast<DWORD>(bitCount);
    }
    SurfaceInMemory(const SurfaceInMemory&) = delete;
    SurfaceInMemory& operator=(const SurfaceInMemory&) = delete;

    void setMasks(DWORD red, DWORD green, DWORD blue)
    {
        layout.ddpfPixelFormat.dwRBitMask = red;
        layout.ddpfPixelFormat.dwGBitMask = green;
        layout.ddpfPixelFormat.dwBBitMask = blue;
    }

    Interface* get() { return reinterpret_cast<Interface*>(&object); }
    const uint8_t* pixels() const { return bytes.data(); }

private:
    struct Object {
        const void* const* methods;
        SurfaceInMemory* surface;
    };

    static constexpr size_t slotOfDescription = 22;
    static constexpr size_t slotOfLock = 25;
    static constexpr size_t slotOfUnlock = 32;

    static HRESULT STDMETHODCALLTYPE describe(void* object, Description* description)
    {
        *description = static_cast<Object*>(object)->surface->layout;
        return DD_OK;
    }

    static HRESULT STDMETHODCALLTYPE lock(void* object, RECT* /*rect*/, Description* description,
                                          DWORD /*flags*/, HANDLE /*event*/)
    {
        return describe(object, description);
    }

    static HRESULT STDMETHODCALLTYPE unlock(void* /*object*/, void* /*rect*/) { return DD_OK; }

    std::vector<uint8_t> bytes;
    Description layout{};
    const void* methods[49] = {};
    Object object{methods, this};
};

using MemorySurface = SurfaceInMemory<IDirectDrawSurface, DDSURFACEDESC>;
using MemorySurface7 = SurfaceInMemory<IDirectDrawSurface7, DDSURFACEDESC2>;
