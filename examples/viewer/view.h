// What the viewer shows: a picture under a view that moves and zooms, and a
// translucent panel that tells about it, drawn into one handle of the window's
// size. Nothing here knows of windows.
#pragma once

#include "examples/viewer/panel.h"
#include "quibtool/quibtool.h"

#include <string>

struct View {
    Handle picture; // 32-bit, opaque
    Handle frame;   // 32-bit, what the window shows
    Handle canvas;  // the picture as seen, somewhat wider and higher than the frame
    Panel panel;
    double x = 0; // the point of the picture that lies under the frame's corner
    double y = 0;
    double zoom = 1;         // frame pixels for one pixel of the picture
    int32_t mode = 1;        // of QuibBlt_PANZOOM: 0 nearest, 1 linear, 2 smooth
    double milliseconds = 0; // that the last frame took
};

// False, with the problem told in words, for a file that is no picture.
bool openPicture(View* view, const std::string& file, std::string* problem);

// Gives the view a frame of another size, with the same point in its middle.
void resizeFrame(View* view, int32_t width, int32_t height);

// What a hand does: move by frame pixels, turn the wheel at a point of the
// frame, ask for the whole picture or for the next mode.
void pan(View* view, double right, double down);
void turnWheel(View* view, double notches, double frameX, double frameY);
void fitPicture(View* view);
void nextMode(View* view);

// Puts a point of the picture under the frame's corner.
void placeView(View* view, double x, double y, double zoom);

// Draws the frame. The panel shows how long the frame before took.
void renderFrame(View* view);

// Writes the frame as a 24-bit BMP file.
bool saveFrame(const View& view, const std::string& file);
