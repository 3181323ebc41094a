// quib_reference CAT.bmp CUP.bmp FOLDER [FUNCTION...]: runs the reference's examples, all
// or the named ones, and writes their pictures into FOLDER with pictures.json, which
// tells what each shows.
#include "examples/reference/program.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>

#define EXAMPLE_OF(function) extern "C" QuibStatus example_##function();
#include "reference_examples.inc"
#undef EXAMPLE_OF

namespace
{

struct Example {
    const char* function;
    QuibStatus (*run)();
};

const Example examples[] = {
#define EXAMPLE_OF(function) {#function, example_##function},
#include "reference_examples.inc"
#undef EXAMPLE_OF
};

std::string quoted(const std::string& text)
{
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            out += '\\';
        if (c == '\n')
            out += "\\n";
        else
            out += c;
    }
    return out + "\"";
}

void writePicture(std::ostream& out, const Picture& picture)
{
    const char* const roles[] = {"before", "after", "variation"};
    out << "{\"file\": " << quoted(picture.file) << ", \"role\": \""
        << roles[static_cast<int>(picture.role)] << "\", \"title\": " << quoted(picture.title)
        << ", \"call\": " << quoted(picture.call) << ", \"flat\": " << quoted(picture.whyFlat)
        << ", \"width\": " << picture.width << ", \"height\": " << picture.height
        << ", \"times\": " << picture.times << ", \"alpha\": " << (picture.alpha ? "true" : "false")
        << "}";
}

void writeShown(std::ostream& out, const char* function, const Shown& shown)
{
    out << quoted(function) << ": {\"facts\": [";
    for (size_t i = 0; i < shown.facts.size(); ++i)
        out << (i ? ", " : "") << quoted(shown.facts[i]);
    out << "], \"pictures\": [";
    for (size_t i = 0; i < shown.pictures.size(); ++i) {
        out << (i ? ",\n  " : "\n  ");
        writePicture(out, shown.pictures[i]);
    }
    out << "]}";
}

// False if it failed.
bool run(const Example& example, std::ostream& out, bool isFirst)
{
    const Shown shown = showExample(example.run);
    if (shown.status != QUIB_OK) {
        std::fprintf(stderr, "quib_reference: the example of %s gave status 0x%08X\n",
                     example.function, static_cast<unsigned>(shown.status));
        return false;
    }
    out << (isFirst ? "" : ",\n");
    writeShown(out, example.function, shown);
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 4) {
        std::cerr << "usage: quib_reference CAT.bmp CUP.bmp FOLDER [FUNCTION...]\n";
        return 2;
    }
    const std::vector<std::string> wanted(argv + 4, argv + argc);
    const std::string folder = argv[3];
    std::filesystem::create_directories(folder);
    setUp({argv[1], argv[2], folder});
    std::ofstream out(folder + "/pictures.json");
    out << "{\n";
    size_t count = 0;
    for (const Example& example : examples) {
        const bool isWanted = wanted.empty() || std::find(wanted.begin(), wanted.end(),
                                                          example.function) != wanted.end();
        if (!isWanted)
            continue;
        if (!run(example, out, count == 0))
            return 1;
        ++count;
    }
    out << "\n}\n";
    if (count == 0 || count < wanted.size() || !out.flush()) {
        std::cerr << "quib_reference: no such function, or " << folder << " cannot be written\n";
        return 1;
    }
    return 0;
}
