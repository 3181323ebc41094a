// The viewer's command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

struct View;

struct Options {
    std::string picture; // empty: the one that comes with the examples
    int32_t width = 960;
    int32_t height = 640;
    bool isPlaced = false; // false: the view starts with the whole picture
    double x = 0;
    double y = 0;
    double zoom = 1;
    int32_t mode = 1;
    std::string keys; // pressed before the first frame, and then
    bool isDragged = false;
    double drag[4] = {};   // a drag from a point of the frame to another
    std::string frameFile; // where the first frame goes, if anywhere
};

// Follows the command line, opens the picture and draws the first frame. Gives
// the exit status if the program is to end at once, having told why.
std::optional<int> startViewer(int argc, char** argv, Options* options, View* view);
