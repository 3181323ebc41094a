#include "examples/viewer/options.h"

#include "examples/viewer/view.h"

#include <cstdio>
#include <cstring>

namespace
{

constexpr char usage[] =
    "viewer [PICTURE.bmp] [--size WIDTHxHEIGHT] [--view X,Y,ZOOM] [--mode 0|1|2]\n"
    "       [--frame FILE.bmp]\n"
    "\n"
    "Drag to move the picture, turn the wheel to zoom, press M for the next mode,\n"
    "F to fit the picture, Escape to leave. --view puts the point X, Y of the\n"
    "picture under the window's corner; --frame writes the first frame to a file.\n";

bool readSize(const char* text, Options* options)
{
    int width = 0;
    int height = 0;
    char rest = 0;
    if (std::sscanf(text, "%dx%d%c", &width, &height, &rest) != 2)
        return false;
    options->width = width;
    options->height = height;
    return width >= 1 && width <= 8192 && height >= 1 && height <= 8192;
}

bool readView(const char* text, Options* options)
{
    char rest = 0;
    options->isPlaced = true;
    return std::sscanf(text, "%lf,%lf,%lf%c", &options->x, &options->y, &options->zoom, &rest) ==
               3 &&
           options->zoom > 0;
}

bool readMode(const char* text, Options* options)
{
    options->mode = text[0] - '0';
    return options->mode >= 0 && options->mode <= 2 && text[1] == 0;
}

bool readOption(const std::string& name, const char* value, Options* options)
{
    if (name == "--size")
        return readSize(value, options);
    if (name == "--view")
        return readView(value, options);
    if (name == "--mode")
        return readMode(value, options);
    options->frameFile = value;
    return name == "--frame" && !options->frameFile.empty();
}

// False, with the problem told in words, for a command line that it cannot
// follow.
bool readOptions(int argc, char** argv, Options* options, std::string* problem)
{
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument.rfind("--", 0) != 0) {
            options->picture = argument;
            continue;
        }
        const char* value = i + 1 < argc ? argv[++i] : "";
        if (!readOption(argument, value, options)) {
            *problem = argument + " " + value + " is not understood";
            return false;
        }
    }
    return true;
}

bool drawFirstFrame(const Options& options, View* view, std::string* problem)
{
    const std::string picture = options.picture.empty() ? QUIB_EXAMPLE_PICTURE : options.picture;
    if (!openPicture(view, picture, problem))
        return false;
    resizeFrame(view, options.width, options.height);
    view->mode = options.mode;
    if (options.isPlaced)
        placeView(view, options.x, options.y, options.zoom);
    else
        fitPicture(view);
    // Once for a time to show.
    renderFrame(view);
    renderFrame(view);
    if (options.frameFile.empty() || saveFrame(*view, options.frameFile))
        return true;
    *problem = options.frameFile + ": it cannot be written";
    return false;
}

} // namespace

std::optional<int> startViewer(int argc, char** argv, Options* options, View* view)
{
    if (argc > 1 && std::strcmp(argv[1], "--help") == 0) {
        std::fputs(usage, stdout);
        return 0;
    }
    std::string problem;
    if (readOptions(argc, argv, options, &problem) && drawFirstFrame(*options, view, &problem))
        return {};
    std::fprintf(stderr, "viewer: %s\n", problem.c_str());
    return 1;
}
