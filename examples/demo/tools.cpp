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

void check(QuibStatus status, const char* call)
{
    if (status != QUIB_OK) {
        char text[160];
        std::snprintf(text, sizeof text, "%s gave status 0x%08X", call,
                      static_cast<unsigned>(status));
        fail(text);
    }
}

double timed(const std::function<void()>& work)
{
    std::vector<double> times;
    for (int run = 0; run < 9; ++run) {
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double, std::milli> taken =
            std::chrono::steady_clock::now() - start;
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

Handle create(int width, int height, int bitDepth)
{
    IplImage* handle = nullptr;
    check(QuibCreate0(width, height, bitDepth, &handle), "QuibCreate0");
    return Handle(handle);
}

Handle copyOf(const IplImage* image)
{
    IplImage* copy = nullptr;
    check(QuibClone(image, &copy), "QuibClone");
    return Handle(copy);
}

Handle resized(const IplImage* source, int width, int height, int mode, double* milliseconds)
{
    Handle result = create(width, height, infoOf(source).bitDepth);
    *milliseconds = timed([&] {
        check(QuibResize(const_cast<IplImage*>(source), result.get(), mode), "QuibResize");
    });
    return result;
}

QuibPoint fitted(const QuibInfo& info, int boxWidth, int boxHeight)
{
    const double scale = std::min(static_cast<double>(boxWidth) / info.width,
                                  static_cast<double>(boxHeight) / info.height);
    return {std::max(1, static_cast<int>(std::lround(info.width * scale))),
            std::max(1, static_cast<int>(std::lround(info.height * scale)))};
}

Handle evenRows(const IplImage* image)
{
    const QuibInfo info = infoOf(image);
    Handle even = create(info.width, std::max(2, info.height & ~1), 32);
    check(QuibResize(const_cast<IplImage*>(image), even.get(), 0), "QuibResize");
    return even;
}

Handle dropAlpha(const IplImage* image)
{
    const QuibInfo info = infoOf(image);
    Handle colour = create(info.width, info.height, 24);
    void* from = nullptr;
    void* to = nullptr;
    check(QuibLockData(image, &from), "QuibLockData");
    check(QuibLockData(colour.get(), &to), "QuibLockData");
    const int32_t step = infoOf(colour.get()).widthStep;
    for (int32_t y = 0; y < info.height; ++y) {
        const uint8_t* src =
            static_cast<uint8_t*>(from) + static_cast<ptrdiff_t>(y) * info.widthStep;
        uint8_t* dst = static_cast<uint8_t*>(to) + static_cast<ptrdiff_t>(y) * step;
        for (int32_t x = 0; x < info.width; ++x)
            std::memcpy(dst + x * 3, src + x * 4, 3);
    }
    return colour;
}

Handle softEllipse(int width, int height)
{
    Handle plane = create(width, height, 8);
    void* data = nullptr;
    check(QuibLockData(plane.get(), &data), "QuibLockData");
    const int32_t step = infoOf(plane.get()).widthStep;
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* row = static_cast<uint8_t*>(data) + static_cast<ptrdiff_t>(y) * step;
        for (int32_t x = 0; x < width; ++x) {
            const double dx = (x + 0.5) / width * 2 - 1;
            const double dy = (y + 0.5) / height * 2 - 1;
            const double inside = (0.96 - std::sqrt(dx * dx + dy * dy)) / 0.14;
            row[x] = static_cast<uint8_t>(std::lround(std::clamp(inside, 0.0, 1.0) * 255));
        }
    }
    return plane;
}
