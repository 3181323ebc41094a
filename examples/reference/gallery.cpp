#include "examples/reference/gallery.h"

#include "examples/demo/picture.h"
#include "examples/reference/program.h"
#include "examples/support/handle.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>

namespace
{

struct Gallery {
    Setting setting;
    std::map<std::string, Handle> loaded;
    std::map<std::string, std::string> files; // by their bytes
    Shown* shown = nullptr;                   // of the example that runs
    std::vector<Handle> kept;
    int times = 1;
    int written = 0;
};

Gallery gallery;

[[noreturn]] void fail(const std::string& message)
{
    std::cerr << "quib_reference: " << message << "\n";
    std::exit(1);
}

void check(QuibStatus status, const char* call)
{
    if (status != QUIB_OK)
        fail(std::string(call) + " failed");
}

QuibInfo infoOf(const IplImage* image)
{
    QuibInfo info{};
    check(QuibGetInfo(image, &info), "QuibGetInfo");
    return info;
}

IplImage* loaded(const std::string& name)
{
    Handle& owner = gallery.loaded[name];
    if (!owner) {
        IplImage* image = nullptr;
        check(QuibLoadBMP(photographFile(name.c_str()), &image), "QuibLoadBMP");
        if (!image)
            fail(name + " could not be loaded");
        owner.reset(image);
        check(QuibSetAlphaS(image, nullptr, 255), "QuibSetAlphaS");
    }
    return owner.get();
}

IplImage* withoutAlpha(const IplImage* image)
{
    const QuibInfo info = infoOf(image);
    IplImage* colours = empty(info.width, info.height, 24);
    for (int y = 0; y < info.height; ++y)
        for (int x = 0; x < info.width; ++x)
            std::memcpy(rowOf(colours, y) + 3 * x, rowOf(image, y) + 4 * x, 3);
    return colours;
}

IplImage* bitsOf(const IplImage* gray)
{
    const QuibInfo info = infoOf(gray);
    IplImage* bits = empty(info.width, info.height, 1);
    for (int y = 0; y < info.height; ++y)
        for (int x = 0; x < info.width; ++x)
            if (rowOf(gray, y)[x] > 110) {
                unsigned char& byte = rowOf(bits, y)[x / 8];
                byte = static_cast<unsigned char>(byte | 0x80 >> x % 8);
            }
    return bits;
}

IplImage* ofDepth(IplImage* image, int bitDepth)
{
    if (bitDepth == 32)
        return image;
    if (bitDepth == 24)
        return withoutAlpha(image);
    IplImage* gray = nullptr;
    check(QuibColorToGray(image, &gray), "QuibColorToGray");
    keep(gray);
    return bitDepth == 8 ? gray : bitsOf(gray);
}

std::string bytesOf(const std::string& file)
{
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

bool isOpaque(const IplImage* image, const QuibInfo& info)
{
    for (int y = 0; y < info.height; ++y)
        for (int x = 0; x < info.width; ++x)
            if (rowOf(image, y)[4 * x + 3] != 255)
                return false;
    return true;
}

// Writes the picture, or finds the file that holds the same already.
std::string fileOf(const IplImage* image, bool withAlpha)
{
    const std::string name = std::to_string(gallery.written) + ".png";
    const std::string path = gallery.setting.folder + "/" + name;
    const Colours colours = withAlpha ? Colours::all : Colours::few;
    if (!writePng(image, path, withAlpha ? Alpha::show : Alpha::ignore, colours))
        fail("cannot write " + path);
    const auto [known, isNew] = gallery.files.emplace(bytesOf(path), name);
    gallery.written += isNew;
    return known->second;
}

void add(const IplImage* image, const char* title, const char* call, Role role, bool withAlpha,
         const char* why)
{
    const QuibInfo info = infoOf(image);
    IplImage* grays = nullptr;
    if (info.bitDepth == 1) {
        check(QuibBitonalToGray(const_cast<IplImage*>(image), &grays, 0, 255), "QuibBitonalToGray");
        keep(grays);
    }
    const bool alpha = withAlpha && info.bitDepth == 32 && !isOpaque(image, info);
    gallery.shown->pictures.push_back({fileOf(grays ? grays : image, alpha), title, call, why, role,
                                       info.width, info.height, gallery.times, alpha});
}

} // namespace

void setUp(const Setting& setting)
{
    gallery.setting = setting;
}

Shown showExample(QuibStatus (*example)())
{
    Shown shown;
    gallery.shown = &shown;
    gallery.times = 1;
    shown.status = example();
    gallery.kept.clear();
    gallery.shown = nullptr;
    return shown;
}

// The functions below are called from C.

const char* photographFile(const char* name)
{
    return (std::strcmp(name, "cat") == 0 ? gallery.setting.cat : gallery.setting.cup).c_str();
}

const char* scratchFile()
{
    static const std::string file = gallery.setting.folder + "/scratch";
    return file.c_str();
}

IplImage* keep(IplImage* image)
{
    gallery.kept.emplace_back(image);
    return image;
}

unsigned char* rowOf(const IplImage* image, int y)
{
    return reinterpret_cast<unsigned char*>(image->imageData) +
           static_cast<ptrdiff_t>(y) * image->widthStep;
}

IplImage* empty(int width, int height, int bitDepth)
{
    IplImage* image = nullptr;
    check(QuibCreate0(width, height, bitDepth, &image), "QuibCreate0");
    std::memset(rowOf(image, 0), 0, static_cast<size_t>(image->imageSize));
    return keep(image);
}

IplImage* copyOf(const IplImage* image)
{
    IplImage* copy = nullptr;
    check(QuibClone(image, &copy), "QuibClone");
    return keep(copy);
}

IplImage* photograph(const char* name, int width, int height, int bitDepth)
{
    IplImage* image = empty(width, height, 32);
    IplImage* from = loaded(name);
    const QuibInfo info = infoOf(from);
    const bool shrinks = width <= info.width && height <= info.height;
    check(QuibResize(from, image, shrinks ? IPL_INTER_SUPER : STRETCH_SMOOTH), "QuibResize");
    return ofDepth(image, bitDepth);
}

IplImage* detail(const char* name, int width, int height, int bitDepth)
{
    const IplImage* whole = photograph(name, 240, 160, 32);
    IplImage* part = empty(width, height, 32);
    const int left = (84 - width / 2 + 12) & ~1;
    const int top = (60 - height / 2) & ~1;
    for (int y = 0; y < height; ++y)
        std::memcpy(rowOf(part, y), rowOf(whole, top + y) + 4 * left,
                    static_cast<size_t>(width) * 4);
    return ofDepth(part, bitDepth);
}

IplImage* ellipse(int width, int height)
{
    IplImage* plane = empty(width, height, 8);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const double dx = (x + 0.5) / width * 2 - 1;
            const double dy = (y + 0.5) / height * 2 - 1;
            const double inside = (0.96 - std::sqrt(dx * dx + dy * dy)) / 0.14;
            rowOf(plane, y)[x] =
                static_cast<unsigned char>(std::lround(std::clamp(inside, 0.0, 1.0) * 255));
        }
    return plane;
}

IplImage* inEllipse(const IplImage* image)
{
    const QuibInfo info = infoOf(image);
    IplImage* shaped = copyOf(image);
    check(QuibSetAlpha(shaped, ellipse(info.width, info.height), 100), "QuibSetAlpha");
    return shaped;
}

IplImage* inWedge(const IplImage* image)
{
    const QuibInfo info = infoOf(image);
    IplImage* shaped = copyOf(image);
    for (int y = 0; y < info.height; ++y)
        for (int x = 0; x < info.width; ++x)
            rowOf(shaped, y)[4 * x + 3] = x * info.height > y * info.width ? 230 : 0;
    return shaped;
}

IplImage* speckled(const IplImage* image)
{
    const QuibInfo info = infoOf(image);
    const int bytes = info.bitDepth / 8;
    const size_t colours = static_cast<size_t>(std::min(bytes, 3));
    IplImage* noisy = copyOf(image);
    uint32_t state = 1;
    for (int y = 0; y < info.height; ++y)
        for (int x = 0; x < info.width; ++x) {
            state = state * 1664525u + 1013904223u;
            if ((state >> 24) % 12 == 0)
                std::memset(rowOf(noisy, y) + x * bytes, state >> 23 & 1 ? 255 : 0, colours);
        }
    return noisy;
}

IplImage* replicated(IplImage* image)
{
    for (int32_t& mode : image->BorderMode)
        mode = IPL_BORDER_REPLICATE;
    return image;
}

void enlarge(int times)
{
    gallery.times = times;
}

void before(const IplImage* image, const char* title)
{
    add(image, title, "", Role::before, true, "");
}

void after(const IplImage* image, const char* title)
{
    add(image, title, "", Role::after, true, "");
}

void afterCall(const IplImage* image, const char* title, const char* call)
{
    add(image, title, call, Role::variation, true, "");
}

void coloursAfter(const IplImage* image, const char* title)
{
    add(image, title, "", Role::after, false, "");
}

void flatAfter(const IplImage* image, const char* title, const char* why)
{
    add(image, title, "", Role::after, true, why);
}

void told(const char* format, ...)
{
    char text[400];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    gallery.shown->facts.emplace_back(text);
}
