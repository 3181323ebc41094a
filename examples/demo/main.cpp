// The main job: a photograph in, edited, and out again, on a page of pictures.
#include "examples/demo/families.h"
#include "examples/demo/tools.h"
#include "kernels/kernels.h"

#include <filesystem>
#include <iostream>

namespace
{

// What the program runs on, the kernels that the library chose included.
std::string machineText()
{
    const std::string bits = sizeof(void*) == 8 ? "64-bit" : "32-bit";
    return bits + " build, one thread, processor level " + quib::kernels().levelName + ".";
}

void writeAll(Demo& demo)
{
    bringIn(demo);
    showHandles(demo);
    showSizes(demo);
    showTransfer(demo);
    showCorners(demo);
    showCoefficients(demo);
    showTurns(demo);
    showTone(demo);
    showGray(demo);
    showFields(demo);
    showArithmetic(demo);
    showConvolution(demo);
    showWindows(demo);
    showReducedBits(demo);
    showAlpha(demo);
    showComposites(demo);
    showLayers(demo);
    showSurfaces(demo);
    sendOut(demo);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::cerr << "usage: quib_demo PICTURE.bmp BACKDROP.bmp OUTPUT-FOLDER\n";
        return 2;
    }
    Demo demo;
    demo.photographFile = argv[1];
    demo.backdropFile = argv[2];
    demo.folder = argv[3];
    std::filesystem::create_directories(demo.folder);
    demo.page.picture = std::filesystem::path(demo.photographFile).filename().string();
    demo.page.machine = machineText();
    std::cout << "Making the page's pictures\n";
    writeAll(demo);
    const std::string file = demo.folder + "/index.html";
    if (!writePage(demo.page, file))
        fail("cannot write " + file);
    std::cout << "The page is " << std::filesystem::absolute(file).string() << "\n";
    return 0;
}
