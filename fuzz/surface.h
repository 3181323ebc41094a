// A drawing surface of any description: objects of three methods, in the places that the
// system's interfaces give them. Its block has the bytes that the description of a lock
// speaks of, and that alone is true of it.
#pragma once

#include "fuzz/input.h"

#include "quibtool/platform/ddraw.h"

#include <cstdlib>

template<class Interface, class Description>
class FuzzSurface
{
public:
    // Mostly of the size that is given.
    FuzzSurface(FuzzInput& input, int32_t width, int32_t height)
    {
        methods[22] = reinterpret_cast<const void*>(&describe);
        methods[25] = reinterpret_cast<const void*>(&lock);
        methods[32] = reinterpret_cast<const void*>(&unlock);
        object = {methods, this};
        locked = describedBy(input, width, height);
        told = input.rarely(8) ? describedBy(input, width, height) : locked;
        describeResult = input.rarely(8) ? -1 : DD_OK;
        lockResult = input.rarely(8) ? -1 : DD_OK;
        const int64_t bytes = std::max<int64_t>(locked.lPitch, 0) * locked.dwHeight;
        pixels = static_cast<uint8_t*>(std::malloc(static_cast<size_t>(bytes)));
        if (pixels)
            fillFrom(input, pixels, static_cast<size_t>(bytes));
        locked.lpSurface = told.lpSurface = input.rarely(16) ? nullptr : pixels;
    }
    ~FuzzSurface() { std::free(pixels); }
    FuzzSurface(const FuzzSurface&) = delete;
    FuzzSurface& operator=(const FuzzSurface&) = delete;

    Interface* get() { return reinterpret_cast<Interface*>(&object); }

private:
    struct Object {
        const void* const* methods;
        FuzzSurface* surface;
    };

    static uint32_t maskFrom(FuzzInput& input)
    {
        const uint32_t kind = input.choose(4);
        if (kind == 0)
            return static_cast<uint32_t>(input.word());
        return 0xFFFFFFFFu >> input.choose(32) << input.choose(16);
    }

    static int32_t pitchFrom(FuzzInput& input, int32_t rowBytes)
    {
        constexpr int32_t odd[] = {0, -1, INT32_MIN, 1, 3, 5};
        const uint32_t choice = input.choose(32);
        if (choice < 16)
            return rowBytes + static_cast<int32_t>(choice);
        return choice < 26 ? input.below(200) : odd[choice - 26];
    }

    static Description describedBy(FuzzInput& input, int32_t width, int32_t height)
    {
        constexpr uint32_t bits[] = {16, 24, 32, 16, 24, 32, 8, 15};
        constexpr uint32_t common[][3] = {{0xF800, 0x07E0, 0x001F}, {0x7C00, 0x03E0, 0x001F}};
        Description description{};
        description.dwSize = sizeof description;
        description.dwWidth = static_cast<DWORD>(input.rarely(8) ? input.below(64) : width);
        description.dwHeight = static_cast<DWORD>(input.rarely(8) ? input.below(64) : height);
        auto& format = description.ddpfPixelFormat;
        const uint32_t choice = input.choose(16);
        format.dwRGBBitCount = choice < 15 ? bits[choice % 8] : static_cast<DWORD>(input.word());
        const uint32_t masks = input.choose(4);
        format.dwRBitMask = masks < 2 ? common[masks][0] : maskFrom(input);
        format.dwGBitMask = masks < 2 ? common[masks][1] : maskFrom(input);
        format.dwBBitMask = masks < 2 ? common[masks][2] : maskFrom(input);
        const int32_t rowBytes = static_cast<int32_t>(
            description.dwWidth * std::min<DWORD>(format.dwRGBBitCount, 32) / 8);
        description.lPitch = pitchFrom(input, rowBytes);
        return description;
    }

    static FuzzSurface* self(void* object) { return static_cast<Object*>(object)->surface; }

    static HRESULT STDMETHODCALLTYPE describe(void* object, Description* description)
    {
        *description = self(object)->told;
        return self(object)->describeResult;
    }
    static HRESULT STDMETHODCALLTYPE lock(void* object, RECT*, Description* description, DWORD,
                                          HANDLE)
    {
        if (self(object)->lockResult == DD_OK)
            *description = self(object)->locked;
        return self(object)->lockResult;
    }
    static HRESULT STDMETHODCALLTYPE unlock(void*, void*) { return DD_OK; }

    Description locked;
    Description told;
    HRESULT describeResult;
    HRESULT lockResult;
    uint8_t* pixels;
    const void* methods[49] = {};
    Object object{};
};

using FuzzOldSurface = FuzzSurface<IDirectDrawSurface, DDSURFACEDESC>;
using FuzzLateSurface = FuzzSurface<IDirectDrawSurface7, DDSURFACEDESC2>;
