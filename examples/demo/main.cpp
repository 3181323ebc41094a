// The main job: a photograph in, edited, and out again, on a page of pictures.
#include "examples/demo/page.h"
#include "examples/demo/picture.h"
#include "examples/demo/tools.h"
#include "examples/support/bitmapfile.h"

#include "platform/platform.h"
#include "quibtool/quibtool.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

namespace
{

class Demo
{
public:
    Demo(std::string picture, std::string secondPicture, std::string folder)
        : photographFile(std::move(picture)), backdropFile(std::move(secondPicture)),
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
        showParts();
        composeOverBackdrop();
        composeInPlace();
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

    // A part of the photograph, moved and seen through views of any phase.
    void showParts()
    {
        Section& shown =
            section("Show a part of it",
                    "A rectangle goes from one handle into another, as it is or stretched to the "
                    "nearest pixel. A moving view starts anywhere between two pixels and steps by "
                    "any fraction, in each of three modes.");
        const QuibInfo info = infoOf(photograph.get());
        const int width = std::max(2, info.width / 5);
        const int height = std::max(2, info.height / 5);
        const int left = info.width * 3 / 10;
        const int top = info.height * 3 / 10;
        double time = 0;

        const Handle part = create(width, height, 32);
        time = timed([&] {
            check(QuibBlt(photograph.get(), left, top, left + width, top + height, part.get(), 0, 0,
                          width, height, 0),
                  "QuibBlt");
        });
        shown.figures.push_back(
            figure(part.get(), "A fifth of each side", "QuibBlt(image, ..., part, ..., 0)", time));

        const QuibPoint size = fitted(infoOf(part.get()), 960, 640);
        const Handle large = create(size.x, size.y, 32);
        time = timed([&] {
            check(QuibBlt(photograph.get(), left, top, left + width, top + height, large.get(), 0,
                          0, size.x, size.y, 1),
                  "QuibBlt");
        });
        shown.figures.push_back(
            figure(large.get(), "Stretched", "QuibBlt(image, ..., larger, ..., 1)", time));

        const char* modes[] = {"nearest", "linear", "smooth"};
        const double stepX = static_cast<double>(width) / size.x;
        const double stepY = static_cast<double>(height) / size.y;
        for (int mode = 0; mode < 3; ++mode) {
            time = timed([&] {
                check(QuibBlt_PANZOOM(photograph.get(), left + 0.37, stepX, top + 0.61, stepY,
                                      large.get(), 0, size.x, 0, size.y, mode),
                      "QuibBlt_PANZOOM");
            });
            shown.figures.push_back(figure(large.get(), std::string("A view, ") + modes[mode],
                                           "QuibBlt_PANZOOM(image, x, stepX, y, stepY, larger, "
                                           "..., " +
                                               std::to_string(mode) + ")",
                                           time));
        }
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
        backdrop = resized(backdropLoaded.get(), size.x, size.y, 2, &time);

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

    // Calls that write into the lower picture, each on a copy of its own.
    void composeInPlace()
    {
        Section& shown =
            section("Lay a small picture over it in place",
                    "The photograph goes onto the second one at a position, whole and inside a "
                    "rectangle; heights grow upwards there. The plain form goes by the upper alpha "
                    "alone and leaves an opaque picture.");
        const QuibInfo info = infoOf(backdrop.get());
        const QuibPoint size = fitted(info, info.width * 3 / 5, info.height * 3 / 5);
        double time = 0;
        const Handle over = resized(photograph.get(), size.x, size.y, 2, &time);
        const Handle plane = softEllipse(size.x, size.y);
        check(QuibSetAlpha(over.get(), plane.get(), 100), "QuibSetAlpha");

        const QuibPoint place{info.width - size.x - 12, size.y + 12 - info.height};
        const QuibRect middle{place.x + size.x / 4, place.y - size.y / 4, place.x + size.x * 3 / 4,
                              place.y - size.y * 3 / 4};
        const auto addPlaced = [&](const char* title, const char* call, const QuibRect* rectangle) {
            const auto compose = [&](const Handle& under) {
                check(QuibComposition4(over.get(), under.get(), &place, rectangle),
                      "QuibComposition4");
            };
            const Handle spare = copyOf(backdrop.get());
            const double taken = timed([&] { compose(spare); });
            const Handle under = copyOf(backdrop.get());
            compose(under);
            shown.figures.push_back(figure(under.get(), title, call, taken));
        };
        addPlaced("At a position", "QuibComposition4(image, backdrop, &place, NULL)", nullptr);
        addPlaced("Inside a rectangle", "QuibComposition4(image, backdrop, &place, &middle)",
                  &middle);

        const Handle sheer = resized(photograph.get(), info.width, info.height, 2, &time);
        check(QuibSetAlphaS(sheer.get(), nullptr, 128), "QuibSetAlphaS");
        IplImage* result = nullptr;
        time = timed([&] {
            check(QuibComposition_s(sheer.get(), backdrop.get(), &result), "QuibComposition_s");
        });
        const Handle made(result);
        shown.figures.push_back(figure(made.get(), "Half of each",
                                       "QuibComposition_s(image, backdrop, &result)", time));
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
    Handle backdrop; // 32-bit and opaque
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
