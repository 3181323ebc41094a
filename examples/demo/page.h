// The page that the demo writes: sections of pictures with captions.
#pragma once

#include <string>
#include <vector>

struct Figure {
    std::string file;    // of the picture, relative to the page
    std::string title;   // a few words
    std::string call;    // what was called, as code
    double milliseconds; // that the call took; below 0: not timed
    int width;
    int height;
    bool transparent = false; // shown on a chequered ground
};

struct Section {
    std::string title;
    std::string text;
    std::vector<Figure> figures;
};

struct Page {
    std::string picture; // the name of the picture that went through
    std::string machine; // what it ran on
    Figure hero;
    std::vector<Section> sections;
};

bool writePage(const Page& page, const std::string& file);
