#include "examples/viewer/options.h"

#include "examples/viewer/keys.h"

#include <cstdio>
#include <cstring>

namespace
{

constexpr char usage[] =
    "viewer [PICTURE.bmp] [--size WIDTHxHEIGHT] [--view X,Y,ZOOM] [--mode 0|1|2]\n"
    "       [--keys KEYS] [--drag X,Y,X,Y] [--frame FILE.bmp]\n"
    "\n"
    "Drag to move the picture, turn the wheel to zoom, press K to see what each key\n"
    "does (arrows choose one there, Enter does it), W to drag the picture's corners,\n"
    "U to undo, Escape to leave. A file that is dropped on the window is opened.\n"
    "\n"
    "--view puts the point X, Y of the picture under the window's corner. --keys and\n"
    "then --drag do what a hand would before the first frame; --frame writes that to a\n"
    "file.\n";

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

bool readDrag(const char* text, Options* options)
{
    double* drag = options->drag;
    char rest = 0;
    options->isDragged = true;
    return std::sscanf(text, "%lf,%lf,%lf,%lf%c", drag, drag + 1, drag + 2, drag + 3, &rest) == 4;
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
    if (name == "--drag")
        return readDrag(value, options);
    if (name == "--keys") {
        options->keys = value;
        return !options->keys.empty();
    }
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

// What a hand would do.
bool actOut(const Options& options, View* view, std::string* problem)
{
    for (const char key : options.keys) {
        const char capital = key >= 'a' && key <= 'z' ? static_cast<char>(key - 'a' + 'A') : key;
        if (!pressKey(view, capital)) {
            *problem = std::string("--keys: there is no key ") + key;
            return false;
        }
    }
    if (options.isDragged) {
        pressMouse(view, options.drag[0], options.drag[1]);
        moveMouse(view, options.drag[2], options.drag[3]);
        releaseMouse(view);
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
    if (!actOut(options, view, problem))
        return false;
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
