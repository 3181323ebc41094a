// The main job: a photograph in, edited, and out again, on a page of pictures.
#include "examples/demo/bitmapfile.h"
#include "examples/demo/page.h"
#include "examples/demo/picture.h"

#include "platform/platform.h"
#include "quibtool/quibtool.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace
{

// A handle that frees itself.
struct HandleDeleter {
    void operator()(IplImage* handle) const { QuibFree(&handle); }
};
using Handle = std::unique_ptr<IplImage, HandleDeleter>;

[[noreturn]] void fail(const std::string& message)
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

// The median time of several runs, in milliseconds.
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

Handle resized(const IplImage* source, int width, int height, int mode, double* milliseconds)
{
    Handle result = create(width, height, infoOf(source).bitDepth);
    *milliseconds = timed([&] {
        check(QuibResize(const_cast<IplImage*>(source), result.get(), mode), "QuibResize");
    });
    return result;
}

// The largest size of this aspect inside a box.
QuibPoint fitted(const QuibInfo& info, int boxWidth, int boxHeight)
{
    const double scale = std::min(static_cast<double>(boxWidth) / info.width,
                                  static_cast<double>(boxHeight) / info.height);
    return {std::max(1, static_cast<int>(std::lround(info.width * scale))),
            std::max(1, static_cast<int>(std::lround(info.height * scale)))};
}

class Demo
{
public:
    Demo(std::string picture, std::string backdrop, std::string folder)
        : photographFile(std::move(picture)), backdropFile(std::move(backdrop)),
          outputFolder(std::move(folder))
    {
        std::filesystem::create_directories(outputFolder);
        page.picture = std::filesystem::path(photographFile).filename().string();
        page.machine =
            sizeof(void*) == 8 ? "64-bit build, one thread." : "32-bit build, one thread.";
    }

    void run()
    {
        bringIn();
        showSizes();
        showEngineSizes();
        composeOverBackdrop();
        drawToDevice();
        sendOut();
        const std::string file = outputFolder + "/index.html";
        if (!writePage(page, file))
            fail("cannot write " + file);
        std::cout << "The page is " << std::filesystem::absolute(file).string() << "\n";
    }

private:
    Figure figure(const IplImage* image, const std::string& title, const std::string& call,
                  double milliseconds, Alpha alpha = Alpha::ignore)
    {
        const QuibInfo info = infoOf(image);
        Figure made{std::to_string(++pictures) + ".png",
                    title,
                    call,
                    milliseconds,
                    info.width,
                    info.height,
                    alpha == Alpha::show};
        if (!writePng(image, outputFolder + "/" + made.file, alpha))
            fail("cannot write " + outputFolder + "/" + made.file);
        return made;
    }

    Section& section(const std::string& title, const std::string& text)
    {
        page.sections.push_back({title, text, {}});
        return page.sections.back();
    }

    Handle load(const std::string& file, double* milliseconds)
    {
        std::string problem;
        if (readBitmapFile(file, &problem).empty())
            fail(problem);
        IplImage* handle = nullptr;
        *milliseconds = timed([&] {
            if (handle)
                QuibFree(&handle);
            check(QuibLoadBMP(file.c_str(), &handle), "QuibLoadBMP");
        });
        if (!handle)
            fail(file + " could not be loaded");
        return Handle(handle);
    }

    // A file read by name, and the same bytes handed over as a packed bitmap.
    void bringIn()
    {
        Section& shown = section("Bring a photograph in",
                                 "A BMP file is read by name. The same bitmap, handed over in a "
                                 "global memory block as programs do with the clipboard, becomes "
                                 "an opaque 32-bit handle, and an 8-bit one.");
        double time = 0;
        const Handle loaded = load(photographFile, &time);
        shown.figures.push_back(figure(loaded.get(), "Read from the file",
                                       "QuibLoadBMP(\"" + page.picture + "\", &image)", time));

        std::string problem;
        const std::vector<uint8_t> bytes = readBitmapFile(photographFile, &problem);
        const size_t packedSize = bytes.size() - sizeof(BITMAPFILEHEADER);
        HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, packedSize);
        if (!block)
            fail("no memory for the bitmap");
        std::memcpy(GlobalLock(block), bytes.data() + sizeof(BITMAPFILEHEADER), packedSize);
        GlobalUnlock(block);
        for (const int depth : {32, 8}) {
            IplImage* handle = nullptr;
            time = timed([&] {
                if (handle)
                    QuibFree(&handle);
                check(Dib2Quib(block, &handle, depth), "Dib2Quib");
            });
            Handle image(handle);
            shown.figures.push_back(figure(image.get(), std::to_string(depth) + "-bit handle",
                                           "Dib2Quib(block, &image, " + std::to_string(depth) + ")",
                                           time));
            (depth == 32 ? photograph : gray) = std::move(image);
        }
        GlobalFree(block);
    }

    void showSizes()
    {
        Section& shown =
            section("Change its size, 32 bits",
                    "32-bit pictures go through the stretchers: nearest, linear, smoothstep, and "
                    "the two forms that keep pairs of rows together for interlaced video. Mode 3 "
                    "averages the area under each pixel.");
        const QuibInfo info = infoOf(photograph.get());
        const QuibPoint large = fitted(info, 1280, 860);
        const QuibPoint small = fitted(info, 240, 160);
        struct Mode {
            int number;
            const char* name;
            bool enlarges;
        };
        for (const Mode& mode :
             {Mode{0, "Nearest", true}, Mode{1, "Linear", true}, Mode{2, "Smooth", true},
              Mode{28672, "Nearest, row pairs", true}, Mode{28673, "Linear, row pairs", true},
              Mode{3, "Area average", false}}) {
            // Row pairs need an even number of rows.
            const QuibPoint size = mode.enlarges ? QuibPoint{large.x, large.y & ~1} : small;
            if (!mode.enlarges && (size.x >= info.width || size.y >= info.height))
                continue;
            if (size.y < 2)
                continue;
            double time = 0;
            const Handle source = evenRows(photograph.get());
            const Handle result = resized(source.get(), size.x, size.y, mode.number, &time);
            shown.figures.push_back(
                figure(result.get(), mode.name,
                       "QuibResize(image, larger, " + std::to_string(mode.number) + ")", time));
            if (!mode.enlarges)
                shown.figures.back().call = "QuibResize(image, smaller, 3)";
        }
    }

    // The picture with an even number of rows, as the row-pair modes ask for.
    static Handle evenRows(const IplImage* image)
    {
        const QuibInfo info = infoOf(image);
        Handle even = create(info.width, std::max(2, info.height & ~1), 32);
        check(QuibResize(const_cast<IplImage*>(image), even.get(), 0), "QuibResize");
        return even;
    }

    void showEngineSizes()
    {
        Section& shown = section("Change its size, 24 and 8 bits",
                                 "24-bit pictures go through the engine: bilinear, a four-point "
                                 "cubic, and the area average. 8-bit ones are always taken to the "
                                 "nearest pixel, except by the area average.");
        const QuibInfo info = infoOf(photograph.get());
        const Handle colour = dropAlpha(photograph.get());
        const QuibPoint large = fitted(info, 1280, 860);
        const QuibPoint small = fitted(info, 240, 160);
        double time = 0;
        if (large.x > info.width) {
            Handle result = resized(colour.get(), large.x, large.y, 1, &time);
            shown.figures.push_back(
                figure(result.get(), "24 bits, bilinear", "QuibResize(colour, larger, 1)", time));
            result = resized(colour.get(), large.x, large.y, 2, &time);
            shown.figures.push_back(
                figure(result.get(), "24 bits, cubic", "QuibResize(colour, larger, 2)", time));
        }
        if (small.x < info.width && small.y < info.height) {
            Handle result = resized(colour.get(), small.x, small.y, 3, &time);
            shown.figures.push_back(figure(result.get(), "24 bits, area average",
                                           "QuibResize(colour, smaller, 3)", time));
            result = resized(gray.get(), small.x, small.y, 0, &time);
            shown.figures.push_back(
                figure(result.get(), "8 bits, nearest", "QuibResize(gray, smaller, 0)", time));
        }
    }

    // A 24-bit handle of a 32-bit one's colours.
    static Handle dropAlpha(const IplImage* image)
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

    // An 8-bit plane: an ellipse with a soft edge.
    static Handle softEllipse(int width, int height)
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

    void composeOverBackdrop()
    {
        Section& shown = section("Give it an alpha plane and lay it over another picture",
                                 "An 8-bit plane becomes the alpha of the photograph, whole and at "
                                 "60 percent; each pixel is then blended over the second "
                                 "photograph with the weights of Porter and Duff's \"over\".");
        double time = 0;
        const Handle backdropLoaded = load(backdropFile, &time);
        check(QuibSetAlphaS(backdropLoaded.get(), nullptr, 255), "QuibSetAlphaS");
        const QuibPoint size = fitted(infoOf(backdropLoaded.get()), 900, 600);
        const Handle backdrop = resized(backdropLoaded.get(), size.x, size.y, 2, &time);

        const Handle plane = softEllipse(size.x, size.y);
        shown.figures.push_back(figure(plane.get(), "The alpha plane", "", -1));
        for (const unsigned percent : {100u, 60u}) {
            Handle over = resized(photograph.get(), size.x, size.y, 2, &time);
            time = timed(
                [&] { check(QuibSetAlpha(over.get(), plane.get(), percent), "QuibSetAlpha"); });
            const std::string percentText = std::to_string(percent);
            shown.figures.push_back(figure(over.get(), "With alpha at " + percentText + " percent",
                                           "QuibSetAlpha(image, plane, " + percentText + ")", time,
                                           Alpha::show));
            IplImage* result = nullptr;
            time = timed([&] {
                check(QuibComposition3(over.get(), backdrop.get(), &result), "QuibComposition3");
            });
            Handle made(result);
            shown.figures.push_back(figure(made.get(), "Over the second photograph",
                                           "QuibComposition3(image, backdrop, &result)", time));
            if (percent == 100) {
                page.hero = shown.figures.back();
                composition = std::move(made);
            }
        }
    }

    void drawToDevice()
    {
        Section& shown = section("Draw it on a device",
                                 "A memory device context with a 32-bit bitmap selected gets the "
                                 "composition, and an 8-bit handle beside it; this is what the "
                                 "device's bitmap then holds.");
        const QuibInfo info = infoOf(composition.get());
        const QuibPoint inset = fitted(infoOf(gray.get()), info.width / 3, info.height / 3);
        double time = 0;
        const Handle smallGray = resized(gray.get(), inset.x, inset.y, 0, &time);

        BITMAPINFO target{};
        target.bmiHeader.biSize = sizeof target.bmiHeader;
        target.bmiHeader.biWidth = info.width;
        target.bmiHeader.biHeight = -info.height;
        target.bmiHeader.biPlanes = 1;
        target.bmiHeader.biBitCount = 32;
        void* bits = nullptr;
        HDC device = CreateCompatibleDC(nullptr);
        HBITMAP bitmap = CreateDIBSection(device, &target, DIB_RGB_COLORS, &bits, nullptr, 0);
        if (!device || !bitmap)
            fail("no device context");
        HGDIOBJ before = SelectObject(device, bitmap);
        time =
            timed([&] { check(QuibDrawToHDC(composition.get(), device, 0, 0), "QuibDrawToHDC"); });
        check(QuibDrawToHDC(smallGray.get(), device, info.width - inset.x - 24,
                            info.height - inset.y - 24),
              "QuibDrawToHDC");
        Handle seen = create(info.width, info.height, 32);
        void* data = nullptr;
        check(QuibLockData(seen.get(), &data), "QuibLockData");
        std::memcpy(data, bits, static_cast<size_t>(info.width) * info.height * 4);
        SelectObject(device, before);
        DeleteObject(bitmap);
        DeleteDC(device);
        shown.figures.push_back(
            figure(seen.get(), "The device's bitmap", "QuibDrawToHDC(image, hdc, 0, 0)", time));
    }

    void sendOut()
    {
        Section& shown =
            section("Send it out", "The composition goes into a 24-bit bitmap in global memory, is "
                                   "written as a file, and is read back from that file.");
        const QuibInfo info = infoOf(composition.get());
        const size_t rowBytes = (static_cast<size_t>(info.width) * 3 + 3) / 4 * 4;
        const size_t bytes = sizeof(BITMAPINFOHEADER) + rowBytes * info.height;
        HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
        if (!block)
            fail("no memory for the bitmap");
        auto* header = static_cast<BITMAPINFOHEADER*>(GlobalLock(block));
        header->biSize = sizeof *header;
        header->biWidth = info.width;
        header->biHeight = info.height;
        header->biPlanes = 1;
        header->biBitCount = 24;
        GlobalUnlock(block);
        const double time = timed([&] { check(Quib2Dib(composition.get(), block), "Quib2Dib"); });
        const std::string file = outputFolder + "/composition.bmp";
        if (!writeBitmapFile(file, GlobalLock(block), bytes))
            fail("cannot write " + file);
        GlobalUnlock(block);
        GlobalFree(block);

        double loadTime = 0;
        const Handle back = load(file, &loadTime);
        shown.figures.push_back(figure(back.get(), "composition.bmp, read back",
                                       "Quib2Dib(image, block), written as a file", time));
    }

    std::string photographFile;
    std::string backdropFile;
    std::string outputFolder;
    Page page;
    int pictures = 0;
    Handle photograph;
    Handle gray;
    Handle composition;
};

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::cerr << "usage: quib_demo PICTURE.bmp BACKDROP.bmp OUTPUT-FOLDER\n";
        return 2;
    }
    Demo(argv[1], argv[2], argv[3]).run();
    return 0;
}
