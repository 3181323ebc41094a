// What the viewer shows: a picture under a view that moves and zooms, or warped onto
// a quadrangle whose corners are dragged, and a translucent panel that tells about
// it, drawn into one handle of the window's size. Nothing here knows of windows.
#pragma once

#include "examples/viewer/panel.h"
#include "quibtool/quibtool.h"

#include <string>
#include <vector>

// The quadrangle that the picture is warped onto, in the picture's coordinates, from
// the top left corner clockwise.
struct Corners {
    bool areShown = false;
    double quad[4][2] = {};
    int held = -1; // the one that the mouse drags
};

// A turn that goes on: what it started from, so that nothing is lost on the way.
struct Turn {
    Handle start;
    int32_t axis = 0; // of QUIBRotate3D, or 0 for QuibRotate
    double angle = 0; // degrees
};

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
    Corners corners;
    Turn turn;
    std::vector<Handle> past; // pictures before the last edits
    std::string edit;         // the last one's name
    bool showsKeys = false;
    int32_t chosenKey = 0;  // of those that the panel lists
    bool isDragged = false; // by the mouse, which was last seen at
    double mouseX = 0;
    double mouseY = 0;
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

// The mouse's button, and its way over the frame. A drag moves the corner under the
// mouse, or the picture; true if it changed the view.
void pressMouse(View* view, double frameX, double frameY);
bool moveMouse(View* view, double frameX, double frameY);
void releaseMouse(View* view);

// Puts a point of the picture under the frame's corner.
void placeView(View* view, double x, double y, double zoom);

// Draws the frame. The panel shows how long the frame before took.
void renderFrame(View* view);

// Writes the frame as a 24-bit BMP file.
bool saveFrame(const View& view, const std::string& file);
