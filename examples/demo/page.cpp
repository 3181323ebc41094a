#include "examples/demo/page.h"

#include "examples/demo/style.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <regex>

namespace
{

std::string escaped(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::string timeText(double milliseconds)
{
    char text[32];
    if (milliseconds < 0.00005)
        return "< 0.1 µs";
    if (milliseconds < 0.1)
        std::snprintf(text, sizeof text, "%.1f µs", milliseconds * 1000);
    else
        std::snprintf(text, sizeof text, "%.2f ms", milliseconds);
    return text;
}

// Code whose long names may break between their words.
std::string breakable(const std::string& code)
{
    static const std::regex longName("\\w{14,}");
    static const std::regex wordEnd("([a-z])(?=[A-Z])");
    constexpr size_t start = 5; // no break after the prefix
    std::string out;
    size_t done = 0;
    for (std::sregex_iterator i(code.begin(), code.end(), longName), end; i != end; ++i) {
        const size_t at = static_cast<size_t>(i->position());
        out += escaped(code.substr(done, at - done));
        out += i->str().substr(0, start) +
               std::regex_replace(i->str().substr(start), wordEnd, "$1<wbr>");
        done = at + i->str().size();
    }
    return out + escaped(code.substr(done));
}

// What a link to a figure says: its file without the ending.
std::string idOf(const Figure& figure)
{
    return "picture-" + figure.file.substr(0, figure.file.find('.'));
}

// The first of these numbers of columns that leaves the fewest places empty.
size_t columnsFor(size_t count, const std::vector<size_t>& choices)
{
    const auto empty = [&](size_t columns) { return (columns - count % columns) % columns; };
    return *std::min_element(choices.begin(), choices.end(),
                             [&](size_t a, size_t b) { return empty(a) < empty(b); });
}

double aspectOf(const Figure& figure)
{
    return static_cast<double>(figure.width) / figure.height;
}

void openRow(std::ostream& out, const Row& row)
{
    const size_t count = row.figures.size();
    const bool isSmall = row.cards == Cards::small;
    const size_t wide = isSmall ? columnsFor(count, {6, 5, 4, 7}) : columnsFor(count, {4, 3, 5});
    const size_t mid = isSmall ? columnsFor(count, {3, 4, 5}) : columnsFor(count, {2, 3});
    const auto [narrowest, widest] = std::minmax_element(
        row.figures.begin(), row.figures.end(),
        [](const Figure& a, const Figure& b) { return aspectOf(a) < aspectOf(b); });
    const bool differ = aspectOf(*widest) > aspectOf(*narrowest) * 1.03;
    const char* const names[] = {"row", "row small", "row detail"};
    out << "<div class=\"" << names[static_cast<int>(row.cards)] << (differ ? " fit" : "")
        << "\" style=\"--wide:" << wide << ";--mid:" << mid;
    if (differ)
        out << ";--aspect:" << std::clamp(aspectOf(*widest), 1.2, 1.6);
    out << "\">\n";
}

void writeFigure(std::ostream& out, const Figure& figure)
{
    out << "<figure id=\"" << idOf(figure) << "\"><a href=\"" << figure.file << "\""
        << (figure.transparent ? " class=\"alpha\"" : "") << "><img src=\"" << figure.file
        << "\" alt=\"" << escaped(figure.title) << "\" width=\"" << figure.width << "\" height=\""
        << figure.height << "\" loading=\"lazy\"></a><figcaption><strong>" << escaped(figure.title)
        << "</strong>";
    if (!figure.call.empty())
        out << "<code>" << breakable(figure.call) << "</code>";
    out << "<div class=\"facts\"><span>" << figure.width << " × " << figure.height << "</span>";
    if (figure.milliseconds >= 0)
        out << "<span class=\"time\">" << timeText(figure.milliseconds) << "</span>";
    out << "</div></figcaption></figure>\n";
}

void writeSection(std::ostream& out, const Section& section)
{
    out << "<section id=\"" << section.id << "\"><h2>" << escaped(section.title) << "</h2><p>"
        << escaped(section.text) << "</p>\n";
    for (const Row& row : section.rows) {
        if (row.figures.empty())
            continue;
        if (!row.label.empty())
            out << "<h3>" << escaped(row.label) << "</h3>\n";
        openRow(out, row);
        for (const Figure& figure : row.figures)
            writeFigure(out, figure);
        out << "</div>\n";
    }
    out << "</section>\n";
}

// Each function that a caption calls, with the first figure that does.
std::map<std::string, std::string> functionsOf(const Page& page)
{
    static const std::regex name("\\b(?:Quib|QUIB|Dib2Quib|Surface2Quib)\\w*(?=\\()");
    std::map<std::string, std::string> functions;
    for (const Section& section : page.sections)
        for (const Row& row : section.rows)
            for (const Figure& figure : row.figures)
                for (std::sregex_iterator i(figure.call.begin(), figure.call.end(), name), end;
                     i != end; ++i)
                    functions.emplace(i->str(), idOf(figure));
    return functions;
}

void writeIndex(std::ostream& out, const Page& page)
{
    const std::map<std::string, std::string> functions = functionsOf(page);
    out << "<section id=\"functions\"><h2>Functions on this page</h2><p>" << functions.size()
        << " exported functions, each with a link to the first picture that it had a hand "
           "in.</p><ul class=\"index\">\n";
    for (const auto& [name, figure] : functions)
        out << "<li><a href=\"#" << figure << "\"><code>" << name << "</code></a></li>\n";
    out << "</ul></section>\n";
}

void writeContents(std::ostream& out, const Page& page)
{
    out << "<nav aria-label=\"Contents\"><strong>On this page</strong><ol>\n";
    for (const Section& section : page.sections)
        out << "<li><a href=\"#" << section.id << "\">" << escaped(section.title) << "</a></li>\n";
    out << "<li><a href=\"#functions\">Functions</a></li>\n</ol></nav>\n";
}

void writeHead(std::ostream& out, const Page& page)
{
    out << "<header><div><h1>A photograph in, edited, and out again</h1><p>"
        << escaped(page.picture)
        << " went through QuibTool. Every picture below is what the call under it made, shown "
           "with the time that the call took.</p><p>"
        << escaped(page.machine) << "</p></div>";
    if (!page.hero.file.empty())
        out << "<a href=\"#" << idOf(page.hero) << "\"><img src=\"" << page.hero.file << "\" alt=\""
            << escaped(page.hero.title) << "\" width=\"" << page.hero.width << "\" height=\""
            << page.hero.height << "\"></a>";
    out << "</header>\n";
}

} // namespace

bool writePage(const Page& page, const std::string& file)
{
    std::ofstream out(file);
    out << "<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
           "<title>QuibTool: a photograph in, edited, and out again</title><style>"
        << pageStyle << "</style></head><body><div class=\"page\">\n";
    writeContents(out, page);
    out << "<main>\n";
    writeHead(out, page);
    for (const Section& section : page.sections)
        writeSection(out, section);
    writeIndex(out, page);
    out << "<footer>Times are medians of nine calls on one thread. The captions are code that was "
           "compiled. Large pictures are shown in 256 colours, chosen for each; details keep "
           "theirs. The photographs that come with the demo are in the public domain "
           "(CC0).</footer></main></div></body></html>\n";
    out.flush();
    return static_cast<bool>(out);
}
