#include "benchmarks/families.h"

#include "benchmarks/bench.h"
#include "benchmarks/pixels.h"
#include "quibtool/platform/ddraw.h"

#if defined(QUIB_BENCH_LIBYUV)
#include <libyuv/convert_argb.h>
#include <libyuv/convert_from_argb.h>
#endif

#include <cstring>
#include <string>

namespace
{

// A surface whose rows have no gaps, as those of the handles beside it: an object of
// the two methods that are called, in the places that the system's interface has.
class Canvas
{
public:
    Canvas(int canvasWidth, int canvasHeight, const DDPIXELFORMAT& format)
        : width(canvasWidth), height(canvasHeight),
          pitch(canvasWidth * static_cast<int>(format.dwRGBBitCount) / 8), pixels(width, height, 32)
    {
        description.dwSize = sizeof description;
        description.dwWidth = static_cast<uint32_t>(width);
        description.dwHeight = static_cast<uint32_t>(height);
        description.lPitch = pitch;
        description.lpSurface = data();
        description.ddpfPixelFormat = format;
        methods[25] = reinterpret_cast<const void*>(&lock);
        methods[32] = reinterpret_cast<const void*>(&unlock);
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    IDirectDrawSurface* surface() { return reinterpret_cast<IDirectDrawSurface*>(&object); }
    size_t bytes() const { return static_cast<size_t>(pitch) * static_cast<size_t>(height); }
    uint8_t* data() const { return pixels.data(); }

    const int width;
    const int height;
    const int pitch;

private:
    struct Object {
        const void* const* methods;
        const Canvas* canvas;
    };

    static HRESULT STDMETHODCALLTYPE lock(Object* object, RECT*, DDSURFACEDESC* description, DWORD,
                                          HANDLE)
    {
        *description = object->canvas->description;
        return DD_OK;
    }
    static HRESULT STDMETHODCALLTYPE unlock(Object*, void*) { return DD_OK; }

    Pixels pixels; // room for every format
    DDSURFACEDESC description{};
    const void* methods[36] = {};
    Object object{methods, this};
};

DDPIXELFORMAT formatOf(uint32_t bits, uint32_t red, uint32_t green, uint32_t blue)
{
    DDPIXELFORMAT format{};
    format.dwSize = sizeof format;
    format.dwFlags = DDPF_RGB;
    format.dwRGBBitCount = bits;
    format.dwRBitMask = red;
    format.dwGBitMask = green;
    format.dwBBitMask = blue;
    return format;
}

struct Peer {
    std::string name;
    std::function<void()> run;
};

// `copied` bytes move between the two by memcpy as the floor.
void surfaceCase(const std::string& operation, const Canvas& canvas, double limit,
                 const std::function<void()>& ours, const Peer& peer, const uint8_t* pixels,
                 size_t copied)
{
    addCase({.operation = operation,
             .width = canvas.width,
             .height = canvas.height,
             .limit = {.ratio = limit},
             .ours = ours,
             .peer = peer.name,
             .theirs = peer.run,
             .floor = [=, data = canvas.data()] {
                 std::memcpy(data, pixels, copied);
                 keep(data);
             }});
}

#if defined(QUIB_BENCH_LIBYUV)
using FromArgb = int (*)(const uint8_t*, int, uint8_t*, int, int, int);

Peer yuvPeer(const std::string& name, FromArgb convert, const Pixels& from, int fromBytes,
             const Canvas& to)
{
    return {"libyuv " + name, [&from, &to, fromBytes, convert] {
                convert(from.data(), to.width * fromBytes, to.data(), to.pitch, to.width,
                        to.height);
                keep(to.data());
            }};
}
#endif

Peer memcpyPeer(uint8_t* to, const uint8_t* from, size_t bytes)
{
    return {"memcpy", [=] {
                std::memcpy(to, from, bytes);
                keep(to);
            }};
}

// Both packings, from the four-byte pixels that the peers read, and from three.
void packingCases(Canvas& canvas, const Pixels& argb, const Pixels& rgb, bool is565, double limit)
{
    const std::string format = is565 ? "5-6-5" : "5-5-5";
    Peer peer;
#if defined(QUIB_BENCH_LIBYUV)
    peer = is565 ? yuvPeer("ARGBToRGB565", libyuv::ARGBToRGB565, argb, 4, canvas)
                 : yuvPeer("ARGBToARGB1555", libyuv::ARGBToARGB1555, argb, 4, canvas);
#endif
    IDirectDrawSurface* surface = canvas.surface();
    const auto pack = [=](const Pixels& from) {
        return [=, handle = from.handle()] { QuibToSurf_16(handle, surface, is565); };
    };
    const auto draw = [=, handle = argb.handle()] { Quib2Surface(handle, surface); };
    surfaceCase("Quib2Surface 32-bit to " + format, canvas, limit, draw, peer, argb.data(),
                canvas.bytes());
    surfaceCase("QuibToSurf_16 32-bit to " + format, canvas, limit, pack(argb), peer, argb.data(),
                canvas.bytes());
    surfaceCase("QuibToSurf_16 24-bit to " + format, canvas, limit, pack(rgb), peer, rgb.data(),
                canvas.bytes());
}

void byteCases(Canvas& canvas24, Canvas& canvas32, const Pixels& argb, const Pixels& rgb)
{
    IDirectDrawSurface* surface24 = canvas24.surface();
    IDirectDrawSurface* surface32 = canvas32.surface();
    IplImage* handle24 = rgb.handle();
    IplImage* handle32 = argb.handle();
    surfaceCase(
        "Quib2Surface 32-bit to 32-bit", canvas32, 1.10, [=] { Quib2Surface(handle32, surface32); },
        memcpyPeer(canvas32.data(), argb.data(), argb.bytes()), argb.data(), argb.bytes());
    surfaceCase(
        "Quib2Surface 24-bit to 24-bit", canvas24, 1.10, [=] { Quib2Surface(handle24, surface24); },
        memcpyPeer(canvas24.data(), rgb.data(), rgb.bytes()), rgb.data(), rgb.bytes());
    surfaceCase(
        "Surface2Quib 32-bit from 32-bit", canvas32, 1.30,
        [=] { Surface2Quib(surface32, handle32); },
        memcpyPeer(argb.data(), canvas32.data(), argb.bytes()), argb.data(), argb.bytes());
    Peer to24;
    Peer to32;
#if defined(QUIB_BENCH_LIBYUV)
    to24 = yuvPeer("ARGBToRGB24", libyuv::ARGBToRGB24, argb, 4, canvas24);
    to32 = yuvPeer("RGB24ToARGB", libyuv::RGB24ToARGB, rgb, 3, canvas32);
#endif
    surfaceCase(
        "Quib2Surface 32-bit to 24-bit", canvas24, 1.15, [=] { Quib2Surface(handle32, surface24); },
        to24, argb.data(), canvas24.bytes());
    surfaceCase(
        "Quib2Surface 24-bit to 32-bit", canvas32, 1.15, [=] { Quib2Surface(handle24, surface32); },
        to32, argb.data(), canvas32.bytes());
}

} // namespace

void addSurfaceCases()
{
    static const Pixels argb(1920, 1080, 32);
    static const Pixels rgb(1920, 1080, 24);
    static Canvas canvas565(1920, 1080, formatOf(16, 0xF800, 0x07E0, 0x001F));
    static Canvas canvas555(1920, 1080, formatOf(16, 0x7C00, 0x03E0, 0x001F));
    static Canvas canvas24(1920, 1080, formatOf(24, 0xFF0000, 0xFF00, 0xFF));
    static Canvas canvas32(1920, 1080, formatOf(32, 0xFF0000, 0xFF00, 0xFF));
    packingCases(canvas565, argb, rgb, true, 1.00);
    packingCases(canvas555, argb, rgb, false, 1.00);
    byteCases(canvas24, canvas32, argb, rgb);

    static const Pixels smallArgb(64, 64, 32);
    static const Pixels smallRgb(64, 64, 24);
    static Canvas small565(64, 64, formatOf(16, 0xF800, 0x07E0, 0x001F));
    packingCases(small565, smallArgb, smallRgb, true, 0);
}
