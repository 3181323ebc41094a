// The viewer's window where SDL2 makes windows.
#include "examples/viewer/keys.h"
#include "examples/viewer/options.h"
#include "examples/viewer/view.h"

#include <SDL.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace
{

void show(SDL_Window* window, const View& view)
{
    const IplImage* frame = view.frame.get();
    SDL_Surface* pixels =
        SDL_CreateRGBSurfaceWithFormatFrom(frame->imageData, frame->width, frame->height, 32,
                                           frame->widthStep, SDL_PIXELFORMAT_BGRA32);
    SDL_SetSurfaceBlendMode(pixels, SDL_BLENDMODE_NONE);
    SDL_BlitSurface(pixels, nullptr, SDL_GetWindowSurface(window), nullptr);
    SDL_FreeSurface(pixels);
    SDL_UpdateWindowSurface(window);
}

// Letters, digits and Enter have their codes in ASCII.
bool handleKey(SDL_Keycode key, View* view)
{
    if (key == SDLK_UP || key == SDLK_DOWN)
        return pressKey(view, key == SDLK_UP ? upKey : downKey);
    const bool isLetter = key >= SDLK_a && key <= SDLK_z;
    return key < 128 && pressKey(view, static_cast<char>(isLetter ? key - 'a' + 'A' : key));
}

bool openDropped(char* file, View* view)
{
    std::string problem;
    const bool opened = openPicture(view, file, &problem);
    if (opened)
        fitPicture(view);
    else
        std::fprintf(stderr, "viewer: %s\n", problem.c_str());
    SDL_free(file);
    return opened;
}

void handleWheel(int notches, View* view)
{
    int x = 0;
    int y = 0;
    SDL_GetMouseState(&x, &y);
    turnWheel(view, notches, x, y);
}

// Whether the event changed the view.
bool handleEvent(const SDL_Event& event, View* view)
{
    switch (event.type) {
    case SDL_MOUSEBUTTONDOWN:
        if (event.button.button == SDL_BUTTON_LEFT)
            pressMouse(view, event.button.x, event.button.y);
        return false;
    case SDL_MOUSEBUTTONUP:
        if (event.button.button == SDL_BUTTON_LEFT)
            releaseMouse(view);
        return false;
    case SDL_MOUSEMOTION:
        return moveMouse(view, event.motion.x, event.motion.y);
    case SDL_DROPFILE:
        return openDropped(event.drop.file, view);
    case SDL_MOUSEWHEEL:
        handleWheel(event.wheel.y, view);
        return true;
    case SDL_KEYDOWN:
        return handleKey(event.key.keysym.sym, view);
    case SDL_WINDOWEVENT:
        if (event.window.event != SDL_WINDOWEVENT_SIZE_CHANGED)
            return false;
        resizeFrame(view, event.window.data1, event.window.data2);
        return true;
    default:
        return false;
    }
}

bool asksToLeave(const SDL_Event& event)
{
    return event.type == SDL_QUIT ||
           (event.type == SDL_KEYDOWN && event.key.keysym.sym == SDLK_ESCAPE);
}

void runWindow(SDL_Window* window, View* view)
{
    show(window, *view);
    SDL_Event event;
    while (SDL_WaitEvent(&event)) {
        bool changed = false;
        bool uncovered = false;
        // All that has come meanwhile makes one frame.
        do {
            if (asksToLeave(event))
                return;
            changed = handleEvent(event, view) || changed;
            uncovered = event.type == SDL_WINDOWEVENT || uncovered;
        } while (SDL_PollEvent(&event));
        if (changed)
            renderFrame(view);
        if (changed || uncovered)
            show(window, *view);
    }
}

// Without a display SDL may pick a driver that shows nothing, and wait for a hand
// that never comes.
bool hasDisplay()
{
    const char* const driver = SDL_GetCurrentVideoDriver();
    const bool isSeen = std::strcmp(driver, "offscreen") != 0 && std::strcmp(driver, "dummy") != 0;
    return isSeen || SDL_getenv("SDL_VIDEODRIVER") != nullptr;
}

bool openScreen()
{
    if (SDL_Init(SDL_INIT_VIDEO) != 0) {
        std::fprintf(stderr, "viewer: %s\n", SDL_GetError());
        return false;
    }
    if (hasDisplay())
        return true;
    std::fprintf(stderr, "viewer: there is no display to open a window on; "
                         "--frame FILE.bmp writes what it would show\n");
    SDL_Quit();
    return false;
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    View view;
    if (const std::optional<int> status = startViewer(argc, argv, &options, &view))
        return *status;
    // The frame is made in memory already: no graphics processor is needed.
    SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
    if (!openScreen())
        return 1;
    SDL_Window* window =
        SDL_CreateWindow("QuibTool viewer", SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED,
                         options.width, options.height, SDL_WINDOW_RESIZABLE);
    if (window)
        runWindow(window, &view);
    else
        std::fprintf(stderr, "viewer: %s\n", SDL_GetError());
    SDL_DestroyWindow(window);
    SDL_Quit();
    return window ? 0 : 1;
}
