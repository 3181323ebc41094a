#include "examples/demo/tools.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <vector>

void fail(const std::string& message)
{
    std::cerr << "demo: " << message << "\n";
    std::exit(1);
}

void check(QuibStatus status, const std::string& call)
{
    if (status == QUIB_OK)
        return;
    char text[32];
    std::snprintf(text, sizeof text, " gave status 0x%08X", static_cast<unsigned>(status));
    fail(call + text);
}

double timed(const Call& call, const std::function<void()>& prepare)
{
    std::vector<double> times;
    for (int run = 0; run < 9; ++run) {
        if (prepare)
            prepare();
        const auto start = std::chrono::steady_clock::now();
        const QuibStatus status = call.run();
        const std::chrono::duration<double, std::milli> taken =
            std::chrono::steady_clock::now() - start;
        check(status, call.text);
        times.push_back(taken.count());
    }
    std::nth_element(times.begin(), times.begin() + 4, times.end());
    return times[4];
}

QuibInfo infoOf(const IplImage* handle)
{
    QuibInfo info{};
    check(QuibGetInfo(handle, &info), "QuibGetInfo");
    return info;
}

uint8_t* rowOf(const IplImage* handle, int y)
{
    void* data = nullptr;
    check(QuibLockData(handle, &data), "QuibLockData");
    return static_cast<uint8_t*>(data) + static_cast<ptrdiff_t>(y) * infoOf(handle).widthStep;
}

Handle create(int width, int height, int bitDepth)
{
    IplImage* handle = nullptr;
    check(QuibCreate(width, height, bitDepth, &handle, 0), "QuibCreate");
    return Handle(handle);
}

Handle emptyLike(const IplImage* image)
{
    const QuibInfo info = infoOf(image);
    return create(info.width, info.height, 32);
}

Handle copyOf(const IplImage* image)
{
    IplImage* copy = nullptr;
    check(QuibClone(image, &copy), "QuibClone");
    return Handle(copy);
}

Handle resized(const IplImage* source, int width, int height, int mode)
{
    Handle result = create(width, height, infoOf(source).bitDepth);
    check(QuibResize(const_cast<IplImage*>(source), result.get(), mode), "QuibResize");
    return result;
}

Handle cropped(const IplImage* image, int left, int top, int width, int height)
{
    Handle result = create(width, height, infoOf(image).bitDepth);
    check(QuibBlt(const_cast<IplImage*>(image), left, top, left + width, top + height, result.get(),
                  0, 0, width, height, 0),
          "QuibBlt");
    return result;
}

QuibPoint fitted(const QuibInfo& info, int boxWidth, int boxHeight)
{
    const double scale = std::min(static_cast<double>(boxWidth) / info.width,
                                  static_cast<double>(boxHeight) / info.height);
    return {std::max(1, static_cast<int>(std::lround(info.width * scale))),
            std::max(1, static_cast<int>(std::lround(info.height * scale)))};
}

Handle dropAlpha(const IplImage* image)
{
    const QuibInfo info = infoOf(image);
    Handle colour = create(info.width, info.height, 24);
    for (int32_t y = 0; y < info.height; ++y) {
        const uint8_t* src = rowOf(image, y);
        uint8_t* dst = rowOf(colour.get(), y);
        for (int32_t x = 0; x < info.width; ++x)
            std::memcpy(dst + x * 3, src + x * 4, 3);
    }
    return colour;
}

Handle softEllipse(int width, int height)
{
    Handle plane = create(width, height, 8);
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* row = rowOf(plane.get(), y);
        for (int32_t x = 0; x < width; ++x) {
            const double dx = (x + 0.5) / width * 2 - 1;
            const double dy = (y + 0.5) / height * 2 - 1;
            const double inside = (0.96 - std::sqrt(dx * dx + dy * dy)) / 0.14;
            row[x] = static_cast<uint8_t>(std::lround(std::clamp(inside, 0.0, 1.0) * 255));
        }
    }
    return plane;
}

Handle bitsOf(const IplImage* image)
{
    const QuibInfo info = infoOf(image);
    Handle bits = create(info.width, info.height, 1);
    for (int32_t y = 0; y < info.height; ++y) {
        const uint8_t* src = rowOf(image, y);
        uint8_t* dst = rowOf(bits.get(), y);
        for (int32_t x = 0; x < info.width; ++x)
            if (src[x * 4 + 1] > 110)
                dst[x / 8] = static_cast<uint8_t>(dst[x / 8] | 0x80 >> x % 8);
    }
    return bits;
}

QuibRect detailOf(const IplImage* image, int width, int height)
{
    const QuibInfo info = infoOf(image);
    const int left = std::clamp(info.width * 35 / 100, 0, info.width - width) & ~1;
    const int top = std::clamp(info.height * 29 / 100, 0, info.height - height) & ~1;
    return {left, top, left + width, top + height};
}

void replicateBorder(IplImage* image)
{
    for (int32_t& mode : image->BorderMode)
        mode = IPL_BORDER_REPLICATE;
}
