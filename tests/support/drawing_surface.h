// Drawing surfaces as the system makes them: on Windows DirectDraw's own, in system
// memory; elsewhere surfaces in memory whose rows lie as those do.
#pragma once

#include "tests/support/plain_surface.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

#if defined(_WIN32)
#include "quibtool/platform/ddraw.h"
#else
#include "tests/support/memory_surface.h"
#endif

#if defined(_WIN32)

// DirectDraw, once for each of its two ages. Throws where the system has none: no
// test may pass without it.
class DirectDraws
{
public:
    static DirectDraws& get()
    {
        static DirectDraws both;
        return both;
    }

    IDirectDraw* old = nullptr;
    IDirectDraw7* late = nullptr;

private:
    using Create = HRESULT(WINAPI*)(GUID*, IDirectDraw**, IUnknown*);
    using CreateLate = HRESULT(WINAPI*)(GUID*, void**, const IID&, IUnknown*);

    DirectDraws()
    {
        const HMODULE library = LoadLibraryA("ddraw.dll");
        if (!library)
            throw std::runtime_error("ddraw.dll cannot be loaded");
        const auto create = function<Create>(library, "DirectDrawCreate");
        const auto createLate = function<CreateLate>(library, "DirectDrawCreateEx");
        const GUID idOfLate = {
            0x15E65EC0, 0x3B9C, 0x11D2, {0xB9, 0x2F, 0x00, 0x60, 0x97, 0x97, 0xEA, 0x5B}};
        check(create(nullptr, &old, nullptr), "DirectDrawCreate");
        check(createLate(nullptr, reinterpret_cast<void**>(&late), idOfLate, nullptr),
              "DirectDrawCreateEx");
        check(old->SetCooperativeLevel(nullptr, DDSCL_NORMAL), "SetCooperativeLevel");
        check(late->SetCooperativeLevel(nullptr, DDSCL_NORMAL), "SetCooperativeLevel");
    }

    template<class Function>
    static Function function(HMODULE library, const char* name)
    {
        return reinterpret_cast<Function>(
            reinterpret_cast<void (*)()>(GetProcAddress(library, name)));
    }

public:
    static void check(HRESULT result, const char* call)
    {
        if (result != DD_OK)
            throw std::runtime_error(std::string(call) + " gives " + std::to_string(result));
    }
};

template<class Interface, class Description>
class DrawingSurface
{
public:
    DrawingSurface(int32_t width, int32_t height, const SurfaceFormat& format)
    {
        Description wish{};
        wish.dwSize = sizeof wish;
        wish.dwFlags = DDSD_CAPS | DDSD_WIDTH | DDSD_HEIGHT | DDSD_PIXELFORMAT;
        wish.dwWidth = static_cast<DWORD>(width);
        wish.dwHeight = static_cast<DWORD>(height);
        wish.ddsCaps.dwCaps = DDSCAPS_OFFSCREENPLAIN | DDSCAPS_SYSTEMMEMORY;
        wish.ddpfPixelFormat.dwSize = sizeof wish.ddpfPixelFormat;
        wish.ddpfPixelFormat.dwFlags =
            static_cast<DWORD>(DDPF_RGB | (format.bits == 8 ? DDPF_PALETTEINDEXED8 : 0));
        wish.ddpfPixelFormat.dwRGBBitCount = format.bits;
        wish.ddpfPixelFormat.dwRBitMask = format.red;
        wish.ddpfPixelFormat.dwGBitMask = format.green;
        wish.ddpfPixelFormat.dwBBitMask = format.blue;
        if constexpr (std::is_same_v<Interface, IDirectDrawSurface7>)
            DirectDraws::check(DirectDraws::get().late->CreateSurface(&wish, &surface, nullptr),
                               format.name);
        else
            DirectDraws::check(DirectDraws::get().old->CreateSurface(&wish, &surface, nullptr),
                               format.name);
    }
    ~DrawingSurface() { surface->Release(); }
    DrawingSurface(const DrawingSurface&) = delete;
    DrawingSurface& operator=(const DrawingSurface&) = delete;

    Interface* get() const { return surface; }

    // All bytes of its rows, and how far the rows lie apart.
    PlainBlock content() const
    {
        const Description locked = lock();
        const uint8_t* pixels = static_cast<const uint8_t*>(locked.lpSurface);
        const std::vector<uint8_t> bytes(pixels, pixels + sizeOf(locked));
        surface->Unlock(nullptr);
        return {bytes, locked.lPitch};
    }
    void randomise(Random& random) const
    {
        const Description locked = lock();
        random.fill(locked.lpSurface, sizeOf(locked));
        surface->Unlock(nullptr);
    }
    // Whether somebody left it locked; it is not any more.
    bool takeLock() const { return surface->Unlock(nullptr) == DD_OK; }

private:
    Description lock() const
    {
        Description description{};
        description.dwSize = sizeof description;
        DirectDraws::check(surface->Lock(nullptr, &description, DDLOCK_WAIT, nullptr), "Lock");
        return description;
    }
    static size_t sizeOf(const Description& description)
    {
        return static_cast<size_t>(description.lPitch) * description.dwHeight;
    }

    Interface* surface = nullptr;
};

#else

template<class Interface, class Description>
class DrawingSurface
{
public:
    DrawingSurface(int32_t width, int32_t height, const SurfaceFormat& format)
        : pitch((width * static_cast<int32_t>(format.bits / 8) + 7) / 8 * 8),
          surface(static_cast<uint32_t>(width), static_cast<uint32_t>(height), pitch,
                  static_cast<size_t>(pitch) * static_cast<size_t>(height))
    {
        surface.setFormat(format.bits, format.red, format.green, format.blue);
    }

    Interface* get() { return surface.get(); }
    PlainBlock content() const { return {surface.contents(), pitch}; }
    void randomise(Random& random) const { random.fill(surface.pixels(), content().bytes.size()); }
    bool takeLock()
    {
        const bool locked = surface.locks > surface.unlocks;
        surface.unlocks = surface.locks;
        return locked;
    }

private:
    int32_t pitch;
    MemorySurface<Interface, Description> surface;
};

#endif

using SystemSurface = DrawingSurface<IDirectDrawSurface, DDSURFACEDESC>;
using SystemSurface7 = DrawingSurface<IDirectDrawSurface7, DDSURFACEDESC2>;
