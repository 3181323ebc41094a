#include "examples/demo/page.h"

#include <cstdio>
#include <fstream>

namespace
{

constexpr const char* style = R"(
:root { --ink: #1d2433; --soft: #5d6880; --line: #e3e7ef; --ground: #f6f7fa; --card: #fff;
  --accent: #3457d5; --code: #f1f3f9; --check: #e6e9f0; }
@media (prefers-color-scheme: dark) {
  :root { --ink: #e8ebf2; --soft: #9aa5bd; --line: #2b3346; --ground: #12161f; --card: #1a202c;
    --accent: #8ea6ff; --code: #232b3a; --check: #2a3244; } }
* { box-sizing: border-box; }
body { margin: 0; background: var(--ground); color: var(--ink);
  font: 16px/1.55 system-ui, "Segoe UI", "DejaVu Sans", sans-serif; }
main { max-width: 1180px; margin: 0 auto; padding: 48px 24px 72px; }
header { display: grid; grid-template-columns: minmax(0, 5fr) minmax(0, 6fr); gap: 40px;
  align-items: center; margin-bottom: 56px; }
h1 { font-size: 44px; line-height: 1.1; letter-spacing: -0.02em; margin: 0 0 16px; }
header p { color: var(--soft); font-size: 18px; margin: 0 0 12px; }
header img { width: 100%; height: auto; border-radius: 14px; box-shadow: 0 16px 44px #0b14301f; }
section { margin-top: 52px; }
h2 { font-size: 24px; letter-spacing: -0.01em; margin: 0 0 4px; }
h2 span { color: var(--accent); margin-right: 10px; }
section > p { color: var(--soft); margin: 0 0 20px; max-width: 76ch; }
.row { display: grid; grid-template-columns: repeat(auto-fill, minmax(250px, 1fr)); gap: 20px; }
.row.wide { grid-template-columns: repeat(auto-fill, minmax(420px, 1fr)); }
figure { margin: 0; background: var(--card); border: 1px solid var(--line); border-radius: 12px;
  overflow: hidden; display: flex; flex-direction: column; }
figure a { display: flex; height: 220px; background: var(--code); align-items: center;
  justify-content: center; }
.wide figure a { height: 320px; }
figure img { max-width: 100%; max-height: 100%; display: block; }
figure a.alpha { background: conic-gradient(var(--check) 25%, var(--card) 0 50%,
  var(--check) 0 75%, var(--card) 0) 0 0 / 20px 20px; }
figcaption { padding: 14px 16px 16px; display: flex; flex-direction: column; gap: 8px; flex: 1; }
figcaption strong { font-weight: 600; }
figcaption .facts { color: var(--soft); font-size: 13px; display: flex;
  justify-content: space-between; margin-top: auto; }
figcaption .time { color: var(--accent); font-weight: 600; font-variant-numeric: tabular-nums; }
code { font: 13px/1.5 ui-monospace, "DejaVu Sans Mono", monospace; background: var(--code);
  border-radius: 6px; padding: 6px 9px; overflow-wrap: anywhere; }
footer { margin-top: 64px; padding-top: 20px; border-top: 1px solid var(--line);
  color: var(--soft); font-size: 14px; }
@media (max-width: 800px) { header { grid-template-columns: 1fr; } h1 { font-size: 34px; }
  .row.wide { grid-template-columns: 1fr; } }
)";

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
    if (milliseconds < 0.1)
        std::snprintf(text, sizeof text, "%.1f µs", milliseconds * 1000);
    else
        std::snprintf(text, sizeof text, "%.2f ms", milliseconds);
    return text;
}

void writeFigure(std::ostream& out, const Figure& figure)
{
    out << "<figure><a href=\"" << figure.file << "\""
        << (figure.transparent ? " class=\"alpha\"" : "") << "><img src=\"" << figure.file
        << "\" alt=\"" << escaped(figure.title) << "\" width=\"" << figure.width << "\" height=\""
        << figure.height << "\" style=\"height:auto;width:auto\"></a><figcaption><strong>"
        << escaped(figure.title) << "</strong>";
    if (!figure.call.empty())
        out << "<code>" << escaped(figure.call) << "</code>";
    out << "<div class=\"facts\"><span>" << figure.width << " × " << figure.height << "</span>";
    if (figure.milliseconds >= 0)
        out << "<span class=\"time\">" << timeText(figure.milliseconds) << "</span>";
    out << "</div></figcaption></figure>\n";
}

} // namespace

bool writePage(const Page& page, const std::string& file)
{
    std::ofstream out(file);
    out << "<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
           "<title>QuibTool: a photograph in, edited, and out again</title><style>"
        << style << "</style></head><body><main>\n"
        << "<header><div><h1>A photograph in, edited, and out again</h1><p>"
        << escaped(page.picture)
        << " went through QuibTool. Every step below shows the picture that it made, the call "
           "that made it, and the time that the call took.</p><p>"
        << escaped(page.machine) << "</p></div><a href=\"" << page.hero.file << "\"><img src=\""
        << page.hero.file << "\" alt=\"" << escaped(page.hero.title) << "\"></a></header>\n";
    int step = 0;
    for (const Section& section : page.sections) {
        out << "<section><h2><span>" << ++step << "</span>" << escaped(section.title) << "</h2><p>"
            << escaped(section.text) << "</p><div class=\"row"
            << (section.figures.size() <= 2 ? " wide" : "") << "\">\n";
        for (const Figure& figure : section.figures)
            writeFigure(out, figure);
        out << "</div></section>\n";
    }
    out << "<footer>Times are medians of several calls, one thread. The photographs are in the "
           "public domain (CC0).</footer></main></body></html>\n";
    out.flush();
    return static_cast<bool>(out);
}
