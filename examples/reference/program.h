// What the program that runs the examples knows of their pictures.
#pragma once

#include "quibtool/quibtool.h"

#include <string>
#include <vector>

struct Setting {
    std::string cat; // BMP files
    std::string cup;
    std::string folder; // that pictures go to
};

enum class Role { before, after, variation };

struct Picture {
    std::string file; // in the folder
    std::string title;
    std::string call;    // of a variation
    std::string whyFlat; // of a picture of one colour
    Role role;
    int width;
    int height;
    int times; // squares that a pixel is shown as
    bool alpha;
};

// What an example has shown.
struct Shown {
    QuibStatus status = QUIB_OK;
    std::vector<Picture> pictures;
    std::vector<std::string> facts;
};

void setUp(const Setting& setting);
Shown showExample(QuibStatus (*example)());
