#include "examples/viewer/view.h"

#include "examples/support/bitmapfile.h"
#include "examples/viewer/corners.h"
#include "examples/viewer/keys.h"
#include "quibtool/platform.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <vector>

namespace
{

constexpr double leastZoom = 1.0 / 32;
constexpr double mostZoom = 32;
constexpr double zoomOfOneNotch = 1.25;
constexpr uint32_t backdrop = 0xFF302C28u;
constexpr int32_t panelInset = 12;

Handle create(int32_t width, int32_t height)
{
    IplImage* handle = nullptr;
    QuibCreate0(width, height, 32, &handle);
    return Handle(handle);
}

// The part of one axis of a canvas that the picture covers, and what it shows.
struct Span {
    double low;   // whole
    double high;  // QuibBlt_PANZOOM truncates it
    double first; // the picture's position under `low`
};

Span spanOf(double corner, double zoom, int32_t pictureSize, int32_t canvasSize)
{
    const double low = std::ceil(std::max(0.0, -corner * zoom));
    // A hair more, so that rounding does not cost the picture's last column.
    const double high = std::min((pictureSize - corner) * zoom + 1e-6, double(canvasSize));
    return {low, high, corner + low / zoom};
}

bool coversFrame(const Span& span, int32_t frameSize)
{
    return span.low <= 0 && span.high >= frameSize;
}

void drawPicture(View* view)
{
    IplImage* frame = view->frame.get();
    IplImage* canvas = view->canvas.get();
    const Span across = spanOf(view->x, view->zoom, view->picture->width, canvas->width);
    const Span down = spanOf(view->y, view->zoom, view->picture->height, canvas->height);
    if (!coversFrame(across, frame->width) || !coversFrame(down, frame->height))
        QuibFillColor(canvas, backdrop, nullptr);
    const double step = 1 / view->zoom;
    QuibBlt_PANZOOM(view->picture.get(), across.first, step, down.first, step, canvas, across.low,
                    across.high, down.low, down.high, view->mode);
    QuibBlt(canvas, 0, 0, frame->width, frame->height, frame, 0, 0, frame->width, frame->height, 0);
}

std::vector<std::string> panelLines(const View& view)
{
    const char* modes[] = {"NEAREST", "LINEAR", view.corners.areShown ? "CUBIC" : "SMOOTH"};
    char zoom[32];
    char time[32];
    std::snprintf(zoom, sizeof zoom, "ZOOM %.3f", view.zoom);
    std::snprintf(time, sizeof time, "%.2f MS", view.milliseconds);
    std::vector<std::string> lines{modes[view.mode], zoom, time};
    if (view.corners.areShown)
        lines[0] = isConvex(view.corners) ? lines[0] + " WARP" : "CONCAVE WARP";
    else if (!view.edit.empty())
        lines.push_back(view.edit);
    if (view.showsKeys)
        for (const std::string& line : keyLines(view))
            lines.push_back(line);
    else
        lines.push_back("K FOR KEYS");
    return lines;
}

// The frame's middle stays over the picture.
void keepInReach(View* view)
{
    const double halfWidth = view->frame->width / 2.0 / view->zoom;
    const double halfHeight = view->frame->height / 2.0 / view->zoom;
    view->x = std::clamp(view->x, -halfWidth, view->picture->width - halfWidth);
    view->y = std::clamp(view->y, -halfHeight, view->picture->height - halfHeight);
}

// The view samples no further than the last whole pixel that it reaches, so the
// canvas reaches two more beyond the frame.
void makeCanvas(View* view)
{
    const int32_t margin = static_cast<int32_t>(std::ceil(2 * view->zoom)) + 1;
    const int32_t width = view->frame->width + margin;
    const int32_t height = view->frame->height + margin;
    if (!view->canvas || view->canvas->width != width || view->canvas->height != height)
        view->canvas = create(width, height);
}

} // namespace

bool openPicture(View* view, const std::string& file, std::string* problem)
{
    // The loader takes a sound file for granted.
    if (readBitmapFile(file, problem).empty())
        return false;
    IplImage* loaded = nullptr;
    if (QuibLoadBMP(file.c_str(), &loaded) != QUIB_OK || !loaded) {
        *problem = file + ": it could not be loaded";
        return false;
    }
    Handle picture(loaded);
    if (picture->nChannels != 4) {
        *problem = file + ": only pictures of 24 and 32 bits are shown";
        return false;
    }
    QuibSetAlphaS(picture.get(), nullptr, 255);
    view->picture = std::move(picture);
    view->corners = {};
    view->turn = {};
    view->past.clear();
    view->edit.clear();
    return true;
}

void resizeFrame(View* view, int32_t width, int32_t height)
{
    width = std::max(width, 1);
    height = std::max(height, 1);
    if (view->frame) {
        view->x += (view->frame->width - width) / 2.0 / view->zoom;
        view->y += (view->frame->height - height) / 2.0 / view->zoom;
    }
    view->frame = create(width, height);
    keepInReach(view);
}

void pan(View* view, double right, double down)
{
    view->x -= right / view->zoom;
    view->y -= down / view->zoom;
    keepInReach(view);
}

void turnWheel(View* view, double notches, double frameX, double frameY)
{
    const double pointX = view->x + frameX / view->zoom;
    const double pointY = view->y + frameY / view->zoom;
    const double zoom =
        std::clamp(view->zoom * std::pow(zoomOfOneNotch, notches), leastZoom, mostZoom);
    placeView(view, pointX - frameX / zoom, pointY - frameY / zoom, zoom);
}

void fitPicture(View* view)
{
    const double width = view->frame->width;
    const double height = view->frame->height;
    const double zoom =
        std::clamp(std::min(width / view->picture->width, height / view->picture->height),
                   leastZoom, mostZoom);
    placeView(view, (view->picture->width - width / zoom) / 2,
              (view->picture->height - height / zoom) / 2, zoom);
}

void pressMouse(View* view, double frameX, double frameY)
{
    view->isDragged = true;
    view->mouseX = frameX;
    view->mouseY = frameY;
    view->corners.held = view->corners.areShown ? cornerAt(*view, frameX, frameY) : -1;
}

bool moveMouse(View* view, double frameX, double frameY)
{
    const double right = frameX - view->mouseX;
    const double down = frameY - view->mouseY;
    view->mouseX = frameX;
    view->mouseY = frameY;
    if (!view->isDragged || (right == 0 && down == 0))
        return false;
    if (view->corners.held < 0) {
        pan(view, right, down);
        return true;
    }
    moveCorner(view, right / view->zoom, down / view->zoom);
    return true;
}

void releaseMouse(View* view)
{
    view->isDragged = false;
    view->corners.held = -1;
}

void placeView(View* view, double x, double y, double zoom)
{
    view->x = x;
    view->y = y;
    view->zoom = std::clamp(zoom, leastZoom, mostZoom);
    keepInReach(view);
}

void nextMode(View* view)
{
    view->mode = (view->mode + 1) % 3;
}

void renderFrame(View* view)
{
    const auto start = std::chrono::steady_clock::now();
    if (view->corners.areShown) {
        QuibFillColor(view->frame.get(), backdrop, nullptr);
        drawCorners(view);
    } else {
        makeCanvas(view);
        drawPicture(view);
    }
    writePanel(&view->panel, panelLines(*view));
    // Heights grow upwards from the frame's top row.
    const QuibPoint corner{panelInset, -panelInset};
    QuibComposition4(view->panel.pixels.get(), view->frame.get(), &corner, nullptr);
    const std::chrono::duration<double, std::milli> taken =
        std::chrono::steady_clock::now() - start;
    view->milliseconds = taken.count();
}

bool saveFrame(const View& view, const std::string& file)
{
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = view.frame->width;
    header.biHeight = view.frame->height;
    header.biPlanes = 1;
    header.biBitCount = 24;
    const size_t rowBytes = (static_cast<size_t>(view.frame->width) * 3 + 3) / 4 * 4;
    const size_t bytes = sizeof header + rowBytes * static_cast<size_t>(view.frame->height);
    const HGLOBAL block = GlobalAlloc(GHND, bytes);
    void* packed = GlobalLock(block);
    if (!packed) {
        GlobalFree(block);
        return false;
    }
    *static_cast<BITMAPINFOHEADER*>(packed) = header;
    const bool written =
        Quib2Dib(view.frame.get(), block) == QUIB_OK && writeBitmapFile(file, packed, bytes);
    GlobalUnlock(block);
    GlobalFree(block);
    return written;
}
