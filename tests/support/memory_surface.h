// Drawing surfaces in memory, for tests: objects of three methods, in the places
// that the system's interfaces give them. Calls are counted.
#pragma once

#include "quibtool/platform/ddraw.h"
#include "tests/support/guarded_buffer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

template<class Interface, class Description>
class MemorySurface
{
public:
    // `size` bytes of rows that are `pitch` apart, between inaccessible pages.
    MemorySurface(uint32_t width, uint32_t height, int32_t pitch, size_t size,
                  Guard guard = Guard::afterEnd)
        : buffer(size, guard)
    {
        methods[22] = reinterpret_cast<const void*>(&getSurfaceDesc);
        methods[25] = reinterpret_cast<const void*>(&lock);
        methods[32] = reinterpret_cast<const void*>(&unlock);
        layout.dwWidth = width;
        layout.dwHeight = height;
        layout.lPitch = pitch;
        layout.lpSurface = buffer.data();
        layout.ddpfPixelFormat.dwSize = sizeof layout.ddpfPixelFormat;
        object = {methods, this};
    }
    MemorySurface(const MemorySurface&) = delete;
    MemorySurface& operator=(const MemorySurface&) = delete;

    Interface* get() { return reinterpret_cast<Interface*>(&object); }
    uint8_t* pixels() const { return buffer.data(); }
    std::vector<uint8_t> contents() const { return buffer.contents(); }

    void setFormat(uint32_t bits, uint32_t red, uint32_t green, uint32_t blue)
    {
        layout.ddpfPixelFormat.dwFlags = DDPF_RGB;
        layout.ddpfPixelFormat.dwRGBBitCount = bits;
        layout.ddpfPixelFormat.dwRBitMask = red;
        layout.ddpfPixelFormat.dwGBitMask = green;
        layout.ddpfPixelFormat.dwBBitMask = blue;
    }

    Description layout{}; // what is described, but for the size
    // What a lock describes once there have been `changesAfter` of them.
    Description later{};
    int changesAfter = INT32_MAX;
    HRESULT descriptionResult = 0;
    HRESULT lockResult = 0;
    bool describesOnFailure = false; // whether a failing lock gives a description too
    int locks = 0;
    int unlocks = 0;
    int descriptions = 0;
    bool calledWell = true;      // with the arguments and the description to be expected
    bool calledWithZeros = true; // in the descriptions, but for sizes and flags
    bool lockedWithoutFlags = true;
    uint32_t flagsOfDescription = 0; // as GetSurfaceDesc was called with

private:
    struct Object {
        const void* const* methods;
        MemorySurface* surface;
    };

    static MemorySurface* self(void* object) { return static_cast<Object*>(object)->surface; }

    void describe(Description* description, bool isFirst = false)
    {
        calledWell = calledWell && description->dwSize == sizeof(Description);
        constexpr size_t head = sizeof description->dwSize + sizeof description->dwFlags;
        const uint8_t* bytes = reinterpret_cast<const uint8_t*>(description);
        calledWithZeros = calledWithZeros && std::all_of(bytes + head, bytes + sizeof *description,
                                                         [](uint8_t value) { return value == 0; });
        *description = locks < changesAfter || isFirst ? layout : later;
        description->dwSize = sizeof(Description);
    }

    static HRESULT STDMETHODCALLTYPE getSurfaceDesc(void* object, Description* description)
    {
        MemorySurface* surface = self(object);
        ++surface->descriptions;
        surface->flagsOfDescription = description->dwFlags;
        surface->describe(description, true);
        return surface->descriptionResult;
    }

    static HRESULT STDMETHODCALLTYPE lock(void* object, RECT* rect, Description* description,
                                          DWORD flags, HANDLE event)
    {
        MemorySurface* surface = self(object);
        surface->calledWell = surface->calledWell && !rect && !event && flags == DDLOCK_WAIT;
        surface->lockedWithoutFlags = surface->lockedWithoutFlags && description->dwFlags == 0;
        if (surface->lockResult == 0 || surface->describesOnFailure)
            surface->describe(description);
        if (surface->lockResult == 0)
            ++surface->locks;
        return surface->lockResult;
    }

    static HRESULT STDMETHODCALLTYPE unlock(void* object, void* rect)
    {
        self(object)->calledWell = self(object)->calledWell && !rect;
        ++self(object)->unlocks;
        return -1; // nobody looks at it
    }

    GuardedBuffer buffer;
    const void* methods[49] = {};
    Object object{};
};

using Surface = MemorySurface<IDirectDrawSurface, DDSURFACEDESC>;
using Surface7 = MemorySurface<IDirectDrawSurface7, DDSURFACEDESC2>;
