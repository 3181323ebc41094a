#include "benchmarks/families.h"

#include "_Src/ipl.h"
#include "benchmarks/bench.h"
#include "benchmarks/pixels.h"
#include "benchmarks/plain_dither.h"

#include <cstring>
#include <string>

namespace
{

constexpr int width = 1920;
constexpr int height = 1080;

// An image of one channel, as iplReduceBits writes it.
class Result
{
public:
    explicit Result(uint32_t depth)
        : image(iplCreateImageHeader(1, 0, depth, "GRAY", "GRAY", IPL_DATA_ORDER_PIXEL,
                                     IPL_ORIGIN_TL, 4, width, height, nullptr, nullptr, nullptr,
                                     nullptr))
    {
        iplAllocateImage(image, 1, 0);
    }
    ~Result() { iplDeallocate(image, IPL_IMAGE_ALL); }
    Result(const Result&) = delete;
    Result& operator=(const Result&) = delete;

    IplImage* get() const { return image; }

private:
    IplImage* image;
};

const Pixels& source()
{
    static const Pixels gray(width, height, 8);
    return gray;
}

IplImage* resultOf(uint32_t depth)
{
    static const Result bytes(IPL_DEPTH_8U);
    static const Result bits(IPL_DEPTH_1U);
    return depth == IPL_DEPTH_1U ? bits.get() : bytes.get();
}

std::function<void()> reduceBy(int32_t ditherType, int32_t levels, uint32_t depth = IPL_DEPTH_8U)
{
    return [=, &from = source(), to = resultOf(depth)] {
        iplReduceBits(from.handle(), to, 0, ditherType, levels);
        keep(to->imageData);
    };
}

std::function<void()> plainlyBy(const PlainDiffusion& method, int levels)
{
    return [&method, levels, from = source().data(), to = resultOf(IPL_DEPTH_8U)] {
        uint8_t* out = reinterpret_cast<uint8_t*>(to->imageData);
        const double most = levels - 1;
        plainDiffuse(
            method, width, height, {255 / most, most},
            [from](int x, int y) { return static_cast<double>(from[y * width + x]); },
            [out, most](int x, int y, double level) {
                out[y * width + x] = static_cast<uint8_t>(level * 255 / most + 0.5);
            });
        keep(out);
    };
}

std::function<void()> copyTo(uint32_t depth)
{
    return [from = source().data(), to = resultOf(depth)] {
        std::memcpy(to->imageData, from, static_cast<size_t>(to->imageSize));
        keep(to->imageData);
    };
}

void addDither(const std::string& name, double limit, std::function<void()> ours,
               const std::string& peer, std::function<void()> theirs)
{
    addCase({.operation = name,
             .width = width,
             .height = height,
             .limit = {.ratio = limit},
             .ours = std::move(ours),
             .peer = peer,
             .theirs = std::move(theirs),
             .floor = copyTo(IPL_DEPTH_8U)});
}

void addDiffusion(const std::string& name, int32_t ditherType, const PlainDiffusion& method)
{
    addDither("iplReduceBits " + name + " 2 levels", 0.50, reduceBy(ditherType, 2), "plain form",
              plainlyBy(method, 2));
    addDither("iplReduceBits " + name + " 16 levels", 0, reduceBy(ditherType, 16), "plain form",
              plainlyBy(method, 16));
}

} // namespace

void addDitherCases()
{
    addDiffusion("Floyd-Steinberg", IPL_DITHER_FS, plainFloydSteinberg());
    addDiffusion("Jarvis-Judice-Ninke", IPL_DITHER_JJH, plainJarvis());
    addDiffusion("Stucki", IPL_DITHER_STUCKEY, plainStucki());
    addDither("iplReduceBits Bayer 2 levels", 4.00, reduceBy(IPL_DITHER_BAYER, 2), "memcpy",
              copyTo(IPL_DEPTH_8U));
    addDither("iplReduceBits Bayer 2 levels, to bits", 4.00,
              reduceBy(IPL_DITHER_BAYER, 2, IPL_DEPTH_1U), "memcpy", copyTo(IPL_DEPTH_8U));
    addDither("iplReduceBits Bayer 16 levels", 0, reduceBy(IPL_DITHER_BAYER, 16), "memcpy",
              copyTo(IPL_DEPTH_8U));
}
