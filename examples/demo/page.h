// The page that the demo writes: sections of rows of pictures with captions.
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

// How a row is set: cards for a look at the whole, small ones for long series, and
// details, of which single pixels are to be seen.
enum class Cards { normal, small, detail };

struct Row {
    std::string label; // or nothing
    Cards cards = Cards::normal;
    std::vector<Figure> figures;
};

struct Section {
    std::string id; // what links call it
    std::string title;
    std::string text;
    std::vector<Row> rows;
};

struct Page {
    std::string picture; // the name of the picture that went through
    std::string machine; // what it ran on
    Figure hero;
    std::vector<Section> sections;
};

bool writePage(const Page& page, const std::string& file);
